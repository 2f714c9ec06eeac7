// templog.h: an exception log of the test's own, in the temporary folder.
#ifndef TESTS_TEMPLOG_H
#define TESTS_TEMPLOG_H

#include "crashlog.h"

#include <cstdio>
#include <string>

class TempLog {
public:
    TempLog()
    {
        wchar_t folder[MAX_PATH], path[MAX_PATH];
        ::GetTempPathW(MAX_PATH, folder);
        ::GetTempFileNameW(folder, L"log", 0, path);
        m_path = path;
        ::DeleteFileW(path);
        SSetExceptionLog(path);
    }
    ~TempLog()
    {
        SSetExceptionLog(nullptr);
        ::DeleteFileW(m_path.c_str());
        ::DeleteFileW((m_path + L".1").c_str());
    }
    TempLog(const TempLog&) = delete;
    TempLog& operator=(const TempLog&) = delete;

    const std::wstring& Path() const { return m_path; }
    /// What is in the log; empty when there is none.
    std::string Text() const { return Read(m_path); }
    /// The renamed file's text in front of it.
    std::string WithOlder() const { return Read(m_path + L".1") + Text(); }

    static std::string Read(const std::wstring& path)
    {
        std::string bytes;
        if (FILE* file = ::_wfopen(path.c_str(), L"rb")) {
            char chunk[4096];
            for (size_t count; (count = std::fread(chunk, 1, sizeof chunk, file)) > 0;)
                bytes.append(chunk, count);
            std::fclose(file);
        }
        return bytes;
    }

private:
    std::wstring m_path;
};

#endif
