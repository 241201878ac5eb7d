/*
 * Product and quotient.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

static const auto rows = bruteForce("MulTable",
    {
        {.name = "Mul",
            .vars = {{.count = {2, 2}, .values = {-4, 5}, .size = 7, .twice = 15}},
            .post = [](Trial& t) { return cs_Mul(t.x[0], t.x[1]); },
            .value = [](auto& x, auto&) { return int64_t(x[0]) * x[1]; }},
        {.name = "DivByPositive",
            .vars = {{.values = {-12, 12}, .size = 14, .twice = 0}, {.values = {1, 5}, .twice = 0}},
            .post = [](Trial& t) { return cs_Div(t.x[0], t.x[1]); },
            .value = [](auto& x, auto&) -> std::optional<int64_t> {
              if (x[0] % x[1] != 0)
                return std::nullopt;
              return x[0] / x[1];
            }},
        {.name = "DivByNegative",
            .vars = {{.values = {-12, 12}, .size = 14, .twice = 0}, {.values = {-5, -1}, .twice = 0}},
            .post = [](Trial& t) { return cs_Div(t.x[0], t.x[1]); },
            .value = [](auto& x, auto&) -> std::optional<int64_t> {
              if (x[0] % x[1] != 0)
                return std::nullopt;
              return x[0] / x[1];
            }},
        {.name = "VMul",
            .vars = {{.count = {3, 3}, .values = {-3, 3}, .size = 4}},
            .post = [](Trial& t) { return cs_VMul(3, t.x[0], t.x[1], t.x[2]); },
            .value = [](auto& x, auto&) { return int64_t(x[0]) * x[1] * x[2]; }},
        {.name = "VDiv",
            .vars = {{.values = {-24, 24}, .size = 20, .twice = 0}, {.count = {2, 2}, .values = {1, 4}, .twice = 0}},
            .post = [](Trial& t) { return cs_VDiv(3, t.x[0], t.x[1], t.x[2]); },
            .value = [](auto& x, auto&) -> std::optional<int64_t> {
              if (x[0] % (x[1] * x[2]) != 0)
                return std::nullopt;
              return x[0] / (x[1] * x[2]);
            }},
    });

class Mul : public SolverTest
{
protected:
  using Post = CSint* (*)(CSint*, CSint*);

  static std::string post(Post functional, const std::string& x, const std::string& y)
  {
    CSint* z = functional(makeVar(x), makeVar(y));
    return z ? textOf(z) : "null";
  }
};

TEST_F(Mul, ResultsAtPosting)
{
  EXPECT_EQ(post(cs_Mul, "{-2..3}", "{4, 5}"), "{-10..15}");
  EXPECT_EQ(post(cs_Mul, "100000", "100000"), "2147483647");
  EXPECT_EQ(post(cs_Mul, "-100000", "{1..100000}"), "{-2147483648..-100000}");
  CSint* x = makeVar("{-3..3}");
  EXPECT_EQ(textOf(cs_Mul(x, x)), "{-9..9}");
  EXPECT_EQ(nbAttached(x), 2);
  EXPECT_EQ(post(cs_Div, "7", "2"), "null");
  EXPECT_EQ(post(cs_Div, "-7", "2"), "null");
  EXPECT_EQ(post(cs_Div, "{6..9}", "2"), "{3, 4}");
  EXPECT_EQ(post(cs_Div, "{-7..7}", "{2, 3}"), "{-3..3}");
  EXPECT_EQ(post(cs_Div, "{-7..-5}", "{-3, -2}"), "{2, 3}");
  EXPECT_EQ(post(cs_Div, "{6, 7}", "2"), "3");
  EXPECT_EQ(cs_getErr(), 0);
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

TEST_F(Mul, TheSmallestIntegerByMinusOneSaturates)
{
  EXPECT_EQ(post(cs_Div, "-2147483648", "-1"), "2147483647");
  EXPECT_EQ(post(cs_Div, "{-2147483648..-2147483647}", "-1"), "2147483647");
  EXPECT_EQ(post(cs_Div, "2147483647", "-1"), "-2147483647");
  // In a handler: a chain of quotients, narrowed from its end.
  CSint* x = cs_createCSint(INT32_MIN, INT32_MAX);
  CSint* q = cs_VDiv(3, x, CSINT(-1), CSINT(-1));
  ASSERT_NE(q, nullptr);
  EXPECT_TRUE(cs_LE(x, INT32_MIN + 1));
  // The first quotient is cut to 2147483647, which only the second smallest integer divides into.
  EXPECT_EQ(textOf(x), "-2147483647");
  EXPECT_EQ(textOf(q), "-2147483647");
}

TEST_F(Mul, TheDividendLearnsNothingBeforeAnEvent)
{
  CSint *x = makeVar("{6, 7}"), *y = makeVar("2");
  EXPECT_EQ(textOf(cs_Div(x, y)), "3");
  EXPECT_EQ(textOf(x), "{6, 7}");
  EXPECT_FALSE(cs_GE(x, 7));
}

TEST_F(Mul, ZeroIsCutWhereNothingCanBeDivided)
{
  CSint *x = makeVar("{-3..5}"), *y = makeVar("{-5..0}"), *u = makeVar("{-3..5}"), *v = makeVar("{0..5}");
  EXPECT_TRUE(cs_GE(cs_Mul(x, y), 1));
  EXPECT_EQ(textOf(x) + textOf(y), "{-3..-1}{-5..-1}");
  EXPECT_TRUE(cs_GE(cs_Mul(u, v), 1));
  EXPECT_EQ(textOf(u) + textOf(v), "{1..5}{1..5}");
}

TEST_F(Mul, ZeroIsCutFromBoundsOnly)
{
  CSint *x = makeVar("{0..5}"), *y = makeVar("{-5..0}"), *z = cs_Mul(x, y);
  EXPECT_TRUE(cs_LT(z, 0));
  EXPECT_EQ(textOf(x) + textOf(y), "{1..5}{-5..-1}");
  CSint *a = makeVar("{-5..5}"), *b = makeVar("{-5..5}"), *p = cs_Mul(a, b);
  EXPECT_TRUE(cs_GE(p, 1));
  EXPECT_EQ(textOf(a) + textOf(b), "{-5..5}{-5..5}");
}

TEST_F(Mul, AFactorThatStraddlesZeroIsNoDivisor)
{
  CSint *a = makeVar("{-2..3}"), *b = makeVar("{-100..100}"), *p = cs_Mul(a, b);
  EXPECT_TRUE(cs_InInterval(p, 10, 20));
  EXPECT_EQ(textOf(b), "{-100..100}");
  EXPECT_TRUE(cs_GE(a, 1));
  // By 1..3: from ceil(10/3) to 20; then a, by 4..20.
  EXPECT_EQ(textOf(b), "{4..20}");
  EXPECT_EQ(textOf(a), "{1..3}");
}

TEST_F(Mul, RemovedValuesArePassedOver)
{
  CSint *a = makeVar("{1..3}"), *b = makeVar("{1..3}"), *p = cs_Mul(a, b);
  EXPECT_TRUE(cs_NEQ(a, 2));
  EXPECT_TRUE(cs_NEQ(p, 5));
  EXPECT_EQ(textOf(b), "{1..3}");
}

TEST_F(Mul, Attachments)
{
  CSint *x = makeVar("{1..9}"), *y = makeVar("{1..3}");
  CSint *z = cs_Mul(x, y), *q = cs_Div(x, y);
  for (CSint* result : {z, q}) {
    Constraint* c = result->_constraints->_constraint;
    EXPECT_EQ(c->_refCount, 3);
    EXPECT_EQ(c->_destructor, nullptr);
    EXPECT_EQ(result->_constraints->_index, -1);
    EXPECT_STREQ(c->_info->_function, result == z ? "cs_Mul" : "cs_Div");
  }
  // A fixed result is posted all the same.
  EXPECT_EQ(nbAttached(cs_Mul(CSINT(2), CSINT(3))), 1);
  // One info for the whole chain.
  CSint *first = makeVar("{1, 2}"), *w = cs_VMul(3, first, x, y);
  EXPECT_EQ(w->_constraints->_constraint->_info, first->_constraints->_constraint->_info);
  EXPECT_STREQ(w->_constraints->_constraint->_info->_function, "cs_VMul");
  EXPECT_EQ(w->_constraints->_constraint->_info->_refCount, 2u);
  EXPECT_EQ(cs_VMul(1, x), x);
  EXPECT_EQ(cs_VDiv(0, x), x);
  EXPECT_EQ(cs_VDiv(2, CSINT(7), CSINT(2)), nullptr);
  EXPECT_EQ(cs_VDiv(3, CSINT(7), CSINT(2), CSINT(1)), nullptr);
}
