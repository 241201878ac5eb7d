/*
 * Words of an automaton.
 */
#include "automaton.h"
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

static Row words(const char* name, int twice)
{
  return {.name = name,
      .vars = {{.count = {1, 6}, .values = {-1, 3}, .size = 5, .holes = 20, .constants = 5, .twice = twice}},
      .prepare = [](Trial& t) { t.p = automaton::draw(t.random); },
      .post = [](Trial& t) { return automaton::post(t.x, t.p); },
      .holds = [](auto& v, auto& p) { return automaton::accepts(v, p); },
      .strength = Strength::domain,
      .exact = automaton::rule,
      .trials = 600};
}

static const auto tables =
    bruteForce("RegularTable", {words("Regular", 0), words("RegularWithAVariableAtTwoPositions", 30)});

class Regular : public SolverTest
{};

// No three 1s in a row; the state is the number of 1s just read.
static const int noThreeOnes[] = {0, 1, 0, 2, 0, -1};
static const int allStates[] = {0, 1, 2};

static int nbFound;

TEST_F(Regular, NumberOfWords)
{
  struct
  {
    int length, words;
  } rows[] = {{4, 13}, {8, 149}, {10, 504}};
  for (auto [length, expected] : rows) {
    int label = cs_saveContext();
    CSint** x = cs_createCSintArray(length, 0, 1);
    ASSERT_TRUE(cs_Regular(x, length, noThreeOnes, 3, 2, 0, allStates, 3));
    nbFound = 0;
    cs_findAll(x, length, cs_findFreeVar, [](CSint**, int) { nbFound++; });
    EXPECT_EQ(nbFound, expected);
    EXPECT_EQ(cs_getNbFails(), 0) << "domain consistency leaves no dead end";
    cs_restoreContextUntil(label);
  }
}

TEST_F(Regular, WithoutAWord)
{
  static const int nowhere[] = {-1, -1, -1, 3, 9, -1}, outside[] = {-1, 3};
  Vars x = makeVars({"{-2..7}", "{-2..7}"});
  EXPECT_EQ(cs_Regular(nullptr, 0, nullptr, 0, 0, 0, nullptr, 0), 1);
  EXPECT_EQ(cs_Regular(x.data(), 2, noThreeOnes, 3, 2, 0, allStates, 0), 0);
  EXPECT_EQ(cs_Regular(x.data(), 2, noThreeOnes, 3, 2, 0, outside, 2), 0);
  EXPECT_EQ(textOf(x[0]), "{-2..7}");
  // What was cut stays cut when the posting fails: by the first variable, by the automaton, by the final states.
  for (int nbSymbols : {0, INT_MIN})
    EXPECT_EQ(cs_Regular(x.data(), 2, noThreeOnes, 3, nbSymbols, 0, allStates, 3), 0);
  EXPECT_EQ(textsOf(x), "{0..7} {-2..7}");
  EXPECT_EQ(cs_Regular(x.data(), 2, nowhere, 3, 2, 0, allStates, 3), 0);
  EXPECT_EQ(textsOf(x), "{0, 1} {0, 1}");
  EXPECT_EQ(cs_Regular(x.data(), 1, noThreeOnes, 3, 2, 0, &allStates[2], 1), 0);
  EXPECT_EQ(nbAttached(x[0]) + nbAttached(x[1]), 0);
}

