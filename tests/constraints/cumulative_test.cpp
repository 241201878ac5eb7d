/*
 * Cumulative and disjunctive.
 */
#include "bruteforce.h"

#include <csignal>

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

/// Two tasks, or tasks of the shortest length, leave nothing that could slide.
static Row losingNothing(Row row)
{
  row.mayLose = false;
  return row;
}

static const Group constant3 = {.values = {1, 3}, .constants = 100}, limit3 = {.values = {2, 4}, .size = 2};

static const auto tables = bruteForce("CumulativeTable",
    {
        losingNothing(cumulative("TwoTasks", 2, {.values = {0, 3}, .size = 3}, {.values = {4, 9}, .size = 4},
            {.values = {0, 3}, .size = 3}, limit3)),
        losingNothing(cumulative("ShortTasks", 3, constant3, {.values = {4, 10}}, {.values = {1, 1}}, limit3)),
        cumulative("Starts", 4, constant3, {.values = {4, 10}}, constant3, limit3),
        cumulative("All", 3, {.values = {0, 3}, .size = 3}, {.values = {4, 9}, .size = 4},
            {.values = {0, 3}, .size = 3}, limit3),
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
  int post() { return cs_Cumulative(s.data(), d.data(), r.data(), int(s.size()), limit); }
  int postDisjunctive() { return cs_Disjunctive(s.data(), d.data(), int(s.size())); }

  Vars s, d, r;
  CSint* limit = nullptr;
};

static int nbFound;

TEST_F(Cumulative, CountsOfSchedules)
{
  struct
  {
    std::vector<std::string> durations, needs; ///< needs empty: disjunctive
    const char *capacity, *starts;
    int expected;
  } rows[] = {{{"3", "4", "2"}, {"2", "2", "1"}, "3", "0..6", 112},
      {{"2", "3", "1", "2"}, {"1", "2", "2", "1"}, "3", "0..5", 536}, {{"2", "3", "4"}, {}, "1", "0..7", 30},
      {{"0", "3", "2"}, {"3", "1", "1"}, "1", "0..4", 45}};
  for (auto& row : rows) {
    d = makeVars(row.durations), r = makeVars(row.needs), limit = makeVar(row.capacity);
    s = makeVars(std::vector<std::string>(d.size(), row.starts));
    EXPECT_TRUE(r.empty() ? postDisjunctive() : post());
    nbFound = 0;
    cs_findAll(s.data(), int(s.size()), cs_findFreeVar, [](CSint**, int) { nbFound++; });
    EXPECT_EQ(nbFound, row.expected);
  }
}

TEST_F(Cumulative, KnownLossOfSchedules)
{
  s = makeVars({"4..6", "3..5", "2..4", "1"});
  d = makeVars({"1", "2", "1", "2"});
  EXPECT_TRUE(postDisjunctive());
  EXPECT_EQ(textsOf(s), "4 5 3 1");
  s = makeVars({"4..6", "6..8", "6..9", "1"});
  d = makeVars({"2", "2", "2", "4"});
  EXPECT_FALSE(postDisjunctive());
}

TEST_F(Cumulative, WhatPostingLeaves)
{
  using Texts = std::vector<std::string>;
  struct
  {
    Texts s, d, r;
    const char *limit, *left; ///< of starts, durations, requirements and limit; empty: failure
  } rows[] = {
      // A task that can't be met is switched off, where it may be.
      {{"0..9"}, {"0..5"}, {"4, 5"}, "0..3", "{0..9} 0 {4, 5} {0..3}"},
      {{"0..9"}, {"2..5"}, {"4, 5"}, "0..3", ""},
      {{"0..9"}, {"-3..-1"}, {"4"}, "0..3", "{0..9} {-3..-1} 4 {0..3}"},
      // Compulsory parts raise the limit and cap requirements; those beside them don't count.
      {{"4..5", "3..5"}, {"3", "4"}, {"2", "2"}, "0..4", "{4, 5} {3..5} 3 4 2 2 4"},
      {{"0", "1", "2"}, {"2", "2", "2"}, {"2", "1..5", "1..5"}, "0..4", "0 1 2 2 2 2 2 {1, 2} {1..3} {3, 4}"},
      // Around a compulsory part, from the left and from the right, and where a duration may not reach.
      {{"0..2", "0..10"}, {"5", "3"}, {"1", "1"}, "1", "{0..2} {5..10} 5 3 1 1 1"},
      {{"3..5", "0..6"}, {"5", "3"}, {"1", "1"}, "1", "{3..5} {0..2} 5 3 1 1 1"},
      {{"5", "1, 2"}, {"5", "2..9"}, {"1", "1"}, "1", "5 {1, 2} 5 {2..4} 1 1 1"},
      {{"0..6", "4", "0"}, {"4", "5", "1"}, {"1", "1", "1"}, "1", ""},
      {{"0", "3, 4"}, {"4", "1"}, {"1", "2"}, "2", "0 4 4 1 1 2 2"},
      {{"2", "5..8", "2, 3"}, {"3", "2", "1"}, {"2", "2", "2"}, "3", ""},
      {{"0..3", "3..5"}, {"3", "2"}, {"1", "1"}, "1", "{0..2} {3..5} 3 2 1 1 1"},
      {{"2..5", "5"}, {"2", "3"}, {"2", "2"}, "3", "{2, 3} 5 2 3 2 2 3"},
      // No compulsory part at all: three tasks for the two that go into 0..4, and the limit that they need.
      {{"0..2", "0..2", "0..2"}, {"2", "2", "2"}, {"1", "1", "1"}, "1", ""},
      {{"0..2", "0..2", "0..3"}, {"2", "2", "1"}, {"1", "1", "1"}, "1", ""},
      {{"0..2", "0..2", "0..2"}, {"2", "2", "2"}, {"1", "1", "1"}, "1..3", "{0..2} {0..2} {0..2} 2 2 2 1 1 1 {2, 3}"},
      {{"0..2", "0..2", "0..2"}, {"2", "2", "2"}, {"2", "1..3", "2"}, "3", "{0..2} {0..2} {0..2} 2 2 2 2 {1, 2} 2 3"},
      // A task that has started isn't moved by the energies, a negative requirement gives some back, and what a cap
      // leaves counts for the tasks behind, and for the next interval.
      {{"2", "0..4"}, {"2..4", "3, 4"}, {"1", "3..5"}, "1..3", "2 4 {2..4} {3, 4} 1 3 3"},
      {{"2", "0..2", "1..3"}, {"4", "4", "4"}, {"-2..0", "2", "3"}, "1..3", "2 {0..2} {1..3} 4 4 4 {-2..0} 2 3 3"},
      {{"3..6", "4..7", "3..6"}, {"3", "2", "3"}, {"2", "1, 2", "1..4"}, "1, 2", "{3..6} {4..7} {3..6} 3 2 3 2 1 1 2"},
      {{"3", "2..4"}, {"3", "2"}, {"3", "1..4"}, "2..4", "3 {2..4} 3 2 3 {1..3} 4"},
      // A window of more than 2^31.
      {{"-729392637..192408150"}, {"1234546918"}, {"3"}, "32766387", "{-729392637..192408150} 1234546918 3 32766387"},
      // Near the ends of 32 bits. Last an order that isn't one, and an interval that ends before it begins.
      {{"2147483600..2147483630", "2147483605"}, {"10", "10"}, {"1", "1"}, "1",
          "{2147483615..2147483630} 2147483605 10 10 1 1 1"},
      {{"-1500000000..500000000"}, {"1500000000"}, {"1"}, "0..2000000000",
          "{-1500000000..500000000} 1500000000 1 {1..2000000000}"},
      {{"0"}, {"3"}, {"-5..5"}, "0..2147483647", "0 3 {-5..5} {0..2147483647}"},
      {{"10", "1", "-2147483644..1"}, {"2", "1", "1"}, {"1", "1", "1"}, "1", "10 1 {-2147483644..1} 2 1 1 1 1 1 1"},
      {{"-2147483648", "-2147483648", "-100..2147483647"}, {"2147483647", "2147483547", "2..2147483647"},
          {"5", "-5", "1"}, "1..9",
          "-2147483648 -2147483648 {-100..2147483647} 2147483647 2147483547 {2..98} 5 -5 1 {6..9}"},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    SCOPED_TRACE(i);
    s = makeVars(rows[i].s), d = makeVars(rows[i].d), r = makeVars(rows[i].r), limit = makeVar(rows[i].limit);
    EXPECT_EQ(post() ? textsOf(s) + " " + textsOf(d) + " " + textsOf(r) + " " + textOf(limit) : "", rows[i].left);
  }
}

// At posting a capped requirement wakes what hangs on it at once, and that moves the task: it is looked at afresh.
TEST_F(Cumulative, ACapThatMovesTheTask)
{
  s = makeVars({"3..5", "3..5"}), d = makeVars({"3", "2"}), r = makeVars({"2..6", "3, 4"}), limit = makeVar("1..4");
  ASSERT_TRUE(cs_Le(s[0], r[0]));
  EXPECT_FALSE(post());
  s = makeVars({"2..5", "2..4", "1, 2"}), d = makeVars({"2", "3", "3"}), r = makeVars({"2..6", "3", "2..8"});
  limit = makeVar("3, 4");
  ASSERT_TRUE(cs_Le(s[0], r[0]) && post());
  EXPECT_EQ(textsOf(s) + " " + textsOf(r) + " " + textOf(limit), "2 4 1 2 3 2 4");
}

TEST_F(Cumulative, Events)
{
  s = makeVars({"0..9", "3..5"}), d = makeVars({"0..4", "3"}), r = makeVars({"0..3", "1"}), limit = makeVar("0..3");
  ASSERT_TRUE(post());
  // What is left of s, d, r and limit after some changes.
  using Request = std::tuple<int (*)(CSint*, int), CSint*, int>;
  auto after = [&](std::initializer_list<Request> changes) {
    cs_saveContext();
    bool ok = true;
    for (auto [narrow, v, value] : changes)
      ok = ok && narrow(v, value);
    std::string left = ok ? textsOf(s) + " " + textsOf(d) + " " + textsOf(r) + " " + textOf(limit) : "fails";
    cs_restoreContext();
    return left;
  };
  EXPECT_EQ(after({}), "{0..9} {3..5} {0..4} 3 {0..3} 1 {1..3}");
  EXPECT_EQ(after({{cs_GE, r[0], 3}, {cs_EQ, d[0], 4}}), "{0..9} {3..5} 4 3 3 1 3");
  EXPECT_EQ(after({{cs_GE, r[0], 3}, {cs_LE, limit, 2}}), "{0..9} {3..5} 0 3 3 1 {1, 2}");
  EXPECT_EQ(after({{cs_LE, limit, 2}, {cs_GE, r[0], 3}}), "{0..9} {3..5} 0 3 3 1 {1, 2}");
  EXPECT_EQ(after({{cs_LE, limit, 2}, {cs_EQ, d[0], 4}}), "{0..9} {3..5} 4 3 {0..2} 1 {1, 2}");
  EXPECT_EQ(after({{cs_LE, limit, 1}, {cs_EQ, r[0], 1}, {cs_EQ, d[0], 4}}), "{0..9} {3..5} 4 3 1 1 1");
  EXPECT_EQ(after({{cs_EQ, s[0], 4}, {cs_EQ, d[0], 4}, {cs_EQ, s[1], 4}}), "4 4 4 3 {0..2} 1 {1..3}");
  EXPECT_EQ(after({{cs_EQ, s[0], 4}, {cs_EQ, d[0], 4}, {cs_EQ, r[0], 3}}), "fails");
  EXPECT_EQ(after({{cs_EQ, s[0], 4}, {cs_GE, r[0], 2}, {cs_GE, d[0], 2}}), "4 {3..5} {2..4} 3 2 1 3");
  EXPECT_EQ(after({{cs_EQ, s[0], 4}, {cs_GE, d[0], 2}, {cs_GE, r[0], 2}}), "4 {3..5} {2..4} 3 2 1 3");
}

TEST_F(Cumulative, ALimitThatIsARequirementToo)
{
  s = makeVars({"1", "2"}), d = makeVars({"2", "1"}), limit = makeVar("1..4"), r = {limit, makeVar("1, 2")};
  EXPECT_EXIT(post(), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(Cumulative, AttachmentsAndTheirEnd)
{
  s = makeVars({"0..9", "0..9"}), d = makeVars({"2", "0..3"}), r = makeVars({"1", "0..2"}), limit = makeVar("0..3");
  auto posted = [&] { return postedOn({s[0], s[1], d[0], d[1], r[0], r[1], limit}); };
  cs_saveContext();
  EXPECT_TRUE(cs_Cumulative(s.data(), d.data(), r.data(), 0, limit) && cs_Disjunctive(s.data(), d.data(), 0));
  EXPECT_TRUE(cs_Cumulative(s.data(), d.data(), r.data(), -1, limit));
  EXPECT_EQ(nbAttached(s[0]) + nbAttached(limit), 0);
  EXPECT_TRUE(post());
  EXPECT_EQ(posted(), "cs_Cumulative 4: a[0] a[1] b[0] b[1] c[0] c[1] d");
  const std::pair<CSint*, const char*> slots[] = {
      {s[0], "+++++-"}, {d[0], "+-+-+-"}, {r[0], "+-+-+-"}, {limit, "-+-++-"}};
  EXPECT_TRUE(postDisjunctive());
  EXPECT_EQ(postedOn({s[0], s[1], d[0], d[1]}), "cs_Disjunctive 5: a[0] a[1] b[0] b[1]");
  EXPECT_EQ(nbAttached(s[0]) * 10 + nbAttached(s[1]), 32);
  // The constraint that only holds the constant 1 stands below the one of the starts; its handlers do nothing.
  const Handler* nothing = s[0]->_constraints->_next->_constraint->_handlers;
  for (auto& [v, pattern] : slots)
    for (int event = 0; event < 6; event++)
      EXPECT_EQ(constraintOf(v)->_handlers[event] != nothing[event], pattern[event] == '+') << pattern;
  cs_restoreContext();
  EXPECT_EQ(nbAttached(s[0]) + nbAttached(d[1]) + nbAttached(r[0]) + nbAttached(limit), 0);
  // What isn't restored goes at the end of the solver.
  s = makeVars({"0..3", "2..4"}), d = makeVars({"3", "3"});
  EXPECT_TRUE(postDisjunctive());
  s = makeVars({"0..1", "0..1"});
  EXPECT_FALSE(postDisjunctive());
}

// Posted in an accepted context inside one that is then restored, which takes the newest attachment of a variable in
// place of an older one: any of the records may go before the others. Nothing is read that was freed.
TEST_F(Cumulative, AfterAnAcceptedContext)
{
  for (bool disjunctive : {false, true})
    for (size_t touched = 0; touched < 7; touched++) {
      s = makeVars({"0..9", "0..9"}), d = makeVars({"1..4", "2..5"}), r = makeVars({"0..2", "1..3"}),
      limit = makeVar("0..3");
      const Vars all = {s[0], s[1], d[0], d[1], r[0], r[1], limit};
      int label = cs_saveContext();
      for (int times = 0; times < 2; times++)
        cs_Lt(all[touched], makeVar("{30..40}"));
      if (touched < 6)
        cs_Lt(all[touched ^ 1], makeVar("{30..40}"));
      cs_saveContext();
      EXPECT_TRUE(disjunctive ? postDisjunctive() : post());
      cs_acceptContext();
      cs_restoreContextUntil(label);
      label = cs_saveContext();
      (void)(cs_EQ(s[0], 3), cs_GE(d[0], 3), cs_GE(r[0], 2), cs_LE(limit, 3), cs_LE(s[1], 7), cs_EQ(s[1], 4));
      cs_restoreContextUntil(label);
    }
}
