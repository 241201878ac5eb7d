/*
 * ku-bench: the problems in libku, through its public header alone.
 */
#include "bench.h"
#include "instances.h"

#include <ku.h>

#include <cstring>
#include <deque>
#include <numeric>
#include <string>

using namespace bench;

using Vars = std::vector<CSint*>;

static CSint** keep(Vars vars)
{
  // Constraints go on reading the arrays they are given.
  static std::deque<Vars> kept;
  kept.push_back(std::move(vars));
  return kept.back().data();
}

static const int* keep(Ints values)
{
  static std::deque<Ints> kept;
  kept.push_back(std::move(values));
  return kept.back().data();
}

static Vars makeVars(int count, int min, int max)
{
  Vars vars;
  for (int i = 0; i < count; i++)
    vars.push_back(cs_createCSint(min, max));
  return vars;
}

static bool allNeq(const Vars& vars) { return cs_AllNeq(keep(vars), int(vars.size())); }

static CSint* sum(const Vars& vars) { return cs_Sigma(keep(vars), int(vars.size())); }

static CSint* product(const Vars& vars, const Ints& coefficients)
{
  return cs_ScalProd(keep(vars), keep(coefficients), int(vars.size()));
}

/// Rows and columns of a square.
static std::vector<Vars> linesOf(const Vars& cells, size_t n)
{
  std::vector<Vars> lines;
  for (size_t i = 0; i < n; i++) {
    Vars row, column;
    for (size_t j = 0; j < n; j++) {
      row.push_back(cells[i * n + j]);
      column.push_back(cells[j * n + i]);
    }
    lines.push_back(row);
    lines.push_back(column);
  }
  return lines;
}

static Ints valuesOf(const Vars& vars)
{
  Ints values;
  for (const CSint* v : vars)
    values.push_back(cs_getValue(v));
  return values;
}

// =====================================================================================================================
// Searches. A model that fails at posting has no solution, and no search.
// =====================================================================================================================

static int64_t solutions;

static Outcome withCounters(int64_t answer)
{
  return {.answer = answer, .choicePoints = cs_getNbChoicePoints(), .fails = cs_getNbFails()};
}

static Outcome findAll(bool posted, Vars& vars)
{
  if (posted)
    cs_findAll(vars.data(), int(vars.size()), cs_findFreeVar, [](CSint**, int) { solutions++; });
  return withCounters(solutions);
}

/// `check` looks at the solution.
template <typename Check>
static Outcome findFirst(bool posted, Vars& vars, CSfindFreeVar choose, Check check)
{
  const bool found = posted && cs_search(vars.data(), int(vars.size()), choose);
  Outcome outcome = withCounters(found);
  outcome.sound = !found || check();
  return outcome;
}

static Outcome findNone(bool posted, Vars& vars, CSfindFreeVar choose)
{
  return findFirst(posted, vars, choose, [] { return true; });
}

static Outcome minimize(bool posted, Vars& vars, CSint* cost)
{
  static int64_t best = -1;
  if (posted)
    cs_minimize(vars.data(), int(vars.size()), cs_findFreeVar, cost, [](CSint**, int, CSint* c) { best = c->_min; });
  return withCounters(best);
}

// =====================================================================================================================
// Models
// =====================================================================================================================

static Outcome start(const Problem&) { return {.answer = 1}; }

struct Board
{
  Vars column, up, down;
};

static Board makeBoard(int n)
{
  Board board = {makeVars(n, 0, n - 1), {}, {}};
  for (int i = 0; i < n; i++) {
    board.up.push_back(cs_Add(board.column[size_t(i)], CSINT(i)));
    board.down.push_back(cs_Sub(board.column[size_t(i)], CSINT(i)));
  }
  return board;
}

static bool postAllNeq(const Board& board) { return allNeq(board.column) && allNeq(board.up) && allNeq(board.down); }

static bool postPairs(const Board& board)
{
  const size_t n = board.column.size();
  bool posted = true;
  for (size_t i = 0; i < n; i++)
    for (size_t j = i + 1; j < n; j++)
      for (const Vars* line : {&board.column, &board.up, &board.down})
        posted = posted && cs_Neq((*line)[i], (*line)[j]);
  return posted;
}

