// Documents and their hidden control. Only well-formed text goes through the control: it is the system's.
#include "rtfdoc.h"

#include "excdlg.h"
#include "sexcept.h"

#include "support/allocfail.h"
#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/templog.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

constexpr wchar_t kTwoLines[] =
    L"{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fswiss Arial;}}\\f0\\fs20 first\\par second}";

class Documents : public Windows {
protected:
    Documents()
    {
        EXPECT_TRUE(m_frame.Make());
        // The shared host that an earlier test has left: each begins without one.
        SRtfDocument holder;
        holder.CreateEditCtrl();
        const HWND host = holder.GetHandle() ? nullptr : ::GetParent(holder.GetEditCtrlHwnd());
        holder.DeleteEditCtrl();
        ::DestroyWindow(host);
    }
    Window m_frame;
};

HWND WINAPI NoDialog(HINSTANCE, const DLGTEMPLATE*, HWND, DLGPROC, LPARAM)
{
    return nullptr;
}
HWND WINAPI DialogThatThrows(HINSTANCE, const DLGTEMPLATE*, HWND, DLGPROC, LPARAM)
{
    throw std::runtime_error("no desktop");
}
HWND WINAPI NoControl(DWORD ex, const wchar_t* name, const wchar_t* title, DWORD style, int x, int y, int w,
                      int h, HWND parent, HMENU menu, HINSTANCE module, void* parameter)
{
    if (!IS_INTRESOURCE(name) && ::_wcsnicmp(name, L"richedit", 8) == 0)
        return nullptr;
    return ::CreateWindowExW(ex, name, title, style, x, y, w, h, parent, menu, module, parameter);
}
BOOL WINAPI DestroyThatThrows(HWND)
{
    throw std::runtime_error("it will not go");
}
HMODULE WINAPI NoLibrary(const wchar_t*)
{
    return nullptr;
}

} // namespace

TEST_F(Documents, AreWithoutAControlWhereTheSystemHasNone)
{
    const ImportPatch none("CVCore16.dll", nullptr, "LoadLibraryW", NoLibrary);
    ASSERT_TRUE(none.Found());
    EXPECT_EQ(nullptr, SRichEditCtrl::ControlClass());
    SRtfDocument document(&m_frame);
    EXPECT_EQ(0, document.CreateEditCtrl());
    SString text(L"before");
    EXPECT_EQ(0, document.RtfToText(&text, kTwoLines));
    EXPECT_STREQ(L"before", text);
    EXPECT_EQ(0, document.GetLength());
    EXPECT_EQ(SSize(300, 0), document.GetTextExtent(300, 0, -1));
    EXPECT_STREQ(L"", document.GetEditCtrl().GetText());
}

TEST_F(Documents, TurnRtfIntoTextAndBack)
{
    SRtfDocument document(&m_frame);
    SString text(L"before"), rtf;
    EXPECT_EQ(1, document.RtfToText(&text, kTwoLines));
    EXPECT_STREQ(L"first\r\nsecond", text);
    EXPECT_EQ(1, document.RtfToText(&text, SString()));
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(1, document.RtfToText(nullptr, SString()));
    EXPECT_EQ(0, document.RtfToText(nullptr, kTwoLines));
    EXPECT_EQ(1, document.TextToRtf(nullptr, SString()));
    EXPECT_EQ(0, document.TextToRtf(nullptr, L"x"));

    const SString plain(L"caf\u00e9 \u03b3 {\\b} \u20ac\r\nnext");
    ASSERT_EQ(1, document.TextToRtf(&rtf, plain));
    EXPECT_TRUE(SRichEditCtrl::IsRtf(rtf));
    EXPECT_EQ(1, document.RtfToText(&text, rtf));
    EXPECT_STREQ(plain, text) << rtf.PszStr();
    // Characters that are no bytes stand for themselves.
    EXPECT_EQ(1, document.RtfToText(&text, L"{\\rtf1\\ansi\\ansicpg1252 caf\u00e9 \u03b3\\'e9}"));
    EXPECT_STREQ(L"caf\u00e9 \u03b3\u00e9", text);

    // In many lines: there are systems whose control fails on a line of that length.
    SString large(L"{\\rtf1 ");
    for (int i = 0; i < 6000; ++i)
        large += L"0123456789\\par ";
    EXPECT_EQ(1, document.RtfToText(&text, large + L"}"));
    EXPECT_LE(6000 * 12 - 2, text.Length()) << "no limit as for what a person types";
}

