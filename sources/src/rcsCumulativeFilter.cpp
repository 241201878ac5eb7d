/*
 * Energy reasoning of the cumulative constraint. A task that can't avoid an interval must spend some of its time there,
 * however it is shifted, over and above its compulsory part. In the intervals from the earliest start to the latest end
 * of each task that is held against what the limit offers: overload fails, the limit is raised, requirements are
 * capped, and the private window of each task is narrowed. Only at the end are the windows copied to the variables, one
 * bound of each task at the most: the events of that wake the handlers, which come here again, so that the fixed point
 * is the queue's work and not that of a loop here.
 *
 * Nothing is stored between calls but the windows and the order. A call takes stock of the domains once: of the profile
 * of the compulsory parts, with which the energy of any stretch is a difference of two, and of the loose tasks, which
 * may still move. Before the windows are copied only a capped requirement can change anything of that, and stock is
 * taken again behind it. Outside a flush, as at posting, such an update runs handlers that come here inside the outer
 * call and sort the order beneath it: so the outer one goes on from the position that it has reached. Nobody listens to
 * a window.
 *
 * Energies are products of 32-bit values, widened first; their sums stay below 2^63 in all models that mean anything,
 * and wrap beyond. Quotients round towards zero. A bound worked out in 64 bits is cut to 32 when it is set.
 */
#include "rcsCumulative.h"

#include <algorithm>

static int64_t sumOf(int64_t a, int64_t b) { return int64_t(uint64_t(a) + uint64_t(b)); }

/// A rectangle. The time is a difference of 32-bit values at the most, so that for a height of 32 bits the product is
/// exact; for a stack it wraps where the sum of its parts would.
static int64_t energyOf(int64_t height, int64_t time) { return int64_t(uint64_t(height) * uint64_t(time)); }

/// The difference of two energies.
static int64_t leftOf(int64_t a, int64_t b) { return int64_t(uint64_t(a) - uint64_t(b)); }

static int raiseWindow(CSint* window, int64_t bound) { return rcsSetMin(window, int32_t(bound)); }

static int lowerWindow(CSint* window, int64_t bound) { return rcsSetMax(window, int32_t(bound)); }

static bool isTooNarrow(const CSint* window, int32_t duration)
{
  return int64_t(window->_max) - window->_min < duration;
}

// =====================================================================================================================
// Energies and shares
// =====================================================================================================================

/// Steps at the same time stand in any order: no time passes between them.
static void layOutProfile(CumulativeData* data)
{
  ProfileStep* const steps = data->_profile;
  ProfileStep* end = steps;
  for (int32_t i = 0; i < data->_size; i++) {
    const Task task = taskOf(data, i);
    if (!task.isCompulsory() || task.rMin == 0)
      continue;
    *end++ = {._time = task.lst, ._height = task.rMin, ._energy = 0};
    *end++ = {._time = task.ect(), ._height = -int64_t(task.rMin), ._energy = 0};
  }
  std::sort(steps, end, [](const ProfileStep& a, const ProfileStep& b) { return a._time < b._time; });
  for (ProfileStep* step = steps + 1; step < end; step++) {
    step->_energy = sumOf(step[-1]._energy, energyOf(step[-1]._height, int64_t(step->_time) - step[-1]._time));
    step->_height += step[-1]._height;
  }
  data->_nbSteps = int32_t(end - steps);
}

/// What the compulsory parts take of all the time before t.
static int64_t energyBefore(const CumulativeData* data, int32_t t)
{
  const ProfileStep* step = data->_profile;
  for (int32_t n = data->_nbSteps; n > 0;) {
    const int32_t half = (n + 1) / 2;
    step += step[half - 1]._time < t ? half : 0;
    n -= half;
  }
  if (step == data->_profile)
    return 0;
  --step;
  return sumOf(step->_energy, energyOf(step->_height, int64_t(t) - step->_time));
}

static LooseTask lookAt(const CumulativeData* data, int32_t i)
{
  const Task task = taskOf(data, i);
  return {task, i, energyBefore(data, task.lst), energyBefore(data, task.ect())};
}

