// Paths as texts, folders, URLs, and the current directory for a scope.
#include "sfile.h"

#include "curdir.h"

#include "support/importpatch.h"
#include "support/seed.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

SString Text(const std::wstring& text)
{
    return SString(std::wstring_view(text));
}

} // namespace

TEST(Paths, AreJoinedWithExactlyOneSeparator)
{
    const struct {
        const wchar_t *a, *b, *result;
    } kCases[] = {
        { L"a\\", L"\\b", L"a\\b" }, { L"a", L"b", L"a\\b" }, { L"a\\", L"b", L"a\\b" },
        { L"a", L"\\b", L"a\\b" },   { L"", L"\\b", L"\\b" }, { L"a\\", L"", L"a\\" },
        { L"", L"", L"" },           { L"\\", L"\\", L"\\" }, { L"a\\\\", L"b", L"a\\\\b" },
    };
    for (const auto& c : kCases)
        EXPECT_STREQ(c.result, SFile::ConcatPath(c.a, c.b, L'\\')) << SString(c.a) << SString(c.b);
    EXPECT_STREQ(L"a/b", SFile::ConcatPath(L"a/", L"/b", L'/'));
    EXPECT_STREQ(L"", SFile::ConcatPath(L"a", L"b", L'\0'));
    EXPECT_STREQ(L"a", SFile::ConcatPath(L"a", L"", L'\0'));
}

TEST(Paths, AreTakenApart)
{
    SString drive, directory, name, extension;
    EXPECT_EQ(1, SFile::SplitPath(L"C:\\a\\b.c\\d.e.f", &drive, &directory, &name, &extension));
    EXPECT_STREQ(L"C:|\\a\\b.c\\|d.e|.f",
                 SString::Concat(drive, L"|", directory, L"|", name, L"|", extension));
    EXPECT_EQ(1, SFile::SplitPath(L"x", nullptr, nullptr, &name, nullptr));
    EXPECT_STREQ(L"x", name);
    const SString fits(L'n', 255), tooLong(L'n', 256);
    EXPECT_EQ(1, SFile::SplitPath(L"C:\\" + fits + L".txt", nullptr, nullptr, &name, nullptr));
    EXPECT_STREQ(fits, name);
    EXPECT_EQ(0, SFile::SplitPath(L"C:\\" + tooLong + L".txt", &drive, nullptr, &name, &extension));
    EXPECT_TRUE(drive.IsEmpty() && name.IsEmpty() && extension.IsEmpty())
        << "nothing rather than a part of it";

    const struct {
        const wchar_t *path, *parent;
    } kParents[] = {
        { L"C:\\a\\b", L"C:\\a" },
        { L"C:\\a\\b\\", L"C:\\a" },
        { L"C:\\a", L"C:\\" },
        { L"C:\\", L"" },
        { L"\\\\s\\h\\a", L"\\\\s\\h\\" },
        { L"\\\\s\\h", L"" },
        { L"a\\b", L"a" },
        { L"a", L"" },
        { L"", L"" },
    };
    for (const auto& c : kParents)
        EXPECT_STREQ(c.parent, SFile::GetParentFolder(c.path)) << SString(c.path);
    EXPECT_STREQ(L"", SFile::GetParentFolder(nullptr));

    const struct {
        const wchar_t *path, *simple;
    } kSimple[] = {
        { L"C:\\a\\.\\b\\..\\c", L"C:\\a\\c" },
        { L"C:\\..\\..\\a", L"C:\\a" },
        { L"a\\..\\..\\b", L"..\\b" },
        { L"a\\..", L"." },
        { L"\\\\s\\h\\..\\x\\", L"\\\\s\\h\\x\\" },
        { L"a\\\\b\\", L"a\\b\\" },
        { L"\\a\\..", L"\\" },
        { L"", L"" },
        { L"C:a\\..\\b", L"C:b" },
        // Behind a drive alone a path is relative and stays so.
        { L"C:..\\a", L"C:..\\a" },
        { L"C:a\\..\\..\\b\\", L"C:..\\b\\" },
        { L"C:.\\", L"C:" },
        // A name does not become a drive.
        { L"\\.\\:.", L"\\:." },
        { L"a\\..\\C:\\b", L".\\C:\\b" },
        { L".\\C:", L".\\C:" },
    };
    for (const auto& c : kSimple) {
        EXPECT_STREQ(c.simple, SFile::SimplifyPath(c.path)) << SString(c.path);
        EXPECT_STREQ(c.simple, SFile::SimplifyPath(c.simple));
    }
}

