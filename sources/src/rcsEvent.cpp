/*
 * Event watchers: client functions in the place of handlers.
 *
 * A watcher is a constraint like any other. Its private record holds the client's array, function and extra pointer,
 * and a handler does nothing but call that function. While it runs the watcher's info is current, so that what the
 * client narrows in there is put down to the watcher in a profiler's report; the info that was current before comes
 * back afterwards, as callbacks nest.
 */
#include "rcsBound.h"
#include "rcsPost.h"

template <typename Callback>
struct EventData
{
  CSint** _array;
  int32_t _size;
  Callback _callback;
  void* _extra;
  ConstraintInfo* _info;
};

struct AllKnownData
{
  CSint** _array;
  int32_t _size;
  CSeventAllKnown _callback;
  void* _extra;
  CSint* _watched; ///< was free when last looked at; not on the trail, as any variable serves as a first guess
  ConstraintInfo* _info;
};

/// Makes an info current as long as it lives.
class InNameOf
{
public:
  explicit InNameOf(ConstraintInfo* info) : _outer(CurrentCI) { CurrentCI = info; }
  ~InNameOf() { CurrentCI = _outer; }
  InNameOf(const InNameOf&) = delete;
  InNameOf& operator=(const InNameOf&) = delete;

private:
  ConstraintInfo* _outer;
};

/// Only the low 8 bits of a client's answer count: its function may return a boolean of one byte.
template <typename Callback, typename... Arguments>
static int ask(ConstraintInfo* info, Callback callback, Arguments... arguments)
{
  InNameOf current(info);
  return uint8_t(callback(arguments...));
}

template <typename Data>
static int postWatcher(ConstraintInfo* info, const Handler* handlers, const Data& data, uint32_t state = 0)
{
  ForeignCode = true;
  Constraint* watcher = newConstraint(info, handlers, data);
  if (!watcher)
    return 0;
  watcher->_state = state;
  for (int32_t i = 0; i < data._size; i++)
    if (!_rcsAddConstraint(watcher, data._array[i], i))
      return 0;
  return 1;
}

// =====================================================================================================================
// All variables are known
// =====================================================================================================================

static CSint* firstFree(CSint** array, int32_t size)
{
  for (int32_t i = 0; i < size; i++)
    if (array[i]->_nbElements >= 2)
      return array[i];
  return nullptr;
}

/// Has no memory of having called: where the last two variables are instantiated in one flush, it calls for both.
static int PeventAllKnownEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  auto* data = dataOf<AllKnownData>(t);
  if (!isFixed(data->_watched))
    return 1;
  if (CSint* v = firstFree(data->_array, data->_size)) {
    data->_watched = v;
    return 1;
  }
  return ask(data->_info, data->_callback, data->_array, data->_size, data->_extra);
}

static const Handler PeventAllKnown[6] = {
    Ptrue, Ptrue, PeventAllKnownEqEvent, PeventAllKnownEqEvent, PeventAllKnownEqEvent, Ptrue};

int cs_eventAllKnown(CSint** array, int size, CSeventAllKnown callback, void* extra)
{
  CSint* free = firstFree(array, size);
  return postAs("cs_eventAllKnown", [=](ConstraintInfo* info) {
    if (!free)
      return ask(info, callback, array, size, extra);
    return postWatcher(info, PeventAllKnown,
        AllKnownData{
            ._array = array, ._size = size, ._callback = callback, ._extra = extra, ._watched = free, ._info = info});
  });
}

// =====================================================================================================================
// A variable is known
// =====================================================================================================================

using KnownData = EventData<CSeventKnown>;

static int PeventKnownEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  auto* data = dataOf<KnownData>(t);
  return ask(data->_info, data->_callback, v->_min, t->_index, data->_array, data->_size, data->_extra);
}

static const Handler PeventKnown[6] = {Ptrue, Ptrue, PeventKnownEqEvent, PeventKnownEqEvent, PeventKnownEqEvent, Ptrue};

/// Variables that are known already raise no event any more, so they are reported here.
static int postKnown(ConstraintInfo* info, const KnownData& data)
{
  if (data._size < 1)
    return 1;
  if (!postWatcher(info, PeventKnown, data))
    return 0;
  for (int32_t i = 0; i < data._size; i++) {
    const CSint* v = data._array[i];
    if (isFixed(v) && !ask(info, data._callback, v->_min, i, data._array, data._size, data._extra))
      return 0;
  }
  return 1;
}

