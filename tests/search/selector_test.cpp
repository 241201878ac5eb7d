/*
 * Value selectors; the selector drivers' callbacks in full, on each way out; restarts and what they learn. And all the
 * drivers against each other on random problems.
 */
#include "noGoods.h"
#include "random.h"
#include "snapshot.h"

#include <algorithm>
#include <random>

using namespace kit;

static std::string story;

static std::string told() { return std::exchange(story, ""); }

// ---------------------------------------------------------------------------------------------------------------------
// Value selectors
// ---------------------------------------------------------------------------------------------------------------------

using ValueSelectors = SolverTest;

static std::string decisionsOf(const std::string& domain, int kind)
{
  CSint* vars[] = {nullptr, makeVar(domain)};
  ValueSelector* selector = cs_getValueSelector(kind);
  intptr_t state = -77;
  std::string text;
  EXPECT_TRUE(cs_initValueSelector(selector, 1, vars, 2, &state));
  ValueSelection s;
  while (text.size() < 60 && cs_selectNextValue(&s, selector, 1, vars, 2, &state))
    text += textOf(s) + " ";
  EXPECT_FALSE(cs_selectNextValue(&s, selector, 1, vars, 2, &state)) << "once more, behind the end";
  EXPECT_TRUE(cs_endValueSelector(selector, 1, vars, 2, &state));
  return text;
}

TEST_F(ValueSelectors, Decisions)
{
  // A domain, and what each kind makes of it.
  const char* rows[][6] = {
      {"4", "=4 ", "=4 ", "<=4 ", ">=4 ", "=4 "},
      {"{-4..-1}", "=-4 =-3 =-2 =-1 ", "=-1 =-2 =-3 =-4 ", "<=-3 >-3 ", ">=-3 <-3 ", "=-3 !-3 "},
      {"{-9, -1, 0, 200, 333}", "=-9 =-1 =0 =200 =333 ", "=333 =200 =0 =-1 =-9 ", "<=162 >162 ", ">=162 <162 ",
          "=0 !0 "},
      {"{0, 70, 140, 200, 201, 300}", "=0 =70 =140 =200 =201 =300 ", "=300 =201 =200 =140 =70 =0 ", "<=150 >150 ",
          ">=150 <150 ", "=140 !140 "},
      {"{2147483645, 2147483647}", "=2147483645 =2147483647 ", "=2147483647 =2147483645 ", "<=2147483646 >2147483646 ",
          ">=2147483646 <2147483646 ", "=2147483645 !2147483645 "},
      {"{-2147483648, -2147483647}", "=-2147483648 =-2147483647 ", "=-2147483647 =-2147483648 ",
          "<=-2147483648 >-2147483648 ", ">=-2147483647 <-2147483647 ", "=-2147483648 !-2147483648 "},
  };
  for (const auto& row : rows)
    for (int kind = 0; kind < 5; kind++)
      EXPECT_EQ(decisionsOf(row[0], kind), row[kind + 1]) << row[0] << ", kind " << kind;
  for (int kind : {-1, 5})
    EXPECT_EQ(cs_getValueSelector(kind), nullptr);
  // Read afresh at each call: the walk catches up with bounds that have moved.
  for (int kind : {CS_MIN_TO_MAX, CS_MAX_TO_MIN}) {
    CSint* v = makeVar("{0..9}");
    intptr_t state;
    ValueSelection s;
    cs_initValueSelector(cs_getValueSelector(kind), 0, &v, 1, &state);
    EXPECT_TRUE(cs_InInterval(v, 3, 6) && cs_selectNextValue(&s, cs_getValueSelector(kind), 0, &v, 1, &state));
    EXPECT_EQ(textOf(s), kind == CS_MIN_TO_MAX ? "=3" : "=6");
    // A start of the client's own may fill 32 bits alone of the slot.
    state = intptr_t(0x5555555500000004);
    EXPECT_TRUE(cs_selectNextValue(&s, cs_getValueSelector(kind), 0, &v, 1, &state));
    EXPECT_EQ(textOf(s), "=4");
  }
  // No value lies at a bound that is off.
  CSint* sum = cs_Add(makeVar("{2147483643, 2147483645, 2147483647}"), CSINT(1));
  intptr_t state = sum->_max;
  ValueSelection s;
  EXPECT_FALSE(cs_selectNextValue(&s, cs_getValueSelector(CS_MIN_TO_MAX), 0, &sum, 1, &state));
  // Nor does the median, where what was removed in an accepted context still counts.
  CSint* few = makeVar("{0..999}");
  cs_saveContext();
  cs_GE(few, 1);
  cs_saveContext();
  for (int value = 10; value < 990; value++)
    cs_NEQ(few, value);
  cs_acceptContext();
  cs_restoreContext();
  EXPECT_TRUE(cs_NEQ(few, 5) && few->_nbElements == 999);
  state = 0;
  EXPECT_TRUE(cs_selectNextValue(&s, cs_getValueSelector(CS_MEDIAN_AND_REST), 0, &few, 1, &state));
  EXPECT_EQ(textOf(s), "=999");
}

