/*
 * The data. The job shops are those of Fisher and Thompson (1963) and Lawrence (1984), the ten cars those of Dincbas,
 * Simonis and Van Hentenryck (1988).
 */
#include "instances.h"

#include <climits>
#include <cmath>
#include <map>
#include <numeric>
#include <string>

namespace bench {

/// splitmix64
struct Random
{
  uint64_t state;

  int below(int n)
  {
    uint64_t z = state += 0x9e3779b97f4a7c15;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return int((z ^ (z >> 31)) % uint64_t(n));
  }

  void shuffle(Ints& values)
  {
    for (int i = int(values.size()) - 1; i > 0; i--)
      std::swap(values[size_t(i)], values[size_t(below(i + 1))]);
  }
};

static Ints upTo(int n)
{
  Ints values(static_cast<size_t>(n));
  std::iota(values.begin(), values.end(), 0);
  return values;
}

static bool allDifferent(Ints values)
{
  std::sort(values.begin(), values.end());
  return std::adjacent_find(values.begin(), values.end()) == values.end();
}

// =====================================================================================================================
// Queens and squares
// =====================================================================================================================

bool isPlacement(const Ints& columns)
{
  Ints up = columns, down = columns;
  for (int i = 0; i < int(columns.size()); i++) {
    up[size_t(i)] += i;
    down[size_t(i)] -= i;
  }
  return allDifferent(columns) && allDifferent(up) && allDifferent(down);
}

Ints holedSquare(int n)
{
  Random random = {uint64_t(n)};
  Ints rows = upTo(n), columns = upTo(n), cells;
  random.shuffle(rows);
  random.shuffle(columns);
  for (int row : rows)
    for (int column : columns)
      cells.push_back(random.below(100) < 42 ? 0 : 1 + (row + column) % n);
  return cells;
}

bool isCompletion(const Ints& cells, const Ints& given)
{
  const auto n = size_t(std::lround(std::sqrt(double(cells.size()))));
  for (size_t i = 0; i < n; i++) {
    Ints row, column;
    for (size_t j = 0; j < n; j++) {
      row.push_back(cells[i * n + j]);
      column.push_back(cells[j * n + i]);
    }
    if (!allDifferent(row) || !allDifferent(column))
      return false;
  }
  for (size_t i = 0; i < cells.size(); i++)
    if (cells[i] < 1 || cells[i] > int(n) || (given[i] != 0 && given[i] != cells[i]))
      return false;
  return true;
}

// =====================================================================================================================
// Sums
// =====================================================================================================================

Equations equations(int nbVariables)
{
  Random random = {7};
  Equations system = {.largest = 5, .coefficients = {}, .sums = {}};
  Ints planted;
  for (int i = 0; i < nbVariables; i++)
    planted.push_back(random.below(system.largest + 1));
  for (int k = 0; k < 2; k++) {
    Ints row;
    for (int i = 0; i < nbVariables; i++)
      row.push_back(random.below(19) - 9);
    system.sums.push_back(std::inner_product(row.begin(), row.end(), planted.begin(), 0));
    system.coefficients.push_back(row);
  }
  return system;
}

static int64_t countSolutions(const Equations& system)
{
  const size_t n = system.coefficients[0].size();
  Ints x(n, 0), sums(system.sums.size(), 0);
  int64_t count = 0;
  for (size_t i = 0; i < n;) {
    count += sums == system.sums;
    // The next assignment, as an odometer steps.
    for (i = 0; i < n; i++) {
      const int step = x[i] == system.largest ? -system.largest : 1;
      x[i] += step;
      for (size_t k = 0; k < sums.size(); k++)
        sums[k] += step * system.coefficients[k][i];
      if (step == 1)
        break;
    }
  }
  return count;
}

Cryptarithm cryptarithm()
{
  static const struct
  {
    const char* word;
    int sign;
  } words[3] = {{"DONALD", 1}, {"GERALD", 1}, {"ROBERT", -1}};
  std::map<char, int> coefficients;
  for (const auto& [word, sign] : words) {
    int power = sign;
    const std::string letters = word;
    for (auto letter = letters.rbegin(); letter != letters.rend(); ++letter, power *= 10)
      coefficients[*letter] += power;
  }
  Cryptarithm result;
  for (const auto& [letter, coefficient] : coefficients) {
    if (std::any_of(std::begin(words), std::end(words), [letter = letter](auto& w) { return w.word[0] == letter; }))
      result.leading.push_back(int(result.coefficients.size()));
    result.coefficients.push_back(coefficient);
  }
  return result;
}

Knapsack knapsack(int nbItems)
{
  Random random = {uint64_t(nbItems)};
  Knapsack sack = {};
  for (int i = 0; i < nbItems; i++) {
    sack.weights.push_back(20 + random.below(80));
    sack.worths.push_back(sack.weights.back() + random.below(21) - 10);
  }
  sack.capacity = std::accumulate(sack.weights.begin(), sack.weights.end(), 0) / 2;
  sack.worth = sack.capacity + 2 * nbItems;
  return sack;
}

static int64_t countFillings(const Knapsack& sack)
{
  int64_t count = 0;
  for (uint32_t taken = 0; taken < uint32_t(1) << sack.weights.size(); taken++) {
    int weight = 0, worth = 0;
    for (size_t i = 0; i < sack.weights.size(); i++)
      if (taken >> i & 1) {
        weight += sack.weights[i];
        worth += sack.worths[i];
      }
    count += weight <= sack.capacity && worth >= sack.worth;
  }
  return count;
}

// =====================================================================================================================
// Lines of runs
// =====================================================================================================================

static Ints runsOf(const std::vector<bool>& line)
{
  Ints runs;
  for (size_t i = 0; i < line.size(); i++)
    if (line[i]) {
      if (i == 0 || !line[i - 1])
        runs.push_back(0);
      runs.back()++;
    }
  return runs;
}

Nonogram nonogram(int side)
{
  Random random = {uint64_t(side)};
  const auto n = size_t(side);
  std::vector<std::vector<bool>> rows(n, std::vector<bool>(n)), columns = rows;
  for (size_t i = 0; i < n; i++)
    for (size_t j = 0; j < n; j++)
      rows[i][j] = columns[j][i] = random.below(100) < 55;
  Nonogram puzzle;
  for (size_t i = 0; i < n; i++) {
    puzzle.rows.push_back(runsOf(rows[i]));
    puzzle.columns.push_back(runsOf(columns[i]));
  }
  return puzzle;
}

Automaton automatonOf(const Ints& runs)
{
  Automaton automaton = {.nbStates = 1, .next = {0, -1}};
  auto add = [&](int onZero) {
    automaton.next[size_t(automaton.nbStates * 2 - 1)] = automaton.nbStates;
    automaton.next.insert(automaton.next.end(), {onZero, -1});
    automaton.nbStates++;
  };
  for (size_t k = 0; k < runs.size(); k++) {
    if (k > 0) {
      // The zero that must follow a run leads to a state of its own, with zeros as wanted.
      automaton.next[size_t(automaton.nbStates * 2 - 2)] = automaton.nbStates;
      automaton.next.insert(automaton.next.end(), {automaton.nbStates, -1});
      automaton.nbStates++;
    }
    for (int i = 0; i < runs[k]; i++)
      add(-1);
  }
  // After the last run zeros stay in the last state.
  automaton.next[size_t(automaton.nbStates * 2 - 2)] = automaton.nbStates - 1;
  return automaton;
}

// =====================================================================================================================
// Cars
// =====================================================================================================================

Cars cars(int nbCars)
{
  Cars line = {.demand = {1, 1, 2, 2, 2, 2},
      .options = {{1, 2, {1, 0, 0, 0, 1, 1}}, {2, 3, {0, 0, 1, 1, 0, 1}}, {1, 3, {1, 0, 0, 0, 1, 0}},
          {2, 5, {1, 1, 0, 1, 0, 0}}, {1, 5, {0, 0, 1, 0, 0, 0}}}};
  for (int& demand : line.demand)
    demand *= nbCars / 10;
  // What is over ten has no option.
  if (nbCars % 10 > 0) {
    line.demand.push_back(nbCars % 10);
    for (CarOption& option : line.options)
      option.classes.push_back(0);
  }
  return line;
}

/// By what is left to build and the classes of the last cars: the windows are of five at most.
struct CarCounter
{
  const Cars& line;
  std::map<std::pair<Ints, std::array<int, 4>>, int64_t> known;

