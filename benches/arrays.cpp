// arrays.cpp: STable and SStringTable beside std::vector and Boost's.
#include "bench.h"

#include "strtab.h"
#include "tablemem.h"

#include <boost/container/vector.hpp>

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace {

typedef STable<int> OurInts;
typedef std::vector<int> StdInts;
typedef boost::container::vector<int> BoostInts;

// ---- What the arrays call alike ----

template <class Array, class Value>
void Add(Array& array, const Value& value)
{
    array.push_back(value);
}
void Add(OurInts& array, int value)
{
    array.Add(value);
}
void Add(STable<SString>& array, const SString& value)
{
    array.Add(value);
}

template <class Array>
size_t Count(const Array& array)
{
    return array.size();
}
size_t Count(const OurInts& array)
{
    return static_cast<size_t>(array.Count());
}
size_t Count(const STable<SString>& array)
{
    return static_cast<size_t>(array.Count());
}

template <class Array>
void PushFront(Array& array, int value)
{
    array.insert(array.begin(), value);
}
void PushFront(OurInts& array, int value)
{
    array.Insert(0, value);
}
template <class Array>
void PopFront(Array& array)
{
    array.erase(array.begin());
}
void PopFront(OurInts& array)
{
    array.Remove(0);
}
template <class Array>
void PopBack(Array& array)
{
    array.pop_back();
}
void PopBack(OurInts& array)
{
    array.Remove(array.Count() - 1);
}

// ---- Numbers ----

template <class Array, int count>
unsigned long Push(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        Array array;
        for (int j = 0; j < count; ++j)
            Add(array, j);
        Keep(array);
        sum += Count(array) + static_cast<unsigned long>(std::as_const(array)[count / 2]);
    }
    return sum;
}

const int kFew = 10000;

template <class Array>
Array FilledWith(int count)
{
    Array array;
    for (int i = 0; i < count; ++i)
        Add(array, i * 3);
    return array;
}

template <class Array>
unsigned long InsertFront(Run& run)
{
    Array array = FilledWith<Array>(kFew);
    for (long i = 0; i < run.n; ++i) {
        PushFront(array, static_cast<int>(i));
        PopBack(array);
    }
    return Count(array) + static_cast<unsigned long>(std::as_const(array)[1]);
}

template <class Array>
unsigned long RemoveFront(Run& run)
{
    Array array = FilledWith<Array>(kFew);
    for (long i = 0; i < run.n; ++i) {
        PopFront(array);
        Add(array, static_cast<int>(i));
    }
    return Count(array) + static_cast<unsigned long>(std::as_const(array)[1]);
}

/// In an order that the compiler does not see through.
const std::vector<int>& Places()
{
    static const std::vector<int> places = Shuffled(kFew);
    return places;
}

template <class Array, bool mayChange>
unsigned long Read(Run& run)
{
    static Array array = FilledWith<Array>(kFew);
    const std::vector<int>& places = Places();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        for (int place : places) {
            if constexpr (mayChange)
                sum += static_cast<unsigned long>(array[place]);
            else
                sum += static_cast<unsigned long>(std::as_const(array)[place]);
        }
    }
    return sum;
}

template <class Array>
unsigned long Sum(Run& run)
{
    static const Array array = FilledWith<Array>(kFew);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i)
        sum += static_cast<unsigned long>(std::accumulate(Hidden(&array)->begin(), array.end(), 0));
    return sum;
}

template <class Array>
unsigned long CopyOfArray(Run& run)
{
    static const Array array = FilledWith<Array>(1000);
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        Array copy(array);
        Keep(copy);
        sum += Count(copy);
    }
    return sum;
}

unsigned long CopyOfPointer(Run& run)
{
    static const std::shared_ptr<StdInts> array = std::make_shared<StdInts>(FilledWith<StdInts>(1000));
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::shared_ptr<StdInts> copy(array);
        Keep(copy);
        sum += Count(*copy);
    }
    return sum;
}

// ---- Texts ----

const int kTexts = 1000;

template <class String>
const std::vector<String>& Texts()
{
    static const std::vector<String> texts = [] {
        std::vector<String> made;
        for (unsigned i = 0; i < kTexts; ++i)
            made.push_back(String(Letters(12, i % 300).c_str()));
        return made;
    }();
    return texts;
}

template <class Array, class String>
unsigned long PushTexts(Run& run)
{
    const std::vector<String>& texts = Texts<String>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        Array array;
        for (const String& text : texts)
            Add(array, text);
        sum += Count(array);
    }
    return sum;
}

SStringTable OurTable()
{
    const std::vector<SString>& texts = Texts<SString>();
    return SStringTable(texts.data(), texts.data() + texts.size());
}

