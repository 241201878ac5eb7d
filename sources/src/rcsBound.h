/*
 * The two sides of a mirror. A rule on lower bounds that has its mirror on upper bounds is written once, as a template
 * over a side, and each named handler is one line that says which side it means.
 *
 * On either side, `inside(a, b)` says that the bound a is tighter than b, `reaches(a, b, n)` that it is so by n at
 * least, `step(value, n)` moves by n inwards, and `gap(a, b)` is how far b lies inwards of a, exact for any two 64-bit
 * integers in that order.
 */
#ifndef RCS_BOUND_H
#define RCS_BOUND_H

#include "rcs.h"
#include "rcsArith.h"
#include "rcsBits.h"

struct Upper;

struct Lower
{
  using Opposite = Upper;
  static constexpr EventKind moved = NewMin;
  static constexpr EventKind fixed = NewMinEq;

  static int32_t of(const CSint* v) { return v->_min; }
  static int32_t told(const CSint* v) { return v->_propMin; }
  static void noteTold(CSint* v, int32_t value) { v->_propMin = value; }
  static int tighten(CSint* v, int32_t value) { return rcsSetMin(v, value); }
  static constexpr bool inside(int64_t a, int64_t b) { return a > b; }
  static constexpr bool reaches(int32_t a, int32_t b, int32_t n) { return a >= int64_t(b) + n; }
  static constexpr int32_t step(int32_t value, int32_t n) { return wrapAdd(value, n); }
  static constexpr uint64_t gap(int64_t a, int64_t b) { return uint64_t(b) - uint64_t(a); }
};

struct Upper
{
  using Opposite = Lower;
  static constexpr EventKind moved = NewMax;
  static constexpr EventKind fixed = NewMaxEq;

  static int32_t of(const CSint* v) { return v->_max; }
  static int32_t told(const CSint* v) { return v->_propMax; }
  static void noteTold(CSint* v, int32_t value) { v->_propMax = value; }
  static int tighten(CSint* v, int32_t value) { return rcsSetMax(v, value); }
  static constexpr bool inside(int64_t a, int64_t b) { return a < b; }
  static constexpr bool reaches(int32_t a, int32_t b, int32_t n) { return a <= int64_t(b) - n; }
  static constexpr int32_t step(int32_t value, int32_t n) { return wrapSub(value, n); }
  static constexpr uint64_t gap(int64_t a, int64_t b) { return uint64_t(a) - uint64_t(b); }
};

/// Is the value between the bounds? In one test: a fixed variable lies on either side of a value, which no processor
/// foresees, but mostly not on it, which it does. No value is where the bounds have crossed, as they may when a context
/// was accepted inside another one that was restored.
inline bool isBetweenBounds(const CSint* v, int32_t value)
{
  const int64_t aboveMin = int64_t(value) - v->_min, belowMax = int64_t(v->_max) - value;
  return (aboveMin | belowMax) >= 0;
}

/// Is the value in the variable's domain? The bit-set, where there is one, covers all that lies between the bounds.
inline bool holds(const CSint* v, int32_t value)
{
  return isBetweenBounds(v, value) && (!v->_domain || bitAt(v->_domain, value));
}

inline bool isFixed(const CSint* v) { return v->_nbElements == 1; }

/// As rcsRemoveValue, for a value that is known to be in the domain. `cause` is a constraint that would have nothing to
/// do when it was told of this removal, or null.
int removeHeld(CSint* v, int32_t value, const Constraint* cause);

inline int removeIfHeld(CSint* v, int32_t value, const Constraint* cause)
{
  return holds(v, value) ? removeHeld(v, value, cause) : 1;
}

inline int removeIfHeld(CSint* v, int32_t value) { return removeIfHeld(v, value, nullptr); }

/// In 32 bits that wrap, like the count itself.
inline bool hasHoles(const CSint* v) { return v->_domain && v->_nbElements != wrapCount(v->_min, v->_max); }

inline int fixIfHeld(CSint* v, int32_t value) { return holds(v, value) ? rcsSetValue(v, value) : 0; }

/// How far an order keeps the bounds of its two sides apart.
constexpr int32_t loose = 0, strict = 1;

/// Tightens one side of `v` until it is at `bound`, or inside of it by the gap, where that is a change. The step
/// inwards wraps: at the edge of 32 bits it isn't one, and pushes nothing.
template <typename Side>
inline int pushBound(CSint* v, int32_t bound, int32_t gap = loose)
{
  return Side::reaches(Side::of(v), bound, gap) ? 1 : Side::tighten(v, Side::step(bound, gap));
}

#endif
