// stextin.cpp: lines of text in any encoding.
#include "stextin.h"

#include "narrow.h"
#include "sioexcept.h"
#include "smemstream.h"
#include "utf8.h"

#include <algorithm>
#include <cstring>

namespace {

typedef SInputTextStream Text;

constexpr wchar_t kReplacement = 0xFFFD;

struct Mark {
    Text::Encoding encoding;
    unsigned long length;
    unsigned char bytes[3];
};
constexpr Mark kMarks[] = {
    { Text::kUtf8, 3, { 0xEF, 0xBB, 0xBF } },
    { Text::kUtf16LittleEndian, 2, { 0xFF, 0xFE } },
    { Text::kUtf16BigEndian, 2, { 0xFE, 0xFF } },
};

struct Bytes {
    const unsigned char* at;
    unsigned long size;
};

// Lines that end before a place, so that a failure can say where it is.
template <class IsEnd>
int LineAt(unsigned long place, IsEnd isEnd)
{
    int line = 1;
    for (unsigned long i = 0; i < place; ++i)
        line += isEnd(i);
    return line;
}

[[noreturn]] void ThrowMalformed(int line)
{
    throw SEEncodingException(S_HERE, SString().Format(L"malformed text in line %d", line));
}

// Where the first bytes are that are not UTF-8; the size when all are.
unsigned long FirstMalformed(const Bytes& bytes)
{
    for (unsigned long at = 0; at < bytes.size;) {
        int length = 1;
        if (bytes.at[at] >= 0x80) {
            const int left = static_cast<int>(std::min<unsigned long>(bytes.size - at, kMostUtf8));
            const unsigned c = GetUtf8(bytes.at + at, left, &length);
            if (length == 0 || (c & 0xFFFFF800) == 0xD800)
                return at;
        }
        at += static_cast<unsigned long>(length);
    }
    return bytes.size;
}

template <class Convert>
SString Converted(const Bytes& bytes, Convert convert)
{
    const char* const narrow = reinterpret_cast<const char*>(bytes.at);
    const int length = static_cast<int>(bytes.size);
    const int units = length == 0 ? 0 : convert(narrow, length, nullptr, 0);
    if (units == 0)
        return SString();
    SString text;
    wchar_t* const to = text.GetBufferSetLength(units);
    convert(narrow, length, to, units + 1);
    return SString(to, to + units); // with the NULs inside, which unlocking would take for its end
}

SString FromUtf16(const Bytes& bytes, bool big, Text::Malformed malformed)
{
    const int units = static_cast<int>(bytes.size / 2);
    SString text;
    wchar_t* const to = text.GetBufferSetLength(units + 1);
    for (int i = 0; i < units; ++i) {
        const unsigned first = bytes.at[2 * i], second = bytes.at[2 * i + 1];
        to[i] = static_cast<wchar_t>(big ? first << 8 | second : first | second << 8);
    }
    const auto isHalf = [to](int i, unsigned kind) { return (to[i] & 0xFC00u) == kind; };
    const auto broken = [&](int i) {
        if (malformed == Text::kThrowMalformed)
            ThrowMalformed(
                LineAt(static_cast<unsigned long>(i), [to](unsigned long k) { return to[k] == L'\n'; }));
        to[i] = kReplacement;
    };
    for (int i = 0; i < units; ++i) {
        if (isHalf(i, 0xD800) && i + 1 < units && isHalf(i + 1, 0xDC00))
            ++i;
        else if ((to[i] & 0xF800) == 0xD800)
            broken(i);
    }
    const int odd = static_cast<int>(bytes.size % 2);
    if (odd)
        broken(units);
    return SString(to, to + units + odd);
}

SString FromUtf8(const Bytes& bytes, unsigned long malformedAt, Text::Malformed malformed)
{
    if (malformed == Text::kThrowMalformed && malformedAt < bytes.size)
        ThrowMalformed(LineAt(malformedAt, [&](unsigned long i) { return bytes.at[i] == '\n'; }));
    return Converted(bytes, SUtf8String::UTF8ToWideChar);
}

void ReadAll(SInputStream& in, SOutputGlobal& all)
{
    char piece[16384];
    for (unsigned long got; (got = in.Read(piece, sizeof piece, SInputStream::kRun)) > 0;)
        all.Write(piece, got);
    if (all.GetSize() > static_cast<unsigned long>(SString::kMaxLength))
        throw SEOutOfMemory(S_HERE);
}

} // namespace

SInputTextStream::SInputTextStream(SInputStream& in, Malformed malformed, Encoding encoding)
    : m_at(0), m_line(0), m_encoding(encoding)
{
    SOutputGlobal all;
    ReadAll(in, all);
    Bytes bytes = { static_cast<const unsigned char*>(all.GetBytes()), all.GetSize() };
    for (const Mark& mark : kMarks) {
        const bool fits = bytes.size >= mark.length && std::memcmp(bytes.at, mark.bytes, mark.length) == 0;
        if (fits && (encoding == kDetect || encoding == mark.encoding)) {
            m_encoding = mark.encoding;
            bytes.at += mark.length;
            bytes.size -= mark.length;
            break;
        }
    }
    const bool mayBeUtf8 = m_encoding == kDetect || m_encoding == kUtf8;
    const unsigned long malformedAt = mayBeUtf8 ? FirstMalformed(bytes) : bytes.size;
    if (m_encoding == kDetect)
        m_encoding = malformedAt == bytes.size ? kUtf8 : kAnsi;
    switch (m_encoding) {
    case kUtf8: m_text = FromUtf8(bytes, malformedAt, malformed); break;
    case kUtf16LittleEndian: m_text = FromUtf16(bytes, false, malformed); break;
    case kUtf16BigEndian: m_text = FromUtf16(bytes, true, malformed); break;
    default: m_text = Converted(bytes, SAnsiString::AnsiToWideChar); break;
    }
}

bool SInputTextStream::ReadLine(SString& line)
{
    const wchar_t* const text = m_text;
    const int length = m_text.Length();
    if (m_at >= length)
        return false;
    int end = m_at;
    while (end < length && text[end] != L'\r' && text[end] != L'\n')
        ++end;
    line = SString(text + m_at, text + end);
    if (end < length)
        end += text[end] == L'\r' && end + 1 < length && text[end + 1] == L'\n' ? 2 : 1;
    m_at = end;
    ++m_line;
    return true;
}
