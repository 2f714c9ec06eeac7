// wndform.h: the forms in which messages of windows call their handlers.
#ifndef WNDFORM_H
#define WNDFORM_H

#include "cvbase.h"

class SMenu;
class SWnd;

/// How OnWndMsg calls a handler, by the forms that entries name. W and L are wParam and lParam, "window" and "menu" are
/// objects made by FromHandle, lo and hi are halves, slo and shi signed ones.
namespace SWndForm {
enum : UINT_PTR {
    kWindowW = 1,             // LRESULT (SWnd*)
    kW = 2,                   // LRESULT (WPARAM)
    kWindowWHalvesL = 3,      // LRESULT (SWnd*, UINT lo L, UINT hi L)
    kWindowWWindowL = 5,      // LRESULT (SWnd*, SWnd*)
    kLoWWindowLHiW = 8,       // LRESULT (UINT lo W, SWnd*, UINT hi W)
    kHalvesW = 9,             // LRESULT (UINT lo W, UINT hi W)
    kL = 11,                  // LRESULT (LPARAM)
    kWL = 12,                 // LRESULT (WPARAM, LPARAM)
    kHalvesWMenuL = 13,       // LRESULT (UINT, UINT, SMenu*)
    kNothing = 14,            // LRESULT ()
    kNothingObject = 15,      // void (); answers the object's address
    kNothingW = 16,           // void (); answers W
    kWAnswersL = 17,          // void (WPARAM); answers L
    kLoLAnswersHiL = 18,      // void (UINT lo L); answers hi L
    kWLoLAnswersHiL = 19,     // void (WPARAM, UINT lo L); answers hi L
    kActivate = 22,           // void (int isThis, SWnd* from L, SWnd* from W); answers W
    kWindowWAnswersW = 23,    // void (SWnd*); answers W
    kMenuWAnswersW = 24,      // void (SMenu*); answers W
    kMenuWWLoL = 25,          // void (SMenu*, WPARAM, UINT lo L); answers hi L
    kWindowWHalvesLVoid = 27, // void (SWnd*, UINT lo L, UINT hi L); answers W
    kWindowWSignedL = 28,     // void (SWnd*, int slo L, int shi L); answers W
    kWindowWL = 29,           // void (SWnd*, LPARAM); answers W
    kWWindowL = 30,           // void (WPARAM, SWnd*); answers L
    kLoWWindowLHiWVoid = 31,  // void (UINT lo W, SWnd*, UINT hi W); answers L
    kSloWZeroWindowL = 32,    // void (int slo W, UINT 0, SWnd*); answers L
    kSloW = 33,               // void (int slo W); answers shi W
    kNothingL = 34,           // void (); answers L
    kWLAnswers1 = 35,         // void (WPARAM, LPARAM); answers 1
    kSignedL = 37,            // LRESULT (int slo L, int shi L)
    kLDecides = 45,           // LRESULT (LPARAM); 0: not handled
    kWindowL = 47,            // void (SWnd* from L); answers L
    kHalvesDecide = 48,       // LRESULT (UINT lo W, UINT hi W, UINT lo L, UINT hi L); 0: not handled
    kHalvesWAnswersL = 53,    // void (UINT lo W, UINT hi W); answers L
    kWSloL = 54               // void (WPARAM, int slo L); answers shi L
};
}

