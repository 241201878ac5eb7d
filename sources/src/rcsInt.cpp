/*
 * Variables: the record with its creation and queries; the narrowing routines; printing.
 *
 * A variable is an interval less the holes of an optional bit-set. The bit-set is made at the first removal of a value
 * strictly between the bounds, over the range at creation, and stays from then on: restoring turns bits back on but
 * doesn't take the set away. Bits outside the bounds say nothing, so that moving a bound is one store and so is its
 * undoing. Whether a variable has holes shows only in its count of values.
 */
#include "rcsBits.h"
#include "rcsBound.h"
#include "rcsKernel.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

// =====================================================================================================================
// Variables
// =====================================================================================================================

void _rcsIntInit(CSint* variable, int32_t min, int32_t max)
{
  *variable = {._initMin = min,
      ._initMax = max,
      ._min = min,
      ._max = max,
      ._domain = nullptr,
      ._nbElements = wrapCount(min, max),
      ._nbConstraints = 0,
      ._name = nullptr,
      ._constraints = nullptr,
      ._propMin = min,
      ._propMax = max};
}

void _rcsIntDestroy(CSint* variable)
{
  if (variable->_domain)
    rcsDeleteDomain(variable->_domain);
  free(variable->_name);
}

static CSint* newVariable(int32_t min, int32_t max)
{
  CSint* variable = _rcsGetIntHeap();
  if (variable)
    _rcsIntInit(variable, min, max);
  return variable;
}

CSint* CSINT(int value) { return newVariable(value, value); }

CSint* cs_createCSint(int min, int max) { return min > max ? nullptr : newVariable(min, max); }

CSint* cs_createNamedCSint(int min, int max, const char* name)
{
  CSint* variable = cs_createCSint(min, max);
  if (variable)
    cs_setName(variable, name);
  return variable;
}

CSint* cs_createCSintFromDomain(const int* values, int count)
{
  if (count < 1)
    return nullptr;
  int32_t smallest = INT32_MAX, largest = INT32_MIN;
  for (int i = 0; i < count; i++) {
    smallest = values[i] < smallest ? values[i] : smallest;
    largest = values[i] > largest ? values[i] : largest;
  }
  CSint* variable = newVariable(smallest, largest);
  if (!variable)
    return nullptr;
  variable->_domain = rcsCreateDomain(smallest, largest);
  if (!variable->_domain)
    return nullptr;
  rcsClearDomain(variable->_domain);
  variable->_nbElements = 0;
  for (int i = 0; i < count; i++) {
    if (rcsDomainIsOn(variable->_domain, values[i]))
      continue;
    rcsDomainOn(variable->_domain, values[i]);
    variable->_nbElements++;
  }
  return variable;
}

CSint** cs_createCSintArray(int count, int min, int max)
{
  // Never of length 0, so that null always means that memory ran out.
  auto** variables = static_cast<CSint**>(malloc((count < 1 ? 1 : size_t(count)) * sizeof(CSint*)));
  if (!variables) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  if (!_rcsAddCreateVector(variables)) {
    free(variables);
    return nullptr;
  }
  for (int i = 0; i < count; i++)
    if (!(variables[i] = cs_createCSint(min, max)))
      return nullptr;
  return variables;
}

const char* cs_setName(CSint* variable, const char* name)
{
  size_t size = strlen(name) + 1;
  if (!variable->_name || strlen(variable->_name) + 1 < size) {
    free(variable->_name);
    variable->_name = static_cast<char*>(malloc(size));
    if (!variable->_name) {
      rcsHandleNoMemoryError();
      return nullptr;
    }
  }
  // The new name may be a part of the old one.
  memmove(variable->_name, name, size);
  return variable->_name;
}

int cs_isFree(const CSint* variable) { return variable->_nbElements > 1; }

int cs_isInstantiated(const CSint* variable) { return isFixed(variable); }

int cs_isIn(const CSint* variable, int value)
{
  return isBetweenBounds(variable, value) && rcsDomainIsOn(variable->_domain, value);
}

int cs_getMin(const CSint* variable) { return variable->_min; }

int cs_getMax(const CSint* variable) { return variable->_max; }

int cs_getNbElements(const CSint* variable) { return variable->_nbElements; }

int cs_getNbConstraints(const CSint* variable) { return variable->_nbConstraints; }

const char* cs_getName(const CSint* variable) { return variable->_name; }