static Outcome queens(const Problem& problem)
{
  Board board = makeBoard(problem.size);
  return findAll(postAllNeq(board), board.column);
}

static Outcome queensNeq(const Problem& problem)
{
  Board board = makeBoard(problem.size);
  return findAll(postPairs(board), board.column);
}

static Outcome firstPlacement(bool posted, Board& board)
{
  return findFirst(posted, board.column, cs_findFreeVarNbElements, [&] { return isPlacement(valuesOf(board.column)); });
}

static Outcome queensFirst(const Problem& problem)
{
  Board board = makeBoard(problem.size);
  return firstPlacement(postAllNeq(board), board);
}

static Outcome queensFirstNeq(const Problem& problem)
{
  Board board = makeBoard(problem.size);
  return firstPlacement(postPairs(board), board);
}

static Outcome magic(const Problem& problem)
{
  const int n = problem.size;
  Vars cells = makeVars(n * n, 1, n * n), down, up;
  std::vector<Vars> lines = linesOf(cells, size_t(n));
  for (int i = 0; i < n; i++) {
    down.push_back(cells[size_t(i * n + i)]);
    up.push_back(cells[size_t(i * n + n - 1 - i)]);
  }
  lines.push_back(down);
  lines.push_back(up);
  bool posted = allNeq(cells);
  for (const Vars& line : lines)
    posted = posted && cs_EQ(sum(line), n * (n * n + 1) / 2);
  return findAll(posted, cells);
}

static bool postLatin(const Vars& cells, int n)
{
  bool posted = true;
  for (const Vars& line : linesOf(cells, size_t(n)))
    posted = posted && allNeq(line);
  return posted;
}

static Outcome latin(const Problem& problem)
{
  const int n = problem.size;
  Vars cells = makeVars(n * n, 1, n);
  return findAll(postLatin(cells, n), cells);
}

static Outcome quasigroup(const Problem& problem)
{
  const int n = problem.size;
  const Ints given = holedSquare(n);
  Vars cells = makeVars(n * n, 1, n);
  bool posted = postLatin(cells, n);
  for (size_t i = 0; i < cells.size(); i++)
    posted = posted && (given[i] == 0 || cs_EQ(cells[i], given[i]));
  return findFirst(posted, cells, cs_findFreeVarNbElements, [&] { return isCompletion(valuesOf(cells), given); });
}

/// The place of the first of each pair; that of the second is tied to it.
static Outcome langford(const Problem& problem)
{
  const int n = problem.size;
  Vars place, all;
  for (int k = 1; k <= n; k++) {
    place.push_back(cs_createCSint(0, 2 * n - 2 - k));
    all.push_back(place.back());
    all.push_back(cs_Add(place.back(), CSINT(k + 1)));
  }
  return findAll(allNeq(all), place);
}

static Outcome colouring(const Problem& problem)
{
  const int side = problem.size;
  Vars squares = makeVars(side * side, 1, side);
  bool posted = true;
  for (int a = 0; a < side * side; a++)
    for (int b = a + 1; b < side * side; b++) {
      const int rows = b / side - a / side, columns = b % side - a % side;
      if (rows == 0 || columns == 0 || rows == columns || rows == -columns)
        posted = posted && cs_Neq(squares[size_t(a)], squares[size_t(b)]);
    }
  for (int i = 0; i < side; i++)
    posted = posted && cs_EQ(squares[size_t(i)], i + 1);
  return findNone(posted, squares, cs_findFreeVarNbElements);
}

static Outcome pigeonholes(const Problem& problem)
{
  Vars pigeons = makeVars(problem.size, 1, problem.size - 1);
  bool posted = true;
  for (size_t i = 0; i < pigeons.size(); i++)
    for (size_t j = i + 1; j < pigeons.size(); j++)
      posted = posted && cs_Neq(pigeons[i], pigeons[j]);
  return findNone(posted, pigeons, cs_findFreeVar);
}

static Outcome cryptarithms(const Problem&)
{
  const Cryptarithm puzzle = cryptarithm();
  Vars letters = makeVars(int(puzzle.coefficients.size()), 0, 9);
  bool posted = allNeq(letters) && cs_EQ(product(letters, puzzle.coefficients), 0);
  for (int i : puzzle.leading)
    posted = posted && cs_NEQ(letters[size_t(i)], 0);
  return findAll(posted, letters);
}

