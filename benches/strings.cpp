// strings.cpp: SString beside std::wstring, the C run-time and Windows.
#include "bench.h"

#include "strbuffer.h"
#include "strclss.h"

#include <windows.h>
#include <shlwapi.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>

namespace {

// Texts are reached through pointers that the compiler cannot see through: no length is known before the call.
template <int length>
const wchar_t* Text()
{
    static const std::wstring text = Letters(length);
    return Hidden(text.c_str());
}

unsigned long Sum(const wchar_t* text, size_t length)
{
    return static_cast<unsigned long>(length) + text[0] + text[length / 2] + text[length - 1];
}

// ---- Making and copying ----

template <class Value>
unsigned long SumOf(const Value& value);
template <>
unsigned long SumOf(const SString& value)
{
    return Sum(value, static_cast<size_t>(value.Length()));
}
template <>
unsigned long SumOf(const std::wstring& value)
{
    return Sum(value.c_str(), value.size());
}
template <>
unsigned long SumOf(const std::shared_ptr<std::wstring>& value)
{
    return SumOf(*value);
}

template <class String, int length>
unsigned long Make(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        String made(Text<length>());
        Keep(made);
        sum += SumOf(made);
    }
    return sum;
}

template <class String, int length>
unsigned long Copy(Run& run)
{
    static const String source(Text<length>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        String copy(source);
        Keep(copy);
        sum += SumOf(copy);
    }
    return sum;
}

template <int length>
unsigned long CopyShared(Run& run)
{
    static const std::shared_ptr<std::wstring> source = std::make_shared<std::wstring>(Text<length>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::shared_ptr<std::wstring> copy(source);
        Keep(copy);
        sum += SumOf(copy);
    }
    return sum;
}

// ---- Appending ----

const int kAppended = 1000;
const int kPieces = 60;
const int kManyPieces = 6250;

template <class String>
unsigned long AppendChars(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        String text;
        for (int j = 0; j < kAppended; ++j)
            text += static_cast<wchar_t>(L'a' + (j & 15));
        sum += SumOf(text);
    }
    return sum;
}

template <class String, int pieces>
unsigned long AppendPieces(Run& run)
{
    static const String piece(Text<16>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        String text;
        for (int j = 0; j < pieces; ++j)
            text += piece;
        sum += SumOf(text);
    }
    return sum;
}

template <class String>
unsigned long Concat(Run& run)
{
    static const String folder(L"C:\\Some folder\\with others"), name(L"a name of a file"), kind(L"txt");
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        String path = folder + L"\\" + name + L"." + kind;
        Keep(path);
        sum += SumOf(path);
    }
    return sum;
}

// ---- Comparing: equal but for the last character ----

template <int length>
const std::wstring& OtherText()
{
    static const std::wstring other = [] {
        std::wstring text = Letters(length);
        text.back() = L'{'; // behind all letters
        return text;
    }();
    return other;
}

unsigned long Sign(int order)
{
    return order < 0 ? 1 : order > 0 ? 2 : 0;
}

