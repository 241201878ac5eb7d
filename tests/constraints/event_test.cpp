/*
 * The event watchers: what is told, when, and what an answer does.
 */
#include "report.h"
#include "snapshot.h"

#include <algorithm>
#include <functional>

using namespace kit;

class Event : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    cs_setProfilerLocator("", cheapLocator, nullptr);
    for (CSint*& v : vars)
      v = makeVar("0..9");
    log.clear(), answer = 1, onCall = nullptr;
  }

  static int write(const std::string& text)
  {
    EXPECT_NE(rcsGetEventCI(), nullptr);
    log += (log.empty() ? "" : ", ") + text;
    if (onCall)
      onCall();
    return answer;
  }

  /// "[2]", with a mark where the client's pointer didn't come along.
  static std::string at(int index, bool right = true) { return (right ? "[" : "?[") + std::to_string(index) + "]"; }

  static int allKnown(CSint** array, int size, void* extra)
  {
    return write("all of " + std::to_string(size) + (extra == array ? "" : "?"));
  }
  static int known(int value, int index, CSint** array, int size, void* extra)
  {
    return write(at(index, extra == array && size) + "=" + std::to_string(value));
  }
  static int change(CSint* v, int index, int old, CSint** array, int, void* extra)
  {
    return write(at(index, extra == array && v == array[index]) + " from " + std::to_string(old));
  }
  static void conflict(CSint* v, int index, const ValueSelection* failing, CSint** array, int size, void* extra)
  {
    write("conflict" + at(int(std::find(array, array + size, v) - array), extra == array) + " in list " +
          std::to_string(index) + ": " + std::to_string(failing->method) + " " + std::to_string(failing->value));
  }

  void watchAll()
  {
    ASSERT_TRUE(cs_eventAllKnown(vars, 3, allKnown, vars));
    ASSERT_TRUE(cs_eventKnown(vars, 3, known, vars));
    cs_eventNewMin(vars, 3, change, vars);
    cs_eventNewMax(vars, 3, change, vars);
    cs_eventNeq(vars, 3, change, vars);
    cs_eventConflict(vars, 3, conflict, vars);
  }

  /// What was told since the last call.
  static std::string told() { return std::exchange(log, ""); }

  CSint* vars[3];
  static inline std::string log;
  static inline int answer;
  static inline std::function<void()> onCall;
};

TEST_F(Event, AllKnownCallsWhenTheLastOneIs)
{
  ASSERT_TRUE(cs_eventAllKnown(vars, 3, allKnown, vars));
  cs_saveContext();
  // The first is watched, and then the last.
  EXPECT_TRUE(cs_EQ(vars[1], 5) && cs_EQ(vars[0], 9) && cs_LE(vars[2], 4));
  EXPECT_EQ(told(), "");
  cs_EQ(vars[2], 0);
  EXPECT_EQ(told(), "all of 3");
  cs_restoreAndSaveContext();
  cs_EQ(vars[2], 1); // still watched after the restore, and the first two free: the search finds them
  cs_EQ(vars[0], 1);
  EXPECT_EQ(told(), "");
  answer = 256; // a low byte of 0 is a veto
  EXPECT_FALSE(cs_EQ(vars[1], 9));
  EXPECT_EQ(told(), "all of 3");
  cs_restoreContext();
  answer = 255;
  ASSERT_TRUE(cs_Eq(vars[0], vars[1]));
  cs_EQ(vars[2], 0);
  EXPECT_TRUE(cs_EQ(vars[0], 0)); // both events are queued before the first is told
  // With none left to wait for it calls at once and stays nowhere.
  answer = 0;
  EXPECT_EQ(cs_eventAllKnown(vars, 2, allKnown, vars), 0);
  answer = 7;
  EXPECT_TRUE(cs_eventAllKnown(vars, 0, allKnown, vars) && cs_eventAllKnown(nullptr, -1, allKnown, nullptr));
  EXPECT_EQ(told(), "all of 3, all of 3, all of 2, all of 0, all of -1");
  EXPECT_EQ(nbAttached(vars[0]), 2);
  EXPECT_EQ(rcsGetEventCI(), nullptr);
}