TEST_F(ValueSelectors, MethodsAndCallbacks)
{
  const char* domains[] = {"4", "{0..3, 5..9}", "{0..4}", "{0..3}", "{4..9}", "{5..9}"};
  CSint* v = makeVar("{0..9}");
  for (int method = -1; method <= 6; method++) {
    ValueSelection s = {method, 4};
    cs_saveContext();
    if (method < 0 || method == 6) {
      EXPECT_EXIT(cs_selectValue(v, &s), testing::KilledBySignal(SIGABRT), "");
    } else {
      EXPECT_TRUE(cs_selectValue(v, &s));
      EXPECT_EQ(textOf(v), domains[method]);
    }
    cs_restoreContext();
  }
  // Only the low 8 bits of an answer count.
  auto* selector = cs_createValueSelector([](int, CSint**, int, intptr_t*) { return 256; },
      [](ValueSelection*, int, CSint**, int, intptr_t*) { return 512; },
      [](int, CSint**, int, intptr_t*) { return 257; });
  EXPECT_EQ(cs_initValueSelector(selector, 0, nullptr, 1, nullptr), 0);
  EXPECT_EQ(cs_selectNextValue(nullptr, selector, 0, nullptr, 1, nullptr), 0);
  EXPECT_EQ(cs_endValueSelector(selector, 0, nullptr, 1, nullptr), 1);
  cs_freeValueSelector(selector);
  cs_freeValueSelector(nullptr);
}

// ---------------------------------------------------------------------------------------------------------------------
// What is told: each callback with its arguments, the contexts and the counters of that moment
// ---------------------------------------------------------------------------------------------------------------------

static const Vars* theVars;
static int endAnswer, foundAnswer, cancelAt;

static std::string str(int number) { return std::to_string(number); }

static std::string moment()
{
  return "(" + str(contextDepth()) + " " + str(cs_getNbChoicePoints()) + " " + str(cs_getNbFails()) + ") ";
}

static void tellStart(int fails, CSint** vars, int n, void* data)
{
  EXPECT_TRUE(vars == theVars->data() && n == int(theVars->size()) && data == &story);
  story += "S" + str(fails) + moment();
}

static void tellEnd(int result, int nbFails, int fails, CSint**, int, void* data)
{
  EXPECT_EQ(data, &story);
  story += "X" + str(result) + "/" + str(nbFails) + "/" + str(fails) + moment();
}

template <char kind>
static void tellLevel(int level, int position, CSint**, int, void*)
{
  story += kind + str(level) + "." + str(position) + moment();
}

