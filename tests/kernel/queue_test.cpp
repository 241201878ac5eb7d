/*
 * The propagation queue: order, merging, nesting, and the ways of failure.
 */
#include "spy.h"

using namespace kit;

class Queue : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    x = cs_createCSint(0, 20);
    y = cs_createCSint(0, 20);
    z = cs_createCSint(0, 20);
  }
  CSint *x, *y, *z;
};

TEST_F(Queue, ChangesInAHandlerWaitTheirTurn)
{
  Spy chain, other;
  chain.watch(x, "x");
  other.watch(y, "y").watch(z, "z");
  std::string order;
  chain.onCall = [&](const Spy::Call&) {
    EXPECT_TRUE(cs_GE(y, 1));
    EXPECT_TRUE(cs_GE(z, 2));
    order = other.log();
    return 1;
  };
  EXPECT_TRUE(cs_GE(x, 3));
  EXPECT_EQ(order, "");
  EXPECT_EQ(other.log(), "y NewMin 0->1, z NewMin 0->2");
}

TEST_F(Queue, StepsThatMeetAreToldOnce)
{
  Spy chain, other;
  chain.watch(x, "x");
  other.watch(y, "y");
  chain.onCall = [&](const Spy::Call&) {
    return cs_GE(y, 5) && cs_LE(y, 19) && cs_GE(y, 7) && cs_NEQ(y, 9) && cs_NEQ(y, 12) && cs_GE(y, 10) && cs_LE(y, 15);
  };
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_EQ(other.log(), "y Neq 12, y NewMin 0->10, y NewMax 20->15");
  EXPECT_EQ(y->_propMin, 10);
  EXPECT_EQ(y->_propMax, 15);
}

TEST_F(Queue, FixingToldFromEachSide)
{
  Spy chain, other;
  chain.watch(x, "x");
  other.watch(y, "y").watch(z, "z");
  chain.onCall = [&](const Spy::Call&) {
    return cs_GE(y, 5) && cs_EQ(y, 20) && cs_GE(z, 3) && cs_LE(z, 9) && cs_EQ(z, 6);
  };
  EXPECT_TRUE(cs_EQ(x, 20));
  // A rise that was overtaken by the fixing is dropped, but a fixing is never stale: it tells the whole step.
  EXPECT_EQ(other.log(), "y NewMinEq 0->20, z Eq 0..20->6");
  EXPECT_EQ(z->_propMin, 6);
  EXPECT_EQ(z->_propMax, 6);
}

TEST_F(Queue, OnlyTheLowByteOfAnAnswerCounts)
{
  Spy spy;
  spy.watch(x, "x");
  int answer = 256;
  spy.onCall = [&](const Spy::Call&) { return answer; };
  EXPECT_FALSE(cs_GE(x, 1));
  answer = 257;
  EXPECT_TRUE(cs_GE(x, 2));
}

TEST_F(Queue, AFailureDropsAllThatIsPending)
{
  Spy chain, other, late;
  late.watch(x, "late");
  chain.watch(x, "x");
  other.watch(y, "y");
  chain.onCall = [&](const Spy::Call&) {
    cs_GE(y, 5);
    return 0;
  };
  EXPECT_FALSE(cs_GE(x, 1));
  EXPECT_EQ(other.log() + late.log(), "");
  EXPECT_EQ(y->_min, 5);
  EXPECT_EQ(y->_propMin, 0);
  // Without a restore the next step on the variable tells it all.
  EXPECT_TRUE(cs_GE(y, 6));
  EXPECT_EQ(other.log(), "y NewMin 0->6");
}

TEST_F(Queue, ARestoreBringsBackWhatWasTold)
{
  Spy chain, other;
  chain.watch(x, "x");
  other.watch(y, "y");
  chain.onCall = [&](const Spy::Call&) { return cs_GE(y, 5) && false; };
  cs_saveContext();
  EXPECT_FALSE(cs_GE(x, 1));
  cs_restoreContext();
  EXPECT_TRUE(cs_GE(y, 2));
  EXPECT_EQ(other.log(), "y NewMin 0->2");
}

TEST_F(Queue, AttachmentsAreThoseOfTheMomentOfTheChange)
{
  Spy chain, late;
  chain.watch(x, "x");
  Spy first;
  first.watch(y, "y");
  chain.onCall = [&](const Spy::Call&) {
    cs_GE(y, 1);
    late.watch(y, "late");
    cs_LE(y, 9);
    return 1;
  };
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_EQ(first.log(), "y NewMin 0->1, y NewMax 20->9");
  EXPECT_EQ(late.log(), "late NewMax 20->9");
}

TEST_F(Queue, ManyPendingRecordsComeFromFurtherBlocks)
{
  Vars many;
  Spy all;
  for (int i = 0; i < 3000; i++) {
    many.push_back(cs_createCSint(0, 1));
    all.watch(many.back(), "v");
  }
  Spy chain;
  chain.watch(x, "x");
  chain.onCall = [&](const Spy::Call&) {
    for (CSint* v : many)
      cs_GE(v, 1);
    return 1;
  };
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_EQ(all.calls.size(), 3000u);
}

