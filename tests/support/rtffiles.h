// rtffiles.h: real RTF documents of five producers (rtffiles.rc), and texts to break.
#ifndef TESTS_RTFFILES_H
#define TESTS_RTFFILES_H

#include "strclss.h"

#include <random>
#include <string>
#include <vector>

inline constexpr const wchar_t* kRtfFiles[] = { L"memo", L"notes", L"minutes", L"gloss", L"review" };
inline constexpr int kRtfFileCount = 5;

/// A document, byte by byte.
inline SString RtfFile(int index)
{
    const HMODULE module = ::GetModuleHandleW(nullptr);
    const HRSRC place = ::FindResourceW(module, MAKEINTRESOURCEW(200 + index), MAKEINTRESOURCEW(10));
    const unsigned char* const bytes =
        static_cast<const unsigned char*>(::LockResource(::LoadResource(module, place)));
    const std::wstring wide(bytes, bytes + ::SizeofResource(module, place));
    return SString(std::wstring_view(wide));
}

/// `text` with a few pieces cut, doubled, overwritten or moved in from elsewhere.
inline SString Mutated(const SString& text, std::mt19937& random)
{
    static const wchar_t* const kPieces[] = { L"{",
                                              L"}",
                                              L"\\",
                                              L"\\'",
                                              L"\\'e9",
                                              L"\\u",
                                              L"\\u-3913?",
                                              L"\\bin9 ",
                                              L"\\bin",
                                              L";",
                                              L"\\f",
                                              L"\\f7",
                                              L"\\cf3",
                                              L"\\s",
                                              L"\\uc0 ",
                                              L"\\uc99999",
                                              L"{\\fonttbl",
                                              L"{\\stylesheet",
                                              L"{\\colortbl;",
                                              L"{\\*\\",
                                              L"\\par",
                                              L"\\plain",
                                              L"\\deff9",
                                              L"{\\rtf1",
                                              L"\x3b3",
                                              L"\x80",
                                              L"\\\n",
                                              L"\\ls2",
                                              L"{\\*\\listtable{\\list\\listid5}}",
                                              L"\\sect" };
    std::wstring changed(text, static_cast<size_t>(text.Length()));
    const auto below = [&](size_t n) { return n == 0 ? 0 : random() % n; };
    for (size_t edits = 1 + below(4); edits > 0; --edits) {
        const size_t at = below(changed.size() + 1);
        const size_t length = below(2) ? below(4) : below(200);
        switch (below(5)) {
        case 0: changed.erase(at, length); break;
        case 1: changed.insert(at, changed.substr(below(changed.size() + 1), length)); break;
        case 2: changed.insert(at, kPieces[below(std::size(kPieces))]); break;
        case 3:
            if (at < changed.size())
                changed[at] = static_cast<wchar_t>(below(2) ? below(0x100) : below(0x10000));
            break;
        default:
            if (below(8) == 0)
                changed.resize(at); // cut short
        }
    }
    return SString(std::wstring_view(changed));
}

#endif
