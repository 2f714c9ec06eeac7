// narrow.cpp: narrow text and the converters.
//
// A converter takes the fast way while it is sure of the answer and asks the system about the whole text otherwise: how
// malformed text is read, what a code page makes of a letter and its accent, is the system's own affair.
#include "narrow.h"

#include "narrowkern.h"
#include "sexcept.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

using NarrowKern::kMalformed;
using NarrowKern::kNoRoom;

constexpr int kLongestText = 0x4000000;

// ---- Flags, chosen once a process ----

bool IsVersion6()
{
    constexpr DWORD kFirst = 6;
    static const bool is = (::GetVersion() & 0xFF) >= kFirst;
    return is;
}

DWORD FlagsForUtf8()
{
    return IsVersion6() ? WC_ERR_INVALID_CHARS : 0;
}

DWORD FlagsFor(UINT codePage)
{
    constexpr UINT kGb18030 = 54936, kUtf7 = 65000, kUtf8 = 65001;
    switch (codePage) {
    case 42:
    case 50220:
    case 50221:
    case 50222:
    case 50225:
    case 50227:
    case 50229:
    case 52936:
    case kUtf7: return 0;
    case kGb18030:
    case kUtf8: return FlagsForUtf8();
    default:
        constexpr UINT kFirstIscii = 57002, kLastIscii = 57011;
        return codePage >= kFirstIscii && codePage <= kLastIscii
                   ? 0
                   : WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK | WC_SEPCHARS;
    }
}

DWORD AnsiFlags()
{
    static const DWORD flags = FlagsFor(::GetACP());
    return flags;
}

// ---- What all converters share ----

template <class Unit>
void WriteEmpty(Unit* output, int size)
{
    if (output && size > 0)
        *output = Unit();
}

// Ends a result of at least one unit: in its last one where there is no room behind it, and not twice.
template <class Unit>
inline int Terminated(Unit* output, int made, int size)
{
    if (made == size)
        output[made - 1] = Unit();
    else if (output[made - 1] != Unit())
        output[made++] = Unit();
    return made;
}

template <class Unit>
size_t LengthOf(const Unit* text, int length)
{
    if (length >= 0)
        return static_cast<size_t>(length);
    size_t end = 0;
    if constexpr (sizeof(Unit) == 1)
        end = std::strlen(text);
    else
        end = std::wcslen(text);
    return end + 1;
}

// `fast(text, count, output, room)` answers as the kernels do, `slow(output, room)` asks the system.
template <class From, class To, class Fast, class Slow>
int ConvertBy(const From* text, int length, To* output, int size, Fast fast, Slow slow)
{
    if (!text || length == 0 || length < -1) {
        WriteEmpty(output, size);
        return 0;
    }
    const bool measures = !output || size <= 0;
    const size_t count = LengthOf(text, length);
    size_t made = fast(text, count, measures ? nullptr : output, measures ? 0 : static_cast<size_t>(size));
    if (made == kMalformed)
        made = static_cast<size_t>(slow(measures ? nullptr : output, measures ? 0 : size));
    else if (made == kNoRoom)
        made = 0;
    if (made > 0x7FFFFFFF)
        made = 0;
    if (measures)
        return static_cast<int>(made);
    if (made == 0) {
        *output = To();
        return 0;
    }
    return Terminated(output, static_cast<int>(made), size);
}

} // namespace

// ---- SNarrowText ----

SNarrowText::~SNarrowText()
{
    std::free(m_text);
}

int SNarrowText::LengthByte() const
{
    return m_text ? static_cast<int>(std::strlen(m_text)) : 0;
}

namespace {

char* NewBytes(size_t bytes)
{
    char* const text = static_cast<char*>(std::malloc(bytes));
    if (!text)
        throw SEOutOfMemory("char* NewBytes(size_t)", "core/src/narrow", __LINE__);
    return text;
}

} // namespace

void SNarrowText::Copy(const char* text, int length)
{
    if (!text)
        return;
    const size_t bytes = length < 0 ? std::strlen(text) : ::strnlen(text, static_cast<size_t>(length));
    m_text = NewBytes(bytes + 1);
    std::memcpy(m_text, text, bytes);
    m_text[bytes] = '\0';
}

