// handledesc.cpp: what windows were, for diagnostics.
#include "handledesc.h"

#include "modstate.h"
#include "sexcept.h"
#include "smap.h"

#include <cstring>

namespace {

constexpr unsigned kKeyPathId = 114;
constexpr wchar_t kKeySuffix[] = L"\\Diagnostics";
constexpr wchar_t kValueName[] = L"UseHandleDesc";

// From the key of the user.
bool ReadSetting()
{
    SString path;
    if (!SModuleState::Core().TryLoadString(kKeyPathId, path))
        return false;
    path += kKeySuffix;
    HKEY key;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return false;
    wchar_t text[32] = {};
    DWORD type = 0, bytes = sizeof text - sizeof(wchar_t);
    const LSTATUS status =
        ::RegQueryValueExW(key, kValueName, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes);
    ::RegCloseKey(key);
    if (status != ERROR_SUCCESS)
        return false;
    if (type == REG_DWORD) {
        DWORD number;
        std::memcpy(&number, text, sizeof number);
        return number != 0;
    }
    const SString value(text);
    return value.CompareNoCase(L"Yes") == 0 || value.CompareNoCase(L"true") == 0 || value.ToLONG() != 0;
}

// Read once a process.
bool IsWanted() noexcept
{
    static const bool wanted = [] {
        try {
            return ReadSetting();
        }
        catch (const SEOutOfMemory&) {
            return false;
        }
    }();
    return wanted;
}

SMap<HWND, SString>& Descriptions()
{
    static SMap<HWND, SString> descriptions;
    return descriptions;
}

} // namespace

void DescribeHandle(HWND window, const SClassInfo* object, const wchar_t* title) noexcept
{
    try {
        if (!IsWanted())
            return;
        wchar_t className[64] = {}, asked[128] = {};
        ::GetClassNameW(window, className, 64);
        if (!title) {
            ::GetWindowTextW(window, asked, 128);
            title = asked;
        }
        Descriptions().Set(window, SString().Format(L"%s \"%s\" of %hs", className, title, object->name));
    }
    catch (...) {
        // Diagnostics only.
    }
}

void ForgetHandle(HWND window) noexcept
{
    if (IsWanted())
        Descriptions().Remove(window);
}

SString HandleDescription(HWND window)
{
    const SString* const known = Descriptions().Find(window);
    return known ? *known : SString();
}
