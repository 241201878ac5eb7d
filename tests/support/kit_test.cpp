/*
 * The kit's own test: rows with one deliberate fault each must be caught, and the right ones among them not.
 */
#include "bruteforce.h"
#include "snapshot.h"
#include "spy.h"

#include <cstdlib>

using namespace kit;

// Says of a posting on two variables that it is the constraint `holds`.
static Row claim(int (*post)(CSint*, CSint*), bool (*holds)(int, int), Rule exact = nullptr)
{
  return {.name = "claim",
      .vars = {{.count = {2, 2}, .twice = 0}},
      .post = [=](Trial& t) { return post(t.x[0], t.x[1]); },
      .holds = [=](auto& v, auto&) { return holds(v[0], v[1]); },
      .exact = std::move(exact)};
}

static bool less(int x, int y) { return x < y; }
static bool lessOrEqual(int x, int y) { return x <= y; }
static bool always(int, int) { return true; }

static int failsAtOddMinimum(CSint* x, CSint* y) { return x->_min % 2 == 0 && cs_Lt(x, y); }

static int untrailed(CSint*, CSint* y)
{
  if (cs_isFree(y))
    _rcsRemoveValue(y, y->_min);
  y->_propMin = y->_min;
  return 1;
}

// Attaches once more, past the trail.
static int staysAttached(CSint* x, CSint* y)
{
  int ok = cs_Lt(x, y);
  if (ok && y->_constraints) {
    auto* t = static_cast<Tconstraint*>(malloc(sizeof(Tconstraint)));
    *t = *y->_constraints;
    t->_next = y->_constraints;
    y->_constraints = t;
    t->_constraint->_refCount++;
  }
  return ok;
}

static testing::AssertionResult says(const std::string& fault, const char* part)
{
  if (fault.find(part) == std::string::npos)
    return testing::AssertionFailure() << "the fault found is \"" << fault << "\" and not: " << part;
  return testing::AssertionSuccess();
}

TEST(BruteForce, CatchesWrongConstraints)
{
  EXPECT_EQ(faultOf(claim(cs_Lt, less, naive::lt)), "");
  EXPECT_TRUE(says(faultOf(claim(cs_Lt, lessOrEqual)), "of the solution"));
  EXPECT_TRUE(says(faultOf(claim(cs_Neq, always)), "has lost")); // not before one of them is fixed
  EXPECT_TRUE(says(faultOf(claim(cs_Le, less)), "which is no solution"));
  EXPECT_TRUE(says(faultOf(claim(failsAtOddMinimum, less)), "is a solution"));
  EXPECT_TRUE(says(faultOf(claim(staysAttached, less)), "the number of attachments was"));
  Row row = claim(untrailed, always);
  row.mayLose = true;
  EXPECT_TRUE(says(faultOf(row), "not as it was before"));
  row = claim(cs_Lt, less);
  row.vars = {{.values = {5, 9}, .twice = 0}, {.values = {0, 4}, .twice = 0}};
  EXPECT_TRUE(says(faultOf(row), "draw other domains"));
}

TEST(BruteForce, MeasuresStrength)
{
  Row strong = claim(cs_Lt, less, naive::le);
  strong.mayLose = true;
  EXPECT_TRUE(says(faultOf(strong), "by the exact rule"));
  EXPECT_TRUE(says(faultOf(claim(cs_Le, lessOrEqual, naive::lt)), "by the exact rule"));

  Row neq = claim(cs_Neq, [](int x, int y) { return x != y; });
  neq.strength = Strength::domain;
  EXPECT_EQ(faultOf(neq), ""); // forward checking is all that disequality of two can do

  Row eq =
      claim([](CSint* x, CSint* y) -> int { return cs_Le(x, y) && cs_Ge(x, y); }, [](int x, int y) { return x == y; });
  eq.vars[0].holes = 100;
  eq.strength = Strength::bounds;
  EXPECT_EQ(faultOf(eq), "");
  eq.strength = Strength::domain;
  EXPECT_TRUE(says(faultOf(eq), "has no support"));
}

TEST(BruteForce, FollowsResultVariables)
{
  Row byValue = {.name = "sum",
      .vars = {{.count = {2, 2}, .twice = 0}},
      .post = [](Trial& t) { return cs_Add(t.x[0], t.x[1]); },
      .value = [](auto& x, auto&) { return x[0] + x[1]; },
      .strength = Strength::bounds};
  EXPECT_EQ(faultOf(byValue), "");

  Row byTest = byValue;
  byTest.value = nullptr;
  byTest.results = {{-20, 20}};
  byTest.holds = [](auto& v, auto&) { return v[2] == v[0] + v[1]; };
  EXPECT_EQ(faultOf(byTest), "");

  byValue.value = [](auto& x, auto&) { return x[0] + x[1] + 1; };
  EXPECT_TRUE(says(faultOf(byValue), "of the solution"));
}

using KitTest = SolverTest;

TEST_F(KitTest, ReadsAndShowsDomains)
{
  for (const char* text : {"5", "-3", "{3, 4}", "{3..9}", "{-2147483648..2147483647}", "{-4, -2..3, 5, 6, 8..10}"})
    EXPECT_EQ(textOf(makeVar(text)), text);
  EXPECT_EQ(textOf(makeVar("1..3")), "{1..3}");
  Values values = {-3, -2, 0, 1, 2, 5};
  for (unsigned way = 0; way < 5; way++)
    EXPECT_EQ(textOf(makeVar(values, way)), "{-3, -2, 0..2, 5}");
}

TEST_F(KitTest, SnapshotsShowWhatChanged)
{
  CSint* x = cs_createCSint(0, 9);
  Vars vars = {x, cs_createCSint(0, 9)};
  Snapshot before(vars);
  EXPECT_EQ(before.changes(), "");
  cs_NEQ(x, 4);
  EXPECT_EQ(before.changes(), "variable 0: _nbElements was 10, is 9\n"
                              "variable 0: the values was {0..9}, is {0..3, 5..9}\n");
  EXPECT_TRUE(cs_Le(vars[0], vars[1]));
  EXPECT_TRUE(says(before.changes(), "the number of attachments was 0, is 1"));
  cs_setErr(CS_ERR_OVERFLOW);
  EXPECT_EQ(Snapshot(vars).changes(), "");
  expectedErr = CS_ERR_OVERFLOW;
}

TEST_F(KitTest, SpiesRecordUntilTheyAreGone)
{
  CSint *x = cs_createCSint(0, 9), *y = cs_createCSint(0, 9);
  Spy spy;
  cs_saveContext();
  {
    Spy gone;
    gone.watch(x, "x");
    spy.watch(x, "x").watch(y, "y", 2);
  }
  EXPECT_EQ(nbAttached(x), 2);
  EXPECT_TRUE(cs_GE(x, 2) && cs_NEQ(x, 5) && cs_EQ(y, 4) && cs_LE(x, 2));
  EXPECT_EQ(spy.log(), "x NewMin 0->2, x Neq 5, y[2] Eq 0..9->4, x NewMaxEq 9->2");
  cs_restoreContext();
  EXPECT_EQ(spy.nbDestroyed, 1);
}
