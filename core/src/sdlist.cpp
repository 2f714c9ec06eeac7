#include "sdlist.h"

#include <utility>

SDListItem::~SDListItem()
{
    if (m_list)
        m_list->Remove(this);
}

// ---- Links ----

void SDList::Link(SDListItem* item, SDListItem* before) noexcept
{
    item->m_list = this;
    item->m_next = before;
    item->m_prev = before ? before->m_prev : m_tail;
    (item->m_prev ? item->m_prev->m_next : m_head) = item;
    (before ? before->m_prev : m_tail) = item;
    ++m_count;
}

void SDList::Unlink(SDListItem* item) noexcept
{
    (item->m_prev ? item->m_prev->m_next : m_head) = item->m_next;
    (item->m_next ? item->m_next->m_prev : m_tail) = item->m_prev;
    item->m_list = nullptr;
    item->m_prev = item->m_next = nullptr;
    --m_count;
}

// ---- Changing ----

bool SDList::Place(SDListItem* item, SDListItem* before) noexcept
{
    if (!item)
        return false;
    if (item != before) {
        if (item->m_list)
            item->m_list->Unlink(item);
        Link(item, before);
    }
    return true;
}

bool SDList::AddHead(SDListItem* item)
{
    return Place(item, m_head);
}

bool SDList::AddTail(SDListItem* item)
{
    return Place(item, nullptr);
}

bool SDList::InsertBefore(SDListItem* item, SDListItem* where)
{
    return Holds(where) && Place(item, where);
}

bool SDList::InsertAfter(SDListItem* item, SDListItem* where)
{
    return Holds(where) && Place(item, where->m_next);
}

bool SDList::Remove(SDListItem* item)
{
    if (!Holds(item))
        return false;
    Unlink(item);
    return true;
}

SDListItem* SDList::RemoveHead()
{
    SDListItem* item = m_head;
    Remove(item);
    return item;
}

SDListItem* SDList::RemoveTail()
{
    SDListItem* item = m_tail;
    Remove(item);
    return item;
}

void SDList::RemoveAll() noexcept
{
    while (m_head)
        Unlink(m_head);
}

void SDList::TakeAll(SDList& other) noexcept
{
    if (&other == this)
        return;
    while (SDListItem* item = other.RemoveHead())
        Link(item, nullptr);
}

// ---- Sorting ----

// A merge sort from the bottom up: run number i holds 2^i items or none, and an item that comes along is
// merged with runs 0, 1, ... up to the first empty one, as a carry goes through a binary number. Items are in
// one chain or another (linked by m_next alone) at every call of the comparison, so that the destructor can
// gather them whatever happened.
class SDList::Sorter {
public:
    Sorter(SDList& list, SDListCompare compare, void* context)
        : m_list(list),
          m_compare(compare),
          m_context(context),
          m_rest(list.m_head),
          m_runs{},
          m_earlier(nullptr),
          m_later(nullptr),
          m_merged(nullptr),
          m_link(&m_merged)
    {}
    Sorter(const Sorter&) = delete;
    Sorter& operator=(const Sorter&) = delete;
    ~Sorter();

    void Run();

private:
    static constexpr size_t kRuns = 32; // 2^31 items have no place in memory

    SDListItem* Merge(SDListItem* earlier, SDListItem* later);
    void PutBack(SDListItem* chain);

    SDList& m_list;
    SDListCompare m_compare;
    void* m_context;
    SDListItem* m_rest; // not looked at yet; in the end the result
    SDListItem* m_runs[kRuns];
    // While Merge works: what is left of its two chains, and what has been merged, up to *m_link.
    SDListItem* m_earlier;
    SDListItem* m_later;
    SDListItem* m_merged;
    SDListItem** m_link;
};

SDList::Sorter::~Sorter()
{
    *m_link = nullptr;
    m_list.m_head = m_list.m_tail = nullptr;
    PutBack(m_merged);
    PutBack(m_earlier);
    PutBack(m_later);
    for (SDListItem* run : m_runs)
        PutBack(run);
    PutBack(m_rest);
}

void SDList::Sorter::PutBack(SDListItem* chain)
{
    for (; chain; chain = chain->m_next) {
        chain->m_prev = m_list.m_tail;
        (m_list.m_tail ? m_list.m_tail->m_next : m_list.m_head) = chain;
        m_list.m_tail = chain;
    }
}

SDListItem* SDList::Sorter::Merge(SDListItem* earlier, SDListItem* later)
{
    m_earlier = earlier;
    m_later = later;
    while (m_earlier && m_later) {
        SDListItem*& from = m_compare(m_earlier, m_later, m_context) <= 0 ? m_earlier : m_later;
        *m_link = from;
        m_link = &from->m_next;
        from = from->m_next;
    }
    *m_link = m_earlier ? m_earlier : m_later;
    m_link = &m_merged;
    m_earlier = m_later = nullptr;
    return std::exchange(m_merged, nullptr);
}

void SDList::Sorter::Run()
{
    while (m_rest) {
        SDListItem* run = m_rest;
        m_rest = run->m_next;
        run->m_next = nullptr;
        size_t i = 0;
        for (; m_runs[i]; ++i)
            run = Merge(std::exchange(m_runs[i], nullptr), run);
        m_runs[i] = run;
    }
    // Runs of a higher number came first.
    SDListItem* sorted = nullptr;
    for (SDListItem*& run : m_runs) {
        if (run)
            sorted = Merge(std::exchange(run, nullptr), sorted);
    }
    m_rest = sorted;
}

void SDList::QuickSort(SDListCompare compare, void* context)
{
    if (m_count > 1)
        Sorter(*this, compare, context).Run();
}
