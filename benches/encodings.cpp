// encodings.cpp: UTF-8, the ANSI code page and Base64 beside Windows' own conversions.
#include "bench.h"

#include "base64.h"
#include "narrow.h"
#include "shglobal.h"
#include "strclss.h"

#include <windows.h>
#include <wincrypt.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// ---- Texts: of one kind of writing each ----

enum Writing { kAscii, kLatin, kMixed, kCjk };

const int kChars = 65536;
const int kShort = 16;

wchar_t LetterOf(Writing writing, Numbers& numbers)
{
    const unsigned die = numbers.Below(100);
    if (writing == kLatin && die < 12)
        return static_cast<wchar_t>(0xE0 + numbers.Below(0x1F));
    if (writing == kCjk)
        return static_cast<wchar_t>(0x4E00 + numbers.Below(0x5000));
    return static_cast<wchar_t>(L'a' + numbers.Below(26));
}

/// A word; the mixed writing has Latin, Cyrillic and Chinese ones.
std::wstring WordOf(Writing writing, Numbers& numbers)
{
    const unsigned die = numbers.Below(3);
    const Writing own = writing != kMixed ? writing : die == 0 ? kCjk : kLatin;
    std::wstring word;
    for (unsigned left = own == kCjk ? 30 : 3 + numbers.Below(8); left > 0; --left) {
        word += writing == kMixed && die == 1 ? static_cast<wchar_t>(0x430 + numbers.Below(32))
                                              : LetterOf(own, numbers);
    }
    return word;
}

/// As texts are: words that come again, and blanks.
template <Writing writing, int length>
const std::wstring& Wide()
{
    static const std::wstring text = [] {
        Numbers numbers(writing + 1);
        std::vector<std::wstring> words;
        for (int i = 0; i < 50; ++i)
            words.push_back(WordOf(writing, numbers));
        std::wstring made;
        while (made.size() < length)
            made += words[numbers.Below(50)] + L' ';
        return made.substr(0, length);
    }();
    return text;
}

template <Writing writing, int length>
const std::string& Narrow()
{
    static const std::string text = [] {
        const std::wstring& wide = Wide<writing, length>();
        std::string made(wide.size() * 3, '\0');
        made.resize(static_cast<size_t>(::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, made.data(),
                                                              length * 3, nullptr, nullptr)));
        return made;
    }();
    return text;
}

/// Room for every result, and one more: ours appends a terminator.
template <class Unit, int length>
Unit* Room()
{
    static std::vector<Unit> room(length * 3 + 1);
    return room.data();
}

template <class Unit>
unsigned long Sum(const Unit* made, int length)
{
    unsigned long sum = static_cast<unsigned long>(length);
    for (int i = 0; i < length; i += length / 8 + 1)
        sum = sum * 31 + static_cast<std::make_unsigned_t<Unit>>(made[i]);
    return sum;
}

// ---- The conversions. Ours counts the terminator that it appends ----

int UtfOurs(const wchar_t* text, int length, char* out, int size)
{
    return SUtf8String::WideCharToUTF8(text, length, out, size) - 1;
}
int UtfSystem(const wchar_t* text, int length, char* out, int size)
{
    return ::WideCharToMultiByte(CP_UTF8, 0, text, length, out, size, nullptr, nullptr);
}
int AnsiOurs(const wchar_t* text, int length, char* out, int size)
{
    return SAnsiString::WideCharToAnsi(text, length, out, size) - 1;
}
/// With what SAnsiString promises: nothing merely similar, composed letters stay composed.
int AnsiSystem(const wchar_t* text, int length, char* out, int size)
{
    return ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK | WC_DEFAULTCHAR, text,
                                 length, out, size, nullptr, nullptr);
}
int WidenUtfOurs(const char* text, int length, wchar_t* out, int size)
{
    return SUtf8String::UTF8ToWideChar(text, length, out, size) - 1;
}
int WidenUtfSystem(const char* text, int length, wchar_t* out, int size)
{
    return ::MultiByteToWideChar(CP_UTF8, 0, text, length, out, size);
}
int WidenAnsiOurs(const char* text, int length, wchar_t* out, int size)
{
    return SAnsiString::AnsiToWideChar(text, length, out, size) - 1;
}
int WidenAnsiSystem(const char* text, int length, wchar_t* out, int size)
{
    return ::MultiByteToWideChar(CP_ACP, 0, text, length, out, size);
}

