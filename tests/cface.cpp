// The flat face where it takes C++ to make it fail: memory that ends, callbacks that throw, threads, faults. What it does is in
// cface.c.
#include "cvcore_c.h"

#include "crash.h"
#include "sexcept.h"
#include "sioexcept.h"
#include "starget.h"

#include "support/allocfail.h"
#include "support/counters.h"
#include "support/importpatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

// ---- One of everything ----

struct Handles {
    static constexpr uint32_t kBytes = 5000; // more than the pools of strings hold as text

    cv_string* string = nullptr;
    cv_string* other = nullptr;
    cv_blob* blob = nullptr;
    cv_list* list = nullptr;
    cv_translator* translator = nullptr;
    cv_merger* merger = nullptr;

    Handles()
    {
        EXPECT_EQ(CV_OK, cv_string_create(&string, L"before", CV_NUL));
        EXPECT_EQ(CV_OK, cv_string_create(&other, L"other", CV_NUL));
        EXPECT_EQ(CV_OK, cv_blob_create(&blob, nullptr, kBytes));
        EXPECT_EQ(CV_OK, cv_list_create(&list));
        EXPECT_EQ(CV_OK, cv_list_split(list, L"b,a", CV_NUL, L",", 1, 0));
        EXPECT_EQ(CV_OK, cv_translator_create(&translator));
        EXPECT_EQ(CV_OK, cv_merger_create(&merger));
    }
    ~Handles()
    {
        EXPECT_EQ(CV_OK, cv_string_free(string));
        EXPECT_EQ(CV_OK, cv_string_free(other));
        EXPECT_EQ(CV_OK, cv_blob_free(blob));
        EXPECT_EQ(CV_OK, cv_list_free(list));
        EXPECT_EQ(CV_OK, cv_translator_free(translator));
        EXPECT_EQ(CV_OK, cv_merger_free(merger));
    }
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
};

std::wstring TextOf(const cv_string* string)
{
    const cv_char* text = L"(failed)";
    int32_t length = 8;
    EXPECT_EQ(CV_OK, cv_string_text(string, &text, &length));
    return std::wstring(text, static_cast<size_t>(length));
}

constexpr wchar_t kLetter[] =
    L"{\\rtf1\\ansi{\\fonttbl{\\f0\\fswiss Arial;}}{\\stylesheet{\\s0 Normal;}}\\f0 One}";

// ---- A callback that does what its context says ----

typedef std::function<int32_t(cv_string*)> Answer;

int32_t CVCORE_CALL Call(void* context, const cv_char*, int32_t, cv_string* value)
{
    return (*static_cast<Answer*>(context))(value);
}

cv_result Expand(const Handles& handles, Answer answer)
{
    EXPECT_EQ(CV_OK, cv_translator_set_lookup(handles.translator, Call, &answer));
    const cv_result result =
        cv_translator_expand(handles.translator, L"a %X% b", CV_NUL, handles.string, nullptr);
    EXPECT_EQ(CV_OK, cv_translator_set_lookup(handles.translator, nullptr, nullptr));
    return result;
}

HGLOBAL WINAPI NoGlobalMemory(UINT, SIZE_T)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

#if S_TARGET_32BIT
// Calls a function with the stack `shift` bytes off what g++ keeps it at.
template <class... Words>
cv_result CallAt(uint32_t shift, const void* function, Words... words)
{
    static_assert(((sizeof(Words) == 4) && ...), "each is one word of the stack");
    const uint32_t arguments[] = { (uint32_t)words... };
    uint32_t left = sizeof...(words), result;
    asm volatile("movl %%esp, %%edi\n\t"
                 "andl $-16, %%esp\n\t"
                 "subl %%edx, %%esp\n"
                 "1:\n\t"
                 "pushl -4(%%esi,%%ecx,4)\n\t"
                 "decl %%ecx\n\t"
                 "jnz 1b\n\t"
                 "call *%%eax\n\t"
                 "movl %%edi, %%esp"
                 : "=a"(result), "+c"(left), "+d"(shift)
                 : "a"(function), "S"(arguments)
                 : "edi", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
    return static_cast<cv_result>(result);
}
#endif

DWORD WINAPI FailOnce(void*)
{
    return cv_string_upper(nullptr) == CV_E_NULL;
}

} // namespace

