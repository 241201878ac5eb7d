/*
 * Absolute value: a new variable z = |x|.
 *
 * Strength: z is made with exactly the image of x's domain, and from then on removed values cross in both directions; a
 * raised minimum of z punches a hole around zero into x. Only the minimum of z isn't looked for again once x straddles
 * zero with holes around it.
 *
 * Two constraints share the info: one on x that carries its changes to z, one on z that carries them back. Each record
 * knows just its target, the other variable being the one that wakes it. The smallest integer has no absolute value in
 * 32 bits, and leaves x at posting.
 */
#include "rcsBound.h"
#include "rcsPost.h"

struct AbsData
{
  CSint* _target; ///< the variable that this constraint narrows
};

static int32_t negated(int32_t value) { return wrapSub(0, value); }

// =====================================================================================================================
// From x to z
// =====================================================================================================================

static int PabsVintNewMEvent(CSint* x, Tconstraint* t, int32_t, int32_t)
{
  CSint* z = dataOf<AbsData>(t)->_target;
  const int32_t a = x->_min, b = x->_max;
  int32_t low = a, high = b;
  if (a < 0) {
    low = b <= 0 ? negated(b) : 0;
    high = b <= 0 ? negated(a) : largerOf(b, negated(a));
  }
  return pushBound<Lower>(z, low) && pushBound<Upper>(z, high);
}

static int PabsVintEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t)
{
  CSint* z = dataOf<AbsData>(t)->_target;
  int32_t value = x->_min < 0 ? negated(x->_min) : x->_min;
  return holds(z, value) && rcsSetValue(z, value);
}

static int PabsVintNeqEvent(CSint* x, Tconstraint* t, int32_t removed, int32_t)
{
  // The opposite value still supports the absolute one.
  if (holds(x, negated(removed)))
    return 1;
  return removeIfHeld(dataOf<AbsData>(t)->_target, removed < 0 ? negated(removed) : removed);
}

static const Handler PabsVint[6] = {
    PabsVintNewMEvent, PabsVintNewMEvent, PabsVintNewMEvent, PabsVintNewMEvent, PabsVintEqEvent, PabsVintNeqEvent};

// =====================================================================================================================
// From z to x
// =====================================================================================================================

/// Takes the values that are smaller than z's new minimum by magnitude out of the middle of x. Those below the old one
/// went with earlier events.
static int punchHole(CSint* x, int32_t oldMin, int32_t newMin)
{
  const Domain* domain = x->_domain;
  const int32_t a = x->_min, b = x->_max;
  auto remove = [=](int32_t value) {
    return value < a || b < value || !rcsDomainIsOn(domain, value) || rcsRemoveValue(x, value);
  };
  for (int32_t k = oldMin; k < newMin; k++)
    if (!remove(k) || !remove(negated(k)))
      return 0;
  return 1;
}

static int PabsAbsNewMinEvent(CSint*, Tconstraint* t, int32_t oldMin, int32_t newMin)
{
  CSint* x = dataOf<AbsData>(t)->_target;
  if (x->_min >= 0)
    return pushBound<Lower>(x, newMin);
  if (x->_max <= 0)
    return pushBound<Upper>(x, negated(newMin));
  if (negated(x->_min) < newMin)
    return rcsSetMin(x, newMin);
  if (x->_max < newMin)
    return rcsSetMax(x, negated(newMin));
  return punchHole(x, oldMin, newMin);
}

static int PabsAbsNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t newMax)
{
  CSint* x = dataOf<AbsData>(t)->_target;
  if (x->_min >= 0)
    return pushBound<Upper>(x, newMax);
  if (x->_max <= 0)
    return pushBound<Lower>(x, negated(newMax));
  return pushBound<Upper>(x, newMax) && pushBound<Lower>(x, negated(newMax));
}

