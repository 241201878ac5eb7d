/*
 * The propagation queue: order, merging, nesting, and the ways of failure.
 */
#include "spy.h"

#include <algorithm>

using namespace kit;

class Queue : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    for (CSint** v : {&x, &y, &z})
      *v = cs_createCSint(0, 20);
    chain.watch(x, "x");
    other.watch(y, "y").watch(z, "z");
    other.onCall = [this](const Spy::Call& call) { return call.variable != y || !yFails; };
  }

  /// Makes the changes in a handler of x, where they wait in the queue behind one another.
  int inFlush(std::function<int()> changes)
  {
    chain.onCall = [=](const Spy::Call&) { return changes(); };
    return cs_GE(x, x->_min + 1);
  }

  CSint *x, *y, *z;
  Spy chain, other;
  bool yFails = false; ///< other's handler at y
};

TEST_F(Queue, StepsThatMeetAreToldOnce)
{
  EXPECT_TRUE(inFlush([&]() {
    return cs_GE(y, 5) && cs_LE(y, 19) && cs_GE(y, 7) && cs_NEQ(y, 9) && cs_NEQ(y, 12) && cs_GE(y, 10) && cs_LE(y, 15);
  }));
  EXPECT_EQ(other.log(), "y Neq 12, y NewMin 0->10, y NewMax 20->15");
  EXPECT_TRUE(y->_propMin == 10 && y->_propMax == 15);
  // A rise that was overtaken by the fixing is dropped, but a fixing is never stale: it tells the whole step.
  other.clear();
  EXPECT_TRUE(inFlush([&]() { return cs_GE(y, 12) && cs_EQ(y, 15) && cs_GE(z, 3) && cs_LE(z, 9) && cs_EQ(z, 6); }));
  EXPECT_EQ(other.log(), "y NewMinEq 10->15, z Eq 0..20->6");
  EXPECT_TRUE(z->_propMin == 6 && z->_propMax == 6);
}

TEST_F(Queue, OnlyTheLowByteOfAnAnswerCounts)
{
  EXPECT_FALSE(inFlush([]() { return 256; }));
  EXPECT_TRUE(inFlush([]() { return 257; }));
}

TEST_F(Queue, AFailureDropsAllThatIsPending)
{
  Spy early;
  early.watch(x, "early"); // heard before the chain
  cs_saveContext();
  auto failing = [&]() { return cs_GE(y, 5) && false; };
  EXPECT_FALSE(inFlush(failing));
  EXPECT_EQ(early.log() + other.log(), "early NewMin 0->1");
  EXPECT_TRUE(y->_min == 5 && y->_propMin == 0);
  // Without a restore the next step on the variable tells it all.
  EXPECT_EQ(other.take(cs_GE(y, 6)), "1 y NewMin 0->6");
  // A restore brings back what was told.
  cs_restoreAndSaveContext();
  EXPECT_FALSE(inFlush(failing));
  cs_restoreContext();
  EXPECT_EQ(other.take(cs_GE(y, 2)), "1 y NewMin 0->2");
}

TEST_F(Queue, AttachmentsAreThoseOfTheMomentOfTheChange)
{
  Spy late;
  EXPECT_TRUE(inFlush([&]() { return cs_GE(y, 1), late.watch(y, "late"), cs_LE(y, 9); }));
  EXPECT_EQ(other.log() + "; " + late.log(), "y NewMin 0->1, y NewMax 20->9; late NewMax 20->9");
}

// A walk leaps over those that don't want the event.
TEST_F(Queue, ARemovalReachesWhoeverWaitsBehindThoseThatDont)
{
  CSint *idle = cs_createCSint(0, 20), *wide = cs_createCSint(0, 40);
  EXPECT_TRUE(cs_Neq(y, idle) && cs_Neq(y, z) && cs_Lt(y, wide) && cs_Neq(y, x));
  EXPECT_TRUE(cs_NEQ(y, 9) && inFlush([&]() { return cs_NEQ(idle, 8) && cs_NEQ(y, 8); }));
  EXPECT_EQ(other.log(), "y Neq 9, y Neq 8");
  Spy listener;
  listener.state = 1;
  listener.watch(idle, "idle");
  EXPECT_TRUE(cs_Neq(idle, wide));
  yFails = true;
  EXPECT_FALSE(inFlush([&]() { return cs_NEQ(idle, 7) && cs_NEQ(y, 7); }));
  EXPECT_EQ(listener.calls.size(), 1u);
}

