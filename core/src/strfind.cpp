// strfind.cpp: the string's comparison and search.
#include "strclss.h"

#include "textkern.h"

#include <algorithm>
#include <cwchar>

namespace {

size_t Limit(int count)
{
    return count > 0 ? static_cast<size_t>(count) : 0;
}

// The locale's order of two texts of at most `count` characters.
int CollateTexts(const wchar_t* a, const wchar_t* b, size_t count, DWORD flags)
{
    const size_t aLength = SSafeStrNLen(a, count);
    const size_t bLength = SSafeStrNLen(b, count);
    if (aLength == bLength && std::wmemcmp(a, b, aLength) == 0)
        return 0;
    const int order = ::CompareStringW(LOCALE_USER_DEFAULT, flags, a, static_cast<int>(aLength), b,
                                       static_cast<int>(bLength));
    // Without an answer (there is none for texts that the system refuses) the code units decide.
    return order ? order - CSTR_EQUAL : SSafeMemCmp(a, aLength, b, bLength);
}

struct SameUnit {
    bool operator()(wchar_t a, wchar_t b) const { return a == b; }
};
struct SameLetter {
    bool operator()(wchar_t a, wchar_t b) const { return SUpperChar(a) == SUpperChar(b); }
};

// Wildcards without recursion: after a mismatch the last star takes one character more.
template <class Same>
bool MatchPattern(const wchar_t* text, const wchar_t* end, const wchar_t* pattern, Same same)
{
    if (!pattern)
        pattern = L"";
    const wchar_t* star = nullptr;
    const wchar_t* resume = nullptr;
    while (text < end) {
        if (*pattern == L'*') {
            star = ++pattern;
            resume = text;
        } else if (*pattern && (*pattern == L'?' || same(*pattern, *text))) {
            ++pattern;
            ++text;
        } else if (star) {
            pattern = star;
            text = ++resume;
        } else {
            return false;
        }
    }
    while (*pattern == L'*')
        ++pattern;
    return *pattern == L'\0';
}

constexpr size_t kAll = static_cast<size_t>(-1);

} // namespace

// ---- Comparison ----

// The text that a comparison from `start` looks at.
const wchar_t* SString::TextFrom(int start) const
{
    return start <= Length() ? GetPointerAt(start) : EmptyText();
}

int SString::CompareNull() const
{
    return IsEmpty() ? 0 : 1;
}

int SString::Compare(const wchar_t* text) const
{
    return text ? SSafeStrCmp(m_text, text) : CompareNull();
}
int SString::Compare(const wchar_t* text, int count) const
{
    return Compare(0, text, count);
}
int SString::Compare(int start, const wchar_t* text) const
{
    return text ? SSafeStrCmp(TextFrom(start), text) : CompareNull();
}
int SString::Compare(int start, const wchar_t* text, int count) const
{
    return text ? SSafeStrNCmp(TextFrom(start), text, Limit(count)) : CompareNull();
}

int SString::CompareNoCase(const wchar_t* text) const
{
    return text ? SSafeStrICmp(m_text, text) : CompareNull();
}
int SString::CompareNoCase(const wchar_t* text, int count) const
{
    return CompareNoCase(0, text, count);
}
int SString::CompareNoCase(int start, const wchar_t* text) const
{
    return text ? SSafeStrICmp(TextFrom(start), text) : CompareNull();
}
int SString::CompareNoCase(int start, const wchar_t* text, int count) const
{
    return text ? SSafeStrNICmp(TextFrom(start), text, Limit(count)) : CompareNull();
}

int SString::Collate(const wchar_t* text) const
{
    return text ? CollateTexts(m_text, text, kAll, 0) : CompareNull();
}
int SString::Collate(const wchar_t* text, int count) const
{
    return Collate(0, text, count);
}
int SString::Collate(int start, const wchar_t* text) const
{
    return text ? CollateTexts(TextFrom(start), text, kAll, 0) : CompareNull();
}
int SString::Collate(int start, const wchar_t* text, int count) const
{
    return text ? CollateTexts(TextFrom(start), text, Limit(count), 0) : CompareNull();
}

int SString::CollateNoCase(const wchar_t* text) const
{
    return text ? CollateTexts(m_text, text, kAll, NORM_IGNORECASE) : CompareNull();
}
int SString::CollateNoCase(const wchar_t* text, int count) const
{
    return CollateNoCase(0, text, count);
}
int SString::CollateNoCase(int start, const wchar_t* text) const
{
    return text ? CollateTexts(TextFrom(start), text, kAll, NORM_IGNORECASE) : CompareNull();
}
int SString::CollateNoCase(int start, const wchar_t* text, int count) const
{
    return text ? CollateTexts(TextFrom(start), text, Limit(count), NORM_IGNORECASE) : CompareNull();
}

