#include "textwide.h"

#include "compiler.h"
#include "textblock.h"

#include <immintrin.h>

namespace TextKern {

namespace {

using WideBlock = __m256i;
constexpr size_t kWideUnits = 16;

S_AVX2 inline WideBlock LoadWide(const wchar_t* text)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(text));
}
S_AVX2 inline void StoreWide(wchar_t* text, WideBlock block)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(text), block);
}
S_AVX2 inline WideBlock FillWide(int unit)
{
    return _mm256_set1_epi16(static_cast<short>(unit));
}

S_AVX2 inline WideBlock Differences(const wchar_t* a, const wchar_t* b)
{
    return _mm256_xor_si256(LoadWide(a), LoadWide(b));
}

// A bit for each byte that differs.
S_AVX2 inline unsigned UnlikeBytes(const wchar_t* a, const wchar_t* b)
{
    return ~static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(LoadWide(a), LoadWide(b))));
}

S_AVX2 inline WideBlock ChangedAscii(WideBlock block, WideBlock toLowEnd)
{
    const WideBlock isLetter = _mm256_cmpgt_epi16(FillWide(0x8000 + 26), _mm256_add_epi16(block, toLowEnd));
    return _mm256_xor_si256(block, _mm256_and_si256(isLetter, FillWide(kCaseBit)));
}

} // namespace

S_AVX2 size_t MismatchWide(const wchar_t* a, const wchar_t* b, size_t length)
{
    constexpr size_t kStep = 4 * kWideUnits;
    size_t i = 0;
    for (; length - i >= kStep; i += kStep) {
        const wchar_t* x = a + i;
        const wchar_t* y = b + i;
        const WideBlock found =
            _mm256_or_si256(_mm256_or_si256(Differences(x, y), Differences(x + 16, y + 16)),
                            _mm256_or_si256(Differences(x + 32, y + 32), Differences(x + 48, y + 48)));
        if (!_mm256_testz_si256(found, found))
            break;
    }
    for (; length - i >= kWideUnits; i += kWideUnits) {
        if (const unsigned bytes = UnlikeBytes(a + i, b + i))
            return i + FirstLane(bytes);
    }
    if (i < length) {
        i = length - kWideUnits;
        if (const unsigned bytes = UnlikeBytes(a + i, b + i))
            return i + FirstLane(bytes);
    }
    return length;
}

S_AVX2 size_t ChangeAsciiWide(wchar_t* text, size_t length, wchar_t first)
{
    constexpr size_t kStep = 2 * kWideUnits;
    const WideBlock beyond = FillWide(0xFF80), toLowEnd = FillWide(0x8000 - first);
    size_t i = 0;
    for (; length - i >= kStep; i += kStep) {
        const WideBlock a = LoadWide(text + i), b = LoadWide(text + i + kWideUnits);
        if (!_mm256_testz_si256(_mm256_or_si256(a, b), beyond))
            break;
        StoreWide(text + i, ChangedAscii(a, toLowEnd));
        StoreWide(text + i + kWideUnits, ChangedAscii(b, toLowEnd));
    }
    return i;
}

} // namespace TextKern
