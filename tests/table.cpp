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

int ValueOf(int element) { return element; }
int ValueOf(const Probe& element) { return element.value; }
int ValueOf(const SString& element) { return element.ToLONG(); }
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
    void Allocate(void* where, const void* from) override { ::new (where) Probe(*static_cast<const Probe*>(from)); }
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

} // namespace

S_RELOCATABLE(Probe);

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
typedef testing::Types<EngineTable<Dumb<1>, Pattern<1>>, EngineTable<Dumb<4>, Pattern<4>>, EngineTable<Dumb<7>, Pattern<7>>,
                       EngineTable<Dumb<300>, Pattern<300>>, EngineTable<Probes, Probe>, TypedTable<int>,
                       TypedTable<Pattern<24>>, TypedTable<Probe>, TypedTable<SString>>
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
        for (int step = 0; step < 4000; ++step) {
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
                table = tables[random() % kTables == which ? which : (which + 1) % kTables];
                model = models[&table == &tables[which] && table.Count() == count ? which : which];
                model.clear();
                for (int k = 0; k < table.Count(); ++k)
                    model.push_back(table.At(k));
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
