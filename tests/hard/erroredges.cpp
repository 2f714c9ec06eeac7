// The exception log, its dumps and the translator where something that they count on is not there.
#include "crash.h"
#include "crashlog.h"
#include "describe.h"
#include "excdlg.h"
#include "modstate.h"
#include "sexcept.h"
#include "starget.h"
#include "strtrans.h"

#include "support/allocfail.h"
#include "support/faulting.h"
#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/systemfails.h"
#include "support/tempfolder.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <psapi.h>

#include <cstring>
#include <cwchar>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

DWORD WINAPI TooLong(const wchar_t*, wchar_t*, DWORD room)
{
    return room + 1;
}
std::wstring g_temporary;
DWORD WINAPI TemporaryIs(DWORD room, wchar_t* buffer)
{
    if (g_temporary.size() < room)
        std::wcscpy(buffer, g_temporary.c_str());
    return static_cast<DWORD>(g_temporary.size());
}
// The second file that is opened cannot be.
HANDLE WINAPI OpenOnce(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                       DWORD how, DWORD flags, HANDLE like)
{
    static bool isOver = false;
    if (std::exchange(isOver, true))
        return INVALID_HANDLE_VALUE;
    return ::CreateFileW(path, access, share, security, how, flags, like);
}
BOOL WINAPI WriteOneLess(HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED*)
{
    return ::WriteFile(file, bytes, count - 1, written, nullptr);
}

ImportPatch Patched(const char* function, void* replacement)
{
    ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), nullptr, function, replacement);
    EXPECT_TRUE(patch.Found()) << function;
    return patch;
}
template <class Function>
ImportPatch Patched(const char* function, Function* replacement)
{
    return Patched(function, reinterpret_cast<void*>(replacement));
}

} // namespace

TEST(LogEdges, TheUsualPlaceFallsBackToTheTemporaryFolderAndThenToTheRoot)
{
    wchar_t temporary[MAX_PATH];
    ::GetTempPathW(MAX_PATH, temporary);
    const std::wstring inTemporary = std::wstring(temporary) + L"CVCore16\\exceptions.log";
    for (void* variable : { Fails<&::GetEnvironmentVariableW>(), reinterpret_cast<void*>(TooLong) }) {
        const ImportPatch none = Patched("GetEnvironmentVariableW", variable);
        EXPECT_STREQ(inTemporary.c_str(), SExceptionLogPath());
        const struct {
            std::wstring temporary, log;
        } kRows[] = {
            { L"", L"\\CVCore16\\exceptions.log" },
            { std::wstring(5000, L'x'), L"\\CVCore16\\exceptions.log" },
            { L"C:\\t\\", L"C:\\t\\CVCore16\\exceptions.log" },
            { L"C:\\t", L"C:\\t\\CVCore16\\exceptions.log" },
        };
        const ImportPatch other = Patched("GetTempPathW", TemporaryIs);
        for (const auto& row : kRows) {
            g_temporary = row.temporary;
            EXPECT_STREQ(row.log.c_str(), SExceptionLogPath());
        }
    }
}

TEST(LogEdges, ARecordIsWrittenThoughTheFileCannotBeMeasuredLockedOrRenamed)
{
    const TempLog log;
    ASSERT_EQ(1, AppendToExceptionLogPrefixed(SString(L'x', 900000)));
    {
        const ImportPatch size = Patched("GetFileSizeEx", Fails<&::GetFileSizeEx>());
        EXPECT_EQ(1, AppendToExceptionLogPrefixed(SString(L'y', 900000))) << "not measured";
    }
    {
        const ImportPatch lock = Patched("LockFileEx", Fails<&::LockFileEx>());
        const ImportPatch move = Patched("MoveFileExW", Fails<&::MoveFileExW>());
        const DWORD begun = ::GetTickCount();
        EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"not locked, not renamed"));
        EXPECT_GT(5000u, ::GetTickCount() - begun) << "nobody waits for a lock for ever";
    }
    const std::string text = log.Text();
    EXPECT_NE(text.npos, text.find("xxx"));
    EXPECT_NE(text.npos, text.find("yyy"));
    EXPECT_NE(text.npos, text.find("not locked, not renamed\r\n"));
    {
        const ImportPatch part = Patched("WriteFile", WriteOneLess);
        EXPECT_EQ(0, AppendToExceptionLogPrefixed(L"a part of it")) << "which is said";
    }
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(SString(L'z', 1200000)));
    const ImportPatch open = Patched("CreateFileW", OpenOnce);
    EXPECT_EQ(0, AppendToExceptionLogPrefixed(L"renamed, and no new file"));
    EXPECT_EQ("", log.Text());
}

