// cmdtarg.h: SCmdTarget, the root of everything that commands are routed to, and the message maps that name its handlers.
//
//     class Drawing : public SCmdTarget {
//         void OnClear();
//         void OnUpdateClear(SCmdUI* ui) { ui->Enable(!m_lines.IsEmpty()); }
//         S_DECLARE_MESSAGE_MAP()
//     };
//
//     S_BEGIN_MESSAGE_MAP(Drawing, SCmdTarget)
//         S_ON_COMMAND(kClear, OnClear)
//         S_ON_UPDATE_COMMAND_UI(kClear, OnUpdateClear)
//     S_END_MESSAGE_MAP()
//
// A command is looked for in the map of the object's class, then in those of its bases; the first entry that fits wins. A
// handler whose type does not fit its entry does not compile. A class without a map of its own uses its base's.
//
// Threads  the user-interface thread.
// Failure  what a handler throws passes through the routing. Each handler is called under an SHandlerGuard (crash.h).
#ifndef CMDTARG_H
#define CMDTARG_H

#include "baseobj.h"
#include "cmdform.h"
#include "cvbase.h"

#include <cstring>
#include <type_traits>

class SCmdTarget;
class SCmdUI;

/// A control's own notifications have the number of the message and this.
inline constexpr UINT kReflectedMessage = 0xBC00;

/// Any handler, until its entry says what it takes.
typedef void (SCmdTarget::*S_PMSG)();

/// A handler of a class: for which message, code and ids, and in which form it is called.
struct SMsgMapEntry {
    UINT message;
    UINT code;    ///< of a notification; 0 for commands, ~0 for update requests
    UINT firstId; ///< the lowest and the highest id, compared without sign
    UINT lastId;
    UINT_PTR form; ///< how the handler is called (SCmdForm, SWndForm); 0 ends the entries
    S_PMSG handler;
};

/// The entries of a class, and where those of its base are.
struct SMsgMap {
    const SMsgMap* (*getBase)(); ///< null, or answering null, at the root
    const SMsgMapEntry* entries;
};

/// A map as classes have it: when it goes, with the module that it is in, nobody remembers its address any more.
struct CVCORE_API SOwnMsgMap : SMsgMap {
    SOwnMsgMap(const SMsgMap* (*base)(), const SMsgMapEntry* own) noexcept : SMsgMap{ base, own } {}
    ~SOwnMsgMap();
    SOwnMsgMap(const SOwnMsgMap&) = delete;
    SOwnMsgMap& operator=(const SOwnMsgMap&) = delete;
};

/// Who handles a command, for those who only ask.
struct S_CMDHANDLERINFO {
    SCmdTarget* target;
    S_PMSG handler;
};

/// What goes with a WM_NOTIFY through the routing.
struct SNotifyRecord {
    LRESULT* result;
    NMHDR* header;
};

/// What the handlers of OLE commands receive.
struct SOleCommand {
    IUnknown* object;
    UINT id;
    void* in;
    void* out;
    int declined; ///< not 0: the command is to go elsewhere
};

/// What OLE commands without a record are made of, for the whole process. They are handled only while all of it fits.
struct SOleCommandContext {
    HWND window;
    IUnknown* object;
    UINT id;
    int isActive;
};
/// The process's context; all zero at the start.
CVCORE_API SOleCommandContext& SGetOleCommandContext() noexcept;

/// Turns a handler of a given type into a plain one, and calls it as what it is.
template <class Form>
struct SHandler;
template <class Result, class... Arguments>
struct SHandler<Result(Arguments...)> {
    typedef Result (SCmdTarget::*Typed)(Arguments...);

    template <class Target>
    static S_PMSG Of(Result (Target::*handler)(Arguments...))
    {
        static_assert(std::is_base_of<SCmdTarget, Target>::value, "handlers are members of command targets");
        return Convert<S_PMSG>(static_cast<Typed>(handler));
    }
    static Result Call(SCmdTarget* target, S_PMSG handler, Arguments... arguments)
    {
        return (target->*Convert<Typed>(handler))(arguments...);
    }

private:
    // Through bytes, since the compiler warns of a cast; both are pointers to members of one class.
    template <class To, class From>
    static To Convert(From from)
    {
        static_assert(sizeof(To) == sizeof(From), "pointers to members have one size");
        To to;
        std::memcpy(&to, &from, sizeof to);
        return to;
    }
};

class CVCORE_API SCmdTarget : public SObject {
    S_DECLARE_DYNCREATE(SCmdTarget)
public:
    /// Looks for a handler and calls it; 1 when it took the command.
    ///   code ~0                  asks for an update of the command's look; `extra` is the SCmdUI*
    ///   code with a high word    that is the message (WM_NOTIFY, or a reflected one), the low word is the notification's code;
    ///                            for WM_NOTIFY `extra` is the SNotifyRecord*
    ///   other codes              WM_COMMAND with that code
    /// With `info` it only fills that in, for the handler that it would have called.
    virtual int OnCmdMsg(UINT id, int code, void* extra, S_CMDHANDLERINFO* info);
    /// The map of the object's class.
    virtual const SMsgMap* GetMessageMap() const;

