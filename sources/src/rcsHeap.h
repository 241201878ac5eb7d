/*
 * The record heap, once for all four kinds of record: a chain of fixed blocks, taken and given back at the top. Records
 * never move, because clients and constraints keep their addresses; blocks once made are kept for the next way up, so
 * that a search going up and down doesn't reach the allocator. Nothing is cleared on taking.
 */
#ifndef RCS_HEAP_H
#define RCS_HEAP_H

#include "rcs.h"

#include <cstdlib>

constexpr int32_t recordsPerBlock = 1024;

/// Records 0.._used-1 are in use; number _used - _current->_base of _current stands at _top. The top may stand at the
/// very start of a block or, when the next take has to find a block, at the very end; every block behind _current is
/// empty.
template <typename Record>
struct RecordHeap
{
  HeapBlock* _first;
  HeapBlock* _current;
  int32_t _used;
  int32_t _nbBlocks;
  Record* _end; ///< end of _current
  Record* _top;
};

template <typename Record>
inline Record* recordsOf(const HeapBlock* block)
{
  return static_cast<Record*>(block->_records);
}

template <typename Record>
HeapBlock* createBlock(int32_t base, HeapBlock* previous, int32_t capacity)
{
  auto* block = static_cast<HeapBlock*>(malloc(sizeof(HeapBlock)));
  void* records = block ? malloc(size_t(capacity) * sizeof(Record)) : nullptr;
  if (!records) {
    free(block);
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *block = {._records = records, ._capacity = capacity, ._base = base, ._nextBlock = nullptr, ._prevBlock = previous};
  if (previous)
    previous->_nextBlock = block;
  return block;
}

inline void deleteBlock(HeapBlock* block)
{
  free(block->_records);
  if (block->_prevBlock)
    block->_prevBlock->_nextBlock = block->_nextBlock;
  if (block->_nextBlock)
    block->_nextBlock->_prevBlock = block->_prevBlock;
  free(block);
}

template <typename Record>
inline void enterBlock(RecordHeap<Record>& heap, HeapBlock* block)
{
  heap._current = block;
  heap._end = recordsOf<Record>(block) + block->_capacity;
}

/// Makes the first block; `create` is the heap's exported maker of blocks.
template <typename Record>
bool openHeap(RecordHeap<Record>& heap, HeapBlock* (*create)(int32_t, HeapBlock*, int32_t))
{
  heap._first = heap._current = create(0, nullptr, recordsPerBlock);
  if (!heap._first)
    return false;
  enterBlock(heap, heap._first);
  heap._used = 0;
  heap._nbBlocks = 1;
  heap._top = recordsOf<Record>(heap._first);
  return true;
}

template <typename Record>
void closeHeap(RecordHeap<Record>& heap, void (*destroy)(HeapBlock*))
{
  while (HeapBlock* next = heap._first->_nextBlock)
    destroy(next);
  destroy(heap._first);
}

template <typename Record>
inline bool hasRoom(const RecordHeap<Record>& heap)
{
  return heap._top != heap._end;
}

/// Goes on to the next block, whose start is then the top; false when out of memory.
template <typename Record>
[[gnu::noinline]] bool makeRoom(RecordHeap<Record>& heap)
{
  HeapBlock* next = heap._current->_nextBlock;
  if (!next) {
    next = createBlock<Record>(heap._used, heap._current, recordsPerBlock);
    if (!next)
      return false;
    heap._nbBlocks++;
  }
  enterBlock(heap, next);
  heap._top = recordsOf<Record>(next);
  return true;
}

/// For a heap that has room.
template <typename Record>
inline Record* takeRoom(RecordHeap<Record>& heap)
{
  heap._used++;
  return heap._top++;
}

template <typename Record>
inline Record* takeRecord(RecordHeap<Record>& heap)
{
  if (!hasRoom(heap) && !makeRoom(heap)) [[unlikely]]
    return nullptr;
  return takeRoom(heap);
}

/// The record given back, or null when there was none: the heap then has no current block any more.
template <typename Record>
inline Record* giveBackRecord(RecordHeap<Record>& heap)
{
  int32_t n = heap._used--;
  if (n > heap._current->_base)
    return --heap._top;
  HeapBlock* previous = heap._current->_prevBlock;
  if (!previous) {
    // More was given back than taken: from here on the heap stops whoever uses it.
    heap._current = nullptr;
    heap._end = heap._top;
    return nullptr;
  }
  enterBlock(heap, previous);
  return heap._top = heap._end - 1;
}

template <typename Record>
inline int32_t capacityOf(const RecordHeap<Record>& heap)
{
  return heap._nbBlocks * recordsPerBlock;
}

#endif
