#include "snapshot.h"

#include <sstream>

namespace kit {

Snapshot::VarState::VarState(const CSint* v)
  : _initMin(v->_initMin), _initMax(v->_initMax), _min(v->_min), _max(v->_max), _nbElements(v->_nbElements),
    _propMin(v->_propMin), _propMax(v->_propMax), _values(textOf(v)), _name(v->_name ? v->_name : "(none)")
{
  for (const Tconstraint* t = v->_constraints; t; t = t->_next)
    _attachments.push_back({t, t->_constraint, t->_index});
}

Snapshot::Snapshot(const Vars& vars) : _vars(vars)
{
  for (const CSint* v : vars)
    _states.emplace_back(v);
}

std::string Snapshot::changesOfVars() const
{
  std::ostringstream out;
  for (size_t i = 0; i < _vars.size(); i++) {
    VarState now(_vars[i]);
    const VarState& then = _states[i];
    auto compare = [&](const char* field, const auto& a, const auto& b) {
      if (a != b)
        out << "variable " << i << ": " << field << " was " << a << ", is " << b << "\n";
    };
    compare("_initMin", then._initMin, now._initMin);
    compare("_initMax", then._initMax, now._initMax);
    compare("_min", then._min, now._min);
    compare("_max", then._max, now._max);
    compare("the values", then._values, now._values);
    compare("_nbElements", then._nbElements, now._nbElements);
    compare("_propMin", then._propMin, now._propMin);
    compare("_propMax", then._propMax, now._propMax);
    compare("_name", then._name, now._name);
    compare("the number of attachments", then._attachments.size(), now._attachments.size());
    for (size_t k = 0; k < then._attachments.size() && k < now._attachments.size(); k++)
      if (then._attachments[k] != now._attachments[k])
        out << "variable " << i << ": attachment " << k << " (newest is 0) is another one\n";
  }
  return out.str();
}

std::string Snapshot::changes() const
{
  std::ostringstream out;
  Counters now;
  auto compare = [&](const char* what, int then, int is) {
    if (then != is)
      out << what << " was " << then << ", is " << is << "\n";
  };
  compare("the error code", _counters._err, now._err);
  compare("the number of fails", _counters._fails, now._fails);
  compare("the number of choice points", _counters._choicePoints, now._choicePoints);
  return changesOfVars() + out.str();
}

} // namespace kit
