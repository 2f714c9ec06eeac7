// textkern.cpp: the kernels in SSE2, which every processor of this target has: all but comparison
// (textcompare.cpp) and text search (textfind.cpp).
//
// They share one shape: four blocks in one step while nothing is found, then single blocks, then a last block
// that overlaps the one before it, so that no rest is left for a loop over units. Texts of less than a block
// are put together from two overlapping pieces for the same reason: most strings are short.
#include "textkern.h"

#include "casetable.h"
#include "textblock.h"
#include "textwide.h"

#include <algorithm>

namespace TextKern {

namespace {

constexpr size_t kNoLimit = ~static_cast<size_t>(0);

// ---- What a block is searched for ----

struct IsChar {
    Block wanted;
    explicit IsChar(wchar_t c) : wanted(Fill(c)) {}
    Block operator()(Block block) const { return Equal(block, wanted); }
    bool operator()(wchar_t c) const { return c == static_cast<wchar_t>(_mm_cvtsi128_si32(wanted)); }
};
struct IsOtherChar {
    IsChar same;
    explicit IsOtherChar(wchar_t c) : same(c) {}
    Block operator()(Block block) const { return Equal(same(block), _mm_setzero_si128()); }
    bool operator()(wchar_t c) const { return !same(c); }
};
struct IsCharOrEnd {
    IsChar same;
    explicit IsCharOrEnd(wchar_t c) : same(c) {}
    Block operator()(Block block) const { return Either(same(block), Equal(block, _mm_setzero_si128())); }
    bool operator()(wchar_t c) const { return same(c) || c == L'\0'; }
};

template <class Test>
Block AnyOfFour(const Test& test, Block a, Block b, Block c, Block d)
{
    return Either(Either(test(a), test(b)), Either(test(c), test(d)));
}

// Lanes of a block from LoadShort that hold units of the text.
unsigned ShortLanes(size_t length)
{
    return length >= 4 ? kAllLanes : kAllLanes >> kBlockUnits;
}

// ---- Searches in a text of known length: the position, or the length when there is nothing ----

template <class Test>
size_t FirstThat(const wchar_t* text, size_t length, wchar_t c)
{
    const Test test(c);
    if (length < kBlockUnits) {
        if (length < 2)
            return length == 1 && !test(UnitAt(text, 0)) ? 1 : 0;
        const unsigned lanes = Lanes(test(LoadShort(text, length))) & ShortLanes(length);
        return lanes ? ShortPosition(FirstLane(lanes), length) : length;
    }
    size_t i = 0;
    for (; length - i >= kStepUnits; i += kStepUnits) {
        const wchar_t* at = text + i;
        if (Lanes(AnyOfFour(test, Load(at), Load(at + 8), Load(at + 16), Load(at + 24))))
            break;
    }
    for (; length - i >= kBlockUnits; i += kBlockUnits) {
        if (const unsigned lanes = Lanes(test(Load(text + i))))
            return i + FirstLane(lanes);
    }
    if (i < length) {
        i = length - kBlockUnits;
        if (const unsigned lanes = Lanes(test(Load(text + i))))
            return i + FirstLane(lanes);
    }
    return length;
}

template <class Test>
size_t LastThat(const wchar_t* text, size_t length, wchar_t c)
{
    const Test test(c);
    if (length < kBlockUnits) {
        if (length < 2)
            return length == 1 && !test(UnitAt(text, 0)) ? 1 : 0;
        const unsigned lanes = Lanes(test(LoadShort(text, length))) & ShortLanes(length);
        return lanes ? ShortPosition(LastLane(lanes), length) : length;
    }
    size_t end = length;
    for (; end >= kStepUnits; end -= kStepUnits) {
        const wchar_t* at = text + end - kStepUnits;
        if (Lanes(AnyOfFour(test, Load(at), Load(at + 8), Load(at + 16), Load(at + 24))))
            break;
    }
    for (; end >= kBlockUnits; end -= kBlockUnits) {
        if (const unsigned lanes = Lanes(test(Load(text + end - kBlockUnits))))
            return end - kBlockUnits + LastLane(lanes);
    }
    if (end > 0) {
        if (const unsigned lanes = Lanes(test(Load(text))))
            return LastLane(lanes);
    }
    return length;
}

// ---- Searches that end at a terminator at the latest ----

// Four blocks in one step only where they begin at a multiple of their size, which is inside one page. Units
// at odd addresses lie across the blocks, so such texts go unit by unit.
template <class Test>
size_t FirstBefore(const wchar_t* text, size_t most, wchar_t c)
{
    const Test test(c);
    size_t i = 0;
    if (Address(text) % sizeof(wchar_t) != 0) {
        while (i < most && !test(UnitAt(text, i)))
            ++i;
        return i;
    }
    if (most == 0)
        return 0;
    const size_t before = Address(text) % kBlockBytes;
    if (const unsigned lanes = Lanes(test(LoadAligned(text - before / sizeof(wchar_t)))) >> before)
        return std::min(FirstLane(lanes), most);
    for (i = (kBlockBytes - before) / sizeof(wchar_t); i < most;) {
        const wchar_t* at = text + i;
        if (Address(at) % (kStepUnits * sizeof(wchar_t)) == 0 && most - i >= kStepUnits &&
            !Lanes(AnyOfFour(test, LoadAligned(at), LoadAligned(at + 8), LoadAligned(at + 16),
                             LoadAligned(at + 24)))) {
            i += kStepUnits;
            continue;
        }
        if (const unsigned lanes = Lanes(test(LoadAligned(at))))
            return std::min(i + FirstLane(lanes), most);
        i += kBlockUnits;
    }
    return most;
}

// ---- Counting and changing ----

// Counts truths, 16 bits a lane, so no more than kMost blocks at a time.
class Tally {
public:
    static constexpr size_t kMost = 0x7FFF;
    void Add(Block truth) { m_lanes = _mm_sub_epi16(m_lanes, truth); }
    size_t Sum() const
    {
        const Block pairs = _mm_madd_epi16(m_lanes, _mm_set1_epi16(1));
        const Block fours = _mm_add_epi32(pairs, _mm_srli_si128(pairs, 8));
        const Block all = _mm_add_epi32(fours, _mm_srli_si128(fours, 4));
        return static_cast<size_t>(_mm_cvtsi128_si32(all));
    }

private:
    Block m_lanes = _mm_setzero_si128();
};

// Sum of what `visit`, given each whole block in turn, found true.
template <class Visit>
size_t CountInBlocks(size_t blocks, Visit visit)
{
    size_t count = 0;
    for (size_t i = 0; i < blocks;) {
        const size_t end = i + std::min(blocks - i, Tally::kMost);
        Tally tally;
#pragma GCC unroll 4
        for (; i < end; ++i)
            tally.Add(visit(i * kBlockUnits));
        count += tally.Sum();
    }
    return count;
}

struct UpperRule {
    static constexpr wchar_t kFirstToChange = L'a';
    static wchar_t Unit(wchar_t c) { return CaseTable::Upper(c); }
};
struct LowerRule {
    static constexpr wchar_t kFirstToChange = L'A';
    static wchar_t Unit(wchar_t c) { return CaseTable::Lower(c); }
};

template <class Rule>
void ChangeUnits(wchar_t* text, size_t from, size_t end)
{
    for (; from < end; ++from)
        SetUnitAt(text, from, Rule::Unit(UnitAt(text, from)));
}

template <class Rule>
Block ChangeAscii(Block block)
{
    return _mm_xor_si128(block, Both(IsLetterFrom(Rule::kFirstToChange, block), Fill(kCaseBit)));
}

template <class Rule>
void ChangeCase(wchar_t* text, size_t length)
{
    size_t i = IsWorthWide(length) ? ChangeAsciiWide(text, length, Rule::kFirstToChange) : 0;
    for (; length - i >= 2 * kBlockUnits; i += 2 * kBlockUnits) {
        const Block first = Load(text + i);
        const Block second = Load(text + i + kBlockUnits);
        if (IsAscii(Either(first, second))) {
            Store(text + i, ChangeAscii<Rule>(first));
            Store(text + i + kBlockUnits, ChangeAscii<Rule>(second));
        } else {
            ChangeUnits<Rule>(text, i, i + 2 * kBlockUnits);
        }
    }
    for (; length - i >= kBlockUnits; i += kBlockUnits) {
        const Block block = Load(text + i);
        if (!IsAscii(block))
            break;
        Store(text + i, ChangeAscii<Rule>(block));
    }
    // ASCII may be changed twice, so a last block may overlap; of the tables nobody promises that.
    if (i < length && length - i < kBlockUnits && length >= kBlockUnits) {
        const Block block = Load(text + length - kBlockUnits);
        if (IsAscii(block)) {
            Store(text + length - kBlockUnits, ChangeAscii<Rule>(block));
            return;
        }
    }
    ChangeUnits<Rule>(text, i, length);
}

} // namespace

// ---- Texts with a terminator ----

size_t Length(const wchar_t* text, size_t most)
{
    return FirstBefore<IsChar>(text, most, L'\0');
}

const wchar_t* FindCharOrEnd(const wchar_t* text, wchar_t c)
{
    return text + FirstBefore<IsCharOrEnd>(text, kNoLimit, c);
}

// ---- Search ----

const wchar_t* FindChar(const wchar_t* text, size_t length, wchar_t c)
{
    const size_t at = FirstThat<IsChar>(text, length, c);
    return at < length ? text + at : nullptr;
}

const wchar_t* FindLastChar(const wchar_t* text, size_t length, wchar_t c)
{
    const size_t at = LastThat<IsChar>(text, length, c);
    return at < length ? text + at : nullptr;
}

// ---- Runs ----

size_t SpanChar(const wchar_t* text, size_t length, wchar_t c)
{
    return FirstThat<IsOtherChar>(text, length, c);
}

size_t SpanCharBack(const wchar_t* text, size_t length, wchar_t c)
{
    const size_t at = LastThat<IsOtherChar>(text, length, c);
    return at < length ? length - 1 - at : length;
}

size_t SpanSet(const wchar_t* text, size_t length, const wchar_t* set, size_t setLength)
{
    size_t n = 0;
    while (n < length && FindChar(set, setLength, UnitAt(text, n)))
        ++n;
    return n;
}

size_t SpanSetBack(const wchar_t* text, size_t length, const wchar_t* set, size_t setLength)
{
    size_t n = 0;
    while (n < length && FindChar(set, setLength, UnitAt(text, length - 1 - n)))
        ++n;
    return n;
}

// ---- Changing in place ----

size_t ReplaceChar(wchar_t* text, size_t length, wchar_t from, wchar_t to)
{
    const Block old = Fill(from);
    const Block change = Fill(static_cast<wchar_t>(from ^ to));
    size_t count = CountInBlocks(length / kBlockUnits, [=](size_t i) {
        const Block block = Load(text + i);
        const Block found = Equal(block, old);
        Store(text + i, _mm_xor_si128(block, Both(found, change)));
        return found;
    });
    for (size_t i = length - length % kBlockUnits; i < length; ++i) {
        if (UnitAt(text, i) == from) {
            SetUnitAt(text, i, to);
            ++count;
        }
    }
    return count;
}

void ToUpper(wchar_t* text, size_t length)
{
    ChangeCase<UpperRule>(text, length);
}

void ToLower(wchar_t* text, size_t length)
{
    ChangeCase<LowerRule>(text, length);
}

} // namespace TextKern
