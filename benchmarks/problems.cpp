/*
 * Whole problems, each checked against its known answer. Items are choice points.
 */
#include <ku.h>

#include <benchmark/benchmark.h>
#include <iterator>
#include <string>
#include <vector>

using Vars = std::vector<CSint*>;

/// The solver with a locator that costs nothing.
struct Solver
{
  Solver()
  {
    cs_init();
    cs_setProfilerLocator(
        "", [](void*) { return ""; }, nullptr);
  }
  ~Solver() { cs_end(); }
};

/// Runs the search again and again, each time from the same state, and reports its choice points.
template <typename Run>
static void measure(benchmark::State& state, Run run)
{
  int64_t choicePoints = 0;
  for (auto _ : state) {
    int label = cs_saveContext();
    if (!run()) {
      state.SkipWithError("wrong answer");
      return;
    }
    choicePoints += cs_getNbChoicePoints();
    cs_restoreContextUntil(label);
  }
  state.SetItemsProcessed(choicePoints);
  state.counters["choice points"] = cs_getNbChoicePoints();
  state.counters["fails"] = cs_getNbFails();
}

static Vars makeVars(int count, int min, int max)
{
  Vars vars;
  for (int i = 0; i < count; i++)
    vars.push_back(cs_createCSint(min, max));
  return vars;
}

static int solutions;
static void count(CSint**, int) { solutions++; }

static void latinSquares(benchmark::State& state)
{
  Solver solver;
  constexpr int n = 5;
  Vars cells = makeVars(n * n, 1, n);
  std::vector<Vars> lines;
  for (int i = 0; i < n; i++) {
    Vars row, column;
    for (int j = 0; j < n; j++) {
      row.push_back(cells[size_t(i * n + j)]);
      column.push_back(cells[size_t(j * n + i)]);
    }
    lines.push_back(row);
    lines.push_back(column);
  }
  for (Vars& line : lines)
    cs_AllNeq(line.data(), n);
  measure(state, [&] {
    solutions = 0;
    return cs_findAll(cells.data(), n * n, cs_findFreeVar, count) && solutions == 161280;
  });
}
BENCHMARK(latinSquares)->Unit(benchmark::kMillisecond);

static void sudoku(benchmark::State& state)
{
  static const char puzzle[] = "4.....8.5.3..........7......2.....6.....8.4......1.......6.3.7.5..2.....1.4......";
  Solver solver;
  Vars cells = makeVars(81, 1, 9);
  std::vector<Vars> units(27);
  for (int i = 0; i < 81; i++) {
    units[size_t(i / 9)].push_back(cells[size_t(i)]);
    units[size_t(9 + i % 9)].push_back(cells[size_t(i)]);
    units[size_t(18 + i / 27 * 3 + i % 9 / 3)].push_back(cells[size_t(i)]);
  }
  bool posted = true;
  for (Vars& unit : units)
    posted = posted && cs_AllNeq(unit.data(), 9);
  for (int i = 0; i < 81; i++)
    posted = posted && (puzzle[i] == '.' || cs_EQ(cells[size_t(i)], puzzle[i] - '0'));
  measure(state, [&] { return posted && cs_search(cells.data(), 81, cs_findFreeVarNbElements); });
}
BENCHMARK(sudoku)->Unit(benchmark::kMillisecond);

/// The squares of a chess board, joined where a queen moves: the board of side 7 takes 7 colours, and that of side 6,
/// as a proof, doesn't do with 6.
static Vars queenGraph(int side, int colours)
{
  Vars squares = makeVars(side * side, 1, colours);
  for (int a = 0; a < side * side; a++)
    for (int b = a + 1; b < side * side; b++) {
      int rows = b / side - a / side, columns = b % side - a % side;
      if (rows == 0 || columns == 0 || rows == columns || rows == -columns)
        cs_Neq(squares[size_t(a)], squares[size_t(b)]);
    }
  for (int i = 0; i < side; i++)
    cs_EQ(squares[size_t(i)], i + 1);
  return squares;
}

static void colouring(benchmark::State& state)
{
  Solver solver;
  bool colourable = state.range(1);
  int side = int(state.range(0));
  Vars squares = queenGraph(side, side);
  measure(state, [&] { return bool(cs_search(squares.data(), side * side, cs_findFreeVarNbElements)) == colourable; });
}
BENCHMARK(colouring)->ArgNames({"side", "colourable"})->Args({7, 1})->Args({6, 0})->Unit(benchmark::kMillisecond);

static int firstFree(CSint** vars, int n)
{
  for (int i = 0; i < n; i++)
    if (vars[i]->_min < vars[i]->_max)
      return i;
  return -1;
}

