// systemcase.h: what CharUpperW and CharLowerW make of each unit: the model for everything that ignores case.
#ifndef TESTS_SYSTEMCASE_H
#define TESTS_SYSTEMCASE_H

#include <windows.h>

#include <stdexcept>
#include <string>
#include <string_view>

class SystemCase {
public:
    /// The one table; user32 is loaded for it, so that test programs need not link it.
    static const SystemCase& Get()
    {
        static const SystemCase table;
        return table;
    }
    wchar_t Upper(wchar_t c) const { return m_upper[c]; }
    wchar_t Lower(wchar_t c) const { return m_lower[c]; }
    std::wstring Upper(std::wstring_view text) const
    {
        std::wstring result(text);
        for (wchar_t& c : result)
            c = Upper(c);
        return result;
    }

private:
    SystemCase() : m_upper(0x10000, L'\0'), m_lower(0x10000, L'\0')
    {
        using CharCall = wchar_t*(WINAPI*)(wchar_t*);
        const HMODULE user = ::LoadLibraryW(L"user32.dll");
        const auto upper =
            reinterpret_cast<CharCall>(reinterpret_cast<void*>(::GetProcAddress(user, "CharUpperW")));
        const auto lower =
            reinterpret_cast<CharCall>(reinterpret_cast<void*>(::GetProcAddress(user, "CharLowerW")));
        if (!upper || !lower)
            throw std::runtime_error("user32.dll has no CharUpperW or no CharLowerW");
        for (unsigned c = 0; c < 0x10000; ++c) {
            // A number instead of a pointer asks for a single unit.
            const auto unit = reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(c));
            m_upper[c] = static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(upper(unit)));
            m_lower[c] = static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(lower(unit)));
        }
    }

    std::wstring m_upper;
    std::wstring m_lower;
};

#endif
