/*
 * The optimising driver and the drivers by rating: what they ask, in which order, and what is left on each way out.
 */
#include "snapshot.h"
#include "spy.h"

using namespace kit;

static std::string story;

static std::string told() { return std::exchange(story, ""); }

using Minimize = SolverTest;

static void noteCost(CSint**, int, CSint* cost) { story += textOf(cost) + " "; }

TEST_F(Minimize, EachRoundMustBeCheaperAndTheLastStays)
{
  CSint *x = makeVar("{0..3}"), *cost = cs_Sub(CSINT(5), x);
  EXPECT_TRUE(cs_minimize(&x, 1, cs_findFreeVar, cost, noteCost));
  EXPECT_EQ(told(), "5 4 3 2 ");
  // The limit alone fixes x before the last round, which has nothing to try. And its context is gone.
  EXPECT_EQ(counters(), "3 choices 0 fails");
  EXPECT_EQ(contextDepth(), 0);
  EXPECT_EQ(textOf(x), "3");
}

TEST_F(Minimize, TheLastRoundIsExhaustedAndItsLimitStays)
{
  // Three that differ pairwise need a maximum of 2; with two values left only search sees that.
  Vars v = {makeVar("{0..2}"), makeVar("{0..2}"), makeVar("{0..2}")};
  CSint* cost = makeVar("{0..9}");
  for (size_t i = 0; i < 3; i++)
    EXPECT_TRUE(cs_Neq(v[i], v[(i + 1) % 3]) && cs_Le(v[i], cost));
  EXPECT_TRUE(cs_minimize(v.data(), 3, cs_findFreeVar, cost, noteCost));
  // Not instantiated: the minimum counts.
  EXPECT_EQ(told(), "{2..9} ");
  EXPECT_EQ(counters(), "4 choices 2 fails");
  EXPECT_EQ(contextDepth(), 0);
  EXPECT_EQ(textOf(cost), "{0, 1}");
  // Without any solution the one context stays.
  EXPECT_FALSE(cs_minimize(v.data(), 3, cs_findFreeVar, cost, noteCost));
  EXPECT_EQ(told(), "");
  EXPECT_EQ(contextDepth(), 1);
  cs_restoreAll();
}

TEST_F(Minimize, ACancelEndsTheNextRound)
{
  CSint *x = makeVar("{0..3}"), *cost = cs_Sub(CSINT(5), x);
  EXPECT_TRUE(cs_minimize(&x, 1, cs_findFreeVar, cost, [](CSint** vars, int n, CSint* c) {
    noteCost(vars, n, c);
    cs_cancelSearch();
  }));
  EXPECT_EQ(told(), "5 ");
  EXPECT_EQ(counters(), "2 choices 0 fails");
  EXPECT_EQ(contextDepth(), 1);
  EXPECT_EQ(textOf(x), "{1..3}");
  cs_restoreAll();
}

TEST_F(Minimize, NothingIsCheaperThanTheSmallestInteger)
{
  CSint* cost = makeVar("{-2147483648..-2147483646}");
  EXPECT_TRUE(cs_minimize(&cost, 1, cs_findFreeVar, cost, noteCost));
  EXPECT_EQ(told(), "-2147483648 ");
}

using Rated = SolverTest;

static int ratings[10]; // of the values 0..9

static int noteRating(int position, int value)
{
  story += std::to_string(position) + ":" + std::to_string(value) + "@" + std::to_string(cs_getNbChoicePoints()) + " ";
  return ratings[value];
}

TEST_F(Rated, WhatIsLeftIsRatedBeforeEachTurn)
{
  CSint* v[2] = {makeVar("4"), makeVar("{1, 5, 9}")};
  Spy spy;
  spy.watch(v[1], "v");
  spy.onCall = [](const Spy::Call&) { return 0; };
  Snapshot before({v[1]});
  ratings[1] = 2;
  ratings[5] = ratings[9] = -1;
  EXPECT_FALSE(cs_searchCriteria(v, 2, firstFree, noteRating));
  // Of equal ratings the lower value; and all before the choice point is counted.
  EXPECT_EQ(told(), "1:1@0 1:5@0 1:9@0 1:1@1 1:9@1 1:1@2 ");
  EXPECT_EQ(spy.log(), "v Eq 1..9->5, v NewMinEq 1->9, v NewMaxEq 9->1");
  EXPECT_EQ(counters(), "3 choices 3 fails");
  // What has the worst rating is never tried, but its turns are spent.
  spy.clear();
  ratings[1] = ratings[9] = INT32_MAX;
  EXPECT_FALSE(cs_searchCriteria(v, 2, firstFree, noteRating));
  EXPECT_EQ(told(), "1:1@0 1:5@0 1:9@0 1:1@1 1:9@1 1:1@2 1:9@2 ");
  EXPECT_EQ(spy.log(), "v Eq 1..9->5");
  EXPECT_EQ(counters(), "3 choices 3 fails");
  EXPECT_EQ(contextDepth(), 0);
  EXPECT_EQ(before.changesOfVars(), "");
}

