/*
 * The locator, and profilers with their report.
 */
#include "report.h"
#include "spy.h"

#include <fstream>
#include <regex>
#include <unistd.h>

using namespace kit;

#ifdef __linux__
extern "C" const char __executable_start; ///< the linker's, at the load address
#endif

class Profile : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    x = cs_createCSint(0, 9);
    y = cs_createCSint(0, 9);
  }

  static const char* place(void* extra) { return static_cast<const char*>(extra); }
  static void locateAt(char* text) { cs_setProfilerLocator("word", place, text); }

  CSint *x, *y;
  char here[5] = "here", twoTabs[5] = "a\tb\t";
};

TEST_F(Profile, ALocatorOfTheClient)
{
  locateAt(here);
  EXPECT_EQ(rcsGetProfilerLocatorFunction(), place);
  EXPECT_EQ(rcsGetProfilerLocatorFunctionExtra(), here);
  EXPECT_TRUE(cs_Lt(x, y));
  EXPECT_STREQ(infoOf(x)->_function, "cs_Lt");
  EXPECT_STREQ(infoOf(x)->_locator, "here");
  EXPECT_EQ(infoOf(x)->_refCount, 1u);
  cs_setProfilerLocator(
      "none", [](void*) -> const char* { return nullptr; }, nullptr);
  EXPECT_TRUE(cs_Gt(x, CSINT(-1)));
  EXPECT_STREQ(infoOf(x)->_locator, "");
  cs_setProfilerLocator(nullptr, nullptr, here);
  EXPECT_NE(rcsGetProfilerLocatorFunction(), place);
  EXPECT_EQ(rcsGetProfilerLocatorFunctionExtra(), nullptr);
}

TEST_F(Profile, CountsCallsAndFailuresByConstraint)
{
  locateAt(here);
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
  // The second constraint has gone with its context; its row stands.
  const Report::Rows expected = {{"cs_Lt here", "4 0"}, {"cs_Neq here", "2 0"}};
  EXPECT_EQ(reportOf(a).rows, expected);
  EXPECT_EQ(reportOf(b).rows, expected);
}

TEST_F(Profile, CountsCallsOfHandlersWithoutInterest)
{
  locateAt(here);
  EXPECT_TRUE(cs_Neq(x, y) && cs_Neq(x, CSINT(-1)));
  Profiler* profiler = cs_createProfiler(0);
  cs_enableProfiler(profiler);
  EXPECT_TRUE(cs_NEQ(x, 3) && cs_GE(x, 1));
  cs_disableProfiler(profiler);
  const Report::Rows expected = {{"cs_Neq here", "2 0; 2 0"}};
  EXPECT_EQ(reportOf(profiler).rows, expected);
}

TEST_F(Profile, CountsWhatIsPendingWhenACallbackEnablesIt)
{
  locateAt(here);
  static CSint* idle;
  idle = y;
  EXPECT_TRUE(cs_Neq(y, CSINT(-1)));
  auto removeAndEnable = [](CSint*, int, int, CSint**, int, void* profiler) {
    int removed = rcsRemoveValue(idle, 5);
    cs_enableProfiler(static_cast<Profiler*>(profiler));
    return removed;
  };
  Profiler* profiler = cs_createProfiler(0);
  cs_eventNewMin(&x, 1, removeAndEnable, profiler);
  EXPECT_TRUE(cs_GE(x, 1));
  cs_disableProfiler(profiler);
  const Report::Rows expected = {{"cs_Neq here", "1 0"}, {"cs_eventNewMin here", "1 0"}};
  EXPECT_EQ(reportOf(profiler).rows, expected);
}

