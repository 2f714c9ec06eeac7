// rtftags.h: the tags of SRtfText (rtftext.h says what a tag is), for texts with a known end and for texts that end at a NUL.
#ifndef RTFTAGS_H
#define RTFTAGS_H

#include "strclss.h"

#include <cstddef>
#include <string_view>

namespace RtfTags {

inline bool IsSpace(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r';
}
inline bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

/// The first brace, backslash or NUL from `at` on; there must be one.
const wchar_t* FindSpecial(const wchar_t* at);
/// The first brace or backslash from `at` on; `end` when there is none before it. There must be one of them or a NUL, soon
/// behind `end` where it is to cost little.
const wchar_t* FindSpecialBefore(const wchar_t* at, const wchar_t* end);

struct Tag {
    const wchar_t* start;
    const wchar_t* end;

    bool IsEmpty() const { return start == end; }
    int Length() const { return static_cast<int>(end - start); }
    wchar_t First() const { return IsEmpty() ? L'\0' : *start; }
    std::wstring_view Text() const { return { start, static_cast<size_t>(end - start) }; }
    bool BeginsWith(std::wstring_view prefix) const { return Text().substr(0, prefix.size()) == prefix; }
    /// Whether it is a control word: it begins with a backslash, and that is not the one of "\'e9" or "\u233".
    bool IsControl() const;
    Tag TrimRight() const;
    SString ToString() const { return SString(start, end); }
};

/// Hands out a text's tags.
class Cursor {
public:
    /// Of a string, NULs and all.
    explicit Cursor(const SString& text) : m_at(text), m_end(m_at + text.Length()) {}
    explicit Cursor(const Tag& text) : m_at(text.start), m_end(text.end) {}
    /// Of a text that ends at its first NUL.
    explicit Cursor(const wchar_t* text) : m_at(text), m_end(nullptr) {}

    enum Group { kBrace, kWholeGroup };
    /// The next tag; an empty one at the end.
    Tag Next(Group group = kBrace);
    void SkipSpace();

    const wchar_t* At() const { return m_at; }
    void MoveTo(const wchar_t* at) { m_at = at; }
    bool AtEnd() const { return IsEnd(m_at); }

private:
    // A text of known length is followed by a NUL or, where it is a part of one, by more text: both ends are looked at.
    bool IsEnd(const wchar_t* at) const { return m_end ? at >= m_end : *at == L'\0'; }
    const wchar_t* Special(const wchar_t* at) const;
    const wchar_t* EndOfGroup(const wchar_t* at) const;
    const wchar_t* EndOfControl(const wchar_t* at) const;
    const wchar_t* EndOfText(const wchar_t* at) const;
    bool IsEscape(const wchar_t* backslash) const;
    wchar_t UnitAt(const wchar_t* at) const { return IsEnd(at) ? L'\0' : *at; }

    const wchar_t* m_at;
    const wchar_t* m_end;
};

/// The number at the start of a text, as SString::ToLONG reads it.
int NumberOf(std::wstring_view text);

} // namespace RtfTags

#endif
