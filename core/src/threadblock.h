// threadblock.h: the system's block of the current thread. (The compiler's own header reads it with a warning.)
#ifndef THREADBLOCK_H
#define THREADBLOCK_H

#include "cvbase.h"

inline NT_TIB* ThreadBlock()
{
    NT_TIB* block; // it keeps its own address
#if S_TARGET_32BIT
    asm("movl %%fs:0x18, %0" : "=r"(block));
#else
    asm("movq %%gs:0x30, %0" : "=r"(block));
#endif
    return block;
}

#endif
