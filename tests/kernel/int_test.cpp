/*
 * Variables: making them and asking about them.
 */
#include "solver.h"

using namespace kit;

using Int = SolverTest;

TEST_F(Int, Making)
{
  EXPECT_EQ(cs_createCSint(5, 4), nullptr);
  EXPECT_EQ(cs_createCSint(5, 5)->_domain, nullptr);
  CSint* constant = CSINT(-7);
  EXPECT_EQ(constant->_initMin + constant->_initMax + constant->_propMin + constant->_propMax, -28);
  // The count is 32-bit arithmetic.
  EXPECT_EQ(cs_createCSint(INT32_MIN, INT32_MAX)->_nbElements, 0);
  EXPECT_EQ(cs_createCSint(0, INT32_MAX)->_nbElements, INT32_MIN);
  EXPECT_EQ(cs_createCSint(1, INT32_MAX)->_nbElements, INT32_MAX);

  const int list[] = {5, 3, 5}, ends[] = {INT32_MAX, INT32_MAX - 2};
  EXPECT_EQ(cs_createCSintFromDomain(list, 0), nullptr);
  EXPECT_EQ(cs_createCSintFromDomain(list, -1), nullptr);
  CSint* x = cs_createCSintFromDomain(list, 3);
  EXPECT_EQ(textOf(x), "{3, 5}");
  EXPECT_EQ(x->_nbElements, 2);
  // A bit-set from the start, also for one value.
  EXPECT_NE(cs_createCSintFromDomain(list, 1)->_domain, nullptr);
  EXPECT_EQ(textOf(cs_createCSintFromDomain(ends, 2)), "{2147483645, 2147483647}");

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

TEST_F(Int, ValuesAroundAValueAndAtTheEnds)
{
  CSint* x = makeVar("{-3, 1..4, 9}");
  cs_LE(x, 4);
  const struct
  {
    int value, isIn, next, previous;
  } rows[] = {
      {INT32_MIN, 0, -3, INT32_MIN},
      {-3, 1, 1, INT32_MIN},
      {-1, 0, 1, -3},
      {2, 1, 3, 1},
      {4, 1, INT32_MAX, 3},
      {9, 0, INT32_MAX, 4}, // in the bit-set, beyond the maximum
      {INT32_MAX, 0, INT32_MAX, 4},
  };
  for (auto& row : rows) {
    EXPECT_EQ(cs_isIn(x, row.value), row.isIn) << row.value;
    EXPECT_EQ(cs_getNextValue(x, row.value), row.next) << row.value;
    EXPECT_EQ(cs_getPreviousValue(x, row.value), row.previous) << row.value;
  }
  CSint* all = cs_createCSint(INT32_MIN, INT32_MAX);
  EXPECT_EQ(cs_getNextValue(all, INT32_MAX - 1), INT32_MAX);
  EXPECT_EQ(cs_getPreviousValue(all, INT32_MIN + 1), INT32_MIN);
  int* values = cs_getDomain(cs_createCSint(INT32_MAX - 1, INT32_MAX));
  EXPECT_EQ(values[1], INT32_MAX);
  cs_freeDomain(values);
  cs_freeDomain(nullptr);
}

TEST_F(Int, BoundsThatAreOffAndBoundsThatCross)
{
  // A removal that is accepted inside a context that is restored: 2 stays off, but the count is back.
  CSint* x = cs_createCSint(0, 5);
  cs_saveContext();
  cs_GE(x, 1);
  cs_saveContext();
  cs_NEQ(x, 2);
  cs_acceptContext();
  cs_restoreContext();
  EXPECT_TRUE(cs_LE(x, 2));
  int* values = cs_getDomain(x);
  EXPECT_EQ(values[0], 0);
  EXPECT_EQ(values[1], 1);
  cs_freeDomain(values);
  EXPECT_TRUE(cs_NEQ(x, 1) && cs_NEQ(x, 0));
  EXPECT_GT(x->_min, x->_max);
  for (int value : {INT32_MIN, -100000000, 2, 3, 4, INT32_MAX})
    EXPECT_FALSE(cs_isIn(x, value)) << value;
  // Nobody else finds a value there either.
  CSint* y = makeVar("{-100000000..4}");
  EXPECT_TRUE(cs_Neq(x, y) && cs_EQ(y, -100000000));
}