TEST_F(Rated, TheEndsOf32Bits)
{
  static int nbAsked, answer;
  CSint* x[] = {makeVar("{2147483645, 2147483647}"), makeVar("{-2147483648, -2147483646}")};
  Spy spy;
  spy.watch(x[0], "x").watch(x[1], "x");
  spy.onCall = [](const Spy::Call&) { return 0; };
  for (int rating : {0, INT32_MAX}) {
    answer = rating;
    nbAsked = 0;
    spy.clear();
    for (CSint*& each : x)
      EXPECT_FALSE(cs_searchCriteria(&each, 1, firstFree, [](int, int) { return nbAsked++, answer; }));
    EXPECT_EQ(nbAsked, rating == 0 ? 6 : 8);
    EXPECT_EQ(spy.calls.size(), rating == 0 ? 4u : 0u);
  }
}

TEST_F(Rated, AfterACancelBelowTheTurnsAreCountedAnew)
{
  CSint* v[] = {makeVar("{0..2}"), makeVar("{0..2}")};
  auto cancelBelow = [](CSint** vars, int n) {
    if (cs_isInstantiated(vars[0]))
      cs_cancelSearch();
    return firstFree(vars, n);
  };
  EXPECT_FALSE(cs_searchCriteria(v, 2, cancelBelow, [](int, int) { return 0; }));
  // The upper level pops the lower one's context and finds its own variable with the one value that is still in force:
  // no turn is left.
  EXPECT_EQ(counters(), "2 choices 0 fails");
  EXPECT_EQ(contextDepth(), 1);
  EXPECT_EQ(textOf(v[0]) + textOf(v[1]), "0{0..2}");
  cs_restoreAll();
}

// Rows without a free column are named again and again, as long as there is a free variable anywhere.
static int nextRow(CSint*** matrix, int rows, int cols)
{
  static int turn;
  int row = -1;
  for (int i = 0; i < rows; i++)
    if (firstFree(matrix[i], cols) >= 0)
      row = turn++ % rows;
  if (row < 0)
    turn = 0;
  story += "R" + std::to_string(row) + " ";
  return row;
}

static int column(int row, CSint** vars, int cols)
{
  int free = firstFree(vars, cols);
  story += "C" + std::to_string(row) + ":" + std::to_string(free) + " ";
  return free;
}

static int noteMatrixRating(int row, int col, int value)
{
  story += std::to_string(row) + "," + std::to_string(col) + "," + std::to_string(value) + " ";
  return ratings[value];
}

TEST_F(Rated, RowsColumnsAndValuesOfAMatrix)
{
  CSint *upper[] = {makeVar("5"), makeVar("7")}, *lower[] = {makeVar("{0..1}"), makeVar("{0..2}")};
  CSint** rows[] = {upper, lower};
  cs_Neq(lower[0], lower[1]);
  ratings[0] = ratings[2] = 1;
  ratings[1] = 0;
  EXPECT_TRUE(cs_searchMatrix(rows, 2, 2, nextRow, column, noteMatrixRating));
  EXPECT_EQ(told(), "R0 C0:-1 R1 C1:0 1,0,0 1,0,1 R0 C0:-1 R1 C1:1 1,1,0 1,1,2 R-1 ");
  EXPECT_EQ(counters(), "2 choices 0 fails");
  EXPECT_EQ(textOf(lower[0]) + textOf(lower[1]), "10");
  EXPECT_EQ(contextDepth(), 2);
  // Nothing is free: a solution at once, and no context.
  EXPECT_TRUE(cs_searchMatrix(rows, 2, 2, nextRow, column, noteMatrixRating));
  EXPECT_EQ(counters(), "0 choices 0 fails");
  EXPECT_EQ(contextDepth(), 2);
  // A row that has lost its last free column in the meantime is the end, too.
  told();
  EXPECT_TRUE(cs_searchMatrixFail(
      rows, 2, 2, [](CSint***, int, int) { return story.empty() ? 0 : -1; }, column, noteMatrixRating, 1));
  EXPECT_EQ(told(), "C0:-1 ");
  cs_restoreAll();
}
