// stree.cpp: the red-black tree.
//
// Insertion and removal are the classical ones with parent links. A mirror image is written once: `side` tells which
// child of its parent an entry is, and Link, Rotate and Turn take it. Which side it is no processor can predict, so what runs
// often takes Turn, which goes without a branch by it.
#include "stree.h"

#include "compiler.h"
#include "sexcept.h"

#include <atomic>
#include <cwchar>
#include <new>
#include <utility>

#if S_TARGET_32BIT
struct STreeLayout : __STree {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored                                                                               \
    "-Winvalid-offsetof" // this compiler defines it for classes with virtual members
    static_assert(offsetof(__STree, m_count) == 4, "count follows the virtual table pointer");
    static_assert(offsetof(__STree, m_root) == 8, "root");
#pragma GCC diagnostic pop
    static_assert(sizeof(__STree) == 12, "traits, count, root");
    static_assert(offsetof(Entry, left) == 0 && offsetof(Entry, parent) == 4 && offsetof(Entry, right) == 8 &&
                      offsetof(Entry, color) == 12,
                  "left, parent, right, color");
    static_assert(sizeof(Entry) == 16, "the payload follows");
};
#endif

namespace {

// Where an entry that cannot be had is reported from.
const char kBuySignature[] = "__STree::Entry* __STree::BuyEntry(__STree::Entry*, __STree::_Redbl)";
const char kSourceFile[] = "core/src/stree";
constexpr unsigned long kBuyLine = 545;

} // namespace

__STree::~__STree() = default;

// ---- Searching and adding ----

__STree::Entry* __STree::GetEntry(Key key) const
{
    Entry* entry = m_root;
    while (entry) {
        const int order = CompareKeys(key, GetKey(entry->Payload()));
        if (order == 0)
            return entry;
        entry = entry->Child(order > 0);
    }
    return nullptr;
}

bool __STree::GetVoid(Key key, void** payload)
{
    Place place = { nullptr, false };
    for (Entry* entry = m_root; entry; entry = entry->Child(place.right)) {
        const int order = CompareKeys(key, GetKey(entry->Payload()));
        if (order == 0) {
            *payload = entry->Payload();
            return false;
        }
        place = { entry, order > 0 };
    }
    Entry* entry = BuyEntry(place.parent, kRed);
    LinkEntry(entry, place);
    *payload = entry->Payload();
    return true;
}

void __STree::AddCopy(Key key, const void* value)
{
    void* payload;
    if (!GetVoid(key, &payload))
        DestroyPayload(payload);
    try {
        CopyPayload(payload, value);
    }
    catch (...) {
        Abandon(EntryOf(payload));
        throw;
    }
}

__STree::Entry* __STree::BuyEntry(Entry* parent, _Redbl color)
{
    Entry* entry = AllocEntry();
    if (!entry)
        throw SEOutOfMemory(kBuySignature, kSourceFile, kBuyLine);
    entry->left = nullptr;
    entry->parent = parent;
    entry->right = nullptr;
    entry->color = color;
    return entry;
}

void __STree::LinkEntry(Entry* entry, Place place)
{
    entry->parent = place.parent;
    (place.parent ? place.parent->Link(place.right) : m_root) = entry;
    InsertFixup(entry);
    ++m_count;
}

void __STree::InsertFixup(Entry* entry)
{
    while (entry->parent && entry->parent->color == kRed) {
        Entry* parent = entry->parent;
        Entry* grandparent = parent->parent; // a red entry is not the root
        const bool side = parent == grandparent->right;
        Entry* uncle = grandparent->Link(!side);
        if (uncle && uncle->color == kRed) {
            parent->color = kBlack;
            uncle->color = kBlack;
            grandparent->color = kRed;
            entry = grandparent;
            continue;
        }
        if (entry == parent->Link(!side)) { // between parent and grandparent: turn it outwards
            Turn(parent, side);
            parent = entry;
        }
        parent->color = kBlack;
        grandparent->color = kRed;
        Turn(grandparent, !side);
        break;
    }
    m_root->color = kBlack;
}

