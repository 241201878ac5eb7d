/*
 * No-goods: lists of decisions that must not all hold. A set of them is one constraint, attached to every variable of
 * its array.
 *
 * Each no-good watches two elements that don't hold yet. While there are two, nothing can follow, so an event looks
 * only at the no-goods that watch its variable. When all elements but one hold, the last one is forbidden; when all
 * hold, the search fails. A one-element no-good watches its element twice.
 *
 * What is learnt only repeats what the other constraints say, so a set may miss a combination that it forbids; it does
 * where a no-good has two decisions on one variable.
 *
 * The set, its list and the watches lie outside the trail: a no-good holds everywhere, and a watch that was right when
 * more elements held is right when fewer do.
 */
#include "rcsBound.h"
#include "rcsPost.h"
#include "rcsSearch.h"

struct NoGoodData
{
  NoGoodSet* _set;
};

// =====================================================================================================================
// Lists
// =====================================================================================================================

static NoGoodWatch*& watchesOf(NoGood* ng, int32_t element) { return ng->_set->_watches[ng->_elements[element].index]; }

static void linkWatch(NoGoodWatch* watch, NoGood* ng, int32_t element)
{
  NoGoodWatch*& head = watchesOf(ng, element);
  *watch = {._owner = ng, ._prev = nullptr, ._next = head};
  if (head)
    head->_prev = watch;
  head = watch;
}

static void unlinkWatch(NoGoodWatch* watch, int32_t element)
{
  if (watch->_next)
    watch->_next->_prev = watch->_prev;
  if (watch->_prev)
    watch->_prev->_next = watch->_next;
  else
    watchesOf(watch->_owner, element) = watch->_next;
}

static void linkBoth(NoGood* ng)
{
  ng->_p1 = 0;
  ng->_p2 = ng->_nbElements == 1 ? 0 : 1;
  linkWatch(&ng->_w1, ng, ng->_p1);
  linkWatch(&ng->_w2, ng, ng->_p2);
}

static void unlinkBoth(NoGood* ng)
{
  unlinkWatch(&ng->_w1, ng->_p1);
  unlinkWatch(&ng->_w2, ng->_p2);
}

static void putInFront(NoGoodSet* ngs, NoGood* ng)
{
  ng->_prev = nullptr;
  ng->_next = ngs->_first;
  (ngs->_first ? ngs->_first->_prev : ngs->_last) = ng;
  ngs->_first = ng;
}

static void takeOut(NoGoodSet* ngs, NoGood* ng)
{
  (ng->_prev ? ng->_prev->_next : ngs->_first) = ng->_next;
  (ng->_next ? ng->_next->_prev : ngs->_last) = ng->_prev;
}

static void removeNoGood(NoGoodSet* ngs, NoGood* ng)
{
  takeOut(ngs, ng);
  unlinkBoth(ng);
  free(ng);
  ngs->_nbNoGoods--;
}

// =====================================================================================================================
// Propagation
// =====================================================================================================================

/// Does the decision hold in all that the variable may still become?
static bool hasNoGoodDomain(const CSint* v, int32_t method, int32_t value)
{
  switch (method) {
  case CS_SELECT_EQ:
    return isFixed(v) && v->_min == value;
  case CS_SELECT_NEQ:
    return !holds(v, value);
  case CS_SELECT_LE:
    return v->_max <= value;
  case CS_SELECT_LT:
    return v->_max < value;
  case CS_SELECT_GE:
    return v->_min >= value;
  case CS_SELECT_GT:
    return v->_min > value;
  default:
    assert(0);
  }
}

/// Would the negation of the decision narrow the variable without emptying it?
static bool canApplyNoGood(const CSint* v, int32_t method, int32_t value)
{
  switch (method) {
  case CS_SELECT_EQ:
  case CS_SELECT_NEQ:
    return v->_nbElements >= 2 && holds(v, value);
  case CS_SELECT_LE:
  case CS_SELECT_GT:
    return v->_min <= value && value < v->_max;
  case CS_SELECT_LT:
  case CS_SELECT_GE:
    return v->_min < value && value <= v->_max;
  default:
    assert(0);
  }
}