namespace {

int g_chosenInside;
BOOL WINAPI ChooseInside(HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED*)
{
    g_chosenInside = SSetExceptionLog(L"elsewhere.log");
    return ::WriteFile(file, bytes, count, written, nullptr);
}
BOOL WINAPI FaultInside(HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED*)
{
    static bool isOver = false; // the fault's own record is written too
    if (!std::exchange(isOver, true)) {
        EXPECT_THROW(SRunGuarded(ReadNull), SEMachineFault);
    }
    return ::WriteFile(file, bytes, count, written, nullptr);
}

} // namespace

TEST(LogEdges, NothingIsChosenInTheMiddleOfARecord)
{
    const TempLog log;
    g_chosenInside = -1;
    {
        const ImportPatch write = Patched("WriteFile", ChooseInside);
        EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"one"));
    }
    EXPECT_EQ(0, g_chosenInside);
    EXPECT_STREQ(log.Path().c_str(), SExceptionLogPath());
}

TEST(LogEdges, AFaultInTheMiddleOfARecordIsCaughtAllTheSame)
{
    const TempLog log;
    {
        const ImportPatch write = Patched("WriteFile", FaultInside);
        AppendToExceptionLogPrefixed(L"one");
    }
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"two"));
    EXPECT_NE(std::string::npos, log.Text().find("two\r\n"));
}

TEST(LogEdges, FramesAreNamedByTheModulesOwnTableWhenTheSystemHasNoNameForThem)
{
    const struct {
        const char* function;
        void* failing;
        bool isNamed; // the frame in the library
    } kRows[] = {
        { "K32GetMappedFileNameW", Fails<&::GetMappedFileNameW>(), true },
        { "VirtualQuery", Fails<&::VirtualQuery>(), false },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.function);
        const TempLog log;
        const ImportPatch patch = Patched(row.function, row.failing);
        // In the library: it is to copy a text that is not there.
        EXPECT_THROW(SRunGuarded([] { SString().Append(static_cast<const wchar_t*>(g_null) + 1, 10); }),
                     SEMachineFault);
        EXPECT_EQ(row.isNamed, log.Text().find("CVCore16.dll+0x") != std::string::npos) << log.Text();
    }
}

namespace {

// Holds the log longer than anybody waits for it.
BOOL WINAPI WriteSlowly(HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED*)
{
    constexpr DWORD kLongerThanPatienceMs = 2500;
    static bool isHeld = false;
    if (!std::exchange(isHeld, true))
        ::Sleep(kLongerThanPatienceMs);
    return ::WriteFile(file, bytes, count, written, nullptr);
}
DWORD WINAPI AppendSlowly(void*)
{
    return static_cast<DWORD>(AppendToExceptionLogPrefixed(L"slow"));
}

} // namespace

TEST(LogEdges, AThreadThatKeepsTheLogIsNotWaitedForForEver)
{
    const TempLog log;
    const ImportPatch write = Patched("WriteFile", WriteSlowly);
    const HANDLE thread = ::CreateThread(nullptr, 0, AppendSlowly, nullptr, 0, nullptr);
    ::Sleep(100); // it has begun
    EXPECT_EQ(0, AppendToExceptionLogPrefixed(L"lost"));
    ::WaitForSingleObject(thread, INFINITE);
    DWORD done = 0;
    ::GetExitCodeThread(thread, &done);
    ::CloseHandle(thread);
    EXPECT_EQ(1u, done);
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"afterwards"));
    EXPECT_EQ(std::string::npos, log.Text().find("lost"));
    EXPECT_NE(std::string::npos, log.Text().find("afterwards"));
}

// ---- Dumps ----

namespace {

BOOL WINAPI DumpNothing(HANDLE, DWORD, HANDLE, int, void*, void*, void*)
{
    return FALSE;
}
FARPROC WINAPI FindDumpNothing(HMODULE module, const char* name)
{
    return std::strcmp(name, "MiniDumpWriteDump") == 0
               ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(DumpNothing))
               : ::GetProcAddress(module, name);
}

} // namespace

