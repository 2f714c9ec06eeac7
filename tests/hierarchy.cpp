// The hierarchy of items, against a model of child lists.
#include "hierarchy.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <vector>

namespace {

struct Node : STreeItem {
    explicit Node(int number) : id(number) { ++live; }
    ~Node() override
    {
        --live;
        ended.push_back(id);
    }

    int id;
    static int live;
    static std::vector<int> ended; // in this order
};
int Node::live = 0;
std::vector<int> Node::ended;

int IdOf(const STreeItem& item)
{
    return static_cast<const Node&>(item).id;
}

template <class Range>
std::vector<int> Ids(const Range& range)
{
    std::vector<int> ids;
    for (const STreeItem& item : range)
        ids.push_back(IdOf(item));
    return ids;
}

// The children of each item; those of 0 are the roots.
typedef std::map<int, std::vector<int>> Model;

void Walk(const Model& model, int parent, bool parentsFirst, std::vector<int>& ids)
{
    const auto children = model.find(parent);
    if (children == model.end())
        return;
    for (int id : children->second) {
        if (parentsFirst)
            ids.push_back(id);
        Walk(model, id, parentsFirst, ids);
        if (!parentsFirst)
            ids.push_back(id);
    }
}

// Every link of every item says the same as the model.
void Check(const STree& tree, const Model& model)
{
    std::vector<int> before, after;
    Walk(model, 0, true, before);
    Walk(model, 0, false, after);
    ASSERT_EQ(before, Ids(tree));
    ASSERT_EQ(after, Ids(tree.PostOrder()));
    ASSERT_EQ(static_cast<int>(before.size()), tree.Count());
    for (const STreeItem& item : tree) {
        ASSERT_EQ(&tree, item.Tree());
        const STreeItem* parent = item.Parent();
        ASSERT_EQ(!item.Prev(), &item == (parent ? parent->FirstChild() : tree.FirstRoot()));
        ASSERT_EQ(!item.Next(), &item == (parent ? parent->LastChild() : tree.LastRoot()));
        int children = 0;
        for (const STreeItem* child = item.FirstChild(); child; child = child->Next(), ++children) {
            ASSERT_EQ(&item, child->Parent());
            ASSERT_TRUE(!child->Next() || child->Next()->Prev() == child);
        }
        ASSERT_EQ(children, item.ChildCount());
    }
}

} // namespace

TEST(Hierarchy, StaysTheModelsThroughAnyEdits)
{
    std::mt19937 random(TestSeed());
    {
        STree tree;
        Model model;
        std::map<int, Node*> nodes;
        int made = 0;
        const auto pick = [&]() -> int { // 0 for none
            auto at = nodes.begin();
            std::advance(at, random() % (nodes.size() + 1));
            return at == nodes.end() ? 0 : at->first;
        };
        const auto item = [&](int id) -> Node* { return id ? nodes[id] : nullptr; };
        const auto parentOf = [&](int id) { return item(id)->Parent() ? IdOf(*item(id)->Parent()) : 0; };
        const auto placeOf = [&](int id) {
            std::vector<int>& siblings = model[parentOf(id)];
            return std::find(siblings.begin(), siblings.end(), id);
        };
        for (int step = 0; step < 3000; ++step) {
            const int id = pick(), other = pick();
            switch (random() % 10) {
            case 0:
            case 1:
            case 2:
            case 3: {
                const int fresh = ++made;
                Node* node = nodes[fresh] = new Node(fresh);
                const unsigned where = random() % 4;
                if (where == 0) {
                    ASSERT_TRUE(tree.InsertFirst(node, item(other)));
                    model[other].insert(model[other].begin(), fresh);
                } else if (where == 1 || !other) {
                    ASSERT_TRUE(tree.InsertLast(node, item(other)));
                    model[other].push_back(fresh);
                } else if (where == 2) {
                    ASSERT_TRUE(tree.InsertBefore(node, item(other)));
                    model[parentOf(other)].insert(placeOf(other), fresh);
                } else {
                    ASSERT_TRUE(tree.InsertAfter(node, item(other)));
                    model[parentOf(other)].insert(placeOf(other) + 1, fresh);
                }
                break;
            }
            case 4:
            case 5:
            case 6:
            case 7: {
                if (!id)
                    break;
                const bool below = id == other || item(id)->IsAncestorOf(item(other));
                const std::vector<int> siblings = model[other];
                const int before = siblings.empty() ? 0 : siblings[random() % siblings.size()];
                ASSERT_EQ(!below, tree.MoveTo(item(id), item(other), item(before)));
                if (!below && before != id) {
                    for (auto& list : model)
                        list.second.erase(std::remove(list.second.begin(), list.second.end(), id),
                                          list.second.end());
                    std::vector<int>& to = model[other];
                    to.insert(before ? std::find(to.begin(), to.end(), before) : to.end(), id);
                }
                break;
            }
            case 8: {
                if (!id)
                    break;
                // Out and in again as the last root, in one piece.
                const int count = tree.Count();
                const int below = static_cast<int>(Ids(item(id)->PreOrder()).size());
                model[parentOf(id)].erase(placeOf(id));
                ASSERT_TRUE(tree.Detach(item(id)));
                ASSERT_EQ(count - below, tree.Count());
                ASSERT_EQ(nullptr, item(id)->Tree());
                Check(tree, model);
                ASSERT_TRUE(tree.InsertLast(item(id)));
                model[0].push_back(id);
                break;
            }
            default: {
                if (!id || nodes.size() < 40)
                    break;
                std::vector<int> below;
                Walk(model, id, true, below);
                model[parentOf(id)].erase(placeOf(id));
                if (step & 1) {
                    ASSERT_TRUE(tree.Remove(item(id)));
                } else {
                    delete item(id);
                }
                below.push_back(id);
                for (int gone : below) {
                    nodes.erase(gone);
                    model.erase(gone);
                }
            }
            }
            Check(tree, model);
            if (HasFatalFailure())
                return;
            ASSERT_EQ(static_cast<int>(nodes.size()), Node::live);
        }
    }
    EXPECT_EQ(0, Node::live);
}

