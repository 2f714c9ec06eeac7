// Base64: the vectors of its standard, both ways of computing against a plain model, damage, sizes.
#include "base64.h"

#include "sexcept.h"

#include "support/importpatch.h"
#include "support/seed.h"
#include "support/stringhelp.h"

// The loops themselves, so that the way with tables is tested too where the processor has a better one.
#include "../core/src/base64kern.cpp"
#include "../core/src/processor.cpp"

#include <gtest/gtest.h>

#include <cpuid.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::wstring ModelEncode(const std::string& bytes)
{
    std::wstring text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (size_t k = 0; k < 4; ++k)
            text +=
                k <= bytes.size() - i ? static_cast<wchar_t>(kAlphabet[group >> (18 - 6 * k) & 63]) : L'=';
    }
    return text;
}

std::string ModelDecode(const std::wstring& text)
{
    std::string bytes;
    unsigned bits = 0, count = 0;
    for (wchar_t c : text) {
        const size_t value =
            c < 128 && c > 0 ? std::string(kAlphabet).find(static_cast<char>(c)) : std::string::npos;
        if (value == std::string::npos)
            break;
        bits = bits << 6 | static_cast<unsigned>(value);
        if (++count % 4 != 1)
            bytes += static_cast<char>(bits >> (count % 4 == 2 ? 4 : count % 4 == 3 ? 2 : 0));
    }
    return bytes;
}

HGLOBAL WINAPI NoGlobal(UINT, SIZE_T)
{
    return nullptr;
}

std::string Decode(const std::wstring& text)
{
    SBlob blob;
    EXPECT_EQ(0, Base64Tools::Base64Decode(SString(std::wstring_view(text)), blob));
    if (blob.GetSize() == 0)
        return "";
    const std::string bytes(static_cast<const char*>(blob.LockForRead()), blob.GetSize());
    blob.Unlock();
    return bytes;
}

std::wstring Encode(const std::string& bytes)
{
    SString text(L"old");
    EXPECT_EQ(0, Base64Tools::Base64Encode(bytes.data(), static_cast<int>(bytes.size()), text));
    return Wide(text);
}

} // namespace

TEST(Base64, FollowsItsStandard)
{
    const struct {
        std::string bytes;
        std::wstring text;
    } kCases[] = {
        { "", L"" },
        { "f", L"Zg==" },
        { "fo", L"Zm8=" },
        { "foo", L"Zm9v" },
        { "foob", L"Zm9vYg==" },
        { "fooba", L"Zm9vYmE=" },
        { "foobar", L"Zm9vYmFy" },
        { "M", L"TQ==" },
        { "Ma", L"TWE=" },
        { "Man", L"TWFu" },
        { "\xFB\xFF\xFE", L"+//+" },
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.text, Encode(c.bytes));
        EXPECT_EQ(c.bytes, Decode(c.text));
    }
    SString text(L"old");
    EXPECT_EQ(0, Base64Tools::Base64Encode(nullptr, 5, text));
    EXPECT_STREQ(L"", text);
    text = L"old";
    EXPECT_EQ(0, Base64Tools::Base64Encode("x", -1, text));
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(0, Base64Tools::Base64Encode(SBlob(), text));
    EXPECT_STREQ(L"", text);
}

TEST(Base64, EndsAtTheFirstCharacterThatIsNotOfIt)
{
    const struct {
        std::wstring text;
        std::string bytes;
    } kCases[] = {
        { L"TWFu\nTWFu", "Man" },
        { L"TWFu TWFu", "Man" },
        { L"TQ", "M" },
        { L"TWE", "Ma" },
        { L"T", "" },
        { L"TWFuT", "Man" },
        { L"====", "" },
        { L"TWFu=TWFu", "Man" },
        { L"\u0141WFu", "" },
        { L"TW\xFF21u", "M" },
        { L"TQ==", "M" },
    };
    for (const auto& c : kCases)
        EXPECT_EQ(c.bytes, Decode(c.text)) << testing::PrintToString(c.text);
    SBlob blob;
    blob.Alloc(3);
    EXPECT_EQ(0, Base64Tools::Base64Decode(SString(), blob));
    EXPECT_EQ(1, blob.IsNull());
}

