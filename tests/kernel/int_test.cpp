/*
 * Variables: making them and asking about them.
 */
#include "solver.h"

#include <cstring>

using namespace kit;

class Int : public SolverTest
{};

TEST_F(Int, Intervals)
{
  EXPECT_EQ(cs_createCSint(5, 4), nullptr);
  CSint* five = cs_createCSint(5, 5);
  EXPECT_TRUE(cs_isInstantiated(five));
  EXPECT_FALSE(cs_isFree(five));
  EXPECT_EQ(five->_domain, nullptr);
  CSint* constant = CSINT(-7);
  EXPECT_EQ(cs_getValue(constant), -7);
  EXPECT_EQ(constant->_initMin + constant->_initMax + constant->_propMin + constant->_propMax, -28);
  // The count is 32-bit arithmetic.
  EXPECT_EQ(cs_createCSint(INT32_MIN, INT32_MAX)->_nbElements, 0);
  EXPECT_EQ(cs_createCSint(0, INT32_MAX)->_nbElements, INT32_MIN);
  EXPECT_EQ(cs_createCSint(1, INT32_MAX)->_nbElements, INT32_MAX);
}

TEST_F(Int, FromAList)
{
  const int list[] = {5, 3, 5};
  EXPECT_EQ(cs_createCSintFromDomain(list, 0), nullptr);
  EXPECT_EQ(cs_createCSintFromDomain(list, -1), nullptr);
  CSint* x = cs_createCSintFromDomain(list, 3);
  EXPECT_EQ(textOf(x), "{3, 5}");
  EXPECT_EQ(x->_nbElements, 2);
  // A bit-set from the start, also for one value.
  EXPECT_NE(cs_createCSintFromDomain(list, 1)->_domain, nullptr);
  const int ends[] = {INT32_MAX, INT32_MAX - 2};
  EXPECT_EQ(textOf(cs_createCSintFromDomain(ends, 2)), "{2147483645, 2147483647}");
}

TEST_F(Int, Arrays)
{
  CSint** array = cs_createCSintArray(3, -1, 1);
  for (int i = 0; i < 3; i++)
    EXPECT_EQ(textOf(array[i]), "{-1..1}");
  EXPECT_NE(cs_createCSintArray(0, 0, 1), nullptr);
  EXPECT_NE(cs_createCSintArray(-5, 0, 1), nullptr);
  EXPECT_EQ(cs_createCSintArray(3, 1, 0), nullptr);
}

TEST_F(Int, NamesReuseTheirBuffer)
{
  CSint* x = cs_createCSint(0, 1);
  EXPECT_EQ(cs_getName(x), nullptr);
  const char* name = cs_setName(x, "longer");
  EXPECT_EQ(cs_setName(x, "short"), name);
  EXPECT_STREQ(name, "short");
  EXPECT_STREQ(cs_setName(x, name), "short");
  std::string longest(100, 'n');
  name = cs_setName(x, longest.c_str());
  EXPECT_EQ(cs_getName(x), name);
  EXPECT_EQ(cs_getName(x), longest);
  EXPECT_STREQ(cs_getName(cs_createNamedCSint(0, 1, "")), "");
  EXPECT_EQ(cs_createNamedCSint(1, 0, "none"), nullptr);
}

TEST_F(Int, MembershipNeedsTheBounds)
{
  CSint* x = cs_createCSint(0, 9);
  cs_LE(x, 5);
  EXPECT_FALSE(cs_isIn(x, 6));
  EXPECT_FALSE(cs_isIn(x, -1));
  EXPECT_TRUE(cs_isIn(x, 5));
  EXPECT_EQ(cs_getMax(x), 5);
  cs_NEQ(x, 3);
  EXPECT_FALSE(cs_isIn(x, 3));
}

TEST_F(Int, NextAndPreviousValue)
{
  CSint* x = makeVar("{-3, 1..4, 9}");
  cs_LE(x, 4);
  struct
  {
    int value, next, previous;
  } rows[] = {
      {INT32_MIN, -3, INT32_MIN},
      {-3, 1, INT32_MIN},
      {-1, 1, -3},
      {2, 3, 1},
      {4, INT32_MAX, 3},
      {6, INT32_MAX, 4},
      {INT32_MAX, INT32_MAX, 4},
  };
  for (auto& row : rows) {
    EXPECT_EQ(cs_getNextValue(x, row.value), row.next) << row.value;
    EXPECT_EQ(cs_getPreviousValue(x, row.value), row.previous) << row.value;
  }
  CSint* all = cs_createCSint(INT32_MIN, INT32_MAX);
  EXPECT_EQ(cs_getNextValue(all, INT32_MAX - 1), INT32_MAX);
  EXPECT_EQ(cs_getPreviousValue(all, INT32_MIN + 1), INT32_MIN);
}

TEST_F(Int, DomainsAsArrays)
{
  CSint* x = makeVar("{-3, 1..4, 9}");
  cs_GE(x, -2);
  int* values = cs_getDomain(x);
  EXPECT_EQ(Values(values, values + x->_nbElements), Values({1, 2, 3, 4, 9}));
  cs_freeDomain(values);
  cs_freeDomain(nullptr);
  CSint* end = cs_createCSint(INT32_MAX - 1, INT32_MAX);
  values = cs_getDomain(end);
  EXPECT_EQ(values[1], INT32_MAX);
  cs_freeDomain(values);
}
