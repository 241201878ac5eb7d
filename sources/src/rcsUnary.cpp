/*
 * Unary constraints: a variable against constants. They are no records; each narrows the variable at once and leaves
 * nothing attached. Whether there is anything to do is tested first, so that a constraint that already holds costs
 * nothing and is never attributed.
 *
 * Inside a client's event callback, with a profiler on, the narrowing is counted under an info of its own. The event
 * that the profiler is told is read off the variable afterwards, which needn't be the event that was sent.
 */
#include "rcsBound.h"
#include "rcsPost.h"

/// Runs the update, and reports it where a client's callback is running with a profiler on. Forced inline into the
/// entry points, which for their part are never inlined into a caller: the locator counts frames.
template <typename Update, typename EventAfter>
[[gnu::always_inline]] static inline int attributeAs(const char* name, CSint* v, Update update, EventAfter eventAfter)
{
  if (!rcsIsProfilerEnabled() || !rcsGetEventCI()) [[likely]]
    return update();
  ConstraintInfo* info =
      getConstraintInfoByEvent(name, rcsGetProfilerLocatorFunction()(rcsGetProfilerLocatorFunctionExtra()));
  if (!info)
    return update();
  int result = update();
  rcsCallProfiler(result, v, eventAfter(), info);
  return result;
}

[[gnu::noinline]] int cs_EQ(CSint* variable, int value)
{
  if (variable->_min == value && variable->_max == value)
    return 1;
  return attributeAs(
      "cs_EQ", variable, [=] { return holds(variable, value) && rcsSetValue(variable, value); },
      [=] { return variable->_max == value   ? NewMinEq
                   : variable->_min == value ? NewMaxEq
                                             : Eq; });
}

static EventKind eventOfRemoval(const CSint* v, int32_t value)
{
  bool two = v->_nbElements == 2;
  if (v->_max == value)
    return two ? NewMaxEq : NewMax;
  if (v->_min == value)
    return two ? NewMinEq : NewMin;
  return Neq;
}

[[gnu::noinline]] int cs_NEQ(CSint* variable, int value)
{
  if (!holds(variable, value))
    return 1;
  return attributeAs(
      "cs_NEQ", variable, [=] { return rcsRemoveValue(variable, value); },
      [=] { return eventOfRemoval(variable, value); });
}

template <typename Side>
static EventKind eventOfBound(const CSint* v)
{
  return isFixed(v) ? Side::fixed : Side::moved;
}

[[gnu::noinline]] int cs_LE(CSint* variable, int value)
{
  if (variable->_max <= value)
    return 1;
  return attributeAs(
      "cs_LE", variable, [=] { return rcsSetMax(variable, value); }, [=] { return eventOfBound<Upper>(variable); });
}

[[gnu::noinline]] int cs_GE(CSint* variable, int value)
{
  if (variable->_min >= value)
    return 1;
  return attributeAs(
      "cs_GE", variable, [=] { return rcsSetMin(variable, value); }, [=] { return eventOfBound<Lower>(variable); });
}

[[gnu::noinline]] int cs_LT(CSint* variable, int value)
{
  if (variable->_max < value)
    return 1;
  return attributeAs(
      "cs_LT", variable, [=] { return rcsSetMax(variable, wrapSub(value, 1)); },
      [=] { return eventOfBound<Upper>(variable); });
}

[[gnu::noinline]] int cs_GT(CSint* variable, int value)
{
  if (variable->_min > value)
    return 1;
  return attributeAs(
      "cs_GT", variable, [=] { return rcsSetMin(variable, wrapAdd(value, 1)); },
      [=] { return eventOfBound<Lower>(variable); });
}

static bool isListed(const int* values, int count, int32_t value)
{
  for (int i = 0; i < count; i++)
    if (values[i] == value)
      return true;
  return false;
}

int cs_InArray(CSint* variable, const int* values, int count)
{
  if (count < 1)
    return 0;
  int32_t smallest = values[0], largest = values[0];
  for (int i = 1; i < count; i++) {
    smallest = values[i] < smallest ? values[i] : smallest;
    largest = values[i] > largest ? values[i] : largest;
  }
  if (!cs_GE(variable, smallest) || !cs_LE(variable, largest))
    return 0;
  // From both ends in turn: what isn't listed at a bound goes as a move of that bound. The scans end at a bound at the
  // latest, as long as a removal doesn't narrow more than it was asked to; `low` and `high` say where that is over.
  int64_t low = variable->_min, high = variable->_max;
  for (;;) {
    while (low <= high && !rcsDomainIsOn(variable->_domain, int32_t(low)))
      low++;
    if (low > high)
      return 1;
    auto x = int32_t(low);
    if (!isListed(values, count, x) && !cs_NEQ(variable, x))
      return 0;
    if (high == x)
      return 1;
    while (high > x && !rcsDomainIsOn(variable->_domain, int32_t(high)))
      high--;
    auto y = int32_t(high);
    if (!isListed(values, count, y) && !cs_NEQ(variable, y))
      return 0;
    if (x >= variable->_max || y <= variable->_min)
      return 1;
    low = int64_t(x) + 1;
    high = int64_t(y) - 1;
  }
}

int cs_NotInArray(CSint* variable, const int* values, int count)
{
  for (int i = 0; i < count; i++)
    if (!cs_NEQ(variable, values[i]))
      return 0;
  return 1;
}

int cs_InInterval(CSint* variable, int low, int high) { return cs_GE(variable, low) && cs_LE(variable, high); }

int cs_NotInInterval(CSint* variable, int low, int high)
{
  for (int64_t value = low; value <= high; value++)
    if (!cs_NEQ(variable, int32_t(value)))
      return 0;
  return 1;
}
