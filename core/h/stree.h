// stree.h: __STree, the red-black tree under the ordered maps (smap.h, strmap.h). It knows entries as links in front of a
// payload that only the deriving container understands, and reaches keys and payloads through six virtual operations.
//
// What every member of __STree leaves true. The numbers are the ones that the tests report.
//   T1  root is null exactly when count is 0; the root is black and has no parent.
//   T2  a child's parent link names its parent.
//   T3  keys grow strictly from left to right, by the traits' CompareKeys.
//   T4  a red entry has no red child.
//   T5  every way down from an entry meets the same number of black entries.
//   T6  count is the number of entries that can be reached.
// T4 and T5 may be broken only between linking or unlinking an entry and the fix-up after it. Payloads never move: the
// address of a payload is good until its own entry is removed.
//
// Threads  one tree belongs to one thread at a time; reading on several is safe while none writes.
// Failure  a tree entry that cannot be had is SEOutOfMemory; the tree is then as it was. What the traits throw passes.
// Cost     16 bytes an entry in front of the payload; finding, adding and removing are logarithmic.
#ifndef STREE_H
#define STREE_H

#include "cvbase.h"
#include "salloc.h"

#include <cstddef>

struct STextHint; // mapkey.h

class CVCORE_API __STree {
public:
    /// How many entries there are.
    int Count() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }

    __STree(const __STree&) = delete;

protected:
    /// A key on its way through the engine: what it means is the container's affair, usually the address of a key.
    typedef LONG_PTR Key;

    enum _Redbl { kRed = 0, kBlack = 1 };

    struct Entry {
        Entry* left;
        Entry* parent; ///< null at the root
        Entry* right;
        _Redbl color;

        void* Payload() { return this + 1; }
        const void* Payload() const { return this + 1; }
        /// The link to the left child for 0, to the right one for 1, reckoned without a branch: a search cannot predict its way.
        Entry* const* ChildLink(bool right_) const
        {
            static_assert(offsetof(Entry, right) == 2 * sizeof(Entry*), "the children stand two links apart");
            return reinterpret_cast<Entry* const*>(this) + 2 * right_;
        }
        Entry* Child(bool right_) const { return *ChildLink(right_); }
        Entry*& Link(bool right_) { return const_cast<Entry*&>(*ChildLink(right_)); }
    };

    /// Where a new entry belongs: below `parent` (null: as the root), on that side.
    struct Place {
        Entry* parent;
        bool right;
    };

    __STree() noexcept : m_count(0), m_root(nullptr) {}

    // ---- What the container supplies ----

public:
    /// A derived class calls FreeTree in its own destructor, while its operations below still exist.
    virtual ~__STree();

protected:
    /// Raw memory for an entry and its payload; null when there is none.
    virtual Entry* AllocEntry() = 0;
    /// Gives it back; the payload is destroyed already, or was never there.
    virtual void FreeEntry(Entry* entry) = 0;
    virtual void DestroyPayload(void* payload) = 0;
    /// Constructs a payload from `value`, which is what AddCopy was given or the payload of another tree of this kind.
    virtual void CopyPayload(void* payload, const void* value) = 0;
    /// Negative, 0 or positive.
    virtual int CompareKeys(Key a, Key b) const = 0;
    virtual Key GetKey(const void* payload) const = 0;

    // ---- The engine ----

    /// The entry with this key, null when there is none.
    Entry* GetEntry(Key key) const;
    /// Finds or inserts: `*payload` is the payload of the entry with this key. True when the entry is new; its payload is
    /// then raw memory that the caller constructs at once, or takes out again with Abandon.
    bool GetVoid(Key key, void** payload);
    /// Finds or inserts, and makes the payload a copy of `value`; an existing payload is destroyed first. Copying that
    /// throws leaves a sound tree without this key; who must not lose an old payload assigns to it instead.
    void AddCopy(Key key, const void* value);
    /// Takes an entry out, destroys its payload and frees it.
    void RemoveEntry(Entry* entry);
    /// The same for an entry whose payload was never constructed, or is destroyed.
    void Abandon(Entry* entry);
    /// The entry of a payload that GetVoid gave.
    static Entry* EntryOf(void* payload) { return static_cast<Entry*>(payload) - 1; }

    /// For a container that keeps an STextHint right in front of each entry: goes down from `entry` as the hints tell, to the
    /// first entry whose hint equals this one, or to null. `place` becomes where it went last; where it went nowhere it stays.
    static Entry* Descend(Entry* entry, const STextHint& hint, Place& place);

    /// Makes an entry below `parent`, its links cleared, not linked yet. Throws SEOutOfMemory.
    Entry* BuyEntry(Entry* parent, _Redbl color);
    /// Hangs a bought entry on its place and restores the rules. The place must come from a search for its key.
    void LinkEntry(Entry* entry, Place place);

    /// In the order of the keys; null at the ends.
    static Entry* Successor(Entry* entry)
    {
        if (entry->right)
            return Lowest(entry->right);
        Entry* parent = entry->parent;
        while (parent && entry == parent->right) {
            entry = parent;
            parent = parent->parent;
        }
        return parent;
    }
    static Entry* Predecessor(Entry* entry)
    {
        if (entry->left)
            return Highest(entry->left);
        Entry* parent = entry->parent;
        while (parent && entry == parent->left) {
            entry = parent;
            parent = parent->parent;
        }
        return parent;
    }
    /// First and last entry; null of an empty tree.
    Entry* GetMinimum() const { return m_root ? Lowest(m_root) : nullptr; }
    Entry* GetMaximum() const { return m_root ? Highest(m_root) : nullptr; }
    Entry* Root() const { return m_root; }

    /// Removes everything. Neither recursive nor balancing on the way.
    void FreeTree();
    /// Becomes a copy of a tree of the same container, entry by entry and as it stands, in linear time. When something
    /// throws, this tree is as it was.
    __STree& operator=(const __STree& other);
    /// Exchanges the entries of two trees of the same container.
    void SwapTrees(__STree& other) noexcept;

private:
    friend struct STreeLayout;

    static Entry* Lowest(Entry* entry)
    {
        while (entry->left)
            entry = entry->left;
        return entry;
    }
    static Entry* Highest(Entry* entry)
    {
        while (entry->right)
            entry = entry->right;
        return entry;
    }

    Entry*& LinkTo(Entry* entry);
    void RotateLeft(Entry* entry);
    void RotateRight(Entry* entry);
    void Rotate(Entry* entry, bool right);
    void Turn(Entry* entry, bool right);
    void SwapPosition(Entry* entry, Entry* successor);
    void Unlink(Entry* entry);
    void InsertFixup(Entry* entry);
    void DeleteFixup(Entry* entry);
    Entry* CloneEntry(Entry* source, Entry* parent);
    void FreeEntries(Entry* root);

    long m_count;
    Entry* m_root;
};

/// The pool of the process from which entries of this size come: one pool a size, in the DLL, so that an entry made in one
/// module is freed right in another. `entryBytes` is rounded up to a multiple of 4; blocks are 4-aligned. The pools live
/// until the DLL goes. Null when a new pool cannot be made. Any thread.
CVCORE_API SFixedAlloc* SEntryPool(unsigned long entryBytes) noexcept;

#endif
