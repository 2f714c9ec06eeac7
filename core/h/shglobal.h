// shglobal.h: SHGlobal, one block of the system's global memory, and SBlob, a shared buffer of bytes in such a block.
//
//     SBlob picture;
//     picture.ReadFromFile(path);
//     SBlob copy = picture;                                     // shares the bytes
//     if (unsigned char* bytes = static_cast<unsigned char*>(copy.Lock())) {
//         bytes[0] ^= 1;                                        // copy has its own by now
//         copy.Unlock();
//     }
//     clipboard.Set(format, copy.Detach());                     // the memory is the clipboard's now
//
// Value    blobs share their bytes by reference count and copy them before one is locked for writing. A copied SHGlobal has
//          memory of its own.
// Threads  two blobs that share bytes may be copied and released on two threads; one blob may not, and the bytes are not
//          guarded.
// Failure  int results are 1 or 0, long ones codes (filecodes.h). No memory for a blob's block throws SEOutOfMemory; no
//          memory for its bytes answers 0 where the member says so. What throws leaves the blob as it was.
// Cost     a pointer a blob, 36 bytes and the system's memory for its block. Bytes are movable memory: they have an address
//          only while they are locked.
#ifndef SHGLOBAL_H
#define SHGLOBAL_H

#include "cvbase.h"
#include "strclss.h"

#include <utility>

class SFile;
struct IStream;

/// One handle of movable global memory, owned.
class CVCORE_API SHGlobal {
public:
    SHGlobal() noexcept : m_memory(nullptr) {}
    /// Takes the handle over.
    explicit SHGlobal(HGLOBAL memory) noexcept : m_memory(memory) {}
    /// Duplicates the memory; null when there is none to be had.
    SHGlobal(const SHGlobal& other);
    SHGlobal(SHGlobal&& other) noexcept : m_memory(std::exchange(other.m_memory, nullptr)) {}
    SHGlobal& operator=(SHGlobal other) noexcept
    {
        std::swap(m_memory, other.m_memory);
        return *this;
    }
    ~SHGlobal() { Free(); }

    /// Lets the old memory go and takes new memory of zeros. 0 when there is none: then the handle is null.
    int Alloc(size_t bytes) noexcept;
    /// Changes the size; new bytes are zero. 0 and no change when that cannot be done. A null handle is given memory.
    int Realloc(size_t bytes) noexcept;
    void Free() noexcept;
    /// The bytes, until as many calls of Unlock; null without memory, and for memory of no bytes.
    void* Lock() const noexcept;
    void Unlock() const noexcept;
    /// As the system rounded it; 0 without memory.
    size_t GetSize() const noexcept;
    bool IsNull() const noexcept { return m_memory == nullptr; }
    HGLOBAL GetHandle() const noexcept { return m_memory; }
    /// Lets the old memory go and owns this.
    void Attach(HGLOBAL memory) noexcept { *this = SHGlobal(memory); }
    /// Gives the memory to the caller.
    HGLOBAL Detach() noexcept { return std::exchange(m_memory, nullptr); }

private:
    HGLOBAL m_memory;
};

class CVCORE_API SBlob {
public:
    /// A size that is not recorded: the memory is asked for it.
    static constexpr unsigned long kNotRecorded = 0xFFFFFFFF;

    SBlob() noexcept : m_data(nullptr) {}
    SBlob(const SBlob& other) noexcept : m_data(nullptr) { ShareDataOf(other); }
    SBlob(SBlob&& other) noexcept : m_data(std::exchange(other.m_data, nullptr)) {}
    SBlob& operator=(const SBlob& other) noexcept
    {
        ShareDataOf(other);
        return *this;
    }
    SBlob& operator=(SBlob&& other) noexcept
    {
        SBlob(std::move(other)).swap(*this);
        return *this;
    }
    ~SBlob() { Free(); }
    void swap(SBlob& other) noexcept { std::swap(m_data, other.m_data); }

    // ---- Memory ----

