/*
 * Reified comparisons: a boolean that is 1 exactly when x < y or x <= y, and when x < c, x <= c, x > c or x >= c.
 *
 * Bounds alone are looked at, which for an order is all that there is to see: domain consistent. A comparison that the
 * bounds decide at posting is a constant with nothing attached. An open one wakes on the bounds of the compared
 * variables to decide the boolean, and on the boolean to enforce the comparison or its negation; from then on the
 * bounds of two variables push each other, while against a constant there is nothing left but to check. There is no
 * first propagation, since nothing follows from an undecided comparison of undecided bounds.
 *
 * All of them are one rule. The negation of x < y is y <= x and that of x <= y is y < x: the sides change places, and
 * strictness turns round. Greater-than between variables is less-than with its arguments exchanged.
 */
#include "rcsReif.h"

/// The values on one side of c: up to it with Upper, from it on with Lower, with c itself where the gap is loose.
template <typename Side, int32_t gap>
struct HalfLine
{
  using BoundedSide = Side;
  using Complement = HalfLine<typename Side::Opposite, strict - gap>;

  /// Has x no value in it?
  static bool excludes(const CSint* x, int32_t c)
  {
    int32_t nearest = Side::Opposite::of(x);
    return gap == strict ? !Side::inside(nearest, c) : Side::inside(c, nearest);
  }

  static bool contains(const CSint* x, int32_t c) { return Complement::excludes(x, c); }

  static int enforce(CSint* x, int32_t c) { return Side::tighten(x, Side::step(c, gap)); }
};

using Below = HalfLine<Upper, strict>;
using AtMost = HalfLine<Upper, loose>;
using Above = HalfLine<Lower, strict>;
using AtLeast = HalfLine<Lower, loose>;

// =====================================================================================================================
// Two variables
// =====================================================================================================================

template <int32_t gap>
static bool isFalse(const CSint* x, const CSint* y)
{
  return HalfLine<Upper, gap>::excludes(x, y->_max);
}

/// True is what has a false negation. `strict - gap` is the other gap.
template <int32_t gap>
static bool isTrue(const CSint* x, const CSint* y)
{
  return isFalse<strict - gap>(y, x);
}

template <int32_t gap>
static int decideFalse(const ReifData* r)
{
  return !isFalse<gap>(r->_x, r->_y) || rcsSetValue(r->_bool, 0);
}

template <int32_t gap>
static int decideTrue(const ReifData* r)
{
  return !isTrue<gap>(r->_x, r->_y) || rcsSetValue(r->_bool, 1);
}

template <int32_t gap>
static int enforceOrder(CSint* lesser, CSint* greater)
{
  return !isFalse<gap>(lesser, greater) && pushBound<Upper>(lesser, greater->_max, gap) &&
         pushBound<Lower>(greater, lesser->_min, gap);
}

template <int32_t gap>
static int enforceTruth(const CSint* b, CSint* x, CSint* y)
{
  return b->_min ? enforceOrder<gap>(x, y) : enforceOrder<strict - gap>(y, x);
}

/// On the side of the minimum a move of `v` can only show that `v` is the greater of the two, on that of the maximum
/// that it is the lesser: in the order itself or in its negation, by the place of `v`. As long as the boolean is open
/// that may decide it; afterwards a move pushes the other variable where `v` is the lesser, or the greater, of what has
/// been decided. The push goes by the bound that the event tells and not by the present one, as a later event brings
/// the rest; where the step from it leaves the 32 bits nothing is pushed, and the enforcer fails when its turn comes.
///
/// There is no branch on the place of `v`, which is as good as random.
template <typename Side, int32_t gap>
static int onMove(const CSint* v, const Tconstraint* t, int32_t bound)
{
  auto* r = dataOf<ReifData>(t);
  const bool shown = v == (Side::moved == NewMin ? r->_y : r->_x); // the truth that such a move can show
  CSint* other = v == r->_x ? r->_y : r->_x;
  const int32_t gapShown = shown == (gap == strict) ? strict : loose;
  if (!isFixed(r->_bool))
    return Side::reaches(Side::of(v), Side::Opposite::of(other), gapShown) ? rcsSetValue(r->_bool, shown) : 1;
  return (r->_bool->_min != 0) == shown ? 1 : pushBound<Side>(other, bound, strict - gapShown);
}

template <int32_t gap>
static int onEq(const Tconstraint* t)
{
  auto* r = dataOf<ReifData>(t);
  return isFixed(r->_bool) ? enforceTruth<gap>(r->_bool, r->_x, r->_y) : decideFalse<gap>(r) && decideTrue<gap>(r);
}

template <int32_t gap>
static int onPairDecided(const CSint* b, const Tconstraint* t)
{
  auto* r = dataOf<RelationData>(t);
  return enforceTruth<gap>(b, r->_x, r->_y);
}

static int PreifLtEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onPairDecided<strict>(b, t); }

