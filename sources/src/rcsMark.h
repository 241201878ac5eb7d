/*
 * Marks: what a constraint may keep from one event to the next, of what a search will take back, with no record on the
 * trail. A mark stands for as long as the context that was innermost when it was made; and what was true then, and can
 * only be undone by the trail, is true as long. A constraint stacks its marks up. Contexts end in reverse order, so
 * below a mark that stands all stand: those that have fallen are popped before the rest is relied on.
 */
#ifndef RCS_MARK_H
#define RCS_MARK_H

#include "rcsKernel.h"

struct Mark
{
  uint64_t _time; ///< the _births of then
  int32_t _depth; ///< label of the innermost context, 0 for none
  int32_t _what;  ///< the position of a variable, or its value
};

inline Mark markNow(int32_t what) { return {._time = _births, ._depth = _c._used, ._what = what}; }

/// As `stands`, for a mark whose context isn't in the block of the innermost one. Only the block before that is looked
/// at: a mark that much older counts as fallen, which costs its maker no more than to begin anew.
bool standsFarDown(const Mark& mark);

/// Is the context of that depth still the one of then?
inline bool stands(const Mark& mark)
{
  const int32_t above = _c._used - mark._depth;
  // Without a block more contexts were popped than saved.
  if (above < 0 || !_c._current)
    return false;
  if (mark._depth <= _c._current->_base) [[unlikely]]
    return standsFarDown(mark);
  return _c._top[-1 - above]._birth <= mark._time;
}

/// Pops those of a stack of marks that have fallen, and tells `reopen` of each.
template <typename Reopen>
inline void popFallen(const Mark* marks, int32_t& count, Reopen reopen)
{
  for (; count > 0 && !stands(marks[count - 1]); count--)
    reopen(marks[count - 1]);
}

#endif
