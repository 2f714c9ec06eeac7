// memory.cpp: bytes that one thing takes in the heap, with the heap's own overhead and the object that refers to them.
#include "bench.h"

#include "shglobal.h"
#include "smap.h"
#include "strclss.h"
#include "tablemem.h"

#include <map>
#include <string>
#include <vector>

namespace {

const long kCount = 10000;

template <class String, int length>
std::shared_ptr<void> Strings(long count)
{
    const std::wstring text = Letters(length);
    auto made = std::make_shared<std::vector<String>>();
    made->reserve(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i)
        made->push_back(String(text.c_str()));
    return made;
}

template <class Map>
std::shared_ptr<void> IntEntries(long count)
{
    auto made = std::make_shared<Map>();
    for (long i = 0; i < count; ++i)
        (*made)[static_cast<int>(i)] = 1;
    return made;
}

const wchar_t kShort[] = L"a value", kLonger[] = L"another value";

template <class Map, const wchar_t* value>
std::shared_ptr<void> TextEntries(long count)
{
    auto made = std::make_shared<Map>();
    for (long i = 0; i < count; ++i)
        (*made)[(L"key of " + std::to_wstring(100000 + i)).c_str()] = value;
    return made;
}

const int kInArray = 100;

std::shared_ptr<void> OurArrays(long count)
{
    auto made = std::make_shared<std::vector<STable<int>>>(static_cast<size_t>(count));
    for (STable<int>& array : *made) {
        for (int i = 0; i < kInArray; ++i)
            array.Add(i);
    }
    return made;
}

std::shared_ptr<void> StdArrays(long count)
{
    auto made = std::make_shared<std::vector<std::vector<int>>>(static_cast<size_t>(count));
    for (std::vector<int>& array : *made) {
        for (int i = 0; i < kInArray; ++i)
            array.push_back(i);
    }
    return made;
}

const unsigned long kInBlob = 300;

std::shared_ptr<void> OurBlobs(long count)
{
    auto made = std::make_shared<std::vector<SBlob>>(static_cast<size_t>(count));
    for (SBlob& blob : *made)
        blob.Alloc(kInBlob);
    return made;
}

/// Shared bytes as the standard library has them.
std::shared_ptr<void> StdBlobs(long count)
{
    typedef std::shared_ptr<std::vector<unsigned char>> Shared;
    auto made = std::make_shared<std::vector<Shared>>(static_cast<size_t>(count));
    for (Shared& blob : *made)
        blob = std::make_shared<std::vector<unsigned char>>(kInBlob);
    return made;
}

template <int length>
SizeRow StringRow(const char* key)
{
    // Shorter ones fit inside the peer's object.
    return { key,
             kCount,
             length < 8 ? kNoGoal : AtMost(1.0),
             Strings<SString, length>,
             { { "std::wstring", Strings<std::wstring, length> } } };
}

const SizeRow kRows[] = {
    StringRow<5>("mem.str.5"),
    StringRow<8>("mem.str.8"),
    StringRow<12>("mem.str.12"),
    StringRow<16>("mem.str.16"),
    StringRow<24>("mem.str.24"),
    StringRow<32>("mem.str.32"),
    StringRow<50>("mem.str.50"),
    StringRow<100>("mem.str.100"),
    StringRow<300>("mem.str.300"),
    StringRow<1000>("mem.str.1000"),
    StringRow<3000>("mem.str.3000"),
    { "mem.map.int",
      kCount,
      AtMost(1.0),
      IntEntries<SMap<int, int>>,
      { { "std::map", IntEntries<std::map<int, int>> } } },
    { "mem.map.str",
      kCount,
      AtMost(1.0),
      TextEntries<SMap<SString, SString>, kLonger>,
      { { "std::map", TextEntries<std::map<std::wstring, std::wstring>, kLonger> } } },
    // Shorter values fit inside the peer's object.
    { "mem.map.str.short",
      kCount,
      kNoGoal,
      TextEntries<SMap<SString, SString>, kShort>,
      { { "std::map", TextEntries<std::map<std::wstring, std::wstring>, kShort> } } },
    { "mem.array.100", kCount, AtMost(1.0), OurArrays, { { "std::vector", StdArrays } } },
    { "mem.blob.300", kCount, AtMost(1.0), OurBlobs, { { "std::shared_ptr<std::vector>", StdBlobs } } },
};

} // namespace

extern const Subject kMemory;
const Subject kMemory = { "memory", [](Bench& bench) { bench.Weigh(kRows); } };
