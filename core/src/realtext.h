// realtext.h: the digits of numbers with a point.
#ifndef REALTEXT_H
#define REALTEXT_H

#include "numbertext.h"

#include <cmath>
#include <cstring>

/// Those powers of ten that numbers with a few decimals take to be whole. All of them are exact.
inline constexpr double kPowersOfTen[] = { 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10 };

/// The shortest text that reads back to a number, for those with at most 15 digits and a size that needs no exponent, which
/// most numbers are. Whole numbers and powers of ten of that size are exact as doubles, so that one division rounds as a reader
/// does; and no two decimals of so few digits read as the same number, so that the first found is the only one. Others have no
/// text here.
class ShortRealText {
public:
    explicit ShortRealText(double number)
    {
        const double size = std::fabs(number);
        if (!(size >= kSmallest && size < kLargest))
            return;
        for (int decimals = 0; decimals < kTried; ++decimals) {
            const double scaled = size * kPowersOfTen[decimals];
            if (scaled >= kLargest)
                return;
            const double whole = Rounded(scaled);
            if (whole / kPowersOfTen[decimals] != size)
                continue;
            if (decimals > 0 || whole < kLargestPlain)
                Write(whole, decimals, number < 0);
            return;
        }
    }

    bool IsMade() const { return m_first != nullptr; }
    const wchar_t* First() const { return m_first; }
    int Length() const { return static_cast<int>(m_digits + kRoom - m_first); }

private:
    enum { kTried = 8, kRoom = 24 };
    static constexpr double kSmallest = 1e-3; // below, an exponent is shorter than zeros
    static constexpr double kLargest = 1e15;
    static constexpr double kLargestPlain = 1e5; // above, an exponent is shorter than zeros at the end

    /// To the nearest whole number: at this size a double has no room for a fraction.
    static double Rounded(double number)
    {
        constexpr double kNoFraction = 4503599627370496.0; // 2^52
        return (number + kNoFraction) - kNoFraction;
    }

    void Write(double whole, int decimals, bool isNegative)
    {
        wchar_t* const end = m_digits + kRoom;
        // Dividing 64 bits is slow here.
        m_first = whole < 1e9 ? WriteDigits(end, static_cast<unsigned>(static_cast<int>(whole)))
                              : WriteDigits(end, static_cast<unsigned long long>(whole));
        if (decimals > 0) {
            while (end - m_first <= decimals)
                *--m_first = L'0';
            const auto before = static_cast<size_t>(end - m_first - decimals);
            std::memmove(m_first - 1, m_first, before * sizeof(wchar_t));
            --m_first;
            m_first[before] = L'.';
        }
        if (isNegative)
            *--m_first = L'-';
    }

    wchar_t* m_first = nullptr;
    wchar_t m_digits[kRoom];
};

#endif
