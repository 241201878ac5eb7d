/*
 * All different: forward checking, and one span test over all the variables together. There is no reasoning on Hall
 * intervals.
 *
 * The span test asks whether the values between the smallest minimum and the largest maximum are as many as the
 * variables. It keeps two variables as witnesses for the two ends and looks further only when a bound of a witness
 * moves; it then takes the first witnesses that do, which needn't be the extremes. They lie outside the trail: all that
 * they claim is that their span was wide enough when last tested, and on backtracking bounds only widen. The span is
 * 32-bit arithmetic that wraps, so variables further apart than that fail.
 *
 * The variables are attached with their position in the array, which is the caller's own.
 */
#include "rcsBound.h"
#include "rcsPost.h"

struct AllNeqData
{
  CSint** _vars;
  int32_t _size;
  CSint* _minVar; ///< witness for the low end
  CSint* _maxVar; ///< witness for the high end
};

static bool isWideEnough(int32_t low, int32_t high, int32_t size) { return wrapSub(wrapAdd(high, 1), low) >= size; }

/// Looks for two witnesses with room for all variables, and keeps the old ones where there are none.
static int rewatch(AllNeqData* a)
{
  CSint *minVar = a->_minVar, *maxVar = a->_maxVar;
  int32_t low = minVar->_min, high = maxVar->_max;
  if (isWideEnough(low, high, a->_size))
    return 1;
  for (int32_t i = 0; i < a->_size; i++) {
    CSint* v = a->_vars[i];
    minVar = v->_min < low ? v : minVar;
    low = smallerOf(v->_min, low);
    maxVar = v->_max > high ? v : maxVar;
    high = largerOf(v->_max, high);
    if (isWideEnough(low, high, a->_size)) {
      a->_minVar = minVar;
      a->_maxVar = maxVar;
      return 1;
    }
  }
  return 0;
}

/// An instantiated variable at position i takes its value from every other position: also from its own second one.
static int removeFromOtherPositions(const AllNeqData* a, int32_t i)
{
  for (int32_t j = 0; j < a->_size; j++)
    if (j != i && !rcsRemoveValue(a->_vars[j], a->_vars[i]->_min))
      return 0;
  return 1;
}

static int PallNeqInitialize(AllNeqData* a)
{
  for (int32_t i = 0; i < a->_size; i++) {
    CSint* v = a->_vars[i];
    if (isFixed(v) && !removeFromOtherPositions(a, i))
      return 0;
    if (v->_min < a->_minVar->_min)
      a->_minVar = v;
    if (v->_max > a->_maxVar->_max)
      a->_maxVar = v;
  }
  return isWideEnough(a->_minVar->_min, a->_maxVar->_max, a->_size);
}

static bool isWitness(const CSint* v, const AllNeqData* a) { return v == a->_minVar || v == a->_maxVar; }

static int PallNeqNewMinMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* a = dataOf<AllNeqData>(t);
  return !isWitness(v, a) || rewatch(a);
}

static int PallNeqEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* a = dataOf<AllNeqData>(t);
  if (isWitness(v, a) && !rewatch(a))
    return 0;
  // By identity, unlike at posting: a variable that stands twice doesn't fail against itself here.
  CSint** const vars = a->_vars;
  const int32_t size = a->_size, value = v->_min;
  for (int32_t j = 0; j < size; j++) {
    CSint* other = vars[j];
    if (other != v && !removeIfHeld(other, value))
      return 0;
  }
  return 1;
}

static const Handler PallNeq[6] = {
    PallNeqNewMinMaxEvent, PallNeqNewMinMaxEvent, PallNeqEqEvent, PallNeqEqEvent, PallNeqEqEvent, Ptrue};

static int doAllNeq(ConstraintInfo* info, CSint** vars, int32_t size)
{
  Constraint* allNeq = newConstraint(
      info, PallNeq, AllNeqData{._vars = vars, ._size = size, ._minVar = vars[0], ._maxVar = vars[size - 1]});
  if (!allNeq)
    return 0;
  for (int32_t i = 0; i < size; i++)
    if (!_rcsAddConstraint(allNeq, vars[i], i))
      return 0;
  return PallNeqInitialize(static_cast<AllNeqData*>(allNeq->_data));
}

int cs_AllNeq(CSint** variables, int size)
{
  return size < 1 || postAs("cs_AllNeq", [=](ConstraintInfo* info) { return doAllNeq(info, variables, size); });
}
