// Floors 1 to 3 without the DLL: their objects are linked straight into this program, which has no windows. That it
// imports neither user32 nor gdi32 is looked up in the file; here it is seen to work, and to load neither later on.
#include "crash.h"
#include "errctx.h"
#include "excdlg.h"
#include "salloc.h"
#include "sexcept.h"
#include "strclss.h"

#include "support/templog.h"

#include <gtest/gtest.h>

TEST(ConsoleProgram, WorksWithoutTheDllAndWithoutWindows)
{
    const TempLog faults;
    SString text(L"floor");
    text += L" 1";
    EXPECT_STREQ(L"floor 1", text.PszStr());

    SFixedAlloc pool(12, 4);
    void* block = pool.Alloc();
    EXPECT_EQ(1, pool._Validate(block, nullptr, nullptr));
    pool.Free(block);

    bool caught = false;
    try {
        throw SECOMException(S_HERE, E_ACCESSDENIED);
    }
    catch (const SException& e) {
        caught = true;
        EXPECT_NE(nullptr, std::wcsstr(e.GetText(), L"80070005")) << "the number of the failure";
    }
    EXPECT_TRUE(caught);

    // No string table of the library in this program: the words are the built-in ones.
    SDErrorContext log;
    log.SetLineNo(5);
    EXPECT_STREQ(L"(5) Error : x", log.LogError(L"x").PszStr());
    EXPECT_STREQ(L"(5) Warning : 7: x", log.LogCodedWarning(7, L"x").PszStr());
    EXPECT_STREQ(L"(5) Fatal Error : x", log.LogFatal(L"x").PszStr());
    EXPECT_EQ(0, SExceptionDialog(__FILE__, __LINE__, L"nobody sees this"));

    EXPECT_THROW(SRunGuarded([] { *static_cast<volatile int*>(nullptr) = 1; }), SEMachineFault);

    for (const wchar_t* module : { L"CVCore16.dll", L"user32.dll", L"gdi32.dll" })
        EXPECT_EQ(nullptr, ::GetModuleHandleW(module)) << SString(module).PszStr();
}