    /// Gives the blob `size` zeros. 0 when there is no memory for them; then the blob has no bytes. A size of 0 makes it share
    /// the null block, which stands for all blobs of that size, unless it has a block to itself.
    int Alloc(unsigned long size);
    /// Changes the size of bytes that belong to this blob alone; new ones are zero. 0 and no change when there is no memory.
    /// A shared blob, and one without bytes, is given zeros as by Alloc.
    int Realloc(unsigned long size);
    /// Lets the bytes go.
    void Free() noexcept;
    /// Takes over global memory that was allocated movable. `size` may be smaller than the memory, or kNotRecorded. A null
    /// handle makes the blob null and answers 0.
    int Attach(void* handle, unsigned long size);
    /// Gives the memory to the caller, who frees it with GlobalFree, and is null afterwards. Shared bytes are copied for that.
    /// Null without memory.
    void* Detach();

    // ---- Access: every pointer counts until an Unlock ----

    /// The bytes for writing. Shared ones are copied first. Null when there are none, or no memory for the copy.
    void* Lock();
    /// The bytes for reading. Null when there are none, or when the recorded size is larger than the memory.
    const void* LockForRead() const noexcept;
    /// 0 when there is no memory.
    int Unlock() const noexcept;

    // ---- Look ----

    /// Has memory that is as large as the blob says.
    int IsValid() const noexcept;
    /// Made of nothing, or with the null block.
    int IsNull() const noexcept;
    /// Null, or of no bytes.
    int IsEmpty() const noexcept;
    unsigned long GetSize() const noexcept;
    /// By the bytes, as unsigned ones, then by length: negative, 0, positive. Blobs that cannot be read count as empty.
    int Compare(const SBlob& other) const noexcept;
    bool operator==(const SBlob& other) const noexcept { return Compare(other) == 0; }
    bool operator!=(const SBlob& other) const noexcept { return Compare(other) != 0; }

    /// A stream over the bytes as they are now, with one reference for the caller. It shares them; what is written into the
    /// stream changes its own copy. Usable after the blob's end, on one thread at a time.
    IStream* CreateStream() const;

    // ---- Files: the whole file is the blob's bytes. Codes of filecodes.h ----

    /// The blob keeps its bytes when reading fails. A file of 4 GiB and more, and one for which there is no memory, is
    /// E_OUTOFMEMORY.
    long ReadFromFile(const SString& path);
    /// Through a file object, which is named, opened and closed again; an open one is read from its start.
    long ReadFromFile(const SString& path, SFile& file);
    /// Replaces the file's content whole or not at all (safefile.h).
    long SaveToFile(const SString& path) const;
    /// Writes over the file through a file object, which is named, opened, cut to size and closed.
    long SaveToFile(const SString& path, SFile& file) const;

    // ---- Text forms ----

    /// Upper-case pairs: "00FF7A".
    SString GetAsHex() const;
    /// Reads pairs in either case, with white space anywhere between them. 0 and no change for anything else.
    int SetAsHex(const SString& text);
    /// Upper-case pairs, `separator` between two of a line and `lineEnd` between two lines of `bytesPerLine` (0: one line).
    /// Null texts are empty.
    static SString BytesToHex(const void* bytes, unsigned long size, unsigned long bytesPerLine,
                              const wchar_t* separator, const wchar_t* lineEnd);
    /// The bytes as text: UTF-16 behind its byte-order mark in either order, else UTF-8 with or without a mark. What is
    /// malformed becomes U+FFFD.
    SString GetAsText() const;
    /// The text as UTF-8, without a mark. 0 and no change for half a surrogate pair.
    int SetAsText(const SString& text);
    /// Lines of up to 45 bytes as uuencode writes them: the count as a character, then four for three bytes; zeros are "`".
    /// Each line ends in "\n"; the last one is "`", for no bytes.
    SString GetAsUUElike() const;
    /// Reads such lines, with a blank for a "`" too, any line end, and whatever precedes a line that begins with "begin ".
    /// A line of no bytes, or the end, ends them. 0 and no change for a line that is too short or holds anything else.
    int SetAsUUElike(const SString& text);

protected:
    /// Lets the own bytes go and shares those of another blob; nothing for the blob itself.
    void ShareDataOf(const SBlob& other) noexcept;

private:
    struct Data;

    static Data* NewData(const char* signature, unsigned long line);
    static Data* NullData() noexcept;
    static void Release(Data* data) noexcept;
    bool IsOwn() const noexcept;

    Data* m_data;
};

#endif
