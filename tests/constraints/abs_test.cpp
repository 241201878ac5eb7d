/*
 * Absolute value.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

static const std::vector<Row> table = {{.name = "Abs",
    .vars = {{.values = {-9, 9}, .size = 12}},
    .post = [](Trial& t) { return cs_Abs(t.x[0]); },
    .value = [](auto& x, auto&) { return std::abs(int64_t(x[0])); },
    .trials = 600}};
static const int tables = bruteForce("AbsTable", table);

class Abs : public SolverTest
{};

TEST_F(Abs, WhatIsLeft)
{
  struct
  {
    const char* x;
    char narrowed; ///< x or z = |x|; or none
    int (*narrow)(CSint*, int);
    int value;
    const char* left; ///< of the other one, or of z
  } rows[] = {{"{-5, 3}", 0, nullptr, 0, "{3, 5}"}, {"{-2, -1, 1, 4}", 0, nullptr, 0, "{1, 2, 4}"},
      {"{-9, -4, 6, 8}", 0, nullptr, 0, "{4, 6, 8, 9}"}, {"{-7, -3..0}", 0, nullptr, 0, "{0..3, 7}"},
      {"{-4, -1, 1}", 0, nullptr, 0, "{1, 4}"},
      // Back to x.
      {"{-5..5}", 'z', cs_GE, 3, "{-5..-3, 3..5}"}, {"{-5..2}", 'z', cs_GE, 3, "{-5..-3}"},
      {"{-2..5}", 'z', cs_GE, 3, "{3..5}"}, {"{-5..-1}", 'z', cs_GE, 3, "{-5..-3}"},
      {"{1..5}", 'z', cs_GE, 3, "{3..5}"}, {"{-5..5}", 'z', cs_LE, 3, "{-3..3}"},
      {"{-5..-1}", 'z', cs_LE, 3, "{-3..-1}"}, {"{1..5}", 'z', cs_LE, 3, "{1..3}"},
      {"{-5..2}", 'z', cs_LE, 3, "{-3..2}"}, {"{-5, -1, 1, 5}", 'z', cs_LE, 4, "{-1, 1}"},
      {"{-5..5}", 'z', cs_EQ, 4, "{-4, 4}"}, {"{-5..3, 5}", 'z', cs_EQ, 4, "-4"}, {"{-5, -3..5}", 'z', cs_EQ, 4, "4"},
      {"{-5..5}", 'z', cs_EQ, 0, "0"}, {"{-5..5}", 'z', cs_NEQ, 2, "{-5..-3, -1..1, 3..5}"},
      // Forth to z. Holes around zero that come later don't raise its minimum.
      {"{-5..5}", 'x', cs_LE, 3, "{0..5}"}, {"{-5..5}", 'x', cs_GE, -3, "{0..5}"}, {"{-5..5}", 'x', cs_GE, 2, "{2..5}"},
      {"{-5..5}", 'x', cs_LE, -2, "{2..5}"}, {"{-5..3}", 'x', cs_GE, -2, "{0..3}"}, {"{-5..5}", 'x', cs_EQ, -4, "4"},
      {"{-5..5}", 'x', cs_NEQ, 2, "{0..5}"}, {"{-5..1, 3..5}", 'x', cs_NEQ, -2, "{0, 1, 3..5}"},
      {"{-5, -4, 0, 3..5}", 'x', cs_NEQ, 0, "{3..5}"}};
  for (auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.x << " " << row.narrowed << " " << row.value);
    CSint *x = makeVar(row.x), *z = cs_Abs(x);
    EXPECT_TRUE(!row.narrow || row.narrow(row.narrowed == 'x' ? x : z, row.value));
    EXPECT_EQ(textOf(row.narrowed == 'z' ? x : z), row.left);
  }
  EXPECT_EQ(cs_Abs(makeVar("{-3..2}"))->_domain, nullptr);
}

TEST_F(Abs, TheSmallestInteger)
{
  CSint* x = cs_createCSint(INT32_MIN, 5);
  LocatorSpy locator;
  int min = 0;
  locator.onAsked = [&] { min = x->_min; };
  EXPECT_EQ(cs_Abs(x)->_max, INT32_MAX);
  EXPECT_EQ(min, -INT32_MAX); // x is cut before the info is made
  EXPECT_EQ(cs_Abs(makeVar("-2147483648")), nullptr);
  // Listed beside others it leaves the saturated bound, whose bit is off.
  int values[] = {INT32_MIN, 2147483640};
  CSint *listed = cs_createCSintFromDomain(values, 2), *w = cs_Abs(listed);
  EXPECT_EQ(textOf(listed), "2147483640");
  EXPECT_EQ(w->_max, INT32_MAX);
  EXPECT_FALSE(cs_isIn(w, INT32_MAX));
  EXPECT_EQ(w->_nbElements, 1);
  EXPECT_EQ(cs_Abs(w)->_nbElements, 1);
  EXPECT_EQ(cs_Abs(cs_Add(makeVar("{2147483643, 2147483645, 2147483647}"), CSINT(1)))->_nbElements, 2);
}

TEST_F(Abs, ALaterRaiseRemovesOnlyWhatIsNew)
{
  CSint *x = makeVar("{-5..5}"), *z = cs_Abs(x);
  EXPECT_TRUE(cs_GE(z, 3));
  Spy spy;
  spy.watch(x, "x");
  EXPECT_EQ(spy.take(cs_GE(z, 4)), "1 x Neq 3, x Neq -3");
}

TEST_F(Abs, Attachments)
{
  CSint *x = makeVar("{-5..5}"), *z = cs_Abs(x);
  EXPECT_EQ(postedOn({z, x}), "cs_Abs 2: a b");
  EXPECT_EQ(nbAttached(x), 1);
  EXPECT_EQ(nbAttached(cs_Abs(CSINT(-3))), 1);
}
