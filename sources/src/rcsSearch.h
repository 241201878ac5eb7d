/*
 * What the search drivers share: the counters, the limit and how a client's answers are read. All of them count alike
 * and none keeps more in its frame than what a level needs; what is the same at all levels stands in one record of the
 * outermost call.
 */
#ifndef RCS_SEARCH_H
#define RCS_SEARCH_H

#include "rcs.h"
#include "rcsArith.h"

inline void resetSearch()
{
  rcsCancelSearch = 0;
  rcsNbFails = 0;
  rcsNbChoicePoints = 0;
}

inline void countChoicePoint() { rcsNbChoicePoints = wrapAdd(rcsNbChoicePoints, 1); }

inline void countFail() { rcsNbFails = wrapAdd(rcsNbFails, 1); }

/// A limit below 1 is none.
inline bool limitReached(int32_t nbFails, int32_t limit) { return limit > 0 && nbFails >= limit; }

/// What came of a value that a driver tried.
enum class Turn {
  next,   ///< nothing: the next value may be tried
  solved, ///< a solution, which must stay visible
  stopped ///< the end of the search: by a cancel, or at the limit of failures
};

/// Tries a value in the context that is open, and has `descend` search below it. Only where the next value may be tried
/// is the context as before. After a solution, a cancel or the limit it stays as it is, for the client to restore to a
/// label of its own. A parent takes a cancelled level for a failed one and pops that level's context in place of its
/// own; repairing that here would undo what the client is promised to find.
template <typename Descend>
[[gnu::always_inline]] inline Turn tryValue(CSint* v, int32_t value, const int32_t& failLimit, Descend descend)
{
  countChoicePoint();
  if (rcsCancelSearch)
    return Turn::stopped;
  if (cs_EQ(v, value)) {
    if (descend())
      return Turn::solved;
  } else {
    countFail();
  }
  if (limitReached(rcsNbFails, failLimit))
    return Turn::stopped;
  cs_restoreAndSaveContext();
  return Turn::next;
}

/// Of a client's answer only the low 8 bits count.
inline bool isYes(int answer) { return uint8_t(answer) != 0; }

/// The plain depth-first search.
struct Search
{
  CSint** _vars;
  int32_t _n;
  CSfindFreeVar _findFreeVar;
  int32_t _fails; ///< limit of rcsNbFails
};

/// One level, and those below: 1 at a solution, else 0.
int _searchFail(const Search* s);

#endif
