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

/// Of a value that the set covers.
inline bool bitAt(const Domain* set, int32_t value)
{
  const uint32_t i = offsetOf(set, value);
  return set->_bits[i >> 3] >> (i & 7) & 1;
}

/// Of a value that the set covers.
inline void turnOff(Domain* set, int32_t value)
{
  const uint32_t i = offsetOf(set, value);
  set->_bits[i >> 3] &= uint8_t(~(1u << (i & 7)));
}

/// As rcsDomainNextOn and rcsDomainPrevOn, which go round the 32 bits at their ends, where these go on.
inline int64_t nextOn(const Domain* set, int32_t value)
{
  const int32_t next = rcsDomainNextOn(set, value);
  return next > value ? next : int64_t(INT32_MAX) + 1;
}

inline int64_t prevOn(const Domain* set, int32_t value)
{
  const int32_t prev = rcsDomainPrevOn(set, value);
  return prev < value ? prev : int64_t(INT32_MIN) - 1;
}

inline size_t wordsOf(const Domain* set) { return (size_t(set->_nbBytes) + 7) / 8; }

inline uint64_t wordAt(const Domain* set, size_t index)
{
  uint64_t word;
  memcpy(&word, set->_bits + index * 8, 8);
  if constexpr (std::endian::native == std::endian::big)
    word = __builtin_bswap64(word);
  return word;
}

/// A walk over a set, 64 values at a time. Not valid across a change of the set.
struct BitWalk
{
  const Domain* _set;
  size_t _index; ///< of _word
  size_t _count;
  unsigned _shift;
  uint64_t _word;
};

/// From `value` on, which the set must cover. A null set has all values on.
inline BitWalk walkFrom(const Domain* set, int32_t value)
{
  if (!set)
    return {._set = nullptr, ._index = 0, ._count = 0, ._shift = 0, ._word = ~uint64_t(0)};
  assert(covers(set, value));
  uint32_t i = offsetOf(set, value);
  size_t index = i >> 6;
  return {._set = set, ._index = index, ._count = wordsOf(set), ._shift = i & 63, ._word = wordAt(set, index)};
}

/// The next 64 values, the lowest bit first. Bits behind the set's range say nothing.
inline uint64_t nextBits(BitWalk& walk)
{
  uint64_t bits = walk._word >> walk._shift;
  walk._word = ++walk._index < walk._count ? wordAt(walk._set, walk._index) : ~uint64_t(0);
  return bits | walk._word << 1 << (63 - walk._shift); // in two steps, since a shift by 64 isn't one
}

/// The bits of the 64 values from `value` on alone. Of those behind the set's range they say nothing.
inline uint64_t bitsFrom(const Domain* set, int32_t value)
{
  if (!set)
    return ~uint64_t(0);
  const uint32_t i = offsetOf(set, value);
  const size_t index = i >> 6;
  const uint64_t bits = wordAt(set, index) >> (i & 63);
  return index + 1 < wordsOf(set) ? bits | wordAt(set, index + 1) << 1 << (63 - (i & 63)) : bits;
}

/// The number of bits on. Spelled out, because for the plainest processors the compiler makes a call of it.
inline uint32_t countBits(uint64_t bits)
{
  bits -= bits >> 1 & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
  bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0f;
  return uint32_t(bits * 0x0101010101010101 >> 56);
}

/// A mask of the lowest `count` bits, which is at least 1; of all 64 where `count` is more.
inline uint64_t lowestBits(int64_t count) { return ~uint64_t(0) >> (count < 64 ? 64 - count : 0); }

#endif
