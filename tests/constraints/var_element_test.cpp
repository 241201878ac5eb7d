/*
 * Variable element, by supports and by bounds.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

using Post = CSint* (*)(CSint* index, CSint** variables, int n);

static constexpr Post both[] = {cs_VarElement, cs_VarElementRange};

// Several shapes of index and array; the index comes first, and a variable may stand at several positions.
static Row row(const char* name, Post post, Strength strength, Group variables)
{
  return {.name = name,
      .vars = {{.values = {-2, 5}, .size = 7}, variables},
      .post = [=](Trial& t) { return post(t.x[0], t.x.data() + 1, int(t.x.size()) - 1); },
      .value = [](auto& x, auto&) -> std::optional<int64_t> {
        if (x[0] < 0 || x[0] + 1 >= int(x.size()))
          return std::nullopt;
        return x[size_t(x[0]) + 1];
      },
      .strength = strength,
      .trials = 500};
}

static const Group few = {.count = {1, 4}, .values = {-4, 5}, .size = 5, .twice = 15};
static const Group many = {.count = {5, 8}, .values = {-3, 9}, .size = 3, .twice = 5};

static const std::vector<Row> table = {
    row("Supports", cs_VarElement, Strength::domain, few),
    row("SupportsOfMany", cs_VarElement, Strength::domain, many),
    row("Range", cs_VarElementRange, Strength::bounds, few),
    row("RangeOfMany", cs_VarElementRange, Strength::bounds, many),
};
static const int tables = bruteForce("VarElementTable", table);

class VarElement : public SolverTest
{};

TEST_F(VarElement, Posting)
{
  for (Post post : both) {
    Vars x = makeVars({"{-3, 6}", "{-9..9}", "{1, 2}", "0", "40"});
    x[3] = x[0];
    CSint* i = makeVar("{-1, 0, 2, 3, 9}");
    std::string seen;
    LocatorSpy locator;
    locator.onAsked = [&] { seen = textOf(i); };
    CSint* z = post(i, x.data(), 4);
    EXPECT_EQ(seen, "{0, 2, 3}");
    EXPECT_EQ(textOf(z), post == cs_VarElement ? "{-3, 1, 2, 6}" : "{-3..6}");
    const std::string name = post == cs_VarElement ? "cs_VarElement" : "cs_VarElementRange";
    EXPECT_EQ(postedOn({i, z, x[0], x[2]}), name + " 3: a b c[3] c[2]");
    EXPECT_EQ(nbAttached(x[0]) * 10 + x[0]->_constraints->_next->_index, 20);
    EXPECT_EQ(nbAttached(x[1]) * 100 + nbAttached(x[2]) * 10 + nbAttached(x[4]), 10);
    // Values without a gap give an interval.
    EXPECT_EQ(post(makeVar("{1, 2}"), x.data(), 4)->_domain, nullptr);

    CSint* outside = makeVar("{-2..9}");
    EXPECT_EQ(post(outside, x.data(), 0), nullptr);
    EXPECT_EQ(textOf(outside), "{-2..9}");
    EXPECT_EQ(post(outside, x.data(), -4), nullptr);
    EXPECT_EQ(textOf(outside), "{0..9}");
    EXPECT_TRUE(!post(makeVar("{5..9}"), x.data(), 5) && !post(makeVar("-1"), x.data(), 5));
    EXPECT_EQ(nbAttached(outside), 0);
  }
}

TEST_F(VarElement, HolesCountWhereSomethingIsInstantiated)
{
  Vars x = makeVars({"{0..9}", "{3..6}", "{5, 8}"});
  CSint *i = makeVar("{0..2}"), *z = cs_VarElementRange(i, x.data(), 3);
  EXPECT_TRUE(cs_NEQ(z, 6) && cs_NEQ(x[1], 5) && cs_LE(z, 7) && i->_nbElements == 3);
  for (CSint* fixed : {z, x[1]}) {
    cs_saveContext();
    EXPECT_TRUE(cs_EQ(fixed, fixed == z ? 5 : 6));
    EXPECT_EQ(textOf(i), "{0, 2}");
    cs_restoreContext();
  }
}

TEST_F(VarElement, OnlyOneBoundPassesInAnEvent)
{
  for (Post post : both) {
    CSint *x = makeVar("{0..9}"), *z = post(CSINT(0), &x, 1), *start = makeVar("{0, 1}");
    std::string seen;
    Spy onStart, onResult;
    onStart.watch(start, "start").onCall = [&](auto&) { return rcsSetMin(z, 3) && rcsSetMax(z, 6); };
    onResult.watch(z, "z").onCall = [&](auto&) { return seen += textOf(x), 1; };
    EXPECT_TRUE(cs_EQ(start, 1));
    EXPECT_EQ(seen + textOf(x), "{0..9}{3..9}{3..6}");
  }
}

TEST_F(VarElement, AVariableThatLosesItsPositionStillTakesItsValuesFromTheResult)
{
  // When the listener of the index hears of the position, the result has already been narrowed.
  for (int side : {1, -1}) {
    Vars x = side > 0 ? makeVars({"{0..9}", "{2, 3, 9}"}) : makeVars({"{-9..0}", "{-9, -3, -2}"});
    CSint *i = makeVar("{0, 1}"), *z = cs_VarElement(i, x.data(), 2);
    EXPECT_TRUE(side > 0 ? cs_LE(z, 4) : cs_GE(z, -4));
    Spy spy;
    std::string seen;
    spy.watch(i, "i").onCall = [&](auto&) { return seen = textOf(z), 1; };
    EXPECT_EQ(spy.take(side > 0 ? cs_GE(x[0], 6) : cs_LE(x[0], -6)), "1 i NewMinEq 0->1");
    EXPECT_EQ(seen, side > 0 ? "{2, 3}" : "{-3, -2}");
  }
}

TEST_F(VarElement, ARunOfValuesGoesInOneStep)
{
  Vars x = makeVars({"{0..9}", "{5, 7}"});
  CSint* z = cs_VarElement(makeVar("{0, 1}"), x.data(), 2);
  Spy spy;
  spy.watch(z, "z");
  auto top = [] {
    TrailEvent* next = _rcsGetEventHeap();
    next->_kind = Neq;
    _rcsPopEvent();
    return next;
  };
  TrailEvent* before = top();
  // 5 stays by the other position, and 6 goes by itself.
  EXPECT_EQ(spy.take(cs_GE(x[0], 8)), "1 z NewMin 0->5, z Neq 6");
  EXPECT_EQ(top() - before, 3);
}

TEST_F(VarElement, AtTheEndsOfTheRange)
{
  for (int end : {INT32_MIN, INT32_MAX})
    for (Post post : both) {
      int inner = end < 0 ? end + 3 : end - 3, low = std::min(end, inner), high = std::max(end, inner);
      Vars x = {cs_createCSint(low, high), cs_createCSint(low, high)};
      CSint *i = makeVar("{0, 1}"), *z = post(i, x.data(), 2);
      EXPECT_TRUE(cs_NEQ(x[0], end) && cs_NEQ(x[1], end) && cs_NEQ(x[1], inner));
      EXPECT_EQ(z->_max - z->_min, 2);
      EXPECT_TRUE(cs_EQ(z, inner));
      EXPECT_EQ(textOf(i), "0");
    }
}

// Posted in an accepted context inside one that is then restored: index and array are wider than they were, and the
// restore takes the newest attachment of a variable in place of an older one. Nothing is read outside the tables, and
// nothing that was freed.
TEST_F(VarElement, AfterAnAcceptedContext)
{
  for (Post post : both)
    for (uint64_t way = 0; way < 64; way++) {
      Random random(seedOf("accepted", way));
      Vars all = makeVars({"{-5..9}", "{-9..20}", "{-9..20}", "{-9..20}"});
      int label = cs_saveContext();
      // An older attachment, whose undoing takes one of the element's.
      cs_Lt(all[way % 4], makeVar("{30..40}"));
      EXPECT_TRUE(cs_InInterval(all[0], 1, 2) && cs_InInterval(all[2], 2, 5) && cs_InInterval(all[3], 4, 8));
      cs_saveContext();
      CSint* z = post(all[0], all.data() + 1, 3);
      ASSERT_NE(z, nullptr);
      cs_acceptContext();
      cs_restoreContextUntil(label);
      cs_saveContext();
      // Failures, too, and what comes after them without a restore; some come in the middle of a flush.
      Vars narrowed = {all[0], all[1], all[2], all[3], z};
      Spy failing;
      failing.failAt = random.pick(1, 12);
      for (CSint* each : narrowed)
        failing.watch(each, "");
      for (int step = 0; step < 20; step++) {
        static constexpr int (*narrow[])(CSint*, int) = {cs_NEQ, cs_GE, cs_LE, cs_EQ};
        random.oneOf(narrow)(random.oneOf(narrowed), random.pick(-8, 14));
      }
      cs_restoreContext();
      EXPECT_EQ(textsOf({all[0], all[2]}), "{-5..9} {-9..20}");
    }
}
