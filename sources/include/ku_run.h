/*
 * ku_run.h: searches with a deadline that tell how they ended, over the public calls of ku.h alone.
 *
 * A driver of the library answers 1 or 0 and leaves contexts saved in several ways. A run wraps it: it takes a label,
 * runs the driver, stops it when the time is up or ku_cancel was called, tells which of five ways it ended, and
 * restores the label unless a solution stands:
 *
 *     KuRun run = {.seconds = 2.5};
 *     switch (ku_search(&run, vars, n, cs_findFreeVarNbElements)) {
 *     case KU_SOLVED: use(vars); cs_restoreContextUntil(run.label); break;
 *     case KU_EXHAUSTED: puts("no solution"); break;
 *     default: puts("not decided"); break;
 *     }
 *
 * A run may also be watched (KuRun::progress), and its steps are counted in 64 bits, which an hour's search needs.
 *
 * Everything is in this header: static functions and one static record for each file that includes it. Runs don't nest
 * within a file. The library itself knows nothing of it. C99 and C++, with POSIX's clock_gettime: under -std=c99 define
 * _POSIX_C_SOURCE as 200809L.
 */
#ifndef KU_RUN_H
#define KU_RUN_H

#include <ku.h>

#include <signal.h>
#include <time.h>

/* Functions of this header that a file doesn't use give no warning. */
#if defined(__GNUC__)
#define KU_RUN_STATIC static __attribute__((unused))
#else
#define KU_RUN_STATIC static inline
#endif

typedef enum KuOutcome {
  KU_SOLVED,     /* a solution stands; all contexts of the run are saved, from run->label on */
  KU_EXHAUSTED,  /* there is no (further) solution */
  KU_FAIL_LIMIT, /* run->fails values have failed */
  KU_CANCELLED,  /* ku_cancel or cs_cancelSearch was called */
  KU_DEADLINE    /* run->seconds have passed */
} KuOutcome;

/*
 * What a run is given: zeros mean no limits. And what it tells: brought up to date for each call of `progress` and at
 * the end, but for `found`, which stands at the end alone.
 */
typedef struct KuRun KuRun;
struct KuRun
{
  double seconds;               /* from the start of the run on, by the wall clock; 0: no deadline */
  int fails;                    /* limit of failures, where the driver has one; 0: none */
  void (*progress)(KuRun* run); /* called at most five times a second from the levels of the driver, at first after 0.2
                                   seconds, and if it was, once more when the driver has ended; or null */
  void* data;                   /* the client's own */

  int label;              /* of the context taken before the driver ran */
  int atWork;             /* the driver hasn't ended: 0 in the last call of `progress` */
  int found;              /* at least one solution was seen: by ku_minimize and ku_findAll, too */
  long long choicePoints; /* the counters of ku.h, which have 32 bits; these don't wrap */
  long long nbFails;      /* */
  double elapsed;         /* seconds since the start of the run */
};

/* ---------------------------------------------------------------------------------------------------------------------
 * Stopping and watching
 * ------------------------------------------------------------------------------------------------------------------ */

/* The run at work in this file. */
typedef struct KuRunState
{
  volatile sig_atomic_t cancelled;
  KuRun* run;                /* or null */
  int expired, stopping;     /* stopping: the driver has been asked to */
  uint32_t choicePoints;     /* the counters of ku.h as they were last seen */
  uint32_t nbFails;          /* */
  struct timespec start;     /* */
  double nextProgress;       /* in seconds since the start */
  CSfindFreeVar findFreeVar; /* the client's selector, one of these three */
  CSfindFreeVarIndex findFreeVarIndex;
  CSfindFreeRow findFreeRow;
} KuRunState;

static KuRunState ku_runState;

/*
 * Stops the run at work at its next level, or else the next run at its first, with KU_CANCELLED; with that the request
 * is spent. So none is lost, whenever it comes: it is meant for signal handlers. A callback that is done with this one
 * search calls cs_cancelSearch, which never reaches another.
 */
KU_RUN_STATIC void ku_cancel(void) { ku_runState.cancelled = 1; }

