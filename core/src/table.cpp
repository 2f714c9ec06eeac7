// table.cpp: both array engines. They differ only in how an element is copied and ended, so all the work is
// done once, by __STableCore, which is told by a null pointer that bytes will do.
#include "table.h"

#include "bytemove.h"
#include "sexcept.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

const char kAllocSignature[] = "static __STableData* __STableDumb::AllocData(int, unsigned long)";
const char kSourceFile[] = "core/src/table";
constexpr unsigned long kAllocLine = 546;

// The capacities that a growing array goes through: 4, and from each to a half more and one.
struct GrowthRow {
    static constexpr int kLength = 49; // the next would be beyond INT_MAX

    constexpr GrowthRow() : capacity{}
    {
        capacity[0] = 4;
        for (int i = 1; i < kLength; ++i)
            capacity[i] = capacity[i - 1] + capacity[i - 1] / 2 + 1;
    }
    int capacity[kLength];
};
constexpr GrowthRow kGrowthRow;

// Most of what growing costs is the heap. So the first four capacities in the row, and then three after
// three, have the bytes of the last of them, and growing from one to the next needs no other block. That is
// for small elements only (bytes of one), and for blocks that do not get too much in this way (bytes).
constexpr int kSharedRoom = 3;
constexpr unsigned long kMostElementBytes = 16;
constexpr unsigned long long kMostSpareBytes = 0x1000000;
static_assert((GrowthRow::kLength - 1) % kSharedRoom == 0,
              "the last capacity in the row is the last of its three");

// Between these sizes of a block (bytes) realloc often finds room behind it. Below it costs more than
// copying, and above the heap takes fresh pages from the system and realloc costs half again as much as doing
// it here.
constexpr size_t kReallocFrom = 0x400;
constexpr size_t kReallocBelow = 0x40000;

// MoveTo keeps an element of up to so many bytes aside on the stack.
constexpr size_t kAsideBytes = 256;

[[noreturn]] void ThrowOutOfMemory()
{
    throw SEOutOfMemory(kAllocSignature, kSourceFile, kAllocLine);
}

// capacity * 3 / 2 + 1
int GrownCapacity(int capacity)
{
    const unsigned half = static_cast<unsigned>(capacity) / 2;
    const unsigned grown = static_cast<unsigned>(capacity) + half + 1;
    if (grown > INT_MAX)
        ThrowOutOfMemory();
    return static_cast<int>(grown);
}

// The bytes of a block, which depend on nothing but these two.
size_t BlockBytes(int capacity, unsigned long elementSize)
{
    unsigned long long room = static_cast<unsigned long long>(capacity) * elementSize;
    if (elementSize <= kMostElementBytes) {
        int i = 0;
        while (i < GrowthRow::kLength - 1 && kGrowthRow.capacity[i] < capacity)
            ++i;
        const int last = i == 0 ? kSharedRoom : (i + kSharedRoom - 1) / kSharedRoom * kSharedRoom;
        const unsigned long long all =
            static_cast<unsigned long long>(kGrowthRow.capacity[last]) * elementSize;
        if (kGrowthRow.capacity[i] == capacity && all - room <= kMostSpareBytes)
            room = all;
    }
    if (room > PTRDIFF_MAX - sizeof(__STableData))
        ThrowOutOfMemory();
    return static_cast<size_t>(room) + sizeof(__STableData);
}

// Memory functions may not be given a null pointer, not even for 0 bytes.
void CopyBytes(void* to, const void* from, size_t bytes)
{
    if (bytes != 0)
        std::memcpy(to, from, bytes);
}

void SwapBytes(void* a, void* b, size_t bytes)
{
    char* left = static_cast<char*>(a);
    char* right = static_cast<char*>(b);
    for (; bytes >= sizeof(std::uint64_t); bytes -= sizeof(std::uint64_t)) {
        std::uint64_t x, y;
        std::memcpy(&x, left, sizeof x);
        std::memcpy(&y, right, sizeof y);
        std::memcpy(left, &y, sizeof y);
        std::memcpy(right, &x, sizeof x);
        left += sizeof x;
        right += sizeof x;
    }
    for (; bytes != 0; --bytes, ++left, ++right) {
        const char kept = *left;
        *left = *right;
        *right = kept;
    }
}

} // namespace

