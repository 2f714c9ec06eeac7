// bytemove.h: moving bytes within a block, faster than the run-time where the processor has wide registers.
#ifndef BYTEMOVE_H
#define BYTEMOVE_H

#include <cstddef>

namespace ByteMove {

/// Moves `bytes` bytes to a higher address; the areas may overlap. 0 bytes are allowed, null pointers are not.
void Up(void* to, const void* from, size_t bytes);
/// The same to a lower address.
void Down(void* to, const void* from, size_t bytes);

} // namespace ByteMove

#endif
