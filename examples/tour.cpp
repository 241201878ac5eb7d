/*
 * ku-tour: the shortest way round through all cities.
 *
 * The model: the city after each city. All are different, and so every city lies on a circle; that there is one circle
 * and not several is said by walking: the city at each place is next[the city at the place before], cs_VarElement, and
 * all places are different too. The length of each leg is a row of the distances at next, cs_Element.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-tour [OPTION]... FILE\n"
    "Finds the shortest tour through the cities in FILE, which holds their number and, row by\n"
    "row, the distances from each to each.\n"
    "\n"
    "  --time SECONDS   give up after this long, with the shortest so far\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130\n"
    "Ctrl-C.\n";

using Distances = std::vector<std::vector<int>>;

static bool read(const std::string& file, Distances& distances)
{
  Numbers in(file);
  const int n = in.next("a number of cities", 2, 1000);
  distances.assign(static_cast<size_t>(n), {});
  for (std::vector<int>& row : distances)
    for (int j = 0; j < n; j++)
      row.push_back(in.next("a distance", 0, 1000000));
  return in.done();
}

static std::vector<CSint*> next, place, leg;
static CSint* length;

static bool buildModel(const Distances& distances)
{
  const int n = static_cast<int>(distances.size());
  for (int i = 0; i < n; i++) {
    next.push_back(cs_createCSint(0, n - 1));
    if (!cs_NEQ(next.back(), i))
      return false;
  }
  if (!cs_AllNeq(next.data(), n))
    return false;
  place.push_back(next[0]);
  for (int k = 2; k < n; k++) {
    place.push_back(cs_VarElement(place.back(), next.data(), n));
    if (!place.back() || !cs_NEQ(place.back(), 0))
      return false;
  }
  if (!cs_AllNeq(place.data(), n - 1))
    return false;
  for (size_t i = 0; i < distances.size(); i++)
    leg.push_back(cs_Element(next[i], distances[i].data(), n));
  length = cs_Sigma(leg.data(), n);
  return length != nullptr;
}

static std::vector<int> tour;
static int shortest = -1;

static void keep(CSint**, int, CSint* cost)
{
  shortest = cs_getMin(cost);
  tour = {0};
  for (const CSint* city : place)
    tour.push_back(cs_getValue(city));
}

// Checked without the solver: does the tour pass through all cities, and is it so long?
static bool isTour(const Distances& distances)
{
  std::vector<bool> seen(distances.size(), false);
  int sum = 0;
  for (size_t k = 0; k < tour.size(); k++) {
    const auto from = static_cast<size_t>(tour[k]), to = static_cast<size_t>(tour[(k + 1) % tour.size()]);
    if (seen[from])
      return false;
    seen[from] = true;
    sum += distances[from][to];
  }
  return tour.size() == distances.size() && sum == shortest;
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-tour", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  Distances distances;
  if (!read(files[0], distances))
    return badInput;
  startSolver("ku-tour", seconds);
  const bool possible = buildModel(distances);
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_minimize(&run, place.data(), static_cast<int>(place.size()), cs_findFreeVarNbElements, length, keep);
  if (shortest < 0) {
    std::printf("%s; ", isStopped(outcome) ? stoppedText(outcome) : "there is no tour");
  } else {
    for (const int city : tour)
      std::printf("%d ", city);
    std::printf("\n%s: length %d, %s; ", isStopped(outcome) ? stoppedText(outcome) : "optimal", shortest,
        isTour(distances) ? "verified" : "WRONG");
  }
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
