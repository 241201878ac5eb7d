/*
 * ku-quasigroup: completes a latin square, in which each row and each column has every symbol once.
 *
 * The model: all cells of a row and of a column are different. The search is by rating: the cell with the fewest
 * symbols left, and of its symbols first the one that the fewest other open cells of its row and column could take, so
 * that the least is taken away from them.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-quasigroup [OPTION]... FILE\n"
    "Completes the square in FILE: its order n and n rows of n symbols, 1 to n, or 0 for a\n"
    "cell that is open.\n"
    "\n"
    "  --time SECONDS   give up after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130\n"
    "Ctrl-C.\n";

static int order;
static std::vector<int> given;
static std::vector<CSint*> cell;
static std::vector<std::vector<CSint*>> lines; // the rows, then the columns

static bool read(const std::string& file)
{
  Numbers in(file);
  order = in.next("the order", 1, 200);
  for (int i = 0; i < order * order; i++)
    given.push_back(in.next("a symbol", 0, order));
  return in.done();
}

static bool buildModel()
{
  const auto n = static_cast<size_t>(order);
  for (const int symbol : given)
    cell.push_back(symbol ? CSINT(symbol) : cs_createCSint(1, order));
  lines.resize(2 * n);
  for (size_t y = 0; y < n; y++)
    for (size_t x = 0; x < n; x++) {
      lines[y].push_back(cell[y * n + x]);
      lines[n + x].push_back(cell[y * n + x]);
    }
  for (std::vector<CSint*>& line : lines)
    if (!cs_AllNeq(line.data(), order))
      return false;
  return true;
}

static int fewestSymbols(CSint** cells, int n)
{
  CSint* best = cs_findFreeVarNbElements(cells, n);
  return best ? static_cast<int>(std::find(cells, cells + n, best) - cells) : -1;
}

static int othersWith(int position, int symbol)
{
  const std::vector<CSint*>*row = &lines[static_cast<size_t>(position / order)],
        *column = &lines[static_cast<size_t>(order + position % order)];
  int others = 0;
  for (const auto* line : {row, column})
    for (CSint* v : *line)
      others += !cs_isInstantiated(v) && cs_isIn(v, symbol);
  return others;
}

static bool isLatin()
{
  for (const std::vector<CSint*>& line : lines) {
    std::vector<bool> seen(line.size() + 1, false);
    for (const CSint* v : line) {
      if (seen[static_cast<size_t>(cs_getValue(v))])
        return false;
      seen[static_cast<size_t>(cs_getValue(v))] = true;
    }
  }
  return true;
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-quasigroup", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  if (!read(files[0]))
    return badInput;
  startSolver("ku-quasigroup", seconds);
  const int n = order * order;
  const bool possible = buildModel();
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_searchCriteria(&run, cell.data(), n, fewestSymbols, othersWith);
  if (isStopped(outcome)) {
    std::printf("%s; ", stoppedText(outcome));
  } else if (outcome == KU_SOLVED) {
    for (int i = 0; i < n; i++)
      std::printf("%4d%s", cs_getValue(cell[static_cast<size_t>(i)]), i % order == order - 1 ? "\n" : "");
    std::printf("completed, %s; ", isLatin() ? "verified" : "WRONG");
  } else {
    std::printf("can't be completed; ");
  }
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