int cs_getValue(const CSint* variable)
{
  if (variable->_min != variable->_max)
    rcsHandleGetValueError(const_cast<CSint*>(variable));
  return variable->_min;
}

int cs_getNextValue(const CSint* variable, int value)
{
  if (variable->_max <= value)
    return INT32_MAX;
  if (variable->_min > value)
    return variable->_min;
  return rcsDomainNextOn(variable->_domain, value);
}

int cs_getPreviousValue(const CSint* variable, int value)
{
  if (variable->_min >= value)
    return INT32_MIN;
  if (variable->_max < value)
    return variable->_max;
  return rcsDomainPrevOn(variable->_domain, value);
}

int* cs_getDomain(const CSint* variable)
{
  // The count wraps at 2^31; its low 32 bits are still right, and 0 stands for 2^32 values.
  const auto low = uint32_t(variable->_nbElements);
  const size_t count = low ? low : size_t(1) << 32;
  auto* values = static_cast<int*>(malloc(count * sizeof(int)));
  if (!values) {
    rcsHandleNoMemoryError();
    return nullptr;
  }
  // After a context was accepted inside another one that was restored a bound may be off, and the count too high.
  const Domain* set = variable->_domain;
  int* place = values;
  for (int64_t x = variable->_min; x <= variable->_max && place < values + count; x = nextOn(set, int32_t(x)))
    if (rcsDomainIsOn(set, int32_t(x)))
      *place++ = int32_t(x);
  return values;
}

void cs_freeDomain(int* values) { free(values); }

// =====================================================================================================================
// Narrowing
//
// Each routine writes the old state to the trail, changes the record and then sends the event. Nothing is written when
// there is nothing to change.
// =====================================================================================================================

int Ptrue(CSint*, Tconstraint*, int32_t, int32_t) { return 1; }

template <typename Side>
static inline int tellBound(CSint* v, EventKind event, int32_t bound)
{
  return propagate(v, event, bound, [=] {
    int32_t told = Side::told(v);
    Side::noteTold(v, bound);
    return flushChange(v, event, told, bound);
  });
}

static inline int tellFixedInside(CSint* v, int32_t value)
{
  return propagate(v, Eq, value, [=] {
    int32_t toldMin = v->_propMin, toldMax = v->_propMax;
    v->_propMin = v->_propMax = value;
    return flushChange(v, Eq, toldMin, toldMax);
  });
}

static inline int tellRemoved(CSint* v, int32_t value, const Constraint* cause)
{
  if (v->_constraints && isUnheard(v, 1u << Neq, [=](const Tconstraint* t) { return t->_constraint == cause; }))
    return 1;
  return propagate(v, Neq, value, [=] { return flushChange(v, Neq, value, value); });
}

static inline int storeMin(CSint* v, int32_t value)
{
  v->_min = value;
  return tellBound<Lower>(v, isFixed(v) ? NewMinEq : NewMin, value);
}

static inline int storeMax(CSint* v, int32_t value)
{
  v->_max = value;
  return tellBound<Upper>(v, isFixed(v) ? NewMaxEq : NewMax, value);
}

/// The two ways over a bit-set: up for a minimum, down for a maximum.
struct Up
{
  static void check(const CSint* v, int32_t value) { assert(v->_min < value && value <= v->_max); }
  static uint64_t from(uint64_t bits, uint32_t place) { return bits & ~uint64_t(0) << place; }
  static uint32_t nearest(uint64_t bits) { return uint32_t(std::countr_zero(bits)); }
  static int32_t firstFrom(const Domain* set, int32_t value) { return rcsDomainNextOn(set, value - 1); }
  static uint32_t count(const Domain* set, int32_t from, int32_t to) { return rcsDomainCountOn(set, from, to - 1); }
  static int store(CSint* v, int32_t value) { return storeMin(v, value); }
};

struct Down
{
  static void check(const CSint* v, int32_t value) { assert(v->_min <= value && value < v->_max); }
  static uint64_t from(uint64_t bits, uint32_t place) { return bits & ~uint64_t(0) >> (63 - place); }
  static uint32_t nearest(uint64_t bits) { return 63 - uint32_t(std::countl_zero(bits)); }
  static int32_t firstFrom(const Domain* set, int32_t value) { return rcsDomainPrevOn(set, value + 1); }
  static uint32_t count(const Domain* set, int32_t from, int32_t to) { return rcsDomainCountOn(set, to + 1, from); }
  static int store(CSint* v, int32_t value) { return storeMax(v, value); }
};

