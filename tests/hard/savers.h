// savers.h: contents that tell whether they are whole, and the ways to save them: what the client is killed at and the
// test looks for.
#ifndef TESTS_SAVERS_H
#define TESTS_SAVERS_H

#include "safefile.h"
#include "sfilestream.h"
#include "shglobal.h"

#include <cstring>
#include <string>

enum { kPieceBytes = 4096 };

/// The content of a round: every byte is its letter, and each letter has its own length.
inline std::string SavedContent(unsigned round)
{
    const unsigned letter = round % 26;
    return std::string((8 + letter % 13 * 4) * kPieceBytes, static_cast<char>('A' + letter));
}

inline bool IsWhole(const std::string& content)
{
    return !content.empty() && content[0] >= 'A' && content[0] <= 'Z' &&
           content == SavedContent(static_cast<unsigned>(content[0] - 'A'));
}

/// What this thread runs in the middle of saving in pieces: a client halts there, to be killed at a known place.
inline thread_local void (*t_halfway)() = nullptr;

inline void AtPiece(size_t at, const std::string& content)
{
    if (t_halfway && at == content.size() / 2)
        t_halfway();
}

/// The control: what a program does that has no helper.
inline void Overwrite(const SString& path, const std::string& content)
{
    const HANDLE file =
        ::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    for (size_t at = 0; at < content.size(); at += kPieceBytes) {
        AtPiece(at, content);
        DWORD written;
        ::WriteFile(file, content.data() + at, kPieceBytes, &written, nullptr);
    }
    ::CloseHandle(file);
}

inline void ReplaceFile(const SString& path, const std::string& content)
{
    SSafeFile::Replace(path, content.data(), content.size());
}

inline void ReplaceInPieces(const SString& path, const std::string& content)
{
    SSafeFile file;
    file.Begin(path);
    for (size_t at = 0; at < content.size(); at += kPieceBytes) {
        AtPiece(at, content);
        file.Write(content.data() + at, kPieceBytes);
    }
    file.Commit();
}

inline void SaveBlob(const SString& path, const std::string& content)
{
    SBlob blob;
    blob.Alloc(static_cast<unsigned long>(content.size()));
    std::memcpy(blob.Lock(), content.data(), content.size());
    blob.Unlock();
    blob.SaveToFile(path);
}

inline void WriteOnChange(const SString& path, const std::string& content)
{
    SOutputFileOnChange out(path);
    for (size_t at = 0; at < content.size(); at += kPieceBytes) {
        AtPiece(at, content);
        out.Write(content.data() + at, kPieceBytes);
    }
    out.Close();
}

struct SavingHelper {
    const wchar_t* name;
    void (*save)(const SString& path, const std::string& content);
    bool inPieces; // goes through AtPiece
};

/// The name of the file that each helper saves, in a folder that has the helper's name.
const wchar_t kSavedFile[] = L"letters.txt";

/// Whatever saves whole files, and at the end the control.
const SavingHelper kSavingHelpers[] = {
    { L"replace", ReplaceFile, false },   { L"pieces", ReplaceInPieces, true }, { L"blob", SaveBlob, false },
    { L"onchange", WriteOnChange, true }, { L"overwrite", Overwrite, true },
};

#endif
