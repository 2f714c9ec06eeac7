// filetool: looks at files, and carries them as text.
//
//     filetool list FOLDER              every file below it with its size and its type, then the sums
//     filetool compare FILE FILE        whether two files hold the same bytes
//     filetool hex FILE                 its bytes, 16 a line
//     filetool encode FILE TARGET       the bytes as Base64 into another file
//     filetool decode FILE TARGET       and back
//     filetool url PATH-OR-URL          a path as a URL, a URL as a path
//
// Ends with 0 (done; the files are equal), 1 (they differ), 2 (bad input) or 3 (the work failed), the last two with one line on
// standard error. A target is written whole or left as it was. Long work shows on a console how far it is.
#include "../console.h"

#include "base64.h"
#include "crash.h"
#include "safefile.h"
#include "sfile.h"
#include "sfind.h"
#include "strbuffer.h"

#include <algorithm>
#include <cstring>

namespace {

enum Ending { kDone = 0, kDiffer = 1, kBadInput = 2, kFailed = 3 };

const wchar_t* TypeName(const SString& path)
{
    static const wchar_t* const kNames[] = { L"", L"bitmap", L"metafile", L"", L"metafile", L"JPEG", L"GIF" };
    SFile file;
    short type = 0;
    if (file.Init(path) < 0 || file.GetContentType(&type) < 0)
        return L"unreadable";
    return kNames[type];
}

SString Existing(const SString& path)
{
    if (!SFile::Exists(path))
        throw BadInput{ SString::Concat(path, L": ", LastErrorText()) };
    return path;
}

Ending List(const SString& typed)
{
    const SString folder = Typed(typed);
    if (!SFile::IsDirectory(Existing(folder)))
        throw BadInput{ folder + L": this is no directory" };
    const SAttrMatchFindFilter files(FILE_ATTRIBUTE_DIRECTORY, 0);
    SFileRecurseFind find;
    find.SetFilter(&files);
    Progress progress(L"list");
    unsigned long count = 0;
    ULONGLONG bytes = 0;
    for (int more = find.FindFile(SFile::ConcatPath(folder, L"*")); more; more = find.FindNextFileW()) {
        const SString path = find.GetFilePath();
        Print(stdout, SString().Format(L"%12I64u  %-10s %s\n", find.GetLength(), TypeName(path), path));
        bytes += find.GetLength();
        progress.Show(++count, L"files");
    }
    Print(stdout, SString().Format(L"%12I64u  bytes in %lu files\n", bytes, count));
    if (find.GetSkippedFolders() > 0)
        Print(stdout, SString().Format(L"%d folders could not be read\n", find.GetSkippedFolders()));
    return kDone;
}

// Byte for byte, by pieces. (SFile::CompareBinaryFiles lets the last piece decide alone.)
Ending Compare(const SString& first, const SString& second)
{
    constexpr DWORD kPiece = 1 << 16;
    SFile files[2];
    const SString paths[] = { first, second };
    for (int i = 0; i < 2; ++i) {
        if (files[i].Init(Existing(paths[i])) < 0 ||
            files[i].OpenExisting(FILE_SHARE_READ | FILE_SHARE_WRITE) < 0)
            throw BadInput{ SString::Concat(paths[i], L": ", LastErrorText()) };
    }
    static char buffers[2][kPiece];
    Progress progress(L"compare");
    for (ULONGLONG at = 0;; at += kPiece) {
        DWORD counts[] = { kPiece, kPiece };
        for (int i = 0; i < 2; ++i) {
            if (files[i].Read(buffers[i], &counts[i]) < 0)
                throw BadInput{ SString::Concat(paths[i], L": ", LastErrorText()) };
        }
        const DWORD common = std::min(counts[0], counts[1]);
        const char* const difference = std::mismatch(buffers[0], buffers[0] + common, buffers[1]).first;
        if (difference != buffers[0] + common || counts[0] != counts[1]) {
            const ULONGLONG place = at + static_cast<ULONGLONG>(difference - buffers[0]);
            Print(stdout, SString().Format(L"different from byte %I64u on\n", place));
            return kDiffer;
        }
        if (common == 0) {
            Print(stdout, L"equal\n");
            return kDone;
        }
        progress.Show(static_cast<unsigned long>(at >> 20), L"MiB");
    }
}

Ending Hex(const SString& path)
{
    constexpr unsigned long kLine = 16;
    SBlob blob = ReadWhole(path);
    const unsigned char* const bytes = static_cast<const unsigned char*>(blob.LockForRead());
    const unsigned long size = blob.GetSize();
    Progress progress(L"hex");
    for (unsigned long at = 0; at < size; at += kLine) {
        const unsigned long count = std::min(kLine, size - at);
        SStringBuffer plain;
        for (unsigned long i = 0; i < count; ++i) {
            const unsigned char byte = bytes[at + i];
            plain << (byte >= 0x20 && byte < 0x7F ? static_cast<wchar_t>(byte) : L'.');
        }
        Print(stdout,
              SString().Format(L"%08lx  %-47s  %s\n", at,
                               SBlob::BytesToHex(bytes + at, count, 0, L" ", nullptr), SString(plain)));
        progress.Show(at >> 10, L"KiB");
    }
    blob.Unlock();
    return kDone;
}

void WriteWhole(const SString& path, const void* bytes, size_t count)
{
    if (SSafeFile::Replace(path, bytes, count) < 0)
        throw BadInput{ SString::Concat(path, L": ", LastErrorText()) };
}

Ending Encode(const SString& source, const SString& target)
{
    SString text;
    Base64Tools::Base64Encode(ReadWhole(source), text);
    const SUtf8String narrow(text);
    WriteWhole(target, static_cast<char*>(narrow), static_cast<size_t>(narrow.LengthByte()));
    return kDone;
}

Ending Decode(const SString& source, const SString& target)
{
    // Line breaks and blanks are common in files, and would end the text.
    SString text = ReadWhole(source).GetAsText();
    text.Translate(L" \t\r\n", L"");
    const int bare = SString(text).TrimRight(L'=').Length();
    SBlob bytes;
    Base64Tools::Base64Decode(text, bytes);
    if (bare % 4 == 1 || bytes.GetSize() != static_cast<unsigned long>(bare) * 3 / 4)
        throw BadInput{ source + L": this is not Base64" };
    if (bytes.SaveToFile(target) < 0)
        throw BadInput{ SString::Concat(target, L": ", LastErrorText()) };
    return kDone;
}

Ending Url(const SString& text)
{
    const bool isUrl = SFile::IsFileURL(text) != 0;
    if (!isUrl && text.FindPos(L':') > 1)
        throw BadInput{ text + L": this is neither a path nor the URL of a file" };
    Print(stdout, (isUrl ? SFile::URLToPath(text) : SFile::PathToURL(text, 1)) + L"\n");
    return kDone;
}

const struct Command {
    const wchar_t* name;
    int arguments;
    Ending (*one)(const SString&);
    Ending (*two)(const SString&, const SString&);
} kCommands[] = {
    { L"list", 1, List, nullptr },     { L"compare", 2, nullptr, Compare }, { L"hex", 1, Hex, nullptr },
    { L"encode", 2, nullptr, Encode }, { L"decode", 2, nullptr, Decode },   { L"url", 1, Url, nullptr },
};

Ending Run(int count, wchar_t** arguments)
{
    for (const Command& command : kCommands) {
        if (count == command.arguments + 2 && std::wcscmp(arguments[1], command.name) == 0)
            return command.one ? command.one(arguments[2])
                               : command.two(Typed(arguments[2]), Typed(arguments[3]));
    }
    throw BadInput{ L"usage: filetool list FOLDER | compare FILE FILE | hex FILE | encode FILE TARGET | "
                    L"decode FILE TARGET | url PATH-OR-URL" };
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    VectoredExceptionHook::Install();
    try {
        return Run(count, arguments);
    }
    catch (const BadInput& bad) {
        Print(stderr, SString::Concat(L"filetool: ", bad.message, L"\n"));
        return kBadInput;
    }
    catch (const SException& e) {
        Print(stderr, SString::Concat(L"filetool: ", e.GetFullText(), L"\n"));
        return kFailed;
    }
}
