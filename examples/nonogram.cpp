/*
 * ku-nonogram: a picture from the lengths of the black runs in its rows and columns.
 *
 * The model: a cell is 1 where it is black. The clue of a line is an automaton: so many black cells, at least one white
 * one, so many black ones, ..., with white cells around. cs_Regular has the line spell a word of it.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-nonogram [OPTION]... FILE\n"
    "Draws the picture in FILE, and says whether it is the only one:\n"
    "\n"
    "  width W\n"
    "  height H\n"
    "  rows             and below that a line for each row: the lengths of its black runs\n"
    "  columns          and below that a line for each column; 0 stands for a line without black\n"
    "\n"
    "Lines that begin with '#' are skipped, and blank ones.\n"
    "\n"
    "  --time SECONDS   give up after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

using Clue = std::vector<int>;

struct Picture
{
  int width = 0, height = 0;
  std::vector<Clue> rows, columns;
};

/* ---------------------------------------------------------------------------------------------------------------------
 * Input
 * ------------------------------------------------------------------------------------------------------------------ */

static std::string readClue(const std::string& line, int length, Clue& clue)
{
  std::istringstream numbers(line);
  int sum = -1, run;
  while (numbers >> run) {
    if (run < 0 || run > length)
      return "a run of " + std::to_string(run) + " doesn't fit";
    if (run == 0)
      continue;
    clue.push_back(run);
    sum += run + 1;
  }
  if (!numbers.eof())
    return "expected the lengths of runs";
  return sum > length ? "the runs don't fit" : "";
}

static bool read(const std::string& file, Picture& picture)
{
  std::vector<Clue>* part = nullptr;
  const bool good = readLines(file, [&](const std::string& line) -> std::string {
    std::istringstream words(line);
    std::string word, rest;
    words >> word;
    if (word == "width" || word == "height") {
      int& size = word == "width" ? picture.width : picture.height;
      const bool told = words >> size && size >= 1 && size <= 200 && !(words >> rest);
      return told ? "" : "expected a size from 1 to 200";
    }
    if (word == "rows" || word == "columns") {
      part = word == "rows" ? &picture.rows : &picture.columns;
      return words >> rest ? "expected the clues in lines of their own" : "";
    }
    if (!part)
      return "expected width, height, rows or columns";
    part->emplace_back();
    return readClue(line, part == &picture.rows ? picture.width : picture.height, part->back());
  });
  if (!good)
    return false;
  if (!picture.width || !picture.height)
    return complain({file}, "needs a width and a height"), false;
  if (picture.rows.size() != static_cast<size_t>(picture.height) ||
      picture.columns.size() != static_cast<size_t>(picture.width))
    return complain({file}, "needs a clue for each row and each column"), false;
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Model
 * ------------------------------------------------------------------------------------------------------------------ */

// State s means that s cells of the clue, with one white cell behind each run but the last, have been read. The table
// isn't kept by the constraint.
static bool postClue(std::vector<CSint*>& line, const Clue& clue)
{
  std::vector<int> next(2, -1); // for white and black
  next[0] = 0;                  // white in front
  int state = 0;
  const auto add = [&](int onWhite, int onBlack) {
    next.push_back(onWhite);
    next.push_back(onBlack);
    state++;
  };
  for (size_t run = 0; run < clue.size(); run++) {
    for (int i = 0; i < clue[run]; i++) {
      next[static_cast<size_t>(2 * state + 1)] = state + 1;
      add(-1, -1);
    }
    if (run + 1 < clue.size()) {
      next[static_cast<size_t>(2 * state)] = state + 1;
      add(state + 1, -1);
    } else {
      next[static_cast<size_t>(2 * state)] = state; // white behind
    }
  }
  return cs_Regular(line.data(), static_cast<int>(line.size()), next.data(), state + 1, 2, 0, &state, 1) != 0;
}

static std::vector<CSint*> cell; // row by row
static std::vector<std::vector<CSint*>> lines;

static bool buildModel(const Picture& picture)
{
  const auto width = static_cast<size_t>(picture.width), height = static_cast<size_t>(picture.height);
  for (size_t i = 0; i < width * height; i++)
    cell.push_back(cs_createCSint(0, 1));
  lines.resize(height + width);
  for (size_t y = 0; y < height; y++)
    for (size_t x = 0; x < width; x++) {
      lines[y].push_back(cell[y * width + x]);
      lines[height + x].push_back(cell[y * width + x]);
    }
  for (size_t y = 0; y < height; y++)
    if (!postClue(lines[y], picture.rows[y]))
      return false;
  for (size_t x = 0; x < width; x++)
    if (!postClue(lines[height + x], picture.columns[x]))
      return false;
  return true;
}

static std::vector<bool> first;
static int pictures;

static void keep(CSint** cells, int n)
{
  if (++pictures == 2)
    cs_cancelSearch();
  else
    for (int i = 0; i < n; i++)
      first.push_back(cs_getValue(cells[i]) == 1);
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-nonogram", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  Picture picture;
  if (!read(files[0], picture))
    return badInput;
  startSolver("ku-nonogram", seconds);
  const bool possible = buildModel(picture);
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_findAll(&run, cell.data(), static_cast<int>(cell.size()), cs_findFreeVar, keep);
  for (size_t i = 0; i < first.size(); i++)
    std::printf("%s%s", first[i] ? "##" : "  ", (i + 1) % static_cast<size_t>(picture.width) == 0 ? "\n" : "");
  if (isStopped(outcome))
    std::printf("%s; ", stoppedText(outcome));
  else
    std::printf("%s; ", pictures == 0   ? "there is no picture"
                        : pictures == 1 ? "the only picture"
                                        : "not the only picture");
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
