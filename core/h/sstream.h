// sstream.h: streams of bytes, and the binary form in which the library's values are saved.
//
//     SOutputFile file(path);                                   // sfilestream.h
//     SOutputBinaryStream out(file);
//     out << 7L << SString(L"seven") << blob << names;          // names: an SStringTable
//     file.Close();
//
//     SInputFile file(path);
//     SInputBinaryStream in(file);
//     in >> number >> text >> blob >> names;
//
// Value    a stream is an identity: it is not copied. One over another either borrows it or owns it, as its constructor says.
// Threads  one stream belongs to one thread at a time.
// Failure  what is short, full or damaged is thrown (sioexcept.h); what throws leaves the stream where the failure was, and
//          what was being read is unspecified. No claim of the input costs more memory than the input has bytes, where the
//          stream can tell how many those are; else it is read in pieces.
// Cost     numbers and prefixes are one call of the stream below each; put an SInputBufferStream or SOutputBufferStream
//          (sbufstream.h) in between where such calls are expensive.
//
// Binary form: every number is little-endian, without alignment.
//
//     unsigned char         1 byte
//     unsigned short        2 bytes
//     long, unsigned long   4 bytes
//     SString               n, then the text in UTF-8 with its terminating zero: n bytes. n below 255 is 1 byte; below 65535
//                           it is FF and 2 bytes; else FF, FF FF and 4 bytes
//     SBlob                 the size in 4 bytes, then the bytes
//     SStringTable          the count in 4 bytes, then the strings in the table's order
//     string maps           the count in 4 bytes, then key and value of each pair in the map's order
#ifndef SSTREAM_H
#define SSTREAM_H

#include "baseobj.h"
#include "cvbase.h"
#include "sexcept.h"

class SBlob;
class SString;
class SStringMap;
class SStringMapNoCase;
class SStringUnsortedMap;
class SStringUnsortedMapNoCase;

/// Bytes to be read.
class CVCORE_API SInputStream : public SObject {
    S_DECLARE_DYNAMIC(SInputStream)
public:
    /// The answer of a stream that does not know how many bytes are left.
    static constexpr unsigned long kUnknown = ~0ul;
    /// The unit of a run of bytes.
    static constexpr unsigned long kRun = ~0ul;

    SInputStream() = default;
    SInputStream(const SInputStream&) = delete;
    SInputStream& operator=(const SInputStream&) = delete;

    /// Reads up to `bytes` bytes and returns how many there were: fewer only at the end of the data. `unit` is the size of
    /// the number that is read, kRun for a run of bytes; most streams do not look at it.
    virtual unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) = 0;
    /// Passes over bytes and returns how many there were.
    virtual unsigned long Skip(unsigned long bytes);
    /// Bytes that can still be read; kUnknown when nobody can tell.
    virtual unsigned long Available() = 0;
    /// Lets go of what the stream holds; there is nothing to read afterwards. Harmless when done already.
    virtual void Close();
};

/// A place for bytes.
class CVCORE_API SOutputStream : public SObject {
    S_DECLARE_DYNAMIC(SOutputStream)
public:
    static constexpr unsigned long kRun = SInputStream::kRun;

    SOutputStream() = default;
    SOutputStream(const SOutputStream&) = delete;
    SOutputStream& operator=(const SOutputStream&) = delete;

    /// Writes bytes and returns how many were: all, or the stream throws. `unit` as for reading.
    virtual unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) = 0;
    /// Passes on what the stream has kept back.
    virtual void Flush();
    /// Completes the output and lets go of what the stream holds. This is where the last failures are thrown: a destructor
    /// cannot. Nothing can be written afterwards; harmless when done already.
    virtual void Close();
};

/// A stream that is read through another one: reading, skipping, asking and closing go straight on. Only an owned stream is
/// closed.
class CVCORE_API SInputFilter : public SInputStream {
public:
    explicit SInputFilter(SInputStream& inner) noexcept : m_inner(&inner), m_owns(false) {}
    /// Owns the stream when `own` is true: it ends with this one.
    SInputFilter(SInputStream* inner, bool own) noexcept : m_inner(inner), m_owns(own) {}
    ~SInputFilter() override;

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) override;
    unsigned long Skip(unsigned long bytes) override;
    unsigned long Available() override;
    void Close() override;

