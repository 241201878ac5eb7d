/*
 * The reified comparisons and equalities: brute force, and what it doesn't see: the posting, the order of steps, walks
 * over many words, the events that are still in the queue when the boolean is decided, and the edges of 32 bits.
 */
#include "bruteforce.h"
#include "snapshot.h"
#include "spy.h"

#include <algorithm>

using namespace kit;

using OfTwo = CSint* (*)(CSint*, CSint*);
using OfValue = CSint* (*)(CSint*, int);

struct Entry
{
  const char* name; ///< without its "cs_Reif"
  OfTwo two;        ///< or null
  OfValue one;
  std::function<bool(int, int)> holds;
  Rule yes, no; ///< what is left of the domains under either truth
};

/// x is at most p[0] + step, or at least that.
static Rule most(int step)
{
  return [=](const Sets& x, const Values& p) { return naive::atMost(x[0], p[0] + step); };
}

static Rule least(int step)
{
  return [=](const Sets& x, const Values& p) { return naive::atLeast(x[0], p[0] + step); };
}

static bool becomes(const Sets& x, const Values& p) { return naive::atMost(x[0], p[0]) && naive::atLeast(x[0], p[0]); }
static bool loses(const Sets& x, const Values& p) { return naive::remove(x[0], p[0]); }

static const std::vector<Entry> entries = {
    {"Lt", cs_ReifLt, {}, std::less(), naive::lt, naive::swapped(naive::le)},
    {"Le", cs_ReifLe, {}, std::less_equal(), naive::le, naive::swapped(naive::lt)},
    {"Gt", cs_ReifGt, {}, std::greater(), naive::swapped(naive::lt), naive::le},
    {"Ge", cs_ReifGe, {}, std::greater_equal(), naive::swapped(naive::le), naive::lt},
    {"Eq", cs_ReifEq, {}, std::equal_to(), naive::eq, naive::neq},
    {"Neq", cs_ReifNeq, {}, std::not_equal_to(), naive::neq, naive::eq},
    {"LT", {}, cs_ReifLT, std::less(), most(-1), least(0)},
    {"LE", {}, cs_ReifLE, std::less_equal(), most(0), least(1)},
    {"GT", {}, cs_ReifGT, std::greater(), least(1), most(0)},
    {"GE", {}, cs_ReifGE, std::greater_equal(), least(0), most(-1)},
    {"EQ", {}, cs_ReifEQ, std::equal_to(), becomes, loses},
    {"NEQ", {}, cs_ReifNEQ, std::not_equal_to(), loses, becomes},
};

static std::vector<Row> table()
{
  std::vector<Row> made;
  for (const Entry& e : entries)
    made.push_back({.name = e.name,
        .vars = {{.count = {e.two ? 2 : 1, e.two ? 2 : 1}, .size = 9}},
        .prepare = [](Trial& t) { t.p = t.pick(1, -7, 8); },
        .post = [=](Trial& t) { return e.two ? e.two(t.x[0], t.x[1]) : e.one(t.x[0], t.p[0]); },
        .holds = [=](auto& v, auto& p) { return v.back() == e.holds(v[0], e.two ? v[1] : p[0]); },
        .results = {{0, 1}},
        .strength = Strength::domain,
        .exact = naive::reified(e.yes, e.no)});
  return made;
}
static const int rows = bruteForce("Reif", table());

class ReifCase : public SolverTest
{
protected:
  /// Makes the changes inside a flush, where they wait in the queue behind one another. The answer is that of the
  /// flush.
  static int inOneFlush(std::function<int()> changes)
  {
    CSint* trigger = makeVar("{0, 1}");
    Spy spy;
    spy.watch(trigger, "trigger").onCall = [&](const Spy::Call&) { return changes(); };
    return cs_EQ(trigger, 1);
  }
};

