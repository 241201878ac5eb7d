/*
 * Sets of no-goods: what is kept, how they narrow, and what reduction takes away.
 */
#include "random.h"
#include "snapshot.h"

#include <algorithm>

using namespace kit;

static const char* const sign[] = {"=", "!", "<=", "<", ">=", ">"};

struct Decision
{
  int position, method, value;
};

static void add(NoGoodSet* set, const std::vector<Decision>& decisions)
{
  std::vector<NoGoodElement> elements;
  for (const Decision& d : decisions)
    elements.push_back({{d.method, d.value}, d.position});
  EXPECT_TRUE(rcsAddNewNoGood(set, elements.data(), int(elements.size())));
}

static std::string textOf(const NoGood* noGood)
{
  std::string text;
  int position = 0;
  ValueSelection s;
  for (int i = 0; cs_getNoGoodElementAt(&position, &s, noGood, i), position >= 0; i++)
    text += (i ? " " : "[") + std::to_string(position) + sign[s.method] + std::to_string(s.value);
  return text + "]";
}

// From the front of the list, and from its back the same.
static std::string textOf(const NoGoodSet* set)
{
  std::string text, backwards;
  int n = 0;
  for (NoGood* e = set->_first; e; e = e->_next, n++)
    text += textOf(e);
  for (NoGood* e = set->_last; e; e = e->_prev)
    backwards = textOf(e) + backwards;
  EXPECT_EQ(text, backwards);
  EXPECT_EQ(n, cs_getNbNoGoods(set));
  return text;
}

static constexpr Decision a = {0, CS_SELECT_EQ, 1}, b = {1, CS_SELECT_LE, 2}, c = {2, CS_SELECT_GT, 3},
                          d = {2, CS_SELECT_NEQ, 3};

class NoGoods : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    for (int i = 0; i < 3; i++)
      x.push_back(cs_createCSint(0, 9));
    set = cs_createNoGoodSet(x.data(), 3, nullptr, 0, nullptr, nullptr);
  }

  Vars x;
  NoGoodSet* set;
};

static int dropShort(NoGoodSet*, NoGood* noGood, CSint**, int, void* least)
{
  return cs_getNbNoGoodElements(noGood) >= *static_cast<int*>(least) ? 1 : 256;
}

TEST_F(NoGoods, WhatIsKept)
{
  EXPECT_EQ(cs_createNoGoodSet(x.data(), 0, nullptr, 0, nullptr, nullptr), nullptr);
  add(set, {a, b, c});
  add(set, {a, b, c});
  add(set, {a, b, d});
  add(set, {b, a, c});
  add(set, {a, b, c});
  EXPECT_EQ(textOf(set), "[1<=2 0=1 2>3][0=1 1<=2 2!3][0=1 1<=2 2>3]");
  // A beginning takes the place of those that it begins, and they stay away.
  add(set, {a, b});
  add(set, {a, b, d});
  EXPECT_EQ(textOf(set), "[0=1 1<=2][1<=2 0=1 2>3]");
  cs_setMaxNbNoGoods(set, -1);
  add(set, {c, a});
  EXPECT_EQ(cs_getNbNoGoods(set), 3);
  cs_setMaxNbNoGoods(set, 2);
  EXPECT_EQ(textOf(set), "[2>3 0=1][0=1 1<=2]");
  add(set, {d});
  EXPECT_EQ(textOf(set), "[2!3][2>3 0=1]");
  cs_setMaxNbNoGoods(set, 0);
  add(set, {b, c});
  EXPECT_EQ(textOf(set), "[1<=2 2>3][2!3][2>3 0=1]");
  static int least = 2;
  set->_data = &least;
  cs_filterNoGood(set, dropShort);
  EXPECT_EQ(textOf(set), "[1<=2 2>3][2>3 0=1]");
  set->_filter = dropShort;
  add(set, {a});
  EXPECT_EQ(cs_getNbNoGoods(set), 2);
  // A client's positions are held against the length.
  const int positions[] = {1, 0}, wrong[] = {0, 2};
  const ValueSelection decisions[] = {{CS_SELECT_EQ, 7}, {CS_SELECT_LT, 4}};
  cs_addNoGood(set, positions, decisions, 2);
  EXPECT_EQ(textOf(set), "[1=7 0<4][1<=2 2>3][2>3 0=1]");
  EXPECT_DEATH(cs_addNoGood(set, wrong, decisions, 2), "`0'|'0'|0");
}

