// callback.h: exceptions across frames of the system.
//
//     LRESULT CALLBACK MyProc(...)                              // Windows calls this
//     {
//         return SRunCallback(LRESULT{ 0 }, [&] { return Handle(...); });
//     }
//     ::EnumWindows(...);                                       // our call around it
//     SRethrowParked();
//
// Nothing may be thrown through a frame of the system or of the C run-time: the process would end. A function whose address
// is handed out catches everything, parks it, and returns; the call around it throws it on. The library's own wrappers
// (SWnd::SendMessage, the message pump, DestroyWindow, CreateEx) do that.
//
// Threads  one exception is parked a thread.
// Failure  a second one that comes while one is parked goes to the exception log. One that is parked below a caller who does not
//          ask is thrown by the next one who does, at the latest by the message pump.
#ifndef CALLBACK_H
#define CALLBACK_H

#include "cvbase.h"

/// Parks the exception that is being handled. For catch (...) in a function that the system calls.
CVCORE_API void SParkException() noexcept;
/// Throws the exception that this thread has parked, if any.
CVCORE_API void SRethrowParked();
/// Writes it to the exception log instead, for a caller that is about to throw another one.
CVCORE_API void SDropParked() noexcept;
/// Whether this thread has parked one.
CVCORE_API bool SIsExceptionParked() noexcept;

/// Runs the body of a function that the system calls: what it throws is parked, and `failure` returned.
template <class Result, class Work>
Result SRunCallback(Result failure, Work&& work) noexcept
{
    try {
        return work();
    }
    catch (...) {
        SParkException();
        return failure;
    }
}

#endif
