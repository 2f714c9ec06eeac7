// The array engines and the typed tables over them, against std::vector.
#include "tablemem.h"

#include "sexcept.h"
#include "strclss.h"
#include "support/allocfail.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <malloc.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

struct CopyFailed {};

// An element whose copies are counted, and fail when asked. Its constructors and destructor must balance.
struct Probe {
    static int live;
    static int copies;
    static int copiesUntilThrow; // negative: none throws

    Probe(int number) : value(number) { ++live; }
    Probe(const Probe& other) : value(other.value)
    {
        if (copiesUntilThrow >= 0 && copiesUntilThrow-- == 0)
            throw CopyFailed();
        ++copies;
        ++live;
    }
    Probe& operator=(const Probe&) = default;
    ~Probe()
    {
        value = -1;
        --live;
    }

    int value;
};
int Probe::live = 0;
int Probe::copies = 0;
int Probe::copiesUntilThrow = -1;

// Plain elements of any size; a byte that goes astray shows.
template <size_t bytes>
struct Pattern {
    Pattern(int value = 0)
    {
        for (size_t k = 0; k < bytes; ++k)
            byte[k] = Byte(value, k);
    }
    int Value() const
    {
        for (size_t k = 1; k < bytes; ++k) {
            if (byte[k] != Byte(byte[0], k))
                return -1;
        }
        return byte[0];
    }
    static unsigned char Byte(int value, size_t k) { return static_cast<unsigned char>(value + 7 * k); }

    unsigned char byte[bytes];
};

int ValueOf(int element)
{
    return element;
}
int ValueOf(const Probe& element)
{
    return element.value;
}
int ValueOf(const SString& element)
{
    return element.ToLONG();
}
template <size_t bytes>
int ValueOf(const Pattern<bytes>& element)
{
    return element.Value();
}

// The second engine as a client derives from it.
class Probes : public __STableMem {
public:
    Probes() : __STableMem(sizeof(Probe)) {}
    Probes(const Probes&) = default;
    Probes(Probes&&) = default;
    Probes& operator=(const Probes&) = default;
    Probes& operator=(Probes&&) = default;
    ~Probes() override { FreeData(); }

private:
    void Destroy(void* element) noexcept override { static_cast<Probe*>(element)->~Probe(); }
    void Allocate(void* where, const void* from) override
    {
        EXPECT_NE(where, from);
        ::new (where) Probe(*static_cast<const Probe*>(from));
    }
};

// The word behind `pointers` pointers of a table, and the block that it names.
UINT_PTR WordOf(const void* table, int pointers = 0)
{
    UINT_PTR word;
    std::memcpy(&word, static_cast<const char*>(table) + pointers * sizeof(void*), sizeof word);
    return word;
}

__STableData* BlockOf(const void* table, int pointers = 0)
{
    return reinterpret_cast<__STableData*>(WordOf(table, pointers));
}

struct Branch;

} // namespace

S_RELOCATABLE(Probe);
S_RELOCATABLE(std::shared_ptr<Branch>);

namespace {

// ---- One face for both engines and the typed tables ----

template <class Engine, class T>
class EngineTable {
public:
    typedef T Element;

    int Count() const { return m_engine.Count(); }
    int Capacity() const { return m_engine.Capacity(); }
    int At(int i) const { return ValueOf(*static_cast<const T*>(m_engine.GetAt(i))); }
    void Set(int i, int value) { *static_cast<T*>(m_engine.GetAt(i)) = T(value); }
    void Insert(int i, int value)
    {
        const T element(value);
        m_engine.Insert(i, &element);
    }
    void InsertOwn(int i, int from) { m_engine.Insert(i, std::as_const(m_engine).GetAt(from)); }
    bool Remove(int i) { return m_engine.Remove(i); }
    bool MoveTo(int from, int to) { return m_engine.MoveTo(from, to); }
    bool Swap(int i, int j) { return m_engine.Swap(i, j); }
    void Reverse() { m_engine.Reverse(); }
    void GrowTo(int n) { m_engine.GrowTo(n); }
    void CopyOwnTail(int from) { m_engine.CopyArray(std::as_const(m_engine).GetAt(from), Count() - from); }
    void Clear() { m_engine.FreeData(); }

private:
    Engine m_engine;
};

template <size_t bytes>
struct Dumb : __STableDumb {
    Dumb() : __STableDumb(bytes) {}
};

template <class T>
class TypedTable {
public:
    typedef T Element;

