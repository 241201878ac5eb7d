/*
 * The event watchers: what is told, when, and what an answer does.
 */
#include "snapshot.h"

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
    answer = 1;
    log.clear();
    onCall = nullptr;
  }

  static int write(const std::string& text)
  {
    EXPECT_NE(rcsGetEventCI(), nullptr);
    log += (log.empty() ? "" : ", ") + text;
    if (onCall)
      onCall();
    return answer;
  }

  static std::string at(int index) { return "[" + std::to_string(index) + "]"; }
  static int allKnown(CSint** array, int size, void* extra)
  {
    return write("all of " + std::to_string(size) + (extra == array ? "" : "?"));
  }
  static int known(int value, int index, CSint** array, int size, void* extra)
  {
    return write(at(index) + "=" + std::to_string(value) + (extra == array && size ? "" : "?"));
  }
  static int change(CSint* v, int index, int old, CSint** array, int, void* extra)
  {
    return write(at(index) + " from " + std::to_string(old) + (extra == array && v == array[index] ? "" : "?"));
  }
  static void conflict(CSint* v, int index, const ValueSelection* failing, CSint** array, int size, void* extra)
  {
    int position = 0;
    while (position < size && array[position] != v)
      position++;
    write("conflict" + at(position) + " in list " + std::to_string(index) + ": " + std::to_string(failing->method) +
          " " + std::to_string(failing->value) + (extra == array ? "" : "?"));
  }

  /// What was told since the last call.
  static std::string told() { return std::exchange(log, ""); }

  CSint* vars[3];
  static std::string log;
  static int answer;
  static std::function<void()> onCall;
};

std::string Event::log;
int Event::answer;
std::function<void()> Event::onCall;

TEST_F(Event, AllKnownCallsWhenTheLastOneIs)
{
  ASSERT_TRUE(cs_eventAllKnown(vars, 3, allKnown, vars));
  EXPECT_STREQ(vars[2]->_constraints->_constraint->_info->_function, "cs_eventAllKnown");
  EXPECT_EQ(vars[2]->_constraints->_index, 2);
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(vars[1], 5)); // the first is watched: nothing to do
  EXPECT_TRUE(cs_EQ(vars[0], 9)); // the last is watched now
  cs_LE(vars[2], 4);
  EXPECT_EQ(told(), "");
  cs_EQ(vars[2], 0);
  EXPECT_EQ(told(), "all of 3");
  cs_restoreAndSaveContext();
  cs_EQ(vars[2], 1); // still watched after the restore, and the first two free: the search finds them
  EXPECT_EQ(told(), "");
  cs_EQ(vars[0], 1);
  answer = 256; // a low byte of 0 is a veto
  EXPECT_FALSE(cs_EQ(vars[1], 9));
  EXPECT_EQ(told(), "all of 3");
  cs_restoreContext();
  answer = 255;
  ASSERT_TRUE(cs_Eq(vars[0], vars[1]));
  cs_EQ(vars[2], 0);
  EXPECT_TRUE(cs_EQ(vars[0], 0)); // both events are queued before the first is told
  EXPECT_EQ(told(), "all of 3, all of 3");
}

TEST_F(Event, AllKnownOfKnownOnesCallsAtOnceAndStaysNowhere)
{
  CSint* constants[] = {makeVar("1"), makeVar("2")};
  answer = 0;
  EXPECT_EQ(cs_eventAllKnown(constants, 2, allKnown, constants), 0);
  answer = 7;
  EXPECT_NE(cs_eventAllKnown(constants, 0, allKnown, constants), 0);
  EXPECT_NE(cs_eventAllKnown(nullptr, -1, allKnown, nullptr), 0);
  EXPECT_EQ(told(), "all of 2, all of 0, all of -1");
  EXPECT_EQ(nbAttached(constants[0]), 0);
  EXPECT_EQ(rcsGetEventCI(), nullptr);
}

