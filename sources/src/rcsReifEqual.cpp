/*
 * Reified equality: a boolean that is 1 exactly when x = y, x != y, x = c or x != c.
 *
 * Whole domains are looked at: domain consistent. Two variables differ as soon as no value is common to both; they are
 * equal once both are instantiated to one value. While the boolean stands for equality the two domains are kept the
 * same, holes included; while it stands for the opposite the first to be instantiated loses its value from the other.
 * The watcher on two variables wakes on every event, and where either has holes it walks over the overlap of the
 * bit-sets each time, by the word; nothing is remembered from one event to the next. Variables without holes are done
 * with four comparisons.
 *
 * Disequality is equality with the two values of the boolean exchanged, so each handler is written once for `equal`,
 * the value of the boolean that stands for equality.
 */
#include "rcsBits.h"
#include "rcsReif.h"

// =====================================================================================================================
// Two variables
// =====================================================================================================================

static bool areDisjoint(const CSint* x, const CSint* y) { return x->_max < y->_min || y->_max < x->_min; }

static bool areSame(const CSint* x, const CSint* y) { return isFixed(x) && isFixed(y) && x->_min == y->_min; }

static bool haveHoles(const CSint* x, const CSint* y) { return hasHoles(x) || hasHoles(y); }

/// Not for disjoint ones. Out of line like the other walk, so that the way of variables without holes stays short.
[[gnu::noinline]] static bool haveCommonValue(const CSint* x, const CSint* y)
{
  const int32_t low = x->_min > y->_min ? x->_min : y->_min, high = x->_max < y->_max ? x->_max : y->_max;
  BitWalk inX = walkFrom(x->_domain, low), inY = walkFrom(y->_domain, low);
  for (int64_t value = low; value <= high; value += 64)
    if (nextBits(inX) & nextBits(inY) & lowestBits(high - value + 1))
      return true;
  return false;
}

static bool areDifferent(const CSint* x, const CSint* y)
{
  return areDisjoint(x, y) || (haveHoles(x, y) && !haveCommonValue(x, y));
}

/// The first of low..high that is on in one of the two sets and off in the other, or a value above `high`.
static int64_t nextDifference(const CSint* x, const CSint* y, int64_t low, int64_t high)
{
  if (low > high)
    return low;
  BitWalk inX = walkFrom(x->_domain, int32_t(low)), inY = walkFrom(y->_domain, int32_t(low));
  for (int64_t value = low; value <= high; value += 64)
    if (uint64_t inOne = nextBits(inX) ^ nextBits(inY))
      return value + std::countr_zero(inOne);
  return high + 1;
}

/// Removes what only one of the two has, ascending, between the bounds that x has at the start. A removal may run the
/// queue, so each search for the next one reads the sets anew.
[[gnu::noinline]] static int removeDifferences(CSint* x, CSint* y)
{
  const int64_t high = x->_max;
  for (int64_t next = nextDifference(x, y, x->_min, high); next <= high; next = nextDifference(x, y, next + 1, high)) {
    auto value = int32_t(next);
    if (!rcsRemoveValue(rcsDomainIsOn(x->_domain, value) ? x : y, value))
      return 0;
  }
  return 1;
}

/// Leaves x and y with one domain, as far as that goes before their own events are told: a bound that comes to rest
/// behind a hole is taken up then. On the minima x goes first, on the maxima y: the order shows in the events, and with
/// holes in where the bounds come to rest, and is fixed so.
static int makeEqCondition(CSint* x, CSint* y)
{
  if (areDisjoint(x, y))
    return 0;
  if (!pushBound<Lower>(x, y->_min) || !pushBound<Lower>(y, x->_min))
    return 0;
  if (!pushBound<Upper>(y, x->_max) || !pushBound<Upper>(x, y->_max))
    return 0;
  return !haveHoles(x, y) || removeDifferences(x, y);
}

