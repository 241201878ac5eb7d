/*
 * Listeners, for measuring what waking them costs.
 */
#ifndef KU_BENCHMARKS_IDLE_H
#define KU_BENCHMARKS_IDLE_H

#include <rcs.h>

inline int doNothing(CSint*, Tconstraint*, int32_t, int32_t) { return 1; }

/// Attaches so many constraints to the variable: listeners that are woken at each event and do nothing, or such as are
/// interested in none.
inline void attachIdle(CSint* variable, int count, bool interested = true)
{
  static const Handler idle[6] = {doNothing, doNothing, doNothing, doNothing, doNothing, doNothing};
  static const Handler none[6] = {Ptrue, Ptrue, Ptrue, Ptrue, Ptrue, Ptrue};
  for (int i = 0; i < count; i++) {
    ConstraintInfo* info = rcsCreateConstraintInfo("idle", "");
    _rcsAddConstraint(rcsCreateConstraint(info, nullptr, interested ? idle : none), variable, -1);
  }
}

inline const char* cheapLocator(void*) { return ""; }

#endif
