// framewalk64.cpp: the frames by the tables that every module has for the 64-bit system.
//
// The system's modules have such tables too, so that an exception of C++ could be taken through them. It is not: what they held
// would stay held, and behind a call of the kernel's into a window procedure an exception disappears.
#include "framewalk.h"

#if !S_TARGET_32BIT

#include "stackwalk.h"
#include "threadblock.h"

#include <cwchar>

extern "C" {
void __gxx_personality_seh0();
void CvEnter(); // faultframe64.cpp has it
}

namespace {

bool IsOnStack(UINT_PTR address)
{
    const NT_TIB* const thread = ThreadBlock();
    return address >= reinterpret_cast<UINT_PTR>(thread->StackLimit) &&
           address + sizeof(UINT_PTR) <= reinterpret_cast<UINT_PTR>(thread->StackBase);
}

// The module that holds an address of code; null when it is no code.
const void* ModuleOfCode(UINT_PTR address)
{
    constexpr DWORD kExecutable =
        PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MEMORY_BASIC_INFORMATION memory;
    if (::VirtualQuery(reinterpret_cast<const void*>(address), &memory, sizeof memory) == 0)
        return nullptr;
    return memory.State == MEM_COMMIT && (memory.Protect & kExecutable) != 0 ? memory.AllocationBase
                                                                             : nullptr;
}

// Below the folder of Windows, found out at the start.
class SystemModules {
public:
    SystemModules() noexcept { m_length = ::GetSystemWindowsDirectoryW(m_folder, MAX_PATH); }
    bool Has(const void* module) const
    {
        wchar_t path[MAX_PATH + 1];
        const HMODULE handle = static_cast<HMODULE>(const_cast<void*>(module));
        const DWORD length = ::GetModuleFileNameW(handle, path, MAX_PATH);
        const int folder = static_cast<int>(m_length);
        return length > m_length && path[m_length] == L'\\' &&
               ::CompareStringOrdinal(path, folder, m_folder, folder, TRUE) == CSTR_EQUAL;
    }

private:
    wchar_t m_folder[MAX_PATH + 1];
    DWORD m_length;
};
const SystemModules g_systemModules;

// Each module calls what it imports through a jump of its own.
const void* BehindJump(const void* function)
{
    const unsigned char* const code = static_cast<const unsigned char*>(function);
    if (code[0] != 0xFF || code[1] != 0x25)
        return function;
    constexpr int kLength = 6;
    INT32 distance;
    __builtin_memcpy(&distance, code + 2, sizeof distance);
    return *reinterpret_cast<const void* const*>(code + kLength + distance);
}

bool IsOfCpp(const void* handler)
{
    return BehindJump(handler) == BehindJump(reinterpret_cast<const void*>(__gxx_personality_seh0));
}

// Where a function keeps its frame's place in a register, the unwinder reads from there whatever it is.
bool CanReadFrame(const CONTEXT& context, DWORD64 base, const RUNTIME_FUNCTION* entry)
{
    const unsigned char* const info = reinterpret_cast<const unsigned char*>(base + entry->UnwindData);
    const int frameRegister = info[3] & 15;
    return frameRegister == 0 || IsOnStack((&context.Rax)[frameRegister]);
}

enum class Step { Out, Ended, Broken };

struct Frame64 : WalkedFrame {
    bool hasHandler; // one that is not of C++
};

class Walk64 {
public:
    explicit Walk64(const CONTEXT& from) : m_context(from) {}

    UINT_PTR Stack() const { return m_context.Rsp; }

    Step Out(Frame64& frame)
    {
        frame = {};
        frame.at = reinterpret_cast<const void*>(m_context.Rip);
        frame.stack = m_context.Rsp;
        if (m_context.Rip == 0)
            return Step::Ended;
        if (!IsOnStack(m_context.Rsp))
            return Step::Broken;
        DWORD64 base = 0;
        RUNTIME_FUNCTION* const entry = ::RtlLookupFunctionEntry(m_context.Rip, &base, nullptr);
        if (!(entry ? WithEntry(frame, base, entry) : WithoutEntry(frame)))
            return Step::Broken;
        m_isFirst =
            frame.function == reinterpret_cast<UINT_PTR>(CvEnter); // what lies above was interrupted there
        return m_context.Rsp > frame.stack ? Step::Out : Step::Broken;
    }

private:
    bool WithEntry(Frame64& frame, DWORD64 base, RUNTIME_FUNCTION* entry)
    {
        if (!CanReadFrame(m_context, base, entry))
            return false;
        void* data = nullptr;
        DWORD64 establisher;
        const void* const handler = reinterpret_cast<const void*>(::RtlVirtualUnwind(
            UNW_FLAG_EHANDLER, base, m_context.Rip, entry, &m_context, &data, &establisher, nullptr));
        frame.passable = !IsOfSystem(reinterpret_cast<const void*>(base));
        frame.function = base + entry->BeginAddress;
        if (handler && IsOfCpp(handler))
            frame.language = static_cast<const unsigned char*>(data);
        else
            frame.hasHandler = handler != nullptr;
        return true;
    }

    // One that calls nothing and keeps nothing has no tables. It is the first then.
    bool WithoutEntry(Frame64& frame)
    {
        const void* const module = m_isFirst ? ModuleOfCode(m_context.Rip) : nullptr;
        if (!module)
            return false;
        frame.passable = !IsOfSystem(module);
        m_context.Rip = *reinterpret_cast<const DWORD64*>(m_context.Rsp);
        m_context.Rsp += sizeof(DWORD64);
        return true;
    }

    // Frames of one module follow each other.
    bool IsOfSystem(const void* module)
    {
        if (module != m_module) {
            m_module = module;
            m_isOfSystem = g_systemModules.Has(module);
        }
        return m_isOfSystem;
    }

    CONTEXT m_context;
    const void* m_module = nullptr;
    bool m_isOfSystem = false;
    bool m_isFirst = true;
};

} // namespace

__attribute__((noinline)) void VisitFrames(bool (*visit)(const WalkedFrame& frame, void* context),
                                           void* context) noexcept
{
    CONTEXT here;
    ::RtlCaptureContext(&here);
    Walk64 walk(here);
    Frame64 frame;
    for (;;) {
        const Step step = walk.Out(frame);
        frame.passable = frame.passable && step == Step::Out;
        if (step == Step::Ended || !visit(frame, context) || step == Step::Broken)
            return;
    }
}

WayOut LookOut(const CONTEXT& from, const void* limit) noexcept
{
    const UINT_PTR end = limit ? reinterpret_cast<UINT_PTR>(limit) : ~UINT_PTR{ 0 };
    WayOut way = { false, false, true };
    // Wine chains handlers of its own here, in the way of the 32-bit system; the 64-bit one leaves it empty.
    for (const auto* record = ThreadBlock()->ExceptionList;
         IsOnStack(reinterpret_cast<UINT_PTR>(record)) && reinterpret_cast<UINT_PTR>(record) < end;
         record = record->Next)
        way.asksHandlers = way.asksHandlers || reinterpret_cast<UINT_PTR>(record) > from.Rsp;
    Walk64 walk(from);
    Frame64 frame;
    while (walk.Stack() <= end) {
        const Step step = walk.Out(frame);
        if (step != Step::Out) {
            way.arrives = step == Step::Ended && !limit;
            return way;
        }
        way.asksHandlers = way.asksHandlers || frame.hasHandler;
        way.letsExceptionOut = way.letsExceptionOut && frame.passable && LetsExceptionsOut(frame);
    }
    way.arrives = true;
    return way;
}

#endif