/// Imposes the negation of the decision.
static int applyNoGood(CSint* v, int32_t method, int32_t value)
{
  switch (method) {
  case CS_SELECT_EQ:
    return cs_NEQ(v, value);
  case CS_SELECT_NEQ:
    return cs_EQ(v, value);
  case CS_SELECT_LE:
    return cs_GT(v, value);
  case CS_SELECT_LT:
    return cs_GE(v, value);
  case CS_SELECT_GE:
    return cs_LT(v, value);
  case CS_SELECT_GT:
    return cs_LE(v, value);
  default:
    assert(0);
  }
}

/// The no-good has just caused a failure: it stays longest in the set.
static void fireNoGood(NoGood* ng)
{
  NoGoodSet* ngs = ng->_set;
  if (ngs->_first == ng || ngs->_walking != 0)
    return;
  takeOut(ngs, ng);
  putInFront(ngs, ng);
}

static bool elementHolds(const NoGood* ng, int32_t position)
{
  const NoGoodElement& element = ng->_elements[position];
  return hasNoGoodDomain(ng->_set->_vars[element.index], element.method, element.value);
}

/// All elements but that at `position` hold.
static int decide(NoGood* ng, int32_t position)
{
  const NoGoodElement& element = ng->_elements[position];
  CSint* v = ng->_set->_vars[element.index];
  if (canApplyNoGood(v, element.method, element.value)) {
    if (applyNoGood(v, element.method, element.value))
      return 1;
  } else if (!hasNoGoodDomain(v, element.method, element.value)) {
    return 1;
  }
  fireNoGood(ng);
  return 0;
}

/// An element that doesn't hold, other than the one that the other watch has, or -1. The search begins half-way along
/// from the other watch, so that the watches stay apart.
static int32_t findReplacement(const NoGood* ng, int32_t other)
{
  const int32_t n = ng->_nbElements;
  auto position = int32_t((int64_t(n / 2) + other) % n);
  for (int32_t i = 0; i < n; i++) {
    if (position != other && !elementHolds(ng, position))
      return position;
    position = position == n - 1 ? 0 : position + 1;
  }
  return -1;
}

static void moveWatch(NoGood* ng, NoGoodWatch* watch, int32_t& watched, int32_t replacement)
{
  unlinkWatch(watch, watched);
  watched = replacement;
  linkWatch(watch, ng, replacement);
}

static int checkNoGood(NoGood* nge, int32_t index)
{
  if (nge->_nbElements == 1)
    return nge->_elements[0].index != index || decide(nge, 0);
  assert(nge->_p1 != nge->_p2);
  if (nge->_elements[nge->_p1].index == index && elementHolds(nge, nge->_p1)) {
    int32_t replacement = findReplacement(nge, nge->_p2);
    if (replacement < 0)
      return decide(nge, nge->_p2);
    moveWatch(nge, &nge->_w1, nge->_p1, replacement);
  }
  if (nge->_elements[nge->_p2].index != index || !elementHolds(nge, nge->_p2))
    return 1;
  int32_t replacement = findReplacement(nge, nge->_p1);
  if (replacement < 0)
    return decide(nge, nge->_p1);
  moveWatch(nge, &nge->_w2, nge->_p2, replacement);
  return 1;
}

/// The check may move both watches of its no-good to other lists, so the next node is read before it. Where that is the
/// no-good's other watch the walk goes on from it in the list that it has gone to, and those behind it here wait for a
/// later event. This is kept: which no-goods act at which event decides what a search with restarts learns.
static int wakeWatching(const Tconstraint* t)
{
  NoGoodSet* ngs = dataOf<NoGoodData>(t)->_set;
  const int32_t index = t->_index;
  for (NoGoodWatch *watch = ngs->_watches[index], *next; watch; watch = next) {
    next = watch->_next;
    if (!checkNoGood(watch->_owner, index))
      return 0;
  }
  return 1;
}

static int PngNewMinEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return wakeWatching(t); }
static int PngNewMaxEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return wakeWatching(t); }
static int PngNewMinEqEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return wakeWatching(t); }
static int PngNewMaxEqEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return wakeWatching(t); }
static int PngEqEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return wakeWatching(t); }
static int PngNeqEvent(CSint*, Tconstraint* t, int32_t, int32_t) { return wakeWatching(t); }

