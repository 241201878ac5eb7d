/*
 * The plain drivers: solutions, counters, contexts and domains on each way out; and the selectors.
 */
#include "snapshot.h"
#include "spy.h"

#include <cstring>

using namespace kit;

class Search : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    log.clear();
  }

  Vars make(const std::vector<std::string>& domains)
  {
    Vars vars;
    for (const std::string& domain : domains)
      vars.push_back(makeVar(domain));
    return vars;
  }

  static std::string counters()
  {
    return std::to_string(cs_getNbChoicePoints()) + " choices " + std::to_string(cs_getNbFails()) + " fails";
  }

  static void note(CSint** vars, int n)
  {
    for (int i = 0; i < n; i++)
      log += std::to_string(cs_getValue(vars[i]));
    log += " ";
  }

  static inline std::string log;
};

TEST_F(Search, ASolutionStaysWithOneContextForEachDecision)
{
  Vars v = make({"{0..2}", "{0..2}", "{0..2}"});
  EXPECT_TRUE(cs_AllNeq(v.data(), 3));
  EXPECT_TRUE(cs_Gt(v[0], v[1]));
  int label = cs_saveContext();
  EXPECT_TRUE(cs_search(v.data(), 3, cs_findFreeVar));
  EXPECT_EQ(textOf(v[0]) + textOf(v[1]) + textOf(v[2]), "102");
  // v[0] = 1 fixes the rest.
  EXPECT_EQ(counters(), "1 choices 0 fails");
  EXPECT_EQ(contextDepth(), label + 1);
  cs_restoreContextUntil(label);
  EXPECT_EQ(textOf(v[2]), "{0..2}");
}

TEST_F(Search, AnEmptyProblemIsSolved)
{
  Vars v = make({"4"});
  EXPECT_TRUE(cs_search(v.data(), 1, cs_findFreeVar));
  EXPECT_TRUE(cs_search(v.data(), 0, cs_findFreeVarNbElements));
  EXPECT_TRUE(cs_search(nullptr, -1, cs_findFreeVar));
  EXPECT_EQ(counters(), "0 choices 0 fails");
  EXPECT_EQ(contextDepth(), 0);
}

/// Three variables that must be pairwise different with two values: no span test sees it.
static Vars pigeons()
{
  Vars v;
  for (int i = 0; i < 3; i++)
    v.push_back(makeVar("{3, 7}"));
  cs_Neq(v[0], v[1]);
  cs_Neq(v[1], v[2]);
  cs_Neq(v[0], v[2]);
  return v;
}

TEST_F(Search, AnExhaustedSearchLeavesNoTrace)
{
  Vars v = pigeons();
  cs_search(v.data(), 0, cs_findFreeVar);
  Snapshot before(v);
  for (int round = 0; round < 2; round++) {
    EXPECT_FALSE(cs_search(v.data(), 3, cs_findFreeVar));
    // Each value of the first fails by itself, and the holes between them aren't tried.
    EXPECT_EQ(counters(), "2 choices 2 fails");
    EXPECT_EQ(contextDepth(), 0);
    EXPECT_EQ(before.changesOfVars(), "");
  }
  EXPECT_FALSE(cs_findAll(v.data(), 3, cs_findFreeVar, note));
  EXPECT_EQ(log, "");
  EXPECT_EQ(counters(), "2 choices 2 fails");
}

TEST_F(Search, TheLimitIsReachedAndNeverOverrun)
{
  for (int limit : {0, -1}) {
    Vars v = pigeons();
    EXPECT_FALSE(cs_searchFail(v.data(), 3, cs_findFreeVar, limit));
    EXPECT_EQ(counters(), "2 choices 2 fails");
  }
  Vars v = pigeons();
  CSint* first = makeVar("{0..4}");
  v.insert(v.begin(), first);
  int label = cs_saveContext();
  EXPECT_FALSE(cs_searchFail(v.data(), 4, cs_findFreeVar, 1));
  EXPECT_EQ(counters(), "2 choices 1 fails");
  // Both levels' contexts stay, with the domains as at the failure.
  EXPECT_EQ(contextDepth(), label + 2);
  EXPECT_EQ(textOf(first), "0");
  EXPECT_EQ(textOf(v[1]), "3");
  cs_restoreContextUntil(label);
  EXPECT_FALSE(cs_searchFail(v.data(), 4, cs_findFreeVar, 3));
  EXPECT_EQ(cs_getNbFails(), 3);
  EXPECT_EQ(textOf(first), "1");
  cs_restoreContextUntil(label);
  EXPECT_EQ(contextDepth(), 0);
}

TEST_F(Search, AllSolutionsInOrder)
{
  Vars v = make({"{0..2}", "{0, 2}", "{1..2}"});
  cs_AllNeq(v.data(), 3);
  Snapshot before(v);
  EXPECT_TRUE(cs_findAll(v.data(), 3, cs_findFreeVar, note));
  EXPECT_EQ(log, "021 102 201 ");
  EXPECT_EQ(before.changesOfVars(), "");
  EXPECT_EQ(contextDepth(), 0);
}

