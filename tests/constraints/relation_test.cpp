/*
 * The binary relations and all different: what brute force doesn't see. The edges of 32 bits, what is attached, the
 * order of steps, and how much all different looks at.
 */
#include "snapshot.h"
#include "spy.h"

using namespace kit;

class Relation : public SolverTest
{};

TEST_F(Relation, AVariableWithItself)
{
  CSint* x = makeVar("{0..9}");
  Snapshot before({x});
  EXPECT_FALSE(cs_Neq(x, x) || cs_Lt(x, x) || cs_Gt(x, x));
  EXPECT_TRUE(cs_Eq(x, x) && cs_Le(x, x) && cs_Ge(x, x));
  EXPECT_EQ(before.changes(), "");
  EXPECT_EQ(cs_getNbConstraints(x), 0);
}

TEST_F(Relation, WhatPostingLeavesAtTheEdges)
{
  auto post = [](int (*relation)(CSint*, CSint*), const char* x, const char* y) {
    Vars v = makeVars({x, y});
    int result = relation(v[0], v[1]);
    return std::to_string(result) + " " + textsOf(v);
  };
  EXPECT_EQ(post(cs_Lt, "2147483647", "{0..9}"), "0 2147483647 {0..9}");
  EXPECT_EQ(post(cs_Lt, "{0..9}", "-2147483648"), "0 {0..9} -2147483648");
  // Both steps wrap: neither narrows, and neither fails.
  EXPECT_EQ(post(cs_Lt, "2147483647", "-2147483648"), "1 2147483647 -2147483648");
  EXPECT_EQ(post(cs_Le, "2147483647", "-2147483648"), "0 2147483647 -2147483648");
  EXPECT_EQ(post(cs_Le, "-2147483648..2147483647", "-2147483648..2147483647").substr(0, 1), "1");
}

TEST_F(Relation, EveningOutLooksAtTheOtherVariableOnlyThroughItsEvent)
{
  // Inside a handler the raise of x lands behind a hole; y stays behind until the queue comes to the event.
  CSint *x = makeVar("{0, 5..9}"), *y = makeVar("{3..9}"), *trigger = makeVar("{0, 1}");
  Spy spy;
  std::string within;
  spy.watch(trigger, "trigger").onCall = [&](const Spy::Call&) {
    int result = cs_Eq(x, y);
    within = textsOf({x, y});
    return result;
  };
  EXPECT_TRUE(cs_EQ(trigger, 1));
  EXPECT_EQ(within, "{5..9} {3..9}");
  EXPECT_EQ(textsOf({x, y}), "{5..9} {5..9}");
}

TEST_F(Relation, OrdersWakeOnTheBoundsThatMatter)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  EXPECT_TRUE(cs_Lt(x, y));
  Spy spy;
  spy.watch(x, "x").watch(y, "y");
  EXPECT_EQ(spy.take(cs_GE(y, 4)), "1 y NewMin 1->4");
  EXPECT_EQ(spy.take(cs_LE(x, 6)), "1 x NewMax 8->6");
  EXPECT_EQ(spy.take(cs_GE(x, 5)), "1 x NewMin 0->5, y NewMin 4->6");
  EXPECT_EQ(spy.take(cs_LE(y, 6)), "1 y NewMaxEq 9->6, x NewMaxEq 6->5");
}

TEST_F(Relation, FailedPostingStaysAttachedUntilARestore)
{
  CSint *x = makeVar("{5..9}"), *y = makeVar("{0..5}");
  int label = cs_saveContext();
  EXPECT_FALSE(cs_Lt(x, y));
  EXPECT_EQ(postedOn({x, y}), "cs_Lt 1: a a");
  cs_restoreContextUntil(label);
  EXPECT_EQ(nbAttached(x) + nbAttached(y), 0);
}