/// The value of the nearest bit of `ahead`, what is on from the offset `to` on in the word in which that lies.
template <typename Way>
static inline int32_t nearestAhead(const Domain* set, uint32_t to, uint64_t ahead)
{
  return wrapAdd(set->_low, int32_t((to & ~uint32_t(63)) + Way::nearest(ahead)));
}

// Most moves end in the word in which they start. The others are out of line, which leaves the usual way without a call
// in its middle.

template <typename Way>
[[gnu::noinline]] static int moveFar(CSint* v, int32_t from, int32_t to)
{
  v->_nbElements = wrapSub(v->_nbElements, int32_t(Way::count(v->_domain, from, to)));
  return Way::store(v, Way::firstFrom(v->_domain, to));
}

/// Moves a bound from `from` to the first value from `to` on, both of them in the range of the set. Out of line itself,
/// so that the way of a pure interval stays short.
template <typename Way>
[[gnu::noinline]] static int moveOverHoles(CSint* v, int32_t from, int32_t to)
{
  const Domain* set = v->_domain;
  const uint32_t a = offsetOf(set, from), b = offsetOf(set, to);
  if (a >> 6 != b >> 6) [[unlikely]]
    return moveFar<Way>(v, from, to);
  const uint64_t bits = Way::from(wordAt(set, b >> 6), a & 63), ahead = Way::from(bits, b & 63);
  if (!ahead) [[unlikely]]
    return moveFar<Way>(v, from, to);
  v->_nbElements = wrapSub(v->_nbElements, int32_t(countBits(bits ^ ahead)));
  return Way::store(v, nearestAhead<Way>(set, b, ahead));
}

template <typename Way>
[[gnu::noinline]] static int dropFar(CSint* v, int32_t to)
{
  v->_nbElements = wrapSub(v->_nbElements, 1);
  return Way::store(v, Way::firstFrom(v->_domain, to));
}

/// The same for a bound that is known to be the only value passed: nothing has to be counted.
template <typename Way>
[[gnu::noinline]] static int dropOverHoles(CSint* v, int32_t to)
{
  Way::check(v, to);
  const Domain* set = v->_domain;
  const uint32_t b = offsetOf(set, to);
  const uint64_t ahead = Way::from(wordAt(set, b >> 6), b & 63);
  if (!ahead) [[unlikely]]
    return dropFar<Way>(v, to);
  v->_nbElements = wrapSub(v->_nbElements, 1);
  return Way::store(v, nearestAhead<Way>(set, b, ahead));
}

static inline int raiseMin(CSint* v, int32_t value)
{
  Up::check(v, value);
  if (hasHoles(v))
    return moveOverHoles<Up>(v, v->_min, value);
  v->_nbElements = wrapCount(value, v->_max);
  return storeMin(v, value);
}

static inline int lowerMax(CSint* v, int32_t value)
{
  Down::check(v, value);
  if (hasHoles(v))
    return moveOverHoles<Down>(v, v->_max, value);
  v->_nbElements = wrapCount(v->_min, value);
  return storeMax(v, value);
}

int _rcsSetMin(CSint* v, int32_t value) { return raiseMin(v, value); }

int _rcsSetMax(CSint* v, int32_t value) { return lowerMax(v, value); }

/// Makes room on the trail and narrows again: the rare way, which leaves the usual one without a call in its middle.
[[gnu::noinline]] static int withRoom(int (*narrow)(CSint*, int32_t), CSint* variable, int32_t value)
{
  return makeRoom(_e) ? narrow(variable, value) : 0;
}

int rcsSetMin(CSint* variable, int32_t value)
{
  if (variable->_max < value)
    return 0;
  if (variable->_min >= value)
    return 1;
  if (!hasRoom(_e)) [[unlikely]]
    return withRoom(rcsSetMin, variable, value);
  writeOld(variable, NewMin, variable->_min, variable->_nbElements);
  return raiseMin(variable, value);
}

int rcsSetMax(CSint* variable, int32_t value)
{
  if (variable->_min > value)
    return 0;
  if (variable->_max <= value)
    return 1;
  if (!hasRoom(_e)) [[unlikely]]
    return withRoom(rcsSetMax, variable, value);
  writeOld(variable, NewMax, variable->_max, variable->_nbElements);
  return lowerMax(variable, value);
}

