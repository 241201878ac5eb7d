/*
 * Snapshots of all that is visible of variables: the fields, the values, the attachments by identity, the counters. Not
 * part of it are _nbConstraints, which restoring doesn't lower, and the address of the bit-set, which isn't undone.
 */
#ifndef KIT_SNAPSHOT_H
#define KIT_SNAPSHOT_H

#include "solver.h"

#include <array>
#include <tuple>

namespace kit {

class Snapshot
{
public:
  explicit Snapshot(const Vars& vars);

  /// What differs from the snapshot now, one line each; empty when everything is as it was.
  std::string changes() const;

  /// The same without the counters of search and the error code.
  std::string changesOfVars() const;

private:
  struct VarState
  {
    std::array<int, 8> numbers; ///< as named in snapshot.cpp
    std::string values, name;
    std::vector<std::tuple<const Tconstraint*, const Constraint*, int>> attachments;
  };
  static VarState stateOf(const CSint* v);
  static std::array<int, 3> counters() { return {cs_getErr(), cs_getNbFails(), cs_getNbChoicePoints()}; }

  Vars _vars;
  std::vector<VarState> _states;
  std::array<int, 3> _counters = counters();
};

} // namespace kit

#endif
