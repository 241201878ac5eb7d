/*
 * The narrowing routines: what is written, what is changed, and which event is sent.
 */
#include "spy.h"

using namespace kit;

using Narrowing = SolverTest;

// The inner steps, for one who writes the trail himself.
static int raise(CSint* v, int value)
{
  return rcsSaveCSint(v, NewMin, v->_min, v->_nbElements) && _rcsSetMin(v, value);
}

static int lower(CSint* v, int value)
{
  return rcsSaveCSint(v, NewMax, v->_max, v->_nbElements) && _rcsSetMax(v, value);
}

TEST_F(Narrowing, AnswerDomainAndEvents)
{
  const struct
  {
    int (*update)(CSint*, int);
    const char* domain;
    int value;
    const char* outcome;
  } rows[] = {
      {rcsSetMin, "{0..9}", 10, "0 {0..9} | "},
      {rcsSetMin, "{0..9}", 4, "1 {4..9} | v NewMin 0->4"},
      {rcsSetMin, "{0..9}", 9, "1 9 | v NewMinEq 0->9"},
      {rcsSetMin, "{0, 1, 5, 9}", 2, "1 {5, 9} | v NewMin 0->5"},
      {raise, "{0, 1, 5, 9}", 6, "1 9 | v NewMinEq 0->9"},
      {rcsSetMax, "{0..9}", -1, "0 {0..9} | "},
      {rcsSetMax, "{0..9}", 4, "1 {0..4} | v NewMax 9->4"},
      {rcsSetMax, "{0..9}", 0, "1 0 | v NewMaxEq 9->0"},
      {rcsSetMax, "{0, 4, 8, 9}", 7, "1 {0, 4} | v NewMax 9->4"},
      {lower, "{0, 4, 8, 9}", 3, "1 0 | v NewMaxEq 9->0"},
      // Into another word of the set, out of one that has nothing left, and over a whole one.
      {rcsSetMin, "{0, 60, 70, 130, 199}", 65, "1 {70, 130, 199} | v NewMin 0->70"},
      {rcsSetMin, "{0, 60, 70, 130, 199}", 61, "1 {70, 130, 199} | v NewMin 0->70"},
      {rcsSetMin, "{0, 60, 70, 130, 199}", 131, "1 199 | v NewMinEq 0->199"},
      {rcsSetMax, "{0, 60, 70, 130, 199}", 127, "1 {0, 60, 70} | v NewMax 199->70"},
      {rcsSetMax, "{0, 60, 70, 130, 199}", 192, "1 {0, 60, 70, 130} | v NewMax 199->130"},
      {rcsSetMax, "{0, 60, 70, 130, 199}", 59, "1 0 | v NewMaxEq 199->0"},
      {rcsRemoveValue, "{0, 70, 130, 199}", 0, "1 {70, 130, 199} | v NewMin 0->70"},
      {rcsRemoveValue, "{0, 70, 130, 199}", 199, "1 {0, 70, 130} | v NewMax 199->130"},
      {rcsSetValue, "{0..9}", 10, "0 {0..9} | "},
      {rcsSetValue, "{0..9}", 9, "1 9 | v NewMinEq 0->9"},
      {rcsSetValue, "{0..9}", 0, "1 0 | v NewMaxEq 9->0"},
      {rcsSetValue, "{0..9}", 4, "1 4 | v Eq 0..9->4"},
      {rcsSetValue, "{0, 4, 9}", 5, "0 {0, 4, 9} | "},
      {rcsRemoveValue, "{0..9}", 4, "1 {0..3, 5..9} | v Neq 4"},
      {rcsRemoveValue, "{0..9}", 0, "1 {1..9} | v NewMin 0->1"},
      {rcsRemoveValue, "{0..9}", 9, "1 {0..8} | v NewMax 9->8"},
      {rcsRemoveValue, "{0, 9}", 9, "1 0 | v NewMaxEq 9->0"},
      {rcsRemoveValue, "{0, 9}", 0, "1 9 | v NewMinEq 0->9"},
      {rcsRemoveValue, "{0, 5, 9}", 0, "1 {5, 9} | v NewMin 0->5"},
      {rcsRemoveValue, "7", 7, "0 7 | "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row " << &row - rows);
    CSint* v = makeVar(row.domain);
    cs_saveContext();
    Spy spy;
    spy.watch(v, "v");
    int result = row.update(v, row.value);
    EXPECT_EQ(std::to_string(result) + " " + textOf(v) + " | " + spy.log(), row.outcome);
    EXPECT_EQ(v->_nbElements, int(valuesOf(v).size()));
    cs_restoreContext();
    EXPECT_EQ(textOf(v), row.domain);
    EXPECT_EQ(v->_nbElements, int(valuesOf(v).size()));
  }
}

// What nobody was there to hear counts as told, so that the first event starts from there.
TEST_F(Narrowing, AnEventSentByHand)
{
  auto raiseByHand = [](CSint* v, int32_t value) {
    v->_nbElements -= value - v->_min;
    v->_min = value;
    return rcsDoPropagation(v, NewMin, value);
  };
  CSint* v = cs_createCSint(0, 9);
  EXPECT_TRUE(rcsSetMax(v, 8));
  EXPECT_EQ(v->_propMax, 8);
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

TEST_F(Narrowing, WritesOneRecordForEachChangeAndNoneWithout)
{
  CSint *v = cs_createCSint(0, 9), *seven = CSINT(7);
  EXPECT_TRUE(rcsSetMin(v, 0) && rcsSetMax(v, 9) && rcsRemoveValue(v, 12) && rcsSetValue(seven, 7));
  EXPECT_FALSE(rcsSetMax(v, -1) || rcsSetValue(v, 12) || rcsSetValue(seven, 6));
  EXPECT_TRUE(rcsSetMin(v, 2) && rcsRemoveValue(v, 5) && rcsRemoveValue(v, 5) && rcsRemoveValue(seven, 6));
  EXPECT_TRUE(rcsSetValue(v, 4) && rcsSetValue(v, 4)); // one for each bound
  int nbRecords = 0;
  while (_rcsPopEvent())
    nbRecords++;
  EXPECT_EQ(nbRecords, 4);
}

TEST_F(Narrowing, TheFirstInnerRemovalMakesTheSetAndARestoreKeepsIt)
{
  CSint* v = cs_createCSint(0, 9);
  cs_GE(v, 2);
  EXPECT_TRUE(rcsRemoveValue(v, 2));
  EXPECT_EQ(v->_domain, nullptr);
  cs_saveContext();
  EXPECT_TRUE(rcsRemoveValue(v, 5));
  Domain* set = v->_domain;
  ASSERT_NE(set, nullptr);
  // Over the range at creation, so that it serves whatever a restore brings back.
  EXPECT_TRUE(set->_low == 0 && set->_high == 9);
  cs_restoreContext();
  EXPECT_EQ(v->_domain, set);
  EXPECT_EQ(textOf(v), "{3..9}");
}

TEST_F(Narrowing, AWideRangeWrapsItsCountOnly)
{
  CSint *v = cs_createCSint(INT32_MIN, INT32_MAX), *w = cs_createCSint(INT32_MIN, INT32_MAX);
  EXPECT_TRUE(rcsSetMin(v, -5) && rcsSetMax(v, 5));
  EXPECT_EQ(v->_nbElements, 11);
  EXPECT_TRUE(rcsRemoveValue(w, INT32_MIN) && rcsRemoveValue(w, INT32_MAX));
  EXPECT_EQ(textOf(w), "{-2147483647..2147483646}");
}

TEST_F(Narrowing, PrivateVariables)
{
  CSint v;
  _rcsIntInit(&v, 0, 4);
  EXPECT_TRUE(_rcsRemoveValue(&v, 7) && _rcsRemoveValue(&v, 0) && _rcsRemoveValue(&v, 4));
  EXPECT_EQ(v._domain, nullptr);
  EXPECT_TRUE(_rcsRemoveValue(&v, 2) && _rcsRemoveValue(&v, 2));
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
  EXPECT_EQ(textOf(a) + textOf(b), "{2, 3, 6..8}{0..3, 6..8}");
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
  // An outer restore puts an older count back over accepted bounds, which meet where no step behind them is left.
  CSint* w = makeVar("{2147483640..2147483645, 2147483647}");
  cs_saveContext();
  rcsRemoveValue(w, 2147483641);
  cs_saveContext();
  rcsSetValue(w, 2147483647);
  cs_acceptContext();
  cs_restoreContext();
  EXPECT_DEATH(rcsRemoveValue(w, 2147483647), "v->_min < value && value <= v->_max");
}