class __STableCore {
public:
    explicit __STableCore(__STableWord& table, __STableMem* semantics = nullptr)
        : m_table(table), m_semantics(semantics)
    {}

    void Assign(const __STableWord& other) noexcept;
    void* GetAt(int i);
    void* NewAt(int i);
    void CloseAt(int i) noexcept;
    void Insert(int i, const void* from);
    bool Remove(int i);
    bool MoveTo(int from, int to);
    bool Swap(int i, int j);
    void Reverse();
    void GrowTo(int n);
    void CopyArray(const void* from, int n);
    void FreeData() noexcept;

private:
    bool HasBlock() const { return m_table.HasBlock(); }
    __STableData* Block() const { return m_table.Block(); }
    unsigned long ElementSize() const { return m_table.ElementSize(); }
    bool IsElement(int i) const { return static_cast<unsigned>(i) < static_cast<unsigned>(m_table.Count()); }
    int ClampPlace(int i) const;
    void SetBlock(__STableData* data) { m_table.m_word = data; }

    void Construct(void* where, const void* from);
    __STableData* NewBlockWith(const void* from, int count, int capacity);
    void LetGo(__STableData* data) noexcept;
    void MakePrivate(int capacity);
    void Resize(int capacity);
    void Unshare();

    __STableWord& m_table;
    __STableMem* m_semantics; // null: elements are bytes
};

// ---- Blocks ----

int __STableCore::ClampPlace(int i) const
{
    const int count = m_table.Count();
    return i < 0 ? 0 : i > count ? count : i;
}

void __STableCore::Construct(void* where, const void* from)
{
    if (m_semantics)
        m_semantics->Allocate(where, from);
    else
        std::memcpy(where, from, ElementSize());
}

// A block with copies of `count` elements. An element that cannot be copied leaves nothing behind.
__STableData* __STableCore::NewBlockWith(const void* from, int count, int capacity)
{
    const unsigned long elementSize = ElementSize();
    __STableData* data = __STableDumb::AllocData(capacity, elementSize);
    if (!m_semantics) {
        CopyBytes(data->Elements(), from, static_cast<size_t>(count) * elementSize);
        data->count = count;
        return data;
    }
    try {
        for (const char* next = static_cast<const char*>(from); data->count < count; next += elementSize) {
            m_semantics->Allocate(data->At(data->count), next);
            ++data->count;
        }
    }
    catch (...) {
        LetGo(data);
        throw;
    }
    return data;
}

// Drops one reference of a block that the table does not show.
void __STableCore::LetGo(__STableData* data) noexcept
{
    if (data->refs > 1) {
        --data->refs;
        return;
    }
    if (m_semantics) {
        for (int i = 0; i < data->count; ++i)
            m_semantics->Destroy(data->At(i));
    }
    std::free(data);
}

// Gives a block that is not shared another capacity.
void __STableCore::Resize(int capacity)
{
    __STableData* old = Block();
    const size_t oldBytes = BlockBytes(old->capacity, old->elementSize);
    const size_t bytes = BlockBytes(capacity, old->elementSize);
    __STableData* data = old;
    if (bytes < oldBytes || (bytes > oldBytes && bytes >= kReallocFrom && bytes < kReallocBelow)) {
        data = static_cast<__STableData*>(std::realloc(old, bytes));
        if (!data)
            ThrowOutOfMemory();
    } else if (bytes > oldBytes) {
        data = __STableDumb::AllocData(capacity, old->elementSize);
        data->count = old->count;
        std::memcpy(data->Elements(), old->Elements(), static_cast<size_t>(old->count) * old->elementSize);
        std::free(old);
    }
    data->capacity = capacity;
    SetBlock(data);
}