class SelectorSearch : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    told();
    endAnswer = foundAnswer = 1;
    cancelAt = -1;
    selector = cs_createValueSelector(
        [](int position, CSint** vars, int n, intptr_t* state) {
          story += "i" + str(position) + " ";
          return cs_initValueSelector(&rcsVSMinToMax, position, vars, n, state);
        },
        [](ValueSelection* s, int position, CSint** vars, int n, intptr_t* state) {
          int more = cs_selectNextValue(s, &rcsVSMinToMax, position, vars, n, state);
          story += "n" + (more ? textOf(*s) : "-") + (contextDepth() == position ? " " : "? ");
          return more;
        },
        [](int position, CSint**, int, intptr_t*) {
          story += "e" + str(position) + moment();
          return endAnswer;
        });
    notify = cs_createSearchNotify(&story);
    cs_searchNotifySetSearchStart(notify, tellStart);
    cs_searchNotifySetSearchEnd(notify, tellEnd);
    cs_searchNotifySetEnter(notify, tellLevel<'E'>);
    cs_searchNotifySetLeave(notify, tellLevel<'L'>);
    cs_searchNotifySetBeforeValueSelection(
        notify, [](int level, int position, const ValueSelection* s, CSint**, int, void*) {
          story += "B" + str(level) + "." + str(position) + textOf(*s) + moment();
          if (cs_getNbChoicePoints() == cancelAt)
            cs_cancelSearch();
        });
    cs_searchNotifySetAfterValueSelection(
        notify, [](int success, int level, int position, const ValueSelection* s, CSint** vars, int, void*) {
          EXPECT_TRUE(!success || vars[position]->_min == s->value);
          story += "A" + str(success) + ":" + str(level) + "." + str(position) + textOf(*s) + moment();
        });
    cs_searchNotifySetFound(notify, [](int level, CSint**, int, void*) {
      story += "F" + str(level) + moment();
      return foundAnswer;
    });
  }

  void TearDown() override
  {
    cs_freeSearchNotify(notify);
    cs_freeSearchNotify(nullptr);
    cs_freeValueSelector(selector);
    SolverTest::TearDown();
  }

  /// What a search tells, whether it finds a solution, and what it leaves of the first variable. Restores all.
  std::string search(Vars& v, int fails)
  {
    theVars = &v;
    std::vector<ValueSelector*> selectors(v.size(), selector);
    int found = cs_searchValueSelectorFail(v.data(), selectors.data(), int(v.size()), firstFree, fails, notify);
    std::string text = told() + (found ? "yes " : "no ") + textOf(v[0]);
    cs_restoreAll();
    return text;
  }

  ValueSelector* selector;
  SearchNotify* notify;
};

/// A free variable in front of three that must differ with two values: each decision on the first fails below.
static Vars freeAndPigeons(const std::string& domain)
{
  Vars v = pigeons();
  v.insert(v.begin(), makeVar(domain));
  return v;
}

TEST_F(SelectorSearch, ExhaustedLimitedOrCancelled)
{
  Vars v = freeAndPigeons("{0, 1}");
  Snapshot before(v);
  const std::string start = "(0 0 0) E0.0(0 0 0) i0 n=0 n=1 B0.0=0(1 1 0) A1:0.0=0(1 1 0) "
                            "E1.1(1 1 0) i1 n=3 n=7 B1.1=3(2 2 0) ";
  EXPECT_EQ(search(v, 0),
      "S0" + start +
          "A0:1.1=3(2 2 1) n- B1.1=7(2 3 1) A0:1.1=7(2 3 2) e1(1 3 2) L1.1(1 3 2) n- B0.0=1(1 4 2) A1:0.0=1(1 4 2) "
          "E1.1(1 4 2) i1 n=3 n=7 B1.1=3(2 5 2) A0:1.1=3(2 5 3) n- B1.1=7(2 6 3) A0:1.1=7(2 6 4) e1(1 6 4) L1.1(1 6 4) "
          "e0(0 6 4) L0.0(0 6 4) X0/4/0(0 6 4) no {0, 1}");
  EXPECT_EQ(search(v, 1), "S1" + start + "A0:1.1=3(2 2 1) e1(2 2 1) e0(2 2 1) X0/1/1(2 2 1) no 0");
  // The level that sees the flag leaves its context; the one above pops that and sees the flag in its turn.
  cancelAt = 2;
  EXPECT_EQ(search(v, 0), "S0" + start + "n-? B0.0=1(2 3 0) X0/0/0(2 3 0) no 0");
  // An end that answers no hides the leaving, and nothing else.
  endAnswer = 0, cancelAt = -1;
  EXPECT_EQ(search(v, 0).find('L'), std::string::npos);
  EXPECT_EQ(counters(), "6 choices 4 fails");
  EXPECT_EQ(before.changesOfVars(), "");
}

