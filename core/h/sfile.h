// sfile.h: SFile, a named file: its name in parts, its open handle, a search, and the services for paths.
//
//     SFile file;
//     DWORD count = sizeof header;
//     if (file.Init(path) >= 0 && file.OpenExisting(FILE_SHARE_READ) >= 0 &&
//         file.Read(header, &count, sizeof header) >= 0) ...
//     SString beside = SFile::ConcatPath(SFile::GetParentFolder(path), L"index.txt", L'\\');
//
// Value    a file object is not copied but by Init(const SFile&), which says what becomes of the handle.
// Threads  one object belongs to one thread at a time. The current directory and drive are the process's.
// Failure  long results are codes (filecodes.h): 0 is success, negative is failure, so test >= 0. int results are 1 or 0
//          unless said otherwise. Where the system failed, GetLastError() tells why. Nothing is thrown but SEOutOfMemory;
//          the object stays named.
// Paths    the backslash is the only separator that is looked for. A path may begin with a drive ("C:") or a server
//          ("\\server\"). Names of 260 characters and more work wherever the system allows them (the form "\\?\" is
//          used inside and need not be written); services that are defined by a buffer of fixed size fail cleanly on a
//          longer result, with an empty text or 0. A path with a NUL inside names no file: every call that would hand it to
//          the system fails as for a missing file, with ERROR_INVALID_NAME.
#ifndef SFILE_H
#define SFILE_H

#include "cvbase.h"
#include "filecodes.h"
#include "strclss.h"

class CVCORE_API SFile {
public:
    SFile() noexcept;
    /// As Done, whose result is lost.
    ~SFile();
    SFile(const SFile&) = delete;
    SFile& operator=(const SFile&) = delete;

    // ---- Naming ----

    /// Makes the object empty: closes what is open and forgets the name. Always 0: what cannot be closed is let go of.
    long Init();
    /// Names the file and splits the name. kName for a name that CheckFilename rejects; the name and its parts are there
    /// all the same. Does not touch a handle.
    long Init(const SString& fullName);
    /// Joins the name from parts (see MakeFilename). Forgets a handle and a search without closing them: this is for an
    /// object that has none.
    long Init(const SString& drive, const SString& directory, const SString& name, const SString& extension);
    /// Takes the name of another one over and, when that is open, a duplicate of its handle. As meant, the results for that
    /// are reversed: a duplicate that was made leaves the access 0 and answers E_FAIL; one that could not be made
    /// takes over the access and answers 0.
    long Init(const SFile& other);
    /// Empties the name, closes the handle (kClose when that fails; then the search goes on) and the search (kFindClose).
    long Done();

    /// Derives the parts from the full name. 0 when that is empty.
    /// "\\server\rest" has the drive "\\server\", "C:rest" the drive "C:\", anything else the current drive. What follows
    /// the drive is absolute when it begins with a backslash, else it lies in the current directory of the process (also
    /// after another drive's letter). The directory ends at the last backslash; the extension begins behind the last
    /// point of the name.
    int SplitFilename();
    /// Derives the full name from the parts. An empty drive becomes the current one, an empty directory the current one.
    void MakeFilename();
    /// Whether this can be the name of a file: it has a name, without a backslash, and neither name nor extension holds one
    /// of /:*?<>|". A backslash in the extension is not looked for. So a stream ("a.txt:notes") is no file's name.
    int CheckFilename() const;

    /// The parts: "C:\" or "\\server\"; "dir\sub\"; "name"; "ext". And the whole.
    const SString& GetDrive() const { return m_drive; }
    const SString& GetDirectory() const { return m_directory; }
    const SString& GetName() const { return m_name; }
    const SString& GetExtension() const { return m_extension; }
    const SString& GetFullName() const { return m_fullName; }

    // ---- The handle ----

