/*
 * Index: a new variable for a position of an array of variables at which a given value is taken.
 *
 * Strength: domain consistent, but for a removal that a bound overtakes. The domain of the index is the set of
 * positions that can still hold the value; where one propagation removes it from inside a variable and then moves a
 * bound past it, the removal isn't told, and the position stays. An instantiated index sets the variable there. The
 * value may stand at several positions, so a position that the index lost says nothing about the variable.
 *
 * Two constraints share the info: one on the index, one on the variables of the array with their positions.
 */
#include "rcsBound.h"
#include "rcsPost.h"

struct IndexData
{
  CSint** _vars;
  int32_t _nbVars;
  int32_t _value;
  CSint* _indexVar;
};

static int PindexVintEqEvent(CSint* index, Tconstraint* t, int32_t, int32_t)
{
  auto* d = dataOf<IndexData>(t);
  int32_t position = index->_min;
  return 0 <= position && position < d->_nbVars && fixIfHeld(d->_vars[position], d->_value);
}

/// The variable that the attachment belongs to may have lost the value: with `lost` its position goes from the index.
static int dropPosition(const Tconstraint* t, bool lost)
{
  return !lost || removeIfHeld(dataOf<IndexData>(t)->_indexVar, t->_index);
}

/// A bound has passed the value, and it was no hole: a bit is still on when a bound has passed it. A removal that the
/// bound has overtaken is taken for a hole of before, which is kept as it has always been.
template <typename Side>
static int onMove(const CSint* v, const Tconstraint* t, int32_t old, int32_t now)
{
  int32_t value = dataOf<IndexData>(t)->_value;
  return dropPosition(t, !Side::inside(old, value) && Side::inside(now, value) && rcsDomainIsOn(v->_domain, value));
}

static int PindexTintNewMinEvent(CSint* v, Tconstraint* t, int32_t old, int32_t now)
{
  return onMove<Lower>(v, t, old, now);
}

static int PindexTintNewMaxEvent(CSint* v, Tconstraint* t, int32_t old, int32_t now)
{
  return onMove<Upper>(v, t, old, now);
}

static int PindexTintEqEvent(CSint* v, Tconstraint* t, int32_t oldMin, int32_t oldMax)
{
  int32_t value = dataOf<IndexData>(t)->_value;
  bool lost = oldMin <= value && value <= oldMax && v->_min != value && rcsDomainIsOn(v->_domain, value);
  return dropPosition(t, lost);
}

static int PindexTintNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  return dropPosition(t, removed == dataOf<IndexData>(t)->_value);
}

static const Handler PindexVint[6] = {Ptrue, Ptrue, PindexVintEqEvent, PindexVintEqEvent, PindexVintEqEvent, Ptrue};

static const Handler PindexTint[6] = {PindexTintNewMinEvent, PindexTintNewMaxEvent, PindexTintNewMinEvent,
    PindexTintNewMaxEvent, PindexTintEqEvent, PindexTintNeqEvent};

/// The positions that can hold the value, with the first and the last of them.
struct Positions
{
  Domain* _domain;
  int32_t _first;
  int32_t _last;
  int32_t _count;
};

/// A null domain when there are none, or no memory.
static Positions positionsOf(CSint** vars, int32_t n, int32_t value)
{
  Positions found = {._domain = rcsCreateDomain(0, n - 1), ._first = 0, ._last = 0, ._count = 0};
  if (!found._domain)
    return found;
  rcsClearDomain(found._domain);
  for (int32_t p = 0; p < n; p++) {
    if (!holds(vars[p], value))
      continue;
    rcsDomainOn(found._domain, p);
    found._last = p;
    if (found._count++ == 0)
      found._first = p;
  }
  if (found._count == 0) {
    rcsDeleteDomain(found._domain);
    found._domain = nullptr;
  }
  return found;
}

/// The index starts with the positions as its domain, written directly: nobody listens yet, and nothing is to be
/// undone. What its listeners were last told stays the whole array, so that the first event tells the step from there.
static void givePositions(CSint* index, const Positions& found)
{
  index->_min = found._first;
  index->_max = found._last;
  index->_nbElements = found._count;
  index->_domain = found._domain;
}

static CSint* postIndex(ConstraintInfo* info, const IndexData& data)
{
  Constraint* onIndex = newConstraint(info, PindexVint, data);
  Constraint* onVars = newCompanion(onIndex, data._indexVar, info, PindexTint, data);
  if (!onVars)
    return nullptr;
  for (int32_t p = 0; p < data._nbVars; p++)
    if (!_rcsAddConstraint(onVars, data._vars[p], p))
      return nullptr;
  return data._indexVar;
}

CSint* cs_Index(CSint** variables, int n, int value)
{
  if (n < 1)
    return nullptr;
  Positions found = positionsOf(variables, n, value);
  if (!found._domain)
    return nullptr;
  CSint* index = cs_createCSint(0, n - 1);
  if (!index) {
    rcsDeleteDomain(found._domain);
    return nullptr;
  }
  // Reports have always shown these constraints under this name, and what reads them counts on it.
  CSint* posted = postAs("cs_Cumulative", [=](ConstraintInfo* info) {
    givePositions(index, found);
    return postIndex(info, {._vars = variables, ._nbVars = n, ._value = value, ._indexVar = index});
  });
  // Without an info the domain has found no owner.
  if (!posted && index->_domain != found._domain)
    rcsDeleteDomain(found._domain);
  return posted;
}
