/*
 * instances.h: the data of the problems, the tests of their solutions, and answers worked out without a solver.
 *
 * What is random comes from a fixed seed, so it is the same everywhere.
 */
#ifndef KU_BENCH_INSTANCES_H
#define KU_BENCH_INSTANCES_H

#include "bench.h"

#include <algorithm>
#include <array>
#include <vector>

namespace bench {

using Ints = std::vector<int>;

/// The answer of a problem whose row has none, worked out in another way than by propagation.
int64_t workedAnswer(const Problem& problem);

bool isPlacement(const Ints& columns); ///< of queens

/// A Latin square of order n, row by row, with the values 1..n and about two cells of five left as 0.
Ints holedSquare(int n);
bool isCompletion(const Ints& cells, const Ints& given);

/// sum of coefficients[k][i] * x[i] = sums[k], for x in 0..largest
struct Equations
{
  int largest;
  std::vector<Ints> coefficients;
  Ints sums;
};
Equations equations(int nbVariables);

/// One equation: the sum of the coefficients times the letters' digits is 0.
struct Cryptarithm
{
  Ints coefficients;
  Ints leading; ///< letters that aren't 0
};
Cryptarithm cryptarithm();

/// Each item is taken or not; the weights within the capacity, the worths at least `worth`.
struct Knapsack
{
  Ints weights;
  Ints worths;
  int capacity;
  int worth;
};
Knapsack knapsack(int nbItems);

/// Runs of 1s in each row and column of a square.
struct Nonogram
{
  std::vector<Ints> rows;
  std::vector<Ints> columns;
};
Nonogram nonogram(int side);

/// Reads the line from state 0 to the last state; next[state * 2 + symbol], or -1.
struct Automaton
{
  int nbStates;
  Ints next;
};
Automaton automatonOf(const Ints& runs);

/// Of each `window` consecutive cars at most `most` have the option.
struct CarOption
{
  int most;
  int window;
  Ints classes; ///< for each class 1 if it has the option
};
struct Cars
{
  Ints demand; ///< of each class
  std::vector<CarOption> options;
};
Cars cars(int nbCars);

/// Each job is a chain of operations; two on the same machine don't overlap.
struct Operation
{
  int machine;
  int duration;
};
struct JobShop
{
  int nbMachines;
  std::vector<std::vector<Operation>> jobs;
};
const JobShop& jobShop(std::string_view model);

/// Operations are numbered job by job. A pair of them shares a machine.
struct Pair
{
  int first;
  int second;
};
std::vector<Pair> pairsOf(const JobShop& shop);
Ints durationsOf(const JobShop& shop);
bool isSchedule(const JobShop& shop, const Ints& starts, int length);

/// Tasks on one resource, and the end of a greedy schedule of them.
struct Project
{
  int capacity;
  Ints durations;
  Ints needs;
  int end;
};
Project project(int nbTasks);
bool isSchedule(const Project& project, const Ints& starts);

/// People on shifts: 0 for none, then early, late, night. Nobody works more than five days in a row, and from one shift
/// to the next day's nobody goes back but by a day off. The state of the automaton is the last shift and the days
/// worked; all states are final.
struct Roster
{
  static constexpr int nbDays = 28, nbShifts = 4, longest = 5, nbStates = 1 + 3 * longest;
  int nbPeople;
  Ints next;                 ///< next[state * nbShifts + shift], or -1
  std::array<int, 4> demand; ///< of each day, by shift
};
Roster roster(int nbPeople);
/// The shift of a person on a day stands at day * nbPeople + person.
bool isRoster(const Roster& roster, const Ints& shifts);

/// The distances of n points in the plane, rounded; from i to j at i * n + j.
Ints distances(int n);

/// The order of a pair that the search of a job shop decides next. Orders 2p and 2p + 1 say that the first operation of
/// pair p comes before the second and the other way round. Chosen is the open pair with the least slack, and of its
/// orders that with less slack: the search first tries that it does not hold. -1 when all pairs are decided.
template <typename IsOpen, typename Earliest, typename Latest>
int tightestOrder(
    const std::vector<Pair>& pairs, const Ints& durations, IsOpen isOpen, Earliest earliest, Latest latest)
{
  int best = -1, bestSlack = 0;
  for (int p = 0; p < int(pairs.size()); p++) {
    if (!isOpen(p))
      continue;
    const auto [first, second] = pairs[size_t(p)];
    const int slackFirst = latest(second) - earliest(first) - durations[size_t(first)];
    const int slackSecond = latest(first) - earliest(second) - durations[size_t(second)];
    const int slack = std::min(slackFirst, slackSecond);
    if (best < 0 || slack < bestSlack) {
      best = 2 * p + (slackSecond < slackFirst);
      bestSlack = slack;
    }
  }
  return best;
}

} // namespace bench

#endif // KU_BENCH_INSTANCES_H
