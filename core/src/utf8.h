// utf8.h: UTF-8 a character at a time, for texts that are put together in place. Whole texts go through SUtf8String.
#ifndef UTF8_H
#define UTF8_H

inline constexpr int kMostUtf8 = 4;

/// Writes a scalar value, or half a surrogate pair in the same scheme, and returns how many bytes that took.
inline int PutUtf8(unsigned c, char* bytes)
{
    const auto tail = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        bytes[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | c >> 6);
        bytes[1] = tail(0);
        return 2;
    }
    if (c < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | c >> 12);
        bytes[1] = tail(6);
        bytes[2] = tail(0);
        return 3;
    }
    bytes[0] = static_cast<char>(0xF0 | c >> 18);
    bytes[1] = tail(12);
    bytes[2] = tail(6);
    bytes[3] = tail(0);
    return 4;
}

/// Reads what PutUtf8 wrote, from at most `count` bytes: the value, and its length in `*length`. Length 0 when the bytes
/// are nothing that it writes: cut short, overlong, too large.
inline unsigned GetUtf8(const unsigned char* bytes, int count, int* length)
{
    *length = 0;
    if (count < 1)
        return 0;
    const unsigned first = bytes[0];
    const int size = first < 0x80   ? 1
                     : first < 0xC2 ? 0
                     : first < 0xE0 ? 2
                     : first < 0xF0 ? 3
                     : first < 0xF5 ? 4
                                    : 0;
    if (size == 0 || size > count)
        return 0;
    unsigned value = size == 1 ? first : first & (0x7Fu >> size);
    for (int i = 1; i < size; ++i) {
        if ((bytes[i] & 0xC0) != 0x80)
            return 0;
        value = value << 6 | (bytes[i] & 0x3Fu);
    }
    const unsigned least = size == 1 ? 0 : size == 2 ? 0x80 : size == 3 ? 0x800 : 0x10000;
    if (value < least || value > 0x10FFFF)
        return 0;
    *length = size;
    return value;
}

#endif