TEST_F(Search, ACancelIsSeenAtTheNextChoicePoint)
{
  Vars v = make({"{0..1}", "{0..1}", "{0..1}"});
  int label = cs_saveContext();
  EXPECT_TRUE(cs_findAll(v.data(), 3, cs_findFreeVar, [](CSint** vars, int n) {
    note(vars, n);
    cs_cancelSearch();
  }));
  EXPECT_EQ(log, "000 ");
  // The level that sees the flag leaves its context; the two above it take that for a failure, each at its last value
  // or at its next, and leave one in their turn.
  EXPECT_EQ(counters(), "6 choices 0 fails");
  EXPECT_EQ(contextDepth(), label + 3);
  cs_restoreContextUntil(label);
  // The request is cleared on entry.
  EXPECT_TRUE(cs_search(v.data(), 3, cs_findFreeVar));
  cs_restoreContextUntil(1);
}

TEST_F(Search, ACancelAtTheLastValuePopsOneContextTooFew)
{
  // The parent stands at its last value when the child sees the flag: it accepts the child's context in place of its
  // own, and its value stays in force.
  Vars v = make({"{0..1}", "{0..1}"});
  int label = cs_saveContext();
  static CSint* parent;
  parent = v[0];
  EXPECT_FALSE(cs_search(v.data(), 2, [](CSint** vars, int n) {
    CSint* next = cs_findFreeVar(vars, n);
    if (next != parent)
      cs_cancelSearch();
    return next;
  }));
  EXPECT_EQ(contextDepth(), label + 2);
  cs_restoreContextUntil(label);
  EXPECT_EQ(textOf(v[0]), "{0, 1}");
}

TEST_F(Search, VariablesAsArguments)
{
  Vars v = make({"{0..2}", "{1..2}", "{2..2}"});
  cs_AllNeq(v.data(), 3);
  EXPECT_TRUE(cs_Vsearch(3, v[0], v[1], v[2], cs_findFreeVar));
  EXPECT_EQ(textOf(v[0]) + textOf(v[1]), "01");
  cs_restoreAll();
  CSint* x = makeVar("{4..5}");
  EXPECT_TRUE(cs_Vsearch(1, x, cs_findFreeVar));
  EXPECT_EQ(textOf(x), "4");
  cs_restoreAll();
  // A count below 1 reads the first variable and the selector all the same.
  EXPECT_TRUE(cs_Vsearch(0, x, cs_findFreeVar));
  EXPECT_TRUE(cs_isFree(x));
}

TEST_F(Search, TheValuesAreThoseOfTheLevelsEntry)
{
  // A value that went before it was tried costs a choice point and a failure.
  Vars v = make({"{0..2}"});
  Spy spy;
  spy.watch(v[0], "v");
  spy.onCall = [](const Spy::Call&) { return 0; };
  EXPECT_FALSE(cs_search(v.data(), 2, cs_findFreeVar));
  EXPECT_EQ(counters(), "3 choices 3 fails");
}

TEST_F(Search, TheValuesAtTheEndsOf32Bits)
{
  Vars v = make({"{2147483646, 2147483647}", "{-2147483648, -2147483647}"});
  EXPECT_TRUE(cs_findAll(v.data(), 2, cs_findFreeVar, note));
  EXPECT_EQ(counters(), "6 choices 0 fails");
}

TEST_F(Search, Report)
{
  Vars v = pigeons();
  cs_search(v.data(), 3, cs_findFreeVar);
  testing::internal::CaptureStdout();
  cs_printStats();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nNb Fails = 2\nNb Choice Points = 2\nHeap Size = 1024\n");
}

TEST_F(Search, Selectors)
{
  Vars v = make({"7", "{0..4}", "{5, 9}", "{1, 2}", "{0..2}"});
  CSint** a = v.data();
  EXPECT_EQ(cs_findFreeVar(a, 5), v[1]);
  EXPECT_EQ(cs_findFreeVarNbElements(a, 5), v[2]);
  EXPECT_EQ(cs_findFreeVarNbElementsMin(a, 5), v[3]);
  EXPECT_EQ(cs_findFreeVarNbConstraints(a, 5), v[1]);
  cs_saveContext();
  cs_Le(v[4], v[2]);
  cs_Le(v[4], v[3]);
  cs_restoreContext();
  // Attachments ever made count, not those in place.
  EXPECT_EQ(cs_findFreeVarNbConstraints(a, 5), v[4]);
  for (CSfindFreeVar select :
      {cs_findFreeVar, cs_findFreeVarNbElements, cs_findFreeVarNbElementsMin, cs_findFreeVarNbConstraints}) {
    EXPECT_EQ(select(a, 1), nullptr);
    EXPECT_EQ(select(a, 0), nullptr);
    EXPECT_EQ(select(a, -1), nullptr);
  }
  // The worst count of all is never taken, unless the minimum decides.
  CSint* widest = cs_createCSint(1, INT32_MAX);
  EXPECT_EQ(cs_findFreeVarNbElements(&widest, 1), nullptr);
  EXPECT_EQ(cs_findFreeVarNbElementsMin(&widest, 1), widest);
}
