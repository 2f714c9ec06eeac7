// table.h: the two array engines under the typed tables (tablemem.h). They know elements as bytes of one
// size: __STableDumb copies them as bytes, __STableMem through virtual operations of the class that derives
// from it.
//
//     __STableDumb ids(sizeof(long));
//     ids.Insert(ids.Count(), &id);
//     const long first = *static_cast<const long*>(std::as_const(ids).GetAt(0));
//
// Value    copying shares the block and costs one increment; the first access that could change a shared
//          block makes a private one. Pointers to elements are dead after the next member that is not const.
// Threads  arrays that share a block must stay on one thread: the reference count is a plain number.
// Failure  what must allocate throws SEOutOfMemory and leaves the elements as they were; so does a size
//          beyond the address space, and whatever the copying of an element throws.
// Cost     one word, for __STableMem a virtual table pointer beside it; 16 bytes in front of the elements.
//          Capacities grow by half: 4, 7, 11, 17, 26, 40, ... The blocks of small elements have the bytes of
//          the next growths as well (4 to 17, then three and three), so most growths of a private block need
//          nothing from the heap.
//
// Elements move within a block, and with it, as bytes: a type with a pointer into itself cannot be an
// element. They are aligned to 8 bytes at most.
//
// Positions: where an element is named (GetAt, Remove, MoveTo, Swap) one outside 0..Count()-1 does nothing
// and the answer is null or false; where a place is named (Insert, NewAt) one below 0 means the start and one
// beyond Count() the end.
#ifndef TABLE_H
#define TABLE_H

#include "cvbase.h"

#include <cstddef>

class __STableMem;

/// What stands in front of the elements of every block.
struct __STableData {
    long refs;                 ///< arrays that share the block
    long capacity;             ///< elements that fit
    long count;                ///< elements that are there
    unsigned long elementSize; ///< bytes of one

    void* Elements() { return this + 1; }
    const void* Elements() const { return this + 1; }
    void* At(int i) { return static_cast<char*>(Elements()) + static_cast<size_t>(i) * elementSize; }
    const void* At(int i) const
    {
        return static_cast<const char*>(Elements()) + static_cast<size_t>(i) * elementSize;
    }
};

/// The word that is an array: the address of its block or, while it has none, its element size * 2 + 1. Only
/// the engines derive from it.
class CVCORE_API __STableWord {
public:
    int Count() const { return HasBlock() ? Block()->count : 0; }
    bool IsEmpty() const { return Count() == 0; }
    /// Elements that fit into the block; 0 without one.
    int Capacity() const { return HasBlock() ? Block()->capacity : 0; }
    /// Bytes of one element, also without a block.
    unsigned long ElementSize() const
    {
        return HasBlock() ? Block()->elementSize
                          : static_cast<unsigned long>(reinterpret_cast<UINT_PTR>(m_word) >> 1);
    }
    /// Whether another array has the same block.
    bool IsShared() const { return HasBlock() && Block()->refs != 1; }
    /// The address of an element, for reading; does not unshare.
    const void* GetAt(int i) const
    {
        return static_cast<unsigned>(i) < static_cast<unsigned>(Count()) ? Block()->At(i) : nullptr;
    }

protected:
    explicit __STableWord(unsigned long elementSize) noexcept : m_word(TaggedSize(elementSize)) {}
    /// Shares the other's block.
    __STableWord(const __STableWord& other) noexcept : m_word(other.m_word)
    {
        if (HasBlock())
            ++Block()->refs;
    }
    /// Takes the other's block over; the other is empty afterwards.
    __STableWord(__STableWord&& other) noexcept : m_word(other.TakeWord()) {}
    __STableWord& operator=(const __STableWord&) = delete;
    /// The engine has let the block go.
    ~__STableWord() = default;

    static __STableData* TaggedSize(unsigned long elementSize)
    {
        return reinterpret_cast<__STableData*>(UINT_PTR(elementSize) * 2 + 1);
    }
    bool HasBlock() const { return (reinterpret_cast<UINT_PTR>(m_word) & 1) == 0; }
    /// Only while HasBlock().
    __STableData* Block() const { return m_word; }
    /// Whether one more element fits into a block that no other array has.
    bool HasPrivateRoom() const
    {
        return HasBlock() && Block()->refs == 1 && Block()->count < Block()->capacity;
    }
    /// For destructors: gives up a block that another array has too. False: there is one and it is the last
    /// reference.
    bool LeavesNothing() noexcept
    {
        if (!HasBlock())
            return true;
        if (Block()->refs == 1)
            return false;
        --Block()->refs;
        m_word = TaggedSize(Block()->elementSize);
        return true;
    }
    /// The word itself, for moving it elsewhere; the array is empty afterwards.
    __STableData* TakeWord() noexcept
    {
        __STableData* const word = m_word;
        m_word = TaggedSize(ElementSize());
        return word;
    }
    /// Only while there is no block to lose.
    void SetWord(__STableData* word) noexcept { m_word = word; }
    void SwapWords(__STableWord& other) noexcept
    {
        __STableData* const word = m_word;
        m_word = other.m_word;
        other.m_word = word;
    }

private:
    friend class __STableCore;

