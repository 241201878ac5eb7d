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

static int selectRow(CSint*** rows, int, int n) { return select(rows[0], n) ? 0 : -1; }
static int selectColumn(int, CSint** vars, int n)
{
  calls--; // one of the level has been counted
  return selectIndex(vars, n);
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
    row = x.data();
  }

  using Driver = KuOutcome (*)(Run&, KuRun*);
  static constexpr int nbDrivers = 7;
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
  CSint** row; // of a matrix of one
  std::vector<ValueSelector*> selectors;
  int limit;
};

// The first five end at the first solution; the last two go on until there is no more.
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
    [](Run& t, KuRun* r) {
      return ku_searchMatrix(r, &t.row, 1, t.n(), selectRow, selectColumn, [](int, int, int) { return 0; });
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
    EXPECT_EQ(run(driver, &r), driver < 5 ? KU_SOLVED : KU_EXHAUSTED);
    EXPECT_TRUE(r.found);
    make(6, 5);
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED);
    EXPECT_FALSE(r.found);
    EXPECT_EQ(r.nbFails, cs_getNbFails());
    EXPECT_GT(r.choicePoints, r.nbFails - 1);
    r.fails = 7;
    EXPECT_EQ(run(driver, &r), driver < 5 ? KU_FAIL_LIMIT : KU_EXHAUSTED);
    r.fails = 1000000;
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED);
    r.fails = 0;
    for (int call : {1, 2, 9}) {
      EXPECT_EQ(run(driver, &r, call), KU_CANCELLED);
      // Restarts restore everything then, as when they are exhausted.
      EXPECT_EQ(run(driver, &r, call, cs_cancelSearch), driver == 3 ? KU_EXHAUSTED : KU_CANCELLED);
    }
    EXPECT_EQ(run(driver, &r, 5, [] { raise(SIGUSR1); }), KU_CANCELLED);
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED) << "the request is spent";
    ku_cancel();
    EXPECT_EQ(run(driver, &r), KU_CANCELLED) << "it waits for a run";
    EXPECT_LE(r.choicePoints, 1);
    EXPECT_EQ(run(driver, &r), KU_EXHAUSTED);
  }
}

// A request that comes too late for a run is for the next one; outside of runs nobody heeds ku_checkRun.
TEST_F(Run, CarriesALateRequestOver)
{
  make(3, 3);
  KuRun r = {};
  EXPECT_EQ(run(0, &r, 3), KU_SOLVED); // the last call: there is no choice point behind it
  int label = cs_saveContext();
  auto heedful = [](CSint** vars, int count) {
    ku_checkRun();
    return cs_findFreeVar(vars, count);
  };
  EXPECT_EQ(cs_search(x.data(), n(), heedful), 1);
  cs_restoreContextUntil(label);
  EXPECT_EQ(run(0, &r), KU_CANCELLED);
  EXPECT_EQ(run(0, &r), KU_SOLVED);
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

// What a run tells while it is at work only grows, and the last call finds all undone.
TEST_F(Run, ShowsItsProgress)
{
  struct Seen
  {
    int depth, calls = 0, ends = 0;
    long long choicePoints = 0;
    double elapsed = 0;
  };
  make(12, 11);
  for (int driver : {0, 2, 4}) {
    Seen seen = {.depth = contextDepth()};
    KuRun r = {};
    r.seconds = 0.5;
    r.data = &seen;
    r.progress = [](KuRun* now) {
      auto* s = static_cast<Seen*>(now->data);
      EXPECT_GE(now->choicePoints, s->choicePoints); // a stalled machine may show and stop at one level
      EXPECT_GT(now->elapsed, s->elapsed + (now->atWork ? 0.19 : 0));
      EXPECT_EQ(contextDepth() > s->depth, now->atWork != 0);
      s->choicePoints = now->choicePoints;
      s->elapsed = now->elapsed;
      ++(now->atWork ? s->calls : s->ends);
    };
    EXPECT_EQ(run(driver, &r), KU_DEADLINE) << driver;
    EXPECT_GE(seen.calls, 1) << driver;
    EXPECT_LE(seen.calls, 2) << driver;
    EXPECT_EQ(seen.ends, 1) << driver;
    EXPECT_EQ(uint32_t(seen.choicePoints), uint32_t(cs_getNbChoicePoints())) << driver;
    EXPECT_EQ(seen.elapsed, r.elapsed) << driver;
    // It may stop the run.
    r.progress = [](KuRun* now) { now->atWork ? ku_cancel() : void(); };
    EXPECT_EQ(run(driver, &r), KU_CANCELLED) << driver;
  }
  // A short run isn't worth showing.
  make(4, 4);
  KuRun r = {};
  r.progress = [](KuRun*) { ADD_FAILURE(); };
  EXPECT_EQ(run(0, &r), KU_SOLVED);
}

// The driver's counters have 32 bits, and so has the difference of what is seen of them.
TEST_F(Run, CountsBeyondTheCounters)
{
  KuRun r = {};
  r.choicePoints = 0x7ffffff0;
  ku_runState.choicePoints = 0x7ffffff0;
  make(4, 3);
  cs_search(x.data(), n(), cs_findFreeVar);
  ku_followCounters(&r);
  EXPECT_EQ(r.choicePoints, 0x100000000ll + cs_getNbChoicePoints());
}
