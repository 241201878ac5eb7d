/*
 * The locator, and profilers with their report.
 */
#include "report.h"
#include "spy.h"

#include <regex>
#include <unistd.h>

using namespace kit;

#ifdef __linux__
extern "C" const char __executable_start; ///< the linker's, at the load address
#endif

using Profile = SolverTest;

static const char* place(void* extra) { return static_cast<const char*>(extra); }

static char here[] = "here";

TEST_F(Profile, ALocatorOfTheClient)
{
  cs_setProfilerLocator("word", place, here);
  EXPECT_EQ(rcsGetProfilerLocatorFunction(), place);
  EXPECT_EQ(rcsGetProfilerLocatorFunctionExtra(), here);
  CSint *x = cs_createCSint(0, 9), *y = cs_createCSint(0, 9);
  EXPECT_TRUE(cs_Lt(x, y));
  const ConstraintInfo* info = x->_constraints->_constraint->_info;
  EXPECT_STREQ(info->_function, "cs_Lt");
  EXPECT_STREQ(info->_locator, "here");
  EXPECT_EQ(info->_refCount, 1u);
  cs_setProfilerLocator(
      "none", [](void*) -> const char* { return nullptr; }, nullptr);
  EXPECT_TRUE(cs_Gt(x, CSINT(-1)));
  EXPECT_STREQ(x->_constraints->_constraint->_info->_locator, "");
  cs_setProfilerLocator(nullptr, nullptr, here);
  EXPECT_NE(rcsGetProfilerLocatorFunction(), place);
  EXPECT_EQ(rcsGetProfilerLocatorFunctionExtra(), nullptr);
  cs_setProfilerLocator(nullptr, nullptr, nullptr);
}

TEST_F(Profile, CountsCallsAndFailuresByConstraint)
{
  cs_setProfilerLocator("word", place, here);
  CSint *x = cs_createCSint(0, 9), *y = cs_createCSint(0, 9);
  EXPECT_TRUE(cs_Lt(x, y));
  EXPECT_EQ(cs_createProfiler(1), nullptr);
  EXPECT_EQ(cs_createProfiler(-1), nullptr);
  Profiler *a = cs_createProfiler(CS_PROFILER_CONSTRAINTS), *b = cs_createProfiler(0);
  EXPECT_FALSE(rcsIsProfilerEnabled());
  EXPECT_TRUE(cs_GE(x, 1)); // counted by nobody
  cs_enableProfiler(a);
  cs_enableProfiler(a);
  EXPECT_TRUE(rcsIsProfilerEnabled());
  EXPECT_TRUE(cs_GE(x, 2)); // x NewMin, y NewMin
  cs_enableProfiler(b);
  int label = cs_saveContext();
  EXPECT_TRUE(cs_Neq(x, y));
  // cs_Lt pushes y to 5 and then stands; x's fixing wakes both, and so does y's fall to 5, where cs_Neq fails.
  EXPECT_TRUE(cs_EQ(x, 4));
  EXPECT_FALSE(cs_LE(y, 4));
  cs_disableProfiler(a);
  EXPECT_TRUE(rcsIsProfilerEnabled());
  EXPECT_FALSE(cs_EQ(y, 4));
  cs_restoreContextUntil(label);
  EXPECT_TRUE(cs_LE(y, 8));
  cs_disableProfiler(b);
  cs_disableProfiler(b);
  EXPECT_FALSE(rcsIsProfilerEnabled());
  auto rowsA = reportOf(a).rows, rowsB = reportOf(b).rows;
  // The second constraint has gone with its context; its row stands.
  EXPECT_EQ(rowsA["cs_Lt here"], "4 0");
  EXPECT_EQ(rowsA["cs_Neq here"], "2 0");
  EXPECT_EQ(rowsB["cs_Lt here"], "4 0");
  EXPECT_EQ(rowsB["cs_Neq here"], "2 0");
}

TEST_F(Profile, AFailingHandlerCountsAsCallAndFailure)
{
  cs_setProfilerLocator("word", place, here);
  CSint* x = cs_createCSint(0, 9);
  Profiler* profiler = cs_createProfiler(0);
  cs_enableProfiler(profiler);
  Spy spy("spy");
  spy.failAt = 2;
  spy.watch(x, "x");
  EXPECT_TRUE(cs_GE(x, 1));
  EXPECT_FALSE(cs_GE(x, 2));
  EXPECT_EQ(reportOf(profiler).rows["spy spy"], "2 1");
}

