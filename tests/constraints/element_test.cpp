/*
 * Element and index.
 */
#include "bruteforce.h"
#include "spy.h"

#include <algorithm>

using namespace kit;

static const auto tables = bruteForce(
    "ElementTable", {
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
                                  // What its handlers were last told is the whole array, as a case of its own pins down
                                  // below; the tables want it to go with the bounds.
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
                    });

class Element : public SolverTest
{};

static const int table[] = {4, 1, 4, 9, 1};

TEST_F(Element, Posting)
{
  CSint* index = makeVar("{-3..3}");
  CSint* z = cs_Element(index, table, 5);
  EXPECT_EQ(textOf(index), "{0..3}");
  EXPECT_EQ(textOf(z), "{1, 4, 9}");
  EXPECT_EQ(textOf(cs_Element(makeVar("{1, 4}"), table, 5)), "1");
  CSint* untouched = makeVar("{-3..3}");
  EXPECT_EQ(cs_Element(untouched, table, 0), nullptr);
  EXPECT_EQ(textOf(untouched), "{-3..3}");
  // A negative length fails, but the minimum was raised by then.
  EXPECT_EQ(cs_Element(untouched, table, -4), nullptr);
  EXPECT_EQ(textOf(untouched), "{0..3}");
  EXPECT_EQ(cs_Element(makeVar("{5..9}"), table, 5), nullptr);
  EXPECT_EQ(cs_Element(makeVar("{-9..-1}"), table, 5), nullptr);
}

TEST_F(Element, BothWays)
{
  CSint *index = makeVar("{0..4}"), *z = cs_Element(index, table, 5);
  EXPECT_TRUE(cs_NEQ(index, 0));
  EXPECT_EQ(textOf(z), "{1, 4, 9}");
  EXPECT_TRUE(cs_NEQ(index, 2));
  EXPECT_EQ(textOf(z), "{1, 9}");
  EXPECT_TRUE(cs_EQ(z, 1));
  EXPECT_EQ(textOf(index), "{1, 4}");
  CSint *other = makeVar("{0..4}"), *w = cs_Element(other, table, 5);
  EXPECT_TRUE(cs_LE(w, 4));
  EXPECT_EQ(textOf(other), "{0..2, 4}");
  EXPECT_TRUE(cs_EQ(other, 2));
  EXPECT_EQ(textOf(w), "4");
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
  EXPECT_EQ(textOf(index), "{-3..9}");
  for (int position : {-2, 8}) {
    cs_saveContext();
    EXPECT_TRUE(cs_NEQ(index, position));
    EXPECT_FALSE(cs_EQ(index, position < 0 ? 7 : -1));
    cs_restoreContext();
  }
  cs_saveContext();
  EXPECT_TRUE(cs_InInterval(index, -1, 6));
  EXPECT_TRUE(cs_EQ(z, 4));
  EXPECT_EQ(textOf(index), "{0, 2}");
  cs_restoreContext();
}

TEST_F(Element, PositionsOfAValue)
{
  Vars v = {makeVar("{0..4}"), makeVar("{1, 3}"), makeVar("{2..5}")};
  CSint* index = cs_Index(v.data(), 3, 2);
  EXPECT_EQ(textOf(index), "{0, 2}");
  EXPECT_EQ(index->_initMax, 2);
  EXPECT_EQ(index->_propMin, 0);
  EXPECT_STREQ(index->_constraints->_constraint->_info->_function, "cs_Cumulative");
  EXPECT_EQ(index->_constraints->_index, -1);
  EXPECT_EQ(v[2]->_constraints->_index, 2);
  EXPECT_TRUE(cs_GE(v[2], 3));
  EXPECT_EQ(textOf(index) + textOf(v[0]), "02");
  EXPECT_EQ(cs_Index(v.data(), 3, 9), nullptr);
  EXPECT_EQ(cs_Index(v.data(), 0, 2), nullptr);
  // One position alone is the index's value at once, and the variable there isn't set: no event has come.
  Vars w = {makeVar("{0..4}"), makeVar("{5, 6}")};
  CSint* only = cs_Index(w.data(), 2, 6);
  EXPECT_EQ(textOf(only) + textOf(w[1]), "1{5, 6}");
}

TEST_F(Element, EachWayOfLosingTheValue)
{
  struct
  {
    int (*narrow)(CSint*, int);
    int value;
    const char* left;
  } rows[] = {{cs_GE, 3, "1"}, {cs_GE, 2, "{0, 1}"}, {cs_LE, 1, "1"}, {cs_LE, 2, "{0, 1}"}, {cs_NEQ, 2, "1"},
      {cs_NEQ, 3, "{0, 1}"}, {cs_EQ, 3, "1"}, {cs_EQ, 2, "{0, 1}"}, {cs_EQ, 4, "1"}, {cs_EQ, 0, "1"}};
  for (auto& row : rows) {
    Vars v = {makeVar("{0..4}"), makeVar("{2..5}")};
    CSint* index = cs_Index(v.data(), 2, 2);
    EXPECT_TRUE(row.narrow(v[0], row.value));
    EXPECT_EQ(textOf(index), row.left) << row.value;
  }
}
