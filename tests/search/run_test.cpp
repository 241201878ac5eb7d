/*
 * Runs: how each driver's end is told, and what stays saved.
 */
#include "ku_run.h"
#include "solver.h"

#include <chrono>
#include <csignal>

using namespace kit;

static int cancelAt, calls; // the call of the selector at which to cancel; 0 for never
static void (*cancel)();

static int selectIndex(CSint** vars, int n)
{
  if (++calls == cancelAt)
    cancel();
  return firstFree(vars, n);
}

static CSint* select(CSint** vars, int n)
{
  int index = selectIndex(vars, n);
  return index < 0 ? nullptr : vars[index];
}

class Run : public SolverTest
{
protected:
  // Pigeons in holes: unsatisfiable where there are too few.
  void make(int pigeons, int holes)
  {
    x.clear();
    for (int i = 0; i < pigeons; i++) {
      x.push_back(cs_createCSint(1, holes));
      for (int j = 0; j < i; j++)
        cs_Neq(x[size_t(i)], x[size_t(j)]);
    }
    selectors.assign(x.size(), cs_getValueSelector(CS_MIN_TO_MAX));
    limit = 4;
  }

  using Driver = KuOutcome (*)(Run&, KuRun*);
  static constexpr int nbDrivers = 6;
  static const Driver drivers[nbDrivers];

  KuOutcome run(int driver, KuRun* r, int cancelAtCall = 0, void (*how)() = ku_cancel)
  {
    calls = 0;
    cancelAt = cancelAtCall;
    cancel = how;
    int depth = contextDepth();
    KuOutcome outcome = drivers[driver](*this, r);
    if (outcome == KU_SOLVED) {
      EXPECT_GT(contextDepth(), depth);
      cs_restoreContextUntil(r->label);
    }
    EXPECT_EQ(contextDepth(), depth) << driver;
    EXPECT_EQ(textOf(x[0]), "{1.." + std::to_string(x[0]->_initMax) + "}") << driver;
    return outcome;
  }

  int n() const { return int(x.size()); }

  Vars x;
  std::vector<ValueSelector*> selectors;
  int limit;
};

// The first four end at the first solution; the last two go on until there is no more.
const Run::Driver Run::drivers[] = {
    [](Run& t, KuRun* r) { return ku_search(r, t.x.data(), t.n(), select); },
    [](Run& t, KuRun* r) { return ku_searchCriteria(r, t.x.data(), t.n(), selectIndex, [](int, int) { return 0; }); },
    [](Run& t, KuRun* r) {
      return ku_searchValueSelector(r, t.x.data(), t.selectors.data(), t.n(), selectIndex, nullptr);
    },
    [](Run& t, KuRun* r) {
      auto growing = [](void* last) { return *static_cast<int*>(last) *= 2; };
      return ku_searchRestart(
          r, t.x.data(), t.selectors.data(), t.n(), selectIndex, growing, &t.limit, nullptr, nullptr);
    },
    [](Run& t, KuRun* r) { return ku_minimize(r, t.x.data(), t.n(), select, t.x[0], [](CSint**, int, CSint*) {}); },
    [](Run& t, KuRun* r) { return ku_findAll(r, t.x.data(), t.n(), select, [](CSint**, int) {}); },
};

TEST_F(Run, TellsEachWayOut)
{
  signal(SIGUSR1, [](int) { ku_cancel(); });
  for (int driver = 0; driver < nbDrivers; driver++) {
    SCOPED_TRACE("driver " + std::to_string(driver));
    KuRun r = {};
    make(4, 4);
    EXPECT_EQ(run(driver, &r), driver < 4 ? KU_SOLVED : KU_EXHAUSTED);
    EXPECT_TRUE(r.found);
    make(6, 5);
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED);
    EXPECT_FALSE(r.found);
    EXPECT_EQ(r.nbFails, cs_getNbFails());
    EXPECT_GT(r.choicePoints, r.nbFails - 1);
    r.fails = 7;
    EXPECT_EQ(run(driver, &r), driver < 4 ? KU_FAIL_LIMIT : KU_EXHAUSTED);
    r.fails = 1000000;
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED);
    r.fails = 0;
    for (int call : {1, 2, 9}) {
      EXPECT_EQ(run(driver, &r, call), KU_CANCELLED);
      // Restarts restore everything then, as when they are exhausted.
      EXPECT_EQ(run(driver, &r, call, cs_cancelSearch), driver == 3 ? KU_EXHAUSTED : KU_CANCELLED);
    }
    EXPECT_EQ(run(driver, &r, 5, [] { raise(SIGUSR1); }), KU_CANCELLED);
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED) << "a new run clears the request";
  }
}

TEST_F(Run, EndsAtTheDeadline)
{
  make(12, 11);
  for (int driver = 0; driver < nbDrivers; driver++) {
    KuRun r = {};
    r.seconds = 0.02;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run(driver, &r), KU_DEADLINE) << driver;
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(19)) << driver;
  }
  // One that isn't reached does nothing.
  make(4, 4);
  KuRun r = {};
  r.seconds = 1e300;
  EXPECT_EQ(run(0, &r), KU_SOLVED);
}