static int makeDifferent(CSint* x, CSint* y)
{
  if (isFixed(x) && !rcsRemoveValue(y, x->_min))
    return 0;
  return !isFixed(y) || rcsRemoveValue(x, y->_min);
}

template <bool equal>
static bool standsForEquality(const CSint* b)
{
  return bool(b->_min) == equal;
}

template <bool equal>
static int enforceTruth(const CSint* b, CSint* x, CSint* y)
{
  return standsForEquality<equal>(b) ? makeEqCondition(x, y) : makeDifferent(x, y);
}

template <bool equal>
static int onPairDecided(const CSint* b, const Tconstraint* t)
{
  auto* r = dataOf<RelationData>(t);
  return enforceTruth<equal>(b, r->_x, r->_y);
}

template <bool equal>
static int onAnyEvent(const Tconstraint* t)
{
  auto* r = dataOf<ReifData>(t);
  CSint *b = r->_bool, *x = r->_x, *y = r->_y;
  if (isFixed(b))
    return enforceTruth<equal>(b, x, y);
  if (areDifferent(x, y))
    return rcsSetValue(b, !equal);
  return !areSame(x, y) || rcsSetValue(b, equal);
}

static int PreifEqEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onPairDecided<true>(b, t); }

static int PreifEqVarsEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return onAnyEvent<true>(t); }

static int PreifNeqEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onPairDecided<false>(b, t); }

static int PreifNeqVarsEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return onAnyEvent<false>(t); }

static const Handler PreifEq[6] = {Ptrue, Ptrue, PreifEqEvent, PreifEqEvent, PreifEqEvent, Ptrue};

static const Handler PreifVarsEq[6] = {
    PreifEqVarsEvent, PreifEqVarsEvent, PreifEqVarsEvent, PreifEqVarsEvent, PreifEqVarsEvent, PreifEqVarsEvent};

static const Handler PreifNeq[6] = {Ptrue, Ptrue, PreifNeqEvent, PreifNeqEvent, PreifNeqEvent, Ptrue};

static const Handler PreifVarsNeq[6] = {
    PreifNeqVarsEvent, PreifNeqVarsEvent, PreifNeqVarsEvent, PreifNeqVarsEvent, PreifNeqVarsEvent, PreifNeqVarsEvent};

/// Where the answer is known the locator isn't asked, unlike for the comparisons: an info is made for an open one only,
/// and after its boolean. A variable whose one value isn't at its bound, as a saturated sum may be, can look the same
/// as another one and be different from it: each entry has the answer for which it tests first. Forced inline, since
/// the locator counts frames.
template <bool equal>
[[gnu::always_inline]] static inline CSint* reifyEquality(
    const char* function, const ReifTables& tables, CSint* x, CSint* y)
{
  if (x == y || (!equal && areSame(x, y)))
    return CSINT(equal);
  if (areDifferent(x, y))
    return CSINT(!equal);
  if (equal && areSame(x, y))
    return CSINT(equal);
  CSint* b = cs_createCSint(0, 1);
  if (!b)
    return nullptr;
  return postAs(function, [=, &tables](ConstraintInfo* info) { return reifyPair(info, tables, b, x, y); });
}

CSint* cs_ReifEq(CSint* x, CSint* y) { return reifyEquality<true>("cs_ReifEq", {PreifEq, PreifVarsEq}, x, y); }

CSint* cs_ReifNeq(CSint* x, CSint* y) { return reifyEquality<false>("cs_ReifNeq", {PreifNeq, PreifVarsNeq}, x, y); }

// =====================================================================================================================
// A variable and a constant
//
// The enforcer does all the narrowing. The watcher decides the boolean; once that is decided it only answers whether x
// can still satisfy it, for an event that comes before the enforcer's turn.
// =====================================================================================================================

template <bool equal>
static int onDecided(const CSint* b, const Tconstraint* t)
{
  auto* r = dataOf<ReifValueData>(t);
  return standsForEquality<equal>(b) ? rcsSetValue(r->_x, r->_value) : rcsRemoveValue(r->_x, r->_value);
}

