// base64kern.cpp: the loops of Base64: with tables, and with 32-byte registers.
#include "base64kern.h"

#include "compiler.h"
#include "processor.h"

#include <immintrin.h>

#include <cstring>

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr wchar_t kPadding = L'=';
constexpr unsigned char kOutside = 0xFF;

// Two characters for each 12 bits, and a value for each character; made by the compiler.
struct PairTable {
    constexpr PairTable() : pairs{}
    {
        for (unsigned i = 0; i < 4096; ++i)
            pairs[i] = static_cast<unsigned>(kAlphabet[i >> 6]) | static_cast<unsigned>(kAlphabet[i & 63])
                                                                      << 16;
    }
    unsigned pairs[4096];
};
struct ValueTable {
    constexpr ValueTable() : values{}
    {
        for (unsigned char& value : values)
            value = kOutside;
        for (unsigned char i = 0; i < 64; ++i)
            values[static_cast<unsigned char>(kAlphabet[i])] = i;
    }
    unsigned char values[256];
};
constexpr PairTable kPairs;
constexpr ValueTable kValues;

unsigned ValueOf(wchar_t c)
{
    return c < 256 ? kValues.values[c] : kOutside;
}

void EncodePlain(const unsigned char* bytes, size_t count, wchar_t* text)
{
    for (; count >= 3; count -= 3, bytes += 3, text += 4) {
        const unsigned group = bytes[0] << 16 | bytes[1] << 8 | bytes[2];
        std::memcpy(text, &kPairs.pairs[group >> 12], sizeof(unsigned));
        std::memcpy(text + 2, &kPairs.pairs[group & 0xFFF], sizeof(unsigned));
    }
    if (count == 0)
        return;
    const unsigned group = bytes[0] << 16 | (count == 2 ? bytes[1] << 8 : 0);
    std::memcpy(text, &kPairs.pairs[group >> 12], sizeof(unsigned));
    text[2] = count == 2 ? static_cast<wchar_t>(kAlphabet[group >> 6 & 63]) : kPadding;
    text[3] = kPadding;
}

size_t DecodePlain(const wchar_t* text, size_t length, unsigned char* bytes)
{
    const unsigned char* const start = bytes;
    size_t i = 0;
    for (; i + 4 <= length; i += 4, bytes += 3) {
        const unsigned a = ValueOf(text[i]), b = ValueOf(text[i + 1]), c = ValueOf(text[i + 2]),
                       d = ValueOf(text[i + 3]);
        if ((a | b | c | d) > 63)
            break;
        const unsigned group = a << 18 | b << 12 | c << 6 | d;
        bytes[0] = static_cast<unsigned char>(group >> 16);
        bytes[1] = static_cast<unsigned char>(group >> 8);
        bytes[2] = static_cast<unsigned char>(group);
    }
    // The last group: three characters at most, the next one ends the text.
    unsigned group = 0;
    int taken = 0;
    for (; i < length && taken < 3 && ValueOf(text[i]) <= 63; ++i, ++taken)
        group |= ValueOf(text[i]) << (18 - 6 * taken);
    if (taken >= 2)
        *bytes++ = static_cast<unsigned char>(group >> 16);
    if (taken == 3)
        *bytes++ = static_cast<unsigned char>(group >> 8);
    return static_cast<size_t>(bytes - start);
}

// ---- With AVX2: 24 bytes and 32 characters at a time ----
//
// The plain loop at their end is of this file, and in front of a call of such a function the compiler does not clear the upper
// halves of the registers. Left as they are, they slow down all that the thread does with the lower ones from then on.

constexpr size_t kStepBytes = 24, kStepChars = 32;