/// Reads the domains: all compulsory parts, and the loose tasks from a position on.
static void takeStock(CumulativeData* data, int32_t from)
{
  layOutProfile(data);
  int32_t reach = INT32_MIN;
  data->_nbLoose = 0;
  for (int32_t position = from; position < data->_size; position++) {
    const int32_t i = data->_order[position];
    const CSint* start = data->_startTimes[i];
    reach = largerOf(reach, start->_min);
    if (isFixed(start) || data->_durations[i]->_min <= 0 || data->_resources[i]->_min <= 0)
      continue;
    LooseTask* task = &data->_loose[data->_nbLoose++];
    *task = lookAt(data, i);
    task->_position = position;
    task->_reach = reach;
  }
}

/// What the compulsory parts take of the half-open stretch.
static int64_t compulsoryEnergy(const CumulativeData* data, int32_t a, int32_t b)
{
  return leftOf(energyBefore(data, b), energyBefore(data, a));
}

/// The same of a stretch whose end has wrapped: the parts that hold both ends count, backwards.
static int64_t compulsoryEnergyBackwards(const CumulativeData* data, int32_t a, int32_t b)
{
  int64_t height = 0;
  for (int32_t i = 0; i < data->_size; i++) {
    const Task task = taskOf(data, i);
    if (task.lst < b && task.ect() > a)
      height += task.rMin;
  }
  return energyOf(height, int64_t(b) - a);
}

/// What the limit leaves of the stretch beside so much compulsory energy; negative where that is more.
static int64_t capacityBeside(const CumulativeData* data, int64_t compulsory, int32_t a, int32_t b)
{
  return b <= a ? 0 : leftOf(energyOf(data->_limit->_max, int64_t(b) - a), compulsory);
}

static int64_t freeCapacity(const CumulativeData* data, int32_t a, int32_t b)
{
  return capacityBeside(data, compulsoryEnergy(data, a, b), a, b);
}

/// Can't the task at its shortest leave the interval?
static bool isInside(const Task& task, int32_t A, int32_t B) { return task.est >= A && task.lctMin() <= B; }

/// The part of the shortest duration that isn't compulsory.
static int32_t freeDuration(const Task& task) { return task.isCompulsory() ? wrapSub(task.lst, task.est) : task.dMin; }

/// What is not compulsory of a task's time in the interval if it starts as early as it can.
static int32_t leftShift(const Task& task, int32_t A, int32_t B)
{
  const int32_t ect = task.ect();
  if (ect <= A)
    return 0;
  if (isInside(task, A, B))
    return freeDuration(task);
  const int32_t from = largerOf(task.est, A), to = smallerOf(smallerOf(ect, task.lst), B);
  return from < to ? wrapSub(to, from) : 0;
}

/// The same if it starts as late as it can.
static int32_t rightShift(const Task& task, int32_t A, int32_t B)
{
  const int32_t lctMin = task.lctMin();
  if (task.lst >= B || lctMin <= A)
    return 0;
  if (isInside(task, A, B))
    return freeDuration(task);
  const int32_t from = largerOf(largerOf(task.lst, task.ect()), A), to = smallerOf(lctMin, B);
  return from < to ? wrapSub(to, from) : 0;
}

static int64_t compulsoryOverlap(const Task& task, int32_t A, int32_t B)
{
  const int64_t overlap = int64_t(smallerOf(task.ect(), B)) - largerOf(task.lst, A);
  return overlap > 0 ? overlap : 0;
}

// =====================================================================================================================
// Snapping: a new bound is carried on to where another task ends or starts
//
// Where another task could slide, a start that would fit may be passed over.
// =====================================================================================================================

/// Carries the earliest start p of task j up to the next earliest end in the interval, unless a task that can be
/// stretched may end at p.
static int64_t snapUp(const CumulativeData* data, int32_t j, int64_t p, int32_t A, int32_t B)
{
  const int64_t low = p > A ? p : A;
  int64_t next = INT64_MAX;
  for (int32_t c = 0; c < data->_size; c++) {
    const Task other = taskOf(data, c);
    const int32_t ect = other.ect();
    if (c == j || other.dMin <= 0 || other.rMin <= 0 || ect > B)
      continue;
    if (other.dMin != other.dMax && wrapAdd(other.est, other.dMax) >= p)
      return p;
    if (ect >= low && ect < next)
      next = ect;
  }
  return next == INT64_MAX ? p : next;
}

