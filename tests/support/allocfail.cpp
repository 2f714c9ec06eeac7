#include "allocfail.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

namespace {

// The replacements are plain functions, so what they look at is one object of the program.
struct State {
    std::atomic<bool> armed;
    DWORD thread;
    int point;
    FailMode mode;
    int calls;
    int failed;
    bool insideNew; // its malloc is the same allocation, not another one
};

State g_state;
AllocationFailures* g_only;

// How the run-time's functions are reached: looked up, since the program's own imports may be among the
// patched ones, and before anything is armed, since looking up allocates.
struct Real {
    void* (*malloc)(size_t);
    void* (*calloc)(size_t, size_t);
    void* (*realloc)(void*, size_t);
    void* (*alignedMalloc)(size_t, size_t);
    void* (*newOne)(size_t);
    void* (*newMany)(size_t);
    void* (*newOneAligned)(size_t, std::align_val_t);
    void* (*newManyAligned)(size_t, std::align_val_t);
};

Real g_real;

const char kCrt[] = "msvcrt.dll";
const char kSystem[] = "kernel32.dll";
const char kCxxRuntime[] = "libstdc++-6.dll";

// Mangled names of operator new and new[]; size_t is spelled differently on the two targets.
const std::string kNewOne = sizeof(size_t) == 4 ? "_Znwj" : "_Znwy";
const std::string kNewMany = sizeof(size_t) == 4 ? "_Znaj" : "_Znay";
const std::string kNoThrow = "RKSt9nothrow_t";
const std::string kAligned = "St11align_val_t";

template <class Function>
void LookUp(Function*& function, const char* dll, const std::string& name)
{
    const FARPROC found = ::GetProcAddress(::GetModuleHandleA(dll), name.c_str());
    if (!found)
        throw std::runtime_error(std::string(dll) + " has no " + name);
    function = reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

void LookUpAll()
{
    LookUp(g_real.malloc, kCrt, "malloc");
    LookUp(g_real.calloc, kCrt, "calloc");
    LookUp(g_real.realloc, kCrt, "realloc");
    LookUp(g_real.alignedMalloc, kCrt, "_aligned_malloc");
    LookUp(g_real.newOne, kCxxRuntime, kNewOne);
    LookUp(g_real.newMany, kCxxRuntime, kNewMany);
    LookUp(g_real.newOneAligned, kCxxRuntime, kNewOne + kAligned);
    LookUp(g_real.newManyAligned, kCxxRuntime, kNewMany + kAligned);
}

bool MustFail()
{
    if (!g_state.armed || ::GetCurrentThreadId() != g_state.thread || g_state.insideNew)
        return false;
    ++g_state.calls;
    if (g_state.point == 0 || g_state.calls < g_state.point)
        return false;
    if (g_state.mode == FailMode::Once && g_state.calls > g_state.point)
        return false;
    ++g_state.failed;
    return true;
}

void* NoMemory()
{
    errno = ENOMEM;
    return nullptr;
}

void* TestMalloc(size_t bytes)
{
    return MustFail() ? NoMemory() : g_real.malloc(bytes);
}

void* TestCalloc(size_t count, size_t bytes)
{
    return MustFail() ? NoMemory() : g_real.calloc(count, bytes);
}

// Shrinking to nothing is a way to free, and that never fails.
void* TestRealloc(void* block, size_t bytes)
{
    return bytes != 0 && MustFail() ? NoMemory() : g_real.realloc(block, bytes);
}

// The failing call says so the way the system does.
HGLOBAL NoGlobalMemory()
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HGLOBAL WINAPI TestGlobalAlloc(UINT flags, SIZE_T bytes)
{
    return MustFail() ? NoGlobalMemory() : ::GlobalAlloc(flags, bytes);
}

HGLOBAL WINAPI TestGlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags)
{
    return (flags & GMEM_MODIFY) == 0 && MustFail() ? NoGlobalMemory()
                                                    : ::GlobalReAlloc(memory, bytes, flags);
}

void* TestAlignedMalloc(size_t bytes, size_t alignment)
{
    return MustFail() ? NoMemory() : g_real.alignedMalloc(bytes, alignment);
}

// The run-time's operator new allocates with a malloc that is patched as well; the two count as one.
class InsideNew {
public:
    InsideNew() : m_before(g_state.insideNew), m_mine(::GetCurrentThreadId() == g_state.thread)
    {
        if (m_mine)
            g_state.insideNew = true;
    }
    ~InsideNew()
    {
        if (m_mine)
            g_state.insideNew = m_before;
    }

private:
    const bool m_before;
    const bool m_mine;
};

template <class Allocate>
void* New(Allocate allocate)
{
    if (MustFail())
        throw std::bad_alloc();
    const InsideNew inside;
    return allocate();
}

template <class Allocate>
void* NewNoThrow(Allocate allocate)
{
    if (MustFail())
        return nullptr;
    const InsideNew inside;
    try {
        return allocate();
    }
    catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* TestNewOne(size_t bytes)
{
    return New([bytes] { return g_real.newOne(bytes); });
}

void* TestNewMany(size_t bytes)
{
    return New([bytes] { return g_real.newMany(bytes); });
}

void* TestNewOneNoThrow(size_t bytes, const std::nothrow_t&)
{
    return NewNoThrow([bytes] { return g_real.newOne(bytes); });
}

void* TestNewManyNoThrow(size_t bytes, const std::nothrow_t&)
{
    return NewNoThrow([bytes] { return g_real.newMany(bytes); });
}

void* TestNewOneAligned(size_t bytes, std::align_val_t alignment)
{
    return New([bytes, alignment] { return g_real.newOneAligned(bytes, alignment); });
}

void* TestNewManyAligned(size_t bytes, std::align_val_t alignment)
{
    return New([bytes, alignment] { return g_real.newManyAligned(bytes, alignment); });
}

} // namespace

AllocationFailures::AllocationFailures(Modules modules)
{
    if (g_only)
        std::abort(); // two would count and fail the same calls
    LookUpAll();
    g_only = this;
    for (const char* module : modules) {
        if (HMODULE handle = ::GetModuleHandleA(module))
            Patch(handle);
    }
}

AllocationFailures::~AllocationFailures()
{
    Disarm();
    while (!m_patches.empty())
        m_patches.pop_back();
    g_only = nullptr;
}

void AllocationFailures::Patch(HMODULE module)
{
    const auto patch = [&](const char* dll, const std::string& name, auto* replacement) {
        m_patches.emplace_back(module, dll, name.c_str(), reinterpret_cast<void*>(replacement));
    };
    patch(kCrt, "malloc", TestMalloc);
    patch(kCrt, "calloc", TestCalloc);
    patch(kCrt, "realloc", TestRealloc);
    patch(kCrt, "_aligned_malloc", TestAlignedMalloc);
    patch(kSystem, "GlobalAlloc", TestGlobalAlloc);
    patch(kSystem, "GlobalReAlloc", TestGlobalReAlloc);
    patch(kCxxRuntime, kNewOne, TestNewOne);
    patch(kCxxRuntime, kNewMany, TestNewMany);
    patch(kCxxRuntime, kNewOne + kNoThrow, TestNewOneNoThrow);
    patch(kCxxRuntime, kNewMany + kNoThrow, TestNewManyNoThrow);
    patch(kCxxRuntime, kNewOne + kAligned, TestNewOneAligned);
    patch(kCxxRuntime, kNewMany + kAligned, TestNewManyAligned);
}

void AllocationFailures::Arm(int point, FailMode mode)
{
    g_state.thread = ::GetCurrentThreadId();
    g_state.point = point;
    g_state.mode = mode;
    g_state.calls = g_state.failed = 0;
    g_state.insideNew = false;
    g_state.armed = true;
}

void AllocationFailures::Disarm()
{
    g_state.armed = false;
}

int AllocationFailures::Calls() const
{
    return g_state.calls;
}

int AllocationFailures::Failed() const
{
    return g_state.failed;
}

namespace {

// A scenario that never ends without a failed call would go on for ever.
const int kMostPoints = 100000;

AllocationTrial RunTrial(AllocationFailures& failures, int point, FailMode mode,
                         const std::function<void()>& operate)
{
    AllocationTrial trial = { point, mode, 0, nullptr };
    failures.Arm(point, mode);
    try {
        operate();
    }
    catch (...) {
        failures.Disarm();
        trial.error = std::current_exception();
    }
    failures.Disarm();
    trial.failed = failures.Failed();
    return trial;
}

int WalkMode(AllocationFailures& failures, FailMode mode, const std::function<void()>& prepare,
             const std::function<void()>& operate, const std::function<void(const AllocationTrial&)>& verify)
{
    for (int point = 1; point <= kMostPoints; ++point) {
        SCOPED_TRACE(testing::Message() << "allocation " << point << " fails"
                                        << (mode == FailMode::Once ? "" : ", and all later ones"));
        prepare();
        const AllocationTrial trial = RunTrial(failures, point, mode, operate);
        verify(trial);
        if (trial.failed == 0 || testing::Test::HasFailure())
            return point - 1;
    }
    ADD_FAILURE() << "still failing at allocation " << kMostPoints;
    return kMostPoints;
}

} // namespace

int WalkAllocationFailures(const std::function<void()>& prepare, const std::function<void()>& operate,
                           const std::function<void(const AllocationTrial&)>& verify)
{
    AllocationFailures failures;
    const int points = WalkMode(failures, FailMode::Once, prepare, operate, verify);
    if (!testing::Test::HasFailure())
        WalkMode(failures, FailMode::FromThenOn, prepare, operate, verify);
    return points;
}