static Outcome linear(const Problem& problem)
{
  const Equations system = equations(problem.size);
  Vars x = makeVars(problem.size, 0, system.largest);
  bool posted = true;
  for (size_t k = 0; k < system.sums.size(); k++)
    posted = posted && cs_EQ(product(x, system.coefficients[k]), system.sums[k]);
  return findAll(posted, x);
}

static Outcome knapsacks(const Problem& problem)
{
  const Knapsack sack = knapsack(problem.size);
  Vars taken = makeVars(problem.size, 0, 1);
  return findAll(
      cs_LE(product(taken, sack.weights), sack.capacity) && cs_GE(product(taken, sack.worths), sack.worth), taken);
}

static bool postRuns(const Vars& line, const Ints& runs)
{
  const Automaton automaton = automatonOf(runs);
  const int last = automaton.nbStates - 1;
  return cs_Regular(keep(line), int(line.size()), automaton.next.data(), automaton.nbStates, 2, 0, &last, 1);
}

static Outcome nonograms(const Problem& problem)
{
  const Nonogram puzzle = nonogram(problem.size);
  Vars cells = makeVars(problem.size * problem.size, 0, 1);
  const std::vector<Vars> lines = linesOf(cells, size_t(problem.size));
  bool posted = true;
  for (size_t i = 0; i < lines.size(); i++)
    posted = posted && postRuns(lines[i], i % 2 ? puzzle.columns[i / 2] : puzzle.rows[i / 2]);
  return findAll(posted, cells);
}

static Outcome carLine(const Problem& problem)
{
  const Cars line = cars(problem.size);
  const int nbClasses = int(line.demand.size());
  Vars sequence = makeVars(problem.size, 0, nbClasses - 1);
  bool posted = true;
  for (const CarOption& option : line.options) {
    const int* table = keep(option.classes);
    Vars has;
    for (CSint* car : sequence)
      has.push_back(cs_Element(car, table, nbClasses));
    for (auto first = has.begin(); first + option.window <= has.end(); ++first)
      posted = posted && cs_LE(sum(Vars(first, first + option.window)), option.most);
  }
  for (int c = 0; c < nbClasses; c++)
    posted = posted && cs_EQ(cs_OccurDomain(c, keep(sequence), problem.size), line.demand[size_t(c)]);
  return findAll(posted, sequence);
}

// The selector of variables has no argument of its own.
static struct
{
  std::vector<Pair> pairs;
  Ints durations;
  Vars starts;
  Vars orders;
} shopModel;

static CSint* chooseOrder(CSint**, int)
{
  Vars& starts = shopModel.starts;
  const Vars& orders = shopModel.orders;
  const int order = tightestOrder(
      shopModel.pairs, shopModel.durations, [&](int p) { return orders[size_t(2 * p)]->_nbElements > 1; },
      [&](int i) { return starts[size_t(i)]->_min; }, [&](int i) { return starts[size_t(i)]->_max; });
  return order >= 0 ? orders[size_t(order)] : cs_findFreeVar(starts.data(), int(starts.size()));
}

static Outcome jobShops(const Problem& problem)
{
  const JobShop& shop = jobShop(problem.model);
  auto& [pairs, durations, starts, orders] = shopModel;
  pairs = pairsOf(shop);
  durations = durationsOf(shop);
  Vars ends;
  bool posted = true;
  for (size_t i = 0; i < durations.size(); i++) {
    starts.push_back(cs_createCSint(0, problem.size - durations[i]));
    ends.push_back(cs_Add(starts[i], CSINT(durations[i])));
  }
  size_t next = 0;
  for (const auto& job : shop.jobs)
    for (size_t k = 0; k < job.size(); k++, next++)
      posted = posted && (k == 0 || cs_Le(ends[next - 1], starts[next]));
  for (const auto& [first, second] : pairs) {
    const auto i = size_t(first), j = size_t(second);
    orders.push_back(cs_ReifLe(ends[i], starts[j]));
    orders.push_back(cs_ReifLe(ends[j], starts[i]));
    posted = posted && cs_Neq(orders[orders.size() - 2], orders.back());
  }
  return findFirst(
      posted, orders, chooseOrder, [&] { return isSchedule(shop, valuesOf(shopModel.starts), problem.size); });
}

