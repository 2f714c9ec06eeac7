// streamvalues.cpp: strings, blobs and maps in the binary form.
//
// A length that the input claims is not believed: memory grows with the bytes that really come.
#include "sstream.h"

#include "bloblock.h"
#include "narrow.h"
#include "shglobal.h"
#include "sioexcept.h"
#include "strclss.h"
#include "strmap.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <memory>

namespace {

// ---- Strings ----

const char kStringFile[] = "core/src/strclss";
constexpr wchar_t kInvalidString[] = L"Invalid string in binary stream";
constexpr unsigned long kLargestUnchecked = 0x300000;
constexpr unsigned char kShortFollows = 0xFF;
constexpr unsigned short kLongFollows = 0xFFFF;
constexpr unsigned long kShortUnits = 256;
constexpr unsigned long kShortBytes = 1024, kLocalBytes = 0x10000;

void WriteLength(SOutputBinaryStream& out, unsigned long n)
{
    if (n < kShortFollows) {
        out << static_cast<unsigned char>(n);
        return;
    }
    out << kShortFollows;
    if (n < kLongFollows)
        out << static_cast<unsigned short>(n);
    else
        out << kLongFollows << n;
}

unsigned long ReadLength(SInputBinaryStream& in)
{
    unsigned char byte;
    in >> byte;
    if (byte != kShortFollows)
        return byte;
    unsigned short word;
    in >> word;
    if (word != kLongFollows)
        return word;
    unsigned long n;
    in >> n;
    return n;
}

[[noreturn]] void ThrowEnd()
{
    throw SEEOFException(S_HERE);
}

void ReadRun(SInputBinaryStream& in, void* data, unsigned long bytes)
{
    if (in.Read(data, bytes, SInputStream::kRun) != bytes)
        ThrowEnd();
}

// The terminator is not part of the text. NULs inside are.
void AssignUtf8(SString& text, const char* bytes, unsigned long n)
{
    if (bytes[n - 1] == '\0')
        --n;
    const int length = static_cast<int>(n);
    if (n > 0 && n < kShortUnits) { // one conversion, and a buffer of the right class
        wchar_t local[kShortUnits];
        const int made = SUtf8String::UTF8ToWideChar(bytes, length, local, kShortUnits);
        // A terminator that the conversion appended is counted, one of the text's own is not.
        text = SString(local, local + (made > 0 && bytes[n - 1] != '\0' ? made - 1 : made));
        return;
    }
    const int units = length == 0 ? 0 : SUtf8String::UTF8ToWideChar(bytes, length, nullptr, 0);
    if (units == 0) {
        text.Empty();
        return;
    }
    SString read;
    wchar_t* const to = read.GetBufferSetLength(units);
    SUtf8String::UTF8ToWideChar(bytes, length, to, units + 1);
    // Unlocking ends a text at its first NUL.
    if (std::wmemchr(to, L'\0', static_cast<size_t>(units))) {
        text = SString(to, to + units);
    } else {
        read.UnlockTchar(units);
        text = std::move(read);
    }
}

// In a frame of its own, so that a short text does not pay for the room of a long one.
template <unsigned long kRoom>
S_NOINLINE void ReadLocal(SInputBinaryStream& in, SString& text, unsigned long n)
{
    char bytes[kRoom];
    ReadRun(in, bytes, n);
    AssignUtf8(text, bytes, n);
}

struct FreeBytes {
    void operator()(char* bytes) const { std::free(bytes); }
};
typedef std::unique_ptr<char, FreeBytes> HeapBytes;

void Resize(HeapBytes& bytes, unsigned long size)
{
    char* const grown = static_cast<char*>(std::realloc(bytes.get(), size));
    if (!grown)
        throw SEOutOfMemory(S_HERE);
    bytes.release();
    bytes.reset(grown);
}

// Reads n bytes with a buffer that doubles as they come; at once where the stream says that it has them.
HeapBytes ReadHeap(SInputBinaryStream& in, unsigned long n, unsigned long available)
{
    HeapBytes bytes;
    unsigned long room = available != SInputStream::kUnknown ? n : std::min(n, kLocalBytes);
    for (unsigned long done = 0; done < n;) {
        Resize(bytes, room);
        ReadRun(in, bytes.get() + done, room - done);
        done = room;
        room = n - room < room ? n : 2 * room;
    }
    return bytes;
}

} // namespace

SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SString& text)
{
    // Nearly all texts are short: those are converted once, in place.
    char local[kShortBytes];
    constexpr int kMostBytesPerUnit = 3;
    const int length = text.Length();
    if (length == 0) {
        WriteLength(out, 1);
        out.Write("", 1, SOutputStream::kRun);
        return out;
    }
    HeapBytes heap;
    char* bytes = local;
    int room = static_cast<int>(sizeof local);
    if (length > (room - 1) / kMostBytesPerUnit) {
        const int needed = SUtf8String::LengthByte(text, length);
        if (needed == 0)
            throw SEEncodingException(S_HERE, L"a text with half a surrogate pair");
        room = needed + 1;
        Resize(heap, static_cast<unsigned long>(room));
        bytes = heap.get();
    }
    // A text may end in a NUL of its own, so the terminator is ours to write.
    int made = SUtf8String::WideCharToUTF8(text, length, bytes, room);
    if (made == 0)
        throw SEEncodingException(S_HERE, L"a text with half a surrogate pair");
    if (text[length - 1] == L'\0')
        bytes[made++] = '\0';
    WriteLength(out, static_cast<unsigned long>(made));
    out.Write(bytes, static_cast<unsigned long>(made), SOutputStream::kRun);
    return out;
}

SInputBinaryStream& operator>>(SInputBinaryStream& in, SString& text)
{
    const unsigned long n = ReadLength(in);
    if (n == 0) {
        text.Empty();
        return in;
    }
    if (n <= kShortBytes) {
        ReadLocal<kShortBytes>(in, text, n);
        return in;
    }
    if (n < kLocalBytes) {
        ReadLocal<kLocalBytes>(in, text, n);
        return in;
    }
    const unsigned long available = in.Available();
    if (n > available && n > kLargestUnchecked)
        throw SEIOException(S_FUNCTION, kStringFile, __LINE__, kInvalidStreamLength, kInvalidString);
    if (n > static_cast<unsigned long>(SString::kMaxLength))
        throw SEOutOfMemory(S_HERE);
    AssignUtf8(text, ReadHeap(in, n, n > available ? SInputStream::kUnknown : available).get(), n);
    return in;
}

// ---- Blobs ----

namespace {

const char kBlobFile[] = "core/src/shglobal";
constexpr wchar_t kInvalidBlob[] = L"Invalid blob in binary stream (size would be greater than available)";
constexpr unsigned long kLargestUncheckedBlob = 0x100000;
constexpr unsigned long kBlobPiece = 0x100000;

} // namespace

SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SBlob& blob)
{
    const BlobBytes bytes(blob);
    out << bytes.Size();
    if (bytes.Size() > 0)
        out.Write(bytes.Data(), bytes.Size(), SOutputStream::kRun);
    return out;
}

SInputBinaryStream& operator>>(SInputBinaryStream& in, SBlob& blob)
{
    long stored;
    in >> stored; // as a signed number: a short read says so
    const unsigned long size = static_cast<unsigned long>(stored);
    if (size == 0)
        return in;
    const unsigned long available = in.Available();
    if (size > available && size > kLargestUncheckedBlob)
        throw SEIOException(S_FUNCTION, kBlobFile, __LINE__, kInvalidStreamLength, kInvalidBlob);
    SBlob read;
    const bool isThere = available != SInputStream::kUnknown && available >= size;
    unsigned long room = isThere ? size : std::min(size, kBlobPiece);
    for (unsigned long done = 0; done < size;) {
        if (!(done == 0 ? read.Alloc(room) : read.Realloc(room)))
            throw SEOutOfMemory(S_HERE);
        char* const bytes = static_cast<char*>(read.Lock());
        if (!bytes)
            throw SEOutOfMemory(S_HERE);
        struct Unlocker {
            SBlob& blob;
            ~Unlocker() { blob.Unlock(); }
        } const unlocker{ read };
        ReadRun(in, bytes + done, room - done);
        done = room;
        room = size - room < room ? size : 2 * room;
    }
    blob = std::move(read);
    return in;
}

// ---- Maps ----

namespace {

template <class Map>
SOutputBinaryStream& WriteMap(SOutputBinaryStream& out, const Map& map)
{
    out << static_cast<unsigned long>(map.Count());
    for (const auto& [key, value] : map)
        out << key << value;
    return out;
}

template <class Map>
SInputBinaryStream& ReadMap(SInputBinaryStream& in, Map& map)
{
    unsigned long count;
    in >> count;
    SString key, value;
    for (; count > 0; --count) {
        in >> key >> value;
        map.Set(key, value);
    }
    return in;
}

} // namespace

SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringMap& map)
{
    return WriteMap(out, map);
}
SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringMapNoCase& map)
{
    return WriteMap(out, map);
}
SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringUnsortedMap& map)
{
    return WriteMap(out, map);
}
SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringUnsortedMapNoCase& map)
{
    return WriteMap(out, map);
}
SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringMap& map)
{
    return ReadMap(in, map);
}
SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringMapNoCase& map)
{
    return ReadMap(in, map);
}
SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringUnsortedMap& map)
{
    return ReadMap(in, map);
}
SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringUnsortedMapNoCase& map)
{
    return ReadMap(in, map);
}
