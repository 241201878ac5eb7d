/*
 * Sets of no-goods: what is kept, how they narrow, and what reduction takes away.
 */
#include "noGoods.h"
#include "random.h"
#include "snapshot.h"

#include <algorithm>

using namespace kit;

static void add(NoGoodSet* set, std::vector<NoGoodElement> elements)
{
  EXPECT_TRUE(rcsAddNewNoGood(set, elements.data(), int(elements.size())));
}

/// As textOf writes them: "0=1 1<=2", and a comma between several.
static void add(NoGoodSet* set, const char* text)
{
  std::vector<NoGoodElement> elements;
  int position, value, length;
  char sign[3];
  for (; sscanf(text, "%d%2[=!<>]%d%n", &position, sign, &value, &length) == 3; text += length) {
    int method = int(std::find(signs, signs + 6, std::string(sign)) - signs);
    elements.push_back({{method, value}, position});
  }
  add(set, std::move(elements));
  if (*text == ',')
    add(set, text + 1);
}

class NoGoods : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    x = makeVars({"{0..9}", "{0..9}", "{0..9}"});
    set = cs_createNoGoodSet(x.data(), 3, nullptr, 0, nullptr, nullptr);
  }

  std::string with(const char* added) { return add(set, added), textOf(set); }

  /// The watched elements of the newest.
  std::string watched() { return std::to_string(set->_first->_p1) + " " + std::to_string(set->_first->_p2); }

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
  EXPECT_EQ(with("0=1 1<=2 2>3,0=1 1<=2 2>3,0=1 1<=2 2!3,1<=2 0=1 2>3,0=1 1<=2 2>3"),
      "[1<=2 0=1 2>3][0=1 1<=2 2!3][0=1 1<=2 2>3]");
  // A beginning takes the place of those that it begins, and they stay away.
  EXPECT_EQ(with("0=1 1<=2,0=1 1<=2 2!3"), "[0=1 1<=2][1<=2 0=1 2>3]");
  cs_setMaxNbNoGoods(set, -1);
  EXPECT_EQ(with("2>3 0=1"), "[2>3 0=1][0=1 1<=2][1<=2 0=1 2>3]");
  cs_setMaxNbNoGoods(set, 2);
  EXPECT_EQ(textOf(set), "[2>3 0=1][0=1 1<=2]");
  EXPECT_EQ(with("2!3"), "[2!3][2>3 0=1]");
  cs_setMaxNbNoGoods(set, 0);
  EXPECT_EQ(with("0<=2 2>3,1<=2 2>3"), "[1<=2 2>3][0<=2 2>3][2!3][2>3 0=1]");
  static int least = 2;
  set->_data = &least;
  cs_filterNoGood(set, dropShort);
  EXPECT_EQ(textOf(set), "[1<=2 2>3][0<=2 2>3][2>3 0=1]");
  set->_filter = dropShort;
  add(set, "0=1");
  // A client's positions are held against the length.
  const int positions[] = {1, 0}, wrong[] = {0, 2}, negative[] = {-1, 0};
  const ValueSelection decisions[] = {{CS_SELECT_EQ, 7}, {CS_SELECT_LT, 4}};
  cs_addNoGood(set, positions, decisions, 2);
  EXPECT_EQ(textOf(set), "[1=7 0<4][1<=2 2>3][0<=2 2>3][2>3 0=1]");
  for (const int* each : {wrong, negative})
    EXPECT_DEATH(cs_addNoGood(set, each, decisions, 2), "Assertion `0' failed");
  int position = 7;
  ValueSelection untouched = {CS_SELECT_GT, 8};
  cs_getNoGoodElementAt(&position, &untouched, set->_first, -1);
  EXPECT_EQ(std::to_string(position) + textOf(untouched), "-1>8");
}

TEST_F(NoGoods, TheEndOfASetAndAMaximumBelowZero)
{
  static int nbAtTheEnd;
  nbAtTheEnd = 0;
  auto end = [](NoGoodSet* ending, void*) { nbAtTheEnd += cs_getNbNoGoods(ending); };
  cs_saveContext();
  NoGoodSet* inner = cs_createNoGoodSet(x.data(), 3, nullptr, -1, end, nullptr);
  EXPECT_STREQ(infoOf(x[0])->_function, "cs_createNoGoodSet");
  add(inner, "0=1,1<=2,2>3");
  EXPECT_EQ(nbAtTheEnd, 0);
  cs_restoreContext();
  EXPECT_EQ(nbAtTheEnd, 1);
}