TEST_F(NoGoods, TheDestructorRunsWithTheSet)
{
  static std::string left;
  cs_saveContext();
  NoGoodSet* mine = cs_createNoGoodSet(
      x.data(), 3, nullptr, 0,
      [](NoGoodSet* ending, void* text) { *static_cast<std::string*>(text) += textOf(ending); }, &left);
  add(mine, {a, b});
  cs_saveContext();
  cs_restoreContext();
  EXPECT_EQ(left, "");
  cs_restoreContext();
  EXPECT_EQ(left, "[0=1 1<=2]");
}

TEST_F(NoGoods, TheLastOpenElementIsForbidden)
{
  add(set, {a, b, c});
  add(set, {{0, CS_SELECT_GT, 3}, {0, CS_SELECT_LT, 7}});
  add(set, {{2, CS_SELECT_LE, 4}});
  for (int round = 0; round < 2; round++) {
    // Restoring leaves the watches where they are.
    int label = cs_saveContext();
    EXPECT_TRUE(cs_LE(x[1], 2));
    EXPECT_TRUE(cs_GE(x[2], 4));
    EXPECT_EQ(textOf(x[0]) + textOf(x[2]), "{0, 2..9}{5..9}");
    EXPECT_TRUE(cs_GE(x[0], 4));
    EXPECT_EQ(textOf(x[0]), "{7..9}");
    cs_restoreContextUntil(label);
    label = cs_saveContext();
    EXPECT_TRUE(cs_EQ(x[0], 1));
    EXPECT_TRUE(cs_GE(x[2], 4));
    EXPECT_FALSE(cs_EQ(x[1], 2)); // all hold
    cs_restoreContextUntil(label);
    label = cs_saveContext();
    EXPECT_TRUE(cs_EQ(x[0], 1));
    EXPECT_TRUE(cs_GE(x[1], 3));
    EXPECT_TRUE(cs_GE(x[2], 3)); // one is false already
    EXPECT_EQ(textOf(x[1]) + textOf(x[2]), "{3..9}{5..9}");
    EXPECT_FALSE(cs_EQ(x[0], 4)); // two of one variable
    cs_restoreContextUntil(label);
  }
}

TEST_F(NoGoods, AWatchMovesHalfWayAlong)
{
  add(set, {a, {1, CS_SELECT_NEQ, 5}, b, c});
  EXPECT_TRUE(cs_EQ(x[0], 1));
  EXPECT_EQ(set->_first->_p1, 3);
  EXPECT_EQ(set->_first->_p2, 1);
  // A hole makes it different already.
  EXPECT_TRUE(cs_NEQ(x[1], 5));
  EXPECT_EQ(set->_first->_p2, 2);
  EXPECT_TRUE(cs_LE(x[1], 2));
  EXPECT_EQ(textOf(x[2]), "{0..3}");
}

TEST_F(NoGoods, WhatFiresComesToTheFront)
{
  add(set, {a, b});
  add(set, {c});
  cs_saveContext();
  EXPECT_FALSE(cs_EQ(x[0], 1) && cs_EQ(x[1], 2));
  EXPECT_EQ(textOf(set), "[2>3][0=1 1<=2]") << "narrowing isn't firing";
  cs_restoreContext();
  // Both elements come to hold in one flush.
  cs_Eq(x[0], x[1]);
  add(set, {d, a});
  cs_saveContext();
  EXPECT_FALSE(cs_EQ(x[0], 1));
  EXPECT_EQ(textOf(set), "[0=1 1<=2][2!3 0=1][2>3]");
  cs_restoreContext();
  // Not during a walk.
  add(set, {a, {2, CS_SELECT_EQ, 5}});
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=1 2=5][0=1 1<=2][2!3 0=1][2>3]");
}

TEST_F(NoGoods, ReductionDropsWhatIsNeedless)
{
  cs_Neq(x[0], x[2]);
  Snapshot before(x);
  // The third fails on the first alone, so the second isn't needed; what lies behind goes, too.
  add(set, {a, b, {2, CS_SELECT_EQ, 1}, {1, CS_SELECT_EQ, 0}});
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=1 2=1]");
  // Only elements next to the one that fails are tried.
  add(set, {{1, CS_SELECT_GE, 7}, {0, CS_SELECT_EQ, 2}, {1, CS_SELECT_NEQ, 8}, {2, CS_SELECT_EQ, 2}});
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[1>=7 0=2 2=2][0=1 2=1]");
  // The walk ends at one that can't be shortened.
  cs_setMaxNbNoGoods(set, 2);
  add(set, {{0, CS_SELECT_EQ, 3}, b, {2, CS_SELECT_EQ, 3}});
  add(set, {{0, CS_SELECT_EQ, 4}, {2, CS_SELECT_EQ, 5}});
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=4 2=5][0=3 1<=2 2=3]");
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=4 2=5][0=3 2=3]");
  // A first element that fails by itself teaches nothing.
  add(set, {{0, CS_SELECT_EQ, 10}, a});
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=10 0=1][0=4 2=5]");
  EXPECT_EQ(before.changesOfVars(), "");
}

