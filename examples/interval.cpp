/*
 * ku-interval: all-interval series, orders of 0..n-1 whose neighbours differ by each of 1..n-1 once.
 *
 * The model: the notes and the absolute values of their differences, both all different.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-interval [OPTION]... N\n"
                            "Finds an order of the N notes 0..N-1 whose N-1 intervals are all different.\n"
                            "\n"
                            "  --all            count all of them\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

static std::vector<CSint*> note, interval;

static bool buildModel(int n)
{
  for (int i = 0; i < n; i++)
    note.push_back(cs_createCSint(0, n - 1));
  for (size_t i = 1; i < note.size(); i++) {
    interval.push_back(cs_Abs(cs_Sub(note[i], note[i - 1])));
    if (!cs_InInterval(interval.back(), 1, n - 1))
      return false;
  }
  return cs_AllNeq(note.data(), n) && cs_AllNeq(interval.data(), n - 1);
}

static long long series;

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-interval", usage);
  const bool all = arguments.flag("--all");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> sizes = arguments.files();
  if (sizes.size() != 1)
    arguments.fail("one N is wanted");
  const int n = arguments.toNumber("N", sizes[0], 1, 1000);
  startSolver("ku-interval", seconds);
  const bool possible = buildModel(n);
  KuRun run = newRun(sizes[0] + " notes");
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && all)
    outcome = ku_findAll(&run, note.data(), n, cs_findFreeVar, [](CSint**, int) { series++; });
  else if (possible)
    outcome = ku_search(&run, note.data(), n, cs_findFreeVarNbElements);
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  else if (outcome == KU_SOLVED)
    cs_printf("%A\n", note.data(), n);
  if (all)
    std::printf("%lld series; ", series);
  else if (!isStopped(outcome))
    std::printf("%s; ", outcome == KU_SOLVED ? "found" : "there is none");
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