    int Count() const { return m_table.Count(); }
    int Capacity() const { return m_table.Capacity(); }
    int At(int i) const { return ValueOf(m_table[i]); }
    void Set(int i, int value) { m_table[i] = Make(value); }
    void Insert(int i, int value)
    {
        if (i == Count())
            EXPECT_EQ(i, m_table.Add(Make(value)));
        else
            m_table.Insert(i, Make(value));
    }
    void InsertOwn(int i, int from)
    {
        if (i == Count())
            m_table.Add(std::as_const(m_table)[from]);
        else
            m_table.Insert(i, std::as_const(m_table)[from]);
    }
    bool Remove(int i) { return m_table.Remove(i); }
    bool MoveTo(int from, int to) { return m_table.MoveTo(from, to); }
    bool Swap(int i, int j) { return m_table.Swap(i, j); }
    void Reverse() { m_table.Reverse(); }
    void GrowTo(int n) { m_table.GrowTo(n); }
    void CopyOwnTail(int from)
    {
        while (from-- > 0)
            m_table.Remove(0);
    }
    void Clear() { m_table.Clear(); }

private:
    static T Make(int value) { return T(value); }

    STable<T> m_table;
};

template <class Table>
class TableTest : public testing::Test {};
typedef testing::Types<EngineTable<Dumb<1>, Pattern<1>>, EngineTable<Dumb<4>, Pattern<4>>,
                       EngineTable<Dumb<7>, Pattern<7>>, EngineTable<Dumb<300>, Pattern<300>>,
                       EngineTable<Probes, Probe>, TypedTable<int>, TypedTable<Pattern<24>>,
                       TypedTable<Probe>, TypedTable<SString>>
    Tables;
TYPED_TEST_SUITE(TableTest, Tables, );

} // namespace

TYPED_TEST(TableTest, BehavesLikeAVectorAlsoWhileTablesShareElements)
{
    std::mt19937 random(TestSeed());
    const int live = Probe::live;
    {
        constexpr size_t kTables = 3;
        TypeParam tables[kTables];
        std::vector<int> models[kTables];
        for (int step = 0; step < 2500; ++step) {
            const size_t which = random() % kTables;
            TypeParam& table = tables[which];
            std::vector<int>& model = models[which];
            const int count = static_cast<int>(model.size());
            const int place = static_cast<int>(random() % static_cast<unsigned>(count + 1));
            const int i = count ? static_cast<int>(random() % static_cast<unsigned>(count)) : 0;
            const int j = count ? static_cast<int>(random() % static_cast<unsigned>(count)) : 0;
            const int value = static_cast<int>(random() % 256);
            const unsigned what = random() % 100;
            if (what < 30 || count == 0) {
                table.Insert(place, value);
                model.insert(model.begin() + place, value);
            } else if (what < 45) {
                table.InsertOwn(place, i);
                model.insert(model.begin() + place, int(model[static_cast<size_t>(i)]));
            } else if (what < 65) {
                EXPECT_TRUE(table.Remove(i));
                model.erase(model.begin() + i);
            } else if (what < 75) {
                EXPECT_TRUE(table.MoveTo(i, j));
                const int moved = model[static_cast<size_t>(i)];
                model.erase(model.begin() + i);
                model.insert(model.begin() + j, moved);
            } else if (what < 80) {
                EXPECT_TRUE(table.Swap(i, j));
                std::swap(model[static_cast<size_t>(i)], model[static_cast<size_t>(j)]);
            } else if (what < 85) {
                table.Set(i, value);
                model[static_cast<size_t>(i)] = value;
            } else if (what < 87) {
                table.Reverse();
                std::reverse(model.begin(), model.end());
            } else if (what < 89) {
                table.GrowTo(count + value % 9);
                EXPECT_EQ(count + value % 9, table.Capacity());
            } else if (what < 90) {
                table.CopyOwnTail(i);
                model.erase(model.begin(), model.begin() + i);
            } else if (what < 91) {
                table.Clear();
                model.clear();
            } else if (what < 97) {
                const size_t from = random() % kTables;
                table = tables[from];
                model = models[from];
            } else {
                TypeParam moved(std::move(table));
                EXPECT_EQ(0, table.Count());
                table = std::move(moved);
            }
            for (size_t t = 0; t < kTables; ++t) {
                ASSERT_EQ(static_cast<int>(models[t].size()), tables[t].Count()) << "step " << step;
                ASSERT_LE(tables[t].Count(), tables[t].Capacity());
                for (int k = 0; k < tables[t].Count(); ++k)
                    ASSERT_EQ(models[t][static_cast<size_t>(k)], tables[t].At(k)) << "step " << step;
            }
        }
    }
    EXPECT_EQ(live, Probe::live) << "elements constructed and destroyed must balance";
}

