// sfilestream.h: streams over files.
//
//     SOutputFileOnChange out(path);                            // the file keeps its time when nothing is new in it
//     out.Write(text, bytes);
//     out.Close();
//
// Failure  a constructor that cannot open the file throws; writing throws SEIODiskFullException when the disk is full and
//          SEIOException otherwise. Their texts name the path and the system's reason; GetError() is the system's code.
#ifndef SFILESTREAM_H
#define SFILESTREAM_H

#include "safefile.h"
#include "sstream.h"
#include "strclss.h"

/// Reads a file from its start. Others may read and write it meanwhile.
class CVCORE_API SInputFile : public SInputStream {
public:
    explicit SInputFile(const SString& path);
    ~SInputFile() override;

    unsigned long Read(void* data, unsigned long bytes, unsigned long unit = kRun) override;
    unsigned long Skip(unsigned long bytes) override;
    /// kUnknown for 4 GiB and more, and for what has no size.
    unsigned long Available() override;
    void Close() override;

private:
    SString m_path;
    HANDLE m_file;
};

/// Writes a file anew, or behind what it has. Every Write is a call of the system.
class CVCORE_API SOutputFile : public SOutputStream {
public:
    enum Mode { kReplace, kAppend };

    explicit SOutputFile(const SString& path, Mode mode = kReplace);
    /// Closes the file; failures of that are lost, so call Close.
    ~SOutputFile() override;

    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) override;
    /// Brings what was written to the disk.
    void Flush() override;
    void Close() override;

private:
    SString m_path;
    HANDLE m_file;
};

/// Writes a file whole, or leaves it alone: with its time, when the content is what it has already. What is written is
/// compared with the old file as it comes; a new file (safefile.h) is begun at the first difference.
class CVCORE_API SOutputFileOnChange : public SOutputStream {
public:
    explicit SOutputFileOnChange(const SString& path);
    /// Without Close the old file stays.
    ~SOutputFileOnChange() override;

    unsigned long Write(const void* data, unsigned long bytes, unsigned long unit = kRun) override;
    /// Puts the new content in place, if there is any. When a Write has failed the old file stays, and this throws the same again.
    void Close() override;
    /// After Close: whether the file was written.
    int HasChanged() const { return m_changed; }

private:
    void Begin();
    void WriteNew(const void* data, unsigned long bytes);
    void Require(bool done);

    SString m_path;
    HANDLE m_old;
    unsigned long long m_same;
    SSafeFile m_new;
    bool m_changed;
    bool m_open;
    unsigned long m_failure; // what went wrong first; the new content is not whole
};

#endif
