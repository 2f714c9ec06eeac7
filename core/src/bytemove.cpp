#include "bytemove.h"

#include "compiler.h"
#include "processor.h"

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr size_t kRegister = sizeof(__m256i);

S_AVX2 inline __m256i Load(const char* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

S_AVX2 inline void Store(char* to, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

// Both begin at the end towards which the bytes move, and store at aligned addresses. What aligned stores
// leave at either end (less than a register each) is loaded before anything is stored and stored after all.

S_AVX2 void Avx2Up(char* to, const char* from, size_t bytes)
{
    const __m256i first = Load(from);
    const __m256i last = Load(from + bytes - kRegister);
    size_t left = bytes - (reinterpret_cast<uintptr_t>(to) + bytes) % kRegister;
    for (; left >= 4 * kRegister; left -= 4 * kRegister) {
        const __m256i a = Load(from + left - kRegister);
        const __m256i b = Load(from + left - 2 * kRegister);
        const __m256i c = Load(from + left - 3 * kRegister);
        const __m256i d = Load(from + left - 4 * kRegister);
        Store(to + left - kRegister, a);
        Store(to + left - 2 * kRegister, b);
        Store(to + left - 3 * kRegister, c);
        Store(to + left - 4 * kRegister, d);
    }
    for (; left >= kRegister; left -= kRegister)
        Store(to + left - kRegister, Load(from + left - kRegister));
    Store(to + bytes - kRegister, last);
    Store(to, first);
}

S_AVX2 void Avx2Down(char* to, const char* from, size_t bytes)
{
    const __m256i first = Load(from);
    const __m256i last = Load(from + bytes - kRegister);
    size_t at = (kRegister - reinterpret_cast<uintptr_t>(to) % kRegister) % kRegister;
    for (; bytes - at >= 4 * kRegister; at += 4 * kRegister) {
        const __m256i a = Load(from + at);
        const __m256i b = Load(from + at + kRegister);
        const __m256i c = Load(from + at + 2 * kRegister);
        const __m256i d = Load(from + at + 3 * kRegister);
        Store(to + at, a);
        Store(to + at + kRegister, b);
        Store(to + at + 2 * kRegister, c);
        Store(to + at + 3 * kRegister, d);
    }
    for (; bytes - at >= kRegister; at += kRegister)
        Store(to + at, Load(from + at));
    Store(to, first);
    Store(to + bytes - kRegister, last);
}

} // namespace

void ByteMove::UpWide(void* to, const void* from, size_t bytes)
{
    if (Processor::HasAvx2())
        Avx2Up(static_cast<char*>(to), static_cast<const char*>(from), bytes);
    else
        std::memmove(to, from, bytes);
}

void ByteMove::DownWide(void* to, const void* from, size_t bytes)
{
    if (Processor::HasAvx2())
        Avx2Down(static_cast<char*>(to), static_cast<const char*>(from), bytes);
    else
        std::memmove(to, from, bytes);
}
