// threadblock.h: the system's block of the current thread. (The compiler's own header reads it with a warning.)
#ifndef THREADBLOCK_H
#define THREADBLOCK_H

#include "cvbase.h"

inline const NT_TIB* ThreadBlock()
{
    const NT_TIB* block;
    asm("movl %%fs:0x18, %0" : "=r"(block)); // where it keeps its own address
    return block;
}

#endif
