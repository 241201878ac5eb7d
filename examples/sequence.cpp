/*
 * ku-sequence: magic sequences of length n: x(v) tells how often v occurs in the sequence, for v = 0 to n - 1.
 *
 * The model says just that, with cs_OccurConstraints: the count of v in the array is the array's own variable at v.
 * Two sums that follow from it, x(0) + ... + x(n-1) = n and 0 x(0) + ... + (n-1) x(n-1) = n, let the solver see more.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-sequence [OPTION]... N\n"
                            "Finds the magic sequences of length N.\n"
                            "\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

static std::vector<CSint*> times;

static bool buildModel(int n)
{
  static std::vector<int> value;
  for (int v = 0; v < n; v++) {
    times.push_back(cs_createCSint(0, n));
    value.push_back(v);
  }
  for (int v = 0; v < n; v++)
    if (!cs_OccurConstraints(times[static_cast<size_t>(v)], v, times.data(), n))
      return false;
  CSint* total = cs_Sigma(times.data(), n);
  CSint* weighted = cs_ScalProd(times.data(), value.data(), n);
  return total && weighted && cs_EQ(total, n) && cs_EQ(weighted, n);
}

static long long sequences;

static void print(CSint** x, int n)
{
  sequences++;
  for (int i = 0; i < n; i++)
    std::printf("%d%s", cs_getValue(x[i]), i == n - 1 ? "\n" : " ");
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-sequence", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> words = arguments.files();
  if (words.size() != 1)
    arguments.fail("one N is wanted");
  const int n = arguments.toNumber("N", words[0], 1, 200);
  startSolver("ku-sequence", seconds);
  const bool possible = buildModel(n);
  KuRun run = newRun("length " + words[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_findAll(&run, times.data(), n, cs_findFreeVar, print);
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  std::printf("%s; %s\n", plural(sequences, "sequence", "sequences").c_str(), cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
