// Bytes that are read as values, expanded, or looked at to find out what they are.
#include "targets.h"

#include "lane.h"

#include "sbufstream.h"
#include "sioexcept.h"
#include "smemstream.h"
#include "stextin.h"
#include "strmap.h"
#include "strtab.h"
#include "szipstream.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace {

unsigned long SizeOf(const std::string& bytes)
{
    return static_cast<unsigned long>(bytes.size());
}
std::string BytesOf(const SOutputGlobal& out)
{
    return out.GetSize() == 0 ? std::string()
                              : std::string(static_cast<const char*>(out.GetBytes()), out.GetSize());
}

// A stream that cannot tell what is left, and counts.
class Unknowing : public SInputGlobal {
public:
    Unknowing(const void* bytes, unsigned long size) : SInputGlobal(bytes, size) {}
    unsigned long Read(void* data, unsigned long bytes, unsigned long unit) override
    {
        ++m_reads;
        return SInputGlobal::Read(data, bytes, unit);
    }
    unsigned long Available() override { return kUnknown; }
    unsigned long Reads() const { return m_reads; }

private:
    unsigned long m_reads = 0;
};

// ---- The binary form ----
// The first byte of an input says which values follow, and through which streams.

struct Numbers {
    unsigned char a = 0;
    unsigned short b = 0;
    long c = 0;
    unsigned long d = 0;
};
SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const Numbers& n)
{
    return out << n.a << n.b << n.c << n.d;
}
SInputBinaryStream& operator>>(SInputBinaryStream& in, Numbers& n)
{
    return in >> n.a >> n.b >> n.c >> n.d;
}

// A map finds each of its pairs; nothing to ask of another value.
template <class Value>
auto FindsAll(const Value& map, int) -> decltype(map.begin()->key, true)
{
    for (const auto& pair : map) {
        if (map.Find(pair.key) != &pair.value)
            return false;
    }
    return true;
}
template <class Value>
bool FindsAll(const Value&, long)
{
    return true;
}

template <class Value>
void Again(SInputBinaryStream& in, std::string& first, std::string& second)
{
    // What was read can be written, and reads as the same.
    Value value;
    in >> value;
    Require(FindsAll(value, 0), "each pair is found by its key");
    SOutputGlobal bytes, again;
    SOutputBinaryStream out(bytes), outAgain(again);
    out << value;
    first += BytesOf(bytes);
    SInputGlobal written(bytes.GetBytes(), bytes.GetSize());
    SInputBinaryStream back(written);
    Value same;
    back >> same;
    Require(written.Available() == 0, "what was written is read to its end");
    outAgain << same;
    second += BytesOf(again);
}

typedef void (*ReadOne)(SInputBinaryStream&, std::string&, std::string&);
constexpr ReadOne kKinds[] = { Again<SString>,
                               Again<SBlob>,
                               Again<SStringTable>,
                               Again<SStringMap>,
                               Again<SStringMapNoCase>,
                               Again<SStringUnsortedMap>,
                               Again<SStringUnsortedMapNoCase>,
                               Again<Numbers> };
constexpr size_t kKindCount = std::size(kKinds);

size_t ReadAll(SInputStream& stream, size_t kind)
{
    SInputBinaryStream in(stream);
    std::string first, second;
    try {
        for (;;) {
            if (kind < kKindCount) {
                kKinds[kind](in, first, second);
            } else {
                for (const ReadOne one : kKinds) // one of each, over and over
                    one(in, first, second);
            }
        }
    }
    catch (const SEEOFException&) {
        // As every input ends.
    }
    Require(first == second, "what is written again is the same");
    return first.size();
}

size_t EatBinary(const std::string& input)
{
    if (input.empty())
        return 0;
    const unsigned choice = static_cast<unsigned char>(input[0]);
    const std::string bytes = input.substr(1);
    const Walled walled(bytes);
    const size_t kind = choice % (kKindCount + 1);
    SInputGlobal known(walled.Bytes(), SizeOf(bytes));
    Unknowing unknown(walled.Bytes(), SizeOf(bytes));
    switch (choice / (kKindCount + 1) % 4) {
    case 0: return ReadAll(known, kind);
    case 1: {
        const size_t made = ReadAll(unknown, kind);
        Require(unknown.Reads() <= 4 * bytes.size() + 100, "reads are no more than bytes");
        return made;
    }
    case 2: {
        SInputBufferStream buffered(unknown, 1 + choice % 5);
        return ReadAll(buffered, kind);
    }
    default: {
        SInputPushbackStream back(known);
        back.Unread(walled.Bytes(), std::min(SizeOf(bytes), 3ul));
        return ReadAll(back, kind);
    }
    }
}

