#include "heapWatch.h"

#include <unordered_set>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
}

namespace kit::heap {

static uint64_t nbAsked;
static uint64_t refusedOne; // the number of the allocation to refuse
static bool wasRefused;

// The set's own memory comes from the C++ run-time library, which isn't wrapped. It is never destroyed, because other
// objects are still freeing then.
static std::unordered_set<void*>& blocks()
{
  static auto* set = new std::unordered_set<void*>;
  return *set;
}

uint64_t asked() { return nbAsked; }

size_t live() { return blocks().size(); }

void refuse(uint64_t n)
{
  refusedOne = n ? nbAsked + n : 0;
  wasRefused = false;
}

bool refused() { return wasRefused; }

void freeLost()
{
  for (void* block : blocks())
    __real_free(block);
  blocks().clear();
}

static bool granted()
{
  if (++nbAsked != refusedOne)
    return true;
  wasRefused = true;
  return false;
}

static void* checkIn(void* block)
{
  if (block)
    blocks().insert(block);
  return block;
}

} // namespace kit::heap

using namespace kit::heap;

// `used`, because link-time optimisation doesn't see that the linker will call them.
extern "C" {

[[gnu::used]] void* __wrap_malloc(size_t size) { return granted() ? checkIn(__real_malloc(size)) : nullptr; }

[[gnu::used]] void* __wrap_calloc(size_t count, size_t size)
{
  return granted() ? checkIn(__real_calloc(count, size)) : nullptr;
}

[[gnu::used]] void* __wrap_realloc(void* block, size_t size)
{
  if (!granted())
    return nullptr;
  void* moved = __real_realloc(block, size);
  if (moved || !size)
    blocks().erase(block);
  return checkIn(moved);
}

[[gnu::used]] void __wrap_free(void* block)
{
  blocks().erase(block);
  __real_free(block);
}
}
