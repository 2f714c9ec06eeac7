#include "target.h"

#include "strbuffer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kSmallDigits = 5, kHopelessDigits = 11;

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

// The end of the run of digits at a place.
int EndOfDigits(const SString& text, int at)
{
    while (IsDigit(text.GetAt(at)))
        ++at;
    return at;
}

} // namespace

SString UnitsOf(const std::string& input, size_t from)
{
    const size_t units = input.size() / sizeof(wchar_t);
    if (from >= units)
        return SString();
    const size_t count = units - from;
    std::vector<wchar_t> copy(count);
    std::memcpy(copy.data(), input.data() + from * sizeof(wchar_t), count * sizeof(wchar_t));
    return SString(copy.data(), copy.data() + count);
}

wchar_t UnitAt(const std::string& input, size_t index)
{
    wchar_t unit = L'\0';
    if ((index + 1) * sizeof unit <= input.size())
        std::memcpy(&unit, input.data() + index * sizeof unit, sizeof unit);
    return unit;
}

SString WithoutLargeNumbers(const SString& text)
{
    SStringBuffer out(text.Length());
    for (int at = 0; at < text.Length();) {
        const int end = EndOfDigits(text, at);
        if (end == at) {
            out.Append(text[at++]);
            continue;
        }
        const int digits = end - at;
        out.Append(&text.begin()[at], digits < kHopelessDigits ? std::min(digits, kSmallDigits) : digits);
        at = end;
    }
    return out.Detach();
}

size_t SumOfNumbers(const SString& text, size_t most)
{
    size_t sum = 0;
    for (int at = 0; at < text.Length(); ++at) {
        size_t number = 0;
        for (; IsDigit(text.GetAt(at)); ++at)
            number = std::min(number * 10 + static_cast<size_t>(text[at] - L'0'), most);
        sum += number;
    }
    return sum;
}