static int64_t nbTold;

/// A notification with all callbacks, each of which counts.
static SearchNotify* countAll()
{
  SearchNotify* notify = cs_createSearchNotify(nullptr);
  cs_searchNotifySetSearchStart(notify, [](int, CSint**, int, void*) { nbTold++; });
  cs_searchNotifySetSearchEnd(notify, [](int, int, int, CSint**, int, void*) { nbTold++; });
  cs_searchNotifySetEnter(notify, [](int, int, CSint**, int, void*) { nbTold++; });
  cs_searchNotifySetLeave(notify, [](int, int, CSint**, int, void*) { nbTold++; });
  cs_searchNotifySetBeforeValueSelection(
      notify, [](int, int, const ValueSelection*, CSint**, int, void*) { nbTold++; });
  cs_searchNotifySetAfterValueSelection(
      notify, [](int, int, int, const ValueSelection*, CSint**, int, void*) { nbTold++; });
  cs_searchNotifySetFound(notify, [](int, CSint**, int, void*) { return 1; });
  return notify;
}

static int bySelector(CSint** vars, int n, int kind, SearchNotify* notify = nullptr)
{
  std::vector<ValueSelector*> selectors(size_t(n), cs_getValueSelector(kind));
  return cs_searchValueSelectorFail(vars, selectors.data(), n, firstFree, 0, notify);
}

static int byRestarts(CSint** vars, int n, NoGoodSet* noGoods)
{
  std::vector<ValueSelector*> selectors(size_t(n), cs_getValueSelector(CS_MIN_TO_MAX));
  int limit = 50;
  auto twice = [](void* last) { return *static_cast<int*>(last) *= 2; };
  return cs_searchValueSelectorRestartNG(vars, selectors.data(), n, firstFree, twice, &limit, 0, noGoods, nullptr);
}

struct Driver
{
  const char* name;
  int (*run)(CSint** vars, int n);
};

static const Driver drivers[] = {
    {"search", [](CSint** vars, int n) { return cs_search(vars, n, cs_findFreeVar); }},
    {"find all", [](CSint** vars, int n) { return cs_findAll(vars, n, cs_findFreeVar, count); }},
    {"minimize",
        [](CSint** vars, int n) { return cs_minimize(vars, n, cs_findFreeVar, vars[0], [](CSint**, int, CSint*) {}); }},
    {"rating", [](CSint** vars,
                   int n) { return cs_searchCriteria(vars, n, firstFree, [](int, int value) { return value; }); }},
    {"matrix",
        [](CSint** vars, int n) {
          return cs_searchMatrix(
              &vars, 1, n, [](CSint*** m, int, int cols) { return firstFree(m[0], cols) < 0 ? -1 : 0; },
              [](int, CSint** row, int cols) { return firstFree(row, cols); },
              [](int, int, int value) { return value; });
        }},
    {"ascending", [](CSint** vars, int n) { return bySelector(vars, n, CS_MIN_TO_MAX); }},
    {"descending", [](CSint** vars, int n) { return bySelector(vars, n, CS_MAX_TO_MIN); }},
    {"lower and upper", [](CSint** vars, int n) { return bySelector(vars, n, CS_LOWER_AND_UPPER); }},
    {"upper and lower", [](CSint** vars, int n) { return bySelector(vars, n, CS_UPPER_AND_LOWER); }},
    {"median and rest", [](CSint** vars, int n) { return bySelector(vars, n, CS_MEDIAN_AND_REST); }},
    {"ascending, all told",
        [](CSint** vars, int n) {
          SearchNotify* notify = countAll();
          int found = bySelector(vars, n, CS_MIN_TO_MAX, notify);
          cs_freeSearchNotify(notify);
          return found;
        }},
    {"restarts", [](CSint** vars, int n) { return byRestarts(vars, n, nullptr); }},
    {"restarts with no-goods",
        [](CSint** vars, int n) {
          return byRestarts(vars, n, cs_createNoGoodSet(vars, n, nullptr, 0, nullptr, nullptr));
        }},
};

/// More pigeons than holes, as pairs of disequalities: nothing but search, by each driver in turn.
static void pigeonholes(benchmark::State& state)
{
  const Driver& driver = drivers[state.range(0)];
  state.SetLabel(driver.name);
  Solver solver;
  constexpr int n = 8;
  Vars pigeons = makeVars(n, 1, n - 1);
  for (size_t i = 0; i < n; i++)
    for (size_t j = i + 1; j < n; j++)
      cs_Neq(pigeons[i], pigeons[j]);
  measure(state, [&] { return !driver.run(pigeons.data(), n); });
}
BENCHMARK(pigeonholes)->ArgName("driver")->DenseRange(0, int(std::size(drivers)) - 1)->Unit(benchmark::kMillisecond);

