/*
 * ku-sudoku: solves Sudoku puzzles and says whether the solution is the only one.
 *
 * The model: a variable 1..9 for each cell, and cs_AllNeq for each row, column and box. It is built once. The clues of
 * a puzzle are set with cs_EQ inside a context, so that restoring it makes the model ready for the next puzzle.
 * cs_findAll takes the free cell with the fewest values first; its callback keeps the solutions and cancels the search
 * when there are as many as were asked for.
 */
#include <array>
#include <fstream>
#include <iostream>

#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-sudoku [OPTION]... [FILE]...\n"
    "Solves the Sudoku puzzles in each FILE, or in standard input when there is none or it is '-'.\n"
    "\n"
    "A puzzle is a line of 81 characters, row after row: 1 to 9, and '.' or '0' for an empty\n"
    "cell. Blank lines and lines that begin with '#' are skipped.\n"
    "\n"
    "  --count N        look for up to N solutions of each puzzle (2, which is enough to say\n"
    "                   whether the first is the only one)\n"
    "  --lines          print one line for each puzzle: its first solution, or the puzzle itself\n"
    "                   when there is none, then the number of solutions (2+: at least 2,\n"
    "                   1?: given up after the first)\n"
    "  --time SECONDS   give up a puzzle after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 a file or a line couldn't be read, 2 wrong usage, 3 a puzzle was\n"
    "given up, 130 Ctrl-C; the largest that applies.\n";

/* ---------------------------------------------------------------------------------------------------------------------
 * Model
 * ------------------------------------------------------------------------------------------------------------------ */

using Grid = std::array<int, 81>; // 0: empty

static CSint* cell[81];
static CSint* group[27][9]; // cs_AllNeq keeps its array by reference: this one lives as long as the solver

static void buildModel()
{
  for (CSint*& c : cell)
    c = cs_createCSint(1, 9);
  for (int i = 0; i < 9; i++)
    for (int j = 0; j < 9; j++) {
      group[i][j] = cell[9 * i + j];
      group[9 + i][j] = cell[9 * j + i];
      group[18 + i][j] = cell[9 * (i / 3 * 3 + j / 3) + i % 3 * 3 + j % 3];
    }
  for (auto& nine : group)
    cs_AllNeq(nine, 9);
}