TEST_F(ReifCase, DecidedAtPostingIsAConstantWithNothingAttached)
{
  LocatorSpy locator;
  CSint *x = makeVar("{0, 3}"), *y = makeVar("{3..5}"), *z = makeVar("{1, 2, 4}"), *three = makeVar("3");
  Snapshot before({x, y, z, three});
  auto texts = [](const Vars& made) {
    for (const CSint* b : made)
      EXPECT_EQ(b->_constraints, nullptr);
    return textsOf(made);
  };
  EXPECT_EQ(texts({cs_ReifLt(x, x), cs_ReifGt(x, x), cs_ReifLe(x, x), cs_ReifGe(x, x)}), "0 0 1 1");
  EXPECT_EQ(texts({cs_ReifLe(x, y), cs_ReifGt(x, y), cs_ReifLT(x, 0), cs_ReifLT(x, 4)}), "1 0 0 1");
  EXPECT_EQ(texts({cs_ReifLE(x, INT32_MIN), cs_ReifGT(x, INT32_MAX), cs_ReifGE(x, INT32_MIN)}), "0 0 1");
  EXPECT_EQ(locator.asked, 11); // for a constant too, but not by the equalities
  EXPECT_EQ(texts({cs_ReifEq(x, x), cs_ReifEq(x, z), cs_ReifEq(three, CSINT(3)), cs_ReifEQ(three, 3)}), "1 0 1 1");
  EXPECT_EQ(texts({cs_ReifNeq(x, x), cs_ReifNeq(z, x), cs_ReifNEQ(x, 2), cs_ReifNEQ(three, 4)}), "0 1 1 1");
  EXPECT_EQ(locator.asked, 11);
  // Its only value is -2147483645, but its minimum is that of 32 bits.
  CSint *one = cs_Add(makeVar("{-2147483648, -2147483644}"), CSINT(-1)), *least = CSINT(INT32_MIN);
  EXPECT_EQ(textsOf({cs_ReifEq(one, least), cs_ReifNeq(one, least)}), "0 0");
  EXPECT_EQ(before.changes(), "");
  EXPECT_EQ(x->_nbConstraints + y->_nbConstraints + z->_nbConstraints + three->_nbConstraints, 0);
}

TEST_F(ReifCase, AnOpenOneIsTwoConstraintsUnderOneInfo)
{
  LocatorSpy locator;
  CSint *x = makeVar("{0..9}"), *y = makeVar("{3, 11}");
  for (const Entry& e : entries) {
    SCOPED_TRACE(e.name);
    cs_saveContext();
    CSint* b = e.two ? e.two(x, y) : e.one(x, 3);
    EXPECT_EQ(locator.made < b, std::string(e.name).find_first_of("qQ") == std::string::npos)
        << "a comparison asks before the boolean is made";
    EXPECT_EQ(postedOn({b, x, y}), std::string("cs_Reif") + e.name + (e.two ? " 2: a b b" : " 2: a b none"));
    EXPECT_EQ(nbAttached(b) * 10 + nbAttached(x), 11);
    cs_restoreContext();
    EXPECT_EQ(nbAttached(b) + nbAttached(x) + nbAttached(y), 0);
  }
  EXPECT_EQ(locator.asked, 12);
}

// Once the boolean is decided the watcher of a comparison with a constant narrows nothing: it fails where nothing is
// left that has the truth. Whether the spy behind it comes to see the change of x tells its answer.
TEST_F(ReifCase, AWatcherChecksAheadOfTheEnforcer)
{
  for (size_t entry = 6; entry < 12; entry++)
    for (int truth : {0, 1})
      for (auto change : {rcsSetMin, rcsSetMax, rcsSetValue, rcsRemoveValue})
        for (int value : {4, 5, 6}) {
          SCOPED_TRACE(testing::Message() << entries[entry].name << ", " << truth << ", " << value);
          CSint* x = makeVar("{0..9}");
          Spy after;
          after.watch(x, "x");
          CSint* b = entries[entry].one(x, 5);
          int ok = inOneFlush([&] { return change(x, value) && rcsSetValue(b, truth); });
          int left = 0;
          for (int each : valuesOf(x))
            left += entries[entry].holds(each, 5) == bool(truth);
          EXPECT_EQ(ok, left > 0);
          EXPECT_EQ(ok, !after.calls.empty());
        }
}

