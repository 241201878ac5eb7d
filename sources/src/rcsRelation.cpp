/*
 * Binary relations: x != y, x = y, x <= y, x < y and the mirrors of the last two.
 *
 * Strength: cs_Neq does forward checking, cs_Eq mirrors bounds, holes and later removals, the orders keep bounds
 * consistent. An order wakes on a raised minimum of its left side and a lowered maximum of its right side only; the
 * other two moves cannot narrow anything. x >= y and x > y are the same constraints with the sides exchanged.
 *
 * Both variables are attached by name, and a handler tells them apart by comparing with _x; that of x != y has no need
 * to.
 */
#include "rcsBound.h"
#include "rcsKernel.h"
#include "rcsPost.h"

static CSint* otherThan(const CSint* v, const RelationData* r) { return v == r->_x ? r->_y : r->_x; }

template <typename Initialize>
static int postRelation(ConstraintInfo* info, const Handler* handlers, CSint* x, CSint* y, Initialize initialize)
{
  Constraint* relation = newConstraint(info, handlers, RelationData{._x = x, ._y = y});
  return relation && _rcsAddConstraint(relation, x, -1) && _rcsAddConstraint(relation, y, -1) && initialize(x, y);
}

// =====================================================================================================================
// x != y
// =====================================================================================================================

static int PneqInitialize(CSint* x, CSint* y)
{
  if (x->_min == x->_max)
    return removeIfHeld(y, x->_min);
  return !isFixed(y) || removeIfHeld(x, y->_min);
}

/// Disequalities come in hundreds to a variable, so each attachment holds the other variable in place of the record:
/// the walk over them reads nothing else that isn't side by side in memory.
static int attachTo(Constraint* neq, CSint* v, CSint* other)
{
  if (!_rcsAddConstraint(neq, v, -1))
    return 0;
  v->_constraints->_data = other;
  if (isInLargeBlock(v->_constraints))
    *otherOf(v->_constraints) = other;
  return 1;
}

static int PneqEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return removeIfHeld(dataOf<CSint>(t), v->_min); }

static const Handler Pneq[6] = {Ptrue, Ptrue, PneqEqEvent, PneqEqEvent, PneqEqEvent, Ptrue};

/// For those of one large block: the walk goes over their other variables, which lie in a sixth of the memory.
static TconstraintRun runNeqsOfBlock(const CSint* v, Tconstraint* t)
{
  CSint** const newest = otherOf(t);
  CSint** other = newest;
  do {
    if (!removeIfHeld(*other, v->_min)) [[unlikely]]
      return {._holds = false, ._end = t + (other - newest)};
  } while (*--other);
  return {._holds = true, ._end = t[other + 1 - newest]._next};
}

static TconstraintRun runNeqs(CSint* v, Tconstraint* t, size_t, int32_t)
{
  // Large blocks hold the newest, so they come first.
  while (isInLargeBlock(t)) {
    const TconstraintRun run = runNeqsOfBlock(v, t);
    t = run._end;
    if (!run._holds || !t || t->_handlers != Pneq)
      return run;
  }
  return wakeRun(t, [=](const Tconstraint* neq) { return removeIfHeld(dataOf<CSint>(neq), v->_min); });
}

static int doNeq(ConstraintInfo* info, CSint* x, CSint* y)
{
  Constraint* neq = newConstraint(info, Pneq, RelationData{._x = x, ._y = y});
  if (!neq)
    return 0;
  wakeInRuns(neq, runNeqs);
  return attachTo(neq, x, y) && attachTo(neq, y, x) && PneqInitialize(x, y);
}

int cs_Neq(CSint* x, CSint* y)
{
  return x != y && postAs("cs_Neq", [=](ConstraintInfo* info) { return doNeq(info, x, y); });
}

// =====================================================================================================================
// x = y
// =====================================================================================================================

/// Moves the looser bound of the two to the tighter one, or behind it where that is a hole. The other variable isn't
/// looked at again here: it is told by the event.
template <typename Side>
static int evenOut(CSint* x, CSint* y)
{
  return Side::inside(Side::of(y), Side::of(x)) ? Side::tighten(x, Side::of(y)) : pushBound<Side>(y, Side::of(x));
}

static int PeqInitialize(CSint* x, CSint* y)
{
  if (isFixed(x))
    return fixIfHeld(y, x->_min);
  if (isFixed(y))
    return fixIfHeld(x, y->_min);
  return evenOut<Lower>(x, y) && evenOut<Upper>(x, y) && rcsAnd(x, y);
}

