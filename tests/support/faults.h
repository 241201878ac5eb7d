/*
 * The allocation-fault loop. A row names an operation that allocates; in run after run its first, second, ...
 * allocation fails, until it gets through without. The no-memory handler returns. Demanded is each time:
 *   - the operation reports failure, and the error code is CS_ERR_NO_MEMORY;
 *   - where it may be undone: the context that was saved before it brings everything back, and the operation then
 *     succeeds;
 *   - cs_end leaves no block allocated.
 * Every row runs with the default locator, with a cheap one, and with that in many places: where the last block of
 * variables is full, and where the last block of the trail has room for 0, 1, 2, ... records.
 *
 *     auto post = [](Vars& x) { return cs_Lt(x[0], x[1]); };
 *     EXPECT_EQ(faultOf({.name = "Lt", .domains = {"1..5", "2..6"}, .run = post}), "");
 */
#ifndef KIT_FAULTS_H
#define KIT_FAULTS_H

#include "solver.h"

#include <functional>

namespace kit {

struct FaultRow
{
  const char* name = "";
  std::vector<std::string> domains = {};        ///< the variables, as text for makeVar
  std::function<void(Vars&)> prepare = nullptr; ///< what else comes before; its allocations are granted
  std::function<bool(Vars&)> run = nullptr;     ///< false (0, null) when it didn't get its memory
  bool survives = false;                        ///< succeeds without the memory; the error code tells all the same
  bool undo = true;                             ///< the context may be restored after the failure
  bool everywhere = true;                       ///< runs in the other places, too
};

/// The text of the first fault, or empty.
std::string faultOf(const FaultRow& row);

} // namespace kit

#endif
