// szipstream.cpp: streams that compress and expand bytes.
#include "szipstream.h"

#include "sbufstream.h"
#include "sioexcept.h"

#include <zlib.h>

#include <algorithm>
#include <new>

namespace {

constexpr int kRawWindow = -15; // no header around the data
constexpr int kUsualMemory = 8;
constexpr unsigned long kPiece = 16384;

[[noreturn]] void ThrowFor(const char* function, unsigned long line, int code, const char* message)
{
    if (code == Z_MEM_ERROR)
        throw SEOutOfMemory(function, __FILE__, line);
    throw SEZipException(function, __FILE__, line,
                         SString(message ? message : "the compressed data is damaged"));
}

} // namespace

// ---- Expanding ----

struct SInflaterInputStream::State {
    z_stream zip = {};
    bool atEnd = false;
    unsigned char input[kPiece];
};

SInflaterInputStream::SInflaterInputStream(SInputStream& inner) : SInflaterInputStream(&inner, false) {}

SInflaterInputStream::SInflaterInputStream(SInputStream* inner, bool own)
    : SInputFilter(inner, own), m_state(new (std::nothrow) State)
{
    if (!m_state)
        throw SEOutOfMemory(S_HERE);
    const int code = ::inflateInit2(&m_state->zip, kRawWindow);
    if (code != Z_OK) {
        delete m_state;
        ThrowFor(S_FUNCTION, __LINE__, code, nullptr);
    }
}

SInflaterInputStream::~SInflaterInputStream()
{
    ::inflateEnd(&m_state->zip);
    delete m_state;
}

void SInflaterInputStream::TakeMore()
{
    z_stream& zip = m_state->zip;
    zip.next_in = m_state->input;
    zip.avail_in = m_inner->Read(m_state->input, sizeof m_state->input, kRun);
    if (zip.avail_in == 0)
        throw SEEOFException(S_HERE);
}

// The end of the data may follow its last byte in bits of its own, perhaps in the next piece. 1 when it was met.
int SInflaterInputStream::LookForEnd(bool takesMore)
{
    z_stream& zip = m_state->zip;
    unsigned char none;
    zip.next_out = &none;
    zip.avail_out = 0;
    if (!m_state->atEnd && zip.avail_in == 0 && takesMore) {
        zip.next_in = m_state->input;
        zip.avail_in = m_inner->Read(m_state->input, sizeof m_state->input, kRun);
    }
    if (!m_state->atEnd && ::inflate(&zip, Z_NO_FLUSH) == Z_STREAM_END) {
        m_state->atEnd = true;
        GiveBack();
    }
    return m_state->atEnd;
}

void SInflaterInputStream::GiveBack()
{
    z_stream& zip = m_state->zip;
    if (zip.avail_in > 0 && m_inner->IsKindOf(S_RUNTIME_CLASS(SInputPushbackStream)))
        static_cast<SInputPushbackStream*>(m_inner)->Unread(zip.next_in, zip.avail_in);
    zip.avail_in = 0;
}

unsigned long SInflaterInputStream::Read(void* data, unsigned long bytes, unsigned long)
{
    z_stream& zip = m_state->zip;
    zip.next_out = static_cast<Bytef*>(data);
    zip.avail_out = bytes;
    while (zip.avail_out > 0 && !m_state->atEnd) {
        // It may have taken all input and still have something to say: a match can be longer than the room was.
        const int code = ::inflate(&zip, Z_NO_FLUSH);
        if (code == Z_STREAM_END) {
            m_state->atEnd = true;
            GiveBack();
        } else if (code == Z_BUF_ERROR && zip.avail_in == 0) {
            TakeMore();
        } else if (code != Z_OK) {
            ThrowFor(S_FUNCTION, __LINE__, code, zip.msg);
        }
    }
    const unsigned long made = bytes - zip.avail_out;
    LookForEnd(false);
    return made;
}

unsigned long SInflaterInputStream::Available()
{
    return LookForEnd(true) ? 0 : kUnknown;
}

void SInflaterInputStream::Close()
{
    LookForEnd(false);
    m_state->atEnd = true;
    GiveBack();
    SInputFilter::Close();
}

// ---- Compressing ----

struct SDeflaterOutputStream::State {
    z_stream zip = {};
    bool isOpen = true;
    bool isBroken = false; // bytes are missing in the inner stream
    unsigned char output[kPiece];
};

SDeflaterOutputStream::SDeflaterOutputStream(SOutputStream& inner, int level)
    : SDeflaterOutputStream(&inner, false, level)
{}

SDeflaterOutputStream::SDeflaterOutputStream(SOutputStream* inner, bool own, int level)
    : SOutputFilter(inner, own), m_state(new (std::nothrow) State)
{
    if (!m_state)
        throw SEOutOfMemory(S_HERE);
    const int usable = level < -1 || level > 9 ? -1 : level;
    const int code =
        ::deflateInit2(&m_state->zip, usable, Z_DEFLATED, kRawWindow, kUsualMemory, Z_DEFAULT_STRATEGY);
    if (code != Z_OK) {
        delete m_state;
        ThrowFor(S_FUNCTION, __LINE__, code, nullptr);
    }
}

SDeflaterOutputStream::~SDeflaterOutputStream()
{
    try {
        if (m_state->isOpen && !m_state->isBroken)
            Run(Z_FINISH);
    }
    catch (...) {
        // As the header says.
    }
    ::deflateEnd(&m_state->zip);
    delete m_state;
}

// Compresses what stands in front of the compressor, until it has nothing more to say.
void SDeflaterOutputStream::Run(int flush)
{
    z_stream& zip = m_state->zip;
    if (m_state->isBroken)
        throw SEZipException(S_HERE, L"an earlier part of the compressed data could not be written");
    m_state->isBroken = true; // until all of it has been taken
    do {
        zip.next_out = m_state->output;
        zip.avail_out = sizeof m_state->output;
        const int code = ::deflate(&zip, flush);
        if (code == Z_STREAM_ERROR)
            ThrowFor(S_FUNCTION, __LINE__, code, zip.msg);
        const unsigned long made = sizeof m_state->output - zip.avail_out;
        if (made > 0)
            m_inner->Write(m_state->output, made, kRun);
    } while (zip.avail_out == 0);
    m_state->isBroken = false;
}

unsigned long SDeflaterOutputStream::Write(const void* data, unsigned long bytes, unsigned long)
{
    m_state->zip.next_in = static_cast<Bytef*>(const_cast<void*>(data));
    m_state->zip.avail_in = bytes;
    Run(Z_NO_FLUSH);
    return bytes;
}

void SDeflaterOutputStream::Flush()
{
    if (m_state->isOpen)
        Run(Z_SYNC_FLUSH);
    m_inner->Flush();
}

void SDeflaterOutputStream::Close()
{
    if (m_state->isOpen) {
        m_state->isOpen = false;
        m_state->zip.avail_in = 0; // what a failed call has left there is its caller's
        Run(Z_FINISH);
    }
    SOutputFilter::Close();
}