// ---- Removing ----

void __STree::RemoveEntry(Entry* entry)
{
    Unlink(entry);
    DestroyPayload(entry->Payload());
    FreeEntry(entry);
}

void __STree::Abandon(Entry* entry)
{
    Unlink(entry);
    FreeEntry(entry);
}

// The link that names an entry: its parent's, or the root's.
__STree::Entry*& __STree::LinkTo(Entry* entry)
{
    return entry->parent ? entry->parent->Link(entry == entry->parent->right) : m_root;
}

void __STree::Unlink(Entry* entry)
{
    --m_count;
    if (entry->left && entry->right)
        SwapPosition(entry, Successor(entry));
    Entry* child = entry->left ? entry->left : entry->right;
    if (child) {
        child->parent = entry->parent;
        LinkTo(entry) = child;
        if (entry->color == kBlack)
            DeleteFixup(child);
        return;
    }
    // Without a child the entry itself stands for the missing black until it is detached.
    if (entry->color == kBlack)
        DeleteFixup(entry);
    LinkTo(entry) = nullptr;
}

// Exchanges an entry that has two children with its successor, which has no left one. Links and colours change places;
// payloads stay where they are.
void __STree::SwapPosition(Entry* entry, Entry* successor)
{
    LinkTo(entry) = successor;
    entry->left->parent = successor;
    Entry* const right = entry->right;
    if (right == successor) {
        entry->right = successor->right;
        successor->parent = entry->parent;
        entry->parent = successor;
        successor->right = entry;
    } else {
        right->parent = successor;
        successor->parent->left = entry; // the successor is the lowest of the right subtree
        std::swap(entry->parent, successor->parent);
        std::swap(entry->right, successor->right);
    }
    successor->left = entry->left;
    entry->left = nullptr;
    if (entry->right)
        entry->right->parent = entry;
    std::swap(entry->color, successor->color);
}

// Restores the black count on the ways through `entry`, which lack one.
void __STree::DeleteFixup(Entry* entry)
{
    while (entry->parent && entry->color == kBlack) {
        Entry* const parent = entry->parent;
        const bool side = entry == parent->right;
        Entry* sibling = parent->Link(!side); // never null: its side has a black more
        if (sibling->color == kRed) {
            sibling->color = kBlack;
            parent->color = kRed;
            Rotate(parent, side);
            sibling = parent->Link(!side);
        }
        Entry* const inner = sibling->Link(side);
        Entry* outer = sibling->Link(!side);
        const bool innerIsRed = inner && inner->color == kRed;
        const bool outerIsRed = outer && outer->color == kRed;
        if (!innerIsRed && !outerIsRed) {
            sibling->color = kRed;
            entry = parent;
            continue;
        }
        if (!outerIsRed) {
            inner->color = kBlack;
            sibling->color = kRed;
            Turn(sibling, !side);
            outer = sibling;
            sibling = inner;
        }
        sibling->color = parent->color;
        parent->color = kBlack;
        outer->color = kBlack;
        Turn(parent, side);
        return;
    }
    entry->color = kBlack;
}

// ---- Rotating ----

// Turns an entry down to the left: its right child takes its place.
void __STree::RotateLeft(Entry* entry)
{
    Turn(entry, false);
}

// The mirror image.
void __STree::RotateRight(Entry* entry)
{
    Turn(entry, true);
}

void __STree::Rotate(Entry* entry, bool right)
{
    right ? RotateRight(entry) : RotateLeft(entry);
}

inline void __STree::Turn(Entry* entry, bool right)
{
    Entry* const child = entry->Link(!right);
    Entry* const inner = child->Link(right);
    LinkTo(entry) = child;
    child->parent = entry->parent;
    entry->Link(!right) = inner;
    if (inner)
        inner->parent = entry;
    child->Link(right) = entry;
    entry->parent = child;
}

// ---- The whole tree ----

void __STree::FreeTree()
{
    Entry* const root = m_root;
    m_root = nullptr;
    m_count = 0;
    FreeEntries(root);
}