TEST_F(Event, KnownReportsEachOne)
{
  cs_EQ(vars[1], 4);
  onCall = [&] { cs_EQ(vars[0], 9); }; // already attached then: told as an event within the call
  EXPECT_TRUE(cs_eventKnown(vars, 3, known, vars));
  onCall = nullptr;
  answer = 512;
  EXPECT_FALSE(cs_eventKnown(vars, 3, known, vars)); // the first refusal ends the posting, with the watcher attached
  EXPECT_FALSE(cs_EQ(vars[2], 3));
  EXPECT_TRUE(cs_eventKnown(vars, 0, known, vars));
  EXPECT_EQ(told(), "[1]=4, [0]=9, [0]=9, [2]=3");
  EXPECT_EQ(nbAttached(vars[2]), 2);
}

TEST_F(Event, EachIsToldOfItsOwnAndMayRefuse)
{
  watchAll();
  std::string names;
  for (const Tconstraint* t = vars[0]->_constraints; t; t = t->_next)
    names += std::string(t->_constraint->_info->_function) + " ";
  EXPECT_EQ(names, "cs_eventConflict cs_eventNewMax cs_eventNewMax cs_eventNewMin cs_eventKnown cs_eventAllKnown ");
  EXPECT_EQ(vars[2]->_constraints->_index, 2);
  // A change of vars[1], and what is told of it, in the order of the attachments; the failing change as a decision.
  struct
  {
    int (*narrow)(CSint*, int);
    int value;
    const char *told, *failed;
  } rows[] = {{cs_GE, 3, "[1] from 0", "4 3"}, {cs_LE, 7, "[1] from 9", "2 7"}, {cs_NEQ, 5, "[1] from 5", "1 5"},
      {cs_NEQ, 0, "[1] from 0", "4 1"}, // at a bound: no hole
      {cs_EQ, 6, "[1]=6", "0 6"},       // between them: no new bound
      {cs_EQ, 9, "[1] from 0, [1]=9", "0 9"}, {cs_EQ, 0, "[1] from 9, [1]=0", "0 0"}};
  for (const auto& row : rows) {
    cs_saveContext();
    answer = 255;
    EXPECT_TRUE(row.narrow(vars[1], row.value));
    EXPECT_EQ(told(), row.told);
    cs_restoreAndSaveContext();
    answer = 256; // a low byte of 0 is a veto
    EXPECT_FALSE(row.narrow(vars[1], row.value));
    const std::string first(row.told);
    EXPECT_EQ(told(), first.substr(0, first.find(',')) + ", conflict[1] in list 1: " + row.failed);
    cs_restoreContext();
  }
  cs_eventNewMin(vars, 0, change, vars);
  cs_eventConflict(vars, 0, conflict, vars);
  EXPECT_EQ(nbAttached(vars[0]), 6);
}

TEST_F(Event, ConflictHearsOfFailuresThatItStandsBefore)
{
  // The array of a watcher must outlive it, so these have arrays of their own.
  CSint *refusing[] = {vars[1]}, *last[] = {vars[2]};
  auto no = [](CSint*, int, int, CSint**, int, void*) { return 0; };
  cs_saveContext();
  cs_eventConflict(vars, 3, conflict, vars); // older than the constraint that fails: never met
  cs_eventNewMin(refusing, 1, no, nullptr);
  EXPECT_FALSE(cs_GE(vars[1], 3));
  EXPECT_EQ(told(), "");
  cs_restoreAndSaveContext();
  // The list in which a listener was met first is that of vars[2]; the change that fails is that of vars[1].
  cs_eventNewMin(refusing, 1, no, nullptr);
  ASSERT_TRUE(cs_Le(vars[2], vars[1]));
  cs_eventConflict(vars, 3, conflict, vars);
  cs_eventConflict(last, 1, conflict, last);
  EXPECT_FALSE(cs_GE(vars[2], 2));
  EXPECT_EQ(told(), "conflict[1] in list 0: 4 2, conflict[1] in list 2: 4 2");
  cs_restoreContext();
}

