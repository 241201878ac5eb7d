/*
 * ku-golomb: is there a Golomb ruler with so many marks and of that length? All distances between its marks differ.
 *
 * The model: the marks in order from 0 to the length, their differences all different. A ruler may be turned round, so
 * the first gap is made smaller than the last. The differences of marks that are far apart have the least they can be,
 * the sum of so many different gaps.
 */
#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-golomb [OPTION]... MARKS LENGTH\n"
                            "Looks for a ruler of that LENGTH with that many MARKS, at 0 and at LENGTH among others,\n"
                            "on which no two pairs of marks are the same distance apart.\n"
                            "\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 2 wrong usage, 3 the time limit ended the search, 130 Ctrl-C.\n";

static std::vector<CSint*> mark, distance;

static bool buildModel(int marks, int length)
{
  for (int i = 0; i < marks; i++)
    mark.push_back(cs_createCSint(0, length));
  if (!cs_EQ(mark.front(), 0) || !cs_EQ(mark.back(), length))
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

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-golomb", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> words = arguments.files();
  if (words.size() != 2)
    arguments.fail("MARKS and LENGTH are wanted");
  const int marks = arguments.toNumber("MARKS", words[0], 2, 60);
  const int length = arguments.toNumber("LENGTH", words[1], 1, 100000);
  startSolver("ku-golomb", seconds);
  const bool possible = buildModel(marks, length);
  const Outcome outcome = runSearch(
      words[0] + " marks", [&] { return possible && cs_search(mark.data(), marks, obedient<cs_findFreeVar>); });
  if (outcome.stop != Stop::none)
    std::printf("%s", stoppedText(outcome).c_str());
  else if (outcome.found)
    for (const CSint* m : mark)
      std::printf("%d ", cs_getValue(m));
  else
    std::printf("there is none");
  std::printf("\n%s\n", outcome.cost().c_str());
  cs_end();
  return worse(done, outcome.stop);
}
