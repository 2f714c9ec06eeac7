// textblock.h: eight characters at a time: the little of SSE2 that the text kernels are written in.
//
// A lane mask has two bits for each of the eight units, the first unit lowest.
#ifndef TEXTBLOCK_H
#define TEXTBLOCK_H

#include "compiler.h"

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace TextKern {

/// Units that may stand at odd addresses, as in packed resources and file buffers.
inline wchar_t UnitAt(const wchar_t* text, size_t index)
{
    wchar_t c;
    std::memcpy(&c, text + index, sizeof c);
    return c;
}
inline void SetUnitAt(wchar_t* text, size_t index, wchar_t c)
{
    std::memcpy(text + index, &c, sizeof c);
}

inline size_t Address(const wchar_t* text)
{
    return reinterpret_cast<size_t>(text);
}

using Block = __m128i;
constexpr size_t kBlockUnits = 8;
constexpr size_t kBlockBytes = 16;
/// What the kernels do in one step while they find nothing.
constexpr size_t kStepUnits = 4 * kBlockUnits;
constexpr unsigned kAllLanes = 0xFFFF;

inline Block Load(const wchar_t* text)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(text));
}
/// A whole aligned block that holds a unit of a text: what else it holds may lie outside the text, but never on another page.
/// A sanitizer, who knows where the text's memory ends, must not look.
S_READS_BEYOND inline Block LoadAligned(const wchar_t* text)
{
    return *reinterpret_cast<const Block*>(text);
}
/// A block that may reach beyond the text's end, which costs nothing as long as it stays on the page of its first unit.
/// Not for tools that know where the text's memory ends.
constexpr size_t kPageBytes = 4096;
inline bool IsBlockInOnePage(const wchar_t* text, size_t blocks = 1)
{
    return Address(text) % kPageBytes <= kPageBytes - blocks * kBlockBytes;
}
S_READS_BEYOND inline Block LoadInOnePage(const wchar_t* text)
{
    return *reinterpret_cast<const __m128i_u*>(text);
}
inline void Store(wchar_t* text, Block block)
{
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(text), block);
}

/// Half and quarter of a block, the rest zero. Not by _mm_loadl_epi64: without optimisation that goes through
/// the MMX registers and leaves the floating-point unit unusable.
inline Block LoadHalf(const wchar_t* text)
{
    double bits;
    std::memcpy(&bits, text, sizeof bits);
    return _mm_castpd_si128(_mm_set_sd(bits));
}
inline void StoreHalf(wchar_t* text, Block block)
{
    const double bits = _mm_cvtsd_f64(_mm_castsi128_pd(block));
    std::memcpy(text, &bits, sizeof bits);
}
inline Block LoadQuarter(const wchar_t* text)
{
    int bits;
    std::memcpy(&bits, text, sizeof bits);
    return _mm_cvtsi32_si128(bits);
}

/// A text of 2 to 7 units as one block: its first 4 (2) units, then its last 4 (2), which may overlap them.
inline Block LoadShort(const wchar_t* text, size_t length)
{
    return length >= 4 ? _mm_unpacklo_epi64(LoadHalf(text), LoadHalf(text + length - 4))
                       : _mm_unpacklo_epi32(LoadQuarter(text), LoadQuarter(text + length - 2));
}
/// Where the unit of a lane of such a block stands in the text. Lanes beyond the units give nonsense.
inline size_t ShortPosition(size_t lane, size_t length)
{
    const size_t half = length >= 4 ? 4 : 2;
    return lane < half ? lane : lane + length - 2 * half;
}

inline Block Fill(wchar_t c)
{
    return _mm_set1_epi16(static_cast<short>(c));
}
inline Block Equal(Block a, Block b)
{
    return _mm_cmpeq_epi16(a, b);
}
inline Block Either(Block a, Block b)
{
    return _mm_or_si128(a, b);
}
inline Block Both(Block a, Block b)
{
    return _mm_and_si128(a, b);
}

inline unsigned Lanes(Block truth)
{
    return static_cast<unsigned>(_mm_movemask_epi8(truth));
}
inline size_t FirstLane(unsigned lanes)
{
    return static_cast<size_t>(LowestBit(lanes)) / 2;
}
inline size_t LastLane(unsigned lanes)
{
    return static_cast<size_t>(HighestBit(lanes)) / 2;
}

inline bool IsAscii(Block block)
{
    return Lanes(Equal(Both(block, Fill(0xFF80)), _mm_setzero_si128())) == kAllLanes;
}
/// Truth for the 26 units from `first` on. SSE2 compares signed numbers only, so the range is moved to their
/// low end.
inline Block IsLetterFrom(wchar_t first, Block block)
{
    const Block moved = _mm_add_epi16(block, Fill(static_cast<wchar_t>(0x8000 - first)));
    return _mm_cmplt_epi16(moved, Fill(0x8000 + 26));
}
constexpr wchar_t kCaseBit = 0x20;

} // namespace TextKern

#endif