static const Handler PngFunctions[6] = {
    PngNewMinEvent, PngNewMaxEvent, PngNewMinEqEvent, PngNewMaxEqEvent, PngEqEvent, PngNeqEvent};

// =====================================================================================================================
// Adding and removing
// =====================================================================================================================

static NoGood* createNoGood(NoGoodSet* ngs, int32_t count)
{
  auto* ng = static_cast<NoGood*>(malloc(sizeof(NoGood) + size_t(count) * sizeof(NoGoodElement)));
  if (!ng) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  ng->_set = ngs;
  ng->_nbElements = count;
  return ng;
}

static bool sameElement(const NoGoodElement& a, const NoGoodElement& b)
{
  return a.method == b.method && a.value == b.value && a.index == b.index;
}

/// By position, from behind: the beginnings are what no-goods of one search have in common.
static bool oneBeginsTheOther(const NoGood* a, const NoGood* b)
{
  for (int32_t i = smallerOf(a->_nbElements, b->_nbElements) - 1; i >= 0; i--)
    if (!sameElement(a->_elements[i], b->_elements[i]))
      return false;
  return true;
}

void rcsAddNoGood(NoGoodSet* ngs, NoGood* noGood)
{
  if (ngs->_filter && !isYes(ngs->_filter(ngs, noGood, ngs->_vars, ngs->_nbVars, ngs->_data))) {
    free(noGood);
    return;
  }
  for (NoGood *e = ngs->_first, *next; e; e = next) {
    next = e->_next;
    if (!oneBeginsTheOther(e, noGood))
      continue;
    if (e->_nbElements <= noGood->_nbElements) {
      free(noGood);
      return;
    }
    removeNoGood(ngs, e);
  }
  if (ngs->_last && ngs->_nbNoGoods >= ngs->_maxNbNoGoods)
    removeNoGood(ngs, ngs->_last);
  noGood->_analyzed = 0;
  putInFront(ngs, noGood);
  ngs->_nbNoGoods++;
  linkBoth(noGood);
}

int rcsAddNewNoGood(NoGoodSet* ngs, const NoGoodElement* elements, int32_t count)
{
  assert(ngs != NULL);
  NoGood* ng = createNoGood(ngs, count);
  if (!ng)
    return 0;
  for (int32_t i = 0; i < count; i++)
    ng->_elements[i] = elements[i];
  rcsAddNoGood(ngs, ng);
  return 1;
}

void cs_addNoGood(NoGoodSet* set, const int* positions, const ValueSelection* decisions, int count)
{
  NoGood* ng = createNoGood(set, count);
  if (!ng)
    return;
  for (int i = 0; i < count; i++) {
    if (positions[i] < 0 || positions[i] >= count)
      assert(0);
    ng->_elements[i] = {{decisions[i]}, positions[i]};
  }
  rcsAddNoGood(set, ng);
}

// =====================================================================================================================
// Reduction
// =====================================================================================================================

static int tryElement(CSint** variables, const NoGoodElement& element)
{
  cs_saveContext();
  return cs_selectValue(variables[element.index], &element);
}

/// The number of elements in front of element `k` that aren't needed for it to fail, the last of those before it first.
/// The first k elements stand, each in a context of its own; some of these contexts are gone afterwards.
static int32_t countNeedless(CSint** variables, const NoGood* ng, int32_t k)
{
  int32_t dropped = 0;
  for (; dropped < k; dropped++) {
    cs_restoreContext();
    if (tryElement(variables, ng->_elements[k]))
      break;
    cs_restoreContext();
  }
  return dropped;
}

void rcsAnalyzeNoGood(CSint** variables, NoGood* noGood)
{
  int mark = cs_saveContext();
  int32_t k = 0, dropped = 0;
  while (k < noGood->_nbElements && tryElement(variables, noGood->_elements[k]))
    k++;
  if (k > 0 && k < noGood->_nbElements) {
    cs_restoreContext();
    dropped = countNeedless(variables, noGood, k);
  }
  cs_restoreContextUntil(mark);
  if (dropped == 0)
    return;
  unlinkBoth(noGood);
  noGood->_elements[k - dropped] = noGood->_elements[k];
  noGood->_nbElements = k - dropped + 1;
  linkBoth(noGood);
}