TEST_F(SelectorSearch, Solutions)
{
  Vars v = {makeVar("{0..1}"), makeVar("{0..1}")};
  cs_Neq(v[0], v[1]);
  const std::string way = "(0 0 0) E0.0(0 0 0) i0 n=0 n=1 B0.0=0(1 1 0) A1:0.0=0(1 1 0) F0(1 1 0) e0";
  EXPECT_EQ(search(v, 0), "S0" + way + "(1 1 0) X1/0/0(1 1 0) yes 0");
  // At a solution that is rejected the limit is left to the level above, behind its end.
  foundAnswer = 256;
  EXPECT_EQ(search(v, 1), "S1" + way + "(1 1 1) X0/1/1(1 1 1) no 0");
  // The selector's end can refuse a solution too: no failure, and the context stays.
  foundAnswer = 1, endAnswer = 0;
  EXPECT_EQ(search(v, 0), "S0" + way + "(1 1 0) X0/0/0(1 1 0) no 0");
  // Nothing to decide.
  cs_EQ(v[0], 1);
  EXPECT_EQ(search(v, 0), "S0(0 0 0) F-1(0 0 0) X1/0/0(0 0 0) yes 1");
}

TEST_F(SelectorSearch, ALevelWithoutDecisions)
{
  Vars v = {makeVar("{0..1}")};
  auto no = [](int, CSint**, int, intptr_t*) { return 256; };
  for (ValueSelectorInit init : {ValueSelectorInit(no), ValueSelectorInit(nullptr)}) {
    selector->_init = init;
    selector->_next = [](ValueSelection*, int, CSint**, int, intptr_t*) { return 0; };
    selector->_end = nullptr;
    EXPECT_EQ(
        search(v, 1), std::string("S1(0 0 0) E0.0(0 0 0) ") + (init ? "" : "L0.0(0 0 0) ") + "X0/0/1(0 0 0) no {0, 1}");
  }
  EXPECT_FALSE(cs_searchValueSelectorFail(v.data(), &selector, 1, firstFree, 1, nullptr));
}

// ---------------------------------------------------------------------------------------------------------------------
// Restarts
// ---------------------------------------------------------------------------------------------------------------------

using Restarts = SolverTest;

static int nextLimit(void* schedule)
{
  int limit = *(*static_cast<const int**>(schedule))++;
  story += "r" + str(limit) + "(" + str(contextDepth()) + ") ";
  return limit;
}

static std::string lessons;

static int noteNoGood(NoGoodSet*, NoGood* noGood, CSint**, int, void* keep)
{
  EXPECT_GE(rcsTmpOpSize, cs_getNbNoGoodElements(noGood));
  story += textOf(noGood) + moment();
  lessons += textOf(noGood);
  return keep != nullptr;
}

/// Runs with these limits; a no-good is kept or forgotten at once.
static int restart(const Vars& v, ValueSelector* selector, std::vector<int> schedule, int maxFails, bool keep = false,
    SearchNotify* notify = nullptr)
{
  theVars = &v;
  auto** vars = const_cast<CSint**>(v.data());
  NoGoodSet* set = cs_createNoGoodSet(vars, int(v.size()), noteNoGood, 0, nullptr, keep ? &story : nullptr);
  std::vector<ValueSelector*> selectors(v.size(), selector);
  const int* at = schedule.data();
  story.clear(), lessons.clear();
  int found = cs_searchValueSelectorRestartNG(
      vars, selectors.data(), int(v.size()), firstFree, nextLimit, &at, maxFails, set, notify);
  EXPECT_EQ(at, schedule.data() + schedule.size());
  EXPECT_TRUE(!rcsTmpOp && rcsTmpOpSize == 0);
  return found;
}

/// One run up to the limit, as the no-goods that are taken from its branch.
static std::string learnt(const Vars& v, int limit, ValueSelector* selector = &rcsVSMinToMax)
{
  int label = cs_saveContext();
  EXPECT_FALSE(restart(v, selector, {limit}, limit));
  cs_restoreContextUntil(label);
  return lessons;
}

/// The decision and then its opposite.
template <int first, int second>
static int opposites(ValueSelection* s, int, CSint**, int, intptr_t* state)
{
  *s = {*state == 0 ? first : second, 5};
  return (*state)++ < 2;
}