TEST_F(Documents, TellHowLongAndHowLargeTheyAre)
{
    SRtfDocument document(kTwoLines);
    ASSERT_NE(nullptr, document.GetEditCtrlHwnd());
    EXPECT_LE(12, document.GetLength());
    EXPECT_GE(14, document.GetLength());
    const SSize two = document.GetTextExtent(300, 0, -1), one = document.GetTextExtent(300, 0, 5);
    EXPECT_GT(two.cy, one.cy) << "two lines against one";
    EXPECT_GT(one.cy, 5);
    EXPECT_FALSE(::IsWindowVisible(document.GetEditCtrlHwnd()));
    document.GetEditCtrl().SetSel(0, 5);
    EXPECT_TRUE(SRichEditCtrl::IsRtf(document.GetEditCtrl().GetSelText()));
    EXPECT_EQ(nullptr, SRtfDocument(L"plain text is ignored").GetEditCtrlHwnd());
}

TEST_F(Documents, ShareOneHostAndMakeTheirOwnWhileItIsInUse)
{
    SRtfDocument first(&m_frame), second(&m_frame);
    ASSERT_TRUE(first.CreateEditCtrl() && second.CreateEditCtrl());
    EXPECT_EQ(nullptr, first.GetHandle()) << "it has the shared one";
    EXPECT_EQ(second.GetHandle(), ::GetParent(second.GetEditCtrlHwnd()));
    EXPECT_EQ(1, first.CreateEditCtrl()) << "it is there already";
    const HWND host = ::GetParent(first.GetEditCtrlHwnd());
    EXPECT_FALSE(::IsWindowVisible(host));
    EXPECT_EQ(static_cast<LONG_PTR>(ES_MULTILINE | WS_CHILD),
              ::GetWindowLongPtrW(first.GetEditCtrlHwnd(), GWL_STYLE) & (0xFF | WS_CHILD | WS_VISIBLE));
    first.DeleteEditCtrl();
    EXPECT_EQ(nullptr, first.GetEditCtrlHwnd());
    EXPECT_TRUE(::IsWindow(host));
    second.DeleteEditCtrl();
    EXPECT_EQ(nullptr, second.GetHandle());
    ASSERT_TRUE(second.CreateEditCtrl());
    EXPECT_EQ(host, ::GetParent(second.GetEditCtrlHwnd())) << "it was free";
    m_frame.DestroyWindow();
    EXPECT_EQ(nullptr, second.GetEditCtrlHwnd()) << "the host goes with its owner, and the control with it";
    EXPECT_EQ(1, SRtfDocument().CreateEditCtrl()) << "and another one is made";
}

TEST_F(Documents, LeaveTheHostFreeWhenNothingCouldBeMade)
{
    SRtfDocument document(&m_frame);
    {
        const ImportPatch none("CVCore16.dll", nullptr, "CreateDialogIndirectParamW", NoDialog);
        ASSERT_TRUE(none.Found());
        EXPECT_EQ(0, document.CreateEditCtrl());
    }
    {
        const ImportPatch bad("CVCore16.dll", nullptr, "CreateDialogIndirectParamW", DialogThatThrows);
        EXPECT_THROW(document.CreateEditCtrl(), std::runtime_error);
    }
    {
        const ImportPatch none("CVCore16.dll", nullptr, "CreateWindowExW", NoControl);
        ASSERT_TRUE(none.Found());
        EXPECT_EQ(0, document.SetRtfText(kTwoLines));
        EXPECT_EQ(0, document.SetRtfText(SString()));
    }
    ASSERT_EQ(1, document.SetRtfText(kTwoLines));
    EXPECT_EQ(nullptr, document.GetHandle()) << "in the shared host";
    EXPECT_STREQ(L"first\r\nsecond", document.GetEditCtrl().GetText());
}

TEST_F(Documents, AreCopiedWithTheirContent)
{
    SRtfDocument document(kTwoLines);
    SRtfDocument copy(document), other(&m_frame);
    EXPECT_STREQ(L"first\r\nsecond", copy.GetEditCtrl().GetText());
    ASSERT_EQ(1, other.SetRtfText(L"{\\rtf1 third}"));
    copy = other;
    EXPECT_STREQ(L"third", copy.GetEditCtrl().GetText());
    EXPECT_STREQ(L"first\r\nsecond", document.GetEditCtrl().GetText());
}

