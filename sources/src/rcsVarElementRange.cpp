/*
 * VarElementRange: a new variable equal to the variable at a variable position of an array, by bounds.
 *
 * Strength: bounds consistent. The result is an interval of the union of the variables' bounds; holes of the array and
 * of the result go unnoticed, but for the test when one of them is instantiated. Two witnesses, the positions that give
 * the result its bounds, answer most events without a scan.
 *
 * Three constraints share the info: one on the index, one on the result, one on the variables of the array with their
 * positions. The witnesses lie outside the trail and are tested before they are trusted, so it does no harm that they
 * stay on backtracking. An update that fails leaves them as they were.
 */
#include "rcsPositions.h"

struct VarElementRangeData;
struct RangeWitnesses;

using VarElementRangePair = RecordPair<VarElementRangeData, RangeWitnesses>;

struct VarElementRangeData
{
  CSint* _result;
  CSint* _indexVar;
  CSint** _vars;
  int32_t _nbVars;
  RangeWitnesses* _bounds;    ///< null once one of the two records is gone
  VarElementRangePair* _pair; ///< null once it is gone
};

struct RangeWitnesses
{
  VarElementRangeData* _owner; ///< null once it is gone
  int32_t _minPosition;
  int32_t _maxPosition;
};

/// The variable at the one position that the index has left; null when that lies outside the array.
static CSint* chosen(const VarElementRangeData* r)
{
  int32_t position = r->_indexVar->_min;
  return isInTable(position, r->_nbVars) ? r->_vars[position] : nullptr;
}

static bool overlap(const CSint* a, const CSint* b) { return a->_min <= b->_max && b->_min <= a->_max; }

/// While they do, the result's bounds can't be tightened.
static bool witnessesHold(const VarElementRangeData* r)
{
  const RangeWitnesses* w = r->_bounds;
  return r->_vars[w->_minPosition]->_min <= r->_result->_min && r->_vars[w->_maxPosition]->_max >= r->_result->_max;
}

// =====================================================================================================================
// Scans
// =====================================================================================================================

/// The outermost bound on one side among the positions of an index, and the first position that has it.
struct Extreme
{
  int32_t bound;
  int32_t position;
};

template <typename Side>
static Extreme extremeAt(CSint** vars, int32_t p)
{
  return {.bound = Side::of(vars[p]), .position = p};
}

template <typename Side>
static void widen(Extreme* found, CSint** vars, int32_t p)
{
  if (Side::inside(found->bound, Side::of(vars[p])))
    *found = extremeAt<Side>(vars, p);
}

struct Hull
{
  Extreme lowest;
  Extreme highest;
};

/// The positions from `first` on, which there must be, to `last`.
static Hull scan(CSint** vars, const Domain* domain, int32_t first, int32_t last)
{
  Hull hull = {.lowest = extremeAt<Lower>(vars, first), .highest = extremeAt<Upper>(vars, first)};
  for (int32_t p = rcsDomainNextOn(domain, first); p <= last; p = rcsDomainNextOn(domain, p)) {
    widen<Lower>(&hull.lowest, vars, p);
    widen<Upper>(&hull.highest, vars, p);
  }
  return hull;
}

/// Tightens the result on one side to what the positions of the index leave, and stores that one witness.
template <typename Side>
static int pushSide(VarElementRangeData* r, int32_t* witness)
{
  CSint** const vars = r->_vars;
  const Domain* domain = r->_indexVar->_domain;
  const int32_t first = firstPosition(r->_indexVar), last = lastPosition(r->_indexVar, r->_nbVars);
  if (first > last)
    return 0;
  Extreme found = extremeAt<Side>(vars, first);
  for (int32_t p = rcsDomainNextOn(domain, first); p <= last; p = rcsDomainNextOn(domain, p))
    widen<Side>(&found, vars, p);
  if (!pushBound<Side>(r->_result, found.bound))
    return 0;
  *witness = found.position;
  return 1;
}

/// The same on both sides, with one scan before the updates and both witnesses stored after them.
static int pushBothSides(VarElementRangeData* r)
{
  const int32_t first = firstPosition(r->_indexVar), last = lastPosition(r->_indexVar, r->_nbVars);
  if (first > last)
    return 0;
  Hull hull = scan(r->_vars, r->_indexVar->_domain, first, last);
  if (!pushBound<Lower>(r->_result, hull.lowest.bound) || !pushBound<Upper>(r->_result, hull.highest.bound))
    return 0;
  r->_bounds->_minPosition = hull.lowest.position;
  r->_bounds->_maxPosition = hull.highest.position;
  return 1;
}

/// The index has lost the positions of which `isLost` holds.
template <typename IsLost>
static int onLoss(VarElementRangeData* r, IsLost isLost)
{
  if (!r->_bounds)
    return 1;
  bool standing = !isLost(r->_bounds->_minPosition) && !isLost(r->_bounds->_maxPosition);
  return (standing && witnessesHold(r)) || pushBothSides(r);
}

/// Removes the positions of the index whose variable doesn't fit.
template <typename Fits>
static int dropPositions(VarElementRangeData* r, Fits fits)
{
  CSint* index = r->_indexVar;
  // A removal may move the bounds, and make the bit-set.
  for (int32_t p = firstPosition(index); p <= lastPosition(index, r->_nbVars); p = rcsDomainNextOn(index->_domain, p))
    if (!fits(r->_vars[p]) && !rcsRemoveValue(index, p))
      return 0;
  return 1;
}

// =====================================================================================================================
// Handlers
// =====================================================================================================================

static int PrangeIndexNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t now)
{
  return onLoss(dataOf<VarElementRangeData>(t), [=](int32_t position) { return position < now; });
}

