/*
 * The selector drivers: depth-first search that branches through one value selector for each variable and tells the
 * client how it goes; and restarts, which run it again and again with a limit of failures for each run and learn
 * no-goods from each run that reaches its limit.
 *
 * Each decision has a context of its own, saved before it and popped behind it. A level asks for the decision after the
 * one at hand before it makes that, on the domains of its entry, so it knows which is the last: a last decision is no
 * free choice, it follows from the refuted ones and the decisions above. No-goods rest on that difference.
 *
 * The frames of the levels are chained toward the root on the stack. The chain costs nothing until a limit is reached.
 */
#include "rcsSearch.h"

#include <cstdlib>

// =====================================================================================================================
// Notification
// =====================================================================================================================

static SearchNotify emptyNotify; ///< stands for none

SearchNotify* cs_createSearchNotify(void* data)
{
  auto* notify = static_cast<SearchNotify*>(malloc(sizeof(SearchNotify)));
  if (!notify) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *notify = {};
  notify->_data = data;
  return notify;
}

void cs_searchNotifySetSearchStart(SearchNotify* notify, CSsearchStart callback) { notify->_searchStart = callback; }

void cs_searchNotifySetSearchEnd(SearchNotify* notify, CSsearchEnd callback) { notify->_searchEnd = callback; }

void cs_searchNotifySetBeforeValueSelection(SearchNotify* notify, CSbeforeValueSelection callback)
{
  notify->_beforeValueSelection = callback;
}

void cs_searchNotifySetAfterValueSelection(SearchNotify* notify, CSafterValueSelection callback)
{
  notify->_afterValueSelection = callback;
}

void cs_searchNotifySetEnter(SearchNotify* notify, CSsearchLevel callback) { notify->_enter = callback; }

void cs_searchNotifySetLeave(SearchNotify* notify, CSsearchLevel callback) { notify->_leave = callback; }

void cs_searchNotifySetFound(SearchNotify* notify, CSsearchFound callback) { notify->_found = callback; }

void cs_freeSearchNotify(SearchNotify* notify) { free(notify); }

// =====================================================================================================================
// Levels
// =====================================================================================================================

/// What is the same at all levels of a run.
struct SelectorSearch
{
  CSint** _vars;
  ValueSelector** _selectors;
  int32_t _n;
  CSfindFreeVarIndex _findFreeVarIndex;
  const SearchNotify* _notify;
  NoGoodSet* _noGoods;  ///< or null: nothing is learnt
  int32_t _fails = 0;   ///< limit of this run
  int32_t _nbFails = 0; ///< failures of this run; rcsNbFails may count several runs
};

static SelectorSearch newSearch(CSint** variables, ValueSelector** selectors, int32_t n,
    CSfindFreeVarIndex findFreeVarIndex, const SearchNotify* notify, NoGoodSet* noGoods)
{
  return {._vars = variables,
      ._selectors = selectors,
      ._n = n,
      ._findFreeVarIndex = findFreeVarIndex,
      ._notify = notify ? notify : &emptyNotify,
      ._noGoods = noGoods};
}

struct SearchFrame
{
  SearchFrame* _parent;
  int32_t _index;             ///< position of the level's variable
  bool _last;                 ///< no decision comes behind the current one
  const ValueSelection* _pVS; ///< the current decision
  const ValueSelection* _nVS; ///< the level's first decision, once it has been refuted; else null
};

/// Read anew each time: a callback may set another one.
template <typename Callback, typename... Arguments>
static inline void tell(const SelectorSearch* s, Callback SearchNotify::*callback, Arguments... arguments)
{
  if (Callback f = s->_notify->*callback)
    f(arguments..., s->_vars, s->_n, s->_notify->_data);
}

static inline bool runEnds(const SelectorSearch* s) { return limitReached(s->_nbFails, s->_fails); }

static inline void countRunFail(SelectorSearch* s)
{
  s->_nbFails = wrapAdd(s->_nbFails, 1);
  countFail();
}

/// A rejected solution is a failure, but the limit isn't looked at here: the level above does that, and learns nothing.
static int acceptSolution(SelectorSearch* s, int32_t lastLevel)
{
  const SearchNotify* notify = s->_notify;
  if (!notify->_found || isYes(notify->_found(lastLevel, s->_vars, s->_n, notify->_data)))
    return 1;
  countRunFail(s);
  return 0;
}