/// Leaves the two ends of -value..value.
static int keepEnds(CSint* x, int32_t value)
{
  const Domain* domain = x->_domain;
  if (!pushBound<Lower>(x, negated(value)) || !pushBound<Upper>(x, value))
    return 0;
  for (int32_t w = wrapSub(1, value); w < value; w++)
    if (rcsDomainIsOn(domain, w) && !rcsRemoveValue(x, w))
      return 0;
  return 1;
}

static int PabsAbsEqEvent(CSint* z, Tconstraint* t, int32_t, int32_t)
{
  CSint* x = dataOf<AbsData>(t)->_target;
  int32_t value = z->_min;
  bool positive = holds(x, value), negative = holds(x, negated(value));
  if (positive && negative)
    return keepEnds(x, value);
  if (positive)
    return rcsSetValue(x, value);
  return negative && rcsSetValue(x, negated(value));
}

static int PabsAbsNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  CSint* x = dataOf<AbsData>(t)->_target;
  return removeIfHeld(x, removed) && removeIfHeld(x, negated(removed));
}

static const Handler PabsAbs[6] = {
    PabsAbsNewMinEvent, PabsAbsNewMaxEvent, PabsAbsNewMinEvent, PabsAbsNewMaxEvent, PabsAbsEqEvent, PabsAbsNeqEvent};

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// |value|, which for the smallest integer is the largest.
static int32_t magnitude(int32_t value) { return value < 0 ? satSub(0, value) : value; }

/// The smallest absolute value of an x with holes that straddles zero.
static int32_t smallestMagnitude(const CSint* x)
{
  if (rcsDomainIsOn(x->_domain, 0))
    return 0;
  return smallerOf(rcsDomainNextOn(x->_domain, 0), magnitude(rcsDomainPrevOn(x->_domain, 0)));
}

static CSint* newImage(const CSint* x)
{
  const int32_t a = x->_min, b = x->_max;
  if (a >= 0)
    return cs_createCSint(a, b);
  if (b <= 0)
    return cs_createCSint(magnitude(b), magnitude(a));
  return cs_createCSint(hasHoles(x) ? smallestMagnitude(x) : 0, largerOf(b, magnitude(a)));
}

/// Gives z the absolute values of what is on in x between the bounds that z was made from. The smallest integer has no
/// opposite that could be looked up, so it adds nothing, although z's upper bound saturated for it.
static bool copyImage(CSint* z, const CSint* x, int32_t a, int32_t b)
{
  Domain* image = rcsCreateDomain(z->_min, z->_max);
  if (!image)
    return false;
  rcsClearDomain(image);
  z->_domain = image;
  z->_nbElements = 0;
  // A bound may be off, as in a sum that saturated: then the walk may pass it.
  for (int64_t next = a; next <= b; next = nextOn(x->_domain, int32_t(next))) {
    auto value = int32_t(next);
    if (value != INT32_MIN && rcsDomainIsOn(x->_domain, value) && !rcsDomainIsOn(image, magnitude(value))) {
      rcsDomainOn(image, magnitude(value));
      z->_nbElements++;
    }
  }
  return true;
}

static CSint* postAbs(ConstraintInfo* info, CSint* x, CSint* z)
{
  Constraint* onX = newConstraint(info, PabsVint, AbsData{._target = z});
  Constraint* onZ = newCompanion(onX, x, info, PabsAbs, AbsData{._target = x});
  return onZ && _rcsAddConstraint(onZ, z, -1) ? z : nullptr;
}

CSint* cs_Abs(CSint* x)
{
  const int32_t a = x->_min, b = x->_max;
  CSint* z = newImage(x);
  if (!z || !pushBound<Lower>(x, negated(z->_max)) || !pushBound<Upper>(x, z->_max))
    return nullptr;
  if (x->_domain && !copyImage(z, x, a, b))
    return nullptr;
  return postAs("cs_Abs", [=](ConstraintInfo* info) { return postAbs(info, x, z); });
}
