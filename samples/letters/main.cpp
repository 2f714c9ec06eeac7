// letters: merges RTF documents into one, a page for each.
//
//     letters [-p] OUT.rtf FILE.rtf...
//
// With -p each begins a paragraph instead of a page. A document that is no sound RTF is named with what is wrong with it, and
// nothing is written. Ends with 0, or with 2 and one line on standard error.
#include "../console.h"

#include "rtfmerge.h"
#include "safefile.h"

#include <algorithm>

namespace {

constexpr int kDone = 0, kBadInput = 2, kFailed = 3;

/// RTF is text of single bytes. Each becomes a character: what it stands for is the merger's matter.
SString ReadRtf(const SString& path)
{
    const SBlob bytes = ReadWhole(path);
    const int length = static_cast<int>(bytes.GetSize());
    SString text;
    if (length == 0)
        return text;
    wchar_t* const characters = text.LockBuffer(length);
    const unsigned char* const narrow = static_cast<const unsigned char*>(bytes.LockForRead());
    std::copy(narrow, narrow + length, characters);
    bytes.Unlock();
    text.Unlock(length);
    return text;
}

/// A merged document has characters of 7 bits only, so any narrow form is its bytes. The file is replaced whole or not at all.
void WriteRtf(const SString& path, const SString& document)
{
    const SUtf8String bytes(document);
    if (SSafeFile::Replace(Typed(path), static_cast<const char*>(bytes),
                           static_cast<size_t>(bytes.LengthByte())) < 0)
        throw BadInput{ SString::Concat(path, L": ", LastErrorText()) };
}

int Merge(const SString& out, const wchar_t* const* files, int count, SRtfMerger::Break before)
{
    SRtfMerger merger;
    Progress progress(L"merging");
    for (int i = 0; i < count; ++i) {
        SString why;
        if (!merger.AddFragment(ReadRtf(files[i]), before, &why))
            throw BadInput{ SString::Concat(files[i], L": ", why) };
        progress.Show(static_cast<unsigned long>(i + 1), SString().Format(L"of %d documents", count));
    }
    const SString document = merger.GetDocument();
    WriteRtf(out, document);
    Print(stdout, SString().Format(L"%s: %d documents, %d fonts, %d colours, %d styles, %d bytes\n", out,
                                   merger.Count(), merger.GetFonts().Count(), merger.GetColors().Count(),
                                   merger.GetStyles().Count(), document.Length()));
    return kDone;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    try {
        int first = 1;
        const bool paragraphs = count > 1 && SString(arguments[1]) == L"-p";
        if (paragraphs)
            ++first;
        if (count < first + 2)
            throw BadInput{ L"usage: letters [-p] OUT.rtf FILE.rtf..." };
        return Merge(arguments[first], arguments + first + 1, count - first - 1,
                     paragraphs ? SRtfMerger::kParagraphBreak : SRtfMerger::kPageBreak);
    }
    catch (const BadInput& bad) {
        Print(stderr, L"letters: " + bad.message + L"\n");
        return kBadInput;
    }
    catch (const SException& e) {
        Print(stderr, L"letters: " + e.GetFullText() + L"\n");
        return kFailed;
    }
}