// ---------------------------------------------------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ReifCase, EnforcingLowersTheLesserBeforeItRaisesTheGreater)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}"), *b = cs_ReifLt(x, y), *c = cs_ReifLe(x, y);
  Spy spy;
  spy.watch(x, "x").watch(y, "y");
  cs_saveContext();
  EXPECT_EQ(spy.take(cs_EQ(b, 1)), "1 x NewMax 9->8, y NewMin 0->1");
  EXPECT_EQ(textOf(c), "{0, 1}"); // no event has told the bounds that decide it
  cs_restoreContext();
  EXPECT_EQ(spy.take(cs_EQ(c, 0)), "1 y NewMax 9->8, x NewMin 0->1");
}

TEST_F(ReifCase, ABoundIsPassedOnAsTheEventTellsIt)
{
  CSint *x = makeVar("{0..9}"), *y = makeVar("{0..9}");
  Spy after, before;
  after.watch(x, "x").watch(y, "y"); // older, so called after the comparison
  cs_EQ(cs_ReifLt(x, y), 1);
  before.watch(x, "x").watch(y, "y");
  std::string seen;
  after.onCall = [&](const Spy::Call&) { return seen += textsOf({x, y}) + "; ", 1; };
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
    auto post = [=](CSint* x, CSint* y) { return isLt ? cs_ReifLt(x, y) : cs_ReifLe(y, x); };
    Vars x = makeVars({"{2147483640..2147483647}", "{2147483640..2147483647}"});
    Vars y = makeVars({"{-2147483648..-2147483640}", "{-2147483648..-2147483640}"});
    Spy after;
    after.watch(x[0], "x").watch(y[1], "y");
    CSint *b = post(x[0], x[1]), *c = post(y[0], y[1]);
    EXPECT_EQ(after.take(inOneFlush([=] { return rcsSetMin(x[0], INT32_MAX) && rcsSetValue(b, isLt); })),
        "0 x NewMinEq 2147483640->2147483647");
    EXPECT_EQ(after.take(inOneFlush([=] { return rcsSetMax(y[1], INT32_MIN) && rcsSetValue(c, isLt); })),
        "0 y NewMaxEq -2147483640->-2147483648");
    EXPECT_EQ(textsOf({x[1], y[0]}), "{2147483640..2147483647} {-2147483648..-2147483640}");
    // With both at the far ends no step of either side would fail: the enforcer looks first.
    CSint *highest = makeVar("{0..2147483647}"), *lowest = makeVar("{-2147483648..9}"), *d = post(highest, lowest);
    EXPECT_FALSE(inOneFlush(
        [=] { return rcsSetMin(highest, INT32_MAX) && rcsSetMax(lowest, INT32_MIN) && rcsSetValue(d, isLt); }));
  }
  Vars wide = makeVars(std::vector<std::string>(4, "-2147483648..2147483647"));
  EXPECT_TRUE(cs_EQ(cs_ReifLt(wide[0], wide[1]), 1) && cs_EQ(cs_ReifLT(wide[2], INT32_MAX), 0));
  EXPECT_TRUE(cs_EQ(cs_ReifGT(wide[3], INT32_MIN), 0));
  EXPECT_EQ(textsOf(wide), "{-2147483648..2147483646} {-2147483647..2147483647} 2147483647 -2147483648");
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
  for (int equality : {-1, 0, 1}) { // or none, but v > w
    CSint *v = makeVar("{0..9}"), *w = makeVar("{0..4, 6..9}");
    Spy after;
    after.watch(v, "v");
    CSint* d = equality < 0 ? cs_ReifLe(v, w) : cs_ReifEq(v, w);
    std::string seen;
    after.onCall = [&](const Spy::Call&) { return seen += textsOf({v, w}), 1; };
    EXPECT_TRUE(inOneFlush([=] { return rcsSetValue(v, 4) && rcsSetValue(d, equality > 0); }));
    EXPECT_EQ(seen, equality < 0 ? "4 {0..3}" : equality ? "4 4" : "4 {0..3, 6..9}");
  }
}

