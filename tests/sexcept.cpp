// Exceptions of the foundation: texts, locations, copies, formatters of codes, reports of damage.
#include "sexcept.h"

#include "damage.h"
#include "describe.h"
#include "sioexcept.h"
#include "starget.h"

#include "support/allocfail.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <functional>
#include <iterator>
#include <stdexcept>
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

int g_asked;
int KnowsOneCode(long hr, SString* text)
{
    ++g_asked;
    if (hr != static_cast<long>(0x80990099))
        return 0;
    *text = L"The door is locked.";
    return 1;
}
int KnowsNothing(long, SString*)
{
    return 0;
}
// Three that know any code, each by its own text; which comes first is the linker's choice.
template <int kNumber>
int KnowsAll(long, SString* text)
{
    text->Format(L"%d", kNumber);
    return 1;
}
const SResultFormat kKnowAll[] = { KnowsAll<0>, KnowsAll<1>, KnowsAll<2> };

} // namespace

TEST(Exceptions, CarryNameTextAndPlace)
{
    try {
        ThrowCom();
    }
    catch (const SException& e) {
        EXPECT_STREQ(L"SECOMException", e.GetExceptionName());
        EXPECT_STREQ(L"\n    HRESULT = 0x80070005\n    Access denied.", e.GetText());
        EXPECT_STREQ(L"\nThrown from:\n client/open.cpp(12): void Client::Open(int)", e.GetLocation());
        EXPECT_STREQ(L"SECOMException: \n    HRESULT = 0x80070005\n    Access denied.\nThrown from:\n "
                     L"client/open.cpp(12): "
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
    constexpr long kOurs = static_cast<long>(0x80990099);
    SString text(L"untouched");
    EXPECT_EQ(0, GetResultFormat(kOurs, &text));
    EXPECT_STREQ(L"untouched", text);
    EXPECT_EQ(1, GetResultFormat(E_OUTOFMEMORY, &text)) << "the system's own codes are known";
    EXPECT_FALSE(text.IsEmpty());
    EXPECT_STREQ(SString(text).Trim(L" \r\n"), text) << "without the line end that the system puts behind it";
    const SRegisterGetResultFormat nothing(KnowsNothing);
    {
        const SRegisterGetResultFormat ours(KnowsOneCode);
        const SRegisterGetResultFormat twice(KnowsOneCode);
        EXPECT_STREQ(L"\n    HRESULT = 0x80990099\n    The door is locked.",
                     SECOMException("g", "f", 3, kOurs).GetText());
        g_asked = 0;
        EXPECT_STREQ(L"\n    HRESULT = 0x80990098", SECOMException("g", "f", 3, kOurs - 1).GetText());
        EXPECT_EQ(1, g_asked) << "once, though it was registered twice";
        const SECOMException kept("g", "f", 3, kOurs);
        EXPECT_EQ(kept.GetText(), kept.GetText());
        EXPECT_EQ(2, g_asked) << "the text is made once";
    }
    {
        const SRegisterGetResultFormat last(kKnowAll[2]), first(kKnowAll[0]), second(kKnowAll[1]);
        const auto lowest =
            std::min_element(std::begin(kKnowAll), std::end(kKnowAll), std::less<SResultFormat>());
        EXPECT_EQ(1, GetResultFormat(E_OUTOFMEMORY, &text));
        EXPECT_STREQ(SString().Format(L"%d", static_cast<int>(lowest - kKnowAll)), text)
            << "the first by address, and before the system";
    }
    EXPECT_EQ(0, GetResultFormat(kOurs, &text));
}

namespace {

/// Throws a copy out of the DLL's class and catches it as its base, as a client does.
template <class Exception>
void ExpectThrownByValue(const Exception& exception, const wchar_t* name, const wchar_t* text)
{
    try {
        throw Exception(exception);
    }
    catch (const SException& e) {
        EXPECT_STREQ(name, e.GetExceptionName());
        EXPECT_STREQ(text, e.GetText());
        EXPECT_STREQ(L"\nThrown from:\n f(3): g", e.GetLocation());
        EXPECT_EQ(exception.GetLocation(), e.GetLocation()) << "copies share their texts";
        const SString full = e.GetFullText();
        EXPECT_EQ(full, SDescribeCurrentException());
        EXPECT_EQ(0, full.Compare(name, static_cast<int>(std::wcslen(name))));
        return;
    }
    catch (...) {
    }
    FAIL() << "not caught by its base";
}

} // namespace

TEST(Exceptions, OfInputAndOutputAreThrownByValueAndCaughtByTheirBase)
{
    errno = ENOSPC;
    const SString errnoText(std::strerror(ENOSPC));
    const SEIOException io("g", "f", 3, 77);
    errno = 0;
    EXPECT_EQ(77, io.GetError());
    ExpectThrownByValue(io, L"SEIOException", errnoText);
    ExpectThrownByValue(SEEOFException("g", "f", 3), L"SEEOFException", L"");
    ExpectThrownByValue(SEIODiskFullException("g", "f", 3), L"SEIODiskFullException", L"");
    ExpectThrownByValue(SEIOAbortedException("g", "f", 3), L"SEIOAbortedException", L"");
    ExpectThrownByValue(SEEncodingException("g", "f", 3, L"byte 0xC0"), L"SEEncodingException", L"byte 0xC0");
    ExpectThrownByValue(SEZipException("g", "f", 3), L"SEZipException", L"");
    ExpectThrownByValue(SException("g", "f", 3, L"m"), L"SException", L"m");
    ExpectThrownByValue(SEOutOfMemory("g", "f", 3), L"SEOutOfMemory", SEOutOfMemory("g", "f", 3).GetText());
}

TEST(Exceptions, OfAnyKindAreDescribedInOneText)
{
    const auto describe = [](auto exception) {
        return SDescribeException(std::make_exception_ptr(exception));
    };
    EXPECT_STREQ(L"SException: m\nThrown from:\n f(3): g", describe(SException("g", "f", 3, L"m")));
    EXPECT_STREQ(L"STargetedException for Load,Save (17): m\nThrown from:\n f(3): g",
                 describe(STargetedException("g", "f", 3, L"Load,Save", L"m", 17)));
    EXPECT_STREQ(L"std::out_of_range: row 7", describe(std::out_of_range("row 7")));
    EXPECT_STREQ(L"exception of type int", describe(5));
    EXPECT_STREQ(L"", SDescribeException(nullptr));
    EXPECT_STREQ(L"", SDescribeCurrentException());

    AllocationFailures failures;
    failures.Arm(1, FailMode::FromThenOn);
    SString text;
    try {
        throw SEOutOfMemory("void Client::Grow()", "client/grow.cpp", 7);
    }
    catch (...) {
        text = SDescribeCurrentException();
    }
    failures.Disarm();
    EXPECT_NE(nullptr, text.Find(L"client/grow.cpp(7)")) << "the place at least, without memory";
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
