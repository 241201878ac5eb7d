/*
 * Minimum and maximum of an array of variables, as a new variable z.
 *
 * Strength: bounds, and a support test when z is fixed: one of the operands must still have the value. That operand
 * isn't fixed to it when it is the only one left, and holes are ignored.
 *
 * There are two constraints to each, with one info: the one on z (Vint) carries z's moves to the operands, the one on
 * the operands (Tint) works out z's bound anew, but only when the operand that moved may have been the one that held
 * it. That test, against the bound before the step, keeps most events to one comparison. Where two steps of one
 * operand's bound have merged in the queue the test can miss, and z's bound then lags behind: this is known and kept.
 *
 * A rule on minima is that on maxima mirrored. Side is the one on which the result lies: Lower for the minimum. The two
 * families differ in the order of the steps when an operand is fixed from inside, which is written out.
 */
#include "rcsBound.h"
#include "rcsPost.h"

#include <cstdarg>
#include <cstring>

struct MinMaxData
{
  CSint* _result;
  CSint** _vars;
  int32_t _size;
};

// =====================================================================================================================
// From the result to the operands
// =====================================================================================================================

static int hasSupport(const MinMaxData* m)
{
  const CSint* z = m->_result;
  if (!isFixed(z))
    return 1;
  const int32_t value = z->_min;
  for (int32_t i = 0; i < m->_size; i++)
    if (holds(m->_vars[i], value))
      return 1;
  return 0;
}

/// No operand lies beyond the result.
template <typename Side>
static int pushOperands(const MinMaxData* m, int32_t bound)
{
  for (int32_t i = 0; i < m->_size; i++)
    if (!pushBound<Side>(m->_vars[i], bound))
      return 0;
  return hasSupport(m);
}

static int PminVintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t now)
{
  return pushOperands<Lower>(dataOf<MinMaxData>(t), now);
}

static int PminVintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return hasSupport(dataOf<MinMaxData>(t)); }

static int PminVintEqEvent(CSint* z, Tconstraint* t, int32_t, int32_t)
{
  return pushOperands<Lower>(dataOf<MinMaxData>(t), z->_min);
}

static int PmaxVintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return hasSupport(dataOf<MinMaxData>(t)); }

static int PmaxVintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t now)
{
  return pushOperands<Upper>(dataOf<MinMaxData>(t), now);
}

static int PmaxVintEqEvent(CSint* z, Tconstraint* t, int32_t, int32_t)
{
  return pushOperands<Upper>(dataOf<MinMaxData>(t), z->_max);
}

// =====================================================================================================================
// From the operands to the result
// =====================================================================================================================

/// The outermost of `start` and all the operands' bounds.
template <typename Side>
static int32_t outermost(const MinMaxData* m, int32_t start)
{
  for (int32_t i = 0; i < m->_size; i++)
    if (Side::inside(start, Side::of(m->_vars[i])))
      start = Side::of(m->_vars[i]);
  return start;
}

/// An operand's bound went from `before` to `after`: it may have held the result's.
template <typename Side>
static int followBound(const MinMaxData* m, int32_t before, int32_t after)
{
  return Side::of(m->_result) != before || pushBound<Side>(m->_result, outermost<Side>(m, after));
}

static int PminTintNewMinEvent(CSint*, Tconstraint* t, int32_t old, int32_t now)
{
  return followBound<Lower>(dataOf<MinMaxData>(t), old, now);
}

static int PminTintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t now)
{
  return pushBound<Upper>(dataOf<MinMaxData>(t)->_result, now);
}

// The scan first, then the cheap bound: the reverse of the maximum's.
static int PminTintEqEvent(CSint* v, Tconstraint* t, int32_t oldMin, int32_t)
{
  auto* m = dataOf<MinMaxData>(t);
  return followBound<Lower>(m, oldMin, v->_min) && pushBound<Upper>(m->_result, v->_max);
}

static int PmaxTintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t now)
{
  return pushBound<Lower>(dataOf<MinMaxData>(t)->_result, now);
}

static int PmaxTintNewMaxEvent(CSint*, Tconstraint* t, int32_t old, int32_t now)
{
  return followBound<Upper>(dataOf<MinMaxData>(t), old, now);
}

// The cheap bound first, then the scan: the reverse of the minimum's.
static int PmaxTintEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t oldMax)
{
  auto* m = dataOf<MinMaxData>(t);
  return pushBound<Lower>(m->_result, v->_min) && followBound<Upper>(m, oldMax, v->_max);
}

static const Handler PminVint[6] = {
    PminVintNewMinEvent, PminVintNewMaxEvent, PminVintNewMinEvent, PminVintNewMaxEvent, PminVintEqEvent, Ptrue};

