// Maps, tables, lists of texts, symbols and the pools below them without memory.
#include "sdlist.h"
#include "smap.h"
#include "strmap.h"
#include "strtab.h"
#include "strtrans.h"
#include "symtab.h"
#include "tablemem.h"

#include "hard/allocwalk.h"

namespace {

template <class Map>
std::wstring PairsOf(const Map& map)
{
    std::wstring text;
    for (const auto& pair : map)
        text += Wide(pair.key) + L'=' + Wide(pair.value) + L';';
    return text;
}

// ---- Maps ----

template <class Map>
struct Maps {
    Map map, sharer;
    SString list = L"old", key = Long(L'k');

    Maps()
    {
        for (const wchar_t* each : { L"k1", L"k2", L"k3" })
            map.Set(each, L"old");
        sharer = map;
    }
    std::wstring Look() const { return PairsOf(map) + L'|' + PairsOf(sharer) + L'|' + Wide(list); }
};

template <class Map>
int AddMaps(const char* name)
{
    typedef Maps<Map> M;
    static const Row<M> kRows[] = {
        { "__STree::AddCopy __STree::BuyEntry __STree::LinkEntry __STree::InsertFixup SEntryPool",
          [](M& m) { return m.map.Set(Long(L'n'), Long(L'v')); } },
        { "__STree::operator= __STree::CloneEntry __STree::FreeEntries __STree::SwapTrees",
          [](M& m) {
              Map copy(m.map);
              copy.Set(L"k2", Long(L'n'));
              return m.map = copy, true;
          } },
        { "__STree::RemoveEntry __STree::Unlink",
          [](M& m) { return m.map.Set(m.key, Long(L'g')) && m.map.Remove(m.key); } },
        // The key may be in the map before its text could be stored.
        { "SStringMapDetail::ReadList",
          [](M& m) { return m.map.AddFromList(L"x=1;" + m.key + L"=2;z=3", L";", L'\\') == 3; }, kKeepsSome },
        { "SStringMapDetail::AppendToList",
          [](M& m) { return m.list = m.map.GetAsList(Long(L';'), L"\\"), true; } },
    };
    return AddRows(name, kRows);
}

// ---- Tables ----

struct Tables {
    STable<int> numbers;
    STable<SString> texts{ Long(L'a'), Long(L'b') };
    STable<int> sharedNumbers;
    STable<SString> sharedTexts;

    Tables()
    {
        for (int i = 0; i < 17; ++i)
            numbers.Add(i);
        sharedNumbers = numbers;
        sharedTexts = texts;
    }
    std::wstring Look() const
    {
        std::wstring look;
        for (const STable<int>* table : { &numbers, &sharedNumbers }) {
            for (int i = 0; i < table->Count(); ++i)
                look += std::to_wstring((*table)[i]) + L',';
        }
        for (const STable<SString>* table : { &texts, &sharedTexts }) {
            for (const SString& text : *table)
                look += Wide(text) + L';';
        }
        return look;
    }
};

const Row<Tables> kTables[] = {
    { "__STableDumb::NewAt __STableDumb::AllocData", [](Tables& t) { return t.numbers.Add(17) == 17; } },
    { "__STableDumb::Insert", [](Tables& t) { return t.numbers.Insert(3, 33), true; } },
    { "__STableDumb::Remove", [](Tables& t) { return t.numbers.Remove(3); } },
    { "__STableDumb::MoveTo", [](Tables& t) { return t.numbers.MoveTo(1, 5); } },
    { "__STableDumb::Swap", [](Tables& t) { return t.numbers.Swap(1, 5); } },
    { "__STableDumb::Reverse", [](Tables& t) { return t.numbers.Reverse(), true; } },
    { "__STableDumb::GrowTo", [](Tables& t) { return t.numbers.GrowTo(100), true; } },
    { "__STableDumb::GetAt", [](Tables& t) { return t.numbers[2] = 22, true; } },
    { "__STableMem::NewAt __STableMem::Insert __STableMem::CloseAt",
      [](Tables& t) { return t.texts.Insert(1, L"inserted"), true; } },
    { "__STableMem::Remove", [](Tables& t) { return t.texts.Remove(0); } },
    { "__STableMem::MoveTo", [](Tables& t) { return t.texts.MoveTo(1, 0); } },
    { "__STableMem::Swap", [](Tables& t) { return t.texts.Swap(0, 1); } },
    { "__STableMem::Reverse", [](Tables& t) { return t.texts.Reverse(), true; } },
    { "__STableMem::GrowTo", [](Tables& t) { return t.texts.GrowTo(100), true; } },
    { "__STableMem::GetAt __STableMem::FreeData", [](Tables& t) { return t.texts[0] += L"x", true; } },
};

struct Dumb {
    __STableDumb table{ 4 };