TEST(Paths, AreClassified)
{
    const struct {
        const wchar_t* path;
        int full, pathLess;
    } kCases[] = {
        { L"C:\\a", 1, 0 },    { L"z:\\", 1, 0 },    { L"C:a", 0, 0 },   { L"1:\\a", 0, 0 }, { L"\\a", 0, 0 },
        { L"\\\\s\\h", 1, 0 }, { L"\\\\s\\", 0, 0 }, { L"\\\\s", 0, 0 }, { L"a.txt", 0, 1 }, { L"a b", 0, 1 },
        { L".", 0, 0 },        { L"..", 0, 0 },      { L"a.", 0, 0 },    { L"a ", 0, 0 },    { L"a|b", 0, 0 },
        { L"a\tb", 0, 0 },     { L"", 0, 0 },        { L"...a", 0, 1 },
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.full, SFile::IsFullFilename(c.path)) << SString(c.path);
        EXPECT_EQ(c.pathLess, SFile::ValidPathLessFilename(c.path)) << SString(c.path);
    }
    EXPECT_EQ(0, SFile::ValidPathLessFilename(nullptr));

    const TempFolder folder;
    const std::wstring program = folder.File(L"Tool.EXE");
    int kind = -1;
    EXPECT_EQ(1, SFile::IsValidModule(L"a.ico", &kind));
    EXPECT_EQ(4, kind);
    EXPECT_EQ(0, SFile::IsValidModule(L"exe", &kind));
    EXPECT_EQ(0, kind);
    EXPECT_EQ(1, SFile::ValidModuleFullFilename(program.c_str(), &kind));
    EXPECT_EQ(1, kind);
    EXPECT_EQ(0, SFile::ValidModuleFullFilename(folder.Path(L"missing.exe").c_str()));
    EXPECT_EQ(0, SFile::ValidModuleFullFilename(L"Tool.exe"));

    SString head, tail;
    EXPECT_EQ(1, SFile::CheckSplitValidPath(Text(folder.Path(L"new.txt")), &head, &tail));
    EXPECT_STREQ((folder.Path() + L"\\").c_str(), head);
    EXPECT_STREQ(L"new.txt", tail);
    EXPECT_EQ(1, SFile::CheckSplitValidPath(L"here.txt", nullptr, nullptr));
    EXPECT_EQ(0, SFile::CheckSplitValidPath(Text(folder.Path(L"no\\new.txt")), nullptr, nullptr));
    EXPECT_EQ(0, SFile::CheckSplitValidPath(Text(folder.Path(L"a?b")), nullptr, nullptr));
    EXPECT_EQ(0, SFile::CheckSplitValidPath(Text(folder.Path() + L"\\"), nullptr, nullptr));
}

TEST(Paths, ThatPeopleTypeAreMadeFull)
{
    const TempFolder folder;
    const std::wstring file = folder.File(L"a b.txt"), sub = folder.Folder(L"sub");
    EXPECT_STREQ(file.c_str(), SFile::NormalizeFileName(Text(L" \t\"" + file + L"\"\r\n"), 0));
    EXPECT_STREQ(file.c_str(), SFile::NormalizeFileName(Text(file + L"\\"), 1))
        << "a file has no backslash behind it";
    EXPECT_STREQ((sub + L"\\").c_str(), SFile::NormalizeFileName(Text(sub)));
    EXPECT_STREQ((sub + L"\\").c_str(), SFile::NormalizeFileName(Text(sub + L"\\..\\sub\\")));
    EXPECT_STREQ((sub + L"\\none\\").c_str(), SFile::NormalizeFileName(Text(sub + L"/none/")))
        << "left as expanded";
    EXPECT_STREQ(SFile::ConcatPath(SCurrentDirectory::Get(), L"x"), SFile::NormalizeFileName(L"x"));
    EXPECT_STREQ(L"", SFile::NormalizeFileName(L"  "));
    const SString beyond = L"C:\\" + SString(L'n', 300) + L"\\..\\" + SString(L'm', 300);
    EXPECT_STREQ(L"C:\\" + SString(L'm', 300), SFile::NormalizeFileName(beyond)) << "as long as the text";
    EXPECT_STREQ(L"", SFile::NormalizeFileName(SString(L'm', 259)))
        << "the current directory makes it too long";
    EXPECT_STREQ((sub + L"\\").c_str(), SFile::NormalizeDirectoryName(Text(sub)));
    EXPECT_STREQ((sub + L"\\none\\there").c_str(), SFile::ToLongNames(Text(sub + L"\\none\\there")));
    const SString brief = SFile::ToShortNames(Text(file));
    EXPECT_STREQ(file.c_str(), SFile::ToLongNames(brief));
    EXPECT_STREQ(L"", SFile::ToLongNames(L""));
}

