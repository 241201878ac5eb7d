/*
 * Occurrences of a value.
 */
#include "bruteforce.h"

#include <algorithm>

using namespace kit;

static int occurrences(const Values& x, size_t from, int value)
{
  return int(std::count(x.begin() + ptrdiff_t(from), x.end(), value));
}

static void drawValue(Trial& t) { t.p = t.pick(1, -1, 2); }

static const std::vector<Row> table = {
    {.name = "OccurConstraints",
        .vars = {{.values = {-1, 5}}, {.count = {0, 4}, .values = {-1, 2}, .size = 4, .twice = 15}},
        .prepare = drawValue,
        .post = [](Trial& t) { return cs_OccurConstraints(t.x[0], t.p[0], t.group(1), t.sizes[1]); },
        .holds = [](auto& v, auto& p) { return v[0] == occurrences(v, 1, p[0]); },
        .trials = 400},
    {.name = "OccurDomain",
        .vars = {{.count = {1, 5}, .values = {-1, 2}, .size = 4, .twice = 15}},
        .prepare = drawValue,
        .post = [](Trial& t) { return cs_OccurDomain(t.p[0], t.x.data(), int(t.x.size())); },
        .value = [](auto& x, auto& p) { return occurrences(x, 0, p[0]); },
        .trials = 400},
};
static const int tables = bruteForce("OccurTable", table);

class Occur : public SolverTest
{
protected:
  void SetUp() override
  {
    SolverTest::SetUp();
    v = makeVars({"{0..2}", "1", "{0, 1}", "{5..9}", "{0..4}"});
  }

  static constexpr const char* untouched = "{0..2} 1 {0, 1} {5..9} {0..4}";
  Vars v;
};

TEST_F(Occur, Posting)
{
  CSint* count = makeVar("{-3..9}");
  EXPECT_EQ(cs_OccurConstraints(count, 1, v.data(), 5), 1);
  EXPECT_EQ(textOf(count), "{1..4}");
  EXPECT_EQ(postedOn({count, v[0], v[2], v[4]}), "cs_OccurConstraints 2: a b[0] b[2] b[4]");
  EXPECT_EQ(constraintOf(v[4])->_refCount, 3);
  EXPECT_EQ(nbAttached(v[1]) + nbAttached(v[3]), 0);
  EXPECT_EQ(textOf(cs_OccurDomain(1, v.data(), 5)), "{1..4}");
  EXPECT_STREQ(infoOf(v[4])->_function, "cs_OccurDomain");
  EXPECT_FALSE(cs_OccurConstraints(makeVar("{0, 5, 6}"), 1, v.data(), 5));
  EXPECT_FALSE(cs_OccurConstraints(makeVar("0"), 1, v.data(), 5));
  EXPECT_EQ(textsOf(v), untouched);

  // With nothing undecided nothing is attached; nor is a range whose count of values wraps.
  Vars fixed = makeVars({"3", "{0..2}", "3", "{2, 4}"}), counts = makeVars({"{0..9}", "{0..9}"});
  EXPECT_EQ(cs_OccurConstraints(counts[0], 3, fixed.data(), 4), 1);
  EXPECT_EQ(cs_OccurConstraints(counts[1], 3, fixed.data(), -1), 1);
  EXPECT_EQ(textsOf(counts), "2 0");
  EXPECT_FALSE(cs_OccurConstraints(makeVar("{3..9}"), 3, fixed.data(), 4));
  EXPECT_EQ(textsOf({cs_OccurDomain(3, fixed.data(), 4), cs_OccurDomain(3, nullptr, 0)}), "2 0");
  EXPECT_EQ(nbAttached(counts[0]) + nbAttached(counts[1]) + nbAttached(fixed[0]) + nbAttached(fixed[1]), 0);
  CSint *wide = makeVar("-2147483648..2147483647"), *open = cs_OccurDomain(4, &wide, 1);
  EXPECT_EQ(textOf(open), "{0, 1}");
  EXPECT_EQ(postedOn({open, wide}), "cs_OccurDomain 1: a none");
}

TEST_F(Occur, TheFormThatNeverTells)
{
  Vars counts = makeVars({"{0..9}", "{7..9}", "{0..9}", "{1..9}"});
  EXPECT_EQ(cs_Occur(counts[0], 1, v.data(), 5), 0);
  EXPECT_STREQ(infoOf(v[4])->_function, "cs_Occur");
  EXPECT_EQ(cs_Occur(counts[1], 1, v.data(), 5), 0);
  EXPECT_EQ(cs_Occur(counts[2], 1, v.data(), 0), 0);
  EXPECT_EQ(cs_Occur(counts[3], 1, v.data(), 0), 0);
  EXPECT_EQ(cs_Occur(counts[3], 7, v.data(), 3), 0);
  EXPECT_EQ(textsOf(counts), "{1..4} {7..9} 0 {1..9}");
}