TEST_F(Regular, Posting)
{
  // From 0 by 0 and 2 to the final state 1, which has no way on.
  Values next = {1, -1, 1, -1, -1, -1}, finals = {-1, 1};
  CSint* x = makeVar("{-1..5}");
  std::string seen;
  LocatorSpy locator;
  locator.onAsked = [&] { seen = textOf(x); };
  ASSERT_TRUE(cs_Regular(&x, 1, next.data(), 2, 3, 0, finals.data(), 2));
  EXPECT_EQ(textOf(x), "{0, 2}");
  EXPECT_STREQ(infoOf(x)->_function, "cs_Regular");
  EXPECT_EQ(seen, "{0..2}") << "asked after the cut to the symbols";

  // The one word of length 2 is 0 1. The tables are the client's again.
  Values chain = {1, -1, -1, 2, -1, -1}, last = {2};
  Vars pair = makeVars({"{0, 1}", "{0, 1}"}), triple = makeVars({"{0..4}", "{0..4}", "{1..4}"});
  ASSERT_TRUE(cs_Regular(pair.data(), 2, chain.data(), 3, 2, 0, last.data(), 1));
  EXPECT_EQ(textsOf(pair), "0 1");
  EXPECT_EQ(pair[1]->_constraints->_index, 1);
  Values fork = {1, 2, -1, 1, 1, 3, 1, 3, 1, 0, 3, 3}, end = {3};
  ASSERT_TRUE(cs_Regular(triple.data(), 3, fork.data(), 4, 3, 0, end.data(), 1));
  EXPECT_EQ(textsOf(triple), "{0, 1} {0..2} {1, 2}");
  fork = end = Values(100, 0);
  EXPECT_TRUE(cs_EQ(triple[0], 0) && cs_NEQ(triple[1], 2));
  EXPECT_EQ(textsOf(triple), "0 {0, 1} 2");
}

TEST_F(Regular, VariablesThatAreWiderThanAtPosting)
{
  // Posted in a context that is accepted, inside one that is restored: values from outside the tables are back.
  Vars x = makeVars({"{-3..90}", "{-3..90}", "{-3..90}"});
  cs_saveContext();
  for (CSint* v : x)
    cs_InInterval(v, 0, 70);
  cs_saveContext();
  ASSERT_TRUE(cs_Regular(x.data(), 3, noThreeOnes, 3, 2, 0, allStates, 3));
  cs_acceptContext();
  cs_restoreContext();
  struct
  {
    int (*narrow)(CSint*, int);
    int value, result;
  } rows[] = {{cs_NEQ, -1, 1}, {cs_NEQ, 80, 1}, {cs_GE, -2, 1}, {cs_LE, 89, 1}, {cs_EQ, -3, 0}, {cs_EQ, 90, 0},
      {cs_LE, -1, 0}, {cs_GE, 2, 0}, {cs_EQ, 1, 1}, {cs_EQ, 0, 1}};
  for (auto& row : rows) {
    cs_saveContext();
    EXPECT_EQ(row.narrow(x[2], row.value), row.result) << row.value;
    EXPECT_EQ(row.narrow(x[1], row.value), row.result) << row.value;
    cs_restoreContext();
  }
  EXPECT_TRUE(cs_EQ(x[2], 1) && cs_EQ(x[1], 1));
  EXPECT_EQ(textOf(x[0]), "{-3..0, 2..90}") << "what the constraint doesn't know is passed over";
  EXPECT_FALSE(cs_EQ(x[0], 2));
}

TEST_F(Regular, FailuresThatAreNotRestored)
{
  // Nothing is promised of the domains then but that the constraint goes on safely, and that whoever restores is well.
  int (*const narrowings[])(CSint*, int) = {cs_GE, cs_LE, cs_EQ, cs_NEQ};
  for (uint64_t seed = 1; seed <= 300; seed++) {
    Random random(seed);
    Values p = automaton::draw(random);
    int label = cs_saveContext();
    Vars x;
    for (int k = random.pick(2, 6); k > 0; k--)
      x.push_back(makeVar("{0..4}"));
    automaton::post(x, p);
    std::vector<Values> domains;
    for (const CSint* v : x)
      domains.push_back(valuesOf(v));
    int inner = cs_saveContext();
    for (int step = 0; step < 20; step++)
      random.oneOf(narrowings)(random.oneOf(x), random.pick(0, 4));
    cs_restoreContextUntil(inner);
    Values word;
    bool ok = true;
    for (size_t k = 0; k < x.size(); k++) {
      word.push_back(random.oneOf(domains[k]));
      ok = cs_EQ(x[k], word[k]) && ok;
    }
    if (nbAttached(x[0])) {
      EXPECT_EQ(ok, automaton::accepts(word, p)) << "seed " << seed;
    }
    cs_restoreContextUntil(label);
  }
}
