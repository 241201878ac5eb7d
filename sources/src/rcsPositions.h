/*
 * An index variable over an array: the cut to the array, and the walk over the positions that the index holds.
 *
 * When a context inside another one is accepted and the outer one restored, an index may be wider than it was when its
 * constraint was posted. The walk therefore stays within the array whatever the bounds are:
 *
 *     for (int32_t p = firstPosition(index); p <= lastPosition(index, n); p = rcsDomainNextOn(index->_domain, p))
 */
#ifndef RCS_POSITIONS_H
#define RCS_POSITIONS_H

#include "rcsBound.h"

/// Cuts the index to 0..n-1. With a negative n this fails after raising the minimum.
inline bool cutToTable(CSint* index, int32_t n)
{
  if (!pushBound<Lower>(index, 0))
    return false;
  return index->_max < n || (n > 0 && rcsSetMax(index, n - 1));
}

inline bool isInTable(int64_t position, int32_t n) { return 0 <= position && position < n; }

inline int32_t firstPosition(const CSint* index)
{
  return index->_min >= 0 ? index->_min : rcsDomainNextOn(index->_domain, -1);
}

/// Less than `n`, so that the step beyond it can't overflow.
inline int32_t lastPosition(const CSint* index, int32_t n) { return smallerOf(index->_max, n - 1); }

#endif
