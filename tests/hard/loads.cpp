// A client that loads and frees the DLL at run time ends where it began. It is not linked with it.
#include "support/counters.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

// Loads it, has it do something that takes memory of its own, and lets it go.
bool UseOnce()
{
    const HMODULE library = ::LoadLibraryW(L"CVCore16.dll");
    if (!library)
        return false;
    const auto version = reinterpret_cast<const wchar_t* (*)()>(
        reinterpret_cast<void*>(::GetProcAddress(library, "_Z15SGetVersionTextv")));
    const bool works = version && version()[0] != L'\0';
    return ::FreeLibrary(library) && works && !::GetModuleHandleW(L"CVCore16.dll");
}

} // namespace

TEST(LoadedLibrary, LeavesNothingHoweverOftenItComesAndGoes)
{
    for (int i = 0; i < 5; ++i) // what the system keeps of the first times
        ASSERT_TRUE(UseOnce());
    const ResourceCount before = CountResources();
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(UseOnce()) << i;
    EXPECT_EQ(before, CountResources());
}
