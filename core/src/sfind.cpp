// sfind.cpp: searches for files.
#include "sfind.h"

#include "sfile.h"
#include "systempath.h"

#include <cwchar>

namespace {

constexpr wchar_t kEverything[] = L"*.*";

bool AreDots(const wchar_t* name)
{
    return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

SString WithSeparator(const SString& folder)
{
    return folder.IsEmpty() || folder[folder.Length() - 1] == L'\\' ? folder : folder + L'\\';
}

// Where the root of a pattern ends and its mask begins.
int MaskAt(const SString& pattern)
{
    const int separator = pattern.ReverseFindPos(L'\\');
    return (separator >= 0 ? separator : pattern.ReverseFindPos(L':')) + 1;
}

} // namespace

SFindFilter::~SFindFilter() = default;

int SAttrMatchFindFilter::Accepts(const WIN32_FIND_DATAW& entry) const
{
    return (entry.dwFileAttributes & m_mask) == m_wanted;
}

// ---- SBaseFind ----

SBaseFind::SBaseFind() noexcept : m_find(nullptr), m_found(), m_filter(nullptr) {}

SBaseFind::~SBaseFind()
{
    SBaseFind::Close();
}

void SBaseFind::Close() noexcept
{
    const DWORD error = ::GetLastError();
    if (m_find)
        ::FindClose(m_find);
    m_find = nullptr;
    m_found = WIN32_FIND_DATAW();
    ::SetLastError(error);
}

int SBaseFind::IsDots() const
{
    return AreDots(m_found.cFileName);
}

int SBaseFind::IsDirectory() const
{
    return (m_found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int SBaseFind::IsReadOnly() const
{
    return (m_found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
}

ULONGLONG SBaseFind::GetLength() const
{
    return static_cast<ULONGLONG>(m_found.nFileSizeHigh) << 32 | m_found.nFileSizeLow;
}

SString SBaseFind::GetFileName() const
{
    return SString(m_found.cFileName);
}

SString SBaseFind::GetFileTitleW() const
{
    const SString name = GetFileName();
    const int mark = AreDots(name) ? -1 : name.ReverseFindPos(L'.');
    return mark < 0 ? name : name.Left(mark);
}

SString SBaseFind::GetRoot() const
{
    return m_root;
}

SString SBaseFind::GetFilePath() const
{
    return m_find ? GetRoot() + m_found.cFileName : SString();
}

SString SBaseFind::GetFileURL() const
{
    return SFile::PathToURL(GetFilePath());
}

int SBaseFind::AcceptFrom(int found)
{
    while (found && m_filter && !m_filter->Accepts(m_found))
        found = ::FindNextFileW(m_find, &m_found);
    if (!found)
        SBaseFind::Close();
    return found != 0;
}

int SBaseFind::Open(const SString& pattern)
{
    SBaseFind::Close();
    const HANDLE find = ::FindFirstFileW(SystemPath(pattern), &m_found);
    m_find = find == INVALID_HANDLE_VALUE ? nullptr : find;
    return m_find != nullptr;
}

int SBaseFind::Start(const SString& pattern)
{
    return AcceptFrom(Open(pattern));
}

int SBaseFind::Advance()
{
    return m_find ? AcceptFrom(::FindNextFileW(m_find, &m_found)) : 0;
}

// ---- SFileFind ----

int SFileFind::FindFile(const wchar_t* pattern, unsigned long)
{
    const SString text(pattern ? pattern : kEverything);
    m_root = text.Left(MaskAt(text));
    return Start(text);
}

int SFileFind::FindNextFileW()
{
    return Advance();
}

// ---- SFileRecurseFind ----

int SFileRecurseFind::FindFile(const wchar_t* pattern, unsigned long flags)
{
    Close();
    m_flags = flags;
    m_skipped = 0;
    SString text(pattern ? pattern : kEverything);
    if (text.FindPos(L'*') < 0 && SFile::IsDirectory(text)) {
        m_root = WithSeparator(text);
        m_mask = kEverything;
        text = m_root + m_mask;
    } else {
        const int at = MaskAt(text);
        m_root = at > 0 ? WithSeparator(text.Left(at)) : SString(L".\\");
        m_mask = text.Mid(at);
    }
    m_begun = true;
    if (m_flags & kFollowLinks)
        IsNewFolder(m_root);
    // "C:*.*" shows another folder than the one whose folders are searched.
    return StartIn(m_root, text, text == m_root + m_mask || text == m_mask) || FindInNextFolder();
}

int SFileRecurseFind::FindNextFileW()
{
    return (m_find && Take(m_taking || ::FindNextFileW(m_find, &m_found))) || FindInNextFolder();
}

// Where the mask lets everything through, one listing shows the folders too.
int SFileRecurseFind::StartIn(const SString& folder, const SString& pattern, bool isFolder)
{
    m_gathers = isFolder && (m_mask == kEverything || m_mask == L"*");
    m_firstOfFolder = m_pending.Count();
    m_taking = false;
    m_listed = m_gathers ? SString() : folder;
    const bool found = Open(pattern) != 0;
    if (!found && m_gathers)
        CountSkipped();
    return Take(found);
}

int SFileRecurseFind::Take(bool found)
{
    for (; found; found = ::FindNextFileW(m_find, &m_found) != 0) {
        m_taking = true; // a filter may throw, and memory may run out: then this entry is the next one still
        const bool accepted = !m_filter || m_filter->Accepts(m_found);
        if (m_gathers)
            AddIfFolder(m_root, m_found);
        m_taking = false;
        if (accepted)
            return 1;
    }
    if (m_gathers)
        PutFirstOnTop(m_firstOfFolder);
    m_gathers = false;
    SBaseFind::Close();
    return 0;
}

void SFileRecurseFind::Close() noexcept
{
    SBaseFind::Close();
    m_pending.Clear();
    m_seen.Clear();
    m_listed.Empty();
    m_begun = m_gathers = m_taking = false;
}

int SFileRecurseFind::FindInNextFolder()
{
    SString folder;
    while (m_begun && TakeNextFolder(folder)) {
        m_root = folder;
        if (StartIn(folder, folder + m_mask, true))
            return 1;
    }
    m_begun = false;
    return 0;
}

// Folders come one after the other, each before those in it: what the last one holds is put on top of the others.
bool SFileRecurseFind::TakeNextFolder(SString& folder)
{
    if (!m_listed.IsEmpty()) {
        const SString listed = m_listed;
        m_listed.Empty();
        ListFolders(listed);
    }
    if (m_pending.Count() == 0)
        return false;
    const int last = m_pending.Count() - 1;
    folder = m_pending[last];
    m_pending.Remove(last);
    return true;
}

void SFileRecurseFind::ListFolders(const SString& folder)
{
    WIN32_FIND_DATAW entry;
    const HANDLE find = ::FindFirstFileW(SystemPath(folder + kEverything), &entry);
    if (find == INVALID_HANDLE_VALUE) {
        CountSkipped();
        return;
    }
    struct Closer {
        HANDLE find;
        ~Closer() { ::FindClose(find); }
    } const closer{ find };
    const int first = m_pending.Count();
    do {
        AddIfFolder(folder, entry);
    } while (::FindNextFileW(find, &entry));
    PutFirstOnTop(first);
}

void SFileRecurseFind::CountSkipped()
{
    m_skipped += ::GetLastError() != ERROR_FILE_NOT_FOUND;
}

void SFileRecurseFind::AddIfFolder(const SString& folder, const WIN32_FIND_DATAW& entry)
{
    const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    const bool followsLinks = (m_flags & kFollowLinks) != 0;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || AreDots(entry.cFileName) ||
        (isLink && !followsLinks))
        return;
    const SString path = SString::Concat(folder, entry.cFileName, L"\\");
    m_pending.Add(path);
    if (followsLinks && !IsNewFolder(path))
        m_pending.Remove(m_pending.Count() - 1);
}

// Taken from the end, so the first one must stand there.
void SFileRecurseFind::PutFirstOnTop(int first)
{
    for (int low = first, high = m_pending.Count() - 1; low < high; ++low, --high)
        m_pending.Swap(low, high);
}

// Links make it possible to come to a folder twice, or for ever; its number on its volume tells.
bool SFileRecurseFind::IsNewFolder(const SString& folder)
{
    const HANDLE handle =
        ::CreateFileW(SystemPath(folder), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return true; // the search itself will find out
    BY_HANDLE_FILE_INFORMATION information;
    const BOOL known = ::GetFileInformationByHandle(handle, &information);
    ::CloseHandle(handle);
    if (!known)
        return true;
    return m_seen.Set(SString().Format(L"%lu:%lu:%lu", information.dwVolumeSerialNumber,
                                       information.nFileIndexHigh, information.nFileIndexLow),
                      1);
}
