// The forms in which messages call their handlers.
#include "wndform.h"

#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace {

/// One handler for all forms; the arguments as text.
class Forms : public SWnd {
public:
    LRESULT W1(SWnd* w) { return Seen({ P(w) }); }
    LRESULT W2(WPARAM w) { return Seen({ N(w) }); }
    LRESULT W3(SWnd* w, UINT a, UINT b) { return Seen({ P(w), N(a), N(b) }); }
    LRESULT W5(SWnd* w, SWnd* l) { return Seen({ P(w), P(l) }); }
    LRESULT W8(UINT a, SWnd* w, UINT b) { return Seen({ N(a), P(w), N(b) }); }
    LRESULT W9(UINT a, UINT b) { return Seen({ N(a), N(b) }); }
    LRESULT W11(LPARAM l) { return Seen({ N(l) }); }
    LRESULT W12(WPARAM w, LPARAM l) { return Seen({ N(w), N(l) }); }
    LRESULT W14() { return Seen({}); }
    void V() { Seen({}); }
    void V17(WPARAM w) { Seen({ N(w) }); }
    void V18(UINT a) { Seen({ N(a) }); }
    void V19(WPARAM w, UINT a) { Seen({ N(w), N(a) }); }
    void V22(int same, SWnd* l, SWnd* w) { Seen({ N(same), P(l), P(w) }); }
    void V23(SWnd* w) { Seen({ P(w) }); }
    void V27(SWnd* w, UINT a, UINT b) { Seen({ P(w), N(a), N(b) }); }
    void V28(SWnd* w, int a, int b) { Seen({ P(w), N(a), N(b) }); }
    void V29(SWnd* w, LPARAM l) { Seen({ P(w), N(l) }); }
    void V30(WPARAM w, SWnd* l) { Seen({ N(w), P(l) }); }
    void V31(UINT a, SWnd* l, UINT b) { Seen({ N(a), P(l), N(b) }); }
    void V32(int a, UINT zero, SWnd* l) { Seen({ N(a), N(zero), P(l) }); }
    void V33(int a) { Seen({ N(a) }); }
    void V35(WPARAM w, LPARAM l) { Seen({ N(w), N(l) }); }
    LRESULT W37(int a, int b) { return Seen({ N(a), N(b) }); }
    LRESULT W48(UINT a, UINT b, UINT c, UINT d) { return Seen({ N(a), N(b), N(c), N(d) }); }
    void V53(UINT a, UINT b) { Seen({ N(a), N(b) }); }
    void V54(WPARAM w, int a) { Seen({ N(w), N(a) }); }
    using SWnd::OnWndMsg;

    std::string seen;
    LRESULT answer = 5;
    S_DECLARE_MESSAGE_MAP()

private:
    template <class T>
    static std::string N(T value)
    {
        return std::to_string(value);
    }
    static std::string P(SWnd* window) { return window ? "window" : "null"; }
    LRESULT Seen(std::initializer_list<std::string> arguments)
    {
        seen.clear();
        for (const std::string& argument : arguments)
            seen += (seen.empty() ? "" : ",") + argument;
        return answer;
    }
};
#define FORM(form, fn) S_ON_FORM(WM_USER + (form), form, fn)
S_BEGIN_MESSAGE_MAP(Forms, SWnd)
FORM(1, W1)
FORM(7, W1)
FORM(2, W2)
FORM(3, W3)
FORM(10, W3)
FORM(5, W5)
FORM(8, W8)
FORM(9, W9)
FORM(11, W11)
FORM(12, W12)
FORM(36, W12)
FORM(14, W14)
FORM(38, W14)
FORM(15, V)
FORM(16, V)
FORM(17, V17)
FORM(21, V17)
FORM(40, V17)
FORM(18, V18)
FORM(19, V19)
FORM(20, V19)
FORM(22, V22)
FORM(23, V23)
FORM(26, V23)
FORM(27, V27)
FORM(28, V28)
FORM(29, V29)
FORM(30, V30)
FORM(31, V31)
FORM(32, V32)
FORM(33, V33)
FORM(34, V)
FORM(39, V)
FORM(35, V35)
FORM(46, V35)
FORM(37, W37)
FORM(45, W11)
FORM(47, V23)
FORM(48, W48)
FORM(53, V53)
FORM(54, V54)
S_ON_ANY(WM_USER + 99, 0, 0, 0, 99, void(), V) // no such form
S_END_MESSAGE_MAP()

} // namespace

