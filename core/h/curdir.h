// curdir.h: SCurrentDirectory, another current directory for a scope.
//
//     SCurrentDirectory there;
//     if (there.Assign(folder, 0)) ...                         // back again at the end of the scope
//
// Threads  the current directory is the process's: for one thread.
// Failure  nothing is thrown but SEOutOfMemory, and not by the end of the scope.
#ifndef CURDIR_H
#define CURDIR_H

#include "cvbase.h"
#include "strclss.h"

class CVCORE_API SCurrentDirectory {
public:
    SCurrentDirectory() : m_restoreAlways(0) {}
    /// As Restore(0).
    ~SCurrentDirectory();
    SCurrentDirectory(const SCurrentDirectory&) = delete;
    SCurrentDirectory& operator=(const SCurrentDirectory&) = delete;

    /// The current directory in long names, with a backslash at its end; empty when the system does not tell.
    static SString Get();
    /// Makes a directory current.
    static int Set(const SString& directory);
    /// The temporary folder, in the same form; asked for once a process.
    static SString GetDefaultTemporaryDirectory();

    /// Remembers the current directory and makes another one current; an empty one stands for the temporary folder. Returns
    /// whether that worked.
    int Assign(const SString& directory, int restoreAlways);
    /// Goes back to the directory that was remembered, when it differs from the current one and either the current one is
    /// still the one that Assign made current (in any case of letters) or restoreAlways was set: what somebody else made
    /// current in the meantime stays. Returns whether it went back. With `keep` 0 the object is empty afterwards.
    int Restore(int keep);
    /// Forgets what there was to go back to.
    void CancelRestore();

private:
    SString m_saved;
    SString m_assigned;
    int m_restoreAlways;
};

#endif
