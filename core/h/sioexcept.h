// sioexcept.h: the failures of input and output.
//
//     catch (const SEIODiskFullException&) { ... }             // beside SEIOException, not below it
//
// Each class derives from SException directly, so a client who wants to hear of them all catches that.
#ifndef SIOEXCEPT_H
#define SIOEXCEPT_H

#include "sexcept.h"

/// Input or output failed. Without a message of its own it has the run-time's text for the value that errno has when it is
/// constructed.
class CVCORE_API SEIOException : public SException {
public:
    SEIOException(const char* function, const char* file, unsigned long line, long error);
    /// With a message of its own.
    SEIOException(const char* function, const char* file, unsigned long line, long error,
                  const SString& message);
    const wchar_t* GetExceptionName() const override;

    /// The error number that the thrower gave.
    long GetError() const { return m_error; }

private:
    long m_error;
};

/// The data ended while more was expected.
class CVCORE_API SEEOFException : public SException {
public:
    SEEOFException(const char* function, const char* file, unsigned long line);
    const wchar_t* GetExceptionName() const override;
};

/// The disk is full.
class CVCORE_API SEIODiskFullException : public SException {
public:
    SEIODiskFullException(const char* function, const char* file, unsigned long line);
    const wchar_t* GetExceptionName() const override;
};

/// Somebody ended the operation before it was done.
class CVCORE_API SEIOAbortedException : public SException {
public:
    SEIOAbortedException(const char* function, const char* file, unsigned long line);
    const wchar_t* GetExceptionName() const override;
};

/// Text that is not in the encoding that it should be in, or that cannot be put into it.
class CVCORE_API SEEncodingException : public SException {
public:
    SEEncodingException(const char* function, const char* file, unsigned long line,
                        const SString& message = SString());
    const wchar_t* GetExceptionName() const override;
};

/// An archive that cannot be read.
class CVCORE_API SEZipException : public SException {
public:
    SEZipException(const char* function, const char* file, unsigned long line,
                   const SString& message = SString());
    const wchar_t* GetExceptionName() const override;
};

#endif
