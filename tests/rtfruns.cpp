// Generated documents: what is shown of a merged one, character by character with its look, is what was put into
// its fragments.
#include "rtfmerge.h"

#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Dice = std::mt19937;

size_t Below(Dice& dice, size_t n)
{
    return dice() % n;
}

/// What fonts, colours and styles are, as a number for each: they are compared for every character that is shown.
class Names {
public:
    int Of(const std::wstring& name)
    {
        const auto [entry, isNew] = m_numbers.emplace(name, static_cast<int>(m_numbers.size()));
        if (isNew)
            m_names.push_back(&entry->first);
        return entry->second;
    }
    const std::wstring& At(int number) const { return *m_names[static_cast<size_t>(number)]; }

private:
    std::unordered_map<std::wstring, int> m_numbers;
    std::vector<const std::wstring*> m_names;
};
Names g_names;
const int kNoName = g_names.Of(L"");

/// How characters look: fonts, colours and styles by what they are, since numbers are each document's own.
struct Look {
    int font = kNoName, color = kNoName, style = kNoName;
    long size = 24, bold = 0, italic = 0, underlined = 0;
    wchar_t aligned = L'l';

    bool operator==(const Look& other) const
    {
        return font == other.font && color == other.color && style == other.style && size == other.size &&
               bold == other.bold && italic == other.italic && underlined == other.underlined &&
               aligned == other.aligned;
    }
    /// Back to the document's usual characters; the paragraph stays.
    void Plain(int usualFont)
    {
        Look plain;
        plain.font = usualFont;
        plain.style = style;
        plain.aligned = aligned;
        *this = plain;
    }
    std::wstring Text() const
    {
        return g_names.At(font) + L'/' + g_names.At(color) + L'/' + g_names.At(style) + L'/' +
               std::to_wstring(size) + L'/' + std::to_wstring(bold) + std::to_wstring(italic) +
               std::to_wstring(underlined) + aligned;
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

/// Characters of one look, behind those that are there.
void Show(Runs& runs, std::wstring_view text, const Look& look)
{
    if (runs.empty() || !(runs.back().look == look))
        runs.push_back({ L"", look });
    runs.back().text += text;
}
void Show(Runs& runs, wchar_t c, const Look& look)
{
    Show(runs, std::wstring_view(&c, 1), c == L'\n' ? Look() : look);
}

// ---- Code pages: asked of the system once ----

struct Page {
    long charset;
    UINT number;
    wchar_t characters[256];
};

const Page& PageOf(long charset)
{
    static const std::vector<Page> pages = [] {
        std::vector<Page> made{ { 0, 1252, {} }, { 204, 1251, {} }, { 238, 1250, {} } };
        for (Page& page : made) {
            for (int i = 0; i < 256; ++i) {
                const char byte = static_cast<char>(i);
                ::MultiByteToWideChar(page.number, 0, &byte, 1, &page.characters[i], 1);
            }
        }
        return made;
    }();
    return charset == 204 ? pages[1] : charset == 238 ? pages[2] : pages[0];
}

// ---- Writing ----

int FontLook(const std::wstring& name, long charset)
{
    return g_names.Of(name + L'.' + std::to_wstring(charset));
}

struct Font {
    Font(const wchar_t* itsName, long itsCharset)
        : name(itsName), charset(itsCharset), look(FontLook(itsName, itsCharset))
    {}
    const wchar_t* name;
    long charset;
    int look;
};
const Font kFonts[] = {
    { L"Arial", 0 }, { L"Times", 0 }, { L"Ost", 238 }, { L"Kirill", 204 }, { L"Arial", 204 }
};

/// Writes a document, and keeps what it should show.
class Writer {
public:
    explicit Writer(Dice& dice) : m_dice(dice)
    {
        std::wstring fonts, colors = L";", styles;
        const size_t firstFont = Below(dice, 50), step = 1 + Below(dice, 9);
        for (size_t i = 0; i < 1 + Below(dice, 4); ++i) {
            const long number = static_cast<long>(firstFont + i * step);
            const Font& font = kFonts[Below(dice, std::size(kFonts))];
            m_fonts.emplace_back(number, &font);
            fonts += L"{\\f" + std::to_wstring(number) + L"\\fnil\\fcharset" + std::to_wstring(font.charset) +
                     L" " + font.name + L";}";
        }
        for (size_t i = 0; i < Below(dice, 4); ++i) {
            const std::wstring color = L"\\red" + std::to_wstring(Below(dice, 4) * 60) + L"\\green0\\blue" +
                                       std::to_wstring(Below(dice, 256));
            colors += color + L';';
            m_colors.push_back(g_names.Of(color));
        }
        for (size_t i = 0; i < Below(dice, 4); ++i) {
            const long number = static_cast<long>(1 + Below(dice, 30));
            const bool isTaken = std::any_of(m_styles.begin(), m_styles.end(),
                                             [number](const auto& style) { return style.first == number; });
            if (isTaken)
                continue;
            const std::wstring style = L"Style " + std::to_wstring(Below(dice, 6));
            m_styles.emplace_back(number, g_names.Of(style));
            styles += L"{\\s" + std::to_wstring(number) + L"\\sbasedon222 " + style + L";}";
        }
        const auto [usual, font] = m_fonts[Below(dice, m_fonts.size())];
        m_usual = font;
        m_states.push_back({ Look(), 1, &PageOf(font->charset) });
        m_states.back().look.font = font->look;
        m_text = L"{\\rtf1\\ansi\\ansicpg1252\\deff" + std::to_wstring(usual) + L"{\\fonttbl" + fonts +
                 L"}{\\colortbl " + colors + L"}";
        if (!styles.empty())
            m_text += L"{\\stylesheet" + styles + L"}";
        // Mostly short ones: more kinds of them in the same time.
        for (size_t pieces = 1 + Below(dice, Below(dice, 8) == 0 ? 25 : 8); pieces > 0; --pieces)
            Piece();
        while (m_states.size() > 1)
            Close();
        m_text += L'}';
    }
    const std::wstring& Text() const { return m_text; }
    const Runs& Shown() const { return m_shown; }

private:
    struct State {
        Look look;
        size_t substitutes;
        const Page* page;
    };

    void Word(std::wstring_view word, std::wstring_view number = {})
    {
        m_text += L'\\';
        m_text += word;
        m_text += number;
        m_text += Below(m_dice, 2) ? L" " : L"{}";
    }
    void Toggle(const wchar_t* word, long& value)
    {
        value = static_cast<long>(Below(m_dice, 2));
        Word(word, value ? L"" : L"0");
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
            const auto [number, font] = m_fonts[Below(m_dice, m_fonts.size())];
            Word(L"f", std::to_wstring(number));
            now.look.font = font->look;
            now.page = &PageOf(font->charset);
            break;
        }
        case 6:
            now.look.size = static_cast<long>(10 + Below(m_dice, 40));
            Word(L"fs", std::to_wstring(now.look.size));
            break;
        case 7: {
            const size_t color = Below(m_dice, m_colors.size() + 1);
            now.look.color = color == 0 ? kNoName : m_colors[color - 1];
            Word(L"cf", std::to_wstring(color));
            break;
        }
        case 8:
            Word(L"plain");
            now.look.Plain(m_usual->look);
            now.page = &PageOf(m_usual->charset);
            break;
        case 9: Paragraph(now.look); break;
        case 10:
            now.substitutes = Below(m_dice, 3);
            Word(L"uc", std::to_wstring(now.substitutes));
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
        Word(L"q", std::wstring_view(&look.aligned, 1));
        look.style = kNoName;
        if (!m_styles.empty() && Below(m_dice, 2)) {
            const auto [number, style] = m_styles[Below(m_dice, m_styles.size())];
            Word(L"s", std::to_wstring(number));
            look.style = style;
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
            c = now.page->characters[byte];
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
    std::vector<std::pair<long, const Font*>> m_fonts; // by their number in the document
    std::vector<int> m_colors;
    std::vector<std::pair<long, int>> m_styles; // and these
    const Font* m_usual;
    std::wstring m_text;
    std::vector<State> m_states;
    Runs m_shown;
};

// ---- Reading ----

bool IsLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}
bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

/// What a document shows, by the plainest rules.
class Reader {
public:
    explicit Reader(std::wstring rtf) : m_text(std::move(rtf))
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
        } else if (IsLetter(m_text[m_at])) {
            Word();
        } else if (m_text[m_at] == L'*') {
            ++m_at;
            m_states.back().where = kHidden;
        } else if (m_text[m_at] == L'\'') {
            const wchar_t digits[] = { m_text[m_at + 1], m_text[m_at + 2], L'\0' };
            m_at += 3;
            Put(PageOf(m_fonts[m_states.back().font].charset).characters[std::wcstoul(digits, nullptr, 16)]);
        } else {
            Put(m_text[m_at++]);
        }
    }
    void Word()
    {
        const size_t start = m_at;
        while (IsLetter(m_text[m_at]))
            ++m_at;
        const std::wstring_view name = std::wstring_view(m_text).substr(start, m_at - start);
        const bool isNegative = m_text[m_at] == L'-';
        const bool given = isNegative || IsDigit(m_text[m_at]);
        m_at += isNegative;
        long number = 0;
        while (IsDigit(m_text[m_at]))
            number = 10 * number + (m_text[m_at++] - L'0');
        if (isNegative)
            number = -number;
        const std::wstring_view all = std::wstring_view(m_text).substr(start - 1, m_at - start + 1);
        if (m_text[m_at] == L' ')
            ++m_at;
        State& now = m_states.back();
        Look& look = now.look;
        const long on = given ? number : 1;
        if (name == L"fonttbl"sv)
            now.where = kFonts;
        else if (name == L"colortbl"sv)
            now.where = kColors;
        else if (name == L"stylesheet"sv)
            now.where = kStyles;
        else if (now.where == kColors)
            m_entry += all;
        else if (name == L"deff"sv)
            m_usual = now.font = number;
        else if (name == L"f"sv)
            now.font = number;
        else if (name == L"fcharset"sv)
            m_fonts[now.font].charset = number;
        else if (name == L"s"sv)
            m_style = number, look.style = now.where == kBody ? m_styles[number] : kNoName;
        else if (name == L"b"sv)
            look.bold = on;
        else if (name == L"i"sv)
            look.italic = on;
        else if (name == L"ul"sv)
            look.underlined = on;
        else if (name == L"fs"sv)
            look.size = number;
        else if (name == L"cf"sv)
            look.color = m_colors.at(static_cast<size_t>(number));
        else if (name == L"plain"sv)
            look.Plain(kNoName), now.font = m_usual;
        else if (name == L"pard"sv)
            look.style = kNoName, look.aligned = L'l';
        else if (name.size() == 2 && name[0] == L'q')
            look.aligned = name[1];
        else if (name == L"par"sv)
            Show(m_shown, L'\n', look);
        else if (name == L"uc"sv)
            now.substitutes = number;
        else if (name == L"u"sv) {
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
            look.font = m_fonts[now.font].look;
            Show(m_shown, c, look);
        } else if (c != L';') {
            m_entry += c;
        } else {
            if (now.where == kFonts)
                m_fonts[now.font].look = FontLook(m_entry, m_fonts[now.font].charset);
            else if (now.where == kColors)
                m_colors.push_back(g_names.Of(m_entry));
            else if (now.where == kStyles)
                m_styles[m_style] = g_names.Of(m_entry);
            m_entry.clear();
        }
    }

