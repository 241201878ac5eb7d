/*
 * What a constraint is to the solver: a private record, a table of handlers and a count of attachments. The framework
 * doesn't know what a constraint means; it only attaches, detaches and frees. A constraint lives as long as it has
 * attachments, and the trail takes those away in the reverse order of attaching.
 */
#include "rcsKernel.h"

#include <cstdlib>
#include <cstring>

ConstraintInfo* kernel::CurrentCI = nullptr;
bool kernel::ForeignCode = false;

ConstraintInfo* rcsGetEventCI(void) { return CurrentCI; }

ConstraintInfo* rcsCreateConstraintInfo(const char* function, const char* locator)
{
  if (!locator)
    locator = "";
  size_t size = strlen(locator) + 1;
  auto* info = static_cast<ConstraintInfo*>(malloc(sizeof(ConstraintInfo) + size));
  if (!info) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  info->_refCount = 0;
  info->_function = function;
  memcpy(info->_locator, locator, size);
  return info;
}

void releaseInfo(ConstraintInfo* info)
{
  if (--info->_refCount == 0)
    free(info);
}

static uint8_t eventsOf(const Handler* handlers)
{
  uint32_t events = 0;
  for (uint32_t event = 0; event < 6; event++)
    events |= uint32_t(handlers[event] != Ptrue) << event;
  return uint8_t(events);
}

/// A constraint without its data, and with room for `tail` bytes behind it.
static Constraint* makeConstraint(ConstraintInfo* info, const Handler* handlers, size_t tail)
{
  auto* constraint = static_cast<Constraint*>(malloc(sizeof(Constraint) + tail));
  if (!constraint) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *constraint = {._data = nullptr,
      ._handlers = handlers,
      ._refCount = 0,
      ._destructor = nullptr,
      ._state = 0,
      ._events = eventsOf(handlers),
      ._holdsData = false,
      ._info = info,
      ._run = nullptr};
  info->_refCount++;
  return constraint;
}

Constraint* rcsCreateConstraint(ConstraintInfo* info, void* data, const Handler* handlers)
{
  ForeignCode = true;
  return newConstraintOn(info, data, handlers);
}

Constraint* newConstraintOn(ConstraintInfo* info, void* data, const Handler* handlers)
{
  Constraint* constraint = makeConstraint(info, handlers, 0);
  if (constraint)
    constraint->_data = data;
  return constraint;
}

Constraint* newConstraintWithData(ConstraintInfo* info, const Handler* handlers, size_t size)
{
  Constraint* constraint = makeConstraint(info, handlers, size);
  if (constraint) {
    constraint->_data = constraint + 1;
    constraint->_holdsData = true;
  }
  return constraint;
}

void freeConstraint(Constraint* constraint)
{
  if (constraint->_destructor)
    constraint->_destructor(constraint->_data);
  if (!constraint->_holdsData)
    free(constraint->_data);
  releaseInfo(constraint->_info);
  free(constraint);
}

/// A place for the next attachment in front of `newest`. Those of a variable come and go at one end and are walked from
/// there, so they lie side by side in blocks, each twice as large as the one before: the walk is what waits for memory.
/// Null when out of memory.
static Tconstraint* placeBefore(Tconstraint* newest)
{
  constexpr uint32_t smallest = 2, largest = 128;
  if (newest && newest->_room > 0) {
    Tconstraint* t = newest + 1;
    t->_block = newest->_block;
    t->_room = uint8_t(newest->_room - 1);
    return t;
  }
  uint32_t size = newest ? newest->_block * 2u : smallest;
  size = size < largest ? size : largest;
  const size_t nbCells = size >= largeBlock ? size + 1 : 0;
  auto* t = static_cast<Tconstraint*>(malloc(size * sizeof(Tconstraint) + nbCells * sizeof(CSint*)));
  if (!t) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  t->_block = uint8_t(size);
  t->_room = uint8_t(size - 1);
  if (isInLargeBlock(t))
    otherOf(t)[-1] = nullptr;
  return t;
}

int _rcsAddConstraint(Constraint* constraint, CSint* variable, int32_t index)
{
  Tconstraint* older = variable->_constraints;
  Tconstraint* t = placeBefore(older);
  if (!t) {
    // Nothing else holds a constraint without attachments.
    if (constraint->_refCount == 0)
      freeConstraint(constraint);
    return 0;
  }
  constraint->_refCount++;
  if (isInLargeBlock(t))
    *otherOf(t) = nullptr;
  t->_constraint = constraint;
  t->_handlers = constraint->_handlers;
  t->_data = constraint->_data;
  t->_next = older;
  t->_index = index;
  // One with a state is to be looked at whatever happens.
  t->_events = constraint->_state ? UINT8_MAX : constraint->_events;
  // A run begins where another one of the kind follows: for one alone its handler is the shorter way.
  if (!older || older->_handlers != t->_handlers)
    t->_events &= uint8_t(~runBit);
  t->_eventsOn = older ? uint8_t(t->_events | older->_eventsOn) : t->_events;
  t->_nextOther = older && older->_events == t->_events ? older->_nextOther : older;
  variable->_constraints = t;
  if (_rcsSaveTconstraint(variable))
    return 1;
  _rcsRemoveConstraint(variable);
  return 0;
}

void _rcsRemoveConstraint(CSint* variable)
{
  Tconstraint* t = variable->_constraints;
  if (!t)
    return;
  Constraint* constraint = t->_constraint;
  variable->_constraints = t->_next;
  // Before the destructor, which may take away the rest of this very list, and with it the block that it lies in.
  const bool isFirst = t->_room == t->_block - 1;
  if (isFirst)
    free(t);
  if (--constraint->_refCount == 0)
    freeConstraint(constraint);
}
