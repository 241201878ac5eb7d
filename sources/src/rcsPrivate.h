/*
 * What modules share among themselves and nobody outside the library sees.
 */
#ifndef RCS_PRIVATE_H
#define RCS_PRIVATE_H

#include "rcs.h"

// Named in a namespace or mangled, so that nothing meets a client's names where the library is linked statically.
namespace kernel {
extern ConstraintInfo* CurrentCI;    ///< info of the client callback now running; set by the event watchers alone
extern signed char IsProfileEnabled; ///< the queue tests it at each handler call
extern bool ForeignCode; ///< code of the client's may run inside a flush, and has been able to since cs_init
} // namespace kernel
using namespace kernel;

/// Bit of a constraint's _state: the queue calls it at failures only.
constexpr uint32_t listensForFailure = 1;

/// Bit of an attachment's _events, beside those of the six events: its constraint has a state other than 0.
constexpr uint32_t statefulBit = 0x80;

/// Bit of the _events of a constraint, and of its attachments: they are woken in runs.
constexpr uint32_t runBit = 0x40;

/// Wakes the handlers until the queue is empty or one of them fails, which only _failures tells.
void _flushPropagationQueue(void);

/// Gives one use of the info up; the last one frees it.
void releaseInfo(ConstraintInfo* info);

/// As rcsCreateConstraint, for handlers of the library's own.
Constraint* newConstraintOn(ConstraintInfo* info, void* data, const Handler* handlers);

/// The same with `size` bytes for the private record in the block of the constraint itself.
Constraint* newConstraintWithData(ConstraintInfo* info, const Handler* handlers, size_t size);

/// Frees a constraint that has no attachments, with its data and its claim on the info.
void freeConstraint(Constraint* constraint);

/// Whose is the array that a constraint is posted on? The caller's is kept and read as it stands. That of a variadic
/// entry belongs to the trail and dies with its context, by accept too, while the constraint may live on: what the
/// constraint needs of it is copied.
enum class ArrayOf { caller, trail };

/// The sum of n variables: a new one with the constraint; a constant for n < 1, and the one operand itself for n = 1.
CSint* doSigma(ConstraintInfo* info, CSint** vars, int32_t n, ArrayOf owner);

/// Private record of the relations between two variables, and of their reified forms on the boolean.
struct RelationData
{
  CSint* _x;
  CSint* _y;
};

/// The info that stands for the unary constraint `name` called at `location` inside the client callback now running;
/// null when none is running or memory ran out.
ConstraintInfo* getConstraintInfoByEvent(const char* name, const char* location);

#endif
