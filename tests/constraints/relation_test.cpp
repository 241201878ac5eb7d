/*
 * The binary relations and all different: what brute force doesn't see. Strength by exact domains, the edges of 32
 * bits, what is attached, and the order of steps.
 */
#include "snapshot.h"
#include "spy.h"

using namespace kit;

class Relation : public SolverTest
{
protected:
  static std::string texts(const Vars& vars)
  {
    std::string text;
    for (const CSint* v : vars)
      text += (text.empty() ? "" : " ") + textOf(v);
    return text;
  }

  /// Posts on variables of those domains; answers the result and the domains that it leaves.
  static std::string post(int (*relation)(CSint*, CSint*), const std::string& x, const std::string& y)
  {
    CSint *v = makeVar(x), *w = makeVar(y);
    int result = relation(v, w);
    return std::to_string(result) + " " + texts({v, w});
  }
};

TEST_F(Relation, AVariableWithItself)
{
  CSint* x = makeVar("{0..9}");
  Snapshot before({x});
  EXPECT_FALSE(cs_Neq(x, x));
  EXPECT_FALSE(cs_Lt(x, x));
  EXPECT_FALSE(cs_Gt(x, x));
  EXPECT_TRUE(cs_Eq(x, x));
  EXPECT_TRUE(cs_Le(x, x));
  EXPECT_TRUE(cs_Ge(x, x));
  EXPECT_EQ(before.changes(), "");
  EXPECT_EQ(cs_getNbConstraints(x), 0);
}

TEST_F(Relation, DomainsLeftByPosting)
{
  EXPECT_EQ(post(cs_Neq, "{0..9}", "{0..9}"), "1 {0..9} {0..9}");
  EXPECT_EQ(post(cs_Neq, "3", "{0..9}"), "1 3 {0..2, 4..9}");
  EXPECT_EQ(post(cs_Neq, "{0..9}", "9"), "1 {0..8} 9");
  EXPECT_EQ(post(cs_Neq, "4", "4"), "0 4 4");
  EXPECT_EQ(post(cs_Eq, "{1, 3, 5}", "{1..5}"), "1 {1, 3, 5} {1, 3, 5}");
  EXPECT_EQ(post(cs_Eq, "{2..9}", "{0..2, 4..7}"), "1 {2, 4..7} {2, 4..7}");
  EXPECT_EQ(post(cs_Eq, "4", "{3, 5}"), "0 4 {3, 5}");
  EXPECT_EQ(post(cs_Le, "{2..9}", "{0..5}"), "1 {2..5} {2..5}");
  EXPECT_EQ(post(cs_Lt, "{2..9}", "{0..5}"), "1 {2..4} {3..5}");
  EXPECT_EQ(post(cs_Ge, "{0..5}", "{2..9}"), "1 {2..5} {2..5}");
  EXPECT_EQ(post(cs_Gt, "{0..5}", "{2..9}"), "1 {3..5} {2..4}");
  EXPECT_EQ(post(cs_Lt, "{5..9}", "{0..5}"), "0 {5..9} {0..5}");
  // Bounds that land in a hole move on, and that is all that is seen of holes.
  EXPECT_EQ(post(cs_Lt, "{2, 3, 7}", "{0, 1, 5, 7}"), "1 {2, 3} {5, 7}");
}

TEST_F(Relation, TheEdgesOf32Bits)
{
  EXPECT_EQ(post(cs_Lt, "2147483647", "{0..9}"), "0 2147483647 {0..9}");
  EXPECT_EQ(post(cs_Lt, "{0..9}", "-2147483648"), "0 {0..9} -2147483648");
  // Both steps wrap: neither narrows, and neither fails.
  EXPECT_EQ(post(cs_Lt, "2147483647", "-2147483648"), "1 2147483647 -2147483648");
  EXPECT_EQ(post(cs_Le, "2147483647", "-2147483648"), "0 2147483647 -2147483648");
  EXPECT_EQ(post(cs_Le, "{-2147483648..2147483647}", "{-2147483648..2147483647}").substr(0, 1), "1");
}

