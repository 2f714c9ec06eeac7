// fixedtext.h: a text in a buffer of fixed room, for places where the heap may be what broke. What does not fit is cut.
#ifndef FIXEDTEXT_H
#define FIXEDTEXT_H

#include "cvbase.h"

template <int kRoom>
class FixedText {
public:
    FixedText() { m_text[0] = L'\0'; }

    FixedText& operator<<(const wchar_t* text)
    {
        for (; *text != L'\0' && m_length < kRoom - 1; ++text)
            m_text[m_length++] = *text;
        m_text[m_length] = L'\0';
        return *this;
    }
    /// A decimal number of at least `digits` digits.
    FixedText& Number(unsigned value, int digits = 1) { return Digits(value, 10, digits); }
    /// "0x" and eight or more hexadecimal digits.
    FixedText& Hex(UINT_PTR value, const wchar_t* letters = L"0123456789abcdef")
    {
        return (*this << L"0x").Digits(value, 16, 8, letters);
    }

    const wchar_t* Text() const { return m_text; }

private:
    FixedText& Digits(UINT_PTR value, unsigned base, int least, const wchar_t* letters = L"0123456789abcdef")
    {
        wchar_t digits[24];
        wchar_t* first = digits + 23;
        *first = L'\0';
        for (; value != 0 || least > 0; value /= base, --least)
            *--first = letters[value % base];
        return *this << first;
    }

    wchar_t m_text[kRoom];
    int m_length = 0;
};

#endif