template <int length>
unsigned long CompareOurs(Run& run)
{
    static const SString a(Text<length>()), b(OtherText<length>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sign(Hidden(&a)->Compare(b));
    return sum;
}

template <int length>
unsigned long CompareStd(Run& run)
{
    static const std::wstring a(Text<length>()), b(OtherText<length>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sign(Hidden(&a)->compare(b));
    return sum;
}

template <int length>
unsigned long CompareBytes(Run& run)
{
    static const std::wstring a(Text<length>()), b(OtherText<length>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sign(std::memcmp(Hidden(a.c_str()), Hidden(b.c_str()), length * sizeof(wchar_t)));
    return sum;
}

/// Texts of small and of large letters, plain ones or such with accents.
template <int length, bool accents>
std::wstring Cased(bool large)
{
    std::wstring text = Letters(length);
    for (wchar_t& c : text) {
        if (accents && c < L'h')
            c = static_cast<wchar_t>(c - L'a' + 0xE0);
        if (large)
            c = static_cast<wchar_t>(std::towupper(c));
    }
    if (accents && large) {
        for (wchar_t& c : text) {
            if (c >= 0xE0 && c <= 0xE6)
                c = static_cast<wchar_t>(c - 0x20);
        }
    }
    return text;
}

template <int length, bool accents>
unsigned long NoCaseOurs(Run& run)
{
    static const SString a(Cased<length, accents>(false).c_str()), b(Cased<length, accents>(true).c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += 1 + Sign(Hidden(&a)->CompareNoCase(b));
    return sum;
}

template <int length, bool accents>
unsigned long NoCaseOrdinal(Run& run)
{
    static const std::wstring a(Cased<length, accents>(false)), b(Cased<length, accents>(true));
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += 1 + Sign(::CompareStringOrdinal(a.c_str(), length, b.c_str(), length, TRUE) - CSTR_EQUAL);
    return sum;
}

template <int length, bool equal>
unsigned long CollateOurs(Run& run)
{
    static const SString a(Text<length>()), b(equal ? Text<length>() : OtherText<length>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Sign(Hidden(&a)->Collate(b));
    return sum;
}

template <int length, bool equal>
unsigned long CollateSystem(Run& run)
{
    static const std::wstring a(Text<length>()), b(equal ? Text<length>() : OtherText<length>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        sum +=
            Sign(::CompareStringW(LOCALE_USER_DEFAULT, 0, a.c_str(), length, b.c_str(), length) - CSTR_EQUAL);
    }
    return sum;
}

// ---- Searching: what is looked for stands at the end ----

const wchar_t kNeedle[] = L"needle01";

/// Letters, or with `common` nothing but the beginnings of what is looked for.
template <int length, bool common>
const std::wstring& Haystack()
{
    static const std::wstring text = [] {
        std::wstring filled = Letters(length);
        if (common) {
            for (size_t i = 0; i < filled.size(); ++i)
                filled[i] = L"need "[i % 5];
        }
        return filled.replace(filled.size() - 8, 8, kNeedle);
    }();
    return text;
}

template <int length, bool common>
unsigned long FindOurs(Run& run)
{
    static const SString text(Haystack<length, common>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(Hidden(&text)->Find(Hidden(kNeedle)) - text);
    return sum;
}

template <int length, bool common>
unsigned long FindStd(Run& run)
{
    static const std::wstring text(Haystack<length, common>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(Hidden(&text)->find(Hidden(kNeedle)));
    return sum;
}

template <int length, bool common>
unsigned long FindC(Run& run)
{
    static const std::wstring text(Haystack<length, common>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(std::wcsstr(Hidden(text.c_str()), Hidden(kNeedle)) - text.c_str());
    return sum;
}

const int kLong = 10000;

unsigned long FindCharOurs(Run& run)
{
    static const SString text(Haystack<kLong, false>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(Hidden(&text)->FindPos(L'1'));
    return sum;
}

unsigned long FindCharC(Run& run)
{
    static const std::wstring text(Haystack<kLong, false>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(std::wcschr(Hidden(text.c_str()), L'1') - text.c_str());
    return sum;
}

unsigned long FindCharStd(Run& run)
{
    static const std::wstring text(Haystack<kLong, false>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(Hidden(&text)->find(L'1'));
    return sum;
}

unsigned long FindNoCaseOurs(Run& run)
{
    static const SString text(Haystack<kLong, false>().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(Hidden(&text)->FindNoCase(L"Needle01") - text);
    return sum;
}

unsigned long FindNoCaseUpper(Run& run)
{
    static const std::wstring text(Haystack<kLong, false>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::wstring upper(text);
        ::CharUpperBuffW(upper.data(), kLong);
        sum += static_cast<unsigned long>(upper.find(L"NEEDLE01"));
    }
    return sum;
}

unsigned long FindNoCaseOrdinal(Run& run)
{
    static const std::wstring text(Haystack<kLong, false>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        sum += static_cast<unsigned long>(
            ::FindStringOrdinal(FIND_FROMSTART, text.c_str(), kLong, L"Needle01", 8, TRUE));
    }
    return sum;
}

// ---- Replacing ----

/// 200 hits in 10,000 characters.
const std::wstring& Replaced()
{
    static const std::wstring text = [] {
        std::wstring filled = Letters(kLong);
        for (size_t i = 0; i < 200; ++i)
            filled.replace(i * 50 + 20, 4, L"@hit");
        return filled;
    }();
    return text;
}

unsigned long ReplaceOurs(Run& run)
{
    static const SString source(Replaced().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text(source);
        text.ReplaceAll(L"@hit", L"stroke");
        sum += SumOf(text);
    }
    return sum;
}

unsigned long ReplaceStd(Run& run)
{
    const std::wstring& source = Replaced();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::wstring text;
        text.reserve(source.size() + 400);
        size_t from = 0;
        for (size_t hit; (hit = source.find(L"@hit", from)) != std::wstring::npos; from = hit + 4) {
            text.append(source, from, hit - from);
            text.append(L"stroke", 6);
        }
        text.append(source, from, std::wstring::npos);
        sum += SumOf(text);
    }
    return sum;
}

unsigned long ReplaceCharOurs(Run& run)
{
    static const SString source(Text<kLong>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text(source);
        text.ReplaceAll(L'e', L'E');
        sum += SumOf(text);
    }
    return sum;
}

unsigned long ReplaceCharStd(Run& run)
{
    static const std::wstring source(Text<kLong>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::wstring text(source.size(), L'\0');
        std::replace_copy(source.begin(), source.end(), text.begin(), L'e', L'E');
        sum += SumOf(text);
    }
    return sum;
}

// ---- Formats and numbers ----

// The formatting functions of Windows' own run-time: the compiler's replacements read %s otherwise.
unsigned long FormatOurs(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text;
        text.Format(Hidden(L"%s %d %x %5.2f"), L"name", 1234, 0xBEEF, 3.14159);
        sum += SumOf(text);
    }
    return sum;
}

unsigned long FormatC(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        wchar_t buffer[100];
        const int length =
            ::_snwprintf(buffer, 100, Hidden(L"%s %d %x %5.2f"), L"name", 1234, 0xBEEF, 3.14159);
        sum += Sum(buffer, static_cast<size_t>(length));
    }
    return sum;
}

unsigned long FormatIntOurs(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text;
        text.Format(Hidden(L"%s=%d"), L"name", 1234);
        sum += SumOf(text);
    }
    return sum;
}

unsigned long FormatIntSystem(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        wchar_t buffer[1025];
        const int length = ::wsprintfW(buffer, Hidden(L"%s=%d"), L"name", 1234);
        sum += Sum(buffer, static_cast<size_t>(length));
    }
    return sum;
}

unsigned long FormatIntC(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        wchar_t buffer[100];
        const int length = ::_snwprintf(buffer, 100, Hidden(L"%s=%d"), L"name", 1234);
        sum += Sum(buffer, static_cast<size_t>(length));
    }
    return sum;
}

unsigned long FromIntOurs(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += SumOf(SString(Hidden(12345678)));
    return sum;
}

unsigned long FromIntStd(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += SumOf(std::to_wstring(Hidden(12345678)));
    return sum;
}

unsigned long ToIntOurs(Run& run)
{
    static const SString text(L"12345678");
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(Hidden(&text)->ToLONG());
    return sum;
}

unsigned long ToIntC(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(std::wcstol(Hidden(L"12345678"), nullptr, 10));
    return sum;
}

unsigned long FromDoubleOurs(Run& run)
{
    unsigned long sum = 0;
    double number = 1234.5678;
    for (long i = run.n; i > 0; --i) {
        Keep(number);
        sum += SumOf(SString(number));
    }
    return sum;
}

unsigned long FromDoubleC(Run& run)
{
    unsigned long sum = 0;
    double number = 1234.5678;
    for (long i = run.n; i > 0; --i) {
        Keep(number);
        wchar_t buffer[40];
        const int length = ::_snwprintf(buffer, 40, L"%.15g", number);
        sum += Sum(buffer, static_cast<size_t>(length));
    }
    return sum;
}

unsigned long ToDoubleOurs(Run& run)
{
    static const SString text(L"1234.5678");
    double sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += Hidden(&text)->ToDouble();
    return static_cast<unsigned long>(sum * 8);
}

unsigned long ToDoubleC(Run& run)
{
    double sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += std::wcstod(Hidden(L"1234.5678"), nullptr);
    return static_cast<unsigned long>(sum * 8);
}

// ---- Parts ----

unsigned long UpperOurs(Run& run)
{
    static const SString source(Text<300>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text(source);
        text.ToUpper();
        sum += SumOf(text);
    }
    return sum;
}

unsigned long UpperSystem(Run& run)
{
    const wchar_t* const source = Text<300>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        wchar_t buffer[300];
        ::LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, source, 300, buffer, 300);
        sum += Sum(buffer, 300);
    }
    return sum;
}

unsigned long MidOurs(Run& run)
{
    static const SString source(Text<300>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += SumOf(Hidden(&source)->Mid(20, 20));
    return sum;
}

unsigned long MidStd(Run& run)
{
    static const std::wstring source(Text<300>());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += SumOf(Hidden(&source)->substr(20, 20));
    return sum;
}

const wchar_t kBlanks[] = L"      a text of thirty letters       ";

unsigned long TrimOurs(Run& run)
{
    static const SString source(kBlanks);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SString text(source);
        text.Trim();
        sum += SumOf(text);
    }
    return sum;
}

unsigned long TrimStd(Run& run)
{
    static const std::wstring source(kBlanks);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::wstring text(source);
        text.erase(text.find_last_not_of(L' ') + 1);
        text.erase(0, text.find_first_not_of(L' '));
        sum += SumOf(text);
    }
    return sum;
}

constexpr Unit kOnce = Nanoseconds(1);

template <int length>
Row MakeRow(const char* key, double goal)
{
    return {
        key, kOnce, AtMost(goal), Make<SString, length>, { { "std::wstring", Make<std::wstring, length> } }
    };
}

template <int length>
Row CopyRow(const char* key, double goal)
{
    return {
        key, kOnce, AtMost(goal), Copy<SString, length>, { { "std::wstring", Copy<std::wstring, length> } }
    };
}

template <int length>
Row CountedRow(const char* key)
{
    return { key, kOnce, AtMost(1.3), Copy<SString, length>, { { "std::shared_ptr", CopyShared<length> } } };
}

template <int length>
Row CompareRow(const char* key, double goal)
{
    return { key,
             kOnce,
             AtMost(goal),
             CompareOurs<length>,
             { { "std::wstring", CompareStd<length> }, { "memcmp", CompareBytes<length> } } };
}

template <int length, bool accents = false>
Row NoCaseRow(const char* key, double goal)
{
    return { key,
             kOnce,
             AtMost(goal),
             NoCaseOurs<length, accents>,
             { { "CompareStringOrdinal", NoCaseOrdinal<length, accents> } } };
}

template <int length, bool equal>
Row CollateRow(const char* key, double goal)
{
    return { key,
             kOnce,
             AtMost(goal),
             CollateOurs<length, equal>,
             { { "CompareStringW", CollateSystem<length, equal> } } };
}

template <int length, bool common>
Row FindRow(const char* key, double goal)
{
    return { key,
             kOnce,
             AtMost(goal),
             FindOurs<length, common>,
             { { "std::wstring", FindStd<length, common> }, { "wcsstr", FindC<length, common> } } };
}

const Row kRows[] = {
    MakeRow<5>("str.make.5", 0.8),
    MakeRow<16>("str.make.16", 0.10),
    MakeRow<300>("str.make.300", 0.14),
    MakeRow<3000>("str.make.3000", 0.30),
    CopyRow<5>("str.copy.5", 0.6),
    CountedRow<5>("str.copy.5.counted"),
    CopyRow<16>("str.copy.16", 0.06),
    CountedRow<16>("str.copy.16.counted"),
    CopyRow<300>("str.copy.300", 0.05),
    CountedRow<300>("str.copy.300.counted"),
    CopyRow<3000>("str.copy.3000", 0.03),
    CountedRow<3000>("str.copy.3000.counted"),
    { "str.append.char",
      Nanoseconds(kAppended),
      AtMost(0.6),
      AppendChars<SString>,
      { { "std::wstring", AppendChars<std::wstring> } } },
    { "str.append.16",
      Nanoseconds(kPieces),
      AtMost(0.6),
      AppendPieces<SString, kPieces>,
      { { "std::wstring", AppendPieces<std::wstring, kPieces> } } },
    { "str.append.100k",
      Nanoseconds(kManyPieces),
      AtMost(0.5),
      AppendPieces<SString, kManyPieces>,
      { { "std::wstring", AppendPieces<std::wstring, kManyPieces> } } },
    { "str.concat", kOnce, AtMost(0.2), Concat<SString>, { { "std::wstring", Concat<std::wstring> } } },
    CompareRow<5>("str.compare.5", 0.7),
    CompareRow<16>("str.compare.16", 0.5),
    CompareRow<300>("str.compare.300", 0.33),
    CompareRow<3000>("str.compare.3000", 0.30),
    NoCaseRow<5>("str.nocase.5", 0.5),
    NoCaseRow<16>("str.nocase.16", 0.15),
    NoCaseRow<300>("str.nocase.300", 0.07),
    NoCaseRow<3000>("str.nocase.3000", 0.06),
    NoCaseRow<300, true>("str.nocase.300.accents", 0.35),
    CollateRow<16, false>("str.collate.16", 1.03),
    CollateRow<16, true>("str.collate.16.equal", 0.05),
    CollateRow<300, false>("str.collate.300", 1.03),
    CollateRow<300, true>("str.collate.300.equal", 0.05),
    FindRow<64, false>("str.find.64", 0.65),
    FindRow<10000, false>("str.find.10k", 0.30),
    FindRow<10000, true>("str.find.10k.common", 0.28),
    { "str.findchar.10k",
      kOnce,
      AtMost(0.14),
      FindCharOurs,
      { { "wcschr", FindCharC }, { "std::wstring", FindCharStd } } },
    { "str.findnocase.10k",
      kOnce,
      AtMost(0.07),
      FindNoCaseOurs,
      { { "upper-case copy + find", FindNoCaseUpper }, { "FindStringOrdinal", FindNoCaseOrdinal } } },
    { "str.replace.10k", kOnce, AtMost(0.55), ReplaceOurs, { { "reserved std::wstring", ReplaceStd } } },
    { "str.replchar.10k", kOnce, AtMost(0.10), ReplaceCharOurs, { { "std::replace_copy", ReplaceCharStd } } },
    { "str.format", kOnce, AtMost(1.1), FormatOurs, { { "_snwprintf", FormatC } } },
    { "str.format.int",
      kOnce,
      AtMost(0.8),
      FormatIntOurs,
      { { "wsprintfW", FormatIntSystem }, { "_snwprintf", FormatIntC } } },
    { "str.fromint", kOnce, AtMost(0.2), FromIntOurs, { { "std::to_wstring", FromIntStd } } },
    { "str.toint", kOnce, AtMost(0.15), ToIntOurs, { { "wcstol", ToIntC } } },
    { "str.fromdouble", kOnce, AtMost(0.4), FromDoubleOurs, { { "_snwprintf", FromDoubleC } } },
    { "str.todouble", kOnce, AtMost(0.12), ToDoubleOurs, { { "wcstod", ToDoubleC } } },
    { "str.upper.300", kOnce, AtMost(0.08), UpperOurs, { { "LCMapStringW", UpperSystem } } },
    { "str.mid", kOnce, AtMost(0.2), MidOurs, { { "std::wstring", MidStd } } },
    { "str.trim", kOnce, AtMost(0.15), TrimOurs, { { "std::wstring", TrimStd } } },
};

} // namespace

extern const Subject kStrings;
const Subject kStrings = { "strings", [](Bench& bench) { bench.Compare(kRows); } };
