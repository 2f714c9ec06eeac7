// strfmt.cpp: formatting with the meaning of Windows' wide printf.
//
// Texts, characters and whole numbers are written here, piece after piece into a buffer that grows as it must, so that no
// format can write past it: run-times have been seen to overrun their own scratch buffer for a whole number of more than
// some twenty digits of precision. Only floating point goes to the C run-time, a conversion at a time, into room that its
// longest text fits.
#include "copytext.h"
#include "numbertext.h"
#include "strbuffer.h"
#include "textkern.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

namespace {

enum class Size { kPlain, kChar, kShort, kWide, kLongLong };

// One conversion of a format.
struct Item {
    bool left = false;        // flag "-"
    bool plus = false;        // flag "+"
    bool blank = false;       // flag " "
    bool alternative = false; // flag "#"
    bool zeros = false;       // flag "0"
    int width = 0;
    int precision = -1; // -1: none given
    Size size = Size::kPlain;
    wchar_t type = L'\0';
};

constexpr int kMostDigits = 22; // 64 bits in octal
constexpr int kPointerDigits = 2 * sizeof(void*);
constexpr int kLongestDouble = 330; // the largest double in full: sign, 309 digits, point, and what "#" adds
// What the prefixes I, z and t stand for.
constexpr Size kPointerSize = sizeof(size_t) == sizeof(long long) ? Size::kLongLong : Size::kPlain;
constexpr wchar_t kNull[] = L"(null)";

// Where the text goes: beside the string while it is short, so that it takes a buffer of its own size in the end.
class Sink {
public:
    void Put(wchar_t c)
    {
        if (S_LIKELY(m_used < kShort))
            m_short[m_used++] = c;
        else
            Spill().Append(c);
    }
    void Put(const wchar_t* text, int n)
    {
        if (S_LIKELY(n <= kShort - m_used)) {
            TextKern::CopyText(m_short + m_used, text, static_cast<size_t>(n));
            m_used += n;
        } else {
            Spill().Append(text, n);
        }
    }
    void Fill(wchar_t c, int n)
    {
        if (n <= 0)
            return;
        if (S_LIKELY(n <= kShort - m_used)) {
            std::wmemset(m_short + m_used, c, static_cast<size_t>(n));
            m_used += n;
        } else {
            Spill().Append(c, n);
        }
    }
    /// The text, which ends at the first NUL that a %c may have put into it.
    SString Take()
    {
        if (m_long.IsEmpty())
            return SString(m_short, m_used);
        SString text = Spill().Detach();
        const int end = text.FindPos(L'\0');
        return end < 0 ? text : text.Left(end);
    }

private:
    enum { kShort = 256 };

    // Moves what was gathered beside into the growing buffer.
    SStringBuffer& Spill()
    {
        m_long.Append(m_short, m_used);
        m_used = 0;
        return m_long;
    }

