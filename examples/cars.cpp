/*
 * ku-cars: in which order do the cars go down the line? A station that fits an option can serve so many of any so many
 * cars in a row.
 *
 * The model: the class of the car at each place. cs_OccurConstraints gives each class its number of cars, cs_Element
 * reads from a table whether a class has an option, and a sum over each stretch of places keeps to what its station
 * can do.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-cars [OPTION]... FILE\n"
    "Finds an order of the cars in FILE: whole numbers, with comments behind '#':\n"
    "  cars, options, classes\n"
    "  for each option, how many cars may have it ...\n"
    "  ... of how many in a row\n"
    "  for each class its number from 0, its number of cars and, for each option, 1 or 0.\n"
    "\n"
    "  --all            count all orders\n"
    "  --time SECONDS   give up after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

struct Plant
{
  int cars = 0;
  std::vector<int> most, stretch;          // for each option
  std::vector<int> number;                 // of cars, for each class
  std::vector<std::vector<int>> hasOption; // for each option, by class
};

static bool read(const std::string& file, Plant& plant)
{
  Numbers in(file);
  plant.cars = in.next("a number of cars", 1, 1000);
  const int options = in.next("a number of options", 0, 100);
  const int classes = in.next("a number of classes", 1, 1000);
  for (int o = 0; o < options; o++)
    plant.most.push_back(in.next("a number of cars in a stretch", 0, 1000));
  for (int o = 0; o < options; o++)
    plant.stretch.push_back(in.next("the length of a stretch", 1, 1000));
  plant.hasOption.resize(static_cast<size_t>(options));
  int cars = 0;
  for (int c = 0; c < classes; c++) {
    in.next("the class " + std::to_string(c), c, c);
    plant.number.push_back(in.next("the number of its cars", 0, 1000));
    cars += plant.number.back();
    for (std::vector<int>& has : plant.hasOption)
      has.push_back(in.next("1 or 0 for an option", 0, 1));
  }
  if (!in.done())
    return false;
  if (cars != plant.cars)
    return complain({file}, "has " + std::to_string(cars) + " cars in its classes"), false;
  return true;
}

static std::vector<CSint*> car;                 // the class at each place
static std::vector<std::vector<CSint*>> fitted; // for each option a boolean at each place

static bool buildModel(const Plant& plant)
{
  const int classes = static_cast<int>(plant.number.size());
  for (int i = 0; i < plant.cars; i++)
    car.push_back(cs_createCSint(0, classes - 1));
  for (int c = 0; c < classes; c++)
    if (!cs_OccurConstraints(CSINT(plant.number[static_cast<size_t>(c)]), c, car.data(), plant.cars))
      return false;
  fitted.resize(plant.hasOption.size());
  for (size_t o = 0; o < fitted.size(); o++) {
    for (CSint* place : car) {
      fitted[o].push_back(cs_Element(place, plant.hasOption[o].data(), classes));
      if (!fitted[o].back())
        return false;
    }
    for (int first = 0; first + plant.stretch[o] <= plant.cars; first++) {
      CSint* sum = cs_Sigma(fitted[o].data() + first, plant.stretch[o]);
      if (!sum || !cs_LE(sum, plant.most[o]))
        return false;
    }
  }
  return true;
}

static long long orders;

static void print(const Plant& plant)
{
  std::printf("class  ");
  for (const CSint* c : car)
    std::printf(" %2d", cs_getValue(c));
  for (size_t o = 0; o < fitted.size(); o++) {
    std::printf("\n%2d of %2d", plant.most[o], plant.stretch[o]);
    for (const CSint* has : fitted[o])
      std::printf(cs_getValue(has) ? " ##" : "  .");
  }
  std::printf("\n");
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-cars", usage);
  const bool all = arguments.flag("--all");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  Plant plant;
  if (!read(files[0], plant))
    return badInput;
  startSolver("ku-cars", seconds);
  const bool possible = buildModel(plant);
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && all)
    outcome = ku_findAll(&run, car.data(), plant.cars, cs_findFreeVar, [](CSint**, int) { orders++; });
  else if (possible)
    outcome = ku_search(&run, car.data(), plant.cars, cs_findFreeVar);
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  else if (outcome == KU_SOLVED)
    print(plant);
  if (all)
    std::printf("%s; ", plural(orders, "order", "orders").c_str());
  else if (!isStopped(outcome))
    std::printf("%s; ", outcome == KU_SOLVED ? "found" : "there is no order");
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
