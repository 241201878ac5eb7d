/*
 * Posting: the one way from an entry point to an attached constraint.
 */
#ifndef RCS_POST_H
#define RCS_POST_H

#include "rcs.h"
#include "rcsArith.h"
#include "rcsPrivate.h"

#include <cstdlib>
#include <type_traits>

template <typename Data>
inline Data* dataOf(const Tconstraint* t)
{
  return static_cast<Data*>(t->_data);
}

/// Asks the locator in the name of the entry point in whose body this stands. Forced inline, because the default
/// locator captures three frames, itself, the entry point and the entry point's caller, and names the third.
[[gnu::always_inline]] inline ConstraintInfo* locateAs(const char* function)
{
  return rcsCreateConstraintInfo(function, rcsGetProfilerLocatorFunction()(rcsGetProfilerLocatorFunctionExtra()));
}

/// Makes an info for the entry point `function`, lets `post` post with it and gives the info up again; the constraint
/// made meanwhile holds it. The result is that of `post`, or 0 or null when there is no info. An entry point never
/// calls another one to post for it, since then the locator would name the wrong caller; the two share the inner
/// routine.
template <typename Post>
[[gnu::always_inline]] inline auto postAs(const char* function, Post post)
{
  ConstraintInfo* info = locateAs(function);
  if (!info)
    return decltype(post(info)){};
  info->_refCount++;
  auto result = post(info);
  releaseInfo(info);
  return result;
}

/// A new constraint with a copy of `data` as its private record, and room for `tail` bytes behind that; null, with
/// nothing left behind, when out of memory. All lies in one block of memory, since a handler that is woken reads all.
template <typename Data>
Constraint* newConstraint(ConstraintInfo* info, const Handler* handlers, const Data& data, size_t tail = 0)
{
  static_assert(std::is_trivially_copyable_v<Data> && std::is_trivially_destructible_v<Data>);
  static_assert(sizeof(Constraint) % alignof(Data) == 0);
  Constraint* constraint = newConstraintWithData(info, handlers, sizeof(Data) + tail);
  if (constraint)
    *static_cast<Data*>(constraint->_data) = data;
  return constraint;
}

/// For two constraints under one info: makes the second and then attaches the first, if there is one, to its variable.
/// Null when memory runs out on the way; what hasn't been attached by then is gone.
template <typename Data>
Constraint* newCompanion(Constraint* first, CSint* variable, ConstraintInfo* info, const Handler* handlers,
    const Data& data, size_t tail = 0)
{
  if (!first)
    return nullptr;
  Constraint* second = newConstraint(info, handlers, data, tail);
  if (!second) {
    freeConstraint(first);
    return nullptr;
  }
  if (_rcsAddConstraint(first, variable, -1))
    return second;
  freeConstraint(second);
  return nullptr;
}

/// A new array, of one cell at least, that belongs to the trail; null when out of memory.
template <typename T>
T* newTrailArray(int32_t count)
{
  auto* array = static_cast<T*>(malloc((count < 1 ? 1 : size_t(count)) * sizeof(T)));
  if (!array) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  if (_rcsAddCreateVector(array))
    return array;
  free(array);
  return nullptr;
}

#endif
