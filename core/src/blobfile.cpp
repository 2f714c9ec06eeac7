// blobfile.cpp: blobs from files and into files.
#include "shglobal.h"

#include "bloblock.h"
#include "safefile.h"
#include "sfile.h"

namespace {

long NameAnew(SFile& file, const SString& path)
{
    const long closed = file.Close();
    return closed < 0 ? closed : file.Init(path);
}

} // namespace

long SBlob::ReadFromFile(const SString& path)
{
    SFile file;
    return ReadFromFile(path, file);
}

long SBlob::ReadFromFile(const SString& path, SFile& file)
{
    const bool wasOpen = file.IsOpen() && file.GetFullName().CompareNoCase(path) == 0;
    if (!wasOpen) {
        const long named = NameAnew(file, path);
        if (named < 0)
            return named;
        const long opened = file.OpenExisting(FILE_SHARE_READ | FILE_SHARE_WRITE);
        if (opened < 0)
            return opened;
    }
    struct Closer {
        SFile* file;
        ~Closer()
        {
            if (file)
                file->Close();
        }
    } const closer{ wasOpen ? nullptr : &file };

    DWORD low = 0, high = 0;
    ::SetLastError(NO_ERROR);
    const long sized = file.GetSize(&low, &high);
    if (sized < 0)
        return sized;
    if (low == INVALID_FILE_SIZE && ::GetLastError() != NO_ERROR)
        return SFileCode::kSize;
    if (high != 0 || low == kNotRecorded)
        return E_OUTOFMEMORY;
    DWORD start = 0;
    const long sought = file.Seek(&start, FILE_BEGIN);
    if (sought < 0)
        return sought;
    long result = 0;
    SBlob fresh;
    const bool held = FillBlob(fresh, low, [&](unsigned char* bytes) {
        DWORD count = low;
        result = file.Read(bytes, &count);
        if (result >= 0 && count != low)
            result = SFileCode::kRead; // it became shorter meanwhile
    });
    if (held && result >= 0)
        swap(fresh);
    return held ? result : E_OUTOFMEMORY;
}

long SBlob::SaveToFile(const SString& path) const
{
    if (!IsNull() && !IsValid()) // more by its own account than there is
        return SFileCode::kWrite;
    const BlobBytes bytes(*this);
    return SSafeFile::Replace(path, bytes.Data(), bytes.Size());
}

long SBlob::SaveToFile(const SString& path, SFile& file) const
{
    if (!IsNull() && !IsValid())
        return SFileCode::kWrite;
    const BlobBytes bytes(*this);
    const long named = NameAnew(file, path);
    if (named < 0)
        return named;
    const long made = file.Create();
    if (made < 0)
        return made;
    DWORD count = bytes.Size();
    long result = count == 0 ? 0 : file.Write(bytes.Data(), &count);
    if (result >= 0 && (count != bytes.Size() || !file.SetEndOfFile()))
        result = SFileCode::kWrite;
    const long ended = file.Close();
    return result < 0 ? result : ended;
}