// ---------------------------------------------------------------------------------------------------------------------
// Equalities
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ReifCase, MinimaAndMaximaAreEvenedOutInDifferentOrders)
{
  // On the minima x comes to rest first and y behind that; on the maxima y stays where it is and x comes to rest. In
  // the last row the bound at which x comes to rest is itself a difference, and the first value of a word.
  const char* cases[][3] = {{"{0, 5, 7..9}", "{3, 4, 7..9}", "1 y NewMin 3->7, x NewMin 0->7"},
      {"{0..2, 8, 9}", "{0..2, 5, 6}", "1 x NewMax 9->2, y NewMax 6->2"},
      {"{0..2, 64, 70}", "{0..2, 65, 66}", "1 x NewMax 70->2, y NewMax 66->2"}};
  for (auto& [first, second, told] : cases) {
    CSint *x = makeVar(first), *y = makeVar(second), *b = cs_ReifEq(x, y);
    Spy spy;
    spy.watch(x, "x").watch(y, "y");
    EXPECT_EQ(spy.take(cs_EQ(b, 1)), told);
  }
}

TEST_F(ReifCase, WalksOverManyWords)
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
      for (auto& [held, to] : {std::pair(inX, in), {inY, in + 1}, {inX && inY, &common}})
        if (held)
          to->push_back(value);
    }
    CSint *x = makeVar(in[0], unsigned(random.pick(0, 4))), *y = makeVar(in[1], unsigned(random.pick(0, 4)));
    CSint* b = cs_ReifEq(x, y);
    Spy spy;
    spy.watch(x, "").watch(y, "");
    cs_saveContext();
    ASSERT_TRUE(cs_EQ(b, 1));
    EXPECT_TRUE(valuesOf(x) == common && valuesOf(y) == common);
    EXPECT_EQ(spy.calls.size(), in[0].size() + in[1].size() - 2 * common.size());
    EXPECT_TRUE(std::ranges::is_sorted(spy.calls, {}, &Spy::Call::old));
    cs_restoreContext();
    // Open until the last common value goes.
    for (size_t i = 0; i < common.size(); i++)
      ASSERT_TRUE(textOf(b) == "{0, 1}" && cs_NEQ(i % 2 ? x : y, common[i]));
    EXPECT_EQ(textOf(b), "0");
  }
}

TEST_F(ReifCase, ScansEndAtTheEdgesOf32Bits)
{
  Vars v = makeVars({"{2147483500..2147483509, 2147483647}", "{2147483509..2147483520, 2147483645, 2147483647}",
      "{-2147483648, -2147483640}", "{-2147483648..-2147483500}", "-2147483648..2147483647",
      "-2147483648..2147483647"});
  CSint *b = cs_ReifEq(v[0], v[1]), *c = cs_ReifEq(v[2], v[3]), *d = cs_ReifEq(v[4], v[5]);
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(b, 1) && cs_EQ(c, 1));
  EXPECT_EQ(
      textsOf({v[0], v[1], v[3]}), "{2147483509, 2147483647} {2147483509, 2147483647} {-2147483648, -2147483640}");
  cs_restoreContext();
  EXPECT_TRUE(cs_NEQ(v[0], 2147483509) && cs_isFree(b) && cs_NEQ(v[1], 2147483647));
  EXPECT_EQ(textOf(b), "0");
  // Their counts wrap to 0, which is no hole.
  EXPECT_TRUE(cs_EQ(d, 1) && cs_GE(v[4], 2147483647));
  EXPECT_EQ(textOf(v[5]), "2147483647");
}
