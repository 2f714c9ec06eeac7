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

} // namespace RtfTags

#endif
