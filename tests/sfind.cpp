// Searches in one folder and in trees.
#include "sfind.h"

#include "curdir.h"

#include "support/counters.h"
#include "support/importpatch.h"
#include "support/systemfails.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

typedef std::vector<std::wstring> Names;

SString Text(const std::wstring& text)
{
    return SString(text.c_str());
}

/// The paths that a search yields below a folder, without dots, in its order.
template <class Find>
Names Found(Find& find, const std::wstring& pattern, const std::wstring& base, unsigned long flags = 0)
{
    Names names;
    for (int more = find.FindFile(pattern.c_str(), flags); more; more = find.FindNextFileW()) {
        if (!find.IsDots())
            names.push_back(Wide(find.GetFilePath()).substr(base.size() + 1));
    }
    return names;
}

std::set<std::wstring> Sorted(const Names& names)
{
    return std::set<std::wstring>(names.begin(), names.end());
}

/// a.txt, b.dat, x (a folder) with c.txt and y (a folder) with d.txt, z (an empty folder).
struct Tree : TempFolder {
    Tree()
    {
        File(L"a.txt", "1234567");
        File(L"b.dat");
        Folder(L"x");
        File(L"x\\c.txt");
        Folder(L"x\\y");
        File(L"x\\y\\d.txt");
        Folder(L"z");
    }
};

// A folder that may not be listed.
HANDLE WINAPI RefuseX(const wchar_t* pattern, WIN32_FIND_DATAW* found)
{
    if (std::wstring(pattern).find(L"\\x\\") != std::wstring::npos) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return ::FindFirstFileW(pattern, found);
}

// Says of the folder y that it is a link, and of every folder that it is the same one as z.
BOOL WINAPI NextWithLink(HANDLE find, WIN32_FIND_DATAW* found)
{
    const BOOL more = ::FindNextFileW(find, found);
    if (more && std::wstring(found->cFileName) == L"y")
        found->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return more;
}
HANDLE WINAPI FirstWithLink(const wchar_t* pattern, WIN32_FIND_DATAW* found)
{
    const HANDLE find = ::FindFirstFileW(pattern, found);
    if (find != INVALID_HANDLE_VALUE && std::wstring(found->cFileName) == L"y")
        found->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return find;
}
BOOL WINAPI AllTheSameFolder(HANDLE, BY_HANDLE_FILE_INFORMATION* information)
{
    *information = BY_HANDLE_FILE_INFORMATION();
    return TRUE;
}

} // namespace

TEST(Finding, ListsOneFolderAndTellsOfEachEntry)
{
    const Tree tree;
    SFileFind find;
    EXPECT_EQ((std::set<std::wstring>{ L"a.txt", L"b.dat", L"x", L"z" }),
              Sorted(Found(find, tree.Path(L"*"), tree.Path())));
    EXPECT_EQ(0, find.FindNextFileW());
    EXPECT_STREQ(L"", find.GetFilePath());
    ASSERT_EQ(1, find.FindFile(tree.Path(L"a.*").c_str()));
    EXPECT_STREQ(L"a.txt", find.GetFileName());
    EXPECT_STREQ(L"a", find.GetFileTitleW());
    EXPECT_EQ(7u, find.GetLength());
    EXPECT_EQ(0, find.IsDirectory() || find.IsDots() || find.IsReadOnly());
    EXPECT_STREQ((tree.Path() + L"\\").c_str(), find.GetRoot());
    EXPECT_TRUE(find.GetFileURL().Match(L"file:///*/a.txt"));
    EXPECT_EQ(0, find.FindFile(tree.Path(L"none*").c_str()));
    EXPECT_EQ(DWORD{ ERROR_FILE_NOT_FOUND }, ::GetLastError());

    const SAttrMatchFindFilter folders(FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_DIRECTORY),
        files(FILE_ATTRIBUTE_DIRECTORY, 0);
    find.SetFilter(&folders);
    EXPECT_EQ((std::set<std::wstring>{ L"x", L"z" }), Sorted(Found(find, tree.Path(L"*"), tree.Path())));
    EXPECT_EQ(0, find.FindFile(tree.Path(L"a*").c_str())) << "found, but not accepted";
    find.SetFilter(&files);
    EXPECT_EQ((std::set<std::wstring>{ L"a.txt", L"b.dat" }),
              Sorted(Found(find, tree.Path(L"*"), tree.Path())));
}