TEST_F(Profile, CountsInTheMiddleOfARunThatACallbackEnablesItFor)
{
  // Two of a kind are woken in a run. First a failure in it, of which the callback for conflicts hears.
  Profiler* profiler = cs_createProfiler(0);
  CSint *twice[] = {x, x}, *both[] = {x, y};
  char older[] = "older", newer[] = "newer";
  locateAt(older);
  EXPECT_TRUE(cs_AllNeq(twice, 2));
  locateAt(newer);
  EXPECT_TRUE(cs_AllNeq(both, 2));
  auto enable = [](CSint*, int, const ValueSelection*, CSint**, int, void* p) {
    cs_enableProfiler(static_cast<Profiler*>(p));
  };
  cs_eventConflict(both, 1, enable, profiler);
  EXPECT_FALSE(cs_EQ(x, 3));
  cs_disableProfiler(profiler);
  EXPECT_EQ(reportOf(profiler).rows, Report::Rows({{"cs_AllNeq older", "1 1"}}));

  // The same in a large block of disequalities: z fixes x and one of its neighbours at once.
  Profiler* large = cs_createProfiler(0);
  CSint *z = cs_createCSint(0, 9), *w = cs_createCSint(0, 9), *failing = nullptr;
  for (int i = 0; i < 60; i++) {
    CSint* neighbour = cs_createCSint(0, 9);
    locateAt(i == 45 ? here : older);
    EXPECT_TRUE(cs_Neq(w, neighbour));
    failing = i == 45 ? neighbour : failing;
  }
  EXPECT_TRUE(cs_Eq(z, failing) && cs_Eq(z, w));
  cs_eventConflict(&w, 1, enable, large);
  EXPECT_FALSE(cs_EQ(z, 3));
  cs_disableProfiler(large);
  EXPECT_EQ(reportOf(large).rows, Report::Rows({{"cs_Neq here", "1 1"}}));

  // Then a context that a callback leaves open, so that the first of the run starts a flush.
  Profiler* nested = cs_createProfiler(0);
  CSint *a = cs_createCSint(0, 9), *b = cs_createCSint(0, 9), *c = cs_createCSint(0, 9);
  cs_eventNeq(
      &b, 1, [](CSint*, int, int, CSint**, int, void* p) { return cs_enableProfiler(static_cast<Profiler*>(p)), 1; },
      nested);
  locateAt(older);
  EXPECT_TRUE(cs_Neq(a, c));
  locateAt(newer);
  EXPECT_TRUE(cs_Neq(a, b));
  cs_eventKnown(
      &a, 1, [](int, int, CSint**, int, void*) { return cs_saveContext(), 1; }, nullptr);
  EXPECT_TRUE(cs_EQ(a, 5));
  Report::Rows rows = reportOf(nested).rows;
  EXPECT_EQ(rows["cs_Neq newer"] + ", " + rows["cs_Neq older"], "1 0, 2 0");
  cs_restoreAll();
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
  Profiler* profiler = cs_createProfiler(0);
  expectForm(profiler, "platform: \\w+\narch: \\w+\nbase address: 0x[1-9a-f][0-9a-f]*\nformat: darwin_atos\n");
  EXPECT_TRUE(reportOf(profiler).rows.empty());
#ifdef __linux__
  const std::string base = reportOf(profiler).header[4];
  EXPECT_EQ(std::stoull(base.substr(base.find("0x")), nullptr, 16), reinterpret_cast<uintptr_t>(&__executable_start));
#endif
  locateAt(here);
  EXPECT_TRUE(cs_Lt(x, y));
  locateAt(twoTabs);
  EXPECT_TRUE(cs_Le(x, y));
  cs_enableProfiler(profiler);
  cs_GE(x, 1);
  const std::string start = reportOf(profiler).header[2];
  cs_disableProfiler(profiler);
  cs_enableProfiler(profiler);
  cs_disableProfiler(profiler);
  expectForm(profiler, "start_time: \\d+\nend_time: \\d+\nplatform: generic\nformat: word\n");
  EXPECT_EQ(reportOf(profiler).header[2], start);
  EXPECT_EQ(reportOf(profiler).rows.size(), 2u);
  EXPECT_EQ(reportOf(profiler).rows["cs_Le a\tb\t"], "2 0");
}

TEST_F(Profile, DeletingOnlyUnlinks)
{
  auto rowOf = [](Profiler* profiler) { return reportOf(profiler).rows["spy spy"]; };
  // The record is the client's from then on, so a pointer outside keeps it reachable.
  static Profiler* deleted;
  deleted = cs_createProfiler(0);
  cs_enableProfiler(deleted);
  Spy spy("spy");
  spy.watch(x, "x").failAt = 3;
  cs_GE(x, 1);
  cs_deleteProfiler(deleted);
  EXPECT_TRUE(rcsIsProfilerEnabled());
  cs_GE(x, 2);
  EXPECT_EQ(rowOf(deleted), "1 0");
  Profiler *first = cs_createProfiler(0), *middle = cs_createProfiler(0), *last = cs_createProfiler(0);
  for (Profiler* p : {first, middle, last})
    cs_enableProfiler(p);
  cs_disableProfiler(middle);
  cs_GE(x, 3); // a failing handler counts as call and failure
  EXPECT_EQ(rowOf(first) + ", " + rowOf(middle) + ", " + rowOf(last), "1 1, , 1 1");
  for (Profiler* p : {last, first, deleted})
    cs_disableProfiler(p);
  EXPECT_FALSE(rcsIsProfilerEnabled());
  cs_end();
  ended = true;
  EXPECT_EQ(rowOf(deleted), "1 0");
}

TEST_F(Profile, Files)
{
  Profiler* profiler = cs_createProfiler(0);
  EXPECT_EQ(cs_profilerWriteFile(profiler, "/no such folder/report"), 0);
  char path[] = "/tmp/ku-report-XXXXXX";
  close(mkstemp(path));
  EXPECT_EQ(cs_profilerWriteFile(profiler, path), 0);
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  EXPECT_EQ(line, "Ku Profiler: Constraint 1.0");
  remove(path);
}
