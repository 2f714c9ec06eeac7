// textfind.cpp: text search. The first and the last unit of the wanted text are looked for in 16 places at
// once; only places that have both are compared. Texts of few different units can make that quadratic, so the
// comparisons have a budget in proportion to the text that was passed: when it is spent, the rest is left to
// a slower search whose worst case is linear.
#include "textkern.h"

#include "casetable.h"
#include "compiler.h"
#include "textblock.h"
#include "twoway.h"

#include <algorithm>

namespace TextKern {

namespace {

constexpr size_t kWindow = 2 * kBlockUnits;
// Units compared in vain for each unit passed, and how many of those are taken for granted. Blocks compare so
// fast that this much costs less than the slower search does.
constexpr unsigned kWorkPerUnit = 8;
constexpr size_t kUnitsGranted = 2048;

// One bit for each of the 16 truths of two blocks.
unsigned Hits(Block first, Block second)
{
    return Lanes(_mm_packs_epi16(first, second));
}

struct Exactly {
    static wchar_t Unit(wchar_t c) { return c; }
    static bool Agree(const wchar_t* a, const wchar_t* b, size_t length, size_t& compared)
    {
        compared = Mismatch(a, b, length);
        return compared == length;
    }

    // Both ends of the wanted text, and which of the 16 places from `text` on have them.
    class Ends {
    public:
        Ends(const wchar_t* wanted, size_t length)
            : m_first(Fill(UnitAt(wanted, 0))),
              m_last(Fill(UnitAt(wanted, length - 1))),
              m_distance(length - 1)
        {}
        unsigned Places(const wchar_t* text) const
        {
            const wchar_t* last = text + m_distance;
            return Hits(Both(Equal(Load(text), m_first), Equal(Load(last), m_last)),
                        Both(Equal(Load(text + 8), m_first), Equal(Load(last + 8), m_last)));
        }

    private:
        Block m_first;
        Block m_last;
        size_t m_distance;
    };
};

struct IgnoringCase {
    static wchar_t Unit(wchar_t c) { return CaseTable::Upper(c); }
    static bool Agree(const wchar_t* a, const wchar_t* b, size_t length, size_t& compared)
    {
        compared = MismatchNoCase(a, b, length);
        return compared == length;
    }

    class Ends {
    public:
        Ends(const wchar_t* wanted, size_t length)
            : m_firstUnit(Unit(UnitAt(wanted, 0))),
              m_lastUnit(Unit(UnitAt(wanted, length - 1))),
              m_firstCase(CaseBit(m_firstUnit)),
              m_lastCase(CaseBit(m_lastUnit)),
              m_first(Either(Fill(m_firstUnit), m_firstCase)),
              m_last(Either(Fill(m_lastUnit), m_lastCase)),
              m_distance(length - 1)
        {}
        unsigned Places(const wchar_t* text) const
        {
            const wchar_t* last = text + m_distance;
            const Block first1 = Load(text);
            const Block first2 = Load(text + 8);
            const Block last1 = Load(last);
            const Block last2 = Load(last + 8);
            if (S_UNLIKELY(!IsAscii(Either(Either(first1, first2), Either(last1, last2)))))
                return PlacesByTable(text);
            return Hits(
                Both(Equal(Either(first1, m_firstCase), m_first), Equal(Either(last1, m_lastCase), m_last)),
                Both(Equal(Either(first2, m_firstCase), m_first), Equal(Either(last2, m_lastCase), m_last)));
        }

    private:
        static Block CaseBit(wchar_t upper)
        {
            return Fill(upper >= L'A' && upper <= L'Z' ? kCaseBit : L'\0');
        }
        // Out of line: it would take the registers of the loop around Places.
        [[gnu::noinline]] unsigned PlacesByTable(const wchar_t* text) const
        {
            unsigned hits = 0;
            for (size_t i = 0; i < kWindow; ++i)
                hits |= static_cast<unsigned>(Unit(UnitAt(text, i)) == m_firstUnit) << i;
            for (unsigned rest = hits; rest; rest &= rest - 1) {
                const unsigned i = static_cast<unsigned>(LowestBit(rest));
                if (Unit(UnitAt(text, i + m_distance)) != m_lastUnit)
                    hits &= ~(1u << i);
            }
            return hits;
        }

        wchar_t m_firstUnit;
        wchar_t m_lastUnit;
        Block m_firstCase;
        Block m_lastCase;
        Block m_first;
        Block m_last;
        size_t m_distance;
    };
};

template <class Rule>
const wchar_t* FindLinear(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength)
{
    const auto unit = [](const wchar_t* in) { return [in](size_t i) { return Rule::Unit(UnitAt(in, i)); }; };
    const size_t at = FindTwoWay(unit(text), length, unit(wanted), wantedLength);
    return at < length ? text + at : nullptr;
}

// Texts with fewer places than a window.
template <class Rule>
const wchar_t* FindInFewPlaces(const wchar_t* text, size_t places, const wchar_t* wanted, size_t wantedLength)
{
    const wchar_t first = Rule::Unit(UnitAt(wanted, 0));
    size_t compared = 0;
    for (size_t i = 0; i < places; ++i) {
        if (Rule::Unit(UnitAt(text, i)) == first && Rule::Agree(text + i, wanted, wantedLength, compared))
            return text + i;
    }
    return nullptr;
}

template <class Rule>
const wchar_t* Find(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength)
{
    if (wantedLength == 0)
        return text;
    if (wantedLength > length)
        return nullptr;
    const size_t places = length - wantedLength + 1;
    if (places < kWindow)
        return FindInFewPlaces<Rule>(text, places, wanted, wantedLength);

    // The last window overlaps the one before it; what it finds again is compared in vain once more.
    const size_t lastWindow = places - kWindow;
    const typename Rule::Ends ends(wanted, wantedLength);
    unsigned long long work = 0;
    for (size_t i = 0;; i = std::min(i + kWindow, lastWindow)) {
        unsigned hits = ends.Places(text + i);
        while (hits == 0 && i < lastWindow) {
            i = std::min(i + kWindow, lastWindow);
            hits = ends.Places(text + i);
        }
        for (; hits; hits &= hits - 1) {
            const size_t at = i + static_cast<size_t>(LowestBit(hits));
            size_t compared = 0;
            if (Rule::Agree(text + at, wanted, wantedLength, compared))
                return text + at;
            work += compared;
            if (S_UNLIKELY(work / kWorkPerUnit > at + kUnitsGranted))
                return FindLinear<Rule>(text + at + 1, length - at - 1, wanted, wantedLength);
        }
        if (i == lastWindow)
            return nullptr;
    }
}

} // namespace

const wchar_t* FindPart(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength)
{
    return Find<Exactly>(text, length, wanted, wantedLength);
}

const wchar_t* FindPartNoCase(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength)
{
    return Find<IgnoringCase>(text, length, wanted, wantedLength);
}

} // namespace TextKern
