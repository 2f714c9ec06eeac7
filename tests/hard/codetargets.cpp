// Bytes as text: Base64, hexadecimal pairs, uuencode lines; each beside a plain model.
#include "targets.h"

#include "base64.h"
#include "shglobal.h"
#include "strbuffer.h"

#include <cstring>

namespace {

std::string BytesOf(SBlob& blob)
{
    const void* const bytes = blob.LockForRead();
    if (!bytes)
        return std::string();
    const std::string copy(static_cast<const char*>(bytes), blob.GetSize());
    blob.Unlock();
    return copy;
}
SBlob BlobOf(const std::string& bytes)
{
    SBlob blob;
    if (bytes.empty() || !blob.Alloc(static_cast<unsigned long>(bytes.size())))
        return blob;
    bytes.copy(static_cast<char*>(blob.Lock()), bytes.size());
    blob.Unlock();
    return blob;
}
const Inputs& Contents()
{
    static const Inputs contents = [] {
        Inputs made = { "", "a", "ab", "abc", std::string("\0\xFF\x80", 3) };
        std::string all;
        for (int i = 0; i < 256; ++i)
            all += static_cast<char>(i);
        made.push_back(all);
        return made;
    }();
    return contents;
}
template <class Encode>
Inputs Encoded(Encode encode)
{
    Inputs seeds;
    for (const std::string& content : Contents())
        seeds.push_back(Raw(encode(BlobOf(content))));
    return seeds;
}

// ---- Base64 ----

int Base64Value(wchar_t c)
{
    static const wchar_t kAlphabet[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const wchar_t* const at = c ? SSafeStrChr(kAlphabet, c) : nullptr;
    return at ? static_cast<int>(at - kAlphabet) : -1;
}

std::string PlainBase64(const SString& text)
{
    std::string bytes;
    unsigned group = 0;
    int digits = 0;
    for (const wchar_t c : text) {
        const int value = Base64Value(c);
        if (value < 0)
            break;
        group = group << 6 | static_cast<unsigned>(value);
        if (++digits % 4 == 0)
            for (int shift = 16; shift >= 0; shift -= 8)
                bytes += static_cast<char>(group >> shift);
    }
    if (digits % 4 > 1)
        bytes += static_cast<char>(digits % 4 == 2 ? group >> 4 : group >> 10);
    if (digits % 4 == 3)
        bytes += static_cast<char>(group >> 2);
    return bytes;
}

size_t EatBase64(const std::string& input)
{
    const SString text = UnitsOf(input);
    SBlob blob;
    Require(Base64Tools::Base64Decode(text, blob) == 0, "reading answers 0");
    const std::string bytes = BytesOf(blob);
    Require(bytes == PlainBase64(text), "the bytes are those of the model");
    SString again;
    Base64Tools::Base64Encode(blob, again);
    SBlob same;
    Base64Tools::Base64Decode(again, same);
    Require(BytesOf(same) == bytes, "what is written reads as the same");
    // As bytes the input is good for the other way too.
    Base64Tools::Base64Encode(input.data(), static_cast<int>(input.size()), again);
    Base64Tools::Base64Decode(again, same);
    Require(BytesOf(same) == input, "any bytes come back");
    return 0;
}

Inputs Base64Seeds()
{
    return Encoded([](const SBlob& blob) {
        SString text;
        Base64Tools::Base64Encode(blob, text);
        return text;
    });
}

// ---- Hexadecimal pairs ----

size_t EatHex(const std::string& input)
{
    const SString text = UnitsOf(input);
    SBlob blob = BlobOf("kept");
    if (!blob.SetAsHex(text)) {
        Require(BytesOf(blob) == "kept", "a refusal changes nothing");
    } else {
        SStringBuffer digits;
        for (const wchar_t c : text) {
            if (c != L' ' && (c < L'\t' || c > L'\r'))
                digits.Append(c);
        }
        Require(blob.GetAsHex() == digits.Detach().ToUpper(), "the digits come back");
    }
    const std::string bytes = BytesOf(blob);
    const unsigned long size = static_cast<unsigned long>(bytes.size());
    const unsigned long perLine = input.empty() ? 0 : static_cast<unsigned char>(input[0]) % 9;
    SBlob same;
    Require(same.SetAsHex(SBlob::BytesToHex(bytes.data(), size, perLine, L" ", L"\r\n")) == 1 &&
                BytesOf(same) == bytes,
            "lines of pairs are read");
    return 0;
}

Inputs HexSeeds()
{
    Inputs seeds = Encoded([](const SBlob& blob) { return blob.GetAsHex(); });
    seeds.push_back(Raw(L"00 ff\t7A\r\n1 2\n"));
    return seeds;
}

// ---- uuencode ----

size_t EatUu(const std::string& input)
{
    const SString text = UnitsOf(input);
    SBlob blob = BlobOf("kept");
    if (!blob.SetAsUUElike(text))
        Require(BytesOf(blob) == "kept", "a refusal changes nothing");
    const std::string bytes = BytesOf(blob);
    Require(bytes.size() <= input.size() + 4, "no more bytes than characters");
    SBlob same;
    Require(same.SetAsUUElike(blob.GetAsUUElike()) == 1 && BytesOf(same) == bytes, "any bytes come back");
    return 0;
}

Inputs UuSeeds()
{
    Inputs seeds = Encoded([](const SBlob& blob) { return blob.GetAsUUElike(); });
    seeds.push_back(Raw(L"From: me\r\nbegin 644 file\r\n#86)C\r\n`\r\nend\r\n"));
    seeds.push_back(Raw(L"$86)C  \n"));
    return seeds;
}

} // namespace

const Target kBase64Target = { "base64",  Base64Seeds, { Raw(L"="), Raw(L"=="), Raw(L"+/"), Raw(L"A") },
                               EatBase64, 2,           false };
const Target kHexTarget = { "hex",  HexSeeds, { Raw(L" "), Raw(L"0g"), Raw(L"aF"), Raw(L"\r\n") },
                            EatHex, 2,        false };
const Target kUuTarget = { "uu",  UuSeeds, { Raw(L"`"), Raw(L"\n"), Raw(L"M"), Raw(L"begin "), Raw(L"\r\n") },
                           EatUu, 2,       false };