/// The letters D E M N O R S Y, and one linear equation.
static void sendMoreMoney(benchmark::State& state)
{
  Solver solver;
  static const int coefficients[8] = {1, 91, -9000, -90, -900, 10, 1000, -1};
  Vars letters = makeVars(8, 0, 9);
  cs_NEQ(letters[2], 0);
  cs_NEQ(letters[6], 0);
  cs_AllNeq(letters.data(), 8);
  cs_EQ(cs_ScalProd(letters.data(), coefficients, 8), 0);
  measure(
      state, [&] { return cs_search(letters.data(), 8, cs_findFreeVarNbElements) && cs_getValue(letters[6]) == 9; });
}
BENCHMARK(sendMoreMoney)->Unit(benchmark::kMicrosecond);

/// All placements, with three all-different: columns and both diagonals.
static void queens(benchmark::State& state)
{
  static const int known[] = {1, 1, 0, 0, 2, 10, 4, 40, 92, 352, 724};
  Solver solver;
  int n = int(state.range(0));
  Vars column = makeVars(n, 0, n - 1), up, down;
  for (int i = 0; i < n; i++) {
    up.push_back(cs_Add(column[size_t(i)], CSINT(i)));
    down.push_back(cs_Sub(column[size_t(i)], CSINT(i)));
  }
  for (Vars* line : {&column, &up, &down})
    cs_AllNeq(line->data(), n);
  measure(state, [&] {
    solutions = 0;
    cs_findAll(column.data(), n, cs_findFreeVar, count);
    return solutions == known[n];
  });
}
BENCHMARK(queens)->Arg(8)->Arg(10)->Unit(benchmark::kMillisecond);

/// All magic squares of a side, without symmetry breaking.
static void magicSquares(benchmark::State& state)
{
  Solver solver;
  int n = int(state.range(0)), sum = n * (n * n + 1) / 2;
  Vars cells = makeVars(n * n, 1, n * n), down, up;
  std::vector<Vars> lines;
  for (int i = 0; i < n; i++) {
    Vars row, column;
    for (int j = 0; j < n; j++) {
      row.push_back(cells[size_t(i * n + j)]);
      column.push_back(cells[size_t(j * n + i)]);
    }
    lines.push_back(row);
    lines.push_back(column);
    down.push_back(cells[size_t(i * n + i)]);
    up.push_back(cells[size_t(i * n + n - 1 - i)]);
  }
  lines.push_back(down);
  lines.push_back(up);
  cs_AllNeq(cells.data(), n * n);
  for (Vars& line : lines)
    cs_EQ(cs_Sigma(line.data(), n), sum);
  measure(state, [&] {
    solutions = 0;
    cs_findAll(cells.data(), n * n, cs_findFreeVar, count);
    return solutions == (n == 3 ? 8 : 7040);
  });
}
BENCHMARK(magicSquares)->Arg(3)->Arg(4)->Unit(benchmark::kMillisecond);

/// A permutation of 0..n-1 whose neighbours differ by 1..n-1, each once.
static void allInterval(benchmark::State& state)
{
  Solver solver;
  constexpr int n = 9;
  Vars note = makeVars(n, 0, n - 1), interval;
  for (size_t i = 1; i < n; i++) {
    interval.push_back(cs_Abs(cs_Sub(note[i], note[i - 1])));
    cs_InInterval(interval.back(), 1, n - 1);
  }
  cs_AllNeq(note.data(), n);
  cs_AllNeq(interval.data(), n - 1);
  measure(state, [&] {
    solutions = 0;
    cs_findAll(note.data(), n, cs_findFreeVar, count);
    return solutions == 120;
  });
}
BENCHMARK(allInterval)->Unit(benchmark::kMillisecond);

/// Marks on a ruler of the optimal length, with all differences.
static void golombRuler(benchmark::State& state)
{
  static const int length[] = {0, 0, 0, 0, 6, 11, 17, 25, 34};
  Solver solver;
  int marks = int(state.range(0));
  Vars mark = makeVars(marks, 0, length[marks]), differences;
  cs_EQ(mark[0], 0);
  for (size_t j = 1; j < mark.size(); j++) {
    cs_Lt(mark[j - 1], mark[j]);
    for (size_t i = 0; i < j; i++)
      differences.push_back(cs_Sub(mark[j], mark[i]));
  }
  cs_AllNeq(differences.data(), int(differences.size()));
  measure(state, [&] { return cs_search(mark.data(), marks, cs_findFreeVar); });
}
BENCHMARK(golombRuler)->Arg(7)->Arg(8)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
