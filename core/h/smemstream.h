// smemstream.h: streams over memory.
//
//     SOutputGlobal bytes;
//     SOutputBinaryStream out(bytes);
//     out << layout;
//     registry.Set(name, bytes.GetBlob());
//
//     SInputGlobal in(registry.Get(name));
#ifndef SMEMSTREAM_H
#define SMEMSTREAM_H

#include "shglobal.h"
#include "sstream.h"
#include "strclss.h"

/// Reads a blob's bytes, which it shares, or bytes that the caller keeps where they are.
class CVCORE_API SInputGlobal : public SInputStream {
public:
    explicit SInputGlobal(const SBlob& bytes);
    /// The bytes stay the caller's and must live as long as the stream.
    SInputGlobal(const void* bytes, unsigned long size) noexcept
        : m_bytes(static_cast<const unsigned char*>(bytes)), m_size(size), m_at(0)
    {}
    ~SInputGlobal() override;

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) override;
    unsigned long Skip(unsigned long bytes) override;
    unsigned long Available() override { return m_size - m_at; }
    void Close() override;

private:
    SBlob m_blob;
    const unsigned char* m_bytes;
    unsigned long m_size;
    unsigned long m_at;
};

/// Gathers bytes. Up to 4 GiB - 2; more, or no memory, throws SEOutOfMemory.
class CVCORE_API SOutputGlobal : public SOutputStream {
public:
    SOutputGlobal() noexcept : m_bytes(nullptr), m_size(0), m_room(0) {}
    ~SOutputGlobal() override;

    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) override;

    unsigned long GetSize() const { return m_size; }
    /// The bytes so far; dead after the next Write. Null when there are none.
    const void* GetBytes() const { return m_bytes; }
    /// A copy of them in a blob.
    SBlob GetBlob() const;

private:
    void Grow(unsigned long bytes);

    unsigned char* m_bytes;
    unsigned long m_size;
    unsigned long m_room;
};

/// Gathers text: the bytes are UTF-8.
class CVCORE_API SOutputStringStream : public SOutputGlobal {
public:
    /// The text so far. What is malformed, also a character whose end has not come yet, is U+FFFD.
    SString GetString() const;
};

#endif
