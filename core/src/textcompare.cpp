// textcompare.cpp: comparison of texts, exact and ignoring case, in the shape that textkern.cpp describes.
#include "textkern.h"

#include "casetable.h"
#include "strclss.h"
#include "textblock.h"
#include "textwide.h"

#include <algorithm>
#include <type_traits>

namespace TextKern {

namespace {

struct ByUnit {
    static wchar_t Weight(wchar_t c) { return c; }
    // Leaves bits in the units that differ.
    static Block Differences(Block a, Block b) { return _mm_xor_si128(a, b); }
    // The first real difference among units of which blocks say that they differ.
    static size_t FirstUnlike(const wchar_t*, const wchar_t*, size_t from, size_t) { return from; }
};

// ASCII letters that differ in the case bit only are equal in the block already. All other differences are
// looked up unit by unit, which never asks the tables for ASCII.
struct ByLetter {
    static wchar_t Weight(wchar_t c) { return CaseTable::Upper(c); }
    static Block Differences(Block a, Block b)
    {
        const Block letters = IsLetterFrom(L'a', Either(a, Fill(kCaseBit)));
        return _mm_andnot_si128(Both(letters, Fill(kCaseBit)), _mm_xor_si128(a, b));
    }
    static size_t FirstUnlike(const wchar_t* a, const wchar_t* b, size_t from, size_t end)
    {
        if (CaseTable::IsReady()) {
            while (from < end && CaseTable::g_upper[UnitAt(a, from)] == CaseTable::g_upper[UnitAt(b, from)])
                ++from;
        } else {
            while (from < end && Weight(UnitAt(a, from)) == Weight(UnitAt(b, from)))
                ++from;
        }
        return from;
    }
};

template <class Rule>
Block Differences(const wchar_t* a, const wchar_t* b)
{
    return Rule::Differences(Load(a), Load(b));
}

unsigned NonZeroLanes(Block block)
{
    return Lanes(Equal(block, _mm_setzero_si128())) ^ kAllLanes;
}

template <class Rule>
[[gnu::always_inline]] inline size_t MismatchShort(const wchar_t* a, const wchar_t* b, size_t length)
{
    if (length < 2)
        return length == 1 && Rule::Weight(UnitAt(a, 0)) == Rule::Weight(UnitAt(b, 0)) ? 1 : 0;
    const unsigned lanes = NonZeroLanes(Rule::Differences(LoadShort(a, length), LoadShort(b, length)));
    return lanes ? Rule::FirstUnlike(a, b, ShortPosition(FirstLane(lanes), length), length) : length;
}

template <class Rule>
size_t MismatchLong(const wchar_t* a, const wchar_t* b, size_t length)
{
    if (std::is_same_v<Rule, ByUnit> && IsWorthWide(length))
        return MismatchWide(a, b, length);
    size_t i = 0;
    for (; length - i >= kStepUnits; i += kStepUnits) {
        const wchar_t* x = a + i;
        const wchar_t* y = b + i;
        const Block found =
            Either(Either(Differences<Rule>(x, y), Differences<Rule>(x + 8, y + 8)),
                   Either(Differences<Rule>(x + 16, y + 16), Differences<Rule>(x + 24, y + 24)));
        if (NonZeroLanes(found))
            break;
    }
    while (length - i >= kBlockUnits) {
        const unsigned lanes = NonZeroLanes(Differences<Rule>(a + i, b + i));
        if (lanes == 0) {
            i += kBlockUnits;
            continue;
        }
        // Where the tables are needed once they mostly are for some more units.
        const size_t end = std::min(i + kStepUnits, length);
        const size_t at = Rule::FirstUnlike(a, b, i + FirstLane(lanes), end);
        if (at < end)
            return at;
        i = end;
    }
    if (i < length) {
        i = length - kBlockUnits;
        if (const unsigned lanes = NonZeroLanes(Differences<Rule>(a + i, b + i)))
            return Rule::FirstUnlike(a, b, i + FirstLane(lanes), length);
    }
    return length;
}

template <class Rule>
[[gnu::always_inline]] inline size_t MismatchBy(const wchar_t* a, const wchar_t* b, size_t length)
{
    if (length < kBlockUnits)
        return MismatchShort<Rule>(a, b, length);
    if (length > 2 * kBlockUnits)
        return MismatchLong<Rule>(a, b, length);
    const size_t last = length - kBlockUnits;
    if (const unsigned lanes = NonZeroLanes(Differences<Rule>(a, b))) {
        const size_t at = Rule::FirstUnlike(a, b, FirstLane(lanes), kBlockUnits);
        if (at < kBlockUnits)
            return at;
    }
    const unsigned lanes = NonZeroLanes(Differences<Rule>(a + last, b + last));
    return lanes ? Rule::FirstUnlike(a, b, last + FirstLane(lanes), length) : length;
}

template <class Rule>
int OrderOf(wchar_t a, wchar_t b)
{
    return static_cast<int>(Rule::Weight(a)) - static_cast<int>(Rule::Weight(b));
}

template <class Rule>
[[gnu::always_inline]] inline int CompareBy(const wchar_t* a, size_t aLength, const wchar_t* b,
                                            size_t bLength)
{
    const size_t common = std::min(aLength, bLength);
    const size_t at = a == b ? common : MismatchBy<Rule>(a, b, common);
    if (at < common)
        return OrderOf<Rule>(UnitAt(a, at), UnitAt(b, at));
    return aLength == bLength ? 0 : aLength < bLength ? -1 : 1;
}

// NULs at or behind a character in its own block; the lowest lane is that of the character.
unsigned EndLanes(const wchar_t* text)
{
    const size_t before = Address(text) % kBlockBytes;
    const Block block = LoadAligned(text - before / sizeof(wchar_t));
    return Lanes(Equal(block, _mm_setzero_si128())) >> before;
}

// Most texts differ or end in their first blocks. Long ones are measured and compared in stretches, each
// twice as long as the last, so that the cost follows the common part and not the longer text.
constexpr int kFirstBlocks = 4;

template <class Rule>
int CompareTerminatedBy(const wchar_t* a, const wchar_t* b, size_t most)
{
    if (a == b)
        return 0;
    const bool odd = (Address(a) | Address(b)) % sizeof(wchar_t) != 0;
    for (int i = odd ? kFirstBlocks : 0; i < kFirstBlocks && most >= kBlockUnits; ++i) {
        unsigned ends = EndLanes(a) | EndLanes(b);
        bool alike = false;
        // Without an end in the first of two blocks the text goes on into the second, so both may be read.
        if (!ends) {
            const Block block = Load(a);
            ends = Lanes(Equal(block, _mm_setzero_si128()));
            alike = !ends && !NonZeroLanes(Rule::Differences(block, Load(b)));
        }
        if (!alike) {
            const size_t length = ends ? FirstLane(ends) + 1 : kBlockUnits;
            const size_t at = MismatchBy<Rule>(a, b, length);
            if (at < length)
                return OrderOf<Rule>(a[at], b[at]);
            if (ends)
                return 0;
        }
        a += kBlockUnits;
        b += kBlockUnits;
        most -= kBlockUnits;
    }
    for (size_t stretch = kFirstBlocks * kBlockUnits; most > 0; stretch *= 2) {
        const size_t length = std::min(stretch, most);
        const size_t ended = Length(b, Length(a, length));
        const size_t compared = std::min(ended + 1, length);
        const size_t at = MismatchBy<Rule>(a, b, compared);
        if (at < compared)
            return OrderOf<Rule>(UnitAt(a, at), UnitAt(b, at));
        if (ended < length)
            break;
        a += length;
        b += length;
        most -= length;
    }
    return 0;
}

} // namespace

int CompareTerminated(const wchar_t* a, const wchar_t* b, size_t most)
{
    return CompareTerminatedBy<ByUnit>(a, b, most);
}

int CompareTerminatedNoCase(const wchar_t* a, const wchar_t* b, size_t most)
{
    return CompareTerminatedBy<ByLetter>(a, b, most);
}

int Compare(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength)
{
    return CompareBy<ByUnit>(a, aLength, b, bLength);
}

int CompareNoCase(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength)
{
    return CompareBy<ByLetter>(a, aLength, b, bLength);
}

size_t Mismatch(const wchar_t* a, const wchar_t* b, size_t length)
{
    return MismatchBy<ByUnit>(a, b, length);
}

size_t MismatchNoCase(const wchar_t* a, const wchar_t* b, size_t length)
{
    return MismatchBy<ByLetter>(a, b, length);
}

} // namespace TextKern

// Strings' own comparison stands here since a call more costs as much as comparing short texts does.

int SString::Compare(const SString& text) const
{
    return TextKern::CompareBy<TextKern::ByUnit>(m_text, static_cast<size_t>(Length()), text.m_text,
                                                 static_cast<size_t>(text.Length()));
}

int SString::CompareNoCase(const SString& text) const
{
    return TextKern::CompareBy<TextKern::ByLetter>(m_text, static_cast<size_t>(Length()), text.m_text,
                                                   static_cast<size_t>(text.Length()));
}