static const Handler PminTint[6] = {
    PminTintNewMinEvent, PminTintNewMaxEvent, PminTintNewMinEvent, PminTintNewMaxEvent, PminTintEqEvent, Ptrue};

static const Handler PmaxVint[6] = {
    PmaxVintNewMinEvent, PmaxVintNewMaxEvent, PmaxVintNewMinEvent, PmaxVintNewMaxEvent, PmaxVintEqEvent, Ptrue};

static const Handler PmaxTint[6] = {
    PmaxTintNewMinEvent, PmaxTintNewMaxEvent, PmaxTintNewMinEvent, PmaxTintNewMaxEvent, PmaxTintEqEvent, Ptrue};

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// Moves a copy of the array into the room behind the record.
static void takeArray(Constraint* constraint)
{
  auto* m = static_cast<MinMaxData*>(constraint->_data);
  auto* vars = reinterpret_cast<CSint**>(m + 1);
  memcpy(vars, m->_vars, size_t(m->_size) * sizeof(CSint*));
  m->_vars = vars;
}

static CSint* postMinMax(
    ConstraintInfo* info, const MinMaxData& data, ArrayOf owner, const Handler* vint, const Handler* tint)
{
  size_t copied = owner == ArrayOf::trail ? size_t(data._size) * sizeof(CSint*) : 0;
  Constraint* onResult = newConstraint(info, vint, data, copied);
  Constraint* onOperands = newCompanion(onResult, data._result, info, tint, data, copied);
  if (!onOperands)
    return nullptr;
  // A copy for each: where contexts are accepted inside others, either of the two may be the one that is left.
  if (owner == ArrayOf::trail) {
    takeArray(onResult);
    takeArray(onOperands);
  }
  for (int32_t i = 0; i < data._size; i++)
    if (!_rcsAddConstraint(onOperands, data._vars[i], -1))
      return nullptr;
  // Without operands nothing holds it.
  if (onOperands->_refCount == 0)
    freeConstraint(onOperands);
  return data._result;
}

/// The result of an empty array is the neutral element, the innermost integer of all.
template <typename Side>
static CSint* newResult(const MinMaxData* m, int32_t neutral)
{
  int32_t low = neutral, high = neutral;
  for (int32_t i = 0; i < m->_size; i++) {
    const CSint* v = m->_vars[i];
    low = Side::inside(low, v->_min) ? v->_min : low;
    high = Side::inside(high, v->_max) ? v->_max : high;
  }
  return cs_createCSint(low, high);
}

template <typename Side>
static CSint* post(ConstraintInfo* info, CSint** vars, int32_t n, ArrayOf owner, int32_t neutral, const Handler* vint,
    const Handler* tint)
{
  MinMaxData data = {._result = nullptr, ._vars = vars, ._size = n < 1 ? 0 : n};
  data._result = newResult<Side>(&data, neutral);
  return data._result ? postMinMax(info, data, owner, vint, tint) : nullptr;
}

static CSint* doMin(ConstraintInfo* info, CSint** vars, int32_t n, ArrayOf owner)
{
  return post<Lower>(info, vars, n, owner, INT32_MAX, PminVint, PminTint);
}

static CSint* doMax(ConstraintInfo* info, CSint** vars, int32_t n, ArrayOf owner)
{
  return post<Upper>(info, vars, n, owner, INT32_MIN, PmaxVint, PmaxTint);
}

CSint* cs_Min(CSint** variables, int n)
{
  return postAs("cs_Min", [=](ConstraintInfo* info) { return doMin(info, variables, n, ArrayOf::caller); });
}

CSint* cs_Max(CSint** variables, int n)
{
  return postAs("cs_Max", [=](ConstraintInfo* info) { return doMax(info, variables, n, ArrayOf::caller); });
}

/// Posts on the arguments, as an array that belongs to the trail.
template <typename Post>
[[gnu::always_inline]] static inline CSint* postArguments(
    const char* function, int32_t n, CSint* first, va_list further, Post post)
{
  return postAs(function, [&](ConstraintInfo* info) -> CSint* {
    auto* vars = newTrailArray<CSint*>(n);
    if (!vars)
      return nullptr;
    vars[0] = first;
    for (int32_t i = 1; i < n; i++)
      vars[i] = va_arg(further, CSint*);
    return post(info, vars, n, ArrayOf::trail);
  });
}

CSint* cs_VMin(int n, CSint* first, ...)
{
  va_list further;
  va_start(further, first);
  CSint* result = postArguments("cs_VMin", n, first, further, doMin);
  va_end(further);
  return result;
}

CSint* cs_VMax(int n, CSint* first, ...)
{
  va_list further;
  va_start(further, first);
  CSint* result = postArguments("cs_VMax", n, first, further, doMax);
  va_end(further);
  return result;
}
