/*
 * ku-restart: a hard random problem, solved in runs that learn.
 *
 * The problem: so many variables with so many values each; for some pairs of variables some pairs of values are
 * forbidden, drawn at random from a seed (cs_IfNeq for each). Where about half of such problems have a solution they
 * are hardest.
 *
 * The search: each run begins at the root and has a limit of failures, which grows with the runs. What a run that was
 * cut short has ruled out is kept as no-goods, and each failure makes its variable weigh more in the choice of the next
 * ones. --plain searches once, without a limit, with the same choice of variables but without weights.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-restart [OPTION]...\n"
                            "Draws a random problem, solves it by restarts with no-goods, and checks the solution.\n"
                            "\n"
                            "  --variables N    number of variables (100)\n"
                            "  --values N       values of each (5)\n"
                            "  --density P      percent of the pairs of variables that are constrained (8)\n"
                            "  --tightness P    percent of the pairs of values that are forbidden then (29)\n"
                            "  --seed N         of the random numbers (1)\n"
                            "  --plain          one search without restarts\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

// The same numbers on every machine.
class Random
{
public:
  explicit Random(int seed) : _state(static_cast<uint64_t>(seed)) {}

  int below(int n)
  {
    _state = _state * 6364136223846793005u + 1442695040888963407u;
    return static_cast<int>((_state >> 33) % static_cast<uint64_t>(n));
  }

private:
  uint64_t _state;
};

struct Forbidden
{
  int x, y, valueOfX, valueOfY;
};

static std::vector<Forbidden> draw(int variables, int values, int density, int tightness, int seed)
{
  Random random(seed);
  std::vector<Forbidden> pairs;
  for (int y = 0; y < variables; y++)
    for (int x = 0; x < y; x++) {
      if (random.below(100) >= density)
        continue;
      for (int a = 0; a < values; a++)
        for (int b = 0; b < values; b++)
          if (random.below(100) < tightness)
            pairs.push_back({x, y, a, b});
    }
  return pairs;
}

static std::vector<CSint*> variable;
static std::vector<int> weight; // failures at each variable, and one more
static int runs, limit = 100;
static bool weighing = true;

// The fewest values for its weight.
static int mostPromising(CSint** variables, int n)
{
  int best = -1;
  double least = 0;
  for (int i = 0; i < n; i++) {
    if (cs_isInstantiated(variables[i]))
      continue;
    const double rating = static_cast<double>(cs_getNbElements(variables[i])) / weight[static_cast<size_t>(i)];
    if (best < 0 || rating < least) {
      best = i;
      least = rating;
    }
  }
  return best;
}

static void weigh(int success, int, int position, const ValueSelection*, CSint**, int, void*)
{
  if (!success && weighing)
    weight[static_cast<size_t>(position)]++;
}

static void countRun(int, CSint**, int, void*) { runs++; }

static int growingLimit(void*)
{
  const int now = limit;
  limit += limit / 4;
  return now;
}

static bool holds(const std::vector<Forbidden>& pairs)
{
  for (const Forbidden& f : pairs)
    if (cs_getValue(variable[static_cast<size_t>(f.x)]) == f.valueOfX &&
        cs_getValue(variable[static_cast<size_t>(f.y)]) == f.valueOfY)
      return false;
  return true;
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-restart", usage);
  const int n = arguments.number("--variables", 100, 2, 1000), values = arguments.number("--values", 5, 1, 1000);
  const int density = arguments.number("--density", 8, 0, 100);
  const int tightness = arguments.number("--tightness", 29, 0, 100);
  const int seed = arguments.number("--seed", 1, 0, 1000000000);
  const bool plain = arguments.flag("--plain");
  const double seconds = arguments.seconds("--time");
  if (!arguments.files().empty())
    arguments.fail("no files are wanted");
  const std::vector<Forbidden> pairs = draw(n, values, density, tightness, seed);
  startSolver("ku-restart", seconds);
  // So many constraints are posted that the default locator, which looks at the stack for each, would cost most of all.
  cs_setProfilerLocator(
      "text", [](void*) { return "ku-restart"; }, nullptr);
  for (int i = 0; i < n; i++)
    variable.push_back(cs_createCSint(0, values - 1));
  weight.assign(static_cast<size_t>(n), 1);
  weighing = !plain;
  bool possible = true;
  for (const Forbidden& f : pairs)
    possible = possible &&
               cs_IfNeq(variable[static_cast<size_t>(f.x)], variable[static_cast<size_t>(f.y)], f.valueOfX, f.valueOfY);
  std::vector<ValueSelector*> selectors(variable.size(), cs_getValueSelector(CS_MIN_TO_MAX));
  NoGoodSet* noGoods = cs_createNoGoodSet(variable.data(), n, nullptr, 1000, nullptr, nullptr);
  SearchNotify* notify = cs_createSearchNotify(nullptr);
  cs_searchNotifySetSearchStart(notify, countRun);
  cs_searchNotifySetAfterValueSelection(notify, weigh);
  KuRun run = newRun("seed " + std::to_string(seed));
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && plain)
    outcome = ku_searchValueSelector(&run, variable.data(), selectors.data(), n, mostPromising, notify);
  else if (possible)
    outcome = ku_searchRestart(
        &run, variable.data(), selectors.data(), n, mostPromising, growingLimit, nullptr, noGoods, notify);
  std::printf("%d variables, %zu forbidden pairs\n", n, pairs.size());
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  else
    std::printf("%s; ", outcome != KU_SOLVED ? "no solution" : holds(pairs) ? "a solution, verified" : "WRONG");
  std::printf("%s, %s; %s\n", plural(runs, "run", "runs").c_str(),
      plural(cs_getNbNoGoods(noGoods), "no-good", "no-goods").c_str(), cost(run).c_str());
  cs_freeSearchNotify(notify);
  cs_end();
  return worse(done, outcome);
}
