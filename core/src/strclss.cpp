// strclss.cpp: the string's buffers: where they come from, how they are shared, locked and guarded.
//
// What every member leaves true.
//   S1  m_text names the characters of a buffer; it is the static one exactly when nothing is owned.
//   S2  0 <= length <= capacity, and a NUL stands at both of them.
//   S3  the capacity is one of the eight classes' (block from that pool) or a multiple of 512 (block from the heap).
//   S4  refs is the number of strings that share the buffer, or kLocked (one string), or kStaticEmpty.
//   S5  an unlocked buffer holds a text: an empty result lets its buffer go.
// New buffers are made and filled before the old one is let go, so a failure changes nothing and a text may be taken from
// the buffer that it replaces.
#include "strclss.h"

#include "compiler.h"
#include "copytext.h"
#include "damage.h"
#include "salloc.h"
#include "sexcept.h"
#include "strbuffer.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#if S_TARGET_32BIT
static_assert(sizeof(SString) == 4, "a string is one pointer");
static_assert(sizeof(SStringData) == 12, "three 32-bit fields stand in front of the characters");
static_assert(offsetof(SStringData, refs) == 0 && offsetof(SStringData, length) == 4 &&
                  offsetof(SStringData, capacity) == 8,
              "refs, length, capacity");
#endif

// Makes the compiler emit the constant, so that clients find it in the DLL where they take its address.
constexpr int SString::kMaxLength;

const SStringEmpty g_emptyString = { { SStringData::kStaticEmpty, 0, 0 }, L'\0' };
static_assert(offsetof(SStringEmpty, nul) == sizeof(SStringData), "the NUL is the text of the empty buffer");