void rcsReduceNoGood(NoGoodSet* ngs)
{
  ngs->_walking++;
  for (NoGood* ng = ngs->_first; ng; ng = ng->_next) {
    if (ng->_analyzed)
      continue;
    int32_t length = ng->_nbElements;
    rcsAnalyzeNoGood(ngs->_vars, ng);
    ng->_analyzed = 1;
    if (ng->_nbElements >= length)
      break;
  }
  ngs->_walking--;
}

// =====================================================================================================================
// Sets
// =====================================================================================================================

static void destroyNoGood(void* data)
{
  NoGoodSet* ngs = static_cast<NoGoodData*>(data)->_set;
  if (ngs->_destructor)
    ngs->_destructor(ngs, ngs->_data);
  for (NoGood *ng = ngs->_first, *next; ng; ng = next) {
    next = ng->_next;
    free(ng);
  }
  free(ngs);
}

static int attach(Constraint* constraint, CSint** variables, int32_t n)
{
  for (int32_t i = 0; i < n; i++)
    if (!_rcsAddConstraint(constraint, variables[i], i))
      return 0;
  return 1;
}

static NoGoodSet* doCreateNoGoodSet(ConstraintInfo* info, CSint** variables, int32_t n, NoGoodFilter filter,
    int32_t max, NoGoodDestructor destructor, void* data)
{
  auto* ngs = static_cast<NoGoodSet*>(malloc(sizeof(NoGoodSet) + size_t(n) * sizeof(NoGoodWatch*)));
  if (!ngs) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *ngs = {};
  ngs->_vars = variables;
  ngs->_nbVars = n;
  ngs->_filter = filter;
  ngs->_maxNbNoGoods = max == 0 ? INT32_MAX : max;
  ngs->_data = data;
  for (int32_t i = 0; i < n; i++)
    ngs->_watches[i] = nullptr;
  Constraint* constraint = newConstraint(info, PngFunctions, NoGoodData{._set = ngs});
  if (!constraint) {
    free(ngs);
    return nullptr;
  }
  constraint->_destructor = destroyNoGood;
  if (!attach(constraint, variables, n))
    return nullptr;
  // Not before: a client that is given no set keeps its data, though what has been attached may end much later.
  ngs->_destructor = destructor;
  return ngs;
}

NoGoodSet* cs_createNoGoodSet(
    CSint** variables, int n, NoGoodFilter filter, int max, NoGoodDestructor destructor, void* data)
{
  if (n < 1)
    return nullptr;
  return postAs("cs_createNoGoodSet",
      [=](ConstraintInfo* info) { return doCreateNoGoodSet(info, variables, n, filter, max, destructor, data); });
}

int cs_getNbNoGoods(const NoGoodSet* set) { return set->_nbNoGoods; }

void cs_setMaxNbNoGoods(NoGoodSet* set, int max)
{
  if (max < 0)
    return;
  if (max == 0)
    max = INT32_MAX;
  while (set->_nbNoGoods > max)
    removeNoGood(set, set->_last);
  set->_maxNbNoGoods = max;
}

int cs_getNbNoGoodElements(const NoGood* noGood) { return noGood->_nbElements; }

void cs_getNoGoodElementAt(int* position, ValueSelection* decision, const NoGood* noGood, int i)
{
  if (i < 0 || i >= noGood->_nbElements) {
    *position = -1;
    return;
  }
  *position = noGood->_elements[i].index;
  *decision = noGood->_elements[i];
}

void cs_filterNoGood(NoGoodSet* set, NoGoodFilter filter)
{
  set->_walking++;
  for (NoGood *ng = set->_last, *previous; ng; ng = previous) {
    previous = ng->_prev;
    if (!isYes(filter(set, ng, set->_vars, set->_nbVars, set->_data)))
      removeNoGood(set, ng);
  }
  set->_walking--;
}
