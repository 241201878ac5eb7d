/*
 * ku-roster: who works which shift on which day?
 *
 * The model: a variable for each nurse and day. The rules about what may follow what are one automaton for all: its
 * state is the shift of the day before, the length of its run so far and the days of work so far, and each nurse's days
 * spell a word of it (cs_Regular). Each day has so many of each shift (cs_OccurConstraints).
 *
 * The search goes over a matrix: day by day, those with the fewest shifts left first, each with the shift of the day
 * before if that may be.
 *
 * Runs at the two ends of the period may have begun before it or go on behind it, so only their longest length is kept.
 */
#include <map>

#include "support.h"

using namespace example;

static const char usage[] =
    "Usage: ku-roster [OPTION]... FILE\n"
    "Finds a roster by the rules in FILE:\n"
    "\n"
    "  days N\n"
    "  need SHIFT N ...           how many are needed on each day; the first of these names the shift\n"
    "  work LEAST MOST            days of work in a row\n"
    "  run SHIFT LEAST MOST       days of the same shift in a row; 'off' is a shift too\n"
    "  not SHIFT NEXT ...         these may not come on the day after\n"
    "  nurse NAME [off DAY ...]   one who works here, with wished days off that have to be granted\n"
    "\n"
    "Blank lines and lines that begin with '#' are skipped.\n"
    "\n"
    "  --time SECONDS   give up after this long\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 done, 1 the file was missing or malformed, 2 wrong usage, 3 time limit, 130 Ctrl-C.\n";

constexpr int off = 0; // a shift as well, and the first

struct Run
{
  int least = 1, most = 1000;
};

struct Nurse
{
  std::string name;
  std::vector<int> daysOff;
};

struct Rules
{
  int days = 0;
  std::vector<std::string> shifts = {"off"};
  std::vector<std::vector<int>> need = {{}}; // for each shift but off, by day
  Run work;
  std::vector<Run> runs = {{}};
  std::vector<std::vector<bool>> mayNotFollow = {{}};
  std::vector<Nurse> nurses;

  size_t shiftNamed(const std::string& name) const
  {
    return static_cast<size_t>(std::find(shifts.begin(), shifts.end(), name) - shifts.begin());
  }
};

/* ---------------------------------------------------------------------------------------------------------------------
 * Input
 * ------------------------------------------------------------------------------------------------------------------ */

static bool readRun(std::istringstream& words, Run& run)
{
  std::string rest;
  return words >> run.least >> run.most && 1 <= run.least && run.least <= run.most && run.most <= 100 &&
         !(words >> rest);
}

static std::string readNeed(std::istringstream& words, const std::string& name, Rules& rules)
{
  if (name.empty() || rules.shiftNamed(name) < rules.shifts.size())
    return "expected the name of a new shift";
  rules.shifts.push_back(name);
  rules.runs.emplace_back();
  rules.need.emplace_back();
  rules.mayNotFollow.emplace_back();
  std::vector<int>& need = rules.need.back();
  for (int n; words >> n;)
    need.push_back(n);
  const bool good = words.eof() && need.size() == static_cast<size_t>(rules.days) &&
                    std::all_of(need.begin(), need.end(), [](int n) { return n >= 0; });
  return good ? "" : "expected how many are needed on each of the " + std::to_string(rules.days) + " days";
}

static std::string readNurse(std::istringstream& words, const std::string& name, Rules& rules)
{
  std::string word;
  if (name.empty() || (words >> word && word != "off"))
    return "expected 'nurse NAME off DAY ...'";
  rules.nurses.push_back({name, {}});
  for (int day; words >> day;) {
    if (day < 1 || day > rules.days)
      return "there is no day " + std::to_string(day);
    rules.nurses.back().daysOff.push_back(day - 1);
  }
  return words.eof() ? "" : "expected days behind 'off'";
}