namespace {

// ---- Size classes: 17, 33, ... 2049 characters ----

constexpr int kClasses = 8;
constexpr int kSmallestCapacity = 17;
constexpr int kLargestCapacity = 2049;
constexpr int kLargeStep = 512;
// Header, and a terminator behind the last character.
constexpr int kBlockOverhead = static_cast<int>(sizeof(SStringData) + sizeof(wchar_t));

constexpr unsigned long BlockBytes(int capacity)
{
    return static_cast<unsigned long>(capacity) * sizeof(wchar_t) + kBlockOverhead;
}

// A pool on cache lines of its own: neighbours would share one, and two threads with it.
struct alignas(64) StringPool : SFixedAlloc {
    using SFixedAlloc::SFixedAlloc;
};

// Before every other static object of the library, and after the last of them is gone: they hold strings.
S_INIT_PRIORITY(102)
StringPool g_pools[kClasses] = {
    { BlockBytes(17), 128, L" Allocator Str17" },    { BlockBytes(33), 128, L" Allocator Str33" },
    { BlockBytes(65), 64, L" Allocator Str65" },     { BlockBytes(129), 64, L" Allocator Str129" },
    { BlockBytes(257), 64, L" Allocator Str257" },   { BlockBytes(513), 32, L" Allocator Str513" },
    { BlockBytes(1025), 16, L" Allocator Str1025" }, { BlockBytes(2049), 4, L" Allocator Str2049" },
};

std::atomic<unsigned long> g_largeBytes{ 0 };

// Class of a text of 1 to 2049 characters: capacities are 2^k + 1, so the highest bit of (n - 2) tells.
int ClassFor(int n)
{
    return n <= kSmallestCapacity ? 0 : HighestBit(static_cast<unsigned>(n - 2)) - 3;
}

// Capacity of a class, and the pool of a capacity (null: a heap block).
constexpr int ClassCapacity(int index)
{
    return (16 << index) + 1;
}
SFixedAlloc* PoolOf(long capacity)
{
    return capacity > kLargestCapacity ? nullptr
                                       : &g_pools[LowestBit(static_cast<unsigned>(capacity - 1)) - 4];
}

int RoundUpLarge(int n)
{
    return (n + (kLargeStep - 1)) & ~(kLargeStep - 1);
}

// ---- Out of memory ----

const char kAllocSignature[] = "void SString::AllocBuffer(int)";
const char kSourceFile[] = "core/src/strclss";
constexpr unsigned long kFirstClassLine = 1040;
constexpr unsigned long kHeapLine = 1060;

[[noreturn]] void ThrowOutOfMemory(int n)
{
    const unsigned long line = n >= 0 && n <= kLargestCapacity ? kFirstClassLine + ClassFor(n) : kHeapLine;
    throw SEOutOfMemory(kAllocSignature, kSourceFile, line);
}

void FreePoolsUnused() noexcept
{
    for (SFixedAlloc& pool : g_pools)
        pool.FreeUnused();
}

// Asks twice, giving back what the pools can spare in between; null when that did not help either.
template <class Allocate>
void* TryTwice(Allocate allocate)
{
    void* block = allocate();
    if (S_UNLIKELY(!block)) {
        FreePoolsUnused();
        block = allocate();
    }
    return block;
}

SStringData* StartBuffer(void* block, int n, int capacity)
{
    SStringData* data = static_cast<SStringData*>(block);
    data->refs = 1;
    data->length = n;
    data->capacity = capacity;
    data->Text()[n] = L'\0';
    data->Text()[capacity] = L'\0';
    return data;
}

// A buffer for n > 0 characters.
SStringData* NewBuffer(int n)
{
    if (S_LIKELY(n <= kLargestCapacity)) {
        const int index = ClassFor(n);
        SFixedAlloc& pool = g_pools[index];
        void* block = TryTwice([&pool] { return pool.TryAlloc(); });
        if (S_UNLIKELY(!block))
            ThrowOutOfMemory(n);
        return StartBuffer(block, n, ClassCapacity(index));
    }
    if (n > SString::kMaxLength)
        ThrowOutOfMemory(n);
    const int capacity = RoundUpLarge(n);
    const unsigned long bytes = BlockBytes(capacity);
    void* block = TryTwice([bytes] { return std::malloc(bytes); });
    if (!block)
        ThrowOutOfMemory(n);
    g_largeBytes.fetch_add(bytes, std::memory_order_relaxed);
    return StartBuffer(block, n, capacity);
}

// A sum of lengths, or an out-of-memory exception when no text can be that long.
int SumOfLengths(int a, int b)
{
    if (b > SString::kMaxLength - a)
        ThrowOutOfMemory(SString::kMaxLength);
    return a + b;
}

// ---- Guard ----

constexpr wchar_t kOverflowMessage[] =
    L"A string buffer overflow has been detected!\n You should try to SAVE-AS your "
    L"work TO ANOTHER FILE and exit application as soon as possible.";
const char kConstPszSignature[] = "const wchar_t* SString::PszStr() const";
const char kPszSignature[] = "wchar_t* SString::PszStr()";
const char kUnlockTcharSignature[] = "void SString::UnlockTchar(int)";
const char kUnlockBufferSignature[] = "void SString::UnlockBuffer(int)";
constexpr unsigned long kConstPszLine = 6043;
constexpr unsigned long kPszLine = 6055;
constexpr unsigned long kUnlockTcharLine = 2839;
constexpr unsigned long kUnlockBufferLine = 3042;

std::atomic<int> g_overflowSeen{ 0 };

void OverflowFound(SStringData* data, const char* signature, unsigned long line) noexcept
{
    g_overflowSeen.store(1);
    if (SFixedAlloc* pool = PoolOf(data->capacity))
        pool->LockBadBlockAndRepairFreeList(data);
    data->Text()[data->capacity] = L'\0';
    SReportDamage(signature, kSourceFile, line, kOverflowMessage);
}

inline void CheckGuard(SStringData* data, const char* signature, unsigned long line) noexcept
{
    if (S_UNLIKELY(data->Text()[data->capacity] != L'\0'))
        OverflowFound(data, signature, line);
}

} // namespace

