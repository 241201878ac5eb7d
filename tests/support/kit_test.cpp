/*
 * The kit's own test: constraints with one deliberate fault each must be caught, and the right one among them not.
 */
#include "bruteforce.h"
#include "snapshot.h"
#include "spy.h"

#include <cstdlib>
#include <cstring>

using namespace kit;

// ---------------------------------------------------------------------------------------------------------------------
// x < y in several versions, on the framework alone
// ---------------------------------------------------------------------------------------------------------------------

namespace {

enum Version {
  right,
  losesSolutions,
  losesLate,
  acceptsNonSolutions,
  failsForNothing,
  tooStrong,
  untrailed,
  staysAttached
};

struct LtData
{
  CSint* _x;
  CSint* _y;
  Version _version;
  bool _woken;
};

int narrow(LtData* lt)
{
  CSint *x = lt->_x, *y = lt->_y;
  int gap = lt->_version == losesSolutions || (lt->_version == losesLate && lt->_woken) ? 2 : 1;
  if (lt->_version == untrailed && y->_min <= x->_min && x->_min < y->_max) {
    while (y->_min <= x->_min)
      _rcsRemoveValue(y, y->_min);
    y->_propMin = y->_min;
  }
  if (lt->_version == tooStrong && x->_nbElements == 3 && x->_max - x->_min == 2 && !rcsRemoveValue(x, x->_min + 1))
    return 0;
  return rcsSetMin(y, x->_min + gap) && rcsSetMax(x, y->_max - gap);
}

int wake(CSint*, Tconstraint* t, int32_t, int32_t)
{
  auto* lt = static_cast<LtData*>(t->_constraint->_data);
  lt->_woken = true;
  if (lt->_version == acceptsNonSolutions)
    return 1;
  if (lt->_version == failsForNothing && lt->_x->_nbElements + lt->_y->_nbElements == 3)
    return 0;
  return narrow(lt);
}

const Handler wakeHandlers[6] = {wake, wake, wake, wake, wake, Ptrue};

int post(Version version, CSint* x, CSint* y)
{
  auto* lt = static_cast<LtData*>(malloc(sizeof(LtData)));
  *lt = {x, y, version, false};
  Constraint* constraint = rcsCreateConstraint(rcsCreateConstraintInfo("lt", nullptr), lt, wakeHandlers);
  _rcsAddConstraint(constraint, x, -1);
  _rcsAddConstraint(constraint, y, -1);
  if (version == staysAttached) {
    // Past the trail.
    auto* t = static_cast<Tconstraint*>(malloc(sizeof(Tconstraint)));
    *t = {constraint, y->_constraints, -1, 63, 63, 1, 0}; // for all events, in a block of its own
    y->_constraints = t;
    constraint->_refCount++;
  }
  return narrow(lt);
}

Row rowOf(Version version)
{
  return {.name = "lt",
      .vars = {{.count = {2, 2}, .twice = 0}},
      .post = [=](Trial& t) { return post(version, t.x[0], t.x[1]); },
      .holds = [](auto& v, auto&) { return v[0] < v[1]; },
      .exact = naive::lt};
}

testing::AssertionResult says(const std::string& fault, const char* part)
{
  if (fault.find(part) == std::string::npos)
    return testing::AssertionFailure() << "the fault found is \"" << fault << "\" and not: " << part;
  return testing::AssertionSuccess();
}

} // namespace

TEST(BruteForce, AcceptsARightConstraint) { EXPECT_EQ(faultOf(rowOf(right)), ""); }

TEST(BruteForce, CatchesWrongConstraints)
{
  auto loose = [](Version version) {
    Row row = rowOf(version);
    row.exact = nullptr;
    return faultOf(row);
  };
  EXPECT_TRUE(says(loose(losesSolutions), "of the solution"));
  EXPECT_TRUE(says(loose(losesLate), "has lost"));
  EXPECT_TRUE(says(loose(acceptsNonSolutions), "which is no solution"));
  EXPECT_TRUE(says(loose(failsForNothing), "is a solution"));
  EXPECT_TRUE(says(loose(untrailed), "not as it was before"));
  EXPECT_TRUE(says(loose(staysAttached), "the number of attachments was"));
}

TEST(BruteForce, MeasuresStrength)
{
  Row strong = rowOf(tooStrong);
  strong.mayLose = true;
  EXPECT_TRUE(says(faultOf(strong), "by the exact rule"));

  Row notWoken = rowOf(acceptsNonSolutions);
  EXPECT_TRUE(says(faultOf(notWoken), "by the exact rule"));

  Row neq = {.name = "neq",
      .vars = {{.count = {2, 2}, .twice = 0}},
      .post = [](Trial& t) { return cs_Neq(t.x[0], t.x[1]); },
      .holds = [](auto& v, auto&) { return v[0] != v[1]; },
      .strength = Strength::domain};
  EXPECT_EQ(faultOf(neq), ""); // forward checking is all that disequality of two can do

  Row eq = {.name = "le and ge",
      .vars = {{.count = {2, 2}, .holes = 100, .twice = 0}},
      .post = [](Trial& t) { return cs_Le(t.x[0], t.x[1]) && cs_Ge(t.x[0], t.x[1]); },
      .holds = [](auto& v, auto&) { return v[0] == v[1]; },
      .strength = Strength::bounds};
  EXPECT_EQ(faultOf(eq), "");
  eq.strength = Strength::domain;
  EXPECT_TRUE(says(faultOf(eq), "has no support"));
}

