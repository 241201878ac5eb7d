/*
 * ku-queens: places n queens on a board of side n so that none attacks another.
 *
 * The model: the column of the queen in each row, and three all-different: the columns, the columns plus the row and
 * the columns less the row, which number the two kinds of diagonals.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-queens [OPTION]... N\n"
                            "Places N queens on a board of side N so that none attacks another, and draws the board.\n"
                            "\n"
                            "  --all            count all placements, without drawing\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

static std::vector<CSint*> column, up, down;

static bool buildModel(int n)
{
  for (int row = 0; row < n; row++) {
    column.push_back(cs_createCSint(0, n - 1));
    up.push_back(cs_Add(column.back(), CSINT(row)));
    down.push_back(cs_Sub(column.back(), CSINT(row)));
  }
  for (std::vector<CSint*>* line : {&column, &up, &down})
    if (!cs_AllNeq(line->data(), n))
      return false;
  return true;
}

static void draw(int n)
{
  for (const CSint* queen : column) {
    for (int c = 0; c < n; c++)
      std::fputs(c == cs_getValue(queen) ? " Q" : " .", stdout);
    std::putchar('\n');
  }
}

static long long placements;

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-queens", usage);
  const bool all = arguments.flag("--all");
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> sizes = arguments.files();
  if (sizes.size() != 1)
    arguments.fail("one N is wanted");
  const int n = arguments.toNumber("N", sizes[0], 1, 2000);
  startSolver("ku-queens", seconds);
  const bool possible = buildModel(n);
  KuRun run = newRun(sizes[0] + " queens");
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && all)
    outcome = ku_findAll(&run, column.data(), n, cs_findFreeVar, [](CSint**, int) { placements++; });
  else if (possible)
    outcome = ku_search(&run, column.data(), n, cs_findFreeVarNbElementsMin);
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  else if (outcome == KU_SOLVED)
    draw(n);
  if (all)
    std::printf("%s; ", plural(placements, "placement", "placements").c_str());
  else if (!isStopped(outcome))
    std::printf("%s; ", outcome == KU_SOLVED ? "placed" : "there is no placement");
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
