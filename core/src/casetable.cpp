// casetable.cpp: one thread builds the tables; what others need meanwhile they ask of the system unit by
// unit. So no thread ever waits for another one, which might have been ended by ExitProcess or be held up by
// the loader lock.
#include "casetable.h"

#include <iterator>

namespace CaseTable {

std::atomic<int> g_state{ kUnbuilt };
wchar_t g_upper[kUnits];
wchar_t g_lower[kUnits];

namespace {

constexpr wchar_t kSurrogatesBegin = 0xD800;
constexpr wchar_t kSurrogatesEnd = 0xE000;

// CharUpperW would do, but it lives in user32, which console programs are not to load.
bool Map(DWORD how, const wchar_t* from, wchar_t* to, int units)
{
    return ::LCMapStringW(LOCALE_INVARIANT, how, from, units, to, units) == units;
}

void MapTable(DWORD how, wchar_t* table)
{
    // In place, which the call allows for these two mappings.
    const bool mapped = Map(how, table, table, static_cast<int>(kUnits));
    // A pair of the sequence could have been mapped as one character; and should the call fail, ASCII is
    // still right.
    for (unsigned c = kSurrogatesBegin; c < kSurrogatesEnd; ++c)
        table[c] = static_cast<wchar_t>(c);
    if (!mapped) {
        const wchar_t first = how == LCMAP_UPPERCASE ? L'a' : L'A';
        for (unsigned c = first; c < first + 26u; ++c)
            table[c] = static_cast<wchar_t>(c ^ 0x20);
    }
}

bool Build()
{
    int found = kUnbuilt;
    if (!g_state.compare_exchange_strong(found, kBeingBuilt, std::memory_order_acquire))
        return found == kReady;
    for (unsigned c = 0; c < kUnits; ++c)
        g_upper[c] = g_lower[c] = static_cast<wchar_t>(c);
    MapTable(LCMAP_UPPERCASE, g_upper);
    MapTable(LCMAP_LOWERCASE, g_lower);
    g_state.store(kReady, std::memory_order_release);
    return true;
}

wchar_t MapUnit(DWORD how, wchar_t c)
{
    wchar_t mapped = c;
    if (c >= kSurrogatesBegin && c < kSurrogatesEnd)
        return c;
    return Map(how, &c, &mapped, 1) ? mapped : c;
}

} // namespace

wchar_t UpperUnready(wchar_t c)
{
    if (c < kAsciiEnd)
        return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 0x20) : c;
    return Build() ? g_upper[c] : MapUnit(LCMAP_UPPERCASE, c);
}

wchar_t LowerUnready(wchar_t c)
{
    if (c < kAsciiEnd)
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 0x20) : c;
    return Build() ? g_lower[c] : MapUnit(LCMAP_LOWERCASE, c);
}

} // namespace CaseTable