    /// The application's DoWaitCursor(1), (-1) and (0).
    void BeginWaitCursor();
    void EndWaitCursor();
    void RestoreWaitCursor();

protected:
    SCmdTarget() = default;
    static const SMsgMap* GetThisMessageMap();

private:
    int CallHandler(const SMsgMapEntry& entry, UINT id, void* extra);
};

// ---- Maps ----

/// In a class: gives it a map.
#define S_DECLARE_MESSAGE_MAP()                                                                              \
public:                                                                                                      \
    const SMsgMap* GetMessageMap() const override;                                                           \
                                                                                                             \
protected:                                                                                                   \
    static const SMsgMap* GetThisMessageMap();

/// In a source: the map of Class, whose base class is Base. Entries come in between; they are made on first use.
#define S_BEGIN_MESSAGE_MAP(Class, Base)                                                                     \
    const SMsgMap* Class::GetMessageMap() const                                                              \
    {                                                                                                        \
        return GetThisMessageMap();                                                                          \
    }                                                                                                        \
    const SMsgMap* Class::GetThisMessageMap()                                                                \
    {                                                                                                        \
        typedef Class ThisClass;                                                                             \
        typedef Base BaseClass;                                                                              \
        static const SMsgMapEntry kEntries[] = {

#define S_END_MESSAGE_MAP()                                                                                  \
    {                                                                                                        \
        0, 0, 0, 0, 0, nullptr                                                                               \
    }                                                                                                        \
    }                                                                                                        \
    ;                                                                                                        \
    static const SOwnMsgMap kMap(&BaseClass::GetThisMessageMap, kEntries);                                   \
    return &kMap;                                                                                            \
    }

/// An entry in full. Form and Type must belong together, which nobody checks: the entries below are made of it, and S_ON_CMD
/// is for all others.
#define S_ON_ANY(message, code, first, last, form, Type, fn)                                                 \
    { static_cast<UINT>(message), static_cast<UINT>(code),     static_cast<UINT>(first),                     \
      static_cast<UINT>(last),    static_cast<UINT_PTR>(form), SHandler<Type>::Of(&ThisClass::fn) },
/// A command or notification whose handler is called in a form of SCmdForm; its type is SCmdFormOf<form>::Type.
#define S_ON_CMD(message, code, first, last, form, fn)                                                       \
    S_ON_ANY(message, code, first, last, form, SCmdFormOf<form>::Type, fn)

/// void fn()
#define S_ON_COMMAND(id, fn) S_ON_CMD(WM_COMMAND, 0, id, id, SCmdForm::kPlain, fn)
/// int fn(UINT id): 0 lets the routing go on elsewhere.
#define S_ON_COMMAND_EX(id, fn) S_ON_CMD(WM_COMMAND, 0, id, id, SCmdForm::kIdAsked, fn)
/// void fn(UINT id)
#define S_ON_COMMAND_RANGE(first, last, fn) S_ON_CMD(WM_COMMAND, 0, first, last, SCmdForm::kId, fn)
/// void fn(SCmdUI*)
#define S_ON_UPDATE_COMMAND_UI(id, fn) S_ON_CMD(WM_COMMAND, ~0u, id, id, SCmdForm::kUpdate, fn)
#define S_ON_UPDATE_COMMAND_UI_RANGE(first, last, fn)                                                        \
    S_ON_CMD(WM_COMMAND, ~0u, first, last, SCmdForm::kUpdate, fn)
/// void fn(): the notification of a control that comes with WM_COMMAND.
#define S_ON_CONTROL(code, id, fn) S_ON_CMD(WM_COMMAND, code, id, id, SCmdForm::kPlain, fn)
/// void fn(NMHDR*, LRESULT*)
#define S_ON_NOTIFY(code, id, fn) S_ON_CMD(WM_NOTIFY, LOWORD(code), id, id, SCmdForm::kNotify, fn)
/// The control's own notifications, handled by its own object: void fn(), void fn(NMHDR*, LRESULT*).
#define S_ON_CONTROL_REFLECT(code, fn)                                                                       \
    S_ON_CMD(kReflectedMessage + WM_COMMAND, code, 0, 0, SCmdForm::kPlain, fn)
#define S_ON_NOTIFY_REFLECT(code, fn)                                                                        \
    S_ON_CMD(kReflectedMessage + WM_NOTIFY, LOWORD(code), 0, 0, SCmdForm::kNotify, fn)

#if S_TARGET_32BIT
static_assert(sizeof(SMsgMapEntry) == 5 * sizeof(UINT) + sizeof(S_PMSG) && sizeof(S_PMSG) == 8,
              "five words and the handler, which is two");
#endif

#endif
