/*
 * The solver kernel: the record heaps with the start and end of the solver and its errors; the trail and its contexts;
 * the propagation queue.
 *
 * There is one solver in a process, and its state is the few variables at the top of each chapter. The order of things
 * is what clients see: records of the trail are undone strictly backwards, the queue is first in, first out, and the
 * attachments of a variable are woken newest first.
 */
#include "rcsArith.h"
#include "rcsMark.h"

#include <cstdio>
#include <cstdlib>

namespace kernel {
RecordHeap<TrailEvent> _e;
RecordHeap<ContextRecord> _c;
uint64_t _births;
PropagationQueue _pq;
} // namespace kernel

static RecordHeap<CSint> _v;
static uint64_t rootBirth; ///< the _births from which on marks outside of all contexts stand

static int32_t _ref; ///< 1 while the solver is up

// =====================================================================================================================
// Errors
//
// One code and, for each of the three errors, a handler that the client may replace. The code is set before the handler
// runs, and whoever reports an error goes on when the handler returns.
// =====================================================================================================================

static void defaultGetValueError(CSint* variable, void*)
{
  cs_fprintf(stderr, "\nrcsInt not instantiated %D", variable);
  cs_setErr(CS_ERR_GETVALUE);
}

static void defaultOverflowError(CSint*, void*) {}

static void defaultNoMemoryError(CSint*, void*) { abort(); }

/// In place while cs_init makes the first blocks: a failing start is reported by the code and doesn't end the process.
static void initNoMemoryHandler(CSint*, void*) { cs_setErr(CS_ERR_NO_MEMORY); }

static int32_t err;
static CSerrHandler errHandlerGetValue, errHandlerOverflow, errHandlerNoMemory;
static void *errExtGetValue, *errExtOverflow, *errExtNoMemory;

// By code + 3.
static void** const errExtras[3] = {&errExtNoMemory, &errExtOverflow, &errExtGetValue};
static const CSerrHandler errDefaults[3] = {defaultNoMemoryError, defaultOverflowError, defaultGetValueError};
static CSerrHandler* const errHandlers[3] = {&errHandlerNoMemory, &errHandlerOverflow, &errHandlerGetValue};

void cs_setErrHandler(int code, CSerrHandler handler, void* extra)
{
  if (code < CS_ERR_NO_MEMORY || code > CS_ERR_GETVALUE)
    return;
  *errExtras[code + 3] = extra;
  *errHandlers[code + 3] = handler ? handler : errDefaults[code + 3];
  ForeignCode |= handler != nullptr;
}

int cs_getErr(void) { return err; }

void cs_setErr(int code) { err = code; }

void cs_initErr(void) { err = 0; }

static void raise(int code, CSint* variable)
{
  err = code;
  (*errHandlers[code + 3])(variable, *errExtras[code + 3]);
}

void rcsHandleGetValueError(CSint* variable) { raise(CS_ERR_GETVALUE, variable); }

void rcsHandleOverflowError(void) { raise(CS_ERR_OVERFLOW, nullptr); }

void rcsHandleNoMemoryError(void) { raise(CS_ERR_NO_MEMORY, nullptr); }

// =====================================================================================================================
// Heaps, start and end
// =====================================================================================================================

CSint* _rcsGetIntHeap(void) { return takeRecord(_v); }

TrailEvent* _rcsGetEventHeap(void) { return takeRecord(_e); }

static ContextRecord* takeContext()
{
  ContextRecord* context = takeRecord(_c);
  if (context)
    context->_birth = ++_births;
  return context;
}

ContextRecord* _rcsGetContextHeap(void) { return takeContext(); }

PropagationRecord* _rcsGetPropagationHeap(void) { return takeRecord(_pq._heap); }

int32_t _rcsIntHeapSize(void) { return capacityOf(_v); }

int32_t _rcsEventHeapSize(void) { return capacityOf(_e); }

int32_t _rcsContextHeapSize(void) { return capacityOf(_c); }

HeapBlock* _rcsCreateIntPool(int32_t base, HeapBlock* previous, int32_t capacity)
{
  return createBlock<CSint>(base, previous, capacity);
}

