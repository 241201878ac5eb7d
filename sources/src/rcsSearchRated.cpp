/*
 * The drivers that try values by rating: a client's function rates each value that is left, anew before each turn, and
 * the lowest rating goes first. One takes its variables from an array, the other from the rows of a matrix.
 *
 * Trying a value is undone on the variable, so each level remembers in a private set which values it has tried: the one
 * allocation of a level. The number of turns is the variable's count of values as it stands before each turn, not the
 * number of values that were rated: a level whose contexts were left unbalanced by a cancel below ends early.
 */
#include "rcsSearch.h"

/// The value of min..max, on in both sets, with the lowest rating below 2147483647, and the lowest of equal ones; the
/// integer below `min`, wrapping, where none is rated lower than that.
template <typename Rate>
static inline int32_t bestUntried(int32_t min, int32_t max, const Domain* domain, const Domain* untried, Rate rate)
{
  int32_t best = wrapSub(min, 1), bestRating = INT32_MAX;
  int32_t value = min, next = min;
  do {
    value = next;
    if (rcsDomainIsOn(untried, value) && rcsDomainIsOn(domain, value)) {
      int32_t rating = rate(value);
      if (rating < bestRating) {
        bestRating = rating;
        best = value;
      }
    }
    next = rcsDomainNextOn(domain, value);
  } while (value < next && next <= max); // the step from the largest integer wraps
  return best;
}

template <typename Rate, typename Descend>
[[gnu::always_inline]] static inline int tryInTurns(
    CSint* v, Domain* untried, const int32_t& fails, Rate rate, Descend descend)
{
  // Taken once: the values to try are those of this moment.
  const int32_t min = v->_min, max = v->_max;
  const Domain* domain = v->_domain;
  cs_saveContext();
  for (int32_t n = 0; n < v->_nbElements; n++) {
    // With nothing rated, the turn is spent on a value that isn't there.
    int32_t value = bestUntried(min, max, domain, untried, rate);
    rcsDomainOff(untried, value);
    Turn turn = tryValue(v, value, fails, descend);
    if (turn != Turn::next)
      return turn == Turn::solved;
  }
  cs_acceptContext();
  return 0;
}

template <typename Rate, typename Descend>
[[gnu::always_inline]] static inline int tryByRating(CSint* v, const int32_t& fails, Rate rate, Descend descend)
{
  Domain* untried = rcsCreateDomain(v->_initMin, v->_initMax);
  if (!untried)
    return 0;
  int solved = tryInTurns(v, untried, fails, rate, descend);
  rcsDeleteDomain(untried);
  return solved;
}

// =====================================================================================================================
// Variables of an array
// =====================================================================================================================

struct CriteriaSearch
{
  CSint** _vars;
  int32_t _n;
  CSfindFreeVarIndex _findFreeVarIndex;
  CScriteria _criteria;
  int32_t _fails;
};

static int _searchCriteriaFail(const CriteriaSearch* s)
{
  int32_t position = s->_findFreeVarIndex(s->_vars, s->_n);
  if (position < 0)
    return 1;
  return tryByRating(
      s->_vars[position], s->_fails, [=](int32_t value) { return s->_criteria(position, value); },
      [=] { return _searchCriteriaFail(s); });
}

int cs_searchCriteriaFail(CSint** variables, int n, CSfindFreeVarIndex findFreeVarIndex, CScriteria criteria, int fails)
{
  const CriteriaSearch search = {
      ._vars = variables, ._n = n, ._findFreeVarIndex = findFreeVarIndex, ._criteria = criteria, ._fails = fails};
  resetSearch();
  return _searchCriteriaFail(&search);
}

int cs_searchCriteria(CSint** variables, int n, CSfindFreeVarIndex findFreeVarIndex, CScriteria criteria)
{
  return cs_searchCriteriaFail(variables, n, findFreeVarIndex, criteria, 0);
}

// =====================================================================================================================
// Variables of a matrix
// =====================================================================================================================

struct MatrixSearch
{
  CSint*** _matrix;
  int32_t _rows;
  int32_t _cols;
  CSfindFreeRow _findFreeRow;
  CSfindFreeColumn _findFreeColumn;
  CSmatrixCriteria _criteria;
  int32_t _fails;
};

static int32_t findRow(const MatrixSearch* s) { return s->_findFreeRow(s->_matrix, s->_rows, s->_cols); }

/// The row of a level is asked for by the level above, as soon as its value stands; a row that has no free column is
/// replaced here, for the rating too.
static int _searchMatrixFail(const MatrixSearch* s, int32_t row)
{
  int32_t column = -1;
  while (row >= 0 && (column = s->_findFreeColumn(row, s->_matrix[row], s->_cols)) < 0)
    row = findRow(s);
  if (row < 0)
    return 1;
  return tryByRating(
      s->_matrix[row][column], s->_fails, [=](int32_t value) { return s->_criteria(row, column, value); },
      [=] { return _searchMatrixFail(s, findRow(s)); });
}

int cs_searchMatrixFail(CSint*** matrix, int rows, int cols, CSfindFreeRow findFreeRow, CSfindFreeColumn findFreeColumn,
    CSmatrixCriteria criteria, int fails)
{
  const MatrixSearch search = {._matrix = matrix,
      ._rows = rows,
      ._cols = cols,
      ._findFreeRow = findFreeRow,
      ._findFreeColumn = findFreeColumn,
      ._criteria = criteria,
      ._fails = fails};
  resetSearch();
  return _searchMatrixFail(&search, findRow(&search));
}

int cs_searchMatrix(CSint*** matrix, int rows, int cols, CSfindFreeRow findFreeRow, CSfindFreeColumn findFreeColumn,
    CSmatrixCriteria criteria)
{
  return cs_searchMatrixFail(matrix, rows, cols, findFreeRow, findFreeColumn, criteria, 0);
}