TEST_F(Documents, ThrowWhatTheyCannotHold)
{
    SRtfDocument document(&m_frame);
    ASSERT_EQ(1, document.SetRtfText(L"{\\rtf1 0123456789}"));
    SString text;
    const int points =
        WalkAllocationFailures([&] { text = L"before"; }, [&] { text = document.GetEditCtrl().GetRtf(); },
                               [&](const AllocationTrial& trial) {
                                   if (trial.error) {
                                       EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
                                       EXPECT_STREQ(L"before", text);
                                   }
                               });
    EXPECT_LT(0, points);
    EXPECT_TRUE(SRichEditCtrl::IsRtf(text));
}

TEST_F(Documents, HaveAHostThatAFrameMayOwn)
{
    const TempLog log;
    DbgMessageBoxHook() = [](const wchar_t*, const wchar_t*, unsigned) { return IDOK; };
    SExceptionActivateDialog(1);
    {
        SRtfDocumentSharedDlgOwner owner;
        SRtfDocument document(&m_frame);
        Window frame;
        ASSERT_TRUE(frame.Make());
        {
            const ImportPatch bad("CVCore16.dll", nullptr, "CreateDialogIndirectParamW", DialogThatThrows);
            EXPECT_EQ(0, owner.OnFrameCreated(&frame));
        }
        EXPECT_NE(std::string::npos,
                  log.Text().find("Shared RTF dialog helper constructionstd::runtime_error: no desktop"));
        ASSERT_EQ(1, owner.OnFrameCreated(&frame));
        ASSERT_EQ(1, document.CreateEditCtrl());
        EXPECT_EQ(nullptr, document.GetHandle());
        {
            const ImportPatch bad("CVCore16.dll", nullptr, "DestroyWindow", DestroyThatThrows);
            owner.OnFrameDestroyed();
        }
        EXPECT_NE(std::string::npos,
                  log.Text().find("Shared RTF dialog helper destructionstd::runtime_error: it will not go"));
    }
    SExceptionActivateDialog(0);
    DbgMessageBoxHook() = nullptr;
}

TEST(DocumentText, IsWorkedOnAsByTheFunctionsOfThatName)
{
    const SString rtf(
        L"{\\rtf1\\ansi{\\fonttbl{\\f0 A;}}{\\colortbl;\\red1;}{\\stylesheet{\\s1 x;}}\\f0 text}");
    typedef int (*Extract)(SString & part, SString & rtf, int remove);
    const struct {
        Extract document, text;
    } kPairs[] = {
        { SRtfDocument::ExtractHeader, SRtfText::ExtractHeader },
        { SRtfDocument::ExtractFontTable, SRtfText::ExtractFontTable },
        { SRtfDocument::ExtractColorTable, SRtfText::ExtractColorTable },
        { SRtfDocument::ExtractStyleTable, SRtfText::ExtractStyleTable },
    };
    for (const auto& pair : kPairs) {
        SString wanted, part, wantedRest(rtf), rest(rtf);
        EXPECT_EQ(1, pair.text(wanted, wantedRest, 1));
        EXPECT_EQ(1, pair.document(part, rest, 1));
        EXPECT_FALSE(part.IsEmpty());
        EXPECT_STREQ(wanted, part);
        EXPECT_STREQ(wantedRest, rest);
    }
    SRtfNumberMap fonts;
    fonts.Set(0, 7);
    SString changed;
    EXPECT_EQ(1, SRtfDocument::ChangeFontAndColor(changed, L"\\f0 text", fonts, {}, {}));
    EXPECT_STREQ(L"\\f7 text", changed);
    wchar_t text[] = L"  \\b word";
    const wchar_t* tag;
    long length;
    EXPECT_EQ(1, SRtfDocument::GetNextTag(&tag, &length, text, 0));
    EXPECT_EQ(SString(L"\\b "), SString(tag, static_cast<int>(length)));
    wchar_t* at = text;
    EXPECT_EQ(1, SRtfDocument::SkipSpace(&at));
    EXPECT_EQ(text + 2, at);
    EXPECT_EQ(1, SRtfDocument::RemoveTag(at, length));
    EXPECT_STREQ(L"word", at);
}
