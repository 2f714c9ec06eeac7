// sstream.cpp: streams, filters, and numbers in the binary form.
#include "sstream.h"

#include "sioexcept.h"

#include <algorithm>
#include <utility>

S_IMPLEMENT_DYNAMIC(SInputStream, SObject)
S_IMPLEMENT_DYNAMIC(SOutputStream, SObject)
S_IMPLEMENT_DYNAMIC(SInputBinaryStream, SInputStream)
S_IMPLEMENT_DYNAMIC(SOutputBinaryStream, SOutputStream)

// Exported for clients that take their addresses.
constexpr unsigned long SInputStream::kUnknown;
constexpr unsigned long SInputStream::kRun;
constexpr unsigned long SOutputStream::kRun;

// ---- SInputStream, SOutputStream ----

unsigned long SInputStream::Skip(unsigned long bytes)
{
    char passed[4096];
    unsigned long done = 0;
    while (done < bytes) {
        const unsigned long wanted = std::min<unsigned long>(bytes - done, sizeof passed);
        const unsigned long got = Read(passed, wanted);
        done += got;
        if (got < wanted)
            break;
    }
    return done;
}

void SInputStream::Close() {}
void SOutputStream::Flush() {}
void SOutputStream::Close() {}

// ---- Filters ----

SInputFilter::~SInputFilter()
{
    SInputStream* const inner = std::exchange(m_inner, nullptr);
    if (m_owns)
        delete inner;
}

unsigned long SInputFilter::Read(void* data, unsigned long bytes, unsigned long unit)
{
    return m_inner->Read(data, bytes, unit);
}

unsigned long SInputFilter::Skip(unsigned long bytes)
{
    return m_inner->Skip(bytes);
}

unsigned long SInputFilter::Available()
{
    return m_inner->Available();
}

void SInputFilter::Close()
{
    if (m_owns && m_inner)
        m_inner->Close();
}

SOutputFilter::~SOutputFilter()
{
    SOutputStream* const inner = std::exchange(m_inner, nullptr);
    if (m_owns)
        delete inner;
}

unsigned long SOutputFilter::Write(const void* data, unsigned long bytes, unsigned long unit)
{
    return m_inner->Write(data, bytes, unit);
}

void SOutputFilter::Flush()
{
    m_inner->Flush();
}

void SOutputFilter::Close()
{
    if (m_owns && m_inner)
        m_inner->Close();
}

// ---- Numbers ----

namespace {

const char kByteSignature[] =
    "class SInputBinaryStream &__thiscall SInputBinaryStream::operator >>(unsigned char &)";
const char kShortSignature[] =
    "class SInputBinaryStream &__thiscall SInputBinaryStream::operator >>(unsigned short &)";
const char kLongSignature[] = "class SInputBinaryStream &__thiscall SInputBinaryStream::operator >>(long &)";
const char kUnsignedSignature[] =
    "class SInputBinaryStream &__thiscall SInputBinaryStream::operator >>(unsigned long &)";

} // namespace

void SInputBinaryStream::ThrowEnd(unsigned char*)
{
    throw SEEOFException(kByteSignature, __FILE__, __LINE__);
}

void SInputBinaryStream::ThrowEnd(unsigned short*)
{
    throw SEEOFException(kShortSignature, __FILE__, __LINE__);
}

void SInputBinaryStream::ThrowEnd(long*)
{
    throw SEEOFException(kLongSignature, __FILE__, __LINE__);
}

void SInputBinaryStream::ThrowEnd(unsigned long*)
{
    throw SEEOFException(kUnsignedSignature, __FILE__, __LINE__);
}
