// sfind.h: searches for files, in one folder or in a whole tree.
//
//     SFileRecurseFind find;
//     for (int more = find.FindFile(L"C:\\Plans\\*.txt"); more; more = find.FindNextFileW())
//         if (!find.IsDots())
//             Read(find.GetFilePath());
//     if (find.GetSkippedFolders() > 0) ...
//
// FindFile begins and stands at the first entry, FindNextFileW goes on; both answer 0 when there is no (further) one. The
// queries tell of the entry that the search stands at; without one they are empty.
//
// Threads  one search belongs to one thread at a time.
// Failure  nothing is thrown but SEOutOfMemory. A search that found nothing leaves the reason in GetLastError().
// Patterns are the system's, * and ?. The entries "." and ".." are found like others, in every folder.
#ifndef SFIND_H
#define SFIND_H

#include "cvbase.h"
#include "strclss.h"
#include "tablemem.h"
#include "smap.h"

/// Says which entries a search shows.
class CVCORE_API SFindFilter {
public:
    virtual ~SFindFilter();
    virtual int Accepts(const WIN32_FIND_DATAW& entry) const = 0;
};

/// Entries of which the attributes in `mask` are those in `wanted`: (FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_DIRECTORY) for
/// folders, (FILE_ATTRIBUTE_DIRECTORY, 0) for files.
class CVCORE_API SAttrMatchFindFilter : public SFindFilter {
public:
    SAttrMatchFindFilter(DWORD mask, DWORD wanted) : m_mask(mask), m_wanted(wanted & mask) {}
    int Accepts(const WIN32_FIND_DATAW& entry) const override;

private:
    DWORD m_mask;
    DWORD m_wanted;
};

/// What all searches have.
class CVCORE_API SBaseFind {
public:
    SBaseFind() noexcept;
    virtual ~SBaseFind();
    SBaseFind(const SBaseFind&) = delete;
    SBaseFind& operator=(const SBaseFind&) = delete;

    /// Values of `flags`; kFollowLinks is for searches in trees.
    enum Flags : unsigned long {
        kNone = 0,
        kFollowLinks = 1 ///< goes into folders that are links to folders too, each real folder once
    };

    /// Null stands for "*.*".
    virtual int FindFile(const wchar_t* pattern = nullptr, unsigned long flags = kNone) = 0;
    virtual int FindNextFileW() = 0;
    /// Ends the search.
    virtual void Close() noexcept;

    /// Shows only entries that the filter accepts; null: all. The filter stays the caller's.
    void SetFilter(const SFindFilter* filter) { m_filter = filter; }

    // ---- The entry ----

    /// Is it "." or ".."?
    int IsDots() const;
    int IsDirectory() const;
    int IsReadOnly() const;
    DWORD GetAttributes() const { return m_found.dwFileAttributes; }
    ULONGLONG GetLength() const;
    const FILETIME& GetLastWriteTime() const { return m_found.ftLastWriteTime; }
    const FILETIME& GetCreationTime() const { return m_found.ftCreationTime; }
    const WIN32_FIND_DATAW& GetFindData() const { return m_found; }
    /// "plan.txt".
    SString GetFileName() const;
    /// "plan".
    SString GetFileTitleW() const;
    /// The folder that the entry is in, with a backslash at its end.
    virtual SString GetRoot() const;
    /// Folder and name.
    SString GetFilePath() const;
    /// The same as a URL.
    SString GetFileURL() const;

protected:
    /// Takes entries from the running search until one is accepted; 0 at its end.
    int AcceptFrom(int found);
    /// Begins a search; 0 when nothing fits. The filter has not been asked.
    int Open(const SString& pattern);
    int Start(const SString& pattern);
    int Advance();

    HANDLE m_find;
    WIN32_FIND_DATAW m_found;
    SString m_root;
    const SFindFilter* m_filter;
};

/// The entries of one folder.
class CVCORE_API SFileFind : public SBaseFind {
public:
    int FindFile(const wchar_t* pattern = nullptr, unsigned long flags = kNone) override;
    int FindNextFileW() override;
};

/// The entries of a folder and of all folders below it that fit a mask: those of the root first, then those of each folder in
/// it, a folder before its own folders.
///
/// A pattern without "*" that names a folder stands for everything in it. Else what precedes the last backslash, or the last
/// colon, is the root, and the rest the mask; with neither the root is ".". Behind a colon the folders below the drive's
/// root are searched, as meant, though the entries of the first listing are those of the drive's current directory.
///
/// Depth costs no stack. A folder that cannot be read is passed over and counted.
class CVCORE_API SFileRecurseFind : public SBaseFind {
public:
    int FindFile(const wchar_t* pattern = nullptr, unsigned long flags = kNone) override;
    int FindNextFileW() override;
    void Close() noexcept override;

    /// Folders that could not be read so far.
    int GetSkippedFolders() const { return m_skipped; }

protected:
    /// Begins the search in the next folder that has an entry; 0 when there is none.
    int FindInNextFolder();

private:
    int StartIn(const SString& folder, const SString& pattern, bool isFolder);
    int Take(bool found);
    bool TakeNextFolder(SString& folder);
    void ListFolders(const SString& folder);
    void AddIfFolder(const SString& folder, const WIN32_FIND_DATAW& entry);
    void PutFirstOnTop(int first);
    void CountSkipped();
    bool IsNewFolder(const SString& folder);

    SString m_mask;
    STable<SString> m_pending; // folders still to be searched, the next one last
    SString m_listed;          // whose folders are still to be listed
    int m_firstOfFolder = 0;   // where the folders of the one that is searched begin in m_pending
    bool m_begun = false;
    bool m_gathers = false; // folders, from what the search shows
    bool m_taking = false;  // the present entry has not been dealt with
    unsigned long m_flags = kNone;
    int m_skipped = 0;
    SMap<SString, int> m_seen; // folders by volume and number, while links are followed
};

#endif
