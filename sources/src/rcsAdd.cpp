/*
 * Sum and difference of two variables, with a new variable for the result, and their variadic forms. There is one
 * constraint, sum = left + right: x - y = z is posted as x = z + y. The variadic forms post a linear sum.
 *
 * Strength: bounds consistent. Holes are carried over only where one addend or the sum is fixed: into a new result,
 * from the one operand that isn't fixed; and later one by one, as values are removed. Holes from before an operand was
 * fixed stay unmirrored.
 *
 * Nothing leaves the 32 bits and nothing is reported: sums and differences stop at the ends of the range, but for two
 * that wrap and say so.
 *
 * The variables are attached by name, the result first. A handler takes its event's variable for the left addend, the
 * right one or the sum, whichever fits first: a variable that stands twice is handled in its first role only. Where an
 * addend is a constant the other two variables have handlers of their own, which do the same in fewer steps.
 */
#include "rcsBound.h"
#include "rcsPost.h"

#include <cstdarg>

struct AddData
{
  CSint* _sum;
  CSint* _left;
  CSint* _right;
};

/// The bound of the sum follows those of the addends.
template <typename Side>
static int pushSum(const AddData* r)
{
  return pushBound<Side>(r->_sum, satAdd(Side::of(r->_left), Side::of(r->_right)));
}

/// The bound of one addend follows that of the sum and the opposite one of the other addend.
template <typename Side>
static int pushAddend(CSint* addend, const CSint* sum, const CSint* other)
{
  return pushBound<Side>(addend, satSubNotFrom0(Side::of(sum), Side::Opposite::of(other)));
}

/// As pushAddend<Upper>, but the difference wraps. Only a raised minimum of the other addend gets here: at the far ends
/// of the 32 bits that step narrows otherwise than the rest, and may fail, which is kept as it has always been.
static int lowerAddendWrapping(CSint* addend, const CSint* sum, const CSint* other)
{
  return pushBound<Upper>(addend, wrapSub(sum->_max, other->_min));
}

static int PaddNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* r = dataOf<AddData>(t);
  CSint *sum = r->_sum, *left = r->_left, *right = r->_right;
  if (v == left)
    return pushSum<Lower>(r) && lowerAddendWrapping(right, sum, left);
  if (v == right)
    return pushSum<Lower>(r) && lowerAddendWrapping(left, sum, right);
  return pushAddend<Lower>(left, sum, right) && pushAddend<Lower>(right, sum, left);
}

static int PaddNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* r = dataOf<AddData>(t);
  CSint *sum = r->_sum, *left = r->_left, *right = r->_right;
  if (v == left)
    return pushSum<Upper>(r) && pushAddend<Lower>(right, sum, left);
  if (v == right)
    return pushSum<Upper>(r) && pushAddend<Lower>(left, sum, right);
  return pushAddend<Upper>(left, sum, right) && pushAddend<Upper>(right, sum, left);
}

static int PaddEqEvent(CSint* v, Tconstraint* t, int32_t old, int32_t now)
{
  return PaddNewMinEvent(v, t, old, now) && PaddNewMaxEvent(v, t, old, now);
}

// With one of the three fixed the other two mirror each other's removals. The first removal may fix another one. Told
// of a removal of its own the constraint would mirror it back, to where the value is missing already: but where the sum
// stands for an addend as well, one removal brings about another one.

static int removeFromAddend(CSint* addend, const CSint* sum, int32_t removed, const Constraint* cause)
{
  return !isFixed(sum) || removeIfHeld(addend, satSubNotFrom0(sum->_min, removed), cause);
}

static int removeFromSum(CSint* sum, const CSint* other, int32_t removed, const Constraint* cause)
{
  return !isFixed(other) || removeIfHeld(sum, satAdd(removed, other->_min), cause);
}

static int removeWithOther(CSint* addend, const CSint* other, int32_t removed, const Constraint* cause)
{
  return !isFixed(other) || removeIfHeld(addend, satSubNotFrom0(removed, other->_min), cause);
}