void SNarrowText::Convert(const wchar_t* text, int length, int (*convert)(const wchar_t*, int, char*, int))
{
    if (!text)
        return;
    int bytes = 0;
    if (length >= -1 && length <= kLongestText) {
        bytes = convert(text, length, nullptr, 0);
        if (length == -1 && bytes > 0)
            --bytes;
    }
    m_text = NewBytes(static_cast<size_t>(bytes) + 1);
    // With bytes of 0 there is room for the terminator alone, and that is what every converter writes then.
    if (bytes == 0 || convert(text, length, m_text, bytes + 1) == 0)
        m_text[0] = '\0';
}

// ---- The ANSI code page ----

namespace {

// The fast way where the code page leaves ASCII alone: for nothing else.
template <class From, class To>
size_t AsciiAlone(const From* from, size_t count, To* to, size_t room)
{
    if (!NarrowKern::AnsiHoldsAscii() || (to && count > room))
        return kMalformed;
    const size_t plain = to ? NarrowKern::CopyAscii(from, count, to) : NarrowKern::AsciiLength(from, count);
    return plain == count ? count : kMalformed;
}

} // namespace

int SAnsiString::WideCharToAnsi(const wchar_t* text, int length, char* output, int size)
{
    if (!text) {
        WriteEmpty(output, size);
        return output && size > 0;
    }
    return ConvertBy(text, length, output, size, AsciiAlone<wchar_t, char>, [=](char* to, int room) {
        return ::WideCharToMultiByte(CP_ACP, AnsiFlags(), text, length, to, room, nullptr, nullptr);
    });
}

int SAnsiString::AnsiToWideChar(const char* text, int length, wchar_t* output, int size)
{
    return ConvertBy(text, length, output, size, AsciiAlone<char, wchar_t>, [=](wchar_t* to, int room) {
        return ::MultiByteToWideChar(CP_ACP, 0, text, length, to, room);
    });
}

// ---- UTF-8 ----

namespace {

// Short texts are names and numbers, so mostly ASCII: that is tried before anything is made ready for the rest. The units made,
// with a terminator; 0 when it is not such a text.
template <class From, class To>
inline int ShortAscii(const From* text, int length, To* output, int size)
{
    constexpr int kShort = 64;
    if (!text || !output || length <= 0 || length > kShort || length >= size)
        return 0;
    const size_t count = static_cast<size_t>(length);
    return NarrowKern::CopyAscii(text, count, output) == count ? Terminated(output, length, size) : 0;
}

S_NOINLINE int NarrowAny(const wchar_t* text, int length, char* output, int size)
{
    return ConvertBy(text, length, output, size, NarrowKern::Utf16To8, [=](char* to, int room) {
        return ::WideCharToMultiByte(CP_UTF8, FlagsForUtf8(), text, length, to, room, nullptr, nullptr);
    });
}
S_NOINLINE int WidenAny(const char* text, int length, wchar_t* output, int size)
{
    return ConvertBy(text, length, output, size, NarrowKern::Utf8To16, [=](wchar_t* to, int room) {
        return ::MultiByteToWideChar(CP_UTF8, 0, text, length, to, room);
    });
}

} // namespace

int SUtf8String::WideCharToUTF8(const wchar_t* text, int length, char* output, int size)
{
    const int made = ShortAscii(text, length, output, size);
    return made > 0 ? made : NarrowAny(text, length, output, size);
}

int SUtf8String::UTF8ToWideChar(const char* text, int length, wchar_t* output, int size)
{
    const int made = ShortAscii(text, length, output, size);
    return made > 0 ? made : WidenAny(text, length, output, size);
}

SString SUtf8String::ToUnicode(const char* text)
{
    SString wide;
    const int length = text ? static_cast<int>(std::strlen(text)) : 0;
    const int units = UTF8ToWideChar(text, length, nullptr, 0);
    if (units > 0) {
        UTF8ToWideChar(text, length, wide.GetBufferSetLength(units), units + 1);
        wide.UnlockTchar(units);
    }
    return wide;
}
