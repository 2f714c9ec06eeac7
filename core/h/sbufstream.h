// sbufstream.h: streams that read ahead, write behind, and take bytes back.
//
//     SInputBufferStream in(new SInputFile(path), true);
#ifndef SBUFSTREAM_H
#define SBUFSTREAM_H

#include "sstream.h"

/// Reads the inner stream in large pieces.
class CVCORE_API SInputBufferStream : public SInputFilter {
public:
    static constexpr unsigned long kUsualBytes = 8192;

    explicit SInputBufferStream(SInputStream& inner, unsigned long bufferBytes = kUsualBytes);
    SInputBufferStream(SInputStream* inner, bool own, unsigned long bufferBytes = kUsualBytes);
    ~SInputBufferStream() override;

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) override;
    unsigned long Skip(unsigned long bytes) override;
    unsigned long Available() override;
    void Close() override;

private:
    unsigned char* m_buffer;
    unsigned long m_room;
    unsigned long m_at;
    unsigned long m_end;
};

/// Gives the inner stream large pieces. What has not been passed on when the stream ends without Flush or Close is passed on
/// then, and a failure of that is lost.
class CVCORE_API SOutputBufferStream : public SOutputFilter {
public:
    static constexpr unsigned long kUsualBytes = SInputBufferStream::kUsualBytes;

    explicit SOutputBufferStream(SOutputStream& inner, unsigned long bufferBytes = kUsualBytes);
    SOutputBufferStream(SOutputStream* inner, bool own, unsigned long bufferBytes = kUsualBytes);
    ~SOutputBufferStream() override;

    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) override;
    void Flush() override;
    void Close() override;

private:
    void PassOn();

    unsigned char* m_buffer;
    unsigned long m_room;
    unsigned long m_used;
};

/// Takes bytes back, to be read again before those of the inner stream.
class CVCORE_API SInputPushbackStream : public SInputFilter {
    S_DECLARE_DYNAMIC(SInputPushbackStream)
public:
    explicit SInputPushbackStream(SInputStream& inner) noexcept;
    SInputPushbackStream(SInputStream* inner, bool own) noexcept;
    ~SInputPushbackStream() override;

    /// Puts bytes in front of what is to be read; they need not have been read before. SEOutOfMemory.
    void Unread(const void* data, unsigned long bytes);

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) override;
    unsigned long Skip(unsigned long bytes) override;
    unsigned long Available() override;
    void Close() override;

private:
    unsigned char* m_bytes; // those that were taken back stand at the end of the room
    unsigned long m_room;
    unsigned long m_count;
};

#endif
