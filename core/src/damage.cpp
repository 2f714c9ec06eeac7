// damage.cpp: who hears of damage.
#include "damage.h"

#include "damagehook.h"

#include <atomic>
#include <cstdio>

namespace {

constexpr int kLineRoom = 1074;

std::atomic<SDamageReporter> g_reporter{ nullptr };
std::atomic<SDamageReporter> g_usualReporter{ WriteDamage };

} // namespace

void WriteDamage(const char* function, const char* file, unsigned long line, const wchar_t* text)
{
    wchar_t wide[kLineRoom];
    ::_snwprintf(wide, kLineRoom, L"%hs(%i): %hs: %s\r\n", file, static_cast<int>(line), function, text);
    wide[kLineRoom - 1] = L'\0';
    ::OutputDebugStringW(wide);
    char narrow[3 * kLineRoom];
    const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, narrow, sizeof narrow, nullptr, nullptr);
    DWORD written;
    if (bytes > 1)
        ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), narrow, static_cast<DWORD>(bytes - 1), &written,
                    nullptr);
}

void SetUsualDamageReporter(SDamageReporter reporter) noexcept
{
    g_usualReporter.store(reporter);
}

SDamageReporter SSetDamageReporter(SDamageReporter reporter)
{
    return g_reporter.exchange(reporter);
}

void SReportDamage(const char* function, const char* file, unsigned long line, const wchar_t* text) noexcept
{
    try {
        const SDamageReporter reporter = g_reporter.load();
        (reporter ? reporter : g_usualReporter.load())(function, file, line, text);
    }
    catch (...) {
        // The place that found the damage goes on with its work.
    }
}
