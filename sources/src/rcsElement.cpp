/*
 * Element: a new variable equal to the entry of a constant table at a variable position.
 *
 * Strength: domain consistent, but for a removal that a bound overtakes. Every value of the result has a position,
 * every position of the index has its value. Where one propagation removes an inner position and then moves a bound
 * past it, the removal isn't told, and the handler of the bound takes the position for a hole of before: its value may
 * stay in the result until one of the two is fixed. The index is cut to the table and the result made with exactly the
 * values that can be reached, so nothing is left to do at posting. The entries are kept a second time, sorted by value,
 * so that the positions of a value are found by binary search; an event on the result doesn't scan the table.
 *
 * One constraint is attached to both variables, and its handlers tell them apart by comparing with the result. When a
 * context inside another one is accepted and the outer one restored, the index may be wider than it was at posting:
 * positions outside the table have no entry, and no value of the result stands for them.
 */
#include "rcsPositions.h"
#include "rcsPost.h"

struct ElementPair
{
  int32_t value;
  int32_t position;
};

struct ElementData
{
  CSint* _result;
  CSint* _indexVar;
  int32_t _nbValues;
  const int32_t* _values;
  ElementPair _pairs[]; ///< all entries, by value and then by position
};

/// By plain 32-bit subtraction: the span of the values is the client's duty.
static int cmpReversePair(const void* a, const void* b)
{
  auto *x = static_cast<const ElementPair*>(a), *y = static_cast<const ElementPair*>(b);
  int32_t byValue = wrapSub(x->value, y->value);
  return byValue != 0 ? byValue : wrapSub(x->position, y->position);
}

