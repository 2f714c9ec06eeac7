// filelook.cpp: what files hold: sniffing a file's type, comparing two files.
#include "sfile.h"

#include "systempath.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// ---- Types ----

enum ContentType : short { kUnknown = 0, kBitmap = 1, kPlaceable = 2, kMetafile = 4, kJpeg = 5, kGif = 6 };

constexpr DWORD kLookedAt = 512;
constexpr unsigned kBitmapMark = 0x4D42;
constexpr unsigned kPlaceableMark = 0x9AC6CDD7;
constexpr unsigned kEnhancedMark = 0x464D4520;
constexpr DWORD kBitmapHeader = 14, kPlaceableHeader = 22, kMetafileHeader = 18, kEnhancedHeader = 108;

template <class T>
unsigned At(const unsigned char* bytes, DWORD offset)
{
    T value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

bool Is(const unsigned char* bytes, DWORD count, DWORD offset, const char* text, DWORD length)
{
    return count >= offset + length && std::memcmp(bytes + offset, text, length) == 0;
}

// XML has no number of its own: like every type that is not told apart, it is unknown.
ContentType TypeOf(const unsigned char* bytes, DWORD count)
{
    if (count >= kBitmapHeader && At<UINT16>(bytes, 0) == kBitmapMark)
        return kBitmap;
    if (count >= kPlaceableHeader && At<UINT32>(bytes, 0) == kPlaceableMark)
        return kPlaceable;
    if (count >= kMetafileHeader && At<UINT32>(bytes, 6) >= kMetafileHeader && At<UINT16>(bytes, 0) == 1)
        return kMetafile;
    if (count >= kEnhancedHeader && At<UINT32>(bytes, 0) == 1) {
        if (At<UINT32>(bytes, 4) >= kEnhancedHeader && At<UINT32>(bytes, 40) == kEnhancedMark)
            return kMetafile;
    } else if (Is(bytes, count, 0, "GIF", 3)) {
        return kGif;
    }
    return Is(bytes, count, 6, "JFIF", 5) ? kJpeg : kUnknown;
}

// ---- Comparing ----

constexpr DWORD kPiece = 16384;
constexpr int kCannotCompare = -2;

class ComparedFile {
public:
    explicit ComparedFile(const SString& path)
        : m_file(::CreateFileW(SystemPath(path), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~ComparedFile()
    {
        if (m_file != INVALID_HANDLE_VALUE)
            ::CloseHandle(m_file);
    }
    ComparedFile(const ComparedFile&) = delete;
    ComparedFile& operator=(const ComparedFile&) = delete;

    // Whether the file is open and its size has 32 bits.
    bool GetSize(DWORD& size) const
    {
        if (m_file == INVALID_HANDLE_VALUE)
            return false;
        DWORD high = 0;
        size = ::GetFileSize(m_file, &high);
        return high == 0 && (size != INVALID_FILE_SIZE || ::GetLastError() == NO_ERROR);
    }
    bool Read(void* buffer, DWORD count) const
    {
        DWORD got = 0;
        return ::ReadFile(m_file, buffer, count, &got, nullptr) && got == count;
    }

private:
    HANDLE m_file;
};

typedef std::unique_ptr<unsigned char, decltype(&std::free)> Buffer;

Buffer NewBuffer()
{
    return Buffer(static_cast<unsigned char*>(std::malloc(kPiece)), std::free);
}

} // namespace

long SFile::GetContentType(short* type)
{
    if (!type)
        return SFileCode::kNullPointer;
    *type = kUnknown;
    if (!Exists())
        return 0;
    unsigned char bytes[kLookedAt];
    DWORD count = sizeof bytes;
    long read;
    if (m_file) {
        // Opened by this object, perhaps for nobody else: its own handle can read in any case.
        DWORD position = 0;
        if (!SavePosition(&position) || !RestorePosition(0))
            return SFileCode::kSeek;
        read = Read(bytes, &count);
        RestorePosition(position);
    } else {
        SFile file;
        file.m_fullName = m_fullName;
        const long opened =
            file.OpenWith(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL, SFileCode::kOpen);
        if (opened < 0)
            return opened;
        read = file.Read(bytes, &count);
    }
    if (read >= 0)
        *type = TypeOf(bytes, count);
    return read;
}

int SFile::CompareBinaryFiles(const wchar_t* a, const wchar_t* b)
{
    if (!a || !b || *a == L'\0' || *b == L'\0')
        return kCannotCompare;
    const ComparedFile first{ SString(a) }, second{ SString(b) };
    DWORD size, otherSize;
    if (!first.GetSize(size) || !second.GetSize(otherSize))
        return kCannotCompare;
    if (size != otherSize)
        return size < otherSize ? 1 : -1;
    if (size == 0)
        return 0;
    const Buffer bytes = NewBuffer(), otherBytes = NewBuffer();
    if (!bytes || !otherBytes)
        return 0;
    // The last piece decides: that is what the callers have always been told. Those before it are read all the same, since a
    // file that cannot be read has no answer.
    DWORD count = 0;
    for (DWORD left = size; left > 0; left -= count) {
        count = left < kPiece ? left : kPiece;
        if (!first.Read(bytes.get(), count) || !second.Read(otherBytes.get(), count))
            return kCannotCompare;
    }
    const int order = std::memcmp(bytes.get(), otherBytes.get(), count);
    return order < 0 ? -1 : order > 0;
}
