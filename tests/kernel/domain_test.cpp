/*
 * Bit-sets: counting and walking by the word give the answers of a walk bit by bit, at every alignment and at both ends
 * of the 32-bit range.
 */
#include "random.h"
#include "solver.h"

#include <memory>

using namespace kit;

struct Deleter
{
  void operator()(Domain* set) const { rcsDeleteDomain(set); }
};
using DomainPtr = std::unique_ptr<Domain, Deleter>;

static DomainPtr makeSet(int low, int high) { return DomainPtr(rcsCreateDomain(low, high)); }

/// Bit i of the array as it lies in memory.
static bool rawBit(const Domain* set, int64_t i) { return (set->_bits[i >> 3] >> (i & 7)) & 1; }

static uint32_t slowCount(const Domain* set, int64_t from, int64_t to)
{
  uint32_t count = 0;
  for (int64_t x = from; x <= to; x++)
    count += x >= set->_low && x <= set->_high && rawBit(set, x - set->_low);
  return count;
}

/// Walks to the end of the last byte, spare bits included.
static int64_t slowNext(const Domain* set, int64_t value)
{
  if (value >= set->_low && value < set->_high)
    for (int64_t i = value + 1 - set->_low; i < int64_t(set->_nbBytes) * 8; i++)
      if (rawBit(set, i))
        return set->_low + i;
  return value + 1;
}

static int64_t slowPrev(const Domain* set, int64_t value)
{
  if (value > set->_low && value <= set->_high)
    for (int64_t i = value - 1 - set->_low; i >= 0; i--)
      if (rawBit(set, i))
        return set->_low + i;
  return value - 1;
}

TEST(Domain, LengthAndSpareBits)
{
  EXPECT_EQ(makeSet(1, 8)->_nbBytes, 1);
  DomainPtr nine = makeSet(1, 9);
  EXPECT_EQ(nine->_nbBytes, 2);
  EXPECT_EQ(nine->_bits[1], 255);
  EXPECT_FALSE(rcsDomainIsOn(nine.get(), 10));
  EXPECT_EQ(rcsDomainCountOn(nine.get(), 0, 100), 9u);
  EXPECT_EQ(makeSet(5, 4)->_nbBytes, 0);
  EXPECT_EQ(makeSet(2147483647, INT32_MIN)->_nbBytes, 0);
  EXPECT_EQ(rcsDomainCountOn(makeSet(0, 15).get(), 2, 4), 3u);
}

TEST(Domain, NullHoldsEveryInteger)
{
  EXPECT_TRUE(rcsDomainIsOn(nullptr, INT32_MIN));
  EXPECT_EQ(rcsDomainCountOn(nullptr, 3, 7), 5u);
  EXPECT_EQ(rcsDomainCountOn(nullptr, 7, 3), 0u);
  EXPECT_EQ(rcsDomainNextOn(nullptr, 7), 8);
  EXPECT_EQ(rcsDomainPrevOn(nullptr, 7), 6);
}

TEST(Domain, OutsideValuesAreIgnored)
{
  DomainPtr set = makeSet(-4, 12);
  rcsDomainOff(set.get(), -5);
  rcsDomainOff(set.get(), 13);
  rcsDomainNotInInterval(set.get(), 13, INT32_MAX);
  rcsDomainNotInInterval(set.get(), INT32_MIN, -5);
  rcsDomainNotInInterval(set.get(), 5, 4);
  EXPECT_EQ(rcsDomainCountOn(set.get(), INT32_MIN, INT32_MAX), 17u);
  rcsDomainNotInInterval(set.get(), 3, INT32_MAX);
  EXPECT_EQ(rcsDomainCountOn(set.get(), INT32_MIN, INT32_MAX), 7u);
  rcsClearDomain(set.get());
  rcsDomainOn(set.get(), -5);
  rcsDomainOn(set.get(), 13);
  EXPECT_EQ(rcsDomainCountOn(set.get(), INT32_MIN, INT32_MAX), 0u);
}

TEST(Domain, CountsAndWalksAsBitByBit)
{
  Random random(1);
  const int64_t bases[] = {INT32_MIN, -70, 0, 3, INT32_MAX - 300};
  for (int round = 0; round < 300; round++) {
    int64_t low = bases[random.pick(0, 4)];
    int64_t high = std::min<int64_t>(low + random.pick(0, 300), INT32_MAX);
    DomainPtr set = makeSet(int(low), int(high));
    int density = random.pick(0, 100);
    for (int64_t x = low; x <= high; x++)
      if (random.chance(density))
        rcsDomainOff(set.get(), int(x));
    for (int probe = 0; probe < 60; probe++) {
      int64_t a = std::clamp<int64_t>(low + random.pick(-3, 303), INT32_MIN, INT32_MAX);
      int64_t b = std::clamp<int64_t>(low + random.pick(-3, 303), INT32_MIN, INT32_MAX);
      ASSERT_EQ(rcsDomainCountOn(set.get(), int(a), int(b)), slowCount(set.get(), a, b)) << low << " " << a << " " << b;
      ASSERT_EQ(rcsDomainNextOn(set.get(), int(a)), int32_t(uint32_t(slowNext(set.get(), a)))) << low << " " << a;
      ASSERT_EQ(rcsDomainPrevOn(set.get(), int(a)), int32_t(uint32_t(slowPrev(set.get(), a)))) << low << " " << a;
    }
  }
}

TEST(Domain, TheWidestRange)
{
  DomainPtr set = makeSet(INT32_MIN, INT32_MAX);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->_nbBytes, 536870912);
  EXPECT_EQ(rcsDomainCountOn(set.get(), INT32_MIN, INT32_MAX), 0u); // 2^32, of which 32 bits are kept
  rcsDomainOff(set.get(), INT32_MAX);
  EXPECT_EQ(rcsDomainCountOn(set.get(), INT32_MIN, INT32_MAX), 4294967295u);
  rcsDomainOff(set.get(), 0);
  EXPECT_EQ(rcsDomainNextOn(set.get(), -1), 1);
  EXPECT_EQ(rcsDomainPrevOn(set.get(), 1), -1);
  EXPECT_FALSE(rcsDomainIsOn(set.get(), INT32_MAX));
}
