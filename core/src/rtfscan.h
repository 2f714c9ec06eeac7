// rtfscan.h: where a run of RTF text or a control word ends, looked for a block at a time.
//
// Control words and runs are short, so what counts is how little is done before the first block: it is taken from where the
// text stands, not from the next multiple of its size. A block may reach beyond the end of the text, but never onto another
// page than the unit that it begins with.
#ifndef RTFSCAN_H
#define RTFSCAN_H

#include "textblock.h"

#include "cvbase.h"

namespace RtfTags {

/// Braces and backslashes end a run of text.
struct TextEnds {
    static bool Has(wchar_t c) { return c == L'\\' || c == L'{' || c == L'}' || c == L'\0'; }

    TextKern::Block operator()(TextKern::Block block) const
    {
        using namespace TextKern;
        return Either(Either(Equal(block, backslash), Equal(block, open)),
                      Either(Equal(block, close), Equal(block, _mm_setzero_si128())));
    }

    TextKern::Block backslash = TextKern::Fill(L'\\');
    TextKern::Block open = TextKern::Fill(L'{');
    TextKern::Block close = TextKern::Fill(L'}');
};

/// Those and white space end a control word.
struct ControlEnds {
    static bool Has(wchar_t c)
    {
        return TextEnds::Has(c) || c == L' ' || c == L'\t' || c == L'\n' || c == L'\r';
    }

    TextKern::Block operator()(TextKern::Block block) const
    {
        using namespace TextKern;
        return Either(textEnds(block), Either(Either(Equal(block, Fill(L' ')), Equal(block, Fill(L'\t'))),
                                              Either(Equal(block, Fill(L'\n')), Equal(block, Fill(L'\r')))));
    }

    TextEnds textEnds;
};

/// Sixteen units in eight bits: those from U+0100 on become 255, those from U+8000 on 0.
constexpr size_t kByteUnits = 16;
inline TextKern::Block InBytes(TextKern::Block first, TextKern::Block second)
{
    return _mm_packus_epi16(first, second);
}
inline TextKern::Block InBytes(const wchar_t* at)
{
    return InBytes(TextKern::Load(at), TextKern::Load(at + TextKern::kBlockUnits));
}
inline TextKern::Block EqualBytes(TextKern::Block bytes, char c)
{
    return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c));
}
/// A bit for each unit that is a brace or a backslash.
inline TextKern::Block MarkBytes(TextKern::Block bytes)
{
    using TextKern::Either;
    return Either(EqualBytes(bytes, '\\'), Either(EqualBytes(bytes, '{'), EqualBytes(bytes, '}')));
}

/// The first of those units, or NUL, from `at` on; there must be one.
template <class Ends>
inline const wchar_t* Find(const wchar_t* at)
{
    using namespace TextKern;
    const Ends ends;
    for (;; at += kBlockUnits) {
        if (S_LIKELY(IsBlockInOnePage(at))) {
            if (const unsigned lanes = Lanes(ends(LoadInOnePage(at))))
                return at + FirstLane(lanes);
            continue;
        }
        for (size_t i = 0; i < kBlockUnits; ++i) {
            if (Ends::Has(at[i]))
                return at + i;
        }
    }
}

/// The first brace, backslash or NUL from `at` on that `isEnd` takes for the end; there must be one. Goes on from those that it
/// does not take with the block that they stand in.
template <class IsEnd>
inline const wchar_t* FindTextEnd(const wchar_t* at, IsEnd isEnd)
{
    using namespace TextKern;
    for (;; at += kByteUnits) {
        if (S_LIKELY(IsBlockInOnePage(at, 2))) {
            const Block bytes = InBytes(LoadInOnePage(at), LoadInOnePage(at + kBlockUnits));
            unsigned ends = Lanes(Either(MarkBytes(bytes), EqualBytes(bytes, '\0')));
            for (; S_UNLIKELY(ends != 0); ends &= ends - 1) {
                const wchar_t* const found = at + LowestBit(ends);
                if (S_LIKELY(TextEnds::Has(*found) && isEnd(found)))
                    return found;
            }
            continue;
        }
        for (size_t i = 0; i < kByteUnits; ++i) {
            if (TextEnds::Has(at[i]) && isEnd(at + i))
                return at + i;
        }
    }
}
/// Runs of text are longer than words.
template <>
inline const wchar_t* Find<TextEnds>(const wchar_t* at)
{
    return FindTextEnd(at, [](const wchar_t*) { return true; });
}

