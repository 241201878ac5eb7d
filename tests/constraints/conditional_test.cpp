/*
 * The conditionals: brute force, and the cases that pin how weak they are meant to be.
 */
#include "bruteforce.h"

using namespace kit;

static void drawValues(Trial& t) { t.p = t.pick(2, -3, 5); }

static const std::vector<Row> ties = {
    {.name = "IfEq",
        .vars = {{.count = {2, 2}, .values = {-2, 4}, .twice = 0}},
        .prepare = drawValues,
        .post = [](Trial& t) { return cs_IfEq(t.x[0], t.x[1], t.p[0], t.p[1]); },
        .holds = [](auto& v, auto& p) { return (v[0] == p[0]) == (v[1] == p[1]); },
        .exact = naive::ifEq,
        .trials = 300},
    {.name = "IfNeq",
        .vars = {{.count = {2, 2}, .values = {-2, 4}}},
        .prepare = drawValues,
        .post = [](Trial& t) { return cs_IfNeq(t.x[0], t.x[1], t.p[0], t.p[1]); },
        .holds = [](auto& v, auto& p) { return v[0] != p[0] || v[1] != p[1]; },
        .strength = Strength::domain,
        .exact = naive::ifNeq,
        .trials = 300},
};

static const int rows = bruteForce("Conditional", ties);

class ConditionalCase : public SolverTest
{};

TEST_F(ConditionalCase, Attachments)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("5");
  EXPECT_FALSE(cs_IfEq(x, y, 11, 5));
  EXPECT_EQ(postedOn({x, y}), "cs_IfEq 1: a a"); // a failed one too
  EXPECT_TRUE(cs_IfNeq(x, y, 11, 5));
  EXPECT_EQ(postedOn({x, y}), "cs_IfNeq 1: a a");
}

TEST_F(ConditionalCase, TheLossOfAValueWakesNothing)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  EXPECT_TRUE(cs_IfEq(x, y, 1, 2) && cs_GE(x, 3) && cs_isIn(y, 2));
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(x, 3) && cs_isIn(y, 2));
  EXPECT_FALSE(cs_EQ(y, 2));
  cs_restoreContext();
  EXPECT_FALSE(cs_EQ(y, 2));
}

TEST_F(ConditionalCase, AVariableTiedToItselfCountsAsTheFirst)
{
  CSint* x = makeVar("{0..9}");
  EXPECT_TRUE(cs_IfEq(x, x, 1, 2));
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(x, 2)); // as the second it would have to be 1
  cs_restoreContext();
  EXPECT_FALSE(cs_EQ(x, 1));
  CSint* two = makeVar("2");
  EXPECT_FALSE(cs_IfEq(two, two, 1, 2)); // at posting both are looked at
}