static int PreifLtVarsNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t now)
{
  return onMove<Lower, strict>(v, t, now);
}

static int PreifLtVarsNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t now)
{
  return onMove<Upper, strict>(v, t, now);
}

static int PreifLtVarsEqEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return onEq<strict>(t); }

static int PreifLeEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onPairDecided<loose>(b, t); }

static int PreifLeVarsNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t now)
{
  return onMove<Lower, loose>(v, t, now);
}

static int PreifLeVarsNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t now)
{
  return onMove<Upper, loose>(v, t, now);
}

static int PreifLeVarsEqEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return onEq<loose>(t); }

static const Handler PreifLt[6] = {Ptrue, Ptrue, PreifLtEvent, PreifLtEvent, PreifLtEvent, Ptrue};

static const Handler PreifVarsLt[6] = {PreifLtVarsNewMinEvent, PreifLtVarsNewMaxEvent, PreifLtVarsNewMinEvent,
    PreifLtVarsNewMaxEvent, PreifLtVarsEqEvent, Ptrue};

static const Handler PreifLe[6] = {Ptrue, Ptrue, PreifLeEvent, PreifLeEvent, PreifLeEvent, Ptrue};

static const Handler PreifVarsLe[6] = {PreifLeVarsNewMinEvent, PreifLeVarsNewMaxEvent, PreifLeVarsNewMinEvent,
    PreifLeVarsNewMaxEvent, PreifLeVarsEqEvent, Ptrue};

/// A variable of a schedule is compared with all others on its machine.
template <int32_t gap>
static TconstraintRun runOrders(CSint* v, Tconstraint* t, size_t event, int32_t now)
{
  if (event == Eq)
    return wakeRun(t, onEq<gap>);
  if (event == NewMin || event == NewMinEq)
    return wakeRun(t, [=](const Tconstraint* order) { return onMove<Lower, gap>(v, order, now); });
  return wakeRun(t, [=](const Tconstraint* order) { return onMove<Upper, gap>(v, order, now); });
}

template <int32_t gap>
static CSint* reifyOrder(ConstraintInfo* info, const ReifTables& tables, CSint* x, CSint* y)
{
  if (x == y)
    return CSINT(gap == loose);
  if (isFalse<gap>(x, y))
    return CSINT(0);
  if (isTrue<gap>(x, y))
    return CSINT(1);
  CSint* b = cs_createCSint(0, 1);
  return b ? reifyPair(info, tables, b, x, y) : nullptr;
}

static CSint* doReifLt(ConstraintInfo* info, CSint* x, CSint* y)
{
  return reifyOrder<strict>(info, {PreifLt, PreifVarsLt, runOrders<strict>}, x, y);
}

static CSint* doReifLe(ConstraintInfo* info, CSint* x, CSint* y)
{
  return reifyOrder<loose>(info, {PreifLe, PreifVarsLe, runOrders<loose>}, x, y);
}

CSint* cs_ReifLt(CSint* x, CSint* y)
{
  return postAs("cs_ReifLt", [=](ConstraintInfo* info) { return doReifLt(info, x, y); });
}

CSint* cs_ReifLe(CSint* x, CSint* y)
{
  return postAs("cs_ReifLe", [=](ConstraintInfo* info) { return doReifLe(info, x, y); });
}

CSint* cs_ReifGt(CSint* x, CSint* y)
{
  return postAs("cs_ReifGt", [=](ConstraintInfo* info) { return doReifLt(info, y, x); });
}

CSint* cs_ReifGe(CSint* x, CSint* y)
{
  return postAs("cs_ReifGe", [=](ConstraintInfo* info) { return doReifLe(info, y, x); });
}

// =====================================================================================================================
// A variable and a constant
// =====================================================================================================================

/// Nothing is narrowed here: the enforcer has seen to that, or will when its turn comes.
template <typename Line>
static int isPossible(const CSint* b, const CSint* x, int32_t c)
{
  return b->_min ? !Line::excludes(x, c) : !Line::contains(x, c);
}

/// The bound that the line shares with x can only bring x into it, the other one only out of it.
template <typename Moved, typename Line>
static int onMove(const CSint* x, const Tconstraint* t)
{
  auto* r = dataOf<ReifBoolData>(t);
  if (isFixed(r->_bool))
    return isPossible<Line>(r->_bool, x, r->_value);
  if constexpr (Moved::moved == Line::BoundedSide::moved)
    return !Line::contains(x, r->_value) || rcsSetValue(r->_bool, 1);
  else
    return !Line::excludes(x, r->_value) || rcsSetValue(r->_bool, 0);
}

template <typename Line>
static int onEq(const CSint* x, const Tconstraint* t)
{
  auto* r = dataOf<ReifBoolData>(t);
  if (isFixed(r->_bool))
    return isPossible<Line>(r->_bool, x, r->_value);
  if (Line::contains(x, r->_value))
    return rcsSetValue(r->_bool, 1);
  return !Line::excludes(x, r->_value) || rcsSetValue(r->_bool, 0);
}

