// files.cpp: comparing files and listing folders beside Windows' own calls and the standard library.
#include "bench.h"

#include "sfile.h"
#include "sfind.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

const DWORD kCompared = 32 * 1024 * 1024;
const DWORD kPiece = 16384;
const int kFolders = 20;
const int kFilesEach = 20;
/// What a listing of the tree shows: its folders and all files.
const int kEntries = kFolders + kFolders * kFilesEach;

/// A folder of one's own, gone with the program.
class Scratch {
public:
    Scratch()
    {
        m_path =
            std::filesystem::temp_directory_path() / (L"bench" + std::to_wstring(::GetCurrentProcessId()));
        std::filesystem::create_directories(m_path);
    }
    ~Scratch()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    static const std::filesystem::path& Path()
    {
        static const Scratch scratch;
        return scratch.m_path;
    }

private:
    std::filesystem::path m_path;
};

// ---- Comparing ----

struct Pair {
    Pair() : a(Scratch::Path() / L"a.bin"), b(Scratch::Path() / L"b.bin")
    {
        Numbers numbers(1);
        std::vector<char> bytes(kCompared);
        for (char& byte : bytes)
            byte = static_cast<char>(numbers.Next());
        for (const std::filesystem::path& path : { a, b })
            std::ofstream(path, std::ios::binary).write(bytes.data(), kCompared);
    }
    static const Pair& Get()
    {
        static const Pair pair;
        return pair;
    }
    std::filesystem::path a, b;
};

unsigned long CompareOurs(Run& run)
{
    const Pair& files = Pair::Get();
    unsigned long equal = 0;
    for (long i = run.n; i > 0; --i)
        equal += SFile::CompareBinaryFiles(files.a.c_str(), files.b.c_str()) == 0;
    return equal;
}

bool AreEqual(const std::filesystem::path& a, const std::filesystem::path& b)
{
    static char bytes[kPiece], otherBytes[kPiece];
    const HANDLE first =
        ::CreateFileW(a.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const HANDLE second =
        ::CreateFileW(b.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    bool equal = true;
    for (DWORD at = 0; at < kCompared && equal; at += kPiece) {
        DWORD count, otherCount;
        equal = ::ReadFile(first, bytes, kPiece, &count, nullptr) &&
                ::ReadFile(second, otherBytes, kPiece, &otherCount, nullptr) && count == otherCount &&
                std::memcmp(bytes, otherBytes, count) == 0;
    }
    ::CloseHandle(first);
    ::CloseHandle(second);
    return equal;
}

unsigned long CompareReads(Run& run)
{
    const Pair& files = Pair::Get();
    unsigned long equal = 0;
    for (long i = run.n; i > 0; --i)
        equal += AreEqual(files.a, files.b);
    return equal;
}

// ---- Listing a tree ----

const std::wstring& Tree()
{
    static const std::wstring root = [] {
        const std::filesystem::path path = Scratch::Path() / L"tree";
        for (int i = 0; i < kFolders; ++i) {
            const std::filesystem::path folder = path / (L"folder" + std::to_wstring(i));
            std::filesystem::create_directories(folder);
            for (int j = 0; j < kFilesEach; ++j)
                std::ofstream(folder / (L"file" + std::to_wstring(j) + L".txt"));
        }
        return path.wstring();
    }();
    return root;
}

unsigned long ListOurs(Run& run)
{
    const std::wstring mask = Tree() + L"\\*.*";
    unsigned long entries = 0;
    for (long i = run.n; i > 0; --i) {
        SFileRecurseFind find;
        for (int more = find.FindFile(mask.c_str()); more; more = find.FindNextFileW())
            entries += !find.IsDots();
    }
    return entries;
}

unsigned long List(const std::wstring& folder, bool extended)
{
    WIN32_FIND_DATAW found;
    const std::wstring mask = folder + L"\\*";
    const HANDLE find = extended
                            ? ::FindFirstFileExW(mask.c_str(), FindExInfoBasic, &found, FindExSearchNameMatch,
                                                 nullptr, FIND_FIRST_EX_LARGE_FETCH)
                            : ::FindFirstFileW(mask.c_str(), &found);
    unsigned long entries = 0;
    if (find == INVALID_HANDLE_VALUE)
        return 0;
    do {
        if (std::wcscmp(found.cFileName, L".") == 0 || std::wcscmp(found.cFileName, L"..") == 0)
            continue;
        ++entries;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            entries += List(folder + L'\\' + found.cFileName, extended);
    } while (::FindNextFileW(find, &found));
    ::FindClose(find);
    return entries;
}

template <bool extended>
unsigned long ListSystem(Run& run)
{
    unsigned long entries = 0;
    for (long i = run.n; i > 0; --i)
        entries += List(Tree(), extended);
    return entries;
}

unsigned long ListStd(Run& run)
{
    unsigned long entries = 0;
    for (long i = run.n; i > 0; --i) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Tree()))
            entries += entry.path().has_filename();
    }
    return entries;
}

// ---- Splitting a path ----

const wchar_t kPath[] = L"C:\\Some folder\\another one\\a name of a file.txt";

unsigned long SplitOurs(Run& run)
{
    const SString path(kPath);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString drive, directory, name, extension;
        SFile::SplitPath(path, &drive, &directory, &name, &extension);
        sum += static_cast<unsigned long>(name.Length()) + extension[1];
    }
    return sum;
}

unsigned long SplitStd(Run& run)
{
    const std::wstring text(kPath);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const std::filesystem::path path(text);
        const std::wstring drive = path.root_name(), directory = path.parent_path(), name = path.stem(),
                           extension = path.extension();
        sum += static_cast<unsigned long>(name.size()) + extension[1];
    }
    return sum;
}

const Row kRows[] = {
    { "file.compare.32M",
      MegabytesPerSecond(kCompared),
      AtLeast(1.25),
      CompareOurs,
      { { "16 KiB reads + memcmp", CompareReads } } },
    { "file.recurse",
      Nanoseconds(kEntries),
      AtMost(1.05),
      ListOurs,
      { { "FindFirstFileW", ListSystem<false> },
        { "FindFirstFileExW", ListSystem<true> },
        { "std::filesystem", ListStd } } },
    { "file.split", Nanoseconds(1), AtMost(0.2), SplitOurs, { { "std::filesystem", SplitStd } } },
};

} // namespace

extern const Subject kFiles;
const Subject kFiles = { "files", [](Bench& bench) { bench.Compare(kRows); } };
