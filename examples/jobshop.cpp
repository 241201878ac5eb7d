/*
 * ku-jobshop: jobs go from machine to machine, each in its own order; a machine works on one job at a time.
 *
 * The model: the start of each step. Steps of a job follow each other; the steps on a machine are under cs_Disjunctive.
 * What is decided is not when a step starts but, for each two steps on a machine, which comes first: a boolean for
 * each. Once all of these are decided every step may start as early as it can.
 *
 * cs_Disjunctive may pass over a schedule, so what it finds is the best that it lets through. The booleans alone say
 * the same exactly: with --exact it is left out, and the best is proved to be the best.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-jobshop [OPTION]... FILE\n"
    "Finds a schedule for the job shop in FILE that ends as early as can be. FILE holds whole\n"
    "numbers: jobs, machines and, for each step of each job in its order, a machine from 0 on\n"
    "and a duration.\n"
    "\n"
    "  --deadline END   any schedule that ends by END\n"
    "  --exact          without cs_Disjunctive, which may pass over a schedule\n"
    "  --time SECONDS   give up after this long, with the best schedule so far\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

struct Step
{
  int machine, duration;
};

struct Shop
{
  int machines = 0;
  std::vector<std::vector<Step>> jobs;
  int total = 0; // of all durations
};

static bool read(const std::string& file, Shop& shop)
{
  Numbers in(file);
  const int jobs = in.next("a number of jobs", 1, 1000);
  shop.machines = in.next("a number of machines", 1, 1000);
  shop.jobs.resize(static_cast<size_t>(jobs));
  for (std::vector<Step>& job : shop.jobs)
    for (int k = 0; k < shop.machines; k++) {
      const int machine = in.next("a machine", 0, shop.machines - 1);
      job.push_back({machine, in.next("a duration", 0, 1000)});
      shop.total += job.back().duration;
    }
  return in.done();
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Model
 * ------------------------------------------------------------------------------------------------------------------ */

struct Pair
{
  CSint *first, *second; // the two starts
};

static std::vector<std::vector<CSint*>> start;       // by job and step
static std::vector<std::vector<CSint*>> onMachine;   // the starts of each machine's steps
static std::vector<std::vector<CSint*>> durationsOn; // and their durations
static std::vector<Pair> pairs;                      // beside the booleans of `decision`
static std::vector<CSint*> decision;                 // does the first come first? Then all the starts.
static CSint* end;

static CSint* endOf(CSint* begin, CSint* duration) { return cs_Add(begin, duration); }

static bool order(CSint* a, CSint* da, CSint* b, CSint* db)
{
  CSint *endA = endOf(a, da), *endB = endOf(b, db);
  CSint* aFirst = endA ? cs_ReifLe(endA, b) : nullptr;
  CSint* bFirst = endB ? cs_ReifLe(endB, a) : nullptr;
  if (!aFirst || !bFirst || !cs_Neq(aFirst, bFirst))
    return false;
  decision.push_back(aFirst);
  pairs.push_back({a, b});
  return true;
}

static bool buildModel(const Shop& shop, int latest, bool exact)
{
  onMachine.resize(static_cast<size_t>(shop.machines));
  durationsOn.resize(onMachine.size());
  static std::vector<CSint*> ends;
  for (const std::vector<Step>& job : shop.jobs) {
    CSint* previous = nullptr;
    start.emplace_back();
    for (const Step& step : job) {
      CSint* begin = latest < step.duration ? nullptr : cs_createCSint(0, latest - step.duration);
      CSint* duration = CSINT(step.duration);
      if (!begin || (previous && !cs_Le(previous, begin)))
        return false;
      previous = endOf(begin, duration);
      start.back().push_back(begin);
      onMachine[static_cast<size_t>(step.machine)].push_back(begin);
      durationsOn[static_cast<size_t>(step.machine)].push_back(duration);
    }
    ends.push_back(previous);
  }
  for (size_t m = 0; m < onMachine.size(); m++) {
    std::vector<CSint*>&steps = onMachine[m], &durations = durationsOn[m];
    if (!exact && !cs_Disjunctive(steps.data(), durations.data(), static_cast<int>(steps.size())))
      return false;
    for (size_t j = 0; j < steps.size(); j++)
      for (size_t i = 0; i < j; i++)
        if (!order(steps[i], durations[i], steps[j], durations[j]))
          return false;
  }
  for (const std::vector<CSint*>& job : start)
    decision.insert(decision.end(), job.begin(), job.end());
  end = cs_Max(ends.data(), static_cast<int>(ends.size()));
  return end && cs_LE(end, latest);
}

