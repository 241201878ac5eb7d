/*
 * Product and exact quotient: product = left * right. cs_Mul makes the product, cs_Div makes the left factor of a given
 * product; from then on nothing distinguishes the two. A pair with a remainder has no quotient: a lower bound of a
 * quotient is rounded up and an upper bound down, whatever the signs.
 *
 * Strength: bounds, and less than bounds consistency where a factor's bounds touch or straddle zero: such a factor
 * can't be divided by. Holes are ignored, but zero is cut from the bound of a factor when the product excludes it. A
 * factor that moved isn't narrowed itself in the same wake; the product's change wakes the constraint again.
 *
 * Products and quotients saturate at the ends of the 32-bit range, silently.
 */
#include "rcsBound.h"
#include "rcsPost.h"

#include <cstdarg>

struct MulData
{
  CSint* _product;
  CSint* _left;
  CSint* _right;
};

struct Bounds
{
  int32_t _low;
  int32_t _high;
};

// =====================================================================================================================
// Bounds of products and quotients
// =====================================================================================================================

static Bounds productBounds(const CSint* a, const CSint* b)
{
  const int32_t corners[4] = {
      satMul(a->_min, b->_min), satMul(a->_min, b->_max), satMul(a->_max, b->_min), satMul(a->_max, b->_max)};
  Bounds bounds = {corners[0], corners[0]};
  for (int32_t corner : corners)
    bounds = {smallerOf(bounds._low, corner), largerOf(bounds._high, corner)};
  return bounds;
}

/// The quotient rounded up and rounded down. Only the smallest integer by -1 leaves the 32 bits.
static Bounds quotients(int32_t a, int32_t b)
{
  if (b == -1) {
    int32_t exact = satSub(0, a);
    return {exact, exact};
  }
  int32_t truncated = a / b, remainder = a % b;
  if (remainder == 0)
    return {truncated, truncated};
  return (a < 0) == (b < 0) ? Bounds{truncated, truncated + 1} : Bounds{truncated - 1, truncated};
}

/// All values between the bounds are of one sign, and none is zero.
static bool excludesZero(const CSint* v) { return v->_min > 0 || v->_max < 0; }

/// The smallest quotient rounded up and the largest rounded down: they may cross, when no quotient is exact.
static Bounds quotientBounds(const CSint* p, const CSint* d)
{
  const Bounds corners[4] = {quotients(p->_min, d->_min), quotients(p->_min, d->_max), quotients(p->_max, d->_min),
      quotients(p->_max, d->_max)};
  Bounds bounds = {INT32_MAX, INT32_MIN};
  for (const Bounds& corner : corners)
    bounds = {smallerOf(bounds._low, corner._high), largerOf(bounds._high, corner._low)};
  return bounds;
}

// =====================================================================================================================
// Narrowing
// =====================================================================================================================

/// Both bounds were worked out before, so that what the first update sets off doesn't count for the second.
static int fitInto(CSint* v, Bounds bounds)
{
  return pushBound<Lower>(v, bounds._low) && pushBound<Upper>(v, bounds._high);
}

static int narrowProduct(const MulData* m) { return fitInto(m->_product, productBounds(m->_left, m->_right)); }

static int narrowFactor(CSint* factor, const MulData* m, const CSint* divisor)
{
  return !excludesZero(divisor) || fitInto(factor, quotientBounds(m->_product, divisor));
}

static int cutZero(CSint* factor, const CSint* product)
{
  if (factor->_min == 0 && factor->_max >= 1 && excludesZero(product) && !rcsSetMin(factor, 1))
    return 0;
  return !(factor->_max == 0 && factor->_min < 0 && excludesZero(product)) || rcsSetMax(factor, -1);
}

static int PmulNewMEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* m = dataOf<MulData>(t);
  CSint *left = m->_left, *right = m->_right;
  if (!cutZero(left, m->_product) || !cutZero(right, m->_product))
    return 0;
  if (v == left)
    return narrowProduct(m) && narrowFactor(right, m, left);
  if (v == right)
    return narrowProduct(m) && narrowFactor(left, m, right);
  return narrowFactor(right, m, left) && narrowFactor(left, m, right);
}

static const Handler Pmul[6] = {PmulNewMEvent, PmulNewMEvent, PmulNewMEvent, PmulNewMEvent, PmulNewMEvent, Ptrue};

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// There is no first propagation: the result was made with the bounds that there are, and the operands learn nothing
/// before the first event.
static CSint* postMul(ConstraintInfo* info, const MulData& data, CSint* result, CSint* x, CSint* y)
{
  Constraint* mul = newConstraint(info, Pmul, data);
  bool posted =
      mul && _rcsAddConstraint(mul, result, -1) && _rcsAddConstraint(mul, x, -1) && _rcsAddConstraint(mul, y, -1);
  return posted ? result : nullptr;
}

static CSint* doMul(ConstraintInfo* info, CSint* x, CSint* y)
{
  Bounds bounds = productBounds(x, y);
  CSint* z = cs_createCSint(bounds._low, bounds._high);
  return z ? postMul(info, {._product = z, ._left = x, ._right = y}, z, x, y) : nullptr;
}

static CSint* doDiv(ConstraintInfo* info, CSint* x, CSint* y)
{
  Bounds bounds = excludesZero(y) ? quotientBounds(x, y) : Bounds{INT32_MIN, INT32_MAX};
  CSint* q = cs_createCSint(bounds._low, bounds._high);
  return q ? postMul(info, {._product = x, ._left = q, ._right = y}, q, x, y) : nullptr;
}

CSint* cs_Mul(CSint* x, CSint* y)
{
  return postAs("cs_Mul", [=](ConstraintInfo* info) { return doMul(info, x, y); });
}

CSint* cs_Div(CSint* x, CSint* y)
{
  return postAs("cs_Div", [=](ConstraintInfo* info) { return doDiv(info, x, y); });
}

using Link = CSint* (*)(ConstraintInfo* info, CSint* x, CSint* y);

/// Folds the arguments from the left. Every link is a constraint of its own; all share the one info. An argument that
/// stands alone is the result, also where memory for the info is out.
static CSint* fold(ConstraintInfo* info, Link link, int n, CSint* result, va_list further)
{
  for (int i = 1; i < n && result; i++)
    result = link(info, result, va_arg(further, CSint*));
  return result;
}

CSint* cs_VMul(int n, CSint* first, ...)
{
  va_list further;
  va_start(further, first);
  CSint* product = postAs("cs_VMul", [&](ConstraintInfo* info) { return fold(info, doMul, n, first, further); });
  va_end(further);
  return n < 2 ? first : product;
}

CSint* cs_VDiv(int n, CSint* first, ...)
{
  va_list further;
  va_start(further, first);
  CSint* quotient = postAs("cs_VDiv", [&](ConstraintInfo* info) { return fold(info, doDiv, n, first, further); });
  va_end(further);
  return n < 2 ? first : quotient;
}
