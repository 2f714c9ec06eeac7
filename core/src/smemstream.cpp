// smemstream.cpp: streams over memory.
#include "smemstream.h"

#include "converted.h"
#include "bloblock.h"
#include "narrow.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// Numbers and short texts come one by one, and the run-time's function takes longer for them than all around it. Texts in a
// function of their own: it needs an aligned stack, for which numbers are not to pay.
S_NOINLINE void CopyText(char* to, const char* from, unsigned long bytes)
{
    struct Half {
        char bytes[16];
    };
    if (bytes < sizeof(Half) || bytes > 2 * sizeof(Half)) {
        std::memcpy(to, from, bytes);
        return;
    }
    // Two halves that may overlap.
    Half first, last;
    const unsigned long back = bytes - sizeof last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + back, sizeof last);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + back, &last, sizeof last);
}

inline void CopyBytes(void* to, const void* from, unsigned long bytes)
{
    char* const target = static_cast<char*>(to);
    const char* const source = static_cast<const char*>(from);
    if (bytes == 4) {
        std::memcpy(target, source, 4);
    } else if (bytes <= 2) {
        target[0] = source[0];
        target[bytes - 1] = source[bytes - 1];
    } else {
        CopyText(target, source, bytes);
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
    if (S_UNLIKELY(bytes > m_room - m_size))
        Grow(bytes);
    if (bytes > 0)
        CopyBytes(m_bytes + m_size, data, bytes);
    m_size += bytes;
    return bytes;
}

void SOutputGlobal::Grow(unsigned long bytes)
{
    constexpr unsigned long kMost = 0xFFFFFFFE, kFirstRoom = 256;
    if (bytes > kMost - m_size)
        throw SEOutOfMemory(S_HERE);
    const unsigned long doubled = m_room > kMost / 2 ? kMost : std::max(2 * m_room, kFirstRoom);
    const unsigned long room = std::max(m_size + bytes, doubled);
    void* const grown = std::realloc(m_bytes, room);
    if (!grown)
        throw SEOutOfMemory(S_HERE);
    m_bytes = static_cast<unsigned char*>(grown);
    m_room = room;
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
