/*
 * Element and index.
 */
#include "bruteforce.h"

using namespace kit;

static const std::vector<Row> rows = {
    {.name = "Element",
        .vars = {{.values = {-2, 9}, .size = 9}},
        .prepare = [](Trial& t) { t.p = t.pick(t.random.pick(1, 8), -3, 3); },
        .post = [](Trial& t) { return cs_Element(t.x[0], t.p.data(), int(t.p.size())); },
        .value = [](auto& x, auto& p) -> std::optional<int64_t> {
          if (x[0] < 0 || x[0] >= int(p.size()))
            return std::nullopt;
          return p[size_t(x[0])];
        },
        .strength = Strength::domain,
        .trials = 400},
    {.name = "Index",
        .vars = {{.count = {1, 4}, .values = {-2, 3}, .size = 4, .twice = 15}},
        .prepare = [](Trial& t) { t.p = t.pick(1, -2, 3); },
        .post =
            [](Trial& t) {
              CSint* index = cs_Index(t.x.data(), int(t.x.size()), t.p[0]);
              // What its handlers were last told is the whole array, as a case of its own pins down below; the tables
              // want it to go with the bounds.
              if (index) {
                index->_propMin = index->_min;
                index->_propMax = index->_max;
              }
              return index;
            },
        .holds =
            [](auto& v, auto& p) {
              int position = v.back();
              return 0 <= position && position < int(v.size()) - 1 && v[size_t(position)] == p[0];
            },
        .results = {{0, 3}},
        .trials = 400},
};
static const int tables = bruteForce("ElementTable", rows);

class Element : public SolverTest
{};

static const int table[] = {4, 1, 4, 9, 1};

TEST_F(Element, Posting)
{
  CSint *index = makeVar("{-3..3}"), *untouched = makeVar("{-3..3}");
  EXPECT_EQ(
      textsOf({cs_Element(index, table, 5), cs_Element(makeVar("{1, 4}"), table, 5), index}), "{1, 4, 9} 1 {0..3}");
  EXPECT_EQ(cs_Element(untouched, table, 0), nullptr);
  EXPECT_EQ(textOf(untouched), "{-3..3}");
  // A negative length fails, but the minimum was raised by then.
  EXPECT_EQ(cs_Element(untouched, table, -4), nullptr);
  EXPECT_EQ(textOf(untouched), "{0..3}");
  EXPECT_EQ(cs_Element(makeVar("{5..9}"), table, 5), nullptr);
  EXPECT_EQ(cs_Element(makeVar("{-9..-1}"), table, 5), nullptr);
}

TEST_F(Element, AnIndexThatIsWiderThanAtPosting)
{
  // Posted in a context that is accepted, inside one that is restored: the index has its old bounds again.
  CSint* index = makeVar("{-3..9}");
  cs_saveContext();
  cs_InInterval(index, 1, 3);
  cs_saveContext();
  CSint* z = cs_Element(index, table, 4);
  cs_acceptContext();
  cs_restoreContext();
  for (int position : {-2, 8}) {
    cs_saveContext();
    EXPECT_TRUE(cs_NEQ(index, position) && !cs_EQ(index, position < 0 ? 7 : -1));
    cs_restoreContext();
  }
  cs_saveContext();
  EXPECT_TRUE(cs_InInterval(index, -1, 6) && cs_EQ(z, 4));
  EXPECT_EQ(textOf(index), "{0, 2}");
  cs_restoreContext();
}

// One propagation takes 1 from the inside and then moves the minimum past it: the removal isn't told, as the bound says
// it all, and the handlers of the bound take 1 for a hole of before.
TEST_F(Element, ARemovalThatABoundOvertakes)
{
  static const int values[] = {10, 11, 12, 13};
  CSint *cause = makeVar("{0, 1}"), *x = makeVar("{0..3}");
  Vars v = {x, makeVar("{0..3}")};
  CSint *z = cs_Element(x, values, 4), *position = cs_Index(v.data(), 2, 1);
  cs_IfNeq(cause, x, 1, 0);
  cs_IfNeq(cause, x, 1, 1);
  EXPECT_TRUE(cs_EQ(cause, 1));
  EXPECT_EQ(textsOf({x, z, position}), "{2, 3} {11..13} {0, 1}");
  // What has stayed misleads nobody.
  cs_saveContext();
  EXPECT_FALSE(cs_EQ(z, 11));
  cs_restoreAndSaveContext();
  EXPECT_FALSE(cs_EQ(position, 0));
  cs_restoreContext();
  EXPECT_TRUE(cs_EQ(x, 2));
  EXPECT_EQ(textOf(z), "12");
}

TEST_F(Element, PositionsOfAValue)
{
  Vars v = makeVars({"{0..4}", "{1, 3}", "{2..5}"}), w = makeVars({"{0..4}", "{5, 6}"});
  CSint* index = cs_Index(v.data(), 3, 2);
  EXPECT_EQ(textOf(index), "{0, 2}");
  EXPECT_EQ(index->_initMax * 10 + index->_propMin, 20);
  EXPECT_EQ(postedOn({index, v[0], v[2]}), "cs_Cumulative 2: a b[0] b[2]");
  EXPECT_TRUE(cs_GE(v[2], 3));
  EXPECT_EQ(textsOf({index, v[0]}), "0 2");
  EXPECT_EQ(cs_Index(v.data(), 3, 9), nullptr);
  EXPECT_EQ(cs_Index(v.data(), 0, 2), nullptr);
  // One position alone is the index's value at once, and the variable there isn't set: no event has come.
  EXPECT_EQ(textsOf({cs_Index(w.data(), 2, 6), w[1]}), "1 {5, 6}");
}

TEST_F(Element, EachWayOfLosingTheValue)
{
  struct
  {
    int (*narrow)(CSint*, int);
    int value;
    const char* left;
  } ways[] = {{cs_GE, 3, "1"}, {cs_GE, 2, "{0, 1}"}, {cs_LE, 1, "1"}, {cs_LE, 2, "{0, 1}"}, {cs_NEQ, 2, "1"},
      {cs_NEQ, 3, "{0, 1}"}, {cs_EQ, 3, "1"}, {cs_EQ, 2, "{0, 1}"}, {cs_EQ, 4, "1"}, {cs_EQ, 0, "1"}};
  for (auto& row : ways) {
    Vars v = makeVars({"{0..4}", "{2..5}"});
    CSint* index = cs_Index(v.data(), 2, 2);
    EXPECT_TRUE(row.narrow(v[0], row.value));
    EXPECT_EQ(textOf(index), row.left) << row.value;
  }
}
