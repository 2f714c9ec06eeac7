// hierarchy.h: STree, a hierarchy of items that it owns. (The tree under the maps is __STree, in stree.h.)
//
//     class Folder : public STreeItem { ... };
//     STree tree;
//     Folder* root = new Folder;
//     tree.InsertLast(root);
//     tree.InsertLast(new Folder, root);
//     for (STreeItem& item : tree) ...                    // parents before their children
//     for (STreeItem& item : root->PostOrder()) ...       // children before their parents, root last
//
// Identity items are made with new, by the client, and are never copied. In a tree the tree owns them; a
//          detached item belongs to the client, together with everything below it. Deleting an item takes it
//          out of its tree and deletes everything below it.
// Threads  a tree, its items and those detached from it belong to one thread at a time.
// Failure  nothing here allocates or throws. A member that answers false has changed nothing; the item that
//          it was given belongs to whom it belonged before.
// Cost     seven words an item beside its virtual table pointer. Linking, unlinking and moving within a tree
//          take constant time, but for MoveTo's look upward; inserting and detaching are linear in what hangs
//          below the item. Nothing recurses: a tree may be a million levels deep.
#ifndef HIERARCHY_H
#define HIERARCHY_H

#include "cvbase.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

class STree;
class STreeItem;

/// Parents before their children, or children before their parents. Siblings come in their order, either way.
enum class STreeOrder { Pre, Post };

/// The items of one parent.
struct STreeChildren {
    STreeItem* first;
    STreeItem* last;
    int count;
};

/// A place in a walk, a standard forward iterator. Dead when its item leaves the walked tree or moves: to
/// delete during a walk, step on first (in post-order everything below the item is behind already).
template <class Item, STreeOrder order>
class STreeIterator {
public:
    typedef std::forward_iterator_tag iterator_category;
    typedef STreeItem value_type;
    typedef ptrdiff_t difference_type;
    typedef Item* pointer;
    typedef Item& reference;

    STreeIterator() noexcept : m_at(nullptr), m_top(nullptr) {}
    /// At `at`, in a walk that ends after `top`; null for the end of the whole tree.
    STreeIterator(Item* at, const STreeItem* top) noexcept : m_at(at), m_top(top) {}
    /// An iterator to const items from one to items.
    template <class Other, class = std::enable_if_t<std::is_convertible<Other*, Item*>::value>>
    STreeIterator(const STreeIterator<Other, order>& other) noexcept : m_at(other.m_at), m_top(other.m_top)
    {}

    Item& operator*() const { return *m_at; }
    Item* operator->() const { return m_at; }
    STreeIterator& operator++();
    STreeIterator operator++(int)
    {
        STreeIterator before(*this);
        ++*this;
        return before;
    }
    friend bool operator==(const STreeIterator& a, const STreeIterator& b) { return a.m_at == b.m_at; }
    friend bool operator!=(const STreeIterator& a, const STreeIterator& b) { return a.m_at != b.m_at; }

private:
    template <class, STreeOrder>
    friend class STreeIterator;

    Item* m_at;
    const STreeItem* m_top;
};

/// What PreOrder and PostOrder answer: something to walk over.
template <class Item, STreeOrder order>
class STreeRange {
public:
    typedef STreeIterator<Item, order> iterator;

    STreeRange(Item* first, const STreeItem* top) noexcept : m_begin(first, top) {}
    iterator begin() const { return m_begin; }
    iterator end() const { return iterator(); }

private:
    iterator m_begin;
};

/// One item; derive from it what the hierarchy is made of.
class CVCORE_API STreeItem {
public:
    STreeItem() noexcept;
    STreeItem(const STreeItem&) = delete;
    STreeItem& operator=(const STreeItem&) = delete;
    /// Takes the item out of its tree and deletes all that is below it, children before their parents. Of
    /// this item only the STreeItem is left by then, and it has no parent any more. The destructor of an item
    /// below must not delete items above it.
    virtual ~STreeItem();

    /// The tree that owns the item; null for a detached one.
    STree* Tree() const { return m_tree; }
    /// Null for a root and for a detached item.
    STreeItem* Parent() const { return m_parent; }
    STreeItem* FirstChild() const { return m_children.first; }
    STreeItem* LastChild() const { return m_children.last; }
    /// The sibling behind; null for the last.
    STreeItem* Next() const { return m_next; }
    /// The sibling in front; null for the first.
    STreeItem* Prev() const { return m_prev; }
    int ChildCount() const { return m_children.count; }

