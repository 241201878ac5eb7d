/*
 * Tables of constraints that are compared with brute force. A row says how the variables are drawn, how to post and
 * what a solution is; each becomes a test of its own:
 *
 *     static const std::vector<Row> relations = {
 *         {.name = "Lt",
 *             .vars = {{.count = {2, 2}}},
 *             .post = [](Trial& t) { return cs_Lt(t.x[0], t.x[1]); },
 *             .holds = [](auto& v, auto&) { return v[0] < v[1]; }},
 *     };
 *     static const int rows = bruteForce("Relation", relations);
 *
 * Many trials are made of each row, each from a seed. In a trial the constraint is posted inside a context and without
 * one; domains are narrowed at random in nested contexts; and all solutions are searched for in two orders. Demanded
 * is:
 *   - the solutions found are those of the brute force, in order;
 *   - no value of a solution is lost, failure comes only where there is no solution, and what is fully instantiated is
 * a solution;
 *   - after a restore everything is back, attachments included;
 *   - where the row says so, the strength.
 * A failure shows the trial, its domains and the steps, and how to run it again alone. KU_TRIALS sets the number of
 * trials for each row, KU_TRIAL runs the one with that number.
 */
#ifndef KIT_BRUTEFORCE_H
#define KIT_BRUTEFORCE_H

#include "naive.h"
#include "random.h"
#include "solver.h"

namespace kit {

struct Range
{
  int low, high;
};

/// How variables are drawn: so many of them, each with some values of the range, and in percent how often one has
/// holes, is a constant, or stands for a variable that was drawn before.
struct Group
{
  Range count = {1, 1};
  Range values = {-5, 6};
  int size = 6; ///< most values of one variable
  int holes = 50;
  int constants = 12;
  int twice = 8;
};

/// One trial: what was drawn. Variables and parameters keep their addresses until the end of the trial, so constraints
/// may keep x.data() and p.data().
struct Trial
{
  Vars x;                 ///< the variables of all groups
  std::vector<int> sizes; ///< number of variables in each group
  Values p;               ///< parameters, set by the row's `prepare`
  Random random{0};

  /// The first variable of a group.
  CSint** group(int number)
  {
    CSint** first = x.data();
    for (int i = 0; i < number; i++)
      first += sizes[size_t(i)];
    return first;
  }

  /// `count` integers of low..high, for parameters.
  Values pick(int count, int low, int high)
  {
    Values values;
    for (int i = 0; i < count; i++)
      values.push_back(random.pick(low, high));
    return values;
  }
};

/// What a posting gave: an int of success, a result variable that is null on failure, or several such.
struct Posted
{
  Posted(int success) : ok(success) {}
  Posted(CSint* result) : Posted(Vars{result}) {}
  Posted(Vars made) : ok(1), results(std::move(made))
  {
    for (const CSint* v : results)
      ok = ok && v;
  }
  int ok;
  Vars results;
};

enum class Strength {
  none,   ///< only soundness is looked at
  bounds, ///< each bound stands in a solution over the intervals from minimum to maximum (looked at where these are
          ///< small)
  domain, ///< each value stands in a solution
};

struct Row
{
  const char* name;
  std::vector<Group> vars;
  std::function<void(Trial&)> prepare = nullptr; ///< draws parameters; runs before the variables are drawn
  std::function<Posted(Trial&)> post;

  /// What a solution is: either a predicate over the values of x and of the result variables, which are then looked for
  /// in `results`; or the value of the one result variable, if there is one.
  Test holds = nullptr;
  std::vector<Range> results = {};
  Value value = nullptr;

  Strength strength = Strength::none;
  Rule exact = nullptr; ///< the domains must be exactly those that this rule leaves: too strong is a fault too
  bool mayLose = false; ///< solutions may be lost; nothing but a solution may be accepted
  int trials = 150;
};

/// The text of the first fault in the trial with that number, or empty.
std::string faultOfTrial(const Row& row, uint64_t number, bool* hasSolution = nullptr);

/// The same over all the trials of the row, and a fault when hardly any trial has a solution.
std::string faultOf(const Row& row);

/// Registers a test for each row.
int bruteForce(
    const char* suite, const std::vector<Row>& rows, const char* file = __builtin_FILE(), int line = __builtin_LINE());

} // namespace kit

#endif