/// A value strictly inside takes two trail records, of which the first stands when the second can't be had.
static int fixInside(CSint* v, int32_t value)
{
  writeOld(v, NewMin, v->_min, v->_nbElements);
  if (!hasRoom(_e) && !makeRoom(_e)) [[unlikely]]
    return 0;
  writeOld(v, NewMax, v->_max, v->_nbElements);
  v->_nbElements = 1;
  v->_min = v->_max = value;
  return tellFixedInside(v, value);
}

int rcsSetValue(CSint* variable, int32_t value)
{
  if (value < variable->_min || variable->_max < value)
    return 0;
  if (isFixed(variable))
    return value == variable->_min;
  if (!rcsDomainIsOn(variable->_domain, value))
    return 0;
  if (!hasRoom(_e)) [[unlikely]]
    return withRoom(rcsSetValue, variable, value);
  if (value == variable->_max) {
    writeOld(variable, NewMin, variable->_min, variable->_nbElements);
    variable->_nbElements = 1;
    return storeMin(variable, value);
  }
  if (value == variable->_min) {
    writeOld(variable, NewMax, variable->_max, variable->_nbElements);
    variable->_nbElements = 1;
    return storeMax(variable, value);
  }
  return fixInside(variable, value);
}

// Out of line: most removals find the bit-set made.
[[gnu::noinline]] static bool makeBits(CSint* v)
{
  // Over the range at creation, so that the set serves whatever a later restore brings back.
  v->_domain = rcsCreateDomain(v->_initMin, v->_initMax);
  return v->_domain;
}

int rcsRemoveValue(CSint* variable, int32_t value)
{
  if (value < variable->_min || variable->_max < value)
    return 1;
  if (isFixed(variable))
    return value != variable->_min;
  if (variable->_domain && !bitAt(variable->_domain, value))
    return 1;
  return removeHeld(variable, value, nullptr);
}

/// The rest of a removal inside the bounds, whose trail record is written; the first one of a variable, which makes its
/// set, is out of line.
static inline int switchOff(CSint* v, int32_t value, const Constraint* cause)
{
  turnOff(v->_domain, value);
  v->_nbElements = wrapSub(v->_nbElements, 1);
  return tellRemoved(v, value, cause);
}

[[gnu::noinline]] static int switchFirstOff(CSint* v, int32_t value, const Constraint* cause)
{
  return makeBits(v) ? switchOff(v, value, cause) : 0;
}

int removeHeld(CSint* variable, int32_t value, const Constraint* cause)
{
  if (isFixed(variable))
    return value != variable->_min;
  if (!hasRoom(_e)) [[unlikely]]
    return withRoom(rcsRemoveValue, variable, value);
  if (value == variable->_min) {
    writeOld(variable, NewMin, value, variable->_nbElements);
    // After an accepted context the count may be too high for bounds that meet, at the very edge of 32 bits too.
    const int32_t to = wrapAdd(value, 1);
    return hasHoles(variable) ? dropOverHoles<Up>(variable, to) : raiseMin(variable, to);
  }
  if (value == variable->_max) {
    writeOld(variable, NewMax, value, variable->_nbElements);
    return hasHoles(variable) ? dropOverHoles<Down>(variable, value - 1) : lowerMax(variable, value - 1);
  }
  writeOld(variable, Neq, value, variable->_nbElements);
  return variable->_domain ? switchOff(variable, value, cause) : switchFirstOff(variable, value, cause);
}

int _rcsRemoveValue(CSint* variable, int32_t value)
{
  if (value < variable->_min || variable->_max < value)
    return 1;
  // With a null set these are the neighbouring integers.
  if (value == variable->_min) {
    variable->_min = rcsDomainNextOn(variable->_domain, value);
  } else if (value == variable->_max) {
    variable->_max = rcsDomainPrevOn(variable->_domain, value);
  } else {
    if (!variable->_domain && !makeBits(variable))
      return 0;
    if (!rcsDomainIsOn(variable->_domain, value))
      return 1;
    rcsDomainOff(variable->_domain, value);
  }
  variable->_nbElements = wrapSub(variable->_nbElements, 1);
  return 1;
}

