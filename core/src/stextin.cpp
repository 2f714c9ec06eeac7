// stextin.cpp: lines of text in any encoding.
#include "stextin.h"

#include "converted.h"
#include "narrow.h"
#include "sioexcept.h"
#include "smemstream.h"
#include "utf8.h"

#include <algorithm>
#include <cstring>

namespace {

typedef SInputTextStream Text;

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

// The line that a place lies in, counted as ReadLine counts, so that a failure can say where it is.
template <class Unit>
int LineAt(const Unit* text, unsigned long place)
{
    int line = 1;
    for (unsigned long i = 0; i < place; ++i)
        line += text[i] == '\n' ? i == 0 || text[i - 1] != '\r' : text[i] == '\r';
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

SString FromUtf16(const Bytes& bytes, bool big, Text::Malformed malformed)
{
    return TextFromUtf16(bytes.at, bytes.size, big, [malformed](const wchar_t* text, int place) {
        if (malformed == Text::kThrowMalformed)
            ThrowMalformed(LineAt(text, static_cast<unsigned long>(place)));
    });
}

SString FromUtf8(const Bytes& bytes, unsigned long malformedAt, Text::Malformed malformed)
{
    if (malformed == Text::kThrowMalformed && malformedAt < bytes.size)
        ThrowMalformed(LineAt(bytes.at, malformedAt));
    return ConvertedText(bytes.at, bytes.size, SUtf8String::UTF8ToWideChar);
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
    default: m_text = ConvertedText(bytes.at, bytes.size, SAnsiString::AnsiToWideChar); break;
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
