// The binary form, byte for byte, and what short and damaged input gets.
#include "sstream.h"

#include "shglobal.h"
#include "sioexcept.h"
#include "smemstream.h"
#include "strmap.h"
#include "strtab.h"

#include "support/importpatch.h"
#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

std::string Bytes(const SOutputGlobal& out)
{
    return out.GetSize() ? std::string(static_cast<const char*>(out.GetBytes()), out.GetSize()) : "";
}

template <class T>
std::string Written(const T& value)
{
    SOutputGlobal bytes;
    SOutputBinaryStream out(bytes);
    out << value;
    return Bytes(bytes);
}

/// Reads from a text, and remembers how it was asked. One that cannot tell how much is left gives itself out in pieces.
class Source : public SInputStream {
public:
    explicit Source(std::string bytes, bool tells = true) : m_bytes(std::move(bytes)), m_tells(tells) {}
    unsigned long Read(void* data, unsigned long bytes, unsigned long unit) override
    {
        asked.push_back({ bytes, unit });
        const unsigned long got =
            std::min<unsigned long>(bytes, static_cast<unsigned long>(m_bytes.size() - m_at));
        m_bytes.copy(static_cast<char*>(data), got, m_at);
        m_at += got;
        return got;
    }
    unsigned long Available() override
    {
        return m_tells ? static_cast<unsigned long>(m_bytes.size() - m_at) : kUnknown;
    }

    bool IsAtEnd() const { return m_at == m_bytes.size(); }

    struct Call {
        unsigned long bytes, unit;
    };
    std::vector<Call> asked;

private:
    std::string m_bytes;
    bool m_tells;
    size_t m_at = 0;
};

template <class T>
T ReadBack(const std::string& bytes, bool tells = true)
{
    Source source(bytes, tells);
    SInputBinaryStream in(source);
    T value{};
    in >> value;
    EXPECT_EQ(tells ? 0 : SInputStream::kUnknown, in.Available()) << "something is left";
    return value;
}

std::string Le(unsigned long long value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i));
    return text;
}

template <class Error, class T>
SString FailureOf(const std::string& bytes, bool tells = true)
{
    Source source(bytes, tells);
    SInputBinaryStream in(source);
    T value{};
    try {
        in >> value;
    }
    catch (const Error& e) {
        return e.GetFullText();
    }
    ADD_FAILURE() << "nothing was thrown";
    return SString();
}

} // namespace

TEST(BinaryForm, OfNumbersIsLittleEndian)
{
    EXPECT_EQ("\xFE", Written(static_cast<unsigned char>(0xFE)));
    EXPECT_EQ("\x34\x12", Written(static_cast<unsigned short>(0x1234)));
    EXPECT_EQ("\xFE\xFF\xFF\xFF", Written(-2L));
    EXPECT_EQ("\x78\x56\x34\x92", Written(0x92345678ul));
    EXPECT_EQ(-2, ReadBack<long>("\xFE\xFF\xFF\xFF"));
    EXPECT_EQ(0x92345678ul, ReadBack<unsigned long>("\x78\x56\x34\x92"));
    EXPECT_EQ(0x1234, ReadBack<unsigned short>("\x34\x12"));
    EXPECT_EQ(0xFE, ReadBack<unsigned char>("\xFE"));

    const struct {
        SString text;
        const wchar_t* type;
    } kShort[] = {
        { FailureOf<SEEOFException, unsigned char>(""), L"unsigned char" },
        { FailureOf<SEEOFException, unsigned short>("x"), L"unsigned short" },
        { FailureOf<SEEOFException, long>("xyz"), L"long" },
        { FailureOf<SEEOFException, unsigned long>("xyz"), L"unsigned long" },
    };
    for (const auto& c : kShort) {
        const SString signature = SString::Concat(
            L"class SInputBinaryStream &__thiscall SInputBinaryStream::operator >>(", c.type, L" &)");
        EXPECT_NE(nullptr, c.text.Find(signature)) << c.text;
        EXPECT_NE(nullptr, c.text.Find(L"SEEOFException")) << c.text;
    }
}