/// The type of handler that a form calls. A few numbers are second names of a form.
template <UINT_PTR form>
struct SWndFormOf;
template <>
struct SWndFormOf<SWndForm::kWindowW> {
    typedef LRESULT Type(SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kW> {
    typedef LRESULT Type(WPARAM);
};
template <>
struct SWndFormOf<SWndForm::kWindowWHalvesL> {
    typedef LRESULT Type(SWnd*, UINT, UINT);
};
template <>
struct SWndFormOf<SWndForm::kWindowWWindowL> {
    typedef LRESULT Type(SWnd*, SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kLoWWindowLHiW> {
    typedef LRESULT Type(UINT, SWnd*, UINT);
};
template <>
struct SWndFormOf<SWndForm::kHalvesW> {
    typedef LRESULT Type(UINT, UINT);
};
template <>
struct SWndFormOf<SWndForm::kL> {
    typedef LRESULT Type(LPARAM);
};
template <>
struct SWndFormOf<SWndForm::kWL> {
    typedef LRESULT Type(WPARAM, LPARAM);
};
template <>
struct SWndFormOf<SWndForm::kHalvesWMenuL> {
    typedef LRESULT Type(UINT, UINT, SMenu*);
};
template <>
struct SWndFormOf<SWndForm::kNothing> {
    typedef LRESULT Type();
};
template <>
struct SWndFormOf<SWndForm::kNothingObject> {
    typedef void Type();
};
template <>
struct SWndFormOf<SWndForm::kNothingW> {
    typedef void Type();
};
template <>
struct SWndFormOf<SWndForm::kWAnswersL> {
    typedef void Type(WPARAM);
};
template <>
struct SWndFormOf<SWndForm::kLoLAnswersHiL> {
    typedef void Type(UINT);
};
template <>
struct SWndFormOf<SWndForm::kWLoLAnswersHiL> {
    typedef void Type(WPARAM, UINT);
};
template <>
struct SWndFormOf<SWndForm::kActivate> {
    typedef void Type(int, SWnd*, SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kWindowWAnswersW> {
    typedef void Type(SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kMenuWAnswersW> {
    typedef void Type(SMenu*);
};
template <>
struct SWndFormOf<SWndForm::kMenuWWLoL> {
    typedef void Type(SMenu*, WPARAM, UINT);
};
template <>
struct SWndFormOf<SWndForm::kWindowWHalvesLVoid> {
    typedef void Type(SWnd*, UINT, UINT);
};
template <>
struct SWndFormOf<SWndForm::kWindowWSignedL> {
    typedef void Type(SWnd*, int, int);
};
template <>
struct SWndFormOf<SWndForm::kWindowWL> {
    typedef void Type(SWnd*, LPARAM);
};
template <>
struct SWndFormOf<SWndForm::kWWindowL> {
    typedef void Type(WPARAM, SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kLoWWindowLHiWVoid> {
    typedef void Type(UINT, SWnd*, UINT);
};
template <>
struct SWndFormOf<SWndForm::kSloWZeroWindowL> {
    typedef void Type(int, UINT, SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kSloW> {
    typedef void Type(int);
};
template <>
struct SWndFormOf<SWndForm::kNothingL> {
    typedef void Type();
};
template <>
struct SWndFormOf<SWndForm::kWLAnswers1> {
    typedef void Type(WPARAM, LPARAM);
};
template <>
struct SWndFormOf<SWndForm::kSignedL> {
    typedef LRESULT Type(int, int);
};
template <>
struct SWndFormOf<SWndForm::kLDecides> {
    typedef LRESULT Type(LPARAM);
};
template <>
struct SWndFormOf<SWndForm::kWindowL> {
    typedef void Type(SWnd*);
};
template <>
struct SWndFormOf<SWndForm::kHalvesDecide> {
    typedef LRESULT Type(UINT, UINT, UINT, UINT);
};
template <>
struct SWndFormOf<SWndForm::kHalvesWAnswersL> {
    typedef void Type(UINT, UINT);
};
template <>
struct SWndFormOf<SWndForm::kWSloL> {
    typedef void Type(WPARAM, int);
};
template <>
struct SWndFormOf<7> : SWndFormOf<SWndForm::kWindowW> {};
template <>
struct SWndFormOf<10> : SWndFormOf<SWndForm::kWindowWHalvesL> {};
template <>
struct SWndFormOf<36> : SWndFormOf<SWndForm::kWL> {};
template <>
struct SWndFormOf<38> : SWndFormOf<SWndForm::kNothing> {};
template <>
struct SWndFormOf<21> : SWndFormOf<SWndForm::kWAnswersL> {};
template <>
struct SWndFormOf<40> : SWndFormOf<SWndForm::kWAnswersL> {};
template <>
struct SWndFormOf<20> : SWndFormOf<SWndForm::kWLoLAnswersHiL> {};
template <>
struct SWndFormOf<26> : SWndFormOf<SWndForm::kWindowWAnswersW> {};
template <>
struct SWndFormOf<46> : SWndFormOf<SWndForm::kWLAnswers1> {};
template <>
struct SWndFormOf<39> : SWndFormOf<SWndForm::kNothingL> {};

#endif