static int PaddNeqEvent(CSint* v, Tconstraint* t, int32_t removed, int32_t)
{
  auto* r = dataOf<AddData>(t);
  CSint *sum = r->_sum, *left = r->_left, *right = r->_right;
  const Constraint* cause = sum == right ? nullptr : t->_constraint;
  if (v == left)
    return removeFromAddend(right, sum, removed, cause) && removeFromSum(sum, right, removed, cause);
  if (v == right)
    return removeFromAddend(left, sum, removed, cause) && removeFromSum(sum, left, removed, cause);
  return removeWithOther(right, left, removed, cause) && removeWithOther(left, right, removed, cause);
}

static const Handler Padd[6] = {
    PaddNewMinEvent, PaddNewMaxEvent, PaddNewMinEvent, PaddNewMaxEvent, PaddEqEvent, PaddNeqEvent};

// =====================================================================================================================
// With a constant addend
//
// Then two variables are a constant apart, as columns and diagonals of queens are. What the handlers above would find
// comes down to one comparison of bounds, and to one more where there is nothing to push: whether the constant itself
// is asked too much of. So each of the two attachments holds the other variable and the way to it in place of the
// record. Near zero nothing saturates or wraps. The constant keeps the handlers above, for a client that sends it an
// event.
// =====================================================================================================================

struct Shift
{
  CSint* _other;
  int32_t _distance; ///< from the values of the variable that is attached to those of the other
};

struct ShiftData
{
  AddData _add;
  Shift _fromSum;
  Shift _fromAddend;
};

template <typename Side>
static int pushShifted(const CSint* v, const Tconstraint* t)
{
  const auto [other, distance] = *dataOf<Shift>(t);
  const int32_t bound = Side::of(v) + distance;
  return Side::inside(bound, Side::of(other)) ? Side::tighten(other, bound)
                                              : !Side::inside(bound, Side::Opposite::of(other));
}

static int PshiftNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return pushShifted<Lower>(v, t); }

static int PshiftNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return pushShifted<Upper>(v, t); }

static int PshiftEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return pushShifted<Lower>(v, t) && pushShifted<Upper>(v, t);
}

static int PshiftNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  const auto [other, distance] = *dataOf<Shift>(t);
  return removeIfHeld(other, removed + distance, t->_constraint);
}

static const Handler Pshift[6] = {
    PshiftNewMinEvent, PshiftNewMaxEvent, PshiftNewMinEvent, PshiftNewMaxEvent, PshiftEqEvent, PshiftNeqEvent};

static bool isNearZero(const CSint* v)
{
  constexpr int32_t far = 1 << 29;
  return -far <= v->_initMin && v->_initMax <= far;
}

static bool isConstant(const CSint* v) { return v->_initMin == v->_initMax; }

static bool isShift(const AddData& add)
{
  return isNearZero(add._sum) && isNearZero(add._left) && isNearZero(add._right) &&
         (isConstant(add._left) || isConstant(add._right));
}

// =====================================================================================================================
// Posting
//
// The bounds of a new result are what a first propagation would give, and the operands aren't narrowed: there is none.
// =====================================================================================================================

/// A new result with the bounds low..high, or a constant. With a source, the one operand that isn't fixed, its holes
/// are carried over, but for those whose image saturates. An image that is exactly the result's bound is switched off
/// there like any other.
template <typename Image>
static CSint* newResult(int32_t low, int32_t high, const CSint* source, Image image)
{
  CSint* result = cs_createCSint(low, high);
  if (!result || low == high || !source || !hasHoles(source))
    return result;
  result->_domain = rcsCreateDomain(low, high);
  if (!result->_domain)
    return nullptr;
  for (int64_t value = int64_t(source->_min) + 1; value < source->_max; value++) {
    int64_t there = image(value);
    if (!rcsDomainIsOn(source->_domain, int32_t(value)) && there == saturate(there)) {
      rcsDomainOff(result->_domain, int32_t(there));
      result->_nbElements--;
    }
  }
  return result;
}

static CSint* newSum(const CSint* x, const CSint* y)
{
  int32_t low = satAdd(x->_min, y->_min), high = satAdd(x->_max, y->_max);
  if (!isFixed(x) && isFixed(y))
    return newSum(y, x);
  return newResult(low, high, isFixed(x) ? y : nullptr, [=](int64_t value) { return x->_min + value; });
}