TEST(BinaryForm, OfStringsHasALengthOfOneThreeOrSevenBytes)
{
    EXPECT_EQ(std::string("\x01\x00", 2), Written(SString()));
    EXPECT_EQ(std::string("\x03\xC3\xA9\x00", 4), Written(SString(L"\u00e9")));
    const struct {
        int length;
        std::string prefix;
    } kCases[] = {
        { 253, "\xFE" },
        { 254, "\xFF" + Le(255, 2) },
        { 65533, "\xFF" + Le(65534, 2) },
        { 65534, "\xFF\xFF\xFF" + Le(65535, 4) },
        { 65535, "\xFF\xFF\xFF" + Le(65536, 4) },
        { 200000, "\xFF\xFF\xFF" + Le(200001, 4) },
    };
    for (const auto& c : kCases) {
        const SString text(L'x', c.length);
        const std::string bytes = Written(text);
        EXPECT_EQ(c.prefix, bytes.substr(0, c.prefix.size()));
        EXPECT_EQ(c.prefix.size() + static_cast<size_t>(c.length) + 1, bytes.size());
        EXPECT_EQ(text, ReadBack<SString>(bytes));
        EXPECT_EQ(text, ReadBack<SString>(bytes, false)) << "from a stream that cannot tell its size";
    }
    EXPECT_EQ(SString(), ReadBack<SString>(std::string(1, '\0')));
    EXPECT_STREQ(L"ab", ReadBack<SString>("\x02"
                                          "ab"))
        << "without its terminator";
    EXPECT_STREQ(L"a\uFFFD", ReadBack<SString>(std::string("\x03"
                                                           "a\xFF\x00",
                                                           4)));
    const SString withNul(std::wstring_view(L"a\0b\0", 4));
    EXPECT_EQ(withNul, ReadBack<SString>(Written(withNul)));
    EXPECT_THROW(Written(SString(L"half \xD83D")), SEEncodingException);
    EXPECT_THROW(Written(SString(L'x', 5000) + wchar_t(0xDC00)), SEEncodingException);

    Source source(Written(SString(L'x', 300)));
    SInputBinaryStream in(source);
    SString text;
    in >> text;
    ASSERT_EQ(3u, source.asked.size());
    EXPECT_EQ(1u, source.asked[0].unit);
    EXPECT_EQ(2u, source.asked[1].unit) << "a number with its size";
    EXPECT_EQ(SInputStream::kRun, source.asked[2].unit) << "the text as one run";
}

TEST(BinaryForm, StringsThatEndTooEarlyAreNeverShort)
{
    const std::string whole = Written(SString(L'x', 70000));
    for (size_t cut : { size_t{ 0 }, size_t{ 1 }, size_t{ 2 }, size_t{ 6 }, size_t{ 7 }, size_t{ 40000 },
                        whole.size() - 1 }) {
        for (bool tells : { true, false })
            FailureOf<SEEOFException, SString>(whole.substr(0, cut), tells);
    }
    FailureOf<SEEOFException, SString>("\x05"
                                       "ab");
    const SString failure = FailureOf<SEIOException, SString>("\xFF\xFF\xFF" + Le(4000000, 4) + "0123456789");
    EXPECT_NE(nullptr, failure.Find(L"SEIOException: Invalid string in binary stream")) << failure;
    EXPECT_NE(nullptr, failure.Find(L" core/src/strclss(")) << failure;
    FailureOf<SEEOFException, SString>("\xFF\xFF\xFF" + Le(3145728, 4) + "0123456789");
    FailureOf<SEIOException, SString>("\xFF\xFF\xFF" + Le(3145729, 4) + "0123456789");
    FailureOf<SEEOFException, SString>("\xFF\xFF\xFF" + Le(4000000, 4) + "0123456789", false);
}

namespace {

size_t g_largest;
void* __cdecl MeasureRealloc(void* block, size_t bytes)
{
    g_largest = std::max(g_largest, bytes);
    return std::realloc(block, bytes);
}
void* __cdecl MeasureMalloc(size_t bytes)
{
    g_largest = std::max(g_largest, bytes);
    return std::malloc(bytes);
}
HGLOBAL WINAPI MeasureGlobal(UINT flags, SIZE_T bytes)
{
    g_largest = std::max<size_t>(g_largest, bytes);
    return ::GlobalAlloc(flags, bytes);
}

} // namespace

TEST(BinaryForm, ClaimsCostNoMemory)
{
    const ImportPatch patches[] = { ImportPatch("CVCore16.dll", nullptr, "realloc", MeasureRealloc),
                                    ImportPatch("CVCore16.dll", nullptr, "malloc", MeasureMalloc),
                                    ImportPatch("CVCore16.dll", nullptr, "GlobalAlloc", MeasureGlobal) };
    for (const ImportPatch& patch : patches)
        ASSERT_TRUE(patch.Found());
    const std::string body = "0123456789";
    for (bool tells : { true, false }) {
        g_largest = 0;
        FailureOf<SEEOFException, SString>("\xFF\xFF\xFF" + Le(3000000, 4) + body, tells);
        FailureOf<SEEOFException, SBlob>(Le(1000000, 4) + body, tells);
        FailureOf<SException, SBlob>(Le(0xF0000000, 4) + body, tells);
        FailureOf<SEEOFException, SStringTable>(Le(1000000, 4) + body, tells);
        FailureOf<SEEOFException, SStringMap>(Le(0xFFFFFFFF, 4) + body, tells);
        EXPECT_GE(0x100000u, g_largest) << tells;
    }
}