/* Brings the counters up to date. A driver's may wrap between two calls, but not twice. */
KU_RUN_STATIC void ku_followCounters(KuRun* run)
{
  uint32_t choicePoints = (uint32_t)cs_getNbChoicePoints(), nbFails = (uint32_t)cs_getNbFails();
  run->choicePoints += (uint32_t)(choicePoints - ku_runState.choicePoints);
  run->nbFails += (uint32_t)(nbFails - ku_runState.nbFails);
  ku_runState.choicePoints = choicePoints;
  ku_runState.nbFails = nbFails;
}

KU_RUN_STATIC void ku_readClock(KuRun* run)
{
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  run->elapsed =
      (double)(now.tv_sec - ku_runState.start.tv_sec) + 1e-9 * (double)(now.tv_nsec - ku_runState.start.tv_nsec);
}

/*
 * Asks the driver to stop if it is time, and calls `progress` if it is time for that. The selectors do it at each
 * level; a SearchNotify or another callback that works long may do it, too. Without a run at work nothing happens.
 */
KU_RUN_STATIC void ku_checkRun(void)
{
  KuRun* run = ku_runState.run;
  if (!run)
    return;
  ku_followCounters(run);
  if (run->seconds > 0 || run->progress)
    ku_readClock(run);
  if (run->progress && run->elapsed >= ku_runState.nextProgress) {
    ku_runState.nextProgress = run->elapsed + 0.2;
    run->progress(run);
  }
  ku_runState.expired = run->seconds > 0 && run->elapsed >= run->seconds;
  if (ku_runState.cancelled || ku_runState.expired) {
    ku_runState.stopping = 1;
    cs_cancelSearch();
  }
}

KU_RUN_STATIC CSint* ku_runSelector(CSint** variables, int n)
{
  ku_checkRun();
  return ku_runState.findFreeVar(variables, n);
}

KU_RUN_STATIC int ku_runIndexSelector(CSint** variables, int n)
{
  ku_checkRun();
  return ku_runState.findFreeVarIndex(variables, n);
}

