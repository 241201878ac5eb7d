/*
 * The plain search drivers and the selectors of their variables; the counters and the cancel flag of all drivers.
 *
 * A driver is a recursion with one level for each decision. It changes domains only through the unary constraints and
 * the contexts, keeps nothing but what its frames hold, and allocates nothing but the array of cs_Vsearch. What is the
 * same at all levels stands in one record of the outermost call, so that a frame stays small.
 */
#include "rcsSearch.h"

#include <cstdarg>
#include <cstdlib>

volatile unsigned char rcsCancelSearch; ///< read anew at every choice point
int32_t rcsNbChoicePoints;              ///< values tried, those that failed included
int32_t rcsNbFails;                     ///< values that failed

// =====================================================================================================================
// Counters
// =====================================================================================================================

void cs_cancelSearch(void) { rcsCancelSearch = 1; }

int cs_getNbFails(void) { return rcsNbFails; }

int cs_getNbChoicePoints(void) { return rcsNbChoicePoints; }

void cs_fprintStats(FILE* stream)
{
  fprintf(stream, "\nNb Fails = %d\n", rcsNbFails);
  fprintf(stream, "Nb Choice Points = %d\n", rcsNbChoicePoints);
  fprintf(stream, "Heap Size = %d\n", _rcsEventHeapSize());
}

void cs_printStats(void) { cs_fprintStats(stdout); }

// =====================================================================================================================
// Depth-first search
// =====================================================================================================================

/// Tries the values of `v` in ascending order.
template <typename Descend>
[[gnu::always_inline]] static inline int tryValues(CSint* v, const int32_t& failLimit, Descend descend)
{
  // Taken once: the values to try are those of this moment.
  int32_t value = v->_min;
  const int32_t max = v->_max;
  const Domain* domain = v->_domain;
  cs_saveContext();
  for (; value <= max; value++) {
    if (rcsDomainIsOn(domain, value)) {
      Turn turn = tryValue(v, value, failLimit, descend);
      if (turn != Turn::next)
        return turn == Turn::solved;
    }
    if (value == max)
      break;
  }
  cs_acceptContext();
  return 0;
}

int _searchFail(const Search* s)
{
  CSint* v = s->_findFreeVar(s->_vars, s->_n);
  return !v || tryValues(v, s->_fails, [=] { return _searchFail(s); });
}

static int runSearch(CSint** variables, int n, CSfindFreeVar findFreeVar, int fails)
{
  const Search search = {._vars = variables, ._n = n, ._findFreeVar = findFreeVar, ._fails = fails};
  resetSearch();
  return _searchFail(&search);
}

int cs_search(CSint** variables, int n, CSfindFreeVar findFreeVar) { return runSearch(variables, n, findFreeVar, 0); }

int cs_searchFail(CSint** variables, int n, CSfindFreeVar findFreeVar, int fails)
{
  return runSearch(variables, n, findFreeVar, fails);
}

int cs_Vsearch(int n, CSint* first, ...)
{
  auto** variables = static_cast<CSint**>(malloc((n < 1 ? 1 : size_t(n)) * sizeof(CSint*)));
  if (!variables) {
    rcsHandleNoMemoryError();
    return 0;
  }
  va_list arguments;
  va_start(arguments, first);
  variables[0] = first;
  for (int i = 1; i < n; i++)
    variables[i] = va_arg(arguments, CSint*);
  auto findFreeVar = va_arg(arguments, CSfindFreeVar);
  va_end(arguments);
  int found = runSearch(variables, n, findFreeVar, 0);
  free(variables);
  return found;
}

// =====================================================================================================================
// All solutions
// =====================================================================================================================

struct AllSearch
{
  CSint** _vars;
  int32_t _n;
  CSfindFreeVar _findFreeVar;
  CSfound _found;
};

static unsigned char succeed; ///< at least one solution was reached

static void _findAll(const AllSearch* s)
{
  CSint* v = s->_findFreeVar(s->_vars, s->_n);
  if (!v) {
    s->_found(s->_vars, s->_n);
    succeed = 1;
    return;
  }
  tryValues(v, 0, [=] {
    _findAll(s);
    return false;
  });
}

int cs_findAll(CSint** variables, int n, CSfindFreeVar findFreeVar, CSfound found)
{
  const AllSearch search = {._vars = variables, ._n = n, ._findFreeVar = findFreeVar, ._found = found};
  resetSearch();
  succeed = 0;
  _findAll(&search);
  return succeed;
}

// =====================================================================================================================
// Variable selectors
//
// One pass in array order with strict comparisons, so that the first of equal candidates stays.
// =====================================================================================================================

/// The first variable with the smallest key, if that is below `worst`. The keys of fixed variables are no smaller than
/// `worst`, so that one comparison does: whether a variable is still free is as good as random, a new best one is rare.
/// Behind one with the key 0 there is none that is better.
template <typename Key>
static inline CSint* smallest(CSint** variables, int n, uint64_t worst, Key key)
{
  CSint* best = nullptr;
  uint64_t bestKey = worst;
  for (int i = 0; i < n; i++) {
    const uint64_t here = key(variables[i]);
    if (here < bestKey) {
      best = variables[i];
      bestKey = here;
      if (here == 0)
        break;
    }
  }
  return best;
}

/// In the order of the counts from 2 on; counts below that, also those that wrapped, come last.
static uint32_t freedomOf(int32_t nbElements) { return uint32_t(nbElements) - 2; }

CSint* cs_findFreeVar(CSint** variables, int n)
{
  for (int i = 0; i < n; i++)
    if (variables[i]->_min < variables[i]->_max)
      return variables[i];
  return nullptr;
}

// A count of 2147483647 is the worst there is, so a variable with that many values is never taken.
CSint* cs_findFreeVarNbElements(CSint** variables, int n)
{
  return smallest(variables, n, freedomOf(INT32_MAX), [](const CSint* v) { return freedomOf(v->_nbElements); });
}

/// Orders by the count, then by the minimum.
static uint64_t countThenMin(int32_t nbElements, int32_t min)
{
  return uint64_t(freedomOf(nbElements)) << 32 | (uint32_t(min) - uint32_t(INT32_MIN));
}

CSint* cs_findFreeVarNbElementsMin(CSint** variables, int n)
{
  return smallest(variables, n, countThenMin(INT32_MAX, INT32_MAX),
      [](const CSint* v) { return countThenMin(v->_nbElements, v->_min); });
}

CSint* cs_findFreeVarNbConstraints(CSint** variables, int n)
{
  return smallest(variables, n, UINT64_MAX,
      [](const CSint* v) { return v->_nbElements > 1 ? uint64_t(INT32_MAX - v->_nbConstraints) : UINT64_MAX; });
}