// 1 above 2 and 3, 2 above 4; 5 beside 1.
struct HierarchyOfFive : testing::Test {
    HierarchyOfFive()
    {
        for (int id = 1; id <= 5; ++id)
            node[id] = new Node(id);
        tree.InsertLast(node[1]);
        tree.InsertLast(node[2], node[1]);
        tree.InsertLast(node[3], node[1]);
        tree.InsertLast(node[4], node[2]);
        tree.InsertLast(node[5]);
        Node::ended.clear();
    }

    const Model model{ { 0, { 1, 5 } }, { 1, { 2, 3 } }, { 2, { 4 } } };
    STree tree;
    Node* node[6] = {};
};

TEST_F(HierarchyOfFive, RefusesWhatWouldBreakItAndChangesNothing)
{
    STree other;
    Node* foreign = new Node(9);
    other.InsertLast(foreign);
    Node* top = new Node(10);
    Node* hanging = new Node(11);
    other.InsertLast(top);
    other.InsertLast(hanging, top);
    other.Detach(top); // `hanging` hangs below a detached item
    Node loose(12);

    const struct {
        const char* name;
        std::function<bool()> attempt;
    } kAttempts[] = {
        { "insert null", [&] { return tree.InsertLast(nullptr); } },
        { "insert one of its own", [&] { return tree.InsertFirst(node[4]); } },
        { "insert one of another tree", [&] { return tree.InsertLast(foreign); } },
        { "insert one below a detached one", [&] { return tree.InsertLast(hanging); } },
        { "insert below one of another tree", [&] { return tree.InsertLast(&loose, foreign); } },
        { "insert below a detached one", [&] { return tree.InsertFirst(&loose, top); } },
        { "insert below itself", [&] { return tree.InsertLast(&loose, &loose); } },
        { "insert before null", [&] { return tree.InsertBefore(&loose, nullptr); } },
        { "insert behind one of another tree", [&] { return tree.InsertAfter(&loose, foreign); } },
        { "remove null", [&] { return tree.Remove(nullptr); } },
        { "remove one of another tree", [&] { return tree.Remove(foreign); } },
        { "detach a detached one", [&] { return tree.Detach(&loose); } },
        { "move null", [&] { return tree.MoveTo(nullptr, node[1]); } },
        { "move one of another tree", [&] { return tree.MoveTo(foreign, node[1]); } },
        { "move below itself", [&] { return tree.MoveTo(node[2], node[2]); } },
        { "move below its child's child", [&] { return tree.MoveTo(node[1], node[4]); } },
        { "move to another tree", [&] { return tree.MoveTo(node[3], foreign); } },
        { "move before another parent's child", [&] { return tree.MoveTo(node[3], node[2], node[5]); } },
    };
    for (const auto& attempt : kAttempts) {
        SCOPED_TRACE(attempt.name);
        EXPECT_FALSE(attempt.attempt());
        Check(tree, model);
    }
    EXPECT_EQ(1, other.Count());
    EXPECT_TRUE(tree.MoveTo(node[2], node[1], node[2])) << "it stands there already";
    Check(tree, model);
    delete top;
}

