// cfaceerror.cpp: the border of the flat face: every exception becomes a code and the thread's last error.
#include "cface.h"

#include "crash.h"
#include "describe.h"
#include "filecodes.h"
#include "safemem.h"
#include "sexcept.h"
#include "sioexcept.h"
#include "version.h"

#include <cstdlib>
#include <iterator>
#include <new>

namespace {

// Plain arrays: keeping what failed must not fail for want of memory, nor what is kept need anything but free() at the thread's
// end, where the process may be ending too.
struct LastError {
    enum { kTextRoom = 1001, kLocationRoom = 1201 };

    cv_result code;
    uint32_t system;
    wchar_t text[kTextRoom];
    wchar_t location[kLocationRoom];
};

// For a thread that has no memory for a record of its own. Nobody writes into it.
const LastError kNoRecord = { CV_E_MEMORY, 0, L"out of memory, also for what failed", L"" };

void WINAPI FreeRecord(void* record)
{
    if (record != &kNoRecord)
        std::free(record);
}

// The system's slot a thread, and not thread_local: the compiler's way to that ends the program when there is no memory.
class Slot {
public:
    Slot() noexcept : m_index(::FlsAlloc(FreeRecord)) {}
    ~Slot()
    {
        if (m_index != FLS_OUT_OF_INDEXES)
            ::FlsFree(m_index);
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    const LastError* Get() const
    {
        const DWORD error = ::GetLastError(); // asking sets it to 0
        const void* const record = m_index == FLS_OUT_OF_INDEXES ? nullptr : ::FlsGetValue(m_index);
        ::SetLastError(error);
        return static_cast<const LastError*>(record);
    }
    // To write into; null when there is no memory.
    LastError* Own() const
    {
        const LastError* const known = Get();
        if (known && known != &kNoRecord)
            return const_cast<LastError*>(known);
        if (m_index == FLS_OUT_OF_INDEXES)
            return nullptr;
        LastError* const fresh = static_cast<LastError*>(std::calloc(1, sizeof(LastError)));
        if (fresh && ::FlsSetValue(m_index, fresh))
            return fresh;
        std::free(fresh);
        ::FlsSetValue(m_index, const_cast<LastError*>(&kNoRecord));
        return nullptr;
    }

private:
    DWORD m_index;
};

const Slot g_slot;

cv_result Keep(const char* function, cv_result code, uint32_t system, const wchar_t* text,
               const wchar_t* place)
{
    LastError* const record = g_slot.Own();
    if (!record)
        return code;
    record->code = code;
    record->system = system;
    SSafeStrCpy(record->text, std::size(record->text), text);
    wchar_t* to = record->location; // the functions' names are ASCII, and shorter than that
    while (*function)
        *to++ = static_cast<unsigned char>(*function++);
    *to = L'\0';
    SSafeStrCat(record->location, std::size(record->location), place);
    return code;
}

const struct {
    int32_t code;
    const char* name;
} kNames[] = {
    { CV_OK, "CV_OK" },
    { CV_E_NULL, "CV_E_NULL" },
    { CV_E_HANDLE, "CV_E_HANDLE" },
    { CV_E_KIND, "CV_E_KIND" },
    { CV_E_RANGE, "CV_E_RANGE" },
    { CV_E_STATE, "CV_E_STATE" },
    { CV_E_MEMORY, "CV_E_MEMORY" },
    { CV_E_ENCODING, "CV_E_ENCODING" },
    { CV_E_FORMAT, "CV_E_FORMAT" },
    { CV_E_RTF, "CV_E_RTF" },
    { CV_E_CALLBACK, "CV_E_CALLBACK" },
    { CV_E_FILE_NAME, "CV_E_FILE_NAME" },
    { CV_E_FILE_MISSING, "CV_E_FILE_MISSING" },
    { CV_E_FILE_OPEN, "CV_E_FILE_OPEN" },
    { CV_E_FILE_READ, "CV_E_FILE_READ" },
    { CV_E_FILE_WRITE, "CV_E_FILE_WRITE" },
    { CV_E_FILE_REPLACE, "CV_E_FILE_REPLACE" },
    { CV_E_EXCEPTION, "CV_E_EXCEPTION" },
    { CV_E_FAULT, "CV_E_FAULT" },
};

cv_result KeepException(const char* function, cv_result code, const SException& e, uint32_t system = 0)
{
    // An exception without a message has its name, at least.
    const wchar_t* const text = e.GetText();
    return Keep(function, code, system, *text ? text : e.GetExceptionName(), e.GetLocation());
}

} // namespace

cv_result FaceFailure(const char* function) noexcept
{
    try {
        throw;
    }
    catch (const FaceRefusal& e) {
        return Keep(function, e.code, e.system, e.fixed ? e.fixed : e.text.PszStr(), L"");
    }
    catch (const SEOutOfMemory& e) {
        return KeepException(function, CV_E_MEMORY, e, static_cast<uint32_t>(e.GetResult()));
    }
    catch (const std::bad_alloc&) {
        return Keep(function, CV_E_MEMORY, static_cast<uint32_t>(E_OUTOFMEMORY), L"out of memory", L"");
    }
    catch (const SECOMException& e) {
        return KeepException(function, CV_E_EXCEPTION, e, static_cast<uint32_t>(e.GetResult()));
    }
    catch (const SEEncodingException& e) {
        return KeepException(function, CV_E_ENCODING, e);
    }
    catch (const SEMachineFault& e) {
        return KeepException(function, CV_E_FAULT, e, e.GetCode());
    }
    catch (const SException& e) {
        return KeepException(function, CV_E_EXCEPTION, e);
    }
    catch (...) {
        return Keep(function, CV_E_EXCEPTION, 0, SDescribeCurrentException(), L"");
    }
}

void FaceRefuse(cv_result code, const wchar_t* text)
{
    throw FaceRefusal{ code, text, SString() };
}

// ---- The functions ----

int32_t CVCORE_CALL cv_version(void)
{
    return SGetVersion();
}

const cv_char* CVCORE_CALL cv_version_text(void)
{
    return SGetVersionText();
}

const char* CVCORE_CALL cv_code_name(int32_t code)
{
    for (const auto& known : kNames) {
        if (known.code == code)
            return known.name;
    }
    return "unknown code";
}

cv_result CVCORE_CALL cv_last_error(void)
{
    const LastError* const record = g_slot.Get();
    return record ? record->code : CV_OK;
}

uint32_t CVCORE_CALL cv_last_error_system(void)
{
    const LastError* const record = g_slot.Get();
    return record ? record->system : 0;
}

const cv_char* CVCORE_CALL cv_last_error_text(int32_t* length)
{
    const LastError* const record = g_slot.Get();
    const wchar_t* const text = record ? record->text : L"";
    if (length)
        *length = static_cast<int32_t>(SSafeStrLen(text));
    return text;
}

const cv_char* CVCORE_CALL cv_last_error_location(int32_t* length)
{
    const LastError* const record = g_slot.Get();
    const wchar_t* const text = record ? record->location : L"";
    if (length)
        *length = static_cast<int32_t>(SSafeStrLen(text));
    return text;
}

void CVCORE_CALL cv_last_error_clear(void)
{
    if (!g_slot.Get())
        return; // no record to clear, and none to be made for that
    if (LastError* const record = g_slot.Own())
        *record = LastError();
}
