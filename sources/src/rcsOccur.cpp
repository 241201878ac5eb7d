/*
 * Occur: a count equal to the number of variables of an array that take a given constant value.
 *
 * Two sets of positions say how things stand: `possible` holds those whose variable has the value in its domain,
 * `undecided` those of them that aren't fixed to it. The difference of their sizes is the sure count, the size of
 * `possible` is the possible count, and the count stays between the two. The sets are private variables, so that
 * the trail undoes their changes.
 *
 * The array pushes the bounds of the count. The other way goes only from a count that is instantiated, or at an event
 * of the array that makes one of the two numbers meet a bound of the count; a count that was fixed before posting
 * therefore reaches the array with the array's next event. A variable can't be emptied, so the last undecided position
 * stays in its set after it was decided: its events repeat the same bound of the count.
 *
 * Two constraints share the info: one on the count, which owns the sets, and one on the undecided variables.
 */
#include "rcsBound.h"
#include "rcsPost.h"

struct OccurShared
{
  CSint* _count;
  int32_t _value;
  CSint** _vars;
  int32_t _nbVars;
  CSint* _possible = nullptr;    ///< null once the record that owns the sets is gone
  CSint* _undecided = nullptr;   ///< likewise
  OccurShared* _other = nullptr; ///< the record of the other constraint; null once that is gone
};

/// The record of the constraint on the count; the one on the variables has a copy of the shared part alone.
struct OccurData
{
  OccurShared _shared;
  CSint _possibleSet;
  CSint _undecidedSet;
};

static int32_t possibleCount(const OccurShared* d) { return d->_possible->_nbElements; }

static int32_t sureCount(const OccurShared* d) { return possibleCount(d) - d->_undecided->_nbElements; }

// =====================================================================================================================
// Narrowing
// =====================================================================================================================

/// Updates the variable at each undecided position. That may decide positions ahead, which are then passed over.
static int updateUndecided(const OccurShared* d, int (*update)(CSint* v, int32_t value))
{
  const CSint* set = d->_undecided;
  const int32_t last = set->_max;
  for (int32_t p = set->_min; p <= last && p <= set->_max; p = largerOf(rcsDomainNextOn(set->_domain, p), set->_min))
    if (!update(d->_vars[p], d->_value))
      return 0;
  return 1;
}

static bool isUndecided(const OccurShared* d, int32_t p) { return d->_undecided && holds(d->_undecided, p); }

/// The variable at position p has lost the value.
static int PoccurTintNeq(const OccurShared* d, int32_t p)
{
  if (!isUndecided(d, p))
    return 1;
  if (isFixed(d->_undecided))
    return rcsSetMax(d->_count, possibleCount(d) - 1);
  if (!holds(d->_possible, p))
    return 1;
  if (!rcsRemoveValue(d->_possible, p) || !rcsRemoveValue(d->_undecided, p))
    return 0;
  int32_t possible = possibleCount(d);
  if (possible < d->_count->_min)
    return 0;
  if (possible == d->_count->_min && !updateUndecided(d, rcsSetValue))
    return 0;
  return pushBound<Upper>(d->_count, possible);
}

/// The variable at position p is fixed to the value.
static int takePosition(const OccurShared* d, int32_t p)
{
  if (!isUndecided(d, p))
    return 1;
  if (isFixed(d->_undecided))
    return rcsSetMin(d->_count, possibleCount(d));
  if (!rcsRemoveValue(d->_undecided, p))
    return 0;
  int32_t sure = sureCount(d);
  if (sure > d->_count->_max)
    return 0;
  if (sure == d->_count->_max && !updateUndecided(d, rcsRemoveValue))
    return 0;
  return pushBound<Lower>(d->_count, sure);
}

// =====================================================================================================================
// Handlers
// =====================================================================================================================

static int PoccurVintEqEvent(CSint* count, Tconstraint* t, int32_t, int32_t)
{
  auto* d = dataOf<OccurShared>(t);
  const int32_t number = count->_min, possible = possibleCount(d);
  if (sureCount(d) == number && !updateUndecided(d, rcsRemoveValue))
    return 0;
  return possible != number || updateUndecided(d, rcsSetValue);
}

template <typename Side>
static int onMove(const Tconstraint* t, int32_t old, int32_t now)
{
  auto* d = dataOf<OccurShared>(t);
  bool passed = !Side::inside(old, d->_value) && Side::inside(now, d->_value);
  return !passed || PoccurTintNeq(d, t->_index);
}

static int PoccurTintNewMinEvent(CSint*, Tconstraint* t, int32_t old, int32_t now)
{
  return onMove<Lower>(t, old, now);
}

static int PoccurTintNewMaxEvent(CSint*, Tconstraint* t, int32_t old, int32_t now)
{
  return onMove<Upper>(t, old, now);
}

static int PoccurTintEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* d = dataOf<OccurShared>(t);
  return v->_min == d->_value ? takePosition(d, t->_index) : PoccurTintNeq(d, t->_index);
}

static int PoccurTintNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  auto* d = dataOf<OccurShared>(t);
  return removed != d->_value || PoccurTintNeq(d, t->_index);
}

static const Handler PoccurVint[6] = {Ptrue, Ptrue, PoccurVintEqEvent, PoccurVintEqEvent, PoccurVintEqEvent, Ptrue};