    const std::wstring m_text;
    size_t m_at = 0;
    std::vector<State> m_states;
    struct KnownFont {
        long charset = 0;
        int look = kNoName;
    };
    std::map<long, KnownFont> m_fonts;
    std::map<long, int> m_styles;
    std::vector<int> m_colors;
    std::wstring m_entry;
    long m_usual = 0, m_style = 0, m_skip = 0;
    Runs m_shown;
};

} // namespace

TEST(RtfMergeRuns, AreThoseOfTheFragmentsInTextAndLook)
{
    Dice dice(TestSeed());
    size_t runs = 0;
    const int cases = Cases(4000, kMillion);
    for (int i = 0; i < cases; ++i) {
        SRtfMerger merger;
        Runs wanted;
        std::wstring fragments;
        // One document mostly, for which the promise is the plainest.
        for (size_t fragment = 0; fragment == 0 || Below(dice, 3) == 0; ++fragment) {
            const Writer writer(dice);
            fragments += writer.Text() + L"\n";
            ASSERT_EQ(writer.Shown(), Reader(writer.Text()).Shown()) << fragments;
            ASSERT_EQ(1, merger.AddFragment(SString(std::wstring_view(writer.Text())))) << fragments;
            if (!wanted.empty() && wanted.back().text.back() != L'\n' && fragment > 0)
                Show(wanted, L'\n', Look());
            for (const auto& run : writer.Shown())
                Show(wanted, run.text, run.look);
        }
        const SString merged = merger.GetDocument();
        ASSERT_EQ(wanted, Reader(Wide(merged)).Shown()) << fragments << merged;
        SRtfMerger again;
        ASSERT_EQ(1, again.AddFragment(merged));
        const SString twice = again.GetDocument();
        ASSERT_EQ(wanted, Reader(Wide(twice)).Shown()) << fragments << twice;
        runs += wanted.size();
    }
    std::printf("%d merged documents of %zu runs\n", cases, runs);
    EXPECT_GT(runs, static_cast<size_t>(cases)) << "not all of one look";
}
