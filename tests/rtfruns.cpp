// Generated documents: what is shown of a merged one, character by character with its look, is what was put into
// its fragments.
#include "rtfmerge.h"

#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Dice = std::mt19937;

size_t Below(Dice& dice, size_t n)
{
    return dice() % n;
}

/// How characters look: fonts, colours and styles by what they are, since numbers are each document's own.
struct Look {
    std::wstring font, color, style;
    long size = 24, bold = 0, italic = 0, underlined = 0;
    wchar_t aligned = L'l';

    bool operator==(const Look& other) const
    {
        return font == other.font && color == other.color && style == other.style && size == other.size &&
               bold == other.bold && italic == other.italic && underlined == other.underlined &&
               aligned == other.aligned;
    }
    /// Back to the document's usual characters; the paragraph stays.
    void Plain(const std::wstring& usualFont)
    {
        Look plain;
        plain.font = usualFont;
        plain.style = style;
        plain.aligned = aligned;
        *this = plain;
    }
    std::wstring Text() const
    {
        return font + L'/' + color + L'/' + style + L'/' + std::to_wstring(size) + L'/' +
               std::to_wstring(bold) + std::to_wstring(italic) + std::to_wstring(underlined) + aligned;
    }
};

/// What is shown: runs of one look. An end of a paragraph has none.
struct Run {
    std::wstring text;
    Look look;
    bool operator==(const Run& other) const { return text == other.text && look == other.look; }
};
void PrintTo(const Run& run, std::ostream* out)
{
    *out << testing::PrintToString(run.text) << " as " << testing::PrintToString(run.look.Text());
}
using Runs = std::vector<Run>;

void Show(Runs& runs, wchar_t c, const Look& look)
{
    const Look seen = c == L'\n' ? Look() : look;
    if (runs.empty() || !(runs.back().look == seen))
        runs.push_back({ L"", seen });
    runs.back().text += c;
}

UINT CodePageOf(long charset)
{
    return charset == 204 ? 1251 : charset == 238 ? 1250 : 1252;
}
wchar_t Decoded(UINT codePage, char byte)
{
    wchar_t wide = 0;
    ::MultiByteToWideChar(codePage, 0, &byte, 1, &wide, 1);
    return wide;
}

// ---- Writing ----

struct Font {
    const wchar_t* name;
    long charset;
};
constexpr Font kFonts[] = {
    { L"Arial", 0 }, { L"Times", 0 }, { L"Ost", 238 }, { L"Kirill", 204 }, { L"Arial", 204 }
};

std::wstring FontLook(const std::wstring& name, long charset)
{
    return name + L'.' + std::to_wstring(charset);
}

