/*
 * The narrowing routines: what is written, what is changed, and which event is sent.
 */
#include "spy.h"

using namespace kit;

class Narrowing : public SolverTest
{
protected:
  /// Runs one update on a variable of that domain inside a context; answers "result domain | events", and checks that
  /// the restore brings the domain back.
  std::string narrow(const std::string& domain, int (*update)(CSint*, int), int value)
  {
    CSint* v = makeVar(domain);
    int label = cs_saveContext();
    Spy spy;
    spy.watch(v, "v");
    int result = update(v, value);
    std::string text = std::to_string(result) + " " + textOf(v) + " | " + spy.log();
    EXPECT_EQ(v->_nbElements, int(valuesOf(v).size()));
    cs_restoreContextUntil(label);
    EXPECT_EQ(textOf(v), domain);
    EXPECT_EQ(v->_nbElements, int(valuesOf(v).size()));
    return text;
  }
};

TEST_F(Narrowing, Minimum)
{
  EXPECT_EQ(narrow("{0..9}", rcsSetMin, 10), "0 {0..9} | ");
  EXPECT_EQ(narrow("{0..9}", rcsSetMin, 0), "1 {0..9} | ");
  EXPECT_EQ(narrow("{0..9}", rcsSetMin, 4), "1 {4..9} | v NewMin 0->4");
  EXPECT_EQ(narrow("{0..9}", rcsSetMin, 9), "1 9 | v NewMinEq 0->9");
  EXPECT_EQ(narrow("{0, 1, 5, 9}", rcsSetMin, 2), "1 {5, 9} | v NewMin 0->5");
  EXPECT_EQ(narrow("{0, 1, 5, 9}", rcsSetMin, 6), "1 9 | v NewMinEq 0->9");
}

TEST_F(Narrowing, Maximum)
{
  EXPECT_EQ(narrow("{0..9}", rcsSetMax, -1), "0 {0..9} | ");
  EXPECT_EQ(narrow("{0..9}", rcsSetMax, 9), "1 {0..9} | ");
  EXPECT_EQ(narrow("{0..9}", rcsSetMax, 4), "1 {0..4} | v NewMax 9->4");
  EXPECT_EQ(narrow("{0..9}", rcsSetMax, 0), "1 0 | v NewMaxEq 9->0");
  EXPECT_EQ(narrow("{0, 4, 8, 9}", rcsSetMax, 7), "1 {0, 4} | v NewMax 9->4");
  EXPECT_EQ(narrow("{0, 4, 8, 9}", rcsSetMax, 3), "1 0 | v NewMaxEq 9->0");
}

// The inner steps, for one who writes the trail himself.
TEST_F(Narrowing, InnerSteps)
{
  auto raise = [](CSint* v, int value) -> int {
    return rcsSaveCSint(v, NewMin, v->_min, v->_nbElements) && _rcsSetMin(v, value);
  };
  auto lower = [](CSint* v, int value) -> int {
    return rcsSaveCSint(v, NewMax, v->_max, v->_nbElements) && _rcsSetMax(v, value);
  };
  EXPECT_EQ(narrow("{0..9}", raise, 4), "1 {4..9} | v NewMin 0->4");
  EXPECT_EQ(narrow("{0, 1, 5, 9}", raise, 6), "1 9 | v NewMinEq 0->9");
  EXPECT_EQ(narrow("{0..9}", lower, 4), "1 {0..4} | v NewMax 9->4");
  EXPECT_EQ(narrow("{0, 4, 8, 9}", lower, 3), "1 0 | v NewMaxEq 9->0");
}

static int raiseByHand(CSint* v, int32_t value)
{
  v->_nbElements -= value - v->_min;
  v->_min = value;
  return rcsDoPropagation(v, NewMin, value);
}