static CSint* newDifference(const CSint* x, const CSint* y)
{
  int32_t low = satSub(x->_min, y->_max), high = satSub(x->_max, y->_min);
  if (isFixed(x) && hasHoles(y))
    return newResult(low, high, y, [=](int64_t value) { return x->_min - value; });
  return newResult(low, high, isFixed(y) ? x : nullptr, [=](int64_t value) { return value - y->_min; });
}

static Constraint* newShift(ConstraintInfo* info, const AddData& add)
{
  const bool isLeft = isConstant(add._left);
  CSint* addend = isLeft ? add._right : add._left;
  const int32_t distance = isLeft ? add._left->_min : add._right->_min;
  return newConstraint(info, Pshift,
      ShiftData{._add = add,
          ._fromSum = {._other = addend, ._distance = -distance},
          ._fromAddend = {._other = add._sum, ._distance = distance}});
}

static int attachShift(Constraint* add, CSint* v)
{
  if (!_rcsAddConstraint(add, v, -1))
    return 0;
  auto* data = static_cast<ShiftData*>(add->_data);
  Tconstraint* t = v->_constraints;
  if (v == data->_add._sum)
    t->_data = &data->_fromSum;
  else if (v == data->_fromSum._other)
    t->_data = &data->_fromAddend;
  else
    t->_handlers = Padd;
  return 1;
}

/// Posts on the result and the two operands, in this order.
static CSint* postAdd(ConstraintInfo* info, const AddData& data, CSint* result, CSint* x, CSint* y)
{
  const bool shifts = isShift(data);
  Constraint* add = shifts ? newShift(info, data) : newConstraint(info, Padd, data);
  const auto attach = [=](CSint* v) { return shifts ? attachShift(add, v) : _rcsAddConstraint(add, v, -1); };
  return add && attach(result) && attach(x) && attach(y) ? result : nullptr;
}

static CSint* doSub(ConstraintInfo* info, CSint* x, CSint* y)
{
  CSint* z = newDifference(x, y);
  if (!z || isFixed(z))
    return z;
  return postAdd(info, AddData{._sum = x, ._left = z, ._right = y}, z, x, y);
}

CSint* cs_Add(CSint* x, CSint* y)
{
  CSint* z = newSum(x, y);
  if (!z || isFixed(z))
    return z;
  // The locator is asked only here: a fixed sum needs no constraint.
  return postAs("cs_Add",
      [=](ConstraintInfo* info) { return postAdd(info, AddData{._sum = z, ._left = x, ._right = y}, z, x, y); });
}

CSint* cs_Sub(CSint* x, CSint* y)
{
  return postAs("cs_Sub", [=](ConstraintInfo* info) { return doSub(info, x, y); });
}

CSint* cs_VAdd(int n, CSint* first, ...)
{
  va_list args;
  va_start(args, first);
  CSint* sum = postAs("cs_Vadd", [&](ConstraintInfo* info) -> CSint* {
    auto* vars = newTrailArray<CSint*>(n);
    if (!vars)
      return nullptr;
    vars[0] = first;
    for (int32_t i = 1; i < n; i++)
      vars[i] = va_arg(args, CSint*);
    return doSigma(info, vars, n, ArrayOf::trail);
  });
  va_end(args);
  return sum;
}

CSint* cs_VSub(int n, CSint* first, ...)
{
  va_list args;
  va_start(args, first);
  CSint* difference = postAs("cs_VSub", [&](ConstraintInfo* info) -> CSint* {
    int32_t size = n > 1 ? n - 1 : 0;
    auto* vars = newTrailArray<CSint*>(size);
    if (!vars)
      return nullptr;
    for (int32_t i = 0; i < size; i++)
      vars[i] = va_arg(args, CSint*);
    CSint* subtrahend = doSigma(info, vars, size, ArrayOf::trail);
    return subtrahend ? doSub(info, first, subtrahend) : nullptr;
  });
  va_end(args);
  return difference;
}
