// growth.cpp: what should cost in proportion to its input, at n, 4 n and 16 n.
#include "bench.h"

#include "base64.h"
#include "narrow.h"
#include "smap.h"
#include "smemstream.h"
#include "sstream.h"
#include "strbuffer.h"
#include "strclss.h"
#include "strtab.h"
#include "strtrans.h"
#include "tablemem.h"

#include <map>
#include <string>
#include <utility>

namespace {

/// A text with a comma in every eighth place, one for each size.
const SString& Text(long size)
{
    static std::map<long, SString> texts;
    SString& text = texts[size];
    if (text.IsEmpty()) {
        std::wstring letters = Letters(static_cast<size_t>(size));
        for (size_t i = 7; i < letters.size(); i += 8)
            letters[i] = L',';
        text = letters.c_str();
    }
    return text;
}

unsigned long Sum(const SString& text)
{
    return static_cast<unsigned long>(text.Length()) + text[text.Length() / 2];
}

unsigned long AppendPieces(Run& run, long size)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text;
        for (long j = 0; j < size; j += 10)
            text += L"ten chars,";
        sum += Sum(text);
    }
    return sum;
}

unsigned long BuildPieces(Run& run, long size)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SStringBuffer text;
        for (long j = 0; j < size; j += 10)
            text << L"ten chars,";
        sum += Sum(text.Detach());
    }
    return sum;
}

template <class Edit>
unsigned long EditCopy(Run& run, long size, Edit edit)
{
    const SString& source = Text(size);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text(source);
        edit(text);
        sum += Sum(text);
    }
    return sum;
}

unsigned long ReplaceLonger(Run& run, long size)
{
    return EditCopy(run, size, [](SString& text) { text.ReplaceAll(L",", L"; "); });
}

unsigned long ReplaceNoCase(Run& run, long size)
{
    return EditCopy(run, size, [](SString& text) { text.ReplaceAllNoCase(L"E", L"ee"); });
}

unsigned long Upper(Run& run, long size)
{
    return EditCopy(run, size, [](SString& text) { text.ToUpper(); });
}

unsigned long Translate(Run& run, long size)
{
    return EditCopy(run, size, [](SString& text) { text.Translate(L"abc,", L"xyz"); });
}

unsigned long TrimMuch(Run& run, long size)
{
    unsigned long sum = 0;
    SString blanks(L' ', static_cast<int>(size));
    blanks += L"text";
    for (long i = run.n; i > 0; --i) {
        SString text(blanks);
        sum += Sum(text.TrimLeft());
    }
    return sum;
}

/// The worst text for a search that begins anew behind each beginning.
unsigned long FindNearMiss(Run& run, long size)
{
    const SString text(L'a', static_cast<int>(size));
    SString wanted(L'a', static_cast<int>(size / 2));
    wanted += L'b';
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Hidden(&text)->Find(wanted) == nullptr;
    return sum;
}

unsigned long MatchStars(Run& run, long size)
{
    const SString text(L'a', static_cast<int>(size));
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Hidden(&text)->Match(L"*a*a*a*b");
    return sum;
}

unsigned long ToUtf8AndBack(Run& run, long size)
{
    const SString& text = Text(size);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sum(SUtf8String(text).ToUnicode());
    return sum;
}

unsigned long ToBase64AndBack(Run& run, long size)
{
    const SString& text = Text(size);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString encoded;
        SBlob bytes;
        Base64Tools::Base64Encode(static_cast<const wchar_t*>(text), text.LengthByte(), encoded);
        Base64Tools::Base64Decode(encoded, bytes);
        sum += bytes.GetSize() + Sum(encoded);
    }
    return sum;
}

unsigned long AddToTable(Run& run, long size)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        STable<long> table;
        for (long j = 0; j < size; ++j)
            table.Add(j);
        sum += static_cast<unsigned long>(std::as_const(table)[size / 2]);
    }
    return sum;
}

unsigned long SplitList(Run& run, long size)
{
    const SString& list = Text(size);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SStringTable table;
        table.SetFromList(list, L",", L'\\');
        sum += static_cast<unsigned long>(table.Count());
    }
    return sum;
}

unsigned long JoinList(Run& run, long size)
{
    SStringTable table;
    table.SetFromList(Text(size), L",", L'\\');
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sum(std::as_const(table).GetAsList(L';', L'\\'));
    return sum;
}

unsigned long CopyMap(Run& run, long size)
{
    SMap<long, long> map;
    for (long i = 0; i < size; ++i)
        map.Set(i, i);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const SMap<long, long> copy(map);
        sum += static_cast<unsigned long>(copy.Count());
    }
    return sum;
}

unsigned long FillMap(Run& run, long size)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SMap<long, long> map;
        for (long j = 0; j < size; ++j)
            map.Set(j, j);
        sum += static_cast<unsigned long>(map.Count());
    }
    return sum;
}

unsigned long WriteAndRead(Run& run, long size)
{
    const SString& text = Text(size);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SOutputGlobal bytes;
        SOutputBinaryStream out(bytes);
        out << text;
        SInputGlobal memory(bytes.GetBytes(), bytes.GetSize());
        SInputBinaryStream in(memory);
        SString back;
        in >> back;
        sum += Sum(back);
    }
    return sum;
}

unsigned long ExpandTemplate(Run& run, long size)
{
    SSymbolTable symbols;
    symbols.Set(L"NAME", 0, L"a value");
    SStringTranslator translator;
    translator.SetSymbolTable(&symbols);
    SStringBuffer text;
    for (long i = 0; i < size; i += 25)
        text << L"some words and then %NAME%, ";
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        int status = 0;
        sum += Sum(translator.Translate(text.Text(), status, SSymbolTable::kAnyId));
    }
    return sum;
}

// Sizes are such that the memory behaves alike at all three: in the cache, or else fresh from the system throughout.
const GrowthRow kRows[] = {
    { "grow.append", 4000, AppendPieces },
    { "grow.builder", 4000, BuildPieces },
    { "grow.replace", 4000, ReplaceLonger },
    { "grow.replacenocase", 4000, ReplaceNoCase },
    { "grow.upper", 1000, Upper },
    { "grow.translate", 4000, Translate },
    { "grow.trim", 4000, TrimMuch },
    { "grow.find.nearmiss", 4000, FindNearMiss },
    { "grow.match", 1000, MatchStars },
    { "grow.utf8", 4000, ToUtf8AndBack },
    { "grow.base64", 100000, ToBase64AndBack },
    { "grow.table.add", 4000, AddToTable },
    { "grow.table.split", 4000, SplitList },
    { "grow.table.join", 4000, JoinList },
    { "grow.map.copy", 250, CopyMap },
    { "grow.map.fill", 250, FillMap },
    { "grow.stream", 100000, WriteAndRead },
    { "grow.template", 4000, ExpandTemplate },
};

} // namespace

extern const Subject kGrowth;
const Subject kGrowth = { "growth", [](Bench& bench) { bench.Grow(kRows); } };