HeapBlock* _rcsCreateEventPool(int32_t base, HeapBlock* previous, int32_t capacity)
{
  return createBlock<TrailEvent>(base, previous, capacity);
}

HeapBlock* _rcsCreateContextPool(int32_t base, HeapBlock* previous, int32_t capacity)
{
  return createBlock<ContextRecord>(base, previous, capacity);
}

HeapBlock* _rcsCreatePropagationPool(int32_t base, HeapBlock* previous, int32_t capacity)
{
  return createBlock<PropagationRecord>(base, previous, capacity);
}

void _rcsDeleteContextPool(HeapBlock* block) { deleteBlock(block); }

void _rcsDeletePropagationPool(HeapBlock* block) { deleteBlock(block); }

/// Calls `finalise` for each record of the block that is in use.
template <typename Record, typename Finalise>
static void forEachUsed(const RecordHeap<Record>& heap, const HeapBlock* block, Finalise finalise)
{
  for (int32_t i = 0; i < block->_capacity && i < heap._used - block->_base; i++)
    finalise(recordsOf<Record>(block) + i);
}

void _rcsDeleteEventPool(HeapBlock* block)
{
  forEachUsed(_e, block, _rcsFinalizeEvent);
  deleteBlock(block);
}

void _rcsDeleteIntPool(HeapBlock* block)
{
  forEachUsed(_v, block, [](CSint* variable) {
    while (variable->_constraints)
      _rcsRemoveConstraint(variable);
    _rcsIntDestroy(variable);
  });
  deleteBlock(block);
}

static bool openHeaps()
{
  if (!openHeap(_v, _rcsCreateIntPool) || !openHeap(_e, _rcsCreateEventPool) || !openHeap(_c, _rcsCreateContextPool) ||
      !openHeap(_pq._heap, _rcsCreatePropagationPool))
    return false;
  _pq._head = _pq._tail = _pq._free = nullptr;
  _pq._depth = _pq._depthLimit = 0;
  _pq._failures = 0;
  ForeignCode = false;
  _births = rootBirth = 0;
  return true;
}

void cs_init(void)
{
  cs_setErrHandler(CS_ERR_GETVALUE, nullptr, nullptr);
  cs_setErrHandler(CS_ERR_OVERFLOW, nullptr, nullptr);
  cs_setErrHandler(CS_ERR_NO_MEMORY, initNoMemoryHandler, nullptr);
  cs_initErr();
  if (_ref == 0) {
    if (!openHeaps())
      return;
    // Not tested: a start without the table reports itself through the error code, and cs_end can still follow.
    rcsInitEventUnaryCITable();
    _ref++;
  }
  cs_setErrHandler(CS_ERR_NO_MEMORY, nullptr, nullptr);
}

void cs_end(void)
{
  if (_ref <= 0)
    return;
  rcsCleanupEventUnaryCITable();
  cs_setProfilerLocator(nullptr, nullptr, nullptr);
  rcsCleanProfiling();
  closeHeap(_c, _rcsDeleteContextPool);
  // The trail goes before the variables, so that the arrays of variables on it are freed while those still stand.
  closeHeap(_e, _rcsDeleteEventPool);
  closeHeap(_v, _rcsDeleteIntPool);
  closeHeap(_pq._heap, _rcsDeletePropagationPool);
  _ref = 0;
}

const char* cs_getVersion(void) { return "3.8.0"; }

// =====================================================================================================================
// Trail and contexts
//
// All that a search may have to take back is a record on the trail; a context is a mark on it. A record is written for
// each change, with no look whether the variable was saved since the last mark.
// =====================================================================================================================

int rcsSaveCSint(CSint* variable, uint32_t kind, int32_t value, int32_t nbElements)
{
  if (!hasRoom(_e) && !makeRoom(_e))
    return 0;
  writeOld(variable, EventKind(kind), value, nbElements);
  return 1;
}

