#include "spy.h"

#include <cstdlib>

namespace kit {

// The private record, owned and freed by the framework.
struct SpyData
{
  Spy* _spy; // null when the Spy has gone
};

template <EventKind event>
int Spy::handle(CSint* variable, Tconstraint* t, int32_t old, int32_t now)
{
  Spy* spy = static_cast<SpyData*>(t->_constraint->_data)->_spy;
  return spy ? spy->record(event, variable, t->_index, old, now) : 1;
}

const Handler Spy::_handlers[6] = {
    handle<NewMin>, handle<NewMax>, handle<NewMinEq>, handle<NewMaxEq>, handle<Eq>, handle<Neq>};

void Spy::destroy(void* data)
{
  if (Spy* spy = static_cast<SpyData*>(data)->_spy) {
    spy->_constraint = nullptr;
    spy->nbDestroyed++;
  }
}

Spy::~Spy()
{
  if (_constraint)
    static_cast<SpyData*>(_constraint->_data)->_spy = nullptr;
}

Spy& Spy::watch(CSint* v, const std::string& label, int index)
{
  if (!_constraint) {
    auto* data = static_cast<SpyData*>(malloc(sizeof(SpyData)));
    data->_spy = this;
    _constraint = rcsCreateConstraint(rcsCreateConstraintInfo("spy", _name.c_str()), data, _handlers);
    _constraint->_destructor = destroy;
    _constraint->_state = state;
  }
  _labels.push_back({v, label});
  EXPECT_TRUE(_rcsAddConstraint(_constraint, v, index));
  return *this;
}

int Spy::record(EventKind event, CSint* variable, int index, int old, int now)
{
  static const char* const names[6] = {"NewMin", "NewMax", "NewMinEq", "NewMaxEq", "Eq", "Neq"};
  std::string text = "?";
  for (const auto& [v, label] : _labels)
    if (v == variable)
      text = label;
  if (index >= 0)
    text += "[" + std::to_string(index) + "]";
  text += std::string(" ") + names[event] + " " + std::to_string(old);
  if (event == Eq)
    text += ".." + std::to_string(now) + "->" + std::to_string(variable->_min);
  else if (event != Neq || old != now)
    text += "->" + std::to_string(now);
  calls.push_back({variable, old, now});
  _log += (_log.empty() ? "" : ", ") + text;
  if (int(calls.size()) == failAt)
    return 0;
  // A copy: the callback may cause further calls, which move the vector.
  Call call = calls.back();
  return onCall ? onCall(call) : 1;
}

void Spy::clear()
{
  calls.clear();
  _log.clear();
}

std::string Spy::take(int result)
{
  std::string text = std::to_string(result) + " " + _log;
  clear();
  return text;
}

const char* LocatorSpy::locate(void* self)
{
  auto* spy = static_cast<LocatorSpy*>(self);
  spy->asked++;
  spy->made = CSINT(0);
  if (spy->onAsked)
    spy->onAsked();
  return "here";
}

} // namespace kit
