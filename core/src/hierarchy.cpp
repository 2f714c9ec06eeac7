#include "hierarchy.h"

// ---- STreeItem ----

STreeItem::STreeItem() noexcept
    : m_tree(nullptr), m_parent(nullptr), m_prev(nullptr), m_next(nullptr), m_children{ nullptr, nullptr, 0 }
{}

STreeItem::~STreeItem()
{
    // Out first, so that nobody who walks the tree from a destructor below meets half an item.
    Unlink();
    STreeItem* at = this;
    for (;;) {
        if (at->m_children.first) {
            at = at->m_children.first;
        } else if (at != this) {
            STreeItem* parent = at->m_parent;
            delete at; // a leaf: its destructor comes straight through here
            at = parent;
        } else {
            break;
        }
    }
    if (m_tree)
        --m_tree->m_count;
}

int STreeItem::Depth() const
{
    int depth = 0;
    for (const STreeItem* above = m_parent; above; above = above->m_parent)
        ++depth;
    return depth;
}

bool STreeItem::IsAncestorOf(const STreeItem* other) const
{
    if (!other)
        return false;
    const STreeItem* above = other->m_parent;
    while (above && above != this)
        above = above->m_parent;
    return above != nullptr;
}

STreeItem* STreeItem::FirstInPostOrder(const STreeItem* top)
{
    while (top->m_children.first)
        top = top->m_children.first;
    return const_cast<STreeItem*>(top);
}

// The item behind this one in a walk that ends after `top`, or with the last root where that is null.
STreeItem* STreeItem::Following(STreeOrder order, const STreeItem* top) const
{
    if (order == STreeOrder::Post) {
        if (this == top)
            return nullptr;
        return m_next ? FirstInPostOrder(m_next) : m_parent;
    }
    if (m_children.first)
        return m_children.first;
    for (const STreeItem* at = this; at != top; at = at->m_parent) {
        if (at->m_next)
            return at->m_next;
    }
    return nullptr;
}

// Out of the list of its siblings; the tree's count and the items' m_tree are the caller's affair.
void STreeItem::Unlink() noexcept
{
    if (!m_parent && !m_tree)
        return;
    STreeChildren& siblings = m_parent ? m_parent->m_children : m_tree->m_roots;
    (m_prev ? m_prev->m_next : siblings.first) = m_next;
    (m_next ? m_next->m_prev : siblings.last) = m_prev;
    --siblings.count;
    m_parent = m_prev = m_next = nullptr;
}

// ---- STree ----

STree::STree() noexcept : m_roots{ nullptr, nullptr, 0 }, m_count(0) {}

STree::~STree()
{
    Clear();
}

bool STree::InsertFirst(STreeItem* item, STreeItem* parent)
{
    return Insert(item, parent, parent ? parent->m_children.first : m_roots.first);
}

bool STree::InsertLast(STreeItem* item, STreeItem* parent)
{
    return Insert(item, parent, nullptr);
}

bool STree::InsertBefore(STreeItem* item, STreeItem* sibling)
{
    return Owns(sibling) && Insert(item, sibling->m_parent, sibling);
}

bool STree::InsertAfter(STreeItem* item, STreeItem* sibling)
{
    return Owns(sibling) && Insert(item, sibling->m_parent, sibling->m_next);
}

bool STree::Insert(STreeItem* item, STreeItem* parent, STreeItem* before)
{
    if (!item || item->m_tree || item->m_parent || (parent && !Owns(parent)))
        return false;
    Link(item, parent, before);
    m_count += SetTree(item, this);
    return true;
}

bool STree::Remove(STreeItem* item)
{
    if (!Owns(item))
        return false;
    delete item;
    return true;
}

bool STree::Detach(STreeItem* item)
{
    if (!Owns(item))
        return false;
    item->Unlink();
    m_count -= SetTree(item, nullptr);
    return true;
}

bool STree::MoveTo(STreeItem* item, STreeItem* parent, STreeItem* before)
{
    if (!Owns(item) || (parent && !Owns(parent)) || (before && (!Owns(before) || before->m_parent != parent)))
        return false;
    if (parent == item || item->IsAncestorOf(parent))
        return false;
    if (before != item) {
        item->Unlink();
        Link(item, parent, before);
    }
    return true;
}

void STree::Clear() noexcept
{
    while (m_roots.first)
        delete m_roots.first;
}

void STree::Link(STreeItem* item, STreeItem* parent, STreeItem* before) noexcept
{
    STreeChildren& siblings = parent ? parent->m_children : m_roots;
    item->m_parent = parent;
    item->m_next = before;
    item->m_prev = before ? before->m_prev : siblings.last;
    (item->m_prev ? item->m_prev->m_next : siblings.first) = item;
    (before ? before->m_prev : siblings.last) = item;
    ++siblings.count;
}

// Tells all items from `top` down whose they are; returns how many.
int STree::SetTree(STreeItem* top, STree* tree) noexcept
{
    int items = 0;
    for (STreeItem& item : top->PreOrder()) {
        item.m_tree = tree;
        ++items;
    }
    return items;
}