  bool fits(const std::array<int, 4>& last, int next) const
  {
    return std::all_of(line.options.begin(), line.options.end(), [&](const CarOption& option) {
      int used = option.classes[size_t(next)];
      for (size_t back = 1; back < size_t(option.window); back++)
        used += last[back - 1] >= 0 && option.classes[size_t(last[back - 1])];
      return !option.classes[size_t(next)] || used <= option.most;
    });
  }

  int64_t count(const Ints& left, const std::array<int, 4>& last)
  {
    if (std::accumulate(left.begin(), left.end(), 0) == 0)
      return 1;
    auto [place, isNew] = known.try_emplace({left, last}, 0);
    if (!isNew)
      return place->second;
    int64_t sequences = 0;
    for (int next = 0; next < int(left.size()); next++)
      if (left[size_t(next)] > 0 && fits(last, next)) {
        Ints rest = left;
        rest[size_t(next)]--;
        sequences += count(rest, {next, last[0], last[1], last[2]});
      }
    return known[{left, last}] = sequences;
  }
};

static int64_t countSequences(const Cars& line)
{
  CarCounter counter = {line, {}};
  return counter.count(line.demand, {-1, -1, -1, -1});
}

// =====================================================================================================================
// Job shops
// =====================================================================================================================

static const std::map<std::string_view, JobShop> jobShops = {
    {"jobshop-ft06",
        {6, {{{2, 1}, {0, 3}, {1, 6}, {3, 7}, {5, 3}, {4, 6}}, {{1, 8}, {2, 5}, {4, 10}, {5, 10}, {0, 10}, {3, 4}},
                {{2, 5}, {3, 4}, {5, 8}, {0, 9}, {1, 1}, {4, 7}}, {{1, 5}, {0, 5}, {2, 5}, {3, 3}, {4, 8}, {5, 9}},
                {{2, 9}, {1, 3}, {4, 5}, {5, 4}, {0, 3}, {3, 1}}, {{1, 3}, {3, 3}, {5, 9}, {0, 10}, {4, 4}, {2, 1}}}}},
    {"jobshop-la01",
        {5, {{{1, 21}, {0, 53}, {4, 95}, {3, 55}, {2, 34}}, {{0, 21}, {3, 52}, {4, 16}, {2, 26}, {1, 71}},
                {{3, 39}, {4, 98}, {1, 42}, {2, 31}, {0, 12}}, {{1, 77}, {0, 55}, {4, 79}, {2, 66}, {3, 77}},
                {{0, 83}, {3, 34}, {2, 64}, {1, 19}, {4, 37}}, {{1, 54}, {2, 43}, {4, 79}, {0, 92}, {3, 62}},
                {{3, 69}, {4, 77}, {1, 87}, {2, 87}, {0, 93}}, {{2, 38}, {0, 60}, {1, 41}, {3, 24}, {4, 83}},
                {{3, 17}, {1, 49}, {4, 25}, {0, 44}, {2, 98}}, {{4, 77}, {3, 79}, {2, 43}, {1, 75}, {0, 96}}}}},
    {"jobshop-la02",
        {5, {{{0, 20}, {3, 87}, {1, 31}, {4, 76}, {2, 17}}, {{4, 25}, {2, 32}, {0, 24}, {1, 18}, {3, 81}},
                {{1, 72}, {2, 23}, {4, 28}, {0, 58}, {3, 99}}, {{2, 86}, {1, 76}, {4, 97}, {0, 45}, {3, 90}},
                {{4, 27}, {0, 42}, {3, 48}, {2, 17}, {1, 46}}, {{1, 67}, {0, 98}, {4, 48}, {3, 27}, {2, 62}},
                {{4, 28}, {1, 12}, {3, 19}, {0, 80}, {2, 50}}, {{1, 63}, {0, 94}, {2, 98}, {3, 50}, {4, 80}},
                {{4, 14}, {0, 75}, {2, 50}, {1, 41}, {3, 55}}, {{4, 72}, {2, 18}, {1, 37}, {3, 79}, {0, 61}}}}},
    {"jobshop-la03",
        {5, {{{1, 23}, {2, 45}, {0, 82}, {4, 84}, {3, 38}}, {{2, 21}, {1, 29}, {0, 18}, {4, 41}, {3, 50}},
                {{2, 38}, {3, 54}, {4, 16}, {0, 52}, {1, 52}}, {{4, 37}, {0, 54}, {2, 74}, {1, 62}, {3, 57}},
                {{4, 57}, {0, 81}, {1, 61}, {3, 68}, {2, 30}}, {{4, 81}, {0, 79}, {1, 89}, {2, 89}, {3, 11}},
                {{3, 33}, {2, 20}, {0, 91}, {4, 20}, {1, 66}}, {{4, 24}, {1, 84}, {0, 32}, {2, 55}, {3, 8}},
                {{4, 56}, {0, 7}, {3, 54}, {2, 64}, {1, 39}}, {{4, 40}, {1, 83}, {0, 19}, {2, 8}, {3, 7}}}}},
    {"jobshop-la04",
        {5, {{{0, 12}, {2, 94}, {3, 92}, {4, 91}, {1, 7}}, {{1, 19}, {3, 11}, {4, 66}, {2, 21}, {0, 87}},
                {{1, 14}, {0, 75}, {3, 13}, {4, 16}, {2, 20}}, {{2, 95}, {4, 66}, {0, 7}, {3, 7}, {1, 77}},
                {{1, 45}, {3, 6}, {4, 89}, {0, 15}, {2, 34}}, {{3, 77}, {2, 20}, {0, 76}, {4, 88}, {1, 53}},
                {{2, 74}, {1, 88}, {0, 52}, {3, 27}, {4, 9}}, {{1, 88}, {3, 69}, {0, 62}, {4, 98}, {2, 52}},
                {{2, 61}, {4, 9}, {0, 62}, {1, 52}, {3, 90}}, {{2, 54}, {4, 5}, {3, 59}, {1, 15}, {0, 88}}}}},
    {"jobshop-la05",
        {5, {{{1, 72}, {0, 87}, {4, 95}, {2, 66}, {3, 60}}, {{4, 5}, {3, 35}, {0, 48}, {2, 39}, {1, 54}},
                {{1, 46}, {3, 20}, {2, 21}, {0, 97}, {4, 55}}, {{0, 59}, {3, 19}, {4, 46}, {1, 34}, {2, 37}},
                {{4, 23}, {2, 73}, {3, 25}, {1, 24}, {0, 28}}, {{3, 28}, {0, 45}, {4, 5}, {1, 78}, {2, 83}},
                {{0, 53}, {3, 71}, {1, 37}, {4, 29}, {2, 12}}, {{4, 12}, {2, 87}, {3, 33}, {1, 55}, {0, 38}},
                {{2, 49}, {3, 83}, {1, 40}, {0, 48}, {4, 7}}, {{2, 65}, {3, 17}, {0, 90}, {4, 27}, {1, 23}}}}},
};

const JobShop& jobShop(std::string_view model) { return jobShops.find(model)->second; }

static std::vector<Operation> operationsOf(const JobShop& shop)
{
  std::vector<Operation> all;
  for (const auto& job : shop.jobs)
    all.insert(all.end(), job.begin(), job.end());
  return all;
}

Ints durationsOf(const JobShop& shop)
{
  Ints durations;
  for (const Operation& operation : operationsOf(shop))
    durations.push_back(operation.duration);
  return durations;
}

std::vector<Pair> pairsOf(const JobShop& shop)
{
  const std::vector<Operation> all = operationsOf(shop);
  std::vector<Pair> pairs;
  for (size_t i = 0; i < all.size(); i++)
    for (size_t j = i + 1; j < all.size(); j++)
      if (all[i].machine == all[j].machine)
        pairs.push_back({int(i), int(j)});
  return pairs;
}

bool isSchedule(const JobShop& shop, const Ints& starts, int length)
{
  const Ints durations = durationsOf(shop);
  auto end = [&](int i) { return starts[size_t(i)] + durations[size_t(i)]; };
  auto before = [&](int i, int j) { return end(i) <= starts[size_t(j)]; };
  int next = 0;
  for (const auto& job : shop.jobs)
    for (size_t k = 0; k < job.size(); k++, next++)
      if (starts[size_t(next)] < 0 || end(next) > length || (k > 0 && !before(next - 1, next)))
        return false;
  const std::vector<Pair> pairs = pairsOf(shop);
  return std::all_of(pairs.begin(), pairs.end(),
      [&](const Pair& pair) { return before(pair.first, pair.second) || before(pair.second, pair.first); });
}

// =====================================================================================================================
// A tour
// =====================================================================================================================

Project project(int nbTasks)
{
  unsigned random = 1;
  auto pick = [&](int low, int high) {
    random = random * 1103515245u + 12345u;
    return low + int(random >> 16) % (high - low + 1);
  };
  Project made = {.capacity = 8, .durations = {}, .needs = {}, .end = 0};
  Ints load(size_t(10 * nbTasks), 0);
  for (int i = 0; i < nbTasks; i++) {
    const int duration = pick(2, 9), need = pick(1, 4);
    auto fitsAt = [&](int start) {
      return std::all_of(load.begin() + start, load.begin() + start + duration,
          [&](int busy) { return busy + need <= made.capacity; });
    };
    int start = 0;
    while (!fitsAt(start))
      start++;
    for (int t = start; t < start + duration; t++)
      load[size_t(t)] += need;
    made.durations.push_back(duration);
    made.needs.push_back(need);
    made.end = std::max(made.end, start + duration);
  }
  return made;
}

bool isSchedule(const Project& project, const Ints& starts)
{
  Ints busy(size_t(project.end), 0);
  for (size_t i = 0; i < starts.size(); i++)
    for (int t = starts[i]; t < starts[i] + project.durations[i]; t++)
      busy[size_t(t)] += project.needs[i];
  return *std::max_element(busy.begin(), busy.end()) <= project.capacity;
}

Roster roster(int nbPeople)
{
  constexpr int nbShifts = Roster::nbShifts;
  auto stateOf = [](int shift, int days) { return shift == 0 ? 0 : 1 + (shift - 1) * Roster::longest + days - 1; };
  Roster made = {.nbPeople = nbPeople,
      .next = Ints(size_t(Roster::nbStates * nbShifts), -1),
      .demand = {0, nbPeople / 4, nbPeople / 4, nbPeople / 8}};
  for (int last = 0; last < nbShifts; last++)
    for (int days = 1; days <= (last == 0 ? 1 : Roster::longest); days++)
      for (int shift = 0; shift < nbShifts; shift++) {
        const int worked = last == 0 ? 0 : days;
        if (shift == 0 || (shift >= last && worked < Roster::longest))
          made.next[size_t(stateOf(last, days) * nbShifts + shift)] = stateOf(shift, worked + 1);
      }
  return made;
}

bool isRoster(const Roster& roster, const Ints& shifts)
{
  auto on = [&](int day, int person) { return shifts[size_t(day * roster.nbPeople + person)]; };
  for (int person = 0; person < roster.nbPeople; person++)
    for (int day = 0, state = 0; day < Roster::nbDays; day++) {
      state = roster.next[size_t(state * Roster::nbShifts + on(day, person))];
      if (state < 0)
        return false;
    }
  for (int day = 0; day < Roster::nbDays; day++) {
    const auto today = shifts.begin() + day * roster.nbPeople;
    for (int shift = 1; shift < Roster::nbShifts; shift++)
      if (std::count(today, today + roster.nbPeople, shift) != roster.demand[size_t(shift)])
        return false;
  }
  return true;
}

Ints distances(int n)
{
  Random random = {uint64_t(n)};
  Ints x, y, table;
  for (int i = 0; i < n; i++) {
    x.push_back(random.below(100));
    y.push_back(random.below(100));
  }
  for (size_t i = 0; i < size_t(n); i++)
    for (size_t j = 0; j < size_t(n); j++)
      table.push_back(int(std::lround(std::hypot(x[i] - x[j], y[i] - y[j]))));
  return table;
}

/// By the set of points seen and the last of them (Held and Karp, 1962). Point 0 is the start.
static int64_t shortestTour(int n)
{
  const Ints distance = distances(n);
  auto between = [&](int i, int j) { return distance[size_t(i * n + j)]; };
  const int sets = 1 << n;
  std::vector<Ints> shortest(size_t(sets), Ints(size_t(n), INT_MAX / 2));
  shortest[1][0] = 0;
  for (int seen = 1; seen < sets; seen += 2)
    for (int last = 0; last < n; last++)
      for (int next = 0; next < n; next++)
        if (!(seen >> next & 1)) {
          int& there = shortest[size_t(seen | 1 << next)][size_t(next)];
          there = std::min(there, shortest[size_t(seen)][size_t(last)] + between(last, next));
        }
  int best = INT_MAX;
  for (int last = 1; last < n; last++)
    best = std::min(best, shortest[size_t(sets - 1)][size_t(last)] + between(last, 0));
  return best;
}

int64_t workedAnswer(const Problem& problem)
{
  const std::string_view model = problem.model;
  if (model == "linear")
    return countSolutions(equations(problem.size));
  if (model == "knapsack")
    return countFillings(knapsack(problem.size));
  if (model == "cars")
    return countSequences(cars(problem.size));
  if (model == "tour")
    return shortestTour(problem.size);
  return -1;
}

} // namespace bench
