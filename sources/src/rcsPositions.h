/*
 * An index variable over an array: the cut to the array, the walk over the positions that the index holds, and the tie
 * between the records of a constraint over an array of variables.
 *
 * When a context inside another one is accepted and the outer one restored, an index may be wider than it was when its
 * constraint was posted. The walk therefore stays within the array whatever the bounds are:
 *
 *     for (int32_t p = firstPosition(index); p <= lastPosition(index, n); p = rcsDomainNextOn(index->_domain, p))
 */
#ifndef RCS_POSITIONS_H
#define RCS_POSITIONS_H

#include "rcsBound.h"
#include "rcsPost.h"

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

/// What the constraint on the array's variables works on. `_data` is null once one of the two is gone.
template <typename Data, typename Companion>
struct RecordPair
{
  Data* _data;
  Companion* _companion;
};

/// The record of the constraint on the index, its companion on the result (a member of the first, with an _owner) and
/// the pair on the array's variables (its _pair) point into each other.
///
/// The trail takes the attachments of a variable from the newest on, and after an accepted context that may be another
/// one than was recorded. So any of the records may go first; what is left of the constraint is then idle where it
/// would read that one.
template <auto companion>
struct Tie;

template <typename Data, typename Companion, Companion* Data::*companion>
struct Tie<companion>
{
  using Pair = RecordPair<Data, Companion>;

  static void bind(Constraint* onIndex, Constraint* onResult, Constraint* onVars)
  {
    auto* data = static_cast<Data*>(onIndex->_data);
    data->*companion = static_cast<Companion*>(onResult->_data);
    data->_pair = static_cast<Pair*>(onVars->_data);
    *data->_pair = {._data = data, ._companion = data->*companion};
    (data->*companion)->_owner = data;
    onIndex->_destructor = endData;
    onResult->_destructor = endCompanion;
    onVars->_destructor = endPair;
  }

private:
  static void part(Data* data)
  {
    if (!data)
      return;
    if (data->*companion)
      (data->*companion)->_owner = nullptr;
    if (data->_pair)
      data->_pair->_data = nullptr;
    data->*companion = nullptr;
    data->_pair = nullptr;
  }

  static void endData(void* record) { part(static_cast<Data*>(record)); }

  static void endCompanion(void* record) { part(static_cast<Companion*>(record)->_owner); }

  static void endPair(void* record)
  {
    if (Data* data = static_cast<Pair*>(record)->_data)
      data->_pair = nullptr;
  }
};

#endif
