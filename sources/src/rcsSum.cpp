/*
 * Linear sums: a new variable z equal to the sum of an array of variables, or of coefficients times variables.
 *
 * Strength: bounds consistent on the linear relation, with exact integer rounding; holes play no part. A handler adds
 * up the bounds of the operands in 64 bits, compares the sums with z, and goes over the operands once more where z is
 * tighter than they are. What it has added up is not recomputed on the way; its own narrowings wake it again where that
 * can give more.
 *
 * Between events a sum keeps nothing of operands that may still move. Of those that are fixed a long sum with
 * coefficients keeps the sum, for as long as the contexts stand in which they were found so.
 *
 * There are two constraints to each sum, with equal records and one info. The one on z (Vint) wakes when z moves and
 * narrows all operands. The one on the operands (Tint) is attached with their positions and spares the one that woke
 * it.
 *
 * The room of a sum is how far it may still move on one side: from the lowest sum up to max(z), or from the highest
 * down to min(z). No term may span more than the room.
 */
#include "rcsBound.h"
#include "rcsMark.h"
#include "rcsPost.h"

#include <cstdarg>
#include <cstring>
#include <utility>

struct SigmaData
{
  CSint* _result;
  CSint** _vars;
  int32_t _size;
};

/// An operand with its coefficient, as the adding up sees it.
struct Term
{
  const int32_t* _atLowest; ///< the bound of the variable at which the term is lowest
  const int32_t* _atHighest;
  int64_t _coeff;
};

struct ScalProdData
{
  CSint* _result;
  const int32_t* _coeffs;
  CSint** _vars;
  int32_t _size;
  int32_t _nbSettled;
  uint64_t _settledSum;
  Term* _terms;   ///< those that are settled in front
  Mark* _settled; ///< their marks, in the same order; null where none is kept
};

struct Sums
{
  int64_t _lowest;
  int64_t _highest;
};

/// Of terms with coefficients. Where the span of the widest one is within the room, none has to be looked at again:
/// that would take as long once more.
struct TermSums : Sums
{
  uint64_t _widest;
};

template <typename Side>
static int64_t sumOn(const Sums& sums)
{
  return Side::inside(0, 1) ? sums._highest : sums._lowest;
}

static uint32_t widthBetween(int32_t low, int32_t high) { return uint32_t(high) - uint32_t(low); }

static uint32_t widthOf(const CSint* v) { return widthBetween(v->_min, v->_max); }

/// Pulls the far bound of `v` to within `room` of its bound on this side. Out of line, like what else narrows a single
/// operand, so that the loops keep to the test whether one needs it.
template <typename Side>
[[gnu::noinline]] static int cutWidth(CSint* v, uint64_t room)
{
  return Side::Opposite::tighten(v, Side::step(Side::of(v), int32_t(uint32_t(room))));
}

/// The handlers of a sum's constraint on its result.
static const Handler* onResult(const SigmaData*);
static const Handler* onResult(const ScalProdData*);

/// Moves the result's bound to a sum that was within its other bound. Told of that, the constraint on the result would
/// add up all operands once more and find that the bound came from them, as they can't have widened by then. So it
/// isn't told, where nobody else would be; but with crossed bounds among the operands it is for that constraint to
/// fail.
template <typename Side, typename Data>
static int pushResult(const Data* s, const Sums& sums)
{
  CSint* z = s->_result;
  const int64_t sum = sumOn<Side>(sums);
  if (!Side::inside(sum, Side::of(z)))
    return 1;
  constexpr uint32_t events = 1u << Side::moved | 1u << Side::fixed;
  const bool unheard = !hasHoles(z) && sums._lowest <= sums._highest &&
                       isUnheard(z, events, [=](const Tconstraint* t) { return t->_handlers == onResult(s); });
  if (!Side::tighten(z, int32_t(sum)))
    return 0;
  if (unheard)
    hush(z);
  return 1;
}

/// Can the limit on the sum, which is the result's far bound, narrow an operand at all? Not where no values of the
/// operands go beyond it: as when that bound came from the sum itself, which is why z often wakes its own constraint.
template <typename Side>
static bool isBinding(int32_t limit, const Sums& sums)
{
  return Side::Opposite::inside(limit, sumOn<typename Side::Opposite>(sums));
}

