// Paths and URLs, as texts and as names that are looked up.
#include "targets.h"

#include "lane.h"

#include "sfile.h"

namespace {

constexpr int kLongestPath = 32766; // of the system
constexpr wchar_t kSeparator = L'\\';

size_t EatPath(const std::string& input)
{
    const MadeUpDisk disk;
    const SString path = UnitsOf(input);
    const Walled walled(Raw(path) + std::string(sizeof(wchar_t), '\0'));
    const wchar_t* const text = walled.As<const wchar_t>();
    const SString simple = SFile::SimplifyPath(path);
    const bool hasNul = path.FindPos(L'\0') >= 0; // then a step that begins with it is as good as empty
    Require(hasNul || SFile::SimplifyPath(simple) == simple, "a simple path stays");
    Require(simple.Length() <= path.Length() + 1, "and is no longer");

    SString drive, directory, name, extension;
    if (SFile::SplitPath(path, &drive, &directory, &name, &extension))
        Require(SString::Concat(drive, directory, name, extension).Length() <= path.Length(),
                "parts are of the path");
    Require(SFile::GetParentFolder(text).Length() <= path.Length(), "a parent is part of the path");
    const SString half = path.Left(path.Length() / 2);
    SFile::ConcatPath(half, path.Mid(half.Length()));
    SFile::ConcatPath(path, path, UnitAt(input, 0));
    SFile::IsFullFilename(text);
    int kind = 99;
    Require(SFile::IsValidModule(text, &kind) == (kind != 0), "a kind for each module");
    if (SFile::ValidPathLessFilename(text))
        Require(SString(text).FindPos(kSeparator) < 0, "a name without a path");

    // What follows asks the disk, and makes nothing there.
    SString folder, tail;
    SFile::CheckSplitValidPath(path, &folder, &tail);
    Require(folder + tail == path || hasNul, "folder and name make up the path");
    const SString longNames = SFile::ToLongNames(path);
    SFile::ToShortNames(path);
    SFile::NormalizeDirectoryName(path);
    const SString full = SFile::NormalizeFileName(path);
    SFile file;
    file.Init(path);
    file.SplitFilename();
    file.MakeFilename();
    file.CheckFilename();
    return Raw(longNames).size() + Raw(full).size();
}

Inputs PathSeeds()
{
    return { Raw(L"C:\\one\\..\\two\\.\\three.txt"),
             Raw(L"\\\\server\\share\\folder\\file.name.ext"),
             Raw(L"..\\..\\x\\"),
             Raw(L"\"C:\\Program Files\\a b.exe\" "),
             Raw(L"C:"),
             Raw(L"NUL"),
             Raw(L"C:\\windows\\system32\\kernel32.dll"),
             Raw(L"\\\\?\\C:\\a\\b"),
             Raw(L"name.ico") };
}

// ---- URLs ----

bool ComesBackFromUrl(const SString& path)
{
    for (const wchar_t c : path) {
        if (c == L'/' || c == L'|' || c == L'\0')
            return false;
    }
    return path.GetAt(1) == L':' || path.FindPos(L':') < 0;
}

size_t EatUrl(const std::string& input)
{
    const MadeUpDisk disk;
    const SString text = UnitsOf(input);
    const SString path = SFile::URLToPath(text);
    const SString strict = SFile::URLToPath(text, 1);
    Require(strict.IsEmpty() || strict == path, "a strict reading is the same, or none");
    const SString url = SFile::PathToURL(text);
    Require(url.Length() <= 9 * text.Length() + 8, "a URL is no longer than its escapes");
    for (const wchar_t c : url)
        Require(c > L' ' && c < 0x7F, "a URL is plain ASCII");
    if (ComesBackFromUrl(text) && text.Compare(L"\\\\", 2) != 0 && text.Compare(L"file:", 5) != 0) {
        const SString back = SFile::URLToPath(url);
        Require(back == SFile::ToLongNames(text), "a path comes back from its URL");
    }
    SFile::IsFileURL(text, 1);
    SFile::IsInternetURL(text);
    SFile::IsRelativePath(text);
    SFile::IsValidURL(text);
    if (text.Length() < kLongestPath)
        SFile::PathToURL(text, 1);
    return Raw(path).size() + Raw(url).size();
}

Inputs UrlSeeds()
{
    return { Raw(L"file:///C%3A/a%20b/z%C3%A4hle.txt"),
             Raw(L"file://server/share/x"),
             Raw(L"http://example.com/a?b=c"),
             Raw(L"one/two%2Fthree"),
             Raw(L"file:///C|/a%E4b"),
             Raw(L"C:\\a b\\z\u00E4hle \u4E2D\U0001F600.txt"),
             Raw(L"www.example.htm"),
             Raw(L"%F0%9F%98%80%ED%A0%80%") };
}

} // namespace

const Target kPathTarget = { "path",
                             PathSeeds,
                             { Raw(L"\\"), Raw(L".."), Raw(L"\\.\\"), Raw(L":"), Raw(L"\\\\"), Raw(L"C:\\"),
                               Raw(L"\\a") },
                             EatPath,
                             2,
                             false };
const Target kUrlTarget = {
    "url",
    UrlSeeds,
    { Raw(L"%"), Raw(L"%E4"), Raw(L"/"), Raw(L"file://"), Raw(L"|"), Raw(L"%C3"), Raw(L"/a") },
    EatUrl,
    2,
    false
};
