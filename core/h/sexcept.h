// sexcept.h: the root of the library's exceptions, failures with an HRESULT, and out of memory.
//
//     throw SECOMException(S_HERE, E_ACCESSDENIED);
//
//     catch (const SException& e) { log << e.GetFullText(); }   // name, text and "Thrown from"
//
// The failures of files, streams and encodings are in sioexcept.h, exceptions that name who is to catch them in
// starget.h, machine faults in crash.h; describe.h makes a text of any exception.
//
// Value    exceptions are thrown and caught by value, also across the DLL's border; copies share their texts.
// Threads  an exception object belongs to one thread at a time; copies may live on different threads.
// Failure  SEOutOfMemory is constructed, copied, thrown and asked for its texts without any allocation that it needs.
// Cost     a location is formatted when the exception is constructed.
#ifndef SEXCEPT_H
#define SEXCEPT_H

#include "cvbase.h"
#include "strclss.h"

/// Root of the library's exceptions: a message, and the place that threw.
class CVCORE_API SException {
public:
    /// Every constructor takes the place first (see S_HERE): function signature, source file, line.
    SException(const char* function, const char* file, unsigned long line,
               const SString& message = SString());
    SException(const SException&) = default;
    SException& operator=(const SException&) = default;
    virtual ~SException();

    /// The message; never null, empty when there is none. The pointer lives as long as the exception.
    virtual const wchar_t* GetText() const;
    /// The class's own name, e.g. "SException".
    virtual const wchar_t* GetExceptionName() const;
    /// Name, then ": " and the text if there is one, then the location.
    virtual SString GetFullText() const;

    /// "\nThrown from:\n file(line): function", cut at 1073 characters.
    virtual const wchar_t* GetLocation() const;

protected:
    /// For a class whose location text exists already.
    explicit SException(const SString& location);
    /// Formats the location and stores it.
    void FmtDbgFileLine(const char* function, const char* file, unsigned long line);

    // Mutable: a class may build its texts when it is first asked for them.
    mutable SString m_message;
    mutable SString m_location;
};

/// A failure with an HRESULT.
class CVCORE_API SECOMException : public SException {
public:
    SECOMException(const char* function, const char* file, unsigned long line, HRESULT result);

    /// "\n    HRESULT = 0x..." and, when a registered formatter knows the code, its text on the next line, indented the
    /// same. Built when first asked for; empty when there is no memory for that.
    const wchar_t* GetText() const override;
    const wchar_t* GetExceptionName() const override;

    HRESULT GetResult() const { return m_result; }

protected:
    SECOMException(const SString& location, HRESULT result);

    HRESULT m_result;
};

/// Out of memory, thrown by every allocator of the library; the HRESULT is always 0x8007000E.
///
/// Nothing is allocated from its construction to its catch, so that it also works while the heap stays empty: locations
/// are kept in a fixed number of static buffers (kLocations places a process, each formatted once; the places beyond that
/// share a text that says so), and GetText falls back to a static text.
class CVCORE_API SEOutOfMemory : public SECOMException {
public:
    SEOutOfMemory(const char* function, const char* file, unsigned long line);

    const wchar_t* GetText() const override;
    const wchar_t* GetExceptionName() const override;
    /// Only the location when there is no memory for more.
    SString GetFullText() const override;

    /// How many different places a process can throw from before they share one text.
    enum { kLocations = 64 };
};

// ---- Texts for HRESULTs ----

/// Writes what `hr` means into `*text` and returns nonzero, or returns 0 when it does not know the code.
typedef int (*SResultFormat)(long hr, SString* text);

/// A static object of this class makes a formatter known while the object lives. The formatters of a process are asked in
/// the order of their addresses, each once however often it was registered. When none of them knows a code the system is
/// asked. Construct and end on the main thread (static initialisation, module load and unload).
class CVCORE_API SRegisterGetResultFormat {
public:
    explicit SRegisterGetResultFormat(SResultFormat format);
    ~SRegisterGetResultFormat();
    SRegisterGetResultFormat(const SRegisterGetResultFormat&) = delete;
    SRegisterGetResultFormat& operator=(const SRegisterGetResultFormat&) = delete;

private:
    friend CVCORE_API int GetResultFormat(long hr, SString* text);

    SResultFormat m_format;
    SRegisterGetResultFormat* m_next; // the register is a list through its objects, in the order of m_format
};

/// Asks the formatters until one knows `hr`, the system last; 0 and an untouched text when none does.
CVCORE_API int GetResultFormat(long hr, SString* text);

#endif