/// The result has moved.
template <typename Side, typename Data>
static int fitOperands(Data* s)
{
  Sums sums = sumsOf(s);
  int32_t limit = Side::Opposite::of(s->_result);
  if (Side::inside(sumOn<Side>(sums), limit))
    return 0;
  return !isBinding<Side>(limit, sums) || cutAll<Side>(s, Side::gap(sumOn<Side>(sums), limit));
}

// =====================================================================================================================
// Sums
// =====================================================================================================================

// Fewer than 2^31 bounds of 32 bits: 64 bits hold any sum.
static Sums sumsOf(const SigmaData* s)
{
  CSint* const* vars = s->_vars;
  Sums sums = {._lowest = 0, ._highest = 0};
  for (int32_t i = 0, n = s->_size; i < n; i++) {
    sums._lowest += vars[i]->_min;
    sums._highest += vars[i]->_max;
  }
  return sums;
}

template <typename Side>
static int cutRange(const SigmaData* s, int32_t from, int32_t to, uint64_t room)
{
  CSint* const* vars = s->_vars;
  for (int32_t i = from; i < to; i++)
    if (widthOf(vars[i]) > room && !cutWidth<Side>(vars[i], room))
      return 0;
  return 1;
}

template <typename Side>
static int cutAll(const SigmaData* s, uint64_t room)
{
  return cutRange<Side>(s, 0, s->_size, room);
}

/// The operand at position k has moved.
template <typename Side>
static int fitOthers(const SigmaData* s, int32_t k)
{
  Sums sums = sumsOf(s);
  int64_t sum = sumOn<Side>(sums);
  int32_t limit = Side::Opposite::of(s->_result);
  if (Side::inside(sum, limit) || !pushResult<Side>(s, sums))
    return 0;
  uint64_t room = Side::gap(sum, limit);
  return !isBinding<Side>(limit, sums) || (cutRange<Side>(s, 0, k, room) && cutRange<Side>(s, k + 1, s->_size, room));
}

static int PsigmaVintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOperands<Upper>(dataOf<SigmaData>(t));
}

static int PsigmaVintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOperands<Lower>(dataOf<SigmaData>(t));
}

static int PsigmaVintEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOperands<Upper>(dataOf<SigmaData>(t)) && fitOperands<Lower>(dataOf<SigmaData>(t));
}

static int PsigmaTintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOthers<Lower>(dataOf<SigmaData>(t), t->_index);
}

static int PsigmaTintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOthers<Upper>(dataOf<SigmaData>(t), t->_index);
}

static int PsigmaTintEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOthers<Lower>(dataOf<SigmaData>(t), t->_index) && fitOthers<Upper>(dataOf<SigmaData>(t), t->_index);
}

static const Handler PsigmaVint[6] = {PsigmaVintNewMinEvent, PsigmaVintNewMaxEvent, PsigmaVintNewMinEvent,
    PsigmaVintNewMaxEvent, PsigmaVintEqEvent, Ptrue};

static const Handler PsigmaTint[6] = {PsigmaTintNewMinEvent, PsigmaTintNewMaxEvent, PsigmaTintNewMinEvent,
    PsigmaTintNewMaxEvent, PsigmaTintEqEvent, Ptrue};

// =====================================================================================================================
// Sums with coefficients
//
// A term is narrower than the room when its width times the coefficient's magnitude is: the division is left to the
// terms that do get narrowed. A term with coefficient zero spans nothing and is never touched.
// =====================================================================================================================

/// Up to here keeping account of what is settled takes longer than to add up all terms.
constexpr int32_t smallSize = 12;

static uint64_t magnitudeOf(int32_t coeff) { return uint64_t(coeff < 0 ? -int64_t(coeff) : int64_t(coeff)); }

/// The outermost value of the term on this side; without a branch on the sign.
template <typename Side>
static int64_t termOf(const CSint* v, int32_t coeff)
{
  int64_t a = int64_t(coeff) * v->_min, b = int64_t(coeff) * v->_max;
  return Side::inside(a, b) ? b : a;
}

