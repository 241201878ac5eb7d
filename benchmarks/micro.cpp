/*
 * The operations that searches are made of, one by one. Items are operations.
 */
#include "idle.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <iterator>

/// Starts the solver for a benchmark and ends it.
struct Solver
{
  Solver() { cs_init(); }
  ~Solver() { cs_end(); }
};

constexpr int steps = 1000;

/// Raises a minimum by single steps, then takes all back. Arguments: listeners, holes or not, profilers.
static void raiseMinimum(benchmark::State& state)
{
  Solver solver;
  CSint* v = cs_createCSint(0, 4 * steps);
  attachIdle(v, int(state.range(0)));
  if (state.range(1))
    for (int value = 1; value < 4 * steps; value += 7)
      cs_NEQ(v, value);
  for (int64_t i = state.range(2); i > 0; i--)
    cs_enableProfiler(cs_createProfiler(CS_PROFILER_CONSTRAINTS));
  for (auto _ : state) {
    cs_saveContext();
    for (int value = 1; value <= steps; value++)
      benchmark::DoNotOptimize(rcsSetMin(v, value));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations() * steps);
}
BENCHMARK(raiseMinimum)
    ->ArgNames({"listeners", "holes", "profilers"})
    ->ArgsProduct({{0, 1, 8, 64}, {0, 1}, {0}})
    ->ArgsProduct({{1, 8}, {0}, {1, 2}});

static void removeAndRestore(benchmark::State& state)
{
  Solver solver;
  CSint* v = cs_createCSint(0, 2 * steps + 1);
  attachIdle(v, 1);
  for (auto _ : state) {
    cs_saveContext();
    for (int value = 1; value < 2 * steps; value += 2)
      benchmark::DoNotOptimize(rcsRemoveValue(v, value));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations() * steps);
}
BENCHMARK(removeAndRestore);

