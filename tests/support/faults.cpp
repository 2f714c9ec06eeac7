#include "faults.h"

#include <windows.h>

#include <tlhelp32.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>

// Everything here runs in a process that is broken or stuck, perhaps with the heap or stdio locked: fixed
// buffers and WriteFile only, and what needs a lock of the system is done before a thread is suspended.
namespace {

enum { kMaxModules = 64, kMaxThreads = 64, kMaxFrames = 24, kStackWords = 8192 };

struct Module {
    DWORD_PTR base;
    DWORD size;
    char name[64];
};

Module g_modules[kMaxModules];
int g_moduleCount;
std::atomic<void (*)()> g_tell(nullptr);
std::atomic<DWORD> g_watchUntil; // a tick count

void Tell()
{
    if (void (*const tell)() = g_tell.exchange(nullptr))
        tell();
}

void Print(const char* format, ...)
{
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    const DWORD bytes = length < 0 ? 0 : length < int(sizeof line) ? DWORD(length) : DWORD(sizeof line - 1);
    DWORD written;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, bytes, &written, nullptr);
}

void ReadModules()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, GetCurrentProcessId());
    if (snapshot == INVALID_HANDLE_VALUE)
        return;
    g_moduleCount = 0;
    MODULEENTRY32 entry;
    entry.dwSize = sizeof entry;
    for (BOOL more = Module32First(snapshot, &entry); more && g_moduleCount < kMaxModules;
         more = Module32Next(snapshot, &entry)) {
        Module& module = g_modules[g_moduleCount++];
        module.base = reinterpret_cast<DWORD_PTR>(entry.modBaseAddr);
        module.size = entry.modBaseSize;
        snprintf(module.name, sizeof module.name, "%s", entry.szModule);
    }
    CloseHandle(snapshot);
}

const Module* FindModule(DWORD_PTR address)
{
    for (int i = 0; i < g_moduleCount; ++i) {
        if (address - g_modules[i].base < g_modules[i].size)
            return &g_modules[i];
    }
    return nullptr;
}

void PrintPlace(const char* before, DWORD_PTR address)
{
    if (const Module* module = FindModule(address))
        Print("%s%s+0x%lx\n", before, module->name, static_cast<unsigned long>(address - module->base));
    else
        Print("%s0x%p\n", before, reinterpret_cast<void*>(address));
}

bool IsReadable(DWORD_PTR address, SIZE_T bytes)
{
    MEMORY_BASIC_INFORMATION info;
    if (!VirtualQuery(reinterpret_cast<void*>(address), &info, sizeof info) || info.State != MEM_COMMIT)
        return false;
    if (info.Protect & (PAGE_NOACCESS | PAGE_GUARD))
        return false;
    return address + bytes <= reinterpret_cast<DWORD_PTR>(info.BaseAddress) + info.RegionSize;
}

// Optimised code keeps no frame pointers, so the words of the stack are looked through for addresses that
// stand behind a call instruction. It shows a few stale ones too, but never misses the true ones.
bool IsReturnAddress(DWORD_PTR address)
{
    if (!FindModule(address) || !IsReadable(address - 7, 7))
        return false;
    MEMORY_BASIC_INFORMATION info;
    VirtualQuery(reinterpret_cast<void*>(address), &info, sizeof info);
    if (!(info.Protect &
          (PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY)))
        return false;
    const auto* code = reinterpret_cast<const unsigned char*>(address);
    if (code[-5] == 0xE8)
        return true; // call relative
    for (int length = 2; length <= 7; ++length) {
        if (code[-length] == 0xFF && (code[-length + 1] & 0x38) == 0x10)
            return true; // call through register or memory
    }
    return false;
}

void PrintStack(const CONTEXT& context)
{
#if defined(__i386__)
    const DWORD_PTR ip = context.Eip, sp = context.Esp;
#else
    const DWORD_PTR ip = context.Rip, sp = context.Rsp;
#endif
    PrintPlace("    at ", ip);
    int frames = 0;
    for (DWORD_PTR at = sp; frames < kMaxFrames && at < sp + kStackWords * sizeof(DWORD_PTR);
         at += sizeof(DWORD_PTR)) {
        if (!IsReadable(at, sizeof(DWORD_PTR)))
            break;
        const DWORD_PTR word = *reinterpret_cast<const DWORD_PTR*>(at);
        if (IsReturnAddress(word)) {
            PrintPlace("       ", word);
            ++frames;
        }
    }
}

void PrintThread(DWORD id)
{
    const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, id);
    if (!thread)
        return;
    Print("thread %lu\n", id);
    CONTEXT context;
    context.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
    // Resumed again before printing goes on with the next: the thread may hold what GetThreadContext needs.
    if (SuspendThread(thread) != DWORD(-1)) {
        if (GetThreadContext(thread, &context))
            PrintStack(context);
        ResumeThread(thread);
    }
    CloseHandle(thread);
}

void PrintOtherThreads()
{
    DWORD ids[kMaxThreads];
    int count = 0;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return;
    THREADENTRY32 entry;
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more && count < kMaxThreads;
         more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId() && entry.th32ThreadID != GetCurrentThreadId())
            ids[count++] = entry.th32ThreadID;
    }
    CloseHandle(snapshot);
    for (int i = 0; i < count; ++i)
        PrintThread(ids[i]);
}

LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* fault)
{
    const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
    ReadModules();
    Print("\nCRASH: code 0x%08lx in thread %lu", record.ExceptionCode, GetCurrentThreadId());
    if (record.ExceptionCode == DWORD(EXCEPTION_ACCESS_VIOLATION) && record.NumberParameters >= 2) {
        Print(", %s 0x%p", record.ExceptionInformation[0] == 0 ? "reading" : "writing",
              reinterpret_cast<void*>(record.ExceptionInformation[1]));
    }
    PrintPlace(", at ", reinterpret_cast<DWORD_PTR>(record.ExceptionAddress));
    PrintStack(*fault->ContextRecord);
    Tell();
    TerminateProcess(GetCurrentProcess(), kExitCrashed);
    return EXCEPTION_EXECUTE_HANDLER;
}

// Milliseconds until the watchdog ends the program; 0 when it is time.
DWORD LeftToWatch()
{
    const DWORD left = g_watchUntil - GetTickCount();
    return left < 0x80000000 ? left : 0;
}

DWORD WINAPI Watch(void*)
{
    // In short steps: the time may be made shorter meanwhile.
    while (const DWORD left = LeftToWatch())
        Sleep(left < 1000 ? left : 1000);
    Print("\nHUNG: the program does not end, or does not get on; the threads stand at (newest first, stale "
          "entries "
          "possible):\n");
    ReadModules();
    PrintOtherThreads();
    Tell();
    TerminateProcess(GetCurrentProcess(), kExitHung);
    return 0;
}

} // namespace

void ReportCrashes()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    SetUnhandledExceptionFilter(OnUnhandled);
}

void StartWatchdog(unsigned seconds)
{
    RestartWatchdog(seconds);
    const HANDLE thread = CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr);
    if (!thread) {
        Print("watchdog: no thread, error %lu\n", GetLastError());
        TerminateProcess(GetCurrentProcess(), kExitCrashed);
    }
    CloseHandle(thread);
}

void RestartWatchdog(unsigned seconds)
{
    g_watchUntil = GetTickCount() + seconds * 1000;
}

void AtFault(void (*tell)())
{
    g_tell = tell;
}