int _rcsSaveTconstraint(CSint* variable)
{
  TrailEvent* e = takeRecord(_e);
  if (!e)
    return 0;
  e->_subject = variable;
  e->_kind = TrailTconstraint;
  variable->_nbConstraints++;
  return 1;
}

int _rcsAddCreateVector(void* vector)
{
  TrailEvent* e = takeRecord(_e);
  if (!e)
    return 0;
  e->_kind = TrailCreateVector;
  e->_value._vector = vector;
  e->_extra._wide = 0;
  return 1;
}

void cs_backtrack(void* data, int value, CSbacktrack function)
{
  TrailEvent* e = takeRecord(_e);
  e->_subject = data;
  e->_kind = TrailBacktrack;
  e->_value._int = value;
  e->_extra._backtrack = function;
}

void cs_backtrackExt(void* data, int64_t value, CSbacktrackExt function)
{
  TrailEvent* e = takeRecord(_e);
  e->_subject = data;
  e->_kind = TrailBacktrackExt;
  e->_value._wide = value;
  e->_extra._backtrackExt = function;
}

// The two sides by the lowest bit of an event on a bound. Records of the trail and of the queue come for either side as
// if at random, so that a table does better than a branch.
static constexpr int32_t CSint::*boundOf[2] = {&CSint::_min, &CSint::_max};
static constexpr int32_t CSint::*toldOf[2] = {&CSint::_propMin, &CSint::_propMax};

bool standsFarDown(const Mark& mark)
{
  if (mark._depth == 0)
    return rootBirth <= mark._time;
  const HeapBlock* block = _c._current->_prevBlock;
  const int32_t index = mark._depth - 1 - block->_base;
  return index >= 0 && recordsOf<ContextRecord>(block)[index]._birth <= mark._time;
}

/// Lets fall all marks of the innermost context. Those made while the trail is undone half-way may speak of what will
/// be undone too.
static void dropMarks()
{
  ++_births;
  if (_c._used <= 0) {
    rootBirth = _births;
    return;
  }
  const HeapBlock* block = _c._used > _c._current->_base ? _c._current : _c._current->_prevBlock;
  recordsOf<ContextRecord>(block)[_c._used - 1 - block->_base]._birth = _births;
}

/// Undoes what isn't a change of a domain.
[[gnu::noinline]] static void restoreOther(const TrailEvent* record)
{
  switch (record->_kind) {
  case TrailTconstraint:
    // Undone in reverse order of attaching, so the head of the list is the attachment that was recorded.
    _rcsRemoveConstraint(static_cast<CSint*>(record->_subject));
    break;
  case TrailBacktrack:
    record->_extra._backtrack(record->_subject, record->_value._int);
    break;
  case TrailBacktrackExt:
    record->_extra._backtrackExt(record->_subject, record->_value._wide);
    break;
  default:
    break;
  }
  // A function of the client's may have narrowed, or a destructor.
  dropMarks();
}

/// Undoes a change of a domain; false for a record of something else.
static inline bool restoreDomain(const TrailEvent* record)
{
  auto* variable = static_cast<CSint*>(record->_subject);
  const uint32_t kind = record->_kind;
  const int32_t value = record->_value._int;
  if (kind <= NewMaxEq) {
    variable->_nbElements = record->_extra._int;
    variable->*boundOf[kind & 1] = variable->*toldOf[kind & 1] = value;
  } else if (kind == Neq) {
    variable->_nbElements = record->_extra._int;
    rcsDomainOn(variable->_domain, value);
  } else {
    return false;
  }
  return true;
}

static void restore(const TrailEvent* record)
{
  if (!restoreDomain(record))
    restoreOther(record);
}

void _rcsRestore(TrailEvent* record)
{
  restore(record);
  dropMarks();
}

void _rcsFinalizeEvent(TrailEvent* e)
{
  assert(e != NULL);
  if (e->_kind != TrailCreateVector)
    return;
  constexpr int32_t freedVector = 999;
  free(e->_value._vector);
  e->_value._int = freedVector;
}

TrailEvent* _rcsPopEvent(void)
{
  TrailEvent* e = giveBackRecord(_e);
  if (e)
    _rcsFinalizeEvent(e);
  return e;
}