static void settle(ScalProdData* s, int32_t i, uint64_t value)
{
  Term* terms = s->_terms;
  const int32_t k = s->_nbSettled++;
  s->_settled[k] = markNow(*terms[i]._atLowest);
  s->_settledSum += value;
  std::swap(terms[i], terms[k]);
}

static void reopenFallen(ScalProdData* s)
{
  popFallen(s->_settled, s->_nbSettled,
      [s](const Mark& mark) { s->_settledSum -= uint64_t(s->_terms[&mark - s->_settled]._coeff * mark._what); });
}

/// The sums that posting went through did not overflow, and terms mostly narrow from there. But operands can become
/// wider than at posting, when a context inside another one is accepted and the other one restored: so the sums may
/// wrap.
template <bool settles>
static TermSums addUp(ScalProdData* s)
{
  uint64_t lowest = settles ? s->_settledSum : 0, highest = lowest, widest = 0;
  for (int32_t i = settles ? s->_nbSettled : 0, n = s->_size; i < n; i++) {
    const Term& term = s->_terms[i];
    const uint64_t low = uint64_t(term._coeff * *term._atLowest), high = uint64_t(term._coeff * *term._atHighest);
    lowest += low;
    highest += high;
    widest = high - low > widest ? high - low : widest;
    if (settles && low == high)
      settle(s, i, low);
  }
  return {{._lowest = int64_t(lowest), ._highest = int64_t(highest)}, widest};
}

static TermSums sumsOf(ScalProdData* s)
{
  if (!s->_settled)
    return addUp<false>(s);
  reopenFallen(s);
  return addUp<true>(s);
}

static bool isWithin(const CSint* v, int32_t coeff, uint64_t room) { return widthOf(v) * magnitudeOf(coeff) <= room; }

template <typename Side>
[[gnu::noinline]] static int cutTerm(CSint* v, int32_t coeff, uint64_t room)
{
  uint64_t quotient = room / magnitudeOf(coeff);
  return coeff > 0 ? cutWidth<Side>(v, quotient) : cutWidth<typename Side::Opposite>(v, quotient);
}

template <typename Side>
static int cutAll(const ScalProdData* s, uint64_t room)
{
  CSint* const* vars = s->_vars;
  const int32_t* coeffs = s->_coeffs;
  for (int32_t i = 0, n = s->_size; i < n; i++)
    if (!isWithin(vars[i], coeffs[i], room) && !cutTerm<Side>(vars[i], coeffs[i], room))
      return 0;
  return 1;
}

struct Rooms
{
  uint64_t _above; ///< of the lowest sum
  uint64_t _below; ///< of the highest
};

[[gnu::noinline]] static int cutTermAtBothEnds(CSint* v, int32_t coeff, const Rooms& rooms)
{
  uint64_t magnitude = magnitudeOf(coeff);
  uint64_t forMin = coeff > 0 ? rooms._below : rooms._above;
  uint64_t forMax = coeff > 0 ? rooms._above : rooms._below;
  // The new maximum is worked from the minimum of before the other step.
  int32_t min = v->_min;
  if (!isWithin(v, coeff, forMin) && !rcsSetMin(v, wrapSub(v->_max, int32_t(uint32_t(forMin / magnitude)))))
    return 0;
  return widthBetween(min, v->_max) * magnitude <= forMax ||
         rcsSetMax(v, wrapAdd(min, int32_t(uint32_t(forMax / magnitude))));
}

static uint64_t smallerOf(const Rooms& rooms) { return rooms._above < rooms._below ? rooms._above : rooms._below; }

static int cutRange(const ScalProdData* s, int32_t from, int32_t to, const Rooms& rooms)
{
  CSint* const* vars = s->_vars;
  const int32_t* coeffs = s->_coeffs;
  const uint64_t smaller = smallerOf(rooms);
  for (int32_t i = from; i < to; i++)
    if (!isWithin(vars[i], coeffs[i], smaller) && !cutTermAtBothEnds(vars[i], coeffs[i], rooms))
      return 0;
  return 1;
}

