// Narrow text: UTF-8 and the ANSI code page, both ways, at every size of the output.
#include "targets.h"

#include "lane.h"

#include "narrow.h"
#include "shglobal.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kLongestForSizes = 24;
constexpr wchar_t kReplacement = 0xFFFD;

// What all converters promise about measuring, fitting and cutting; returns the converted text.
template <class From, class To>
std::basic_string<To> ConvertedBy(int (*convert)(const From*, int, To*, int), const From* text, int length)
{
    const int needed = convert(text, length, nullptr, 0);
    Require(needed >= 0, "a length is never negative");
    const auto room = [](int units) { return std::string(static_cast<size_t>(units) * sizeof(To), '\x55'); };
    const Walled whole(room(needed + 1));
    To* const output = whole.As<To>();
    const int made = convert(text, length, output, needed + 1);
    if (length == 0 || needed == 0) {
        Require(made == 0 && output[0] == To(), "what cannot be converted becomes an empty text");
        return std::basic_string<To>();
    }
    Require(made == needed || (made == needed + 1 && output[needed] == To()),
            "the text has the length that was measured");
    const std::basic_string<To> converted(output, static_cast<size_t>(needed));
    const int last = needed <= static_cast<int>(kLongestForSizes) ? needed : 0;
    for (int size = 1; size <= last; ++size) {
        const Walled part(room(size));
        To* const cut = part.As<To>();
        const int got = convert(text, length, cut, size);
        Require(got >= 0 && got <= size, "no more than fits");
        Require(got == 0 ? cut[0] == To() : cut[got - 1] == To(), "what is written ends");
    }
    return converted;
}

// ---- UTF-8: an own reading of the definition ----