// A functional constraint: z is the larger of x and y, plus an offset. The lazy one waits until x and y are known, and
// its result begins as the whole range of integers.
static Posted postMax(Trial& t, int offset, bool lazy = false)
{
  CSint* z = lazy ? cs_createCSint(INT_MIN, INT_MAX) : cs_createCSint(-20, 20);
  struct Max
  {
    CSint *x, *y, *z;
    int offset;
    bool lazy;
    int narrow()
    {
      if (lazy && x->_nbElements + y->_nbElements > 2)
        return 1;
      return rcsSetMin(z, std::max(x->_min, y->_min) + offset) && rcsSetMax(z, std::max(x->_max, y->_max) + offset) &&
             rcsSetMax(x, z->_max - offset) && rcsSetMax(y, z->_max - offset) &&
             (x->_max >= z->_min - offset || rcsSetMin(y, z->_min - offset)) &&
             (y->_max >= z->_min - offset || rcsSetMin(x, z->_min - offset));
    }
    static int wake(CSint*, Tconstraint* a, int32_t, int32_t)
    {
      return static_cast<Max*>(a->_constraint->_data)->narrow();
    }
  };
  static const Handler handlers[6] = {Max::wake, Max::wake, Max::wake, Max::wake, Max::wake, Max::wake};
  auto* max = static_cast<Max*>(malloc(sizeof(Max)));
  *max = {t.x[0], t.x[1], z, offset, lazy};
  Constraint* constraint = rcsCreateConstraint(rcsCreateConstraintInfo("max", nullptr), max, handlers);
  for (CSint* v : {z, t.x[0], t.x[1]})
    _rcsAddConstraint(constraint, v, -1);
  return max->narrow() ? z : nullptr;
}

TEST(BruteForce, FollowsResultVariables)
{
  Row byValue = {.name = "max",
      .vars = {{.count = {2, 2}}},
      .post = [](Trial& t) { return postMax(t, 0); },
      .value = [](auto& x, auto&) { return std::max(x[0], x[1]); },
      .strength = Strength::bounds};
  EXPECT_EQ(faultOf(byValue), "");

  Row byTest = byValue;
  byTest.value = nullptr;
  byTest.results = {{-20, 20}};
  byTest.holds = [](auto& v, auto&) { return v[2] == std::max(v[0], v[1]); };
  EXPECT_EQ(faultOf(byTest), "");

  Row wide = byValue;
  wide.strength = Strength::none;
  wide.post = [](Trial& t) { return postMax(t, 0, true); };
  EXPECT_EQ(faultOf(wide), "");

  Row wrong = byValue;
  wrong.post = [](Trial& t) { return postMax(t, 1); };
  EXPECT_TRUE(says(faultOf(wrong), "of the solution"));
}

TEST(BruteForce, RefusesDrawsWithoutSolutions)
{
  Row row = rowOf(right);
  row.vars = {{.values = {5, 9}, .twice = 0}, {.values = {0, 4}, .twice = 0}};
  EXPECT_TRUE(says(faultOf(row), "draw other domains"));
}

// ---------------------------------------------------------------------------------------------------------------------
// Fixture, texts, snapshots, spies
// ---------------------------------------------------------------------------------------------------------------------

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
  EXPECT_EQ(before.changes(), "variable 0: the values was {0..9}, is {0..3, 5..9}\n"
                              "variable 0: _nbElements was 10, is 9\n");
  Snapshot between(vars);
  cs_Le(vars[0], vars[1]);
  EXPECT_NE(between.changes(), "");
  cs_setErr(CS_ERR_OVERFLOW);
  EXPECT_EQ(Snapshot(vars).changes(), "");
  expectedErr = CS_ERR_OVERFLOW;
}

TEST_F(KitTest, SpiesRecordFailAndCallBack)
{
  CSint *x = cs_createCSint(0, 9), *y = cs_createCSint(0, 9);
  std::string log;
  Spy a("a", &log);
  cs_saveContext();
  {
    Spy gone;
    gone.watch(x, "x");
    a.watch(x, "x").watch(y, "y", 2);
  }
  EXPECT_EQ(nbAttached(x), 2);
  EXPECT_TRUE(cs_GE(x, 2) && cs_NEQ(x, 5) && cs_EQ(y, 4) && cs_LE(x, 2));
  EXPECT_EQ(a.log(), "x NewMin 0->2, x Neq 5, y[2] Eq 0..9->4, x NewMaxEq 9->2");
  EXPECT_EQ(log, "a: x NewMin 0->2, a: x Neq 5, a: y[2] Eq 0..9->4, a: x NewMaxEq 9->2");
  cs_restoreContext();
  EXPECT_EQ(a.nbDestroyed, 1);

  cs_saveContext();
  a.clear();
  a.failAt = 2;
  a.onCall = [&](const Spy::Call& call) { return call.variable == y || cs_LE(y, 7); };
  a.watch(x, "x").watch(y, "y");
  EXPECT_FALSE(cs_GE(x, 1));
  EXPECT_EQ(a.log(), "x NewMin 0->1, y NewMax 9->7");
  cs_restoreContext();
}
