// The calls of windows.h in the native lane. Where the library's tests know what the system answers, this answers the same;
// the ANSI code page is 1252.
#include <windows.h>

#ifdef NATIVE_HELGRIND
#include <valgrind/helgrind.h>
#else
#define ANNOTATE_HAPPENS_BEFORE(object)
#define ANNOTATE_HAPPENS_AFTER(object)
#endif

#include <locale.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>
#include <wctype.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" {
IMAGE_DOS_HEADER __ImageBase;
}

namespace {

thread_local DWORD g_error;

locale_t AnyLetter()
{
    static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

} // namespace

// ---- Errors, locks, time, modules ----

DWORD GetLastError()
{
    return g_error;
}
void SetLastError(DWORD error)
{
    g_error = error;
}
DWORD FormatMessageW(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, va_list*)
{
    return 0;
}
void OutputDebugStringW(const wchar_t*) {}

void InitializeCriticalSection(CRITICAL_SECTION* section)
{
    auto* const mutex = new pthread_mutex_t;
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(mutex, &attributes);
    section->mutex = mutex;
}
void DeleteCriticalSection(CRITICAL_SECTION* section)
{
    auto* const mutex = static_cast<pthread_mutex_t*>(section->mutex);
    ::pthread_mutex_destroy(mutex);
    delete mutex;
}
void EnterCriticalSection(CRITICAL_SECTION* section)
{
    ::pthread_mutex_lock(static_cast<pthread_mutex_t*>(section->mutex));
}
void LeaveCriticalSection(CRITICAL_SECTION* section)
{
    ::pthread_mutex_unlock(static_cast<pthread_mutex_t*>(section->mutex));
}
LONG InterlockedIncrement(volatile LONG* number)
{
    return __atomic_add_fetch(number, 1, __ATOMIC_SEQ_CST);
}
LONG InterlockedDecrement(volatile LONG* number)
{
    ANNOTATE_HAPPENS_BEFORE(number);
    const LONG left = __atomic_sub_fetch(number, 1, __ATOMIC_SEQ_CST);
    ANNOTATE_HAPPENS_AFTER(number);
    return left;
}
LONG InterlockedExchange(volatile LONG* number, LONG value)
{
    ANNOTATE_HAPPENS_BEFORE(number);
    const LONG before = __atomic_exchange_n(number, value, __ATOMIC_SEQ_CST);
    ANNOTATE_HAPPENS_AFTER(number);
    return before;
}
LONG InterlockedCompareExchange(volatile LONG* number, LONG value, LONG expected)
{
    ANNOTATE_HAPPENS_BEFORE(number);
    __atomic_compare_exchange_n(number, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    ANNOTATE_HAPPENS_AFTER(number);
    return expected;
}

DWORD GetCurrentThreadId()
{
    return static_cast<DWORD>(::gettid());
}
void Sleep(DWORD milliseconds)
{
    ::usleep(milliseconds * 1000);
}
BOOL SwitchToThread()
{
    return ::sched_yield() == 0;
}
void YieldProcessor() {}

void GetSystemInfo(SYSTEM_INFO* info)
{
    info->dwPageSize = 4096;
    info->dwAllocationGranularity = 65536;
}
BOOL QueryPerformanceCounter(LARGE_INTEGER* count)
{
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    count->QuadPart = now.tv_sec * 1000000000LL + now.tv_nsec;
    return TRUE;
}
int MulDiv(int number, int numerator, int denominator)
{
    const long long product = static_cast<long long>(number) * numerator;
    const long long half = denominator / 2;
    return denominator == 0 ? -1 : static_cast<int>((product + (product < 0 ? -half : half)) / denominator);
}
HMODULE GetModuleHandleW(const wchar_t*)
{
    return nullptr;
}
BOOL GetModuleHandleExW(DWORD, const wchar_t*, HMODULE*)
{
    return FALSE;
}
FARPROC GetProcAddress(HMODULE, const char*)
{
    return nullptr;
}
HRSRC FindResourceW(HMODULE, const wchar_t*, const wchar_t*)
{
    return nullptr;
}
HGLOBAL LoadResource(HMODULE, HRSRC)
{
    return nullptr;
}
void* LockResource(HGLOBAL)
{
    return nullptr;
}
DWORD SizeofResource(HMODULE, HRSRC)
{
    return 0;
}
HANDLE GetStdHandle(DWORD)
{
    return nullptr;
}
BOOL WriteFile(HANDLE, const void* bytes, DWORD size, DWORD* written, void*)
{
    *written = static_cast<DWORD>(std::fwrite(bytes, 1, size, stderr));
    return *written == size;
}
HLOCAL LocalFree(HLOCAL memory)
{
    std::free(memory);
    return nullptr;
}

// ---- Global memory: a handle is no address, and the bytes are exactly as many as were asked for ----

namespace {

struct Memory {
    char* bytes;
    SIZE_T size;
};

// A block of its own for no bytes too, so that a sanitizer knows it.
char* NewBytes(SIZE_T size)
{
    return static_cast<char*>(std::calloc(size, 1));
}

} // namespace

HGLOBAL GlobalAlloc(UINT, SIZE_T bytes)
{
    char* const block = NewBytes(bytes);
    return block ? new Memory{ block, bytes } : nullptr;
}
HGLOBAL GlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT)
{
    auto* const block = static_cast<Memory*>(memory);
    char* const moved = NewBytes(bytes);
    if (!moved)
        return nullptr;
    std::memcpy(moved, block->bytes, std::min(bytes, block->size));
    std::free(block->bytes);
    *block = { moved, bytes };
    return memory;
}
HGLOBAL GlobalFree(HGLOBAL memory)
{
    if (auto* const block = static_cast<Memory*>(memory)) {
        std::free(block->bytes);
        delete block;
    }
    return nullptr;
}
void* GlobalLock(HGLOBAL memory)
{
    auto* const block = static_cast<Memory*>(memory);
    return block && block->size > 0 ? block->bytes : nullptr;
}
BOOL GlobalUnlock(HGLOBAL)
{
    return TRUE;
}
SIZE_T GlobalSize(HGLOBAL memory)
{
    return memory ? static_cast<Memory*>(memory)->size : 0;
}

// ---- Code pages ----

namespace {

constexpr wchar_t kReplacement = 0xFFFD;
// What 1252 has at 0x80 to 0x9F; the rest is the first row of Unicode.
constexpr wchar_t kAnsiRow[] = { 0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                 0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178 };

wchar_t FromAnsi(unsigned char c)
{
    return c >= 0x80 && c < 0xA0 ? kAnsiRow[c - 0x80] : c;
}
int ToAnsi(wchar_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c < 0x100))
        return c;
    const wchar_t* const found = std::find(std::begin(kAnsiRow), std::end(kAnsiRow), c);
    return found == std::end(kAnsiRow) ? -1 : static_cast<int>(0x80 + (found - kAnsiRow));
}