TEST(FlatFace, AnswersMemoryThatEndsWithItsCodeAndChangesNothing)
{
    // Longer than the pools' strings, so that each text asks the heap.
    static const std::wstring longText(5000, L'x');
    static const int32_t kLength = static_cast<int32_t>(longText.size());
    static const std::string longBytes(5000, 'x');
    static const std::wstring letter = std::wstring(kLetter).insert(std::size(kLetter) - 2, longText);
    const struct {
        const char* name;
        cv_result (*call)(Handles& h);
    } kCalls[] = {
        { "append", [](Handles& h) { return cv_string_append(h.string, longText.c_str(), kLength); } },
        { "insert", [](Handles& h) { return cv_string_insert(h.string, 3, longText.c_str(), kLength); } },
        { "set", [](Handles& h) { return cv_string_set(h.string, longText.c_str(), kLength); } },
        { "replace",
          [](Handles& h) {
              return cv_string_replace(h.string, L"e", 1, longText.c_str(), kLength, CV_EXACT, nullptr);
          } },
        { "encode", [](Handles& h) { return cv_blob_encode(h.blob, CV_UU, h.string); } },
        { "text decode",
          [](Handles& h) {
              return cv_text_decode(longBytes.data(), longBytes.size(), CV_DETECT, CV_REFUSE, h.string);
          } },
        { "text encode",
          [](Handles& h) { return cv_text_encode(longText.c_str(), kLength, 1252, CV_REFUSE, h.blob); } },
        { "split", [](Handles& h) { return cv_list_split(h.list, L"c,d,e", CV_NUL, L",", 1, 0); } },
        { "join", [](Handles& h) { return cv_list_join(h.list, longText.c_str(), kLength, h.string); } },
        { "translator set",
          [](Handles& h) { return cv_translator_set(h.translator, L"N", 1, longText.c_str(), kLength); } },
        { "merge", [](Handles& h) { return cv_merger_add(h.merger, letter.c_str(), CV_NUL, CV_PAGE); } },
        { "renumber",
          [](Handles& h) {
              static const int32_t kPair[] = { 0, 1 };
              return cv_rtf_renumber(letter.c_str(), CV_NUL, kPair, 1, nullptr, 0, nullptr, 0, h.string);
          } },
    };
    for (const auto& c : kCalls) {
        SCOPED_TRACE(c.name);
        cv_result result = CV_OK;
        Handles* handles = nullptr;
        const int points = WalkAllocationFailures(
            [&] {
                delete handles;
                handles = new Handles;
            },
            [&] { result = c.call(*handles); },
            [&](const AllocationTrial& trial) {
                EXPECT_FALSE(trial.error) << "an exception crossed the border";
                EXPECT_TRUE(result == CV_OK || (trial.failed && result == CV_E_MEMORY))
                    << cv_code_name(result);
                if (result == CV_OK)
                    return;
                EXPECT_EQ(CV_E_MEMORY, cv_last_error());
                EXPECT_EQ(L"before", TextOf(handles->string));
                uint32_t size = 0;
                EXPECT_EQ(CV_OK, cv_blob_size(handles->blob, &size));
                EXPECT_EQ(Handles::kBytes, size);
                int32_t count = -1;
                EXPECT_EQ(CV_OK, cv_list_count(handles->list, &count));
                EXPECT_EQ(2, count);
                EXPECT_EQ(CV_OK, cv_merger_count(handles->merger, &count));
                EXPECT_EQ(0, count);
            });
        EXPECT_GT(points, 0);
        delete handles;
    }
}

TEST(FlatFace, AnswersBytesThatAreNotToBeHadWithTheSameCode)
{
    const struct {
        const char* name;
        cv_result (*call)(const Handles& h);
    } kCalls[] = {
        { "set", [](const Handles& h) { return cv_blob_set(h.blob, "a", 1); } },
        { "hex", [](const Handles& h) { return cv_blob_decode(h.blob, CV_HEX, L"00", 2); } },
        { "uu", [](const Handles& h) { return cv_blob_decode(h.blob, CV_UU, L"!`0``\n`\n", CV_NUL); } },
        { "Base64", [](const Handles& h) { return cv_blob_decode(h.blob, CV_BASE64, L"AA==", 4); } },
        { "UTF-8", [](const Handles& h) { return cv_text_encode(L"a", 1, CV_UTF8, CV_REFUSE, h.blob); } },
        { "code page", [](const Handles& h) { return cv_text_encode(L"a", 1, 1252, CV_REFUSE, h.blob); } },
    };
    const Handles handles;
    for (const auto& c : kCalls) {
        SCOPED_TRACE(c.name);
        cv_result result = CV_OK;
        {
            const ImportPatch patch("CVCore16.dll", "KERNEL32.dll", "GlobalAlloc", NoGlobalMemory);
            ASSERT_TRUE(patch.Found());
            result = c.call(handles);
        }
        EXPECT_EQ(CV_E_MEMORY, result) << cv_code_name(result);
        uint32_t size = 0;
        EXPECT_EQ(CV_OK, cv_blob_size(handles.blob, &size));
        EXPECT_EQ(Handles::kBytes, size);
    }
}