int32_t _rcsPopContext(void)
{
  ContextRecord* context = giveBackRecord(_c);
  if (!context)
    return 0;
  _pq._depthLimit = context->_savedDepthLimit;
  return context->_eventIndex;
}

/// Undoes the newest records as long as they are changes of domains in the current block: nobody looks on, so the heap
/// is told once, at the end.
static inline void undoDomains(int32_t eventIndex)
{
  TrailEvent* e = _e._top;
  const TrailEvent* const end = e - (_e._used - largerOf(eventIndex, _e._current->_base));
  while (e > end && restoreDomain(e - 1))
    e--;
  _e._used -= int32_t(_e._top - e);
  _e._top = e;
}

static void undoTo(int32_t eventIndex)
{
  while (_e._used > eventIndex) {
    undoDomains(eventIndex);
    if (_e._used <= eventIndex)
      return;
    TrailEvent* e = giveBackRecord(_e);
    _rcsFinalizeEvent(e);
    restore(e);
  }
}

static void dropTo(int32_t eventIndex)
{
  while (_e._used > eventIndex)
    _rcsPopEvent();
}

/// Pops the contexts down to and including `label` and hands the event index of the last one to `unwind`; the depth
/// limit that remains is that context's too. Nothing happens when the stack is lower than the label.
template <typename Unwind>
static void popUntil(int label, Unwind unwind)
{
  if (_c._used < label)
    return;
  int32_t before, eventIndex;
  do {
    before = _c._used;
    eventIndex = _rcsPopContext();
  } while (before > label);
  unwind(eventIndex);
}

static void pushContext()
{
  uint32_t saved = _pq._depthLimit;
  // Propagation inside the new context runs to its end, even when the caller is a handler or a callback in a flush.
  _pq._depthLimit = _pq._depth;
  // What is still pending belongs to the enclosing context, so the mark comes after it. Its failure isn't told here:
  // _failures stays raised, and the flush further out reports it.
  if (_pq._head)
    _flushPropagationQueue();
  ContextRecord* context = takeContext();
  context->_eventIndex = _e._used;
  context->_savedDepthLimit = saved;
}

int cs_saveContext(void)
{
  pushContext();
  return _c._used;
}

void cs_restoreContext(void) { undoTo(_rcsPopContext()); }

void cs_restoreContextUntil(int label) { popUntil(label, undoTo); }

void cs_restoreAll(void) { popUntil(1, undoTo); }

void cs_acceptContext(void) { dropTo(_rcsPopContext()); }

void cs_acceptContextUntil(int label) { popUntil(label, dropTo); }

void cs_acceptAll(void) { popUntil(1, dropTo); }

void cs_forgetSaveContext(void) { _rcsPopContext(); }

void cs_forgetSaveContextUntil(int label)
{
  popUntil(label, [](int32_t) {});
}

void cs_restoreAndSaveContext(void)
{
  cs_restoreContext();
  pushContext();
}

// =====================================================================================================================
// Propagation queue
//
// A change at the top level flushes at once. Inside a flush a change waits for that flush to reach it, unless a context
// was saved meanwhile: then it starts a nested flush on the same queue, which takes over whatever the outer ones had
// pending. Failure travels by two paths, both meant: a flush started by a change tells that change's caller and sets
// the count of failures back; a flush started by the saving of a context leaves the count raised, and the change that
// started the flush further out finds it so.
// =====================================================================================================================

int32_t __rcsPropagateCount = 0;

/// What the handlers are told.
struct Change
{
  CSint* _variable;
  size_t _event;
  int32_t _old;
  int32_t _now;
};

/// Works out the step from what the handlers of the variable were last told, and notes it as told. False when a later
/// change has made the record stale: that one has a record of its own and tells the whole step.
static inline bool takeStep(const PropagationRecord* record, Change* change)
{
  CSint* v = record->_variable;
  const uint32_t event = record->_event;
  const int32_t value = record->_value;
  if (event == Neq) {
    *change = {v, event, value, value};
    return v->_min < value && value < v->_max;
  }
  if (event == Eq) {
    *change = {v, event, v->_propMin, v->_propMax};
    v->_propMin = v->_propMax = v->_min;
    return true;
  }
  // Only a variable that stays free can have moved on.
  if ((event == NewMin && v->_min > value) || (event == NewMax && v->_max < value))
    return false;
  *change = {v, event, v->*toldOf[event & 1], value};
  v->*toldOf[event & 1] = value;
  return true;
}

