/*
 * What modules share among themselves and nobody outside the library sees.
 */
#ifndef RCS_PRIVATE_H
#define RCS_PRIVATE_H

#include "rcs.h"

extern "C" {

// rcsContext
void _flushPropagationQueue(
    void); ///< wakes the handlers until the queue is empty or one fails, told by _failures alone

// rcsConstraint
extern ConstraintInfo* CurrentCI; ///< info of the client callback now running; set by the event watchers alone

/// Gives one use of the info up; the last one frees it.
void releaseInfo(ConstraintInfo* info);

// rcsProfiler
extern signed char IsProfileEnabled; ///< the queue tests it at each handler call

/// The info that stands for the unary constraint `name` called at `location` inside the client callback now running;
/// null when none is running or memory ran out.
ConstraintInfo* getConstraintInfoByEvent(const char* name, const char* location);

} // extern "C"

#endif
