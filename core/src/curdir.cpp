// curdir.cpp: another current directory for a scope.
#include "curdir.h"

#include "sfile.h"
#include "systempath.h"

SCurrentDirectory::~SCurrentDirectory()
{
    try {
        Restore(0);
    }
    catch (...) {
        // Without memory there is no way back, and no way to tell.
    }
}

SString SCurrentDirectory::Get()
{
    const DWORD room = ::GetCurrentDirectoryW(0, nullptr);
    const SString directory = TextOfSystem(room > 0 ? room : MAX_PATH, [](wchar_t* buffer, DWORD units) {
        return ::GetCurrentDirectoryW(units, buffer);
    });
    // Of an empty text it would make the root.
    return directory.IsEmpty() ? directory : SFile::NormalizeDirectoryName(directory);
}

int SCurrentDirectory::Set(const SString& directory)
{
    return ::SetCurrentDirectoryW(SystemPath(directory)) != 0;
}

SString SCurrentDirectory::GetDefaultTemporaryDirectory()
{
    static const SString directory = SFile::NormalizeDirectoryName(
        TextOfSystem(MAX_PATH, [](wchar_t* buffer, DWORD room) { return ::GetTempPathW(room, buffer); }));
    return directory;
}

int SCurrentDirectory::Assign(const SString& directory, int restoreAlways)
{
    m_saved = Get();
    m_assigned =
        directory.IsEmpty() ? GetDefaultTemporaryDirectory() : SFile::NormalizeDirectoryName(directory);
    m_restoreAlways = restoreAlways;
    return Set(m_assigned);
}

int SCurrentDirectory::Restore(int keep)
{
    int result = 0;
    if (!m_saved.IsEmpty() && !m_assigned.IsEmpty()) {
        const SString current = Get();
        const bool mayGo = m_restoreAlways || current.CompareNoCase(m_assigned) == 0;
        if (mayGo && current.CompareNoCase(m_saved) != 0)
            result = Set(m_saved);
    }
    if (!keep)
        CancelRestore();
    return result;
}

void SCurrentDirectory::CancelRestore()
{
    m_saved.Empty();
    m_assigned.Empty();
    m_restoreAlways = 0;
}
