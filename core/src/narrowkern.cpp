// narrowkern.cpp: the loops between narrow and wide text.
//
// Sixteen units at a time while they are ASCII; what is not goes a character at a time, back to blocks at the next ASCII one.
#include "narrowkern.h"

#include "utf8.h"

#include <emmintrin.h>

#include <algorithm>

namespace {

constexpr size_t kBlock = 16;

__m128i Load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
void Store(void* to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

bool IsAscii(__m128i bytes)
{
    return _mm_movemask_epi8(bytes) == 0;
}
// Two registers of wide units.
bool IsAscii(__m128i low, __m128i high)
{
    const __m128i above = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
    return _mm_movemask_epi8(_mm_cmpeq_epi16(above, _mm_setzero_si128())) == 0xFFFF;
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
        if (!IsAscii(bytes))
            break;
        Store(to + i, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
        Store(to + i + kBlock / 2, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
    }
    for (; i < count && static_cast<unsigned char>(from[i]) < 0x80; ++i)
        to[i] = static_cast<wchar_t>(from[i]);
    return i;
}

size_t CopyAscii(const wchar_t* from, size_t count, char* to)
{
    size_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        const __m128i low = Load(from + i), high = Load(from + i + kBlock / 2);
        if (!IsAscii(low, high))
            break;
        Store(to + i, _mm_packus_epi16(low, high));
    }
    for (; i < count && from[i] < 0x80; ++i)
        to[i] = static_cast<char>(from[i]);
    return i;
}

size_t AsciiLength(const char* text, size_t count)
{
    size_t i = 0;
    while (i + kBlock <= count && IsAscii(Load(text + i)))
        i += kBlock;
    while (i < count && static_cast<unsigned char>(text[i]) < 0x80)
        ++i;
    return i;
}

size_t AsciiLength(const wchar_t* text, size_t count)
{
    size_t i = 0;
    while (i + kBlock <= count && IsAscii(Load(text + i), Load(text + i + kBlock / 2)))
        i += kBlock;
    while (i < count && text[i] < 0x80)
        ++i;
    return i;
}

size_t Utf16To8(const wchar_t* from, size_t count, char* to, size_t room)
{
    size_t at = 0, made = 0;
    for (;;) {
        const size_t left = count - at;
        const size_t ascii =
            to ? CopyAscii(from + at, std::min(left, room - made), to + made) : AsciiLength(from + at, left);
        at += ascii;
        made += ascii;
        // Characters of other scripts come in runs, with single blanks and points in between.
        for (size_t plain = 0; at < count && plain < 2;) {
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
        const size_t left = count - at;
        const size_t ascii =
            to ? CopyAscii(from + at, std::min(left, room - made), to + made) : AsciiLength(from + at, left);
        at += ascii;
        made += ascii;
        for (size_t plain = 0; at < count && plain < 2;) {
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