static Outcome golomb(const Problem& problem)
{
  const auto n = size_t(problem.size);
  Vars mark = makeVars(problem.size, 0, problem.size * problem.size), differences;
  bool posted = cs_EQ(mark[0], 0);
  for (size_t j = 1; j < n; j++) {
    posted = posted && cs_Lt(mark[j - 1], mark[j]);
    for (size_t i = 0; i < j; i++)
      differences.push_back(cs_Sub(mark[j], mark[i]));
  }
  posted = posted && allNeq(differences) && cs_Lt(differences.front(), differences.back());
  return minimize(posted, mark, mark.back());
}

static Outcome interval(const Problem& problem)
{
  const int n = problem.size;
  Vars note = makeVars(n, 0, n - 1), intervals;
  bool posted = true;
  for (size_t i = 1; i < note.size(); i++) {
    intervals.push_back(cs_Abs(cs_Sub(note[i], note[i - 1])));
    posted = posted && cs_GE(intervals.back(), 1);
  }
  return findAll(posted && allNeq(note) && allNeq(intervals), note);
}

/// The point at each place of the tour, from point 0 back to it.
static Outcome tour(const Problem& problem)
{
  const int n = problem.size;
  const int* table = keep(distances(n));
  Vars point = makeVars(n, 0, n - 1), legs;
  bool posted = cs_EQ(point[0], 0) && allNeq(point);
  for (size_t i = 0; i < point.size(); i++) {
    CSint* leg = product({point[i], point[(i + 1) % point.size()]}, {n, 1});
    legs.push_back(cs_Element(leg, table, n * n));
  }
  return minimize(posted, point, sum(legs));
}

// A roster is searched day by day, those with the fewest shifts left first, each with the shift of the day before if
// that may be.
static std::vector<CSint**> rosterDays;

static int openDay(CSint*** matrix, int days, int people)
{
  for (int day = 0; day < days; day++)
    if (cs_findFreeVar(matrix[day], people))
      return day;
  return -1;
}

static int fewestShifts(int, CSint** people, int n)
{
  CSint* v = cs_findFreeVarNbElements(people, n);
  return v ? int(std::find(people, people + n, v) - people) : -1;
}

static int changesShift(int day, int person, int shift)
{
  return day == 0 || cs_getMin(rosterDays[size_t(day) - 1][person]) != shift;
}

static Outcome roster(const Problem& problem)
{
  constexpr int nbDays = Roster::nbDays, nbShifts = Roster::nbShifts, nbStates = Roster::nbStates;
  const Roster plan = bench::roster(problem.size);
  const int people = plan.nbPeople;
  Ints finals(nbStates);
  std::iota(finals.begin(), finals.end(), 0);
  Vars days = makeVars(nbDays * people, 0, nbShifts - 1); // day by day
  bool posted = true;
  for (int i = 0; i < people; i++) {
    Vars word;
    for (int day = 0; day < nbDays; day++)
      word.push_back(days[size_t(day * people + i)]);
    posted = posted && cs_Regular(keep(word), nbDays, plan.next.data(), nbStates, nbShifts, 0, finals.data(), nbStates);
  }
  for (int day = 0; day < nbDays; day++)
    for (int shift = 1; shift < nbShifts; shift++)
      posted = posted && cs_OccurConstraints(CSINT(plan.demand[size_t(shift)]), shift,
                             keep(Vars(days.begin() + day * people, days.begin() + (day + 1) * people)), people);
  for (int day = 0; day < nbDays; day++)
    rosterDays.push_back(days.data() + day * people);
  const bool found = posted && cs_searchMatrix(rosterDays.data(), nbDays, people, openDay, fewestShifts, changesShift);
  Outcome outcome = withCounters(found);
  outcome.sound = !found || isRoster(plan, valuesOf(days));
  return outcome;
}

