/*
 * ku-profile: where does the work go? Counts the placements of n queens with a profiler on and writes its report.
 *
 * The model says for each two rows that the queens stand in different columns and on different diagonals, with one
 * constraint each and two helper variables for each pair. The report tells what that costs: three quarters of the calls
 * go to the helpers. --better says the same with three constraints on n variables each, in a fifth of the calls;
 * compare the two reports with ku-report.
 *
 * A locator puts the client's own words into the report; --call-sites leaves the library's own in place, which names
 * the place of the call in the program.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-profile [OPTION]... N REPORT\n"
    "Counts the placements of N queens, and writes into the file REPORT how often which\n"
    "constraint was called.\n"
    "\n"
    "  --better         with three constraints in place of one for each pair\n"
    "  --call-sites     name the constraints by their place in this program\n"
    "  --time SECONDS   give up after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the report can't be written, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

static const char* part; // of the model that is being posted
static long long placements;

static const char* namePart(void*) { return part; }

static bool postPairs(CSint** column, int n)
{
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      part = "columns";
      if (!cs_Neq(column[i], column[j]))
        return false;
      part = "diagonals";
      CSint* distance = cs_Abs(cs_Sub(column[i], column[j]));
      if (!distance || !cs_NEQ(distance, j - i))
        return false;
    }
  return true;
}

static bool postArrays(CSint** column, int n)
{
  static std::vector<CSint*> rising, falling;
  part = "diagonals";
  for (int i = 0; i < n; i++) {
    rising.push_back(cs_Add(column[i], CSINT(i)));
    falling.push_back(cs_Sub(column[i], CSINT(i)));
    if (!rising.back() || !falling.back())
      return false;
  }
  if (!cs_AllNeq(rising.data(), n) || !cs_AllNeq(falling.data(), n))
    return false;
  part = "columns";
  return cs_AllNeq(column, n) != 0;
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-profile", usage);
  const bool better = arguments.flag("--better"), callSites = arguments.flag("--call-sites");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> words = arguments.files();
  if (words.size() != 2)
    arguments.fail("N and REPORT are wanted");
  const int n = arguments.toNumber("N", words[0], 1, 100);
  startSolver("ku-profile", seconds);
  if (!callSites)
    cs_setProfilerLocator("text", namePart, nullptr);
  Profiler* profiler = cs_createProfiler(CS_PROFILER_CONSTRAINTS);
  CSint** column = cs_createCSintArray(n, 0, n - 1);
  cs_enableProfiler(profiler);
  const bool possible = better ? postArrays(column, n) : postPairs(column, n);
  KuRun run = newRun(words[0] + " queens");
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_findAll(&run, column, n, cs_findFreeVar, [](CSint**, int) { placements++; });
  cs_disableProfiler(profiler);
  if (isStopped(outcome))
    std::printf("%s, ", stoppedText(outcome));
  std::printf("%s; %s\n", plural(placements, "placement", "placements").c_str(), cost(run).c_str());
  int status = worse(done, outcome);
  FILE* report = std::fopen(words[1].c_str(), "w");
  if (report)
    cs_profilerWrite(profiler, report);
  if (!report || std::fclose(report) != 0) {
    complain({words[1]}, "can't be written");
    status = std::max<int>(status, badInput);
  }
  cs_end();
  return status;
}