TEST_F(Event, NestedCallsComeBackToTheOuterName)
{
  CSint* inner[] = {vars[1]};
  std::string names;
  bool nested = false;
  auto note = [&] { names += std::string(rcsGetEventCI()->_function) + ";"; };
  onCall = [&] {
    note();
    if (std::exchange(nested, true))
      return;
    EXPECT_TRUE(cs_eventKnown(inner, 1, known, inner));
    note();
  };
  cs_EQ(vars[1], 5);
  cs_eventNewMin(vars, 1, change, vars);
  cs_GE(vars[0], 1);
  EXPECT_EQ(names, "cs_eventNewMin;cs_eventKnown;cs_eventNewMin;");
  EXPECT_EQ(rcsGetEventCI(), nullptr);
}

TEST_F(Event, CallbacksMaySearch)
{
  static int nbSolutions, cheapest;
  static CSint* inner[] = {nullptr, nullptr};
  inner[0] = makeVar("0..3"), inner[1] = makeVar("0..3");
  ASSERT_TRUE(cs_Lt(inner[0], inner[1]) && cs_Lt(vars[0], vars[1]) && cs_Neq(vars[1], vars[2]) && cs_NEQ(vars[2], 4));
  auto outer = [&] {
    nbSolutions = 0;
    cs_findAll(vars, 3, cs_findFreeVar, [](CSint**, int) { nbSolutions++; });
    return nbSolutions;
  };
  const int expected = outer();
  bool (*const searches[])() = {
      [] {
        auto note = [](CSint**, int, CSint* cost) { cheapest = cs_getMin(cost); };
        return cs_minimize(inner, 2, cs_findFreeVar, inner[1], note) && cheapest == 1;
      },
      [] {
        ValueSelector* selectors[] = {&rcsVSMaxToMin, &rcsVSLowerAndUpper};
        auto nine = [](void*) { return 9; };
        return cs_searchValueSelectorRestartNG(inner, selectors, 2, firstFree, nine, nullptr, 0, nullptr, nullptr) &&
               cs_getValue(inner[0]) == 2;
      },
  };
  watchAll();
  size_t turn = 0;
  Snapshot before({inner[0], inner[1]});
  onCall = [&] {
    int label = cs_saveContext();
    EXPECT_TRUE(searches[turn++ % std::size(searches)]()) << turn;
    cs_restoreContextUntil(label);
    EXPECT_EQ(before.changesOfVars(), "");
  };
  EXPECT_EQ(outer(), expected);
  EXPECT_GT(turn, 900u);
}

TEST_F(Event, AProfilerCountsTheCallsAndWhatTheyNarrow)
{
  const char* place;
  cs_setProfilerLocator(
      "word", [](void* extra) { return *static_cast<const char**>(extra); }, &place);
  place = "posted";
  watchAll();
  Profiler* profiler = cs_createProfiler(CS_PROFILER_CONSTRAINTS);
  cs_enableProfiler(profiler);
  place = "inside";
  onCall = [&] {
    onCall = nullptr;
    EXPECT_TRUE(cs_NEQ(vars[1], 5));
    EXPECT_TRUE(cs_LE(vars[2], 9)); // nothing to do
    EXPECT_FALSE(cs_EQ(vars[2], 12));
  };
  EXPECT_TRUE(cs_GE(vars[0], 1)); // and the queued hole in vars[1]
  answer = 0;
  EXPECT_FALSE(cs_EQ(vars[0], 9)); // told to those in front of the new minimum
  const std::map<std::string, std::string> expected = {{"cs_EQ inside", "1 1"}, {"cs_NEQ inside", "1 0"},
      {"cs_eventAllKnown posted", "2 0"}, {"cs_eventKnown posted", "2 0"}, {"cs_eventNewMin posted", "3 1"},
      {"cs_eventNewMax posted", "3 0; 3 0"}}; // the second is that of holes
  EXPECT_EQ(reportOf(profiler).rows, expected);
  cs_disableProfiler(profiler);
}