/// The same where it is mostly near, as how far it is. That is found out by branches and not by counting, so that the processor
/// goes on with what it expects, most of all with the tag behind, before it knows.
template <class Ends>
inline size_t DistanceNear(const wchar_t* at)
{
    using namespace TextKern;
    if (S_UNLIKELY(!IsBlockInOnePage(at)))
        return static_cast<size_t>(Find<Ends>(at) - at);
    const Ends ends;
    const unsigned lanes = Lanes(ends(LoadInOnePage(at)));
#pragma GCC unroll 8
    for (size_t i = 0; i < kBlockUnits; ++i) {
        if (lanes >> 2 * i & 1)
            return NotCounted(i);
    }
    return static_cast<size_t>(Find<Ends>(at + kBlockUnits) - at);
}

/// The first of those units before `end`; `end` when there is none. There must be one of them or a NUL, soon behind `end`
/// where it is to cost little. A NUL in front of `end` is a character like others.
template <class Ends>
inline const wchar_t* FindBefore(const wchar_t* at, const wchar_t* end)
{
    while (at < end) {
        at = Find<Ends>(at);
        if (at >= end || *at != L'\0')
            break;
        ++at;
    }
    return at < end ? at : end;
}

/// Where a control word ends that goes on at `at`: before the next brace, backslash or white space, or at `end`.
inline const wchar_t* EndOfWord(const wchar_t* at, const wchar_t* end)
{
    using namespace TextKern;
    constexpr int kMost = 16;
    if (S_UNLIKELY(end - at < kMost))
        return FindBefore<ControlEnds>(at, end);
    const Block bytes = InBytes(at);
    const Block low = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ')), bytes);
    for (unsigned ends = Lanes(Either(MarkBytes(bytes), low)); ends; ends &= ends - 1) {
        const wchar_t* const found = at + LowestBit(ends);
        if (*found != L'\0' && ControlEnds::Has(*found))
            return found;
    }
    return FindBefore<ControlEnds>(at + kMost, end);
}

/// Finds all braces and backslashes of a piece of text at once: what follows then needs no loop of its own for each.
class MarkPlaces {
public:
    /// At most.
    static constexpr int kUnits = 1024;

    void Find(const wchar_t* at, const wchar_t* end)
    {
        m_count = 0;
        for (; end - at >= kStep; at += kStep)
            Add(at, MarksOf(at));
        if (at == end)
            return;
        wchar_t rest[kStep] = {};
        std::memcpy(rest, at, static_cast<size_t>(end - at) * sizeof(wchar_t));
        Add(at, MarksOf(rest));
    }
    const wchar_t* const* begin() const { return m_places; }
    const wchar_t* const* end() const { return m_places + m_count; }

private:
    static constexpr int kStep = 32, kAtOnce = 6;

    static unsigned MarksOf(const wchar_t* at)
    {
        using namespace TextKern;
        return Lanes(MarkBytes(InBytes(at))) | Lanes(MarkBytes(InBytes(at + kStep / 2))) << kStep / 2;
    }
    // As many as there mostly are, without asking how many: a branch that ends the loop would be mispredicted each time.
    void Add(const wchar_t* at, unsigned marks)
    {
        constexpr unsigned kNeverNone = 1u << 31;
        const int count = CountBits(marks);
        const wchar_t** to = m_places + m_count;
#pragma GCC unroll 6
        for (int i = 0; i < kAtOnce; ++i) {
            to[i] = at + LowestBit(marks | kNeverNone);
            marks &= marks - 1;
        }
        if (S_UNLIKELY(count > kAtOnce)) {
            for (int i = kAtOnce; i < count; ++i, marks &= marks - 1)
                to[i] = at + LowestBit(marks);
        }
        m_count += count;
    }
    static int CountBits(unsigned bits)
    {
        bits -= bits >> 1 & 0x55555555;
        bits = (bits & 0x33333333) + (bits >> 2 & 0x33333333);
        return static_cast<int>(((bits + (bits >> 4)) & 0x0F0F0F0F) * 0x01010101 >> 24);
    }

    const wchar_t* m_places[kUnits + kAtOnce];
    int m_count = 0;
};

} // namespace RtfTags

#endif
