/*
 * Memory over many rounds and in long searches.
 */
#include "heapWatch.h"
#include "snapshot.h"
#include "solver.h"

#include <malloc.h>
#include <sstream>

using namespace kit;

static int nbFound;

static void countSolution(CSint**, int) { nbFound++; }

/// A small problem that uses all that there is: names, arrays, holes, contexts, a failing and a succeeding search.
static std::string solveOnce()
{
  std::ostringstream story;
  cs_init();
  CSint** row = cs_createCSintArray(5, 1, 6);
  CSint* last = cs_createNamedCSint(0, 9, "last");
  const int odd[] = {1, 3, 5, 7};
  Vars vars(row, row + 5);
  vars.push_back(last);
  vars.push_back(cs_createCSintFromDomain(odd, 4));
  story << (cs_AllNeq(row, 5) && cs_Lt(row[0], row[1]) && cs_Le(row[1], last) && cs_Eq(row[2], vars[6]) &&
            cs_Neq(row[3], last) && cs_NEQ(last, 4));
  int label = cs_saveContext();
  nbFound = 0;
  story << cs_findAll(row, 5, cs_findFreeVarNbElements, countSolution) << " " << nbFound << " " << counters();
  cs_EQ(row[0], 4);
  story << cs_search(vars.data(), int(vars.size()), cs_findFreeVar) << " " << counters();
  for (const CSint* v : vars)
    story << " " << textOf(v);
  if (nbFound % 2)
    cs_restoreContextUntil(label);
  cs_enableProfiler(cs_createProfiler(CS_PROFILER_CONSTRAINTS));
  story << " " << cs_GE(last, 5) << textOf(last) << cs_getErr();
  cs_end();
  return story.str();
}

TEST(Resources, TenThousandRoundsLeaveMemoryFlat)
{
  std::string first = solveOnce();
  size_t live = heap::live();
  size_t inUse = 0;
  for (int round = 2; round <= 10000; round++) {
    ASSERT_EQ(solveOnce(), first) << "round " << round;
    ASSERT_EQ(heap::live(), live) << "round " << round;
    if (round == 100)
      inUse = mallinfo2().uordblks;
  }
  // What the C library allocates for itself is in this figure too.
  EXPECT_LT(mallinfo2().uordblks, inUse + 4096);
}

using LongSearch = SolverTest;

TEST_F(LongSearch, AllocatesNothingInTheSteadyState)
{
  Vars x;
  for (int i = 0; i < 7; i++)
    x.push_back(cs_createCSint(1, 9));
  ASSERT_TRUE(cs_AllNeq(x.data(), 7) && cs_Lt(x[0], x[1]) && cs_NEQ(x[2], 5));
  auto run = [&] {
    nbFound = 0;
    EXPECT_TRUE(cs_findAll(x.data(), 7, cs_findFreeVar, countSolution));
    return std::to_string(nbFound) + " solutions, " + counters();
  };
  Snapshot before(x);
  std::string first = run();
  EXPECT_EQ(before.changesOfVars(), "");
  EXPECT_GE(cs_getNbChoicePoints(), 100000);
  uint64_t asked = heap::asked();
  EXPECT_EQ(run(), first);
  EXPECT_EQ(heap::asked(), asked);
  // The selector driver, with a client that wants them all.
  std::vector<ValueSelector*> selectors(7, cs_getValueSelector(CS_MIN_TO_MAX));
  SearchNotify* all = cs_createSearchNotify(nullptr);
  cs_searchNotifySetFound(all, [](int, CSint**, int, void*) {
    nbFound++;
    return 0;
  });
  int found = std::exchange(nbFound, 0), choicePoints = cs_getNbChoicePoints();
  asked = heap::asked();
  EXPECT_FALSE(cs_searchValueSelectorFail(x.data(), selectors.data(), 7, firstFree, 0, all));
  EXPECT_EQ(nbFound, found);
  EXPECT_EQ(cs_getNbChoicePoints(), choicePoints);
  EXPECT_EQ(heap::asked(), asked);
  EXPECT_EQ(before.changesOfVars(), "");
  cs_freeSearchNotify(all);
}

TEST_F(LongSearch, TheSetsOfTriedValuesAreFreedOnEachWayOut)
{
  Vars x = {makeVar("{0..5}"), makeVar("{0..5}"), makeVar("{0..5}")};
  cs_Neq(x[0], x[1]), cs_Neq(x[1], x[2]), cs_Neq(x[0], x[2]);
  cs_NEQ(x[0], 3), cs_NEQ(x[1], 3), cs_NEQ(x[2], 3);
  static int cancelAt;
  auto rate = [](int, int value) {
    if (cs_getNbChoicePoints() == cancelAt)
      cs_cancelSearch();
    return value == 1 ? INT32_MAX : 0;
  };
  auto search = [&](int n, int fails = 0, int at = -1) {
    int label = cs_saveContext();
    cancelAt = at;
    size_t live = heap::live();
    int found = cs_searchCriteriaFail(x.data(), n, firstFree, rate, fails);
    EXPECT_EQ(heap::live(), live);
    cs_restoreContextUntil(label);
    return found;
  };
  EXPECT_TRUE(search(3));
  cs_LE(x[0], 1), cs_LE(x[1], 1), cs_LE(x[2], 1);
  EXPECT_FALSE(search(3));
  EXPECT_FALSE(search(3, 1));
  EXPECT_FALSE(search(2, 0, 1));
}
