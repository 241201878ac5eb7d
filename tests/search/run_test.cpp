/*
 * Runs: how each driver's end is told, and what stays saved.
 */
#include "ku_run.h"
#include "solver.h"

#include <csignal>

using namespace kit;

static int cancelAt, calls; // the call of the selector at which to cancel; 0 for never
static void (*cancel)();

static CSint* select(CSint** vars, int n)
{
  if (++calls == cancelAt)
    cancel();
  return cs_findFreeVar(vars, n);
}

static int selectIndex(CSint** vars, int n)
{
  CSint* v = select(vars, n);
  for (int i = 0; i < n; i++)
    if (vars[i] == v)
      return i;
  return -1;
}

static void ignore(CSint**, int) {}
static void ignoreCost(CSint**, int, CSint*) {}
static int flat(int, int) { return 0; }
static int growing(void* limit) { return *static_cast<int*>(limit) *= 2; }

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
    [](Run& t, KuRun* r) { return ku_searchCriteria(r, t.x.data(), t.n(), selectIndex, flat); },
    [](Run& t, KuRun* r) {
      return ku_searchValueSelector(r, t.x.data(), t.selectors.data(), t.n(), selectIndex, nullptr);
    },
    [](Run& t, KuRun* r) {
      return ku_searchRestart(
          r, t.x.data(), t.selectors.data(), t.n(), selectIndex, growing, &t.limit, nullptr, nullptr);
    },
    [](Run& t, KuRun* r) { return ku_minimize(r, t.x.data(), t.n(), select, t.x[0], ignoreCost); },
    [](Run& t, KuRun* r) { return ku_findAll(r, t.x.data(), t.n(), select, ignore); },
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
    timespec start, end;
    clock_gettime(CLOCK_MONOTONIC, &start);
    EXPECT_EQ(run(driver, &r), KU_DEADLINE) << driver;
    clock_gettime(CLOCK_MONOTONIC, &end);
    double seconds = double(end.tv_sec - start.tv_sec) + 1e-9 * double(end.tv_nsec - start.tv_nsec);
    EXPECT_GT(seconds, 0.019) << driver;
  }
  // One that isn't reached does nothing.
  make(4, 4);
  KuRun r = {};
  r.seconds = 1e300;
  EXPECT_EQ(run(0, &r), KU_SOLVED);
}