constexpr BYTE kKanaLeads[] = { 0x81, 0x9F, 0xE0, 0xFC }; // from, to, from, to

bool IsLead(UINT page, BYTE byte)
{
    return page == 932 && ((byte >= kKanaLeads[0] && byte <= kKanaLeads[1]) ||
                           (byte >= kKanaLeads[2] && byte <= kKanaLeads[3]));
}

constexpr unsigned kMalformed = 0x110000;

// The character at the start of some bytes and how many it takes; kMalformed for a byte that begins none, and for what the end
// cuts off, all of it.
unsigned ReadUtf8(const unsigned char* at, size_t left, size_t* length)
{
    const unsigned first = at[0];
    const size_t size = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                        : first < 0xF5 ? 4
                                       : 0;
    *length = 1;
    if (size > left &&
        std::all_of(at + 1, at + left, [](unsigned char tail) { return (tail & 0xC0) == 0x80; }))
        *length = left;
    if (size == 0 || size > left)
        return kMalformed;
    unsigned c = size == 1 ? first : first & (0x7Fu >> size);
    for (size_t i = 1; i < size; ++i) {
        if ((at[i] & 0xC0) != 0x80)
            return kMalformed;
        c = c << 6 | (at[i] & 0x3Fu);
    }
    if ((size == 3 && c < 0x800) || (size == 4 && (c < 0x10000 || c > 0x10FFFF)) ||
        (c & 0xFFFFF800) == 0xD800)
        return kMalformed;
    *length = size;
    return c;
}

// What was made, into an output that it must fit; the length alone when there is no room.
template <class Unit>
int Deliver(const std::basic_string<Unit>& made, Unit* output, int room)
{
    const int length = static_cast<int>(made.size());
    if (room == 0)
        return length;
    if (length > room)
        return 0;
    std::copy(made.begin(), made.end(), output);
    return length;
}

} // namespace

UINT GetACP()
{
    return 1252;
}
DWORD GetVersion()
{
    return 10;
}

int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int length, wchar_t* output, int room)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    const size_t count = length < 0 ? std::strlen(text) + 1 : static_cast<size_t>(length);
    std::wstring made;
    for (size_t at = 0, taken = 1; at < count; at += taken) {
        taken = 1;
        if (at + 1 < count && IsLead(page, bytes[at])) {
            // Where the kana stand; others become some character, which is enough here.
            made += static_cast<wchar_t>(0x3041 + (bytes[at] - 0x82) * 256 + bytes[at + 1] - 0x9F);
            taken = 2;
            continue;
        }
        if (page != CP_UTF8) {
            made += FromAnsi(bytes[at]);
            continue;
        }
        unsigned c = ReadUtf8(bytes + at, count - at, &taken);
        if (c == kMalformed && (flags & MB_ERR_INVALID_CHARS))
            return 0;
        c = c == kMalformed ? kReplacement : c;
        if (c > 0xFFFF)
            made += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
        made += static_cast<wchar_t>(c > 0xFFFF ? 0xDC00 + (c & 0x3FF) : c);
    }
    return Deliver(made, output, room);
}