template <typename Line>
static int onDecided(const CSint* b, const Tconstraint* t)
{
  auto* r = dataOf<ReifValueData>(t);
  return b->_min ? Line::enforce(r->_x, r->_value) : Line::Complement::enforce(r->_x, r->_value);
}

static int PreifLTEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onDecided<Below>(b, t); }

static int PreifLTVarsNewMinEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Lower, Below>(x, t); }

static int PreifLTVarsNewMaxEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Upper, Below>(x, t); }

static int PreifLTVarsEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onEq<Below>(x, t); }

static int PreifLEEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onDecided<AtMost>(b, t); }

static int PreifLEVarsNewMinEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Lower, AtMost>(x, t); }

static int PreifLEVarsNewMaxEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Upper, AtMost>(x, t); }

static int PreifLEVarsEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onEq<AtMost>(x, t); }

static int PreifGTEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onDecided<Above>(b, t); }

static int PreifGTVarsNewMinEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Lower, Above>(x, t); }

static int PreifGTVarsNewMaxEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Upper, Above>(x, t); }

static int PreifGTVarsEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onEq<Above>(x, t); }

static int PreifGEEvent(CSint* b, Tconstraint* t, int32_t, int32_t) { return onDecided<AtLeast>(b, t); }

static int PreifGEVarsNewMinEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Lower, AtLeast>(x, t); }

static int PreifGEVarsNewMaxEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onMove<Upper, AtLeast>(x, t); }

static int PreifGEVarsEqEvent(CSint* x, Tconstraint* t, int32_t, int32_t) { return onEq<AtLeast>(x, t); }

static const Handler PreifLT[6] = {Ptrue, Ptrue, PreifLTEvent, PreifLTEvent, PreifLTEvent, Ptrue};

static const Handler PreifVarsLT[6] = {PreifLTVarsNewMinEvent, PreifLTVarsNewMaxEvent, PreifLTVarsNewMinEvent,
    PreifLTVarsNewMaxEvent, PreifLTVarsEqEvent, Ptrue};

static const Handler PreifLE[6] = {Ptrue, Ptrue, PreifLEEvent, PreifLEEvent, PreifLEEvent, Ptrue};

static const Handler PreifVarsLE[6] = {PreifLEVarsNewMinEvent, PreifLEVarsNewMaxEvent, PreifLEVarsNewMinEvent,
    PreifLEVarsNewMaxEvent, PreifLEVarsEqEvent, Ptrue};

static const Handler PreifGT[6] = {Ptrue, Ptrue, PreifGTEvent, PreifGTEvent, PreifGTEvent, Ptrue};

static const Handler PreifVarsGT[6] = {PreifGTVarsNewMinEvent, PreifGTVarsNewMaxEvent, PreifGTVarsNewMinEvent,
    PreifGTVarsNewMaxEvent, PreifGTVarsEqEvent, Ptrue};

static const Handler PreifGE[6] = {Ptrue, Ptrue, PreifGEEvent, PreifGEEvent, PreifGEEvent, Ptrue};

static const Handler PreifVarsGE[6] = {PreifGEVarsNewMinEvent, PreifGEVarsNewMaxEvent, PreifGEVarsNewMinEvent,
    PreifGEVarsNewMaxEvent, PreifGEVarsEqEvent, Ptrue};

template <typename Line>
static CSint* reifyLine(ConstraintInfo* info, const ReifTables& tables, CSint* x, int32_t c)
{
  if (Line::excludes(x, c))
    return CSINT(0);
  if (Line::contains(x, c))
    return CSINT(1);
  CSint* b = cs_createCSint(0, 1);
  return b ? reifyValue(info, tables, b, x, c) : nullptr;
}

static CSint* doReifLT(ConstraintInfo* info, CSint* x, int32_t c)
{
  return reifyLine<Below>(info, {PreifLT, PreifVarsLT}, x, c);
}

CSint* cs_ReifLT(CSint* x, int c)
{
  return postAs("cs_ReifLT", [=](ConstraintInfo* info) { return doReifLT(info, x, c); });
}

CSint* cs_ReifLE(CSint* x, int c)
{
  return postAs("cs_ReifLE", [=](ConstraintInfo* info) {
    return reifyLine<AtMost>(info, {PreifLE, PreifVarsLE}, x, c);
  });
}

CSint* cs_ReifGT(CSint* x, int c)
{
  return postAs("cs_ReifGT", [=](ConstraintInfo* info) {
    return reifyLine<Above>(info, {PreifGT, PreifVarsGT}, x, c);
  });
}

CSint* cs_ReifGE(CSint* x, int c)
{
  return postAs("cs_ReifGE", [=](ConstraintInfo* info) {
    return reifyLine<AtLeast>(info, {PreifGE, PreifVarsGE}, x, c);
  });
}