TEST_F(Relation, EqualityMirrorsLaterChanges)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  EXPECT_TRUE(cs_Eq(x, y));
  EXPECT_TRUE(cs_NEQ(x, 4));
  EXPECT_TRUE(cs_NEQ(y, 5));
  EXPECT_TRUE(cs_GE(y, 2));
  EXPECT_TRUE(cs_LE(x, 7));
  EXPECT_EQ(texts({x, y}), "{2, 3, 6, 7} {2, 3, 6, 7}");
  EXPECT_TRUE(cs_EQ(y, 3));
  EXPECT_EQ(texts({x, y}), "3 3");
}

TEST_F(Relation, EveningOutLooksAtTheOtherVariableOnlyThroughItsEvent)
{
  // Inside a handler the raise of x lands behind a hole; y stays behind until the queue comes to the event.
  CSint *x = makeVar("{0, 5..9}"), *y = makeVar("{3..9}"), *trigger = makeVar("{0, 1}");
  Spy spy;
  spy.watch(trigger, "trigger");
  std::string within;
  spy.onCall = [&](const Spy::Call&) {
    int result = cs_Eq(x, y);
    within = texts({x, y});
    return result;
  };
  EXPECT_TRUE(cs_EQ(trigger, 1));
  EXPECT_EQ(within, "{5..9} {3..9}");
  EXPECT_EQ(texts({x, y}), "{5..9} {5..9}");
}

TEST_F(Relation, OrdersWakeOnTheBoundsThatMatter)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  EXPECT_TRUE(cs_Lt(x, y));
  Spy spy;
  spy.watch(x, "x").watch(y, "y");
  EXPECT_TRUE(cs_GE(y, 4));
  EXPECT_TRUE(cs_LE(x, 6));
  EXPECT_EQ(spy.log(), "y NewMin 1->4, x NewMax 8->6");
  spy.clear();
  EXPECT_TRUE(cs_GE(x, 5));
  EXPECT_TRUE(cs_LE(y, 6));
  EXPECT_EQ(spy.log(), "x NewMin 0->5, y NewMin 4->6, y NewMaxEq 9->6, x NewMaxEq 6->5");
}

TEST_F(Relation, FailedPostingStaysAttachedUntilARestore)
{
  CSint *x = makeVar("{5..9}"), *y = makeVar("{0..5}");
  int label = cs_saveContext();
  EXPECT_FALSE(cs_Lt(x, y));
  EXPECT_EQ(nbAttached(x) + nbAttached(y), 2);
  EXPECT_EQ(x->_constraints->_constraint, y->_constraints->_constraint);
  EXPECT_EQ(x->_constraints->_index, -1);
  EXPECT_EQ(x->_constraints->_constraint->_info->_refCount, 1u);
  cs_restoreContextUntil(label);
  EXPECT_EQ(nbAttached(x) + nbAttached(y), 0);
}

class AllNeq : public Relation
{
protected:
  Vars make(const std::vector<std::string>& domains)
  {
    Vars vars;
    for (const std::string& domain : domains)
      vars.push_back(makeVar(domain));
    return vars;
  }
};

TEST_F(AllNeq, Posting)
{
  EXPECT_TRUE(cs_AllNeq(nullptr, 0));
  EXPECT_TRUE(cs_AllNeq(nullptr, -3));
  Vars one = make({"{0..9}"});
  EXPECT_TRUE(cs_AllNeq(one.data(), 1));
  EXPECT_EQ(nbAttached(one[0]), 1);
  Vars tight = make({"{1, 2}", "{1, 2}", "{1, 2}"});
  EXPECT_FALSE(cs_AllNeq(tight.data(), 3));
  // No Hall intervals: two variables of two values leave the third alone.
  Vars hall = make({"{1, 2}", "{1, 2}", "{1..3}"});
  EXPECT_TRUE(cs_AllNeq(hall.data(), 3));
  EXPECT_EQ(texts(hall), "{1, 2} {1, 2} {1..3}");
  Vars chain = make({"{1..3}", "2", "{2, 3}"});
  EXPECT_TRUE(cs_AllNeq(chain.data(), 3));
  EXPECT_EQ(texts(chain), "1 2 3");
  EXPECT_EQ(chain[2]->_constraints->_index, 2);
}