TEST_F(NoGoods, AWalkGoesOnWhereItsNextNodeHasGone)
{
  add(set, {{0, CS_SELECT_GE, 1}, {1, CS_SELECT_EQ, 5}});
  add(set, {{0, CS_SELECT_GE, 3}, {0, CS_SELECT_GE, 4}, {1, CS_SELECT_EQ, 7}, {2, CS_SELECT_EQ, 7}});
  // Both watches of the newer one leave for the lists of other variables, and the walk with the second.
  EXPECT_TRUE(cs_GE(x[0], 5));
  EXPECT_EQ(set->_first->_p1, 3);
  EXPECT_EQ(set->_first->_p2, 2);
  EXPECT_EQ(textOf(x[1]), "{0..9}");
  EXPECT_TRUE(cs_GE(x[0], 6));
  EXPECT_EQ(textOf(x[1]), "{0..4, 6..9}");
}

// All solutions against brute force. Where no no-good has two decisions on a variable, the set forbids exactly what it
// says; else it may miss something, but never forbids more.
static std::vector<std::vector<Decision>> noGoods;
static std::vector<Values> solutions;

static bool holds(const Decision& e, int value)
{
  const bool answers[] = {
      value == e.value, value != e.value, value <= e.value, value<e.value, value >= e.value, value> e.value};
  return answers[e.method];
}

TEST_F(NoGoods, ForbidExactlyWhatTheySay)
{
  size_t nbForbidden = 0;
  for (uint64_t trial = 0; trial < 400; trial++) {
    Random random(seedOf("NoGoods", trial));
    cs_saveContext();
    const bool exact = random.chance(50);
    int n = random.pick(1, 4);
    Vars v;
    for (int i = 0; i < n; i++)
      v.push_back(makeVar(random.chance(50) ? "{0..3}" : "{-1, 1, 2, 4}"));
    NoGoodSet* some = cs_createNoGoodSet(v.data(), n, nullptr, 0, nullptr, nullptr);
    noGoods.clear();
    for (int i = random.pick(1, 6); i > 0; i--) {
      std::vector<Decision> noGood;
      for (int length = random.pick(1, 5); length > 0; length--) {
        Decision e = {random.pick(0, n - 1), random.pick(0, 5), random.pick(-1, 4)};
        auto sameVariable = [&](const Decision& other) { return other.position == e.position; };
        if (!exact || std::none_of(noGood.begin(), noGood.end(), sameVariable))
          noGood.push_back(e);
      }
      noGoods.push_back(noGood);
      add(some, noGood);
    }
    std::vector<Values> expected = {{}};
    for (const CSint* each : v) {
      std::vector<Values> longer;
      for (const Values& values : expected)
        for (int value : valuesOf(each)) {
          longer.push_back(values);
          longer.back().push_back(value);
        }
      expected = longer;
    }
    size_t nbAll = expected.size();
    std::erase_if(expected, [](const Values& values) {
      return std::any_of(noGoods.begin(), noGoods.end(), [&](const auto& noGood) {
        return std::all_of(
            noGood.begin(), noGood.end(), [&](const Decision& e) { return holds(e, values[size_t(e.position)]); });
      });
    });
    solutions.clear();
    cs_findAll(v.data(), n, cs_findFreeVar, [](CSint** vars, int count) {
      solutions.emplace_back();
      for (int i = 0; i < count; i++)
        solutions.back().push_back(cs_getValue(vars[i]));
    });
    if (exact)
      EXPECT_EQ(solutions, expected) << "trial " << trial;
    else
      EXPECT_TRUE(std::includes(solutions.begin(), solutions.end(), expected.begin(), expected.end()))
          << "trial " << trial;
    nbForbidden += nbAll - expected.size();
    cs_restoreContext();
  }
  EXPECT_GT(nbForbidden, 5000u);
}