/// Writes a document, and keeps what it should show.
class Writer {
public:
    explicit Writer(Dice& dice) : m_dice(dice)
    {
        std::wstring fonts, colors = L";", styles;
        const size_t firstFont = Below(dice, 50), step = 1 + Below(dice, 9);
        for (size_t i = 0; i < 1 + Below(dice, 4); ++i) {
            m_fonts[static_cast<long>(firstFont + i * step)] = kFonts[Below(dice, std::size(kFonts))];
        }
        for (const auto& [number, font] : m_fonts) {
            fonts += L"{\\f" + std::to_wstring(number) + L"\\fnil\\fcharset" + std::to_wstring(font.charset) +
                     L" " + font.name + L";}";
        }
        for (size_t i = 0; i < Below(dice, 4); ++i) {
            const std::wstring color = L"\\red" + std::to_wstring(Below(dice, 4) * 60) + L"\\green0\\blue" +
                                       std::to_wstring(Below(dice, 256));
            colors += color + L';';
            m_colors.push_back(color);
        }
        for (size_t i = 0; i < Below(dice, 4); ++i) {
            const long number = static_cast<long>(1 + Below(dice, 30));
            if (m_styles.emplace(number, L"Style " + std::to_wstring(Below(dice, 6))).second)
                styles += L"{\\s" + std::to_wstring(number) + L"\\sbasedon222 " + m_styles[number] + L";}";
        }
        const auto usual = std::next(m_fonts.begin(), static_cast<long>(Below(dice, m_fonts.size())));
        m_usual = FontLook(usual->second.name, usual->second.charset);
        m_states.push_back({ Look(), 1, CodePageOf(usual->second.charset) });
        m_usualCodePage = m_states.back().codePage;
        m_states.back().look.font = m_usual;
        m_text = L"{\\rtf1\\ansi\\ansicpg1252\\deff" + std::to_wstring(usual->first) + L"{\\fonttbl" + fonts +
                 L"}{\\colortbl " + colors + L"}";
        if (!styles.empty())
            m_text += L"{\\stylesheet" + styles + L"}";
        for (size_t pieces = 1 + Below(dice, 25); pieces > 0; --pieces)
            Piece();
        while (m_states.size() > 1)
            Close();
        m_text += L'}';
    }
    SString Text() const { return SString(std::wstring_view(m_text)); }
    const Runs& Shown() const { return m_shown; }

private:
    struct State {
        Look look;
        size_t substitutes;
        UINT codePage;
    };

    void Word(const std::wstring& word) { m_text += L'\\' + word + (Below(m_dice, 2) ? L" " : L"{}"); }
    void Toggle(const wchar_t* word, long& value)
    {
        value = static_cast<long>(Below(m_dice, 2));
        Word(std::wstring(word) + (value ? L"" : L"0"));
    }
    void Close()
    {
        m_text += L'}';
        m_states.pop_back();
    }
    void Piece()
    {
        State& now = m_states.back();
        switch (Below(m_dice, 16)) {
        case 0:
            if (m_states.size() < 6) {
                m_text += L'{';
                m_states.push_back(State(now));
            }
            break;
        case 1:
            if (m_states.size() > 1)
                Close();
            break;
        case 2: Toggle(L"b", now.look.bold); break;
        case 3: Toggle(L"i", now.look.italic); break;
        case 4: Toggle(L"ul", now.look.underlined); break;
        case 5: {
            const auto font = std::next(m_fonts.begin(), static_cast<long>(Below(m_dice, m_fonts.size())));
            Word(L"f" + std::to_wstring(font->first));
            now.look.font = FontLook(font->second.name, font->second.charset);
            now.codePage = CodePageOf(font->second.charset);
            break;
        }
        case 6:
            now.look.size = static_cast<long>(10 + Below(m_dice, 40));
            Word(L"fs" + std::to_wstring(now.look.size));
            break;
        case 7: {
            const size_t color = Below(m_dice, m_colors.size() + 1);
            now.look.color = color == 0 ? L"" : m_colors[color - 1];
            Word(L"cf" + std::to_wstring(color));
            break;
        }
        case 8:
            Word(L"plain");
            now.look.Plain(m_usual);
            now.codePage = m_usualCodePage;
            break;
        case 9: Paragraph(now.look); break;
        case 10:
            now.substitutes = Below(m_dice, 3);
            Word(L"uc" + std::to_wstring(now.substitutes));
            break;
        default:
            for (size_t i = 1 + Below(m_dice, 6); i > 0; --i)
                Character(now);
        }
    }
    void Paragraph(Look& look)
    {
        Word(L"par");
        Show(m_shown, L'\n', look);
        if (Below(m_dice, 2) == 0)
            return;
        Word(L"pard");
        look.aligned = L"lrcj"[Below(m_dice, 4)];
        Word(std::wstring(L"q") + look.aligned);
        look.style.clear();
        if (!m_styles.empty() && Below(m_dice, 2)) {
            const auto style = std::next(m_styles.begin(), static_cast<long>(Below(m_dice, m_styles.size())));
            Word(L"s" + std::to_wstring(style->first));
            look.style = style->second;
        }
    }
    void Character(const State& now)
    {
        wchar_t c = static_cast<wchar_t>(L'a' + Below(m_dice, 26));
        switch (Below(m_dice, 6)) {
        case 0: {
            static constexpr wchar_t kEscaped[] = L"{}\\";
            c = kEscaped[Below(m_dice, 3)];
            m_text += { L'\\', c };
            break;
        }
        case 1: {
            static constexpr wchar_t kDigits[] = L"0123456789abcdef";
            const size_t byte = 0xC0 + Below(m_dice, 0x40);
            c = Decoded(now.codePage, static_cast<char>(byte));
            m_text += { L'\\', L'\'', kDigits[byte / 16], kDigits[byte % 16] };
            break;
        }
        case 2:
            c = static_cast<wchar_t>(Below(m_dice, 2) ? 0xE000 + Below(m_dice, 0x1F00)
                                                      : 0x100 + Below(m_dice, 0x4000));
            m_text += L"\\u" + std::to_wstring(static_cast<short>(c)) + L' ' +
                      (now.substitutes == 0   ? L""
                       : now.substitutes == 1 ? L"\\'3f"
                                              : L"?\\'3f");
            break;
        case 3: c = static_cast<wchar_t>(0x3B1 + Below(m_dice, 20)); [[fallthrough]];
        default: m_text += c;
        }
        Show(m_shown, c, now.look);
    }

