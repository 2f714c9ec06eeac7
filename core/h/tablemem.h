// tablemem.h: STable, the typed array. Copies share their elements until one of them is changed.
//
//     STable<SString> names;
//     names.Add(L"first");
//     for (const SString& name : std::as_const(names)) ...      // a const table is read without unsharing
//
// Value    copying costs one increment; the first access that could change a shared table copies its
//          elements. Everything that is not const counts as such an access: operator[], GetAt, begin and end
//          too.
// Threads  tables that share their elements must stay on one thread: the reference count is a plain number.
//          For another thread make a table of its own, e.g. by GrowTo(Count()), before it is handed over.
// Failure  what must allocate throws SEOutOfMemory; that, and whatever the copying of an element throws,
//          leaves the table as it was.
// Cost     one word when T is trivially copyable, two otherwise; 16 bytes in front of the elements. Room
//          grows by half (4, 7, 11, 17, 26, ...). Adding at the end costs constant time on the average,
//          Insert and Remove move what is behind.
//
// References, pointers and iterators to elements are dead after the next member that is not const, other than
// operator[], GetAt, begin, end and Swap on a table that is not shared. A value that is given to a member may
// be an element of the same table.
//
// Elements move as bytes. T must bear that; SIsRelocatable says whether it does.
#ifndef TABLEMEM_H
#define TABLEMEM_H

#include "table.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

class SString;

/// Whether an object can be moved by copying its bytes to another place and forgetting the old one, without
/// constructor and destructor. That holds for nearly every type that holds no pointer into itself and tells
/// nobody its own address; std::wstring, for one, points into itself. True for trivially copyable types and
/// for the library's values; say it for a type of yours with S_RELOCATABLE.
template <class T>
struct SIsRelocatable : std::is_trivially_copyable<T> {};
template <>
struct SIsRelocatable<SString> : std::true_type {};

/// Declares a type relocatable; at namespace scope, outside of any namespace:
/// S_RELOCATABLE(MyNamespace::MyType)
#define S_RELOCATABLE(...)                                                                                   \
    template <>                                                                                              \
    struct SIsRelocatable<__VA_ARGS__> : std::true_type {}

/// How a table makes and ends its elements. A table with another class in its place calls that instead.
template <class T>
struct SAllocator {
    /// Whether elements may be copied as bytes and need no end. Such a table is one word; Allocate then only
    /// makes what is added, and Destroy is hardly ever called.
    static constexpr bool kPlain = std::is_trivially_copyable<T>::value;

    static void Allocate(void* where, const T& from) { ::new (where) T(from); }
    static void Allocate(void* where, T&& from) { ::new (where) T(static_cast<T&&>(from)); }
    static void Destroy(T& element) noexcept { element.~T(); }
};

/// The base of tables whose elements are not plain. A class that derives from it supplies Allocate and
/// Destroy and calls FreeData in its destructor.
class CVCORE_API __STable : public __STableMem {
public:
    ~__STable() override;

protected:
    explicit __STable(unsigned long elementSize) noexcept : __STableMem(elementSize) {}
    /// With a block of that capacity from the start (0 or less: none). The second number is taken and not
    /// used: growth is the engine's. Throws SEOutOfMemory.
    __STable(unsigned long elementSize, int capacity, int growBy);
    __STable(const __STable&) noexcept = default;
    __STable(__STable&&) noexcept = default;
    __STable& operator=(const __STable&) noexcept = default;
    __STable& operator=(__STable&&) noexcept = default;
};

/// The engine of a table, chosen by A::kPlain.
template <class T, class A, bool plain = A::kPlain>
class __STableOf;

template <class T, class A>
class __STableOf<T, A, true> : protected __STableDumb {
    static_assert(std::is_trivially_copyable<T>::value,
                  "only trivially copyable elements are copied as bytes");

protected:
    __STableOf() noexcept : __STableDumb(sizeof(T)) {}
    void SwapWith(__STableOf& other) noexcept { SwapWords(other); }
};

template <class T, class A>
class __STableOf<T, A, false> : protected __STable {
protected:
    __STableOf() noexcept : __STable(sizeof(T)) {}
    __STableOf(const __STableOf&) noexcept = default;
    __STableOf(__STableOf&&) noexcept = default;
    __STableOf& operator=(const __STableOf&) noexcept = default;
    __STableOf& operator=(__STableOf&&) noexcept = default;
    ~__STableOf() override
    {
        if (!LeavesNothing())
            FreeData();
    }
    void SwapWith(__STableOf& other) noexcept { SwapWords(other); }

    void Destroy(void* element) noexcept override { A::Destroy(*static_cast<T*>(element)); }
    void Allocate(void* where, const void* from) override
    {
        A::Allocate(where, *static_cast<const T*>(from));
    }
};

template <class T, class A = SAllocator<T>>
class STable : protected __STableOf<T, A> {
    typedef __STableOf<T, A> Engine;

    static_assert(std::is_same<T, std::remove_cv_t<T>>::value && std::is_object<T>::value,
                  "elements are objects that can be assigned");
    static_assert(std::is_copy_constructible<T>::value, "a shared table must be able to copy its elements");
    static_assert(alignof(T) <= 8,
                  "elements are aligned to 8 bytes at most: keep pointers to such objects instead");
    static_assert(SIsRelocatable<T>::value, "a table moves its elements as bytes: if T bears that (no "
                                            "pointer into itself, its address registered "
                                            "nowhere) say S_RELOCATABLE(T), else keep pointers to T");

public:
    typedef T value_type;
    typedef int size_type;
    typedef ptrdiff_t difference_type;
    typedef T& reference;
    typedef const T& const_reference;
    typedef T* iterator;
    typedef const T* const_iterator;