/// The operand at position k has moved. Both sides at each wake, with the bounds of the result as they were before it
/// is narrowed itself.
static int fitOthers(ScalProdData* s, int32_t k)
{
  CSint* z = s->_result;
  TermSums sums = sumsOf(s);
  int32_t min = z->_min, max = z->_max;
  if (sums._highest < min || sums._lowest > max)
    return 0;
  if (!pushResult<Lower>(s, sums) || !pushResult<Upper>(s, sums))
    return 0;
  Rooms rooms = {._above = Lower::gap(sums._lowest, max), ._below = Upper::gap(sums._highest, min)};
  return sums._widest <= smallerOf(rooms) || (cutRange(s, 0, k, rooms) && cutRange(s, k + 1, s->_size, rooms));
}

static int PscalProdVintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOperands<Upper>(dataOf<ScalProdData>(t));
}

static int PscalProdVintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOperands<Lower>(dataOf<ScalProdData>(t));
}

static int PscalProdVintEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOperands<Upper>(dataOf<ScalProdData>(t)) && fitOperands<Lower>(dataOf<ScalProdData>(t));
}

static int PscalProdTintNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOthers(dataOf<ScalProdData>(t), t->_index);
}

static int PscalProdTintNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOthers(dataOf<ScalProdData>(t), t->_index);
}

static int PscalProdTintEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  return fitOthers(dataOf<ScalProdData>(t), t->_index) && fitOthers(dataOf<ScalProdData>(t), t->_index);
}

static const Handler PscalProdVint[6] = {PscalProdVintNewMinEvent, PscalProdVintNewMaxEvent, PscalProdVintNewMinEvent,
    PscalProdVintNewMaxEvent, PscalProdVintEqEvent, Ptrue};

static const Handler PscalProdTint[6] = {PscalProdTintNewMinEvent, PscalProdTintNewMaxEvent, PscalProdTintNewMinEvent,
    PscalProdTintNewMaxEvent, PscalProdTintEqEvent, Ptrue};

static const Handler* onResult(const SigmaData*) { return PsigmaVint; }

static const Handler* onResult(const ScalProdData*) { return PscalProdVint; }

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// The result's variable. A lowest sum below the 32 bits and a highest one above them stop at the end. A lowest sum
/// above them or a highest one below leaves no solution: it is cut to its low 32 bits, and the handlers, which compare
/// the true sums, fail at the first event that has to do with that side.
static CSint* newResult(int64_t lowest, int64_t highest)
{
  return cs_createCSint(
      lowest < INT32_MIN ? INT32_MIN : int32_t(lowest), highest > INT32_MAX ? INT32_MAX : int32_t(highest));
}

static size_t countOf(int32_t size) { return size < 0 ? 0 : size_t(size); }

static size_t sizeOfRoom(const SigmaData& s, ArrayOf owner)
{
  return owner == ArrayOf::trail ? countOf(s._size) * sizeof(CSint*) : 0;
}

static size_t sizeOfRoom(const ScalProdData& s, ArrayOf owner)
{
  size_t each = sizeof(Term) + (s._size > smallSize ? sizeof(Mark) : 0);
  if (owner == ArrayOf::trail)
    each += sizeof(CSint*) + sizeof(int32_t);
  return countOf(s._size) * each;
}

/// Moves a copy of the array to `room`, the end of which comes back.
template <typename T>
static void* takeArray(T*& array, int32_t size, void* room)
{
  auto* copy = static_cast<std::remove_const_t<T>*>(room);
  memcpy(copy, array, countOf(size) * sizeof(T));
  array = copy;
  return copy + countOf(size);
}

/// Fills the room behind the record.
static void furnish(SigmaData* s, ArrayOf owner)
{
  if (owner == ArrayOf::trail)
    takeArray(s->_vars, s->_size, s + 1);
}

static void furnish(ScalProdData* s, ArrayOf owner)
{
  s->_terms = reinterpret_cast<Term*>(s + 1);
  for (int32_t i = 0; i < s->_size; i++) {
    const CSint* v = s->_vars[i];
    const bool rises = s->_coeffs[i] >= 0;
    s->_terms[i] = {
        ._atLowest = rises ? &v->_min : &v->_max, ._atHighest = rises ? &v->_max : &v->_min, ._coeff = s->_coeffs[i]};
  }
  void* room = s->_terms + countOf(s->_size);
  if (s->_size > smallSize) {
    s->_settled = static_cast<Mark*>(room);
    room = s->_settled + s->_size;
  }
  if (owner == ArrayOf::trail)
    takeArray(s->_coeffs, s->_size, takeArray(s->_vars, s->_size, room));
}