TEST_F(AllNeq, TheSpanWraps)
{
  Vars wide = make({"{-2147483648..0}", "{0..2147483647}"});
  EXPECT_FALSE(cs_AllNeq(wide.data(), 2));
  Vars half = make({"{-2147483648..0}", "{0..2147483645}"});
  EXPECT_FALSE(cs_AllNeq(half.data(), 2)); // -2, as a signed number
  Vars fits = make({"{-1073741824..0}", "{0..1073741822}"});
  EXPECT_TRUE(cs_AllNeq(fits.data(), 2)); // 2^31 - 1
  Vars edge = make({"{-1073741824..0}", "{0..1073741823}"});
  EXPECT_FALSE(cs_AllNeq(edge.data(), 2));
}

TEST_F(AllNeq, AVariableTwiceFailsOnlyWhereItIsFixedAtPosting)
{
  CSint* x = makeVar("3");
  CSint* fixed[] = {x, x};
  EXPECT_FALSE(cs_AllNeq(fixed, 2));
  CSint* y = makeVar("{0..9}");
  CSint* open[] = {y, y, makeVar("{0..9}")};
  EXPECT_TRUE(cs_AllNeq(open, 3));
  EXPECT_TRUE(cs_EQ(y, 4));
}

TEST_F(AllNeq, TwoFixedAtOnceFail)
{
  CSint* v[] = {makeVar("0..9"), makeVar("0..9"), makeVar("0..9")};
  ASSERT_TRUE(cs_AllNeq(v, 3) && cs_Eq(v[0], v[1]));
  EXPECT_FALSE(cs_EQ(v[0], 3));
}

TEST_F(AllNeq, TheSpanIsTestedWhereAWitnessMoves)
{
  // The witnesses are the first and the third variable, 0..9; the second shrinks the true span without being looked at.
  Vars v = make({"{0..3}", "{0..9}", "{0..9}"});
  v[1] = makeVar("{0..9}");
  EXPECT_TRUE(cs_AllNeq(v.data(), 3));
  EXPECT_TRUE(cs_LE(v[1], 1));
  EXPECT_TRUE(cs_LE(v[0], 1));
  // v[2] is the high witness: now no two witnesses have room for three.
  EXPECT_FALSE(cs_LE(v[2], 1));
}

TEST_F(AllNeq, AScanTakesTheFirstWitnessesThatDo)
{
  Vars v = make({"{0..2}", "{0..5}", "{0..9}"});
  EXPECT_TRUE(cs_AllNeq(v.data(), 3));
  // The high witness falls; the scan starts from its new bound 1 and stops at v[0], with a span of 0..2.
  EXPECT_TRUE(cs_LE(v[2], 1));
  // v[1] is no witness, so its fall to the others' span isn't looked at, although it could have failed with v[0]'s.
  EXPECT_TRUE(cs_LE(v[1], 1));
  EXPECT_FALSE(cs_LE(v[0], 1));
}

TEST_F(AllNeq, TheArrayIsTheCallers)
{
  Vars v = make({"{0..9}", "{0..9}"});
  EXPECT_TRUE(cs_AllNeq(v.data(), 2));
  CSint* other = makeVar("{0..9}");
  CSint* second = v[1];
  v[1] = other;
  EXPECT_TRUE(cs_EQ(v[0], 5));
  EXPECT_FALSE(cs_isIn(other, 5));
  EXPECT_TRUE(cs_isIn(second, 5));
}
