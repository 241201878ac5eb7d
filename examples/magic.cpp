/*
 * ku-magic: magic squares, the numbers 1..n*n with the same sum in each row, each column and both diagonals.
 *
 * The model: one all-different over the cells, and a sum for each line.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-magic [OPTION]... N\n"
                            "Finds a magic square of side N.\n"
                            "\n"
                            "  --all            count all of them, rotations and reflections included\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

static std::vector<CSint*> cell;
static std::vector<std::vector<CSint*>> lines;

static bool buildModel(int n)
{
  const auto side = static_cast<size_t>(n);
  for (int i = 0; i < n * n; i++)
    cell.push_back(cs_createCSint(1, n * n));
  lines.resize(2 * side + 2);
  for (size_t i = 0; i < side; i++) {
    for (size_t j = 0; j < side; j++) {
      lines[i].push_back(cell[i * side + j]);
      lines[side + i].push_back(cell[j * side + i]);
    }
    lines[2 * side].push_back(cell[i * side + i]);
    lines[2 * side + 1].push_back(cell[i * side + side - 1 - i]);
  }
  const int magic = n * (n * n + 1) / 2;
  for (std::vector<CSint*>& line : lines) {
    CSint* sum = cs_Sigma(line.data(), n);
    if (!sum || !cs_EQ(sum, magic))
      return false;
  }
  return cs_AllNeq(cell.data(), n * n) != 0;
}

static long long squares;

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-magic", usage);
  const bool all = arguments.flag("--all");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> sizes = arguments.files();
  if (sizes.size() != 1)
    arguments.fail("one N is wanted");
  const int n = arguments.toNumber("N", sizes[0], 1, 100);
  startSolver("ku-magic", seconds);
  const bool possible = buildModel(n);
  KuRun run = newRun("side " + sizes[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && all)
    outcome = ku_findAll(&run, cell.data(), n * n, cs_findFreeVar, [](CSint**, int) { squares++; });
  else if (possible)
    outcome = ku_search(&run, cell.data(), n * n, cs_findFreeVarNbElementsMin);
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  else if (outcome == KU_SOLVED)
    for (int i = 0; i < n * n; i++)
      std::printf("%4d%s", cs_getValue(cell[static_cast<size_t>(i)]), i % n == n - 1 ? "\n" : "");
  if (all)
    std::printf("%s; ", plural(squares, "magic square", "magic squares").c_str());
  else if (!isStopped(outcome))
    std::printf("%s; ", outcome == KU_SOLVED ? "found" : "there is none");
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