TEST(FlatFace, MakesNoHandleWithoutMemory)
{
    const struct {
        const char* name;
        cv_result (*call)(const Handles& h, void** made);
        cv_result (*end)(void* made);
    } kCreators[] = {
        { "string",
          [](const Handles&, void** made) {
              return cv_string_create(reinterpret_cast<cv_string**>(made), L"text", CV_NUL);
          },
          [](void* made) { return cv_string_free(static_cast<cv_string*>(made)); } },
        { "blob",
          [](const Handles&, void** made) {
              return cv_blob_create(reinterpret_cast<cv_blob**>(made), "a", 1);
          },
          [](void* made) { return cv_blob_free(static_cast<cv_blob*>(made)); } },
        { "list copy",
          [](const Handles& h, void** made) {
              return cv_list_copy(h.list, reinterpret_cast<cv_list**>(made));
          },
          [](void* made) { return cv_list_free(static_cast<cv_list*>(made)); } },
        { "translator",
          [](const Handles&, void** made) {
              return cv_translator_create(reinterpret_cast<cv_translator**>(made));
          },
          [](void* made) { return cv_translator_free(static_cast<cv_translator*>(made)); } },
        { "merger",
          [](const Handles&, void** made) { return cv_merger_create(reinterpret_cast<cv_merger**>(made)); },
          [](void* made) { return cv_merger_free(static_cast<cv_merger*>(made)); } },
    };
    const Handles handles;
    for (const auto& c : kCreators) {
        SCOPED_TRACE(c.name);
        void* made = nullptr;
        cv_result result = CV_OK;
        const int points =
            WalkAllocationFailures([&] { made = &made; }, [&] { result = c.call(handles, &made); },
                                   [&](const AllocationTrial& trial) {
                                       EXPECT_FALSE(trial.error) << "an exception crossed the border";
                                       EXPECT_EQ(trial.failed ? CV_E_MEMORY : CV_OK, result);
                                       EXPECT_EQ(result == CV_OK, made != nullptr);
                                       EXPECT_EQ(CV_OK, c.end(made));
                                   });
        EXPECT_GT(points, 0);
    }
}

TEST(FlatFace, TurnsWhatACallbackThrowsIntoACodeAndATextAndLeaksNothing)
{
    const struct {
        const char* name;
        void (*raise)();
        cv_result code;
        const wchar_t* text;
    } kThrown[] = {
        { "int", [] { throw 17; }, CV_E_EXCEPTION, L"exception of type int" },
        { "standard", [] { throw std::out_of_range("too far"); }, CV_E_EXCEPTION,
          L"std::out_of_range: too far" },
        { "bad_alloc", [] { throw std::bad_alloc(); }, CV_E_MEMORY, L"out of memory" },
        { "out of memory", [] { throw SEOutOfMemory(S_HERE); }, CV_E_MEMORY, L"" },
        { "encoding", [] { throw SEEncodingException(S_HERE, L"no UTF-8"); }, CV_E_ENCODING, L"no UTF-8" },
        { "end of file", [] { throw SEEOFException(S_HERE); }, CV_E_EXCEPTION, L"" },
        { "with a message", [] { throw SException(S_HERE, L"words"); }, CV_E_EXCEPTION, L"words" },
        { "HRESULT", [] { throw SECOMException(S_HERE, E_ACCESSDENIED); }, CV_E_EXCEPTION, L"0x80070005" },
        { "targeted", [] { throw STargetedException(S_HERE, L"Load", L"not here", 3); }, CV_E_EXCEPTION,
          L"not here" },
    };
    const Handles handles;
    for (int round = 0; round < 2; ++round) {
        for (const auto& c : kThrown) {
            SCOPED_TRACE(c.name);
            const ResourceCount before = CountResources();
            const cv_result result = Expand(handles, [&](cv_string* value) -> int32_t {
                cv_string_set(value, L"a value that is dropped", CV_NUL);
                c.raise();
                return CV_FOUND;
            });
            EXPECT_EQ(c.code, result) << cv_code_name(result);
            EXPECT_EQ(c.code, cv_last_error());
            EXPECT_NE(nullptr, std::wcsstr(cv_last_error_text(nullptr), c.text))
                << cv_last_error_text(nullptr);
            EXPECT_NE(L'\0', *cv_last_error_text(nullptr));
            EXPECT_EQ(L"before", TextOf(handles.string));
            if (round > 0) { // the first one fills caches
                EXPECT_EQ(before, CountResources());
            }
        }
    }
    EXPECT_EQ(CV_OK, Expand(handles, [](cv_string* value) { return cv_string_set(value, L"-", 1) + 1; }))
        << "the translator is at rest again";
    EXPECT_EQ(L"a - b", TextOf(handles.string));
    EXPECT_EQ(CV_OK, cv_string_set(handles.string, L"before", CV_NUL));
}

