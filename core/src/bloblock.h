// bloblock.h: a blob's bytes for a scope.
#ifndef BLOBLOCK_H
#define BLOBLOCK_H

#include "shglobal.h"

/// The bytes of a blob for reading, unlocked at the end of the scope. Keeps a share, so the blob may change meanwhile.
class BlobBytes {
public:
    explicit BlobBytes(const SBlob& blob)
        : m_blob(blob), m_bytes(static_cast<const unsigned char*>(m_blob.LockForRead()))
    {}
    ~BlobBytes()
    {
        if (!m_bytes)
            return;
        const DWORD error =
            ::GetLastError(); // the last unlocking sets it to 0, also where it said why a file failed
        m_blob.Unlock();
        ::SetLastError(error);
    }
    BlobBytes(const BlobBytes&) = delete;
    BlobBytes& operator=(const BlobBytes&) = delete;

    const unsigned char* Data() const { return m_bytes; }
    unsigned long Size() const { return m_bytes ? m_blob.GetSize() : 0; }

private:
    SBlob m_blob;
    const unsigned char* m_bytes;
};

/// Gives `blob` bytes of its own, filled by `fill(bytes)`; false and no change when there is no memory.
template <class Fill>
bool FillBlob(SBlob& blob, unsigned long size, Fill fill)
{
    SBlob fresh;
    if (!fresh.Alloc(size))
        return false;
    if (size > 0) {
        unsigned char* const bytes = static_cast<unsigned char*>(fresh.Lock());
        if (!bytes)
            return false;
        fill(bytes);
        fresh.Unlock();
    }
    blob = std::move(fresh);
    return true;
}

#endif