TEST(DumpEdges, ADumpThatTheSystemCouldNotWriteLeavesNoFile)
{
    const TempFolder folder;
    SSetExceptionLog(folder.Path(L"a.log").c_str());
    {
        const ImportPatch find = Patched("GetProcAddress", FindDumpNothing);
        ASSERT_EQ(1, SSetExceptionDumps(1)); // finds it once, for the rest of this program
    }
    ASSERT_EQ(1, SSetExceptionDumps(1));
    EXPECT_THROW(SRunGuarded(ReadNull), SEMachineFault);
    SSetExceptionDumps(0);
    EXPECT_EQ(1, TempFolder::Entries(folder.Path())) << "the log alone";
    const std::string text = TempFolder::Content(folder.Path(L"a.log"));
    EXPECT_NE(text.npos, text.find("no dump: it could not be written to ")) << text;
    SSetExceptionLog(nullptr);
}

// ---- Faults ----

namespace {

struct Raised {
    DWORD code;
    std::vector<ULONG_PTR> information;
};
const Raised* g_raised;
void Raise()
{
    ::RaiseException(g_raised->code, 0, static_cast<DWORD>(g_raised->information.size()),
                     g_raised->information.data());
}

} // namespace

TEST(FaultEdges, TheAccessIsToldAsFarAsTheSystemTellsIt)
{
    constexpr DWORD kInPage = EXCEPTION_IN_PAGE_ERROR;
    constexpr ULONG_PTR kRead = 0, kWrite = 1, kForbidden = 8, kPlace = 0x1234;
    const struct {
        Raised raised;
        SMachineFault::Access access;
        const wchar_t* text;
    } kRows[] = {
        { { EXCEPTION_ACCESS_VIOLATION, {} }, SMachineFault::kNoAccess, L"access violation (0xC0000005)" },
        { { EXCEPTION_ACCESS_VIOLATION, { kRead } },
          SMachineFault::kNoAccess,
          L"access violation (0xC0000005)" },
        { { EXCEPTION_ACCESS_VIOLATION, { kRead, kPlace } },
          SMachineFault::kRead,
          L"access violation (0xC0000005) reading 0x00001234" },
        { { EXCEPTION_ACCESS_VIOLATION, { kForbidden, kPlace } },
          SMachineFault::kExecute,
          L"access violation (0xC0000005) executing 0x00001234" },
        { { kInPage, { kWrite, kPlace, 7 } },
          SMachineFault::kWrite,
          L"in-page error (0xC0000006) writing 0x00001234" },
        { { EXCEPTION_PRIV_INSTRUCTION, { kRead, kPlace } },
          SMachineFault::kNoAccess,
          L"privileged instruction (0xC0000096)" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        const TempLog log;
        g_raised = &row.raised;
        try {
            SRunGuarded(Raise);
            ADD_FAILURE() << "no fault";
        }
        catch (const SEMachineFault& fault) {
            EXPECT_EQ(row.access, fault.GetFault().access);
            EXPECT_STREQ(row.text, fault.GetText());
        }
    }
}

// ---- The message box ----

namespace {

unsigned g_type;
wchar_t g_shown[2000]; // no memory is to be had for it
int RememberBox(const wchar_t* text, const wchar_t*, unsigned type)
{
    g_type = type;
    std::wcsncpy(g_shown, text, std::size(g_shown) - 1);
    return IDOK;
}
BOOL WINAPI Invisible(HANDLE, int, void* flags, DWORD, DWORD*)
{
    *static_cast<USEROBJECTFLAGS*>(flags) = {};
    return TRUE;
}
template <int how>
FARPROC WINAPI FindStation(HMODULE module, const char* name)
{
    if (how == 0 && std::strcmp(name, "GetProcessWindowStation") == 0)
        return nullptr;
    if (std::strcmp(name, "GetUserObjectInformationW") != 0)
        return ::GetProcAddress(module, name);
    void* const none =
        reinterpret_cast<void*>(FailingCall<BOOL WINAPI(HANDLE, int, void*, DWORD, DWORD*)>::Call<0>);
    return how == 1   ? nullptr
           : how == 2 ? reinterpret_cast<FARPROC>(none)
                      : reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Invisible));
}

} // namespace

TEST(BoxEdges, WhereNoStationCanBeSeenABoxIsAServicesNotification)
{
    DbgMessageBoxHook() = RememberBox;
    for (auto* find : { FindStation<0>, FindStation<1>, FindStation<2>, FindStation<3> }) {
        const ImportPatch patch = Patched("GetProcAddress", find);
        g_type = 0;
        EXPECT_EQ(IDOK, ShowDbgMessageBox(L"t", L"c", MB_OKCANCEL));
        EXPECT_EQ(unsigned{ MB_SERVICE_NOTIFICATION }, g_type & (MB_SERVICE_NOTIFICATION | MB_TOPMOST));
    }
    DbgMessageBoxHook() = nullptr;
}