TEST(BinaryForm, OfBlobsIsTheirSizeAndTheirBytes)
{
    const auto blob = [](const std::string& bytes) {
        SBlob made;
        made.Alloc(static_cast<unsigned long>(bytes.size()));
        if (!bytes.empty())
            bytes.copy(static_cast<char*>(made.Lock()), bytes.size());
        made.Unlock();
        return made;
    };
    EXPECT_EQ(std::string(4, '\0'), Written(SBlob()));
    EXPECT_EQ(std::string("\x03\0\0\0a\0b", 7), Written(blob(std::string("a\0b", 3))));
    for (unsigned long size : { 1ul, 5000ul, 0x100001ul, 0x280000ul }) {
        const SBlob large = blob(std::string(size, 'x') + "end");
        EXPECT_EQ(large, ReadBack<SBlob>(Written(large)));
        EXPECT_EQ(large, ReadBack<SBlob>(Written(large), false));
    }
    Source nothing(std::string(4, '\0'));
    SInputBinaryStream in(nothing);
    SBlob kept = blob("kept");
    in >> kept;
    EXPECT_EQ(blob("kept"), kept) << "a size of 0 leaves the blob alone";

    const SString noSize = FailureOf<SEEOFException, SBlob>(std::string("\x05\0\0", 3));
    EXPECT_NE(nullptr, noSize.Find(L"operator >>(long &)")) << noSize;
    FailureOf<SEEOFException, SBlob>(std::string("\x05\0\0\0abcd", 8));
    FailureOf<SEEOFException, SBlob>(Le(0x100000, 4) + "abcd");
    const SString failure = FailureOf<SEIOException, SBlob>(Le(0x100001, 4) + "abcd");
    EXPECT_NE(nullptr, failure.Find(L"Invalid blob in binary stream (size would be greater than available)"))
        << failure;
    EXPECT_NE(nullptr, failure.Find(L" core/src/shglobal(")) << failure;
    try {
        Source source(Le(0x100001, 4));
        SInputBinaryStream in(source);
        in >> kept;
    }
    catch (const SEIOException& e) {
        EXPECT_EQ(static_cast<long>(0x80990040), e.GetError());
    }
    const SBlob unrecorded = [&] {
        SBlob made = blob("12345678");
        void* const memory = made.Detach();
        made.Attach(memory, SBlob::kNotRecorded);
        return made;
    }();
    EXPECT_EQ(Le(unrecorded.GetSize(), 4) + "12345678", Written(unrecorded).substr(0, 12))
        << "the memory's size";
}

namespace {

template <class Map>
void CheckMap(const char* first)
{
    Map map;
    map.Set(L"b", L"2");
    map.Set(L"a", L"");
    const std::string b("\x02"
                        "b\0\x02"
                        "2\0",
                        6),
        a("\x02"
          "a\0\x01\0",
          5);
    EXPECT_EQ(Le(2, 4) + (*first == 'a' ? a + b : b + a), Written(map));
    Source source(Written(map));
    SInputBinaryStream in(source);
    Map back;
    back.Set(L"c", L"3");
    back.Set(L"a", L"old");
    in >> back;
    EXPECT_EQ(3, back.Count()) << "added to what is there";
    EXPECT_STREQ(L"", *back.Find(L"a"));
}

} // namespace

TEST(BinaryForm, OfTablesAndMapsIsTheirCountAndTheirStrings)
{
    EXPECT_EQ(std::string(4, '\0'), Written(SStringTable()));
    const SStringTable table{ L"x", L"", L"\u20ac" };
    EXPECT_EQ(std::string("\x03\0\0\0\x02x\0\x01\0\x04\xE2\x82\xAC\0", 14), Written(table));
    EXPECT_EQ(table, ReadBack<SStringTable>(Written(table)));
    CheckMap<SStringMap>("a");
    CheckMap<SStringMapNoCase>("a");
    CheckMap<SStringUnsortedMap>("b");
    CheckMap<SStringUnsortedMapNoCase>("b");
}

