// spath.cpp: paths as texts.
#include "sfile.h"

#include "strbuffer.h"
#include "systempath.h"
#include "tablemem.h"

#include <algorithm>
#include <cwchar>
#include <utility>

namespace {

constexpr wchar_t kSeparator = L'\\';
constexpr int kPartRoom = 256;
constexpr int kDriveRoom = 3;

bool EndsWith(const SString& text, wchar_t c)
{
    return !text.IsEmpty() && text[text.Length() - 1] == c;
}

// Whether a path begins with a drive. A name that begins with a colon is none behind a backslash.
bool IsDrive(const SString& path)
{
    return path.GetAt(1) == L':' && path.GetAt(0) != kSeparator;
}

// The root of a path with its backslash: "X:\", "\\server\share\", "\", or nothing.
int RootOf(const SString& path)
{
    if (IsDrive(path))
        return path.GetAt(2) == kSeparator ? 3 : 2;
    if (path.Compare(L"\\\\", 2) != 0)
        return path.GetAt(0) == kSeparator ? 1 : 0;
    int end = path.FindPos(kSeparator, 2);
    end = end < 0 ? end : path.FindPos(kSeparator, end + 1);
    return end < 0 ? path.Length() : end + 1;
}

typedef DWORD(WINAPI* NameCall)(const wchar_t*, wchar_t*, DWORD);

SString Converted(const SString& path, NameCall call)
{
    // Nothing in it is a name; and systems were seen that take what happens to stand behind such a path for its rest.
    if (WithoutLongPrefix(path).IsEmpty())
        return path;
    return WithoutLongPrefix(
        TextOfSystem(static_cast<DWORD>(std::max(path.Length() + 1, MAX_PATH)),
                     [&](wchar_t* buffer, DWORD room) { return call(SystemPath(path), buffer, room); }));
}

// Where the parts of a path end, from its root on: at every separator, and at its end.
STable<int> EndsOfParts(const SString& path)
{
    STable<int> ends;
    const int root = RootOf(path);
    if (root > 0)
        ends.Add(root);
    for (int at = root; (at = path.FindPos(kSeparator, at)) >= 0; ++at) {
        if (at > root)
            ends.Add(at);
    }
    if (ends.IsEmpty() || ends[ends.Count() - 1] != path.Length())
        ends.Add(path.Length());
    return ends;
}

// The system converts what exists. What stands below something that does not exist does not either, so the longest part that
// does is found by halving: a path of thousands of parts must not be looked up thousands of times.
SString ConvertNames(const SString& path, NameCall call)
{
    if (path.IsEmpty())
        return path;
    SString whole = path.Length() > kLongestSystemPath ? SString() : Converted(path, call);
    if (!whole.IsEmpty())
        return whole;
    const STable<int> ends = EndsOfParts(path);
    SString best;
    int bestEnd = 0;
    for (int low = 0, high = ends.Count() - 1; low < high;) {
        const int middle = low + (high - low) / 2;
        const int end = ends[middle];
        SString converted = end > kLongestSystemPath ? SString() : Converted(path.Left(end), call);
        if (converted.IsEmpty()) {
            high = middle;
        } else {
            best = std::move(converted);
            bestEnd = end;
            low = middle + 1;
        }
    }
    return bestEnd == 0 ? path : best + path.Mid(bestEnd);
}

struct ModuleKind {
    const wchar_t* extension;
    int kind;
};
constexpr ModuleKind kModules[] = { { L".exe", 1 }, { L".com", 2 }, { L".cur", 3 }, { L".ico", 4 } };

} // namespace

int SFile::SplitPath(const SString& path, SString* drive, SString* directory, SString* name,
                     SString* extension)
{
    wchar_t driveText[kDriveRoom], directoryText[kPartRoom], nameText[kPartRoom], extensionText[kPartRoom];
    // Its call with sizes: the one without would write past a part's room.
    const bool fits = ::_wsplitpath_s(path, driveText, kDriveRoom, directoryText, kPartRoom, nameText,
                                      kPartRoom, extensionText, kPartRoom) == 0;
    const struct {
        SString* part;
        const wchar_t* text;
    } kParts[] = {
        { drive, driveText }, { directory, directoryText }, { name, nameText }, { extension, extensionText }
    };
    for (const auto& p : kParts) {
        if (p.part)
            *p.part = fits ? p.text : L"";
    }
    return fits;
}

SString SFile::ConcatPath(const SString& a, const SString& b, wchar_t separator)
{
    if (a.IsEmpty())
        return b;
    if (b.IsEmpty())
        return a;
    if (separator == L'\0')
        return SString();
    const bool ends = EndsWith(a, separator), begins = b[0] == separator;
    if (ends && begins)
        return SString::Concat(a.Left(a.Length() - 1), b);
    return ends || begins ? a + b : SString::Concat(a, separator, b);
}

SString SFile::NormalizeDirectoryName(const SString& path)
{
    SString result = ToLongNames(path);
    if (!EndsWith(result, kSeparator))
        result += kSeparator;
    return result;
}

