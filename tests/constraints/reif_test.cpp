/*
 * The reified comparisons: brute force, and what it doesn't see: the posting, the events that are still in the queue
 * when the boolean is decided, and the edges of 32 bits.
 */
#include "reified.h"

using namespace kit;

static Rule swapped(Rule rule)
{
  return [=](const Sets& x, const Values& p) { return rule({x[1], x[0]}, p); };
}

/// x is at most p[0] + step, or at least that.
static Rule atMost(int step)
{
  return [=](const Sets& x, const Values& p) { return naive::atMost(x[0], int64_t(p[0]) + step); };
}

static Rule atLeast(int step)
{
  return [=](const Sets& x, const Values& p) { return naive::atLeast(x[0], int64_t(p[0]) + step); };
}

static bool lt(int a, int b) { return a < b; }
static bool le(int a, int b) { return a <= b; }
static bool gt(int a, int b) { return a > b; }
static bool ge(int a, int b) { return a >= b; }

static const std::vector<Row> comparisons = {
    reifiedPair("Lt", cs_ReifLt, lt, naive::reified(naive::lt, swapped(naive::le))),
    reifiedPair("Le", cs_ReifLe, le, naive::reified(naive::le, swapped(naive::lt))),
    reifiedPair("Gt", cs_ReifGt, gt, naive::reified(swapped(naive::lt), naive::le)),
    reifiedPair("Ge", cs_ReifGe, ge, naive::reified(swapped(naive::le), naive::lt)),
    reifiedValue("LT", cs_ReifLT, lt, naive::reified(atMost(-1), atLeast(0))),
    reifiedValue("LE", cs_ReifLE, le, naive::reified(atMost(0), atLeast(1))),
    reifiedValue("GT", cs_ReifGT, gt, naive::reified(atLeast(1), atMost(0))),
    reifiedValue("GE", cs_ReifGE, ge, naive::reified(atLeast(0), atMost(-1))),
};

static const int rows = bruteForce("Reif", comparisons);

class ReifCase : public ReifiedTest
{};

TEST_F(ReifCase, DecidedAtPostingIsAConstantWithNothingAttached)
{
  CSint *x = makeVar("{0..3}"), *y = makeVar("{3..5}");
  Snapshot before({x, y});
  auto isConstant = [](const CSint* b, int value) { return textOf(b) == std::to_string(value) && !b->_constraints; };
  EXPECT_TRUE(isConstant(cs_ReifLt(x, x), 0));
  EXPECT_TRUE(isConstant(cs_ReifGt(x, x), 0));
  EXPECT_TRUE(isConstant(cs_ReifLe(x, x), 1));
  EXPECT_TRUE(isConstant(cs_ReifGe(x, x), 1));
  EXPECT_TRUE(isConstant(cs_ReifLe(x, y), 1));
  EXPECT_TRUE(isConstant(cs_ReifGt(x, y), 0));
  EXPECT_TRUE(isConstant(cs_ReifLT(x, 0), 0));
  EXPECT_TRUE(isConstant(cs_ReifLT(x, 4), 1));
  EXPECT_TRUE(isConstant(cs_ReifLE(x, INT32_MIN), 0));
  EXPECT_TRUE(isConstant(cs_ReifGT(x, INT32_MAX), 0));
  EXPECT_TRUE(isConstant(cs_ReifGE(x, INT32_MIN), 1));
  EXPECT_EQ(before.changes(), "");
  EXPECT_EQ(x->_nbConstraints + y->_nbConstraints, 0);
  EXPECT_EQ(textOf(cs_ReifLt(x, y)), "{0, 1}"); // x = y = 3 is possible
}