    /// No elements, no allocation.
    STable() noexcept = default;
    STable(std::initializer_list<T> values)
    {
        GrowTo(static_cast<int>(values.size()));
        for (const T& value : values)
            Add(value);
    }
    STable(const STable&) noexcept = default;
    STable(STable&&) noexcept = default;
    STable& operator=(const STable&) noexcept = default;
    STable& operator=(STable&&) noexcept = default;
    ~STable() = default;

    void swap(STable& other) noexcept { this->SwapWith(other); }

    // ---- Looking ----

    using Engine::Capacity;
    using Engine::Count;
    using Engine::IsEmpty;
    using Engine::IsShared;

    /// The element at an index, which must lie in 0..Count()-1: checked builds stop at a wrong one, others do
    /// not look.
    const T& operator[](int i) const
    {
        CheckIndex(i);
        return First()[i];
    }
    T& operator[](int i)
    {
        CheckIndex(i);
        if (S_UNLIKELY(this->Block()->refs != 1))
            Engine::GetAt(i);
        return First()[i];
    }
    /// The same under the name of the other containers.
    const T& GetAt(int i) const { return (*this)[i]; }
    T& GetAt(int i) { return (*this)[i]; }

    const T* begin() const { return this->HasBlock() ? First() : nullptr; }
    const T* end() const { return this->HasBlock() ? First() + this->Block()->count : nullptr; }
    const T* cbegin() const { return begin(); }
    const T* cend() const { return end(); }
    T* begin()
    {
        if (S_UNLIKELY(this->IsShared()))
            Engine::GetAt(0);
        return this->HasBlock() ? First() : nullptr;
    }
    T* end() { return begin() + Count(); }

    // ---- Changing ----

    /// Appends; returns the new element's index.
    int Add(const T& value) { return AddValue(value); }
    int Add(T&& value) { return AddValue(static_cast<T&&>(value)); }
    /// Puts a value in front of the element at `i`; below 0 means the start, from Count() on the end.
    void Insert(int i, const T& value) { InsertValue(i, value); }
    void Insert(int i, T&& value) { InsertValue(i, static_cast<T&&>(value)); }
    /// Takes an element out; an index outside the table changes nothing and answers false, here and in the
    /// next two.
    bool Remove(int i) { return Engine::Remove(i); }
    /// Takes the element at `from` out and puts it back so that it stands at `to`; those between move by one.
    bool MoveTo(int from, int to) { return Engine::MoveTo(from, to); }
    /// Exchanges two elements.
    bool Swap(int i, int j) { return Engine::Swap(i, j); }
    /// Turns the order round.
    void Reverse() { Engine::Reverse(); }
    /// Makes the table private, with room for exactly `n` elements or, where `n` is less, for those that are
    /// there. On purpose, 0 means none at all: GrowTo(0) is Clear().
    void GrowTo(int n) { Engine::GrowTo(n); }
    /// Removes all elements and gives the room back.
    void Clear() noexcept { Engine::FreeData(); }

private:
    // A value that is made before anything moves, and then goes into its slot as bytes: so the value may be
    // an element of this table, and a constructor that throws finds the table untouched.
    class Made {
    public:
        template <class Value>
        explicit Made(Value&& value) : m_ended(false)
        {
            A::Allocate(m_bytes, static_cast<Value&&>(value));
        }
        Made(const Made&) = delete;
        Made& operator=(const Made&) = delete;
        ~Made()
        {
            if (!m_ended)
                A::Destroy(*std::launder(reinterpret_cast<T*>(m_bytes)));
        }
        void MoveTo(void* slot) noexcept
        {
            std::memcpy(slot, m_bytes, sizeof(T));
            m_ended = true;
        }

    private:
        alignas(T) unsigned char m_bytes[sizeof(T)];
        bool m_ended;
    };

    T* First() const { return static_cast<T*>(this->Block()->Elements()); }

    void CheckIndex([[maybe_unused]] int i) const
    {
#ifdef CVCORE_CHECKED
        if (static_cast<unsigned>(i) >= static_cast<unsigned>(Count()))
            S_TRAP();
#endif
    }

    template <class Value>
    int AddValue(Value&& value)
    {
        if (S_UNLIKELY(!this->HasPrivateRoom()))
            return AddSlowly(static_cast<Value&&>(value));
        __STableData* data = this->Block();
        A::Allocate(First() + data->count, static_cast<Value&&>(value));
        return data->count++;
    }

    template <class Value>
    S_NOINLINE int AddSlowly(Value&& value)
    {
        const int index = Count();
        InsertValue(index, static_cast<Value&&>(value));
        return index;
    }

    template <class Value>
    void InsertValue(int i, Value&& value)
    {
        Made made(static_cast<Value&&>(value));
        made.MoveTo(Engine::NewAt(i));
    }
};

/// A table is its word.
template <class T, class A>
struct SIsRelocatable<STable<T, A>> : std::true_type {};

template <class T, class A>
void swap(STable<T, A>& a, STable<T, A>& b) noexcept
{
    a.swap(b);
}

/// Element by element, with the == of T.
template <class T, class A>
bool operator==(const STable<T, A>& a, const STable<T, A>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}
template <class T, class A>
bool operator!=(const STable<T, A>& a, const STable<T, A>& b)
{
    return !(a == b);
}

#if S_TARGET_32BIT
static_assert(sizeof(__STable) == 8, "a virtual table pointer and the word");
static_assert(sizeof(STable<int>) == 4, "a table of plain elements is one word");
#endif

#endif