// The value and length of a well-formed character; length 0 for another.
unsigned Utf8At(const std::string& text, size_t at, size_t* length)
{
    const auto byte = [&](size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const auto tail = [&](size_t i, unsigned low = 0x80, unsigned high = 0xBF) {
        return byte(i) >= low && byte(i) <= high;
    };
    const unsigned first = byte(0);
    *length = 0;
    if (first < 0x80) {
        *length = 1;
        return first;
    }
    if (first >= 0xC2 && first <= 0xDF && tail(1)) {
        *length = 2;
        return (first & 0x1F) << 6 | (byte(1) & 0x3F);
    }
    if ((first & 0xF0) == 0xE0 && tail(1, first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF) &&
        tail(2)) {
        *length = 3;
        return (first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    }
    if (first >= 0xF0 && first <= 0xF4 && tail(1, first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF) &&
        tail(2) && tail(3)) {
        *length = 4;
        return (first & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    }
    return 0;
}

// The well-formed characters of a text, and whether there is anything else. What that becomes is the system's affair.
std::wstring PlainUtf8(const std::string& text, bool* malformed)
{
    std::wstring units;
    *malformed = false;
    for (size_t at = 0, length; at < text.size(); at += length) {
        const unsigned c = Utf8At(text, at, &length);
        if (length == 0) {
            *malformed = true;
            length = 1;
        } else if (c >= 0x10000) {
            units += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
            units += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
        } else {
            units += static_cast<wchar_t>(c);
        }
    }
    return units;
}

size_t EatUtf8(const std::string& input)
{
    const Walled walled(input);
    const char* const bytes = walled.As<char>();
    const int length = static_cast<int>(input.size());
    const std::wstring wide = ConvertedBy(SUtf8String::UTF8ToWideChar, bytes, length);
    bool malformed;
    const std::wstring model = PlainUtf8(input, &malformed);
    Require(wide.size() <= input.size(), "no more units than bytes");
    if (!malformed) {
        Require(wide == model, "well-formed text is read as it is defined");
        std::string back =
            ConvertedBy(SUtf8String::WideCharToUTF8, wide.data(), static_cast<int>(wide.size()));
        Require(back == input, "and comes back");
    } else {
        Require(std::count(wide.begin(), wide.end(), kReplacement) > 0, "what is malformed is shown");
    }
    const Walled ended(input + '\0');
    const SString text = SUtf8String::ToUnicode(ended.As<char>());
    Require(text.Length() <= length, "no more units than bytes up to the NUL");
    const SUtf8String again(text);
    Require(again.LengthByte() == SUtf8String::LengthByte(text, text.Length()), "a length is the length");

    SBlob blob;
    if (length > 0 && blob.Alloc(static_cast<unsigned long>(length))) {
        std::memcpy(blob.Lock(), bytes, static_cast<size_t>(length));
        blob.Unlock();
        Require(static_cast<size_t>(blob.GetAsText().Length()) <= input.size(), "bytes as text");
    }
    return 0;
}

Inputs Utf8Seeds()
{
    std::string all, long2;
    for (int c = 1; c < 128; ++c)
        all += static_cast<char>(c);
    for (int i = 0; i < 40; ++i)
        long2 += "ab\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80";
    return { all, long2,
             std::string(37, 'x') +
                 "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF" +
                 std::string(37, 'y'),
             "\xED\xA0\x80\xED\xB0\x80\xC0\x80\xF5\x80\x80\x80\xFF", std::string("a\0b", 3) };
}

// ---- The ANSI code page ----

size_t EatAnsi(const std::string& input)
{
    const Walled walled(input), ended(input + '\0');
    const int length = static_cast<int>(input.size());
    const std::wstring wide = ConvertedBy(SAnsiString::AnsiToWideChar, walled.As<const char>(), length);
    Require(wide.size() <= input.size(), "no more units than bytes");
    const SString text(walled.As<const char>(), length);
    const size_t end = std::min(input.find('\0'), input.size());
    Require(static_cast<size_t>(text.Length()) <= end, "a text ends at its NUL");
    Require(SString(ended.As<const char>()) == text, "with a length or without");
    const SAnsiString narrow(ended.As<const char>());
    Require(static_cast<size_t>(narrow.LengthByte()) == end && narrow.ToUnicode() == text,
            "and as a narrow text");
    return 0;
}

Inputs AnsiSeeds()
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += static_cast<char>(c);
    return { all, "plain text", "caf\xE9", std::string(40, 'x') + "\x81\x8D" };
}

// ---- UTF-16 into both ----

bool HasHalfPair(const std::wstring& text)
{
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t next = i + 1 < text.size() ? text[i + 1] : L'\0';
        if ((text[i] & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00)
            ++i;
        else if ((text[i] & 0xF800) == 0xD800)
            return true;
    }
    return false;
}

size_t EatWide(const std::string& input)
{
    const SString text = UnitsOf(input);
    const std::wstring units(text.begin(), text.end());
    const Walled walled(Raw(text));
    const wchar_t* const at = walled.As<const wchar_t>();
    const int length = text.Length();
    const std::string utf8 = ConvertedBy(SUtf8String::WideCharToUTF8, at, length);
    if (HasHalfPair(units)) {
        Require(utf8.empty(), "half a pair has no UTF-8 form");
    } else {
        bool malformed;
        Require(PlainUtf8(utf8, &malformed) == units && !malformed, "the form is that of the definition");
    }
    ConvertedBy(SAnsiString::WideCharToAnsi, at, length);
    const SAnsiString ansi(text);
    const int bytes = text._ToAnsi(nullptr, 0);
    const Walled room(std::string(static_cast<size_t>(std::max(bytes, 1)), '\x55'));
    text._ToAnsi(room.As<char>(), std::max(bytes, 1));
    Require(text.LengthByte(CP_UTF8) >= 0 && text.LengthByte(CP_ACP) >= 0, "lengths are never negative");
    if (text.CanConvertToMBCS() && text.FindPos(L'\0') < 0)
        Require(ansi.ToUnicode() == text, "what the code page holds comes back");
    SBlob blob;
    Require((blob.SetAsText(text) == 1) == !HasHalfPair(units), "text as bytes");
    return 0;
}

Inputs WideSeeds()
{
    std::wstring all;
    for (int c = 1; c < 0x180; ++c)
        all += static_cast<wchar_t>(c);
    return { Raw(all), Raw(L"plain text of some length, longer than a block"),
             Raw(L"\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"),
             Raw(L"e\u0301 a\u0308 \uAC00 \u0E01\u0E33"),
             Raw(std::wstring(40, L'x') + L'\xD800' + std::wstring(40, L'y') + L'\xDC00') };
}

} // namespace

const Target kUtf8Target = { "utf8",  Utf8Seeds, { "\xED\xA0\x80", "\xF0\x9F", "\xE2", "\xC0\x80" },
                             EatUtf8, 1,         false };
const Target kAnsiTarget = { "ansi", AnsiSeeds, { "\x80", "\xFF" }, EatAnsi, 1, false };
const Target kWideTarget = { "wide",  WideSeeds, { Raw(L"\xD800"), Raw(L"\xDC00"), Raw(L"\u0301") },
                             EatWide, 2,         false };
