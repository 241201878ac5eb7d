/*
 * Attribution of unary constraints that are called while a client's callback runs: one child info for each place of
 * each callback, and the event as it is read off the variable afterwards. Linked statically, to play the part of a
 * callback.
 */
#include "rcsPrivate.h"
#include "report.h"
#include "solver.h"

using namespace kit;

class Attribution : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    cs_setProfilerLocator(
        "word", [](void*) { return "place"; }, nullptr);
    parent = rcsCreateConstraintInfo("watcher", "");
    parent->_refCount++;
    CurrentCI = parent;
  }

  void TearDown() override
  {
    CurrentCI = nullptr;
    releaseInfo(parent);
    SolverTest::TearDown();
  }

  ConstraintInfo* parent;
};

TEST_F(Attribution, OneChildForEachPlaceInEachCallback)
{
  ConstraintInfo* child = getConstraintInfoByEvent("cs_GE", "here");
  ASSERT_NE(child, nullptr);
  EXPECT_STREQ(child->_function, "cs_GE");
  EXPECT_STREQ(child->_locator, "here");
  EXPECT_EQ(child->_refCount, 1u);
  std::string samePlace = "here";
  EXPECT_EQ(getConstraintInfoByEvent("cs_GE", samePlace.c_str()), child);
  EXPECT_EQ(parent->_refCount, 2u);
  EXPECT_NE(getConstraintInfoByEvent("cs_GE", "there"), child);
  EXPECT_NE(getConstraintInfoByEvent("cs_LE", "here"), child);
  EXPECT_STREQ(getConstraintInfoByEvent("cs_LE", nullptr)->_locator, "");
  for (int round = 0; round < 2; round++)
    for (int i = 0; i < 500; i++)
      ASSERT_NE(getConstraintInfoByEvent("cs_EQ", std::to_string(i).c_str()), nullptr);
  EXPECT_EQ(parent->_refCount, 505u);
  ConstraintInfo* other = rcsCreateConstraintInfo("watcher", "");
  CurrentCI = other;
  EXPECT_NE(getConstraintInfoByEvent("cs_GE", "here"), child);
  EXPECT_EQ(other->_refCount, 1u); // the child's; the table frees it
  CurrentCI = nullptr;
  EXPECT_EQ(getConstraintInfoByEvent("cs_GE", "here"), nullptr);
}

TEST_F(Attribution, OnlyWithAProfilerOnAndOnlyWhereThereIsWork)
{
  CSint *x = cs_createCSint(0, 9), *y = makeVar("{0, 1, 9}"), *four = CSINT(4);
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_EQ(parent->_refCount, 1u);
  Profiler* profiler = cs_createProfiler(0);
  cs_enableProfiler(profiler);
  EXPECT_TRUE(cs_GE(x, 1) && cs_EQ(four, 4) && cs_NEQ(x, 77));
  EXPECT_TRUE(reportOf(profiler).rows.empty());
  EXPECT_TRUE(cs_GE(x, 2) && cs_GE(x, 3));
  EXPECT_FALSE(cs_GE(x, 10));
  EXPECT_TRUE(cs_NEQ(x, 5) && cs_NEQ(x, 3) && cs_NEQ(x, 9));
  EXPECT_FALSE(cs_NEQ(four, 4));
  // A failed test of the domain is reported, too.
  EXPECT_FALSE(cs_EQ(y, 5) || cs_EQ(y, 12));
  EXPECT_EQ(
      reportOf(profiler).rows, (Report::Rows{{"cs_GE place", "3 1"}, {"cs_NEQ place", "4 1"}, {"cs_EQ place", "2 2"}}));
}
