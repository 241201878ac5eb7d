/*
 * Cumulative and disjunctive: tasks with variable start, duration and requirement share a resource of variable limit.
 *
 * Three layers. Direct limits: a requirement that can't be met switches its task off. The time table: the compulsory
 * part of a task is the stretch from its latest start to its earliest end; the highest stack of such parts raises the
 * limit, and what it leaves free caps the requirements. The profile isn't stored but worked out by recursion over the
 * tasks whenever it is asked for. Energy in intervals: rcsCumulativeFilter.cpp.
 *
 * Four constraints share the info and, by reference, one record, which the one on the limit owns. They wake on what
 * adds to the load or takes from the capacity: on the bounds of starts, on raised minima of durations and requirements,
 * on a lowered maximum of the limit. The disjunctive is the same at requirements and limit of a constant 1 of its own,
 * which a fifth record, on the first start, holds and does nothing else.
 */
#include "rcsCumulative.h"
#include "rcsPost.h"

struct CumulativeRef
{
  CumulativeData* _owner; ///< null once one of the four records is gone
};

struct CumulativeOrder
{
  CumulativeData* _owner;
  int32_t _order[];
};

struct DisjunctiveData
{
  CSint _one;
  CSint* _ones[]; ///< the array of requirements: each entry is _one
};

// =====================================================================================================================
// The time table
// =====================================================================================================================

/// As ttRequired, with the tasks before `first` already in the sum: each of those covers the whole stretch or doesn't
/// meet it, which is as true of any part of it.
static int32_t highestStack(const CumulativeData* data, int32_t first, int32_t sum, int32_t from, int32_t to)
{
  for (int32_t i = first; i < data->_size; i++) {
    const CSint* start = data->_startTimes[i];
    const int32_t lst = start->_max, ect = wrapAdd(start->_min, data->_durations[i]->_min);
    const int32_t rMin = data->_resources[i]->_min;
    // A negative requirement takes part.
    if (lst >= ect || lst >= to || ect <= from || rMin == 0)
      continue;
    if (lst > from) {
      const int32_t before = highestStack(data, i + 1, sum, from, lst);
      return largerOf(before, highestStack(data, i, sum, lst, to));
    }
    if (ect < to) {
      const int32_t after = highestStack(data, i + 1, sum, ect, to);
      return largerOf(after, highestStack(data, i, sum, from, ect));
    }
    sum = wrapAdd(sum, rMin);
  }
  return sum;
}

/// The largest sum of the smallest requirements of compulsory parts, over the half-open stretch.
static int32_t ttRequired(const CumulativeData* data, int32_t from, int32_t to)
{
  return highestStack(data, 0, 0, from, to);
}

// =====================================================================================================================
// Narrowing
// =====================================================================================================================

/// A task that needs more than there will be doesn't run; one that runs needs no more than there will be.
static bool obeyLimit(const CumulativeData* data, int32_t i)
{
  const CSint *duration = data->_durations[i], *limit = data->_limit;
  CSint* resource = data->_resources[i];
  if (duration->_min > 0 && resource->_max > limit->_max && !rcsSetMax(resource, limit->_max))
    return false;
  const bool asksTooMuch = duration->_max > 0 && resource->_min > limit->_max;
  return !asksTooMuch || rcsSetMax(data->_durations[i], 0);
}

/// Caps the requirement of a task that must run in some stretch at what the others leave it there.
static bool capRequirement(const CumulativeData* data, int32_t i)
{
  const Task task = taskOf(data, i);
  CSint* resource = data->_resources[i];
  if (!task.isCompulsory() || isFixed(resource) || resource->_max < 1)
    return true;
  const int32_t height = ttRequired(data, task.lst, task.ect()), capacity = data->_limit->_max;
  // No stack was above the limit before the first cap. A variable that is a requirement and also the limit, or the
  // start of another task, can bring one about: such a model has no meaning that could be gone on with. Not tested by
  // the slack, which wraps below a stack of negative requirements.
  if (capacity < height)
    abort();
  return rcsSetMax(resource, wrapAdd(wrapSub(capacity, height), resource->_min));
}

/// Brings all tasks in line with the limit's maximum, and tells the horizon.
static bool limitConsistent(int32_t* from, int32_t* to, const CumulativeData* data)
{
  int32_t first = INT32_MAX, last = INT32_MIN;
  for (int32_t i = 0; i < data->_size; i++) {
    if (!obeyLimit(data, i))
      return false;
    const Task task = taskOf(data, i);
    first = smallerOf(first, task.est);
    last = largerOf(last, task.lct());
  }
  if (ttRequired(data, first, last) > data->_limit->_max)
    return false;
  for (int32_t i = 0; i < data->_size; i++)
    if (!capRequirement(data, i))
      return false;
  *from = first;
  *to = last;
  return true;
}

