/*
 * The plain drivers and the selectors, in what the random sequences don't look at: a cancel, values that go before they
 * are tried, counts below 1, the ends of 32 bits.
 */
#include "spy.h"

using namespace kit;

using Search = SolverTest;

TEST_F(Search, AnEmptyProblemIsSolved)
{
  CSint* four = makeVar("4");
  EXPECT_TRUE(cs_search(&four, 1, cs_findFreeVar));
  EXPECT_TRUE(cs_search(&four, 0, cs_findFreeVarNbElements));
  EXPECT_TRUE(cs_search(nullptr, -1, cs_findFreeVar));
  EXPECT_EQ(counters(), "0 choices 0 fails");
}

TEST_F(Search, ANegativeLimitIsNoneAndTheReport)
{
  Vars v = pigeons();
  EXPECT_FALSE(cs_searchFail(v.data(), 3, cs_findFreeVar, -1));
  testing::internal::CaptureStdout();
  cs_printStats();
  // Each value of the first fails by itself, and the holes between them aren't tried.
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nNb Fails = 2\nNb Choice Points = 2\nHeap Size = 1024\n");
}

TEST_F(Search, ACancelIsSeenAtTheNextChoicePoint)
{
  static int nbFound;
  nbFound = 0;
  Vars v = {makeVar("{0, 1}"), makeVar("{0, 1}"), makeVar("{0, 1}")};
  EXPECT_TRUE(cs_findAll(v.data(), 3, cs_findFreeVar, [](CSint** vars, int n) {
    EXPECT_EQ(valuesOf(vars, n), Values({0, 0, 0}));
    nbFound++;
    cs_cancelSearch();
  }));
  EXPECT_EQ(nbFound, 1);
  // The level that sees the flag leaves its context; the two above it take that for a failure, each at its last value
  // or at its next, and leave one in their turn.
  EXPECT_EQ(counters(), "6 choices 0 fails");
  EXPECT_EQ(contextDepth(), 3);
  cs_restoreAll();
  // The request is cleared on entry.
  EXPECT_TRUE(cs_search(v.data(), 3, cs_findFreeVar));
  cs_restoreAll();
}

TEST_F(Search, ACancelAtTheLastValuePopsOneContextTooFew)
{
  // The parent stands at its last value when the child sees the flag: it accepts the child's context in place of its
  // own, and its value stays in force.
  Vars v = {makeVar("{0, 1}"), makeVar("{0, 1}")};
  static CSint* parent;
  parent = v[0];
  EXPECT_FALSE(cs_search(v.data(), 2, [](CSint** vars, int n) {
    CSint* next = cs_findFreeVar(vars, n);
    if (next != parent)
      cs_cancelSearch();
    return next;
  }));
  EXPECT_EQ(contextDepth(), 2);
  cs_restoreAll();
  EXPECT_EQ(textOf(v[0]), "{0, 1}");
}

TEST_F(Search, VariablesAsArguments)
{
  CSint *x = makeVar("{0, 2}"), *y = makeVar("{1, 2}"), *z = makeVar("{4, 5}");
  EXPECT_TRUE(cs_Vsearch(3, x, y, z, cs_findFreeVar));
  EXPECT_EQ(textOf(x) + textOf(y) + textOf(z), "014");
  cs_restoreAll();
  EXPECT_TRUE(cs_Vsearch(1, x, cs_findFreeVar));
  EXPECT_EQ(textOf(x) + textOf(y), "0{1, 2}");
  cs_restoreAll();
  // A count below 1 reads the first variable and the selector all the same.
  EXPECT_TRUE(cs_Vsearch(0, x, cs_findFreeVar));
  EXPECT_TRUE(cs_isFree(x));
}

TEST_F(Search, TheValuesAreThoseOfTheLevelsEntry)
{
  // A value that went before it was tried costs a choice point and a failure.
  CSint* v = makeVar("{0..2}");
  Spy spy;
  spy.watch(v, "v");
  spy.onCall = [](const Spy::Call&) { return 0; };
  EXPECT_FALSE(cs_search(&v, 1, cs_findFreeVar));
  EXPECT_EQ(counters(), "3 choices 3 fails");
}

TEST_F(Search, TheValuesAtTheEndsOf32Bits)
{
  Vars v = {makeVar("{2147483646, 2147483647}"), makeVar("{-2147483648, -2147483647}")};
  EXPECT_TRUE(cs_findAll(v.data(), 2, cs_findFreeVar, [](CSint**, int) {}));
  EXPECT_EQ(counters(), "6 choices 0 fails");
}

TEST_F(Search, Selectors)
{
  CSint* v[] = {makeVar("7"), makeVar("{0..4}"), makeVar("{5, 9}"), makeVar("{1, 2}"), makeVar("{0..2}")};
  EXPECT_EQ(cs_findFreeVar(v, 5), v[1]);
  EXPECT_EQ(cs_findFreeVarNbElements(v, 5), v[2]);
  EXPECT_EQ(cs_findFreeVarNbElementsMin(v, 5), v[3]);
  EXPECT_EQ(cs_findFreeVarNbConstraints(v, 5), v[1]);
  cs_saveContext();
  cs_Le(v[4], v[2]);
  cs_Le(v[4], v[3]);
  cs_restoreContext();
  // Attachments ever made count, not those in place.
  EXPECT_EQ(cs_findFreeVarNbConstraints(v, 5), v[4]);
  for (CSfindFreeVar select :
      {cs_findFreeVar, cs_findFreeVarNbElements, cs_findFreeVarNbElementsMin, cs_findFreeVarNbConstraints})
    for (int n : {1, 0, -1})
      EXPECT_EQ(select(v, n), nullptr);
  // The worst count of all is never taken, unless the minimum decides.
  CSint* widest = cs_createCSint(1, INT32_MAX);
  EXPECT_EQ(cs_findFreeVarNbElements(&widest, 1), nullptr);
  EXPECT_EQ(cs_findFreeVarNbElementsMin(&widest, 1), widest);
}