static std::string readLine(const std::string& line, Rules& rules)
{
  std::istringstream words(line);
  std::string kind, name, rest;
  words >> kind;
  if (kind == "days") {
    if (rules.days)
      return "the days have been told above";
    return words >> rules.days && rules.days >= 1 && rules.days <= 100 ? "" : "expected a number from 1 to 100";
  }
  if (kind == "work")
    return readRun(words, rules.work) ? "" : "expected 'work LEAST MOST'";
  words >> name;
  if (!rules.days)
    return "expected 'days N' first";
  if (kind == "need")
    return readNeed(words, name, rules);
  if (kind == "nurse")
    return readNurse(words, name, rules);
  const size_t shift = rules.shiftNamed(name);
  if (kind != "run" && kind != "not")
    return "expected days, need, work, run, not or nurse";
  if (shift == rules.shifts.size())
    return "there is no shift '" + name + "' above";
  if (kind == "run")
    return readRun(words, rules.runs[shift]) ? "" : "expected 'run SHIFT LEAST MOST'";
  rules.mayNotFollow[shift].resize(rules.shifts.size());
  while (words >> rest) {
    const size_t next = rules.shiftNamed(rest);
    if (next == rules.shifts.size())
      return "there is no shift '" + rest + "' above";
    rules.mayNotFollow[shift][next] = true;
  }
  return "";
}

