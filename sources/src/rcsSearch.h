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