static bool setClues(const Grid& clues)
{
  for (int i = 0; i < 81; i++)
    if (clues[i] && !cs_EQ(cell[i], clues[i]))
      return false;
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Search
 * ------------------------------------------------------------------------------------------------------------------ */

// The callback of cs_findAll has no argument for the client's data: what it fills stands at file level.
static std::vector<Grid> solutions;
static int wanted = 2;

static void keepSolution(CSint** cells, int n)
{
  Grid& grid = solutions.emplace_back();
  for (int i = 0; i < n; i++)
    grid[i] = cs_getValue(cells[i]);
  if (static_cast<int>(solutions.size()) == wanted)
    cs_cancelSearch();
}

// Fills `solutions`.
static KuOutcome solve(KuRun& run, const Grid& clues)
{
  KuOutcome outcome = KU_EXHAUSTED;
  solutions.clear();
  cs_saveContext();
  if (setClues(clues))
    outcome = ku_findAll(&run, cell, 81, cs_findFreeVarNbElements, keepSolution);
  cs_restoreContext();
  return outcome;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Input
 * ------------------------------------------------------------------------------------------------------------------ */

static std::string quoted(char c)
{
  char text[8];
  const auto code = static_cast<unsigned char>(c);
  std::snprintf(text, sizeof text, code >= ' ' && code < 127 ? "'%c'" : "\\x%02X", code);
  return text;
}

static void trim(std::string& line)
{
  constexpr const char* blanks = " \t\r";
  line.erase(line.find_last_not_of(blanks) + 1);
  line.erase(0, line.find_first_not_of(blanks));
}

// Reads a trimmed line. Answers an empty text, or what is wrong with the line.
static std::string parse(const std::string& line, Grid& clues)
{
  const size_t wrong = line.find_first_not_of(".0123456789");
  if (wrong != std::string::npos)
    return "character " + std::to_string(wrong + 1) + " is " + quoted(line[wrong]) + ", not a digit or '.'";
  if (line.size() != 81)
    return "a puzzle has 81 characters, this line has " + std::to_string(line.size());
  std::transform(line.begin(), line.end(), clues.begin(), [](char c) { return c == '.' ? 0 : c - '0'; });
  return "";
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Output
 * ------------------------------------------------------------------------------------------------------------------ */

struct Tally
{
  int unique = 0, several = 0, none = 0, open = 0, malformed = 0;
  KuRun sum = {};
  int status = done;

  int puzzles() const { return unique + several + none + open; }
};

static bool isCut(KuOutcome outcome) { return isStopped(outcome) || static_cast<int>(solutions.size()) >= wanted; }

static std::string verdict(KuOutcome outcome)
{
  const auto found = static_cast<int>(solutions.size());
  const std::string count = plural(found, "solution", "solutions");
  if (isStopped(outcome))
    return std::string(stoppedText(outcome)) + ", " + count + " so far";
  if (found == 0)
    return "no solution";
  if (isCut(outcome))
    return found == 1 ? "a solution, perhaps not the only one" : "not the only solution, there are at least " + count;
  return found == 1 ? "the only solution" : "not the only solution, there are " + count;
}

static void printRow(const Grid& grid, int row)
{
  for (int column = 0; column < 9; column++) {
    const int value = grid[9 * row + column];
    std::printf("%s%c", column == 0 ? "  " : column % 3 ? " " : " | ", value ? '0' + value : '.');
  }
}

// The puzzle, and beside it the first two solutions.
static void printGrids(const Grid& clues)
{
  for (int row = 0; row < 9; row++) {
    printRow(clues, row);
    for (size_t i = 0; i < std::min<size_t>(solutions.size(), 2); i++) {
      std::printf("   ");
      printRow(solutions[i], row);
    }
    std::printf("\n");
    if (row == 2 || row == 5) {
      for (size_t i = 0; i <= std::min<size_t>(solutions.size(), 2); i++)
        std::printf("%s------+-------+------", i ? "     " : "  ");
      std::printf("\n");
    }
  }
}

static void printLine(const Grid& clues, KuOutcome outcome)
{
  for (int value : solutions.empty() ? clues : solutions.front())
    std::putchar(value ? '0' + value : '.');
  std::printf(" %zu%s\n", solutions.size(), isStopped(outcome) ? "?" : isCut(outcome) ? "+" : "");
}

static void add(Tally& tally, const KuRun& run, KuOutcome outcome)
{
  if (solutions.size() > 1)
    tally.several++;
  else if (isCut(outcome))
    tally.open++;
  else
    ++(solutions.empty() ? tally.none : tally.unique);
  addCost(tally.sum, run);
  tally.status = worse(tally.status, outcome);
}

static void printSummary(const Tally& tally)
{
  std::printf("%s: %d with one solution, %d with several, %d without", //
      plural(tally.puzzles(), "puzzle", "puzzles").c_str(), tally.unique, tally.several, tally.none);
  if (tally.open)
    std::printf(", %d undecided", tally.open);
  std::printf(
      "; %s; %s\n", plural(tally.malformed, "malformed line", "malformed lines").c_str(), cost(tally.sum).c_str());
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Program
 * ------------------------------------------------------------------------------------------------------------------ */

static void solveAll(std::istream& in, const std::string& file, double seconds, bool asLines, Tally& tally)
{
  Where where{file};
  std::string line;
  while (!caughtSignal && std::getline(in, line)) {
    where.line++;
    trim(line);
    if (line.empty() || line.front() == '#')
      continue;
    Grid clues;
    if (const std::string wrong = parse(line, clues); !wrong.empty()) {
      complain(where, wrong);
      tally.malformed++;
      tally.status = std::max<int>(tally.status, badInput);
      continue;
    }
    setTimeLimit(seconds);
    KuRun run = newRun(where.text());
    const KuOutcome outcome = solve(run, clues);
    add(tally, run, outcome);
    if (asLines) {
      printLine(clues, outcome);
      continue;
    }
    std::printf("%s: %s\n", where.text().c_str(),
        plural(81 - std::count(clues.begin(), clues.end(), 0), "clue", "clues").c_str());
    printGrids(clues);
    std::printf("%s; %s\n\n", verdict(outcome).c_str(), cost(run).c_str());
    std::fflush(stdout);
  }
  if (in.bad() && !caughtSignal) {
    complain({file}, "can't be read");
    tally.status = std::max<int>(tally.status, badInput);
  }
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-sudoku", usage);
  wanted = arguments.number("--count", 2, 1, 1000000);
  const bool asLines = arguments.flag("--lines");
  const double seconds = arguments.seconds("--time");
  std::vector<std::string> files = arguments.files();
  if (files.empty())
    files.push_back("-");

  cs_init();
  if (cs_getErr())
    outOfMemory("ku-sudoku");
  buildModel();
  catchInterrupts();

  Tally tally;
  for (const std::string& file : files) {
    if (caughtSignal)
      break;
    if (file == "-") {
      solveAll(std::cin, "standard input", seconds, asLines, tally);
    } else if (std::ifstream in(file); in) {
      solveAll(in, file, seconds, asLines, tally);
    } else {
      complain({file}, "can't be opened");
      tally.status = std::max<int>(tally.status, badInput);
    }
  }
  if (!asLines)
    printSummary(tally);
  cs_end();
  return worse(tally.status, KU_EXHAUSTED);
}
