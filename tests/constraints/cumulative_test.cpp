/*
 * Cumulative and disjunctive.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

/// The values of starts, durations and requirements one after the other, and the limit.
static bool fits(const int* starts, const int* durations, const int* needs, int n, int limit)
{
  for (int at = 0; at < n; at++) {
    int load = 0;
    for (int j = 0; j < n; j++)
      if (starts[j] <= starts[at] && starts[at] < starts[j] + durations[j])
        load += needs[j];
    if (durations[at] > 0 && load > limit)
      return false;
  }
  return true;
}

/// Groups: requirements, starts, durations, limit. A requirement is neither the limit nor a start.
static Row cumulative(const char* name, int n, Group needs, Group starts, Group durations, Group limit)
{
  needs.count = starts.count = durations.count = {n, n};
  limit.twice = 0;
  return {.name = name,
      .vars = {needs, starts, durations, limit},
      .post = [n](Trial& t) { return cs_Cumulative(t.group(1), t.group(2), t.group(0), n, *t.group(3)); },
      .holds = [n](auto& v, auto&) { return fits(&v[size_t(n)], &v[size_t(2 * n)], &v[0], n, v[size_t(3 * n)]); },
      .mayLose = true,
      .trials = 300};
}

static const Group constant3 = {.values = {1, 3}, .constants = 100}, limit3 = {.values = {2, 4}, .size = 2};

static const auto tables = bruteForce("CumulativeTable",
    {
        cumulative("Starts", 4, constant3, {.values = {4, 10}}, constant3, limit3),
        cumulative("All", 3, {.values = {0, 3}, .size = 3}, {.values = {4, 9}, .size = 4}, {.values = {0, 3}, .size = 3},
            limit3),
        cumulative("Negatives", 3, {.values = {0, 2}, .size = 2}, {.values = {-6, -1}}, {.values = {-1, 3}, .size = 3},
            limit3),
        cumulative("Requirements", 4, {.values = {0, 3}, .size = 4, .twice = 30}, {.values = {4, 6}, .size = 2},
            {.values = {1, 3}, .size = 1}, {.values = {1, 6}, .size = 4}),
        {.name = "Disjunctive",
            .vars = {{.count = {4, 4}, .values = {-3, 4}, .size = 5}, {.count = {4, 4}, .values = {0, 3}, .size = 2}},
            .post = [](Trial& t) { return cs_Disjunctive(t.group(0), t.group(1), 4); },
            .holds =
                [](auto& v, auto&) {
                  static const int ones[] = {1, 1, 1, 1};
                  return fits(&v[0], &v[4], ones, 4, 1);
                },
            .mayLose = true,
            .trials = 300},
    });

class Cumulative : public SolverTest
{
protected:
  static Vars vars(std::initializer_list<const char*> domains)
  {
    Vars made;
    for (const char* domain : domains)
      made.push_back(makeVar(domain));
    return made;
  }

  int post() { return cs_Cumulative(s.data(), d.data(), r.data(), int(s.size()), limit); }
  int postDisjunctive() { return cs_Disjunctive(s.data(), d.data(), int(s.size())); }

  static std::string text(const Vars& all)
  {
    std::string joined;
    for (const CSint* v : all)
      joined += (joined.empty() ? "" : " ") + textOf(v);
    return joined;
  }

  Vars s, d, r;
  CSint* limit = nullptr;
};

static int nbFound;
static void count(CSint**, int) { nbFound++; }

TEST_F(Cumulative, CountsOfSchedules)
{
  struct
  {
    Values durations, needs;
    int capacity, last, expected; ///< needs empty: disjunctive
  } rows[] = {{{3, 4, 2}, {2, 2, 1}, 3, 6, 112}, {{2, 3, 1, 2}, {1, 2, 2, 1}, 3, 5, 536}, {{2, 3, 4}, {}, 1, 7, 30},
      {{0, 3, 2}, {3, 1, 1}, 1, 4, 45}};
  for (auto& row : rows) {
    s.clear(), d.clear(), r.clear();
    for (size_t i = 0; i < row.durations.size(); i++) {
      s.push_back(cs_createCSint(0, row.last));
      d.push_back(CSINT(row.durations[i]));
      if (!row.needs.empty())
        r.push_back(CSINT(row.needs[i]));
    }
    limit = CSINT(row.capacity);
    EXPECT_TRUE(r.empty() ? postDisjunctive() : post());
    nbFound = 0;
    cs_findAll(s.data(), int(s.size()), cs_findFreeVar, count);
    EXPECT_EQ(nbFound, row.expected);
  }
}

TEST_F(Cumulative, KnownLossOfSchedules)
{
  s = vars({"4..6", "3..5", "2..4", "1"});
  d = vars({"1", "2", "1", "2"});
  EXPECT_TRUE(postDisjunctive());
  EXPECT_EQ(text(s), "4 5 3 1");
  s = vars({"4..6", "6..8", "6..9", "1"});
  d = vars({"2", "2", "2", "4"});
  EXPECT_FALSE(postDisjunctive());
}

/// What posting leaves of starts, durations, requirements and the limit; no starts: failure.
struct Case
{
  std::initializer_list<const char*> s, d, r;
  const char* limit;
  const char *starts, *durations, *needs, *bound;
};