protected:
    SInputStream* m_inner;
    bool m_owns;
};

class CVCORE_API SOutputFilter : public SOutputStream {
public:
    explicit SOutputFilter(SOutputStream& inner) noexcept : m_inner(&inner), m_owns(false) {}
    SOutputFilter(SOutputStream* inner, bool own) noexcept : m_inner(inner), m_owns(own) {}
    ~SOutputFilter() override;

    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) override;
    void Flush() override;
    void Close() override;

protected:
    SOutputStream* m_inner;
    bool m_owns;
};

/// Reads the binary form.
class CVCORE_API SInputBinaryStream : public SInputFilter {
    S_DECLARE_DYNAMIC(SInputBinaryStream)
public:
    explicit SInputBinaryStream(SInputStream& inner) noexcept : SInputFilter(inner) {}
    SInputBinaryStream(SInputStream* inner, bool own) noexcept : SInputFilter(inner, own) {}

    /// What decodes belongs below, as a filter: numbers are asked of the stream below at once.
    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) final
    {
        return m_inner->Read(data, bytes, unit);
    }
    /// Throw SEEOFException when there are fewer bytes.
    SInputBinaryStream& operator>>(unsigned char& value) { return Get(value); }
    SInputBinaryStream& operator>>(unsigned short& value) { return Get(value); }
    SInputBinaryStream& operator>>(long& value) { return Get(value); }
    SInputBinaryStream& operator>>(unsigned long& value) { return Get(value); }

private:
    template <class Number>
    SInputBinaryStream& Get(Number& value)
    {
        Number read;
        if (S_UNLIKELY(m_inner->Read(&read, sizeof read, sizeof read) != sizeof read))
            ThrowEnd(static_cast<Number*>(nullptr));
        value = read;
        return *this;
    }
    // Say in the exception what was being read.
    [[noreturn]] static void ThrowEnd(unsigned char*);
    [[noreturn]] static void ThrowEnd(unsigned short*);
    [[noreturn]] static void ThrowEnd(long*);
    [[noreturn]] static void ThrowEnd(unsigned long*);
};

/// Writes the binary form.
class CVCORE_API SOutputBinaryStream : public SOutputFilter {
    S_DECLARE_DYNAMIC(SOutputBinaryStream)
public:
    explicit SOutputBinaryStream(SOutputStream& inner) noexcept : SOutputFilter(inner) {}
    SOutputBinaryStream(SOutputStream* inner, bool own) noexcept : SOutputFilter(inner, own) {}

    /// What encodes belongs below, as a filter: numbers are given to the stream below at once.
    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) final
    {
        return m_inner->Write(data, bytes, unit);
    }
    SOutputBinaryStream& operator<<(unsigned char value) { return Put(value); }
    SOutputBinaryStream& operator<<(unsigned short value) { return Put(value); }
    SOutputBinaryStream& operator<<(long value) { return Put(value); }
    SOutputBinaryStream& operator<<(unsigned long value) { return Put(value); }

private:
    template <class Number>
    SOutputBinaryStream& Put(Number value)
    {
        m_inner->Write(&value, sizeof value, sizeof value);
        return *this;
    }
};

/// The error number of a length that cannot be true.
inline constexpr long kInvalidStreamLength = static_cast<long>(0x80990040);

/// A text keeps the NULs inside it. One with half a surrogate pair has no UTF-8 form: SEEncodingException, and nothing is
/// written.
CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SString& text);
/// SEEOFException when the data ends early. A length above 3,145,728 that is more than the stream has left is refused before
/// anything is read: SEIOException, "Invalid string in binary stream".
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SString& text);

CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SBlob& blob);
/// A size of 0 leaves the blob as it is, as meant. A size above 1,048,576 that is more than the stream has left is refused:
/// SEIOException with kInvalidStreamLength. SEEOFException, SEOutOfMemory.
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SBlob& blob);

CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringMap& map);
CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringMapNoCase& map);
CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringUnsortedMap& map);
CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringUnsortedMapNoCase& map);
/// Add the pairs to what the map has.
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringMap& map);
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringMapNoCase& map);
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringUnsortedMap& map);
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringUnsortedMapNoCase& map);

#endif
