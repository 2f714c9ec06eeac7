// cmdform.h: the forms in which the command routing calls handlers.
#ifndef CMDFORM_H
#define CMDFORM_H

#include "cvbase.h"

class SCmdUI;
struct SOleCommand;

/// How command routing calls a handler, and what it then answers. "Asked" forms answer what the handler does.
namespace SCmdForm {
enum : UINT_PTR {
    kIdAsked = 2,         // int (UINT id)
    kPlain = 15,          // void ()
    kId = 16,             // void (UINT id)
    kPlainAsked = 38,     // int ()
    kNotify = 41,         // void (NMHDR*, LRESULT*)
    kNotifyAsked = 42,    // int (NMHDR*, LRESULT*)
    kIdNotify = 43,       // void (UINT id, NMHDR*, LRESULT*)
    kIdNotifyAsked = 44,  // int (UINT id, NMHDR*, LRESULT*)
    kUpdate = 47,         // void (SCmdUI*)
    kIdUpdate = 48,       // void (SCmdUI*, UINT id)
    kExtra = 49,          // void (void* extra)
    kExtraAsked = 50,     // int (void* extra)
    kOleCommand = 51,     // void (SOleCommand*)
    kOleCommandAsked = 52 // int (SOleCommand*)
};
}

/// The type of handler that a form calls.
template <UINT_PTR form>
struct SCmdFormOf;
template <>
struct SCmdFormOf<SCmdForm::kIdAsked> {
    typedef int Type(UINT);
};
template <>
struct SCmdFormOf<SCmdForm::kPlain> {
    typedef void Type();
};
template <>
struct SCmdFormOf<SCmdForm::kId> {
    typedef void Type(UINT);
};
template <>
struct SCmdFormOf<SCmdForm::kPlainAsked> {
    typedef int Type();
};
template <>
struct SCmdFormOf<SCmdForm::kNotify> {
    typedef void Type(NMHDR*, LRESULT*);
};
template <>
struct SCmdFormOf<SCmdForm::kNotifyAsked> {
    typedef int Type(NMHDR*, LRESULT*);
};
template <>
struct SCmdFormOf<SCmdForm::kIdNotify> {
    typedef void Type(UINT, NMHDR*, LRESULT*);
};
template <>
struct SCmdFormOf<SCmdForm::kIdNotifyAsked> {
    typedef int Type(UINT, NMHDR*, LRESULT*);
};
template <>
struct SCmdFormOf<SCmdForm::kUpdate> {
    typedef void Type(SCmdUI*);
};
template <>
struct SCmdFormOf<SCmdForm::kIdUpdate> {
    typedef void Type(SCmdUI*, UINT);
};
template <>
struct SCmdFormOf<SCmdForm::kExtra> {
    typedef void Type(void*);
};
template <>
struct SCmdFormOf<SCmdForm::kExtraAsked> {
    typedef int Type(void*);
};
template <>
struct SCmdFormOf<SCmdForm::kOleCommand> {
    typedef void Type(SOleCommand*);
};
template <>
struct SCmdFormOf<SCmdForm::kOleCommandAsked> {
    typedef int Type(SOleCommand*);
};

#endif
