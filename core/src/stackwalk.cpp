// stackwalk.cpp: the unwinder's view of the stack, and what the unwinder does not tell.
//
// An exception that meets a frame without tables, or a g++ frame whose table of call sites does not list the place where it
// stands (a noexcept function; a faulting statement that the compiler took for one that cannot throw), ends the process.
// So before one is thrown out of a fault, the frames are looked at with the eyes of the personality routine.
#include "stackwalk.h"

#include "framewalk.h"
#include "threadblock.h"

#include <initializer_list>

namespace {

// ---- The table of call sites ----

constexpr unsigned char kOmitted = 0xFF, kULeb128 = 0x01, kUData2 = 0x02, kUData4 = 0x03, kAbsolute = 0x00;

UINT_PTR ReadULeb128(const unsigned char*& at)
{
    UINT_PTR value = 0;
    for (unsigned shift = 0;; shift += 7) {
        const unsigned char byte = *at++;
        if (shift < 8 * sizeof value)
            value |= static_cast<UINT_PTR>(byte & 0x7F) << shift;
        if (byte < 0x80)
            return value;
    }
}

template <class T>
UINT_PTR ReadPlain(const unsigned char*& at)
{
    T value;
    __builtin_memcpy(&value, at, sizeof value);
    at += sizeof value;
    return value;
}

UINT_PTR ReadEncoded(const unsigned char*& at, unsigned char encoding)
{
    switch (encoding) {
    case kULeb128: return ReadULeb128(at);
    case kUData2: return ReadPlain<UINT16>(at);
    case kUData4: return ReadPlain<UINT32>(at);
    default: return ReadPlain<UINT_PTR>(at);
    }
}

} // namespace

bool LetsExceptionsOut(const WalkedFrame& frame) noexcept
{
    const unsigned char* at = frame.language;
    if (!at) // there is nothing to run and nothing to forbid it
        return true;
    if (*at++ != kOmitted) // landing pads counted from elsewhere: our compiler does not write that
        return false;
    if (*at++ != kOmitted)
        ReadULeb128(at); // where the types are
    const unsigned char encoding = *at++;
    if (encoding != kULeb128 && encoding != kUData2 && encoding != kUData4 && encoding != kAbsolute)
        return false;
    const UINT_PTR tableBytes = ReadULeb128(at);
    const unsigned char* const end = at + tableBytes;
    const UINT_PTR place = reinterpret_cast<UINT_PTR>(frame.at) - 1 - frame.function;
    while (at < end) {
        const UINT_PTR first = ReadEncoded(at, encoding), length = ReadEncoded(at, encoding);
        ReadEncoded(at, encoding); // landing pad
        ReadULeb128(at);           // action
        if (place < first)
            return false; // they are in rising order
        if (place < first + length)
            return true;
    }
    return false;
}

namespace {

// ---- The walk ----

struct Walker {
    StackWalk* walk;
    const void* first;  // the return address that frames begin with
    const void* limit;  // whose frame ends the certain part
    UINT_PTR stack = 0; // stack pointer of the last frame seen
    bool begun = false;
    bool blocked = false;
};

bool VisitFrame(const WalkedFrame& frame, void* context)
{
    Walker& walker = *static_cast<Walker*>(context);
    StackWalk& walk = *walker.walk;
    walker.stack = frame.stack;
    walker.begun = walker.begun || frame.at == walker.first;
    if (!walker.begun)
        return true;
    if (walker.limit && !walk.canUnwind && walker.stack > reinterpret_cast<UINT_PTR>(walker.limit))
        walk.canUnwind = !walker.blocked;
    if (!frame.passable) {
        walker.blocked = true;
        return false;
    }
    walker.blocked = walker.blocked || !LetsExceptionsOut(frame);
    if (walk.count < StackWalk::kMost)
        walk.frames[walk.count++] = frame.at;
    return true;
}

// ---- Looking through the stack ----

// Remembers the last region of memory asked for: the words of a stack point to few of them.
class CodeTest {
public:
    bool operator()(const void* address)
    {
        const UINT_PTR at = reinterpret_cast<UINT_PTR>(address);
        if (at - m_first >= m_size)
            Ask(address);
        return m_isCode;
    }

private:
    void Ask(const void* address)
    {
        constexpr DWORD kExecutable =
            PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
        MEMORY_BASIC_INFORMATION memory;
        m_size = 0;
        m_isCode = false;
        if (::VirtualQuery(address, &memory, sizeof memory) == 0)
            return;
        m_first = reinterpret_cast<UINT_PTR>(memory.BaseAddress);
        m_size = memory.RegionSize;
        m_isCode =
            memory.State == MEM_COMMIT && memory.Type == MEM_IMAGE && (memory.Protect & kExecutable) != 0;
    }

    UINT_PTR m_first = 0;
    UINT_PTR m_size = 0;
    bool m_isCode = false;
};

// Relative, or through a register or memory in the usual lengths.
bool IsBehindCall(const void* address, CodeTest& isCode)
{
    const unsigned char* const at = static_cast<const unsigned char*>(address);
    constexpr UINT_PTR kNeverMapped = 0x10000;
    if (reinterpret_cast<UINT_PTR>(at) < kNeverMapped || !isCode(at - 7) || !isCode(at))
        return false;
    if (at[-5] == 0xE8)
        return true;
    for (int length : { 2, 3, 6, 7 }) {
        if (at[-length] == 0xFF && (at[1 - length] & 0x38) == 0x10)
            return true;
    }
    return false;
}

void AddGuesses(StackWalk& walk, UINT_PTR stack)
{
    // Stacks of this thread alone are looked through; a stack pointer that is somewhere else ends the walk at once. Large
    // arrays lie on stacks too: their words are counted, so that a fault below many of them costs no second.
    constexpr int kMostWords = 1 << 14;
    const NT_TIB* const thread = ThreadBlock();
    const UINT_PTR base = reinterpret_cast<UINT_PTR>(thread->StackBase);
    const UINT_PTR top = reinterpret_cast<UINT_PTR>(thread->StackLimit);
    if (stack < top)
        return;
    CodeTest isCode;
    int words = 0;
    for (stack &= ~(sizeof(UINT_PTR) - 1);
         stack + sizeof(UINT_PTR) <= base && walk.count < StackWalk::kMost && words < kMostWords;
         stack += sizeof(UINT_PTR), ++words) {
        const void* const word = *reinterpret_cast<const void* const*>(stack);
        const bool repeats = walk.count > 0 && walk.frames[walk.count - 1] == word;
        if (!repeats && IsBehindCall(word, isCode))
            walk.frames[walk.count++] = word;
    }
}

} // namespace

__attribute__((noinline)) void WalkStack(StackWalk& walk, const void* first, const void* limit) noexcept
{
    Walker walker{ &walk, first ? first : __builtin_return_address(0), limit };
    VisitFrames(VisitFrame, &walker);
    walk.scanned = walk.count;
    AddGuesses(walk, walker.stack);
}

void ScanStack(StackWalk& walk, const void* at, const void* stack) noexcept
{
    walk.frames[walk.count++] = at;
    walk.scanned = walk.count;
    AddGuesses(walk, reinterpret_cast<UINT_PTR>(stack));
}

bool FollowsCall(const void* address) noexcept
{
    CodeTest isCode;
    return IsBehindCall(address, isCode);
}