int rcsAnd(CSint* a, CSint* b)
{
  if (!a->_domain && !b->_domain)
    return 1;
  // Every removal may run the queue, so the upper end is read anew each time; the 64-bit walk ends at 2147483647 too.
  for (int64_t x = a->_min; x <= a->_max; x++) {
    auto value = int32_t(x);
    int inA = rcsDomainIsOn(a->_domain, value), inB = rcsDomainIsOn(b->_domain, value);
    if (inA != inB && !rcsRemoveValue(inA ? a : b, value))
      return 0;
  }
  return 1;
}

// =====================================================================================================================
// Printing
// =====================================================================================================================

/// A list in braces, in which a run of three or more values is written as first..last.
static int printValues(FILE* stream, const CSint* v)
{
  fputs("{", stream);
  for (int64_t next = v->_min; next < v->_max;) {
    auto x = int32_t(next);
    auto continues = [v](int32_t value) { return value < v->_max && rcsDomainIsOn(v->_domain, value); };
    if (continues(x + 1) && rcsDomainIsOn(v->_domain, x + 2)) {
      fprintf(stream, "%d..", x);
      while (continues(x + 1))
        x++;
      // The maximum closes this run.
      if (x + 1 == v->_max)
        break;
    }
    fprintf(stream, "%d, ", x);
    next = nextOn(v->_domain, x);
  }
  return fprintf(stream, "%d}", v->_max);
}

int rcsFprintDomain(FILE* stream, const CSint* variable)
{
  if (isFixed(variable))
    return fprintf(stream, "%d", variable->_min);
  if (variable->_domain)
    return printValues(stream, variable);
  const char* form = variable->_nbElements == 2 ? "{%d, %d}" : "{%d..%d}";
  return fprintf(stream, form, variable->_min, variable->_max);
}

int rcsPrintDomain(const CSint* variable) { return rcsFprintDomain(stdout, variable); }

static void printNamed(FILE* stream, const CSint* variable)
{
  if (variable->_name)
    fprintf(stream, "%s: ", variable->_name);
  rcsFprintDomain(stream, variable);
}

void rcsFprintArray(FILE* stream, CSint* const* variables, int32_t count)
{
  for (int32_t i = 0; i < count; i++) {
    if (i > 0)
      fputs(", ", stream);
    printNamed(stream, variables[i]);
  }
}

/// The first percent sign that isn't followed by another, or the end of the text.
static const char* nextConversion(const char* text)
{
  while (*text && (text[0] != '%' || text[1] == '%'))
    text += text[0] == '%' ? 2 : 1;
  return text;
}

/// Hands the stretch to the standard print as a format of its own, with the one argument that every stretch takes.
static void printStretch(FILE* stream, const char* stretch, size_t length, int64_t argument)
{
  auto* format = static_cast<char*>(malloc(length + 1));
  if (!format) {
    rcsHandleNoMemoryError();
    return;
  }
  memcpy(format, stretch, length);
  format[length] = '\0';
  fprintf(stream, format, argument);
  free(format);
}

/// Text behind a conversion of our own is written as it stands, but text behind a standard one belongs to its stretch,
/// and so a doubled percent sign stays doubled in the one and comes out single in the other. `*stream` is read anew for
/// each part of the output.
static void printFormat(FILE* const* stream, const char* format, va_list arguments)
{
  const char* conversion = nextConversion(format);
  fwrite(format, 1, size_t(conversion - format), *stream);
  while (*conversion) {
    const char* behind = conversion + 2;
    switch (conversion[1]) {
    case 'A': {
      CSint** variables = va_arg(arguments, CSint**);
      rcsFprintArray(*stream, variables, va_arg(arguments, int));
      break;
    }
    case 'D':
      rcsFprintDomain(*stream, va_arg(arguments, CSint*));
      break;
    case 'T':
      printNamed(*stream, va_arg(arguments, CSint*));
      break;
    default: {
      const char* next = nextConversion(conversion + 1);
      printStretch(*stream, conversion, size_t(next - conversion), va_arg(arguments, int64_t));
      conversion = next;
      continue;
    }
    }
    conversion = nextConversion(behind);
    fwrite(behind, 1, size_t(conversion - behind), *stream);
  }
}

void cs_printf(const char* format, ...)
{
  va_list arguments;
  va_start(arguments, format);
  printFormat(&stdout, format, arguments);
  va_end(arguments);
}

void cs_fprintf(FILE* stream, const char* format, ...)
{
  va_list arguments;
  va_start(arguments, format);
  printFormat(&stream, format, arguments);
  va_end(arguments);
}
