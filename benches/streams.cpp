// streams.cpp: the binary streams beside std::stringbuf and by-hand conversion of texts.
#include "bench.h"

#include "smemstream.h"
#include "sstream.h"
#include "strclss.h"

#include <windows.h>

#include <cstring>
#include <sstream>
#include <string>

namespace {

const int kNumbers = 10000;
const int kTexts = 1000;

unsigned long Sum(const void* bytes, unsigned long size)
{
    const unsigned char* const all = static_cast<const unsigned char*>(bytes);
    return size + 3u * all[size / 2] + 7u * all[size - 1];
}

// ---- Numbers ----

unsigned long PutOurs(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SOutputGlobal bytes;
        SOutputBinaryStream out(bytes);
        for (long j = 0; j < kNumbers; ++j)
            out << j;
        sum += Sum(bytes.GetBytes(), bytes.GetSize());
    }
    return sum;
}

unsigned long PutStd(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::stringbuf out(std::ios::out);
        for (long j = 0; j < kNumbers; ++j)
            out.sputn(reinterpret_cast<const char*>(&j), sizeof j);
        const std::string bytes = out.str();
        sum += Sum(bytes.data(), static_cast<unsigned long>(bytes.size()));
    }
    return sum;
}

const std::string& NumberBytes()
{
    static const std::string bytes = [] {
        std::string made;
        for (long j = 0; j < kNumbers; ++j)
            made.append(reinterpret_cast<const char*>(&j), sizeof j);
        return made;
    }();
    return bytes;
}

unsigned long GetOurs(Run& run)
{
    const std::string& bytes = NumberBytes();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SInputGlobal memory(bytes.data(), static_cast<unsigned long>(bytes.size()));
        SInputBinaryStream in(memory);
        for (long j = 0; j < kNumbers; ++j) {
            unsigned long number;
            in >> number;
            sum += number;
        }
    }
    return sum;
}

unsigned long GetStd(Run& run)
{
    static std::stringbuf in(NumberBytes(), std::ios::in);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        in.pubseekpos(0, std::ios::in);
        for (long j = 0; j < kNumbers; ++j) {
            unsigned long number;
            in.sgetn(reinterpret_cast<char*>(&number), sizeof number);
            sum += number;
        }
    }
    return sum;
}

// ---- Texts of 20 characters: a byte with the length, then UTF-8 with its zero ----

const std::wstring& Text()
{
    static const std::wstring text = Letters(20);
    return text;
}

unsigned long PutTextOurs(Run& run)
{
    static const SString text(Text().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SOutputGlobal bytes;
        SOutputBinaryStream out(bytes);
        for (int j = 0; j < kTexts; ++j)
            out << text;
        sum += Sum(bytes.GetBytes(), bytes.GetSize());
    }
    return sum;
}

void PutText(std::string& out, const std::wstring& text)
{
    char room[100];
    const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()) + 1,
                                             room, sizeof room, nullptr, nullptr);
    out += static_cast<char>(length);
    out.append(room, static_cast<size_t>(length));
}

unsigned long PutTextSystem(Run& run)
{
    const std::wstring& text = Text();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::string bytes;
        for (int j = 0; j < kTexts; ++j)
            PutText(bytes, text);
        sum += Sum(bytes.data(), static_cast<unsigned long>(bytes.size()));
    }
    return sum;
}

const std::string& TextBytes()
{
    static const std::string bytes = [] {
        std::string made;
        for (int j = 0; j < kTexts; ++j)
            PutText(made, Text());
        return made;
    }();
    return bytes;
}

unsigned long GetTextOurs(Run& run)
{
    const std::string& bytes = TextBytes();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SInputGlobal memory(bytes.data(), static_cast<unsigned long>(bytes.size()));
        SInputBinaryStream in(memory);
        for (int j = 0; j < kTexts; ++j) {
            SString text;
            in >> text;
            sum += static_cast<unsigned long>(text.Length()) + text[19];
        }
    }
    return sum;
}

unsigned long GetTextSystem(Run& run)
{
    const std::string& bytes = TextBytes();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const char* at = bytes.data();
        for (int j = 0; j < kTexts; ++j) {
            const int length = static_cast<unsigned char>(*at++);
            wchar_t room[100];
            const int chars = ::MultiByteToWideChar(CP_UTF8, 0, at, length, room, 100);
            const std::wstring text(room, static_cast<size_t>(chars) - 1);
            at += length;
            sum += static_cast<unsigned long>(text.size()) + text[19];
        }
    }
    return sum;
}

const Row kRows[] = {
    { "ser.put.long", Nanoseconds(kNumbers), AtMost(0.3), PutOurs, { { "std::stringbuf", PutStd } } },
    { "ser.get.long", Nanoseconds(kNumbers), AtMost(0.4), GetOurs, { { "std::stringbuf", GetStd } } },
    { "ser.put.str",
      Nanoseconds(kTexts),
      AtMost(0.25),
      PutTextOurs,
      { { "convert + std::string", PutTextSystem } } },
    { "ser.get.str",
      Nanoseconds(kTexts),
      AtMost(0.2),
      GetTextOurs,
      { { "convert + std::wstring", GetTextSystem } } },
};

} // namespace

extern const Subject kStreams;
const Subject kStreams = { "streams", [](Bench& bench) { bench.Compare(kRows); } };
