// mapkey.cpp: hints of text keys, and the search that is led by them.
#include "mapkey.h"

#include "stree.h"
#include "textblock.h"
#include "textkern.h"

#include <algorithm>

using namespace TextKern;

namespace {

static_assert(STextHint::kUnits == kBlockUnits, "a hint is a block");

Block FirstUnits(const wchar_t* text, size_t length)
{
    constexpr wchar_t kAll = 0xFFFF;
    static constexpr wchar_t kMasks[2 * kBlockUnits] = { kAll, kAll, kAll, kAll, kAll, kAll, kAll, kAll };
    if (S_LIKELY(length >= kBlockUnits))
        return Load(text);
    if (S_LIKELY(IsBlockInOnePage(text)))
        return Both(LoadInOnePage(text), Load(kMasks + kBlockUnits - length));
    wchar_t units[kBlockUnits] = {};
    std::copy_n(text, length, units);
    return Load(units);
}

// Signed numbers in the order of the units, the first one last: two blocks so made compare by the masks of their lanes, as
// numbers, since the first unit that differs is the highest lane.
STextHint Made(Block units)
{
    const Block numbers = _mm_xor_si128(units, Fill(0x8000));
    const Block halves =
        _mm_shufflehi_epi16(_mm_shufflelo_epi16(numbers, _MM_SHUFFLE(0, 1, 2, 3)), _MM_SHUFFLE(0, 1, 2, 3));
    STextHint hint;
    Store(hint.units, _mm_shuffle_epi32(halves, _MM_SHUFFLE(1, 0, 3, 2)));
    return hint;
}

} // namespace

STextHint STextHint::Of(const wchar_t* text, size_t length)
{
    return Made(FirstUnits(text, length));
}

STextHint STextHint::OfUpper(const wchar_t* text, size_t length)
{
    wchar_t units[kUnits];
    Store(units, FirstUnits(text, length));
    ToUpper(units, kUnits);
    return Made(Load(units));
}

// Nothing in the loop but its end is a branch: which side a search takes no processor can predict.
__STree::Entry* __STree::Descend(Entry* entry, const STextHint& hint, Place& place)
{
    const Block key = Load(hint.units);
    Entry* parent = nullptr;
    Entry* const* link = nullptr;
    while (entry) {
        const Block other = Load(reinterpret_cast<const STextHint*>(entry)[-1].units);
        const unsigned above = Lanes(_mm_cmpgt_epi16(key, other)), below = Lanes(_mm_cmpgt_epi16(other, key));
        if (above == below)
            break;
        parent = entry;
        link = entry->ChildLink(above > below);
        entry = *link;
    }
    if (parent)
        place = { parent, link != parent->ChildLink(false) };
    return entry;
}
