/*
 * Product and quotient.
 */
#include "bruteforce.h"

using namespace kit;

/// x over y, where it goes in.
static std::optional<int64_t> quotient(int x, int y)
{
  return x % y == 0 ? std::optional<int64_t>(x / y) : std::nullopt;
}

static Row division(const char* name, Range divisors)
{
  return {.name = name,
      .vars = {{.values = {-12, 12}, .size = 14, .twice = 0}, {.values = divisors, .twice = 0}},
      .post = [](Trial& t) { return cs_Div(t.x[0], t.x[1]); },
      .value = [](auto& x, auto&) { return quotient(x[0], x[1]); }};
}

static const std::vector<Row> table = {
    {.name = "Mul",
        .vars = {{.count = {2, 2}, .values = {-4, 5}, .size = 7, .twice = 15}},
        .post = [](Trial& t) { return cs_Mul(t.x[0], t.x[1]); },
        .value = [](auto& x, auto&) { return int64_t(x[0]) * x[1]; }},
    division("DivByPositive", {1, 5}),
    division("DivByNegative", {-5, -1}),
    {.name = "VMul",
        .vars = {{.count = {3, 3}, .values = {-3, 3}, .size = 4}},
        .post = [](Trial& t) { return cs_VMul(3, t.x[0], t.x[1], t.x[2]); },
        .value = [](auto& x, auto&) { return int64_t(x[0]) * x[1] * x[2]; }},
    {.name = "VDiv",
        .vars = {{.values = {-24, 24}, .size = 20, .twice = 0}, {.count = {2, 2}, .values = {1, 4}, .twice = 0}},
        .post = [](Trial& t) { return cs_VDiv(3, t.x[0], t.x[1], t.x[2]); },
        .value = [](auto& x, auto&) { return quotient(x[0], x[1] * x[2]); }},
};
static const int tables = bruteForce("MulTable", table);

class Mul : public SolverTest
{};

TEST_F(Mul, ResultsAtPosting)
{
  auto post = [](CSint* (*entry)(CSint*, CSint*), const char* x, const char* y) {
    CSint* z = entry(makeVar(x), makeVar(y));
    return z ? textOf(z) : "null";
  };
  EXPECT_EQ(post(cs_Mul, "{-2..3}", "{4, 5}"), "{-10..15}");
  EXPECT_EQ(post(cs_Mul, "100000", "100000"), "2147483647");
  EXPECT_EQ(post(cs_Mul, "-100000", "{1..100000}"), "{-2147483648..-100000}");
  EXPECT_EQ(post(cs_Div, "7", "2"), "null");
  EXPECT_EQ(post(cs_Div, "{6..9}", "2"), "{3, 4}");
  EXPECT_EQ(post(cs_Div, "{-7..7}", "{2, 3}"), "{-3..3}");
  EXPECT_EQ(post(cs_Div, "{-7..-5}", "{-3, -2}"), "{2, 3}");
  // The smallest integer by -1 saturates.
  EXPECT_EQ(post(cs_Div, "-2147483648", "-1"), "2147483647");
  EXPECT_EQ(post(cs_Div, "{-2147483648..-2147483647}", "-1"), "2147483647");
  EXPECT_EQ(post(cs_Div, "2147483647", "-1"), "-2147483647");
}

TEST_F(Mul, ADivisorWithZeroLeavesTheWholeRange)
{
  for (const char* divisor : {"{-1..1}", "{0..3}", "{-3..0}", "0"}) {
    CSint* q = cs_Div(makeVar("{1..9}"), makeVar(divisor));
    EXPECT_EQ(q->_min, INT32_MIN);
    EXPECT_EQ(q->_max, INT32_MAX);
    EXPECT_EQ(q->_nbElements, 0);
  }
  // The factors learn nothing from the product; the product fails as soon as the quotient moves.
  CSint *x = makeVar("{1..9}"), *q = cs_Div(x, makeVar("0"));
  EXPECT_TRUE(cs_GE(x, 3));
  EXPECT_FALSE(cs_LE(q, 100));
}