TEST_F(Queue, ManyPendingRecordsComeFromFurtherBlocks)
{
  Vars many;
  for (int i = 0; i < 3000; i++)
    other.watch(many.emplace_back(cs_createCSint(0, 1)), "v");
  EXPECT_TRUE(inFlush([&]() { return std::ranges::all_of(many, [](CSint* v) { return cs_GE(v, 1); }); }));
  EXPECT_EQ(other.calls.size(), 3000u);
}

TEST_F(Queue, SavingAContextInAHandlerRunsWhatIsPendingFirst)
{
  other.onCall = [&](const Spy::Call& call) { return call.variable != y || cs_GE(z, 4); };
  EXPECT_TRUE(inFlush([&]() {
    cs_GE(y, 5);
    EXPECT_EQ(other.log(), "");
    int label = cs_saveContext();
    EXPECT_EQ(other.log(), "y NewMin 0->5, z NewMin 0->4");
    // From here on a change runs to its end, as at the top level.
    EXPECT_TRUE(cs_GE(y, 8));
    EXPECT_EQ(other.calls.size(), 3u);
    cs_restoreContextUntil(label);
    // The pending changes belong to the enclosing context.
    EXPECT_EQ(y->_min, 5);
    EXPECT_EQ(z->_min, 4);
    // And the older limit is back: this one waits again.
    cs_LE(y, 15);
    EXPECT_EQ(other.calls.size(), 3u);
    return 1;
  }));
  EXPECT_EQ(other.log(), "y NewMin 0->5, z NewMin 0->4, y NewMin 5->8, y NewMax 20->15");
}

TEST_F(Queue, ANestedFailureIsTheCallbacksToPassOn)
{
  yFails = true;
  for (int answer : {1, 0}) {
    auto nested = [&]() {
      int label = cs_saveContext();
      EXPECT_FALSE(cs_GE(y, 1));
      cs_restoreContextUntil(label);
      return answer;
    };
    EXPECT_EQ(inFlush(nested), answer);
  }
  EXPECT_EQ(y->_min, 0);
}

TEST_F(Queue, AFailureWhileSavingReachesTheOuterChangeAndWipesWhatItHadPending)
{
  yFails = true;
  EXPECT_FALSE(inFlush([&]() {
    cs_GE(y, 1);
    cs_GE(z, 1);
    int label = cs_saveContext(); // flushes: the rise of y fails, and that of z is dropped
    EXPECT_EQ(other.log(), "y NewMin 0->1");
    cs_restoreContextUntil(label);
    return cs_LE(z, 19);
  }));
  EXPECT_EQ(other.log(), "y NewMin 0->1, z NewMax 20->19");
  EXPECT_EQ(z->_propMin, 0);
  // The count was set back: the next change at the top level stands on its own.
  yFails = false;
  EXPECT_TRUE(cs_GE(y, 2));
}

// Two listeners and a constraint of another state stand around the one that fails.
TEST_F(Queue, ListenersHearOfFailuresOnlyAndOtherStatesOfNothing)
{
  Spy judge, behind, front, odd;
  behind.state = front.state = 1;
  odd.state = 2;
  behind.watch(y, "behind");
  judge.watch(y, "y");
  EXPECT_TRUE(cs_GE(y, 1));
  judge.failAt = 2;
  cs_saveContext();
  EXPECT_FALSE(cs_GE(y, 2)); // no listener is met before the failure
  cs_restoreContext();
  front.watch(y, "front", 3);
  odd.watch(y, "odd");
  judge.failAt = 3;
  EXPECT_FALSE(cs_LE(y, 10));
  // From the listener that the flush met on: the one behind the failing constraint stands in the same list.
  EXPECT_EQ(front.log() + "; " + behind.log() + odd.log(), "front[3] NewMax 20->10; behind NewMax 20->10");
  // One that was met in another list hears of the failing change.
  Spy listener;
  listener.state = 1;
  listener.watch(x, "listener").watch(y, "y");
  yFails = true;
  EXPECT_FALSE(inFlush([&]() { return cs_GE(y, 4); }));
  EXPECT_EQ(listener.log(), "y NewMin 1->4");
}

TEST_F(Queue, TheCounterIsTheClients)
{
  EXPECT_EQ(__rcsPropagateCount, 0);
  __rcsPropagateCount = 5;
  cs_GE(x, 1);
  EXPECT_EQ(__rcsPropagateCount, 5);
  __rcsPropagateCount = 0;
}
