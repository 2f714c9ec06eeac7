// szipstream.h: streams that compress and expand bytes as raw deflate (RFC 1951), without header or check sum.
//
//     SOutputFile file(path);
//     SDeflaterOutputStream packed(file);
//     SOutputBinaryStream out(packed);
//     out << layout;
//     packed.Close();                                           // writes the end of the compressed data
//     file.Close();
//
// Failure  damaged data throws SEZipException, data that ends too early SEEOFException; no memory SEOutOfMemory.
#ifndef SZIPSTREAM_H
#define SZIPSTREAM_H

#include "sstream.h"

/// Expands what it reads from the inner stream. It reads ahead: when the end of the compressed data is met, or the stream
/// closed, what follows in the inner stream is given back to it when it is an SInputPushbackStream, and is lost otherwise.
class CVCORE_API SInflaterInputStream : public SInputFilter {
public:
    explicit SInflaterInputStream(SInputStream& inner);
    SInflaterInputStream(SInputStream* inner, bool own);
    ~SInflaterInputStream() override;

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) override;
    unsigned long Skip(unsigned long bytes) override { return SInputStream::Skip(bytes); }
    /// 0 behind the end of the compressed data, else kUnknown. May read ahead to tell.
    unsigned long Available() override;
    void Close() override;

private:
    struct State;

    void TakeMore();
    void GiveBack();
    int LookForEnd(bool takesMore);

    State* m_state;
};

/// Compresses what is written. When the inner stream has thrown, bytes are missing in it: each further call but the destructor
/// throws SEZipException, and nothing more is written.
class CVCORE_API SDeflaterOutputStream : public SOutputFilter {
public:
    /// Levels from 0 (only stores) to 9 (smallest); -1 is the usual compromise.
    explicit SDeflaterOutputStream(SOutputStream& inner, int level = -1);
    SDeflaterOutputStream(SOutputStream* inner, bool own, int level = -1);
    /// Without Close the compressed data has no end; the destructor writes it and loses a failure of that.
    ~SDeflaterOutputStream() override;

    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) override;
    /// Passes on everything so far, so that it can be expanded; costs some bytes each time.
    void Flush() override;
    void Close() override;

private:
    struct State;

    void Run(int flush);

    State* m_state;
};

#endif
