// shglobal.cpp: global memory and the shared buffer over it.
#include "shglobal.h"

#include "salloc.h"
#include "sexcept.h"

#include <cstring>
#include <new>

// ---- SHGlobal ----

SHGlobal::SHGlobal(const SHGlobal& other) : m_memory(nullptr)
{
    const size_t bytes = other.GetSize();
    if (other.IsNull() || !Alloc(bytes) || bytes == 0)
        return;
    void* const to = Lock();
    const void* const from = other.Lock();
    if (to && from)
        std::memcpy(to, from, bytes);
    if (from)
        other.Unlock();
    if (to)
        Unlock();
    if (!to || !from)
        Free();
}

int SHGlobal::Alloc(size_t bytes) noexcept
{
    Free();
    m_memory = ::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    return m_memory != nullptr;
}

int SHGlobal::Realloc(size_t bytes) noexcept
{
    if (!m_memory)
        return Alloc(bytes);
    const HGLOBAL changed = ::GlobalReAlloc(m_memory, bytes, GMEM_MOVEABLE | GMEM_ZEROINIT);
    if (changed)
        m_memory = changed;
    return changed != nullptr;
}

void SHGlobal::Free() noexcept
{
    if (m_memory)
        ::GlobalFree(m_memory);
    m_memory = nullptr;
}

void* SHGlobal::Lock() const noexcept
{
    return m_memory ? ::GlobalLock(m_memory) : nullptr;
}

void SHGlobal::Unlock() const noexcept
{
    if (m_memory)
        ::GlobalUnlock(m_memory);
}

size_t SHGlobal::GetSize() const noexcept
{
    return m_memory ? ::GlobalSize(m_memory) : 0;
}

// ---- The block that blobs share ----

namespace {

const char kSourceFile[] = "core/src/shglobal";
constexpr unsigned long kAllocLine = 976, kReallocLine = 1015, kLockLine = 1106;
const char kAllocSignature[] = "int SBlob::Alloc(long unsigned int)";
const char kReallocSignature[] = "int SBlob::Realloc(long unsigned int)";
const char kLockSignature[] = "void* SBlob::Lock()";
const char kAttachSignature[] = "int SBlob::Attach(void*, long unsigned int)";

// Where those wait who find a block's lock taken. One queue does for all blocks: a section of the system in each would cost
// the system's memory and more time than all else of a blob that is not its bytes. Never ended, as the pool.
CRITICAL_SECTION& Queue() noexcept
{
    struct Section : CRITICAL_SECTION {
        Section() noexcept { ::InitializeCriticalSection(this); }
    };
    alignas(Section) static unsigned char room[sizeof(Section)];
    static Section& queue = *new (room) Section;
    return queue;
}

class Guard {
public:
    void Enter() noexcept { m_lock.Enter(Queue()); }
    void Leave() noexcept { m_lock.Leave(); }

private:
    SPoolLock m_lock;
};

constexpr unsigned long kBlockBytes = S_TARGET_32BIT ? 36 : 64, kBlocksPerChunk = 32;

// Made on first use and never ended: blobs of other modules' static objects may come first and go last.
SFixedAlloc& Pool()
{
    static SFixedAlloc& pool = *new SFixedAlloc(kBlockBytes, kBlocksPerChunk, L"SBlobData");
    return pool;
}

} // namespace

struct SBlob::Data {
    unsigned long size = 0;
    SHGlobal memory;
    unsigned long refs = 1;
    Guard guard;

    // What the blob holds, and what it really has.
    unsigned long Recorded() const
    {
        return size == kNotRecorded ? static_cast<unsigned long>(memory.GetSize()) : size;
    }

    void AddRef() noexcept
    {
        guard.Enter();
        ++refs;
        guard.Leave();
    }
    unsigned long ReleaseRef() noexcept
    {
        guard.Enter();
        const unsigned long left = --refs;
        guard.Leave();
        return left;
    }
    unsigned long Refs() noexcept
    {
        guard.Enter();
        const unsigned long now = refs;
        guard.Leave();
        return now;
    }
};

SBlob::Data* SBlob::NullData() noexcept
{
    static_assert(sizeof(Data) <= kBlockBytes, "size, memory, references, lock");
    // Its one reference of its own keeps it from ever being released; static memory, so it cannot be missing.
    alignas(Data) static unsigned char room[sizeof(Data)];
    static Data* const data = new (room) Data;
    return data;
}

SBlob::Data* SBlob::NewData(const char* signature, unsigned long line)
{
    void* const block = Pool().TryAlloc();
    if (!block)
        throw SEOutOfMemory(signature, kSourceFile, line);
    return new (block) Data;
}

void SBlob::Release(Data* data) noexcept
{
    if (data->ReleaseRef() != 0)
        return;
    data->~Data();
    Pool().Free(data);
}