S_AVX2 void EncodeWide(const unsigned char* bytes, size_t count, wchar_t* text)
{
    // In each half twelve bytes are spread over four groups of 32 bits, as b a c b, so that every six bits can be
    // moved into their byte by a multiplication.
    const __m256i spread = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, //
                                            1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    // What to add to a value: 'A' for 0 to 25 (at 13), 'a' - 26 for 26 to 51 (at 0), and so on one by one.
    const __m256i offsets =
        _mm256_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                         '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0, //
                         'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                         '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    // The second half is loaded from its twelfth byte on, so four bytes more than a step must be there.
    for (; count >= kStepBytes + 4; count -= kStepBytes, bytes += kStepBytes, text += kStepChars) {
        const __m256i loaded = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes))),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + kStepBytes / 2)), 1);
        const __m256i groups = _mm256_shuffle_epi8(loaded, spread);
        const __m256i odd = _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)),
                                               _mm256_set1_epi32(0x04000040));
        const __m256i even = _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)),
                                                _mm256_set1_epi32(0x01000010));
        const __m256i values = _mm256_or_si256(odd, even);
        const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
        const __m256i row = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                            _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
        const __m256i chars = _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, row));
        __m256i* const to = reinterpret_cast<__m256i*>(text);
        _mm256_storeu_si256(to, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(chars)));
        _mm256_storeu_si256(to + 1, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(chars, 1)));
    }
    _mm256_zeroupper();
    EncodePlain(bytes, count, text);
}

S_AVX2 inline __m256i InRange(__m256i chars, char first, char last)
{
    return _mm256_and_si256(_mm256_cmpgt_epi8(chars, _mm256_set1_epi8(static_cast<char>(first - 1))),
                            _mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(last + 1)), chars));
}
S_AVX2 inline __m256i Offset(__m256i mask, int offset)
{
    return _mm256_and_si256(mask, _mm256_set1_epi8(static_cast<char>(offset)));
}

S_AVX2 size_t DecodeWide(const wchar_t* text, size_t length, unsigned char* bytes)
{
    const unsigned char* const start = bytes;
    // Of each group of 32 bits the three bytes that count, first one first; then the two halves are put together.
    const __m256i gather = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, //
                                            2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    // A step stores 32 bytes of which 24 count: so many characters more must follow that there is room for them.
    constexpr size_t kFollow = kStepChars + 12;
    size_t i = 0;
    for (; i + kFollow <= length; i += kStepChars, bytes += kStepBytes) {
        const __m256i* const from = reinterpret_cast<const __m256i*>(text + i);
        const __m256i low = _mm256_loadu_si256(from), high = _mm256_loadu_si256(from + 1);
        const __m256i above =
            _mm256_and_si256(_mm256_or_si256(low, high), _mm256_set1_epi16(static_cast<short>(0xFF80)));
        const __m256i chars = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
        const __m256i upper = InRange(chars, 'A', 'Z'), lower = InRange(chars, 'a', 'z'),
                      digit = InRange(chars, '0', '9'),
                      plus = _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('+')),
                      slash = _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('/'));
        const __m256i known = _mm256_or_si256(_mm256_or_si256(upper, lower),
                                              _mm256_or_si256(digit, _mm256_or_si256(plus, slash)));
        if (!_mm256_testz_si256(above, above) || _mm256_movemask_epi8(known) != -1)
            break;
        const __m256i offsets = _mm256_or_si256(
            _mm256_or_si256(Offset(upper, -'A'), Offset(lower, 26 - 'a')),
            _mm256_or_si256(Offset(digit, 52 - '0'),
                            _mm256_or_si256(Offset(plus, 62 - '+'), Offset(slash, 63 - '/'))));
        const __m256i values = _mm256_add_epi8(chars, offsets);
        const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
        const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, gather), together);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), packed);
    }
    _mm256_zeroupper();
    return static_cast<size_t>(bytes - start) + DecodePlain(text + i, length - i, bytes);
}

#undef S_AVX2

constexpr Base64Kern::Way kPlain = { EncodePlain, DecodePlain };
constexpr Base64Kern::Way kWide = { EncodeWide, DecodeWide };

} // namespace

const Base64Kern::Way& Base64Kern::Plain()
{
    return kPlain;
}

const Base64Kern::Way& Base64Kern::Best()
{
    return Processor::HasAvx2() ? kWide : kPlain;
}