static bool read(const std::string& file, Rules& rules)
{
  if (!readLines(file, [&](const std::string& line) { return readLine(line, rules); }))
    return false;
  if (rules.nurses.empty() || rules.shifts.size() == 1)
    return complain({file}, "needs days, at least one shift and one nurse"), false;
  for (std::vector<bool>& after : rules.mayNotFollow)
    after.resize(rules.shifts.size());
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Model
 * ------------------------------------------------------------------------------------------------------------------ */

// What the days so far come to.
struct State
{
  int shift = -1;                              // of the last day; -1 in front of the first
  int run = 0;                                 // days of this shift in a row
  int work = 0;                                // days of work in a row
  bool fromStart = true, workFromStart = true; // the run has no day before it that is known

  auto operator<=>(const State&) const = default;
};

static bool follow(const Rules& rules, State s, int shift, State& next)
{
  next = s;
  if (s.shift >= 0 && rules.mayNotFollow[static_cast<size_t>(s.shift)][static_cast<size_t>(shift)])
    return false;
  if (shift == s.shift) {
    next.run++;
  } else {
    if (s.shift >= 0 && !s.fromStart && s.run < rules.runs[static_cast<size_t>(s.shift)].least)
      return false;
    next.shift = shift;
    next.run = 1;
    next.fromStart = s.shift < 0;
  }
  if (shift != off) {
    next.work++;
  } else {
    if (s.work && !s.workFromStart && s.work < rules.work.least)
      return false;
    next.work = 0;
    next.workFromStart = false;
  }
  return next.run <= rules.runs[static_cast<size_t>(shift)].most && next.work <= rules.work.most;
}

struct Automaton
{
  std::vector<int> next, finals;
  int states = 0;
};

static Automaton makeAutomaton(const Rules& rules)
{
  Automaton a;
  std::map<State, int> numbers;
  std::vector<State> states = {State()};
  numbers[State()] = 0;
  for (size_t i = 0; i < states.size(); i++) {
    a.finals.push_back(static_cast<int>(i)); // the runs may go on behind the last day
    for (int shift = 0; shift < static_cast<int>(rules.shifts.size()); shift++) {
      State next;
      if (!follow(rules, states[i], shift, next)) {
        a.next.push_back(-1);
        continue;
      }
      const auto [place, isNew] = numbers.try_emplace(next, static_cast<int>(states.size()));
      if (isNew)
        states.push_back(next);
      a.next.push_back(place->second);
    }
  }
  a.states = static_cast<int>(states.size());
  return a;
}

static std::vector<CSint*> shiftOf;              // day by day, nurse by nurse
static std::vector<std::vector<CSint*>> ofNurse; // the same by nurse

static bool buildModel(const Rules& rules, Automaton& a)
{
  const int shifts = static_cast<int>(rules.shifts.size()), nurses = static_cast<int>(rules.nurses.size());
  ofNurse.resize(rules.nurses.size());
  for (int day = 0; day < rules.days; day++) {
    for (std::vector<CSint*>& row : ofNurse) {
      shiftOf.push_back(cs_createCSint(0, shifts - 1));
      row.push_back(shiftOf.back());
    }
  }
  for (int day = 0; day < rules.days; day++)
    for (int shift = 1; shift < shifts; shift++)
      if (!cs_OccurConstraints(CSINT(rules.need[static_cast<size_t>(shift)][static_cast<size_t>(day)]), shift,
              shiftOf.data() + day * nurses, nurses))
        return false;
  for (size_t i = 0; i < ofNurse.size(); i++) {
    for (const int day : rules.nurses[i].daysOff)
      if (!cs_EQ(ofNurse[i][static_cast<size_t>(day)], off))
        return false;
    if (!cs_Regular(ofNurse[i].data(), rules.days, a.next.data(), a.states, shifts, 0, a.finals.data(),
            static_cast<int>(a.finals.size())))
      return false;
  }
  return true;
}

/* ---------------------------------------------------------------------------------------------------------------------
 * Search day by day
 * ------------------------------------------------------------------------------------------------------------------ */

static std::vector<CSint**> dayRows;

static int firstOpenDay(CSint*** matrix, int days, int nurses)
{
  for (int day = 0; day < days; day++)
    if (cs_findFreeVar(matrix[day], nurses))
      return day;
  return -1;
}

static int fewestShifts(int, CSint** nurses, int n)
{
  CSint* v = cs_findFreeVarNbElements(nurses, n);
  return v ? static_cast<int>(std::find(nurses, nurses + n, v) - nurses) : -1;
}

static int change(int day, int nurse, int shift)
{
  return day > 0 && cs_getMin(dayRows[static_cast<size_t>(day) - 1][nurse]) == shift ? 0 : 1;
}

static KuOutcome searchByDays(KuRun& run, int days, int nurses)
{
  for (int day = 0; day < days; day++)
    dayRows.push_back(shiftOf.data() + day * nurses);
  return ku_searchMatrix(&run, dayRows.data(), days, nurses, firstOpenDay, fewestShifts, change);
}

// Checked on the words, without the automaton's numbers.
static bool isRoster(const Rules& rules)
{
  for (size_t i = 0; i < ofNurse.size(); i++) {
    State s, next;
    for (const CSint* v : ofNurse[i]) {
      if (!follow(rules, s, cs_getValue(v), next))
        return false;
      s = next;
    }
  }
  for (size_t day = 0; day < static_cast<size_t>(rules.days); day++)
    for (size_t shift = 1; shift < rules.shifts.size(); shift++)
      if (std::count_if(ofNurse.begin(), ofNurse.end(), [&](const std::vector<CSint*>& row) {
            return cs_getValue(row[day]) == static_cast<int>(shift);
          }) != rules.need[shift][day])
        return false;
  return true;
}

static void print(const Rules& rules)
{
  std::printf("%-10s", "");
  for (int day = 1; day <= rules.days; day++)
    std::printf(" %2d", day);
  for (size_t i = 0; i < ofNurse.size(); i++) {
    std::printf("\n%-10s", rules.nurses[i].name.c_str());
    for (const CSint* v : ofNurse[i]) {
      const int shift = cs_getValue(v);
      std::printf("  %c", shift == off ? '.' : rules.shifts[static_cast<size_t>(shift)][0]);
    }
  }
  std::printf("\n");
}

int main(int argc, char** argv)
{
  Arguments arguments(argc, argv, "ku-roster", usage);
  const double seconds = arguments.seconds("--time");
  const std::vector<std::string> files = arguments.files();
  if (files.size() != 1)
    arguments.fail("one FILE is wanted");
  Rules rules;
  if (!read(files[0], rules))
    return badInput;
  startSolver("ku-roster", seconds);
  Automaton automaton = makeAutomaton(rules);
  const bool possible = buildModel(rules, automaton);
  KuRun run = newRun(files[0]);
  KuOutcome outcome = KU_EXHAUSTED;
  if (possible)
    outcome = searchByDays(run, rules.days, static_cast<int>(rules.nurses.size()));
  if (isStopped(outcome)) {
    std::printf("%s; ", stoppedText(outcome));
  } else if (outcome == KU_SOLVED) {
    print(rules);
    std::printf("found, %s; ", isRoster(rules) ? "verified" : "WRONG");
  } else {
    std::printf("there is no roster; ");
  }
  std::printf("%s\n", cost(run).c_str());
  cs_end();
  return worse(done, outcome);
}
