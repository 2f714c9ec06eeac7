// treecheck.h: walks a tree and names the rule that it breaks (see stree.h).
#ifndef TESTS_TREECHECK_H
#define TESTS_TREECHECK_H

#include "smap.h"

#include <sstream>
#include <string>

/// A map whose tree can be checked.
template <class K, class V, class C = SAsc<K>>
class CheckedMap : public SMap<K, V, C> {
    typedef SMap<K, V, C> Base;
    typedef __STree::Entry Entry;

public:
    using Base::Base;

    /// Empty when every rule holds, else the number of a broken one and where.
    std::string Broken() const
    {
        const Entry* root = this->Root();
        if ((root == nullptr) != (this->Count() == 0))
            return "T1: root and count";
        if (root && (root->parent || root->color != __STree::kBlack))
            return "T1: the root is red or has a parent";
        int count = 0;
        std::string broken;
        BlackDepth(root, count, broken);
        if (broken.empty() && count != this->Count())
            return "T6: count";
        const Entry* before = nullptr;
        for (Entry* e = this->GetMinimum(); e && broken.empty(); before = e, e = __STree::Successor(e)) {
            if (before && C::Compare(Base::PairOf(const_cast<Entry*>(before)).key, Base::PairOf(e).key) >= 0)
                broken = "T3: keys do not grow";
            if (e != this->GetMinimum() && __STree::Predecessor(e) != before)
                broken = "T2: the way back differs";
        }
        return broken;
    }

    /// Finds a key the engine's own way, through the virtual operations.
    bool EngineFinds(const K& key) const
    {
        return this->GetEntry(reinterpret_cast<LONG_PTR>(&key)) != nullptr;
    }

private:
    static int BlackDepth(const Entry* entry, int& count, std::string& broken)
    {
        if (!entry)
            return 1;
        ++count;
        for (const Entry* child : { entry->left, entry->right }) {
            if (child && child->parent != entry)
                broken = "T2: a child's parent link";
            if (child && entry->color == __STree::kRed && child->color == __STree::kRed)
                broken = "T4: red below red";
        }
        const int left = BlackDepth(entry->left, count, broken),
                  right = BlackDepth(entry->right, count, broken);
        if (left != right)
            broken = "T5: black counts";
        return left + (entry->color == __STree::kBlack);
    }
};

#endif