TEST_F(ReifCase, AnOpenOneIsTwoConstraintsUnderOneInfo)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  Witness witness;
  cs_ReifLT(x, -5);
  EXPECT_EQ(witness.asked, 1); // for a constant too
  cs_saveContext();
  CSint* b = cs_ReifGt(x, y);
  EXPECT_LT(witness.made, b); // before anything else is made
  EXPECT_EQ(nbAttached(b), 1);
  EXPECT_EQ(nbAttached(x), 1);
  EXPECT_EQ(x->_constraints->_constraint, y->_constraints->_constraint);
  EXPECT_NE(x->_constraints->_constraint, b->_constraints->_constraint);
  for (const CSint* v : {b, x, y})
    EXPECT_EQ(v->_constraints->_index, -1);
  EXPECT_EQ(infoOf(b), infoOf(x));
  EXPECT_EQ(infoOf(x)->_refCount, 2u);
  EXPECT_STREQ(infoOf(x)->_function, "cs_ReifGt");
  EXPECT_STREQ(infoOf(x)->_locator, "here");
  cs_restoreContext();
  EXPECT_EQ(nbAttached(b) + nbAttached(x) + nbAttached(y), 0);
  auto nameOf = [](CSint* made) { return std::string(infoOf(made)->_function); };
  EXPECT_EQ(nameOf(cs_ReifLt(x, y)) + nameOf(cs_ReifLe(x, y)) + nameOf(cs_ReifGe(x, y)), "cs_ReifLtcs_ReifLecs_ReifGe");
  EXPECT_EQ(nameOf(cs_ReifLT(x, 5)) + nameOf(cs_ReifLE(x, 5)), "cs_ReifLTcs_ReifLE");
  EXPECT_EQ(nameOf(cs_ReifGT(x, 5)) + nameOf(cs_ReifGE(x, 5)), "cs_ReifGTcs_ReifGE");
}

TEST_F(ReifCase, EnforcingLowersTheLesserBeforeItRaisesTheGreater)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}"), *b = cs_ReifLt(x, y), *c = cs_ReifLe(x, y);
  Spy spy;
  spy.watch(x, "x").watch(y, "y");
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(b, 1));
  EXPECT_EQ(spy.log(), "x NewMax 9->8, y NewMin 0->1");
  EXPECT_EQ(textOf(c), "{0, 1}"); // no event has told the bounds that decide it
  cs_restoreContext();
  spy.clear();
  EXPECT_TRUE(cs_EQ(c, 0));
  EXPECT_EQ(spy.log(), "y NewMax 9->8, x NewMin 0->1");
}

TEST_F(ReifCase, ABoundIsPassedOnAsTheEventTellsIt)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  Spy after, before;
  after.watch(x, "x").watch(y, "y"); // older, so called after the comparison
  cs_EQ(cs_ReifLt(x, y), 1);
  before.watch(x, "x").watch(y, "y");
  std::string seen;
  after.onCall = [&](const Spy::Call&) { return seen += texts({x, y}) + "; ", 1; };
  before.onCall = [&](const Spy::Call& call) {
    return call.variable == x && call.now == 3   ? rcsSetMin(x, 5)
           : call.variable == y && call.now == 8 ? rcsSetMax(y, 7)
                                                 : 1;
  };
  EXPECT_TRUE(cs_GE(x, 3));
  EXPECT_EQ(seen, "{5..8} {4..9}; {5..8} {6..9}; {5..8} {6..9}; ");
  seen.clear();
  EXPECT_TRUE(cs_LE(y, 8));
  EXPECT_EQ(seen, "{5..7} {6, 7}; {5, 6} {6, 7}; {5, 6} {6, 7}; ");
}

TEST_F(ReifCase, AtTheEdgesOf32BitsTheStepWrapsAndTheEnforcerFails)
{
  // The boolean is fixed behind the bound's event: the watcher passes the bound on before the enforcer has looked.
  for (bool isLt : {true, false}) {
    CSint *x = makeVar("{2147483640..2147483647}"), *y = makeVar("{2147483640..2147483647}");
    Spy after;
    after.watch(x, "x");
    CSint* b = isLt ? cs_ReifLt(x, y) : cs_ReifLe(y, x);
    EXPECT_FALSE(inOneFlush([=] { return rcsSetMin(x, INT32_MAX) && rcsSetValue(b, isLt); }));
    EXPECT_EQ(after.log(), "x NewMinEq 2147483640->2147483647");
    EXPECT_EQ(textOf(y), "{2147483640..2147483647}");

    CSint *v = makeVar("{-2147483648..-2147483640}"), *w = makeVar("{-2147483648..-2147483640}");
    Spy last;
    last.watch(w, "w");
    CSint* c = isLt ? cs_ReifLt(v, w) : cs_ReifLe(w, v);
    EXPECT_FALSE(inOneFlush([=] { return rcsSetMax(w, INT32_MIN) && rcsSetValue(c, isLt); }));
    EXPECT_EQ(last.log(), "w NewMaxEq -2147483640->-2147483648");
    EXPECT_EQ(textOf(v), "{-2147483648..-2147483640}");

    // With both at the far ends no step of either side would fail: the enforcer looks first.
    CSint *highest = makeVar("{0..2147483647}"), *lowest = makeVar("{-2147483648..9}");
    CSint* d = isLt ? cs_ReifLt(highest, lowest) : cs_ReifLe(lowest, highest);
    EXPECT_FALSE(inOneFlush(
        [=] { return rcsSetMin(highest, INT32_MAX) && rcsSetMax(lowest, INT32_MIN) && rcsSetValue(d, isLt); }));
  }
}

