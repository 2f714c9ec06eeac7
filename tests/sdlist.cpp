// The linked list, against std::list.
#include "sdlist.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <random>
#include <vector>

namespace {

struct Item : SDListItem {
    Item(int number, int sortedBy) : id(number), key(sortedBy) {}

    int id;
    int key;
};

const Item& Of(const SDListItem& item)
{
    return static_cast<const Item&>(item);
}

// Forwards and backwards the list must show these ids, and every item must know where it stands.
void Check(const SDList& list, const std::vector<int>& ids)
{
    std::vector<int> forwards, backwards;
    for (const SDListItem* item = list.GetHead(); item; item = list.GetNext(item)) {
        forwards.push_back(Of(*item).id);
        ASSERT_EQ(&list, item->List());
    }
    for (const SDListItem* item = list.GetTail(); item; item = list.GetPrev(item))
        backwards.push_back(Of(*item).id);
    std::reverse(backwards.begin(), backwards.end());
    ASSERT_EQ(ids, forwards);
    ASSERT_EQ(ids, backwards);
    ASSERT_EQ(static_cast<int>(ids.size()), list.Count());
}

std::vector<int> Ids(const std::list<int>& model)
{
    return { model.begin(), model.end() };
}

} // namespace

TEST(List, BehavesLikeTwoStandardListsWhoseItemsMoveBetweenThem)
{
    std::mt19937 random(TestSeed());
    constexpr int kItems = 30;
    std::vector<std::unique_ptr<Item>> items;
    for (int id = 0; id < kItems; ++id)
        items.push_back(std::make_unique<Item>(id, 0));
    SDList lists[2];
    std::list<int> models[2];
    const auto leave = [&](int id) {
        models[0].remove(id);
        models[1].remove(id);
    };
    for (int step = 0; step < 5000; ++step) {
        const size_t which = random() % 2;
        SDList& list = lists[which];
        std::list<int>& model = models[which];
        const int id = static_cast<int>(random() % kItems);
        const int other = static_cast<int>(random() % kItems);
        Item* item = items[static_cast<size_t>(id)].get();
        Item* where = items[static_cast<size_t>(other)].get();
        const bool isHere = std::find(model.begin(), model.end(), id) != model.end();
        const bool whereIsHere = std::find(model.begin(), model.end(), other) != model.end();
        switch (random() % 16) {
        case 0:
        case 1:
        case 2:
            ASSERT_TRUE(list.AddHead(item));
            leave(id);
            model.push_front(id);
            break;
        case 3:
        case 4:
        case 5:
            ASSERT_TRUE(list.AddTail(item));
            leave(id);
            model.push_back(id);
            break;
        case 6:
        case 7:
        case 8:
        case 9: {
            const bool before = random() % 2;
            ASSERT_EQ(whereIsHere, before ? list.InsertBefore(item, where) : list.InsertAfter(item, where));
            if (whereIsHere && id != other) {
                leave(id);
                auto at = std::find(model.begin(), model.end(), other);
                model.insert(before ? at : std::next(at), id);
            }
            break;
        }
        case 10:
        case 11:
        case 12:
            ASSERT_EQ(isHere, list.Remove(item));
            model.remove(id);
            break;
        case 13: {
            const SDListItem* head = list.RemoveHead();
            const SDListItem* tail = list.RemoveTail();
            ASSERT_EQ(model.empty(), head == nullptr);
            ASSERT_EQ(model.size() < 2, tail == nullptr);
            if (head)
                model.pop_front();
            if (tail)
                model.pop_back();
            break;
        }
        case 14:
            items[static_cast<size_t>(id)] =
                std::make_unique<Item>(id, 0); // the old one is destroyed where it stands
            leave(id);
            break;
        default:
            if (step % 3) {
                list.TakeAll(lists[random() % 2 ? which : 1 - which]);
                if (list.Count() != static_cast<int>(model.size()))
                    model.splice(model.end(), models[1 - which]);
            } else if (step % 5 == 0) {
                list.RemoveAll();
                model.clear();
            }
        }
        for (size_t i = 0; i < 2; ++i)
            Check(lists[i], Ids(models[i]));
        if (HasFatalFailure())
            return;
    }
}

TEST(List, ForeignItemsAndNullAreRefused)
{
    SDList list, other;
    Item mine(1, 0), foreign(2, 0), loose(3, 0);
    list.AddTail(&mine);
    other.AddTail(&foreign);
    EXPECT_FALSE(list.AddHead(nullptr));
    EXPECT_FALSE(list.AddTail(nullptr));
    EXPECT_FALSE(list.InsertBefore(&loose, nullptr));
    EXPECT_FALSE(list.InsertAfter(&loose, &foreign));
    EXPECT_FALSE(list.InsertBefore(nullptr, &mine));
    EXPECT_FALSE(list.Remove(&foreign));
    EXPECT_FALSE(list.Remove(&loose));
    EXPECT_FALSE(list.Remove(nullptr));
    EXPECT_EQ(nullptr, list.GetNext(&foreign));
    EXPECT_EQ(nullptr, list.GetPrev(nullptr));
    Check(list, { 1 });
    Check(other, { 2 });
}

TEST(List, AnItemOutlivesItsList)
{
    Item item(1, 0);
    {
        SDList list;
        list.AddTail(&item);
    }
    EXPECT_EQ(nullptr, item.List());
    SDList list;
    EXPECT_TRUE(list.AddTail(&item));
    Check(list, { 1 });
}

