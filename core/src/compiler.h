// compiler.h: what the sources ask of this compiler beyond C++17, under names of its own. Constructs of one compiler stand here,
// in cvbase.h (those that public headers need), and in the crash family, which is machine code for much of its length.
#ifndef COMPILER_H
#define COMPILER_H

#include "cvbase.h"

#include <cstddef>

/// A function that the system calls: its stack may be aligned to four bytes only.
#define S_SYSTEM_CALLS __attribute__((force_align_arg_pointer))

/// A static object that is made before those with a higher number (from 101 on) and before all others of the module.
#define S_INIT_PRIORITY(number) __attribute__((init_priority(number)))

/// A function compiled for AVX2, to be called where Processor::HasAvx2() says so only.
#define S_AVX2 __attribute__((target("avx2")))

/// A function that reads beyond a text on purpose: where a sanitizer looks on, it is left out.
#define S_READS_BEYOND __attribute__((no_sanitize("address")))

/// Asks the processor, each time anew: see processor.h.
inline bool OffersAvx2()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}

/// A function compiled for SSSE3, to be called where Processor::HasSsse3() says so only.
#define S_SSSE3 __attribute__((target("ssse3")))

inline bool OffersSsse3()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3") != 0;
}

/// The same number, which the compiler must not replace by a way to work it out.
inline size_t NotCounted(size_t number)
{
    __asm__("" : "+r"(number));
    return number;
}

/// Number of the lowest and of the highest bit that is set; `bits` must not be 0.
inline int LowestBit(unsigned bits)
{
    return __builtin_ctz(bits);
}
inline int HighestBit(unsigned bits)
{
    return 31 - __builtin_clz(bits);
}

/// Whether a + b lies outside the type; *sum is right otherwise.
template <class Number>
bool AddOverflows(Number a, Number b, Number* sum)
{
    return __builtin_add_overflow(a, b, sum);
}

#endif
