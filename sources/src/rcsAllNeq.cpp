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
 *
 * A variable whose value has been taken from all others is settled: none of them can take that value as long as the
 * context of that moment stands, so that later events pass it over. An event costs what is left open. In a small array
 * keeping account of that takes longer than to look at all.
 */
#include "rcsBound.h"
#include "rcsMark.h"
#include "rcsPost.h"

#include <algorithm>

struct AllNeqData
{
  CSint** _vars;
  int32_t _size;
  CSint* _minVar; ///< witness for the low end
  CSint* _maxVar; ///< witness for the high end
  int32_t _nbSettled;
  uint64_t* _open;    ///< a bit for each position that isn't settled; null for a small array
  uint64_t* _openEnd; ///< behind the last of their words
  Mark* _settled;     ///< the others, in the order in which they became so
};

constexpr int32_t smallSize = 16;

static inline void settle(AllNeqData* a, int32_t i)
{
  const uint64_t bit = uint64_t(1) << (i & 63);
  if (!(a->_open[i >> 6] & bit))
    return;
  a->_open[i >> 6] ^= bit;
  a->_settled[a->_nbSettled++] = markNow(i);
}

static void reopenFallen(AllNeqData* a)
{
  popFallen(a->_settled, a->_nbSettled,
      [a](const Mark& mark) { a->_open[mark._what >> 6] |= uint64_t(1) << (mark._what & 63); });
}

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
    if (isFixed(v)) {
      if (!removeFromOtherPositions(a, i))
        return 0;
      if (a->_open)
        settle(a, i);
    }
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

/// By identity, unlike at posting: a variable that stands twice doesn't fail against itself here.
static bool takeFrom(CSint* other, const CSint* v, int32_t value) { return other == v || removeIfHeld(other, value); }

static int takeFromAll(const AllNeqData* a, const CSint* v)
{
  CSint** const vars = a->_vars;
  const int32_t size = a->_size, value = v->_min;
  for (int32_t j = 0; j < size; j++)
    if (!takeFrom(vars[j], v, value))
      return 0;
  return 1;
}

/// Not where code of the client's may restore contexts inside a flush: then an event may come for a variable that is
/// free again, which mustn't be settled by it.
[[gnu::noinline]] static int takeFromOpen(AllNeqData* a, const CSint* v, int32_t i)
{
  CSint** vars = a->_vars;
  const int32_t value = v->_min;
  reopenFallen(a);
  uint64_t& own = a->_open[i >> 6];
  const uint64_t bit = own & (uint64_t(1) << (i & 63));
  own ^= bit;
  for (const uint64_t *word = a->_open, *end = a->_openEnd; word < end; word++, vars += 64)
    for (uint64_t others = *word; others; others &= others - 1) {
      CSint* other = vars[uint32_t(std::countr_zero(others))];
      // Another position of the variable itself shows only where its one value can't be taken.
      if (!removeIfHeld(other, value) && other != v) [[unlikely]] {
        own ^= bit;
        return 0;
      }
    }
  if (bit)
    a->_settled[a->_nbSettled++] = markNow(i);
  return 1;
}

static int PallNeqEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* a = dataOf<AllNeqData>(t);
  if (isWitness(v, a) && !rewatch(a))
    return 0;
  return !a->_open || ForeignCode ? takeFromAll(a, v) : takeFromOpen(a, v, t->_index);
}

static const Handler PallNeq[6] = {
    PallNeqNewMinMaxEvent, PallNeqNewMinMaxEvent, PallNeqEqEvent, PallNeqEqEvent, PallNeqEqEvent, Ptrue};

/// Variables are often in several, as the cells of a Latin square in two.
static TconstraintRun runAllNeqs(CSint* v, Tconstraint* t, size_t event, int32_t)
{
  if (event == NewMin || event == NewMax)
    return wakeRun(t, [=](Tconstraint* allNeq) { return PallNeqNewMinMaxEvent(v, allNeq, 0, 0); });
  return wakeRun(t, [=](Tconstraint* allNeq) { return PallNeqEqEvent(v, allNeq, 0, 0); });
}

static int doAllNeq(ConstraintInfo* info, CSint** vars, int32_t size)
{
  const bool isSmall = size <= smallSize;
  const size_t nbWords = (size_t(size) + 63) / 64;
  Constraint* allNeq = newConstraint(info, PallNeq,
      AllNeqData{._vars = vars,
          ._size = size,
          ._minVar = vars[0],
          ._maxVar = vars[size - 1],
          ._nbSettled = 0,
          ._open = nullptr,
          ._openEnd = nullptr,
          ._settled = nullptr},
      isSmall ? 0 : nbWords * sizeof(uint64_t) + size_t(size) * sizeof(Mark));
  if (!allNeq)
    return 0;
  auto* a = static_cast<AllNeqData*>(allNeq->_data);
  if (!isSmall) {
    a->_open = reinterpret_cast<uint64_t*>(a + 1);
    a->_openEnd = a->_open + nbWords;
    a->_settled = reinterpret_cast<Mark*>(a->_openEnd);
    std::fill_n(a->_open, nbWords, ~uint64_t(0));
    if (size % 64 != 0)
      a->_open[nbWords - 1] = (uint64_t(1) << (size % 64)) - 1;
  }
  wakeInRuns(allNeq, runAllNeqs);
  for (int32_t i = 0; i < size; i++)
    if (!_rcsAddConstraint(allNeq, vars[i], i))
      return 0;
  return PallNeqInitialize(a);
}

int cs_AllNeq(CSint** variables, int size)
{
  return size < 1 || postAs("cs_AllNeq", [=](ConstraintInfo* info) { return doAllNeq(info, variables, size); });
}