template <typename Side>
static int mirrorBound(const CSint* v, const RelationData* r)
{
  return v == r->_x ? pushBound<Side>(r->_y, Side::of(r->_x)) : pushBound<Side>(r->_x, Side::of(r->_y));
}

static int PeqNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return mirrorBound<Lower>(v, dataOf<RelationData>(t));
}

static int PeqNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return mirrorBound<Upper>(v, dataOf<RelationData>(t));
}

static int PeqEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* r = dataOf<RelationData>(t);
  return mirrorBound<Lower>(v, r) && mirrorBound<Upper>(v, r);
}

static int PeqNeqEvent(CSint* v, Tconstraint* t, int32_t removed, int32_t)
{
  // Told of that removal it would remove the value here once more.
  return removeIfHeld(otherThan(v, dataOf<RelationData>(t)), removed, t->_constraint);
}

static const Handler Peq[6] = {PeqNewMinEvent, PeqNewMaxEvent, PeqNewMinEvent, PeqNewMaxEvent, PeqEqEvent, PeqNeqEvent};

int cs_Eq(CSint* x, CSint* y)
{
  return x == y || postAs("cs_Eq", [=](ConstraintInfo* info) { return postRelation(info, Peq, x, y, PeqInitialize); });
}

// =====================================================================================================================
// x <= y and x < y
//
// One rule for both: on the side of the minimum x pushes y, on that of the maximum y pushes x, by `gap` further
// inwards. The step by the gap wraps: at the edge of 32 bits a strict order pushes nothing, and what fails there is the
// other side.
// =====================================================================================================================

template <int32_t gap>
static int raiseY(CSint* x, CSint* y)
{
  return pushBound<Lower>(y, x->_min, gap);
}

template <int32_t gap>
static int lowerX(CSint* x, CSint* y)
{
  return pushBound<Upper>(x, y->_max, gap);
}

static int PleInitialize(CSint* x, CSint* y) { return raiseY<loose>(x, y) && lowerX<loose>(x, y); }

static int PltInitialize(CSint* x, CSint* y) { return raiseY<strict>(x, y) && lowerX<strict>(x, y); }

template <int32_t gap>
static int onNewMin(const CSint* v, const RelationData* r)
{
  return v != r->_x || raiseY<gap>(r->_x, r->_y);
}

template <int32_t gap>
static int onNewMax(const CSint* v, const RelationData* r)
{
  return v != r->_y || lowerX<gap>(r->_x, r->_y);
}

template <int32_t gap>
static int onEq(const CSint* v, const RelationData* r)
{
  return v == r->_x ? raiseY<gap>(r->_x, r->_y) : lowerX<gap>(r->_x, r->_y);
}

static int PleNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return onNewMin<loose>(v, dataOf<RelationData>(t));
}

static int PleNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return onNewMax<loose>(v, dataOf<RelationData>(t));
}

static int PleEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onEq<loose>(v, dataOf<RelationData>(t)); }

static int PltNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return onNewMin<strict>(v, dataOf<RelationData>(t));
}

static int PltNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return onNewMax<strict>(v, dataOf<RelationData>(t));
}

static int PltEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onEq<strict>(v, dataOf<RelationData>(t)); }

static const Handler Ple[6] = {PleNewMinEvent, PleNewMaxEvent, PleNewMinEvent, PleNewMaxEvent, PleEqEvent, Ptrue};

static const Handler Plt[6] = {PltNewMinEvent, PltNewMaxEvent, PltNewMinEvent, PltNewMaxEvent, PltEqEvent, Ptrue};

static int doLe(ConstraintInfo* info, CSint* x, CSint* y) { return postRelation(info, Ple, x, y, PleInitialize); }

static int doLt(ConstraintInfo* info, CSint* x, CSint* y) { return postRelation(info, Plt, x, y, PltInitialize); }

int cs_Le(CSint* x, CSint* y)
{
  return x == y || postAs("cs_Le", [=](ConstraintInfo* info) { return doLe(info, x, y); });
}

int cs_Ge(CSint* x, CSint* y)
{
  return x == y || postAs("cs_Ge", [=](ConstraintInfo* info) { return doLe(info, y, x); });
}

int cs_Lt(CSint* x, CSint* y)
{
  return x != y && postAs("cs_Lt", [=](ConstraintInfo* info) { return doLt(info, x, y); });
}

int cs_Gt(CSint* x, CSint* y)
{
  return x != y && postAs("cs_Gt", [=](ConstraintInfo* info) { return doLt(info, y, x); });
}