// The system's short names of "\\?\" alone: Wine reads on behind its end, and writes behind its own block then.
TEST(Paths, WithoutANameAreNotAskedAfter)
{
    SString prefix(L"\\\\?\\ ::::::::::::::::");
    prefix.LockTchar()[4] = L'\0';
    prefix.UnlockTchar();
    ASSERT_EQ(4, prefix.Length());
    EXPECT_STREQ(L"\\\\?\\", SFile::ToShortNames(prefix));
    EXPECT_STREQ(L"\\\\?\\", SFile::ToLongNames(prefix));
    EXPECT_TRUE(::HeapValidate(::GetProcessHeap(), 0, nullptr));
}

TEST(Folders, AreMadeFromTheTopDownAndFound)
{
    const TempFolder folder;
    SString full;
    EXPECT_EQ(1, SFile::CreateFilePath(Text(folder.Path(L"a\\b\\..\\c\\d")), &full));
    EXPECT_STREQ(folder.Path(L"a\\c\\d").c_str(), full);
    EXPECT_EQ(1, SFile::IsDirectory(full));
    EXPECT_EQ(0, SFile::IsDirectory(Text(folder.Path(L"a\\b"))));
    EXPECT_EQ(1, SFile::CreateFilePath(full)) << "there already";
    EXPECT_EQ(1, SFile::CreateFilePath(Text(folder.Path(L"e\\f\\g.txt")), nullptr, 1));
    EXPECT_EQ(1, SFile::IsDirectory(Text(folder.Path(L"e\\f"))));
    EXPECT_EQ(0, SFile::Exists(Text(folder.Path(L"e\\f\\g.txt"))));
    folder.File(L"file");
    EXPECT_EQ(0, SFile::CreateFilePath(Text(folder.Path(L"file\\below")))) << "a file is in the way";
    EXPECT_EQ(0, SFile::CreateFilePath(L"Q:\\a\\b"));
    EXPECT_EQ(0, SFile::CreateFilePath(Text(folder.Path(std::wstring(300, L'x')))));
    EXPECT_EQ(0, SFile::CreateFilePath(L""));
    EXPECT_EQ(1, SFile::CreateDirectoryW(Text(folder.Path(L"one"))));
    EXPECT_EQ(0, SFile::CreateDirectoryW(Text(folder.Path(L"one"))));
    EXPECT_EQ(1, SFile::RemoveDirectoryW(Text(folder.Path(L"one"))));

    EXPECT_EQ(1, SFile::IsDirectory(SFile::GetSystemDirectoryW()));
    EXPECT_EQ(1, SFile::IsDirectory(SFile::GetWindowsDirectoryW()));
    EXPECT_EQ(1, SFile::IsDirectory(SFile::GetTempDirectory()));
    const SString temporary = SFile::GetTempFileNameW(Text(folder.Path()), L"xyz");
    EXPECT_EQ(1, SFile::IsFile(temporary));
    EXPECT_STREQ(L"", SFile::GetTempFileNameW(Text(folder.Path(L"none")), L"x"));
    EXPECT_LT(0u, SFile::GetFreeDiskSpace(temporary));
    EXPECT_LE(SFile::GetFreeDiskSpace(Text(folder.Path())), SFile::GetTotalDiskSpace(Text(folder.Path())));
    EXPECT_EQ(0u, SFile::GetTotalDiskSpace(L"Q:\\"));
    constexpr int kAppData = 0x1A;
    const SString appData = SFile::GetFolderPath(kAppData);
    EXPECT_EQ(1, SFile::IsDirectory(appData));
    EXPECT_STREQ(appData + L"\\Some Product", SFile::GetFolderPathAndSubDir(kAppData, L"Some Product\\", 0));
    EXPECT_STREQ(L"", SFile::GetFolderPath(0x7F));
}

namespace {

UINT g_systemRoom;
UINT WINAPI LongSystemDirectory(wchar_t* buffer, UINT room)
{
    g_systemRoom = room;
    const std::wstring path(400, L's');
    if (room <= path.size())
        return static_cast<UINT>(path.size() + 1);
    path.copy(buffer, path.size());
    buffer[path.size()] = L'\0';
    return static_cast<UINT>(path.size());
}

} // namespace