// The lines of a report with their varying parts, in their order.
static void expectForm(Profiler* profiler, const std::string& header)
{
  std::regex form("Ku Profiler: Constraint 1\\.0\nKu-C Version: 3\\.8\\.0\n" + header +
                  "__DATA__\n(?:[^\n]*\tcs_\\w+\t\\d+\t\\d+\n)*");
  const std::string text = reportOf(profiler).text;
  EXPECT_TRUE(std::regex_match(text, form)) << text;
  EXPECT_EQ(reportOf(profiler).text, text);
}

TEST_F(Profile, FormOfAReport)
{
  const std::string times = "start_time: \\d+\nend_time: \\d+\n";
  Profiler* profiler = cs_createProfiler(0);
  expectForm(profiler, "platform: \\w+\narch: \\w+\nbase address: 0x[1-9a-f][0-9a-f]*\nformat: darwin_atos\n");
  EXPECT_TRUE(reportOf(profiler).rows.empty());
#ifdef __linux__
  const std::string base = reportOf(profiler).header[4];
  EXPECT_EQ(std::stoull(base.substr(base.find("0x")), nullptr, 16), reinterpret_cast<uintptr_t>(&__executable_start));
#endif
  cs_setProfilerLocator("word", place, here);
  CSint *x = cs_createCSint(0, 9), *y = cs_createCSint(0, 9);
  EXPECT_TRUE(cs_Lt(x, y));
  static char twoTabs[] = "a\tb\t";
  cs_setProfilerLocator("word", place, twoTabs);
  EXPECT_TRUE(cs_Le(x, y));
  cs_enableProfiler(profiler);
  cs_GE(x, 1);
  const std::string start = reportOf(profiler).header[2];
  cs_disableProfiler(profiler);
  cs_enableProfiler(profiler);
  cs_disableProfiler(profiler);
  expectForm(profiler, times + "platform: generic\nformat: word\n");
  EXPECT_EQ(reportOf(profiler).header[2], start);
  EXPECT_EQ(reportOf(profiler).rows.size(), 2u);
  EXPECT_EQ(reportOf(profiler).rows["cs_Le a\tb\t"], "2 0");
}

TEST_F(Profile, DeletingOnlyUnlinks)
{
  // The record is the client's from then on, so a pointer outside keeps it reachable.
  static Profiler* deleted;
  deleted = cs_createProfiler(0);
  cs_enableProfiler(deleted);
  CSint* x = cs_createCSint(0, 9);
  Spy spy("spy");
  spy.watch(x, "x");
  cs_GE(x, 1);
  cs_deleteProfiler(deleted);
  EXPECT_TRUE(rcsIsProfilerEnabled());
  cs_GE(x, 2);
  EXPECT_EQ(reportOf(deleted).rows["spy spy"], "1 0");
  Profiler *first = cs_createProfiler(0), *middle = cs_createProfiler(0), *last = cs_createProfiler(0);
  for (Profiler* p : {first, middle, last})
    cs_enableProfiler(p);
  cs_disableProfiler(middle);
  cs_GE(x, 3);
  EXPECT_EQ(reportOf(first).rows["spy spy"] + reportOf(last).rows["spy spy"], "1 01 0");
  EXPECT_TRUE(reportOf(middle).rows.empty());
  cs_disableProfiler(last);
  cs_disableProfiler(first);
  cs_disableProfiler(deleted);
  EXPECT_FALSE(rcsIsProfilerEnabled());
  cs_end();
  ended = true;
  EXPECT_EQ(reportOf(deleted).rows["spy spy"], "1 0");
}

TEST_F(Profile, Files)
{
  Profiler* profiler = cs_createProfiler(0);
  EXPECT_EQ(cs_profilerWriteFile(profiler, "/no such folder/report"), 0);
  char path[] = "/tmp/ku-report-XXXXXX";
  close(mkstemp(path));
  EXPECT_EQ(cs_profilerWriteFile(profiler, path), 0);
  FILE* file = fopen(path, "r");
  char line[100] = "";
  EXPECT_NE(fgets(line, sizeof line, file), nullptr);
  EXPECT_STREQ(line, "Ku Profiler: Constraint 1.0\n");
  fclose(file);
  remove(path);
}
