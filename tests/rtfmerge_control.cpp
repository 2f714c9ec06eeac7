// Merged documents, read back through the system's control and compared with each fragment alone.
#include "rtfdoc.h"
#include "rtfmerge.h"

#include "support/rtffiles.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

namespace {

/// Characters that look the same.
struct Stretch {
    std::wstring text;
    std::wstring look;
};

/// What can be seen of a text, and where. Blanks and ends of paragraphs, cells and rows are left out: what the control makes of
/// those, and of tables that are open where its content ends, is its own affair.
struct Visible {
    explicit Visible(const std::wstring& all)
    {
        for (size_t i = 0; i < all.size(); ++i) {
            if (all[i] > L' ' && all[i] != L'\u00a0') {
                text += all[i];
                places.push_back(static_cast<long>(i));
            }
        }
    }
    std::wstring text;
    std::vector<long> places;
};

class Control {
public:
    Control() : m_document(static_cast<SWnd*>(nullptr)) {}
    bool Load(const SString& rtf) { return m_document.SetRtfText(rtf) != 0; }

    /// With one character a paragraph, so that places in it are places in the control.
    std::wstring Text()
    {
        GETTEXTLENGTHEX length = { GTL_NUMCHARS | GTL_PRECISE, 1200 };
        const LRESULT count = Send(EM_GETTEXTLENGTHEX, reinterpret_cast<WPARAM>(&length), 0);
        std::wstring text(static_cast<size_t>(count) + 1, L'\0');
        GETTEXTEX get = { static_cast<DWORD>(text.size() * sizeof(wchar_t)), GT_DEFAULT, 1200, nullptr,
                          nullptr };
        text.resize(static_cast<size_t>(
            Send(EM_GETTEXTEX, reinterpret_cast<WPARAM>(&get), reinterpret_cast<LPARAM>(&text[0]))));
        return text;
    }

    /// Font, size, style and colour of one character, and how its paragraph stands.
    std::wstring Look(long place)
    {
        m_document.GetEditCtrl().SetSel(place, place + 1);
        CHARFORMAT2W format = {};
        format.cbSize = sizeof format;
        Send(EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
        PARAFORMAT2 paragraph = {};
        paragraph.cbSize = sizeof paragraph;
        Send(EM_GETPARAFORMAT, 0, reinterpret_cast<LPARAM>(&paragraph));
        constexpr DWORD kStyles = CFE_BOLD | CFE_ITALIC | CFE_UNDERLINE | CFE_STRIKEOUT | CFE_AUTOCOLOR |
                                  CFE_AUTOBACKCOLOR | CFE_HIDDEN | CFE_SUPERSCRIPT | CFE_SUBSCRIPT;
        const DWORD automatic = format.dwEffects;
        // Fonts are one whose names differ in case only.
        return std::wstring(::_wcslwr(format.szFaceName)) + L"/" + std::to_wstring(format.yHeight) + L"/" +
               std::to_wstring(format.dwEffects & kStyles) + L"/" +
               std::to_wstring(automatic & CFE_AUTOCOLOR ? 0 : format.crTextColor) + L"/" +
               std::to_wstring(automatic & CFE_AUTOBACKCOLOR ? 0 : format.crBackColor) + L"/" +
               std::to_wstring(paragraph.wAlignment) + L"/" + std::to_wstring(paragraph.dxStartIndent) +
               L"/" + std::to_wstring(paragraph.dxOffset);
    }

    std::vector<Stretch> Stretches()
    {
        const Visible seen(Text());
        std::vector<Stretch> stretches;
        for (size_t i = 0; i < seen.text.size(); ++i) {
            const std::wstring look = Look(seen.places[i]);
            if (stretches.empty() || stretches.back().look != look)
                stretches.push_back({ L"", look });
            stretches.back().text += seen.text[i];
        }
        return stretches;
    }

private:
    LRESULT Send(UINT message, WPARAM wParam, LPARAM lParam)
    {
        return m_document.GetEditCtrl().SendMessage(message, wParam, lParam);
    }

    SRtfDocument m_document;
};

} // namespace

TEST_F(Windows, OfTheControlShowMergedDocumentsLikeTheirFragments)
{
    Control control;
    std::vector<SString> files;
    std::vector<std::vector<Stretch>> alone;
    for (int i = 0; i < kRtfFileCount; ++i) {
        files.push_back(RtfFile(i));
        ASSERT_TRUE(control.Load(files.back()));
        alone.push_back(control.Stretches());
        ASSERT_LT(3u, alone.back().size()) << kRtfFiles[i] << L" has more than one look";
    }
    std::vector<size_t> order(files.size());
    std::iota(order.begin(), order.end(), size_t{ 0 });
    do {
        std::wstring names;
        SRtfMerger merger;
        for (const size_t i : order) {
            names += std::wstring(kRtfFiles[i]) + L" ";
            SString why;
            ASSERT_EQ(1, merger.AddFragment(files[i], SRtfMerger::kParagraphBreak, &why)) << why.PszStr();
        }
        SCOPED_TRACE(names);
        ASSERT_TRUE(control.Load(merger.GetDocument()));
        const std::wstring text = control.Text();
        const Visible seen(text);
        size_t at = 0;
        for (const size_t i : order) {
            if (at > 0) {
                ASSERT_LT(at, seen.text.size()) << kRtfFiles[i] << L" is not there";
                const size_t from = static_cast<size_t>(seen.places[at - 1]);
                const size_t paragraph = text.find(L'\r', from);
                ASSERT_GT(static_cast<size_t>(seen.places.at(at)), paragraph)
                    << kRtfFiles[i] << " begins a paragraph";
            }
            for (const Stretch& stretch : alone[i]) {
                ASSERT_EQ(stretch.text, seen.text.substr(at, stretch.text.size())) << kRtfFiles[i];
                for (const size_t place : { at, at + stretch.text.size() - 1 })
                    ASSERT_EQ(stretch.look, control.Look(seen.places[place]))
                        << kRtfFiles[i] << " at " << place << ": " << stretch.text.substr(0, 20);
                at += stretch.text.size();
            }
        }
        ASSERT_EQ(seen.text.size(), at) << "and nothing else";
    } while (std::next_permutation(order.begin(), order.end()));
}