    // A pointer even where it is a tagged number: then the optimiser knows that no element, not even a
    // number, is meant by it, and need not load it again after each store.
    __STableData* m_word;
};

/// An array of plain elements, copied as bytes.
class CVCORE_API __STableDumb : public __STableWord {
public:
    /// An empty array of elements of that many bytes, at least 1. Allocates nothing.
    explicit __STableDumb(unsigned long elementSize) noexcept : __STableWord(elementSize) {}
    __STableDumb(const __STableDumb& other) noexcept = default;
    __STableDumb(__STableDumb&& other) noexcept = default;
    ~__STableDumb()
    {
        if (!LeavesNothing())
            FreeData();
    }

    /// Shares the other's block; the element size becomes the other's.
    __STableDumb& operator=(const __STableDumb& other) noexcept;
    __STableDumb& operator=(__STableDumb&& other) noexcept
    {
        __STableDumb moved(static_cast<__STableDumb&&>(other));
        swap(moved);
        return *this;
    }
    void swap(__STableDumb& other) noexcept { SwapWords(other); }

    using __STableWord::GetAt;
    /// The address of an element, for writing: unshares.
    void* GetAt(int i);

    /// Opens a slot at `i` and returns its address; the slot is not initialised. Without a block: makes one
    /// of capacity 4. A full block grows to capacity * 3 / 2 + 1; a shared one is left for a private one of
    /// the same, or that, capacity.
    void* NewAt(int i);
    /// Opens a slot at `i` and copies an element into it. `from` may be an element of this array.
    void Insert(int i, const void* from);
    /// Takes an element out; the block keeps its capacity.
    bool Remove(int i);
    /// Takes the element at `from` out and puts it back so that it stands at `to`; those between move by one.
    bool MoveTo(int from, int to);
    /// Exchanges two elements.
    bool Swap(int i, int j);
    /// Turns the order round.
    void Reverse();

    /// Makes the block private with capacity `n`, or Count() where `n` is less. 0 lets the block go, with
    /// whatever elements are in it.
    void GrowTo(int n);
    /// The array becomes a copy of `n` elements, in a block of that capacity; 0 or less lets the block go.
    /// `from` may be elements of this array.
    void CopyArray(const void* from, int n);
    /// Lets the block go: no elements, one tagged word.
    void FreeData() noexcept;

    /// A new block of capacity `count` without elements, one reference. For the engines and for those who
    /// must know where running out of memory is reported from: both engines allocate here.
    static __STableData* AllocData(int count, unsigned long elementSize);
};

/// An array of elements with copy semantics, which a derived class supplies. The members are those of
/// __STableDumb; here copies of elements are made by Allocate, and Destroy ends each element once. Unsharing
/// copies every element.
///
/// The destructor of the class that supplies them must call FreeData: when this class's own destructor runs,
/// they are gone.
class CVCORE_API __STableMem : public __STableWord {
public:
    virtual ~__STableMem();

    using __STableWord::GetAt;
    void* GetAt(int i);
    /// The caller constructs an element in the slot before it does anything else, or takes it back (CloseAt).
    void* NewAt(int i);
    /// When the copying throws, the slot is closed again.
    void Insert(int i, const void* from);
    bool Remove(int i);
    bool MoveTo(int from, int to);
    bool Swap(int i, int j);
    void Reverse();

    void GrowTo(int n);
    void CopyArray(const void* from, int n);
    /// Destroys the elements unless another array has them too, and lets the block go.
    void FreeData() noexcept;
    /// The same, as the client calls it.
    void Clear() noexcept { FreeData(); }

    static __STableData* AllocData(int count, unsigned long elementSize)
    {
        return __STableDumb::AllocData(count, elementSize);
    }

protected:
    explicit __STableMem(unsigned long elementSize) noexcept : __STableWord(elementSize) {}
    __STableMem(const __STableMem& other) noexcept = default;
    __STableMem(__STableMem&& other) noexcept = default;
    /// Assignment is between arrays of one element type.
    __STableMem& operator=(const __STableMem& other) noexcept;
    __STableMem& operator=(__STableMem&& other) noexcept
    {
        // `other` may end with the elements that go.
        __STableData* const word = other.TakeWord();
        FreeData();
        SetWord(word);
        return *this;
    }

    /// Ends an element, as its destructor does. Must not touch the array.
    virtual void Destroy(void* element) noexcept = 0;
    /// Constructs a copy of `from` at `where`. May throw; nothing stands at `where` then. Must not touch the
    /// array.
    virtual void Allocate(void* where, const void* from) = 0;

    /// Takes back a slot from NewAt in which no element was constructed.
    void CloseAt(int i) noexcept;

private:
    friend class __STableCore;
};

#if S_TARGET_32BIT
static_assert(sizeof(__STableData) == 16, "the elements follow 16 bytes behind the start of their block");
static_assert(offsetof(__STableData, refs) == 0 && offsetof(__STableData, capacity) == 4 &&
                  offsetof(__STableData, count) == 8 && offsetof(__STableData, elementSize) == 12,
              "four words: refs, capacity, count, element size");
static_assert(sizeof(__STableDumb) == 4, "an array of plain elements is one word");
static_assert(sizeof(__STableMem) == 8, "a virtual table pointer and the word");
#endif

#endif