    /// Opens the file for reading and writing, or for reading when the attributes hold FILE_ATTRIBUTE_READONLY; makes it
    /// when there is none (OPEN_ALWAYS). Attributes of ~0 are those that the file has, else FILE_ATTRIBUTE_NORMAL; flags
    /// of CreateFile may be among them. The handle can be inherited. A handle that is open is closed first. kOpen.
    long Open(DWORD attributes = ~DWORD{ 0 }, DWORD share = 0);
    /// Opens a file that is there: for reading and writing, or for reading when `share` holds FILE_SHARE_WRITE or the file is
    /// read-only. Where others write, reading with FILE_SHARE_WRITE is tried next: then the result is 1. kMissing, kOpen.
    long OpenExisting(DWORD share = 0);
    /// As Open, with another failure code (kCreate). As meant, it does not cut a file that is there: SetEndOfFile does.
    long Create(DWORD attributes = FILE_ATTRIBUTE_NORMAL, DWORD share = 0);
    /// 0 when nothing is open. kClose keeps the handle, so that it can be tried again.
    long Close();

    int IsOpen() const { return m_file != nullptr; }
    HANDLE GetHandle() const { return m_file; }
    /// GENERIC_READ, GENERIC_READ | GENERIC_WRITE, or 0 while nothing is open.
    DWORD GetAccess() const { return m_access; }

    /// Transfers `*count` bytes, at most `max` (~0: no limit), and stores how many there were. Nothing to transfer: 0, and
    /// the system is not asked. kNullPointer, kNotOpen, kRead, kWrite.
    long Read(void* buffer, DWORD* count, DWORD max = ~DWORD{ 0 }) const;
    long Write(const void* buffer, DWORD* count, DWORD max = ~DWORD{ 0 }) const;
    /// Moves to `*position` from FILE_BEGIN, FILE_CURRENT or FILE_END and stores the new position: 32 bits, signed for the
    /// latter two. kSeek, also for a position of 0xFFFFFFFF, which the system's answer cannot tell from a failure.
    long Seek(DWORD* position, DWORD method) const;
    int Flush() const;
    /// Cuts or extends the file at the position.
    int SetEndOfFile() const;
    /// Whether a byte more could not be read. The position stays.
    int IsEOF() const;
    int SavePosition(DWORD* position) const;
    int RestorePosition(DWORD position) const;
    /// The low 32 bits and, where `high` is not null, the rest. As meant, with `high` a failure answers 0 and the caller looks
    /// at GetLastError. kNullPointer, kNotOpen, kSize.
    long GetSize(DWORD* low, DWORD* high = nullptr) const;
    /// The time of creation (nonzero) or of the last write (0), of the open file or else by name. kNullPointer, kTime.
    long GetDateTime(FILETIME* time, int creation = 0) const;
    /// Compares that with a given time: -1, 0, 1; -2 when the file's cannot be read; kNullPointer.
    long CompareDateTime(FILETIME* time, int creation = 0) const;
    /// Looks at the first 512 bytes: 1 bitmap, 2 placeable metafile, 4 metafile or enhanced metafile, 5 JPEG, 6 GIF, 0
    /// anything else, XML too, and a file that is not there. 0 or kNullPointer, or what opening and reading answer.
    long GetContentType(short* type);

    // ---- The named file ----

    /// Closes the handle, deletes the file and forgets the name. kDelete keeps the name.
    long Delete();
    /// Renames and takes the new name. kRename.
    long Rename(const SString& newName);
    /// kCopy, also when the target is there and `overwrite` is 0.
    long Copy(const SString& target, int overwrite) const;
    int Exists() const;
    int IsFile() const;
    int IsDirectory() const;
    int IsReserved() const;
    /// 0 for a file that is not there.
    int IsReadOnly() const;
    /// With a handle: whether it may write to a file that is not read-only. Without one: whether the file can be opened for
    /// writing. As meant, that test makes the file when it is not there.
    int CanBeWritten() const;
    int GetAttributes(DWORD* attributes) const;
    int SetAttributes(DWORD attributes) const;

