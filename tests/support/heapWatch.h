/*
 * Watches malloc, calloc, realloc and free as they are called by the objects that are linked into the test program: the
 * static library's, by way of the linker's --wrap. What the C library allocates for itself isn't seen; when such a
 * block is freed by a watched object (the text of a stack capture), it is passed on and not counted.
 */
#ifndef KIT_HEAPWATCH_H
#define KIT_HEAPWATCH_H

#include <cstddef>
#include <cstdint>

namespace kit::heap {

uint64_t asked(); ///< allocations asked for since the start of the program
size_t live();    ///< blocks allocated and not freed

/// The n-th allocation from now is refused, counted from 1; 0 for none. Those after it are granted.
void refuse(uint64_t n);
bool refused(); ///< has it come to that, since the last refuse()?

/// Frees all live blocks, which nobody may use any more.
void freeLost();

} // namespace kit::heap

#endif