TEST(Base64, EveryWayGivesWhatAPlainLoopGives)
{
    std::mt19937 random(TestSeed());
    for (int size = 0; size < 300; ++size) {
        std::string bytes;
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(random());
        const std::wstring text = ModelEncode(bytes);
        std::wstring damaged = text;
        if (!damaged.empty()) {
            static const wchar_t kDamage[] = L"=\n \x0080\x0141\xFF41-_@[`{,.:";
            damaged[random() % damaged.size()] = kDamage[random() % (std::size(kDamage) - 1)];
        }
        for (const Base64Kern::Way* way : { &Base64Kern::Plain(), &Base64Kern::Best() }) {
            std::wstring made(text.size() + 1, L'#');
            way->encode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), &made[0]);
            ASSERT_EQ(text + L'#', made);
            for (const std::wstring& input : { text, damaged }) {
                const size_t room = (input.size() * 3 + 3) / 4;
                std::string back(room + 1, '#');
                const size_t count =
                    way->decode(input.data(), input.size(), reinterpret_cast<unsigned char*>(&back[0]));
                ASSERT_EQ('#', back[room]) << "written past the room";
                ASSERT_EQ(ModelDecode(input), back.substr(0, count)) << testing::PrintToString(input);
            }
        }
        ASSERT_EQ(text, Encode(bytes));
        ASSERT_EQ(ModelDecode(damaged), Decode(damaged));
    }
}

TEST(Base64, BringsAllBytesBack)
{
    std::mt19937 random(TestSeed());
    const int cases = Cases(1000, kMillion);
    std::string bytes;
    SString text;
    SBlob back;
    for (int round = 0; round < cases; ++round) {
        bytes.resize(random() % 50);
        for (char& c : bytes)
            c = static_cast<char>(random());
        Base64Tools::Base64Encode(bytes.data(), static_cast<int>(bytes.size()), text);
        ASSERT_EQ((bytes.size() + 2) / 3 * 4, static_cast<size_t>(text.Length()));
        ASSERT_EQ(0, Base64Tools::Base64Decode(text, back));
        ASSERT_EQ(bytes.size(), back.GetSize()) << text;
        ASSERT_EQ(0, bytes.empty() ? 0 : std::memcmp(bytes.data(), back.LockForRead(), bytes.size())) << text;
        if (!bytes.empty())
            back.Unlock();
    }
}

TEST(Base64, WhatNoTextCanHoldIsOutOfMemory)
{
    SString text(L"old");
    // Not read: the text would be too long whatever the bytes are.
    EXPECT_THROW(Base64Tools::Base64Encode("x", 0x7FFFFFFF, text), SEOutOfMemory);
    EXPECT_STREQ(L"", text);
    SBlob blob;
    blob.Alloc(3);
    const ImportPatch alloc("CVCore16.dll", nullptr, "GlobalAlloc", NoGlobal);
    ASSERT_TRUE(alloc.Found());
    EXPECT_THROW(Base64Tools::Base64Decode(L"TWFu", blob), SEOutOfMemory);
    EXPECT_EQ(1, blob.IsNull());
}

// Wide registers that are left in use slow down everything that the thread does with their lower halves from then on: reading RTF ran at
// half its speed behind one encoded blob.
TEST(Base64, LeavesNoWideRegistersInUse)
{
    unsigned a, b, c, d;
    constexpr unsigned kOsKeepsThem = 1u << 27, kTellsUse = 1u << 2, kUpperHalves = 1u << 2;
    if (!__get_cpuid(1, &a, &b, &c, &d) || !(c & kOsKeepsThem) ||
        !__get_cpuid_count(0xD, 1, &a, &b, &c, &d) || !(a & kTellsUse))
        GTEST_SKIP() << "this processor does not tell";
    const auto areInUse = [] {
        unsigned low, high;
        __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
        return (low & kUpperHalves) != 0;
    };
    for (const int bytes : { 12, 300, 3000 }) {
        const std::string plain(static_cast<size_t>(bytes), 'x');
        SString text;
        Base64Tools::Base64Encode(plain.data(), bytes, text);
        EXPECT_FALSE(areInUse()) << "encoding " << bytes;
        SBlob decoded;
        Base64Tools::Base64Decode(text, decoded);
        EXPECT_FALSE(areInUse()) << "decoding " << bytes;
    }
}