/// Only the low 8 bits of a handler's answer count.
static inline bool wake(const Change& change, Tconstraint* t)
{
  return uint8_t(t->_handlers[change._event](change._variable, t, change._old, change._now)) != 0;
}

/// What an attachment's _events say of one event, in one comparison: `_wanted` for an ordinary constraint that is to be
/// called by itself.
struct Filter
{
  uint32_t _wanted;
  uint32_t _mask;
};

static inline Filter filterFor(size_t event)
{
  return {._wanted = 1u << event, ._mask = 1u << event | statefulBit | runBit};
}

/// Is the handler Ptrue?
static inline bool isUnwanted(uint32_t events) { return !(events & ~runBit); }

/// With nothing to call: the next one that isn't of the same kind, or null where no older one would be called either. A
/// profiler counts the calls of Ptrue too, so while one is on none is passed over.
static inline Tconstraint* skip(const Tconstraint* t, Filter filter)
{
  return t->_eventsOn & filter._wanted ? t->_nextOther : nullptr;
}

/// For an attachment that is wanted and has the run bit. A profiler counts the calls of each handler; one may be
/// switched on below a call too, where a change starts a flush of its own.
static inline bool isWokenInRuns(uint32_t events, Filter filter)
{
  return events == (filter._wanted | runBit) && !IsProfileEnabled && _pq._depth > _pq._depthLimit;
}

/// Gives back all that is pending, also for flushes further out, in one step.
static void dropQueue()
{
  if (!_pq._head)
    return;
  _pq._tail->_nextRecord = _pq._free;
  _pq._free = _pq._head;
  _pq._head = nullptr;
}

/// Ends a flush whose handler for `failed` answered no. The listeners for failure hear of it from `flagged` on, in the
/// list in which that one lies, and are given the failing change.
[[gnu::noinline]] static void failFlush(
    CSint* variable, size_t event, int32_t old, int32_t now, Tconstraint* failed, Tconstraint* flagged)
{
  ConstraintInfo* info = failed->_constraint->_info;
  for (Tconstraint* t = flagged; t; t = t->_next)
    if (t->_constraint->_state & listensForFailure)
      wake({variable, event, old, now}, t);
  dropQueue();
  _pq._failures++;
  _pq._depth--;
  if (IsProfileEnabled)
    rcsCallProfiler(0, variable, uint32_t(event), info);
}

/// Calls the handlers of the attachments from `t` on, newest first. At the first that fails the whole flush is over,
/// and false comes back. `flagged` is the first listener for failure that this flush met, in whatever list.
[[gnu::always_inline]] static inline bool wakeAll(const Change& change, Tconstraint* t, Tconstraint*& flagged)
{
  const Filter filter = filterFor(change._event);
  while (t) {
    const uint32_t events = t->_events & filter._mask;
    if (events != filter._wanted) {
      if (isWokenInRuns(events, filter)) {
        const TconstraintRun run = t->_constraint->_run(change._variable, t, change._event, change._now);
        t = run._end;
        if (run._holds)
          continue;
        break;
      }
      if (isUnwanted(events) && !IsProfileEnabled) {
        t = skip(t, filter);
        continue;
      }
      if (events & statefulBit) {
        if (!flagged && (t->_constraint->_state & listensForFailure))
          flagged = t;
        t = t->_next;
        continue;
      }
    }
    if (!wake(change, t))
      break;
    if (IsProfileEnabled) [[unlikely]]
      rcsCallProfiler(1, change._variable, uint32_t(change._event), t->_constraint->_info);
    t = t->_next;
  }
  if (!t)
    return true;
  failFlush(change._variable, change._event, change._old, change._now, t, flagged);
  return false;
}