TEST(List, ItsIteratorsAreStandardBidirectionalIterators)
{
    typedef std::iterator_traits<SDList::iterator> Traits;
    static_assert(std::is_same<Traits::iterator_category, std::bidirectional_iterator_tag>::value, "");
    static_assert(std::is_same<Traits::reference, SDListItem&>::value, "");
    static_assert(std::is_default_constructible<SDList::iterator>::value, "");
    static_assert(std::is_convertible<SDList::iterator, SDList::const_iterator>::value, "");
    static_assert(!std::is_convertible<SDList::const_iterator, SDList::iterator>::value, "");

    SDList list;
    EXPECT_TRUE(list.begin() == list.end());
    Item first(1, 0), second(2, 0), third(3, 0);
    for (Item* item : { &first, &second, &third })
        list.AddTail(item);
    std::vector<int> ids;
    for (auto at = std::make_reverse_iterator(list.cend()); at != std::make_reverse_iterator(list.cbegin());
         ++at)
        ids.push_back(Of(*at).id);
    EXPECT_EQ((std::vector<int>{ 3, 2, 1 }), ids);
    SDList::iterator at = list.begin();
    EXPECT_EQ(&first, &*at++);
    EXPECT_EQ(&second, &*at--);
    EXPECT_EQ(&first, &*at);
    EXPECT_EQ(3, std::distance(list.begin(), list.end()));
    EXPECT_TRUE(
        std::is_partitioned(list.begin(), list.end(), [](const SDListItem& i) { return Of(i).id < 2; }));
}

// ---- Sorting ----

namespace {

struct SortWatch {
    int comparisons = 0;
    int throwAt = 0; // 0: never
};

int ByKey(const SDListItem* a, const SDListItem* b, void* context)
{
    SortWatch& watch = *static_cast<SortWatch*>(context);
    if (++watch.comparisons == watch.throwAt)
        throw watch.throwAt;
    return Of(*a).key < Of(*b).key ? -1 : Of(*a).key > Of(*b).key;
}

int AtRandom(const SDListItem*, const SDListItem*, void* context)
{
    return static_cast<int>((*static_cast<std::mt19937*>(context))() % 3) - 1;
}

struct SortedItems {
    explicit SortedItems(const std::vector<int>& keys)
    {
        for (size_t i = 0; i < keys.size(); ++i) {
            items.push_back(std::make_unique<Item>(static_cast<int>(i), keys[i]));
            list.AddTail(items.back().get());
            ids.push_back(static_cast<int>(i));
        }
        std::stable_sort(ids.begin(), ids.end(), [&](int a, int b) {
            return keys[static_cast<size_t>(a)] < keys[static_cast<size_t>(b)];
        });
    }

    std::vector<std::unique_ptr<Item>> items;
    SDList list;
    std::vector<int> ids; // as they must come
};

int CeilingOfLog2(size_t n)
{
    int log = 0;
    while ((size_t(1) << log) < n)
        ++log;
    return log;
}

void ExpectSorted(const std::vector<int>& keys)
{
    SortedItems sorted(keys);
    SortWatch watch;
    sorted.list.QuickSort(ByKey, &watch);
    Check(sorted.list, sorted.ids);
    EXPECT_LE(watch.comparisons, static_cast<int>(keys.size()) * CeilingOfLog2(keys.size()));
}

} // namespace

TEST(ListSort, IsStableAndKeepsItsBoundWhateverTheOrderWas)
{
    std::mt19937 random(TestSeed());
    for (size_t n = 0; n < 200; ++n) {
        SCOPED_TRACE(n);
        std::vector<int> keys(n);
        ExpectSorted(keys);
        for (int& key : keys)
            key = static_cast<int>(random() % (n / 3 + 1));
        ExpectSorted(keys);
        std::sort(keys.begin(), keys.end());
        ExpectSorted(keys);
        std::reverse(keys.begin(), keys.end());
        ExpectSorted(keys);
    }
    std::vector<int> keys(200003);
    for (int& key : keys)
        key = static_cast<int>(random() % 50000);
    ExpectSorted(keys);
}

TEST(ListSort, AComparisonThatThrowsLeavesAllItemsInASoundList)
{
    std::mt19937 random(TestSeed());
    std::vector<int> keys(37);
    for (int& key : keys)
        key = static_cast<int>(random() % 20);
    int throws = 0;
    for (bool thrown = true; thrown;) {
        SortedItems sorted(keys);
        SortWatch watch;
        watch.throwAt = ++throws;
        thrown = false;
        try {
            sorted.list.QuickSort(ByKey, &watch);
        }
        catch (int) {
            thrown = true;
        }
        std::vector<int> left, all(keys.size());
        for (const SDListItem& item : sorted.list)
            left.push_back(Of(item).id);
        Check(sorted.list, left);
        if (HasFatalFailure())
            return;
        std::sort(left.begin(), left.end());
        for (size_t i = 0; i < all.size(); ++i)
            all[i] = static_cast<int>(i);
        ASSERT_EQ(all, left) << "thrown at comparison " << throws;
    }
    EXPECT_GT(throws, static_cast<int>(keys.size()));
}

TEST(ListSort, AComparisonThatContradictsItselfLosesNothing)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 100; ++round) {
        SortedItems sorted(std::vector<int>(static_cast<size_t>(round)));
        sorted.list.QuickSort(AtRandom, &random);
        std::vector<int> left;
        for (const SDListItem& item : sorted.list)
            left.push_back(Of(item).id);
        Check(sorted.list, left);
        ASSERT_TRUE(std::is_permutation(left.begin(), left.end(), sorted.ids.begin(), sorted.ids.end()));
    }
}
