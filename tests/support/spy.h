/*
 * A constraint that means nothing and records each call of its handlers:
 *
 *     Spy spy;
 *     spy.watch(x, "x").watch(y, "y", 3);
 *     cs_GE(x, 5);
 *     EXPECT_EQ(spy.log(), "x NewMin 0->5");
 *
 * It may fail at a call or run code there. The constraint lives on the trail like any other, and may outlive the Spy:
 * it is silent from then on.
 */
#ifndef KIT_SPY_H
#define KIT_SPY_H

#include "solver.h"

#include <functional>

namespace kit {

class Spy
{
public:
  struct Call
  {
    CSint* variable;
    int old, now;
  };

  explicit Spy(std::string name = "") : _name(std::move(name)) {}
  ~Spy();
  Spy(const Spy&) = delete;
  Spy& operator=(const Spy&) = delete;

  /// Attaches to `v`. The first call makes the constraint; it may be made anew after it has died with its context.
  Spy& watch(CSint* v, const std::string& label, int index = -1);

  /// "x NewMin 0->5", "x Neq 3", "x Eq 0..9->4", with "x[2]" for an attachment with the index 2; ", " between calls.
  std::string log() const { return _log; }
  void clear();

  /// The result of a request and the log since the last clearing, "1 x NewMin 0->5"; clears.
  std::string take(int result);

  std::vector<Call> calls;
  int failAt = 0;                         ///< the number of the call, from 1, that fails; 0 for none
  int nbDestroyed = 0;                    ///< runs of the destructor
  std::function<int(const Call&)> onCall; ///< runs in the handler; 0 fails

  /// 1 before the first watch() makes a listener for failures, which takes no part in propagation.
  uint32_t state = 0;

  /// Null as long as no constraint of this spy lives.
  Constraint* constraint() const { return _constraint; }

private:
  template <EventKind event>
  static int handle(CSint* variable, Tconstraint* t, int32_t old, int32_t now);
  static void destroy(void* data);
  int record(EventKind event, CSint* variable, int index, int old, int now);
  static const Handler _handlers[6];

  std::string _name;
  std::string _log;
  std::vector<std::pair<CSint*, std::string>> _labels;
  Constraint* _constraint = nullptr;
};

/// A locator that notes what it is asked for: it counts, runs code, and makes a variable, whose address tells what was
/// made before and after.
struct LocatorSpy
{
  int asked = 0;
  CSint* made = nullptr;
  std::function<void()> onAsked;

  LocatorSpy() { cs_setProfilerLocator("", locate, this); }
  ~LocatorSpy() { cs_setProfilerLocator(nullptr, nullptr, nullptr); }

  static const char* locate(void* self);
};

} // namespace kit

#endif
