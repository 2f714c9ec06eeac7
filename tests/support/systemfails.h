// systemfails.h: replacements for functions of the system that fail.
//
//     const ImportPatch patch(module, nullptr, "MoveFileW", Fails<&::MoveFileW>());
//     EXPECT_EQ(SFileCode::kRename, file.Rename(other));
//     EXPECT_GT(g_systemCalls, 0);
#ifndef TESTS_SYSTEMFAILS_H
#define TESTS_SYSTEMFAILS_H

#include <windows.h>

#include <type_traits>

/// What GetLastError says after such a call, and how many there were.
inline DWORD g_systemSays = ERROR_NOT_SUPPORTED;
inline int g_systemCalls;

template <class Function>
struct FailingCall;

template <class Result, class... Arguments>
struct FailingCall<Result WINAPI(Arguments...)> {
    template <INT_PTR answer>
    static Result WINAPI Call(Arguments...)
    {
        ++g_systemCalls;
        ::SetLastError(g_systemSays);
        if constexpr (std::is_pointer_v<Result>)
            return reinterpret_cast<Result>(answer);
        else
            return static_cast<Result>(answer);
    }
};

/// A function with the arguments of `function` that answers `answer`.
template <auto* function, INT_PTR answer = 0>
void* Fails()
{
    return reinterpret_cast<void*>(
        FailingCall<std::remove_pointer_t<decltype(function)>>::template Call<answer>);
}

constexpr INT_PTR kNoHandle = -1; // INVALID_HANDLE_VALUE, INVALID_FILE_ATTRIBUTES, INVALID_SET_FILE_POINTER

#endif
