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

// The random sequences compare all ways of ending a context; this is what is easily taken for wrong.
TEST_F(Trail, AnOuterRestoreGivesBackTheBoundsThatItSavedAndNoAcceptedHole)
{
  cs_saveContext();
  cs_GE(x, 20);
  cs_saveContext();
  cs_GE(x, 30);
  cs_NEQ(x, 40);
  cs_acceptContext();
  EXPECT_EQ(textOf(x), "{30..39, 41..100}");
  cs_restoreContext();
  EXPECT_EQ(textOf(x), "{0..39, 41..100}");
}

TEST_F(Trail, BacktrackFunctionsTakeTheWidestArguments)
{
  static std::string undone;
  cs_saveContext();
  cs_backtrack(
      x, INT32_MIN, [](void* v, int value) { undone += textOf(static_cast<CSint*>(v)) + std::to_string(value); });
  cs_backtrackExt(x, INT64_MAX, [](void*, int64_t value) { undone += std::to_string(value) + " "; });
  cs_GE(x, 20);
  cs_restoreContext();
  EXPECT_EQ(undone, "9223372036854775807 {0..100}-2147483648");
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

static const Handler idle[6] = {Ptrue, Ptrue, Ptrue, Ptrue, Ptrue, Ptrue};

TEST_F(Trail, ADestructorMayTakeAwayTheRestOfTheList)
{
  static CSint own;
  _rcsIntInit(&own, 0, 9);
  Spy inner;
  cs_saveContext();
  inner.watch(&own, "own");
  Constraint* owner = rcsCreateConstraint(rcsCreateConstraintInfo("owner", nullptr), nullptr, idle);
  owner->_destructor = [](void*) {
    while (own._constraints)
      _rcsRemoveConstraint(&own);
  };
  EXPECT_TRUE(_rcsAddConstraint(owner, &own, -1));
  cs_restoreContext();
  EXPECT_EQ(inner.nbDestroyed, 1);
}

TEST_F(Trail, InfosAreShared)
{
  ConstraintInfo* info = rcsCreateConstraintInfo("name", nullptr);
  EXPECT_STREQ(info->_locator, "");
  for (int i = 0; i < 2; i++) {
    cs_saveContext();
    EXPECT_TRUE(_rcsAddConstraint(rcsCreateConstraint(info, nullptr, idle), x, -1));
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

TEST_F(Trail, ARestoreGoesBackOverManyBlocks)
{
  CSint *v = cs_createCSint(0, 5000), *w = cs_createCSint(0, 5000);
  for (int value = 1; value <= 700; value++)
    EXPECT_TRUE(cs_GE(v, value));
  int label = cs_saveContext();
  for (int value = 701; value <= 3000; value++)
    EXPECT_TRUE(cs_GE(v, value) && cs_NEQ(w, value));
  cs_restoreContextUntil(label);
  EXPECT_EQ(textsOf({v, w}), "{700..5000} {0..5000}");
}