// What nobody was there to hear counts as told, so that the first event starts from there.
TEST_F(Narrowing, AnEventSentByHand)
{
  CSint* v = cs_createCSint(0, 9);
  EXPECT_TRUE(raiseByHand(v, 2));
  Spy spy;
  spy.watch(v, "v").failAt = 2;
  EXPECT_TRUE(raiseByHand(v, 5));
  EXPECT_FALSE(raiseByHand(v, 7));
  EXPECT_EQ(spy.log(), "v NewMin 2->5, v NewMin 5->7");
  _rcsRemoveConstraint(v);
  _rcsRemoveConstraint(v); // finds none
  EXPECT_EQ(spy.nbDestroyed, 1);
}

TEST_F(Narrowing, Value)
{
  EXPECT_EQ(narrow("{0..9}", rcsSetValue, 10), "0 {0..9} | ");
  EXPECT_EQ(narrow("{0..9}", rcsSetValue, 9), "1 9 | v NewMinEq 0->9");
  EXPECT_EQ(narrow("{0..9}", rcsSetValue, 0), "1 0 | v NewMaxEq 9->0");
  EXPECT_EQ(narrow("{0..9}", rcsSetValue, 4), "1 4 | v Eq 0..9->4");
  EXPECT_EQ(narrow("{0, 4, 9}", rcsSetValue, 5), "0 {0, 4, 9} | ");
  EXPECT_EQ(narrow("7", rcsSetValue, 7), "1 7 | ");
  EXPECT_EQ(narrow("7", rcsSetValue, 6), "0 7 | ");
}

TEST_F(Narrowing, Removal)
{
  EXPECT_EQ(narrow("{0..9}", rcsRemoveValue, 10), "1 {0..9} | ");
  EXPECT_EQ(narrow("{0..9}", rcsRemoveValue, 4), "1 {0..3, 5..9} | v Neq 4");
  EXPECT_EQ(narrow("{0..9}", rcsRemoveValue, 0), "1 {1..9} | v NewMin 0->1");
  EXPECT_EQ(narrow("{0..9}", rcsRemoveValue, 9), "1 {0..8} | v NewMax 9->8");
  EXPECT_EQ(narrow("{0, 9}", rcsRemoveValue, 9), "1 0 | v NewMaxEq 9->0");
  EXPECT_EQ(narrow("{0, 9}", rcsRemoveValue, 0), "1 9 | v NewMinEq 0->9");
  EXPECT_EQ(narrow("{0, 5, 9}", rcsRemoveValue, 0), "1 {5, 9} | v NewMin 0->5");
  EXPECT_EQ(narrow("{0, 5, 9}", rcsRemoveValue, 3), "1 {0, 5, 9} | ");
  EXPECT_EQ(narrow("7", rcsRemoveValue, 7), "0 7 | ");
  EXPECT_EQ(narrow("7", rcsRemoveValue, 6), "1 7 | ");
}

// Trail records are counted by what a restore of single steps would see: the capacity is no help, so count the pops.
static int trailHeight()
{
  int height = 0;
  while (_rcsPopEvent())
    height++;
  return height;
}

TEST_F(Narrowing, WritesOneRecordForEachChangeAndNoneWithout)
{
  CSint* v = cs_createCSint(0, 9);
  rcsSetMin(v, 0);
  rcsSetMax(v, -1);
  rcsSetValue(v, 12);
  rcsRemoveValue(v, 12);
  rcsSetMin(v, 2);      // 1
  rcsRemoveValue(v, 5); // 2
  rcsRemoveValue(v, 5);
  rcsSetValue(v, 4); // 3 and 4
  rcsSetValue(v, 4);
  EXPECT_EQ(trailHeight(), 4);
  cs_end();
  ended = true;
}

