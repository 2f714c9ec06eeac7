// Exceptions of the foundation: texts, locations, copies, formatters of codes, reports of damage.
#include "sexcept.h"

#include "support/allocfail.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

namespace {

[[noreturn]] void ThrowCom()
{
    throw SECOMException("void Client::Open(int)", "client/open.cpp", 12, E_ACCESSDENIED);
}

const std::string kLongName(3000, 'f');

// The places whose texts the tests look at, kept before one of the tests uses the rest of the places up.
const SEOutOfMemory g_keptPlaces[] = {
    SEOutOfMemory("void Client::Grow()", "client/grow.cpp", 7),
    SEOutOfMemory(kLongName.c_str(), "f", 3),
    SEOutOfMemory("g", "same", 1),
};

int KnowsAccessDenied(long hr, SString* text)
{
    if (hr != E_ACCESSDENIED)
        return 0;
    *text = L"Access is denied.";
    return 1;
}
int KnowsNothing(long, SString*)
{
    return 0;
}

} // namespace

TEST(Exceptions, CarryNameTextAndPlace)
{
    try {
        ThrowCom();
    }
    catch (const SException& e) {
        EXPECT_STREQ(L"SECOMException", e.GetExceptionName());
        EXPECT_STREQ(L"\n    HRESULT = 0x80070005", e.GetText());
        EXPECT_STREQ(L"\nThrown from:\n client/open.cpp(12): void Client::Open(int)", e.GetLocation());
        EXPECT_STREQ(L"SECOMException: \n    HRESULT = 0x80070005\nThrown from:\n client/open.cpp(12): "
                     L"void Client::Open(int)",
                     e.GetFullText());
        const SException sliced(e);
        EXPECT_STREQ(L"SException", sliced.GetExceptionName());
    }
    EXPECT_STREQ(L"SException\nThrown from:\n f(3): g", SException("g", "f", 3).GetFullText());
    EXPECT_STREQ(L"SException: broken\nThrown from:\n f(3): g",
                 SException("g", "f", 3, L"broken").GetFullText());
    EXPECT_STREQ(L"\nThrown from:\n (0): ", SException(nullptr, nullptr, 0).GetLocation());

    EXPECT_EQ(1073u, std::wcslen(SException(kLongName.c_str(), "f", 3).GetLocation()));
    EXPECT_EQ(1073u, std::wcslen(SEOutOfMemory(kLongName.c_str(), "f", 3).GetLocation()));
}

TEST(Exceptions, FormattersAreAskedUntilOneKnows)
{
    SString text(L"untouched");
    EXPECT_EQ(0, GetResultFormat(E_ACCESSDENIED, &text));
    EXPECT_STREQ(L"untouched", text);
    const SRegisterGetResultFormat nothing(KnowsNothing);
    {
        const SRegisterGetResultFormat denied(KnowsAccessDenied);
        const SRegisterGetResultFormat twice(KnowsAccessDenied);
        const SECOMException known("g", "f", 3, E_ACCESSDENIED), unknown("g", "f", 3, E_FAIL);
        EXPECT_STREQ(L"\n    HRESULT = 0x80070005\n    Access is denied.", known.GetText());
        EXPECT_STREQ(L"\n    HRESULT = 0x80004005", unknown.GetText());
    }
    EXPECT_EQ(0, GetResultFormat(E_ACCESSDENIED, &text));
}

TEST(OutOfMemory, IsBuiltCopiedThrownAndReadWithoutAllocating)
{
    AllocationFailures failures;
    failures.Arm(1, FailMode::FromThenOn);
    bool caught = false;
    wchar_t location[100], full[8] = L"";
    int calls = -1;
    try {
        const int before = failures.Calls();
        const SEOutOfMemory e("void Client::Grow()", "client/grow.cpp", 7);
        SEOutOfMemory copy(e);
        copy = e;
        calls = failures.Calls() - before;
        throw copy; // the run-time asks malloc for the exception object and falls back to its own reserve
    }
    catch (const SECOMException& e) {
        caught = true;
        std::wcscpy(location, e.GetLocation());
        EXPECT_STREQ(L"SEOutOfMemory", e.GetExceptionName());
        std::wcsncpy(full, e.GetText(), 5);
    }
    failures.Disarm();
    EXPECT_TRUE(caught);
    EXPECT_EQ(0, calls);
    EXPECT_STREQ(L"\nThrown from:\n client/grow.cpp(7): void Client::Grow()", location);
    EXPECT_STREQ(L"\n    ", std::wstring(full, 5).c_str());
    EXPECT_EQ(E_OUTOFMEMORY, SEOutOfMemory("g", "f", 1).GetResult());
}

TEST(OutOfMemory, RepeatsShareOneTextAndTooManyPlacesSayWhatIsLost)
{
    const SEOutOfMemory one("g", "same", 1), two("g", "same", 1);
    EXPECT_EQ(one.GetLocation(), two.GetLocation());
    // The places are the process's: this uses the rest of them up.
    for (unsigned long line = 1; line <= SEOutOfMemory::kLocations; ++line)
        SEOutOfMemory("g", "many", line);
    const SEOutOfMemory lost("g", "last", 1);
    EXPECT_NE(nullptr, std::wcsstr(lost.GetLocation(), L"Thrown from:\n (too many places"));
    EXPECT_EQ(one.GetLocation(), SEOutOfMemory("g", "same", 1).GetLocation());
    SString edited(lost.GetLocation());
    edited += L"!";
    EXPECT_STRNE(edited, SEOutOfMemory("g", "last", 2).GetLocation());
}

TEST(Damage, GoesToTheReporterWhoMayNotBreakTheCaller)
{
    static int reports;
    reports = 0;
    const SDamageReporter before =
        SSetDamageReporter([](const char*, const char*, unsigned long line, const wchar_t*) {
            reports += static_cast<int>(line);
            throw 1;
        });
    SReportDamage("g", "f", 5, L"broken");
    EXPECT_EQ(5, reports);
    SSetDamageReporter(before);
}
