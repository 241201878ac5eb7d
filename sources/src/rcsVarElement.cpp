/*
 * VarElement: a new variable equal to the variable at a variable position of an array.
 *
 * Strength: domain consistent, by remembered supports. Each value of the result remembers a position that can provide
 * it, each position of the index a value that it shares with the result; an event costs a search only for what has
 * lost its support. Posting visits every value of the variables once and leaves nothing to propagate.
 *
 * Three constraints share the info: one on the index, one on the result, one on the variables of the array with their
 * positions. Both tables lie outside the trail. An entry names a support that is tested whenever it may be gone, so it
 * does no harm that it stays on backtracking.
 *
 * Restoring never makes the result wider than it was made, so each of its values has an entry. After an accepted
 * context the index and the array may be wider: values and positions without an entry are passed over.
 */
#include "rcsPositions.h"

struct VarElementData;
struct ValuePositions;

using VarElementPair = RecordPair<VarElementData, ValuePositions>;

struct VarElementData
{
  CSint* _result;
  CSint* _indexVar;
  CSint** _vars;
  int32_t _nbVars;
  int32_t _nbSupports;
  ValuePositions* _valuePositions; ///< null once one of the two records is gone
  VarElementPair* _pair;           ///< null once it is gone
  int32_t _supports[];             ///< for each position up to the index's maximum, a value shared with the result
};

struct ValuePositions
{
  VarElementData* _owner; ///< null once it is gone
  int32_t _firstValue;
  int32_t _positions[]; ///< for each value from the first on, a position that can provide it
};

constexpr int32_t noSupport = INT32_MIN;
constexpr int32_t noPosition = -1;

static int32_t& positionOf(ValuePositions* table, int32_t value)
{
  return table->_positions[uint32_t(value) - uint32_t(table->_firstValue)];
}

/// The variable at the one position that the index has left; null when that lies outside the array.
static CSint* chosen(const VarElementData* e)
{
  int32_t position = e->_indexVar->_min;
  return isInTable(position, e->_nbVars) ? e->_vars[position] : nullptr;
}

/// The next value inwards from that side, or the one beyond the opposite bound.
template <typename Side>
static int64_t nextInwards(const CSint* v, int32_t value)
{
  if constexpr (Side::moved == NewMin)
    return value < v->_max ? rcsDomainNextOn(v->_domain, value) : int64_t(v->_max) + 1;
  else
    return value > v->_min ? rcsDomainPrevOn(v->_domain, value) : int64_t(v->_min) - 1;
}

template <typename Side>
static bool hasPassed(const CSint* v, int64_t value)
{
  return Side::inside(value, Side::Opposite::of(v));
}

// =====================================================================================================================
// Supports
// =====================================================================================================================

/// The smallest value that the variable at the position shares with the result. The walk goes from one of the two to
/// the other whenever a value is missing.
static bool findIndexSupportValue(int32_t* found, int32_t position, CSint** vars, const CSint* result)
{
  const CSint* v = vars[position];
  const Domain *ofVar = v->_domain, *ofResult = result->_domain;
  const int32_t last = smallerOf(v->_max, result->_max);
  for (int32_t value = largerOf(v->_min, result->_min); value <= last;) {
    bool inVar = rcsDomainIsOn(ofVar, value);
    if (inVar && rcsDomainIsOn(ofResult, value)) {
      *found = value;
      return true;
    }
    if (value == last)
      return false;
    value = rcsDomainNextOn(inVar ? ofResult : ofVar, value);
  }
  return false;
}

/// The position gets another value that it shares with the result, or leaves the index.
static int renewSupport(VarElementData* e, int32_t position)
{
  return findIndexSupportValue(&e->_supports[position], position, e->_vars, e->_result) ||
         rcsRemoveValue(e->_indexVar, position);
}

/// The first position of the index whose variable contains the value.
static int32_t findPosition(const VarElementData* e, int32_t value)
{
  const Domain* domain = e->_indexVar->_domain;
  const int32_t last = lastPosition(e->_indexVar, e->_nbSupports);
  for (int32_t p = firstPosition(e->_indexVar); p <= last; p = rcsDomainNextOn(domain, p))
    if (holds(e->_vars[p], value))
      return p;
  return noPosition;
}

/// The value of the result gets another position or goes. What was found for one value mostly serves the next one too:
/// `candidate` keeps it from call to call.
static int renewPosition(VarElementData* e, int32_t value, int32_t& candidate)
{
  if (candidate == noPosition || !holds(e->_vars[candidate], value)) {
    int32_t found = findPosition(e, value);
    if (found == noPosition)
      return rcsRemoveValue(e->_result, value);
    candidate = found;
  }
  positionOf(e->_valuePositions, value) = candidate;
  return 1;
}

