// sbufstream.cpp: streams that read ahead, write behind, and take bytes back.
#include "sbufstream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

unsigned char* NewBuffer(unsigned long bytes)
{
    void* const buffer = std::malloc(bytes);
    if (!buffer)
        throw SEOutOfMemory(S_HERE);
    return static_cast<unsigned char*>(buffer);
}

unsigned long Sum(unsigned long mine, unsigned long inner)
{
    return inner == SInputStream::kUnknown || inner > SInputStream::kUnknown - 1 - mine
               ? SInputStream::kUnknown
               : mine + inner;
}

} // namespace

// Exported for clients that take their addresses.
constexpr unsigned long SInputBufferStream::kUsualBytes;
constexpr unsigned long SOutputBufferStream::kUsualBytes;

// ---- SInputBufferStream ----

SInputBufferStream::SInputBufferStream(SInputStream& inner, unsigned long bufferBytes)
    : SInputBufferStream(&inner, false, bufferBytes)
{}

SInputBufferStream::SInputBufferStream(SInputStream* inner, bool own, unsigned long bufferBytes)
    : SInputFilter(inner, own), m_buffer(nullptr), m_room(std::max(bufferBytes, 1ul)), m_at(0), m_end(0)
{
    m_buffer = NewBuffer(m_room);
}

SInputBufferStream::~SInputBufferStream()
{
    std::free(m_buffer);
}

unsigned long SInputBufferStream::Read(void* data, unsigned long bytes, unsigned long)
{
    unsigned char* to = static_cast<unsigned char*>(data);
    unsigned long left = bytes;
    for (;;) {
        const unsigned long held = std::min(left, m_end - m_at);
        if (held > 0)
            std::memcpy(to, m_buffer + m_at, held);
        m_at += held;
        to += held;
        left -= held;
        if (left == 0)
            return bytes;
        if (left >= m_room) // no use in copying it twice
            return bytes - left + m_inner->Read(to, left, kRun);
        m_at = m_end = 0;
        m_end = m_inner->Read(m_buffer, m_room, kRun);
        if (m_end == 0)
            return bytes - left;
    }
}

unsigned long SInputBufferStream::Skip(unsigned long bytes)
{
    const unsigned long held = std::min(bytes, m_end - m_at);
    m_at += held;
    return held == bytes ? bytes : held + m_inner->Skip(bytes - held);
}

unsigned long SInputBufferStream::Available()
{
    return Sum(m_end - m_at, m_inner->Available());
}

void SInputBufferStream::Close()
{
    m_at = m_end = 0;
    SInputFilter::Close();
}

// ---- SOutputBufferStream ----

SOutputBufferStream::SOutputBufferStream(SOutputStream& inner, unsigned long bufferBytes)
    : SOutputBufferStream(&inner, false, bufferBytes)
{}

SOutputBufferStream::SOutputBufferStream(SOutputStream* inner, bool own, unsigned long bufferBytes)
    : SOutputFilter(inner, own), m_buffer(nullptr), m_room(std::max(bufferBytes, 1ul)), m_used(0)
{
    m_buffer = NewBuffer(m_room);
}

SOutputBufferStream::~SOutputBufferStream()
{
    try {
        PassOn();
    }
    catch (...) {
        // As the header says.
    }
    std::free(m_buffer);
}

// What could not be passed on is gone: passing it on again might write a part of it twice.
void SOutputBufferStream::PassOn()
{
    const unsigned long used = m_used;
    m_used = 0;
    if (used > 0)
        m_inner->Write(m_buffer, used, kRun);
}

unsigned long SOutputBufferStream::Write(const void* data, unsigned long bytes, unsigned long)
{
    if (bytes > m_room - m_used)
        PassOn();
    if (bytes >= m_room)
        return m_inner->Write(data, bytes, kRun);
    if (bytes > 0)
        std::memcpy(m_buffer + m_used, data, bytes);
    m_used += bytes;
    return bytes;
}

void SOutputBufferStream::Flush()
{
    PassOn();
    m_inner->Flush();
}

void SOutputBufferStream::Close()
{
    PassOn();
    SOutputFilter::Close();
}

// ---- SInputPushbackStream ----

S_IMPLEMENT_DYNAMIC(SInputPushbackStream, SInputStream)

SInputPushbackStream::SInputPushbackStream(SInputStream& inner) noexcept
    : SInputFilter(inner), m_bytes(nullptr), m_room(0), m_count(0)
{}

SInputPushbackStream::SInputPushbackStream(SInputStream* inner, bool own) noexcept
    : SInputFilter(inner, own), m_bytes(nullptr), m_room(0), m_count(0)
{}

SInputPushbackStream::~SInputPushbackStream()
{
    std::free(m_bytes);
}

void SInputPushbackStream::Unread(const void* data, unsigned long bytes)
{
    if (bytes > m_room - m_count) {
        constexpr unsigned long kMost = 0x7FFFFFFF;
        if (bytes > kMost - m_count)
            throw SEOutOfMemory(S_HERE);
        const unsigned long room = 2 * (m_count + bytes);
        unsigned char* const larger = NewBuffer(room);
        if (m_count > 0)
            std::memcpy(larger + room - m_count, m_bytes + m_room - m_count, m_count);
        std::free(m_bytes);
        m_bytes = larger;
        m_room = room;
    }
    if (bytes > 0)
        std::memcpy(m_bytes + m_room - m_count - bytes, data, bytes);
    m_count += bytes;
}

unsigned long SInputPushbackStream::Read(void* data, unsigned long bytes, unsigned long unit)
{
    const unsigned long held = std::min(bytes, m_count);
    if (held > 0)
        std::memcpy(data, m_bytes + m_room - m_count, held);
    m_count -= held;
    return held == bytes ? bytes : held + m_inner->Read(static_cast<char*>(data) + held, bytes - held, unit);
}

unsigned long SInputPushbackStream::Skip(unsigned long bytes)
{
    const unsigned long held = std::min(bytes, m_count);
    m_count -= held;
    return held == bytes ? bytes : held + m_inner->Skip(bytes - held);
}

unsigned long SInputPushbackStream::Available()
{
    return Sum(m_count, m_inner->Available());
}

void SInputPushbackStream::Close()
{
    m_count = 0;
    SInputFilter::Close();
}