TEST_F(ReifCase, WideVariablesAndConstantsAtTheEdges)
{
  const char* wide = "{-2147483648..2147483647}";
  CSint *x = makeVar(wide), *y = makeVar(wide);
  EXPECT_TRUE(cs_EQ(cs_ReifLt(x, y), 1));
  EXPECT_EQ(texts({x, y}), "{-2147483648..2147483646} {-2147483647..2147483647}");
  CSint* z = makeVar(wide);
  EXPECT_TRUE(cs_EQ(cs_ReifLT(z, INT32_MAX), 0));
  EXPECT_EQ(textOf(z), "2147483647");
  CSint* u = makeVar(wide);
  EXPECT_TRUE(cs_EQ(cs_ReifGT(u, INT32_MIN), 0));
  EXPECT_EQ(textOf(u), "-2147483648");
}

TEST_F(ReifCase, WhatIsInstantiatedInsideIsDecidedByPresentBounds)
{
  // Both sides move before either event is told; the Eq handler of the first sees both.
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}"), *b = cs_ReifLt(x, y), *c = cs_ReifLe(x, y);
  Spy spy;
  spy.watch(b, "b").watch(c, "c");
  EXPECT_TRUE(inOneFlush([=] { return rcsSetValue(x, 4) && rcsSetMin(y, 5); }));
  EXPECT_EQ(spy.log(), "c NewMinEq 0->1, b NewMinEq 0->1");
  // The boolean is decided first, and the Eq handler enforces before the enforcer's own turn.
  CSint *v = makeVar("{0..9}"), *w = makeVar("{0..9}");
  Spy after;
  after.watch(v, "v");
  CSint* d = cs_ReifLe(v, w);
  std::string seen;
  after.onCall = [&](const Spy::Call&) { return seen += texts({v, w}), 1; };
  EXPECT_TRUE(inOneFlush([=] { return rcsSetValue(v, 4) && rcsSetValue(d, 0); }));
  EXPECT_EQ(seen, "4 {0..3}");
}

// Once the boolean is decided the watcher of a constant's comparison narrows nothing and only checks.
TEST_F(ReifCase, AWatcherChecksAheadOfTheEnforcer)
{
  struct Case
  {
    CSint* (*post)(CSint*, int);
    int edge;  ///< the comparison with 5 changes its truth between this value and the next
    int below; ///< its truth up to there
  };
  for (const Case& c : {Case{cs_ReifLT, 4, 1}, {cs_ReifLE, 5, 1}, {cs_ReifGT, 5, 0}, {cs_ReifGE, 4, 0}})
    for (int truth : {0, 1}) {
      bool wantsLow = truth == c.below;
      // Whether the spy behind the watcher comes to see the change of x tells the watcher's answer.
      auto passes = [&, post = post](int (*change)(CSint*, int), int value) {
        CSint* x = makeVar("{0..9}");
        Spy after;
        after.watch(x, "x");
        CSint* b = c.post(x, 5);
        int ok = inOneFlush([&] { return change(x, value) && rcsSetValue(b, truth); });
        EXPECT_EQ(ok, !after.calls.empty());
        return ok;
      };
      SCOPED_TRACE(std::to_string(c.edge) + (c.below ? " low" : " high") + (truth ? ", true" : ", false"));
      EXPECT_TRUE(passes(rcsSetMin, c.edge));
      EXPECT_EQ(passes(rcsSetMin, c.edge + 1), !wantsLow);
      EXPECT_TRUE(passes(rcsSetMax, c.edge + 1));
      EXPECT_EQ(passes(rcsSetMax, c.edge), wantsLow);
      EXPECT_EQ(passes(rcsSetValue, c.edge), wantsLow);
      EXPECT_EQ(passes(rcsSetValue, c.edge + 1), !wantsLow);
    }
}
