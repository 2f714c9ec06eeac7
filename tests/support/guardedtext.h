// guardedtext.h: texts between two pages that must not be touched, at every alignment.
//
//     GuardedText guarded;
//     const wchar_t* text = guarded.AtEnd(L"abc", 3, 2);     // two bytes before the forbidden page
//
// A place may be odd: read and write such texts as bytes.
#ifndef TESTS_GUARDEDTEXT_H
#define TESTS_GUARDEDTEXT_H

#include <windows.h>

#include <cstring>
#include <new>
#include <string>
#include <string_view>

class GuardedText {
public:
    static constexpr size_t kPage = 4096;
    static constexpr size_t kBytes = 2 * kPage;

    GuardedText()
        : m_base(static_cast<char*>(::VirtualAlloc(nullptr, kBytes + 2 * kPage, MEM_RESERVE, PAGE_NOACCESS)))
    {
        if (!m_base || !::VirtualAlloc(m_base + kPage, kBytes, MEM_COMMIT, PAGE_READWRITE))
            throw std::bad_alloc();
        // What stands around a text is no NUL, so a search that overlooks the end is seen.
        std::memset(m_base + kPage, 0x61, kBytes);
    }
    ~GuardedText() { ::VirtualFree(m_base, 0, MEM_RELEASE); }
    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;

    /// Copies the text so that `gap` bytes lie between it and the page behind (before) it; `gap` units at
    /// most.
    wchar_t* AtEnd(const wchar_t* text, size_t length, size_t gap)
    {
        return Put(m_base + kPage + kBytes - gap - length * sizeof(wchar_t), text, length);
    }
    wchar_t* AtStart(const wchar_t* text, size_t length, size_t gap)
    {
        return Put(m_base + kPage + gap, text, length);
    }

    /// Calls `visit` with the text at both ends, at each of the 16 distances below a block.
    template <class Visit>
    void ForEachPlace(std::wstring_view text, Visit visit)
    {
        for (size_t gap = 0; gap < 16; ++gap) {
            visit(AtEnd(text.data(), text.size(), gap));
            visit(AtStart(text.data(), text.size(), gap));
        }
    }

private:
    static wchar_t* Put(char* place, const wchar_t* text, size_t length)
    {
        std::memcpy(place, text, length * sizeof(wchar_t));
        return reinterpret_cast<wchar_t*>(place);
    }

    char* m_base;
};

/// The units at a place that may be odd.
inline std::wstring UnitsAt(const wchar_t* text, size_t length)
{
    std::wstring units(length, L'\0');
    std::memcpy(&units[0], text, length * sizeof(wchar_t));
    return units;
}

#endif