TEST_F(HierarchyOfFive, DeletesChildrenBeforeParentsAndInOrder)
{
    delete node[2];
    EXPECT_EQ((std::vector<int>{ 2, 4 }), Node::ended) << "of the one that is deleted only the base is left";
    Check(tree, { { 0, { 1, 5 } }, { 1, { 3 } } });
    Node::ended.clear();
    tree.InsertFirst(new Node(6), node[3]);
    tree.InsertLast(new Node(7), node[3]);
    tree.Clear();
    EXPECT_EQ((std::vector<int>{ 1, 6, 7, 3, 5 }), Node::ended);
    Check(tree, {});
}

TEST_F(HierarchyOfFive, ADetachedItemKeepsWhatIsBelowItAndTakesItToAnotherTree)
{
    STree other;
    ASSERT_TRUE(tree.Detach(node[2]));
    EXPECT_EQ(nullptr, node[4]->Tree());
    EXPECT_EQ(node[2], node[4]->Parent());
    EXPECT_EQ((std::vector<int>{ 4, 2 }), Ids(node[2]->PostOrder()));
    ASSERT_TRUE(other.InsertLast(node[2]));
    Check(other, { { 0, { 2 } }, { 2, { 4 } } });
    Check(tree, { { 0, { 1, 5 } }, { 1, { 3 } } });
}

TEST_F(HierarchyOfFive, AWalkOfASubtreeStopsAtItsEnd)
{
    EXPECT_EQ((std::vector<int>{ 1, 2, 4, 3 }), Ids(node[1]->PreOrder()));
    EXPECT_EQ((std::vector<int>{ 4, 2, 3, 1 }), Ids(node[1]->PostOrder()));
    EXPECT_EQ((std::vector<int>{ 4 }), Ids(node[4]->PreOrder()));
    EXPECT_EQ((std::vector<int>{ 4 }), Ids(node[4]->PostOrder()));
    EXPECT_EQ(2, node[4]->Depth());
    EXPECT_EQ(0, node[5]->Depth());
    EXPECT_TRUE(node[1]->IsAncestorOf(node[4]));
    EXPECT_FALSE(node[4]->IsAncestorOf(node[1]));
    EXPECT_FALSE(node[1]->IsAncestorOf(node[1]));
    EXPECT_FALSE(node[1]->IsAncestorOf(nullptr));
}

TEST_F(HierarchyOfFive, ItsIteratorsAreStandardForwardIterators)
{
    typedef std::iterator_traits<STree::iterator> Traits;
    static_assert(std::is_same<Traits::iterator_category, std::forward_iterator_tag>::value, "");
    static_assert(std::is_same<Traits::reference, STreeItem&>::value, "");
    static_assert(std::is_default_constructible<STree::iterator>::value, "");
    static_assert(std::is_convertible<STree::iterator, STree::const_iterator>::value, "");
    static_assert(!std::is_convertible<STree::const_iterator, STree::iterator>::value, "");

    STree::iterator at = tree.begin();
    const STree::iterator first = at++;
    EXPECT_EQ(node[1], &*first);
    EXPECT_EQ(node[2], &*at);
    EXPECT_TRUE(first != at && first == tree.begin() && ++STree::iterator(first) == at);
    EXPECT_EQ(5, std::distance(tree.begin(), tree.end()));
    const auto isThree = [](const STreeItem& item) { return IdOf(item) == 3; };
    EXPECT_EQ(node[3], &*std::find_if(tree.begin(), tree.end(), isThree));
    EXPECT_TRUE(STree().begin() == STree().end());
}

TEST(Hierarchy, AMillionLevelsNeedNoStack)
{
    constexpr int kLevels = 1000000;
    STree tree;
    STreeItem* deepest = nullptr;
    for (int level = 0; level < kLevels; ++level) {
        STreeItem* item = new STreeItem;
        ASSERT_TRUE(tree.InsertLast(item, deepest));
        deepest = item;
    }
    EXPECT_EQ(kLevels, tree.Count());
    EXPECT_EQ(kLevels - 1, deepest->Depth());
    EXPECT_EQ(kLevels, std::distance(tree.begin(), tree.end()));
    EXPECT_EQ(deepest, &*tree.PostOrder().begin());
    STreeItem* second = tree.FirstRoot()->FirstChild();
    EXPECT_FALSE(tree.MoveTo(second, deepest));
    EXPECT_TRUE(tree.MoveTo(second, nullptr));
    EXPECT_TRUE(tree.Detach(second));
    EXPECT_EQ(1, tree.Count());
    delete second;
}