TEST_F(Event, KnownReportsEachOne)
{
  cs_EQ(vars[1], 4);
  onCall = [&] { cs_EQ(vars[0], 9); }; // already attached then: told as an event within the call
  EXPECT_TRUE(cs_eventKnown(vars, 3, known, vars));
  EXPECT_EQ(told(), "[1]=4, [0]=9");
  onCall = nullptr;
  answer = 512;
  EXPECT_FALSE(cs_eventKnown(vars, 3, known, vars));
  EXPECT_EQ(told(), "[0]=9"); // the first refusal ends the posting, with the watcher attached
  EXPECT_EQ(nbAttached(vars[2]), 2);
  EXPECT_FALSE(cs_EQ(vars[2], 3));
  EXPECT_EQ(told(), "[2]=3");
  EXPECT_TRUE(cs_eventKnown(vars, 0, known, vars));
  EXPECT_EQ(nbAttached(vars[2]), 2);
}

TEST_F(Event, BoundsAndHolesAreToldEachToItsOwn)
{
  cs_eventNewMin(vars, 1, change, vars);
  EXPECT_STREQ(vars[0]->_constraints->_constraint->_info->_function, "cs_eventNewMin");
  cs_eventNewMax(vars + 1, 1, change, vars + 1);
  EXPECT_STREQ(vars[1]->_constraints->_constraint->_info->_function, "cs_eventNewMax");
  cs_eventNeq(vars + 2, 1, change, vars + 2);
  EXPECT_STREQ(vars[2]->_constraints->_constraint->_info->_function, "cs_eventNewMax");
  cs_eventNewMin(vars, 0, change, vars);
  EXPECT_EQ(nbAttached(vars[0]), 1);
  EXPECT_EQ(told(), "");
  auto raise = [](CSint* v) { return cs_GE(v, 3); };
  auto lower = [](CSint* v) { return cs_LE(v, 7); };
  auto hole = [](CSint* v) { return cs_NEQ(v, 5); };
  auto edge = [](CSint* v) { return cs_NEQ(v, v->_min); };
  auto fix = [](CSint* v) { return cs_EQ(v, 6); };
  std::string logs[3];
  for (int i = 0; i < 3; i++)
    for (auto step : {+raise, +lower, +hole, +edge, +fix}) {
      EXPECT_TRUE(step(vars[i]));
      logs[i] += told() + ";";
    }
  EXPECT_EQ(logs[0], "[0] from 0;;;[0] from 3;;"); // fixed between the bounds: neither a new minimum
  EXPECT_EQ(logs[1], ";[0] from 9;;;;");           // nor a new maximum
  EXPECT_EQ(logs[2], ";;[0] from 5;;;");           // removed at a bound: no hole
}

TEST_F(Event, FixedAtABoundIsANewBoundToo)
{
  cs_eventNewMin(vars, 2, change, vars);
  cs_eventNewMax(vars, 2, change, vars);
  cs_EQ(vars[0], 9);
  EXPECT_EQ(told(), "[0] from 0");
  cs_EQ(vars[1], 0);
  EXPECT_EQ(told(), "[1] from 9");
}

TEST_F(Event, ANoFailsTheBranchAndUpdatesAreQueued)
{
  CSint* other = makeVar("0..9");
  ASSERT_TRUE(cs_Le(other, vars[1]));
  cs_eventNewMin(vars, 3, change, vars);
  std::string inside;
  onCall = [&] {
    EXPECT_TRUE(cs_LE(vars[1], 4));
    inside = textOf(other); // not propagated yet
    EXPECT_FALSE(cs_GE(vars[1], 5));
  };
  EXPECT_TRUE(cs_GE(vars[0], 1));
  EXPECT_EQ(inside, "{0..9}");
  EXPECT_EQ(textOf(other), "{0..4}");
  told();
  onCall = nullptr;
  answer = 0;
  EXPECT_FALSE(cs_GE(vars[0], 2));
}