static void fixAndRestore(benchmark::State& state)
{
  Solver solver;
  CSint* v = cs_createCSint(0, 9);
  attachIdle(v, 1);
  for (auto _ : state) {
    cs_saveContext();
    benchmark::DoNotOptimize(cs_EQ(v, 4));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(fixAndRestore);

static void saveAndRestoreContexts(benchmark::State& state)
{
  Solver solver;
  for (auto _ : state) {
    for (int i = 0; i < steps; i++)
      benchmark::DoNotOptimize(cs_saveContext());
    cs_restoreAll();
  }
  state.SetItemsProcessed(state.iterations() * steps);
}
BENCHMARK(saveAndRestoreContexts);

/// A chain of x1 < x2 < ..., pushed along by its first variable: one flush with so many records.
static void flushAChain(benchmark::State& state)
{
  Solver solver;
  cs_setProfilerLocator("", cheapLocator, nullptr);
  int length = int(state.range(0));
  CSint** x = cs_createCSintArray(length, 0, length);
  for (int i = 1; i < length; i++)
    cs_Lt(x[i - 1], x[i]);
  for (auto _ : state) {
    cs_saveContext();
    benchmark::DoNotOptimize(cs_GE(x[0], 1));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations() * length);
}
BENCHMARK(flushAChain)->ArgName("length")->Arg(10)->Arg(1000);

/// Posts relations and takes them away again. Argument: the default locator or a cheap one.
static void post(benchmark::State& state)
{
  Solver solver;
  if (!state.range(0))
    cs_setProfilerLocator("", cheapLocator, nullptr);
  CSint *x = cs_createCSint(0, 9), *y = cs_createCSint(0, 9);
  for (auto _ : state) {
    cs_saveContext();
    benchmark::DoNotOptimize(cs_Neq(x, y));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(post)->ArgName("default locator")->Arg(0)->Arg(1);

/// A set over 0..n-1 in which every seventh value is off.
static Domain* holedSet(int n)
{
  Domain* set = rcsCreateDomain(0, n - 1);
  for (int value = 3; value < n; value += 7)
    rcsDomainOff(set, value);
  return set;
}

static void countBits(benchmark::State& state)
{
  int n = int(state.range(0));
  Domain* set = holedSet(n);
  for (auto _ : state)
    benchmark::DoNotOptimize(rcsDomainCountOn(set, 1, n - 2));
  state.SetItemsProcessed(state.iterations() * n);
  rcsDeleteDomain(set);
}
BENCHMARK(countBits)->Arg(64)->Arg(1000)->Arg(100000);

static void walkBits(benchmark::State& state)
{
  int n = int(state.range(0));
  Domain* set = holedSet(n);
  for (auto _ : state)
    for (int value = 0; value < n - 1; value = rcsDomainNextOn(set, value))
      benchmark::DoNotOptimize(value);
  state.SetItemsProcessed(state.iterations() * n);
  rcsDeleteDomain(set);
}
BENCHMARK(walkBits)->Arg(64)->Arg(1000)->Arg(100000);

/// From one end of an empty stretch to the other.
static void leapOverHoles(benchmark::State& state)
{
  int n = int(state.range(0));
  Domain* set = rcsCreateDomain(0, n - 1);
  rcsDomainNotInInterval(set, 1, n - 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(rcsDomainNextOn(set, 0));
    benchmark::DoNotOptimize(rcsDomainPrevOn(set, n - 1));
  }
  state.SetItemsProcessed(state.iterations() * 2 * n);
  rcsDeleteDomain(set);
}
BENCHMARK(leapOverHoles)->Arg(64)->Arg(1000)->Arg(100000);

/// An event of each family: a step of one variable with the constraint on it, and back. The posting routines make
/// theirs on x in 1..100 and y in 1..100.
struct Family
{
  const char* name;
  void (*post)(CSint* x, CSint* y);
};

static CSint* operands[100];

/// An automaton in which each state goes to any other by some symbol.
static void fillTransitions(int* next, int nbStates, int nbSymbols)
{
  for (int i = 0; i < nbStates * nbSymbols; i++)
    next[i] = (i / nbSymbols * 31 + i % nbSymbols * 7) % nbStates;
}

static const Family families[] = {
    {"lt", [](CSint* x, CSint* y) { cs_Lt(x, y); }},
    {"eq", [](CSint* x, CSint* y) { cs_Eq(x, y); }},
    {"reifLt", [](CSint* x, CSint* y) { cs_ReifLt(x, y); }},
    {"reifEq", [](CSint* x, CSint* y) { cs_ReifEq(x, y); }},
    {"reifGE", [](CSint* x, CSint*) { cs_ReifGE(x, 50); }},
    {"add", [](CSint* x, CSint* y) { cs_Add(x, y); }},
    {"mul", [](CSint* x, CSint* y) { cs_Mul(x, y); }},
    {"abs", [](CSint* x, CSint*) { cs_Abs(x); }},
    {"min of 100", [](CSint*, CSint*) { cs_Min(operands, 100); }},
    {"sigma of 100", [](CSint*, CSint*) { cs_Sigma(operands, 100); }},
    {"element of 101",
        [](CSint* x, CSint*) {
          static int table[101];
          for (int i = 0; i <= 100; i++)
            table[i] = i * 7 % 101;
          cs_Element(x, table, 101);
        }},
    {"cumulative of 10",
        [](CSint*, CSint*) {
          static CSint *durations[10], *needs[10];
          for (int i = 0; i < 10; i++) {
            durations[i] = CSINT(5 + i);
            needs[i] = CSINT(1 + i % 3);
          }
          cs_Cumulative(operands, durations, needs, 10, CSINT(4));
        }},
    {"ifEq", [](CSint* x, CSint* y) { cs_IfEq(x, y, 3, 4); }},
    {"occur of 100", [](CSint*, CSint*) { cs_OccurDomain(50, operands, 100); }},
    {"occur of 100, losing", [](CSint*, CSint*) { cs_OccurDomain(2, operands, 100); }},
    {"regular of 100",
        [](CSint*, CSint*) {
          static int next[50 * 101];
          static const int finals[] = {0};
          fillTransitions(next, 50, 101);
          cs_Regular(operands, 100, next, 50, 101, 0, finals, 1);
        }},
    {"varElement of 100", [](CSint*, CSint*) { cs_VarElement(cs_createCSint(0, 99), operands, 100); }},
    {"varElementRange of 100", [](CSint*, CSint*) { cs_VarElementRange(cs_createCSint(0, 99), operands, 100); }},
};

static void familyEvent(benchmark::State& state)
{
  const Family& family = families[state.range(0)];
  state.SetLabel(family.name);
  Solver solver;
  for (CSint*& operand : operands)
    operand = cs_createCSint(1, 100);
  family.post(operands[0], operands[1]);
  for (auto _ : state) {
    cs_saveContext();
    benchmark::DoNotOptimize(cs_GE(operands[0], 5));
    benchmark::DoNotOptimize(cs_LE(operands[0], 95));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(familyEvent)->DenseRange(0, int(std::size(families)) - 1);

/// Posts a cumulative and takes it away again. The starts lie around those of a schedule that fits, so far that tasks
/// have compulsory parts and are narrowed; with `wide` they may be anywhere, and little is to be found.
static void postCumulative(benchmark::State& state)
{
  Solver solver;
  cs_setProfilerLocator("", cheapLocator, nullptr);
  const int n = int(state.range(0));
  const bool wide = state.range(1) != 0;
  constexpr int capacity = 8;
  CSint *starts[60], *durations[60], *needs[60], *limit = cs_createCSint(0, capacity);
  int freeFrom[capacity] = {}; // of each unit of the resource
  unsigned random = 1;
  auto pick = [&](int low, int high) {
    random = random * 1103515245u + 12345u;
    return low + int(random >> 16) % (high - low + 1);
  };
  for (int i = 0; i < n; i++) {
    int duration = pick(2, 9), need = pick(1, 4);
    std::sort(freeFrom, freeFrom + capacity);
    int at = freeFrom[need - 1];
    for (int unit = 0; unit < need; unit++)
      freeFrom[unit] = at + duration;
    durations[i] = cs_createCSint(duration, duration + i % 2);
    needs[i] = cs_createCSint(need, need + i % 2);
    starts[i] = wide ? cs_createCSint(0, 6 * n) : cs_createCSint(std::max(0, at - pick(0, 5)), at + pick(0, 5));
  }
  int posted = 0;
  for (auto _ : state) {
    cs_saveContext();
    posted = cs_Cumulative(starts, durations, needs, n, limit);
    cs_restoreContext();
  }
  if (!posted)
    state.SkipWithError("no schedule left");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(postCumulative)
    ->ArgNames({"tasks", "wide"})
    ->ArgsProduct({{10, 30, 60}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

/// Posts an automaton of 50 states and 20 symbols on 100 variables and takes it away again. Items are steps of the
/// word.
static void postRegular(benchmark::State& state)
{
  Solver solver;
  cs_setProfilerLocator("", cheapLocator, nullptr);
  constexpr int length = 100, nbStates = 50, nbSymbols = 20;
  static int next[nbStates * nbSymbols];
  static const int finals[] = {0, 7};
  fillTransitions(next, nbStates, nbSymbols);
  CSint** x = cs_createCSintArray(length, 0, nbSymbols - 1);
  for (auto _ : state) {
    cs_saveContext();
    benchmark::DoNotOptimize(cs_Regular(x, length, next, nbStates, nbSymbols, 0, finals, 2));
    cs_restoreContext();
  }
  state.SetItemsProcessed(state.iterations() * length);
}
BENCHMARK(postRegular)->Unit(benchmark::kMicrosecond);

/// A set of so many no-goods on 100 variables of 0..99. The number `k` has three decisions of its own.
struct NoGoods
{
  static constexpr int n = 100;

  explicit NoGoods(int count)
    : x(cs_createCSintArray(n, 0, n - 1)), set(cs_createNoGoodSet(x, n, nullptr, count, nullptr, nullptr))
  {
    for (int k = 0; k < count; k++)
      add(k);
  }

  static NoGoodElement decision(int k, int i) { return {{CS_SELECT_EQ, k / n % n}, (k + i * (1 + k / (n * n))) % n}; }

  void add(int k)
  {
    const NoGoodElement elements[] = {decision(k, 0), decision(k, 1), decision(k, 2)};
    rcsAddNewNoGood(set, elements, 3);
  }

  CSint** x;
  NoGoodSet* set;
};

/// Adds to a full set, so that each addition is compared with all that there are, and the oldest goes.
static void addNoGoods(benchmark::State& state)
{
  Solver solver;
  int count = int(state.range(0)), k = count;
  NoGoods noGoods(count);
  for (auto _ : state)
    noGoods.add(k++ % (40 * NoGoods::n * NoGoods::n));
  if (cs_getNbNoGoods(noGoods.set) != count)
    state.SkipWithError("not full");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(addNoGoods)->ArgName("in the set")->Arg(1000)->Arg(10000);

/// Makes two of the three decisions of each no-good in turn, so that the third is forbidden. Items are no-goods.
static void applyNoGoods(benchmark::State& state)
{
  Solver solver;
  int count = int(state.range(0)), k = 0;
  NoGoods noGoods(count);
  for (auto _ : state) {
    cs_saveContext();
    for (int i = 0; i < 2; i++) {
      NoGoodElement made = NoGoods::decision(k, i);
      cs_EQ(noGoods.x[made.index], made.value);
    }
    NoGoodElement last = NoGoods::decision(k, 2);
    if (cs_isIn(noGoods.x[last.index], last.value)) {
      state.SkipWithError("not forbidden");
      break;
    }
    cs_restoreContext();
    k = (k + 1) % count;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(applyNoGoods)->ArgName("in the set")->Arg(1000)->Arg(10000);

/// Each variable has a twin, so that the decisions on both come to hold in one flush: the no-good fails and comes to
/// the front. Items are failures.
static void fireNoGoods(benchmark::State& state)
{
  Solver solver;
  int count = int(state.range(0)), k = 0;
  constexpr int n = 100;
  CSint** x = cs_createCSintArray(2 * n, 0, n - 1);
  NoGoodSet* set = cs_createNoGoodSet(x, 2 * n, nullptr, 0, nullptr, nullptr);
  for (int i = 0; i < n; i++)
    cs_Eq(x[i], x[n + i]);
  for (int i = 0; i < count; i++) {
    const NoGoodElement elements[] = {{{CS_SELECT_EQ, i / n}, i % n}, {{CS_SELECT_EQ, i / n}, n + i % n}};
    rcsAddNewNoGood(set, elements, 2);
  }
  for (auto _ : state) {
    cs_saveContext();
    if (cs_EQ(x[k % n], k / n) || set->_first->_elements[0].index != k % n) {
      state.SkipWithError("not fired");
      break;
    }
    cs_restoreContext();
    k = (k + 1) % count;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(fireNoGoods)->ArgName("in the set")->Arg(1000)->Arg(10000);

BENCHMARK_MAIN();
