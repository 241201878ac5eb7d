/*
 * ku-golomb: the shortest Golomb ruler with so many marks, or one of a given length. All distances between its marks
 * differ.
 *
 * The model: the marks in order from 0 to the length, their differences all different. A ruler may be turned round, so
 * the first gap is made smaller than the last. The differences of marks that are far apart have the least they can be,
 * the sum of so many different gaps. The last mark is the cost that cs_minimize lowers.
 */
#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-golomb [OPTION]... MARKS [LENGTH]\n"
    "Looks for the shortest ruler with that many MARKS, or one of that LENGTH, on which no two\n"
    "pairs of marks are the same distance apart.\n"
    "\n"
    "  --time SECONDS   give up after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

static std::vector<CSint*> mark, distance;

static bool buildModel(int marks, int low, int high)
{
  for (int i = 0; i < marks; i++)
    mark.push_back(cs_createCSint(0, high));
  if (!cs_EQ(mark.front(), 0) || !cs_GE(mark.back(), low))
    return false;
  CSint *firstGap = nullptr, *lastGap = nullptr;
  for (size_t j = 1; j < mark.size(); j++) {
    if (!cs_Lt(mark[j - 1], mark[j]))
      return false;
    for (size_t i = 0; i < j; i++) {
      CSint* d = cs_Sub(mark[j], mark[i]);
      const int gaps = static_cast<int>(j - i);
      if (!d || !cs_GE(d, gaps * (gaps + 1) / 2))
        return false;
      distance.push_back(d);
      if (j == 1)
        firstGap = d;
      lastGap = d;
    }
  }
  if (marks > 2 && !cs_Lt(firstGap, lastGap))
    return false;
  return cs_AllNeq(distance.data(), static_cast<int>(distance.size())) != 0;
}

static std::vector<int> ruler;

static void keep(CSint** marks, int n, CSint*)
{
  ruler.clear();
  for (int i = 0; i < n; i++)
    ruler.push_back(cs_getValue(marks[i]));
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-golomb", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> words = arguments.files();
  if (words.size() != 1 && words.size() != 2)
    arguments.fail("MARKS are wanted, and perhaps LENGTH");
  const int marks = arguments.toNumber("MARKS", words[0], 2, 60);
  const bool shortest = words.size() == 1;
  const int length = shortest ? 0 : arguments.toNumber("LENGTH", words[1], 1, 100000);
  startSolver("ku-golomb", seconds);
  // The shortest rulers are known to be shorter than marks^2 for far more marks than this program takes.
  const bool possible = shortest ? buildModel(marks, 0, marks * marks) : buildModel(marks, length, length);
  KuRun run = newRun(words[0] + " marks");
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible && shortest)
    outcome = ku_minimize(&run, mark.data(), marks, cs_findFreeVar, mark.back(), keep);
  else if (possible)
    outcome = ku_search(&run, mark.data(), marks, cs_findFreeVar);
  if (outcome == KU_SOLVED)
    keep(mark.data(), marks, nullptr);
  for (const int m : ruler)
    std::printf("%d ", m);
  if (isStopped(outcome))
    std::printf("%s", stoppedText(outcome));
  else if (!run.found)
    std::printf("there is none");
  else if (shortest)
    std::printf("is the shortest");
  std::printf("\n%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
