// sexcept.cpp: exceptions of the foundation.
//
// SEOutOfMemory decides how this file is built: from its constructor to its catch nothing may be allocated, yet its
// location is an ordinary SString that copies like any other. Its texts therefore stand in static string buffers, each
// holding one reference of its own for ever, so that sharing strings never bring the count to 0.
#include "sexcept.h"

#include "location.h"

#include <atomic>
#include <cstdio>
#include <cwchar>
#include <memory>

namespace {

constexpr wchar_t kLocationNotKept[] =
    L"\nThrown from:\n (too many places ran out of memory to keep this one)";
constexpr wchar_t kResultText[] = L"\n    HRESULT = 0x%0.8X";
constexpr wchar_t kOutOfMemoryText[] = L"\n    HRESULT = 0x8007000E";
constexpr wchar_t kMeaningIndent[] = L"\n    ";

// A location that an out-of-memory exception was thrown from.
struct KeptLocation {
    enum State : long { kFree, kFilling, kReady };

    std::atomic<long> state{ kFree };
    SStringData data{ 1, 0, kLocationRoom - 1 };
    wchar_t text[kLocationRoom] = {};
};
static_assert(offsetof(KeptLocation, text) == offsetof(KeptLocation, data) + sizeof(SStringData),
              "the characters of a string buffer follow its header");

KeptLocation g_locations[SEOutOfMemory::kLocations];
struct {
    SStringData data;
    wchar_t text[sizeof kLocationNotKept / sizeof(wchar_t)];
} g_notKept = { { 1, static_cast<long>(std::size(kLocationNotKept)) - 1,
                  static_cast<long>(std::size(kLocationNotKept)) - 1 },
                L"\nThrown from:\n (too many places ran out of memory to keep this one)" };

// The static buffer with this location. Threads that come here together may keep the same place twice; no harm.
SStringData* KeepLocation(const char* function, const char* file, unsigned long line)
{
    wchar_t wanted[kLocationRoom];
    const int length = FormatLocation(wanted, function, file, line);
    for (KeptLocation& kept : g_locations) {
        long state = KeptLocation::kFree;
        if (kept.state.compare_exchange_strong(state, KeptLocation::kFilling, std::memory_order_acquire)) {
            std::wmemcpy(kept.text, wanted, static_cast<size_t>(length) + 1);
            kept.data.length = length;
            kept.state.store(KeptLocation::kReady, std::memory_order_release);
            return &kept.data;
        }
        if (state == KeptLocation::kReady && std::wcscmp(kept.text, wanted) == 0)
            return &kept.data;
    }
    return &g_notKept.data;
}

SRegisterGetResultFormat* g_firstFormat = nullptr;

// The system's own text for a code, without the line end and the full stop's company that it comes with.
int FormatSystemResult(long hr, SString* text)
{
    wchar_t* message = nullptr;
    DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr,
        static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(&message), 0, nullptr);
    if (length == 0)
        return 0;
    const std::unique_ptr<wchar_t, decltype(&::LocalFree)> owner(message, ::LocalFree);
    while (length > 0 && (message[length - 1] <= L' '))
        --length;
    if (length == 0)
        return 0;
    *text = SString(message, static_cast<int>(length));
    return 1;
}

const SRegisterGetResultFormat g_systemResults(FormatSystemResult);

} // namespace

int FormatLocation(wchar_t* buffer, const char* function, const char* file, unsigned long line) noexcept
{
    const int length = ::_snwprintf(buffer, kLocationRoom, L"%s%hs(%i): %hs", kThrownFrom, file ? file : "",
                                    static_cast<int>(line), function ? function : "");
    buffer[kLocationRoom - 1] = L'\0';
    return length >= 0 && length < kLocationRoom ? length : kLocationRoom - 1;
}

// Lets a string share a static buffer.
struct SStaticText {
    static SString Share(SStringData* data)
    {
        SString text;
        ::InterlockedIncrement(&data->refs);
        text.m_text = data->Text();
        return text;
    }
};

// ---- SException ----

SException::SException(const char* function, const char* file, unsigned long line, const SString& message)
    : m_message(message)
{
    FmtDbgFileLine(function, file, line);
}

SException::SException(const SString& location) : m_location(location) {}

SException::~SException() = default;

const wchar_t* SException::GetText() const
{
    return m_message;
}

const wchar_t* SException::GetExceptionName() const
{
    return L"SException";
}

SString SException::GetFullText() const
{
    const wchar_t* text = GetText();
    return SString::Concat(GetExceptionName(), *text ? L": " : L"", text, GetLocation());
}

const wchar_t* SException::GetLocation() const
{
    return m_location;
}

void SException::FmtDbgFileLine(const char* function, const char* file, unsigned long line)
{
    wchar_t location[kLocationRoom];
    FormatLocation(location, function, file, line);
    m_location = location;
}

// ---- SECOMException ----

SECOMException::SECOMException(const char* function, const char* file, unsigned long line, HRESULT result)
    : SException(function, file, line), m_result(result)
{}

SECOMException::SECOMException(const SString& location, HRESULT result)
    : SException(location), m_result(result)
{}

const wchar_t* SECOMException::GetText() const
{
    if (m_message.IsEmpty()) {
        try {
            SString text, meaning;
            text.Format(kResultText, m_result);
            if (GetResultFormat(m_result, &meaning))
                text += kMeaningIndent + meaning;
            m_message = std::move(text);
        }
        catch (...) {
            // Asking for the text of a failure must not fail in its turn.
        }
    }
    return m_message;
}

const wchar_t* SECOMException::GetExceptionName() const
{
    return L"SECOMException";
}

// ---- SEOutOfMemory ----

SEOutOfMemory::SEOutOfMemory(const char* function, const char* file, unsigned long line)
    : SECOMException(SStaticText::Share(KeepLocation(function, file, line)), E_OUTOFMEMORY)
{}

const wchar_t* SEOutOfMemory::GetText() const
{
    const wchar_t* text = SECOMException::GetText();
    return *text ? text : kOutOfMemoryText;
}

const wchar_t* SEOutOfMemory::GetExceptionName() const
{
    return L"SEOutOfMemory";
}

SString SEOutOfMemory::GetFullText() const
{
    try {
        return SException::GetFullText();
    }
    catch (const SEOutOfMemory&) {
        return m_location;
    }
}

// ---- Texts for HRESULTs ----

SRegisterGetResultFormat::SRegisterGetResultFormat(SResultFormat format) : m_format(format)
{
    SRegisterGetResultFormat** link = &g_firstFormat;
    while (*link && reinterpret_cast<UINT_PTR>((*link)->m_format) < reinterpret_cast<UINT_PTR>(format))
        link = &(*link)->m_next;
    m_next = *link;
    *link = this;
}

SRegisterGetResultFormat::~SRegisterGetResultFormat()
{
    for (SRegisterGetResultFormat** link = &g_firstFormat; *link; link = &(*link)->m_next) {
        if (*link == this) {
            *link = m_next;
            return;
        }
    }
}

int GetResultFormat(long hr, SString* text)
{
    SResultFormat asked = nullptr;
    for (const SRegisterGetResultFormat* known = g_firstFormat; known; known = known->m_next) {
        if (known->m_format == asked)
            continue; // registered twice
        asked = known->m_format;
        if (asked(hr, text) != 0)
            return 1;
    }
    return FormatSystemResult(hr, text);
}