/// The latest end q of task j, at most `lim` and at most the largest latest start in the interval below that. No mirror
/// of snapUp, on purpose: it doesn't look for the next latest start below q.
static int64_t snapDown(const CumulativeData* data, int32_t j, int64_t q, int64_t lim, int32_t A, int32_t B)
{
  const int64_t high = lim < B ? lim : B;
  int64_t last = INT64_MIN;
  for (int32_t c = 0; c < data->_size; c++) {
    const Task other = taskOf(data, c);
    if (c != j && other.dMin > 0 && other.rMin > 0 && other.lst >= A && other.lst <= high && other.lst > last)
      last = other.lst;
  }
  const int64_t bound = lim < q ? lim : q;
  return last != INT64_MIN && last < bound ? last : bound;
}

// =====================================================================================================================
// The order
// =====================================================================================================================

/// By the earliest start; of equal ones that with the larger free energy first. The differences are 32-bit and wrap, so
/// over very long horizons this is no order in the strict sense.
static bool belongsBehind(const Task& a, const Task& b)
{
  const int32_t later = wrapSub(a.est, b.est);
  return later > 0 || (later == 0 && wrapSub(wrapMul(freeDuration(b), b.rMin), wrapMul(freeDuration(a), a.rMin)) > 0);
}

static bool exchangeAt(const CumulativeData* data, int32_t position)
{
  int32_t* pair = data->_order + position;
  const bool wrong = belongsBehind(taskOf(data, pair[0]), taskOf(data, pair[1]));
  if (wrong) {
    const int32_t first = pair[0];
    pair[0] = pair[1];
    pair[1] = first;
  }
  return wrong;
}

/// An exchange sort in alternating directions: near-linear when little has moved since the last time, and it ends
/// whatever the comparison says, as each exchange rights one pair and wrongs none. Only a forward sweep ends it.
static void sortOrder(const CumulativeData* data)
{
  const int32_t nbPairs = data->_size - 1;
  while (nbPairs > 0) {
    bool exchanged = false;
    for (int32_t position = 0; position < nbPairs; position++)
      exchanged |= exchangeAt(data, position);
    if (!exchanged)
      return;
    for (int32_t position = nbPairs; position-- > 0;)
      exchangeAt(data, position);
  }
}

// =====================================================================================================================
// Windows
// =====================================================================================================================

static bool refreshWindows(const CumulativeData* data)
{
  for (int32_t i = 0; i < data->_size; i++) {
    const Task task = taskOf(data, i);
    if (!rcsSetMin(&data->_windows[i], task.est) || !rcsSetMax(&data->_windows[i], task.lct()))
      return false;
  }
  return true;
}

/// A task lies against its compulsory part: if the stretch on one side of that can't take it at its full height, it
/// reaches only so far there. Its windows are nobody's variables, so one reading of the task serves.
static bool fitAroundCompulsoryPart(const CumulativeData* data, int32_t i)
{
  const Task task = taskOf(data, i);
  const int32_t rMin = task.rMin, ect = task.ect(), lctMin = task.lctMin(), lct = task.lct();
  if (!task.isCompulsory() || rMin <= 0 || task.dMin <= 0 || isFixed(data->_startTimes[i]))
    return true;
  CSint* window = &data->_windows[i];
  const int64_t full = energyOf(rMin, int64_t(lctMin) - ect);
  const int64_t before = freeCapacity(data, task.est, task.lst);
  if (before < full && !raiseWindow(window, task.lst - before / rMin))
    return false;
  auto lastUntil = [=](int32_t from, int32_t to) {
    const int64_t room = freeCapacity(data, from, to);
    return room >= energyOf(rMin, int64_t(to) - from) || lowerWindow(window, from + room / rMin);
  };
  if (!lastUntil(ect, lctMin))
    return false;
  if (lct > lctMin && !(lastUntil(ect, lct) && lastUntil(lctMin, lct)))
    return false;
  return !isTooNarrow(window, task.dMin);
}

// =====================================================================================================================
// Intervals
// =====================================================================================================================

