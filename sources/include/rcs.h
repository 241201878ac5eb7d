/*
 * rcs.h: the records and the rcs interface of libku, for the library's own modules, for its tests and for those who
 * write a constraint of their own.
 *
 * A constraint is a private record and a table of six handlers. It is tied to each of its variables by an attachment
 * (Tconstraint); every change of a variable goes through one of the narrowing routines, which writes the trail, changes
 * the record and tells the propagation queue; the queue calls the handlers of all that is attached. Restoring a context
 * undoes the trail. Everything here is 32-bit signed where it is a value or a bound, and an int of 0 means failure.
 *
 * The clients of the solver need ku.h alone.
 */
#ifndef RCS_H
#define RCS_H

#include "ku.h"

// The assertions guard the solver's invariants in every build, not only where a client debugs.
#undef NDEBUG
#include <cassert>
#include <climits>
#include <cstddef>
#include <cstdint>

extern "C" {

// ---------------------------------------------------------------------------------------------------------------------
// Events, handlers, constraints
// ---------------------------------------------------------------------------------------------------------------------

/// What happened to a variable. The numbers are the slots of every handler table and the kinds of trail records.
/// The last column is what a handler is given as `old` and `now`.
enum EventKind : uint32_t {
  NewMin = 0,   ///< the lower bound rose, the variable stays free         old and new lower bound
  NewMax = 1,   ///< the upper bound fell, the variable stays free         old and new upper bound
  NewMinEq = 2, ///< the lower bound rose and fixed the variable           old and new lower bound
  NewMaxEq = 3, ///< the upper bound fell and fixed the variable           old and new upper bound
  Eq = 4,       ///< fixed to a value strictly between its bounds          old lower and old upper bound
  Neq = 5,      ///< a value strictly between the bounds was removed       the removed value, twice
};

struct Tconstraint;

/// Called for an attachment when its variable changed. Only the low 8 bits of the result count; 0 means failure.
/// The bounds `old` and `now` tell the step from what the handlers were last told, which may merge several changes.
typedef int (*Handler)(CSint* variable, Tconstraint* attachment, int32_t old, int32_t now);

/// Frees what a constraint's private record owns in its turn; the record itself is freed by the framework.
typedef void (*Destructor)(void* data);

/// Who posted a constraint: the literal name of the entry point and, behind the header, a copy of the locator's text.
struct ConstraintInfo
{
  uint32_t _refCount;    ///< constraint records, parents of callbacks and profilers' rows that hold it
  const char* _function; ///< literal, never copied
  char _locator[];       ///< empty where the locator gave nothing
};

/// What came of waking several attachments in one call: the one behind them, or null at the end of the list; where one
/// of them failed, that one.
struct TconstraintRun
{
  bool _holds;
  Tconstraint* _end;
};

/// Does for an attachment, and those of its kind that follow it, what their handlers would do.
typedef TconstraintRun (*RunHandler)(CSint* variable, Tconstraint* attachment, size_t event, int32_t now);

struct Constraint
{
  void* _data;              ///< private record, owned
  const Handler* _handlers; ///< six handlers, constant, shared by all constraints of a kind
  int32_t _refCount;        ///< attachments now in place
  Destructor _destructor;   ///< or null
  uint32_t _state;          ///< 0: ordinary; bit 0: called on failures only (cs_eventConflict)
  uint8_t _events;          ///< bit of each event whose handler isn't Ptrue
  bool _holdsData;          ///< _data lies behind this record, in one block with it
  ConstraintInfo* _info;    ///< counted
  RunHandler _run;          ///< for handlers that do less than a call of each would take; or null
};

/// One attachment of a constraint to a variable.
struct Tconstraint
{
  Constraint* _constraint;
  const Handler* _handlers; ///< those of the constraint, so that a walk doesn't have to fetch it
  void* _data;              ///< what they work on: its record, or what was put here in place of that
  Tconstraint* _next;       ///< next older attachment of the same variable
  Tconstraint* _nextOther;  ///< next older one whose _events are others: a walk goes there at an event not of this one
  int32_t _index;           ///< position in the constraint's array, or -1 where it knows its variables by name
  uint8_t _events;          ///< those of the constraint, or all bits
  uint8_t _eventsOn;        ///< those of this attachment and all older ones: a walk ends here at other events
  uint8_t _block;           ///< attachments in the memory block in which this one lies
  uint8_t _room;            ///< of these, the places behind this one
};

/// The handler without interest: returns 1.
CS_API int Ptrue(CSint* variable, Tconstraint* attachment, int32_t old, int32_t now);

/// A new info without users and with a copy of `locator` (null counts as empty), or null when out of memory.
CS_API ConstraintInfo* rcsCreateConstraintInfo(const char* function, const char* locator);

/// A new constraint without attachments, which takes `data` and holds `info`; or null when out of memory, with `data`
/// left to the caller. Set `_destructor` or `_state` before attaching it.
CS_API Constraint* rcsCreateConstraint(ConstraintInfo* info, void* data, const Handler* handlers);

/// Attaches the constraint in front of the variable's list and records that on the trail. On failure (0, out of memory)
/// a constraint that is left without any attachment has been freed, with its data.
CS_API int _rcsAddConstraint(Constraint* constraint, CSint* variable, int32_t index);

/// Takes the newest attachment away; the last one of a constraint runs its destructor and frees it.
CS_API void _rcsRemoveConstraint(CSint* variable);

// ---------------------------------------------------------------------------------------------------------------------
// Variables and their narrowing
// ---------------------------------------------------------------------------------------------------------------------

/// Initialises a record that the caller owns, for reversible state inside a constraint's data.
CS_API void _rcsIntInit(CSint* variable, int32_t min, int32_t max);

/// Frees the bit-set and the name, not the record and not the attachments.
CS_API void _rcsIntDestroy(CSint* variable);

/// The narrowing routines: 1 when the domain still holds a value that fits, changed or not; 0 on failure, which may be
/// that of a constraint woken by this very change. They may run the queue: read every bound again afterwards.
CS_API int rcsSetMin(CSint* variable, int32_t value);      ///< to `value` or the next value in the domain
CS_API int rcsSetMax(CSint* variable, int32_t value);      ///< to `value` or the previous value in the domain
CS_API int rcsSetValue(CSint* variable, int32_t value);    ///< fails when `value` isn't in the domain
CS_API int rcsRemoveValue(CSint* variable, int32_t value); ///< fails only for the last value

/// Inner steps of rcsSetMin and rcsSetMax: change the record and send the event; the trail is already written.
CS_API int _rcsSetMin(CSint* variable, int32_t value);
CS_API int _rcsSetMax(CSint* variable, int32_t value);

/// Removes a value of a private variable that isn't shared yet: no trail, no event, no test for the last value.
CS_API int _rcsRemoveValue(CSint* variable, int32_t value);

/// Removes from each variable what is off in the other's bit-set, between the bounds of `a`.
CS_API int rcsAnd(CSint* a, CSint* b);

// ---------------------------------------------------------------------------------------------------------------------
// Bit-sets
// ---------------------------------------------------------------------------------------------------------------------

/// A set over the fixed range _low.._high. Value x has the bit (x - _low) & 7 of the byte (x - _low) >> 3. The array is
/// padded with zero bytes to whole 64-bit words, so that counting and walking may go by the word. The set of a variable
/// covers the bounds that the variable was created with: between its bounds a bit is read with no look at the range.
struct Domain
{
  int32_t _low;
  int32_t _high;
  int32_t _nbBytes; ///< without the padding
  uint8_t* _bits;
};

CS_API Domain* rcsCreateDomain(int32_t low, int32_t high); ///< every bit on, spare bits of the last byte too; or null
CS_API void rcsClearDomain(Domain* set);                   ///< every bit off
CS_API void rcsDeleteDomain(Domain* set);
CS_API void rcsDomainOn(Domain* set, int32_t value);                       ///< a value outside _low.._high is ignored
CS_API void rcsDomainOff(Domain* set, int32_t value);                      ///< a value outside _low.._high is ignored
CS_API void rcsDomainNotInInterval(Domain* set, int32_t from, int32_t to); ///< turns from..to off

/// A null set holds every integer in the following four; a value outside _low.._high is off.
CS_API int rcsDomainIsOn(const Domain* set, int32_t value);
CS_API uint32_t rcsDomainCountOn(const Domain* set, int32_t from, int32_t to);
CS_API int32_t rcsDomainNextOn(const Domain* set, int32_t value); ///< smallest value above that is on, or value + 1
CS_API int32_t rcsDomainPrevOn(const Domain* set, int32_t value); ///< largest value below that is on, or value - 1

// ---------------------------------------------------------------------------------------------------------------------
// Printing
// ---------------------------------------------------------------------------------------------------------------------

CS_API int rcsPrintDomain(const CSint* variable);
CS_API int rcsFprintDomain(FILE* stream, const CSint* variable);
CS_API void rcsFprintArray(FILE* stream, CSint* const* variables, int32_t count);

// ---------------------------------------------------------------------------------------------------------------------
// Record heaps, trail, contexts, queue, errors
// ---------------------------------------------------------------------------------------------------------------------

/// One block of a record heap. Blocks are chained and never moved, so records keep their addresses.
struct HeapBlock
{
  void* _records;
  int32_t _capacity;
  int32_t _base; ///< index in the whole heap of the block's first record
  HeapBlock* _nextBlock;
  HeapBlock* _prevBlock;
};

/// Kinds of trail records beyond those of EventKind.
enum TrailKind : uint32_t {
  TrailTconstraint = 6,  ///< an attachment, taken away on restore
  TrailBacktrack = 7,    ///< a client's function, called on restore
  TrailCreateVector = 9, ///< an array owned by the trail, freed when the record is popped
  TrailBacktrackExt = 10 ///< as 7, with a 64-bit value
};

union TrailSlot
{
  int32_t _int;
  int64_t _wide;
  void* _vector;
  CSbacktrack _backtrack;
  CSbacktrackExt _backtrackExt;
};

struct TrailEvent
{
  void* _subject; ///< the variable, or the client's data
  uint32_t _kind;
  TrailSlot _value; ///< the saved bound, the removed value, the client's value, or the vector
  TrailSlot _extra; ///< the saved _nbElements, or the client's function
};

struct ContextRecord
{
  int32_t _eventIndex;       ///< height of the trail at the save
  uint32_t _savedDepthLimit; ///< the queue's limit before the save
  uint64_t _birth;           ///< what is kept from before it no longer holds; from a count of contexts
};

struct PropagationRecord
{
  CSint* _variable;
  uint32_t _event;
  int32_t _value;
  Tconstraint* _attachments; ///< the variable's list when the record was made: later attachments aren't woken by it
  PropagationRecord* _nextRecord;
};

CS_API CSint* _rcsGetIntHeap(void);
CS_API TrailEvent* _rcsGetEventHeap(void);
CS_API ContextRecord* _rcsGetContextHeap(void);
CS_API PropagationRecord* _rcsGetPropagationHeap(void);

CS_API TrailEvent* _rcsPopEvent(void); ///< the record given back, still readable; a vector that it owned is freed
CS_API int32_t _rcsPopContext(void);   ///< the event index of the context given back

CS_API HeapBlock* _rcsCreateIntPool(int32_t base, HeapBlock* previous, int32_t capacity);
CS_API HeapBlock* _rcsCreateEventPool(int32_t base, HeapBlock* previous, int32_t capacity);
CS_API HeapBlock* _rcsCreateContextPool(int32_t base, HeapBlock* previous, int32_t capacity);
CS_API HeapBlock* _rcsCreatePropagationPool(int32_t base, HeapBlock* previous, int32_t capacity);
CS_API void _rcsDeleteIntPool(HeapBlock* block);
CS_API void _rcsDeleteEventPool(HeapBlock* block);
CS_API void _rcsDeleteContextPool(HeapBlock* block);
CS_API void _rcsDeletePropagationPool(HeapBlock* block);

CS_API int32_t _rcsIntHeapSize(void); ///< capacity so far, in records: a high-water mark
CS_API int32_t _rcsEventHeapSize(void);
CS_API int32_t _rcsContextHeapSize(void);

CS_API int rcsSaveCSint(CSint* variable, uint32_t kind, int32_t value, int32_t nbElements);
CS_API int _rcsSaveTconstraint(CSint* variable);
CS_API int _rcsAddCreateVector(void* vector); ///< hands a malloc'ed array to the trail
CS_API void _rcsRestore(TrailEvent* record);  ///< undoes one popped record
CS_API void _rcsFinalizeEvent(TrailEvent* e);

CS_API int rcsDoPropagation(CSint* variable, uint32_t event, int32_t value);
extern CS_API int32_t __rcsPropagateCount; ///< free for whoever counts; the library neither reads nor writes it

CS_API void rcsHandleGetValueError(CSint* variable);
CS_API void rcsHandleOverflowError(void);
CS_API void rcsHandleNoMemoryError(void);

// ---------------------------------------------------------------------------------------------------------------------
// Search state
// ---------------------------------------------------------------------------------------------------------------------

extern CS_API volatile unsigned char rcsCancelSearch; ///< may be set by a signal handler
extern CS_API int32_t rcsNbChoicePoints;
extern CS_API int32_t rcsNbFails;

struct ValueSelector
{
  ValueSelectorInit _init; ///< or null: nothing to prepare
  ValueSelectorNext _next;
  ValueSelectorEnd _end; ///< or null: nothing to clean up
};

/// The selectors that cs_getValueSelector gives.
extern CS_API ValueSelector rcsVSMinToMax;
extern CS_API ValueSelector rcsVSMaxToMin;
extern CS_API ValueSelector rcsVSLowerAndUpper;
extern CS_API ValueSelector rcsVSUpperAndLower;
extern CS_API ValueSelector rcsVSMedianAndRest;

CS_API int rcsVSMinToMaxInit(int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSMaxToMinInit(int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSLowerAndUpperInit(int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSUpperAndLowerInit(int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSMedianAndRestInit(int position, CSint** variables, int n, intptr_t* state);

CS_API int rcsVSMinToMaxNext(ValueSelection* selection, int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSMaxToMinNext(ValueSelection* selection, int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSLowerAndUpperNext(ValueSelection* selection, int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSUpperAndLowerNext(ValueSelection* selection, int position, CSint** variables, int n, intptr_t* state);
CS_API int rcsVSMedianAndRestNext(ValueSelection* selection, int position, CSint** variables, int n, intptr_t* state);

/// A client's callbacks on the progress of a search, each of which may be null.
struct SearchNotify
{
  CSsearchStart _searchStart;
  CSsearchEnd _searchEnd;
  CSbeforeValueSelection _beforeValueSelection;
  CSafterValueSelection _afterValueSelection;
  CSsearchLevel _enter;
  CSsearchLevel _leave;
  CSsearchFound _found;
  void* _data;
};

// ---------------------------------------------------------------------------------------------------------------------
// No-goods
// ---------------------------------------------------------------------------------------------------------------------

/// The decision on the variable at a position of the set's array. Of the elements of a no-good not all may hold.
struct NoGoodElement : ValueSelection
{
  int32_t index;
};
static_assert(sizeof(NoGoodElement) == 12);

struct NoGood;

/// Node in the list of those that watch a variable.
struct NoGoodWatch
{
  NoGood* _owner;
  NoGoodWatch* _prev;
  NoGoodWatch* _next;
};

struct NoGood
{
  NoGoodSet* _set;
  NoGood* _prev; ///< toward the front of the set's list
  NoGood* _next;
  unsigned char _analyzed;
  int32_t _p1;     ///< position of the first watched element
  int32_t _p2;     ///< of the second one: another, where there are two
  NoGoodWatch _w1; ///< in the list of the variable of the first watched element
  NoGoodWatch _w2;
  int32_t _nbElements; ///< 1 at least
  NoGoodElement _elements[];
};

struct NoGoodSet
{
  CSint** _vars; ///< the caller's
  int32_t _nbVars;
  NoGoodFilter _filter; ///< or null
  NoGood* _first;       ///< newest, or the one that fired last
  NoGood* _last;        ///< the next to go
  int32_t _nbNoGoods;
  int32_t _maxNbNoGoods;
  int32_t _walking; ///< walks over the list in progress: it isn't reordered meanwhile
  NoGoodDestructor _destructor;
  void* _data;
  NoGoodWatch* _watches[]; ///< for each position of the array the head of its list
};

/// Adds a copy. False only when out of memory, and not where a filter or a shorter no-good made it needless.
CS_API int rcsAddNewNoGood(NoGoodSet* ngs, const NoGoodElement* elements, int32_t count);

/// Adds a record with its set, length and elements filled in, and takes it over.
CS_API void rcsAddNoGood(NoGoodSet* ngs, NoGood* noGood);

/// Shortens the no-good where replaying it on the present domains shows elements as needless.
CS_API void rcsAnalyzeNoGood(CSint** variables, NoGood* noGood);

/// Analyses the newest no-goods, up to the first that can't be shortened.
CS_API void rcsReduceNoGood(NoGoodSet* ngs);

extern CS_API NoGoodElement* rcsTmpOp; ///< scratch of the search at a limit of failures; null outside a search
extern CS_API int32_t rcsTmpOpSize;    ///< elements that it has room for

// ---------------------------------------------------------------------------------------------------------------------
// Attribution and profiling
// ---------------------------------------------------------------------------------------------------------------------

CS_API CSlocator rcsGetProfilerLocatorFunction(void);
CS_API void* rcsGetProfilerLocatorFunctionExtra(void);
CS_API ConstraintInfo* rcsGetEventCI(void); ///< the info of the client callback now running, or null
CS_API int rcsIsProfilerEnabled(void);
CS_API void rcsSwitchProfiling(int flag);
CS_API void rcsInitEventUnaryCITable(void);
CS_API void rcsCleanupEventUnaryCITable(void);
CS_API void rcsCallProfiler(int success, CSint* variable, uint32_t event, ConstraintInfo* info);
CS_API void rcsCleanProfiling(void);

// ---------------------------------------------------------------------------------------------------------------------
// Hash table: keys by pointer, values copied by size
// ---------------------------------------------------------------------------------------------------------------------

struct HashEntry
{
  void* _key; ///< the caller's, never freed here
  HashEntry* _nextEntry;
  alignas(alignof(void*)) unsigned char _value[]; ///< _valueSize bytes
};

struct HashTable
{
  int (*_hash)(const void* key);
  int (*_compare)(const void* a, const void* b); ///< 0 means equal
  uint64_t _valueSize;
  uint64_t _count;
  uint64_t _nbBuckets;
  HashEntry** _buckets;
};

/// Not valid across a change of the table.
struct HashTableIterator
{
  HashTable* _table;
  uint64_t _bucket;
  HashEntry* _entry;
};

CS_API HashTable* rcsCreateHashTable(
    int (*hash)(const void*), int (*compare)(const void*, const void*), uint64_t valueSize);
CS_API void rcsDeleteHashTable(HashTable* table);
CS_API void rcsHashTableSet(HashTable* table, void* key, const void* value); ///< in front of an older equal key
CS_API void rcsHashTableRemove(HashTable* table, const void* key);
CS_API int rcsHashTableGet(HashTable* table, const void* key, void* value); ///< `value` may be null
CS_API void* rcsHashTableGetRef(HashTable* table, const void* key);
CS_API HashTableIterator* rcsHashTableGetIterator(HashTable* table); ///< stands before the first entry
CS_API void rcsDeleteHashTableIterator(HashTableIterator* iterator);
CS_API int rcsHashTableIteratorNext(HashTableIterator* iterator);
CS_API void* rcsHashTableIteratorGetKey(HashTableIterator* iterator);

} // extern "C"

#endif // RCS_H
