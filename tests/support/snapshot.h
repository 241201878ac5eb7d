/*
 * Snapshots of all that is visible of variables: the fields, the values, the attachments by identity, the counters. Not
 * part of it are _nbConstraints, which restoring doesn't lower, and the address of the bit-set, which isn't undone.
 */
#ifndef KIT_SNAPSHOT_H
#define KIT_SNAPSHOT_H

#include "solver.h"

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
  struct Attachment
  {
    const Tconstraint* _attachment;
    const Constraint* _constraint;
    int _index;
    bool operator==(const Attachment&) const = default;
  };
  struct VarState
  {
    explicit VarState(const CSint* v);
    int _initMin, _initMax, _min, _max, _nbElements, _propMin, _propMax;
    std::string _values;
    std::string _name;
    std::vector<Attachment> _attachments;
  };
  struct Counters
  {
    int _err = cs_getErr();
    int _fails = cs_getNbFails();
    int _choicePoints = cs_getNbChoicePoints();
  };

  Vars _vars;
  std::vector<VarState> _states;
  Counters _counters;
};

} // namespace kit

#endif