/// The same for each value of the result of which `isStale(value, position)` holds.
template <typename IsStale>
static int renewPositions(VarElementData* e, IsStale isStale)
{
  int32_t candidate = noPosition;
  const CSint* result = e->_result;
  for (int64_t v = result->_min; !hasPassed<Lower>(result, v); v = nextInwards<Lower>(result, int32_t(v))) {
    auto value = int32_t(v);
    if (isStale(value, positionOf(e->_valuePositions, value)) && !renewPosition(e, value, candidate))
      return 0;
  }
  return 1;
}

/// The same for each position of the index whose support is stale.
template <typename IsStale>
static int renewSupports(VarElementData* e, IsStale isStale)
{
  const CSint* index = e->_indexVar;
  // A removal may move the bounds, and make the bit-set.
  for (int32_t p = firstPosition(index); p <= lastPosition(index, e->_nbSupports);
       p = rcsDomainNextOn(index->_domain, p))
    if (isStale(e->_supports[p]) && !renewSupport(e, p))
      return 0;
  return 1;
}

// =====================================================================================================================
// Handlers on the index
// =====================================================================================================================

static int PindexNewMinMaxEvent(CSint* index, Tconstraint* t, int32_t, int32_t)
{
  auto* e = dataOf<VarElementData>(t);
  const int32_t min = index->_min, max = index->_max;
  return !e->_valuePositions ||
         renewPositions(e, [=](int32_t, int32_t position) { return position < min || max < position; });
}

static int PindexNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  auto* e = dataOf<VarElementData>(t);
  return !e->_valuePositions || renewPositions(e, [=](int32_t, int32_t position) { return position == removed; });
}

/// Removes values of `v` from `value` on, until one reaches `other` or passes the maximum.
static int dropUpTo(CSint* v, int64_t* value, int64_t other)
{
  while (*value < other && !hasPassed<Lower>(v, *value)) {
    if (!rcsRemoveValue(v, int32_t(*value)))
      return 0;
    *value = nextInwards<Lower>(v, int32_t(*value));
  }
  return 1;
}

/// Leaves in the variable at the position and in the result what both hold. When one of them has run out of values, the
/// rest of the other goes by the events of the bounds.
static int mergeWithResult(VarElementData* e, int32_t position)
{
  CSint *s = e->_vars[position], *result = e->_result;
  int64_t a = s->_min, b = result->_min;
  while (!hasPassed<Lower>(s, a) && !hasPassed<Lower>(result, b)) {
    if (a == b) {
      positionOf(e->_valuePositions, int32_t(b)) = position;
      a = nextInwards<Lower>(s, int32_t(a));
      b = nextInwards<Lower>(result, int32_t(b));
    } else if (!(a < b ? dropUpTo(s, &a, b) : dropUpTo(result, &b, a))) {
      return 0;
    }
  }
  return 1;
}

static int PindexEqEvent(CSint* index, Tconstraint* t, int32_t, int32_t)
{
  auto* e = dataOf<VarElementData>(t);
  if (!e->_valuePositions)
    return 1;
  CSint *s = chosen(e), *result = e->_result;
  return s && pushBound<Lower>(s, result->_min) && pushBound<Upper>(s, result->_max) &&
         pushBound<Lower>(result, s->_min) && pushBound<Upper>(result, s->_max) && mergeWithResult(e, index->_min);
}

// =====================================================================================================================
// Handlers on the result
// =====================================================================================================================

static int PelementNewMinMaxEvent(CSint* result, Tconstraint* t, int32_t, int32_t)
{
  VarElementData* e = dataOf<ValuePositions>(t)->_owner;
  if (!e)
    return 1;
  if (!isFixed(e->_indexVar))
    return renewSupports(e, [=](int32_t support) { return support < result->_min || result->_max < support; });
  CSint* s = chosen(e);
  if (!s)
    return 0;
  // One bound for each event: the other one waits for the event that this change raises.
  return s->_min < result->_min ? rcsSetMin(s, result->_min) : pushBound<Upper>(s, result->_max);
}

static int PelementEqEvent(CSint* result, Tconstraint* t, int32_t, int32_t)
{
  VarElementData* e = dataOf<ValuePositions>(t)->_owner;
  if (!e)
    return 1;
  const int32_t value = result->_min;
  if (isFixed(e->_indexVar))
    return chosen(e) && rcsSetValue(chosen(e), value);
  return renewSupports(e, [=](int32_t support) { return support != value; });
}