// The table gets a block of its own with that capacity, which is at least the count.
void __STableCore::MakePrivate(int capacity)
{
    if (!HasBlock()) {
        SetBlock(__STableDumb::AllocData(capacity, ElementSize()));
    } else if (m_table.IsShared()) {
        __STableData* shared = Block();
        SetBlock(NewBlockWith(shared->Elements(), shared->count, capacity));
        LetGo(shared);
    } else if (m_table.Capacity() != capacity) {
        Resize(capacity);
    }
}

// Before anything is written to an element that exists.
void __STableCore::Unshare()
{
    if (!m_table.IsShared())
        return;
    if (m_table.IsEmpty())
        FreeData(); // a capacity equal to the count would be 0
    else
        MakePrivate(m_table.Count());
}

void __STableCore::FreeData() noexcept
{
    if (!HasBlock())
        return;
    __STableData* data = Block();
    m_table.m_word = __STableWord::TaggedSize(data->elementSize);
    LetGo(data);
}

void __STableCore::Assign(const __STableWord& other) noexcept
{
    __STableData* const word = other.m_word;
    if (word == m_table.m_word)
        return;
    if (other.HasBlock())
        ++other.Block()->refs;
    FreeData();
    m_table.m_word = word;
}

// ---- Elements ----

void* __STableCore::GetAt(int i)
{
    if (!IsElement(i))
        return nullptr;
    Unshare();
    return Block()->At(i);
}

void* __STableCore::NewAt(int i)
{
    i = ClampPlace(i);
    const int count = m_table.Count();
    const int capacity = m_table.Capacity();
    if (!HasBlock())
        MakePrivate(kGrowthRow.capacity[0]);
    else
        MakePrivate(count < capacity ? capacity : GrownCapacity(capacity));
    __STableData* data = Block();
    void* slot = data->At(i);
    if (i < count)
        ByteMove::Up(data->At(i + 1), slot, static_cast<size_t>(count - i) * data->elementSize);
    ++data->count;
    return slot;
}

void __STableCore::CloseAt(int i) noexcept
{
    __STableData* data = Block();
    const int behind = data->count - i - 1;
    if (behind > 0)
        ByteMove::Down(data->At(i), data->At(i + 1), static_cast<size_t>(behind) * data->elementSize);
    --data->count;
}

void __STableCore::Insert(int i, const void* from)
{
    i = ClampPlace(i);
    // An element of this array is found again by its offset, wherever the block and the hole have brought it.
    const size_t elementSize = ElementSize();
    const UINT_PTR first = HasBlock() ? reinterpret_cast<UINT_PTR>(Block()->Elements()) : 0;
    size_t offset = reinterpret_cast<UINT_PTR>(from) - first;
    const bool inside = HasBlock() && offset < static_cast<size_t>(Block()->count) * elementSize;
    void* slot = NewAt(i);
    if (inside) {
        if (offset >= static_cast<size_t>(i) * elementSize)
            offset += elementSize;
        from = static_cast<const char*>(Block()->Elements()) + offset;
    }
    try {
        Construct(slot, from);
    }
    catch (...) {
        CloseAt(i);
        throw;
    }
}

bool __STableCore::Remove(int i)
{
    void* element = GetAt(i);
    if (!element)
        return false;
    if (m_semantics)
        m_semantics->Destroy(element);
    CloseAt(i);
    return true;
}

bool __STableCore::MoveTo(int from, int to)
{
    if (!IsElement(from) || !IsElement(to))
        return false;
    Unshare();
    __STableData* data = Block();
    const size_t elementSize = data->elementSize;
    if (elementSize > kAsideBytes) {
        for (const int step = from < to ? 1 : -1; from != to; from += step)
            SwapBytes(data->At(from), data->At(from + step), elementSize);
        return true;
    }
    char aside[kAsideBytes];
    std::memcpy(aside, data->At(from), elementSize);
    if (from < to)
        ByteMove::Down(data->At(from), data->At(from + 1), static_cast<size_t>(to - from) * elementSize);
    else
        ByteMove::Up(data->At(to + 1), data->At(to), static_cast<size_t>(from - to) * elementSize);
    std::memcpy(data->At(to), aside, elementSize);
    return true;
}