struct Interval
{
  int32_t A, B;
  int64_t energyBeforeA; ///< of the compulsory parts
  int64_t energyBeforeB;
  int64_t slack;     ///< free capacity
  int64_t mandatory; ///< energy that no shift can avoid, beside the compulsory one
};

static void readEnergies(const CumulativeData* data, Interval* interval)
{
  interval->energyBeforeA = energyBefore(data, interval->A);
  interval->energyBeforeB = energyBefore(data, interval->B);
}

/// Comes back with the mandatory share, the time in the interval that no shift can avoid, over and above the compulsory
/// part.
static int32_t findShifts(LooseTask* task, int32_t A, int32_t B)
{
  task->_left = leftShift(*task, A, B);
  task->_right = rightShift(*task, A, B);
  return smallerOf(task->_left, task->_right);
}

/// Adds up the mandatory shares of the tasks and raises `need` to the limit that the interval asks for; false on
/// overload. A task that has started is compulsory as a whole and has no share.
static bool measure(const CumulativeData* data, Interval* interval, int64_t* need)
{
  const int32_t A = interval->A, B = interval->B;
  const int64_t length = int64_t(B) - A;
  const int64_t compulsory =
      length < 0 ? compulsoryEnergyBackwards(data, A, B) : leftOf(interval->energyBeforeB, interval->energyBeforeA);
  const int64_t slack = capacityBeside(data, compulsory, A, B);
  int64_t mandatory = 0;
  if (slack < mandatory)
    return false;
  for (LooseTask *task = data->_loose, *end = task + data->_nbLoose; task < end && task->_reach < B; task++) {
    const int32_t share = findShifts(task, A, B);
    if (task->lctMin() <= A)
      continue;
    // In 32 bits, unlike all other products.
    mandatory = sumOf(mandatory, wrapMul(share, task->rMin));
    if (slack < mandatory)
      return false;
  }
  interval->slack = slack;
  interval->mandatory = mandatory;
  // Ends that have wrapped can leave nothing between them.
  if (length != 0) {
    const int64_t quotient = leftOf(sumOf(sumOf(compulsory, mandatory), length), 1) / length;
    *need = quotient > *need ? quotient : *need;
  }
  return true;
}

/// Is that less than a task of the requirement takes in the time? Only then can the quotient of the two be smaller than
/// the time; mostly it isn't, and the division is spared.
static bool fallsShort(int64_t capacity, int32_t rMin, int64_t time) { return capacity < energyOf(rMin, time); }

/// Narrows the window of the task, and caps its requirement, by the room that the others leave it in the interval.
static bool narrowIn(CumulativeData* data, const LooseTask* task, Interval* interval, bool* capped)
{
  LooseTask afresh;
  const int32_t A = interval->A, B = interval->B, j = task->_index;
  CSint* window = &data->_windows[j];
  const int32_t rMin = task->rMin, left = task->_left, right = task->_right;
  const int32_t share = smallerOf(left, right);
  const int64_t room = sumOf(leftOf(energyOf(rMin, share), interval->mandatory), interval->slack);
  if (share > 0 && isInside(*task, A, B)) {
    CSint* resource = data->_resources[j];
    const int64_t most = room / share;
    if (resource->_max > most) {
      if (!rcsSetMax(resource, int32_t(most)))
        return false;
      // The requirement as it was is what the room was worked out with.
      *capped = true;
      takeStock(data, task->_position + 1);
      readEnergies(data, interval);
      for (int32_t i = 0; i < data->_nbLoose; i++)
        findShifts(&data->_loose[i], A, B);
      afresh = lookAt(data, j);
      task = &afresh;
    }
  }
  const int64_t overlap = compulsoryOverlap(*task, A, B);
  if (room < energyOf(task->rMin, left)) {
    const int64_t p = B - overlap - room / rMin;
    if (window->_min < p && !raiseWindow(window, snapUp(data, j, p, A, B)))
      return false;
  }
  if (room < energyOf(task->rMin, right)) {
    const int64_t q = room / rMin + A + overlap;
    if (window->_max > q && !lowerWindow(window, snapDown(data, j, q, task->lctMin(), A, B)))
      return false;
  }
  // The rest of what lies in the interval, held against the compulsory energy alone.
  if (task->lst < B) {
    const int32_t L = largerOf(task->lst, A), R = smallerOf(task->ect(), B);
    const int64_t before = task->lst < A ? interval->energyBeforeA : task->_energyBeforeLst;
    const int64_t capacity = capacityBeside(data, leftOf(interval->energyBeforeB, before), L, B);
    const int64_t from = largerOf(R, L);
    if (fallsShort(capacity, rMin, smallerOf(B, window->_max) - from)) {
      const int64_t q = from + capacity / rMin;
      if (q < B && window->_max > q && !lowerWindow(window, snapDown(data, j, q, q, A, B)))
        return false;
    }
  }
  if (task->ect() > A) {
    const int32_t R = smallerOf(task->ect(), B);
    const int64_t before = task->ect() > B ? interval->energyBeforeB : task->_energyBeforeEct;
    const int64_t capacity = capacityBeside(data, leftOf(before, interval->energyBeforeA), A, R);
    const int64_t from = R - overlap;
    if (fallsShort(capacity, rMin, from - largerOf(A, window->_min))) {
      const int64_t p = from - capacity / rMin;
      if (p > A && window->_min < p && !raiseWindow(window, snapUp(data, j, p, A, B)))
        return false;
    }
  }
  return !isTooNarrow(window, task->dMin);
}