TEST_F(Mul, AQuotientThatSaturatesInAHandler)
{
  // A chain of quotients, narrowed from its end.
  CSint *x = cs_createCSint(INT32_MIN, INT32_MAX), *q = cs_VDiv(3, x, CSINT(-1), CSINT(-1));
  ASSERT_NE(q, nullptr);
  EXPECT_TRUE(cs_LE(x, INT32_MIN + 1));
  // The first quotient is cut to 2147483647, which only the second smallest integer divides into.
  EXPECT_EQ(textsOf({x, q}), "-2147483647 -2147483647");
}

TEST_F(Mul, TheDividendLearnsNothingBeforeAnEvent)
{
  CSint *x = makeVar("{6, 7}"), *y = makeVar("2");
  EXPECT_EQ(textsOf({cs_Div(x, y), x}), "3 {6, 7}");
  EXPECT_FALSE(cs_GE(x, 7));
}

TEST_F(Mul, WhatTheProductTellsOfTheFactors)
{
  // Zero is cut where nothing can be divided, and from bounds only; a factor that straddles it is no divisor.
  struct
  {
    const char *x, *y;
    int low, high; ///< of the product
    const char* left;
  } rows[] = {{"{-3..5}", "{-5..0}", 1, 99, "{-3..-1} {-5..-1}"}, {"{-3..5}", "{0..5}", 1, 99, "{1..5} {1..5}"},
      {"{0..5}", "{-5..0}", -99, -1, "{1..5} {-5..-1}"}, {"{-5..5}", "{-5..5}", 1, 99, "{-5..5} {-5..5}"},
      {"{-2..3}", "{-100..100}", 10, 20, "{-2..3} {-100..100}"},
      // From ceil(10/3) to 20; then x, by 4..20.
      {"{1..3}", "{-100..100}", 10, 20, "{1..3} {4..20}"}};
  for (auto& row : rows) {
    Vars v = makeVars({row.x, row.y});
    EXPECT_TRUE(cs_InInterval(cs_Mul(v[0], v[1]), row.low, row.high));
    EXPECT_EQ(textsOf(v), row.left);
  }
}

TEST_F(Mul, RemovedValuesArePassedOver)
{
  CSint *a = makeVar("{1..3}"), *b = makeVar("{1..3}"), *p = cs_Mul(a, b);
  EXPECT_TRUE(cs_NEQ(a, 2) && cs_NEQ(p, 5));
  EXPECT_EQ(textOf(b), "{1..3}");
}

TEST_F(Mul, Attachments)
{
  CSint *x = makeVar("{1..9}"), *y = makeVar("{1..3}"), *z = cs_Mul(x, y);
  EXPECT_EQ(postedOn({z, x, y}), "cs_Mul 1: a a a");
  CSint* q = cs_Div(x, y);
  EXPECT_EQ(postedOn({q, x, y}), "cs_Div 1: a a a");
  for (CSint* result : {z, q}) {
    EXPECT_EQ(constraintOf(result)->_refCount, 3);
    EXPECT_EQ(constraintOf(result)->_destructor, nullptr);
  }
  // A fixed result is posted all the same; a square is no case of its own.
  EXPECT_EQ(nbAttached(cs_Mul(CSINT(2), CSINT(3))), 1);
  EXPECT_EQ(textOf(cs_Mul(y, y)), "{1..9}");
  EXPECT_EQ(nbAttached(y), 4);
  // One info for the whole chain.
  CSint* first = makeVar("{1, 2}");
  EXPECT_EQ(postedOn({cs_VMul(3, first, x, y), first, x, y}), "cs_VMul 2: a b b a");
  EXPECT_EQ(cs_VMul(1, x), x);
  EXPECT_EQ(cs_VDiv(0, x), x);
  EXPECT_EQ(cs_VDiv(2, CSINT(7), CSINT(2)), nullptr);
  EXPECT_EQ(cs_VDiv(3, CSINT(7), CSINT(2), CSINT(1)), nullptr);
}