TEST_F(Event, ConflictHearsOfFailuresThatItStandsBefore)
{
  // The array of a watcher must outlive it, so the refusing ones have arrays of their own.
  CSint *refusing[] = {vars[1]}, *none[] = {vars[2]};
  auto no = [](CSint*, int, int, CSint**, int, void*) { return 0; };
  auto noValue = [](int, int, CSint**, int, void*) { return 0; };
  cs_saveContext();
  cs_eventConflict(vars, 3, conflict, vars); // older than the constraint that fails: never met
  cs_eventNewMin(refusing, 1, no, nullptr);
  EXPECT_FALSE(cs_GE(vars[1], 3));
  EXPECT_EQ(told(), "");
  cs_restoreAndSaveContext();
  cs_eventNewMin(refusing, 1, no, nullptr);
  cs_eventNewMax(refusing, 1, no, nullptr);
  cs_eventNeq(refusing, 1, no, nullptr);
  cs_eventKnown(refusing, 1, noValue, nullptr);
  cs_eventConflict(vars, 0, conflict, vars);
  EXPECT_EQ(nbAttached(vars[0]), 0);
  cs_eventConflict(vars, 3, conflict, vars);
  EXPECT_STREQ(vars[0]->_constraints->_constraint->_info->_function, "cs_eventConflict");
  for (auto step : {+[](CSint* v) { return cs_GE(v, 3); }, +[](CSint* v) { return cs_LE(v, 6); },
           +[](CSint* v) { return cs_NEQ(v, 5); }, +[](CSint* v) { return cs_EQ(v, 7); }}) {
    int label = cs_saveContext();
    EXPECT_FALSE(step(vars[1]));
    cs_restoreContextUntil(label);
  }
  EXPECT_EQ(told(), "conflict[1] in list 1: 4 3, conflict[1] in list 1: 2 6, conflict[1] in list 1: 1 5, "
                    "conflict[1] in list 1: 0 7");
  // The list in which the listener was met first is vars[2]'s; the change that fails is that of vars[1].
  ASSERT_TRUE(cs_Le(vars[2], vars[1]));
  cs_eventConflict(none, 1, conflict, none);
  EXPECT_FALSE(cs_GE(vars[2], 2));
  EXPECT_EQ(told(), "conflict[1] in list 0: 4 2, conflict[1] in list 2: 4 2");
  cs_restoreContext();
}

TEST_F(Event, NestedCallsComeBackToTheOuterName)
{
  CSint* inner[] = {vars[1]};
  std::string names;
  auto note = [&] { names += std::string(rcsGetEventCI()->_function) + ";"; };
  cs_eventKnown(inner, 1, known, inner);
  cs_eventNewMin(vars, 1, change, vars);
  onCall = [&] {
    note();
    if (names.size() > 20)
      return;
    int label = cs_saveContext();
    CSint* constant[] = {makeVar("1")};
    cs_eventKnown(constant, 1, known, constant);
    cs_restoreContextUntil(label);
    note();
  };
  cs_GE(vars[0], 1);
  EXPECT_EQ(names, "cs_eventNewMin;cs_eventKnown;cs_eventNewMin;");
  EXPECT_EQ(rcsGetEventCI(), nullptr);
}

TEST_F(Event, ACallbackMaySearch)
{
  CSint* inner[] = {makeVar("0..3"), makeVar("0..3")};
  ASSERT_TRUE(cs_Lt(inner[0], inner[1]));
  cs_eventKnown(vars, 3, known, vars);
  int found = 0;
  onCall = [&] {
    int label = cs_saveContext();
    found = cs_GE(inner[0], 2) && cs_search(inner, 2, cs_findFreeVar) ? cs_getValue(inner[1]) : -1;
    cs_restoreContextUntil(label);
  };
  EXPECT_TRUE(cs_EQ(vars[0], 1));
  EXPECT_EQ(textOf(inner[0]) + textOf(inner[1]), "{0..2}{1..3}");
  EXPECT_EQ(found, 3);
}
