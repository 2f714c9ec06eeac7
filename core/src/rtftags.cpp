// rtftags.cpp: the tokenizer. Texts are mostly runs without a brace or backslash, so those are what is searched by blocks.
#include "rtftags.h"

#include "textblock.h"

namespace RtfTags {

using namespace TextKern;

namespace {

bool IsSpecial(wchar_t c)
{
    return c == L'\\' || c == L'{' || c == L'}' || c == L'\0';
}

struct Specials {
    Block backslash = Fill(L'\\');
    Block open = Fill(L'{');
    Block close = Fill(L'}');

    unsigned operator()(Block block) const
    {
        return Lanes(Either(Either(Equal(block, backslash), Equal(block, open)),
                            Either(Equal(block, close), Equal(block, _mm_setzero_si128()))));
    }
};

} // namespace

// Blocks at multiples of their size lie in one page each, so none is read that holds nothing of the text.
const wchar_t* FindSpecial(const wchar_t* at)
{
    for (; Address(at) % kBlockBytes != 0; ++at) {
        if (IsSpecial(*at))
            return at;
    }
    const Specials specials;
    for (;; at += kBlockUnits) {
        if (const unsigned lanes = specials(LoadAligned(at)))
            return at + FirstLane(lanes);
    }
}

const wchar_t* FindSpecialBefore(const wchar_t* at, const wchar_t* end)
{
    // A NUL in the text is a character like others.
    while (at < end) {
        at = FindSpecial(at);
        if (at >= end || *at != L'\0')
            break;
        ++at;
    }
    return at < end ? at : end;
}

bool Tag::IsControl() const
{
    if (First() != L'\\')
        return false;
    const wchar_t second = Length() > 1 ? start[1] : L'\0';
    return second != L'\'' && !(second == L'u' && Length() > 2 && IsDigit(start[2]));
}

Tag Tag::TrimRight() const
{
    Tag trimmed(*this);
    while (trimmed.end != trimmed.start && IsSpace(trimmed.end[-1]))
        --trimmed.end;
    return trimmed;
}

const wchar_t* Cursor::Special(const wchar_t* at) const
{
    return m_end ? FindSpecialBefore(at, m_end) : FindSpecial(at);
}

bool Cursor::IsEscape(const wchar_t* backslash) const
{
    const wchar_t second = UnitAt(backslash + 1);
    return second == L'\'' || (second == L'u' && IsDigit(UnitAt(backslash + 2)));
}

const wchar_t* Cursor::EndOfGroup(const wchar_t* at) const
{
    int depth = 1;
    for (++at;;) {
        at = Special(at);
        if (IsEnd(at))
            return at;
        if (*at == L'{')
            ++depth;
        else if (*at == L'}' && --depth == 0)
            return at + 1;
        ++at;
    }
}

const wchar_t* Cursor::EndOfControl(const wchar_t* at) const
{
    for (++at; !IsEnd(at); ++at) {
        switch (*at) {
        case L'\n':
        case L'\r':
        case L'\\':
        case L'{':
        case L'}': return at;
        case L' ':
        case L'\t': return at + 1;
        }
    }
    return at;
}

const wchar_t* Cursor::EndOfText(const wchar_t* at) const
{
    for (;;) {
        at = Special(at);
        if (IsEnd(at) || *at != L'\\' || !IsEscape(at))
            return at;
        ++at;
    }
}

void Cursor::SkipSpace()
{
    while (!IsEnd(m_at) && IsSpace(*m_at))
        ++m_at;
}

Tag Cursor::Next(Group group)
{
    SkipSpace();
    const wchar_t* const start = m_at;
    const wchar_t c = UnitAt(start);
    if (IsEnd(start))
        return { start, start };
    if (c == L'}' || (c == L'{' && group == kBrace))
        m_at = start + 1;
    else if (c == L'{')
        m_at = EndOfGroup(start);
    else if (c != L'\\')
        m_at = EndOfText(start);
    else if (UnitAt(start + 1) == L'\\')
        m_at = start + 2;
    else
        m_at = IsEscape(start) ? EndOfText(start + 1) : EndOfControl(start);
    return { start, m_at };
}

int NumberOf(std::wstring_view text)
{
    return static_cast<int>(SString(text).ToLONG());
}

} // namespace RtfTags