TEST(FlatFace, KeepsItsLastErrorAThread)
{
    cv_string* string = nullptr;
    ASSERT_EQ(CV_E_RANGE, cv_string_create(&string, L"", -2));
    cv_result seen = CV_E_FAULT, made = CV_OK, after = CV_OK;
    std::thread([&] {
        seen = cv_last_error();
        made = cv_string_free(reinterpret_cast<cv_string*>(const_cast<wchar_t*>(L"no handle at all")));
        after = cv_last_error();
    }).join();
    EXPECT_EQ(CV_OK, seen) << "of a thread without failures";
    EXPECT_EQ(CV_E_HANDLE, made);
    EXPECT_EQ(CV_E_HANDLE, after);
    EXPECT_EQ(CV_E_RANGE, cv_last_error());
}

TEST(FlatFace, GivesTheLastErrorBackWhenItsThreadEnds)
{
    const auto failOnAThread = [] {
        const HANDLE thread = ::CreateThread(nullptr, 0, FailOnce, nullptr, 0, nullptr);
        ::WaitForSingleObject(thread, INFINITE);
        DWORD ok = 0;
        ::GetExitCodeThread(thread, &ok);
        ::CloseHandle(thread);
        EXPECT_EQ(1u, ok);
    };
    for (int i = 0; i < 4; ++i)
        failOnAThread();
    const ResourceCount before = CountResources();
    for (int i = 0; i < 32; ++i)
        failOnAThread();
    // Not one record a thread; the system keeps one or the other block of ended threads for the next one.
    EXPECT_LT(CountResources().heapBlocks - before.heapBlocks, 16);
}

TEST(FlatFace, TellsOfAFailureWithoutMemoryForTelling)
{
    cv_result result = CV_OK, kept = CV_OK;
    bool hasText = false;
    const auto noMemory = [](size_t, size_t) -> void* { return nullptr; };
    std::thread([&] {
        // A thread that has no record yet.
        const ImportPatch patch("CVCore16.dll", nullptr, "calloc",
                                static_cast<void* (*)(size_t, size_t)>(noMemory));
        ASSERT_TRUE(patch.Found());
        result = cv_string_upper(nullptr);
        kept = cv_last_error();
        hasText = *cv_last_error_text(nullptr) != L'\0';
        cv_last_error_clear();
    }).join();
    EXPECT_EQ(CV_E_NULL, result);
    EXPECT_EQ(CV_E_MEMORY, kept);
    EXPECT_TRUE(hasText);
}

TEST(FlatFace, LetsCopiesWanderToOtherThreads)
{
    constexpr int kRounds = 400;
    Handles handles;
    std::atomic<int> bad(0);
    cv_string* string = nullptr;
    cv_list* list = nullptr;
    ASSERT_EQ(CV_OK, cv_string_copy(handles.string, &string));
    ASSERT_EQ(CV_OK, cv_list_copy(handles.list, &list));
    std::thread other([&] {
        for (int i = 0; i < kRounds; ++i)
            bad += cv_string_append(string, L"!", 1) != CV_OK || cv_list_add(list, L"x", 1) != CV_OK;
        bad += cv_string_free(string) != CV_OK || cv_list_free(list) != CV_OK;
    });
    for (int i = 0; i < kRounds; ++i)
        bad += cv_string_append(handles.string, L"?", 1) != CV_OK ||
               cv_list_remove(handles.list, 0) != CV_OK || cv_list_add(handles.list, L"y", 1) != CV_OK;
    other.join();
    EXPECT_EQ(0, bad);
    EXPECT_EQ(L"before" + std::wstring(kRounds, L'?'), TextOf(handles.string));
}

