/*
 * Conditionals: ties between one value of x and one value of y.
 *
 * cs_IfEq: where one variable takes its value the other takes its own too. cs_IfNeq: where one takes its value the
 * other loses its own. Both look at instantiations only. The loss of a value wakes nothing, so cs_IfEq is weaker than
 * the equivalence that it stands for, and that is wanted: it costs a comparison for each instantiation and nothing for
 * any other event.
 *
 * Both variables are attached by name, and a handler tells them apart by comparing with _x: a variable that is tied to
 * itself always counts as the first.
 */
#include "rcsBound.h"
#include "rcsPost.h"

struct IfData
{
  CSint* _x;
  CSint* _y;
  int32_t _xValue;
  int32_t _yValue;
};

/// What befalls the other variable and its value: fixIfHeld or removeIfHeld.
using Update = int (*)(CSint*, int32_t);

static bool isFixedTo(const CSint* v, int32_t value) { return isFixed(v) && v->_min == value; }

template <Update update>
static int initialize(const IfData* tie)
{
  if (isFixedTo(tie->_x, tie->_xValue) && !update(tie->_y, tie->_yValue))
    return 0;
  return !isFixedTo(tie->_y, tie->_yValue) || update(tie->_x, tie->_xValue);
}

template <Update update>
static int onEq(const CSint* v, const Tconstraint* t)
{
  auto* tie = dataOf<IfData>(t);
  if (v == tie->_x)
    return v->_min != tie->_xValue || update(tie->_y, tie->_yValue);
  return tie->_y->_min != tie->_yValue || update(tie->_x, tie->_xValue);
}

static int PifEqEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onEq<fixIfHeld>(v, t); }

static int PifNeqEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t) { return onEq<removeIfHeld>(v, t); }

static const Handler PifEq[6] = {Ptrue, Ptrue, PifEqEqEvent, PifEqEqEvent, PifEqEqEvent, Ptrue};

static const Handler PifNeq[6] = {Ptrue, Ptrue, PifNeqEqEvent, PifNeqEqEvent, PifNeqEqEvent, Ptrue};

template <Update update>
static int postTie(ConstraintInfo* info, const Handler* handlers, const IfData& data)
{
  Constraint* tie = newConstraint(info, handlers, data);
  return tie && _rcsAddConstraint(tie, data._x, -1) && _rcsAddConstraint(tie, data._y, -1) && initialize<update>(&data);
}

int cs_IfEq(CSint* x, CSint* y, int xValue, int yValue)
{
  IfData data = {._x = x, ._y = y, ._xValue = xValue, ._yValue = yValue};
  return postAs("cs_IfEq", [&](ConstraintInfo* info) { return postTie<fixIfHeld>(info, PifEq, data); });
}

int cs_IfNeq(CSint* x, CSint* y, int xValue, int yValue)
{
  IfData data = {._x = x, ._y = y, ._xValue = xValue, ._yValue = yValue};
  return postAs("cs_IfNeq", [&](ConstraintInfo* info) { return postTie<removeIfHeld>(info, PifNeq, data); });
}