    // ---- A search ----
    // The full name, name and extension become those of each entry found, in the pattern's directory; "." and ".." too.

    /// Ends a search in progress and begins one. kFindClose, kName (a pattern with an empty name, or an entry without one),
    /// kMissing. Wildcards are allowed here.
    long FindFirst(const SString& pattern);
    /// kNoMoreFiles at the end.
    long FindNext();
    /// 0 when there is none. kFindClose keeps the search.
    long FindClose();
    /// What the system told of the entry.
    const WIN32_FIND_DATAW& GetFindData() const { return m_found; }

    // ---- Services: files by path ----

    static long Delete(const SString& path);
    static int Exists(const SString& path);
    static int IsFile(const SString& path);
    static int IsDirectory(const SString& path);
    /// A file with the system attribute, or a device ("NUL").
    static int IsReserved(const SString& path);
    static long GetSize(const SString& path, DWORD* low, DWORD* high = nullptr);
    static long GetDateTime(const SString& path, FILETIME* time, int creation = 0);
    /// Compares two files: 0 equal, -2 when a name is missing, a file cannot be read or has 4 GiB or more. Three oddities are
    /// meant: of files of different size the shorter one gives 1 and the longer one -1; the first difference gives -1 or 1
    /// by the bytes' order; and of files of equal size the last 16384-byte piece decides alone, so that files that differ
    /// only before it are equal. Without memory for the buffers the answer is 0.
    static int CompareBinaryFiles(const wchar_t* a, const wchar_t* b);

    // ---- Services: folders ----

    /// The current directory without its drive: "dir\sub\". Empty for a root, and when it cannot be had.
    static SString GetCurrentDirectoryW();
    /// "C:\", or "\\server\".
    static SString GetCurrentDrive();
    /// Makes the drive of a path ("D:", "D:\", "D:\x") the current one, in the directory that was last current on it.
    static int SetCurrentDrive(const SString& drive);
    static int CreateDirectoryW(const SString& path);
    static int RemoveDirectoryW(const SString& path);
    /// Makes the folders of a path that are missing, from the top down; with `isFile` the last part is a file's name and no
    /// folder. The full path goes into `*result` where that is not null. 0 when it has 260 characters or more, has no root
    /// that exists, or a folder cannot be made; those made so far stay.
    static int CreateFilePath(const SString& path, SString* result = nullptr, int isFile = 0);
    static SString GetSystemDirectoryW();
    static SString GetWindowsDirectoryW();
    static SString GetTempDirectory();
    /// Makes an empty file with a name of its own (`unique` 0) and returns its path, or only the path. Empty when the system
    /// refuses, also a directory of more than 246 characters.
    static SString GetTempFileNameW(const SString& directory, const SString& prefix, UINT unique = 0);
    /// A folder of the shell by its CSIDL number; made when it is missing and `create` is not 0. Empty when there is none.
    static SString GetFolderPath(int csidl, int create = 0);
    /// The same with a folder inside it, made on the same condition. Ends without a backslash.
    static SString GetFolderPathAndSubDir(int csidl, SString subDirectory, int create = 0);
    /// Bytes on the volume of a path: those this user may still write, and all. 0 when they cannot be had.
    static ULONGLONG GetFreeDiskSpace(const SString& path);
    static ULONGLONG GetTotalDiskSpace(const SString& path);

    // ---- Services: text of paths ----