/// The first pair with that value or a larger one; the end of the pairs when there is none.
static const ElementPair* firstAtLeast(const ElementData* e, int32_t value)
{
  const ElementPair* low = e->_pairs;
  for (int32_t count = e->_nbValues; count > 0;) {
    int32_t half = count / 2;
    if (low[half].value < value) {
      low += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return low;
}

static const ElementPair* endOf(const ElementData* e) { return e->_pairs + e->_nbValues; }

// =====================================================================================================================
// From the index to the result
// =====================================================================================================================

/// The index has lost a position: its value goes from the result unless it stands at another one.
static int PelementIndexNeqEvent(const ElementData* e, int32_t position)
{
  if (!isInTable(position, e->_nbValues))
    return 1;
  const int32_t value = e->_values[position];
  for (const ElementPair* pair = firstAtLeast(e, value); pair < endOf(e) && pair->value == value; pair++)
    if (pair->position != position && holds(e->_indexVar, pair->position))
      return 1;
  return removeIfHeld(e->_result, value);
}

/// The bits of positions that a bound has passed are still on. What is off counts as a hole of before, of which the
/// handler was told; that it may be a removal that the bound has overtaken is kept as it has always been.
template <typename Side>
static int loseBetween(const ElementData* e, int32_t old, int32_t now)
{
  int32_t first = largerOf(0, smallerOf(old, e->_nbValues - 1));
  for (int64_t p = first; isInTable(p, e->_nbValues) && Side::inside(now, p); p = Side::step(int32_t(p), 1))
    if (rcsDomainIsOn(e->_indexVar->_domain, int32_t(p)) && !PelementIndexNeqEvent(e, int32_t(p)))
      return 0;
  return 1;
}

static int fixResult(const ElementData* e)
{
  int32_t position = e->_indexVar->_min;
  return isInTable(position, e->_nbValues) && fixIfHeld(e->_result, e->_values[position]);
}

// =====================================================================================================================
// From the result to the index
// =====================================================================================================================

/// The pair at place i, counted from the side of that bound.
template <typename Side>
static const ElementPair* pairFrom(const ElementData* e, int32_t i)
{
  return Side::moved == NewMin ? e->_pairs + i : endOf(e) - 1 - i;
}

template <typename Side>
static int dropPositionsBeyond(const ElementData* e, int32_t bound)
{
  for (int32_t i = 0; i < e->_nbValues; i++) {
    const ElementPair* pair = pairFrom<Side>(e, i);
    if (!Side::inside(bound, pair->value))
      return 1;
    if (!removeIfHeld(e->_indexVar, pair->position))
      return 0;
  }
  return 1;
}

static int keepPositionsOf(const ElementData* e, int32_t value)
{
  int32_t found = 0, position = 0;
  for (const ElementPair* pair = firstAtLeast(e, value); pair < endOf(e) && pair->value == value && found < 2; pair++) {
    if (holds(e->_indexVar, pair->position)) {
      found++;
      position = pair->position;
    }
  }
  if (found < 2)
    return found == 1 && rcsSetValue(e->_indexVar, position);
  // A removal may move the bounds.
  for (int64_t p = e->_indexVar->_min; p <= e->_indexVar->_max; p++) {
    bool stays = isInTable(p, e->_nbValues) && e->_values[p] == value;
    if (!stays && !removeIfHeld(e->_indexVar, int32_t(p)))
      return 0;
  }
  return 1;
}

static int dropPositionsOf(const ElementData* e, int32_t value)
{
  for (const ElementPair* pair = firstAtLeast(e, value); pair < endOf(e) && pair->value == value; pair++)
    if (!removeIfHeld(e->_indexVar, pair->position))
      return 0;
  return 1;
}

// =====================================================================================================================
// Handlers
// =====================================================================================================================

static int PelementNewMinEvent(CSint* v, Tconstraint* t, int32_t old, int32_t now)
{
  auto* e = dataOf<ElementData>(t);
  return v == e->_result ? dropPositionsBeyond<Lower>(e, now) : loseBetween<Lower>(e, old, now);
}

static int PelementNewMaxEvent(CSint* v, Tconstraint* t, int32_t old, int32_t now)
{
  auto* e = dataOf<ElementData>(t);
  return v == e->_result ? dropPositionsBeyond<Upper>(e, now) : loseBetween<Upper>(e, old, now);
}

static int PelementEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* e = dataOf<ElementData>(t);
  return v == e->_result ? keepPositionsOf(e, v->_min) : fixResult(e);
}

static int PelementNeqEvent(CSint* v, Tconstraint* t, int32_t removed, int32_t)
{
  auto* e = dataOf<ElementData>(t);
  return v == e->_result ? dropPositionsOf(e, removed) : PelementIndexNeqEvent(e, removed);
}

static const Handler Pelement[6] = {
    PelementNewMinEvent, PelementNewMaxEvent, PelementEqEvent, PelementEqEvent, PelementEqEvent, PelementNeqEvent};

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// The entries at the positions of the index; `domain` is the set that the index had before it was cut to the table.
static CSint* newResult(const CSint* index, const Domain* domain, const int32_t* table, int32_t n)
{
  auto* entries = static_cast<int32_t*>(malloc(size_t(n) * sizeof(int32_t)));
  if (!entries) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  int32_t count = 0;
  for (int32_t p = index->_min; p <= index->_max; p++)
    if (rcsDomainIsOn(domain, p))
      entries[count++] = table[p];
  CSint* result = cs_createCSintFromDomain(entries, count);
  free(entries);
  return result;
}

static CSint* postElement(ConstraintInfo* info, const ElementData& data)
{
  Constraint* element = newConstraint(info, Pelement, data, size_t(data._nbValues) * sizeof(ElementPair));
  if (!element)
    return nullptr;
  auto* e = static_cast<ElementData*>(element->_data);
  for (int32_t p = 0; p < e->_nbValues; p++)
    e->_pairs[p] = {.value = e->_values[p], .position = p};
  qsort(e->_pairs, size_t(e->_nbValues), sizeof(ElementPair), cmpReversePair);
  bool attached = _rcsAddConstraint(element, e->_indexVar, -1) && _rcsAddConstraint(element, e->_result, -1);
  return attached ? data._result : nullptr;
}

CSint* cs_Element(CSint* index, const int* table, int n)
{
  if (n == 0)
    return nullptr;
  const Domain* domain = index->_domain;
  if (!cutToTable(index, n))
    return nullptr;
  CSint* result = newResult(index, domain, table, n);
  if (!result)
    return nullptr;
  return postAs("cs_Element", [=](ConstraintInfo* info) {
    return postElement(info, {._result = result, ._indexVar = index, ._nbValues = n, ._values = table});
  });
}
