/*
 * bench.h: what ku-bench and its peer share, and nothing of a solver.
 *
 *   problems      the list: each problem with its size and its known answer
 *   run           the main program: arguments, one process for each problem, the table, the exit status
 *
 * Each program brings the models: functions that build one of the problems, solve it and tell what it came to.
 */
#ifndef KU_BENCH_H
#define KU_BENCH_H

#include <cstdint>
#include <string_view>

namespace bench {

/// What the answer of a problem is.
enum class Wanted {
  all,   ///< the number of solutions
  first, ///< 1, with a first solution that was checked, or 0
  best   ///< the cost of the cheapest solution
};

/// How the two programs compare.
enum class Strength {
  equal, ///< the same narrowing: the search trees agree, and so do choice points and fails
  other  ///< another narrowing or another search: only the time to the answer compares
};

struct Problem
{
  const char* model;
  int size;
  Wanted wanted;
  int64_t answer;
  Strength strength;
  bool small; ///< takes little enough for a test
  const char* what;
  int64_t choicePoints = -1; ///< where they are known
  int64_t fails = -1;
};

/// What a run came to. Choice points are values tried, fails those of them that failed at once.
struct Outcome
{
  int64_t answer = 0;
  int64_t choicePoints = 0;
  int64_t fails = 0;
  int64_t handlerCalls = -1; ///< where they were counted
  bool sound = true;         ///< the solutions that were looked at are some
};

/// Options that are one program's own.
struct Settings
{
  bool countCalls = false;   ///< ku-bench: with a profiler, which costs time
  unsigned copyDistance = 8; ///< gecode-bench: decisions between two copies of the state
};
inline Settings settings;

using Solve = Outcome (*)(const Problem& problem);

/// A model of one program.
struct Model
{
  std::string_view name;
  Solve solve;
};

enum class Program { ku, peer };

int run(int argc, char** argv, Program program, const Model* models, int nbModels);

} // namespace bench

#endif // KU_BENCH_H
