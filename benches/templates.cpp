// templates.cpp: SStringTranslator beside what else puts values into a text.
#include "bench.h"

#include "strtrans.h"
#include "symtab.h"

#include <windows.h>

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

// 200 variables of 50 in 10,000 characters.
const int kVariables = 200;
const int kSymbols = 50;
const int kChars = 10000;

std::wstring Name(int i)
{
    return L"BENCH_" + std::to_wstring(i);
}

std::wstring Value(int i)
{
    return L"value of " + std::to_wstring(i * 37);
}

const std::wstring& Template()
{
    static const std::wstring text = [] {
        std::wstring made;
        for (int i = 0; i < kVariables; ++i) {
            made += Letters(kChars / kVariables - 11, static_cast<unsigned>(i));
            made += L'%' + Name(i * 7 % kSymbols) + L'%';
        }
        return made;
    }();
    return text;
}

unsigned long Sum(const wchar_t* text, size_t length)
{
    unsigned long sum = static_cast<unsigned long>(length);
    for (size_t i = 0; i < length; i += 97)
        sum = sum * 31 + text[i];
    return sum;
}

unsigned long Ours(Run& run)
{
    static SStringTranslator& translator = [&]() -> SStringTranslator& {
        static SSymbolTable symbols;
        for (int i = 0; i < kSymbols; ++i)
            symbols.Set(Name(i).c_str(), 0, Value(i).c_str());
        static SStringTranslator made;
        made.SetSymbolTable(&symbols);
        return made;
    }();
    const wchar_t* const text = Template().c_str();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        int status = 0;
        const SString result = translator.Translate(text, status, SSymbolTable::kAnyId);
        sum += Sum(result, static_cast<size_t>(result.Length()));
    }
    return sum;
}

template <class Map>
unsigned long FindAndLookUp(Run& run)
{
    static const Map& symbols = []() -> const Map& {
        static Map made;
        for (int i = 0; i < kSymbols; ++i)
            made.emplace(Name(i), Value(i));
        return made;
    }();
    const std::wstring& text = Template();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::wstring result;
        size_t from = 0;
        for (;;) {
            const size_t start = text.find(L'%', from);
            if (start == std::wstring::npos)
                break;
            const size_t end = text.find(L'%', start + 1);
            result.append(text, from, start - from);
            const auto found = symbols.find(text.substr(start + 1, end - start - 1));
            if (found != symbols.end())
                result += found->second;
            from = end + 1;
        }
        result.append(text, from, std::wstring::npos);
        sum += Sum(result.data(), result.size());
    }
    return sum;
}

unsigned long Expand(Run& run)
{
    static const bool set = [] {
        for (int i = 0; i < kSymbols; ++i)
            ::SetEnvironmentVariableW(Name(i).c_str(), Value(i).c_str());
        return true;
    }();
    static_cast<void>(set);
    static wchar_t room[2 * kChars];
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const DWORD size = ::ExpandEnvironmentStringsW(Template().c_str(), room, 2 * kChars);
        sum += Sum(room, size - 1);
    }
    return sum;
}

typedef std::unordered_map<std::wstring, std::wstring> Hashed;
typedef std::map<std::wstring, std::wstring> Ordered;

const Row kRows[] = {
    { "tmpl.expand",
      Nanoseconds(kVariables),
      AtMost(0.3),
      Ours,
      { { "find + std::unordered_map", FindAndLookUp<Hashed> },
        { "find + std::map", FindAndLookUp<Ordered> },
        { "ExpandEnvironmentStringsW", Expand } } },
};

} // namespace

extern const Subject kTemplates;
const Subject kTemplates = { "templates", [](Bench& bench) { bench.Compare(kRows); } };