TEST_F(Restarts, WhatABranchTeaches)
{
  Vars two = freeAndPigeons("{0, 1}");
  // Free decisions alone; one that was last is left out, and stands as the negation of itself under those above it.
  EXPECT_EQ(learnt(two, 1), "[0=0 1=3]");
  EXPECT_EQ(learnt(two, 2), "[0=0]");
  EXPECT_EQ(learnt(two, 4), ""); // the end of the tree
  // The refuted first decision of the free level nearest the root, once and not the later ones.
  EXPECT_EQ(learnt(freeAndPigeons("{0..3}"), 5), "[0=2 1=3][0=0]");
  // Of a level in the middle, under what is above it.
  Vars four = freeAndPigeons("{0..2}");
  four.insert(four.begin(), makeVar("{5, 6}"));
  EXPECT_EQ(learnt(four, 3), "[0=5 1=1 2=3][0=5 1=0]");
  EXPECT_EQ(learnt(four, 5), "[0=5 2=3][0=5 1!2]");
  EXPECT_EQ(learnt(four, 7), "[1=0 2=3][0!6]");
  four[0] = makeVar("{5..7}");
  EXPECT_EQ(learnt(four, 9), "[0=6 1=1 2=3][0=5]");
  // The other methods: a half, and the median with the rest.
  EXPECT_EQ(learnt(two, 3, &rcsVSLowerAndUpper), "[1<=5][0<=0]");
  EXPECT_EQ(learnt(two, 3, &rcsVSMedianAndRest), "[1=3][0=0]");
  EXPECT_EQ(learnt(two, 3, &rcsVSUpperAndLower), "[1>=5][0>=1]");
  ValueSelector falling = {rcsVSLowerAndUpperInit, opposites<CS_SELECT_GT, CS_SELECT_LE>, nullptr};
  ValueSelector rising = {rcsVSLowerAndUpperInit, opposites<CS_SELECT_LT, CS_SELECT_GE>, nullptr};
  EXPECT_EQ(learnt(freeAndPigeons("{5, 6}"), 3, &falling), "[1>5][0>5]");
  EXPECT_EQ(learnt(freeAndPigeons("{4, 5}"), 3, &rising), "[1<5][0<5]");
}

TEST_F(Restarts, RunsFromTheRoot)
{
  // The first of the solvable ones is 2 or 3, which only trying tells.
  Vars v = freeAndPigeons("{0, 1}"), solvable = {makeVar("{0..3}"), makeVar("{3, 7}")};
  for (int value : {0, 1})
    for (int other : {3, 7})
      EXPECT_TRUE(cs_IfNeq(solvable[0], solvable[1], value, other));
  SearchNotify* notify = cs_createSearchNotify(&story);
  cs_searchNotifySetSearchStart(notify, tellStart);
  cs_searchNotifySetSearchEnd(notify, tellEnd);
  auto run = [&](const Vars& vars, std::vector<int> schedule, int maxFails, bool keep = false) {
    int label = cs_saveContext();
    Snapshot start(vars);
    int found = restart(vars, &rcsVSMinToMax, std::move(schedule), maxFails, keep, notify);
    std::string text = told() + "= " + std::to_string(found) + " at " + std::to_string(contextDepth());
    cs_restoreContextUntil(label);
    EXPECT_EQ(start.changesOfVars(), "");
    return text;
  };
  EXPECT_EQ(run(v, {9}, 0), "r9(1) S9(2 0 0) X0/4/9(2 6 4) = 0 at 1");
  EXPECT_EQ(run(v, {3, 2, 9}, 0),
      "r3(1) S3(2 0 0) [1=3](4 5 3) [0!1](4 5 3) X0/3/3(4 5 3) r2(1) S2(1 5 3) [0=0](3 8 5) X0/2/2(3 8 5) "
      "r9(1) S9(1 8 5) X0/4/9(1 14 9) = 0 at 1");
  // The limit is clipped to what is left of all, and there nothing is restored.
  EXPECT_EQ(run(v, {3, 7}, 5),
      "r3(1) S3(2 0 0) [1=3](4 5 3) [0!1](4 5 3) X0/3/3(4 5 3) r7(1) S2(1 5 3) [0=0](3 8 5) X0/2/2(3 8 5) = 0 at 3");
  // A tree whose last failure is the one that reaches the limit looks like one that was cut short.
  EXPECT_EQ(run(v, {4, 9}, 0), "r4(1) S4(2 0 0) X0/4/4(4 6 4) r9(1) S9(1 6 4) X0/4/9(1 12 8) = 0 at 1");
  EXPECT_EQ(run(solvable, {9}, 0, true), "r9(1) S9(2 0 0) X1/2/9(4 4 2) = 1 at 4");
  EXPECT_EQ(run(solvable, {1, 0}, 0, true),
      "r1(1) S1(2 0 0) [0=0](3 1 1) X0/1/1(3 1 1) r0(1) S0(1 1 1) X1/2/0(3 5 3) = 1 at 3");
  cs_searchNotifySetBeforeValueSelection(
      notify, [](int, int, const ValueSelection*, CSint**, int, void*) { cs_cancelSearch(); });
  EXPECT_EQ(run(v, {9}, 0, true), "r9(1) S9(2 0 0) X0/0/9(3 1 0) = 0 at 1");
  cs_freeSearchNotify(notify);
}

