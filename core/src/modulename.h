// modulename.h: in which module an address lies.
#ifndef MODULENAME_H
#define MODULENAME_H

#include "cvbase.h"

/// The file name of the module that `address` lies in (at most `room` characters with the NUL) and the offset in it; an
/// empty name and the address itself when it lies in none. Takes no lock of the process: the system's list of modules may
/// be locked by a thread that will never unlock it.
UINT_PTR FindModulePlace(const void* address, wchar_t* name, int room) noexcept;

/// The file name of the program.
const wchar_t* ProgramName() noexcept;

#endif