TEST(FlatFace, GivesAFaultACodeOnlyBelowAGuard)
{
    const Handles handles;
    cv_result result = CV_OK;
    SRunGuarded([&] { result = cv_string_length(handles.string, reinterpret_cast<int32_t*>(16)); });
    EXPECT_EQ(CV_E_FAULT, result) << "unwound in the library";
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, cv_last_error_system());
    // In the run-time's code, which cannot be unwound: out of the guard, past the face.
    EXPECT_THROW(
        SRunGuarded([&] { result = cv_blob_set(handles.blob, reinterpret_cast<const void*>(16), 4000); }),
        SEMachineFault);
    uint32_t size = 0;
    EXPECT_EQ(CV_OK, cv_blob_size(handles.blob, &size));
    EXPECT_EQ(Handles::kBytes, size);
}

#if S_TARGET_32BIT // on 64 bits all of them keep sixteen
// Other compilers promise four bytes, g++ keeps sixteen and may rely on them for vector code.
TEST(FlatFace, WorksOnAStackThatIsOnlyAlignedToWords)
{
    const std::string narrow(3000, 'n');
    const std::wstring wide(3000, L'w');
    const int32_t wideLength = static_cast<int32_t>(wide.size());
    for (uint32_t shift = 0; shift < 16; shift += 4) {
        SCOPED_TRACE(shift);
        const Handles h;
        int32_t found = -2;
        double decimal = 0;
        const auto at = [shift](auto* function, auto... words) {
            return CallAt(shift, reinterpret_cast<const void*>(function), words...);
        };
        EXPECT_EQ(CV_OK, at(cv_text_decode, narrow.data(), narrow.size(), CV_DETECT, CV_REFUSE, h.string));
        EXPECT_EQ(CV_OK, at(cv_text_encode, wide.data(), wideLength, CV_UTF8, CV_REFUSE, h.blob));
        EXPECT_EQ(CV_OK, at(cv_text_encode, wide.data(), wideLength, 1252, CV_REFUSE, h.blob));
        for (const int32_t form : { CV_BASE64, CV_HEX, CV_UU }) {
            EXPECT_EQ(CV_OK, at(cv_blob_encode, h.blob, form, h.other));
            const std::wstring text = TextOf(h.other);
            EXPECT_EQ(CV_OK, at(cv_blob_decode, h.blob, form, text.c_str(), CV_NUL));
        }
        EXPECT_EQ(CV_OK, at(cv_string_upper, h.string));
        EXPECT_EQ(CV_OK, at(cv_string_find, h.string, L"nn", 2, 5, CV_NO_CASE, &found));
        EXPECT_EQ(5, found);
        EXPECT_EQ(CV_OK, at(cv_string_set_decimal, h.other, 0x9999999A, 0x3FB99999)); // 0.1
        EXPECT_EQ(L"0.1", TextOf(h.other));
        EXPECT_EQ(CV_OK, at(cv_string_set, h.other, L"123456789012345678901234567890.5", CV_NUL));
        EXPECT_EQ(CV_OK, at(cv_string_decimal, h.other, &decimal));
        EXPECT_EQ(123456789012345678901234567890.5, decimal);
        EXPECT_EQ(CV_OK, at(cv_list_sort, h.list, CV_NUMBERED_NO_CASE, 0));
        EXPECT_EQ(CV_OK, at(cv_translator_expand, h.translator, L"%-8.U:A%%?:B%", CV_NUL, h.other, nullptr));
        EXPECT_EQ(CV_OK, at(cv_merger_add, h.merger, kLetter, CV_NUL, CV_PAGE));
        EXPECT_EQ(CV_OK, at(cv_merger_document, h.merger, h.other));
        EXPECT_EQ(CV_E_RTF, at(cv_rtf_check, L"{\\rtf1", CV_NUL)) << "the way of an exception too";
        EXPECT_EQ(CV_E_FILE_MISSING, at(cv_file_read, L"no such file", CV_NUL, h.blob));
    }
}
#endif
