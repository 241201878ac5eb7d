/*
 * The hot half of the kernel, inline for the narrowing routines: one trail record for each change, and the way of a
 * change to its listeners.
 */
#ifndef RCS_KERNEL_H
#define RCS_KERNEL_H

#include "rcsHeap.h"
#include "rcsPrivate.h"

/// Changes wait here, as records in the order in which they were made, until a flush reaches them.
struct PropagationQueue
{
  RecordHeap<PropagationRecord> _heap; ///< records are taken here once and go round through _free
  PropagationRecord* _head;            ///< null: the queue is empty
  PropagationRecord* _tail;            ///< meaningless while the queue is empty
  PropagationRecord* _free;
  uint32_t _depth;      ///< flushes now running on the stack
  uint32_t _depthLimit; ///< highest _depth at which a change starts a flush of its own
  int32_t _failures;    ///< failed flushes that no caller has taken note of
};

// In a namespace, so that short names don't meet a client's where the library is linked statically.
namespace kernel {
extern RecordHeap<TrailEvent> _e;
extern RecordHeap<ContextRecord> _c;
extern uint64_t _births; ///< since cs_init the contexts that were saved, and the times that marks were made to fall
extern PropagationQueue _pq;
} // namespace kernel
using namespace kernel;

/// Writes the old state of a variable to a trail that has room.
inline void writeOld(CSint* variable, EventKind kind, int32_t value, int32_t nbElements)
{
  TrailEvent* e = takeRoom(_e);
  e->_subject = variable;
  e->_kind = kind;
  e->_value._int = value;
  e->_extra._int = nbElements;
}

/// Appends a record of the change, and flushes the queue if that is for this change to do.
int queueChange(CSint* variable, uint32_t event, int32_t value);

/// Flushes for a change that would be the first in an empty queue, of a variable with listeners: it needs no record.
[[gnu::noinline]] int flushChange(CSint* variable, size_t event, int32_t old, int32_t now);

/// Tells the listeners of a change that was just made. `tell` notes it as told and gives the step to `flushChange`; it
/// serves where the change is reached at once, when nothing can have made it stale.
template <typename Tell>
inline int propagate(CSint* variable, uint32_t event, int32_t value, Tell tell)
{
  if (!variable->_constraints) {
    variable->_propMin = variable->_min;
    variable->_propMax = variable->_max;
    return 1;
  }
  if (_pq._head || _pq._depth > _pq._depthLimit)
    return queueChange(variable, event, value);
  return tell();
}

/// In attachments. A variable that has many has nearly all of them in large blocks.
constexpr uint8_t largeBlock = 16;

inline bool isInLargeBlock(const Tconstraint* t) { return t->_block >= largeBlock; }

/// Behind a large block of attachments is a cell for each of them: of a disequality it holds the other variable, of the
/// rest a null, and a null is in front of the first one.
inline CSint** otherOf(Tconstraint* t)
{
  const size_t position = size_t(t->_block) - 1 - t->_room;
  return reinterpret_cast<CSint**>(t + t->_room + 1) + 1 + position;
}

/// From here on the constraint is woken by `run`, but while a profiler is on, which counts the calls, or might come on
/// meanwhile. Before attaching.
inline void wakeInRuns(Constraint* constraint, RunHandler run)
{
  constraint->_run = run;
  constraint->_events |= runBit;
}

/// Wakes `t` and all that follow it with the same handlers.
template <typename Wake>
inline TconstraintRun wakeRun(Tconstraint* t, Wake wake)
{
  const Handler* const kind = t->_handlers;
  do {
    if (!wake(t)) [[unlikely]]
      return {._holds = false, ._end = t};
    t = t->_next;
  } while (t && t->_handlers == kind);
  return {._holds = true, ._end = t};
}

/// Would a change that sends one of the events (a bit for each) wake nobody, or none but those that `isIdle` knows to
/// have nothing to do then? Such a change needn't be told, as nobody could tell. A profiler could, which counts the
/// calls; and so could code of the client's that runs before the turn of the record would have come, and starts one.
template <typename IsIdle>
inline bool isUnheard(const CSint* variable, uint32_t events, IsIdle isIdle)
{
  const uint32_t awaited = events | statefulBit;
  if (IsProfileEnabled || ForeignCode)
    return false;
  const Tconstraint* t = variable->_constraints;
  while (t && (t->_eventsOn & awaited)) {
    if (!(t->_events & awaited))
      t = t->_nextOther;
    else if (isIdle(t))
      t = t->_next;
    else
      return false;
  }
  return true;
}

/// Lets the newest change of the queue, if it is one of the variable, wake nobody. It is noted as told in its turn.
inline void hush(const CSint* variable)
{
  if (_pq._head && _pq._tail->_variable == variable)
    _pq._tail->_attachments = nullptr;
}

#endif
