// converted.h: bytes as text, whatever is in them.
#ifndef CONVERTED_H
#define CONVERTED_H

#include "strclss.h"

/// Bytes through one of the converters of narrow.h, which first tells the length and then fills a buffer. NULs stay.
template <class Convert>
SString ConvertedText(const void* bytes, unsigned long size, Convert convert)
{
    const char* const narrow = static_cast<const char*>(bytes);
    const int length = static_cast<int>(size);
    const int units = length == 0 ? 0 : convert(narrow, length, nullptr, 0);
    if (units == 0)
        return SString();
    SString text;
    wchar_t* const to = text.GetBufferSetLength(units);
    convert(narrow, length, to, units + 1);
    return SString(to, to + units); // unlocking would take the first NUL for the end
}

/// UTF-16 in either order of bytes, without a mark. Half surrogate pairs and an odd byte at the end become U+FFFD; `broken` is
/// called with the text so far and the place of each of them before.
template <class Broken>
SString TextFromUtf16(const unsigned char* bytes, unsigned long size, bool big, Broken broken)
{
    constexpr wchar_t kReplacement = 0xFFFD;
    const int units = static_cast<int>(size / 2);
    SString text;
    wchar_t* const to = text.GetBufferSetLength(units + 1);
    for (int i = 0; i < units; ++i) {
        const unsigned first = bytes[2 * i], second = bytes[2 * i + 1];
        to[i] = static_cast<wchar_t>(big ? first << 8 | second : first | second << 8);
    }
    const auto isHalf = [to](int i, unsigned kind) { return (to[i] & 0xFC00u) == kind; };
    for (int i = 0; i < units; ++i) {
        if (isHalf(i, 0xD800) && i + 1 < units && isHalf(i + 1, 0xDC00)) {
            ++i;
        } else if ((to[i] & 0xF800) == 0xD800) {
            broken(to, i);
            to[i] = kReplacement;
        }
    }
    const int odd = static_cast<int>(size % 2);
    if (odd) {
        broken(to, units);
        to[units] = kReplacement;
    }
    return SString(to, to + units + odd);
}

#endif