TYPED_TEST(TableTest, NamingAnElementThatIsNotThereChangesNothing)
{
    TypeParam table;
    EXPECT_FALSE(table.Remove(0)) << "without a block";
    for (int i = 0; i < 3; ++i)
        table.Insert(i, 10 + i);
    const TypeParam other(table);
    for (int i : { -1, 3, 4, INT_MIN, INT_MAX }) {
        EXPECT_FALSE(table.Remove(i));
        EXPECT_FALSE(table.MoveTo(i, 0));
        EXPECT_FALSE(table.MoveTo(0, i));
        EXPECT_FALSE(table.Swap(i, 0));
        EXPECT_FALSE(table.Swap(0, i));
    }
    EXPECT_EQ(4, table.Capacity()) << "and does not unshare";
    table.Insert(-5, 9);
    table.Insert(INT_MAX, 13);
    ASSERT_EQ(5, table.Count());
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(9 + i, table.At(i));
}

// ---- The layout that others rely on ----

namespace {

template <class Table>
void ExpectTaggedWord(Table& table, unsigned elementSize, int pointers)
{
    EXPECT_EQ(elementSize * 2 + 1, WordOf(&table, pointers));
    EXPECT_EQ(elementSize, table.ElementSize());
    EXPECT_EQ(0, table.Count());
    EXPECT_EQ(0, table.Capacity());
    EXPECT_EQ(nullptr, table.GetAt(0));
}

} // namespace

TEST(TableLayout, AnEmptyArrayIsItsTaggedElementSize)
{
    for (unsigned size : { 1u, 4u, 12u, 4096u }) {
        __STableDumb table(size);
        ExpectTaggedWord(table, size, 0);
        const std::vector<char> element(size);
        const struct {
            const char* name;
            std::function<void()> empty;
        } kWays[] = {
            { "FreeData", [&] { table.FreeData(); } },
            { "GrowTo(0)", [&] { table.GrowTo(0); } },
            { "CopyArray of nothing", [&] { table.CopyArray(element.data(), 0); } },
            { "moved from", [&] { __STableDumb taker(std::move(table)); } },
            { "unsharing without elements",
              [&] {
                  table.Remove(0);
                  const __STableDumb other(table);
                  table.Reverse();
              } },
        };
        for (const auto& way : kWays) {
            SCOPED_TRACE(way.name);
            table.Insert(0, element.data());
            way.empty();
            ExpectTaggedWord(table, size, 0);
        }
    }
    Probes probes;
    ExpectTaggedWord(probes, sizeof(Probe), 1);
    const Probe probe(1);
    probes.Insert(0, &probe);
    probes.Clear();
    ExpectTaggedWord(probes, sizeof(Probe), 1);
}

