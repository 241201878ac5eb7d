/*
 * ku-knapsack: fills a knapsack with the most valuable items that it can carry.
 *
 * The model: a variable 0..1 for each item, and two linear sums, the weight and the value. The program asks for a
 * filling, then for one that is worth more, and so on until there is none: each bound is posted with cs_GT for good,
 * and each search runs in a context of its own.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-knapsack [OPTION]... FILE...\n"
                            "Fills the knapsack of each FILE with the most valuable items that it can carry.\n"
                            "\n"
                            "A line 'capacity C' and lines 'item NAME WEIGHT VALUE', in any order; blank lines and\n"
                            "lines that begin with '#' are skipped.\n"
                            "\n"
                            "  --time SECONDS   give up a file after this long, with the best filling so far\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 1 a file was missing or malformed, 2 wrong usage, 3 the time limit\n"
                            "ended a search, 130 Ctrl-C; the largest that applies.\n";

struct Knapsack
{
  int capacity = -1;
  std::vector<std::string> names;
  std::vector<int> weights, values;
};

/* So that the sums stay within 32 bits. */
static constexpr int largest = 1000000;
static constexpr size_t mostItems = 2000;

static bool readLine(const std::string& line, Knapsack& sack)
{
  std::istringstream words(line);
  std::string kind, name, rest;
  int weight = 0, value = 0;
  words >> kind;
  if (kind == "capacity")
    return sack.capacity < 0 && words >> sack.capacity && sack.capacity >= 0 && !(words >> rest);
  if (kind != "item" || !(words >> name >> weight >> value) || words >> rest)
    return false;
  if (weight < 0 || weight > largest || value < 0 || value > largest || sack.names.size() == mostItems)
    return false;
  sack.names.push_back(name);
  sack.weights.push_back(weight);
  sack.values.push_back(value);
  return true;
}

static bool read(const std::string& file, Knapsack& sack)
{
  const bool good = readLines(file, [&](const std::string& line) {
    return readLine(line, sack) ? ""
                                : "expected one 'capacity C', or up to 2000 lines 'item NAME WEIGHT VALUE' with "
                                  "numbers from 0 to a million";
  });
  if (!good)
    return false;
  if (sack.capacity < 0)
    return complain({file}, "has no capacity"), false;
  return true;
}

static void show(const Knapsack& sack, const std::vector<int>& taken)
{
  for (size_t i = 0; i < taken.size(); i++)
    if (taken[i])
      std::printf("  %-12s weighs %7d, worth %7d\n", sack.names[i].c_str(), sack.weights[i], sack.values[i]);
}

static int solve(const std::string& file, const Knapsack& sack)
{
  const int n = static_cast<int>(sack.names.size());
  std::vector<CSint*> take;
  for (int i = 0; i < n; i++)
    take.push_back(cs_createCSint(0, 1));
  CSint* weight = cs_ScalProd(take.data(), sack.weights.data(), n);
  CSint* value = cs_ScalProd(take.data(), sack.values.data(), n);
  const bool possible = weight && value && cs_LE(weight, sack.capacity);

  std::vector<int> best;
  int bestValue = -1, bestWeight = 0;
  auto found = [&] {
    best.clear();
    for (const CSint* t : take)
      best.push_back(cs_getValue(t));
    bestValue = cs_getValue(value);
    bestWeight = cs_getValue(weight);
  };
  KuRun sum = {};
  const KuOutcome outcome = possible ? maximize(file, take, cs_findFreeVar, value, sum, found) : KU_EXHAUSTED;

  show(sack, best);
  std::printf("%s: worth %d with %d of %d carried; %s\n", isStopped(outcome) ? stoppedText(outcome) : "optimal",
      bestValue, bestWeight, sack.capacity, cost(sum).c_str());
  return worse(done, outcome);
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-knapsack", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.empty())
    arguments.fail("no file is given");
  int status = done;
  for (const std::string& file : files) {
    Knapsack sack;
    if (!read(file, sack)) {
      status = std::max<int>(status, badInput);
      continue;
    }
    // A solver for each file: the constraints of the last one end with it.
    startSolver("ku-knapsack", seconds);
    std::printf("%s: %s\n", file.c_str(), plural(static_cast<long long>(sack.names.size()), "item", "items").c_str());
    status = std::max(status, solve(file, sack));
    cs_end();
    if (caughtSignal)
      break;
  }
  return status;
}