// One decision of each method at each place of the domain, alone or beside one on the same variable that holds: what is
// left when the variable has had an event.
TEST_F(NoGoods, TheLastOpenDecisionIsForbiddenAtTheNextEvent)
{
  for (const char* domain : {"{2..5, 9}", "{2, 3, 9}", "{3, 9}", "{2, 4, 5, 9}"})
    for (int method = 0; method < 6; method++)
      for (int i = 0; i < 14; i++) {
        cs_saveContext();
        CSint* v = makeVar(domain);
        NoGoodSet* one = cs_createNoGoodSet(&v, 1, nullptr, 0, nullptr, nullptr);
        std::vector<NoGoodElement> decisions = {{{method, i % 7}, 0}};
        if (i >= 7)
          decisions.push_back({{CS_SELECT_GE, 2}, 0});
        add(one, decisions);
        Values left = valuesOf(v);
        left.pop_back();
        std::erase_if(left, [&](int each) { return forbids(one->_first, {each}); });
        EXPECT_EQ(cs_LE(v, 8) ? textOf(v) : "fails", left.empty() ? "fails" : textOf(left))
            << textOf(one) << " on " << domain;
        cs_restoreContext();
      }
}

TEST_F(NoGoods, AWatchMovesHalfWayAlong)
{
  add(set, "0=1 1!5 1<=2 2>3 2!9");
  EXPECT_TRUE(cs_EQ(x[0], 1));
  EXPECT_EQ(watched(), "3 1");
  // A hole makes it different already. From the middle the search goes on at the front, where one holds.
  EXPECT_TRUE(cs_NEQ(x[1], 5));
  EXPECT_EQ(watched(), "3 2");
  EXPECT_TRUE(cs_LE(x[1], 2));
  EXPECT_EQ(watched(), "3 4");
  EXPECT_TRUE(cs_LE(x[2], 8));
  EXPECT_EQ(textOf(x[2]), "{0..3}");
}

TEST_F(NoGoods, WhatFiresComesToTheFront)
{
  add(set, "0=1 1<=2,2>3");
  cs_saveContext();
  EXPECT_FALSE(cs_EQ(x[0], 1) && cs_EQ(x[1], 2));
  EXPECT_EQ(textOf(set), "[2>3][0=1 1<=2]") << "narrowing isn't firing";
  cs_restoreContext();
  // Both elements come to hold in one flush.
  cs_Eq(x[0], x[1]);
  add(set, "2!3 0=1");
  const std::string order = "[0=1 1<=2][2!3 0=1][2>3]";
  cs_saveContext();
  EXPECT_FALSE(cs_EQ(x[0], 1));
  EXPECT_EQ(textOf(set), order);
  // Nor is what is out of reach already.
  cs_restoreAndSaveContext();
  EXPECT_TRUE(cs_LE(x[2], 2) && cs_GE(x[1], 7) && cs_NEQ(x[0], 8));
  EXPECT_EQ(textOf(set), order);
  cs_restoreContext();
  // Not during a walk.
  add(set, "0=1 2=5");
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=1 2=5]" + order);
  cs_filterNoGood(set, [](NoGoodSet*, NoGood*, CSint** vars, int, void*) {
    cs_saveContext();
    EXPECT_FALSE(cs_EQ(vars[0], 1));
    cs_restoreContext();
    return 1;
  });
  EXPECT_EQ(textOf(set), "[0=1 2=5]" + order);
}

TEST_F(NoGoods, ReductionDropsWhatIsNeedless)
{
  cs_Neq(x[0], x[2]);
  Snapshot before(x);
  auto reduced = [&](const char* added) { return add(set, added), rcsReduceNoGood(set), textOf(set); };
  // The third fails on the first alone, so the second isn't needed; what lies behind goes, too.
  EXPECT_EQ(reduced("0=1 1<=2 2=1 1=0"), "[0=1 2=1]");
  // Only elements next to the one that fails are tried.
  EXPECT_EQ(reduced("1>=7 0=2 1!8 2=2"), "[1>=7 0=2 2=2][0=1 2=1]");
  // The walk ends at one that can't be shortened.
  cs_setMaxNbNoGoods(set, 2);
  EXPECT_EQ(reduced("0=3 1<=2 2=3,0=4 2=5"), "[0=4 2=5][0=3 1<=2 2=3]");
  rcsReduceNoGood(set);
  EXPECT_EQ(textOf(set), "[0=4 2=5][0=3 2=3]");
  // As long as each is shortened the walk goes on.
  EXPECT_EQ(reduced("0=6 1<=2 2=6,0=7 1<=2 2=7"), "[0=7 2=7][0=6 2=6]");
  // A first element that fails by itself teaches nothing.
  EXPECT_EQ(reduced("0=10 0=1"), "[0=10 0=1][0=7 2=7]");
  EXPECT_EQ(before.changesOfVars(), "");
}