int SHasStringBufferOverflow() noexcept
{
    return g_overflowSeen.load();
}

unsigned long SString::LargeBytes() noexcept
{
    return g_largeBytes.load(std::memory_order_relaxed);
}

void SString::FreeUnused() noexcept
{
    FreePoolsUnused();
}

// ---- Making ----

void SString::Init(const wchar_t* text, int n)
{
    AllocBuffer(n);
    TextKern::CopyText(m_text, text, static_cast<size_t>(n));
}

void SString::Init(const char* text)
{
    Init();
    _ToUnicode(text);
}

SString::SString(const wchar_t* text)
{
    const size_t length = SSafeStrLen(text);
    Init(text, length > kMaxLength ? kMaxLength + 1 : static_cast<int>(length));
}

SString::SString(const wchar_t* text, int n)
{
    Init(text, n <= 0 ? 0 : static_cast<int>(SSafeStrNLen(text, static_cast<size_t>(n))));
}

SString::SString(const wchar_t* first, const wchar_t* last)
{
    const size_t length = last > first ? static_cast<size_t>(last - first) : 0;
    Init(first, length > kMaxLength ? kMaxLength + 1 : static_cast<int>(length));
}

SString::SString(wchar_t c, int repeat)
{
    AllocBuffer(c ? repeat : 0);
    if (!IsEmpty())
        std::wmemset(m_text, c, static_cast<size_t>(repeat));
}

SString::SString(const char* text)
{
    Init(text);
}

SString::SString(const char* text, int n)
{
    Init();
    if (n > 0)
        _ToUnicode(text, n);
}

SString::SString(HINSTANCE module, unsigned id)
{
    Init();
    TryLoad(module, id);
}

SString::SString(const void* text, bool wide)
{
    Init();
    if (wide)
        *this = static_cast<const wchar_t*>(text);
    else
        _ToUnicode(static_cast<const char*>(text));
}

SString::SString(const SStringBuffer& buffer) : SString(buffer.m_text) {}

// The sources that are not simply shared.
void SString::CopySpecially(const SString& other)
{
    const SStringData* data = other.GetData();
    if (data->refs == SStringData::kLocked && *other.m_text != L'\0')
        Init(other.m_text, static_cast<int>(SSafeStrNLen(other.m_text, static_cast<size_t>(data->capacity))));
    else
        Init();
}

SString& SString::operator=(const SStringBuffer& buffer)
{
    return *this = buffer.m_text;
}

SString& SString::operator=(const wchar_t* text)
{
    const size_t length = SSafeStrLen(text);
    AssignCopy(length > kMaxLength ? kMaxLength + 1 : static_cast<int>(length), text);
    return *this;
}

SString& SString::operator=(const char* text)
{
    _ToUnicode(text);
    return *this;
}

SString& SString::operator=(wchar_t c)
{
    AssignCopy(c ? 1 : 0, &c);
    return *this;
}

SString& SString::operator=(char c)
{
    const char text[] = { c, '\0' };
    return *this = text;
}

// ---- Buffers ----

void SString::AllocBuffer(int n)
{
    m_text = n > 0 ? NewBuffer(n)->Text() : EmptyText();
}

void SString::FreeData(SStringData* data) noexcept
{
    if (data->refs == SStringData::kStaticEmpty)
        return;
    if (SFixedAlloc* pool = PoolOf(data->capacity)) {
        pool->Free(data);
        return;
    }
    g_largeBytes.fetch_sub(BlockBytes(data->capacity), std::memory_order_relaxed);
    std::free(data);
}

void SString::Release(SStringData* data) noexcept
{
    // A count of 1 is ours alone: nobody else can reach the buffer, so the locked decrement is saved.
    const long refs = data->refs;
    if (refs == SStringData::kStaticEmpty)
        return;
    if (refs == 1 || refs == SStringData::kLocked || ::InterlockedDecrement(&data->refs) < 1)
        FreeData(data);
}