// From the leaves up: each entry goes when its children are gone.
void __STree::FreeEntries(Entry* entry)
{
    if (entry)
        entry->parent = nullptr;
    while (entry) {
        if (entry->left) {
            entry = std::exchange(entry->left, nullptr);
        } else if (entry->right) {
            entry = std::exchange(entry->right, nullptr);
        } else {
            Entry* const parent = entry->parent;
            DestroyPayload(entry->Payload());
            FreeEntry(entry);
            entry = parent;
        }
    }
}

// A copy of one entry without its children.
__STree::Entry* __STree::CloneEntry(Entry* source, Entry* parent)
{
    Entry* const entry = BuyEntry(parent, source->color);
    try {
        CopyPayload(entry->Payload(), source->Payload());
    }
    catch (...) {
        FreeEntry(entry);
        throw;
    }
    return entry;
}

__STree& __STree::operator=(const __STree& other)
{
    if (this == &other)
        return *this;
    Entry* root = nullptr;
    try {
        // Down where the copy still lacks a child, up where it has what the source has.
        Entry* source = other.m_root;
        Entry* copy = nullptr;
        if (source)
            copy = root = CloneEntry(source, nullptr);
        while (copy) {
            if (source->left && !copy->left) {
                source = source->left;
                copy = copy->left = CloneEntry(source, copy);
            } else if (source->right && !copy->right) {
                source = source->right;
                copy = copy->right = CloneEntry(source, copy);
            } else {
                source = source->parent;
                copy = copy->parent;
            }
        }
    }
    catch (...) {
        FreeEntries(root);
        throw;
    }
    // The old entries go last: the other tree may stand in one of their payloads.
    Entry* const old = m_root;
    m_root = root;
    m_count = other.m_count;
    FreeEntries(old);
    return *this;
}

void __STree::SwapTrees(__STree& other) noexcept
{
    std::swap(m_count, other.m_count);
    std::swap(m_root, other.m_root);
}

// ---- Pools of entries ----

namespace {

// One pool a size.
struct EntryPool {
    SFixedAlloc pool;
    EntryPool* next;

    EntryPool(unsigned long entryBytes, const wchar_t* name) : pool(entryBytes, 0, name), next(nullptr) {}
};

// The list of them only grows and takes no lock: making a pool takes the idle list's, and under that one run idle
// consumers which may be the first to use a map themselves.
struct EntryPools {
    std::atomic<EntryPool*> first{ nullptr };

    ~EntryPools()
    {
        EntryPool* pool = first.load(std::memory_order_relaxed);
        while (pool)
            delete std::exchange(pool, pool->next);
    }
};

// Good before anything is constructed, and gone after every other static object of the library but the string pools: maps
// of the library free their entries in their destructors.
S_INIT_PRIORITY(103) EntryPools g_entryPools;

constexpr wchar_t kPoolName[] = L"Map entries %lu";

SFixedAlloc* PoolOfSize(EntryPool* known, unsigned long size)
{
    while (known && known->pool.ElementSize() != size)
        known = known->next;
    return known ? &known->pool : nullptr;
}

EntryPool* MakePool(unsigned long size) noexcept
{
    wchar_t name[40];
    ::_snwprintf(name, std::size(name), kPoolName, size);
    try {
        return new EntryPool(size, name);
    }
    catch (...) {
        return nullptr;
    }
}

} // namespace

SFixedAlloc* SEntryPool(unsigned long entryBytes) noexcept
{
    const unsigned long size = (entryBytes + sizeof(void*) - 1) & ~(sizeof(void*) - 1);
    EntryPool* first = g_entryPools.first.load(std::memory_order_acquire);
    if (SFixedAlloc* known = PoolOfSize(first, size))
        return known;
    EntryPool* const made = MakePool(size);
    if (!made)
        return nullptr;
    do {
        // Another thread may have made the same pool meanwhile.
        if (SFixedAlloc* known = PoolOfSize(first, size)) {
            delete made;
            return known;
        }
        made->next = first;
    } while (!g_entryPools.first.compare_exchange_weak(first, made, std::memory_order_acq_rel));
    return &made->pool;
}
