// strconv.cpp: the string's classification, number texts, narrow texts and resources.
#include "strclss.h"

#include "narrow.h"
#include "numbertext.h"
#include "realtext.h"

#include <algorithm>
#include <charconv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cwchar>
#include <limits>

namespace {

bool IsDigitChar(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}
bool IsXDigitChar(wchar_t c)
{
    return IsDigitChar(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}
int DigitValue(wchar_t c)
{
    return IsDigitChar(c) ? c - L'0' : (c | 0x20) - L'a' + 10;
}
bool IsSpaceChar(wchar_t c)
{
    if (c < 0x80)
        return c == L' ' || (c >= L'\t' && c <= L'\r');
    WORD type = 0;
    ::GetStringTypeW(CT_CTYPE1, &c, 1, &type);
    return (type & C1_SPACE) != 0;
}

// Is every character of one of the system's classes?
bool AllOf(const SString& text, WORD classes)
{
    constexpr int kBlock = 256;
    WORD types[kBlock];
    for (int start = 0; start < text.Length(); start += kBlock) {
        const int n = std::min(kBlock, text.Length() - start);
        if (!::GetStringTypeW(CT_CTYPE1, text.begin() + start, n, types))
            return false;
        if (!std::all_of(types, types + n, [classes](WORD type) { return (type & classes) != 0; }))
            return false;
    }
    return !text.IsEmpty();
}

template <class Test>
bool All(const wchar_t* first, const wchar_t* last, Test test)
{
    return first != last && std::all_of(first, last, test);
}

const wchar_t* SkipSpace(const wchar_t* text)
{
    while (IsSpaceChar(*text))
        ++text;
    return text;
}

const wchar_t* SkipSign(const wchar_t* text)
{
    return text + (*text == L'+' || *text == L'-');
}

const wchar_t* SkipDigits(const wchar_t* text)
{
    while (IsDigitChar(*text))
        ++text;
    return text;
}

// Behind the decimal number that begins at `text` (no sign); `text` itself when none does.
const wchar_t* SkipDecimal(const wchar_t* text)
{
    const wchar_t* end = SkipDigits(text);
    ptrdiff_t digits = end - text;
    if (*end == L'.') {
        const wchar_t* fraction = SkipDigits(end + 1);
        digits += fraction - (end + 1);
        if (digits > 0)
            end = fraction;
    }
    if (digits == 0)
        return text;
    if (*end == L'e' || *end == L'E') {
        const wchar_t* exponent = SkipSign(end + 1);
        if (IsDigitChar(*exponent))
            end = SkipDigits(exponent);
    }
    return end;
}

bool IsHexPrefix(const wchar_t* text)
{
    return text[0] == L'0' && (text[1] == L'x' || text[1] == L'X') && IsXDigitChar(text[2]);
}

// The whole number at the start of a text: its sign, and its size, which stops at ULONG_MAX + 1.
struct Whole {
    bool negative;
    unsigned long long size;
};

// The number of the decimal digits at a place, which is moved behind them: no more of them than surely fit a word.
unsigned long ReadFewDigits(const wchar_t*& at)
{
    constexpr int kSurelyFit = 9;
    const wchar_t* const end = at + kSurelyFit;
    unsigned long number = 0;
    for (; at < end && IsDigitChar(*at); ++at)
        number = number * 10 + (*at - L'0');
    return number;
}

Whole ReadWhole(const wchar_t* text, int base)
{
    text = SkipSpace(text);
    Whole number = { *text == L'-', 0 };
    text = SkipSign(text);
    const bool prefixed = (base == 16 || base == 0) && IsHexPrefix(text);
    if (prefixed)
        text += 2;
    if (base == 0)
        base = prefixed ? 16 : 10;
    const auto isDigit = [base](wchar_t c) { return IsXDigitChar(c) && DigitValue(c) < base; };
    // As many digits as surely fit a word; the rest, which few numbers have, is looked at one by one.
    unsigned long inWord = 0;
    if (base == 10) {
        inWord = ReadFewDigits(text);
    } else {
        const wchar_t* const surelyFits = text + (base <= 16 ? 7 : 0);
        for (; text < surelyFits && isDigit(*text); ++text)
            inWord =
                inWord * static_cast<unsigned long>(base) + static_cast<unsigned long>(DigitValue(*text));
    }
    number.size = inWord;
    for (; isDigit(*text); ++text)
        number.size = std::min<unsigned long long>(number.size * base + DigitValue(*text), ULONG_MAX + 1ull);
    return number;
}

// On which side of the range a number lies that the run-time's reader found outside of it: its highest digit tells, by its
// place before or behind the point and by the exponent.
bool IsHuge(const char* first, const char* last)
{
    const char* const exponent = std::find_if(first, last, [](char c) { return c == 'e' || c == 'E'; });
    const char* const point = std::find(first, exponent, '.');
    const char* const highest = std::find_if(first, exponent, [](char c) { return c >= '1' && c <= '9'; });
    long long power = highest < point ? point - highest : point - highest + 1;
    if (exponent != last) {
        const bool isNegative = exponent[1] == '-';
        long long digits = 0;
        for (const char* at = exponent + 1; at != last; ++at) {
            if (*at >= '0' && *at <= '9')
                digits = std::min(digits * 10 + (*at - '0'), 1ll << 40);
        }
        power += isNegative ? -digits : digits;
    }
    return power > 0;
}

// The 32-bit run-time's reader computes in the floating-point unit, whose extended precision would round twice.
class DoublePrecision {
public:
#if S_TARGET_32BIT
    DoublePrecision() : m_before(::_controlfp(0, 0))
    {
        ::_controlfp(_PC_53, _MCW_PC);
    }
    ~DoublePrecision()
    {
        ::_controlfp(m_before, _MCW_PC);
    }

private:
    unsigned m_before;
#endif
};

// Most numbers have few digits and a small power of ten. Both are then exact as doubles, so that one division or multiplication
// rounds once, as the reader of the run-time does with ten times the work. False for other numbers.
bool ReadShortDecimal(const wchar_t* text, const wchar_t* end, double& value)
{
    constexpr ptrdiff_t kMostDigits = 15; // below 2^53
    if (end - text > kMostDigits)
        return false;
    unsigned long long digits = 0;
    const wchar_t* point = nullptr;
    for (; text < end; ++text) {
        if (*text == L'.')
            point = text;
        else if (IsDigitChar(*text))
            digits = digits * 10 + static_cast<unsigned>(*text - L'0');
        else
            return false; // an exponent
    }
    const ptrdiff_t decimals = point ? end - point - 1 : 0;
    if (decimals >= static_cast<ptrdiff_t>(std::size(kPowersOfTen)))
        return false;
    value = static_cast<double>(static_cast<long long>(digits)) / kPowersOfTen[decimals];
    return true;
}

constexpr wchar_t kInfinity[] = L"inf";
constexpr wchar_t kNotANumber[] = L"nan";
const wchar_t* const kTrueWords[] = { L"true", L"yes", L"on" };

} // namespace

// ---- Number texts ----

SString::SString(long long number)
{
    const NumberText text(number);
    Init(text.first, text.Length());
}
SString::SString(unsigned long long number)
{
    const NumberText text(number);
    Init(text.first, text.Length());
}
SString::SString(long number)
{
    const NumberText text(number);
    Init(text.first, text.Length());
}
SString::SString(unsigned long number)
{
    const NumberText text(number);
    Init(text.first, text.Length());
}
SString::SString(int number) : SString(static_cast<long>(number)) {}
SString::SString(unsigned number) : SString(static_cast<unsigned long>(number)) {}

SString::SString(double number)
{
    if (std::isnan(number)) {
        Init(kNotANumber, static_cast<int>(std::size(kNotANumber)) - 1);
        return;
    }
    const ShortRealText text(number);
    if (text.IsMade()) {
        Init(text.First(), text.Length());
        return;
    }
    char narrow[32]; // the longest: sign, 17 digits, point, "e-308"
    const char* const last = std::to_chars(narrow, narrow + sizeof narrow, number).ptr;
    wchar_t wide[sizeof narrow];
    std::copy(narrow, const_cast<char*>(last), wide);
    Init(wide, static_cast<int>(last - narrow));
}

SString::SString(const GUID& guid, int braces)
{
    Init();
    Format(braces ? L"{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}"
                  : L"%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
           guid.Data1, guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3],
           guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
}

long SString::ToLONG(int base) const
{
    if (base == 10) {
        // Most numbers are nothing but a few digits.
        const wchar_t* at = m_text;
        const unsigned long few = ReadFewDigits(at);
        if (at != m_text && !IsDigitChar(*at))
            return static_cast<long>(few);
    }
    const Whole number = ReadWhole(m_text, base);
    if (number.negative)
        return number.size > LONG_MAX ? LONG_MIN : -static_cast<long>(number.size);
    return number.size > LONG_MAX ? LONG_MAX : static_cast<long>(number.size);
}

unsigned long SString::ToULONG(int base) const
{
    const Whole number = ReadWhole(m_text, base);
    return number.negative ? 0
                           : static_cast<unsigned long>(std::min<unsigned long long>(number.size, ULONG_MAX));
}

double SString::ToDouble() const
{
    const wchar_t* text = SkipSpace(m_text);
    const double sign = *text == L'-' ? -1.0 : 1.0;
    text = SkipSign(text);
    const bool isNumber = IsDigitChar(*text) || *text == L'.';
    if (!isNumber && SSafeStrNICmp(text, kInfinity, std::size(kInfinity) - 1) == 0)
        return sign * std::numeric_limits<double>::infinity();
    if (!isNumber && SSafeStrNICmp(text, kNotANumber, std::size(kNotANumber) - 1) == 0)
        return std::numeric_limits<double>::quiet_NaN();
    while (text[0] == L'0' && IsDigitChar(text[1]))
        ++text;
    const wchar_t* const end = SkipDecimal(text);
    double value = 0;
    if (ReadShortDecimal(text, end, value))
        return sign * value;

    // The run-time's reader takes narrow text; all characters of a number are ASCII.
    char onStack[128];
    const size_t length = static_cast<size_t>(end - text);
    SString large;
    char* narrow = onStack;
    if (length > sizeof onStack)
        narrow = reinterpret_cast<char*>(large.LockTchar(static_cast<int>(length / sizeof(wchar_t) + 1)));
    std::transform(text, end, narrow, [](wchar_t c) { return static_cast<char>(c); });
    [[maybe_unused]] const DoublePrecision precision;
    if (std::from_chars(narrow, narrow + length, value).ec == std::errc::result_out_of_range)
        value = IsHuge(narrow, narrow + length) ? std::numeric_limits<double>::infinity() : 0;
    return sign * value;
}

int SString::ToBOOL() const
{
    for (const wchar_t* word : kTrueWords) {
        if (CompareNoCase(word) == 0)
            return 1;
    }
    return ToDouble() != 0;
}

// ---- Classification ----

bool SString::IsASCII() const
{
    return All(begin(), end(), [](wchar_t c) { return c < 0x80; });
}
bool SString::IsAlpha() const
{
    return AllOf(*this, C1_ALPHA);
}
bool SString::IsAlphaNum() const
{
    return AllOf(*this, C1_ALPHA | C1_DIGIT);
}
bool SString::IsDigit() const
{
    return AllOf(*this, C1_DIGIT);
}
bool SString::IsXDigit() const
{
    return All(begin(), end(), IsXDigitChar);
}
bool SString::IsHexa() const
{
    return IsHexPrefix(m_text) && All(begin() + 2, end(), IsXDigitChar);
}
bool SString::IsInteger() const
{
    return All(SkipSign(m_text), end(), IsDigitChar);
}
bool SString::IsNumber() const
{
    const wchar_t* const first = SkipSign(m_text);
    const wchar_t* const last = SkipDecimal(first);
    return last != first && last == end();
}
bool SString::IsLower() const
{
    return AllOf(*this, C1_LOWER);
}
bool SString::IsUpper() const
{
    return AllOf(*this, C1_UPPER);
}
bool SString::IsWhitespace() const
{
    return All(begin(), end(), IsSpaceChar);
}

constexpr wchar_t kRtfStart[] = L"{\\rtf";

bool SString::IsRtf() const
{
    return SSafeStrNCmp(m_text, kRtfStart, std::size(kRtfStart) - 1) == 0;
}
bool SString::IsRtfText() const
{
    return SSafeStrNCmp(SkipSpace(m_text), kRtfStart, std::size(kRtfStart) - 1) == 0;
}

bool SString::CanConvertToMBCS() const
{
    if (IsASCII())
        return true;
    BOOL replaced = FALSE;
    // Code pages that hold every character take neither the flag nor the question; there only lone surrogates are lost.
    if (::GetACP() == CP_UTF8)
        return !IsEmpty() && ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, m_text, Length(), nullptr,
                                                   0, nullptr, nullptr) > 0;
    const int bytes =
        ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, m_text, Length(), nullptr, 0, nullptr, &replaced);
    return bytes > 0 && !replaced;
}