TEST_F(Windows, CallEachFormWithItsArgumentsAndResult)
{
    Forms target;
    Window real;
    ASSERT_TRUE(real.Make());
    const UINT_PTR handle = reinterpret_cast<UINT_PTR>(real.GetHandle());
    // wParam -2 : 3, lParam -4 : 5 as halves; H stands for the window's handle.
    const WPARAM w = MAKELONG(0xFFFE, 3);
    const LPARAM l = MAKELONG(0xFFFC, 5);
    const std::string W = std::to_string(w), L = std::to_string(l);
    enum Result { kOwn, kFromW, kFromL, kOne, kHiL, kShiL, kShiW, kSelf };
    const struct {
        UINT form;
        WPARAM w;
        LPARAM l;
        std::string seen;
        Result result;
    } kCases[] = {
        { 1, handle, l, "window", kOwn },
        { 7, 0, l, "null", kOwn },
        { 2, w, l, W, kOwn },
        { 3, handle, l, "window,65532,5", kOwn },
        { 10, handle, l, "window,65532,5", kOwn },
        { 5, handle, 0, "window,null", kOwn },
        { 8, w, 0, "65534,null,3", kOwn },
        { 9, w, l, "65534,3", kOwn },
        { 11, w, l, L, kOwn },
        { 12, w, l, W + "," + L, kOwn },
        { 36, w, l, W + "," + L, kOwn },
        { 14, w, l, "", kOwn },
        { 38, w, l, "", kOwn },
        { 15, w, l, "", kSelf },
        { 16, w, l, "", kFromW },
        { 17, w, l, W, kFromL },
        { 21, w, l, W, kFromL },
        { 40, w, l, W, kFromL },
        { 18, w, l, "65532", kHiL },
        { 19, w, l, W + ",65532", kHiL },
        { 20, w, l, W + ",65532", kHiL },
        { 22, handle, 0, "1,null,window", kFromW },
        { 23, handle, l, "window", kFromW },
        { 26, 0, l, "null", kFromW },
        { 27, handle, l, "window,65532,5", kFromW },
        { 28, handle, l, "window,-4,5", kFromW },
        { 29, handle, l, "window," + L, kFromW },
        { 30, w, 0, W + ",null", kFromL },
        { 31, w, 0, "65534,null,3", kFromL },
        { 32, w, 0, "-2,0,null", kFromL },
        { 33, w, l, "-2", kShiW },
        { 34, w, l, "", kFromL },
        { 39, w, l, "", kFromL },
        { 35, w, l, W + "," + L, kOne },
        { 46, w, l, W + "," + L, kOne },
        { 37, w, l, "-4,5", kOwn },
        { 45, w, l, L, kOwn },
        { 47, w, 0, "null", kFromL },
        { 48, w, l, "65534,3,65532,5", kOwn },
        { 53, w, l, "65534,3", kFromL },
        { 54, w, l, W + ",-4", kShiL },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.form);
        LRESULT result = 0;
        target.seen = "not called";
        EXPECT_EQ(TRUE, target.OnWndMsg(WM_USER + c.form, c.w, c.l, &result));
        EXPECT_EQ(c.seen, target.seen);
        const LRESULT kResults[] = { 5, static_cast<LRESULT>(c.w),         c.l, 1, 5, 5,
                                     3, reinterpret_cast<LRESULT>(&target) };
        EXPECT_EQ(kResults[c.result], result);
        EXPECT_EQ(TRUE, target.OnWndMsg(WM_USER + c.form, c.w, c.l, nullptr))
            << "from the cache, nobody asks for the result";
    }
    target.answer = 0;
    LRESULT result = 9;
    EXPECT_EQ(FALSE, target.OnWndMsg(WM_USER + 45, w, l, &result)) << "0 counts as not handled";
    EXPECT_EQ(FALSE, target.OnWndMsg(WM_USER + 48, w, l, &result));
    EXPECT_EQ(FALSE, target.OnWndMsg(WM_USER + 99, w, l, &result)) << "no such form";
}