// Those of a variable with many are walked in a way of their own, newest first: across other constraints, and where
// some have come and gone.
TEST_F(Relation, ManyDisequalities)
{
  CSint *x = makeVar("{0..99}"), *z = makeVar("{0..200}");
  Vars y;
  auto post = [&](int count, int every) {
    for (int i = 0; i < count; i++) {
      y.push_back(makeVar("{0..99}"));
      EXPECT_TRUE(cs_Neq(x, y.back()) && (i % every || cs_Le(x, z)));
    }
  };
  auto holding = [](const Vars& vars, int value) {
    return std::count_if(vars.begin(), vars.end(), [=](CSint* v) { return cs_isIn(v, value); });
  };
  post(150, 7);
  cs_saveContext();
  post(100, 3);
  cs_restoreContext();
  Vars gone(y.begin() + 150, y.end());
  y.resize(150);
  post(50, 8);
  cs_saveContext();
  ASSERT_TRUE(cs_EQ(x, 5));
  EXPECT_EQ(holding(y, 5), 0);
  EXPECT_EQ(holding(gone, 5), 100);
  cs_restoreContext();
  for (int failing : {199, 120, 60, 20, 3}) {
    cs_saveContext();
    ASSERT_TRUE(cs_Eq(x, y[size_t(failing)]));
    EXPECT_FALSE(cs_EQ(x, 1));
    EXPECT_EQ(holding(y, 1), failing + 1);
    cs_restoreContext();
  }
}

class AllNeq : public SolverTest
{};

TEST_F(AllNeq, Posting)
{
  EXPECT_TRUE(cs_AllNeq(nullptr, 0) && cs_AllNeq(nullptr, -3));
  CSint* alone[] = {makeVar("{0..9}")};
  EXPECT_TRUE(cs_AllNeq(alone, 1));
  EXPECT_EQ(nbAttached(alone[0]), 1);
  Vars tight = makeVars({"{1, 2}", "{1, 2}", "{1, 2}"});
  EXPECT_FALSE(cs_AllNeq(tight.data(), 3));
  // No Hall intervals: two variables of two values leave the third alone.
  Vars hall = makeVars({"{1, 2}", "{1, 2}", "{1..3}"});
  EXPECT_TRUE(cs_AllNeq(hall.data(), 3));
  EXPECT_EQ(textsOf(hall), "{1, 2} {1, 2} {1..3}");
  Vars chain = makeVars({"{1..3}", "2", "{2, 3}"});
  EXPECT_TRUE(cs_AllNeq(chain.data(), 3));
  EXPECT_EQ(textsOf(chain), "1 2 3");
  EXPECT_EQ(chain[2]->_constraints->_index, 2);
}

TEST_F(AllNeq, TheSpanWraps)
{
  struct
  {
    const char *x, *y;
    int result;
  } rows[] = {{"{-2147483648..0}", "{0..2147483647}", 0}, {"{-2147483648..0}", "{0..2147483645}", 0}, // -2, if signed
      {"{-1073741824..0}", "{0..1073741822}", 1}, {"{-1073741824..0}", "{0..1073741823}", 0}}; // 2^31 - 1 and 2^31
  for (auto [x, y, result] : rows) {
    Vars v = makeVars({x, y});
    EXPECT_EQ(cs_AllNeq(v.data(), 2), result) << y;
  }
}

TEST_F(AllNeq, AVariableTwiceFailsOnlyWhereItIsFixedAtPosting)
{
  CSint *x = makeVar("3"), *y = makeVar("{0..9}"), *fixed[] = {x, x}, *open[] = {y, y, makeVar("{0..9}")};
  EXPECT_FALSE(cs_AllNeq(fixed, 2));
  EXPECT_TRUE(cs_AllNeq(open, 3) && cs_EQ(y, 4));
  Vars large = Vars(40, nullptr);
  for (CSint*& v : large)
    v = makeVar("{0..99}");
  large[30] = large[3];
  EXPECT_TRUE(cs_AllNeq(large.data(), 40) && cs_EQ(large[3], 4));
  EXPECT_FALSE(cs_isIn(large[2], 4) || cs_isIn(large[31], 4));
}

TEST_F(AllNeq, TwoFixedAtOnceFail)
{
  Vars v = makeVars({"0..9", "0..9", "0..9"});
  ASSERT_TRUE(cs_AllNeq(v.data(), 3) && cs_Eq(v[0], v[1]));
  EXPECT_FALSE(cs_EQ(v[0], 3));
}

