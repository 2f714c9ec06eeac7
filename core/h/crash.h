// crash.h: machine faults as exceptions, and the hook that sees to it that no crash leaves without a word.
//
//     VectoredExceptionHook::Install();                        // once, at the start of the program
//     try {
//         SRunGuarded([&] { plugin->Draw(dc); });              // a null pointer in there ...
//     }
//     catch (const SException& e) {                            // ... arrives here as an SEMachineFault
//         GeneralOutput().LogError(L"%s", e.GetText());
//     }
//
// A machine fault is what the processor refuses: access to a null or wild pointer, a call of one, a division by zero, an
// illegal instruction, a stack that is used up. A guard turns the faults of its thread, while it is entered, into
// SEMachineFault. Before anything else a record goes to the exception log (crashlog.h), so no guard hides a fault.
//
// Destructors   Where every frame between the fault and the guard knows how to be unwound, the exception is thrown where
//               the fault was: handlers between see it and destructors run. Otherwise (the fault is in a DLL of the
//               system, as with a null given to memcpy; such a DLL lies between; the faulting statement stands in a
//               function that was compiled without -fnon-call-exceptions and has destructors, or in one that is noexcept)
//               it comes out of the guard's call directly: destructors in between do not run, what they would have
//               released may leak, and a lock may stay taken. Exceptions that handlers in between held are ended, and the
//               floating-point units compute as they did when the guard was entered. The library itself is compiled with
//               the tables. In code that is not, the compiler believes that a plain statement cannot throw: what is
//               destroyed for a fault there may be what was destroyed a moment before.
// Handlers      A handler that the system or another library put up inside the guard is asked first.
// Threads       a guard serves the thread that entered it; the hook and the log serve the process.
// Callbacks     a guard in a function that the system or the C run-time calls must have its catch there too: what comes out of
//               it is an exception like any other.
// Failure       a fault while a fault is dealt with leads to the guard's call as above. Nothing here allocates before the
//               exception itself is thrown. While a fault's exception is on its way the process's terminate handler is
//               ours; a std::terminate inside a guard then leads to the guard.
// Cost          entering and leaving a guard is a few stores; a fault costs some microseconds, and the log's write.
// 64 bits       All of this holds there too. The system's DLLs could be unwound, but are not. A handler guard leaves a fault to
//               the next guard outside when a handler that is not of C++ is on the way, for that one must be asked first. A guard,
//               and Install, make the system keep 16 KB of the thread's stack for an overflow; on a thread that never
//               had either there may be too little left for a record. Leave a guard on the fiber that it was entered on, before the
//               thread runs another one.
#ifndef CRASH_H
#define CRASH_H

#include "sexcept.h"

#include <memory>
#include <type_traits>
#include <utility>

/// What is known of a machine fault; plain data.
struct SMachineFault {
    enum Access { kNoAccess, kRead, kWrite, kExecute };
    enum { kModuleRoom = 40 };

    DWORD code;                  ///< the system's exception code, e.g. EXCEPTION_ACCESS_VIOLATION
    Access access;               ///< what was tried, where the code tells (access violation, in-page error)
    const void* target;          ///< with that: the address that was to be read, written or executed
    const void* address;         ///< the instruction; null when a null pointer was called
    UINT_PTR offset;             ///< where that lies in its module; the address itself when it lies in none
    wchar_t module[kModuleRoom]; ///< file name of that module, cut where it is long; empty when there is none
};

/// A machine fault that a guard turned into an exception. Its texts are made when they are first asked for.
class CVCORE_API SEMachineFault : public SException {
public:
    explicit SEMachineFault(const SMachineFault& fault);

    /// "access violation (0xC0000005) writing 0x00000010", "integer division by zero (0xC0000094)", ...
    const wchar_t* GetText() const override;
    const wchar_t* GetExceptionName() const override;
    /// "\nThrown from:\n module+0x0000abcd", or "\nThrown from:\n 0x00000000" for code that lies in no module.
    const wchar_t* GetLocation() const override;

    const SMachineFault& GetFault() const { return m_fault; }
    DWORD GetCode() const { return m_fault.code; }

private:
    SMachineFault m_fault;
};