    /// As the run-time splits: "C:", "\dir\", "name", ".ext". Null pointers are passed over. 0, with all parts empty, when a
    /// part has 256 characters or more.
    static int SplitPath(const SString& path, SString* drive, SString* directory, SString* name,
                         SString* extension);
    /// Both with exactly one separator between them. An empty one gives the other. A separator of NUL gives an empty text.
    static SString ConcatPath(const SString& a, const SString& b, wchar_t separator = L'\\');
    /// Long names, with a backslash at the end.
    static SString NormalizeDirectoryName(const SString& path);
    /// The path that a person typed, made full: without white space and one pair of quotes around it, expanded from the
    /// current directory, in long names; an existing folder gets one backslash at its end, an existing file none. The
    /// second argument makes no difference any more. Empty when the result does not fit 260 characters or the length of
    /// the text, whichever is more.
    static SString NormalizeFileName(const SString& path, int unused = 0);
    /// Takes "." and ".." steps and repeated backslashes out, without looking at the disk. Steps above the root go; those
    /// above where a relative path begins stay, also behind a drive ("C:..\a"). A "." stays in front of a name that would be a
    /// drive without it.
    static SString SimplifyPath(const SString& path);
    /// In long (short) names, as far as the path exists; the rest stays as it is.
    static SString ToLongNames(const SString& path);
    static SString ToShortNames(const SString& path);
    /// What stands before the last part, with its backslash only where it is a root. Empty when there is no parent.
    static SString GetParentFolder(const wchar_t* path);
    /// Whether the path begins with "X:\" or "\\server\share".
    static int IsFullFilename(const wchar_t* path);
    /// Whether this is a name without a path that a file may have: not empty, not "." or "..", none of \/:*?<>|" or control
    /// characters in it, no blank or point at its end.
    static int ValidPathLessFilename(const wchar_t* name);
    /// Whether the folder of a path exists and the rest can be a file's name. The folder (with its backslash) and the name go
    /// where the pointers say, null ones are passed over.
    static int CheckSplitValidPath(const SString& path, SString* folder, SString* name);
    /// Whether the name ends like something to take code or pictures from; `*kind` (where not null) becomes 1 for ".exe",
    /// 2 ".com", 3 ".cur", 4 ".ico", else 0.
    static int IsValidModule(const wchar_t* name, int* kind = nullptr);
    /// The same for a full name of a file that exists.
    static int ValidModuleFullFilename(const wchar_t* path, int* kind = nullptr);

    // ---- Services: URLs. Schemes are compared without case ----

    /// Begins with "file://"; with `allowPlain` also a text without a colon.
    static int IsFileURL(const SString& text, int allowPlain = 0);
    /// Holds no colon.
    static int IsRelativePath(const SString& text);
    /// Begins with "http:" or "https:", or holds a slash.
    static int IsInternetURL(const SString& text);
    /// Begins with "file://", "http:", "https:", "ftp:" or "www.", or ends in ".htm" or ".html", or names something that
    /// exists.
    static int IsValidURL(const SString& text);
    /// A path as a URL: "file:///C%3A/a%20b", "file://server/share"; a relative path has no scheme. Letters, digits and
    /// $-_@.&!'(),=#/; stay, a backslash becomes a slash, anything else an escape of its UTF-8 bytes. An empty path is an
    /// empty URL. With `makeFull` the path goes through NormalizeFileName first.
    static SString PathToURL(const SString& path, int makeFull = 0);
    /// The path of a file URL, or of a text without a colon (with `strict` that too is refused); another scheme gives an empty
    /// text. Escapes stand for bytes: a run of them is read as UTF-8 or, when it is not UTF-8, in the ANSI code page. "|"
    /// becomes a colon. The path is given in long names as far as it exists.
    static SString URLToPath(const SString& url, int strict = 0);

private:
    long OpenWith(DWORD access, DWORD share, DWORD disposition, DWORD attributes, long failure);
    long OpenOrMake(DWORD attributes, DWORD share, long failure);
    long TakeFoundName();
    void JoinParts();

    SString m_drive;
    SString m_directory;
    SString m_name;
    SString m_extension;
    SString m_fullName;
    DWORD m_access;
    HANDLE m_file;
    HANDLE m_find;
    WIN32_FIND_DATAW m_found;
};

#endif
