// version.cpp: the version that this build of the library has.
#include "version.h"

#define WIDE_TEXT_OF(number) L"" #number
#define WIDE_TEXT(macro) WIDE_TEXT_OF(macro)

static_assert(CVCORE_VERSION_MINOR < 100 && CVCORE_VERSION_PATCH < 100, "two decimal digits each");

int SGetVersion() noexcept
{
    return CVCORE_VERSION;
}

const wchar_t* SGetVersionText() noexcept
{
    return WIDE_TEXT(CVCORE_VERSION_MAJOR) L"." WIDE_TEXT(CVCORE_VERSION_MINOR) L"." WIDE_TEXT(
        CVCORE_VERSION_PATCH);
}