    Dice& m_dice;
    std::map<long, Font> m_fonts;
    std::vector<std::wstring> m_colors;
    std::map<long, std::wstring> m_styles;
    std::wstring m_usual, m_text;
    UINT m_usualCodePage = 0;
    std::vector<State> m_states;
    Runs m_shown;
};

// ---- Reading ----

/// What a document shows, by the plainest rules.
class Reader {
public:
    explicit Reader(const SString& rtf) : m_text(Wide(rtf))
    {
        do {
            Step();
        } while (m_at < m_text.size() && !m_states.empty());
    }
    const Runs& Shown() const { return m_shown; }

private:
    enum Where { kBody, kFonts, kColors, kStyles, kHidden };
    struct State {
        Where where = kBody;
        Look look;
        long font = 0, substitutes = 1;
    };

    void Step()
    {
        const wchar_t c = m_text[m_at++];
        if (c == L'{') {
            m_states.push_back(m_states.empty() ? State() : m_states.back());
        } else if (c == L'}') {
            m_states.pop_back();
            m_skip = 0;
        } else if (c != L'\\') {
            if (c != L'\r' && c != L'\n')
                Put(c);
        } else if (std::iswalpha(m_text[m_at])) {
            Word();
        } else if (m_text[m_at] == L'*') {
            ++m_at;
            m_states.back().where = kHidden;
        } else if (m_text[m_at] == L'\'') {
            const char byte = static_cast<char>(std::stoi(m_text.substr(m_at + 1, 2), nullptr, 16));
            m_at += 3;
            Put(Decoded(CodePageOf(m_charsets[m_states.back().font]), byte));
        } else {
            Put(m_text[m_at++]);
        }
    }
    void Word()
    {
        std::wstring name;
        while (std::iswalpha(m_text[m_at]))
            name += m_text[m_at++];
        wchar_t* end;
        const wchar_t* const digits = m_text.c_str() + m_at;
        const long number = std::wcstol(digits, &end, 10);
        const bool given = m_text[m_at] == L'-' || std::iswdigit(m_text[m_at]);
        if (given)
            m_at += static_cast<size_t>(end - digits);
        const std::wstring all = L'\\' + name + (given ? std::to_wstring(number) : L"");
        if (m_text[m_at] == L' ')
            ++m_at;
        State& now = m_states.back();
        Look& look = now.look;
        const long on = given ? number : 1;
        if (name == L"fonttbl")
            now.where = kFonts;
        else if (name == L"colortbl")
            now.where = kColors;
        else if (name == L"stylesheet")
            now.where = kStyles;
        else if (now.where == kColors)
            m_entry += all;
        else if (name == L"deff")
            m_usual = now.font = number;
        else if (name == L"f")
            now.font = number;
        else if (name == L"fcharset")
            m_charsets[now.font] = number;
        else if (name == L"s")
            m_style = number, look.style = now.where == kBody ? m_styles[number] : L"";
        else if (name == L"b")
            look.bold = on;
        else if (name == L"i")
            look.italic = on;
        else if (name == L"ul")
            look.underlined = on;
        else if (name == L"fs")
            look.size = number;
        else if (name == L"cf")
            look.color = m_colors.at(static_cast<size_t>(number));
        else if (name == L"plain")
            look.Plain(L""), now.font = m_usual;
        else if (name == L"pard")
            look.style.clear(), look.aligned = L'l';
        else if (name.size() == 2 && name[0] == L'q')
            look.aligned = name[1];
        else if (name == L"par")
            Show(m_shown, L'\n', look);
        else if (name == L"uc")
            now.substitutes = number;
        else if (name == L"u") {
            m_skip = 0;
            Put(static_cast<wchar_t>(number));
            m_skip = now.substitutes;
        }
    }
    void Put(wchar_t c)
    {
        const State& now = m_states.back();
        if (m_skip > 0) {
            --m_skip;
        } else if (now.where == kBody) {
            Look look = now.look;
            look.font = FontLook(m_names[now.font], m_charsets[now.font]);
            Show(m_shown, c, look);
        } else if (c != L';') {
            m_entry += c;
        } else {
            if (now.where == kFonts)
                m_names[now.font] = m_entry;
            else if (now.where == kColors)
                m_colors.push_back(m_entry);
            else if (now.where == kStyles)
                m_styles[m_style] = m_entry;
            m_entry.clear();
        }
    }

