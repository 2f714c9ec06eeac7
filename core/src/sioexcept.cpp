// sioexcept.cpp: the failures of input and output.
#include "sioexcept.h"

#include <cerrno>
#include <cstring>

SEIOException::SEIOException(const char* function, const char* file, unsigned long line, long error)
    : SException(function, file, line, SString(std::strerror(errno))), m_error(error)
{}
SEIOException::SEIOException(const char* function, const char* file, unsigned long line, long error,
                             const SString& message)
    : SException(function, file, line, message), m_error(error)
{}
const wchar_t* SEIOException::GetExceptionName() const
{
    return L"SEIOException";
}

SEEOFException::SEEOFException(const char* function, const char* file, unsigned long line)
    : SException(function, file, line)
{}
const wchar_t* SEEOFException::GetExceptionName() const
{
    return L"SEEOFException";
}

SEIODiskFullException::SEIODiskFullException(const char* function, const char* file, unsigned long line)
    : SException(function, file, line)
{}
const wchar_t* SEIODiskFullException::GetExceptionName() const
{
    return L"SEIODiskFullException";
}

SEIOAbortedException::SEIOAbortedException(const char* function, const char* file, unsigned long line)
    : SException(function, file, line)
{}
const wchar_t* SEIOAbortedException::GetExceptionName() const
{
    return L"SEIOAbortedException";
}

SEEncodingException::SEEncodingException(const char* function, const char* file, unsigned long line,
                                         const SString& message)
    : SException(function, file, line, message)
{}
const wchar_t* SEEncodingException::GetExceptionName() const
{
    return L"SEEncodingException";
}

SEZipException::SEZipException(const char* function, const char* file, unsigned long line,
                               const SString& message)
    : SException(function, file, line, message)
{}
const wchar_t* SEZipException::GetExceptionName() const
{
    return L"SEZipException";
}
