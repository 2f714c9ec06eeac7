// cfaceencoding.cpp: text and bytes for the flat face, in whatever encoding.
#include "cface.h"

#include "bloblock.h"
#include "converted.h"
#include "sexcept.h"
#include "smemstream.h"
#include "stextin.h"

#include <climits>
#include <cstring>

namespace {

constexpr wchar_t kReplacement = 0xFFFD;
constexpr char kReplacementByte = '?';

typedef SInputTextStream Reader;

const struct {
    int32_t encoding;
    Reader::Encoding reader;
} kReaders[] = {
    { CV_DETECT, Reader::kDetect },
    { CV_ANSI, Reader::kAnsi },
    { CV_UTF8, Reader::kUtf8 },
    { CV_UTF16_LE, Reader::kUtf16LittleEndian },
    { CV_UTF16_BE, Reader::kUtf16BigEndian },
};

void CheckDamage(int32_t damage)
{
    FaceInRange(damage, CV_REFUSE, CV_REPLACE, L"what is to become of damage");
}

void CheckPage(int32_t encoding)
{
    if (encoding < 0 || !::IsValidCodePage(static_cast<UINT>(encoding)))
        FaceRefuse(CV_E_RANGE, L"the system does not have this encoding");
}

[[noreturn]] void RefuseText()
{
    FaceRefuse(CV_E_ENCODING, L"the encoding does not hold all of the text");
}

// What the system says when it converts nothing.
[[noreturn]] void FailConversion()
{
    const DWORD why = ::GetLastError();
    if (why == ERROR_NO_UNICODE_TRANSLATION)
        FaceRefuse(CV_E_ENCODING, L"malformed text");
    if (why == ERROR_NOT_ENOUGH_MEMORY || why == ERROR_OUTOFMEMORY)
        throw SEOutOfMemory(S_HERE);
    throw FaceRefusal{ CV_E_EXCEPTION, L"the system could not convert the text", SString(), why };
}

// ---- Reading ----

SString FromBytes(const unsigned char* bytes, int size)
{
    SString text;
    if (size == 0)
        return text;
    wchar_t* const to = text.GetBufferSetLength(size);
    for (int i = 0; i < size; ++i)
        to[i] = bytes[i];
    return SString(to, to + size); // unlocking would take the first NUL for the end
}

SString FromPage(const char* bytes, int size, UINT page, int32_t damage)
{
    SString text;
    if (size == 0)
        return text;
    // A few code pages take no flags at all.
    DWORD flags = damage == CV_REFUSE ? MB_ERR_INVALID_CHARS : 0;
    int units = ::MultiByteToWideChar(page, flags, bytes, size, nullptr, 0);
    if (units == 0 && ::GetLastError() == ERROR_INVALID_FLAGS) {
        flags = 0;
        units = ::MultiByteToWideChar(page, flags, bytes, size, nullptr, 0);
    }
    if (units == 0)
        FailConversion();
    wchar_t* const to = text.GetBufferSetLength(units);
    if (::MultiByteToWideChar(page, flags, bytes, size, to, units) != units)
        FailConversion();
    return SString(to, to + units);
}

// ---- Writing ----

// Where the first half of a surrogate pair stands alone, from `at` on; the length when there is none.
int FirstHalf(const SString& text, int at)
{
    const wchar_t* const units = text;
    for (const int length = text.Length(); at < length; ++at) {
        const unsigned kind = units[at] & 0xFC00u;
        if (kind == 0xD800 && (units[at + 1] & 0xFC00u) == 0xDC00)
            ++at;
        else if (kind == 0xD800 || kind == 0xDC00)
            return at;
    }
    return at;
}

// The text in whole characters.
SString Whole(const SString& text, int32_t damage)
{
    SString whole(text);
    for (int at = FirstHalf(whole, 0); at < whole.Length(); at = FirstHalf(whole, at + 1)) {
        if (damage == CV_REFUSE)
            FaceRefuse(CV_E_ENCODING, L"the text holds half a surrogate pair");
        whole.SetAt(at, kReplacement);
    }
    return whole;
}

template <class Fill>
SBlob Bytes(unsigned long size, Fill fill)
{
    SBlob bytes;
    if (!FillBlob(bytes, size, fill))
        throw SEOutOfMemory(S_HERE);
    return bytes;
}

SBlob ToUtf8(const SString& text)
{
    SBlob bytes;
    if (!bytes.SetAsText(text)) // the text is whole, so it is for want of memory
        throw SEOutOfMemory(S_HERE);
    return bytes;
}

SBlob ToUtf16(const SString& text, bool big)
{
    return Bytes(static_cast<unsigned long>(text.LengthByte()), [&](unsigned char* to) {
        for (const wchar_t c : text) {
            to[big ? 1 : 0] = static_cast<unsigned char>(c);
            to[big ? 0 : 1] = static_cast<unsigned char>(c >> 8);
            to += 2;
        }
    });
}

SBlob ToBytes(const SString& text, int32_t damage)
{
    for (const wchar_t c : text) {
        if (c > 0xFF && damage == CV_REFUSE)
            RefuseText();
    }
    return Bytes(static_cast<unsigned long>(text.Length()), [&](unsigned char* to) {
        for (const wchar_t c : text)
            *to++ = static_cast<unsigned char>(c > 0xFF ? kReplacementByte : c);
    });
}

SBlob ToPage(const SString& text, UINT page, int32_t damage)
{
    if (text.IsEmpty())
        return Bytes(0, [](unsigned char*) {});
    DWORD flags = WC_NO_BEST_FIT_CHARS;
    int size = ::WideCharToMultiByte(page, flags, text, text.Length(), nullptr, 0, nullptr, nullptr);
    if (size == 0 && ::GetLastError() == ERROR_INVALID_FLAGS) {
        flags = 0;
        size = ::WideCharToMultiByte(page, flags, text, text.Length(), nullptr, 0, nullptr, nullptr);
    }
    if (size == 0)
        FailConversion();
    SBlob bytes = Bytes(static_cast<unsigned long>(size), [&](unsigned char* to) {
        ::WideCharToMultiByte(page, flags, text, text.Length(), reinterpret_cast<char*>(to), size, nullptr,
                              nullptr);
    });
    if (damage == CV_REFUSE) {
        // Not every code page tells whether it used its default character. What comes back tells.
        const BlobBytes made(bytes);
        if (FromPage(reinterpret_cast<const char*>(made.Data()), size, page, CV_REPLACE) != text)
            RefuseText();
    }
    return bytes;
}

SBlob Marked(const SBlob& text, int32_t encoding)
{
    static constexpr unsigned char kUtf8Mark[] = { 0xEF, 0xBB, 0xBF };
    static constexpr unsigned char kLittleMark[] = { 0xFF, 0xFE };
    static constexpr unsigned char kBigMark[] = { 0xFE, 0xFF };
    const unsigned char* const mark = encoding == CV_UTF8       ? kUtf8Mark
                                      : encoding == CV_UTF16_LE ? kLittleMark
                                      : encoding == CV_UTF16_BE ? kBigMark
                                                                : nullptr;
    if (!mark)
        FaceRefuse(CV_E_RANGE, L"this encoding has no byte-order mark");
    const unsigned long length = encoding == CV_UTF8 ? 3 : 2;
    const BlobBytes bytes(text);
    return Bytes(length + bytes.Size(), [&](unsigned char* to) {
        std::memcpy(to, mark, length);
        if (bytes.Size() > 0)
            std::memcpy(to + length, bytes.Data(), bytes.Size());
    });
}

} // namespace