void SString::AllocBeforeWrite(int n)
{
    SStringData* data = GetData();
    if (data->IsOwn() && data->capacity >= n)
        return;
    SString fresh;
    fresh.AllocBuffer(n);
    swap(fresh);
}

void SString::CopyBeforeWrite()
{
    const SStringData* data = GetData();
    if (data->IsOwn())
        return;
    SString copy;
    copy.Init(m_text, data->length);
    swap(copy);
}

void SString::AssignCopy(int n, const wchar_t* text)
{
    SStringData* data = GetData();
    if (n <= 0) {
        if (data->refs == SStringData::kLocked) {
            m_text[0] = L'\0';
            data->length = 0;
        } else {
            Release();
        }
        return;
    }
    if (data->IsOwn() && data->capacity >= n) {
        TextKern::MoveText(m_text, text, static_cast<size_t>(n));
        m_text[n] = L'\0';
        data->length = n;
        return;
    }
    SString fresh;
    fresh.Init(text, n);
    swap(fresh);
}

void SString::AllocCopy(SString& copy, int n, int start, int extra) const
{
    SString fresh;
    fresh.AllocBuffer(SumOfLengths(n, extra));
    if (n > 0)
        TextKern::CopyText(fresh.m_text, m_text + start, static_cast<size_t>(n));
    if (!fresh.IsEmpty()) {
        fresh.m_text[n] = L'\0';
        fresh.GetData()->length = n;
    }
    copy.swap(fresh);
}

void SString::ConcatCopy(int n1, const wchar_t* text1, int n2, const wchar_t* text2)
{
    SString fresh;
    fresh.AllocBuffer(SumOfLengths(n1, n2));
    if (n1 > 0)
        TextKern::CopyText(fresh.m_text, text1, static_cast<size_t>(n1));
    if (n2 > 0)
        TextKern::CopyText(fresh.m_text + n1, text2, static_cast<size_t>(n2));
    swap(fresh);
}

void SString::ConcatInPlace(int n, const wchar_t* text)
{
    if (n <= 0)
        return;
    SStringData* data = GetData();
    const int old = data->length;
    const int sum = SumOfLengths(old, n);
    if (data->IsOwn() && sum <= data->capacity) {
        TextKern::MoveText(m_text + old, text, static_cast<size_t>(n));
    } else if (data->IsOwn() && data->capacity > kLargestCapacity) {
        // A private heap block mostly grows where it stands; copying it would cost more than the text that is added.
        const ptrdiff_t inside = text - m_text;
        const bool isInside = inside >= 0 && inside <= old;
        GrowLarge(sum);
        std::wmemcpy(m_text + old, isInside ? m_text + inside : text, static_cast<size_t>(n));
        data = GetData();
    } else {
        ConcatCopy(old, m_text, n, text);
        return;
    }
    m_text[sum] = L'\0';
    data->length = sum;
}

// Gives a private heap block the capacity for `n` characters, more or fewer than it has; keeps the text.
void SString::GrowLarge(int n)
{
    if (n > kMaxLength) // a 64-bit heap would have the memory
        ThrowOutOfMemory(n);
    SStringData* data = GetData();
    const unsigned long before = BlockBytes(data->capacity);
    const int capacity = RoundUpLarge(n);
    const unsigned long bytes = BlockBytes(capacity);
    void* block = TryTwice([data, bytes] { return std::realloc(data, bytes); });
    if (!block)
        ThrowOutOfMemory(n);
    g_largeBytes.fetch_add(bytes - before, std::memory_order_relaxed);
    data = static_cast<SStringData*>(block);
    data->capacity = capacity;
    m_text = data->Text();
    m_text[capacity] = L'\0';
}

