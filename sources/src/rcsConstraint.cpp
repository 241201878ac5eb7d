/*
 * What a constraint is to the solver: a private record, a table of handlers and a count of attachments. The framework
 * doesn't know what a constraint means; it only attaches, detaches and frees. A constraint lives as long as it has
 * attachments, and the trail takes those away in the reverse order of attaching.
 */
#include "rcsPrivate.h"

#include <cstdlib>
#include <cstring>

ConstraintInfo* kernel::CurrentCI = nullptr;

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

Constraint* rcsCreateConstraint(ConstraintInfo* info, void* data, const Handler* handlers)
{
  auto* constraint = static_cast<Constraint*>(malloc(sizeof(Constraint)));
  if (!constraint) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  *constraint = {
      ._data = data, ._handlers = handlers, ._refCount = 0, ._destructor = nullptr, ._state = 0, ._info = info};
  info->_refCount++;
  return constraint;
}

void freeConstraint(Constraint* constraint)
{
  if (constraint->_destructor)
    constraint->_destructor(constraint->_data);
  free(constraint->_data);
  releaseInfo(constraint->_info);
  free(constraint);
}

int _rcsAddConstraint(Constraint* constraint, CSint* variable, int32_t index)
{
  auto* t = static_cast<Tconstraint*>(malloc(sizeof(Tconstraint)));
  if (!t) {
    rcsHandleNoMemoryError();
    // Nothing else holds a constraint without attachments.
    if (constraint->_refCount == 0)
      freeConstraint(constraint);
    return 0;
  }
  constraint->_refCount++;
  *t = {._constraint = constraint, ._next = variable->_constraints, ._index = index};
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
  variable->_constraints = t->_next;
  if (--t->_constraint->_refCount == 0)
    freeConstraint(t->_constraint);
  free(t);
}