/// An event that leaves x free: all that it can tell is that x has lost the constant.
template <bool equal>
static int onLoss(const ReifBoolData* r, bool lost)
{
  if (!lost)
    return 1;
  return isFixed(r->_bool) ? !standsForEquality<equal>(r->_bool) : rcsSetValue(r->_bool, !equal);
}

template <typename Side, bool equal>
static int onMove(const CSint* x, const Tconstraint* t)
{
  auto* r = dataOf<ReifBoolData>(t);
  return onLoss<equal>(r, Side::inside(Side::of(x), r->_value));
}

template <bool equal>
static int onRemoval(int32_t removed, const Tconstraint* t)
{
  auto* r = dataOf<ReifBoolData>(t);
  return onLoss<equal>(r, removed == r->_value);
}

template <bool equal>
static int onEq(const CSint* x, const Tconstraint* t)
{
  auto* r = dataOf<ReifBoolData>(t);
  bool same = x->_min == r->_value;
  return isFixed(r->_bool) ? same == standsForEquality<equal>(r->_bool) : rcsSetValue(r->_bool, same == equal);
}

static int PreifEQEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onDecided<true>(b, t); }

static int PreifEQVarNewMinEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Lower, true>(x, t); }

static int PreifEQVarNewMaxEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Upper, true>(x, t); }

static int PreifEQVarEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onEq<true>(x, t); }

static int PreifEQVarNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t) { return onRemoval<true>(removed, t); }

static int PreifNEQEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onDecided<false>(b, t); }

static int PreifNEQVarNewMinEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Lower, false>(x, t); }

static int PreifNEQVarNewMaxEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Upper, false>(x, t); }

static int PreifNEQVarEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onEq<false>(x, t); }

static int PreifNEQVarNeqEvent(CSint*, Tconstraint* t, int32_t removed, int32_t)
{
  return onRemoval<false>(removed, t);
}

static const Handler PreifEQ[6] = {Ptrue, Ptrue, PreifEQEvent, PreifEQEvent, PreifEQEvent, Ptrue};

// An instantiation decides whichever bound brought it, so its slots hold the one handler for it; that of a bound alone
// would see a loss of the constant but never that x has become it.
static const Handler PreifVarEQ[6] = {PreifEQVarNewMinEvent, PreifEQVarNewMaxEvent, PreifEQVarEqEvent,
    PreifEQVarEqEvent, PreifEQVarEqEvent, PreifEQVarNeqEvent};

static const Handler PreifNEQ[6] = {Ptrue, Ptrue, PreifNEQEvent, PreifNEQEvent, PreifNEQEvent, Ptrue};

static const Handler PreifVarNEQ[6] = {PreifNEQVarNewMinEvent, PreifNEQVarNewMaxEvent, PreifNEQVarEqEvent,
    PreifNEQVarEqEvent, PreifNEQVarEqEvent, PreifNEQVarNeqEvent};

template <bool equal>
[[gnu::always_inline]] static inline CSint* reifyMembership(
    const char* function, const ReifTables& tables, CSint* x, int32_t c)
{
  if (isFixed(x))
    return CSINT((x->_min == c) == equal);
  if (!holds(x, c))
    return CSINT(!equal);
  CSint* b = cs_createCSint(0, 1);
  if (!b)
    return nullptr;
  return postAs(function, [=, &tables](ConstraintInfo* info) { return reifyValue(info, tables, b, x, c); });
}

CSint* cs_ReifEQ(CSint* x, int c) { return reifyMembership<true>("cs_ReifEQ", {PreifEQ, PreifVarEQ}, x, c); }

CSint* cs_ReifNEQ(CSint* x, int c) { return reifyMembership<false>("cs_ReifNEQ", {PreifNEQ, PreifVarNEQ}, x, c); }