template <class Value>
std::string Written(char choice, const Value& value)
{
    SOutputGlobal bytes;
    SOutputBinaryStream out(bytes);
    out << value;
    return choice + BytesOf(bytes);
}

Inputs BinarySeeds()
{
    SBlob blob;
    blob.SetAsHex(L"000102FDFEFF");
    SBlob large;
    large.Alloc(1500);
    SStringTable table({ L"", L"one", L"z\u00E4hle", L"\U0001F600" });
    SStringMap map;
    SStringMapNoCase noCase;
    SStringUnsortedMap unsorted;
    SStringUnsortedMapNoCase unsortedNoCase;
    for (const SString& text : table) {
        map.Set(text, L"value of " + text);
        noCase.Set(text, L"");
        unsorted.Set(text, text);
        unsortedNoCase.Set(text + L"key", text);
    }
    Inputs seeds = { Written('\0', SString(L"a text")),
                     Written('\x09', SString(L'\u4E2D', 200)),
                     Written('\x12', SString(L'x', 700)),
                     Written('\x01', blob),
                     Written('\x0A', large),
                     Written('\x02', table),
                     Written('\x0B', table),
                     Written('\x03', map),
                     Written('\x04', noCase),
                     Written('\x05', unsorted),
                     Written('\x0E', unsortedNoCase),
                     Written('\x07', Numbers()) };
    std::string all(1, '\x08');
    for (const size_t i : { 0, 3, 5, 7, 8, 9, 10, 11 })
        all += seeds[i].substr(1);
    seeds.push_back(all);
    return seeds;
}

// ---- Compressed data ----

// What a stream gives in pieces of a size, and how it ended.
std::string Expanded(SInputStream& in, unsigned long piece, bool skips, std::string& ending)
{
    std::string bytes, part(piece, '\0');
    ending = "end";
    try {
        for (bool skip = false;; skip = skips && !skip) {
            const unsigned long got = skip ? in.Skip(piece) : in.Read(&part[0], piece);
            if (got == 0)
                break;
            bytes.append(part, 0, got);
        }
    }
    catch (const SEZipException&) {
        ending = "damaged";
    }
    catch (const SEEOFException&) {
        ending = "cut";
    }
    return bytes;
}

size_t EatDeflated(const std::string& input)
{
    constexpr size_t kMostFromOneByte = 1032; // the format's limit
    const Walled walled(input);
    std::string bytes, ending, endingAgain;
    {
        SInputGlobal source(walled.Bytes(), SizeOf(input));
        SInflaterInputStream in(source);
        bytes = Expanded(in, 8192, false, ending);
        Require(bytes.size() <= kMostFromOneByte * (input.size() + 1), "no more comes than can");
        if (ending == "end")
            Require(in.Available() == 0, "the end is known");
    }
    SInputGlobal source(walled.Bytes(), SizeOf(input));
    SInputPushbackStream back(source);
    SInflaterInputStream in(back);
    const std::string again = Expanded(in, 61, false, endingAgain);
    Require(ending == endingAgain, "it ends in the same way in small pieces");
    // A piece in which the damage shows is lost whole, so only what came of both can be compared.
    const size_t common = std::min(bytes.size(), again.size());
    Require(bytes.compare(0, common, again, 0, common) == 0, "and is the same");
    if (ending == "end") {
        Require(bytes == again, "all of it");
        in.Close();
    }
    return 16 * bytes.size();
}

std::string Deflated(const std::string& bytes, int level, bool flushes = false)
{
    SOutputGlobal packed;
    SDeflaterOutputStream out(packed, level);
    const unsigned long half = SizeOf(bytes) / 2;
    out.Write(bytes.data(), half);
    if (flushes)
        out.Flush();
    out.Write(bytes.data() + half, SizeOf(bytes) - half);
    out.Close();
    return BytesOf(packed);
}