template <auto convert, Writing writing, int length>
unsigned long ToNarrow(Run& run)
{
    const std::wstring& text = Wide<writing, length>();
    char* const room = Room<char, length>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sum(room, convert(Hidden(text.data()), length, room, length * 3 + 1));
    return sum;
}

template <auto convert, Writing writing, int length>
unsigned long ToWide(Run& run)
{
    const std::string& text = Narrow<writing, length>();
    wchar_t* const room = Room<wchar_t, length>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sum(room, convert(Hidden(text.data()), static_cast<int>(text.size()), room, length * 3 + 1));
    return sum;
}

template <Writing writing>
Row NarrowRow(const char* key, double goal)
{
    return { key,
             MegabytesPerSecond(kChars * sizeof(wchar_t)),
             AtLeast(goal),
             ToNarrow<UtfOurs, writing, kChars>,
             { { "WideCharToMultiByte", ToNarrow<UtfSystem, writing, kChars> } } };
}

template <Writing writing>
Row WidenRow(const char* key, double goal)
{
    return { key,
             MegabytesPerSecond(static_cast<double>(Narrow<writing, kChars>().size())),
             AtLeast(goal),
             ToWide<WidenUtfOurs, writing, kChars>,
             { { "MultiByteToWideChar", ToWide<WidenUtfSystem, writing, kChars> } } };
}

// ---- Base64 ----

const int kBytes = 49152;
const int kManyBytes = 3 * 1024 * 1024;

template <int count>
const std::vector<BYTE>& Bytes()
{
    static const std::vector<BYTE> bytes = [] {
        Numbers numbers(count);
        std::vector<BYTE> made(count);
        for (BYTE& byte : made)
            byte = static_cast<BYTE>(numbers.Next() >> 8);
        return made;
    }();
    return bytes;
}

template <int count>
const std::wstring& Encoded()
{
    static const std::wstring text = [] {
        SString made;
        Base64Tools::Base64Encode(Bytes<count>().data(), count, made);
        return std::wstring(made);
    }();
    return text;
}

template <int count>
unsigned long EncodeOurs(Run& run)
{
    const std::vector<BYTE>& bytes = Bytes<count>();
    unsigned long sum = 0;
    SString text;
    for (long i = run.n; i > 0; --i) {
        if (count != kBytes) // the long text has its room already, as the peer's
            text = nullptr;
        Base64Tools::Base64Encode(bytes.data(), count, text);
        sum += Sum<wchar_t>(text, text.Length());
    }
    return sum;
}

template <int count>
unsigned long EncodeSystem(Run& run)
{
    const std::vector<BYTE>& bytes = Bytes<count>();
    wchar_t* const room = Room<wchar_t, count>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        DWORD size = count * 3;
        ::CryptBinaryToStringW(bytes.data(), count, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, room, &size);
        sum += Sum(room, static_cast<int>(size));
    }
    return sum;
}

template <int count>
unsigned long DecodeOurs(Run& run)
{
    static const SString text(Encoded<count>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SBlob bytes;
        Base64Tools::Base64Decode(text, bytes);
        const BYTE* const made = static_cast<const BYTE*>(bytes.LockForRead());
        sum += Sum(made, static_cast<int>(bytes.GetSize()));
        bytes.Unlock();
    }
    return sum;
}

template <int count>
unsigned long DecodeSystem(Run& run)
{
    const std::wstring& text = Encoded<count>();
    BYTE* const room = Room<BYTE, count>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        DWORD size = count * 3;
        ::CryptStringToBinaryW(text.data(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64, room, &size,
                               nullptr, nullptr);
        sum += Sum(room, static_cast<int>(size));
    }
    return sum;
}