static int PelementNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  VarElementData* e = dataOf<ValuePositions>(t)->_owner;
  if (!e)
    return 1;
  if (isFixed(e->_indexVar))
    return chosen(e) && rcsRemoveValue(chosen(e), removed);
  return renewSupports(e, [=](int32_t support) { return support == removed; });
}

// =====================================================================================================================
// Handlers on the variables of the array
// =====================================================================================================================

/// Null when the attachment's position can't be chosen any more: its variable has no influence then.
static VarElementData* elementAt(const Tconstraint* t)
{
  VarElementData* e = dataOf<VarElementPair>(t)->_data;
  return e && holds(e->_indexVar, t->_index) ? e : nullptr;
}

/// The values of the result from its bound up to `bound`, as far as the position alone provided them, go in one step.
/// What is found for the first value that stays is the candidate for those behind it.
template <typename Side>
static int pushResult(VarElementData* e, int32_t position, int32_t bound, int32_t& candidate)
{
  CSint* result = e->_result;
  ValuePositions* table = e->_valuePositions;
  int64_t v = Side::of(result);
  while (Side::inside(bound, v) && !hasPassed<Side>(result, v) && positionOf(table, int32_t(v)) == position) {
    int32_t found = findPosition(e, int32_t(v));
    if (found != noPosition) {
      candidate = positionOf(table, int32_t(v)) = found;
      break;
    }
    v = nextInwards<Side>(result, int32_t(v));
  }
  return !hasPassed<Side>(result, v) && pushBound<Side>(result, int32_t(v));
}

/// Only the walk over the result's values has two directions; supports and positions are looked for from below.
template <typename Side>
static int onMove(const Tconstraint* t, int32_t bound)
{
  VarElementData* e = elementAt(t);
  if (!e)
    return 1;
  CSint* result = e->_result;
  const int32_t position = t->_index;
  if (isFixed(e->_indexVar))
    return pushBound<Side>(result, bound);
  if (Side::inside(bound, e->_supports[position]) && !renewSupport(e, position))
    return 0;
  int32_t candidate = noPosition;
  if (!pushResult<Side>(e, position, bound, candidate))
    return 0;
  for (int64_t v = Side::of(result); Side::inside(bound, v) && !hasPassed<Side>(result, v);
       v = nextInwards<Side>(result, int32_t(v)))
    if (positionOf(e->_valuePositions, int32_t(v)) == position && !renewPosition(e, int32_t(v), candidate))
      return 0;
  return 1;
}

static int PtintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t now) { return onMove<Lower>(t, now); }

static int PtintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t now) { return onMove<Upper>(t, now); }

static int PtintEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  VarElementData* e = elementAt(t);
  if (!e)
    return 1;
  const int32_t value = v->_min, position = t->_index;
  if (isFixed(e->_indexVar))
    return rcsSetValue(e->_result, value);
  if (!holds(e->_result, value))
    return rcsRemoveValue(e->_indexVar, position);
  if (!renewPositions(e, [=](int32_t other, int32_t at) { return other != value && at == position; }))
    return 0;
  e->_supports[position] = value;
  return 1;
}

static int PtintNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  VarElementData* e = elementAt(t);
  if (!e)
    return 1;
  CSint* result = e->_result;
  const int32_t position = t->_index;
  if (isFixed(e->_indexVar))
    return rcsRemoveValue(result, removed);
  if (e->_supports[position] == removed && !renewSupport(e, position))
    return 0;
  bool isKnown = result->_initMin <= removed && removed <= result->_initMax;
  if (!isKnown || positionOf(e->_valuePositions, removed) != position)
    return 1;
  int32_t none = noPosition;
  return renewPosition(e, removed, none);
}

static const Handler Pindex[6] = {
    PindexNewMinMaxEvent, PindexNewMinMaxEvent, PindexEqEvent, PindexEqEvent, PindexEqEvent, PindexNeqEvent};

static const Handler Pelement[6] = {PelementNewMinMaxEvent, PelementNewMinMaxEvent, PelementEqEvent, PelementEqEvent,
    PelementEqEvent, PelementNeqEvent};

static const Handler Ptint[6] = {
    PtintNewMinEvent, PtintNewMaxEvent, PtintEqEvent, PtintEqEvent, PtintEqEvent, PtintNeqEvent};

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// What is posted: the set of the index is the one that it had before it was cut to the array.
struct Choice
{
  CSint* _index;
  const Domain* _domain;
  CSint** _vars;
  int32_t _nbVars;

  int32_t next(int32_t position) const { return rcsDomainNextOn(_domain, position); }
};

