/*
 * What the reified constraints share. One that is still open at posting is two constraints under one info: an enforcer
 * on the boolean, which acts when that is fixed, and a watcher on the compared variables, which decides the boolean and
 * looks after the enforcement from then on.
 */
#ifndef RCS_REIF_H
#define RCS_REIF_H

#include "rcsBound.h"
#include "rcsKernel.h"
#include "rcsPost.h"

/// Private record of a watcher on two variables; that of its enforcer is a RelationData.
struct ReifData
{
  CSint* _bool;
  CSint* _x;
  CSint* _y;
};

/// Private record of a watcher on a variable that is compared with a constant.
struct ReifBoolData
{
  CSint* _bool;
  int32_t _value;
};

/// Private record of the enforcer that belongs to a ReifBoolData.
struct ReifValueData
{
  CSint* _x;
  int32_t _value;
};

/// The two handler tables of a reified constraint, and how its watchers are woken in runs, if they are.
struct ReifTables
{
  const Handler* _enforcer;
  const Handler* _watcher;
  RunHandler _runWatchers = nullptr;
};

/// Posts the enforcer on `b` and then the watcher on the variables. The answer is `b`, or null when memory ran out.
template <typename Enforcer, typename Watcher, typename... Variables>
CSint* postReified(ConstraintInfo* info, const ReifTables& tables, CSint* b, const Enforcer& enforcerData,
    const Watcher& watcherData, Variables*... variables)
{
  Constraint* enforcer = newConstraint(info, tables._enforcer, enforcerData);
  Constraint* watcher = newCompanion(enforcer, b, info, tables._watcher, watcherData);
  if (watcher && tables._runWatchers)
    wakeInRuns(watcher, tables._runWatchers);
  return watcher && (_rcsAddConstraint(watcher, variables, -1) && ...) ? b : nullptr;
}

inline CSint* reifyPair(ConstraintInfo* info, const ReifTables& tables, CSint* b, CSint* x, CSint* y)
{
  return postReified(info, tables, b, RelationData{._x = x, ._y = y}, ReifData{._bool = b, ._x = x, ._y = y}, x, y);
}

inline CSint* reifyValue(ConstraintInfo* info, const ReifTables& tables, CSint* b, CSint* x, int32_t value)
{
  return postReified(
      info, tables, b, ReifValueData{._x = x, ._value = value}, ReifBoolData{._bool = b, ._value = value}, x);
}

#endif
