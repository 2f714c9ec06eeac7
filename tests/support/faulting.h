// faulting.h: functions that fault, which the compiler must not look into.
#ifndef TESTS_FAULTING_H
#define TESTS_FAULTING_H

#include "crash.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

inline volatile int g_sink;
inline void* volatile g_null = nullptr;
inline volatile int g_zero = 0;

__attribute__((noinline)) inline void ReadNull()
{
    g_sink = *static_cast<volatile int*>(g_null);
}
__attribute__((noinline)) inline void WriteNear()
{
    static_cast<volatile char*>(g_null)[16] = 1;
}
__attribute__((noinline)) inline void CallNull()
{
    reinterpret_cast<void (*)()>(g_null)();
    g_sink = 1;
}
// In a build that traps, the division itself is to fault and not the check before it.
__attribute__((noinline, no_sanitize_undefined)) inline void DivideByZero()
{
    g_sink = g_sink / g_zero;
}
__attribute__((noinline)) inline void CopyFromNull()
{
    // Through a pointer, so that it is the run-time's function and not the compiler's.
    static void* (*volatile const copy)(void*, const void*, size_t) = std::memcpy;
    char room[64];
    copy(room, g_null, sizeof room);
    g_sink = room[3];
}

struct FaultKind {
    const char* name;
    void (*cause)();
    DWORD code;
    const wchar_t* text;
    bool unwinds; // all frames in between are ours
};
inline const FaultKind kFaults[] = {
    { "read", ReadNull, 0xC0000005, L"access violation (0xC0000005) reading 0x00000000", true },
    { "write", WriteNear, 0xC0000005, L"access violation (0xC0000005) writing 0x00000010", true },
    { "call", CallNull, 0xC0000005, L"access violation (0xC0000005) executing 0x00000000", true },
    { "divide", DivideByZero, 0xC0000094, L"integer division by zero (0xC0000094)", true },
    { "memcpy", CopyFromNull, 0xC0000005, L"access violation (0xC0000005) reading 0x00000000", false },
};

inline int g_destroyed;
struct Witness {
    ~Witness() { ++g_destroyed; }
};

__attribute__((noinline)) inline void Deeper(int depth, void (*cause)())
{
    const Witness witness;
    if (depth > 0)
        Deeper(depth - 1, cause);
    else
        cause();
    g_sink = depth;
}

/// The fault that `work` ends in.
template <class Work>
SEMachineFault FaultOf(Work work)
{
    try {
        SRunGuarded(work);
    }
    catch (const SEMachineFault& fault) {
        return fault;
    }
    ADD_FAILURE() << "no fault came";
    return SEMachineFault(SMachineFault());
}

inline int Occurrences(const std::string& text, const std::string& what)
{
    int count = 0;
    for (size_t at = 0; (at = text.find(what, at)) != text.npos; at += what.size())
        ++count;
    return count;
}

#endif