bool __STableCore::Swap(int i, int j)
{
    if (!IsElement(i) || !IsElement(j))
        return false;
    Unshare();
    SwapBytes(Block()->At(i), Block()->At(j), ElementSize());
    return true;
}

void __STableCore::Reverse()
{
    Unshare();
    for (int i = 0, j = m_table.Count() - 1; i < j; ++i, --j)
        SwapBytes(Block()->At(i), Block()->At(j), ElementSize());
}

// ---- The whole ----

void __STableCore::GrowTo(int n)
{
    if (n != 0 && n < m_table.Count())
        n = m_table.Count();
    if (n <= 0)
        FreeData();
    else
        MakePrivate(n);
}

void __STableCore::CopyArray(const void* from, int n)
{
    __STableData* copy = n > 0 ? NewBlockWith(from, n, n) : nullptr;
    FreeData();
    if (copy)
        SetBlock(copy);
}

// ---- __STableDumb ----

__STableData* __STableDumb::AllocData(int count, unsigned long elementSize)
{
    void* memory = std::malloc(BlockBytes(count, elementSize));
    if (!memory)
        ThrowOutOfMemory();
    return ::new (memory) __STableData{ 1, count, 0, elementSize };
}

__STableDumb& __STableDumb::operator=(const __STableDumb& other) noexcept
{
    __STableCore(*this).Assign(other);
    return *this;
}

void* __STableDumb::GetAt(int i)
{
    return __STableCore(*this).GetAt(i);
}

void* __STableDumb::NewAt(int i)
{
    return __STableCore(*this).NewAt(i);
}

void __STableDumb::Insert(int i, const void* from)
{
    __STableCore(*this).Insert(i, from);
}

bool __STableDumb::Remove(int i)
{
    return __STableCore(*this).Remove(i);
}

bool __STableDumb::MoveTo(int from, int to)
{
    return __STableCore(*this).MoveTo(from, to);
}

bool __STableDumb::Swap(int i, int j)
{
    return __STableCore(*this).Swap(i, j);
}

void __STableDumb::Reverse()
{
    __STableCore(*this).Reverse();
}

void __STableDumb::GrowTo(int n)
{
    __STableCore(*this).GrowTo(n);
}

void __STableDumb::CopyArray(const void* from, int n)
{
    __STableCore(*this).CopyArray(from, n);
}

void __STableDumb::FreeData() noexcept
{
    __STableCore(*this).FreeData();
}

// ---- __STableMem ----

__STableMem::~__STableMem()
{
#ifdef CVCORE_CHECKED
    // The derived destructor did not call FreeData, and nobody is left who could end the elements.
    if (HasBlock())
        S_TRAP();
#endif
}

__STableMem& __STableMem::operator=(const __STableMem& other) noexcept
{
    __STableCore(*this, this).Assign(other);
    return *this;
}

void* __STableMem::GetAt(int i)
{
    return __STableCore(*this, this).GetAt(i);
}

void* __STableMem::NewAt(int i)
{
    return __STableCore(*this, this).NewAt(i);
}

void __STableMem::CloseAt(int i) noexcept
{
    __STableCore(*this, this).CloseAt(i);
}

void __STableMem::Insert(int i, const void* from)
{
    __STableCore(*this, this).Insert(i, from);
}

bool __STableMem::Remove(int i)
{
    return __STableCore(*this, this).Remove(i);
}

bool __STableMem::MoveTo(int from, int to)
{
    return __STableCore(*this, this).MoveTo(from, to);
}

bool __STableMem::Swap(int i, int j)
{
    return __STableCore(*this, this).Swap(i, j);
}

void __STableMem::Reverse()
{
    __STableCore(*this, this).Reverse();
}

void __STableMem::GrowTo(int n)
{
    __STableCore(*this, this).GrowTo(n);
}

void __STableMem::CopyArray(const void* from, int n)
{
    __STableCore(*this, this).CopyArray(from, n);
}

void __STableMem::FreeData() noexcept
{
    __STableCore(*this, this).FreeData();
}