static int PrangeIndexNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t now)
{
  return onLoss(dataOf<VarElementRangeData>(t), [=](int32_t position) { return position > now; });
}

static int PrangeIndexNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  return onLoss(dataOf<VarElementRangeData>(t), [=](int32_t position) { return position == removed; });
}

static int PrangeIndexEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  auto* r = dataOf<VarElementRangeData>(t);
  CSint *s = chosen(r), *result = r->_result;
  return s && pushBound<Lower>(s, result->_min) && pushBound<Upper>(s, result->_max) &&
         pushBound<Lower>(result, s->_min) && pushBound<Upper>(result, s->_max);
}

static int PrangeElementNewMinMaxEvent(CSint* result, Tconstraint* t, int32_t, int32_t)
{
  VarElementRangeData* r = dataOf<RangeWitnesses>(t)->_owner;
  if (!r)
    return 1;
  if (!isFixed(r->_indexVar))
    return dropPositions(r, [=](const CSint* s) { return overlap(s, result); });
  CSint* s = chosen(r);
  if (!s)
    return 0;
  // One bound for each event: the other one waits for the event that this change raises.
  return s->_min < result->_min ? rcsSetMin(s, result->_min) : pushBound<Upper>(s, result->_max);
}

static int PrangeElementEqEvent(CSint* result, Tconstraint* t, int32_t, int32_t)
{
  VarElementRangeData* r = dataOf<RangeWitnesses>(t)->_owner;
  if (!r)
    return 1;
  const int32_t value = result->_min;
  if (isFixed(r->_indexVar))
    return chosen(r) && rcsSetValue(chosen(r), value);
  return dropPositions(r, [=](const CSint* s) { return holds(s, value); });
}

/// Null when the attachment's position can't be chosen any more: its variable has no influence then.
static VarElementRangeData* rangeAt(const Tconstraint* t)
{
  VarElementRangeData* r = dataOf<VarElementRangePair>(t)->_data;
  return r && holds(r->_indexVar, t->_index) ? r : nullptr;
}

template <typename Side>
static int onMove(const CSint* v, const Tconstraint* t, int32_t RangeWitnesses::*witness)
{
  VarElementRangeData* r = rangeAt(t);
  if (!r)
    return 1;
  if (isFixed(r->_indexVar))
    return pushBound<Side>(r->_result, Side::of(v));
  if (!overlap(v, r->_result) && !rcsRemoveValue(r->_indexVar, t->_index))
    return 0;
  return witnessesHold(r) || pushSide<Side>(r, &(r->_bounds->*witness));
}

static int PrangeTintNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return onMove<Lower>(v, t, &RangeWitnesses::_minPosition);
}

static int PrangeTintNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return onMove<Upper>(v, t, &RangeWitnesses::_maxPosition);
}

static int PrangeTintEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  VarElementRangeData* r = rangeAt(t);
  if (!r)
    return 1;
  const int32_t value = v->_min;
  if (isFixed(r->_indexVar))
    return rcsSetValue(r->_result, value);
  if (!holds(r->_result, value))
    return rcsRemoveValue(r->_indexVar, t->_index);
  return witnessesHold(r) || pushBothSides(r);
}

static const Handler PrangeIndex[6] = {PrangeIndexNewMinEvent, PrangeIndexNewMaxEvent, PrangeIndexEqEvent,
    PrangeIndexEqEvent, PrangeIndexEqEvent, PrangeIndexNeqEvent};

static const Handler PrangeElement[6] = {PrangeElementNewMinMaxEvent, PrangeElementNewMinMaxEvent, PrangeElementEqEvent,
    PrangeElementEqEvent, PrangeElementEqEvent, Ptrue};

static const Handler PrangeTint[6] = {
    PrangeTintNewMinEvent, PrangeTintNewMaxEvent, PrangeTintEqEvent, PrangeTintEqEvent, PrangeTintEqEvent, Ptrue};

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// `domain` is the set that the index had before it was cut to the array.
static CSint* doVarElementRange(ConstraintInfo* info, CSint* index, const Domain* domain, CSint** vars, int32_t n)
{
  Hull hull = scan(vars, index->_domain, index->_min, index->_max);
  CSint* result = cs_createCSint(hull.lowest.bound, hull.highest.bound);
  if (!result)
    return nullptr;
  Constraint* onResult = newConstraint(info, PrangeElement,
      RangeWitnesses{._owner = nullptr, ._minPosition = hull.lowest.position, ._maxPosition = hull.highest.position});
  if (!onResult)
    return nullptr;
  Constraint* onIndex = newConstraint(info, PrangeIndex,
      VarElementRangeData{
          ._result = result, ._indexVar = index, ._vars = vars, ._nbVars = n, ._bounds = nullptr, ._pair = nullptr});
  Constraint* onVars = newCompanion(onIndex, index, info, PrangeTint, VarElementRangePair{});
  if (!onVars) {
    freeConstraint(onResult);
    return nullptr;
  }
  Tie<&VarElementRangeData::_bounds>::bind(onIndex, onResult, onVars);
  if (!_rcsAddConstraint(onResult, result, -1)) {
    freeConstraint(onVars);
    return nullptr;
  }
  for (int32_t p = index->_min; p <= index->_max; p = rcsDomainNextOn(domain, p))
    if (!_rcsAddConstraint(onVars, vars[p], p))
      return nullptr;
  return result;
}

CSint* cs_VarElementRange(CSint* index, CSint** variables, int n)
{
  if (n == 0)
    return nullptr;
  const Domain* domain = index->_domain;
  if (!cutToTable(index, n))
    return nullptr;
  return postAs(
      "cs_VarElementRange", [=](ConstraintInfo* info) { return doVarElementRange(info, index, domain, variables, n); });
}
