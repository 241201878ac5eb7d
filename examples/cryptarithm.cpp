/*
 * ku-cryptarithm: finds the digits for the letters of sums such as SEND+MORE=MONEY.
 *
 * The model: a variable 0..9 for each letter, all different, no number beginning with 0, and the whole sum as one
 * linear equation: each letter weighs as much as the places where it stands, those on the right-hand side negatively.
 */
#include <map>

#include "support.h"

using namespace example;

static const char usage[] = "Usage: ku-cryptarithm [OPTION]... SUM...\n"
                            "Finds all solutions of each SUM, such as SEND+MORE=MONEY: a different digit for each\n"
                            "letter, and no number beginning with 0.\n"
                            "\n"
                            "  --time SECONDS   give up after this long\n"
                            "  --help           print this text\n"
                            "\n"
                            "Exit status: 0 done, 1 a SUM is malformed, 2 wrong usage, 3 the time limit ended the\n"
                            "search, 130 Ctrl-C.\n";

/* A letter is worth what it stands for in all its places; words have at most 9 letters, so that fits into an int. */
struct Puzzle
{
  std::string text;
  std::map<char, int> weight;
  std::string first; // letters that aren't 0
};

static constexpr size_t longestWord = 9;

static bool parse(const std::string& text, Puzzle& puzzle)
{
  puzzle = {text, {}, ""};
  int sign = 1, words = 0;
  size_t from = 0;
  while (from <= text.size()) {
    const size_t to = std::min(text.find_first_of("+=", from), text.size());
    const std::string word = text.substr(from, to - from);
    if (word.empty() || word.size() > longestWord)
      return false;
    int64_t place = sign;
    for (auto letter = word.rbegin(); letter != word.rend(); ++letter, place *= 10) {
      if (*letter < 'A' || *letter > 'Z')
        return false;
      const int64_t weight = puzzle.weight[*letter] + place;
      if (weight != static_cast<int>(weight))
        return false;
      puzzle.weight[*letter] = static_cast<int>(weight);
    }
    puzzle.first += word.front();
    words++;
    if (to < text.size() && text[to] == '=') {
      if (sign < 0)
        return false;
      sign = -1;
    }
    from = to + 1;
  }
  return sign < 0 && words > 1 && puzzle.weight.size() <= 10;
}

static Puzzle puzzle;
static int solutions;

static void show(CSint** digits, int)
{
  std::string line = puzzle.text;
  int i = 0;
  for (const auto& [letter, weight] : puzzle.weight)
    std::replace(line.begin(), line.end(), letter, static_cast<char>('0' + cs_getValue(digits[i++])));
  std::printf("%s  %s\n", puzzle.text.c_str(), line.c_str());
  solutions++;
}

static KuOutcome solve(KuRun& run)
{
  std::vector<CSint*> digits;
  std::vector<int> weights;
  bool possible = true;
  for (const auto& [letter, weight] : puzzle.weight) {
    digits.push_back(cs_createCSint(0, 9));
    weights.push_back(weight);
    if (puzzle.first.find(letter) != std::string::npos)
      possible = possible && cs_NEQ(digits.back(), 0);
  }
  const int n = static_cast<int>(digits.size());
  const int label = cs_saveContext();
  CSint* difference = cs_ScalProd(digits.data(), weights.data(), n);
  possible = possible && difference && cs_AllNeq(digits.data(), n) && cs_EQ(difference, 0);
  solutions = 0;
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = ku_findAll(&run, digits.data(), n, cs_findFreeVarNbElements, show);
  // The arrays die here, and with them what was posted on them.
  cs_restoreContextUntil(label);
  return outcome;
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-cryptarithm", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> sums = arguments.files();
  if (sums.empty())
    arguments.fail("no sum is given");
  startSolver("ku-cryptarithm", seconds);
  int status = done;
  for (const std::string& text : sums) {
    if (!parse(text, puzzle)) {
      complain({text}, "isn't a sum of words of up to 9 capitals with at most 10 different ones, as A+B=C");
      status = std::max<int>(status, badInput);
      continue;
    }
    KuRun run = newRun(text);
    const KuOutcome outcome = solve(run);
    if (isStopped(outcome))
      std::printf("%s, ", stoppedText(outcome));
    std::printf("%s; %s\n", plural(solutions, "solution", "solutions").c_str(), cost(run).c_str());
    status = worse(status, outcome);
    if (caughtSignal)
      break;
  }
  cs_end();
  return status;
}
