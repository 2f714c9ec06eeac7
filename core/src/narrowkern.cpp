// narrowkern.cpp: the loops between narrow and wide text.
//
// Sixteen units at a time while they are ASCII; what is not goes a character at a time, back to blocks at the next ASCII one.
#include "narrowkern.h"

#include "compiler.h"
#include "scriptrun.h"
#include "utf8.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kBlock = 16;
constexpr size_t kHalf = kBlock / 2;

__m128i Load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
void Store(void* to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

// A bit for each of sixteen units that is not ASCII.
unsigned Others(__m128i bytes)
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}
unsigned Others(__m128i low, __m128i high)
{
    const __m128i bits = _mm_set1_epi16(static_cast<short>(0xFF80)), none = _mm_setzero_si128();
    const __m128i plain = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, bits), none),
                                          _mm_cmpeq_epi16(_mm_and_si128(high, bits), none));
    return ~static_cast<unsigned>(_mm_movemask_epi8(plain)) & 0xFFFF;
}
// Eight bytes of a text, and where they go. Not by _mm_loadl_epi64: without optimisation that goes through the MMX registers.
__m128i LoadHalf(const char* from)
{
    double bits;
    std::memcpy(&bits, from, sizeof bits);
    return _mm_castpd_si128(_mm_set_sd(bits));
}
void StoreHalf(char* to, __m128i value)
{
    const double bits = _mm_cvtsd_f64(_mm_castsi128_pd(value));
    std::memcpy(to, &bits, sizeof bits);
}
__m128i UpperHalf(__m128i value)
{
    return _mm_unpackhi_epi64(value, value);
}
__m128i LowUnits(__m128i bytes)
{
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}
__m128i HighUnits(__m128i bytes)
{
    return _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
}
size_t First(unsigned others)
{
    return static_cast<size_t>(LowestBit(others));
}

// How many characters a loop over other scripts stays with after it has met ASCII: these come in runs, with single blanks and
// points in between.
constexpr size_t kPlainInRun = 2;
// How many it takes where the faster loops are there to go on.
constexpr size_t kMostBetween = 4;

// The loops below take the characters that are one unit of UTF-16, as long as there is plenty of text and room, and stop at
// everything else, which the caller deals with.

void RunTo8(const wchar_t* from, size_t count, size_t& at, char* to, size_t room, size_t& made)
{
    size_t i = at, n = made;
    const size_t end = ScriptRun::IsFast() ? std::min(count, at + kMostBetween) : count;
    for (size_t plain = 0; i < end && n + 4 <= room && plain < kPlainInRun; ++i) {
        const unsigned c = from[i];
        if (c < 0x80) {
            to[n++] = static_cast<char>(c);
            ++plain;
            continue;
        }
        plain = 0;
        if (c < 0x800) {
            const unsigned short two = static_cast<unsigned short>(0x80C0 | c >> 6 | (c & 0x3F) << 8);
            std::memcpy(to + n, &two, sizeof two);
            n += 2;
        } else if ((c & 0xF800) != 0xD800) {
            const unsigned three = 0x8080E0 | c >> 12 | (c << 2 & 0x3F00) | (c & 0x3F) << 16;
            std::memcpy(to + n, &three, sizeof three);
            n += 3;
        } else {
            break;
        }
    }
    at = i;
    made = n;
}

void RunTo16(const unsigned char* from, size_t count, size_t& at, wchar_t* to, size_t room, size_t& made)
{
    size_t i = at, n = made;
    const size_t last = ScriptRun::IsFast() ? made + kMostBetween : room;
    for (size_t plain = 0; i + 4 <= count && n < room && n < last && plain < kPlainInRun;) {
        unsigned four;
        std::memcpy(&four, from + i, sizeof four);
        const unsigned first = four & 0xFF;
        if (first < 0x80) {
            to[n++] = static_cast<wchar_t>(first);
            ++i;
            ++plain;
            continue;
        }
        plain = 0;
        if ((four & 0xC0E0) == 0x80C0 && first >= 0xC2) {
            to[n++] = static_cast<wchar_t>((first & 0x1F) << 6 | (four >> 8 & 0x3F));
            i += 2;
            continue;
        }
        const unsigned c = (first & 0xF) << 12 | (four >> 2 & 0xFC0) | (four >> 16 & 0x3F);
        if ((four & 0xC0C0F0) != 0x8080E0 || c < 0x800 || (c & 0xF800) == 0xD800)
            break;
        to[n++] = static_cast<wchar_t>(c);
        i += 3;
    }
    at = i;
    made = n;
}

bool IsHighHalf(wchar_t c)
{
    return (c & 0xFC00) == 0xD800;
}
bool IsLowHalf(wchar_t c)
{
    return (c & 0xFC00) == 0xDC00;
}

} // namespace