TEST(Finding, GoesThroughATreeEachFolderOnce)
{
    const Tree tree;
    const ResourceCount before = CountResources();
    {
        SFileRecurseFind find;
        EXPECT_EQ((Names{ L"a.txt", L"x\\c.txt", L"x\\y\\d.txt" }),
                  Found(find, tree.Path(L"*.txt"), tree.Path()))
            << "a folder before those in it";
        EXPECT_EQ((Names{ L"x\\y\\d.txt" }), Found(find, tree.Path(L"d*"), tree.Path()))
            << "nothing in the root";
        const std::set<std::wstring> all{
            L"a.txt", L"b.dat", L"x", L"x\\c.txt", L"x\\y", L"x\\y\\d.txt", L"z"
        };
        const Names everything = Found(find, tree.Path(), tree.Path());
        EXPECT_EQ(all, Sorted(everything)) << "a folder's name alone";
        EXPECT_EQ(all.size(), everything.size());
        EXPECT_EQ(0, find.GetSkippedFolders());
        EXPECT_EQ(Names(), Found(find, tree.Path(L"*.none"), tree.Path()));
        EXPECT_EQ(0, find.FindNextFileW());
        EXPECT_EQ(0, find.FindFile(tree.Path(L"missing\\*").c_str()));

        SCurrentDirectory here;
        ASSERT_EQ(1, here.Assign(Text(tree.Path(L"x")), 1));
        EXPECT_EQ((Names{ L".\\c.txt", L".\\y\\d.txt" }), [&] {
            Names names = Found(find, L"*.txt", L"");
            for (std::wstring& name : names)
                name = (name[0] == L'\\' ? L"." : L"") + name;
            return names;
        }());
        int more = find.FindFile(nullptr);
        EXPECT_EQ(1, more) << "everything here";
    }
    EXPECT_EQ(before.handles, CountResources().handles);
}

TEST(Finding, CountsFoldersThatItMayNotRead)
{
    const Tree tree;
    const ImportPatch refuse("CVCore16.dll", "KERNEL32.dll", "FindFirstFileW", RefuseX);
    ASSERT_TRUE(refuse.Found());
    SFileRecurseFind find;
    EXPECT_EQ((Names{ L"a.txt" }), Found(find, tree.Path(L"*.txt"), tree.Path()));
    EXPECT_EQ(1, find.GetSkippedFolders());
}

TEST(Finding, FollowsLinksOnlyWhenAskedAndNeverTwice)
{
    // Wine makes no links that programs see as such, so what the system would say of a folder is put in its place.
    const Tree tree;
    const ImportPatch first("CVCore16.dll", "KERNEL32.dll", "FindFirstFileW", FirstWithLink),
        next("CVCore16.dll", "KERNEL32.dll", "FindNextFileW", NextWithLink);
    ASSERT_TRUE(first.Found() && next.Found());
    SFileRecurseFind find;
    EXPECT_EQ((Names{ L"a.txt", L"x\\c.txt" }), Found(find, tree.Path(L"*.txt"), tree.Path()));
    EXPECT_EQ((Names{ L"a.txt", L"x\\c.txt", L"x\\y\\d.txt" }),
              Found(find, tree.Path(L"*.txt"), tree.Path(), SBaseFind::kFollowLinks));
    const Names all = Found(find, tree.Path(L"*.txt"), tree.Path(), SBaseFind::kFollowLinks);
    for (const auto& unknown :
         { std::pair<const char*, void*>("CreateFileW", Fails<&::CreateFileW, kNoHandle>()),
           std::pair<const char*, void*>("GetFileInformationByHandle",
                                         Fails<&::GetFileInformationByHandle>()) }) {
        const ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), nullptr, unknown.first, unknown.second);
        ASSERT_TRUE(patch.Found());
        EXPECT_EQ(all, Found(find, tree.Path(L"*.txt"), tree.Path(), SBaseFind::kFollowLinks))
            << "a folder that cannot be told from others is looked through";
    }
    const ImportPatch same("CVCore16.dll", "KERNEL32.dll", "GetFileInformationByHandle", AllTheSameFolder);
    ASSERT_TRUE(same.Found());
    EXPECT_EQ((Names{ L"a.txt" }), Found(find, tree.Path(L"*.txt"), tree.Path(), SBaseFind::kFollowLinks))
        << "every folder leads back to the root";
}

TEST(Finding, DepthCostsNoStack)
{
    const TempFolder folder;
    std::wstring deep;
    const int depth = 120; // some thousand characters of path
    for (int i = 0; i < depth; ++i) {
        deep += (i ? L"\\" : L"") + std::wstring(L"folder ") + std::to_wstring(i);
        folder.Folder(deep);
    }
    folder.File(deep + L"\\at the bottom");
    SFileRecurseFind find;
    EXPECT_EQ((Names{ deep + L"\\at the bottom" }), Found(find, folder.Path(L"at*"), folder.Path()));
}