/// The stack over the compulsory part of task i, which lasts from `lst` to `ect`: the limit is raised to it, and the
/// requirements of the tasks that stand in it are capped at what it leaves.
static bool checkLoad(const CumulativeData* data, int32_t lst, int32_t ect)
{
  CSint* limit = data->_limit;
  const int32_t height = ttRequired(data, lst, ect), capacity = limit->_max;
  const bool raised = limit->_min >= height || rcsSetMin(limit, height);
  if (!raised || capacity < height)
    return false;
  for (int32_t j = 0; j < data->_size; j++) {
    const Task other = taskOf(data, j);
    const int32_t low = largerOf(lst, other.lst), high = smallerOf(ect, other.ect());
    if (low >= high)
      continue;
    CSint* resource = data->_resources[j];
    const int32_t slack = wrapSub(limit->_max, ttRequired(data, low, high));
    if (!rcsSetMax(resource, wrapAdd(slack, resource->_min)))
      return false;
  }
  return true;
}

// =====================================================================================================================
// Handlers
//
// The span that a task may take is read on entry: the energies are looked at in the intervals that meet it, wherever
// the task itself is moved meanwhile. A task that can't load the resource is of no interest.
// =====================================================================================================================

static bool canLoad(const CumulativeData* data, int32_t i)
{
  return data->_durations[i]->_max >= 1 && data->_resources[i]->_max >= 1;
}

static int PstartTimeNewMinMaxEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  CumulativeData* data = dataOf<CumulativeRef>(t)->_owner;
  if (!data || !canLoad(data, t->_index))
    return 1;
  const Task task = taskOf(data, t->_index);
  if (task.isCompulsory() && task.rMin >= 1 && !checkLoad(data, task.lst, task.ect()))
    return 0;
  return adjustPartial(data, task.est, task.lct());
}

static int PdurationNewMinEqEvent(CSint* duration, Tconstraint* t, int32_t, int32_t)
{
  CumulativeData* data = dataOf<CumulativeOrder>(t)->_owner;
  if (!data || !canLoad(data, t->_index))
    return 1;
  const Task task = taskOf(data, t->_index);
  CSint *resource = data->_resources[t->_index], *limit = data->_limit;
  if (duration->_min > 0) {
    if (resource->_max > limit->_max && !rcsSetMax(resource, limit->_max))
      return 0;
    if (resource->_min > limit->_min && !rcsSetMin(limit, resource->_min))
      return 0;
  }
  if (task.isCompulsory() && resource->_min > 0 && !checkLoad(data, task.lst, task.ect()))
    return 0;
  return adjustPartial(data, task.est, task.lct());
}

static int PresourceNewMinEqEvent(CSint* resource, Tconstraint* t, int32_t, int32_t)
{
  CumulativeData* data = dataOf<CumulativeRef>(t)->_owner;
  if (!data || !canLoad(data, t->_index))
    return 1;
  const Task task = taskOf(data, t->_index);
  CSint* limit = data->_limit;
  if (resource->_min > 0) {
    if (task.dMin > 0 && limit->_min < resource->_min && !rcsSetMin(limit, resource->_min))
      return 0;
    if (resource->_min > limit->_max)
      return rcsSetMax(data->_durations[t->_index], 0);
  }
  if (task.isCompulsory() && resource->_min >= 1 && !checkLoad(data, task.lst, task.ect()))
    return 0;
  return adjustPartial(data, task.est, task.lct());
}

static int PlimitNewMaxEqEvent(CSint*, Tconstraint* t, int32_t, int32_t)
{
  auto* data = dataOf<CumulativeData>(t);
  if (!data->_order)
    return 1;
  int32_t from, to;
  return limitConsistent(&from, &to, data) && adjustPartial(data, from, to);
}

static const Handler Pdisjunction[6] = {Ptrue, Ptrue, Ptrue, Ptrue, Ptrue, Ptrue};

static const Handler PstartTime[6] = {PstartTimeNewMinMaxEqEvent, PstartTimeNewMinMaxEqEvent,
    PstartTimeNewMinMaxEqEvent, PstartTimeNewMinMaxEqEvent, PstartTimeNewMinMaxEqEvent, Ptrue};

static const Handler Pduration[6] = {
    PdurationNewMinEqEvent, Ptrue, PdurationNewMinEqEvent, Ptrue, PdurationNewMinEqEvent, Ptrue};

