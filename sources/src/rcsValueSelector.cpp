/*
 * Value selectors: how a variable is branched on. A selector yields decisions one at a time, each a method and a value,
 * and keeps where it stands in a slot that the driver owns, one for each level, so that it needs no memory of its own.
 *
 * Five are built in. They read the variable afresh at each call; a driver asks for all the decisions of a level while
 * the domain is as at the level's entry. The two that halve the bounds aren't mirrors of each other: the middle counts
 * to the lower half in the one and to the upper half in the other, and the latter alone has to move it for two values.
 */
#include "rcsBits.h"
#include "rcsBound.h"
#include "rcsSearch.h"

#include <cstdlib>

int cs_selectValue(CSint* variable, const ValueSelection* selection)
{
  switch (selection->method) {
  case CS_SELECT_EQ:
    return cs_EQ(variable, selection->value);
  case CS_SELECT_NEQ:
    return cs_NEQ(variable, selection->value);
  case CS_SELECT_LE:
    return cs_LE(variable, selection->value);
  case CS_SELECT_LT:
    return cs_LT(variable, selection->value);
  case CS_SELECT_GE:
    return cs_GE(variable, selection->value);
  case CS_SELECT_GT:
    return cs_GT(variable, selection->value);
  default:
    abort();
  }
}

// =====================================================================================================================
// Value by value
// =====================================================================================================================

struct Ascending
{
  static constexpr int64_t step = 1, behindAll = int64_t(INT32_MAX) + 1;
  static bool isPast(const CSint* v, int64_t value) { return value > v->_max; }
  static bool isBefore(const CSint* v, int64_t value) { return value < v->_min; }
  static int32_t first(const CSint* v) { return v->_min; }
  static int64_t next(const Domain* domain, int32_t value) { return nextOn(domain, value); }
};

struct Descending
{
  static constexpr int64_t step = -1, behindAll = int64_t(INT32_MIN) - 1;
  static bool isPast(const CSint* v, int64_t value) { return value < v->_min; }
  static bool isBefore(const CSint* v, int64_t value) { return value > v->_max; }
  static int32_t first(const CSint* v) { return v->_max; }
  static int64_t next(const Domain* domain, int32_t value) { return prevOn(domain, value); }
};

/// The state is where the walk goes on, 32 bits of the slot: a client's own start may have filled no more. The one
/// integer that lies behind all of 32 bits takes the whole slot, wherever a pointer has 64.
template <typename Order>
static inline int nextValue(ValueSelection* selection, const CSint* v, intptr_t* state)
{
  int64_t value = int32_t(*state);
  if (*state == Order::behindAll)
    return 0;
  if (Order::isBefore(v, value))
    value = Order::first(v);
  if (!Order::isPast(v, value) && !rcsDomainIsOn(v->_domain, int32_t(value)))
    value = Order::next(v->_domain, int32_t(value));
  if (Order::isPast(v, value))
    return 0;
  *state = intptr_t(value + Order::step);
  *selection = {.method = CS_SELECT_EQ, .value = int32_t(value)};
  return 1;
}

int rcsVSMinToMaxInit(int position, CSint** variables, int, intptr_t* state)
{
  *state = variables[position]->_min;
  return 1;
}

int rcsVSMinToMaxNext(ValueSelection* selection, int position, CSint** variables, int, intptr_t* state)
{
  return nextValue<Ascending>(selection, variables[position], state);
}

int rcsVSMaxToMinInit(int position, CSint** variables, int, intptr_t* state)
{
  *state = variables[position]->_max;
  return 1;
}

int rcsVSMaxToMinNext(ValueSelection* selection, int position, CSint** variables, int, intptr_t* state)
{
  return nextValue<Descending>(selection, variables[position], state);
}

// =====================================================================================================================
// In two parts
//
// The state is the number of decisions yielded. The second one isn't yielded where it leaves nothing.
// =====================================================================================================================

static int yieldPart(ValueSelection* selection, int32_t method, int32_t value, intptr_t* state)
{
  *selection = {.method = method, .value = value};
  ++*state;
  return 1;
}

static int32_t middleOf(const CSint* v) { return int32_t(v->_min + (int64_t(v->_max) - v->_min) / 2); }

int rcsVSLowerAndUpperInit(int, CSint**, int, intptr_t* state)
{
  *state = 0;
  return 1;
}

int rcsVSLowerAndUpperNext(ValueSelection* selection, int position, CSint** variables, int, intptr_t* state)
{
  const CSint* v = variables[position];
  auto part = int32_t(*state);
  int32_t middle = middleOf(v);
  if (part > 1 || (part == 1 && middle >= v->_max))
    return 0;
  return yieldPart(selection, part == 0 ? CS_SELECT_LE : CS_SELECT_GT, middle, state);
}

