/*
 * Reified equality: brute force, and what it doesn't see: the posting, walks over many words, the order of removals,
 * and the events that are still in the queue when the boolean is decided.
 */
#include "reified.h"

#include <algorithm>

using namespace kit;

static bool eq(int a, int b) { return a == b; }
static bool neq(int a, int b) { return a != b; }

static bool becomes(const Sets& x, const Values& p)
{
  std::erase_if(*x[0], [&](int value) { return value != p[0]; });
  return !x[0]->empty();
}

static bool loses(const Sets& x, const Values& p) { return naive::remove(x[0], p[0]); }

static const std::vector<Row> equalities = {
    reifiedPair("Eq", cs_ReifEq, eq, naive::reified(naive::eq, naive::neq)),
    reifiedPair("Neq", cs_ReifNeq, neq, naive::reified(naive::neq, naive::eq)),
    reifiedValue("EQ", cs_ReifEQ, eq, naive::reified(becomes, loses)),
    reifiedValue("NEQ", cs_ReifNEQ, neq, naive::reified(loses, becomes)),
};

static const int rows = bruteForce("ReifEqual", equalities);

class ReifEqualCase : public ReifiedTest
{};

TEST_F(ReifEqualCase, DecidedAtPostingIsAConstantAndAsksNoLocator)
{
  Witness witness;
  CSint *x = makeVar("{1, 3}"), *y = makeVar("{2, 4}"), *three = makeVar("3");
  auto both = [](CSint* equal, CSint* different) {
    EXPECT_TRUE(!equal->_constraints && !different->_constraints);
    return texts({equal, different});
  };
  EXPECT_EQ(both(cs_ReifEq(x, x), cs_ReifNeq(x, x)), "1 0");
  EXPECT_EQ(both(cs_ReifEq(x, y), cs_ReifNeq(x, y)), "0 1"); // by the holes
  EXPECT_EQ(both(cs_ReifEq(x, makeVar("{4, 5}")), cs_ReifNeq(makeVar("{-2..0}"), x)), "0 1");
  EXPECT_EQ(both(cs_ReifEq(three, makeVar("3")), cs_ReifNeq(three, makeVar("3"))), "1 0");
  EXPECT_EQ(both(cs_ReifEQ(x, 2), cs_ReifNEQ(x, 2)), "0 1");
  EXPECT_EQ(both(cs_ReifEQ(three, 3), cs_ReifNEQ(three, 3)), "1 0");
  EXPECT_EQ(both(cs_ReifEQ(three, 4), cs_ReifNEQ(three, 4)), "0 1");
  EXPECT_EQ(x->_nbConstraints + y->_nbConstraints + three->_nbConstraints, 0);
  EXPECT_EQ(witness.asked, 0);
}

TEST_F(ReifEqualCase, AnOpenOneIsTwoConstraintsUnderOneInfo)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{3, 11}");
  Witness witness;
  cs_saveContext();
  CSint* b = cs_ReifEq(x, y);
  EXPECT_EQ(witness.asked, 1);
  EXPECT_LT(b, witness.made); // the boolean is there before the locator is asked
  EXPECT_EQ(nbAttached(b), 1);
  EXPECT_EQ(nbAttached(x), 1);
  EXPECT_EQ(x->_constraints->_constraint, y->_constraints->_constraint);
  for (const CSint* v : {b, x, y})
    EXPECT_EQ(v->_constraints->_index, -1);
  EXPECT_EQ(infoOf(b), infoOf(x));
  EXPECT_EQ(infoOf(x)->_refCount, 2u);
  cs_restoreContext();
  EXPECT_EQ(nbAttached(b) + nbAttached(x) + nbAttached(y), 0);
  CSint* c = cs_ReifNEQ(x, 3);
  EXPECT_LT(c, witness.made);
  EXPECT_EQ(c->_constraints->_index + x->_constraints->_index, -2);
  auto nameOf = [](CSint* made) { return std::string(infoOf(made)->_function); };
  EXPECT_EQ(nameOf(cs_ReifEq(x, y)) + nameOf(cs_ReifNeq(x, y)), "cs_ReifEqcs_ReifNeq");
  EXPECT_EQ(nameOf(cs_ReifEQ(x, 3)) + nameOf(c), "cs_ReifEQcs_ReifNEQ");
}