static void extractNoGood(int32_t level, const SearchFrame* frame, NoGoodSet* noGoods);

/// On a solution and at the limit all contexts of the branch stay saved. The levels above the one that reached the
/// limit fall straight through; they call their selectors' ends, but tell no leaving. On a cancel a level leaves its
/// context, and its parent pops that one in place of its own, as in the plain search.
static int _searchValueSelectorFailNG(SelectorSearch* s, int32_t level, SearchFrame* parent)
{
  const int32_t index = s->_findFreeVarIndex(s->_vars, s->_n);
  if (index < 0)
    return acceptSolution(s, level - 1);
  tell(s, &SearchNotify::_enter, level, index);
  ValueSelection current, next, refuted;
  SearchFrame frame = {._parent = parent, ._index = index, ._last = false, ._pVS = &current, ._nVS = nullptr};
  const ValueSelector* selector = s->_selectors[index];
  intptr_t state;
  if (selector->_init && !isYes(selector->_init(index, s->_vars, s->_n, &state)))
    return 0;
  bool learns = false;
  bool more = isYes(selector->_next(&current, index, s->_vars, s->_n, &state));
  while (more) {
    more = isYes(selector->_next(&next, index, s->_vars, s->_n, &state));
    frame._last = !more;
    cs_saveContext();
    countChoicePoint();
    tell(s, &SearchNotify::_beforeValueSelection, level, index, frame._pVS);
    if (rcsCancelSearch)
      return 0;
    if (cs_selectValue(s->_vars[index], &current)) {
      tell(s, &SearchNotify::_afterValueSelection, 1, level, index, frame._pVS);
      if (_searchValueSelectorFailNG(s, level + 1, &frame))
        return !selector->_end || isYes(selector->_end(index, s->_vars, s->_n, &state));
      if (runEnds(s))
        break;
    } else {
      countRunFail(s);
      tell(s, &SearchNotify::_afterValueSelection, 0, level, index, frame._pVS);
      if (runEnds(s)) {
        learns = s->_nbFails == s->_fails;
        break;
      }
    }
    cs_restoreContext();
    if (!frame._nVS) {
      refuted = current;
      frame._nVS = &refuted;
    }
    if (more)
      current = next;
  }
  if (selector->_end && !isYes(selector->_end(index, s->_vars, s->_n, &state)))
    return 0;
  if (!runEnds(s))
    tell(s, &SearchNotify::_leave, level, index);
  else if (learns && s->_noGoods)
    extractNoGood(level, &frame, s->_noGoods);
  return 0;
}

int cs_searchValueSelectorFail(CSint** variables, ValueSelector** selectors, int n, CSfindFreeVarIndex findFreeVarIndex,
    int fails, SearchNotify* notify)
{
  SelectorSearch search = newSearch(variables, selectors, n, findFreeVarIndex, notify, nullptr);
  search._fails = fails;
  resetSearch();
  tell(&search, &SearchNotify::_searchStart, fails);
  int found = _searchValueSelectorFailNG(&search, 0, nullptr);
  tell(&search, &SearchNotify::_searchEnd, found, rcsNbFails, fails);
  return found;
}

// =====================================================================================================================
// Extraction of no-goods
//
// At the limit the branch tells what has been refuted: its free decisions together failed; a last decision is forced by
// the free ones above it; and the first decision of a level, once refuted, is refuted under the free ones above. Last
// decisions are left out of every no-good, since they follow from the others.
// =====================================================================================================================

NoGoodElement* rcsTmpOp; ///< scratch: the no-good that is being built, at the end of the range in use
int32_t rcsTmpOpSize;    ///< elements that it has room for

static void freeScratch()
{
  free(rcsTmpOp);
  rcsTmpOp = nullptr;
  rcsTmpOpSize = 0;
}

static bool reserveScratch(int32_t size)
{
  if (rcsTmpOpSize >= size)
    return true;
  freeScratch();
  rcsTmpOp = static_cast<NoGoodElement*>(malloc(size_t(size) * sizeof(NoGoodElement)));
  if (!rcsTmpOp) {
    rcsHandleNoMemoryError();
    return false;
  }
  rcsTmpOpSize = size;
  return true;
}