unsigned long SortOurs(Run& run)
{
    static const SStringTable source = OurTable();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SStringTable table(source);
        table.Sort();
        sum += std::as_const(table)[1][0] + 7u * std::as_const(table)[kTexts - 1][1];
    }
    return sum;
}

unsigned long SortStd(Run& run)
{
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::vector<std::wstring> table(Texts<std::wstring>());
        std::stable_sort(table.begin(), table.end());
        sum += table[1][0] + 7u * table[kTexts - 1][1];
    }
    return sum;
}

unsigned long JoinOurs(Run& run)
{
    static const SStringTable table = OurTable();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const SString list = table.GetAsList(L';', L'\\');
        sum += static_cast<unsigned long>(list.Length()) + list[100];
    }
    return sum;
}

/// With the same care for separators inside the texts.
std::wstring Joined()
{
    std::wstring list;
    for (const std::wstring& text : Texts<std::wstring>()) {
        if (!list.empty())
            list += L';';
        for (wchar_t c : text) {
            if (c == L';' || c == L'\\')
                list += L'\\';
            list += c;
        }
    }
    return list;
}

unsigned long JoinStd(Run& run)
{
    Texts<std::wstring>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        const std::wstring list = Joined();
        sum += static_cast<unsigned long>(list.size()) + list[100];
    }
    return sum;
}

unsigned long SplitOurs(Run& run)
{
    static const SString list(Joined().c_str());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        SStringTable table;
        table.AddFromList(list, L";", L'\\');
        sum += static_cast<unsigned long>(table.Count()) + std::as_const(table)[500][3];
    }
    return sum;
}

unsigned long SplitStd(Run& run)
{
    static const std::wstring list(Joined());
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        std::vector<std::wstring> table;
        std::wstring item;
        for (size_t at = 0; at < list.size(); ++at) {
            if (list[at] == L';') {
                table.push_back(item);
                item.clear();
            } else {
                if (list[at] == L'\\' && at + 1 < list.size())
                    ++at;
                item += list[at];
            }
        }
        table.push_back(item);
        sum += static_cast<unsigned long>(table.size()) + table[500][3];
    }
    return sum;
}

const Row kRows[] = {
    { "arr.push.1M",
      Nanoseconds(1000000),
      AtMost(1.0),
      Push<OurInts, 1000000>,
      { { "std::vector", Push<StdInts, 1000000> },
        { "boost::container::vector", Push<BoostInts, 1000000> } } },
    { "arr.push.100",
      Nanoseconds(100),
      AtMost(0.8),
      Push<OurInts, 100>,
      { { "std::vector", Push<StdInts, 100> } } },
    { "arr.insfront.10k",
      Nanoseconds(1),
      AtMost(0.8),
      InsertFront<OurInts>,
      { { "std::vector", InsertFront<StdInts> }, { "boost::container::vector", InsertFront<BoostInts> } } },
    { "arr.remfront.10k",
      Nanoseconds(1),
      AtMost(0.8),
      RemoveFront<OurInts>,
      { { "std::vector", RemoveFront<StdInts> }, { "boost::container::vector", RemoveFront<BoostInts> } } },
    { "arr.read",
      Nanoseconds(kFew),
      AtMost(1.0),
      Read<OurInts, false>,
      { { "std::vector", Read<StdInts, false> } } },
    { "arr.read.unsharing",
      Nanoseconds(kFew),
      AtMost(1.3),
      Read<OurInts, true>,
      { { "std::vector", Read<StdInts, true> } } },
    { "arr.sum", Nanoseconds(kFew), AtMost(1.0), Sum<OurInts>, { { "std::vector", Sum<StdInts> } } },
    { "arr.push.str",
      Nanoseconds(kTexts),
      AtMost(0.08),
      PushTexts<STable<SString>, SString>,
      { { "std::vector<std::wstring>", PushTexts<std::vector<std::wstring>, std::wstring> } } },
    { "arr.copy.1k",
      Nanoseconds(1),
      AtMost(0.7),
      CopyOfArray<OurInts>,
      { { "std::shared_ptr", CopyOfPointer }, { "std::vector", CopyOfArray<StdInts> } } },
    { "table.sort.1k", Nanoseconds(kTexts), AtMost(1.0), SortOurs, { { "std::stable_sort", SortStd } } },
    { "table.join.1k", Nanoseconds(kTexts), AtMost(1.0), JoinOurs, { { "std::wstring", JoinStd } } },
    { "table.split.1k",
      Nanoseconds(kTexts),
      AtMost(1.0),
      SplitOurs,
      { { "std::vector<std::wstring>", SplitStd } } },
};

} // namespace

extern const Subject kArrays;
const Subject kArrays = { "arrays", [](Bench& bench) { bench.Compare(kRows); } };