TEST_F(ReifEqualCase, MinimaAndMaximaAreEvenedOutInDifferentOrders)
{
  // On the minima x comes to rest first and y behind that; on the maxima y stays where it is and x comes to rest.
  CSint *x = makeVar("{0, 5, 7..9}"), *y = makeVar("{3, 4, 7..9}"), *b = cs_ReifEq(x, y);
  Spy low;
  low.watch(x, "x").watch(y, "y");
  EXPECT_TRUE(cs_EQ(b, 1));
  EXPECT_EQ(low.log(), "y NewMin 3->7, x NewMin 0->7");
  CSint *v = makeVar("{0..2, 8, 9}"), *w = makeVar("{0..2, 5, 6}");
  Spy high;
  high.watch(v, "v").watch(w, "w");
  CSint* c = cs_ReifNeq(v, w);
  std::string seen;
  high.onCall = [&](const Spy::Call&) { return seen += texts({v, w}) + "; ", 1; };
  EXPECT_TRUE(inOneFlush([=] { return rcsRemoveValue(v, 8) && rcsSetValue(c, 0); }));
  EXPECT_EQ(high.log(), "v Neq 8, v NewMax 9->2, w NewMax 6->2");
  EXPECT_EQ(seen, "{0..2} {0..2, 5, 6}; {0..2} {0..2}; {0..2} {0..2}; ");
  // The bound at which x comes to rest is itself a difference, and the first value of a word.
  CSint *p = makeVar("{0..2, 64, 70}"), *q = makeVar("{0..2, 65, 66}"), *d = cs_ReifEq(p, q);
  Spy last;
  last.watch(p, "p").watch(q, "q");
  EXPECT_TRUE(cs_EQ(d, 1));
  EXPECT_EQ(last.log(), "p NewMax 70->2, q NewMax 66->2");
}

TEST_F(ReifEqualCase, WalksOverManyWords)
{
  Random random(20);
  for (int round = 0; round < 300; round++) {
    SCOPED_TRACE(round);
    // The ends are common, so the bounds stay and every difference is an inner hole; some rounds have few of them.
    int low = random.pick(-70, 70), high = low + random.pick(130, 400);
    int density = random.pick(0, 100), different = round % 2 ? 50 : 2;
    Values in[2], common;
    for (int value = low; value <= high; value++) {
      bool isEnd = value == low || value == high;
      bool inX = isEnd || random.chance(density), inY = isEnd || inX != random.chance(different);
      if (inX)
        in[0].push_back(value);
      if (inY)
        in[1].push_back(value);
      if (inX && inY)
        common.push_back(value);
    }
    CSint *x = makeVar(in[0], unsigned(random.pick(0, 4))), *y = makeVar(in[1], unsigned(random.pick(0, 4)));
    CSint* b = cs_ReifEq(x, y);
    Spy spy;
    spy.watch(x, "").watch(y, "");
    cs_saveContext();
    ASSERT_TRUE(cs_EQ(b, 1));
    EXPECT_EQ(valuesOf(x), common);
    EXPECT_EQ(valuesOf(y), common);
    EXPECT_EQ(spy.calls.size(), in[0].size() + in[1].size() - 2 * common.size());
    EXPECT_TRUE(std::is_sorted(
        spy.calls.begin(), spy.calls.end(), [](const Spy::Call& p, const Spy::Call& q) { return p.old < q.old; }));
    cs_restoreContext();
    // Open until the last common value goes.
    for (size_t i = 0; i < common.size(); i++) {
      ASSERT_EQ(textOf(b), "{0, 1}");
      ASSERT_TRUE(cs_NEQ(i % 2 ? x : y, common[i]));
    }
    EXPECT_EQ(textOf(b), "0");
  }
}