// The two steps with the fewest places left, then the earliest start.
static CSint* mostUrgent(CSint** variables, int n)
{
  CSint* best = nullptr;
  long long fewest = 0;
  for (size_t i = 0; i < pairs.size(); i++) {
    if (cs_isInstantiated(variables[i]))
      continue;
    const long long places =
        static_cast<long long>(cs_getNbElements(pairs[i].first)) + cs_getNbElements(pairs[i].second);
    if (!best || places < fewest) {
      best = variables[i];
      fewest = places;
    }
  }
  if (best)
    return best;
  for (int i = static_cast<int>(pairs.size()); i < n; i++)
    if (!cs_isInstantiated(variables[i]) && (!best || cs_getMin(variables[i]) < cs_getMin(best)))
      best = variables[i];
  return best;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Output
 * ------------------------------------------------------------------------------------------------------------------ */

static std::vector<std::vector<int>> bestStart;
static int bestEnd = -1;

static void keep(CSint**, int, CSint* cost)
{
  bestEnd = cs_getMin(cost);
  bestStart.clear();
  for (const std::vector<CSint*>& job : start) {
    bestStart.emplace_back();
    for (const CSint* s : job)
      bestStart.back().push_back(cs_getMin(s));
  }
}

// Checked without the solver.
static bool isSchedule(const Shop& shop, int latest)
{
  std::vector<std::vector<std::pair<int, int>>> busy(static_cast<size_t>(shop.machines));
  for (size_t j = 0; j < shop.jobs.size(); j++) {
    int ready = 0;
    for (size_t k = 0; k < shop.jobs[j].size(); k++) {
      const Step& step = shop.jobs[j][k];
      if (bestStart[j][k] < ready)
        return false;
      ready = bestStart[j][k] + step.duration;
      busy[static_cast<size_t>(step.machine)].emplace_back(bestStart[j][k], ready);
    }
    if (ready > latest)
      return false;
  }
  for (auto& times : busy) {
    std::sort(times.begin(), times.end());
    for (size_t i = 1; i < times.size(); i++)
      if (times[i].first < times[i - 1].second)
        return false;
  }
  return true;
}

// A line for each machine, with the jobs as letters.
static void print(const Shop& shop)
{
  std::vector<std::string> line(static_cast<size_t>(shop.machines), std::string(static_cast<size_t>(bestEnd), '.'));
  for (size_t j = 0; j < shop.jobs.size(); j++)
    for (size_t k = 0; k < shop.jobs[j].size(); k++)
      line[static_cast<size_t>(shop.jobs[j][k].machine)].replace(static_cast<size_t>(bestStart[j][k]),
          static_cast<size_t>(shop.jobs[j][k].duration), static_cast<size_t>(shop.jobs[j][k].duration),
          static_cast<char>('a' + j % 26));
  for (size_t m = 0; m < line.size(); m++)
    std::printf("%3zu %s\n", m, line[m].c_str());
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-jobshop", usage);
  const int deadline = arguments.number("--deadline", -1, 0, 1000000);
  const bool exact = arguments.flag("--exact");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  Shop shop;
  if (!read(files[0], shop))
    return badInput;
  const int latest = deadline < 0 ? shop.total : deadline;
  startSolver("ku-jobshop", seconds);
  const bool possible = buildModel(shop, latest, exact);
  const int n = static_cast<int>(decision.size());
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && deadline < 0)
    outcome = ku_minimize(&run, decision.data(), n, mostUrgent, end, keep);
  else if (possible)
    outcome = ku_search(&run, decision.data(), n, mostUrgent);
  if (outcome == KU_SOLVED)
    keep(decision.data(), n, end);
  const bool found = bestEnd >= 0;
  if (found)
    print(shop);
  if (isStopped(outcome))
    std::printf("%s: ", stoppedText(outcome));
  else if (found)
    std::printf("%s: ", deadline >= 0 ? "found" : exact ? "optimal" : "best");
  if (found)
    std::printf("ends at %d, %s; ", bestEnd, isSchedule(shop, latest) ? "verified" : "WRONG");
  else
    std::printf("%s; ", isStopped(outcome) ? "no schedule so far" : "there is no schedule");
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
