/*
 * Bit-sets: counting and walking by the word give the answers of a walk bit by bit, at every alignment and at both ends
 * of the 32-bit range.
 */
#include "random.h"
#include "solver.h"

#include <memory>

using namespace kit;

using DomainPtr = std::unique_ptr<Domain, void (*)(Domain*)>;

static DomainPtr makeSet(int low, int high) { return {rcsCreateDomain(low, high), rcsDeleteDomain}; }

/// Bit i of the array as it lies in memory.
static bool rawBit(const Domain* set, int64_t i) { return (set->_bits[i >> 3] >> (i & 7)) & 1; }

static uint32_t slowCount(const Domain* set, int64_t from, int64_t to)
{
  uint32_t count = 0;
  for (int64_t x = std::max<int64_t>(from, set->_low); x <= std::min<int64_t>(to, set->_high); x++)
    count += rawBit(set, x - set->_low);
  return count;
}

/// Upwards it walks to the end of the last byte, spare bits included.
static int slowWalk(const Domain* set, int64_t value, int step)
{
  if (step > 0 ? value >= set->_low && value < set->_high : value > set->_low && value <= set->_high)
    for (int64_t i = value + step - set->_low; i >= 0 && i < int64_t(set->_nbBytes) * 8; i += step)
      if (rawBit(set, i))
        return int(set->_low + i);
  return int(uint32_t(value + step));
}

static uint32_t count(const DomainPtr& set) { return rcsDomainCountOn(set.get(), INT32_MIN, INT32_MAX); }

TEST(Domain, LengthAndSpareBits)
{
  EXPECT_EQ(makeSet(1, 8)->_nbBytes, 1);
  DomainPtr nine = makeSet(1, 9);
  EXPECT_EQ(nine->_nbBytes, 2);
  EXPECT_EQ(nine->_bits[1], 255);
  EXPECT_FALSE(rcsDomainIsOn(nine.get(), 10));
  EXPECT_EQ(count(nine), 9u);
  EXPECT_EQ(makeSet(5, 4)->_nbBytes, 0);
  EXPECT_EQ(makeSet(INT32_MAX, INT32_MIN)->_nbBytes, 0);
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
  EXPECT_EQ(count(set), 17u);
  rcsDomainNotInInterval(set.get(), 3, INT32_MAX);
  EXPECT_EQ(count(set), 7u);
  rcsClearDomain(set.get());
  rcsDomainOn(set.get(), -5);
  rcsDomainOn(set.get(), 13);
  EXPECT_EQ(count(set), 0u);
}

TEST(Domain, CountsAndWalksAsBitByBit)
{
  Random random(1);
  const int bases[] = {INT32_MIN, -70, 0, 3, INT32_MAX - 300};
  for (int round = 0; round < 300; round++) {
    int64_t low = random.oneOf(bases), high = std::min<int64_t>(low + random.pick(0, 300), INT32_MAX);
    DomainPtr owner = makeSet(int(low), int(high));
    Domain* set = owner.get();
    int density = random.pick(0, 100);
    for (int64_t x = low; x <= high; x++)
      if (random.chance(density))
        rcsDomainOff(set, int(x));
    for (int probe = 0; probe < 60; probe++) {
      int a = int(std::clamp<int64_t>(low + random.pick(-3, 303), INT32_MIN, INT32_MAX));
      int b = int(std::clamp<int64_t>(low + random.pick(-3, 303), INT32_MIN, INT32_MAX));
      ASSERT_EQ(rcsDomainCountOn(set, a, b), slowCount(set, a, b)) << low << " " << a << " " << b;
      ASSERT_EQ(rcsDomainNextOn(set, a), slowWalk(set, a, 1)) << low << " " << a;
      ASSERT_EQ(rcsDomainPrevOn(set, a), slowWalk(set, a, -1)) << low << " " << a;
    }
  }
}

TEST(Domain, TheWidestRange)
{
  DomainPtr set = makeSet(INT32_MIN, INT32_MAX);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->_nbBytes, 536870912);
  EXPECT_EQ(count(set), 0u); // 2^32, of which 32 bits are kept
  rcsDomainOff(set.get(), INT32_MAX);
  EXPECT_EQ(count(set), 4294967295u);
  rcsDomainOff(set.get(), 0);
  EXPECT_EQ(rcsDomainNextOn(set.get(), -1), 1);
  EXPECT_EQ(rcsDomainPrevOn(set.get(), 1), -1);
  EXPECT_FALSE(rcsDomainIsOn(set.get(), INT32_MAX));
}