// ---- Narrow texts ----

int SString::LengthByte(unsigned codePage) const
{
    return IsEmpty() ? 0 : ::WideCharToMultiByte(codePage, 0, m_text, Length(), nullptr, 0, nullptr, nullptr);
}

int SString::_ToAnsi(char* buffer, int bytes) const
{
    const int text = LengthByte(CP_ACP);
    if (buffer && bytes > text) {
        if (text > 0)
            ::WideCharToMultiByte(CP_ACP, 0, m_text, Length(), buffer, text, nullptr, nullptr);
        buffer[text] = '\0';
    }
    return text + 1;
}

void SString::_ToUnicode(const char* text, int bytes)
{
    const size_t length = text ? ::strnlen(text, static_cast<size_t>(bytes < 0 ? kMaxLength : bytes)) : 0;
    if (length == 0) {
        AssignCopy(0, nullptr);
        return;
    }
    // Measured first: what is not ASCII throughout need not be as long as its bytes.
    const int units = SAnsiString::AnsiToWideChar(text, static_cast<int>(length), nullptr, 0);
    SString wide;
    wide.AllocBuffer(units);
    if (units > 0)
        SAnsiString::AnsiToWideChar(text, static_cast<int>(length), wide.m_text, units + 1);
    swap(wide);
}
