// blobtext.cpp: bytes as text: hexadecimal pairs, plain text, uuencode lines.
#include "shglobal.h"

#include "bloblock.h"
#include "converted.h"
#include "narrow.h"
#include "sexcept.h"
#include "strbuffer.h"
#include "tablemem.h"

#include <cstring>
#include <cwchar>

namespace {

constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

int HexValue(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    const wchar_t lower = c | 0x20;
    return lower >= L'a' && lower <= L'f' && c < 128 ? lower - L'a' + 10 : -1;
}

bool IsBlank(wchar_t c)
{
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

typedef STable<unsigned char> Bytes;

bool TakeBytes(SBlob& blob, const Bytes& bytes)
{
    return FillBlob(blob, static_cast<unsigned long>(bytes.Count()), [&bytes](unsigned char* to) {
        std::memcpy(to, &bytes[0], static_cast<size_t>(bytes.Count()));
    });
}

// ---- uuencode ----

constexpr unsigned long kUuLine = 45;
constexpr wchar_t kUuZero = L'`';
constexpr wchar_t kUuBegin[] = L"begin ";

wchar_t UuChar(unsigned value)
{
    return value == 0 ? kUuZero : static_cast<wchar_t>(L' ' + value);
}

// The value of a character, -1 for one that none stands for.
int UuValue(wchar_t c)
{
    return c >= L' ' && c <= kUuZero ? (c - L' ') & 63 : -1;
}

// Appends the bytes of a line behind its count; false for a line that is no such.
bool ReadUuLine(const wchar_t* line, int length, unsigned long count, Bytes& bytes)
{
    const int chars = static_cast<int>((count + 2) / 3 * 4);
    // Some writers leave out what the last group does not need, others append a check character.
    for (int i = 0; i < length; ++i) {
        if (UuValue(line[i]) < 0)
            return false;
    }
    if (length > chars + 1 || (length < chars && static_cast<unsigned long>(length) < (count * 4 + 2) / 3))
        return false;
    const auto value = [&](int i) { return i < length ? static_cast<unsigned>(UuValue(line[i])) : 0u; };
    for (int i = 0; i < chars; i += 4) {
        const unsigned group = value(i) << 18 | value(i + 1) << 12 | value(i + 2) << 6 | value(i + 3);
        for (int shift = 16; shift >= 0 && count > 0; shift -= 8, --count)
            bytes.Add(static_cast<unsigned char>(group >> shift));
    }
    return true;
}

// The next line of a text, without its end.
const wchar_t* NextLine(const wchar_t*& at, const wchar_t* end, int* length)
{
    const wchar_t* const line = at;
    while (at < end && *at != L'\n' && *at != L'\r')
        ++at;
    *length = static_cast<int>(at - line);
    if (at < end && *at == L'\r')
        ++at;
    if (at < end && *at == L'\n' && (at == line || at[-1] == L'\r' || at - line == *length))
        ++at;
    return line;
}

} // namespace

// ---- Hexadecimal ----

SString SBlob::BytesToHex(const void* bytes, unsigned long size, unsigned long bytesPerLine,
                          const wchar_t* separator, const wchar_t* lineEnd)
{
    if (!bytes || size == 0)
        return SString();
    separator = separator ? separator : L"";
    lineEnd = lineEnd ? lineEnd : L"";
    const int separatorLength = static_cast<int>(std::wcslen(separator)),
              lineEndLength = static_cast<int>(std::wcslen(lineEnd));
    const unsigned long lines = bytesPerLine == 0 ? 0 : (size - 1) / bytesPerLine;
    const unsigned long long length = 2ull * size +
                                      static_cast<unsigned long long>(size - 1 - lines) * separatorLength +
                                      static_cast<unsigned long long>(lines) * lineEndLength;
    if (length > static_cast<unsigned long long>(SString::kMaxLength))
        throw SEOutOfMemory(S_HERE);
    SString text;
    wchar_t* to = text.GetBufferSetLength(static_cast<int>(length));
    const unsigned char* const from = static_cast<const unsigned char*>(bytes);
    for (unsigned long i = 0, column = 0; i < size; ++i, ++column) {
        if (i > 0) {
            const bool wraps = column == bytesPerLine;
            column = wraps ? 0 : column;
            const int between = wraps ? lineEndLength : separatorLength;
            std::wmemcpy(to, wraps ? lineEnd : separator, static_cast<size_t>(between));
            to += between;
        }
        *to++ = kHexDigits[from[i] >> 4];
        *to++ = kHexDigits[from[i] & 15];
    }
    text.UnlockTchar(static_cast<int>(length));
    return text;
}

SString SBlob::GetAsHex() const
{
    const BlobBytes bytes(*this);
    return BytesToHex(bytes.Data(), bytes.Size(), 0, nullptr, nullptr);
}

int SBlob::SetAsHex(const SString& text)
{
    Bytes bytes;
    for (int i = 0; i < text.Length();) {
        if (IsBlank(text[i])) {
            ++i;
            continue;
        }
        const int high = HexValue(text[i]), low = HexValue(text.GetAt(i + 1));
        if (high < 0 || low < 0)
            return 0;
        bytes.Add(static_cast<unsigned char>(high << 4 | low));
        i += 2;
    }
    return TakeBytes(*this, bytes);
}

// ---- Text ----

SString SBlob::GetAsText() const
{
    const BlobBytes bytes(*this);
    const unsigned char* const at = bytes.Data();
    const unsigned long size = bytes.Size();
    const auto beginsWith = [&](std::initializer_list<unsigned char> mark) {
        return size >= mark.size() && std::memcmp(at, mark.begin(), mark.size()) == 0;
    };
    const bool little = beginsWith({ 0xFF, 0xFE }), big = beginsWith({ 0xFE, 0xFF });
    if (size > static_cast<unsigned long>(SString::kMaxLength))
        throw SEOutOfMemory(S_HERE);
    if (little || big)
        return TextFromUtf16(at + 2, size - 2, big, [](const wchar_t*, int) {});
    const unsigned long mark = beginsWith({ 0xEF, 0xBB, 0xBF }) ? 3 : 0;
    return ConvertedText(at + mark, size - mark, SUtf8String::UTF8ToWideChar);
}

int SBlob::SetAsText(const SString& text)
{
    const int bytes = text.IsEmpty() ? 0 : SUtf8String::LengthByte(text, text.Length());
    if (bytes == 0 && !text.IsEmpty())
        return 0;
    // The converter wants room for a terminator, which the blob does not keep.
    SBlob fresh;
    if (!fresh.Alloc(static_cast<unsigned long>(bytes) + 1))
        return 0;
    if (bytes > 0) {
        char* const to = static_cast<char*>(fresh.Lock());
        if (!to)
            return 0;
        SUtf8String::WideCharToUTF8(text, text.Length(), to, bytes + 1);
        fresh.Unlock();
    }
    if (!fresh.Realloc(static_cast<unsigned long>(bytes)))
        return 0;
    swap(fresh);
    return 1;
}

// ---- uuencode ----

SString SBlob::GetAsUUElike() const
{
    const BlobBytes bytes(*this);
    const unsigned char* const from = bytes.Data();
    SStringBuffer text;
    for (unsigned long at = 0; at < bytes.Size(); at += kUuLine) {
        const unsigned long count = bytes.Size() - at < kUuLine ? bytes.Size() - at : kUuLine;
        text << UuChar(static_cast<unsigned>(count));
        const auto byte = [&](unsigned long i) { return i < count ? from[at + i] : 0u; };
        for (unsigned long i = 0; i < count; i += 3) {
            const unsigned group = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
            text << UuChar(group >> 18) << UuChar(group >> 12 & 63) << UuChar(group >> 6 & 63)
                 << UuChar(group & 63);
        }
        text << L'\n';
    }
    text << kUuZero << L'\n';
    return text.Detach();
}

int SBlob::SetAsUUElike(const SString& text)
{
    const wchar_t* at = text;
    const wchar_t* const end = at + text.Length();
    constexpr int kBeginLength = static_cast<int>(std::size(kUuBegin)) - 1;
    // Mail may stand in front of what was encoded.
    for (const wchar_t* look = at; look < end;) {
        int length;
        const wchar_t* const line = NextLine(look, end, &length);
        if (length >= kBeginLength && std::wmemcmp(line, kUuBegin, kBeginLength) == 0) {
            at = look;
            break;
        }
    }
    Bytes bytes;
    while (at < end) {
        int length;
        const wchar_t* const line = NextLine(at, end, &length);
        const int count = length == 0 ? 0 : UuValue(*line);
        if (count < 0)
            return 0;
        if (count == 0)
            break;
        if (!ReadUuLine(line + 1, length - 1, static_cast<unsigned long>(count), bytes))
            return 0;
    }
    return TakeBytes(*this, bytes);
}
