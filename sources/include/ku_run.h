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

typedef enum KuOutcome
{
  KU_SOLVED,     /* a solution stands; all contexts of the run are saved, from run->label on */
  KU_EXHAUSTED,  /* there is no (further) solution */
  KU_FAIL_LIMIT, /* run->fails values have failed */
  KU_CANCELLED,  /* ku_cancel or cs_cancelSearch was called */
  KU_DEADLINE    /* run->seconds have passed */
} KuOutcome;

/* What a run is given, and what it tells. Zeros mean no limits. */
typedef struct KuRun
{
  double seconds; /* from the start of the run on, by the wall clock; 0: no deadline */
  int fails;      /* limit of failures, where the driver has one; 0: none */

  int label;        /* of the context taken before the driver ran */
  int found;        /* at least one solution was seen: by ku_minimize and ku_findAll, too */
  int choicePoints; /* as the counters of ku.h stood at the end */
  int nbFails;
} KuRun;

/* ---------------------------------------------------------------------------------------------------------------------
 * Stopping
 * ------------------------------------------------------------------------------------------------------------------ */

/* The run at work in this file. */
typedef struct KuRunState
{
  volatile sig_atomic_t cancelled;
  int hasDeadline, expired;
  struct timespec deadline;
  CSfindFreeVar findFreeVar;
  CSfindFreeVarIndex findFreeVarIndex;
} KuRunState;

static KuRunState ku_runState;

/*
 * Stops the run at its next level with KU_CANCELLED. May be called from callbacks and from signal handlers. In contrast
 * to cs_cancelSearch it isn't lost when it comes just before the driver is entered; a new run clears it.
 */
KU_RUN_STATIC void ku_cancel(void) { ku_runState.cancelled = 1; }

/* Asks the driver to stop if it is time: for other callbacks, as those of a SearchNotify. The selectors ask anyway. */
KU_RUN_STATIC void ku_checkRun(void)
{
  if (ku_runState.hasDeadline && !ku_runState.expired) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    ku_runState.expired = now.tv_sec > ku_runState.deadline.tv_sec ||
                          (now.tv_sec == ku_runState.deadline.tv_sec && now.tv_nsec >= ku_runState.deadline.tv_nsec);
  }
  if (ku_runState.cancelled || ku_runState.expired)
    cs_cancelSearch();
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

/* ---------------------------------------------------------------------------------------------------------------------
 * Start and end of a run
 * ------------------------------------------------------------------------------------------------------------------ */

KU_RUN_STATIC void ku_startRun(KuRun* run, CSfindFreeVar findFreeVar, CSfindFreeVarIndex findFreeVarIndex)
{
  ku_runState.cancelled = 0;
  ku_runState.expired = 0;
  ku_runState.hasDeadline = run->seconds > 0;
  ku_runState.findFreeVar = findFreeVar;
  ku_runState.findFreeVarIndex = findFreeVarIndex;
  if (ku_runState.hasDeadline) {
    double whole = run->seconds < 1e9 ? run->seconds : 1e9;
    long nanoseconds;
    clock_gettime(CLOCK_MONOTONIC, &ku_runState.deadline);
    nanoseconds = ku_runState.deadline.tv_nsec + (long)((whole - (double)(time_t)whole) * 1e9);
    ku_runState.deadline.tv_sec += (time_t)whole + nanoseconds / 1000000000;
    ku_runState.deadline.tv_nsec = nanoseconds % 1000000000;
  }
  run->found = 0;
  run->label = cs_saveContext();
}

/* How many contexts a driver leaves above the label when it is exhausted; of more, some are left by a stop. */
enum
{
  KU_RUN_RESTORES = -1 /* it leaves none after a stop either, so that has to be told in another way */
};

KU_RUN_STATIC KuOutcome ku_endRun(KuRun* run, int solved, int ended, int limit)
{
  int left, stopped;
  /* The label of a new context is the depth of the stack. */
  left = cs_saveContext() - 1 - run->label;
  cs_restoreContext();
  run->choicePoints = cs_getNbChoicePoints();
  run->nbFails = cs_getNbFails();
  run->found = run->found || solved;
  if (solved)
    return KU_SOLVED;
  cs_restoreContextUntil(run->label);
  limit = limit > 0 && run->nbFails >= limit;
  stopped = ended == KU_RUN_RESTORES ? limit || ku_runState.cancelled || ku_runState.expired : left > ended;
  if (!stopped)
    return KU_EXHAUSTED;
  if (ku_runState.cancelled)
    return KU_CANCELLED;
  if (ku_runState.expired)
    return KU_DEADLINE;
  return limit ? KU_FAIL_LIMIT : KU_CANCELLED;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Runs
 * ------------------------------------------------------------------------------------------------------------------ */

/* A solution by cs_searchFail. */
KU_RUN_STATIC KuOutcome ku_search(KuRun* run, CSint** variables, int n, CSfindFreeVar findFreeVar)
{
  ku_startRun(run, findFreeVar, NULL);
  return ku_endRun(run, cs_searchFail(variables, n, ku_runSelector, run->fails), 0, run->fails);
}

/* All solutions by cs_findAll: KU_EXHAUSTED when all have been visited, and run->found tells whether there was one. */
KU_RUN_STATIC KuOutcome ku_findAll(KuRun* run, CSint** variables, int n, CSfindFreeVar findFreeVar, CSfound found)
{
  ku_startRun(run, findFreeVar, NULL);
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
  ku_startRun(run, findFreeVar, NULL);
  run->found = cs_minimize(variables, n, ku_runSelector, cost, found);
  /* Without a solution one context more stays. */
  return ku_endRun(run, 0, run->found ? 0 : 1, 0);
}

/* A solution by cs_searchCriteriaFail. */
KU_RUN_STATIC KuOutcome ku_searchCriteria(
    KuRun* run, CSint** variables, int n, CSfindFreeVarIndex findFreeVarIndex, CScriteria criteria)
{
  ku_startRun(run, NULL, findFreeVarIndex);
  return ku_endRun(
      run, cs_searchCriteriaFail(variables, n, ku_runIndexSelector, criteria, run->fails), 0, run->fails);
}

/* A solution by cs_searchValueSelectorFail. `notify` may be null. */
KU_RUN_STATIC KuOutcome ku_searchValueSelector(KuRun* run, CSint** variables, ValueSelector** selectors, int n,
    CSfindFreeVarIndex findFreeVarIndex, SearchNotify* notify)
{
  ku_startRun(run, NULL, findFreeVarIndex);
  return ku_endRun(run,
      cs_searchValueSelectorFail(variables, selectors, n, ku_runIndexSelector, run->fails, notify), 0, run->fails);
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
  ku_startRun(run, NULL, findFreeVarIndex);
  solved = cs_searchValueSelectorRestartNG(variables, selectors, n, ku_runIndexSelector, restartFails, restartData,
      run->fails, noGoods, notify);
  return ku_endRun(run, solved, KU_RUN_RESTORES, run->fails);
}

#endif /* KU_RUN_H */