SString FaceDecoded(const void* bytes, uint32_t size, int32_t encoding, int32_t damage, int32_t* used)
{
    CheckDamage(damage);
    if (!bytes && size > 0)
        FaceRefuse(CV_E_NULL, L"the bytes are null and have a size");
    if (size > static_cast<uint32_t>(INT_MAX))
        FaceRefuse(CV_E_RANGE, L"there are more than 2 GiB of bytes");
    if (used)
        *used = encoding;
    for (const auto& known : kReaders) {
        if (known.encoding != encoding)
            continue;
        SInputGlobal in(bytes, size);
        const Reader reader(in, damage == CV_REFUSE ? Reader::kThrowMalformed : Reader::kReplaceMalformed,
                            known.reader);
        for (const auto& other : kReaders) {
            if (used && other.reader == reader.GetEncoding())
                *used = other.encoding;
        }
        return reader.GetText();
    }
    if (encoding == CV_BYTES)
        return FromBytes(static_cast<const unsigned char*>(bytes), static_cast<int>(size));
    CheckPage(encoding);
    return FromPage(static_cast<const char*>(bytes), static_cast<int>(size), static_cast<UINT>(encoding),
                    damage);
}

SBlob FaceEncoded(const SString& text, int32_t encoding, int32_t damage, bool mark)
{
    CheckDamage(damage);
    SBlob bytes;
    switch (encoding) {
    case CV_UTF8: bytes = ToUtf8(Whole(text, damage)); break;
    case CV_UTF16_LE:
    case CV_UTF16_BE: bytes = ToUtf16(Whole(text, damage), encoding == CV_UTF16_BE); break;
    case CV_BYTES: bytes = ToBytes(text, damage); break;
    default:
        if (encoding != CV_ANSI)
            CheckPage(encoding);
        bytes = ToPage(text, static_cast<UINT>(encoding), damage);
    }
    return mark ? Marked(bytes, encoding) : bytes;
}

// ---- The functions ----

cv_result CVCORE_CALL cv_text_decode(const void* bytes, uint32_t size, int32_t encoding, int32_t damage,
                                     cv_string* text)
{
    return FaceCall(__func__, [&] {
        SString& to = FaceText(text);
        to = FaceDecoded(bytes, size, encoding, damage, nullptr);
    });
}

cv_result CVCORE_CALL cv_text_encode(const cv_char* text, int32_t length, int32_t encoding, int32_t damage,
                                     cv_blob* blob)
{
    return FaceCall(__func__, [&] {
        SBlob& to = FaceFreeBlob(blob);
        to = FaceEncoded(FaceGiven(text, length), encoding, damage, false);
    });
}

cv_result CVCORE_CALL cv_text_detect(const void* bytes, uint32_t size, int32_t* encoding)
{
    return FaceCall(__func__, [&] {
        int32_t used = CV_DETECT;
        int32_t& result = FaceOutput(encoding);
        FaceDecoded(bytes, size, CV_DETECT, CV_REPLACE, &used);
        result = used;
    });
}
