// stredit.cpp: the string's editing and extraction.
//
// Every edit either happens in place, when the buffer is the string's own and holds the result, or builds the result once
// in a new buffer and swaps it in; Splice is the one place that decides.
#include "strclss.h"
#include "copytext.h"
#include "textkern.h"

#include "baseobj.h"

#include <algorithm>
#include <cwchar>

using TextKern::CopyText;

namespace {

constexpr wchar_t kDefaultAlphabet[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

// A length for one of the members that add text. One beyond the limit stays so, and is refused there.
int LengthOrRefusal(size_t length)
{
    return static_cast<int>(std::min<size_t>(length, SString::kMaxLength + size_t{ 1 }));
}

size_t Size(int n)
{
    return static_cast<size_t>(n);
}

// The characters that a trim cuts: one, or those of a set.
struct OneChar {
    wchar_t c;
    size_t Leading(const wchar_t* text, size_t length) const { return TextKern::SpanChar(text, length, c); }
    size_t Trailing(const wchar_t* text, size_t length) const
    {
        return TextKern::SpanCharBack(text, length, c);
    }
};
struct CharSet {
    const wchar_t* set;
    size_t count;
    explicit CharSet(const wchar_t* text) : set(text), count(SSafeStrLen(text)) {}
    size_t Leading(const wchar_t* text, size_t length) const
    {
        return TextKern::SpanSet(text, length, set, count);
    }
    size_t Trailing(const wchar_t* text, size_t length) const
    {
        return TextKern::SpanSetBack(text, length, set, count);
    }
};

enum Ends { kLeft = 1, kRight = 2, kBoth = 3 };

// What a trim keeps of a text.
struct Kept {
    int start, length;
};
template <class Set>
Kept Trimmed(const SString& text, const Set& set, Ends ends)
{
    const size_t start = ends & kLeft ? set.Leading(text, Size(text.Length())) : 0;
    size_t length = Size(text.Length()) - start;
    if (ends & kRight)
        length -= set.Trailing(text.begin() + start, length);
    return { static_cast<int>(start), static_cast<int>(length) };
}

bool IsHighSurrogate(wchar_t c)
{
    return (c & 0xFC00) == 0xD800;
}
bool IsLowSurrogate(wchar_t c)
{
    return (c & 0xFC00) == 0xDC00;
}

} // namespace

// ---- Appending ----

SString& SString::operator+=(const SString& text)
{
    if (GetData()->refs == SStringData::kStaticEmpty)
        return *this = text;
    ConcatInPlace(text.Length(), text.m_text);
    return *this;
}

SString& SString::operator+=(const wchar_t* text)
{
    const size_t length = SSafeStrLen(text);
    ConcatInPlace(LengthOrRefusal(length), text);
    return *this;
}

SString& SString::operator+=(char c)
{
    const char text[] = { c, '\0' };
    return *this += SString(text);
}

SString& SString::Append(const wchar_t* text, int n)
{
    ConcatInPlace(text ? n : 0, text);
    return *this;
}

SString& SString::AppendSlowly(wchar_t c)
{
    if (c)
        ConcatInPlace(1, &c);
    return *this;
}

SString SString::ConcatPieces(const Piece* pieces, int count)
{
    size_t sum = 0;
    for (int i = 0; i < count; ++i) {
        if (pieces[i].length > kMaxLength - sum) {
            sum = kMaxLength + 1u; // AllocBuffer refuses it
            break;
        }
        sum += pieces[i].length;
    }
    SString whole;
    whole.AllocBuffer(static_cast<int>(sum));
    wchar_t* at = whole.m_text;
    for (int i = 0; i < count; ++i) {
        CopyText(at, pieces[i].text, pieces[i].length);
        at += pieces[i].length;
    }
    return whole;
}

SString operator+(const SString& left, const SString& right)
{
    if (left.IsEmpty())
        return right;
    return right.IsEmpty() ? left : SString::Concat(left, right);
}
SString operator+(const SString& left, const wchar_t* right)
{
    return SString::Concat(left, right);
}
SString operator+(const wchar_t* left, const SString& right)
{
    return SString::Concat(left, right);
}
SString operator+(const SString& left, wchar_t right)
{
    return SString::Concat(left, right);
}
SString operator+(wchar_t left, const SString& right)
{
    return SString::Concat(left, right);
}
SString operator+(const SString& left, char right)
{
    return left + SString(&right, 1);
}
SString operator+(char left, const SString& right)
{
    return SString(&left, 1) + right;
}
SString operator+(const SString& left, const char* right)
{
    return left + SString(right);
}
SString operator+(const char* left, const SString& right)
{
    return SString(left) + right;
}

// ---- Extraction ----

SString SString::Left(int n) const
{
    return Mid(0, n);
}

SString SString::Right(int n) const
{
    const int length = Length();
    return n >= length ? *this : Mid(length - (n < 0 ? 0 : n), n);
}

SString SString::Mid(int start, int count) const
{
    const int length = Length();
    start = start < 0 ? 0 : start;
    if (start >= length || count <= 0)
        return SString();
    count = std::min(count, length - start);
    return count == length ? *this : SString(m_text + start, m_text + start + count);
}

SString SString::Split(wchar_t separator) const
{
    const int position = FindPos(separator);
    return position < 0 ? *this : Left(position);
}

SString SString::Split(SString* rest, wchar_t separator) const
{
    SString head;
    Split(&head, rest, separator);
    return head;
}

int SString::Split(SString* head, SString* tail, wchar_t separator) const
{
    const int position = FindPos(separator);
    // Either target may be this string: both parts are taken before anything is stored.
    SString before = position < 0 ? *this : Left(position);
    SString after = position < 0 ? SString() : Mid(position + 1);
    if (head)
        head->swap(before);
    if (tail)
        tail->swap(after);
    return position >= 0;
}

// ---- Splicing ----

// Puts `n` characters in the place of `removed` ones at `position`.
void SString::Splice(int position, int removed, const wchar_t* text, int n)
{
    const int length = Length();
    if (n > kMaxLength - (length - removed))
        n = kMaxLength + 1; // AllocBuffer refuses it
    const int result = length - removed + n;
    const int behind = length - removed - position;
    const bool isInside = n > 0 && text >= m_text && text <= m_text + length;
    SStringData* data = GetData();
    if (data->IsOwn() && result > 0 && result <= data->capacity && !isInside) {
        std::wmemmove(m_text + position + n, m_text + position + removed, Size(behind));
        CopyText(m_text + position, text, Size(n));
        m_text[result] = L'\0';
        data->length = result;
        return;
    }
    SString fresh;
    fresh.AllocBuffer(result);
    if (result > 0) {
        CopyText(fresh.m_text, m_text, Size(position));
        CopyText(fresh.m_text + position, text, Size(n));
        CopyText(fresh.m_text + position + n, m_text + position + removed, Size(behind));
    }
    swap(fresh);
}

SString& SString::Insert(const wchar_t* text, int position)
{
    const size_t length = SSafeStrLen(text);
    if (length > 0)
        Splice(std::clamp(position, 0, Length()), 0, text, LengthOrRefusal(length));
    return *this;
}

SString& SString::Delete(int position, int count)
{
    position = position < 0 ? 0 : position;
    if (position < Length() && count > 0)
        Splice(position, std::min(count, Length() - position), nullptr, 0);
    return *this;
}

// Keeps `length` characters from `start` on.
SString& SString::CutTo(int start, int length)
{
    if (length == Length())
        return *this;
    SStringData* data = GetData();
    if (length == 0) {
        Release();
    } else if (data->IsOwn()) {
        std::wmemmove(m_text, m_text + start, Size(length));
        m_text[length] = L'\0';
        data->length = length;
    } else {
        SString fresh(m_text + start, m_text + start + length);
        swap(fresh);
    }
    return *this;
}

SString& SString::Trim(wchar_t c)
{
    const Kept kept = Trimmed(*this, OneChar{ c }, kBoth);
    return CutTo(kept.start, kept.length);
}
SString& SString::Trim(const wchar_t* set)
{
    const Kept kept = Trimmed(*this, CharSet(set), kBoth);
    return CutTo(kept.start, kept.length);
}
SString& SString::TrimLeft(wchar_t c)
{
    const Kept kept = Trimmed(*this, OneChar{ c }, kLeft);
    return CutTo(kept.start, kept.length);
}
SString& SString::TrimLeft(const wchar_t* set)
{
    const Kept kept = Trimmed(*this, CharSet(set), kLeft);
    return CutTo(kept.start, kept.length);
}
SString& SString::TrimRight(wchar_t c)
{
    static_cast<const SString*>(this)->PszStr(); // for its look at the guard
    const Kept kept = Trimmed(*this, OneChar{ c }, kRight);
    return CutTo(kept.start, kept.length);
}
SString& SString::TrimRight(const wchar_t* set)
{
    const Kept kept = Trimmed(*this, CharSet(set), kRight);
    return CutTo(kept.start, kept.length);
}

// ---- Replacing ----

int SString::Replace(wchar_t from, wchar_t to)
{
    const int position = FindPos(from);
    if (position < 0)
        return 0;
    SetAt(position, to);
    return 1;
}

int SString::ReplaceNoCase(wchar_t from, wchar_t to)
{
    const int position = FindPosNoCase(from);
    if (position < 0)
        return 0;
    SetAt(position, to);
    return 1;
}

int SString::Replace(const wchar_t* from, const wchar_t* to)
{
    return ReplaceFirst(Find(from), from, to);
}

int SString::ReplaceNoCase(const wchar_t* from, const wchar_t* to)
{
    return ReplaceFirst(FindNoCase(from), from, to);
}

int SString::ReplaceFirst(const wchar_t* found, const wchar_t* from, const wchar_t* to)
{
    const size_t removed = SSafeStrLen(from);
    if (!found || removed == 0)
        return 0;
    const size_t added = std::min<size_t>(SSafeStrLen(to), kMaxLength);
    Splice(static_cast<int>(found - m_text), static_cast<int>(removed), to, static_cast<int>(added));
    return 1;
}

int SString::ReplaceAll(wchar_t from, wchar_t to)
{
    const int first = FindPos(from);
    if (first < 0)
        return 0;
    CopyBeforeWrite();
    return static_cast<int>(TextKern::ReplaceChar(m_text + first, Size(Length() - first), from, to));
}

int SString::ReplaceAllNoCase(wchar_t from, wchar_t to)
{
    const int first = FindPosNoCase(from);
    if (first < 0)
        return 0;
    CopyBeforeWrite();
    const wchar_t wanted = SUpperChar(from);
    int count = 0;
    for (wchar_t* at = m_text + first; at < m_text + Length(); ++at) {
        if (SUpperChar(*at) == wanted) {
            *at = to;
            ++count;
        }
    }
    return count;
}

int SString::ReplaceAll(const wchar_t* from, const wchar_t* to)
{
    return ReplaceEvery(SSafeMemStr, from, to);
}

int SString::ReplaceAllNoCase(const wchar_t* from, const wchar_t* to)
{
    return ReplaceEvery(SSafeMemIStr, from, to);
}

int SString::ReplaceEvery(FindInText find, const wchar_t* from, const wchar_t* to)
{
    const size_t removed = SSafeStrLen(from);
    if (removed == 0)
        return 0;
    const wchar_t* const last = end();
    // Where the first ones stand is remembered; the others are looked for again.
    constexpr int kRemembered = 256;
    const wchar_t* where[kRemembered];
    int count = 0;
    for (const wchar_t* at = m_text; (at = find(at, last - at, from, removed)) != nullptr; at += removed) {
        if (count < kRemembered)
            where[count] = at;
        ++count;
    }
    if (count == 0)
        return 0;
    // Counted first, so that the result is built once in a buffer of its size.
    const size_t added = SSafeStrLen(to);
    const unsigned long long length = Length() + static_cast<unsigned long long>(count) * added -
                                      static_cast<unsigned long long>(count) * removed;
    SString fresh;
    fresh.AllocBuffer(length > kMaxLength ? kMaxLength + 1 : static_cast<int>(length));
    if (!fresh.IsEmpty()) {
        wchar_t* out = fresh.m_text;
        const wchar_t* copied = m_text;
        for (int i = 0; i < count; ++i) {
            const wchar_t* const found =
                i < kRemembered ? where[i] : find(copied, last - copied, from, removed);
            CopyText(out, copied, Size(static_cast<int>(found - copied)));
            out += found - copied;
            CopyText(out, to, added);
            out += added;
            copied = found + removed;
        }
        CopyText(out, copied, Size(static_cast<int>(last - copied)));
    }
    swap(fresh);
    return count;
}

SString& SString::Translate(const wchar_t* from, const wchar_t* to)
{
    const SString wanted(from), replacement(to); // copies: the sets may stand in this string
    const auto isWanted = [&wanted](wchar_t c) { return wanted.Find(c) != nullptr; };
    const int first = static_cast<int>(std::find_if(begin(), end(), isWanted) - begin());
    if (first == Length())
        return *this;
    CopyBeforeWrite();
    wchar_t* out = m_text + first;
    for (const wchar_t* at = out; at < m_text + Length(); ++at) {
        const int position = wanted.FindPos(*at);
        if (position < 0)
            *out++ = *at;
        else if (!replacement.IsEmpty())
            *out++ = replacement[std::min(position, replacement.Length() - 1)];
    }
    return CutTo(0, static_cast<int>(out - m_text));
}

// ---- Case and the like ----

SString& SString::ToUpper()
{
    return ToUpper(0, Length());
}
SString& SString::ToLower()
{
    return ToLower(0, Length());
}

SString& SString::ToUpper(int start, int count)
{
    if (ClipRange(start, count)) {
        CopyBeforeWrite();
        SSafeStrUpper(m_text + start, Size(count));
    }
    return *this;
}

SString& SString::ToLower(int start, int count)
{
    if (ClipRange(start, count)) {
        CopyBeforeWrite();
        SSafeStrLower(m_text + start, Size(count));
    }
    return *this;
}

// Brings a range into the text; false when nothing of it is left.
bool SString::ClipRange(int& start, int& count) const
{
    start = std::max(start, 0);
    if (start >= Length() || count <= 0)
        return false;
    count = std::min(count, Length() - start);
    return true;
}

SString& SString::MakeReverse()
{
    if (Length() < 2)
        return *this;
    CopyBeforeWrite();
    wchar_t* const last = m_text + Length();
    std::reverse(m_text, last);
    for (wchar_t* at = m_text; at + 1 < last; ++at) {
        if (IsLowSurrogate(at[0]) && IsHighSurrogate(at[1])) {
            std::swap(at[0], at[1]);
            ++at;
        }
    }
    return *this;
}

SString& SString::NoAccent()
{
    if (IsEmpty() || IsASCII())
        return *this;
    const int length = Length();
    const int room = ::FoldStringW(MAP_COMPOSITE, m_text, length, nullptr, 0);
    if (room <= 0)
        return *this;
    SString folded;
    folded.AllocBuffer(room);
    const int units = ::FoldStringW(MAP_COMPOSITE, m_text, length, folded.m_text, room);
    wchar_t* out = folded.m_text;
    constexpr int kBlock = 256;
    WORD types[kBlock];
    for (int start = 0; start < units; start += kBlock) {
        const int n = std::min(kBlock, units - start);
        const wchar_t* const block = folded.m_text + start;
        ::GetStringTypeW(CT_CTYPE3, block, n, types);
        for (int i = 0; i < n; ++i) {
            if ((types[i] & (C3_NONSPACING | C3_ALPHA)) != C3_NONSPACING) // letters may be classed as marked
                *out++ = block[i];
        }
    }
    folded.CutTo(0, static_cast<int>(out - folded.m_text));
    swap(folded);
    return *this;
}

SString& SString::Randomize(int length, const wchar_t* alphabet)
{
    static long s_calls = 0;
    const SString letters(alphabet && *alphabet ? alphabet : kDefaultAlphabet);
    LARGE_INTEGER ticks;
    ::QueryPerformanceCounter(&ticks);
    unsigned long long state = static_cast<unsigned long long>(ticks.QuadPart) ^
                               (static_cast<unsigned long long>(::GetCurrentThreadId()) << 32) ^
                               (static_cast<unsigned long long>(::InterlockedIncrement(&s_calls)) << 48);
    AllocBeforeWrite(length);
    if (length <= 0) {
        Release();
        return *this;
    }
    for (int i = 0; i < length; ++i) {
        // One step of a 64-bit mixing generator (additive constant, two multiply-xor rounds).
        unsigned long long mixed = state += 0x9E3779B97F4A7C15ull;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ull;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBull;
        m_text[i] = letters[static_cast<int>((mixed >> 33) % Size(letters.Length()))];
    }
    m_text[length] = L'\0';
    GetData()->length = length;
    return *this;
}

// ---- Dump ----

SDump& operator<<(SDump& dump, const SString& text)
{
    dump.WriteString(text);
    return dump;
}