    Dumb() { *static_cast<int*>(table.NewAt(0)) = 7; }
    std::wstring Look() const
    {
        std::wstring look;
        for (int i = 0; i < table.Count(); ++i)
            look += std::to_wstring(*static_cast<const int*>(table.GetAt(i))) + L',';
        return look;
    }
};

const int kFour[] = { 1, 2, 3, 4 };

// Counts what lives, as a table of objects does.
struct Elements : __STable {
    explicit Elements(int capacity = 0) : __STable(sizeof(int), capacity, 4) {}
    ~Elements() override { FreeData(); }
    void Destroy(void*) noexcept override {}
    void Allocate(void* where, const void* from) override
    {
        *static_cast<int*>(where) = *static_cast<const int*>(from);
    }
};

struct Objects {
    Elements table;

    Objects() { table.Insert(0, kFour); }
    std::wstring Look() const { return std::to_wstring(table.Count()); }
};

const Row<Dumb> kDumb[] = {
    { "__STableDumb::CopyArray", [](Dumb& d) { return d.table.CopyArray(kFour, 4), true; } },
};

const Row<Objects> kObjects[] = {
    { "__STableMem::CopyArray", [](Objects& o) { return o.table.CopyArray(kFour, 4), true; } },
    { "__STable::__STable",
      [](Objects& o) {
          Elements roomy(10);
          roomy.Insert(0, kFour);
          roomy.Insert(0, kFour);
          return o.table.CopyArray(roomy.GetAt(0), 2), true;
      } },
};

// ---- Lists of texts ----

struct Lists {
    SStringTable table{ Long(L'b'), L"a1", L"A2" }, sharer = table;
    SString text = L"old";

    std::wstring Look() const
    {
        std::wstring look = Wide(text) + L'|';
        for (const SStringTable* each : { &table, &sharer }) {
            for (const SString& item : *each)
                look += Wide(item) + L';';
        }
        return look;
    }
};

const wchar_t* const kTexts[] = { L"x", L"y", nullptr };

const Row<Lists> kLists[] = {
    { "SStringTable::SStringTable", [](Lists& l) { return l.table = SStringTable(100, 10), true; } },
    { "SStringTable::operator=", [](Lists& l) { return l.table = kTexts, true; } },
    { "SStringTable::operator+=", [](Lists& l) { return l.table += l.table, true; },
      kKeepsSome }, // adds one by one
    // What was added before stays.
    { "SStringTable::AddFromList", [](Lists& l) { return l.table.AddFromList(L"x;y;z", L";", L'\\'), true; },
      kKeepsSome },
    { "SStringTable::SetFromList",
      [](Lists& l) { return l.table.SetFromList(Long(L'n') + L";z", L";", L'\\'), true; },
      kKeepsSome }, // as AddFromList
    { "SStringTable::GetAsList", [](Lists& l) { return l.text = l.table.GetAsList(L"b", L"\\"), true; } },
    { "SStringTable::Format", [](Lists& l) { return l.text = l.table.Format(L"(", L",", L")"), true; } },
    { "SStringTable::Sort", [](Lists& l) { return l.table.Sort(), true; } },
    { "SStringTable::SortNoCase", [](Lists& l) { return l.table.SortNoCase(0), true; } },
    { "SStringTable::SortOnLength", [](Lists& l) { return l.table.SortOnLength(), true; } },
    { "SStringTable::SortNumbered", [](Lists& l) { return l.table.SortNumbered(), true; } },
    { "SStringTable::SortNumberedNoCase", [](Lists& l) { return l.table.SortNumberedNoCase(), true; } },
};

// ---- Symbols ----

struct Symbols {
    SSymbolTable symbols;
    SStringTranslator translator;
    SString name = Long(L'n'), out = L"old";