template <typename Data>
static CSint* postSum(ConstraintInfo* info, const Data& sum, ArrayOf owner, const Handler* vint, const Handler* tint)
{
  const size_t room = sizeOfRoom(sum, owner);
  Constraint* onResult = newConstraint(info, vint, sum, room);
  Constraint* onOperands = newCompanion(onResult, sum._result, info, tint, sum, room);
  if (!onOperands)
    return nullptr;
  // A copy for each: where contexts are accepted inside others, either of the two may be the one that is left.
  furnish(static_cast<Data*>(onResult->_data), owner);
  furnish(static_cast<Data*>(onOperands->_data), owner);
  for (int32_t i = 0; i < sum._size; i++)
    if (!_rcsAddConstraint(onOperands, sum._vars[i], i))
      return nullptr;
  // Without operands nothing holds it.
  if (onOperands->_refCount == 0)
    freeConstraint(onOperands);
  return sum._result;
}

CSint* doSigma(ConstraintInfo* info, CSint** vars, int32_t n, ArrayOf owner)
{
  if (n < 1)
    return CSINT(0);
  if (n == 1)
    return vars[0];
  SigmaData sum = {._result = nullptr, ._vars = vars, ._size = n};
  Sums sums = sumsOf(&sum);
  sum._result = newResult(sums._lowest, sums._highest);
  return sum._result ? postSum(info, sum, owner, PsigmaVint, PsigmaTint) : nullptr;
}

/// The one overflow that the arithmetic constraints report: of the 64 bits, on the way from one term to the next.
static CSint* doScalProd(ConstraintInfo* info, CSint** vars, const int32_t* coeffs, int32_t n, ArrayOf owner)
{
  int64_t lowest = 0, highest = 0;
  for (int32_t i = 0; i < n; i++)
    if (__builtin_add_overflow(lowest, termOf<Lower>(vars[i], coeffs[i]), &lowest) ||
        __builtin_add_overflow(highest, termOf<Upper>(vars[i], coeffs[i]), &highest)) {
      rcsHandleOverflowError();
      return nullptr;
    }
  CSint* result = newResult(lowest, highest);
  return result ? postSum(info,
                      ScalProdData{._result = result,
                          ._coeffs = coeffs,
                          ._vars = vars,
                          ._size = n,
                          ._nbSettled = 0,
                          ._settledSum = 0,
                          ._terms = nullptr,
                          ._settled = nullptr},
                      owner, PscalProdVint, PscalProdTint)
                : nullptr;
}

CSint* cs_Sigma(CSint** variables, int n)
{
  return postAs("cs_Sigma", [=](ConstraintInfo* info) { return doSigma(info, variables, n, ArrayOf::caller); });
}

CSint* cs_ScalProd(CSint** variables, const int* coefficients, int n)
{
  if (n == 0)
    return CSINT(0);
  return postAs("cs_ScalProd",
      [=](ConstraintInfo* info) { return doScalProd(info, variables, coefficients, n, ArrayOf::caller); });
}

CSint* cs_VScalProd(int n, CSint* first, ...)
{
  if (n == 0)
    return CSINT(0);
  auto* vars = newTrailArray<CSint*>(n);
  auto* coeffs = vars ? newTrailArray<int32_t>(n) : nullptr;
  if (!coeffs)
    return nullptr;
  va_list args;
  va_start(args, first);
  vars[0] = first;
  for (int32_t i = 1; i < n; i++)
    vars[i] = va_arg(args, CSint*);
  for (int32_t i = 0; i < n; i++)
    coeffs[i] = va_arg(args, int);
  va_end(args);
  return postAs(
      "cs_VScalProd", [=](ConstraintInfo* info) { return doScalProd(info, vars, coeffs, n, ArrayOf::trail); });
}