TEST_F(NoGoods, AWalkGoesOnWhereItsNextNodeHasGone)
{
  // Both watches of the newest leave for the lists of other variables, and the walk with the first, to x[2]. The three
  // in the middle would narrow if they were asked for their own variable.
  cs_saveContext();
  set = cs_createNoGoodSet(x.data(), 3, nullptr, 0, nullptr, nullptr);
  add(set, "0>=1 1=5,2=3,2>=0 1=2,1=3 2>=0,0>=3 0>=4 1=7 2=7");
  EXPECT_TRUE(cs_GE(x[0], 5));
  EXPECT_EQ(watched() + " " + textsOf({x[1], x[2]}), "3 2 {0..9} {0..9}");
  EXPECT_TRUE(cs_GE(x[0], 6));
  EXPECT_EQ(textsOf({x[1], x[2]}), "{0..4, 6..9} {0..9}");
  cs_restoreContext();
  // With the second it goes, too.
  set = cs_createNoGoodSet(x.data(), 3, nullptr, 0, nullptr, nullptr);
  add(set, "0>=1 1=5,1<=8 0>=3 2=7 0>=4 2=8");
  EXPECT_TRUE(cs_LE(x[1], 8)); // now the first watch stands in front of the second
  EXPECT_TRUE(cs_GE(x[0], 5));
  EXPECT_EQ(watched() + " " + textOf(x[1]), "4 2 {0..8}");
  EXPECT_TRUE(cs_GE(x[0], 6));
  EXPECT_EQ(textOf(x[1]), "{0..4, 6..8}");
}

static std::vector<Values> allOf(Vars& v)
{
  static std::vector<Values> assignments;
  assignments.clear();
  cs_findAll(
      v.data(), int(v.size()), cs_findFreeVar, [](CSint** vars, int n) { assignments.push_back(valuesOf(vars, n)); });
  return assignments;
}

// Where no no-good has two decisions on a variable, the set forbids exactly what it says; else it may miss something,
// but never forbids more.
TEST_F(NoGoods, ForbidExactlyWhatTheySay)
{
  size_t nbForbidden = 0;
  for (uint64_t trial = 0; trial < 400; trial++) {
    SCOPED_TRACE(trial);
    Random random(seedOf("NoGoods", trial));
    cs_saveContext();
    const bool exact = random.chance(50);
    const int n = random.pick(1, 4);
    Vars v;
    while (int(v.size()) < n)
      v.push_back(makeVar(random.chance(50) ? "{0..3}" : "{-1, 1, 2, 4}"));
    std::vector<Values> expected = allOf(v);
    NoGoodSet* some = cs_createNoGoodSet(v.data(), n, nullptr, 0, nullptr, nullptr);
    for (int i = random.pick(1, 6); i > 0; i--) {
      std::vector<NoGoodElement> noGood;
      for (int length = random.pick(1, 5); length > 0; length--) {
        const int position = random.pick(0, n - 1), method = random.pick(0, 5), value = random.pick(-1, 4);
        auto same = [=](const NoGoodElement& other) { return other.index == position; };
        if (!exact || std::none_of(noGood.begin(), noGood.end(), same))
          noGood.push_back({{method, value}, position});
      }
      add(some, noGood);
    }
    nbForbidden += std::erase_if(expected, [&](const Values& values) {
      const NoGood* e = some->_first;
      while (e && !forbids(e, values))
        e = e->_next;
      return e != nullptr;
    });
    const std::vector<Values> solutions = allOf(v);
    EXPECT_TRUE(std::includes(solutions.begin(), solutions.end(), expected.begin(), expected.end()));
    EXPECT_TRUE(!exact || solutions == expected);
    EXPECT_EQ(flawsOf(some), "");
    cs_restoreContext();
  }
  EXPECT_GT(nbForbidden, 5000u);
}