namespace NarrowKern {

size_t CopyAscii(const char* from, size_t count, wchar_t* to)
{
    size_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        const __m128i bytes = Load(from + i);
        // The whole block, even when only its start counts, where what follows surely makes as many units: three bytes make
        // one, and nothing behind the result may be written.
        const unsigned others = Others(bytes);
        if (others && count - i < 3 * kBlock)
            break;
        Store(to + i, LowUnits(bytes));
        Store(to + i + kHalf, HighUnits(bytes));
        if (others)
            return i + First(others);
    }
    // What is left, in blocks that overlap what is done.
    const size_t last = count >= kBlock ? count - kBlock : 0;
    if (last <= i && i < count && count >= kHalf) {
        const __m128i bytes = count >= kBlock
                                  ? Load(from + last)
                                  : _mm_unpacklo_epi64(LoadHalf(from), LoadHalf(from + count - kHalf));
        if (!Others(bytes)) {
            Store(to + last, LowUnits(bytes));
            Store(to + count - kHalf, HighUnits(bytes));
            return count;
        }
    }
    for (; i < count && static_cast<unsigned char>(from[i]) < 0x80; ++i)
        to[i] = static_cast<wchar_t>(from[i]);
    return i;
}

size_t CopyAscii(const wchar_t* from, size_t count, char* to)
{
    size_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        const __m128i low = Load(from + i), high = Load(from + i + kHalf);
        // Here what follows always makes enough.
        Store(to + i, _mm_packus_epi16(low, high));
        if (const unsigned others = Others(low, high))
            return i + First(others);
    }
    // What is left, in blocks that overlap what is done.
    if (i < count && count >= kHalf) {
        const size_t last = count >= kBlock ? count - kBlock : 0;
        const __m128i low = Load(from + last), high = Load(from + count - kHalf);
        if (!Others(low, high)) {
            const __m128i bytes = _mm_packus_epi16(low, high);
            StoreHalf(to + last, bytes);
            StoreHalf(to + count - kHalf, UpperHalf(bytes));
            return count;
        }
    }
    for (; i < count && from[i] < 0x80; ++i)
        to[i] = static_cast<char>(from[i]);
    return i;
}

size_t AsciiLength(const char* text, size_t count)
{
    size_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        if (const unsigned others = Others(Load(text + i)))
            return i + First(others);
    }
    while (i < count && static_cast<unsigned char>(text[i]) < 0x80)
        ++i;
    return i;
}

size_t AsciiLength(const wchar_t* text, size_t count)
{
    size_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        if (const unsigned others = Others(Load(text + i), Load(text + i + kBlock / 2)))
            return i + First(others);
    }
    while (i < count && text[i] < 0x80)
        ++i;
    return i;
}

size_t Utf16To8(const wchar_t* from, size_t count, char* to, size_t room)
{
    size_t at = 0, made = 0;
    for (;;) {
        const size_t left = count - at, before = at;
        const size_t ascii =
            to ? CopyAscii(from + at, std::min(left, room - made), to + made) : AsciiLength(from + at, left);
        at += ascii;
        made += ascii;
        if (at == count)
            return made;
        if (to) {
            ScriptRun::To8(from, count, at, to, room, made);
            RunTo8(from, count, at, to, room, made);
        }
        // What none of them takes. There is no more than one such character at a time, unless they do not run.
        for (size_t plain = 0; at < count && plain < kPlainInRun && (!to || at == before);) {
            unsigned c = from[at];
            size_t units = 1;
            if (IsHighHalf(from[at]) && at + 1 < count && IsLowHalf(from[at + 1])) {
                c = 0x10000 + ((c & 0x3FF) << 10) + (from[at + 1] & 0x3FFu);
                units = 2;
            } else if ((c & 0xF800) == 0xD800) {
                return kMalformed;
            }
            const size_t bytes = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
            if (to) {
                if (bytes > room - made)
                    return kNoRoom;
                PutUtf8(c, to + made);
            }
            made += bytes;
            at += units;
            plain = c < 0x80 ? plain + 1 : 0;
        }
        if (at == count)
            return made;
    }
}

size_t Utf8To16(const char* from, size_t count, wchar_t* to, size_t room)
{
    const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(from);
    size_t at = 0, made = 0;
    for (;;) {
        const size_t left = count - at, before = at;
        const size_t ascii =
            to ? CopyAscii(from + at, std::min(left, room - made), to + made) : AsciiLength(from + at, left);
        at += ascii;
        made += ascii;
        if (at == count)
            return made;
        if (to) {
            ScriptRun::To16(bytes, count, at, to, room, made);
            RunTo16(bytes, count, at, to, room, made);
        }
        for (size_t plain = 0; at < count && plain < kPlainInRun && (!to || at == before);) {
            int length = 0;
            const unsigned c =
                GetUtf8(bytes + at, static_cast<int>(std::min<size_t>(count - at, kMostUtf8)), &length);
            if (length == 0 || (c & 0xFFFFF800) == 0xD800)
                return kMalformed;
            const size_t units = c < 0x10000 ? 1 : 2;
            if (to) {
                if (units > room - made)
                    return kNoRoom;
                if (units == 1) {
                    to[made] = static_cast<wchar_t>(c);
                } else {
                    to[made] = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
                    to[made + 1] = static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
                }
            }
            made += units;
            at += static_cast<size_t>(length);
            plain = c < 0x80 ? plain + 1 : 0;
        }
        if (at == count)
            return made;
    }
}

bool AnsiHoldsAscii()
{
    static const bool holds = [] {
        char bytes[128];
        wchar_t units[128];
        for (int i = 0; i < 128; ++i)
            bytes[i] = static_cast<char>(i);
        return ::MultiByteToWideChar(CP_ACP, 0, bytes, 128, units, 128) == 128 &&
               std::equal(bytes, bytes + 128, units);
    }();
    return holds;
}

} // namespace NarrowKern