Inputs DeflatedSeeds()
{
    std::string text;
    for (int i = 0; i < 60; ++i)
        text += "line " + std::to_string(i * i) + " of many\r\n";
    std::string mixed;
    for (unsigned i = 0, x = 1; i < 300; ++i, x = x * 1103515245 + 12345)
        mixed += static_cast<char>(x >> 16);
    return { Deflated("", 9),
             Deflated("short", 1),
             Deflated(text, 9),
             Deflated(text, 6, true),
             Deflated(text.substr(0, 200), 0),
             Deflated(mixed, 9),
             Deflated(std::string(60000, '\0'), 9),
             Deflated(text, 9) + "what follows" };
}

// ---- Text in any encoding ----
// The first byte of an input says which encoding is claimed.

size_t EatEncodedText(const std::string& input)
{
    if (input.empty())
        return 0;
    const unsigned choice = static_cast<unsigned char>(input[0]);
    const std::string bytes = input.substr(1);
    const Walled walled(bytes);
    const bool isClaimed = choice >= 0xF0 || choice < 0x20;
    const auto encoding = static_cast<SInputTextStream::Encoding>(isClaimed ? choice % 5 : 0);
    SInputGlobal source(walled.Bytes(), SizeOf(bytes));
    SInputTextStream replaced(source, SInputTextStream::kReplaceMalformed, encoding);
    Require(replaced.GetEncoding() != SInputTextStream::kDetect, "an encoding is found");
    const std::wstring text(replaced.GetText().begin(), replaced.GetText().end());
    Require(text.size() <= bytes.size(), "no more characters than bytes");

    const auto at = [&text](size_t i) { return i < text.size() ? text[i] : L'\0'; };
    size_t length = 0;
    int lines = 0;
    for (SString line; replaced.ReadLine(line); ++lines) {
        Require(line.FindPos(L'\n') < 0 && line.FindPos(L'\r') < 0, "a line holds no end");
        Require(text.compare(length, static_cast<size_t>(line.Length()), line.begin(),
                             static_cast<size_t>(line.Length())) == 0,
                "lines are parts of the text");
        length += static_cast<size_t>(line.Length());
        length += at(length) == L'\r' && at(length + 1) == L'\n' ? 2 : 1;
    }
    Require(length >= text.size() && lines == replaced.GetLineNo(), "they make up all of it");

    SInputGlobal again(walled.Bytes(), SizeOf(bytes));
    try {
        const SInputTextStream strict(again, SInputTextStream::kThrowMalformed, encoding);
        Require(strict.GetEncoding() == replaced.GetEncoding() && strict.GetText() == replaced.GetText(),
                "well-formed text is the same either way");
    }
    catch (const SEEncodingException&) {
        Require(text.find(wchar_t(0xFFFD)) != text.npos, "what is malformed is shown");
    }
    return sizeof(wchar_t) * text.size();
}

Inputs EncodedSeeds()
{
    const std::wstring text = L"line one\r\nz\u00E4hle \u20AC\n\n\U0001F600 end";
    const std::string utf8 = "line one\r\nz\xC3\xA4hle \xE2\x82\xAC\n\n\xF0\x9F\x98\x80 end";
    const std::string utf16 = Raw(text);
    std::string big = utf16;
    for (size_t i = 0; i + 1 < big.size(); i += 2)
        std::swap(big[i], big[i + 1]);
    const auto detect = [](const std::string& bytes) { return " " + bytes; };
    return { detect(utf8),
             detect("\xEF\xBB\xBF" + utf8),
             detect("\xFF\xFE" + utf16),
             detect("\xFE\xFF" + big),
             detect("caf\xE9 au lait\rand more"),
             "\x01" + utf8,
             "\x02" + utf8,
             "\x03" + utf16,
             "\x04" + big };
}

} // namespace

const Target kBinaryTarget = { "binary",
                               BinarySeeds,
                               { "\xFF", "\xFF\xFF\xFF", "\xFE",
                                 std::string("\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 7), std::string(4, '\0') },
                               EatBinary,
                               1,
                               false };
const Target kInflateTarget = { "inflate", DeflatedSeeds, { std::string("\0\0\xFF\xFF", 4) }, EatDeflated,
                                1,         false };
const Target kTextStreamTarget = { "textstream",
                                   EncodedSeeds,
                                   { "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", "\r", "\n", "\xED\xA0\x80" },
                                   EatEncodedText,
                                   1,
                                   false };