/// Fresh memory of the size of the result, copied into: what is left when encoding costs nothing.
template <int count>
unsigned long CopyFresh(Run& run)
{
    const std::wstring& text = Encoded<count>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
        wchar_t* const fresh =
            static_cast<wchar_t*>(::VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        std::memcpy(fresh, text.c_str(), bytes);
        sum += Sum(fresh, static_cast<int>(text.size()));
        ::VirtualFree(fresh, 0, MEM_RELEASE);
    }
    return sum;
}

/// `count` bytes into text and back.
template <int count>
Row EncodeRow(const char* key, Unit unit, Goal goal)
{
    return { key, unit, goal, EncodeOurs<count>, { { "CryptBinaryToStringW", EncodeSystem<count> } } };
}
template <int count>
Row DecodeRow(const char* key, Unit unit, Goal goal)
{
    return { key, unit, goal, DecodeOurs<count>, { { "CryptStringToBinaryW", DecodeSystem<count> } } };
}

void RunAll(Bench& bench)
{
    const Row rows[] = {
        NarrowRow<kAscii>("utf.16to8.ascii", 10),
        NarrowRow<kLatin>("utf.16to8.latin", 3),
        NarrowRow<kMixed>("utf.16to8.mixed", 1.8),
        NarrowRow<kCjk>("utf.16to8.cjk", 3),
        WidenRow<kAscii>("utf.8to16.ascii", 10),
        WidenRow<kLatin>("utf.8to16.latin", 2),
        WidenRow<kMixed>("utf.8to16.mixed", 1.8),
        WidenRow<kCjk>("utf.8to16.cjk", 2.5),
        { "utf.16to8.short16",
          Nanoseconds(1),
          AtMost(0.25),
          ToNarrow<UtfOurs, kAscii, kShort>,
          { { "WideCharToMultiByte", ToNarrow<UtfSystem, kAscii, kShort> } } },
        { "utf.8to16.short16",
          Nanoseconds(1),
          AtMost(0.3),
          ToWide<WidenUtfOurs, kAscii, kShort>,
          { { "MultiByteToWideChar", ToWide<WidenUtfSystem, kAscii, kShort> } } },
        { "ansi.16to8.ascii",
          MegabytesPerSecond(kChars * sizeof(wchar_t)),
          AtLeast(200),
          ToNarrow<AnsiOurs, kAscii, kChars>,
          { { "WideCharToMultiByte", ToNarrow<AnsiSystem, kAscii, kChars> } } },
        { "ansi.16to8.short16",
          Nanoseconds(1),
          AtMost(0.03),
          ToNarrow<AnsiOurs, kAscii, kShort>,
          { { "WideCharToMultiByte", ToNarrow<AnsiSystem, kAscii, kShort> } } },
        { "ansi.8to16.ascii",
          MegabytesPerSecond(kChars),
          AtLeast(5),
          ToWide<WidenAnsiOurs, kAscii, kChars>,
          { { "MultiByteToWideChar", ToWide<WidenAnsiSystem, kAscii, kChars> } } },
        EncodeRow<kBytes>("b64.enc.49152", MegabytesPerSecond(kBytes), AtLeast(8)),
        DecodeRow<kBytes>("b64.dec.49152", MegabytesPerSecond(kBytes / 3 * 4), AtLeast(40)),
        EncodeRow<300>("b64.enc.300", Nanoseconds(1), AtMost(0.3)),
        DecodeRow<300>("b64.dec.300", Nanoseconds(1), AtMost(0.3)),
        EncodeRow<12>("b64.enc.12", Nanoseconds(1), AtMost(0.8)),
        DecodeRow<12>("b64.dec.12", Nanoseconds(1), AtMost(5)),
        { "b64.enc.3M",
          MegabytesPerSecond(kManyBytes),
          AtLeast(0.9),
          EncodeOurs<kManyBytes>,
          { { "memcpy into fresh memory", CopyFresh<kManyBytes> } } },
    };
    bench.Compare(rows);
}

} // namespace

extern const Subject kEncodings;
const Subject kEncodings = { "encodings", RunAll };