/// The constraint on the result, with the first position of each value from the lowest to the highest.
static Constraint* newPositions(ConstraintInfo* info, const Choice& choice, int64_t* nbValues, int64_t* nbKept)
{
  int32_t lowest = INT32_MAX, highest = INT32_MIN;
  for (int32_t p = choice._index->_min; p <= choice._index->_max; p = choice.next(p)) {
    lowest = smallerOf(lowest, choice._vars[p]->_min);
    highest = largerOf(highest, choice._vars[p]->_max);
  }
  *nbValues = int64_t(highest) - lowest + 1;
  *nbKept = 0;
  uint64_t size = uint64_t(*nbValues) * sizeof(int32_t);
  if (size > SIZE_MAX / 2) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  Constraint* constraint =
      newConstraint(info, Pelement, ValuePositions{._owner = nullptr, ._firstValue = lowest}, size_t(size));
  if (!constraint)
    return nullptr;
  auto* table = static_cast<ValuePositions*>(constraint->_data);
  for (int64_t i = 0; i < *nbValues; i++)
    table->_positions[i] = noPosition;
  for (int32_t p = choice._index->_min; p <= choice._index->_max; p = choice.next(p)) {
    const CSint* v = choice._vars[p];
    for (int64_t value = v->_min; !hasPassed<Lower>(v, value); value = nextInwards<Lower>(v, int32_t(value))) {
      int32_t& position = positionOf(table, int32_t(value));
      if (position == noPosition) {
        position = p;
        ++*nbKept;
      }
    }
  }
  return constraint;
}

/// An interval, unless some value between the lowest and the highest has no position.
static CSint* newResult(const ValuePositions* table, int64_t nbValues, int64_t nbKept)
{
  const int32_t lowest = table->_firstValue;
  if (nbKept == nbValues)
    return cs_createCSint(lowest, int32_t(lowest + nbValues - 1));
  auto* kept = static_cast<int32_t*>(malloc(size_t(nbKept) * sizeof(int32_t)));
  if (!kept) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  int32_t* place = kept;
  for (int64_t i = 0; i < nbValues; i++)
    if (table->_positions[i] != noPosition)
      *place++ = int32_t(lowest + i);
  CSint* result = cs_createCSintFromDomain(kept, int32_t(nbKept));
  free(kept);
  return result;
}

/// The constraint on the index, with a support for each position up to the maximum that its former set holds.
static Constraint* newSupports(ConstraintInfo* info, const Choice& choice, CSint* result)
{
  const int32_t nbSupports = choice._index->_max + 1;
  Constraint* constraint = newConstraint(info, Pindex,
      VarElementData{._result = result,
          ._indexVar = choice._index,
          ._vars = choice._vars,
          ._nbVars = choice._nbVars,
          ._nbSupports = nbSupports,
          ._valuePositions = nullptr,
          ._pair = nullptr},
      size_t(nbSupports) * sizeof(int32_t));
  if (!constraint)
    return nullptr;
  int32_t* supports = static_cast<VarElementData*>(constraint->_data)->_supports;
  for (int32_t p = 0; p < nbSupports; p++) {
    supports[p] = noSupport;
    if (rcsDomainIsOn(choice._domain, p))
      findIndexSupportValue(&supports[p], p, choice._vars, result);
  }
  return constraint;
}

static CSint* doVarElement(ConstraintInfo* info, const Choice& choice)
{
  int64_t nbValues, nbKept;
  Constraint* onResult = newPositions(info, choice, &nbValues, &nbKept);
  if (!onResult)
    return nullptr;
  CSint* result = newResult(static_cast<ValuePositions*>(onResult->_data), nbValues, nbKept);
  Constraint* onIndex = result ? newSupports(info, choice, result) : nullptr;
  Constraint* onVars = newCompanion(onIndex, choice._index, info, Ptint, VarElementPair{});
  if (!onVars) {
    freeConstraint(onResult);
    return nullptr;
  }
  Tie<&VarElementData::_valuePositions>::bind(onIndex, onResult, onVars);
  if (!_rcsAddConstraint(onResult, result, -1)) {
    freeConstraint(onVars);
    return nullptr;
  }
  for (int32_t p = choice._index->_min; p <= choice._index->_max; p = choice.next(p))
    if (!_rcsAddConstraint(onVars, choice._vars[p], p))
      return nullptr;
  return result;
}

CSint* cs_VarElement(CSint* index, CSint** variables, int n)
{
  if (n == 0)
    return nullptr;
  const Domain* domain = index->_domain;
  if (!cutToTable(index, n))
    return nullptr;
  return postAs("cs_VarElement", [=](ConstraintInfo* info) {
    return doVarElement(info, {._index = index, ._domain = domain, ._vars = variables, ._nbVars = n});
  });
}