TEST(BoxEdges, AReportThatThereIsNoMemoryForIsShownWithoutItsArguments)
{
    const TempLog log;
    DbgMessageBoxHook() = RememberBox;
    const int before = SExceptionActivateDialog(1);
    const SString large(L'x', 100000);
    {
        AllocationFailures failures;
        failures.Arm(1, FailMode::FromThenOn);
        SExceptionDialog_("f.cpp", 1, L"about %s", large.PszStr());
        failures.Disarm();
        EXPECT_GT(failures.Failed(), 0);
    }
    EXPECT_NE(nullptr, std::wcsstr(g_shown, L"about %s")) << SString(g_shown);
    SExceptionDialog(nullptr, 7, L"from nowhere");
    EXPECT_NE(nullptr, std::wcsstr(g_shown, L"(7): from nowhere")) << SString(g_shown);
    SExceptionActivateDialog(before);
    DbgMessageBoxHook() = nullptr;
}

TEST(SymbolEdges, ANameWhoseSymbolCannotBeHeldIsNotThere)
{
    SSymbolTable symbols;
    const int points =
        WalkAllocationFailures([&] { symbols.Clear(); }, [&] { symbols.Set(L"NAME", 3, L"value"); },
                               [&](const AllocationTrial& trial) {
                                   if (!trial.failed)
                                       return;
                                   EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
                                   EXPECT_EQ(0, symbols.Count());
                                   EXPECT_EQ(nullptr, symbols.Find(L"NAME", SSymbolTable::kAnyId));
                               });
    EXPECT_GT(points, 0);
    // One more for a name that is known: the name stays with those that it had.
    symbols.Set(L"NAME", 0, L"value");
    long id = 1;
    {
        AllocationFailures failures;
        failures.Arm(1, FailMode::FromThenOn);
        try {
            constexpr long kMoreThanPoolsHave = 10000;
            for (; id < kMoreThanPoolsHave; ++id)
                symbols.Set(L"NAME", id, L"value");
            ADD_FAILURE() << "nothing was thrown";
        }
        catch (const SEOutOfMemory&) {
        }
    }
    EXPECT_EQ(id, symbols.Count());
    EXPECT_NE(nullptr, symbols.Find(L"NAME", id - 1));
    EXPECT_EQ(nullptr, symbols.Find(L"NAME", id));
}

// ---- What describes and names ----

TEST(DescriptionEdges, OutsideOfAHandlerThereIsNothingToDescribe)
{
    EXPECT_STREQ(L"", SDescribeCurrentException());
    EXPECT_STREQ(L"", SDescribeException(std::exception_ptr()));
}

TEST(ModuleEdges, AModuleStateTakesOtherModulesAndAnswersTheOnesBefore)
{
    const HINSTANCE program = ::GetModuleHandleW(nullptr), core = SModuleState::CoreInstance();
    SModuleState state(program);
    EXPECT_EQ(program, state.SetInstanceHandle(core));
    EXPECT_EQ(core, state.SetInstanceHandle(nullptr));
    SString text;
    EXPECT_EQ(1, state.TryLoadString(283, text)) << "the library's own, where nothing else is";
    EXPECT_STREQ(L"Error", text);
}

// ---- The translator ----

