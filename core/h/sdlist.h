// sdlist.h: SDList, a doubly linked list whose links stand in the items themselves.
//
//     class Task : public SDListItem { ... };
//     Task first, second;
//     SDList list;
//     list.AddTail(&first);
//     list.AddHead(&second);
//     for (SDListItem& item : list) static_cast<Task&>(item).Run();
//
// Identity an item is never copied and stands in one list at most: adding it takes it out of the list where
//          it stood, which may be the same. The list does not own its items; it never deletes one. An item
//          that is destroyed leaves its list; a list that is destroyed lets its items go.
// Threads  a list and its items belong to one thread at a time.
// Failure  nothing here allocates or throws, but for what a comparison of QuickSort throws.
// Cost     three words an item beside its virtual table pointer; constant time, where nothing else is said.
#ifndef SDLIST_H
#define SDLIST_H

#include "cvbase.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

class SDList;

/// One item; derive from it what the list links.
class CVCORE_API SDListItem {
public:
    SDListItem() noexcept : m_list(nullptr), m_prev(nullptr), m_next(nullptr) {}
    SDListItem(const SDListItem&) = delete;
    SDListItem& operator=(const SDListItem&) = delete;
    virtual ~SDListItem();

    /// The list in which the item stands; null for none.
    SDList* List() const { return m_list; }

private:
    friend class SDList;
    template <class Item>
    friend class SDListIterator;

    SDList* m_list;
    SDListItem* m_prev;
    SDListItem* m_next;
};

/// A standard bidirectional iterator. Stays good until its item leaves the list, also across a sort.
template <class Item>
class SDListIterator {
public:
    typedef std::bidirectional_iterator_tag iterator_category;
    typedef SDListItem value_type;
    typedef ptrdiff_t difference_type;
    typedef Item* pointer;
    typedef Item& reference;

    SDListIterator() noexcept : m_list(nullptr), m_at(nullptr) {}
    /// At an item of the list; null for its end.
    SDListIterator(const SDList& list, Item* at) noexcept : m_list(&list), m_at(at) {}
    /// An iterator to const items from one to items.
    template <class Other, class = std::enable_if_t<std::is_convertible<Other*, Item*>::value>>
    SDListIterator(const SDListIterator<Other>& other) noexcept : m_list(other.m_list), m_at(other.m_at)
    {}

    Item& operator*() const { return *m_at; }
    Item* operator->() const { return m_at; }
    SDListIterator& operator++()
    {
        m_at = m_at->m_next;
        return *this;
    }
    SDListIterator& operator--();
    SDListIterator operator++(int)
    {
        SDListIterator before(*this);
        ++*this;
        return before;
    }
    SDListIterator operator--(int)
    {
        SDListIterator before(*this);
        --*this;
        return before;
    }
    friend bool operator==(const SDListIterator& a, const SDListIterator& b) { return a.m_at == b.m_at; }
    friend bool operator!=(const SDListIterator& a, const SDListIterator& b) { return a.m_at != b.m_at; }

private:
    template <class>
    friend class SDListIterator;

    const SDList* m_list;
    Item* m_at;
};

/// Negative, 0 or positive, as `a` belongs in front of `b`, beside it or behind it. May throw; must not touch
/// the list.
typedef int (*SDListCompare)(const SDListItem* a, const SDListItem* b, void* context);

class CVCORE_API SDList {
public:
    typedef SDListIterator<SDListItem> iterator;
    typedef SDListIterator<const SDListItem> const_iterator;

    SDList() noexcept : m_head(nullptr), m_tail(nullptr), m_count(0) {}
    SDList(const SDList&) = delete;
    SDList& operator=(const SDList&) = delete;
    ~SDList() { RemoveAll(); }

    // ---- Looking: null where there is no such item ----

    int Count() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    SDListItem* GetHead() const { return m_head; }
    SDListItem* GetTail() const { return m_tail; }
    /// The neighbours of an item; of null, and of an item of another list, null.
    SDListItem* GetNext(const SDListItem* item) const { return Holds(item) ? item->m_next : nullptr; }
    SDListItem* GetPrev(const SDListItem* item) const { return Holds(item) ? item->m_prev : nullptr; }

    iterator begin() { return iterator(*this, m_head); }
    iterator end() { return iterator(*this, nullptr); }
    const_iterator begin() const { return const_iterator(*this, m_head); }
    const_iterator end() const { return const_iterator(*this, nullptr); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    // ---- Changing: false, and nothing changed, when an item is null or `where` is not in this list ----

    bool AddHead(SDListItem* item);
    bool AddTail(SDListItem* item);
    /// An item that is put beside itself stays where it is.
    bool InsertBefore(SDListItem* item, SDListItem* where);
    bool InsertAfter(SDListItem* item, SDListItem* where);
    /// Takes the item out; false when it is not in this list.
    bool Remove(SDListItem* item);
    /// Takes the first or last item out and returns it; null when there is none.
    SDListItem* RemoveHead();
    SDListItem* RemoveTail();
    /// Lets all items go. Linear.
    void RemoveAll() noexcept;
    /// Appends all items of another list, which is empty afterwards. Linear in their number. Its own items:
    /// no effect.
    void TakeAll(SDList& other) noexcept;

    /// Sorts. The name is an old one, the promises are these: at most n times log2(n), rounded up,
    /// comparisons whatever the order was; items that compare equal keep theirs; no allocation, no recursion.
    /// When a comparison throws, the list holds all its items, in some order. A comparison that contradicts
    /// itself gives some order, too.
    void QuickSort(SDListCompare compare, void* context = nullptr);

private:
    class Sorter;

    bool Holds(const SDListItem* item) const { return item && item->m_list == this; }
    bool Place(SDListItem* item, SDListItem* before) noexcept;
    void Link(SDListItem* item, SDListItem* before) noexcept;
    void Unlink(SDListItem* item) noexcept;

    SDListItem* m_head;
    SDListItem* m_tail;
    int m_count;
};

template <class Item>
inline SDListIterator<Item>& SDListIterator<Item>::operator--()
{
    m_at = m_at ? m_at->m_prev : m_list->GetTail();
    return *this;
}

#if S_TARGET_32BIT
static_assert(sizeof(SDListItem) == 16, "three words behind the virtual table pointer");
#endif

#endif
