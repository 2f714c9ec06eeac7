// rtf.cpp: reading and rewriting RTF text beside a plain loop over its tags, and merging as it grows.
#include "bench.h"

#include "rtfmerge.h"
#include "rtftext.h"

#include <cstdlib>
#include <cwchar>
#include <map>
#include <string>

namespace {

const long kSourceUnits = 250000;

/// A body of text as word processors write it: a control word or brace about every thirty characters.
const SString& Body()
{
    static const SString body = [] {
        std::wstring text;
        Numbers numbers(7);
        while (static_cast<long>(text.size()) < kSourceUnits) {
            text += L"{\\f" + std::to_wstring(numbers.Below(9)) + L"\\fs20 " +
                    Letters(20 + numbers.Below(20)) + L"\\cf" + std::to_wstring(numbers.Below(5)) + L" " +
                    Letters(30, numbers.Next()) + L"\\'e9" + Letters(9) + L"}\\par ";
        }
        return SString(text.c_str());
    }();
    return body;
}

const SRtfNumberMap& Plus(int added)
{
    static std::map<int, SRtfNumberMap> maps;
    SRtfNumberMap& map = maps[added];
    for (int i = 0; map.Count() < 9; ++i)
        map.Set(i, i + added);
    return map;
}

unsigned long Sum(const wchar_t* text, size_t length)
{
    return static_cast<unsigned long>(length) * 31 + text[length / 2] + text[length - 1];
}

// ---- A loop that looks at each character, with the rules of SRtfText ----

bool IsEscape(const wchar_t* at)
{
    return at[1] == L'\'' || (at[1] == L'u' && at[2] >= L'0' && at[2] <= L'9');
}

/// The end of the tag at `at`, which is moved to its start.
const wchar_t* EndOfTag(const wchar_t*& at)
{
    while (*at == L' ' || *at == L'\t' || *at == L'\r' || *at == L'\n')
        ++at;
    const wchar_t* end = at;
    if (*at == L'{' || *at == L'}')
        return at + 1;
    if (*at == L'\\' && at[1] == L'\\')
        return at + 2;
    if (*at == L'\\' && !IsEscape(at)) {
        for (++end; *end && *end != L'\\' && *end != L'{' && *end != L'}' && *end != L'\r' && *end != L'\n';
             ++end) {
            if (*end == L' ' || *end == L'\t')
                return end + 1;
        }
        return end;
    }
    while (*end && *end != L'{' && *end != L'}' && (*end != L'\\' || IsEscape(end)))
        ++end;
    return end;
}

unsigned long TokensPeer(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        for (const wchar_t* at = Body(); *at;) {
            const wchar_t* const end = EndOfTag(at);
            sum += static_cast<unsigned long>(end - at) ^ *at;
            at = end;
        }
    }
    return sum;
}

unsigned long TokensOurs(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const wchar_t* start;
        long length;
        for (const wchar_t* at = Body(); SRtfText::GetNextTag(&start, &length, at, 0); at = start + length)
            sum += static_cast<unsigned long>(length) ^ *start;
    }
    return sum;
}

unsigned long RewritePeer(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::wstring out;
        for (const wchar_t* at = Body(); *at;) {
            const wchar_t* const end = EndOfTag(at);
            const bool isFont = at[0] == L'\\' && at[1] == L'f',
                       isColor = at[0] == L'\\' && at[1] == L'c' && at[2] == L'f';
            const wchar_t* const digits = at + (isColor ? 3 : 2);
            wchar_t* behind = nullptr;
            const long number = isFont || isColor ? std::wcstol(digits, &behind, 10) : 0;
            const bool changes = behind && behind != digits && (isFont || number != 0);
            if (changes)
                out.append(at, digits)
                    .append(std::to_wstring(number + (isFont ? 3 : 1)))
                    .append(static_cast<const wchar_t*>(behind), end);
            else
                out.append(at, end);
            at = end;
        }
        sum += Sum(out.c_str(), out.size());
    }
    return sum;
}

unsigned long RewriteOurs(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString out;
        SRtfText::ChangeFontAndColor(out, Body(), Plus(3), Plus(1), Plus(5));
        sum += Sum(out, static_cast<size_t>(out.Length()));
    }
    return sum;
}

// ---- Growth ----

const SString& Document()
{
    static const SString document =
        L"{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 Arial;}{\\f1 Times;}}{\\colortbl;\\red1\\green2\\blue3;}" +
        Body().Left(4000).Left(Body().Left(4000).ReverseFindPos(L'}') + 1) + L"\\par}";
    return document;
}

unsigned long MergeMany(Run& run, long size)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SRtfMerger merger;
        for (long k = 0; k < size; ++k)
            sum += static_cast<unsigned long>(merger.AddFragment(Document()));
        const SString merged = merger.GetDocument();
        sum += Sum(merged, static_cast<size_t>(merged.Length()));
    }
    return sum;
}

/// Extraction with removal: the tables lie in front of a body that grows.
unsigned long Extract(Run& run, long size)
{
    static std::map<long, SString> documents;
    SString& document = documents[size];
    if (document.IsEmpty())
        document = Document() + SString(L'x', static_cast<int>(size));
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString rtf(document), part;
        SRtfText::ExtractHeader(part, rtf, 1);
        SRtfText::ExtractFontTable(part, rtf, 1);
        SRtfText::ExtractColorTable(part, rtf, 1);
        sum += Sum(rtf, static_cast<size_t>(rtf.Length()));
    }
    return sum;
}

const double kBytes = kSourceUnits * 2.0;

const Row kRows[] = {
    { "rtf.tokens", MegabytesPerSecond(kBytes), AtLeast(1.5), TokensOurs, { { "plain loop", TokensPeer } } },
    { "rtf.rewrite", MegabytesPerSecond(kBytes), AtLeast(5), RewriteOurs, { { "tag by tag", RewritePeer } } },
};

const GrowthRow kGrowthRows[] = {
    { "rtf.grow.merge", 25, MergeMany },
    { "rtf.grow.extract", 1000000, Extract },
};

} // namespace

extern const Subject kRtf;
const Subject kRtf = { "rtf", [](Bench& bench) {
                          bench.Compare(kRows);
                          bench.Grow(kGrowthRows);
                      } };