KU_RUN_STATIC int ku_runRowSelector(CSint*** matrix, int rows, int cols)
{
  ku_checkRun();
  return ku_runState.findFreeRow(matrix, rows, cols);
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Start and end of a run
 * ------------------------------------------------------------------------------------------------------------------ */

KU_RUN_STATIC void ku_startRun(KuRun* run)
{
  ku_runState.run = run;
  ku_runState.expired = ku_runState.stopping = 0;
  ku_runState.choicePoints = ku_runState.nbFails = 0; /* the driver sets its own to 0 */
  ku_runState.nextProgress = 0.2;
  clock_gettime(CLOCK_MONOTONIC, &ku_runState.start);
  run->atWork = 1;
  run->found = 0;
  run->choicePoints = run->nbFails = 0;
  run->elapsed = 0;
  run->label = cs_saveContext();
}

/* How many contexts a driver leaves above the label when it is exhausted; of more, some are left by a stop. */
enum {
  KU_RUN_RESTORES = -1 /* it leaves none after a stop either, so that has to be told in another way */
};

KU_RUN_STATIC KuOutcome ku_howEnded(int stopped, int limit)
{
  if (!stopped)
    return KU_EXHAUSTED;
  if (ku_runState.cancelled) {
    ku_runState.cancelled = 0;
    return KU_CANCELLED;
  }
  if (ku_runState.expired)
    return KU_DEADLINE;
  return limit ? KU_FAIL_LIMIT : KU_CANCELLED;
}

KU_RUN_STATIC KuOutcome ku_endRun(KuRun* run, int solved, int ended, int limit)
{
  int left;
  KuOutcome outcome = KU_SOLVED;
  /* The label of a new context is the depth of the stack. */
  left = cs_saveContext() - 1 - run->label;
  cs_restoreContext();
  ku_followCounters(run);
  ku_readClock(run);
  run->found = run->found || solved;
  if (!solved) {
    cs_restoreContextUntil(run->label);
    limit = limit > 0 && run->nbFails >= limit;
    outcome = ku_howEnded(ended == KU_RUN_RESTORES ? limit || ku_runState.stopping : left > ended, limit);
  }
  run->atWork = 0;
  ku_runState.run = NULL;
  if (run->progress && ku_runState.nextProgress > 0.2)
    run->progress(run);
  return outcome;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Runs
 * ------------------------------------------------------------------------------------------------------------------ */

/* A solution by cs_searchFail. */
KU_RUN_STATIC KuOutcome ku_search(KuRun* run, CSint** variables, int n, CSfindFreeVar findFreeVar)
{
  ku_startRun(run);
  ku_runState.findFreeVar = findFreeVar;
  return ku_endRun(run, cs_searchFail(variables, n, ku_runSelector, run->fails), 0, run->fails);
}

/* All solutions by cs_findAll: KU_EXHAUSTED when all have been visited, and run->found tells whether there was one. */
KU_RUN_STATIC KuOutcome ku_findAll(KuRun* run, CSint** variables, int n, CSfindFreeVar findFreeVar, CSfound found)
{
  ku_startRun(run);
  ku_runState.findFreeVar = findFreeVar;
  run->found = cs_findAll(variables, n, ku_runSelector, found);
  return ku_endRun(run, 0, 0, 0);
}

/*
 * The cheapest solution by cs_minimize: KU_EXHAUSTED when the last one that `found` saw is proved the cheapest, or when
 * there is none, as run->found tells. The bounds on the cost are undone, too.
 */
KU_RUN_STATIC KuOutcome ku_minimize(
    KuRun* run, CSint** variables, int n, CSfindFreeVar findFreeVar, CSint* cost, CSfoundCost found)
{
  ku_startRun(run);
  ku_runState.findFreeVar = findFreeVar;
  run->found = cs_minimize(variables, n, ku_runSelector, cost, found);
  /* Without a solution one context more stays. */
  return ku_endRun(run, 0, run->found ? 0 : 1, 0);
}

/* A solution by cs_searchCriteriaFail. */
KU_RUN_STATIC KuOutcome ku_searchCriteria(
    KuRun* run, CSint** variables, int n, CSfindFreeVarIndex findFreeVarIndex, CScriteria criteria)
{
  ku_startRun(run);
  ku_runState.findFreeVarIndex = findFreeVarIndex;
  return ku_endRun(run, cs_searchCriteriaFail(variables, n, ku_runIndexSelector, criteria, run->fails), 0, run->fails);
}

/* A solution by cs_searchMatrixFail. */
KU_RUN_STATIC KuOutcome ku_searchMatrix(KuRun* run, CSint*** matrix, int rows, int cols, CSfindFreeRow findFreeRow,
    CSfindFreeColumn findFreeColumn, CSmatrixCriteria criteria)
{
  ku_startRun(run);
  ku_runState.findFreeRow = findFreeRow;
  return ku_endRun(run,
      cs_searchMatrixFail(matrix, rows, cols, ku_runRowSelector, findFreeColumn, criteria, run->fails), 0, run->fails);
}

/* A solution by cs_searchValueSelectorFail. `notify` may be null. */
KU_RUN_STATIC KuOutcome ku_searchValueSelector(KuRun* run, CSint** variables, ValueSelector** selectors, int n,
    CSfindFreeVarIndex findFreeVarIndex, SearchNotify* notify)
{
  ku_startRun(run);
  ku_runState.findFreeVarIndex = findFreeVarIndex;
  return ku_endRun(
      run, cs_searchValueSelectorFail(variables, selectors, n, ku_runIndexSelector, run->fails, notify), 0, run->fails);
}

/*
 * A solution by cs_searchValueSelectorRestartNG; run->fails is its limit for all runs together. That driver restores
 * everything when it is cancelled, so only ku_cancel and the deadline are told from exhaustion here, and a plain
 * cs_cancelSearch isn't.
 */
KU_RUN_STATIC KuOutcome ku_searchRestart(KuRun* run, CSint** variables, ValueSelector** selectors, int n,
    CSfindFreeVarIndex findFreeVarIndex, CSrestartFails restartFails, void* restartData, NoGoodSet* noGoods,
    SearchNotify* notify)
{
  int solved;
  ku_startRun(run);
  ku_runState.findFreeVarIndex = findFreeVarIndex;
  solved = cs_searchValueSelectorRestartNG(
      variables, selectors, n, ku_runIndexSelector, restartFails, restartData, run->fails, noGoods, notify);
  return ku_endRun(run, solved, KU_RUN_RESTORES, run->fails);
}

#endif /* KU_RUN_H */