TEST(Folders, OfTheSystemMayHaveLongPaths)
{
    const ImportPatch system("CVCore16.dll", "KERNEL32.dll", "GetSystemDirectoryW", LongSystemDirectory);
    const ImportPatch windows("CVCore16.dll", "KERNEL32.dll", "GetWindowsDirectoryW", LongSystemDirectory);
    ASSERT_TRUE(system.Found() && windows.Found());
    EXPECT_STREQ(SString(L's', 400), SFile::GetSystemDirectoryW());
    EXPECT_STREQ(SString(L's', 400), SFile::GetWindowsDirectoryW());
    EXPECT_LT(400u, g_systemRoom);
}

// ---- URLs ----

TEST(Urls, AreClassified)
{
    const struct {
        const wchar_t* text;
        int file, fileOrPlain, relative, internet, valid;
    } kCases[] = {
        { L"FILE://x", 1, 1, 0, 1, 1 },  { L"a.txt", 0, 1, 1, 0, 0 },       { L"http:x", 0, 0, 0, 1, 1 },
        { L"HTTPS://x", 0, 0, 0, 1, 1 }, { L"a/b", 0, 1, 1, 1, 0 },         { L"ftp:x", 0, 0, 0, 0, 1 },
        { L"www.x", 0, 1, 1, 0, 1 },     { L"a.HTML", 0, 1, 1, 0, 1 },      { L"a.htm", 0, 1, 1, 0, 1 },
        { L"a.htmx", 0, 1, 1, 0, 0 },    { L"C:\\windows", 0, 0, 0, 0, 1 }, { L"", 0, 1, 1, 0, 0 },
        { L"file:x", 0, 0, 0, 0, 0 },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(SString(c.text));
        EXPECT_EQ(c.file, SFile::IsFileURL(c.text));
        EXPECT_EQ(c.fileOrPlain, SFile::IsFileURL(c.text, 1));
        EXPECT_EQ(c.relative, SFile::IsRelativePath(c.text));
        EXPECT_EQ(c.internet, SFile::IsInternetURL(c.text));
        EXPECT_EQ(c.valid, SFile::IsValidURL(c.text));
    }
}

TEST(Urls, StandForPathsInBothDirections)
{
    const struct {
        const wchar_t *path, *url;
    } kCases[] = {
        { L"C:\\a b\\c#1;x.txt", L"file:///C%3A/a%20b/c#1;x.txt" },
        { L"\\\\server\\share\\$-_@.&!'(),=", L"file://server/share/$-_@.&!'(),=" },
        { L"a\\100%.txt", L"a/100%25.txt" },
        { L"C:\\\u00e9\u20ac\U0001F600", L"file:///C%3A/%C3%A9%E2%82%AC%F0%9F%98%80" },
        { L"C:\\half \xD800 pair", L"file:///C%3A/half%20%ED%A0%80%20pair" },
        { L"", L"" },
    };
    for (const auto& c : kCases) {
        EXPECT_STREQ(c.url, SFile::PathToURL(c.path));
        EXPECT_STREQ(c.path, SFile::URLToPath(c.url));
    }
    EXPECT_STREQ(L"file:///C%3A/windows/", SFile::PathToURL(L" C:/windows ", 1)) << "made full first";

    const struct {
        const wchar_t *url, *path;
    } kReading[] = {
        { L"File:///c|/x", L"c:\\x" },
        { L"file://server/x", L"\\\\server\\x" },
        { L"http://x", L"" },
        { L"mailto:x", L"" },
        { L"x/y%20z", L"x\\y z" },
        { L"file:///%c3%A9", L"\u00e9" },
        { L"file:///%E9%20", L"\u00e9 " },
        { L"file:///100%", L"100%" },
        { L"file:///%4", L"%4" },
        { L"file:///%4g%zz", L"%4g%zz" },
        { L"file:///%C0%AF", L"\u00c0\u00af" },
        { L"file:///%C3%A9%FF", L"\u00c3\u00a9\u00ff" },
        { L"file:///", L"" },
    };
    for (const auto& c : kReading)
        EXPECT_STREQ(c.path, SFile::URLToPath(c.url)) << SString(c.url);
    EXPECT_STREQ(L"", SFile::URLToPath(L"x/y", 1));
}

namespace {

DWORD(WINAPI* g_attributes)(const wchar_t*);
int g_lookUps;

DWORD WINAPI CountedAttributes(const wchar_t* path)
{
    ++g_lookUps;
    return g_attributes(path);
}

} // namespace

