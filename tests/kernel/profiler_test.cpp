/*
 * The locator, and profilers with their report.
 */
#include "spy.h"

#include <cstring>
#include <map>
#include <sstream>
#include <unistd.h>

using namespace kit;

#ifdef __linux__
extern "C" const char __executable_start; ///< the linker's, at the load address
#endif

class Profile : public SolverTest
{
protected:
  static std::string report(Profiler* profiler)
  {
    char* text = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    cs_profilerWrite(profiler, stream);
    fclose(stream);
    std::string result(text, size);
    free(text);
    return result;
  }

  struct Parsed
  {
    std::vector<std::string> header;
    std::map<std::string, std::string> rows; ///< "function locator" to "calls failures"
  };

  static Parsed parse(const std::string& text)
  {
    Parsed parsed;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line) && line != "__DATA__")
      parsed.header.push_back(line);
    while (std::getline(lines, line)) {
      size_t third = line.rfind('\t'), second = line.rfind('\t', third - 1), first = line.rfind('\t', second - 1);
      parsed.rows[line.substr(first + 1, second - first - 1) + " " + line.substr(0, first)] =
          line.substr(second + 1, third - second - 1) + " " + line.substr(third + 1);
    }
    return parsed;
  }

  static const char* place(void* extra) { return static_cast<const char*>(extra); }
};

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
  auto rowsA = parse(report(a)).rows, rowsB = parse(report(b)).rows;
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
  EXPECT_EQ(parse(report(profiler)).rows["spy spy"], "2 1");
}

TEST_F(Profile, HeaderOfAReport)
{
  Profiler* profiler = cs_createProfiler(0);
  std::string text = report(profiler);
  EXPECT_EQ(text.find("Ku Profiler: Constraint 1.0\nKu-C Version: 3.8.0\nplatform: "), 0u) << text;
  EXPECT_EQ(text.find("_time"), std::string::npos);
  Parsed parsed = parse(text);
  ASSERT_EQ(parsed.header.size(), 6u);
  EXPECT_EQ(parsed.header[4].find("base address: 0x"), 0u);
  unsigned long long base = std::stoull(parsed.header[4].substr(14), nullptr, 16);
#ifdef __linux__
  EXPECT_EQ(base, reinterpret_cast<uintptr_t>(&__executable_start));
#else
  EXPECT_GT(base, 0u);
#endif
  EXPECT_EQ(parsed.header[5], "format: darwin_atos");
  EXPECT_TRUE(parsed.rows.empty());

  cs_setProfilerLocator("word", place, here);
  cs_enableProfiler(profiler);
  parsed = parse(report(profiler));
  ASSERT_EQ(parsed.header.size(), 6u);
  EXPECT_EQ(parsed.header[2].find("start_time: "), 0u);
  EXPECT_EQ(parsed.header[3].find("end_time: "), 0u);
  EXPECT_EQ(parsed.header[4], "platform: generic");
  EXPECT_EQ(parsed.header[5], "format: word");
  std::string start = parsed.header[2];
  cs_disableProfiler(profiler);
  cs_enableProfiler(profiler);
  EXPECT_EQ(parse(report(profiler)).header[2], start);
  cs_disableProfiler(profiler);
  EXPECT_EQ(parse(report(profiler)).header.size(), 6u);
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
  EXPECT_EQ(parse(report(deleted)).rows["spy spy"], "1 0");
  Profiler *first = cs_createProfiler(0), *middle = cs_createProfiler(0), *last = cs_createProfiler(0);
  for (Profiler* p : {first, middle, last})
    cs_enableProfiler(p);
  cs_disableProfiler(middle);
  cs_GE(x, 3);
  EXPECT_EQ(parse(report(first)).rows["spy spy"] + parse(report(last)).rows["spy spy"], "1 01 0");
  EXPECT_TRUE(parse(report(middle)).rows.empty());
  cs_disableProfiler(last);
  cs_disableProfiler(first);
  cs_disableProfiler(deleted);
  EXPECT_FALSE(rcsIsProfilerEnabled());
  cs_end();
  ended = true;
  EXPECT_EQ(parse(report(deleted)).rows["spy spy"], "1 0");
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