static NoGoodSet* reduced;

TEST_F(Restarts, ReduceTheSetAtTheRoot)
{
  Vars v = makeVars({"{0, 1}", "{0..2}", "{3, 7}"});
  EXPECT_TRUE(cs_IfNeq(v[1], v[2], 0, 3) && cs_IfNeq(v[1], v[2], 0, 7));
  ValueSelector* selectors[] = {&rcsVSMinToMax, &rcsVSMinToMax, &rcsVSMinToMax};
  reduced = cs_createNoGoodSet(v.data(), 3, nullptr, 0, nullptr, nullptr);
  told();
  auto limit = [](void*) { return story += textOf(reduced) + ";", cs_getNbFails() == 0 ? 1 : 9; };
  EXPECT_TRUE(cs_searchValueSelectorRestartNG(v.data(), selectors, 3, firstFree, limit, nullptr, 0, reduced, nullptr));
  // The second fails by itself; the limit is asked for before that is found.
  EXPECT_EQ(told() + textOf(reduced), ";[0=0 1=0];[1=0]");
  cs_restoreAll();
}

// ---------------------------------------------------------------------------------------------------------------------
// The drivers against each other
// ---------------------------------------------------------------------------------------------------------------------

static Vars randomProblem(Random& random)
{
  static const char* const domains[] = {"{-1..1}", "{0, 2}", "{0, 1}", "{-1, 1, 2}"};
  Vars v;
  for (int n = random.pick(3, 6); n > 0; n--)
    v.push_back(makeVar(random.oneOf(domains)));
  for (size_t i = 0; i < v.size(); i++)
    for (size_t j = i + 1; j < v.size(); j++) {
      if (random.chance(5))
        cs_Lt(v[i], v[j]);
      else if (random.chance(60))
        cs_Neq(v[i], v[j]);
      for (int k = random.pick(0, 3); k > 0; k--)
        cs_IfNeq(v[j], v[i], random.pick(-1, 2), random.pick(-1, 2));
    }
  return v;
}

using AllDrivers = SolverTest;

TEST_F(AllDrivers, WithoutPreferencesGoTheSameWay)
{
  using Driver = int (*)(CSint**, int, int);
  static const Driver runs[] = {
      [](CSint** v, int n, int fails) { return cs_searchFail(v, n, cs_findFreeVar, fails); },
      [](CSint** v, int n, int fails) {
        return cs_searchCriteriaFail(
            v, n, firstFree, [](int, int) { return 5; }, fails);
      },
      [](CSint** v, int n, int fails) {
        return cs_searchMatrixFail(
            &v, 1, n, [](CSint*** m, int, int cols) { return firstFree(m[0], cols) < 0 ? -1 : 0; },
            [](int, CSint** row, int cols) { return firstFree(row, cols); }, [](int, int, int) { return -5; }, fails);
      },
      [](CSint** v, int n, int fails) {
        std::vector<ValueSelector*> selectors(size_t(n), &rcsVSMinToMax);
        return cs_searchValueSelectorFail(v, selectors.data(), n, firstFree, fails, nullptr);
      },
  };
  std::set<std::string> outcomes;
  for (uint64_t trial = 0; trial < 300; trial++) {
    Random random(seedOf("AllDrivers", trial));
    int base = cs_saveContext();
    Vars v = randomProblem(random);
    for (int fails : {0, 1, 2, 3, 5}) {
      std::string first;
      for (const Driver& run : runs) {
        int label = cs_saveContext();
        int found = run(v.data(), int(v.size()), fails);
        std::string outcome = str(found) + counters() + str(contextDepth() - label) + textsOf(v);
        cs_restoreContextUntil(label);
        if (&run == runs)
          first = outcome;
        EXPECT_EQ(outcome, first) << "trial " << trial << ", limit " << fails << ", driver " << &run - runs;
      }
      outcomes.insert(first);
    }
    cs_restoreContextUntil(base);
  }
  EXPECT_GT(outcomes.size(), 200u);
}

static std::multiset<Values> solutions;