TEST(Paths, AreNormalizedWithOneLookUpUnlessTheyEndLikeAFolder)
{
    const TempFolder folder;
    const std::wstring file = folder.File(L"file"), none = folder.Path(L"none");
    const ImportPatch attributes("CVCore16.dll", nullptr, "GetFileAttributesW", CountedAttributes);
    ASSERT_TRUE(attributes.Found());
    g_attributes = attributes.Original<DWORD WINAPI(const wchar_t*)>();
    const struct {
        std::wstring path;
        int lookUps;
    } kCases[] = { { file, 1 }, { folder.Path(), 1 }, { none, 1 }, { file + L"\\", 2 } };
    for (const auto& c : kCases) {
        g_lookUps = 0;
        SFile::NormalizeFileName(Text(c.path));
        EXPECT_EQ(c.lookUps, g_lookUps) << Text(c.path);
    }
}

namespace {

// What the system answers for every path of the test below, which it would look for on the disk.
DWORD WINAPI NoSuchPath(const wchar_t*, wchar_t*, DWORD)
{
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return 0;
}

} // namespace

TEST(Urls, BringEveryLegalPathBack)
{
    const ImportPatch names("CVCore16.dll", nullptr, "GetLongPathNameW", NoSuchPath);
    ASSERT_TRUE(names.Found());
    std::mt19937 random(TestSeed());
    const std::wstring forbidden = L"\\/:*?<>|\"";
    const int cases = Cases(3000, kMillion);
    for (int round = 0; round < cases; ++round) {
        std::wstring path = round % 3 == 0   ? L"Q:\\"
                            : round % 3 == 1 ? L"\\\\srv\\share\\"
                                             : L"relative"; // no second separator in front
        for (unsigned n = 1 + random() % 16; n > 0; --n) {
            const unsigned kind = random() % 8;
            const wchar_t c = static_cast<wchar_t>(kind < 4   ? 32 + random() % 95
                                                   : kind < 5 ? 0xD800 + random() % 0x800
                                                              : 1 + random() % 0xFFFF);
            path += forbidden.find(c) == path.npos ? c : L'\\';
        }
        const SString text = Text(path);
        const SString back = SFile::URLToPath(SFile::PathToURL(text));
        ASSERT_EQ(text, back) << SFile::PathToURL(text);
    }
}

// ---- The current directory ----

TEST(CurrentDirectory, IsPutBackUnlessSomebodyElseChangedIt)
{
    const TempFolder folder;
    const std::wstring a = folder.Folder(L"a") + L"\\", b = folder.Folder(L"b") + L"\\";
    const SString start = SCurrentDirectory::Get();
    EXPECT_EQ(L'\\', start[start.Length() - 1]);
    {
        SCurrentDirectory there;
        EXPECT_EQ(0, there.Restore(1)) << "nothing assigned";
        EXPECT_EQ(1, there.Assign(Text(a), 0));
        EXPECT_STREQ(a.c_str(), SCurrentDirectory::Get());
    }
    EXPECT_STREQ(start, SCurrentDirectory::Get());
    {
        SCurrentDirectory there;
        there.Assign(Text(a), 0);
        SCurrentDirectory::Set(Text(b));
        EXPECT_EQ(0, there.Restore(1)) << "it is somebody else's now";
        EXPECT_STREQ(b.c_str(), SCurrentDirectory::Get());
        SCurrentDirectory::Set(Text(a).ToUpper());
        EXPECT_EQ(1, there.Restore(1)) << "in any case of letters";
        EXPECT_EQ(0, there.Restore(1)) << "it is there already";
        SCurrentDirectory::Set(Text(a));
        there.CancelRestore();
    }
    EXPECT_STREQ(a.c_str(), SCurrentDirectory::Get());
    SCurrentDirectory::Set(start);
    {
        SCurrentDirectory there;
        EXPECT_EQ(1, there.Assign(L"", 1));
        EXPECT_STREQ(SCurrentDirectory::GetDefaultTemporaryDirectory(), SCurrentDirectory::Get());
        SCurrentDirectory::Set(Text(b));
    }
    EXPECT_STREQ(start, SCurrentDirectory::Get()) << "always";
    SCurrentDirectory there;
    EXPECT_EQ(0, there.Assign(Text(folder.Path(L"none")), 0));
    EXPECT_STREQ(start, SCurrentDirectory::Get());
}
