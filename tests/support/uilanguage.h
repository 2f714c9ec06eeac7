// uilanguage.h: the language in which the calling thread's texts are loaded, for as long as an object lives.
//
//     const UiLanguage french(MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH));
#ifndef TESTS_UILANGUAGE_H
#define TESTS_UILANGUAGE_H

#include "importpatch.h"

/// Objects do not nest.
class UiLanguage {
public:
    explicit UiLanguage(WORD language)
        : m_before(::GetThreadUILanguage()), m_patch("CVCore16.dll", nullptr, "GetThreadUILanguage", Answer)
    {
        // Wine 8 takes the language and goes on answering the user's, so the DLL is told by the patch.
        ::SetThreadUILanguage(language);
        s_language = language;
    }
    ~UiLanguage() { ::SetThreadUILanguage(m_before); }
    UiLanguage(const UiLanguage&) = delete;

private:
    static WORD WINAPI Answer() { return s_language; }

    static inline WORD s_language = 0;
    WORD m_before;
    ImportPatch m_patch;
};

#endif
