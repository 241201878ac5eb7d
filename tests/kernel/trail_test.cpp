/*
 * Contexts: labels, the three ways of ending one, and what lies on the trail.
 */
#include "snapshot.h"
#include "spy.h"

using namespace kit;

class Trail : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    x = cs_createCSint(0, 100);
  }

  void narrowInTwoContexts()
  {
    cs_GE(x, 10);
    cs_saveContext();
    cs_GE(x, 20);
    cs_saveContext();
    cs_GE(x, 30);
    cs_NEQ(x, 40);
  }

  CSint* x;
};

TEST_F(Trail, LabelsArePositionsAndAreUsedAgain)
{
  EXPECT_EQ(cs_saveContext(), 1);
  EXPECT_EQ(cs_saveContext(), 2);
  cs_restoreContext();
  EXPECT_EQ(cs_saveContext(), 2);
  cs_restoreAndSaveContext();
  EXPECT_EQ(cs_saveContext(), 3);
  cs_restoreContextUntil(4);
  cs_acceptContextUntil(4);
  cs_forgetSaveContextUntil(4);
  EXPECT_EQ(contextDepth(), 3);
  cs_restoreContextUntil(2);
  EXPECT_EQ(contextDepth(), 1);
  cs_restoreAll();
  cs_restoreAll();
  cs_acceptAll();
  EXPECT_EQ(contextDepth(), 0);
}

TEST_F(Trail, RestoreUndoesDownToTheLabelAndNoFurther)
{
  narrowInTwoContexts();
  EXPECT_EQ(textOf(x), "{30..39, 41..100}");
  cs_restoreContext();
  EXPECT_EQ(textOf(x), "{20..100}");
  cs_restoreContext();
  EXPECT_EQ(textOf(x), "{10..100}");
  narrowInTwoContexts();
  cs_restoreContextUntil(1);
  EXPECT_EQ(textOf(x), "{10..100}");
  cs_saveContext();
  cs_restoreAll();
  EXPECT_EQ(textOf(x), "{10..100}");
}

TEST_F(Trail, AcceptedChangesStandWhateverComes)
{
  narrowInTwoContexts();
  cs_acceptContext();
  cs_restoreContext();
  // The outer context gives back the 10 that it saved; the removed 40 was accepted.
  EXPECT_EQ(x->_min, 10);
  EXPECT_FALSE(cs_isIn(x, 40));
  narrowInTwoContexts();
  cs_acceptAll();
  EXPECT_EQ(contextDepth(), 0);
  EXPECT_EQ(textOf(x), "{30..39, 41..100}");
}

TEST_F(Trail, ForgottenChangesBelongToTheEnclosingContext)
{
  narrowInTwoContexts();
  cs_forgetSaveContext();
  EXPECT_EQ(textOf(x), "{30..39, 41..100}");
  cs_restoreContext();
  EXPECT_EQ(textOf(x), "{10..100}");
  narrowInTwoContexts();
  cs_forgetSaveContextUntil(1);
  EXPECT_EQ(contextDepth(), 0);
  EXPECT_EQ(textOf(x), "{30..39, 41..100}");
}

static std::string undone;

template <typename Int>
static void note(void* data, Int value)
{
  undone += std::string(static_cast<const char*>(data)) + std::to_string(value) + " ";
}

TEST_F(Trail, BacktrackFunctionsRunNewestFirstAndOnRestoreOnly)
{
  static char a[] = "a", b[] = "b", c[] = "c";
  undone.clear();
  cs_saveContext();
  cs_backtrack(a, INT32_MIN, note);
  cs_backtrackExt(b, INT64_MAX, note);
  cs_saveContext();
  cs_backtrack(c, 3, note);
  cs_acceptContext();
  EXPECT_EQ(undone, "");
  cs_restoreContext();
  EXPECT_EQ(undone, "b9223372036854775807 a-2147483648 ");
  undone.clear();
  cs_saveContext();
  cs_saveContext();
  cs_backtrack(c, 3, note);
  cs_forgetSaveContext();
  cs_restoreContext();
  EXPECT_EQ(undone, "c3 ");
}

TEST_F(Trail, BacktrackFunctionsRunBetweenTheChangesAroundThem)
{
  cs_saveContext();
  cs_GE(x, 10);
  auto look = [](void* v, int) { undone = textOf(static_cast<CSint*>(v)); };
  cs_backtrack(x, 0, look);
  cs_GE(x, 20);
  cs_restoreContext();
  EXPECT_EQ(undone, "{10..100}");
  EXPECT_EQ(x->_min, 0);
}

// Freed exactly once: the address sanitizer looks on.
TEST_F(Trail, ArraysDieWithTheirContextUnlessItIsForgotten)
{
  CSint** array = nullptr;
  for (void (*leave)() : {cs_restoreContext, cs_acceptContext, cs_forgetSaveContext}) {
    cs_saveContext();
    array = cs_createCSintArray(4, 1, 9);
    leave();
  }
  EXPECT_EQ(array[3]->_max, 9);
}

TEST_F(Trail, AttachmentsComeAndGoNewestFirst)
{
  CSint* y = cs_createCSint(0, 9);
  Spy spy("spy");
  cs_saveContext();
  spy.watch(x, "x", 0).watch(y, "y", 1).watch(x, "x", 2);
  EXPECT_EQ(spy.constraint()->_refCount, 3);
  cs_GE(x, 1);
  EXPECT_EQ(spy.log(), "x[2] NewMin 0->1, x[0] NewMin 0->1");
  cs_restoreContext();
  EXPECT_EQ(spy.nbDestroyed, 1);
  EXPECT_EQ(nbAttached(x) + nbAttached(y), 0);
  // The count of attachments ever made doesn't fall.
  EXPECT_EQ(cs_getNbConstraints(x), 2);
}

TEST_F(Trail, InfosAreShared)
{
  ConstraintInfo* info = rcsCreateConstraintInfo("name", nullptr);
  EXPECT_STREQ(info->_locator, "");
  static const Handler handlers[6] = {Ptrue, Ptrue, Ptrue, Ptrue, Ptrue, Ptrue};
  for (int i = 0; i < 2; i++) {
    cs_saveContext();
    EXPECT_TRUE(_rcsAddConstraint(rcsCreateConstraint(info, nullptr, handlers), x, -1));
  }
  EXPECT_EQ(info->_refCount, 2u);
  cs_restoreContext();
  EXPECT_EQ(info->_refCount, 1u);
  cs_restoreContext();
}

TEST_F(Trail, UnknownKindsAreIgnored)
{
  Snapshot before({x});
  for (uint32_t kind : {4u, 8u, 11u, 4000000000u}) {
    TrailEvent e = {};
    e._subject = x;
    e._kind = kind;
    e._value._int = 50;
    e._extra._int = 7;
    _rcsRestore(&e);
  }
  EXPECT_EQ(before.changes(), "");
}
