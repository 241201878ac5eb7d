/*
 * The optimising driver: branch and bound by repeated search. Each solution is shown to the client and undone, the cost
 * is limited to less, and the search starts again from the root, until it finds nothing more.
 *
 * The limit is set outside every context of the driver: it belongs to the context that the client has open, so each
 * round starts from the limits of all rounds before, and the last one stays in force behind the call.
 */
#include "rcsSearch.h"

/// Nothing is below the smallest integer, and cs_LT, which wraps there, would let the search go round for ever.
static int limitCost(CSint* cost, int32_t incumbent) { return incumbent != INT32_MIN && cs_LT(cost, incumbent); }

int cs_minimize(CSint** variables, int n, CSfindFreeVar findFreeVar, CSint* cost, CSfoundCost found)
{
  const Search search = {._vars = variables, ._n = n, ._findFreeVar = findFreeVar, ._fails = 0};
  resetSearch();
  // Taken once: the contexts of every later search get the labels from `mark` on again.
  int mark = cs_saveContext();
  if (!_searchFail(&search))
    return 0;
  int32_t incumbent;
  do {
    incumbent = cost->_min;
    found(variables, n, cost);
    cs_restoreContextUntil(mark);
  } while (limitCost(cost, incumbent) && _searchFail(&search));
  return 1;
}
