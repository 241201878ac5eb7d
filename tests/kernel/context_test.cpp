/*
 * Start, end, errors and the record heaps.
 */
#include "solver.h"

using namespace kit;

using Context = SolverTest;

TEST_F(Context, VersionAndRestart)
{
  EXPECT_STREQ(cs_getVersion(), "3.8.0");
  CSint* before = cs_createNamedCSint(0, 9, "survivor");
  cs_saveContext();
  cs_init();
  EXPECT_STREQ(cs_getName(before), "survivor");
  EXPECT_EQ(contextDepth(), 1);
  cs_end();
  cs_end();
  cs_init();
  EXPECT_EQ(contextDepth(), 0);
}

static std::string heard;

/// Notes the handler's name, the variable and the code.
static void hear(CSint* variable, void* name)
{
  heard += static_cast<const char*>(name) + (variable ? " " + textOf(variable) : "");
  heard += " " + std::to_string(cs_getErr()) + "; ";
}

static void setHandler(int code, const char* name) { cs_setErrHandler(code, hear, const_cast<char*>(name)); }

TEST_F(Context, HandlersAreCalledWithTheCodeSet)
{
  heard.clear();
  setHandler(CS_ERR_GETVALUE, "value");
  setHandler(CS_ERR_OVERFLOW, "overflow");
  setHandler(CS_ERR_NO_MEMORY, "memory");
  cs_setErrHandler(0, nullptr, nullptr);
  cs_setErrHandler(-4, nullptr, nullptr);
  CSint* x = cs_createCSint(3, 5);
  EXPECT_EQ(cs_getValue(x), 3);
  rcsHandleOverflowError();
  rcsHandleNoMemoryError();
  std::string expected;
  for (auto [name, code] :
      {std::pair("value {3..5} ", CS_ERR_GETVALUE), {"overflow ", CS_ERR_OVERFLOW}, {"memory ", CS_ERR_NO_MEMORY}})
    expected += name + std::to_string(code) + "; ";
  EXPECT_EQ(heard, expected);
  // Success doesn't clear the code, and neither does the failure of a constraint set one.
  cs_setErr(17);
  EXPECT_TRUE(cs_LE(x, 4) && !cs_EQ(x, 6));
  EXPECT_EQ(cs_getErr(), 17);
  cs_initErr();
  EXPECT_EQ(cs_getErr(), 0);
  // A second start puts the defaults back.
  cs_init();
  rcsHandleOverflowError();
  EXPECT_EQ(cs_getErr(), CS_ERR_OVERFLOW);
  EXPECT_EQ(heard, expected);
  cs_init();
  EXPECT_EQ(cs_getErr(), 0);
}

TEST_F(Context, DefaultHandlersWriteTheVariableOrAbort)
{
  CSint* x = cs_createNamedCSint(3, 5, "x");
  testing::internal::CaptureStderr();
  EXPECT_EQ(cs_getValue(x), 3);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nrcsInt not instantiated {3..5}");
  expectedErr = CS_ERR_GETVALUE;
  setHandler(CS_ERR_NO_MEMORY, "memory");
  cs_setErrHandler(CS_ERR_NO_MEMORY, nullptr, nullptr);
  EXPECT_DEATH(rcsHandleNoMemoryError(), "");
}

TEST_F(Context, ContextHeapCrossesBlocksBothWays)
{
  for (int label = 1; label <= 1025; label++)
    ASSERT_EQ(cs_saveContext(), label);
  EXPECT_EQ(_rcsContextHeapSize(), 2048);
  cs_restoreContext();
  cs_restoreContext();
  EXPECT_TRUE(cs_saveContext() == 1024 && cs_saveContext() == 1025 && _rcsContextHeapSize() == 2048);
  cs_restoreAll();
}

TEST_F(Context, EventHeapReusesItsBlocks)
{
  auto next = [] {
    TrailEvent* e = _rcsGetEventHeap();
    e->_kind = 8;
    return e;
  };
  TrailEvent *first = next(), *last = first;
  for (int i = 1; i < 1024; i++)
    last = next();
  EXPECT_TRUE(last == first + 1023 && _rcsEventHeapSize() == 1024);
  TrailEvent* beyond = next();
  // The pop across the border comes back to the last record of the first block, and the way up finds the old block.
  EXPECT_TRUE(_rcsPopEvent() == beyond && _rcsPopEvent() == last);
  EXPECT_TRUE(next() == last && next() == beyond);
  EXPECT_EQ(_rcsEventHeapSize(), 2048);
  for (int i = 0; i < 1025; i++)
    _rcsPopEvent();
  EXPECT_EQ(next(), first);
}

// Records taken by hand: a context pops with the place on the trail that it was given.
TEST_F(Context, HeapsOfContextsAndOfTheQueue)
{
  cs_createCSintArray(2, 0, 1);
  cs_saveContext();
  ContextRecord* record = _rcsGetContextHeap();
  *record = record[-1];
  record->_eventIndex = 7;
  EXPECT_EQ(contextDepth(), 2);
  EXPECT_EQ(_rcsPopContext(), 7);
  EXPECT_EQ(_rcsGetContextHeap(), record);
  _rcsPopContext();
  EXPECT_EQ(_rcsPopContext(), 1);
  EXPECT_EQ(contextDepth(), 0);
  PropagationRecord* first = _rcsGetPropagationHeap();
  EXPECT_EQ(_rcsGetPropagationHeap(), first + 1);
  // The queue uses its own again.
  CSint *x = cs_createCSint(0, 20), *y = cs_createCSint(0, 20);
  EXPECT_TRUE(cs_Lt(x, y) && cs_GE(x, 1));
  PropagationRecord* next = _rcsGetPropagationHeap();
  for (int i = 2; i < 10; i++)
    EXPECT_TRUE(cs_GE(x, i));
  EXPECT_EQ(_rcsGetPropagationHeap(), next + 1);
}

TEST_F(Context, VariablesKeepTheirAddresses)
{
  Vars vars;
  for (int i = 0; i < 3000; i++)
    vars.push_back(cs_createCSint(i, i + 1));
  EXPECT_EQ(_rcsIntHeapSize(), 3072);
  for (int i = 0; i < 3000; i++)
    ASSERT_EQ(vars[size_t(i)]->_min, i);
}

TEST_F(Context, EndFreesWhatIsStillOnTheTrail)
{
  // Leaks and double frees show under the address sanitizer.
  cs_saveContext();
  CSint** array = cs_createCSintArray(3, 0, 9);
  cs_saveContext();
  cs_createCSintArray(2, 0, 9);
  cs_setName(array[0], "named");
  static bool undone;
  cs_backtrack(nullptr, 1, [](void*, int) { undone = true; });
  EXPECT_TRUE(cs_NEQ(array[1], 4) && cs_AllNeq(array, 3));
  cs_end();
  EXPECT_FALSE(undone);
  ended = true;
}
