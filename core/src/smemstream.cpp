// smemstream.cpp: streams over memory.
#include "smemstream.h"

#include "converted.h"
#include "bloblock.h"
#include "narrow.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// Numbers come one by one, and the run-time's function takes longer for four bytes than all around it.
inline void CopyBytes(void* to, const void* from, unsigned long bytes)
{
    switch (bytes) {
    case 1: std::memcpy(to, from, 1); break;
    case 2: std::memcpy(to, from, 2); break;
    case 4: std::memcpy(to, from, 4); break;
    default: std::memcpy(to, from, bytes); break;
    }
}

} // namespace

// ---- SInputGlobal ----

SInputGlobal::SInputGlobal(const SBlob& bytes)
    : m_blob(bytes),
      m_bytes(static_cast<const unsigned char*>(m_blob.LockForRead())),
      m_size(m_bytes ? m_blob.GetSize() : 0),
      m_at(0)
{}

SInputGlobal::~SInputGlobal()
{
    SInputGlobal::Close();
}

unsigned long SInputGlobal::Read(void* data, unsigned long bytes, unsigned long)
{
    const unsigned long got = std::min(bytes, m_size - m_at);
    if (got > 0)
        CopyBytes(data, m_bytes + m_at, got);
    m_at += got;
    return got;
}

unsigned long SInputGlobal::Skip(unsigned long bytes)
{
    const unsigned long passed = std::min(bytes, m_size - m_at);
    m_at += passed;
    return passed;
}

void SInputGlobal::Close()
{
    if (m_bytes && !m_blob.IsNull())
        m_blob.Unlock();
    m_blob.Free();
    m_bytes = nullptr;
    m_size = m_at = 0;
}

// ---- SOutputGlobal ----

SOutputGlobal::~SOutputGlobal()
{
    std::free(m_bytes);
}

unsigned long SOutputGlobal::Write(const void* data, unsigned long bytes, unsigned long)
{
    constexpr unsigned long kMost = 0xFFFFFFFE, kFirstRoom = 256;
    if (bytes > kMost - m_size)
        throw SEOutOfMemory(S_HERE);
    const unsigned long needed = m_size + bytes;
    if (needed > m_room) {
        const unsigned long doubled = m_room > kMost / 2 ? kMost : std::max(2 * m_room, kFirstRoom);
        const unsigned long room = std::max(needed, doubled);
        void* const grown = std::realloc(m_bytes, room);
        if (!grown)
            throw SEOutOfMemory(S_HERE);
        m_bytes = static_cast<unsigned char*>(grown);
        m_room = room;
    }
    if (bytes > 0)
        CopyBytes(m_bytes + m_size, data, bytes);
    m_size = needed;
    return bytes;
}

SBlob SOutputGlobal::GetBlob() const
{
    SBlob blob;
    if (!FillBlob(blob, m_size, [this](unsigned char* to) { std::memcpy(to, m_bytes, m_size); }))
        throw SEOutOfMemory(S_HERE);
    return blob;
}

SString SOutputStringStream::GetString() const
{
    if (GetSize() > static_cast<unsigned long>(SString::kMaxLength))
        throw SEOutOfMemory(S_HERE);
    return ConvertedText(GetBytes(), GetSize(), SUtf8String::UTF8ToWideChar);
}