// A private buffer of at least the present text with room for `n`, for builders: twice as large as before. A shared one need
// not be full: it would double with each copy that is taken, so there is a bound by what is needed.
void SString::GrowAhead(int n)
{
    const auto twice = [](long units) {
        return units > kMaxLength / 2 ? kMaxLength : 2 * static_cast<int>(units);
    };
    const SStringData* data = GetData();
    const int wanted = std::max(n, std::min(twice(data->capacity), twice(n)));
    if (data->IsOwn() && data->capacity > kLargestCapacity)
        GrowLarge(wanted);
    else
        AllocCopy(*this, data->length, 0, wanted - data->length);
}

// Gives back what a builder's last doubling left over.
void SString::ShrinkLarge() noexcept
{
    SStringData* data = GetData();
    if (data->capacity <= kLargestCapacity || data->length <= kLargestCapacity || !data->IsOwn() ||
        RoundUpLarge(data->length) == data->capacity)
        return;
    try {
        GrowLarge(data->length);
    }
    catch (const SEOutOfMemory&) {
        // The larger block is as good.
    }
}

// ---- Size and access ----

int SString::VerifiedLength()
{
    SStringData* data = GetData();
    if (data->refs == SStringData::kStaticEmpty)
        return 0;
    data->length = static_cast<long>(SSafeStrNLen(m_text, static_cast<size_t>(data->capacity)));
    if (data->length == 0 && data->refs != SStringData::kLocked)
        Release();
    return Length();
}

void SString::SetAt(int position, wchar_t c)
{
    if (static_cast<unsigned>(position) >= static_cast<unsigned>(Length()))
        return;
    CopyBeforeWrite();
    m_text[position] = c;
}

const wchar_t* SString::PszStr() const
{
    CheckGuard(GetData(), kConstPszSignature, kConstPszLine);
    return m_text;
}

wchar_t* SString::PszStr()
{
    CheckGuard(GetData(), kPszSignature, kPszLine);
    CopyBeforeWrite();
    return m_text;
}

const wchar_t* SString::GetPointerAt(int position) const
{
    return m_text + (position < 0 ? 0 : position > Length() ? Length() : position);
}

// ---- Locking ----

wchar_t* SString::LockTchar(int n)
{
    if (n <= 0)
        n = Length();
    SStringData* data = GetData();
    if (n == 0) {
        AllocBeforeWrite(1);
        *m_text = L'\0';
        GetData()->length = 0;
    } else if (!data->IsOwn() || n > data->capacity) {
        const int kept = static_cast<int>(data->length);
        AllocCopy(*this, kept, 0, n > kept ? n - kept : 0);
    }
    GetData()->refs = SStringData::kLocked;
    return m_text;
}

wchar_t* SString::LockBuffer(int n)
{
    const int chosen = n > 0 ? n : Length();
    LockTchar(n);
    GetData()->length = chosen;
    m_text[chosen] = L'\0';
    return m_text;
}

wchar_t* SString::GetBufferSetLength(int n)
{
    LockTchar(n > 0 ? n : 1);
    GetData()->length = n > 0 ? n : 0;
    m_text[GetData()->length] = L'\0';
    return m_text;
}

void SString::UnlockTchar(int n)
{
    CheckGuard(GetData(), kUnlockTcharSignature, kUnlockTcharLine);
    FinishUnlock(n);
}

void SString::UnlockBuffer(int n)
{
    SStringData* data = GetData();
    CheckGuard(data, kUnlockBufferSignature, kUnlockBufferLine);
    FinishUnlock(n == 0 ? data->length : n);
}

void SString::FinishUnlock(int n)
{
    SStringData* data = GetData();
    if (data->refs != SStringData::kLocked)
        return;
    const int measured = static_cast<int>(SSafeStrNLen(m_text, static_cast<size_t>(data->capacity)));
    const int length = n >= 0 && n < measured ? n : measured;
    if (length == 0) {
        Release();
        return;
    }
    m_text[length] = L'\0';
    data->length = length;
    data->refs = 1;
}