TEST_F(Queue, SavingAContextInAHandlerRunsWhatIsPendingFirst)
{
  Spy chain, other;
  chain.watch(x, "x");
  other.watch(y, "y").watch(z, "z");
  other.onCall = [&](const Spy::Call& call) { return call.variable != y || cs_GE(z, 4); };
  chain.onCall = [&](const Spy::Call&) {
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
  };
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_EQ(other.log(), "y NewMin 0->5, z NewMin 0->4, y NewMin 5->8, y NewMax 20->15");
  EXPECT_EQ(contextDepth(), 0);
}

TEST_F(Queue, ANestedFailureIsTheCallbacksToPassOn)
{
  Spy chain, judge;
  chain.watch(x, "x");
  judge.watch(y, "y");
  judge.onCall = [](const Spy::Call&) { return 0; };
  int answer = 1;
  chain.onCall = [&](const Spy::Call&) {
    int label = cs_saveContext();
    EXPECT_FALSE(cs_GE(y, 1));
    cs_restoreContextUntil(label);
    return answer;
  };
  EXPECT_TRUE(cs_GE(x, 1));
  answer = 0;
  EXPECT_FALSE(cs_GE(x, 2));
  EXPECT_EQ(y->_min, 0);
}

TEST_F(Queue, AFailureWhileSavingReachesTheOuterChange)
{
  Spy chain, judge;
  chain.watch(x, "x");
  judge.watch(y, "y");
  judge.onCall = [](const Spy::Call&) { return 0; };
  chain.onCall = [&](const Spy::Call&) {
    EXPECT_TRUE(cs_GE(y, 1));
    int label = cs_saveContext();
    cs_restoreContextUntil(label);
    return 1;
  };
  EXPECT_FALSE(cs_GE(x, 1));
  // The count was set back: the next change at the top level stands on its own.
  judge.onCall = nullptr;
  EXPECT_TRUE(cs_GE(y, 2));
}

TEST_F(Queue, ANestedFailureWipesWhatTheOuterFlushHadPending)
{
  Spy chain, judge, other;
  chain.watch(x, "x");
  judge.watch(y, "y");
  other.watch(z, "z");
  judge.onCall = [](const Spy::Call&) { return 0; };
  chain.onCall = [&](const Spy::Call&) {
    cs_GE(y, 1);
    cs_GE(z, 1);
    int label = cs_saveContext(); // flushes: the rise of y fails, and that of z is dropped
    EXPECT_EQ(other.log(), "");
    cs_restoreContextUntil(label);
    cs_LE(z, 19);
    return 1;
  };
  EXPECT_FALSE(cs_GE(x, 1));
  EXPECT_EQ(other.log(), "z NewMax 20->19");
  EXPECT_EQ(z->_propMin, 0);
}

TEST_F(Queue, ListenersHearOfFailuresOnly)
{
  Spy listener, judge, behind;
  listener.state = behind.state = 1;
  behind.watch(x, "behind");
  judge.watch(x, "x");
  listener.watch(x, "listener", 3);
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_EQ(listener.log() + behind.log(), "");
  judge.failAt = 2;
  EXPECT_FALSE(cs_LE(x, 10));
  // From the listener that the flush met on: the one behind the failing constraint stands in the same list.
  EXPECT_EQ(listener.log(), "listener[3] NewMax 20->10");
  EXPECT_EQ(behind.log(), "behind NewMax 20->10");
}

TEST_F(Queue, AListenerThatWasNotMetIsNotCalled)
{
  Spy judge, behind;
  behind.state = 1;
  behind.watch(x, "behind");
  judge.watch(x, "x");
  judge.failAt = 1;
  EXPECT_FALSE(cs_GE(x, 1));
  EXPECT_EQ(behind.log(), "");
}

TEST_F(Queue, AListenerMetInAnotherListHearsOfTheFailingChange)
{
  Spy chain, listener, judge;
  listener.state = 1;
  chain.watch(x, "x");
  listener.watch(x, "listener");
  judge.watch(y, "y");
  judge.failAt = 1;
  chain.onCall = [&](const Spy::Call&) { return cs_GE(y, 4); };
  EXPECT_FALSE(cs_GE(x, 1));
  ASSERT_EQ(listener.calls.size(), 1u);
  EXPECT_EQ(listener.calls[0].variable, y);
  EXPECT_EQ(listener.calls[0].now, 4);
}

TEST_F(Queue, OtherStatesAreSkippedInBothPasses)
{
  Spy judge, odd;
  odd.state = 2;
  judge.watch(x, "x");
  odd.watch(x, "odd");
  judge.failAt = 2;
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_FALSE(cs_GE(x, 2));
  EXPECT_EQ(odd.log(), "");
}

TEST_F(Queue, TheCounterIsTheClients)
{
  EXPECT_EQ(__rcsPropagateCount, 0);
  __rcsPropagateCount = 5;
  Spy spy;
  spy.watch(x, "x");
  cs_GE(x, 1);
  EXPECT_EQ(__rcsPropagateCount, 5);
  __rcsPropagateCount = 0;
}