    /// How many items are above this one; 0 for a root. Linear in the answer.
    int Depth() const;
    /// Whether `other` is somewhere below this item; not for the item itself, nor for null. Linear in the
    /// other's depth.
    bool IsAncestorOf(const STreeItem* other) const;

    /// This item and everything below it.
    STreeRange<STreeItem, STreeOrder::Pre> PreOrder() { return { this, this }; }
    STreeRange<const STreeItem, STreeOrder::Pre> PreOrder() const { return { this, this }; }
    STreeRange<STreeItem, STreeOrder::Post> PostOrder() { return { FirstInPostOrder(this), this }; }
    STreeRange<const STreeItem, STreeOrder::Post> PostOrder() const
    {
        return { FirstInPostOrder(this), this };
    }

private:
    friend class STree;
    template <class, STreeOrder>
    friend class STreeIterator;

    static STreeItem* FirstInPostOrder(const STreeItem* top);
    STreeItem* Following(STreeOrder order, const STreeItem* top) const;
    void Unlink() noexcept;

    STree* m_tree;
    STreeItem* m_parent;
    STreeItem* m_prev;
    STreeItem* m_next;
    STreeChildren m_children;
};

class CVCORE_API STree {
public:
    STree() noexcept;
    STree(const STree&) = delete;
    STree& operator=(const STree&) = delete;
    /// Deletes all items.
    ~STree();

    /// All items, on every level.
    int Count() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    STreeItem* FirstRoot() const { return m_roots.first; }
    STreeItem* LastRoot() const { return m_roots.last; }
    int RootCount() const { return m_roots.count; }

    // ---- Putting in: the tree takes the item over, with everything below it ----
    // False, and nothing changed, when the item is null, stands in a tree already or hangs below a detached
    // item; and when the parent or sibling is not in this tree. A null parent means a root.

    bool InsertFirst(STreeItem* item, STreeItem* parent = nullptr);
    bool InsertLast(STreeItem* item, STreeItem* parent = nullptr);
    bool InsertBefore(STreeItem* item, STreeItem* sibling);
    bool InsertAfter(STreeItem* item, STreeItem* sibling);

    // ---- Taking out and moving: false when the item is null or not in this tree ----

    /// Deletes the item and everything below it.
    bool Remove(STreeItem* item);
    /// Takes the item out, with everything below it; both belong to the caller now.
    bool Detach(STreeItem* item);
    /// Makes the item, with everything below it, a child of `parent` (null: a root) in front of the parent's
    /// child `before` (null: as the last). False also when the parent is the item or below it, and when
    /// `before` is no child of the parent.
    bool MoveTo(STreeItem* item, STreeItem* parent, STreeItem* before = nullptr);
    /// Deletes all items.
    void Clear() noexcept;

    // ---- Walking over all items ----

    STreeRange<STreeItem, STreeOrder::Pre> PreOrder() { return { m_roots.first, nullptr }; }
    STreeRange<const STreeItem, STreeOrder::Pre> PreOrder() const { return { m_roots.first, nullptr }; }
    STreeRange<STreeItem, STreeOrder::Post> PostOrder() { return { FirstInPostOrder(), nullptr }; }
    STreeRange<const STreeItem, STreeOrder::Post> PostOrder() const
    {
        return { FirstInPostOrder(), nullptr };
    }

    typedef STreeIterator<STreeItem, STreeOrder::Pre> iterator;
    typedef STreeIterator<const STreeItem, STreeOrder::Pre> const_iterator;
    /// Those of PreOrder.
    iterator begin() { return PreOrder().begin(); }
    iterator end() { return iterator(); }
    const_iterator begin() const { return PreOrder().begin(); }
    const_iterator end() const { return const_iterator(); }

private:
    friend class STreeItem;

    bool Owns(const STreeItem* item) const { return item && item->m_tree == this; }
    STreeItem* FirstInPostOrder() const
    {
        return m_roots.first ? STreeItem::FirstInPostOrder(m_roots.first) : nullptr;
    }
    bool Insert(STreeItem* item, STreeItem* parent, STreeItem* before);
    void Link(STreeItem* item, STreeItem* parent, STreeItem* before) noexcept;
    int SetTree(STreeItem* top, STree* tree) noexcept;

    STreeChildren m_roots;
    int m_count;
};

template <class Item, STreeOrder order>
inline STreeIterator<Item, order>& STreeIterator<Item, order>::operator++()
{
    m_at = m_at->Following(order, m_top);
    return *this;
}

#if S_TARGET_32BIT
static_assert(sizeof(STreeItem) == 32, "seven words behind the virtual table pointer");
#endif

#endif