TEST(TranslatorEdges, ReferencesAreReadToTheirLastCharacter)
{
    SSymbolTable symbols;
    symbols.Set(L"N", 0, L"255");
    symbols.Set(L"T", 0, L" it's ");
    symbols.Set(L"Q", 0, L"\"say \"\"x\"\"\"");
    symbols.Set(L"HALF", 0, L"\"half");
    symbols.Set(L"ONE", 0, L"\"");
    symbols.Set(L"", 0, L"(nameless)");
    const struct {
        const wchar_t *text, *result;
    } kRows[] = {
        { L"%:N%", L"255" }, // no options at all
        { L"%?:N%", L"255" },
        { L"%?-6:N%", L"   255" },
        { L"%-:N%", L"255" },
        { L"%?%", L"" },    // a name, since there is no colon
        { L"%5x:N%", L"" }, // a name that begins with "x:"
        { L"%.:N%", L"255" },
        { L"%.2Zy-:N%", L"55" }, // letters that count for nothing
        { L"%.H:N%", L"ff" },
        { L"%.H:T%", L" it's " }, // no number
        { L"%3:%", L"(nameless)" },
        { L"%3.2:%", L"(n " },
        { L"%0:N%", L"255" },
        { L"%.0:N%", L"255" },
        { L"%.2M:N%", L"255" }, // a part that begins nowhere
        { L"%2.M:N%", L"255" }, // and one without a length
        { L"%2.1M:N%", L"5" },
        { L"%2.1FM:N%", L"5" },
        { L"%.T:T%", L"it's" },
        { L"%.Tq:T%", L"'it''s'" },
        { L"%.TqQ:T%", L"'it''s'" },
        { L"%.TQ:T%", L"\"it's\"" },
        { L"%.q:Q%", L"'say \"x\"'" },
        { L"%.q:HALF%", L"'\"half'" },
        { L"%.q:ONE%", L"'\"'" },
        { L"%.Q:ONE%", L"\"\"\"\"" },
        { L"%.UF:Q%", L"\"say \"\"x\"\"\"" },
        { L"%.LF:N%", L"255" },
    };
    SStringTranslator translator;
    translator.SetSymbolTable(&symbols);
    for (const auto& row : kRows) {
        int status;
        EXPECT_STREQ(row.result, translator.Translate(row.text, status, SSymbolTable::kAnyId))
            << SString(row.text);
    }
    EXPECT_THROW(
        {
            int status;
            translator.Translate(L"%2147483647:N%", status, SSymbolTable::kAnyId);
        },
        SEOutOfMemory)
        << "a width that no text can have";
}

TEST(TranslatorEdges, DerivedClassesFormatByTheOptionsAlone)
{
    struct Formats : SStringTranslator {
        using SStringTranslator::FormatOptions;
    } translator;
    SStringTranslator::OPTIONS options;
    EXPECT_STREQ(L"abc", translator.FormatOptions(L"abc", options)) << "none";
    options.precision = -2;
    EXPECT_STREQ(L"bc", translator.FormatOptions(L"abc", options));
    options.width = 4;
    EXPECT_STREQ(L"bc  ", translator.FormatOptions(L"abc", options));
}

TEST(TargetEdges, ATargetWithoutNamesCatchesNothing)
{
    struct Again : SActiveThrowTarget {
        explicit Again(const wchar_t* names) : SActiveThrowTarget(names) { Activate(); }
    };
    for (const wchar_t* none : { static_cast<const wchar_t*>(nullptr), L"", L",," }) {
        Again target(none);
        EXPECT_EQ(1, target.IsActive());
        target.Done();
        target.Done();
        EXPECT_EQ(0, target.IsActive());
    }
}

TEST(TranslatorEdges, WithoutADelimiterNothingIsAReference)
{
    SSymbolTable symbols;
    symbols.Set(L"A", 7, L"x");
    SStringTranslator translator;
    int status = 5;
    EXPECT_STREQ(L"", translator.Translate(L"%A%", status, 7)) << "no table: missing";
    EXPECT_EQ(SStringTranslator::kMissing, status);
    translator.SetSymbolTable(&symbols);
    const struct {
        const wchar_t *start, *end, *text, *result;
    } kRows[] = {
        { L"", L"", L"%A% <A>", L"%A% <A>" },
        { L"<", L"", L"%A% <A>", L"%A% <A>" },
        { L"<", L">", L"%A% <A>", L"%A% x" },
        { L"<<", L">>", L"<<A> b>> <<A>>", L" x" }, // "A> b" is a name that nothing has
        { L"<<", L">>", L"<<A\n>>", L"<<A\n>>" },
    };
    for (const auto& row : kRows) {
        translator.ChangeDelimiter(row.start, row.end);
        EXPECT_STREQ(row.result, translator.Translate(row.text, status, 7)) << SString(row.text);
    }
    translator.ChangeDelimiter(L'\0');
    EXPECT_STREQ(L"%A% <A>", translator.Translate(L"%A% <A>", status, 7));
    translator.ChangeDelimiter(L'$');
    EXPECT_STREQ(L"x", translator.Translate(L"$A$", status, 7));
    EXPECT_STREQ(L"", translator.Translate(L"$A$", status, 8)) << "the symbol of another id";
    EXPECT_STREQ(L"", translator.Translate(nullptr, status, 7));
}