TEST(TableLayout, TheWordOfAnArrayWithElementsIsTheAddressOfItsBlock)
{
    __STableDumb table(sizeof(long));
    for (long number = 1; number <= 3; ++number)
        table.Insert(table.Count(), &number);
    const __STableDumb other(table);
    ASSERT_EQ(WordOf(&table), WordOf(&other));
    const long* block = reinterpret_cast<const long*>(WordOf(&table));
    const long expected[] = { 2, 4, 3, sizeof(long), 1, 2, 3 };
    for (size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(expected[i], block[i]) << i;

    Probes probes;
    const Probe probe(7);
    probes.Insert(0, &probe);
    EXPECT_EQ(1, BlockOf(&probes, 1)->refs);
    EXPECT_EQ(probes.GetAt(0), BlockOf(&probes, 1)->Elements());
}

TEST(TableGrowth, CapacitiesGoFromFourByHalfAndOneWhateverTheElementSize)
{
    // Sizes on both sides of every rule for how many bytes a block gets; the last ones become large blocks.
    for (unsigned size : { 1u, 3u, 4u, 8u, 16u, 17u, 300u, 5000u }) {
        SCOPED_TRACE(size);
        __STableDumb table(size);
        std::vector<unsigned char> element(size);
        int capacity = 4;
        for (int count = 0; count < (size > 100 ? 1200 : 200000); ++count) {
            if (count == capacity)
                capacity = capacity * 3 / 2 + 1;
            element[0] = element[size - 1] = static_cast<unsigned char>(count % 251);
            table.Insert(count, element.data());
            ASSERT_EQ(capacity, table.Capacity()) << count;
            if (count == capacity - 1) {
                ASSERT_LE(sizeof(__STableData) + size_t(capacity) * size, ::_msize(BlockOf(&table)));
            }
        }
        for (int i = 0; i < table.Count(); ++i) {
            const unsigned char* found = static_cast<const unsigned char*>(std::as_const(table).GetAt(i));
            ASSERT_EQ(i % 251, found[0]) << i;
            ASSERT_EQ(i % 251, found[size - 1]) << i;
        }
    }
}

TEST(TableGrowth, ElementsMoveAsBytesWithoutBeingCopied)
{
    STable<Probe> table;
    for (int i = 0; i < 100; ++i)
        table.Add(Probe(i));
    const int copies = Probe::copies;
    const int live = Probe::live;
    table.GrowTo(1000);
    table.MoveTo(5, 70);
    table.Swap(1, 2);
    table.Reverse();
    table.Remove(0);
    EXPECT_EQ(copies, Probe::copies);
    EXPECT_EQ(live - 1, Probe::live);
    table.Insert(0, Probe(1));
    EXPECT_EQ(copies + 1, Probe::copies) << "only the new one is copied";
}

// The moves go through registers of 32 bytes in blocks of 128: every length around those, every alignment of
// both ends.
TEST(TableGrowth, OpeningAndClosingASlotMovesEveryByteAtAnyLengthAndAlignment)
{
    std::mt19937 random(TestSeed());
    std::vector<unsigned char> model(2200);
    for (unsigned char& byte : model)
        byte = static_cast<unsigned char>(random());
    for (const unsigned size : { 1u, 3u, 31u, 32u, 33u, 100u, 129u }) {
        SCOPED_TRACE(size);
        __STableDumb table(size);
        const int count = static_cast<int>(model.size() / size);
        const size_t bytes = static_cast<size_t>(count) * size;
        table.CopyArray(model.data(), count);
        const std::vector<unsigned char> element(size, 0xEE);
        const int step = size == 1 ? 1 : 2;
        for (int i = 0; i < count; i += step) {
            const size_t before = static_cast<size_t>(i) * size;
            table.Insert(i, element.data());
            const unsigned char* first = static_cast<const unsigned char*>(std::as_const(table).GetAt(0));
            ASSERT_EQ(0, std::memcmp(first, model.data(), before)) << i;
            ASSERT_EQ(0, std::memcmp(first + before, element.data(), size)) << i;
            ASSERT_EQ(0, std::memcmp(first + before + size, model.data() + before, bytes - before)) << i;
            table.Remove(i);
            ASSERT_EQ(0, std::memcmp(std::as_const(table).GetAt(0), model.data(), bytes)) << i;
        }
    }
}

// ---- Copy on write ----

TEST(TableSharing, AnAccessThatMayChangeLeavesTheOtherTableItsBlock)
{
    // Five elements in a block of 11 that another table has too. What must the capacity of the private block
    // be?
    const struct {
        const char* name;
        int capacity;
        std::function<void(__STableDumb&)> apply;
    } kAccesses[] = {
        { "GetAt", 5, [](__STableDumb& t) { t.GetAt(4); } },
        { "Remove", 5, [](__STableDumb& t) { t.Remove(4); } },
        { "MoveTo", 5, [](__STableDumb& t) { t.MoveTo(0, 4); } },
        { "Swap", 5, [](__STableDumb& t) { t.Swap(0, 4); } },
        { "Reverse", 5, [](__STableDumb& t) { t.Reverse(); } },
        { "NewAt", 11, [](__STableDumb& t) { std::memset(t.NewAt(5), 0, sizeof(long)); } },
        { "Insert", 11, [](__STableDumb& t) { t.Insert(0, std::as_const(t).GetAt(4)); } },
        { "GrowTo", 20, [](__STableDumb& t) { t.GrowTo(20); } },
        { "GrowTo the same", 11, [](__STableDumb& t) { t.GrowTo(11); } },
        { "GrowTo too little", 5, [](__STableDumb& t) { t.GrowTo(2); } },
        { "GrowTo a negative", 5, [](__STableDumb& t) { t.GrowTo(-1); } },
        { "GrowTo nothing", 0, [](__STableDumb& t) { t.GrowTo(0); } },
        { "CopyArray", 3, [](__STableDumb& t) { t.CopyArray(std::as_const(t).GetAt(1), 3); } },
        { "FreeData", 0, [](__STableDumb& t) { t.FreeData(); } },
        { "assignment", 0, [](__STableDumb& t) { t = __STableDumb(4); } },
    };
    for (const auto& access : kAccesses) {
        SCOPED_TRACE(access.name);
        __STableDumb original(sizeof(long));
        for (long number = 0; number < 5; ++number)
            original.Insert(static_cast<int>(number), &number);
        original.GrowTo(11);
        const UINT_PTR word = WordOf(&original);
        __STableDumb copy(original);
        ASSERT_TRUE(copy.IsShared());
        access.apply(copy);
        EXPECT_EQ(access.capacity, copy.Capacity());
        EXPECT_EQ(word, WordOf(&original));
        EXPECT_EQ(1, BlockOf(&original)->refs);
        EXPECT_EQ(5, original.Count());
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(i, *static_cast<const long*>(std::as_const(original).GetAt(i)));
    }
}

TEST(TableSharing, AFullSharedBlockIsLeftForALargerOne)
{
    STable<int> table;
    for (int i = 0; i < 7; ++i)
        table.Add(i);
    ASSERT_EQ(7, table.Capacity());
    const STable<int> copy(table);
    table.Add(7);
    EXPECT_EQ(11, table.Capacity());
    EXPECT_EQ(7, copy.Count());
}

TEST(TableSharing, ReadingSharesOnAndWritingThroughIteratorsDoesNot)
{
    STable<int> table{ 3, 1, 2 };
    const STable<int> copy(table);
    int sum = 0;
    for (int value : std::as_const(table))
        sum += value + std::as_const(table)[0] + table.Count();
    EXPECT_EQ(3 * (3 + 3) + 6, sum);
    EXPECT_TRUE(table == copy);
    EXPECT_TRUE(copy.IsShared());
    std::sort(table.begin(), table.end());
    EXPECT_EQ((STable<int>{ 1, 2, 3 }), table);
    EXPECT_EQ((STable<int>{ 3, 1, 2 }), copy);
    EXPECT_FALSE(copy.IsShared());
}

// ---- Failures ----

namespace {

const struct {
    const char* name;
    std::function<void(Probes&)> apply;
} kCopyingAccesses[] = {
    { "GetAt", [](Probes& t) { t.GetAt(0); } },
    { "Remove", [](Probes& t) { t.Remove(2); } },
    { "Reverse", [](Probes& t) { t.Reverse(); } },
    { "Insert", [](Probes& t) { t.Insert(1, std::as_const(t).GetAt(3)); } },
    { "Insert at the end", [](Probes& t) { t.Insert(9, std::as_const(t).GetAt(0)); } },
    { "GrowTo", [](Probes& t) { t.GrowTo(50); } },
    { "CopyArray", [](Probes& t) { t.CopyArray(std::as_const(t).GetAt(1), 3); } },
};

std::vector<int> Values(const Probes& table)
{
    std::vector<int> values;
    for (int i = 0; i < table.Count(); ++i)
        values.push_back(static_cast<const Probe*>(table.GetAt(i))->value);
    return values;
}

// Four elements, in a full block or not, private or shared with `other`.
void Prepare(Probes& table, Probes& other, bool full, bool shared)
{
    table.Clear();
    other.Clear();
    for (int i = 0; i < 4; ++i) {
        const Probe probe(i);
        table.Insert(i, &probe);
    }
    table.GrowTo(full ? 4 : 8);
    if (shared)
        other = table;
}

} // namespace

TEST(TableFailures, ACopyThatThrowsLeavesTheElementsAndLosesNone)
{
    const std::vector<int> before{ 0, 1, 2, 3 };
    for (const auto& access : kCopyingAccesses) {
        for (int setting = 0; setting < 4; ++setting) {
            SCOPED_TRACE(std::string(access.name) + (setting & 1 ? ", full" : "") +
                         (setting & 2 ? ", shared" : ""));
            Probes table, other;
            int throws = 0;
            for (bool thrown = true; thrown; ++throws) {
                Prepare(table, other, setting & 1, setting & 2);
                Probe::copiesUntilThrow = throws;
                thrown = false;
                try {
                    access.apply(table);
                }
                catch (const CopyFailed&) {
                    thrown = true;
                }
                Probe::copiesUntilThrow = -1;
                if (thrown) {
                    ASSERT_EQ(before, Values(table)) << throws;
                }
                ASSERT_EQ(table.Count() + (table.IsShared() ? 0 : other.Count()), Probe::live) << throws;
                if (setting & 2) {
                    ASSERT_EQ(before, Values(other)) << throws;
                }
            }
            const bool copies = (setting & 2) || std::strncmp(access.name, "Insert", 6) == 0 ||
                                std::strcmp(access.name, "CopyArray") == 0;
            EXPECT_EQ(copies, throws > 1) << "an unshared table copies no element that it has";
        }
    }
    EXPECT_EQ(0, Probe::live);
}

TEST(TableFailures, ATypedAddOrInsertWhoseCopyThrowsLeavesTheTable)
{
    STable<Probe> table;
    for (int i = 0; i < 11; ++i) {
        const int live = Probe::live;
        const int capacity = table.Capacity();
        Probe::copiesUntilThrow = 0;
        EXPECT_THROW(table.Add(Probe(i)), CopyFailed);
        Probe::copiesUntilThrow = 0;
        EXPECT_THROW(table.Insert(0, Probe(i)), CopyFailed);
        EXPECT_EQ(live, Probe::live);
        EXPECT_EQ(i, table.Count());
        EXPECT_EQ(capacity, table.Capacity());
        table.Add(Probe(i));
    }
}

TEST(TableFailures, NoMemoryThrowsWithItsPlaceAndLeavesTheElements)
{
    for (const auto& access : kCopyingAccesses) {
        for (int setting = 0; setting < 4; ++setting) {
            SCOPED_TRACE(std::string(access.name) + (setting & 1 ? ", full" : "") +
                         (setting & 2 ? ", shared" : ""));
            Probes table, other;
            int live = 0;
            WalkAllocationFailures(
                [&] {
                    Prepare(table, other, setting & 1, setting & 2);
                    live = Probe::live;
                },
                [&] { access.apply(table); },
                [&](const AllocationTrial& trial) {
                    if (!trial.failed)
                        return;
                    EXPECT_TRUE(Threw<SEOutOfMemory>(trial, [](const SEOutOfMemory& error) {
                        EXPECT_NE(nullptr, std::wcsstr(error.GetLocation(), L"core/src/table(546)"));
                    }));
                    EXPECT_EQ(live, Probe::live);
                    EXPECT_EQ((std::vector<int>{ 0, 1, 2, 3 }), Values(table));
                });
        }
    }
    STable<SString> names;
    const SString name(L"name");
    const int points = WalkAllocationFailures(
        [&] {
            names.Clear();
            while (names.Count() < 17)
                names.Add(name);
        },
        [&] { names.Add(names[3]); },
        [&](const AllocationTrial& trial) {
            if (trial.failed) {
                EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
            }
            EXPECT_EQ(trial.failed ? 17 : 18, names.Count());
            EXPECT_EQ(name, names[16]);
        });
    EXPECT_GT(points, 0);
}

TEST(TableFailures, SizesBeyondTheAddressSpaceThrowInsteadOfWrapping)
{
    const struct {
        int count;
        unsigned elementSize;
    } kSizes[] = {
#if S_TARGET_32BIT
        { INT_MAX, 1 },       // the header goes over
        { INT_MAX, 4 },       // 2^33
        { 0x10000, 0x10000 }, // 2^32: wraps to nothing
        { 0x40000001, 4 },    // wraps to one element
        { 1551591826, 8 },    // the last capacity that growth reaches
#else
        { INT_MAX, 0x7FFFFFFF }, // no count times a size wraps, but nobody has 2^62 bytes
        { 1551591826, 0x7FFFFFFF },
#endif
    };
    for (const auto& size : kSizes) {
        SCOPED_TRACE(size.count);
        EXPECT_THROW(__STableDumb::AllocData(size.count, size.elementSize), SEOutOfMemory);
        __STableDumb table(size.elementSize);
        EXPECT_THROW(table.GrowTo(size.count), SEOutOfMemory);
        EXPECT_EQ(size.elementSize * 2 + 1, WordOf(&table));
    }
#if S_TARGET_32BIT
    __STableDumb table(0x40000000);
    EXPECT_THROW(table.NewAt(0), SEOutOfMemory);
    EXPECT_EQ(0, table.Count());
#endif
}

// ---- Typed tables ----

static_assert(!SIsRelocatable<std::wstring>::value, "it points into itself: a table of it must not compile");
static_assert(SIsRelocatable<SString>::value && SIsRelocatable<int>::value &&
                  SIsRelocatable<STable<SString>>::value,
              "");
static_assert(std::is_nothrow_move_constructible<STable<int>>::value &&
                  std::is_nothrow_move_assignable<STable<int>>::value &&
                  std::is_nothrow_move_constructible<STable<SString>>::value &&
                  std::is_nothrow_move_assignable<STable<SString>>::value &&
                  std::is_nothrow_copy_constructible<STable<SString>>::value,
              "");
static_assert(std::is_same<std::iterator_traits<STable<int>::const_iterator>::iterator_category,
                           std::random_access_iterator_tag>::value,
              "");

namespace {

// Elements of a plain type that are counted all the same, because their table's allocator says so.
struct Counting {
    static constexpr bool kPlain = false;
    static int live;

    static void Allocate(void* where, int from)
    {
        ::new (where) int(from);
        ++live;
    }
    static void Destroy(int&) noexcept { --live; }
};
int Counting::live = 0;

struct Branch {
    STable<std::shared_ptr<Branch>> below;
};

class SizedTable : public __STable {
public:
    SizedTable(int capacity, int growBy) : __STable(sizeof(Probe), capacity, growBy) {}
    ~SizedTable() override { FreeData(); }

private:
    void Destroy(void* element) noexcept override { static_cast<Probe*>(element)->~Probe(); }
    void Allocate(void* where, const void* from) override
    {
        ::new (where) Probe(*static_cast<const Probe*>(from));
    }
};

} // namespace

TEST(TypedTable, MovingAndSwappingCarryTheElementsWithoutCopies)
{
    STable<SString> names{ L"a", L"b" };
    const wchar_t* text = std::as_const(names)[1];
    STable<SString> taker(std::move(names));
    EXPECT_TRUE(names.IsEmpty());
    names.Add(L"again");
    swap(names, taker);
    EXPECT_EQ(text, static_cast<const wchar_t*>(std::as_const(names)[1]));
    names = std::move(taker);
    EXPECT_EQ((STable<SString>{ L"again" }), names);
    SString moved(L"moved");
    names.Add(std::move(moved));
    EXPECT_TRUE(moved.IsEmpty());
    const STable<SString>& self = names;
    names = self;
    EXPECT_EQ((STable<SString>{ L"again", L"moved" }), names);
}

TEST(TypedTable, ATableTakesOverOneThatItsOwnElementsHold)
{
    Branch root;
    root.below.Add(std::make_shared<Branch>());
    root.below[0]->below.Add(std::make_shared<Branch>());
    const Branch* lowest = root.below[0]->below[0].get();
    root.below = std::move(root.below[0]->below);
    ASSERT_EQ(1, root.below.Count());
    EXPECT_EQ(lowest, root.below[0].get());
    root.below = root.below[0]->below;
    EXPECT_TRUE(root.below.IsEmpty());
}

TEST(TypedTable, TablesOfTablesShareTheirInnerOnes)
{
    STable<STable<SString>> rows;
    rows.Add(STable<SString>{ L"x" });
    STable<STable<SString>> copy(rows);
    copy[0].Add(L"y");
    for (int i = 0; i < 20; ++i)
        copy.Insert(0, copy[copy.Count() - 1]);
    EXPECT_EQ(1, std::as_const(rows)[0].Count());
    EXPECT_EQ(2, std::as_const(copy)[0].Count());
    EXPECT_TRUE(std::as_const(copy)[0].IsShared());
    EXPECT_NE(rows, copy);
}

TEST(TypedTable, AnotherAllocatorMakesAndEndsEveryElement)
{
    {
        STable<int, Counting> table;
        for (int i = 0; i < 50; ++i)
            table.Add(i);
        STable<int, Counting> copy(table);
        EXPECT_EQ(50, Counting::live);
        copy.Remove(7);
        EXPECT_EQ(99, Counting::live);
        table.Clear();
        EXPECT_EQ(49, Counting::live);
    }
    EXPECT_EQ(0, Counting::live);
}

TEST(TypedTable, TheBaseTakesAnInitialCapacity)
{
    EXPECT_EQ(20, SizedTable(20, 5).Capacity());
    EXPECT_EQ(0, SizedTable(0, 5).Capacity());
    EXPECT_EQ(0, SizedTable(-3, -3).Capacity());
}
