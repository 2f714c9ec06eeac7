// What is made and ended over and over leaves nothing behind: handles, GDI objects, heap and pool blocks are as many
// as at the beginning. Ten thousand painted gradients are in gradient_limits.cpp.
#include "rtfdoc.h"
#include "rtfmerge.h"

#include "support/counters.h"
#include "support/rtffiles.h"
#include "support/stringhelp.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

namespace {

/// Windows with a control each, of kinds that come and go in different ways.
void LiveAsWindow(int round)
{
    Window window;
    ASSERT_TRUE(window.Make(round % 2 ? WS_OVERLAPPEDWINDOW : WS_POPUP));
    Edit edit;
    ASSERT_TRUE(edit.CreateEx(0, L"edit", L"text", WS_CHILD, kPlace, &window, 50));
    window.SendMessage(kTest, 1, 2);
    switch (round % 4) {
    case 0: window.DestroyWindow(); break;
    case 1: ::DestroyWindow(window.GetHandle()); break;
    case 2: EXPECT_THROW(window.SendMessage(kThrow), std::out_of_range); break;
    default: edit.SendMessage(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"other"));
    }
    // What is still there ends with its object.
}

void Merge(int round)
{
    static const SString kFiles[] = { RtfFile(0), RtfFile(1), RtfFile(2), RtfFile(3), RtfFile(4) };
    SRtfMerger merger;
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(1, merger.AddFragment(kFiles[(round + i) % kRtfFileCount]));
    ASSERT_EQ(0, merger.AddFragment(L"{\\rtf1 {never closed}"));
    ASSERT_FALSE(merger.GetDocument().IsEmpty());
}

/// The control is given RTF that it has not written itself: each time it reads what it has written, as for a copy of
/// a document, Wine's keeps two small blocks, without our library too.
void LiveAsControl(int round)
{
    constexpr wchar_t kRtf[] = L"{\\rtf1\\ansi{\\b bold} and {\\i slanted}\\par next}";
    Window frame;
    ASSERT_TRUE(frame.Make(WS_POPUP));
    SRtfDocument document(&frame);
    SString text;
    ASSERT_EQ(1, document.RtfToText(&text, kRtf));
    ASSERT_STREQ(L"bold and slanted\r\nnext", text);
    if (round % 2) {
        SRtfDocument second(&frame); // with a host of its own
        ASSERT_EQ(1, second.SetRtfText(kRtf));
        ASSERT_TRUE(SRichEditCtrl::IsRtf(second.GetEditCtrl().GetRtf()));
    }
    if (round % 3 == 0)
        document.DeleteEditCtrl();
}

} // namespace

TEST_F(Windows, MergersAndControlsLeaveNothingBehind)
{
    const struct {
        const char* what;
        void (*live)(int round);
        int rounds;
    } kLives[] = { { "a window", LiveAsWindow, 1000 },
                   { "a merge", Merge, 1000 },
                   { "a rich-edit control", LiveAsControl, 500 } };
    for (const auto& life : kLives) {
        SCOPED_TRACE(life.what);
        const auto live = [&life](int rounds) {
            for (int i = 0; i < rounds && !HasFatalFailure(); ++i) {
                life.live(i);
                g_seen.clear();
            }
            SWnd::DeleteTempMap();
            for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {}
        };
        live(24); // each kind of round: what is made on first use
        const StringsAtRest rest;
        const ResourceCount before = CountResources();
        const unsigned long pools = SFixedAlloc::TotalBytes();
        live(life.rounds);
        EXPECT_EQ(before, CountResources());
        EXPECT_EQ(pools, SFixedAlloc::TotalBytes());
    }
}
