/*
 * Rows for reified constraints, and a look into a running flush and into a posting.
 */
#ifndef TESTS_REIFIED_H
#define TESTS_REIFIED_H

#include "bruteforce.h"
#include "snapshot.h"
#include "spy.h"

namespace kit {

/// Two variables, compared by `holds`.
inline Row reifiedPair(const char* name, CSint* (*post)(CSint*, CSint*), bool (*holds)(int, int), Rule rule)
{
  return {.name = name,
      .vars = {{.count = {2, 2}, .size = 9}},
      .post = [=](Trial& t) { return post(t.x[0], t.x[1]); },
      .holds = [=](auto& v, auto&) { return v[2] == holds(v[0], v[1]); },
      .results = {{0, 1}},
      .strength = Strength::domain,
      .exact = rule};
}

/// A variable and a constant.
inline Row reifiedValue(const char* name, CSint* (*post)(CSint*, int), bool (*holds)(int, int), Rule rule)
{
  return {.name = name,
      .vars = {{.size = 9}},
      .prepare = [](Trial& t) { t.p = t.pick(1, -7, 8); },
      .post = [=](Trial& t) { return post(t.x[0], t.p[0]); },
      .holds = [=](auto& v, auto& p) { return v[1] == holds(v[0], p[0]); },
      .results = {{0, 1}},
      .strength = Strength::domain,
      .exact = rule};
}

class ReifiedTest : public SolverTest
{
protected:
  /// Makes the changes inside a flush, where they wait in the queue behind one another. The answer is that of the
  /// flush.
  static int inOneFlush(std::function<int()> changes)
  {
    CSint* trigger = makeVar("{0, 1}");
    Spy spy;
    spy.watch(trigger, "trigger");
    spy.onCall = [&](const Spy::Call&) { return changes(); };
    return cs_EQ(trigger, 1);
  }

  static std::string texts(const Vars& vars)
  {
    std::string text;
    for (const CSint* v : vars)
      text += (text.empty() ? "" : " ") + textOf(v);
    return text;
  }

  static const ConstraintInfo* infoOf(const CSint* v) { return v->_constraints->_constraint->_info; }
};

/// A locator that notes what it was asked for: it counts, and makes a variable to tell what was made before and after.
struct Witness
{
  int asked = 0;
  CSint* made = nullptr;

  Witness() { cs_setProfilerLocator("", ask, this); }
  ~Witness() { cs_setProfilerLocator(nullptr, nullptr, nullptr); }

  static const char* ask(void* extra)
  {
    auto* witness = static_cast<Witness*>(extra);
    witness->asked++;
    witness->made = CSINT(0);
    return "here";
  }
};

} // namespace kit

#endif