TEST_F(Narrowing, TheFirstInnerRemovalMakesTheSetAndARestoreKeepsIt)
{
  CSint* v = cs_createCSint(0, 9);
  cs_GE(v, 2);
  EXPECT_TRUE(rcsRemoveValue(v, 2));
  EXPECT_EQ(v->_domain, nullptr);
  cs_saveContext();
  EXPECT_TRUE(rcsRemoveValue(v, 5));
  ASSERT_NE(v->_domain, nullptr);
  // Over the range at creation, so that it serves whatever a restore brings back.
  EXPECT_EQ(v->_domain->_low, 0);
  EXPECT_EQ(v->_domain->_high, 9);
  Domain* set = v->_domain;
  cs_restoreContext();
  EXPECT_EQ(v->_domain, set);
  EXPECT_EQ(textOf(v), "{3..9}");
  EXPECT_TRUE(rcsSetMin(v, 6));
  EXPECT_EQ(v->_nbElements, 4);
}

TEST_F(Narrowing, WithoutListenersTheToldBoundsFollow)
{
  CSint* v = cs_createCSint(0, 9);
  rcsSetMin(v, 3);
  rcsSetMax(v, 7);
  EXPECT_EQ(v->_propMin, 3);
  EXPECT_EQ(v->_propMax, 7);
}

TEST_F(Narrowing, AWideRangeWrapsItsCountOnly)
{
  CSint* v = cs_createCSint(INT32_MIN, INT32_MAX);
  EXPECT_TRUE(rcsSetMin(v, -5));
  EXPECT_TRUE(rcsSetMax(v, 5));
  EXPECT_EQ(v->_nbElements, 11);
  CSint* w = cs_createCSint(INT32_MIN, INT32_MAX);
  EXPECT_TRUE(rcsRemoveValue(w, INT32_MIN));
  EXPECT_TRUE(rcsRemoveValue(w, INT32_MAX));
  EXPECT_EQ(w->_min, INT32_MIN + 1);
  EXPECT_EQ(w->_max, INT32_MAX - 1);
}

TEST_F(Narrowing, PrivateVariables)
{
  CSint v;
  _rcsIntInit(&v, 0, 4);
  EXPECT_TRUE(_rcsRemoveValue(&v, 7));
  EXPECT_TRUE(_rcsRemoveValue(&v, 0));
  EXPECT_TRUE(_rcsRemoveValue(&v, 4));
  EXPECT_EQ(v._domain, nullptr);
  EXPECT_TRUE(_rcsRemoveValue(&v, 2));
  EXPECT_TRUE(_rcsRemoveValue(&v, 2));
  EXPECT_EQ(textOf(&v), "{1, 3}");
  EXPECT_EQ(v._nbElements, 2);
  EXPECT_TRUE(_rcsRemoveValue(&v, 1));
  EXPECT_EQ(textOf(&v), "3");
  // Nothing stops the last value from going.
  EXPECT_TRUE(_rcsRemoveValue(&v, 3));
  EXPECT_EQ(v._nbElements, 0);
  EXPECT_GT(v._min, v._max);
  EXPECT_EQ(v._propMin, 0);
  _rcsIntDestroy(&v);
}

TEST_F(Narrowing, AndAgreesWithinTheFirstRange)
{
  CSint *a = makeVar("{2, 3, 5..9}"), *b = makeVar("{0..3, 6..8}");
  rcsSetMax(a, 8);
  EXPECT_TRUE(rcsAnd(a, b));
  EXPECT_EQ(textOf(a), "{2, 3, 6..8}");
  EXPECT_EQ(textOf(b), "{0..3, 6..8}");
  CSint *top = makeVar("{2147483640, 2147483647}"), *plain = cs_createCSint(2147483640, 2147483647);
  EXPECT_TRUE(rcsAnd(top, plain));
  EXPECT_EQ(textOf(plain), "{2147483640, 2147483647}");
}

TEST_F(Narrowing, ABrokenInvariantStops)
{
  CSint* v = cs_createCSint(0, 9);
  EXPECT_DEATH(_rcsSetMin(v, 0), "v->_min < value && value <= v->_max");
  EXPECT_DEATH(_rcsSetMax(v, 9), "v->_min <= value && value < v->_max");
  EXPECT_DEATH(_rcsFinalizeEvent(nullptr), "e != NULL");
}