static const Handler Presource[6] = {
    PresourceNewMinEqEvent, Ptrue, PresourceNewMinEqEvent, Ptrue, PresourceNewMinEqEvent, Ptrue};

static const Handler Plimit[6] = {Ptrue, PlimitNewMaxEqEvent, Ptrue, PlimitNewMaxEqEvent, PlimitNewMaxEqEvent, Ptrue};

// =====================================================================================================================
// The records' ends
//
// The trail takes the attachments of a variable from the newest on, and after an accepted context that may be another
// one than was recorded. So any of the four records may go first; what is left of the constraint is idle then.
// =====================================================================================================================

static void part(CumulativeData* data)
{
  if (!data || !data->_order)
    return;
  data->_startRef->_owner = data->_durationRef->_owner = data->_resourceRef->_owner = nullptr;
  data->_order = nullptr;
}

template <typename Ref>
static void endRef(void* record)
{
  part(static_cast<Ref*>(record)->_owner);
}

static void cumulativeDestructor(void* record)
{
  auto* data = static_cast<CumulativeData*>(record);
  part(data);
  for (int32_t i = 0; i < data->_size; i++)
    _rcsIntDestroy(&data->_windows[i]);
  free(data->_windows);
  data->_windows = nullptr;
}

static void disjunctiveDestructor(void* record)
{
  auto* block = static_cast<DisjunctiveData*>(record);
  while (block->_one._constraints)
    _rcsRemoveConstraint(&block->_one);
  _rcsIntDestroy(&block->_one);
}

// =====================================================================================================================
// Posting
// =====================================================================================================================

/// The four records while constraints are made of them: null once a constraint has taken the record.
struct Records
{
  CumulativeData* _data;
  CumulativeRef* _startRef;
  CumulativeOrder* _durationRef;
  CumulativeRef* _resourceRef;
};

/// The constraints, each held here beside its attachments.
struct Constraints
{
  Constraint *_start, *_duration, *_resource, *_limit;
};

template <typename Block>
static bool take(Block*& block, size_t size)
{
  block = static_cast<Block*>(malloc(size));
  if (!block)
    rcsHandleNoMemoryError();
  return block;
}

/// False when out of memory; what was had by then is in its places.
static bool makeRecords(Records* r, const CumulativeData& tasks)
{
  const auto n = size_t(tasks._size);
  if (!take(r->_data, sizeof(CumulativeData)))
    return false;
  CumulativeData* data = r->_data;
  *data = tasks;
  if (!take(r->_startRef, sizeof(CumulativeRef)) ||
      !take(r->_durationRef, sizeof(CumulativeOrder) + n * sizeof(int32_t)) ||
      !take(r->_resourceRef, sizeof(CumulativeRef)) ||
      !take(data->_windows, n * (sizeof(CSint) + 2 * sizeof(ProfileStep) + sizeof(LooseTask))))
    return false;
  data->_startRef = r->_startRef;
  data->_durationRef = r->_durationRef;
  data->_resourceRef = r->_resourceRef;
  data->_order = r->_durationRef->_order;
  data->_profile = reinterpret_cast<ProfileStep*>(data->_windows + n);
  data->_loose = reinterpret_cast<LooseTask*>(data->_profile + 2 * n);
  r->_startRef->_owner = r->_durationRef->_owner = r->_resourceRef->_owner = data;
  for (int32_t i = 0; i < tasks._size; i++) {
    const Task task = taskOf(data, i);
    _rcsIntInit(&data->_windows[i], task.est, task.lct());
    data->_order[i] = i;
  }
  return true;
}

template <typename Block>
static bool make(
    Constraint** made, ConstraintInfo* info, Block*& block, const Handler* handlers, void (*destructor)(void*))
{
  Constraint* constraint = *made = newConstraintOn(info, block, handlers);
  if (!constraint)
    return false;
  constraint->_refCount++;
  constraint->_destructor = destructor;
  block = nullptr;
  return true;
}

static bool attachAll(Constraints* c, Records* r, ConstraintInfo* info)
{
  const CumulativeData* data = r->_data;
  if (!make(&c->_start, info, r->_startRef, PstartTime, endRef<CumulativeRef>) ||
      !make(&c->_duration, info, r->_durationRef, Pduration, endRef<CumulativeOrder>) ||
      !make(&c->_resource, info, r->_resourceRef, Presource, endRef<CumulativeRef>))
    return false;
  for (int32_t i = 0; i < data->_size; i++)
    if (!_rcsAddConstraint(c->_start, data->_startTimes[i], i) ||
        !_rcsAddConstraint(c->_duration, data->_durations[i], i) ||
        !_rcsAddConstraint(c->_resource, data->_resources[i], i))
      return false;
  return make(&c->_limit, info, r->_data, Plimit, cumulativeDestructor) &&
         _rcsAddConstraint(c->_limit, data->_limit, -1);
}