static const Handler PoccurTint[6] = {PoccurTintNewMinEvent, PoccurTintNewMaxEvent, PoccurTintEqEvent,
    PoccurTintEqEvent, PoccurTintEqEvent, PoccurTintNeqEvent};

// The trail takes the attachments of a variable from the newest on, and after an accepted context that may be another
// one than was recorded. So either record may go first; without the sets the constraint on the variables is idle.

static void endCopy(void* data)
{
  if (OccurShared* owner = static_cast<OccurShared*>(data)->_other)
    owner->_other = nullptr;
}

static void occurDestructor(void* data)
{
  auto* d = static_cast<OccurData*>(data);
  if (OccurShared* copy = d->_shared._other) {
    copy->_possible = copy->_undecided = nullptr;
    copy->_other = nullptr;
  }
  _rcsIntDestroy(&d->_possibleSet);
  _rcsIntDestroy(&d->_undecidedSet);
}

// =====================================================================================================================
// Posting
// =====================================================================================================================

struct Tally
{
  int32_t _sure;
  int32_t _possible;
};

static Tally tallyOf(CSint** vars, int32_t n, int32_t value)
{
  Tally tally = {._sure = 0, ._possible = n < 1 ? 0 : n};
  for (int32_t p = 0; p < n; p++) {
    if (!holds(vars[p], value))
      tally._possible--;
    else if (isFixed(vars[p]))
      tally._sure++;
  }
  return tally;
}

/// Written without the trail: how things stand at posting is never undone.
static bool fillSets(OccurData* d)
{
  OccurShared* s = &d->_shared;
  s->_possible = &d->_possibleSet;
  s->_undecided = &d->_undecidedSet;
  _rcsIntInit(s->_possible, 0, s->_nbVars - 1);
  _rcsIntInit(s->_undecided, 0, s->_nbVars - 1);
  for (int32_t p = 0; p < s->_nbVars; p++) {
    bool held = holds(s->_vars[p], s->_value);
    if (!held && !_rcsRemoveValue(s->_possible, p))
      return false;
    if ((!held || isFixed(s->_vars[p])) && !_rcsRemoveValue(s->_undecided, p))
      return false;
  }
  return true;
}

/// The constraint on the count with its sets; null when out of memory.
static Constraint* newOccur(ConstraintInfo* info, const OccurShared& shared)
{
  Constraint* occur =
      newConstraint(info, PoccurVint, OccurData{._shared = shared, ._possibleSet = {}, ._undecidedSet = {}});
  if (!occur)
    return nullptr;
  occur->_destructor = occurDestructor;
  if (fillSets(static_cast<OccurData*>(occur->_data)))
    return occur;
  freeConstraint(occur);
  return nullptr;
}

static int doOccur(ConstraintInfo* info, CSint* count, int32_t value, CSint** vars, int32_t n)
{
  Constraint* onCount = newOccur(info, {._count = count, ._value = value, ._vars = vars, ._nbVars = n});
  if (!onCount)
    return 0;
  OccurShared* owner = &static_cast<OccurData*>(onCount->_data)->_shared;
  Constraint* onVars = newCompanion(onCount, count, info, PoccurTint, *owner);
  if (!onVars)
    return 0;
  auto* copy = static_cast<OccurShared*>(onVars->_data);
  owner->_other = copy;
  copy->_other = owner;
  onVars->_destructor = endCopy;
  for (int32_t p = 0; p < n; p++)
    if (vars[p]->_nbElements >= 2 && holds(vars[p], value) && !_rcsAddConstraint(onVars, vars[p], p))
      return 0;
  // The count of values of a very wide variable has wrapped, and such a one isn't attached.
  if (onVars->_refCount == 0)
    freeConstraint(onVars);
  return 1;
}

static int fitCount(CSint* count, const Tally& tally)
{
  return pushBound<Lower>(count, tally._sure) && pushBound<Upper>(count, tally._possible);
}

int cs_Occur(CSint* count, int value, CSint** variables, int n)
{
  Tally tally = tallyOf(variables, n, value);
  if (tally._sure == tally._possible)
    cs_EQ(count, tally._possible);
  else
    postAs("cs_Occur",
        [=](ConstraintInfo* info) { return doOccur(info, count, value, variables, n) && fitCount(count, tally); });
  // Never a success: clients have come to ignore the result, and the form that tells is the next one.
  return 0;
}

int cs_OccurConstraints(CSint* count, int value, CSint** variables, int n)
{
  Tally tally = tallyOf(variables, n, value);
  if (tally._sure == tally._possible)
    return cs_EQ(count, tally._possible);
  return postAs("cs_OccurConstraints",
      [=](ConstraintInfo* info) { return int(doOccur(info, count, value, variables, n) && fitCount(count, tally)); });
}

CSint* cs_OccurDomain(int value, CSint** variables, int n)
{
  Tally tally = tallyOf(variables, n, value);
  if (tally._sure == tally._possible)
    return CSINT(tally._possible);
  CSint* count = cs_createCSint(tally._sure, tally._possible);
  if (!count)
    return nullptr;
  return postAs("cs_OccurDomain",
      [=](ConstraintInfo* info) { return doOccur(info, count, value, variables, n) ? count : nullptr; });
}