/// What a search with restarts is held against; the callbacks' data.
static struct Learner
{
  size_t toReject = 0;
  std::set<Values> rejected = {}; ///< solutions that were found and refused
  size_t nbFound = 0;
  NoGoodSet* set = nullptr;
  int limit = 0;
} learner;

static int nbLearnt, nbRuns;

/// It may exclude only solutions that were rejected before.
static void expectSound(const NoGood* noGood)
{
  for (const Values& values : solutions)
    EXPECT_TRUE(learner.rejected.count(values) || !forbids(noGood, values)) << textOf(noGood) << textOf(values);
}

static int seeNoGood(NoGoodSet*, NoGood* noGood, CSint**, int, void*)
{
  expectSound(noGood);
  return ++nbLearnt % 5;
}

static int rejectSome(int, CSint** vars, int n, void*)
{
  Values values = valuesOf(vars, n);
  learner.nbFound++;
  EXPECT_TRUE(solutions.count(values));
  if (!learner.rejected.count(values) && learner.rejected.size() >= learner.toReject)
    return 1;
  learner.rejected.insert(values);
  return 0;
}

static void endRun(int, int, int, CSint**, int, void*)
{
  nbRuns++;
  EXPECT_EQ(learner.set ? flawsOf(learner.set) : "", "");
  for (const NoGood* e = learner.set ? learner.set->_first : nullptr; e; e = e->_next)
    expectSound(e);
}

TEST_F(AllDrivers, FindTheSameSolutionsWithLearningOrWithout)
{
  auto oneMore = [](void*) { return ++learner.limit; };
  SearchNotify* notify = cs_createSearchNotify(nullptr);
  cs_searchNotifySetFound(notify, rejectSome);
  cs_searchNotifySetSearchEnd(notify, endRun);
  int nbSolved = 0, nbUnsolved = 0;
  for (uint64_t trial = 0; trial < 2000; trial++) {
    SCOPED_TRACE(trial);
    Random random(seedOf("FindTheSame", trial));
    int base = cs_saveContext();
    Vars v = randomProblem(random);
    int n = int(v.size());
    if (random.chance(50))
      std::shuffle(v.begin(), v.end(), std::minstd_rand(unsigned(trial)));
    solutions.clear();
    cs_findAll(v.data(), n, cs_findFreeVar, [](CSint** vars, int size) { solutions.insert(valuesOf(vars, size)); });
    std::vector<ValueSelector*> selectors(v.size());
    for (ValueSelector*& each : selectors)
      each = cs_getValueSelector(random.pick(0, 4));
    Snapshot before(v);
    // Without restarts each solution comes once, whatever the selectors.
    learner = {.toReject = SIZE_MAX};
    EXPECT_FALSE(cs_searchValueSelectorFail(v.data(), selectors.data(), n, firstFree, 0, notify));
    EXPECT_EQ(learner.rejected.size(), solutions.size());
    EXPECT_EQ(learner.nbFound, solutions.size());
    // With no set, one that keeps all, one that forgets; the first solution, some or none accepted.
    for (int max : {-1, 0, 3})
      for (size_t toReject : {size_t(0), solutions.size() / 2, SIZE_MAX}) {
        const int maxFails = random.chance(20) ? random.pick(1, 20) : 0;
        int label = cs_saveContext();
        learner = {.toReject = toReject};
        if (max >= 0)
          learner.set = cs_createNoGoodSet(v.data(), n, seeNoGood, max, nullptr, nullptr);
        int found = cs_searchValueSelectorRestartNG(
            v.data(), selectors.data(), n, firstFree, oneMore, nullptr, maxFails, learner.set, notify);
        EXPECT_TRUE(!found || solutions.count(valuesOf(v.data(), n)));
        if (found || maxFails == 0 || cs_getNbFails() < maxFails) {
          EXPECT_EQ(bool(found), learner.rejected.size() < solutions.size());
        }
        cs_restoreContextUntil(label);
        EXPECT_EQ(before.changesOfVars(), "");
      }
    ++(solutions.empty() ? nbUnsolved : nbSolved);
    cs_restoreContextUntil(base);
  }
  EXPECT_GT(std::min(nbSolved, nbUnsolved), 200);
  EXPECT_GT(nbLearnt, 5000);
  EXPECT_GT(nbRuns, 40000);
  cs_freeSearchNotify(notify);
}