int WideCharToMultiByte(UINT page, DWORD flags, const wchar_t* text, int length, char* output, int room,
                        const char*, BOOL* usedDefault)
{
    const size_t count = length < 0 ? std::wcslen(text) + 1 : static_cast<size_t>(length);
    std::string made;
    if (usedDefault)
        *usedDefault = FALSE;
    for (size_t at = 0; at < count; ++at) {
        unsigned c = text[at];
        if (page != CP_UTF8) {
            const int ansi = ToAnsi(text[at]);
            if (ansi < 0 && usedDefault)
                *usedDefault = TRUE;
            made += static_cast<char>(ansi < 0 ? '?' : ansi);
            continue;
        }
        const unsigned next = at + 1 < count ? text[at + 1] : 0;
        if ((c & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c & 0x3FF) << 10) + (next & 0x3FF);
            ++at;
        } else if ((c & 0xF800) == 0xD800) {
            if (flags & WC_ERR_INVALID_CHARS)
                return 0;
            c = kReplacement;
        }
        const auto tail = [&](int shift) { made += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
        if (c < 0x80) {
            made += static_cast<char>(c);
        } else if (c < 0x800) {
            made += static_cast<char>(0xC0 | c >> 6);
            tail(0);
        } else if (c < 0x10000) {
            made += static_cast<char>(0xE0 | c >> 12);
            tail(6);
            tail(0);
        } else {
            made += static_cast<char>(0xF0 | c >> 18);
            tail(12);
            tail(6);
            tail(0);
        }
    }
    return Deliver(made, output, room);
}

BOOL GetCPInfo(UINT page, CPINFO* info)
{
    *info = CPINFO{ page == CP_UTF8 ? 4u : page == 932 ? 2u : 1u, { '?' }, {} };
    if (page == 932)
        std::copy(std::begin(kKanaLeads), std::end(kKanaLeads), info->LeadByte);
    return TRUE;
}

// ---- Letters ----

int LCMapStringW(LCID, DWORD flags, const wchar_t* text, int length, wchar_t* output, int room)
{
    const size_t count = length < 0 ? std::wcslen(text) + 1 : static_cast<size_t>(length);
    std::wstring made;
    for (size_t i = 0; i < count; ++i) {
        const wint_t c =
            flags & LCMAP_UPPERCASE ? ::towupper_l(text[i], AnyLetter()) : ::towlower_l(text[i], AnyLetter());
        made += c > 0xFFFF ? text[i] : static_cast<wchar_t>(c);
    }
    return Deliver(made, output, room);
}

int CompareStringW(LCID, DWORD, const wchar_t* a, int aLength, const wchar_t* b, int bLength)
{
    const size_t aCount = aLength < 0 ? std::wcslen(a) : static_cast<size_t>(aLength);
    const size_t bCount = bLength < 0 ? std::wcslen(b) : static_cast<size_t>(bLength);
    const int order = std::wmemcmp(a, b, std::min(aCount, bCount));
    if (order != 0)
        return order < 0 ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
    return aCount < bCount ? CSTR_LESS_THAN : aCount > bCount ? CSTR_GREATER_THAN : CSTR_EQUAL;
}

int FoldStringW(DWORD, const wchar_t* text, int length, wchar_t* output, int room)
{
    const size_t count = length < 0 ? std::wcslen(text) + 1 : static_cast<size_t>(length);
    return Deliver(std::wstring(text, count), output, room);
}

BOOL GetStringTypeW(DWORD kind, const wchar_t* text, int length, WORD* types)
{
    const locale_t any = AnyLetter();
    for (int i = 0; i < length; ++i) {
        const wint_t c = text[i];
        const bool isLetter = ::iswalpha_l(c, any) != 0;
        WORD type = 0;
        if (kind == CT_CTYPE1) {
            type |= ::iswupper_l(c, any) ? C1_UPPER : 0;
            type |= ::iswlower_l(c, any) ? C1_LOWER : 0;
            type |= c >= L'0' && c <= L'9' ? C1_DIGIT : 0;
            type |= ::iswspace_l(c, any) ? C1_SPACE : 0;
            type |= isLetter ? C1_ALPHA : 0;
        } else {
            type |= isLetter ? C3_ALPHA : 0;
            type |= c >= 0x300 && c < 0x370 ? C3_NONSPACING : 0;
        }
        types[i] = type;
    }
    return TRUE;
}