int rcsVSUpperAndLowerInit(int, CSint**, int, intptr_t* state)
{
  *state = 0;
  return 1;
}

int rcsVSUpperAndLowerNext(ValueSelection* selection, int position, CSint** variables, int, intptr_t* state)
{
  const CSint* v = variables[position];
  auto part = int32_t(*state);
  int32_t middle = middleOf(v);
  // Of two adjacent values the upper one, or else the first decision would hold already.
  if (v->_nbElements >= 2 && int64_t(v->_max) - v->_min + 1 <= 2)
    middle++;
  if (part > 1 || (part == 1 && middle <= v->_min))
    return 0;
  return yieldPart(selection, part == 0 ? CS_SELECT_GE : CS_SELECT_LT, middle, state);
}

/// The value with `rank` values below it; the maximum where there are fewer, as the count may be too high when a
/// context was accepted inside another one that was restored.
static int32_t valueOfRank(const CSint* v, int32_t rank)
{
  if (!hasHoles(v))
    return wrapAdd(v->_min, rank);
  for (int64_t from = v->_min; from <= v->_max; from += 64) {
    uint64_t bits = bitsFrom(v->_domain, int32_t(from)) & lowestBits(v->_max - from + 1);
    auto count = int32_t(countBits(bits));
    if (rank < count) {
      for (; rank > 0; rank--)
        bits &= bits - 1;
      return int32_t(from) + std::countr_zero(bits);
    }
    rank -= count;
  }
  return v->_max;
}

int rcsVSMedianAndRestInit(int, CSint**, int, intptr_t* state)
{
  *state = 0;
  return 1;
}

int rcsVSMedianAndRestNext(ValueSelection* selection, int position, CSint** variables, int, intptr_t* state)
{
  const CSint* v = variables[position];
  auto part = int32_t(*state);
  if (part > 1 || (part == 1 && v->_nbElements < 2))
    return 0;
  int32_t median = v->_nbElements < 3 ? v->_min : valueOfRank(v, (v->_nbElements - 1) / 2);
  return yieldPart(selection, part == 0 ? CS_SELECT_EQ : CS_SELECT_NEQ, median, state);
}

// =====================================================================================================================
// Selectors
// =====================================================================================================================

ValueSelector rcsVSMinToMax = {._init = rcsVSMinToMaxInit, ._next = rcsVSMinToMaxNext, ._end = nullptr};
ValueSelector rcsVSMaxToMin = {._init = rcsVSMaxToMinInit, ._next = rcsVSMaxToMinNext, ._end = nullptr};
ValueSelector rcsVSLowerAndUpper = {._init = rcsVSLowerAndUpperInit, ._next = rcsVSLowerAndUpperNext, ._end = nullptr};
ValueSelector rcsVSUpperAndLower = {._init = rcsVSUpperAndLowerInit, ._next = rcsVSUpperAndLowerNext, ._end = nullptr};
ValueSelector rcsVSMedianAndRest = {._init = rcsVSMedianAndRestInit, ._next = rcsVSMedianAndRestNext, ._end = nullptr};

ValueSelector* cs_getValueSelector(int kind)
{
  switch (kind) {
  case CS_MIN_TO_MAX:
    return &rcsVSMinToMax;
  case CS_MAX_TO_MIN:
    return &rcsVSMaxToMin;
  case CS_LOWER_AND_UPPER:
    return &rcsVSLowerAndUpper;
  case CS_UPPER_AND_LOWER:
    return &rcsVSUpperAndLower;
  case CS_MEDIAN_AND_REST:
    return &rcsVSMedianAndRest;
  default:
    return nullptr;
  }
}

ValueSelector* cs_createValueSelector(ValueSelectorInit init, ValueSelectorNext next, ValueSelectorEnd end)
{
  auto* selector = static_cast<ValueSelector*>(malloc(sizeof(ValueSelector)));
  if (!selector) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *selector = {._init = init, ._next = next, ._end = end};
  return selector;
}

void cs_freeValueSelector(ValueSelector* selector) { free(selector); }

int cs_initValueSelector(ValueSelector* selector, int position, CSint** variables, int n, intptr_t* state)
{
  return !selector->_init || isYes(selector->_init(position, variables, n, state));
}

int cs_selectNextValue(
    ValueSelection* selection, ValueSelector* selector, int position, CSint** variables, int n, intptr_t* state)
{
  return isYes(selector->_next(selection, position, variables, n, state));
}

int cs_endValueSelector(ValueSelector* selector, int position, CSint** variables, int n, intptr_t* state)
{
  return !selector->_end || isYes(selector->_end(position, variables, n, state));
}