namespace {

bool IsSame(const SBlob& a, const SBlob& b)
{
    return a.Compare(b) == 0;
}
template <class Map>
bool IsSameMap(const Map& a, const Map& b)
{
    return a.GetAsList(L';', L'\\') == b.GetAsList(L';', L'\\');
}
bool IsSame(const SStringMap& a, const SStringMap& b)
{
    return IsSameMap(a, b);
}
bool IsSame(const SStringUnsortedMapNoCase& a, const SStringUnsortedMapNoCase& b)
{
    return IsSameMap(a, b);
}
template <class T>
bool IsSame(const T& a, const T& b)
{
    return a == b;
}

SString RandomText(std::mt19937& random)
{
    constexpr unsigned kShort = 40, kLong = 3000, kOnceLong = 200;
    SString text;
    const unsigned length = random() % (random() % kOnceLong ? kShort : kLong);
    wchar_t* const units = text.GetBufferSetLength(static_cast<int>(length));
    for (unsigned i = 0; i < length; ++i)
        units[i] = static_cast<wchar_t>(random() % 3 ? 32 + random() % 90 : 0xE000 + random() % 0x1000);
    return text;
}

// Values of every kind that a binary stream takes, and what comes back of each.
class RandomValues {
public:
    explicit RandomValues(std::mt19937& random) : m_random(random) {}

    void WriteOne(SOutputBinaryStream& out)
    {
        const unsigned long number = m_random() >> m_random() % 32;
        switch (m_random() % 12) {
        case 0: Write(out, static_cast<unsigned char>(number)); break;
        case 1: Write(out, static_cast<unsigned short>(number)); break;
        case 2: Write(out, number); break;
        case 3: Write(out, static_cast<long>(number)); break;
        case 4: Write(out, BlobOf(RandomText(m_random))); break;
        case 5:
            Write(out, Filled<SStringTable>([this](SStringTable& t) { t.Add(RandomText(m_random)); }));
            break;
        case 6: Write(out, Map<SStringMap>()); break;
        case 7: Write(out, Map<SStringUnsortedMapNoCase>()); break;
        default: Write(out, RandomText(m_random)); break;
        }
    }
    void ReadAll(SInputBinaryStream& in) const
    {
        for (const auto& read : m_reads) {
            ASSERT_TRUE(read(in));
        }
    }

private:
    template <class T>
    void Write(SOutputBinaryStream& out, const T& value)
    {
        out << value;
        m_reads.push_back([value](SInputBinaryStream& in) {
            T back{};
            in >> back;
            return IsSame(value, back);
        });
    }
    template <class T, class Add>
    T Filled(Add add)
    {
        T filled;
        for (unsigned n = m_random() % 4; n > 0; --n)
            add(filled);
        return filled;
    }
    template <class M>
    M Map()
    {
        return Filled<M>([this](M& map) {
            const SString key = RandomText(m_random);
            map.Set(key, RandomText(m_random));
        });
    }
    static SBlob BlobOf(const SString& text)
    {
        SBlob blob;
        EXPECT_EQ(1, blob.SetAsText(text));
        return blob;
    }

    std::mt19937& m_random;
    std::vector<std::function<bool(SInputBinaryStream&)>> m_reads;
};

} // namespace

TEST(BinaryForm, BringsRandomValuesBackFromAnySource)
{
    constexpr int kTogether = 10;
    std::mt19937 random(TestSeed());
    const int cases = Cases(3000, kMillion);
    for (int done = 0; done < cases; done += kTogether) {
        SOutputGlobal bytes;
        SOutputBinaryStream out(bytes);
        RandomValues values(random);
        for (int i = 0; i < kTogether; ++i)
            values.WriteOne(out);
        Source source(Bytes(bytes), random() % 2 == 0);
        SInputBinaryStream in(source);
        values.ReadAll(in);
        ASSERT_FALSE(HasFatalFailure());
        ASSERT_TRUE(source.IsAtEnd());
    }
}

TEST(BinaryStreams, ForwardAndOwn)
{
    struct Counted : SInputGlobal {
        explicit Counted(int& ends) : SInputGlobal("abcdef", 6), m_ends(ends) {}
        ~Counted() override { ++m_ends; }
        int& m_ends;
    };
    int ends = 0;
    {
        SInputBinaryStream owner(new Counted(ends), true);
        EXPECT_EQ(6u, owner.Available());
        EXPECT_EQ(2u, owner.Skip(2));
        char bytes[9];
        EXPECT_EQ(4u, owner.Read(bytes, 9, 1));
        Counted borrowed(ends);
        SInputBinaryStream borrower(&borrowed, false);
        borrower.Close();
        EXPECT_EQ(6u, borrower.Available()) << "what is not owned is not closed";
    }
    EXPECT_EQ(2, ends) << "the owned one and the local one";
    EXPECT_STREQ("SInputBinaryStream", S_RUNTIME_CLASS(SInputBinaryStream)->name);
    EXPECT_EQ(S_RUNTIME_CLASS(SInputStream), S_RUNTIME_CLASS(SInputBinaryStream)->base);
}
