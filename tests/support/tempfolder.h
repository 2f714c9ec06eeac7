// tempfolder.h: a folder of the test's own, and files in it.
#ifndef TESTS_TEMPFOLDER_H
#define TESTS_TEMPFOLDER_H

#include <windows.h>

#include <cstdio>
#include <string>

/// Makes an empty folder in the temporary one and removes it with everything in it, files that are read-only too.
class TempFolder {
public:
    TempFolder()
    {
        wchar_t folder[MAX_PATH], path[MAX_PATH];
        ::GetTempPathW(MAX_PATH, folder);
        ::GetLongPathNameW(folder, folder, MAX_PATH);
        ::GetTempFileNameW(folder, L"tst", 0, path);
        ::DeleteFileW(path);
        ::CreateDirectoryW(path, nullptr);
        m_path = path;
    }
    ~TempFolder() { Remove(L"\\\\?\\" + m_path); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The path of a name in the folder; of the folder itself, without a backslash, for an empty one.
    std::wstring Path(const std::wstring& name = L"") const
    {
        return name.empty() ? m_path : m_path + L"\\" + name;
    }

    /// Writes a file and returns its path. Long paths are fine.
    std::wstring File(const std::wstring& name, const std::string& content = "") const
    {
        const HANDLE file = ::CreateFileW((L"\\\\?\\" + Path(name)).c_str(), GENERIC_WRITE, 0, nullptr,
                                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD written;
        ::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
        ::CloseHandle(file);
        return Path(name);
    }
    std::wstring Folder(const std::wstring& name) const
    {
        ::CreateDirectoryW((L"\\\\?\\" + Path(name)).c_str(), nullptr);
        return Path(name);
    }

    /// The content of a file; "(no file)" when it is not there.
    static std::string Content(const std::wstring& path)
    {
        const HANDLE file =
            ::CreateFileW((L"\\\\?\\" + path).c_str(), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return "(no file)";
        std::string bytes(::GetFileSize(file, nullptr), '\0');
        DWORD got = 0;
        ::ReadFile(file, &bytes[0], static_cast<DWORD>(bytes.size()), &got, nullptr);
        ::CloseHandle(file);
        return bytes.substr(0, got);
    }

    /// How many entries a folder has.
    static int Entries(const std::wstring& path)
    {
        int count = 0;
        ForEach(path, [&count](const WIN32_FIND_DATAW&) { ++count; });
        return count;
    }

private:
    template <class Visit>
    static void ForEach(const std::wstring& path, Visit visit)
    {
        WIN32_FIND_DATAW found;
        const HANDLE find = ::FindFirstFileW((path + L"\\*").c_str(), &found);
        if (find == INVALID_HANDLE_VALUE)
            return;
        do {
            if (std::wstring(found.cFileName) != L"." && std::wstring(found.cFileName) != L"..")
                visit(found);
        } while (::FindNextFileW(find, &found));
        ::FindClose(find);
    }
    static void Remove(const std::wstring& path)
    {
        ForEach(path, [&path](const WIN32_FIND_DATAW& found) {
            const std::wstring entry = path + L"\\" + found.cFileName;
            const bool isLink = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
            ::SetFileAttributesW(entry.c_str(), FILE_ATTRIBUTE_NORMAL);
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !isLink)
                Remove(entry);
            else if (!::DeleteFileW(entry.c_str()))
                ::RemoveDirectoryW(entry.c_str());
        });
        ::RemoveDirectoryW(path.c_str());
    }

    std::wstring m_path;
};

#endif
