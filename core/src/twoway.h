// twoway.h: text search that is linear whatever the texts are and needs no memory (Crochemore and Perrin's).
//
// The wanted text is cut in two where no shorter repetition reaches across the cut (a critical
// factorisation). The right part is matched forwards, then the left part backwards; every way of failing
// tells how far the search may move on.
#ifndef TWOWAY_H
#define TWOWAY_H

#include <algorithm>
#include <cstddef>

namespace TextKern {

/// The greatest suffix of a text, in ascending or descending order of units, and the period of that suffix.
struct MaximalSuffix {
    size_t start;
    size_t period;

    /// `unit` gives the unit of the text at a position.
    template <class Unit>
    MaximalSuffix(const Unit& unit, size_t length, bool descending) : start(0), period(1)
    {
        // Compares the suffix at `start` with the one at `rival`; both agree in `same` units after `repeated`
        // periods.
        size_t rival = 1;
        size_t same = 0;
        while (rival + same < length) {
            const wchar_t ours = unit(start + same);
            const wchar_t its = unit(rival + same);
            if (ours == its) {
                if (++same == period) {
                    rival += period;
                    same = 0;
                }
            } else if (descending ? its > ours : its < ours) {
                rival += same + 1;
                same = 0;
                period = rival - start;
            } else {
                start = rival++;
                same = 0;
                period = 1;
            }
        }
    }
};

/// Position of the first occurrence of a text of `wantedLength` >= 1 units in one of `length`; `length` when
/// there is none. Both are functions that give the unit at a position.
template <class TextUnit, class WantedUnit>
size_t FindTwoWay(const TextUnit& text, size_t length, const WantedUnit& wanted, size_t wantedLength)
{
    if (wantedLength > length)
        return length;
    const MaximalSuffix up(wanted, wantedLength, false);
    const MaximalSuffix down(wanted, wantedLength, true);
    const MaximalSuffix& cut = up.start > down.start ? up : down;
    const size_t left = cut.start;

    // When the left part repeats with the period of the right one, so does the whole text, and after a match
    // of the right part alone the search may only move by that period. Otherwise it may move by more than the
    // longer part.
    //
    // Moving by the period compares nearly all of the right part again, but this can happen once only in as
    // many units: the left part, shorter than the period, then lies where the text is known to repeat. So
    // there is a full match, or the right part fails behind what is known, which moves the search past it.
    bool periodic = true;
    for (size_t i = 0; i < left && periodic; ++i)
        periodic = wanted(i) == wanted(i + cut.period);
    const size_t step = periodic ? cut.period : std::max(left, wantedLength - left) + 1;

    for (size_t at = 0; at <= length - wantedLength;) {
        size_t i = left;
        while (i < wantedLength && wanted(i) == text(at + i))
            ++i;
        if (i < wantedLength) {
            at += i - left + 1;
            continue;
        }
        i = left;
        while (i > 0 && wanted(i - 1) == text(at + i - 1))
            --i;
        if (i == 0)
            return at;
        at += step;
    }
    return length;
}

} // namespace TextKern

#endif