    wchar_t m_short[kShort];
    int m_used = 0;
    SStringBuffer m_long;
};

class Formatter {
public:
    Formatter(Sink& out, const wchar_t* format, va_list arguments) : m_out(out), m_at(format)
    {
        va_copy(m_arguments, arguments);
    }
    ~Formatter() { va_end(m_arguments); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    void Run()
    {
        while (*m_at) {
            const wchar_t* literal = m_at;
            while (*m_at && *m_at != L'%')
                ++m_at;
            m_out.Put(literal, static_cast<int>(m_at - literal));
            if (*m_at && !ConvertBare())
                Convert();
        }
    }

private:
    // ---- Reading the format ----

    // Most conversions are these two with nothing between: they need no item.
    bool ConvertBare()
    {
        switch (m_at[1]) {
        case L's': {
            const wchar_t* const given = va_arg(m_arguments, const wchar_t*);
            const wchar_t* const text = given ? given : kNull;
            m_out.Put(text, static_cast<int>(SSafeStrNLen(text, SString::kMaxLength)));
            break;
        }
        case L'd': {
            const NumberText number(va_arg(m_arguments, int));
            m_out.Put(number.first, number.Length());
            break;
        }
        default: return false;
        }
        m_at += 2;
        return true;
    }

    void Convert()
    {
        ++m_at;
        Item item;
        while (ReadFlag(item))
            ++m_at;
        item.width = ReadNumber();
        if (item.width < 0) { // only an argument can be: it means the flag and the width
            item.left = true;
            item.width = item.width == INT_MIN ? INT_MAX : -item.width;
        }
        if (*m_at == L'.') {
            ++m_at;
            item.precision = std::max(ReadNumber(), -1);
        }
        item.size = ReadSize();
        item.type = *m_at;
        if (!item.type)
            return; // an unfinished conversion at the end says nothing
        ++m_at;
        Write(item);
    }

    bool ReadFlag(Item& item) const
    {
        switch (*m_at) {
        case L'-': return item.left = true;
        case L'+': return item.plus = true;
        case L' ': return item.blank = true;
        case L'#': return item.alternative = true;
        case L'0': return item.zeros = true;
        default: return false;
        }
    }

    // Letters that no prefix begins with.
    static bool IsType(wchar_t c)
    {
        return c == L's' || c == L'd' || c == L'u' || c == L'x' || c == L'c' || c == L'f' || c == L'g';
    }

    // Digits, or a star for an argument. A number too large for an int stands for the largest one.
    int ReadNumber()
    {
        if (*m_at == L'*') {
            ++m_at;
            return va_arg(m_arguments, int);
        }
        long long number = 0;
        for (; *m_at >= L'0' && *m_at <= L'9'; ++m_at)
            number = std::min<long long>(number * 10 + (*m_at - L'0'), INT_MAX);
        return static_cast<int>(number);
    }

    Size ReadSize()
    {
        if (IsType(*m_at))
            return Size::kPlain; // nearly always; the search below would cost more than the conversion
        static const struct {
            const wchar_t* prefix;
            Size size;
        } kSizes[] = { { L"I64", Size::kLongLong }, { L"I32", Size::kPlain }, { L"I", kPointerSize },
                       { L"z", kPointerSize },      { L"t", kPointerSize },   { L"j", Size::kLongLong },
                       { L"ll", Size::kLongLong },  { L"l", Size::kWide },    { L"w", Size::kWide },
                       { L"hh", Size::kChar },      { L"h", Size::kShort },   { L"L", Size::kPlain } };
        for (const auto& known : kSizes) {
            const size_t length = std::wcslen(known.prefix);
            if (std::wcsncmp(m_at, known.prefix, length) == 0) {
                m_at += length;
                return known.size;
            }
        }
        return Size::kPlain;
    }

    // ---- Writing ----

    void Write(const Item& item)
    {
        switch (item.type) {
        case L'd':
        case L'i': WriteSigned(item); break;
        case L'u': WriteWhole(item, ReadUnsigned(item), 10, L""); break;
        case L'o': WriteWhole(item, ReadUnsigned(item), 8, L""); break;
        case L'x': WriteHex(item, L"0x"); break;
        case L'X': WriteHex(item, L"0X"); break;
        case L'p': WritePointer(item); break;
        case L'c':
        case L'C': WriteCharacter(item); break;
        case L's':
        case L'S': WriteText(item); break;
        case L'e':
        case L'E':
        case L'f':
        case L'F':
        case L'g':
        case L'G':
        case L'a':
        case L'A': WriteDouble(item); break;
        default: m_out.Put(item.type); break; // "%%", and letters that mean nothing
        }
    }

    // A text between the fill characters of its width.
    void Pad(const Item& item, const wchar_t* text, int n)
    {
        const int fill = item.width > n ? item.width - n : 0;
        if (!item.left)
            m_out.Fill(item.zeros ? L'0' : L' ', fill);
        m_out.Put(text, n);
        if (item.left)
            m_out.Fill(L' ', fill);
    }

    void WriteSigned(const Item& item)
    {
        long long value =
            item.size == Size::kLongLong ? va_arg(m_arguments, long long) : va_arg(m_arguments, int);
        if (item.size == Size::kShort)
            value = static_cast<short>(value);
        else if (item.size == Size::kChar)
            value = static_cast<signed char>(value);
        const unsigned long long size = value < 0 ? 0 - static_cast<unsigned long long>(value) : value;
        WriteWhole(item, size, 10, value < 0 ? L"-" : item.plus ? L"+" : item.blank ? L" " : L"");
    }

    unsigned long long ReadUnsigned(const Item& item)
    {
        const unsigned long long value = item.size == Size::kLongLong
                                             ? va_arg(m_arguments, unsigned long long)
                                             : va_arg(m_arguments, unsigned);
        return item.size == Size::kShort  ? static_cast<unsigned short>(value)
               : item.size == Size::kChar ? static_cast<unsigned char>(value)
                                          : value;
    }

    void WriteHex(const Item& item, const wchar_t* prefix)
    {
        const unsigned long long value = ReadUnsigned(item);
        WriteWhole(item, value, 16, item.alternative && value != 0 ? prefix : L"");
    }

    void WritePointer(Item item)
    {
        item.type = L'X';
        item.precision = kPointerDigits;
        const unsigned long long value = reinterpret_cast<UINT_PTR>(va_arg(m_arguments, void*));
        WriteWhole(item, value, 16, item.alternative && value != 0 ? L"0X" : L"");
    }

    // Fill, sign or prefix, zeros, digits.
    void WriteWhole(const Item& item, unsigned long long value, unsigned base, const wchar_t* prefix)
    {
        const char* const digitChars = item.type == L'X' ? "0123456789ABCDEF" : "0123456789abcdef";
        wchar_t digits[kMostDigits];
        wchar_t* const end = digits + kMostDigits;
        wchar_t* first = end;
        if (value <= ULONG_MAX) { // 64-bit division costs a call each on the 32-bit target
            unsigned long rest = static_cast<unsigned long>(value);
            if (base == 10) { // by a constant: no division at all
                for (; rest != 0; rest /= 10)
                    *--first = static_cast<wchar_t>(L'0' + rest % 10);
            }
            for (; rest != 0; rest /= base)
                *--first = static_cast<wchar_t>(digitChars[rest % base]);
        } else {
            for (; value != 0; value /= base)
                *--first = static_cast<wchar_t>(digitChars[value % base]);
        }
        const int length = static_cast<int>(end - first);
        const int prefixed = static_cast<int>(std::wcslen(prefix));
        int least = item.precision >= 0 ? item.precision : 1;
        if (base == 8 && item.alternative)
            least = std::max(least, length + 1); // "#" asks for a leading zero
        int zeros = std::max(least - length, 0);
        if (item.precision < 0 && item.zeros && !item.left)
            zeros = std::max(zeros, item.width - length - prefixed);
        const long long fill = static_cast<long long>(item.width) - zeros - length - prefixed;
        if (!item.left)
            m_out.Fill(L' ', static_cast<int>(std::max(fill, 0ll)));
        m_out.Put(prefix, prefixed);
        m_out.Fill(L'0', zeros);
        m_out.Put(first, length);
        if (item.left)
            m_out.Fill(L' ', static_cast<int>(std::max(fill, 0ll)));
    }

    // Without a prefix %s and %c are wide, %S and %C narrow.
    static bool IsNarrow(const Item& item)
    {
        const bool isSmall = item.type == L's' || item.type == L'c';
        return item.size == Size::kShort || item.size == Size::kChar ||
               (!isSmall && item.size != Size::kWide);
    }

    void WriteCharacter(const Item& item)
    {
        wchar_t c = static_cast<wchar_t>(va_arg(m_arguments, int));
        if (IsNarrow(item)) {
            const char narrow = static_cast<char>(c);
            if (std::mbtowc(&c, &narrow, 1) < 0)
                return;
        }
        Pad(item, &c, 1);
    }

    void WriteText(const Item& item)
    {
        const size_t most = item.precision >= 0 ? static_cast<size_t>(item.precision) : SString::kMaxLength;
        if (IsNarrow(item)) {
            if (const char* text = va_arg(m_arguments, const char*)) {
                const SString wide = Widened(text, most);
                Pad(item, wide, wide.Length());
                return;
            }
            Pad(item, kNull, static_cast<int>(SSafeStrNLen(kNull, most)));
            return;
        }
        const wchar_t* text = va_arg(m_arguments, const wchar_t*);
        if (!text)
            text = kNull;
        Pad(item, text, static_cast<int>(SSafeStrNLen(text, most)));
    }

    // A narrow text as the run-time's locale reads it, up to its end, `most` characters or what is no character.
    static SString Widened(const char* text, size_t most)
    {
        SStringBuffer wide;
        for (size_t n = 0; n < most && *text; ++n) {
            wchar_t c;
            const int bytes = std::mbtowc(&c, text, MB_CUR_MAX);
            if (bytes <= 0)
                break;
            wide.Append(c);
            text += bytes;
        }
        return wide.Detach();
    }

    void WriteDouble(const Item& item)
    {
        const double value = va_arg(m_arguments, double);
        wchar_t format[12]; // all flags, and "*.*" with the type
        wchar_t* at = format;
        *at++ = L'%';
        for (const auto& flag :
             { std::pair(item.left, L'-'), std::pair(item.plus, L'+'), std::pair(item.blank, L' '),
               std::pair(item.alternative, L'#'), std::pair(item.zeros, L'0') }) {
            if (flag.first)
                *at++ = flag.second;
        }
        at = std::copy_n(L"*.*", 3, at);
        *at++ = item.type == L'F' ? L'f' : item.type;
        *at = L'\0';
        const long long room = kLongestDouble + std::max<long long>(item.width, std::max(item.precision, 6));
        wchar_t shortText[2 * kLongestDouble];
        if (room < static_cast<long long>(std::size(shortText))) {
            const int n =
                ::_snwprintf(shortText, std::size(shortText), format, item.width, item.precision, value);
            m_out.Put(shortText, std::max(n, 0));
            return;
        }
        SString text;
        wchar_t* const buffer =
            text.LockTchar(static_cast<int>(std::min<long long>(room, SString::kMaxLength + 1ll)));
        const int n = ::_snwprintf(buffer, static_cast<size_t>(text.Capacity()), format, item.width,
                                   item.precision, value);
        m_out.Put(buffer, std::max(n, 0));
    }

    Sink& m_out;
    const wchar_t* m_at;
    va_list m_arguments;
};

// %n would write through an argument: a format with it is refused whole, before anything is made.
bool StoresCount(const wchar_t* at)
{
    if (*TextKern::FindCharOrEnd(at, L'n') == L'\0')
        return false;
    while ((at = std::wcschr(at, L'%')) != nullptr) {
        at += 1 + std::wcsspn(at + 1, L"-+ #0123456789*.lhwILztj");
        if (*at == L'n')
            return true;
        if (*at)
            ++at;
    }
    return false;
}

} // namespace

SString& SString::FormatV(const wchar_t* format, va_list arguments)
{
    if (!format || StoresCount(format)) {
        Empty();
        return *this;
    }
    Sink out;
    Formatter(out, format, arguments).Run();
    SString text = out.Take(); // only now: the arguments may point into this string
    swap(text);
    return *this;
}

SString& SString::FormatPlain(const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
    return *this;
}

SString& SString::FormatPlain(unsigned formatId, ...)
{
    // The program's own table first: it may replace a text of the library.
    SString format;
    HMODULE library = nullptr;
    if (!format.TryLoad(nullptr, formatId) &&
        ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                 GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             reinterpret_cast<LPCWSTR>(&g_emptyString), &library))
        format.TryLoad(library, formatId);
    va_list arguments;
    va_start(arguments, formatId);
    FormatV(format, arguments);
    va_end(arguments);
    return *this;
}