/// The free variable with the smallest minimum.
static CSint* earliest(CSint** vars, int n)
{
  CSint* best = nullptr;
  for (int i = 0; i < n; i++)
    if (cs_isFree(vars[i]) && (!best || cs_getMin(vars[i]) < cs_getMin(best)))
      best = vars[i];
  return best;
}

static Outcome project(const Problem& problem)
{
  const Project plan = bench::project(problem.size);
  Vars starts, lengths, needs;
  for (size_t i = 0; i < plan.durations.size(); i++) {
    starts.push_back(cs_createCSint(0, plan.end - plan.durations[i]));
    lengths.push_back(CSINT(plan.durations[i]));
    needs.push_back(CSINT(plan.needs[i]));
  }
  const bool posted = cs_Cumulative(keep(starts), keep(lengths), keep(needs), problem.size, CSINT(plan.capacity));
  return findFirst(posted, starts, earliest, [&] { return isSchedule(plan, valuesOf(starts)); });
}

/// The next variable of a search without a fail, without looking at those before it.
static CSint* nextVar(CSint** vars, int n)
{
  static int next = 0;
  while (next < n && !cs_isFree(vars[next]))
    next++;
  return next < n ? vars[next] : nullptr;
}

static Outcome growth(const Problem& problem)
{
  Vars vars = makeVars(problem.size, 0, 1);
  bool posted = true;
  for (size_t i = 1; i < vars.size(); i++)
    posted = posted && cs_Le(vars[i - 1], vars[i]);
  return findFirst(posted, vars, nextVar, [&] { return cs_getMax(vars.back()) == 0; });
}

static const Model models[] = {{"start", start}, {"queens", queens}, {"queens-neq", queensNeq},
    {"queens-first", queensFirst}, {"queens-first-neq", queensFirstNeq}, {"magic", magic}, {"latin", latin},
    {"quasigroup", quasigroup}, {"langford", langford}, {"colouring", colouring}, {"pigeonholes", pigeonholes},
    {"cryptarithm", cryptarithms}, {"linear", linear}, {"knapsack", knapsacks}, {"nonogram", nonograms},
    {"cars", carLine}, {"jobshop-ft06", jobShops}, {"jobshop-la01", jobShops}, {"jobshop-la02", jobShops},
    {"jobshop-la03", jobShops}, {"jobshop-la04", jobShops}, {"jobshop-la05", jobShops}, {"golomb", golomb},
    {"interval", interval}, {"tour", tour}, {"roster", roster}, {"project", project}, {"growth", growth}};

// =====================================================================================================================
// The solver around each of them
// =====================================================================================================================

/// The third field of the report's rows, behind the line __DATA__.
static int64_t callsIn(FILE* report)
{
  char line[1000];
  int64_t calls = 0;
  bool data = false;
  rewind(report);
  while (fgets(line, sizeof line, report)) {
    if (data)
      if (const char* entry = strchr(line, '\t'))
        if (const char* count = strchr(entry + 1, '\t'))
          calls += atoll(count + 1);
    data = data || strncmp(line, "__DATA__", 8) == 0;
  }
  return calls;
}

static Outcome solveWithCounts(const Problem& problem, Solve solve)
{
  Profiler* profiler = cs_createProfiler(CS_PROFILER_CONSTRAINTS);
  cs_enableProfiler(profiler);
  Outcome outcome = solve(problem);
  if (FILE* report = tmpfile()) {
    cs_profilerWrite(profiler, report);
    outcome.handlerCalls = callsIn(report);
    fclose(report);
  }
  return outcome;
}

/// Without an end: the process ends with its problem, and what the solver holds goes with it.
static Outcome solveOne(const Problem& problem)
{
  cs_init();
  cs_setProfilerLocator(
      "", [](void*) { return ""; }, nullptr);
  const Solve solve = std::find_if(std::begin(models), std::end(models), [&](const Model& m) {
    return m.name == problem.model;
  })->solve;
  return settings.countCalls ? solveWithCounts(problem, solve) : solve(problem);
}

int main(int argc, char** argv)
{
  std::vector<Model> wrapped(std::begin(models), std::end(models));
  for (Model& model : wrapped)
    model.solve = solveOne;
  return run(argc, argv, Program::ku, wrapped.data(), int(wrapped.size()));
}
