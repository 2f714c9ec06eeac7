// console.h: what the console samples share: output in UTF-8, words for failures, a line that shows progress.
#ifndef SAMPLES_CONSOLE_H
#define SAMPLES_CONSOLE_H

#include "narrow.h"
#include "sexcept.h"
#include "shglobal.h"
#include "strclss.h"

#include <cstdio>

/// What is wrong with the input, in one line for the person who gave it.
struct BadInput {
    SString message;
};

inline void Print(FILE* stream, const SString& text)
{
    const SUtf8String narrow(text);
    if (!narrow.IsEmpty())
        std::fwrite(narrow, 1, static_cast<size_t>(narrow.LengthByte()), stream);
}

/// The system's words for its last error; a full stop of its own goes.
inline SString LastErrorText()
{
    SString text;
    if (!GetResultFormat(HRESULT_FROM_WIN32(::GetLastError()), &text))
        text = L"unknown error";
    return text.TrimRight(L'.');
}

/// A path as a person types it, who may be used to slashes.
inline SString Typed(SString path)
{
    path.ReplaceAll(L'/', L'\\');
    return path;
}

/// Reads a file whole, or says why not.
inline SBlob ReadWhole(const SString& path)
{
    const DWORD attributes = ::GetFileAttributesW(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        throw BadInput{ path + L": this is a directory" };
    SBlob bytes;
    ::SetLastError(NO_ERROR);
    const long code = bytes.ReadFromFile(Typed(path));
    if (code >= 0)
        return bytes;
    SString why;
    if (::GetLastError() != NO_ERROR)
        why = LastErrorText();
    else
        GetResultFormat(code, &why);
    throw BadInput{ SString::Concat(path, L": ", why) };
}

/// Shows on standard error, at most every fifth of a second, how far the work is; nothing at all for work that is done before,
/// or when somebody who is no person reads.
class Progress {
public:
    explicit Progress(const wchar_t* what) : m_what(what), m_shown(::GetTickCount()) {}
    ~Progress()
    {
        if (m_any)
            Print(stderr, SString::Concat(L"\r", SString(L' ', 70), L"\r"));
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(unsigned long done, const SString& unit)
    {
        constexpr DWORD kEveryMs = 200;
        DWORD mode;
        const DWORD now = ::GetTickCount();
        if (now - m_shown < kEveryMs || !::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode))
            return;
        m_shown = now;
        m_any = true;
        Print(stderr, SString().Format(L"\r%s: %lu %s   ", m_what, done, unit));
    }

private:
    const wchar_t* m_what;
    DWORD m_shown;
    bool m_any = false;
};

#endif