/// Takes the records in their order until none is left, and ends the flush.
static void drainQueue(Tconstraint* flagged)
{
  while (PropagationRecord* record = _pq._head) {
    Change change;
    bool fresh = takeStep(record, &change);
    Tconstraint* attachments = record->_attachments;
    _pq._head = record->_nextRecord;
    record->_nextRecord = _pq._free;
    _pq._free = record;
    if (fresh && !wakeAll(change, attachments, flagged))
      return;
  }
  _pq._depth--;
}

void _flushPropagationQueue(void)
{
  _pq._depth++;
  drainQueue(nullptr);
}

/// Runs a flush on behalf of a change and takes note of its failures: those of this flush, and those of flushes that
/// the saving of a context started inside it and left untold.
template <typename Flush>
static inline int runFlush(Flush flush)
{
  int32_t before = _pq._failures;
  _pq._depth++;
  flush();
  if (_pq._failures <= before) [[likely]]
    return 1;
  _pq._failures = before;
  return 0;
}

/// The rest of flushChange from an attachment on that isn't plain: a listener for failure, or any while a profiler is
/// on.
[[gnu::noinline]] static void wakeRest(CSint* variable, size_t event, int32_t old, int32_t now, Tconstraint* t)
{
  Tconstraint* flagged = nullptr;
  if (wakeAll({variable, event, old, now}, t, flagged))
    drainQueue(flagged);
}

int flushChange(CSint* variable, size_t event, int32_t old, int32_t now)
{
  return runFlush([=] {
    const Filter filter = filterFor(event);
    Tconstraint* t = variable->_constraints;
    do {
      const uint32_t events = t->_events & filter._mask;
      if (events != filter._wanted) {
        if (isWokenInRuns(events, filter)) {
          const TconstraintRun run = t->_constraint->_run(variable, t, event, now);
          t = run._end;
          if (!run._holds) [[unlikely]]
            return failFlush(variable, event, old, now, t, nullptr);
          continue;
        }
        if (isUnwanted(events) && !IsProfileEnabled) {
          t = skip(t, filter);
          continue;
        }
        if (events & statefulBit)
          return wakeRest(variable, event, old, now, t);
      }
      if (!wake({variable, event, old, now}, t)) [[unlikely]]
        return failFlush(variable, event, old, now, t, nullptr);
      if (IsProfileEnabled) [[unlikely]]
        rcsCallProfiler(1, variable, uint32_t(event), t->_constraint->_info);
      t = t->_next;
    } while (t);
    if (_pq._head)
      drainQueue(nullptr);
    else
      _pq._depth--;
  });
}

[[gnu::noinline]] static int drainForChange()
{
  return runFlush([] { drainQueue(nullptr); });
}

/// With a new record on the free list.
[[gnu::noinline]] static int queueOnNewRecord(CSint* variable, uint32_t event, int32_t value)
{
  PropagationRecord* record = takeRecord(_pq._heap);
  if (!record)
    return 0;
  record->_nextRecord = nullptr;
  _pq._free = record;
  return queueChange(variable, event, value);
}

int queueChange(CSint* variable, uint32_t event, int32_t value)
{
  PropagationRecord* record = _pq._free;
  if (!record) [[unlikely]]
    return queueOnNewRecord(variable, event, value);
  _pq._free = record->_nextRecord;
  *record = {._variable = variable,
      ._event = event,
      ._value = value,
      ._attachments = variable->_constraints,
      ._nextRecord = nullptr};
  PropagationRecord* last = _pq._tail;
  _pq._tail = record;
  // A queue that isn't empty is being flushed further up the stack.
  if (_pq._head) {
    last->_nextRecord = record;
    return 1;
  }
  _pq._head = record;
  return _pq._depth > _pq._depthLimit || drainForChange();
}

int rcsDoPropagation(CSint* variable, uint32_t event, int32_t value)
{
  if (variable->_constraints)
    return queueChange(variable, event, value);
  variable->_propMin = variable->_min;
  variable->_propMax = variable->_max;
  return 1;
}
