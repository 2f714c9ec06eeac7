// blobstream.cpp: a blob's bytes as a stream of the system's.
//
// Foreign code calls these members, so nothing is thrown out of them.
#include "shglobal.h"

#include "compiler.h"
#include "sexcept.h"

#include <objidl.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

namespace {

constexpr ULONGLONG kLongest = 0xFFFFFFFE;

class BlobStream : public IStream {
public:
    explicit BlobStream(const SBlob& bytes, ULONGLONG position = 0) : m_bytes(bytes), m_position(position) {}

    // ---- IUnknown ----

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
    {
        if (!object)
            return E_POINTER;
        const bool known =
            id == __uuidof(IUnknown) || id == __uuidof(ISequentialStream) || id == __uuidof(IStream);
        *object = known ? this : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_refs; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_refs;
        if (left == 0)
            delete this;
        return left;
    }

    // ---- ISequentialStream ----

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) override
    {
        if (read)
            *read = 0;
        if (!buffer)
            return STG_E_INVALIDPOINTER;
        const ULONG size = m_bytes.GetSize();
        const ULONG here = m_position < size ? static_cast<ULONG>(m_position) : size;
        const ULONG got = std::min(count, size - here);
        if (got > 0) {
            const char* const bytes = static_cast<const char*>(m_bytes.LockForRead());
            if (!bytes)
                return STG_E_READFAULT;
            std::memcpy(buffer, bytes + here, got);
            m_bytes.Unlock();
        }
        m_position += got;
        if (read)
            *read = got;
        return got == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* written) override
    {
        if (written)
            *written = 0;
        if (!buffer)
            return STG_E_INVALIDPOINTER;
        if (count == 0)
            return S_OK;
        if (!m_bytes.IsNull() && !m_bytes.IsValid())
            return STG_E_WRITEFAULT;
        if (m_position > kLongest - count)
            return STG_E_MEDIUMFULL;
        const ULONG here = static_cast<ULONG>(m_position);
        const HRESULT roomy = here + count > m_bytes.GetSize() ? Resize(here + count) : S_OK;
        if (FAILED(roomy))
            return roomy;
        char* const bytes = LockOwn();
        if (!bytes)
            return STG_E_MEDIUMFULL;
        std::memcpy(bytes + here, buffer, count);
        m_bytes.Unlock();
        m_position += count;
        if (written)
            *written = count;
        return S_OK;
    }

    // ---- IStream ----

    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override
    {
        LONGLONG base;
        switch (origin) {
        case STREAM_SEEK_SET: base = 0; break;
        case STREAM_SEEK_CUR: base = static_cast<LONGLONG>(m_position); break;
        case STREAM_SEEK_END: base = m_bytes.GetSize(); break;
        default: return STG_E_INVALIDFUNCTION;
        }
        LONGLONG target;
        if (AddOverflows(base, move.QuadPart, &target) || target < 0)
            return STG_E_INVALIDFUNCTION;
        m_position = static_cast<ULONGLONG>(target);
        if (position)
            position->QuadPart = m_position;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override
    {
        return size.QuadPart > kLongest ? STG_E_MEDIUMFULL : Resize(size.LowPart);
    }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                                     ULARGE_INTEGER* written) override
    {
        if (!target)
            return STG_E_INVALIDPOINTER;
        const ULONGLONG size = m_bytes.GetSize();
        const ULONGLONG left = m_position < size ? size - m_position : 0;
        const ULONG wanted = static_cast<ULONG>(std::min(left, count.QuadPart));
        ULONG put = 0;
        HRESULT result = S_OK;
        if (wanted > 0) {
            const SBlob source(m_bytes); // the target may be this very stream
            const char* const bytes = static_cast<const char*>(source.LockForRead());
            if (!bytes)
                return STG_E_READFAULT;
            const ULONGLONG from = m_position;
            m_position += wanted;
            result = target->Write(bytes + from, wanted, &put);
            source.Unlock();
        }
        if (read)
            read->QuadPart = wanted;
        if (written)
            written->QuadPart = put;
        return result;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD) override
    {
        if (!status)
            return STG_E_INVALIDPOINTER;
        *status = STATSTG();
        status->type = STGTY_STREAM;
        status->cbSize.QuadPart = m_bytes.GetSize();
        status->grfMode = STGM_READWRITE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream** clone) override
    {
        if (!clone)
            return STG_E_INVALIDPOINTER;
        *clone = new (std::nothrow) BlobStream(m_bytes, m_position);
        return *clone ? S_OK : STG_E_INSUFFICIENTMEMORY;
    }

private:
    virtual ~BlobStream() = default;

    // Keeps the bytes that stay. Shared ones are copied by the lock, since changing the size of those would lose them.
    HRESULT Resize(ULONG size)
    {
        if (size == m_bytes.GetSize())
            return S_OK;
        try {
            if (!m_bytes.IsEmpty()) {
                if (!m_bytes.Lock())
                    return STG_E_MEDIUMFULL;
                m_bytes.Unlock();
            }
            return m_bytes.Realloc(size) ? S_OK : STG_E_MEDIUMFULL;
        }
        catch (const SException&) {
            return STG_E_MEDIUMFULL;
        }
    }
    char* LockOwn()
    {
        try {
            return static_cast<char*>(m_bytes.Lock());
        }
        catch (const SException&) {
            return nullptr;
        }
    }

    std::atomic<ULONG> m_refs{ 1 };
    SBlob m_bytes;
    ULONGLONG m_position;
};

} // namespace

IStream* SBlob::CreateStream() const
{
    IStream* const stream = new (std::nothrow) BlobStream(*this);
    if (!stream)
        throw SEOutOfMemory(S_HERE);
    return stream;
}