static const SearchFrame* freeFrameFrom(const SearchFrame* frame)
{
  while (frame && frame->_last)
    frame = frame->_parent;
  return frame;
}

/// Adds the no-good that ends in `last`, if there is one, and has the decisions of the free frames from `q` to the root
/// before it. False when memory ran out. The scratch is asked for each time, as a filter may have run a search.
static bool addBranch(int32_t level, const NoGoodElement* last, const SearchFrame* q, NoGoodSet* noGoods)
{
  if (!reserveScratch(level + 1))
    return false;
  int32_t pos = level;
  if (last)
    rcsTmpOp[pos--] = *last;
  for (; q; q = q->_parent) {
    if (q->_last)
      continue;
    assert(pos >= 0);
    assert(q->_pVS->method >= 0);
    rcsTmpOp[pos--] = {{*q->_pVS}, q->_index};
  }
  assert(pos >= -1);
  int32_t len = level - pos;
  assert(len > 0);
  return rcsAddNewNoGood(noGoods, rcsTmpOp + pos + 1, len);
}

static NoGoodElement negated(const SearchFrame* q)
{
  static constexpr int32_t negatedMethod[] = {
      CS_SELECT_NEQ, CS_SELECT_EQ, CS_SELECT_GT, CS_SELECT_GE, CS_SELECT_LT, CS_SELECT_LE};
  NoGoodElement element = {{*q->_pVS}, q->_index};
  if (element.method >= CS_SELECT_EQ && element.method <= CS_SELECT_GT)
    element.method = negatedMethod[element.method];
  return element;
}

static void extractNoGood(int32_t level, const SearchFrame* frame, NoGoodSet* noGoods)
{
  const SearchFrame* deepest = freeFrameFrom(frame);
  if (!reserveScratch(level + 1) || !deepest)
    return;
  if (!addBranch(level, nullptr, deepest, noGoods))
    return;
  for (const SearchFrame* q = deepest->_parent; q; q = q->_parent) {
    if (!q->_last)
      continue;
    NoGoodElement forced = negated(q);
    if (!addBranch(level, &forced, q->_parent, noGoods))
      return;
  }
  const SearchFrame* p = nullptr;
  for (const SearchFrame* q = deepest; q; q = freeFrameFrom(q->_parent))
    if (q->_nVS)
      p = q;
  if (!p)
    return;
  assert(p->_nVS->method >= 0);
  NoGoodElement refuted = {{*p->_nVS}, p->_index};
  addBranch(level, &refuted, p->_parent, noGoods);
}

// =====================================================================================================================
// Restarts
// =====================================================================================================================

int cs_searchValueSelectorRestartNG(CSint** variables, ValueSelector** selectors, int n,
    CSfindFreeVarIndex findFreeVarIndex, CSrestartFails restartFails, void* restartData, int maxFails,
    NoGoodSet* noGoods, SearchNotify* notify)
{
  int32_t limit = restartFails(restartData);
  // Taken once: the contexts of every later run get the labels from `mark` on again.
  int mark = cs_saveContext();
  resetSearch();
  SelectorSearch run = newSearch(variables, selectors, n, findFreeVarIndex, notify, noGoods);
  int found;
  if (maxFails > 0)
    limit = smallerOf(limit, maxFails);
  for (;;) {
    run._fails = limit;
    run._nbFails = 0;
    tell(&run, &SearchNotify::_searchStart, limit);
    found = _searchValueSelectorFailNG(&run, 0, nullptr);
    tell(&run, &SearchNotify::_searchEnd, found, run._nbFails, limit);
    if (found || limitReached(rcsNbFails, maxFails))
      break;
    cs_restoreContextUntil(mark);
    if (run._nbFails < limit)
      break; // exhausted, or cancelled
    limit = restartFails(restartData);
    if (noGoods)
      rcsReduceNoGood(noGoods);
    if (maxFails > 0) {
      int32_t failsRest = wrapSub(maxFails, rcsNbFails);
      assert(failsRest > 0);
      limit = smallerOf(limit, failsRest);
    }
  }
  freeScratch();
  return found;
}
