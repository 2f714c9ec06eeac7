// concordance: counts the words of a text and prints the most frequent, what the text holds, and what the pools hold.
//
//     concordance FILE [HOW_MANY]
//
// The file is UTF-8, with or without a byte-order mark. Words that differ only in case are one word. Ends with 0, or with
// 2 and one line on standard error.
#include "../console.h"

#include "salloc.h"
#include "smap.h"
#include "strbuffer.h"
#include "striter.h"
#include "tablemem.h"

#include <algorithm>

namespace {

constexpr int kUsualRows = 15;
constexpr int kDone = 0, kBadInput = 2, kFailed = 3;

typedef SMap<SString, long, SAscNoCase> WordCounts;
typedef SPair<SString, long> WordCount;

SString ReadText(const SString& path)
{
    const SBlob bytes = ReadWhole(path);
    const int length = static_cast<int>(bytes.GetSize());
    const void* const narrow = bytes.LockForRead();
    const bool valid =
        length == 0 || ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, static_cast<const char*>(narrow),
                                             length, nullptr, 0) > 0;
    bytes.Unlock();
    if (!valid)
        throw BadInput{ path + L": this is not valid UTF-8" };
    return bytes.GetAsText();
}

/// The most frequent words first, equally frequent ones in the map's order.
STable<const WordCount*> Ranked(const WordCounts& counts)
{
    STable<const WordCount*> ranked;
    for (const WordCount& word : counts)
        ranked.Add(&word);
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const WordCount* a, const WordCount* b) { return a->value > b->value; });
    return ranked;
}

int PrintPool(const SPoolCounter& pool, void* context)
{
    if (*pool.bytes != 0)
        *static_cast<SStringBuffer*>(context) << SString().Format(
            L"  %-22s %8lu blocks of %4lu bytes in %9lu bytes\n", SString(pool.name).Trim().PszStr(),
            *pool.inUse, pool.blockBytes, *pool.bytes);
    return 1;
}

SString Report(const SString& path, int rows)
{
    const SString text = ReadText(path);
    WordCounts counts;
    long total = 0;
    for (SString::word_iterator word(text); word; ++word) {
        ++counts[*word];
        ++total;
    }
    SStringBuffer out;
    out.AppendFormat(L"%s: %d words, %d different\n\n", path.PszStr(), total, counts.Count());
    const STable<const WordCount*> ranked = Ranked(counts);
    for (int i = 0; i < std::min(rows, ranked.Count()); ++i)
        out.AppendFormat(L"%8d  %s\n", ranked[i]->value, SString(ranked[i]->key).ToLower().PszStr());
    out << L"\nPools:\n";
    SPoolCounters::ForEach(PrintPool, &out);
    return out.Detach();
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    try {
        if (count < 2 || count > 3 || (count == 3 && !SString(arguments[2]).IsDigit()))
            throw BadInput{ L"usage: concordance FILE [HOW_MANY]" };
        Print(stdout, Report(arguments[1], count == 3 ? SString(arguments[2]).ToLONG() : kUsualRows));
        return kDone;
    }
    catch (const BadInput& bad) {
        Print(stderr, L"concordance: " + bad.message + L"\n");
        return kBadInput;
    }
    catch (const SException& e) {
        Print(stderr, L"concordance: " + e.GetFullText() + L"\n");
        return kFailed;
    }
}