TEST_F(ReifEqualCase, ScansEndAtTheEdgesOf32Bits)
{
  CSint* x = makeVar("{2147483500..2147483509, 2147483646, 2147483647}");
  CSint *y = makeVar("{2147483509..2147483520, 2147483645, 2147483647}"), *b = cs_ReifEq(x, y);
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(b, 1));
  EXPECT_EQ(texts({x, y}), "{2147483509, 2147483647} {2147483509, 2147483647}");
  cs_restoreContext();
  EXPECT_TRUE(cs_NEQ(x, 2147483509));
  EXPECT_EQ(textOf(b), "{0, 1}");
  EXPECT_TRUE(cs_NEQ(y, 2147483647));
  EXPECT_EQ(textOf(b), "0");
  CSint *v = makeVar("{-2147483648, -2147483640}"), *w = makeVar("{-2147483648..-2147483500}");
  EXPECT_TRUE(cs_EQ(cs_ReifEq(v, w), 1));
  EXPECT_EQ(textOf(w), "{-2147483648, -2147483640}");
  // Their counts wrap to 0, which is no hole.
  CSint *wide = makeVar("{-2147483648..2147483647}"), *other = makeVar("{-2147483648..2147483647}");
  CSint* c = cs_ReifEq(wide, other);
  EXPECT_TRUE(cs_EQ(c, 1));
  EXPECT_TRUE(cs_GE(wide, 2147483647));
  EXPECT_EQ(textOf(other), "2147483647");
}

TEST_F(ReifEqualCase, WatchersOnTwoVariablesEnforceAheadOfTheBoolean)
{
  for (int equal : {0, 1}) {
    CSint *x = makeVar("{0..9}"), *y = makeVar("{0..4, 6..9}");
    Spy after;
    after.watch(x, "x");
    CSint* b = cs_ReifEq(x, y);
    std::string seen;
    after.onCall = [&](const Spy::Call&) { return seen += texts({x, y}) + "; ", 1; };
    EXPECT_TRUE(inOneFlush([=] { return rcsSetValue(x, 4) && rcsSetValue(b, equal); }));
    EXPECT_EQ(seen, equal ? "4 4; " : "4 {0..3, 6..9}; ");
  }
}

TEST_F(ReifEqualCase, BeingDifferentTakesTheValueFromTheOther)
{
  CSint *x = makeVar("{0..2}"), *y = makeVar("{0, 1}"), *b = cs_ReifNeq(x, y);
  Spy spy;
  spy.watch(x, "x").watch(y, "y");
  EXPECT_TRUE(cs_EQ(b, 1));
  EXPECT_EQ(spy.log(), "");
  // x takes the value from y, which is instantiated by that and takes its own from x.
  EXPECT_TRUE(cs_EQ(x, 1));
  EXPECT_EQ(spy.log(), "x Eq 0..2->1, y NewMaxEq 1->0");
  CSint *v = makeVar("{3, 4}"), *w = makeVar("{3..5}");
  EXPECT_TRUE(cs_EQ(cs_ReifEq(v, w), 0));
  EXPECT_TRUE(cs_EQ(w, 4));
  EXPECT_EQ(textOf(v), "3");
}

// Once the boolean is decided the watcher of a constant narrows nothing and only checks.
TEST_F(ReifEqualCase, AWatcherOfAConstantChecksAheadOfTheEnforcer)
{
  for (bool isEQ : {true, false})
    for (int truth : {0, 1}) {
      SCOPED_TRACE(std::string(isEQ ? "EQ " : "NEQ ") + std::to_string(truth));
      bool required = isEQ == bool(truth);
      // Whether the spy behind the watcher comes to see the change of x tells the watcher's answer.
      auto passes = [&](int (*change)(CSint*, int), int value) {
        CSint* x = makeVar("{0..9}");
        Spy after;
        after.watch(x, "x");
        CSint* b = isEQ ? cs_ReifEQ(x, 5) : cs_ReifNEQ(x, 5);
        int ok = inOneFlush([&] { return change(x, value) && rcsSetValue(b, truth); });
        EXPECT_EQ(ok, !after.calls.empty());
        return ok;
      };
      EXPECT_TRUE(passes(rcsSetMin, 5));
      EXPECT_EQ(passes(rcsSetMin, 6), !required);
      EXPECT_TRUE(passes(rcsSetMax, 5));
      EXPECT_EQ(passes(rcsSetMax, 4), !required);
      EXPECT_TRUE(passes(rcsRemoveValue, 4));
      EXPECT_EQ(passes(rcsRemoveValue, 5), !required);
      EXPECT_EQ(passes(rcsSetValue, 5), required);
      EXPECT_EQ(passes(rcsSetValue, 4), !required);
    }
}
