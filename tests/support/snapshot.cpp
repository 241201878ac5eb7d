#include "snapshot.h"

#include <sstream>

namespace kit {

Snapshot::VarState Snapshot::stateOf(const CSint* v)
{
  VarState state = {.numbers = {}, .values = textOf(v), .name = v->_name ? v->_name : "(none)", .attachments = {}};
  for (const Tconstraint* t = v->_constraints; t; t = t->_next)
    state.attachments.push_back({t, t->_constraint, t->_index});
  state.numbers = {v->_initMin, v->_initMax, v->_min, v->_max, v->_nbElements, v->_propMin, v->_propMax,
      int(state.attachments.size())};
  return state;
}

Snapshot::Snapshot(const Vars& vars) : _vars(vars)
{
  for (const CSint* v : vars)
    _states.push_back(stateOf(v));
}

template <typename Value>
static void compare(std::ostream& out, const std::string& what, const Value& then, const Value& now)
{
  if (then != now)
    out << what << " was " << then << ", is " << now << "\n";
}

std::string Snapshot::changesOfVars() const
{
  static const char* const names[] = {
      "_initMin", "_initMax", "_min", "_max", "_nbElements", "_propMin", "_propMax", "the number of attachments"};
  std::ostringstream out;
  for (size_t i = 0; i < _vars.size(); i++) {
    const VarState &then = _states[i], now = stateOf(_vars[i]);
    const std::string variable = "variable " + std::to_string(i) + ": ";
    for (size_t k = 0; k < now.numbers.size(); k++)
      compare(out, variable + names[k], then.numbers[k], now.numbers[k]);
    compare(out, variable + "the values", then.values, now.values);
    compare(out, variable + "_name", then.name, now.name);
    if (then.attachments != now.attachments)
      out << variable << "attachments are other ones\n";
  }
  return out.str();
}

std::string Snapshot::changes() const
{
  static const char* const names[] = {"the error code", "the number of fails", "the number of choice points"};
  std::ostringstream out;
  for (size_t k = 0; k < _counters.size(); k++)
    compare(out, names[k], _counters[k], counters()[k]);
  return changesOfVars() + out.str();
}

} // namespace kit
