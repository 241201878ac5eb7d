/*
 * The bit-set of a variable with holes, or of a private set of values: a fixed vector of bits over a fixed range.
 *
 * The set is kept by the byte: value x has bit (x - _low) & 7 of byte (x - _low) >> 3, and the spare bits of the last
 * byte are on in a new set. The array is padded with zero bytes to whole words, so counting and walking go by the
 * 64-bit word with the answers that a walk over the bytes would give.
 */
#include "rcsArith.h"
#include "rcsBits.h"

#include <cstdlib>
#include <cstring>

Domain* rcsCreateDomain(int32_t low, int32_t high)
{
  auto* set = static_cast<Domain*>(malloc(sizeof(Domain)));
  if (!set) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  // In 64 bits, so that the widest range is right or out of memory.
  int64_t nbBytes = high < low ? 0 : (int64_t(high) - low + 8) / 8;
  *set = {._low = low, ._high = high, ._nbBytes = int32_t(nbBytes), ._bits = nullptr};
  if (nbBytes == 0)
    return set;
  set->_bits = static_cast<uint8_t*>(malloc(wordsOf(set) * 8));
  if (!set->_bits) {
    rcsHandleNoMemoryError();
    free(set);
    return nullptr;
  }
  memset(set->_bits, 255, size_t(nbBytes));
  memset(set->_bits + nbBytes, 0, wordsOf(set) * 8 - size_t(nbBytes));
  return set;
}

void rcsClearDomain(Domain* set)
{
  if (set->_nbBytes != 0)
    memset(set->_bits, 0, size_t(set->_nbBytes));
}

void rcsDeleteDomain(Domain* set)
{
  if (set->_nbBytes != 0)
    free(set->_bits);
  free(set);
}

void rcsDomainOn(Domain* set, int32_t value)
{
  if (!covers(set, value))
    return;
  uint32_t i = offsetOf(set, value);
  set->_bits[i >> 3] |= uint8_t(1u << (i & 7));
}

void rcsDomainOff(Domain* set, int32_t value)
{
  if (covers(set, value))
    turnOff(set, value);
}

void rcsDomainNotInInterval(Domain* set, int32_t from, int32_t to)
{
  if (from < set->_low)
    from = set->_low;
  if (to > set->_high)
    to = set->_high;
  for (int64_t value = from; value <= to; value++)
    rcsDomainOff(set, int32_t(value));
}

int rcsDomainIsOn(const Domain* set, int32_t value)
{
  if (!set)
    return 1;
  return covers(set, value) && bitAt(set, value);
}

uint32_t rcsDomainCountOn(const Domain* set, int32_t from, int32_t to)
{
  if (to < from)
    return 0;
  if (!set)
    return uint32_t(to) - uint32_t(from) + 1;
  if (set->_low > to || set->_high < from)
    return 0;
  // Clipped to _high, which keeps the spare bits out of the count.
  uint32_t a = offsetOf(set, from > set->_low ? from : set->_low);
  uint32_t b = offsetOf(set, to < set->_high ? to : set->_high);
  size_t word = a >> 6, last = b >> 6;
  uint64_t bits = wordAt(set, word) & (~uint64_t(0) << (a & 63));
  uint32_t count = 0;
  for (; word < last; bits = wordAt(set, ++word))
    count += countBits(bits);
  return count + countBits(bits & (~uint64_t(0) >> (63 - (b & 63))));
}

int32_t rcsDomainNextOn(const Domain* set, int32_t value)
{
  int32_t next = wrapAdd(value, 1);
  if (!set || value < set->_low || value >= set->_high)
    return next;
  uint32_t i = offsetOf(set, next);
  size_t word = i >> 6, end = wordsOf(set);
  uint64_t bits = wordAt(set, word) & (~uint64_t(0) << (i & 63));
  while (!bits) {
    if (++word == end)
      return next;
    bits = wordAt(set, word);
  }
  return wrapAdd(set->_low, int32_t(uint32_t(word * 64) + uint32_t(std::countr_zero(bits))));
}

int32_t rcsDomainPrevOn(const Domain* set, int32_t value)
{
  int32_t prev = wrapSub(value, 1);
  if (!set || value <= set->_low || value > set->_high)
    return prev;
  uint32_t i = offsetOf(set, prev);
  size_t word = i >> 6;
  uint64_t bits = wordAt(set, word) & (~uint64_t(0) >> (63 - (i & 63)));
  while (!bits) {
    if (word == 0)
      return prev;
    bits = wordAt(set, --word);
  }
  return wrapAdd(set->_low, int32_t(uint32_t(word * 64) + 63 - uint32_t(std::countl_zero(bits))));
}
