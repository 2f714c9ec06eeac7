// The exception log: its records, its limits, and what happens when it cannot be written.
#include "crashlog.h"

#include "crash.h"

#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <thread>

namespace {

BOOL WINAPI NoWrite(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}
HANDLE WINAPI NoFile(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}
int g_nested;
BOOL WINAPI WriteWithNestedRecord(HANDLE file, const void* bytes, DWORD size, DWORD* written,
                                  OVERLAPPED* place)
{
    g_nested = AppendToExceptionLogPrefixed(L"nested");
    return ::WriteFile(file, bytes, size, written, place);
}
volatile int* volatile g_nowhere = nullptr;
BOOL WINAPI WriteWithFault(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    *g_nowhere = 1;
    return TRUE;
}
BOOL WINAPI WriteAndEndThread(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::TerminateThread(::GetCurrentThread(), 0);
    return FALSE;
}
// Leaves the record the way a callback is left whose fault the system swallows.
void* g_outside[5];
BOOL WINAPI WriteAndLeave(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    __builtin_longjmp(g_outside, 1);
}
__attribute__((noinline)) void AppendAndLeave()
{
    if (__builtin_setjmp(g_outside) == 0)
        AppendToExceptionLogPrefixed(L"lost");
}
DWORD WINAPI AppendInThread(void*)
{
    AppendToExceptionLogPrefixed(L"lost");
    return 0;
}
HANDLE WINAPI NoDumpFile(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                         DWORD how, DWORD flags, HANDLE like)
{
    if (std::wcsstr(path, L".dmp"))
        return NoFile(path, access, share, security, how, flags, like);
    return ::CreateFileW(path, access, share, security, how, flags, like);
}
HMODULE WINAPI NoLibrary(const wchar_t*)
{
    return nullptr;
}

std::string AfterHeader(const std::string& record)
{
    const size_t end = record.find("\r\n");
    return end == record.npos ? record : record.substr(end + 2);
}

} // namespace

TEST(ExceptionLog, ARecordHasTimeProcessThreadProgramAndTheTextInUtf8)
{
    const TempLog log;
    ::SetLastError(4711);
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"one\ntwo\r\n\u00e9\u20ac\U0001F600\xD800!", L"*** "));
    EXPECT_EQ(4711u, ::GetLastError());
    const std::string text = log.Text();
    std::string header = "==== \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z, process ";
    header += std::to_string(::GetCurrentProcessId()) + ", thread " + std::to_string(::GetCurrentThreadId());
    EXPECT_TRUE(std::regex_search(text, std::regex("^" + header + ", crashlog_test\\.exe\r\n"))) << text;
    EXPECT_EQ("*** one\r\ntwo\r\n\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD!\r\n", AfterHeader(text));

    EXPECT_EQ(1, AppendToExceptionLogPrefixed(nullptr));
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"with frames", nullptr, 2));
    EXPECT_TRUE(std::regex_search(
        log.Text(), std::regex("with frames\r\n  crashlog_test\\.exe\\+0x[0-9a-f]{8}\r\n[ ?] [^\r]*\r\n$")))
        << log.Text();
}

TEST(ExceptionLog, LongTextsAreWholeAndTheFileIsRenamedAtOneMegabyte)
{
    const TempLog log;
    const SString text(L'\u20ac', 200000); // 600000 bytes
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(text, L"first "));
    EXPECT_LT(600000u, log.Text().size());
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(text, L"second "));
    EXPECT_EQ(0u, AfterHeader(TempLog::Read(log.Path() + L".1")).find("first "));
    EXPECT_EQ(0u, AfterHeader(log.Text()).find("second "));
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(text, L"third ")) << "replaces the older file";
    EXPECT_EQ(0u, AfterHeader(TempLog::Read(log.Path() + L".1")).find("second "));
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(SString(L'x', 1200000)))
        << "larger than a log may be: alone in it";
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"small"));
    EXPECT_EQ("small\r\n", AfterHeader(log.Text()));
}

TEST(ExceptionLog, WhatCannotBeWrittenIsLeftOutAndSaid)
{
    const TempLog log;
    EXPECT_EQ(0, SSetExceptionLog(SString(L'x', 1001)));
    EXPECT_STREQ(log.Path().c_str(), SExceptionLogPath());
    {
        const ImportPatch full("CVCore16.dll", "KERNEL32.dll", "WriteFile", NoWrite);
        ASSERT_TRUE(full.Found());
        EXPECT_EQ(0, AppendToExceptionLogPrefixed(L"lost"));
    }
    {
        const ImportPatch denied("CVCore16.dll", "KERNEL32.dll", "CreateFileW", NoFile);
        ASSERT_TRUE(denied.Found());
        EXPECT_EQ(0, AppendToExceptionLogPrefixed(L"lost"));
    }
    {
        const ImportPatch nested("CVCore16.dll", "KERNEL32.dll", "WriteFile", WriteWithNestedRecord);
        g_nested = -1;
        EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"outer"));
        EXPECT_EQ(0, g_nested) << "never inside itself";
    }
    {
        const ImportPatch fault("CVCore16.dll", "KERNEL32.dll", "WriteFile", WriteWithFault);
        EXPECT_THROW(SRunGuarded([] { AppendToExceptionLogPrefixed(L"lost"); }), SEMachineFault);
    }
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"after a fault"))
        << "a record that broke off must not block the log";
    {
        const ImportPatch leave("CVCore16.dll", "KERNEL32.dll", "WriteFile", WriteAndLeave);
        AppendAndLeave();
    }
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"after a jump"));
    {
        const ImportPatch end("CVCore16.dll", "KERNEL32.dll", "WriteFile", WriteAndEndThread);
        const HANDLE thread = ::CreateThread(nullptr, 0, AppendInThread, nullptr, 0, nullptr);
        ::WaitForSingleObject(thread, INFINITE);
        ::CloseHandle(thread);
    }
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"after a thread's end"));
    const std::string text = log.Text();
    EXPECT_EQ(std::string::npos, text.find("lost"));
    for (const char* kept : { "after a fault", "after a jump", "after a thread's end" })
        EXPECT_NE(std::string::npos, text.find(kept)) << kept;
}