    const std::wstring m_text;
    size_t m_at = 0;
    std::vector<State> m_states;
    std::map<long, std::wstring> m_names, m_styles;
    std::map<long, long> m_charsets;
    std::vector<std::wstring> m_colors;
    std::wstring m_entry;
    long m_usual = 0, m_style = 0, m_skip = 0;
    Runs m_shown;
};

} // namespace

TEST(RtfMergeRuns, AreThoseOfTheFragmentsInTextAndLook)
{
    Dice dice(TestSeed());
    size_t runs = 0;
    const int cases = Cases(4000);
    for (int i = 0; i < cases; ++i) {
        SRtfMerger merger;
        Runs wanted;
        SString fragments;
        // One document mostly, for which the promise is the plainest.
        for (size_t fragment = 0; fragment == 0 || Below(dice, 3) == 0; ++fragment) {
            const Writer writer(dice);
            fragments += writer.Text() + L"\n";
            ASSERT_EQ(writer.Shown(), Reader(writer.Text()).Shown()) << fragments;
            ASSERT_EQ(1, merger.AddFragment(writer.Text())) << fragments;
            if (!wanted.empty() && wanted.back().text.back() != L'\n' && fragment > 0)
                Show(wanted, L'\n', Look());
            for (const auto& run : writer.Shown())
                for (const wchar_t c : run.text)
                    Show(wanted, c, run.look);
        }
        ASSERT_EQ(wanted, Reader(merger.GetDocument()).Shown()) << fragments << merger.GetDocument();
        SRtfMerger again;
        ASSERT_EQ(1, again.AddFragment(merger.GetDocument()));
        ASSERT_EQ(wanted, Reader(again.GetDocument()).Shown()) << fragments << again.GetDocument();
        runs += wanted.size();
    }
    std::printf("%d merged documents of %zu runs\n", cases, runs);
    EXPECT_GT(runs, static_cast<size_t>(cases)) << "not all of one look";
}