/// Calls `call(context)` under a guard. Exceptions that are no faults pass as they are.
CVCORE_API void SCallGuarded(void (*call)(void* context), void* context);

/// Runs `work` under a guard and returns what it returns. See the page's head for what runs when a fault comes.
template <class Work>
auto SRunGuarded(Work&& work) -> decltype(work())
{
    typedef decltype(work()) Result;
    typedef std::remove_reference_t<Work> Called;
    if constexpr (std::is_void_v<Result>) {
        Called* called = std::addressof(work); // may be a function, which no void* can point to
        SCallGuarded([](void* context) { (**static_cast<Called**>(context))(); }, &called);
    } else if constexpr (std::is_reference_v<Result>) {
        std::remove_reference_t<Result>* result = nullptr;
        SRunGuarded([&] { result = std::addressof(work()); });
        return static_cast<Result>(*result);
    } else {
        // The result is made in a place of its own: a type without a default constructor may be returned too.
        struct Place {
            alignas(Result) unsigned char bytes[sizeof(Result)];
            bool made = false;
            Result* Get() { return reinterpret_cast<Result*>(bytes); }
            ~Place()
            {
                if (made)
                    Get()->~Result();
            }
        } place;
        SRunGuarded([&] {
            ::new (static_cast<void*>(place.bytes)) Result(work());
            place.made = true;
        });
        return std::move(*place.Get());
    }
}

/// A light guard for calls of a client's handler. While one lives and the hook is installed, a fault of its thread is
/// thrown as an exception where unwinding can pass its frame; else the next guard outside deals with the fault, and when
/// there is none the program ends as it would without.
///
///     try {
///         const SHandlerGuard guard;
///         CallHandler(message);      // a call, not the faulting statement itself
///     }
///     catch (const SException& e) { ... }
///
/// The catch must stand in a function that calls the one with the fault. What the compiler takes for a statement that cannot
/// throw it leaves out of the try, unless it is told -fnon-call-exceptions.
class CVCORE_API SHandlerGuard {
public:
    SHandlerGuard() noexcept;
    ~SHandlerGuard();
    SHandlerGuard(const SHandlerGuard&) = delete;
    SHandlerGuard& operator=(const SHandlerGuard&) = delete;

private:
    void* m_record[3]; // its registration on this thread (with the system, on 32 bits), and the fault in work
};

/// While one lives, the guards around it leave the faults of this thread alone; guards entered inside it work.
class CVCORE_API SSuspendExceptionHook {
public:
    SSuspendExceptionHook() noexcept;
    ~SSuspendExceptionHook();
    SSuspendExceptionHook(const SSuspendExceptionHook&) = delete;
    SSuspendExceptionHook& operator=(const SSuspendExceptionHook&) = delete;

private:
    void* m_record[2];
};

/// The process's hook. Install and Remove may be called on any thread. A program that unloads the library removes it first.
/// While it is installed
///   - handler guards work;
///   - a fault that nobody handled, an exception that nobody caught, and a fault whose chain of handlers has been
///     overwritten leave a record in the exception log before the program ends. What was to happen then (an earlier
///     filter, the system's error report) still happens.
class CVCORE_API VectoredExceptionHook {
public:
    /// 1 when the hook is in place afterwards, 0 when the system refused it. Not counted: one Remove undoes it.
    static int Install() noexcept;
    /// Takes it out; harmless when it is not installed. When another filter for unhandled faults was put up since, ours
    /// stays below it, passes everything on, and keeps the DLL in memory for that.
    static void Remove() noexcept;
    static int IsInstalled() noexcept;

    /// Whether a guard has turned a fault into an exception and nobody has consumed the news yet. One such fault is
    /// kept a process, the latest.
    static int IsKnownException() noexcept;

    /// Values of `action` for FormatException.
    enum { kShow = 0, kForget = -2 };
    /// The text of that fault, empty when there is none: its description, with `withPlace` also module and offset.
    /// kForget gives the same text and consumes the fault.
    static SString FormatException(int action, int withPlace);
};

#endif