TEST(ExceptionLog, IsUsuallyInTheLocalApplicationData)
{
    wchar_t before[MAX_PATH], temporary[MAX_PATH];
    ::GetEnvironmentVariableW(L"LOCALAPPDATA", before, MAX_PATH);
    ::GetTempPathW(MAX_PATH, temporary);
    const std::wstring place = std::wstring(temporary) + L"app data of a test";
    ::CreateDirectoryW(place.c_str(), nullptr);
    ::SetEnvironmentVariableW(L"LOCALAPPDATA", place.c_str());
    const std::wstring path = place + L"\\CVCore16\\exceptions.log";
    EXPECT_STREQ(path.c_str(), SExceptionLogPath());
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"there"));
    EXPECT_EQ("there\r\n", AfterHeader(TempLog::Read(path)));
    ::DeleteFileW(path.c_str());
    ::RemoveDirectoryW((place + L"\\CVCore16").c_str());
    ::RemoveDirectoryW(place.c_str());
    ::SetEnvironmentVariableW(L"LOCALAPPDATA", nullptr);
    EXPECT_STREQ((std::wstring(temporary) + L"CVCore16\\exceptions.log").c_str(), SExceptionLogPath());
    ::SetEnvironmentVariableW(L"LOCALAPPDATA", before);
}

TEST(ExceptionLog, TakesRecordsOfTwoProcessesAndFourThreadsWhole)
{
    const TempLog log;
    const int clients = 2, threads = 4, each = 200;
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring path(program);
    path.replace(path.rfind(L'\\') + 1, path.npos, L"crash_client.exe");
    HANDLE running[clients];
    for (HANDLE& client : running) {
        std::wstring line = L"crash_client.exe " + std::to_wstring(each) + L" \"" + log.Path() + L"\"";
        STARTUPINFOW start = {};
        start.cb = sizeof start;
        PROCESS_INFORMATION process;
        ASSERT_TRUE(::CreateProcessW(path.c_str(), &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                     &start, &process));
        ::CloseHandle(process.hThread);
        client = process.hProcess;
    }
    std::thread workers[threads];
    for (std::thread& worker : workers)
        worker = std::thread([] {
            for (int i = 0; i < each; ++i)
                AppendToExceptionLogPrefixed(L"entry of a thread, end");
        });
    for (std::thread& worker : workers)
        worker.join();
    for (HANDLE client : running) {
        ::WaitForSingleObject(client, INFINITE);
        ::CloseHandle(client);
    }
    const std::string text = log.WithOlder();
    const std::regex record("==== [^\r\n]*\r\nentry [^\r\n]*end\r\n");
    size_t records = 0, bytes = 0;
    for (std::sregex_iterator at(text.begin(), text.end(), record), end; at != end; ++at, ++records)
        bytes += static_cast<size_t>(at->length());
    EXPECT_EQ(static_cast<size_t>((clients + threads) * each), records);
    EXPECT_EQ(text.size(), bytes) << "something lies between the records";
}

TEST(ExceptionDumps, AreWrittenBesideTheLogWhenAskedFor)
{
    const TempLog log;
    {
        const ImportPatch none("CVCore16.dll", "KERNEL32.dll", "LoadLibraryW", NoLibrary);
        ASSERT_TRUE(none.Found());
        EXPECT_EQ(0, SSetExceptionDumps(1));
    }
    ASSERT_EQ(1, SSetExceptionDumps(1));
    EXPECT_THROW(SRunGuarded([] { *g_nowhere = 1; }), SEMachineFault);
    {
        const ImportPatch refused("CVCore16.dll", "KERNEL32.dll", "CreateFileW", NoDumpFile);
        EXPECT_THROW(SRunGuarded([] { *g_nowhere = 1; }), SEMachineFault);
    }
    EXPECT_NE(std::string::npos, log.Text().find("no dump: it could not be written to "))
        << "the record stays";
    SSetExceptionDumps(0);
    EXPECT_THROW(SRunGuarded([] { *g_nowhere = 1; }), SEMachineFault);
    std::smatch found;
    const std::string text = log.Text();
    ASSERT_TRUE(std::regex_search(text, found, std::regex("dump ([^\r\n]*)\r\n"))) << text;
    const std::wstring path = Wide(SString(found.str(1).c_str()));
    EXPECT_EQ(0u, path.find(log.Path()));
    EXPECT_EQ("MDMP", TempLog::Read(path).substr(0, 4));
    ::DeleteFileW(path.c_str());
    EXPECT_EQ(std::string::npos, text.substr(text.rfind("====")).find("dump ")) << "only while asked for";
}
