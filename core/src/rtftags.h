// rtftags.h: the tags of SRtfText (rtftext.h says what a tag is), for texts with a known end and for texts that end at a NUL.
#ifndef RTFTAGS_H
#define RTFTAGS_H

#include "rtfscan.h"

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

/// A text that ends at its first NUL.
struct ToNul {
    bool IsEnd(const wchar_t* at) const { return *at == L'\0'; }
    wchar_t UnitAt(const wchar_t* at) const { return *at; }
    template <class Ends>
    const wchar_t* FindFirst(const wchar_t* at) const
    {
        return Find<Ends>(at);
    }
    size_t ToWordEnd(const wchar_t* at) const { return DistanceNear<ControlEnds>(at); }
    template <class IsEnd>
    const wchar_t* FindTextEnd(const wchar_t* at, IsEnd isEnd) const
    {
        return RtfTags::FindTextEnd(at, isEnd);
    }
};

/// A text of known length, NULs and all. It is followed by a NUL or, where it is a part of a text, by more of that.
struct ToPosition {
    bool IsEnd(const wchar_t* at) const { return at >= end; }
    wchar_t UnitAt(const wchar_t* at) const { return at < end ? *at : L'\0'; }
    template <class Ends>
    const wchar_t* FindFirst(const wchar_t* at) const
    {
        return FindBefore<Ends>(at, end);
    }
    size_t ToWordEnd(const wchar_t* at) const { return static_cast<size_t>(EndOfWord(at, end) - at); }
    template <class IsEnd>
    const wchar_t* FindTextEnd(const wchar_t* at, IsEnd isEnd) const
    {
        if (at >= end)
            return end;
        const wchar_t* const found = RtfTags::FindTextEnd(
            at, [&](const wchar_t* place) { return place >= end || (*place != L'\0' && isEnd(place)); });
        return found < end ? found : end;
    }

    const wchar_t* end;
};

enum Group { kBrace, kWholeGroup };

/// The tag at `at`, behind white space; an empty one at the text's end.
template <class Text>
inline Tag TagAt(const wchar_t* at, Text text, Group group);

/// Hands out a text's tags.
class Cursor {
public:
    explicit Cursor(const SString& text) : m_at(text), m_text{ m_at + text.Length() } {}
    explicit Cursor(const Tag& text) : m_at(text.start), m_text{ text.end } {}

    Tag Next(Group group = kBrace)
    {
        const Tag tag = TagAt(m_at, m_text, group);
        m_at = tag.end;
        return tag;
    }
    void SkipSpace()
    {
        while (IsSpace(m_text.UnitAt(m_at)))
            ++m_at;
    }

    const wchar_t* At() const { return m_at; }
    void MoveTo(const wchar_t* at) { m_at = at; }
    bool AtEnd() const { return m_text.IsEnd(m_at); }

private:
    const wchar_t* m_at;
    ToPosition m_text;
};

/// The number at the start of a text, as SString::ToLONG reads it.
int NumberOf(std::wstring_view text);

// ---- Inline parts ----

/// Whether the backslash begins "\'e9" or "\u233", which are text.
template <class Text>
inline bool IsEscape(const wchar_t* backslash, Text text)
{
    const wchar_t second = text.UnitAt(backslash + 1);
    return second == L'\'' || (second == L'u' && IsDigit(text.UnitAt(backslash + 2)));
}

template <class Text>
inline const wchar_t* EndOfGroup(const wchar_t* at, Text text)
{
    int depth = 1;
    for (++at;; ++at) {
        at = text.template FindFirst<TextEnds>(at);
        if (text.IsEnd(at))
            return at;
        if (*at == L'{')
            ++depth;
        else if (*at == L'}' && --depth == 0)
            return at + 1;
    }
}

template <class Text>
inline const wchar_t* EndOfText(const wchar_t* at, Text text)
{
    return text.FindTextEnd(at,
                            [&](const wchar_t* place) { return *place != L'\\' || !IsEscape(place, text); });
}

/// How long the control word is whose backslash stands at `at`.
template <class Text>
inline ptrdiff_t ControlLength(const wchar_t* at, Text text)
{
    const size_t length = 1 + text.ToWordEnd(at + 1);
    const wchar_t c = text.UnitAt(at + length);
    return static_cast<ptrdiff_t>(c == L' ' || c == L'\t' ? length + 1 : length);
}

/// How long the tag is that begins at `at`. As a number, not as a place: where the next tag begins then is known, or foreseen,
/// without working out where this one ends.
template <class Text>
inline ptrdiff_t TagLength(const wchar_t* at, Text text, Group group)
{
    const wchar_t c = text.UnitAt(at);
    if (c == L'\\') {
        if (text.UnitAt(at + 1) == L'\\')
            return 2;
        return IsEscape(at, text) ? EndOfText(at + 1, text) - at : ControlLength(at, text);
    }
    if (c == L'}' || (c == L'{' && group == kBrace))
        return 1;
    if (c == L'{')
        return EndOfGroup(at, text) - at;
    return text.IsEnd(at) ? 0 : EndOfText(at, text) - at;
}

template <class Text>
inline Tag TagAt(const wchar_t* at, Text text, Group group)
{
    while (IsSpace(text.UnitAt(at)))
        ++at;
    return { at, at + TagLength(at, text, group) };
}

} // namespace RtfTags

#endif