SString SFile::NormalizeFileName(const SString& path, int)
{
    SString text(path);
    text.Trim(L" \t\r\n");
    constexpr int kShortestQuoted = 3;
    if (text.Length() >= kShortestQuoted && text[0] == L'"' && EndsWith(text, L'"'))
        text = text.Mid(1, text.Length() - 2);
    if (text.IsEmpty() || static_cast<int>(std::wcslen(text)) != text.Length())
        return SString();
    const int room = std::max(text.Length(), static_cast<int>(MAX_PATH));
    SString expanded;
    wchar_t* const buffer = expanded.GetBufferSetLength(room);
    // Over a text that is too long for it the system takes time by its square.
    const bool fits = text.Length() <= kLongestSystemPath &&
                      ::_wfullpath(buffer, text, static_cast<size_t>(room)) != nullptr;
    expanded.UnlockTchar(fits ? -1 : 0);
    SString result = ToLongNames(expanded);
    if (IsDirectory(result)) {
        result.TrimRight(kSeparator);
        result += kSeparator;
    } else if (EndsWith(result, kSeparator) && IsFile(SString(result).TrimRight(kSeparator))) {
        result.TrimRight(kSeparator);
    }
    return result;
}

SString SFile::SimplifyPath(const SString& path)
{
    const int root = RootOf(path);
    // A drive alone is no root: what follows counts from the drive's current folder.
    const bool isRelative = root == 0 || (IsDrive(path) && path.GetAt(2) != kSeparator);
    STable<SString> steps;
    for (int at = root; at < path.Length();) {
        int end = path.FindPos(kSeparator, at);
        end = end < 0 ? path.Length() : end;
        const SString step = path.Mid(at, end - at);
        at = end + 1;
        if (step.IsEmpty() || step == L".")
            continue;
        const bool goesUp = step == L"..";
        if (goesUp && steps.Count() > 0 && steps[steps.Count() - 1] != L"..")
            steps.Remove(steps.Count() - 1);
        else if (!goesUp || isRelative)
            steps.Add(step);
    }
    SStringBuffer joined(path.Length());
    joined.Append(path, root);
    if (root == 0 && !steps.IsEmpty() && IsDrive(steps[0]))
        joined.Append(L".\\"); // in front of it stood a step: without one it would name a drive
    for (int i = 0; i < steps.Count(); ++i) {
        if (i > 0)
            joined.Append(kSeparator);
        joined.Append(steps[i]);
    }
    SString result = joined.Detach();
    if (EndsWith(path, kSeparator) && !EndsWith(result, kSeparator) && !steps.IsEmpty())
        result += kSeparator;
    return result.IsEmpty() && !path.IsEmpty() ? SString(L".") : result;
}

SString SFile::ToLongNames(const SString& path)
{
    return ConvertNames(path, ::GetLongPathNameW);
}

SString SFile::ToShortNames(const SString& path)
{
    return ConvertNames(path, ::GetShortPathNameW);
}

SString SFile::GetParentFolder(const wchar_t* path)
{
    SString text(path);
    const int root = RootOf(text);
    int length = text.Length();
    while (length > root && text[length - 1] == kSeparator)
        --length;
    if (length <= root)
        return SString();
    text = text.Left(length);
    const int end = text.ReverseFindPos(kSeparator);
    return end < root ? text.Left(root) : text.Left(end);
}

int SFile::IsFullFilename(const wchar_t* path)
{
    const SString text(path);
    if (text.GetAt(1) == L':') {
        const wchar_t letter = text[0] | 0x20;
        return letter >= L'a' && letter <= L'z' && text.GetAt(2) == kSeparator;
    }
    if (text.Compare(L"\\\\", 2) != 0)
        return 0;
    const int server = text.FindPos(kSeparator, 2);
    return server > 2 && server + 1 < text.Length() && text[server + 1] != kSeparator;
}

int SFile::ValidPathLessFilename(const wchar_t* name)
{
    if (!name || *name == L'\0' || std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0)
        return 0;
    for (const wchar_t* c = name; *c != L'\0'; ++c) {
        if (*c < L' ' || std::wcschr(L"\\/:*?<>|\"", *c))
            return 0;
    }
    const wchar_t last = name[std::wcslen(name) - 1];
    return last != L' ' && last != L'.';
}

int SFile::CheckSplitValidPath(const SString& path, SString* folder, SString* name)
{
    const int end = std::max(path.ReverseFindPos(kSeparator), path.ReverseFindPos(L':')) + 1;
    const SString head = path.Left(end), tail = path.Mid(end);
    if (folder)
        *folder = head;
    if (name)
        *name = tail;
    return ValidPathLessFilename(tail) && tail.Length() == static_cast<int>(std::wcslen(tail)) &&
           IsDirectory(head.IsEmpty() ? SString(L".") : head);
}

int SFile::IsValidModule(const wchar_t* name, int* kind)
{
    const SString text(name);
    const int mark = text.ReverseFindPos(L'.');
    int found = 0;
    for (const ModuleKind& module : kModules) {
        if (mark >= 0 && text.CompareNoCase(mark, module.extension) == 0)
            found = module.kind;
    }
    if (kind)
        *kind = found;
    return found != 0;
}

int SFile::ValidModuleFullFilename(const wchar_t* path, int* kind)
{
    return IsValidModule(path, kind) && IsFullFilename(path) && IsFile(SString(path));
}
