// safefile.h: SSafeFile, a file that gets its new content whole or keeps the old one.
//
//     SSafeFile file;
//     if (file.Begin(path) >= 0 && file.Write(text, bytes) >= 0 && file.Commit() >= 0) ...
//
// What is written goes into a temporary file in the same folder, "name.~process-number.tmp". Commit brings it to the disk
// and renames it over the target in one step: a program that is killed, a full disk or a failed write leave the old file as it
// was. What a killed program left behind is swept by the next Begin for the same file.
//
// Threads  one object belongs to one thread at a time; several may replace the same file, the last Commit stays.
// Failure  codes of filecodes.h; GetLastError() tells why. Nothing is thrown but SEOutOfMemory.
// Cost     the new content exists beside the old one until Commit. The new file is a new one to the system: it takes over
//          the attributes of the old one, not its access list nor its times. A read-only file is not replaced.
#ifndef SAFEFILE_H
#define SAFEFILE_H

#include "cvbase.h"
#include "filecodes.h"
#include "strclss.h"

class CVCORE_API SSafeFile {
public:
    SSafeFile() noexcept : m_file(nullptr) {}
    /// As Cancel.
    ~SSafeFile();
    SSafeFile(const SSafeFile&) = delete;
    SSafeFile& operator=(const SSafeFile&) = delete;

    /// Makes the temporary file; what an earlier Begin of this object wrote is lost. kName (no file's name), kCreate.
    long Begin(const SString& path);
    /// Appends bytes. kNotOpen, kNullPointer, kWrite; after a kWrite the only way on is Cancel, and Commit answers it too.
    long Write(const void* bytes, size_t count);
    /// Puts the new content in place. kNotOpen, kWrite (not all is on the disk), kRename (the target could not be replaced).
    /// On failure the old file is there and the temporary one is gone.
    long Commit();
    /// Lets the new content go.
    void Cancel() noexcept;

    /// All in one.
    static long Replace(const SString& path, const void* bytes, size_t count);

private:
    SString m_path;
    SString m_temporary;
    HANDLE m_file;
    long m_state = 0;
    unsigned long m_error = 0; // the system's, with that
};

#endif
