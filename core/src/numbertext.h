// numbertext.h: the digits of whole numbers.
#ifndef NUMBERTEXT_H
#define NUMBERTEXT_H

#include <iterator>
#include <type_traits>

/// Decimal digits, two a step, written towards the front; returns the first.
template <class Unsigned>
inline wchar_t* WriteDigits(wchar_t* end, Unsigned number)
{
    static const char kPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    while (number >= 100) {
        const char* pair = kPairs + 2 * (number % 100);
        number /= 100;
        *--end = static_cast<wchar_t>(pair[1]);
        *--end = static_cast<wchar_t>(pair[0]);
    }
    if (number >= 10)
        *--end = static_cast<wchar_t>(kPairs[2 * number + 1]);
    *--end = static_cast<wchar_t>(number >= 10 ? kPairs[2 * number] : L'0' + number);
    return end;
}

/// A whole number in decimal.
struct NumberText {
    wchar_t digits[20]; // the longest: 20 digits, or a sign and 19
    wchar_t* first;

    template <class T>
    explicit NumberText(T number)
    {
        typedef std::make_unsigned_t<T> Unsigned;
        const Unsigned value = static_cast<Unsigned>(number);
        const bool isNegative = number < T();
        first = WriteDigits(digits + std::size(digits), isNegative ? Unsigned() - value : value);
        if (isNegative)
            *--first = L'-';
    }
    int Length() const { return static_cast<int>(digits + std::size(digits) - first); }
};

#endif
