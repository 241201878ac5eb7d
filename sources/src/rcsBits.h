/*
 * The array of a bit-set by the word. The bits are kept by the byte, and the padding to whole words makes it possible
 * to read 64 of them at a time on either byte order.
 */
#ifndef RCS_BITS_H
#define RCS_BITS_H

#include "rcs.h"

#include <bit>
#include <cstring>

/// Unsigned, as a range may hold 2^32 values.
inline uint32_t offsetOf(const Domain* set, int32_t value) { return uint32_t(value) - uint32_t(set->_low); }

inline bool covers(const Domain* set, int32_t value) { return set->_low <= value && value <= set->_high; }

inline size_t wordsOf(const Domain* set) { return (size_t(set->_nbBytes) + 7) / 8; }

inline uint64_t wordAt(const Domain* set, size_t index)
{
  uint64_t word;
  memcpy(&word, set->_bits + index * 8, 8);
  if constexpr (std::endian::native == std::endian::big)
    word = __builtin_bswap64(word);
  return word;
}

/// The bits of the 64 values from `value` on, which the set must cover, the lowest bit first. Those behind its range
/// say nothing. A null set has all of them on.
inline uint64_t bitsFrom(const Domain* set, int32_t value)
{
  if (!set)
    return ~uint64_t(0);
  assert(covers(set, value));
  uint32_t i = offsetOf(set, value);
  size_t word = i >> 6;
  unsigned shift = i & 63;
  uint64_t bits = wordAt(set, word) >> shift;
  if (shift && word + 1 < wordsOf(set))
    bits |= wordAt(set, word + 1) << (64 - shift);
  return bits;
}

/// A mask of the lowest `count` bits, which is at least 1; of all 64 where `count` is more.
inline uint64_t lowestBits(int64_t count) { return ~uint64_t(0) >> (count < 64 ? 64 - count : 0); }

#endif
