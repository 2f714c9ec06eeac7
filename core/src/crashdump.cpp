// crashdump.cpp: dump files for a debugger, beside the exception log.
#include "crashdump.h"

#include "crashlog.h"
#include "systemlibrary.h"

#include <atomic>
#include <type_traits>

namespace {

// As dbghelp.h declares them; the header's library would be linked for nothing.
struct DumpException {
    DWORD thread;
    EXCEPTION_POINTERS* pointers;
    BOOL clientPointers;
} __attribute__((packed, aligned(4)));
typedef BOOL(WINAPI* WriteDump)(HANDLE process, DWORD id, HANDLE file, int type, DumpException* exception,
                                void* streams, void* callback);

constexpr int kUsefulDump = 0x1 | 0x40; // data segments and what the stacks point to
std::atomic<WriteDump> g_writeDump{ nullptr };
std::atomic<int> g_wantsDumps{ 0 };
std::atomic<unsigned> g_dumps{ 0 };

} // namespace

int SSetExceptionDumps(int on) noexcept
{
    if (on && !g_writeDump.load()) {
        // Now, and for good: it must be there when the heap no longer is.
        const WriteDump found =
            FindInSystem<std::remove_pointer_t<WriteDump>>(L"dbghelp.dll", "MiniDumpWriteDump");
        if (!found)
            return 0;
        g_writeDump.store(found);
    }
    g_wantsDumps.store(on != 0);
    return 1;
}

bool WantsDumps() noexcept
{
    return g_wantsDumps.load() && g_writeDump.load();
}

void NextDumpPath(LogPathText& path) noexcept
{
    GetLogPath(path, true);
    path << L".";
    path.Number(::GetCurrentProcessId()) << L"-";
    path.Number(++g_dumps) << L".dmp";
}

bool WriteDumpFile(const wchar_t* path, EXCEPTION_POINTERS* pointers) noexcept
{
    const HANDLE file =
        ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DumpException exception = { ::GetCurrentThreadId(), pointers, FALSE };
    const BOOL written = g_writeDump.load()(::GetCurrentProcess(), ::GetCurrentProcessId(), file, kUsefulDump,
                                            pointers ? &exception : nullptr, nullptr, nullptr);
    ::CloseHandle(file);
    if (!written)
        ::DeleteFileW(path);
    return written;
}