int SString::CompareNb(const wchar_t* text) const
{
    return text ? SSafeStrNbCmp(m_text, text, kAll, kMatchCase) : CompareNull();
}
int SString::CompareNb(const wchar_t* text, int count) const
{
    return CompareNb(0, text, count);
}
int SString::CompareNb(int start, const wchar_t* text) const
{
    return text ? SSafeStrNbCmp(TextFrom(start), text, kAll, kMatchCase) : CompareNull();
}
int SString::CompareNb(int start, const wchar_t* text, int count) const
{
    return text ? SSafeStrNbCmp(TextFrom(start), text, Limit(count), kMatchCase) : CompareNull();
}

int SString::CompareNbNoCase(const wchar_t* text) const
{
    return text ? SSafeStrNbCmp(m_text, text, kAll, kIgnoreCase) : CompareNull();
}
int SString::CompareNbNoCase(const wchar_t* text, int count) const
{
    return CompareNbNoCase(0, text, count);
}
int SString::CompareNbNoCase(int start, const wchar_t* text) const
{
    return text ? SSafeStrNbCmp(TextFrom(start), text, kAll, kIgnoreCase) : CompareNull();
}
int SString::CompareNbNoCase(int start, const wchar_t* text, int count) const
{
    return text ? SSafeStrNbCmp(TextFrom(start), text, Limit(count), kIgnoreCase) : CompareNull();
}

bool SString::Match(const wchar_t* pattern) const
{
    return MatchPattern(begin(), end(), pattern, SameUnit());
}
bool SString::MatchNoCase(const wchar_t* pattern) const
{
    return MatchPattern(begin(), end(), pattern, SameLetter());
}

// ---- Search ----

bool SString::IsInside(const wchar_t* from) const
{
    return from >= m_text && from <= end();
}

const wchar_t* SString::Find(wchar_t c) const
{
    return SSafeMemChr(m_text, static_cast<size_t>(Length()), c);
}
const wchar_t* SString::Find(wchar_t c, const wchar_t* from) const
{
    return IsInside(from) ? SSafeMemChr(from, static_cast<size_t>(end() - from), c) : nullptr;
}
const wchar_t* SString::Find(const wchar_t* text) const
{
    return Find(text, m_text);
}
const wchar_t* SString::Find(const wchar_t* text, const wchar_t* from) const
{
    return IsInside(from) ? SSafeMemStr(from, static_cast<size_t>(end() - from), text, SSafeStrLen(text))
                          : nullptr;
}
const wchar_t* SString::FindNoCase(const wchar_t* text) const
{
    return FindNoCase(text, m_text);
}
const wchar_t* SString::FindNoCase(const wchar_t* text, const wchar_t* from) const
{
    return IsInside(from) ? SSafeMemIStr(from, static_cast<size_t>(end() - from), text, SSafeStrLen(text))
                          : nullptr;
}

const wchar_t* SString::ReverseFind(wchar_t c) const
{
    return SSafeMemRChr(m_text, static_cast<size_t>(Length()), c);
}
const wchar_t* SString::ReverseFind(wchar_t c, const wchar_t* from) const
{
    if (!IsInside(from))
        return nullptr;
    return SSafeMemRChr(m_text, static_cast<size_t>(std::min(from + 1, end()) - m_text), c);
}

const wchar_t* SString::ReverseFind(const wchar_t* text) const
{
    const size_t length = SSafeStrLen(text);
    if (length > static_cast<size_t>(Length()))
        return nullptr;
    for (const wchar_t* at = end() - length;; --at) {
        if (std::wmemcmp(at, text ? text : m_text, length) == 0)
            return at;
        if (at == m_text)
            return nullptr;
    }
}

const wchar_t* SString::ReverseFindNoCase(wchar_t c) const
{
    const wchar_t wanted = SUpperChar(c);
    for (const wchar_t* at = end(); at > m_text;) {
        if (SUpperChar(*--at) == wanted)
            return at;
    }
    return nullptr;
}

const wchar_t* SString::ReverseFindNoCase(const wchar_t* text) const
{
    const size_t length = SSafeStrLen(text);
    if (length > static_cast<size_t>(Length()))
        return nullptr;
    for (const wchar_t* at = end() - length;; --at) {
        if (SSafeMemICmp(at, length, text, length) == 0)
            return at;
        if (at == m_text)
            return nullptr;
    }
}

int SString::FindPos(wchar_t c, int start) const
{
    const wchar_t* found = start <= Length() ? Find(c, GetPointerAt(start)) : nullptr;
    return found ? static_cast<int>(found - m_text) : -1;
}

int SString::ReverseFindPos(wchar_t c, int start) const
{
    const wchar_t* found = start < 0 ? ReverseFind(c) : ReverseFind(c, GetPointerAt(start));
    return found ? static_cast<int>(found - m_text) : -1;
}

int SString::FindPosNoCase(wchar_t c) const
{
    const wchar_t wanted = SUpperChar(c);
    const wchar_t* found =
        std::find_if(begin(), end(), [wanted](wchar_t unit) { return SUpperChar(unit) == wanted; });
    return found == end() ? -1 : static_cast<int>(found - m_text);
}

size_t SString::Hash() const noexcept
{
    // FNV-1a, a unit at a time.
    unsigned hash = 2166136261u;
    for (const wchar_t c : *this)
        hash = (hash ^ c) * 16777619u;
    return hash;
}