TEST_F(Occur, FromTheCountToTheArray)
{
  CSint* count = cs_OccurDomain(1, v.data(), 5);
  struct
  {
    int (*narrow)(CSint*, int);
    int value;
    const char* left;
  } rows[] = {{cs_EQ, 1, "{0, 2} 1 0 {5..9} {0, 2..4}"}, {cs_LE, 1, "{0, 2} 1 0 {5..9} {0, 2..4}"},
      {cs_EQ, 4, "1 1 1 {5..9} 1"}, {cs_GE, 4, "1 1 1 {5..9} 1"}, {cs_EQ, 2, untouched}};
  for (auto& row : rows) {
    cs_saveContext();
    EXPECT_TRUE(row.narrow(count, row.value));
    EXPECT_EQ(textsOf(v), row.left);
    cs_restoreContext();
  }
  // Moves of bounds wait for the array's next event.
  EXPECT_TRUE(cs_GE(count, 2) && cs_LE(count, 3));
  EXPECT_EQ(textsOf(v), untouched);
  cs_saveContext();
  EXPECT_TRUE(cs_EQ(v[2], 1));
  EXPECT_EQ(textsOf(v) + " " + textOf(count), "{0..2} 1 1 {5..9} {0..4} {2, 3}");
  EXPECT_TRUE(cs_EQ(v[0], 1));
  EXPECT_EQ(textsOf(v) + " " + textOf(count), "1 1 1 {5..9} {0, 2..4} 3");
  cs_restoreContext();
  EXPECT_TRUE(cs_EQ(v[2], 0) && cs_NEQ(v[0], 1));
  EXPECT_EQ(textsOf(v) + " " + textOf(count), "{0, 2} 1 0 {5..9} 1 2");
}

TEST_F(Occur, ACountThatIsFixedBefore)
{
  // Nothing of it reaches the array until an event of the array meets it.
  struct
  {
    const char* count;
    int value; ///< that the third variable is set to
    const char* left;
  } rows[] = {{"3", 0, "1 1 0 {5..9} 1"}, {"2", 1, "{0, 2} 1 1 {5..9} {0, 2..4}"}, {"4", 0, ""}, {"1", 1, ""}};
  for (auto& row : rows) {
    cs_saveContext();
    EXPECT_TRUE(cs_OccurConstraints(makeVar(row.count), 1, v.data(), 5));
    EXPECT_EQ(textsOf(v), untouched);
    EXPECT_EQ(cs_EQ(v[2], row.value) ? textsOf(v) : "", row.left);
    cs_restoreContext();
  }
}

TEST_F(Occur, EachWayOfLosingTheValue)
{
  CSint* count = cs_OccurDomain(2, v.data(), 5);
  struct
  {
    int (*narrow)(CSint*, int);
    int value;
    const char* left;
  } rows[] = {{cs_GE, 3, "{0, 1}"}, {cs_GE, 2, "{0..2}"}, {cs_LE, 1, "{0, 1}"}, {cs_LE, 2, "{0..2}"},
      {cs_NEQ, 2, "{0, 1}"}, {cs_NEQ, 3, "{0..2}"}, {cs_EQ, 3, "{0, 1}"}, {cs_EQ, 4, "{0, 1}"}, {cs_EQ, 2, "{1, 2}"}};
  for (auto& row : rows) {
    cs_saveContext();
    EXPECT_TRUE(row.narrow(v[4], row.value));
    EXPECT_EQ(textOf(count), row.left) << row.value;
    cs_restoreContext();
  }
}

TEST_F(Occur, VariablesThatAreWiderThanAtPosting)
{
  // Posted in a context that is accepted, inside one that is restored.
  cs_saveContext();
  cs_GE(v[4], 2);
  cs_saveContext();
  CSint* count = cs_OccurDomain(1, v.data(), 5);
  cs_acceptContext();
  cs_restoreContext();
  // The last position takes no part.
  EXPECT_TRUE(cs_EQ(v[4], 1));
  EXPECT_EQ(textOf(count), "{1..3}");
  EXPECT_TRUE(cs_EQ(count, 3));
  EXPECT_EQ(textsOf(v), "1 1 1 {5..9} 1");
}

// The restore takes the newest attachment of a variable in place of an older one, so either of the two records may go
// before the other. Nothing is read that was freed.
TEST_F(Occur, AfterAnAcceptedContext)
{
  for (size_t touched = 0; touched < 3; touched++) {
    Vars x = makeVars({"{0..2}", "{0..4}", "{1..4}"});
    int label = cs_saveContext();
    cs_Lt(x[touched], makeVar("{30..40}"));
    if (touched > 0)
      cs_Lt(x[3 - touched], makeVar("{30..40}"));
    cs_saveContext();
    EXPECT_TRUE(cs_OccurConstraints(x[0], 4, &x[1], 2));
    cs_acceptContext();
    cs_restoreContextUntil(label);
    label = cs_saveContext();
    (void)(cs_NEQ(x[1], 4), cs_EQ(x[2], 4), cs_EQ(x[0], 2));
    cs_restoreContextUntil(label);
  }
}