int cs_eventKnown(CSint** array, int size, CSeventKnown callback, void* extra)
{
  return postAs("cs_eventKnown", [=](ConstraintInfo* info) {
    return postKnown(info, {._array = array, ._size = size, ._callback = callback, ._extra = extra, ._info = info});
  });
}

// =====================================================================================================================
// A bound moves, a value goes
// =====================================================================================================================

using ChangeData = EventData<CSeventChange>;

static int reportChange(CSint* v, const Tconstraint* t, int32_t old)
{
  auto* data = dataOf<ChangeData>(t);
  return ask(data->_info, data->_callback, v, t->_index, old, data->_array, data->_size, data->_extra);
}

static int PeventNewMinNewMinEvent(CSint* v, Tconstraint* t, int32_t old, int32_t) { return reportChange(v, t, old); }
static int PeventNewMaxNewMaxEvent(CSint* v, Tconstraint* t, int32_t old, int32_t) { return reportChange(v, t, old); }
static int PeventNeqNeqEvent(CSint* v, Tconstraint* t, int32_t old, int32_t) { return reportChange(v, t, old); }

static const Handler PeventNewMin[6] = {PeventNewMinNewMinEvent, Ptrue, PeventNewMinNewMinEvent, Ptrue, Ptrue, Ptrue};
static const Handler PeventNewMax[6] = {Ptrue, PeventNewMaxNewMaxEvent, Ptrue, PeventNewMaxNewMaxEvent, Ptrue, Ptrue};
static const Handler PeventNeq[6] = {Ptrue, Ptrue, Ptrue, Ptrue, Ptrue, PeventNeqNeqEvent};

/// The locator is asked, and the info made, even where there is nothing to watch.
[[gnu::always_inline]] static inline void postChange(
    const char* function, const Handler* handlers, CSint** array, int size, CSeventChange callback, void* extra)
{
  postAs(function, [=](ConstraintInfo* info) {
    const ChangeData data = {._array = array, ._size = size, ._callback = callback, ._extra = extra, ._info = info};
    return size < 1 || postWatcher(info, handlers, data);
  });
}

void cs_eventNewMin(CSint** array, int size, CSeventChange callback, void* extra)
{
  postChange("cs_eventNewMin", PeventNewMin, array, size, callback, extra);
}

void cs_eventNewMax(CSint** array, int size, CSeventChange callback, void* extra)
{
  postChange("cs_eventNewMax", PeventNewMax, array, size, callback, extra);
}

/// Reported under the name of its neighbour: readers of reports know it by that one.
void cs_eventNeq(CSint** array, int size, CSeventChange callback, void* extra)
{
  postChange("cs_eventNewMax", PeventNeq, array, size, callback, extra);
}

// =====================================================================================================================
// Propagation has failed
// =====================================================================================================================

using ConflictData = EventData<CSeventConflict>;

/// Variable and event are those of the failing change, which is told as a decision, and the index is that of the list
/// in which this watcher hangs.
static int reportConflict(CSint* v, const Tconstraint* t, int32_t method, int32_t value)
{
  auto* data = dataOf<ConflictData>(t);
  const ValueSelection failing = {.method = method, .value = value};
  InNameOf current(data->_info);
  data->_callback(v, t->_index, &failing, data->_array, data->_size, data->_extra);
  return 1;
}

static int PconflictNewMinEvent(CSint* v, Tconstraint* t, int32_t, int32_t now)
{
  return reportConflict(v, t, CS_SELECT_GE, now);
}

static int PconflictNewMaxEvent(CSint* v, Tconstraint* t, int32_t, int32_t now)
{
  return reportConflict(v, t, CS_SELECT_LE, now);
}

static int PconflictEqEvent(CSint* v, Tconstraint* t, int32_t, int32_t)
{
  return reportConflict(v, t, CS_SELECT_EQ, v->_min);
}

static int PconflictNeqEvent(CSint* v, Tconstraint* t, int32_t old, int32_t)
{
  return reportConflict(v, t, CS_SELECT_NEQ, old);
}

static const Handler PeventConflict[6] = {PconflictNewMinEvent, PconflictNewMaxEvent, PconflictEqEvent,
    PconflictEqEvent, PconflictEqEvent, PconflictNeqEvent};

void cs_eventConflict(CSint** array, int size, CSeventConflict callback, void* extra)
{
  if (size < 1)
    return;
  postAs("cs_eventConflict", [=](ConstraintInfo* info) {
    const ConflictData data = {._array = array, ._size = size, ._callback = callback, ._extra = extra, ._info = info};
    return postWatcher(info, PeventConflict, data, listensForFailure);
  });
}
