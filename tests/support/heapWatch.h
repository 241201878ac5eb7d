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

/// Allocations asked for since the start of the program.
uint64_t asked();

/// Blocks allocated and not freed.
size_t live();

/// The n-th allocation from now is refused, counted from 1; 0 for none. Those after it are granted.
void refuse(uint64_t n);

/// Has it come to that, since the last refuse()?
bool refused();

/// Frees all live blocks, which nobody may use any more.
void freeLost();

} // namespace kit::heap

#endif