static bool examine(CumulativeData* data, int32_t A, int32_t B, int64_t* need)
{
  Interval interval = {.A = A, .B = B, .energyBeforeA = 0, .energyBeforeB = 0, .slack = 0, .mandatory = 0};
  readEnergies(data, &interval);
  if (!measure(data, &interval, need))
    return false;
  bool again = false;
  for (const LooseTask* task = data->_loose; task < data->_loose + data->_nbLoose && task->_reach < B;) {
    bool capped = false;
    // By the longest duration here, where the shares go by the shortest.
    if (task->lct() > A && !narrowIn(data, task, &interval, &capped))
      return false;
    // Stock has been taken of the positions behind.
    again |= capped;
    task = capped ? data->_loose : task + 1;
  }
  if (again)
    takeStock(data, 0);
  return true;
}

static bool examineIntervals(CumulativeData* data, int32_t from, int32_t to, int64_t* need)
{
  int32_t A = INT32_MIN, B = INT32_MIN;
  for (int32_t position = 0; position < data->_size; position++) {
    const Task task = taskOf(data, data->_order[position]);
    const int32_t lctMin = task.lctMin();
    if (task.dMin <= 0 || task.est >= to || lctMin <= from || task.rMin <= 0 || (task.est == A && lctMin == B))
      continue;
    A = task.est;
    B = lctMin;
    if (!examine(data, A, B, need))
      return false;
  }
  return true;
}

// =====================================================================================================================
// Writing back
// =====================================================================================================================

/// One bound of the task at the most: the rest waits for the events of that, or for the next call.
static int copyWindow(const CumulativeData* data, int32_t i)
{
  const Task task = taskOf(data, i);
  const int32_t low = data->_windows[i]._min, high = data->_windows[i]._max;
  if (task.est < low)
    return rcsSetMin(data->_startTimes[i], low);
  if (task.lctMin() > high)
    return rcsSetMax(data->_startTimes[i], wrapSub(high, task.dMin));
  return wrapAdd(task.est, task.dMax) <= high || rcsSetMax(data->_durations[i], wrapSub(high, task.est));
}

bool adjustPartial(CumulativeData* data, int32_t from, int32_t to)
{
  int64_t need = data->_limit->_min;
  sortOrder(data);
  takeStock(data, 0);
  if (!refreshWindows(data))
    return false;
  for (int32_t i = 0; i < data->_size; i++)
    if (!fitAroundCompulsoryPart(data, i))
      return false;
  if (!examineIntervals(data, from, to, &need))
    return false;
  if (data->_limit->_min < need && !rcsSetMin(data->_limit, int32_t(need)))
    return false;
  for (int32_t i = 0; i < data->_size; i++)
    if (!copyWindow(data, i))
      return false;
  return true;
}
