// striter.cpp: where pieces of a text begin and end.
#include "striter.h"

namespace {

constexpr wchar_t kTypographicApostrophe = 0x2019;

bool IsWordChar(wchar_t c)
{
    if (c < 0x80)
        return (c >= L'0' && c <= L'9') || ((c | 0x20) >= L'a' && (c | 0x20) <= L'z');
    if ((c & 0xF800) == 0xD800)
        return true;
    WORD type = 0;
    ::GetStringTypeW(CT_CTYPE1, &c, 1, &type);
    if (type & (C1_ALPHA | C1_DIGIT))
        return true;
    ::GetStringTypeW(CT_CTYPE3, &c, 1, &type);
    return (type & C3_NONSPACING) != 0;
}

bool IsApostrophe(wchar_t c)
{
    return c == L'\'' || c == kTypographicApostrophe;
}

} // namespace

bool SString::const_iterator::IsWhitespace() const
{
    WORD kind = 0;
    return !IsEnd() && ::GetStringTypeW(CT_CTYPE1, m_at, 1, &kind) && (kind & C1_SPACE) != 0;
}

// ---- SStringCopyIterator ----

SStringCopyIterator::SStringCopyIterator(const SString& string, int index) : m_copy(string)
{
    static_cast<SString::const_iterator&>(*this) = SString::const_iterator(m_copy, index);
}

SStringCopyIterator::SStringCopyIterator(const SStringCopyIterator& other)
    : SStringCopyIterator(other.m_copy, other.SaveState())
{}

SStringCopyIterator& SStringCopyIterator::operator=(const SStringCopyIterator& other)
{
    const State state = other.SaveState();
    m_copy = other.m_copy;
    m_string = &m_copy;
    RestoreState(state);
    return *this;
}

// ---- Spans ----

SString::span_iterator::span_iterator(const SString& string)
    : m_text(string), m_first(nullptr), m_last(nullptr), m_next(nullptr)
{
    Restart();
}

void SString::span_iterator::Restart()
{
    SetPiece(nullptr, nullptr, m_text.IsEmpty() ? nullptr : m_text.begin());
}

void SString::span_iterator::SetPiece(const wchar_t* first, const wchar_t* last, const wchar_t* next)
{
    m_first = first;
    m_last = last;
    m_next = next;
}

bool SString::line_iterator::AdvanceNext()
{
    if (!m_next || m_next == TextEnd()) {
        SetEnd();
        return false;
    }
    const wchar_t* last = m_next;
    while (last < TextEnd() && *last != L'\n' && *last != L'\r')
        ++last;
    // The terminator behind the text may be looked at.
    const wchar_t* next = last + (last < TextEnd());
    if (*last == L'\r' && *next == L'\n' && next < TextEnd())
        ++next;
    SetPiece(m_next, last, next);
    return true;
}

bool SString::word_iterator::AdvanceNext()
{
    const wchar_t* first = m_next;
    while (first && first < TextEnd() && !IsWordChar(*first))
        ++first;
    if (!first || first == TextEnd()) {
        SetEnd();
        return false;
    }
    const wchar_t* last = first + 1;
    while (last < TextEnd() && (IsWordChar(*last) || (IsApostrophe(*last) && IsWordChar(last[1]))))
        ++last;
    SetPiece(first, last, last);
    return true;
}

bool SString::parts_iterator::AdvanceNext()
{
    if (!m_next) {
        SetEnd();
        return false;
    }
    const wchar_t* found = SSafeMemChr(m_next, static_cast<size_t>(TextEnd() - m_next), m_separator);
    if (found)
        SetPiece(m_next, found, found + 1);
    else
        SetPiece(m_next, TextEnd(), nullptr);
    return true;
}