// Whether this blob alone has its block. Nobody can begin to share it meanwhile but through this blob.
bool SBlob::IsOwn() const noexcept
{
    return m_data && m_data != NullData() && m_data->Refs() == 1;
}

// Exported for clients that take its address.
constexpr unsigned long SBlob::kNotRecorded;

// ---- Memory ----

int SBlob::Alloc(unsigned long size)
{
    if (IsOwn()) {
        const int done = m_data->memory.Alloc(size);
        m_data->size = done ? size : 0;
        return done;
    }
    if (size == 0) {
        Free();
        m_data = NullData();
        m_data->AddRef();
        return 1;
    }
    SBlob fresh;
    fresh.m_data = NewData(kAllocSignature, kAllocLine);
    Free(); // first of all: the old bytes may be what leaves no memory
    if (!fresh.m_data->memory.Alloc(size))
        return 0;
    fresh.m_data->size = size;
    swap(fresh);
    return 1;
}

int SBlob::Realloc(unsigned long size)
{
    if (IsOwn()) {
        const unsigned long before = GetSize();
        const size_t held = m_data->memory.GetSize();
        if (!m_data->memory.Realloc(size))
            return 0;
        m_data->size = size;
        // Memory that was attached may go on behind what counted of it.
        const size_t stale = held < size ? held : size;
        if (char* const bytes = before < stale ? static_cast<char*>(m_data->memory.Lock()) : nullptr) {
            std::memset(bytes + before, 0, stale - before);
            m_data->memory.Unlock();
        }
        return 1;
    }
    if (size == 0)
        return Alloc(0);
    SBlob fresh;
    fresh.m_data = NewData(kReallocSignature, kReallocLine);
    if (!fresh.m_data->memory.Alloc(size))
        return 0;
    fresh.m_data->size = size;
    swap(fresh);
    return 1;
}

void SBlob::Free() noexcept
{
    if (Data* const data = std::exchange(m_data, nullptr))
        Release(data);
}

void SBlob::ShareDataOf(const SBlob& other) noexcept
{
    if (this == &other || m_data == other.m_data)
        return;
    if (other.m_data)
        other.m_data->AddRef();
    Free();
    m_data = other.m_data;
}

int SBlob::Attach(void* handle, unsigned long size)
{
    if (!handle) {
        Free();
        return 0;
    }
    Data* const data = NewData(kAttachSignature, __LINE__);
    data->memory.Attach(handle);
    data->size = size;
    Free();
    m_data = data;
    return 1;
}

void* SBlob::Detach()
{
    if (!m_data)
        return nullptr;
    void* handle;
    if (IsOwn()) {
        handle = m_data->memory.Detach();
    } else {
        SHGlobal copy(m_data->memory);
        handle = copy.Detach();
        if (!handle && !m_data->memory.IsNull())
            return nullptr; // no memory for the copy: the blob keeps its bytes
    }
    Free();
    return handle;
}

// ---- Access ----

void* SBlob::Lock()
{
    if (!m_data)
        return nullptr;
    if (!IsOwn()) {
        SBlob copy;
        copy.m_data = NewData(kLockSignature, kLockLine);
        copy.m_data->size = m_data->size;
        copy.m_data->memory = m_data->memory;
        if (copy.m_data->memory.IsNull() && !m_data->memory.IsNull())
            return nullptr;
        swap(copy);
    }
    return m_data->memory.Lock();
}

const void* SBlob::LockForRead() const noexcept
{
    return IsValid() ? m_data->memory.Lock() : nullptr;
}

int SBlob::Unlock() const noexcept
{
    if (!m_data || m_data->memory.IsNull())
        return 0;
    m_data->memory.Unlock();
    return 1;
}

// ---- Look ----

int SBlob::IsValid() const noexcept
{
    return m_data && !m_data->memory.IsNull() &&
           (m_data->size == kNotRecorded || m_data->size <= m_data->memory.GetSize());
}

int SBlob::IsNull() const noexcept
{
    return !m_data || m_data == NullData();
}

int SBlob::IsEmpty() const noexcept
{
    return IsNull() || m_data->Recorded() == 0;
}

unsigned long SBlob::GetSize() const noexcept
{
    return m_data ? m_data->Recorded() : 0;
}

int SBlob::Compare(const SBlob& other) const noexcept
{
    if (m_data == other.m_data)
        return 0;
    const void* const mine = LockForRead();
    const void* const others = other.LockForRead();
    const unsigned long size = mine ? GetSize() : 0, otherSize = others ? other.GetSize() : 0;
    const unsigned long common = size < otherSize ? size : otherSize;
    int order = common > 0 ? std::memcmp(mine, others, common) : 0;
    if (order == 0)
        order = size < otherSize ? -1 : size > otherSize;
    if (mine)
        Unlock();
    if (others)
        other.Unlock();
    return order;
}