/// Gives up what the posting still holds. Where it didn't come to its end, attachments may have been made; the end of
/// any record leaves these idle.
static void letGo(const Constraints& c, const Records& r)
{
  Constraint* const all[] = {c._start, c._duration, c._resource, c._limit};
  for (Constraint* made : all)
    if (made && --made->_refCount == 0)
      freeConstraint(made);
  if (r._data) {
    if (r._data->_windows)
      cumulativeDestructor(r._data);
    free(r._data);
  }
  free(r._startRef);
  free(r._durationRef);
  free(r._resourceRef);
}

/// What the limits alone say, before there is a constraint. A task that may not run at all yet has its requirement left
/// alone; unlike later on, a duration is set to 0 whatever its maximum, so that a negative one passes here as well.
static bool obeyLimits(const CumulativeData& data)
{
  CSint* limit = data._limit;
  int32_t need = INT32_MIN;
  for (int32_t i = 0; i < data._size; i++) {
    CSint *duration = data._durations[i], *resource = data._resources[i];
    if (duration->_min > 0) {
      need = largerOf(need, resource->_min);
      if (resource->_max > limit->_max && !rcsSetMax(resource, limit->_max))
        return false;
    }
    if (resource->_min > limit->_max && !rcsSetMax(duration, 0))
      return false;
  }
  return need <= limit->_min || rcsSetMin(limit, need);
}

static bool raiseToStack(const CumulativeData* data)
{
  int32_t from = INT32_MAX, to = INT32_MIN;
  for (int32_t i = 0; i < data->_size; i++) {
    const Task task = taskOf(data, i);
    from = smallerOf(from, task.est);
    to = largerOf(to, task.lct());
  }
  const int32_t need = ttRequired(data, from, to);
  return data->_limit->_min >= need || rcsSetMin(data->_limit, need);
}

static int doCumulative(
    ConstraintInfo* info, CSint** startTimes, CSint** durations, CSint** resources, int32_t n, CSint* limit)
{
  if (n < 1)
    return 1;
  const CumulativeData tasks = {._startTimes = startTimes,
      ._durations = durations,
      ._resources = resources,
      ._limit = limit,
      ._size = n,
      ._windows = nullptr,
      ._order = nullptr,
      ._startRef = nullptr,
      ._durationRef = nullptr,
      ._resourceRef = nullptr,
      ._profile = nullptr,
      ._loose = nullptr,
      ._nbSteps = 0,
      ._nbLoose = 0};
  if (!obeyLimits(tasks))
    return 0;
  Records records = {};
  Constraints constraints = {};
  const bool made = makeRecords(&records, tasks);
  CumulativeData* data = records._data;
  const bool posted = made && raiseToStack(data) && attachAll(&constraints, &records, info);
  letGo(constraints, records);
  int32_t from, to;
  return posted && limitConsistent(&from, &to, data) && adjustPartial(data, from, to);
}

static int doDisjunctive(ConstraintInfo* info, CSint** startTimes, CSint** durations, int32_t n)
{
  Constraint* holder = newConstraint(info, Pdisjunction, DisjunctiveData{}, size_t(n) * sizeof(CSint*));
  if (!holder)
    return 0;
  auto* block = static_cast<DisjunctiveData*>(holder->_data);
  _rcsIntInit(&block->_one, 1, 1);
  for (int32_t i = 0; i < n; i++)
    block->_ones[i] = &block->_one;
  holder->_destructor = disjunctiveDestructor;
  return _rcsAddConstraint(holder, startTimes[0], -1) &&
         doCumulative(info, startTimes, durations, block->_ones, n, &block->_one);
}

int cs_Cumulative(CSint** startTimes, CSint** durations, CSint** resources, int n, CSint* limit)
{
  return postAs("cs_Cumulative",
      [=](ConstraintInfo* info) { return doCumulative(info, startTimes, durations, resources, n, limit); });
}

int cs_Disjunctive(CSint** startTimes, CSint** durations, int n)
{
  return n < 1 ||
         postAs("cs_Disjunctive", [=](ConstraintInfo* info) { return doDisjunctive(info, startTimes, durations, n); });
}