    Symbols()
    {
        symbols.Set(L"NAME", 1, Long(L'v'));
        translator.SetSymbolTable(&symbols);
    }
    std::wstring Look() const
    {
        const SSymbol* found = symbols.Find(name, 1);
        return std::to_wstring(symbols.Count()) + L'|' + (found ? Wide(found->value) : L"-") + L'|' +
               Wide(out);
    }
};

struct Translator : SStringTranslator {
    using SStringTranslator::AppendText;
    using SStringTranslator::CopyText;
};

const Row<Symbols> kSymbols[] = {
    { "SSymbolTable::Set", [](Symbols& s) { return s.symbols.Set(s.name, 1, Long(L'x')); } },
    { "SStringTranslator::Translate SStringTranslator::ReplaceVariable SStringTranslator::LookupVariable "
      "SStringTranslator::FormatOptions SStringTranslator::GetOptions",
      [](Symbols& s) {
          int status = 0;
          s.out = s.translator.Translate(L"<%-20uq:NAME%> and %NAME%", status, 1);
          return status == 1;
      } },
    { "SStringTranslator::ChangeDelimiter",
      [](Symbols& s) { return s.translator.ChangeDelimiter(Long(L'<'), Long(L'>')), true; } },
    { "SStringTranslator::CopyText",
      [](Symbols& s) { return Translator().CopyText(s.out, s.name.begin(), s.name.end()), true; } },
    { "SStringTranslator::AppendText",
      [](Symbols& s) { return Translator().AppendText(s.out, s.name), true; } },
};

// ---- Pools ----

struct Pools {
    SFixedAlloc pool{ 64, 4, L"Walked" };
    SIdleConsumerList list;
    std::wstring Look() const { return std::to_wstring(pool.InUse()) + L'/' + std::to_wstring(list.Count()); }
};

const Row<Pools> kPools[] = {
    { "SFixedAlloc::AddChunk SFixedAlloc::AllocFromNewChunk SPlex::TryCreate",
      [](Pools& p) { return p.pool.Alloc() != nullptr; } },
    { "SPlex::Create",
      [](Pools&) {
          SPlex* head = nullptr;
          SPlex::Create(head, 4, 16);
          return SPlex::FreeChain(head), true;
      } },
    { "SIdleConsumerList::Add SIdleConsumer::SIdleConsumer SFixedAlloc::SFixedAlloc",
      [](Pools& p) {
          const SFixedAlloc one(8, 1, nullptr, &p.list), two(8, 1, nullptr, &p.list);
          return p.list.Count() == 2;
      } },
    { "SFixedAlloc::LockBadBlockAndRepairFreeList",
      [](Pools& p) {
          void* block = p.pool.Alloc();
          const int locked = p.pool.LockBadBlockAndRepairFreeList(block);
          p.pool.FreeAll();
          return locked == 1;
      } },
};

const int g_rows = AddMaps<SStringMap>("SortedMap") + AddMaps<SStringMapNoCase>("SortedMapNoCase") +
                   AddMaps<SStringUnsortedMap>("UnsortedMap") +
                   AddMaps<SStringUnsortedMapNoCase>("UnsortedMapNoCase") + AddRows("Tables", kTables) +
                   AddRows("Dumb", kDumb) + AddRows("Objects", kObjects) + AddRows("Lists", kLists) +
                   AddRows("Symbols", kSymbols) + AddRows("Pools", kPools);

} // namespace
