// Text that is a little language: templates, lists, formats.
#include "targets.h"

#include "lane.h"

#include "strmap.h"
#include "strtab.h"
#include "strtrans.h"

#include <cstdarg>
#include <cstring>
#include <set>

namespace {

// ---- Templates ----
// The first unit of an input says which delimiters it has.

constexpr size_t kLongestValue = 40;

const SSymbolTable& Symbols()
{
    static const SSymbolTable symbols = [] {
        SSymbolTable made;
        made.Set(L"N", 0, L"abcdef");
        made.Set(L"NAME", 1, L"it's \"quoted\"");
        made.Set(L"NUMBER", 0, L"255");
        made.Set(L"EMPTY", 0, L"");
        made.Set(L"", 0, L"nameless");
        made.Set(L"a:b", 3, L"\"a\"\"b'c\"");
        made.Set(L"LONG", 0, SString(L'x', static_cast<int>(kLongestValue)));
        return made;
    }();
    return symbols;
}

size_t EatTemplate(const std::string& input)
{
    SStringTranslator translator;
    translator.SetSymbolTable(&Symbols());
    switch (UnitAt(input, 0) % 4) {
    case 0: break;
    case 1: translator.ChangeDelimiter(L"{{", L"}}"); break;
    case 2: translator.ChangeDelimiter(L"<", L">"); break;
    default: translator.ChangeDelimiter(UnitAt(input, 1)); break;
    }
    const SString text = WithoutLargeNumbers(UnitsOf(input, 1));
    const Walled walled(Raw(text) + std::string(sizeof(wchar_t), '\0'));
    constexpr int kUntouched = 99;
    int status = kUntouched, again = kUntouched;
    const SString out = translator.Translate(walled.As<wchar_t>(), status, SSymbolTable::kAnyId);
    Require((status >= SStringTranslator::kMissing && status <= SStringTranslator::kReplaced) ||
                status == kUntouched,
            "the status is one of the known");
    const size_t most = static_cast<size_t>(text.Length()) * 2 * kLongestValue +
                        SumOfNumbers(text, static_cast<size_t>(SString::kMaxLength));
    Require(static_cast<size_t>(out.Length()) <= most, "the result is no longer than its parts can be");
    Require(translator.Translate(text, again, SSymbolTable::kAnyId) == out && again == status,
            "a template gives the same twice");
    if (status == kUntouched && UnitAt(input, 0) % 4 == 0 && text.FindPos(L'%') < 0)
        Require(SString(text.PszStr()) == out, "a text without references stays");
    return 4 * Raw(out).size();
}

Inputs TemplateSeeds()
{
    const auto plain = [](std::wstring text) { return Raw(L"@" + text); };
    return { plain(L"<%NAME%> and %N%, %MISSING%, 100%% sure"),
             plain(L"%?:EMPTY%%-6:N%%3.2M:N%%.UF:N%%.c:LONG%%.H:NUMBER%%.T:N%"),
             plain(L"%.q:NAME%%.Q:a:b%%.2-:N%%12.3U:N%\nno end % of it\n%N%"),
             Raw(L"A{{NAME}} and {{?-12.3:N}} {{{{ }} {{N"),
             Raw(L"B<N><.L:NAME>\n<MISSING"),
             Raw(L"C##N# and #-9:N#") };
}

// ---- Lists ----
// The first three units of an input are the separator, the escape and the divider.

template <class Map>
void EatMap(const SString& list, wchar_t separator, wchar_t escape, wchar_t divider, bool comesBack)
{
    Map map;
    const int items = map.AddFromList(list, SString(separator, 1), escape, divider);
    Require(map.Count() <= items, "no more pairs than items");
    for (const auto& pair : static_cast<const Map&>(map))
        Require(static_cast<const Map&>(map).Find(pair.key) == &pair.value, "each pair is found by its key");
    const SString written = map.GetAsList(separator, escape, divider);
    if (!comesBack)
        return;
    Map again;
    Require(again.AddFromList(written, SString(separator, 1), escape, divider) == map.Count(),
            "a written list has an item for each pair");
    Require(again.GetAsList(separator, escape, divider) == written, "and reads as the same");
}

size_t EatList(const std::string& input)
{
    const wchar_t separator = UnitAt(input, 0), escape = UnitAt(input, 1), divider = UnitAt(input, 2);
    const SString list = UnitsOf(input, 3);
    const SString separators(separator, 1);
    SStringTable table;
    table.SetFromList(list, separators, escape);
    Require(table.Count() <= list.Length(), "no more items than characters");
    for (const SString& item : table)
        Require(item.Length() <= list.Length(), "no item longer than the list");
    const SString written = table.GetAsList(separator, escape);
    // A string that begins with a NUL is copied as an empty one, so lists with NULs need not come back.
    const bool differ = list.FindPos(L'\0') < 0 && separator && escape && divider && separator != escape &&
                        separator != divider && escape != divider;
    if (differ) {
        SStringTable again;
        again.SetFromList(written, separators, escape);
        while (table.Count() > 0 && table[table.Count() - 1].IsEmpty())
            table.Remove(table.Count() - 1); // what the form is known to lose
        while (again.Count() > 0 && again[again.Count() - 1].IsEmpty())
            again.Remove(again.Count() - 1);
        Require(again == table, "a written list reads as the same");
    }
    EatMap<SStringMap>(list, separator, escape, divider, differ);
    EatMap<SStringMapNoCase>(list, separator, escape, divider, differ);
    EatMap<SStringUnsortedMap>(list, separator, escape, divider, differ);
    EatMap<SStringUnsortedMapNoCase>(list, separator, escape, divider, differ);
    // Several separators at a time: only that it ends well.
    SStringTable several;
    several.SetFromList(list, SString(separator, 1) + L" ,", escape);
    return 0;
}

Inputs ListSeeds()
{
    SStringUnsortedMap map;
    map.Set(L"width", L"100");
    map.Set(L"a;b", L"c=d");
    map.Set(L"", L"\\");
    map.Set(L"Z\u00E4hler", L"");
    return { Raw(L";\\=a;b;;c\\;d;e\\\\;"), Raw(L",^:one,two , three^"),
             Raw(L";\\=") + Raw(map.GetAsList(L';', L'\\')), Raw(L"||=a|b=c"),
             Raw(L";\\=key=value; key=again;KEY=third=fourth") };
}

// ---- Formats ----
// The arguments are as many as a format can ask for, and all of them point to a text that reads well in both widths.

typedef UINT_PTR Word;
constexpr size_t kTextBytes = 62;

Word TextAddress()
{
    static const Word address = [] {
        // As a character the address is none that ends a text.
        char* const text = static_cast<char*>(LowMemory(4096)) + 2 * 'a';
        std::memset(text, 'a', kTextBytes);
        std::memset(text + kTextBytes, 0, 2);
        return reinterpret_cast<Word>(text);
    }();
    return address;
}

size_t EatFormat(const std::string& input)
{
    const SString format = WithoutLargeNumbers(UnitsOf(input));
    const Walled walled(Raw(format) + std::string(sizeof(wchar_t), '\0'));
    constexpr size_t kWordsForOne = 8 / sizeof(Word); // a double, a 64-bit number
    std::vector<Word> arguments(kWordsForOne * static_cast<size_t>(format.Length()) + 1, TextAddress());
    static_assert(sizeof(va_list) == sizeof(void*), "a list of arguments is the address of the first");
    SString text(L"before");
    text.FormatV(walled.As<wchar_t>(), reinterpret_cast<va_list>(arguments.data()));
    size_t stars = 0;
    for (const wchar_t c : format)
        stars += c == L'*';
    constexpr size_t kLongestOne = 400; // a double in full
    const size_t most = kLongestOne * static_cast<size_t>(format.Length()) +
                        SumOfNumbers(format, static_cast<size_t>(SString::kMaxLength)) +
                        stars * static_cast<UINT32>(TextAddress());
    Require(static_cast<size_t>(text.Length()) <= most, "the text is no longer than its parts can be");
    Require(text.FindPos(L'\0') < 0, "the text ends at its end");
    return 4 * Raw(text).size();
}

Inputs FormatSeeds()
{
    return { Raw(L"%d of %s: %-10.3s|%+05d|%#x"),
             Raw(L"%I64d %lld %hd %hhu %lu %p"),
             Raw(L"%*d %.*s %-*.*f"),
             Raw(L"%c%C%hs%ls%S %%"),
             Raw(L"%e %g %a %12.4f %G %Lf"),
             Raw(L"%n"),
             Raw(L"%99999999999d"),
             Raw(L"%.300d%300.200x%#.40o") };
}

} // namespace

const Target kTranslatorTarget = { "translator",
                                   TemplateSeeds,
                                   { Raw(L"%"), Raw(L"{{"), Raw(L"}}"), Raw(L"%?-9.9MULcHTqQ:N%"), Raw(L"\n"),
                                     Raw(L"%%"), Raw(L":"), Raw(L"NAME") },
                                   EatTemplate,
                                   2,
                                   true };
const Target kListTarget = {
    "list", ListSeeds, { Raw(L";"), Raw(L"\\"), Raw(L"="), Raw(L";;"), Raw(L"\\;") }, EatList, 2, false
};
const Target kFormatTarget = { "format",
                               FormatSeeds,
                               { Raw(L"%"), Raw(L"*"), Raw(L".*"), Raw(L"%s"), Raw(L"I64"), Raw(L"%-#0+ "),
                                 Raw(L"l"), Raw(L"h"), Raw(L"f"), Raw(L"%d") },
                               EatFormat,
                               2,
                               true };