TEST_F(AllNeq, TheSpanIsTestedWhereAWitnessMoves)
{
  // The witnesses are the first and the third variable, 0..9; the second shrinks the true span without being looked at.
  Vars v = makeVars({"{0..3}", "{0..9}", "{0..9}"});
  EXPECT_TRUE(cs_AllNeq(v.data(), 3) && cs_LE(v[1], 1) && cs_LE(v[0], 1));
  // v[2] is the high witness: now no two witnesses have room for three.
  EXPECT_FALSE(cs_LE(v[2], 1));
}

TEST_F(AllNeq, AScanTakesTheFirstWitnessesThatDo)
{
  Vars v = makeVars({"{0..2}", "{0..5}", "{0..9}"});
  EXPECT_TRUE(cs_AllNeq(v.data(), 3));
  // The high witness falls; the scan starts from its new bound 1 and stops at v[0], with a span of 0..2.
  EXPECT_TRUE(cs_LE(v[2], 1));
  // v[1] is no witness, so its fall to the others' span isn't looked at, although it could have failed with v[0]'s.
  EXPECT_TRUE(cs_LE(v[1], 1));
  EXPECT_FALSE(cs_LE(v[0], 1));
}

// In a large array an instantiated variable is passed over for as long as the context stands in which that was seen.
TEST_F(AllNeq, NoneIsPassedOverThatIsFreeAgain)
{
  Vars v = Vars(40, nullptr);
  for (CSint*& x : v)
    x = makeVar("{0..99}");
  ASSERT_TRUE(cs_AllNeq(v.data(), 40));
  auto deepen = [](int label) {
    while (cs_saveContext() < label)
      ;
  };
  auto loses = [&](int value) { return cs_EQ(v[1], value) && !cs_isIn(v[0], value); };
  // Contexts of the same depth, two blocks of them further up.
  for (int depth : {1, 500, 1024, 1025}) {
    deepen(depth);
    ASSERT_TRUE(cs_EQ(v[0], 3));
    cs_restoreContext();
    deepen(1500);
    EXPECT_TRUE(loses(9)) << depth;
    cs_restoreAll();
  }
  // A function of the client's that narrows while a restore is half-way, and all of it is undone.
  for (int depth : {0, 2}) {
    while (cs_saveContext() <= depth)
      ;
    cs_backtrackExt(v[0], 3, [](void* x, int64_t value) { EXPECT_TRUE(cs_EQ(static_cast<CSint*>(x), int(value))); });
    cs_restoreContext();
    cs_saveContext();
    EXPECT_TRUE(loses(9)) << depth;
    cs_restoreAll();
  }
  // One that fails.
  cs_saveContext();
  ASSERT_TRUE(cs_Eq(v[0], v[39]));
  EXPECT_FALSE(cs_EQ(v[0], 3));
  cs_restoreAndSaveContext();
  EXPECT_TRUE(loses(9));
  cs_restoreAndSaveContext();
  ASSERT_TRUE(cs_EQ(v[0], 3));
  for (TrailEvent* e; !cs_isIn(v[0], 9);)
    e = _rcsPopEvent(), _rcsRestore(e);
  EXPECT_TRUE(loses(9));
  cs_restoreAll();
}

// A restore inside a flush leaves the event of a variable that is free again: it isn't passed over either.
TEST_F(AllNeq, NoneIsPassedOverForAnEventOfThePast)
{
  Vars v = Vars(40, nullptr);
  for (CSint*& x : v)
    x = makeVar("{0..99}");
  CSint* trigger = makeVar("{0..99}");
  Spy spy;
  spy.watch(trigger, "trigger");
  spy.onCall = [&](auto&) { return spy.calls.size() == 1 ? cs_restoreContext(), 1 : 1; };
  ASSERT_TRUE(cs_AllNeq(v.data(), 40) && cs_Eq(trigger, v[0]));
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(trigger, 3) && cs_isFree(v[0]));
  EXPECT_TRUE(cs_EQ(v[1], 9) && !cs_isIn(v[0], 9));
}

TEST_F(AllNeq, TheArrayIsTheCallers)
{
  Vars v = makeVars({"{0..9}", "{0..9}"});
  EXPECT_TRUE(cs_AllNeq(v.data(), 2));
  CSint* second = std::exchange(v[1], makeVar("{0..9}"));
  EXPECT_TRUE(cs_EQ(v[0], 5));
  EXPECT_TRUE(cs_isIn(second, 5) && !cs_isIn(v[1], 5));
}
