/*
 * cs_Add, cs_Sub and their variadic forms: against brute force, then what that doesn't see.
 */
#include "bruteforce.h"
#include "random.h"
#include "spy.h"

using namespace kit;

static int64_t sum(const Values& x)
{
  int64_t total = 0;
  for (int value : x)
    total += value;
  return total;
}

static int64_t difference(const Values& x) { return 2 * int64_t(x[0]) - sum(x); }

static Row binary(const char* name, int twice, CSint* (*post)(CSint*, CSint*), int64_t (*value)(const Values& x))
{
  return {.name = name,
      .vars = {{.count = {2, 2}, .size = 9, .constants = 25, .twice = twice}},
      .post = [=](Trial& t) { return post(t.x[0], t.x[1]); },
      .value = [=](const Values& x, const Values&) { return value(x); },
      // A variable that stands twice counts as two.
      .strength = twice ? Strength::none : Strength::bounds};
}

static Row variadic(const char* name, Group group, CSint* (*post)(int, CSint*, ...), int64_t (*value)(const Values& x))
{
  return {.name = name,
      .vars = {group},
      .post =
          [=](Trial& t) {
            Vars v = t.x;
            v.resize(4); // no more are read than are counted
            return post(int(t.x.size()), v[0], v[1], v[2], v[3]);
          },
      .value = [=](const Values& x, const Values&) { return value(x); }};
}

static const std::vector<Row> table = {
    binary("Add", 0, cs_Add, sum),
    binary("Sub", 0, cs_Sub, difference),
    binary("AddTwice", 60, cs_Add, sum),
    // The result of x - x may stay free when x is fixed, as the handlers know x in its first role only.
    {.name = "SubItself",
        .vars = {{.size = 9}},
        .post = [](Trial& t) { return cs_Sub(t.x[0], t.x[0]); },
        .holds = [](auto& v, auto&) { return v[1] == 0; },
        .results = {{-11, 11}}},
    variadic("VAdd", {.count = {2, 4}}, cs_VAdd, sum),
    variadic("VSub", {.count = {1, 4}, .twice = 0}, cs_VSub, difference),
};
static const int rows = bruteForce("Add", table);

static int (*const requests[])(CSint*, int) = {cs_GE, cs_LE, cs_NEQ, cs_NEQ, cs_EQ};

class Addition : public SolverTest
{
protected:
  /// The result's domain, how often the locator was asked, and the attachments of result, x and y.
  std::string post(CSint* (*operation)(CSint*, CSint*), const std::string& x, const std::string& y)
  {
    CSint *v = makeVar(x), *w = makeVar(y);
    locator.asked = 0;
    CSint* z = operation(v, w);
    EXPECT_EQ(textsOf({v, w}), textsOf(makeVars({x, y})));
    return textOf(z) + " " + std::to_string(locator.asked) + " " + std::to_string(nbAttached(z)) +
           std::to_string(nbAttached(v)) + std::to_string(nbAttached(w));
  }

  LocatorSpy locator;
};

TEST_F(Addition, NewResults)
{
  // A constant needs no constraint; a sum asks the locator only for one, a difference always.
  EXPECT_EQ(post(cs_Add, "0..5", "-3..4"), "{-3..9} 1 111");
  EXPECT_EQ(post(cs_Add, "3", "4"), "7 0 000");
  EXPECT_EQ(post(cs_Sub, "3", "4"), "-1 1 000");
  // Holes come over from the free operand, with the other one instantiated.
  EXPECT_EQ(post(cs_Add, "{1, 3, 5}", "10"), "{11, 13, 15} 1 111");
  EXPECT_EQ(post(cs_Add, "-10", "{1..3, 5, 8}"), "{-9..-7, -5, -2} 1 111");
  EXPECT_EQ(post(cs_Sub, "10", "{1, 3, 5, 6}"), "{4, 5, 7, 9} 1 111");
  EXPECT_EQ(post(cs_Sub, "{1, 3, 4, 7}", "10"), "{-9, -7, -6, -3} 1 111");
  EXPECT_EQ(post(cs_Add, "{1, 3, 5}", "0..1"), "{1..6} 1 111");
  // At the ends of 32 bits. 0 - -2147483648 saturates at posting.
  EXPECT_EQ(post(cs_Add, "-2147483648..0", "-10..10"), "{-2147483648..10} 1 111");
  EXPECT_EQ(post(cs_Sub, "-2147483648..-2147483647", "5"), "-2147483648 1 000");
  EXPECT_EQ(post(cs_Sub, "0", "-2147483648"), "2147483647 1 000");
  // A hole whose image saturates isn't carried over, but one whose image is exactly the last integer is: the bit of the
  // result's bound is off then, and a count that falls to 1 that way posts nothing.
  EXPECT_EQ(post(cs_Add, "{2147483600, 2147483602, 2147483610, 2147483640}", "40"), "{2147483640, 2147483642} 1 111");
  EXPECT_EQ(post(cs_Add, "{2147483600, 2147483602, 2147483607, 2147483640}", "40"),
      "{2147483640, 2147483642, 2147483647} 1 111");
  EXPECT_EQ(post(cs_Sub, "{-2147483640, -2147483610, -2147483600}", "40"), "-2147483640 1 000");
  EXPECT_EQ(post(cs_Add, "{2147483645, 2147483647}", "1"), "2147483646 0 000");
  CSint* one = cs_Add(makeVar("{2147483643, 2147483647}"), CSINT(1)); // of 2147483644..2147483647
  EXPECT_EQ(textOf(cs_Sub(one, CSINT(2147483647))), "{-3, 0}");
}

TEST_F(Addition, WhatIsPosted)
{
  Vars v = makeVars({"0..9", "0..9", "0..9"});
  CSint *x = v[0], *y = v[1], *z = v[2];
  auto posted = [=](CSint* r) {
    return textOf(r) + " " + postedOn({r, x, y, z}) + " " + std::to_string(constraintOf(r)->_refCount);
  };
  EXPECT_EQ(cs_VAdd(1, x), x);
  EXPECT_EQ(nbAttached(x), 0);
  CSint* sum = cs_Add(x, y);
  EXPECT_GT(locator.made, sum);
  EXPECT_EQ(posted(sum), "{0..18} cs_Add 1: a a a none 3");
  CSint* difference = cs_Sub(x, x);
  EXPECT_LT(locator.made, difference);
  EXPECT_EQ(posted(difference), "{-9..9} cs_Sub 1: a a none none 3");
  EXPECT_EQ(posted(cs_Add(z, z)), "{0..18} cs_Add 1: a none none a 3");
  // The variadic forms are posted as sums.
  EXPECT_EQ(posted(cs_VAdd(3, x, y, z)), "{0..27} cs_Vadd 2: a b[0] b[1] b[2] 1");
  EXPECT_EQ(posted(cs_VSub(3, x, y, z)), "{-18..9} cs_VSub 3: a a b[0] b[1] 3");
  EXPECT_EQ(posted(cs_VSub(2, x, y)), "{-9..9} cs_VSub 1: a a a none 3");
  EXPECT_EQ(posted(cs_VSub(1, x)), "{0..9} cs_VSub 1: a a none none 3");
  EXPECT_EQ(locator.asked, 8);
}

TEST_F(Addition, VariadicFormsOutliveAnAcceptedContext)
{
  Vars x = makeVars({"0..9", "0..9", "0..9"});
  cs_saveContext();
  CSint *sum = cs_VAdd(3, x[0], x[1], x[2]), *difference = cs_VSub(3, x[0], x[1], x[2]);
  cs_acceptContext();
  // The arrays on the trail are gone; their memory goes to these.
  for (int i = 0; i < 10; i++)
    cs_createCSintArray(3, 7, 7);
  EXPECT_TRUE(cs_GE(sum, 20) && cs_GE(difference, -3) && cs_EQ(x[0], 9));
  EXPECT_EQ(textsOf({sum, difference, x[1]}), "{20..27} {-3..5} {2..9}");
  EXPECT_TRUE(cs_EQ(x[2], 9));
  EXPECT_EQ(textOf(x[1]), "{2, 3}");
}

TEST_F(Addition, RemovalsCrossOnlyWhereOneOfTheThreeIsFixed)
{
  // Of sum, x and y: the one that is fixed to 9 unless it is -1, the one that a value is taken from; all three then.
  const struct
  {
    int fixed;
    size_t from;
    int value;
    const char* left;
  } cases[] = {{0, 1, 4, "9 {0..3, 5..9} {0..4, 6..9}"}, {0, 2, 2, "9 {0..6, 8, 9} {0, 1, 3..9}"},
      {1, 0, 12, "{9..11, 13..18} 9 {0..2, 4..9}"}, {1, 2, 4, "{9..12, 14..18} 9 {0..3, 5..9}"},
      {2, 0, 12, "{9..11, 13..18} {0..2, 4..9} 9"}, {2, 1, 4, "{9..12, 14..18} {0..3, 5..9} 9"},
      {-1, 0, 12, "{0..11, 13..18} {0..9} {0..9}"}, {-1, 1, 4, "{0..18} {0..3, 5..9} {0..9}"}};
  for (auto& [fixed, from, value, left] : cases) {
    Vars v = {nullptr, makeVar("0..9"), makeVar("0..9")};
    v[0] = cs_Add(v[1], v[2]);
    EXPECT_TRUE((fixed < 0 || cs_EQ(v[size_t(fixed)], 9)) && cs_NEQ(v[from], value));
    EXPECT_EQ(textsOf(v), left);
  }
  // Holes from before stay unmirrored.
  CSint *x = makeVar("{1, 3, 5, 7}"), *y = makeVar("0..1"), *z = cs_Add(x, y);
  EXPECT_TRUE(cs_EQ(y, 1) && cs_NEQ(x, 5));
  EXPECT_EQ(textOf(z), "{2..5, 7, 8}");
}

TEST_F(Addition, OrderOfTheSteps)
{
  CSint *x = makeVar("0..9"), *y = makeVar("0..9"), *z = cs_Add(x, y);
  Spy spy;
  spy.watch(x, "x").watch(y, "y").watch(z, "z");
  EXPECT_EQ(spy.take(cs_LE(z, 9)), "1 z NewMax 18->9");
  EXPECT_EQ(spy.take(cs_GE(x, 3)), "1 x NewMin 0->3, z NewMin 0->3, y NewMax 9->6");
  EXPECT_EQ(spy.take(cs_GE(y, 2)), "1 y NewMin 0->2, z NewMin 3->5, x NewMax 9->7");
  EXPECT_EQ(spy.take(cs_LE(z, 8)), "1 z NewMax 9->8, x NewMax 7->6, y NewMax 6->5");
  EXPECT_EQ(spy.take(cs_GE(z, 7)), "1 z NewMin 5->7");
  EXPECT_EQ(spy.take(cs_LE(x, 4)), "1 x NewMax 6->4, y NewMin 2->3");
  EXPECT_EQ(spy.take(cs_LE(y, 4)), "1 y NewMax 5->4");
  EXPECT_EQ(spy.take(cs_GE(z, 8)), "1 z NewMinEq 7->8, x NewMinEq 3->4, y NewMinEq 3->4");
}

TEST_F(Addition, AConstantDoesWhatAFixedVariableDoes)
{
  for (uint64_t trial = 0; trial < 400; trial++) {
    Random random(seedOf("AConstant", trial));
    const std::string domain = random.chance(50) ? "0..12" : "{0, 2..5, 7, 10..12}";
    const int c = int(trial % 9) - 4;
    const size_t form = trial % 3;
    Spy spies[2];
    Vars sides[2];
    for (size_t side = 0; side < 2; side++) {
      CSint *x = makeVar(domain), *y = makeVar(side ? "-5..5" : std::to_string(c));
      EXPECT_TRUE(cs_EQ(y, c));
      CSint* z = form == 0 ? cs_Add(x, y) : form == 1 ? cs_Add(y, x) : cs_Sub(x, y);
      sides[side] = {x, z, y};
      spies[side].watch(x, "x").watch(z, "z");
    }
    for (int step = 0; step < 12; step++) {
      if (random.chance(40))
        cs_saveContext();
      else if (contextDepth() > 0 && random.chance(50))
        cs_restoreContext();
      int (*const request)(CSint*, int) = random.oneOf(requests);
      const size_t which = size_t(random.pick(0, 1));
      const int value = sides[0][which]->_min + random.pick(-1, 9);
      const std::string first = spies[0].take(request(sides[0][which], value));
      ASSERT_EQ(first, spies[1].take(request(sides[1][which], value))) << trial;
      ASSERT_EQ(textsOf(sides[0]), textsOf(sides[1])) << trial;
    }
    cs_restoreAll();
  }
  for (const char* three : {"3", "2..4"}) {
    CSint *x = makeVar("0..9"), *y = makeVar(three);
    EXPECT_TRUE(cs_EQ(y, 3));
    CSint* z = cs_Add(x, y);
    // Events for the constant itself, which only a client can send.
    EXPECT_TRUE(rcsDoPropagation(y, NewMin, 3) && rcsDoPropagation(y, NewMax, 3));
    EXPECT_EQ(textsOf({x, y, z}), "{0..9} 3 {3..12}");
    // Crossed bounds, as an accepted context may leave them: the constant would have to be 4.
    x->_min = 6;
    x->_max = 5;
    EXPECT_FALSE(cs_GE(z, 9));
  }
}

TEST_F(Addition, PropagationAtTheEndsOf32Bits)
{
  // z = x + y, and a request on one of them; the result and the three domains.
  auto narrow = [](const std::string& x, const std::string& y, int which, int (*request)(CSint*, int), int value) {
    CSint *v = makeVar(x), *w = makeVar(y), *z = cs_Add(v, w);
    int ok = request(which == 0 ? z : which == 1 ? v : w, value);
    return std::to_string(ok) + " " + textsOf({z, v, w});
  };
  // The difference that wraps: max(z) - min(x) and max(z) - min(y) for a raised minimum.
  EXPECT_EQ(narrow("-10..0", "0..2147483647", 1, cs_GE, -5), "0 {-5..2147483647} {-5..0} {0..2147483647}");
  EXPECT_EQ(narrow("0..2147483647", "-10..0", 2, cs_GE, -5), "0 {-5..2147483647} {0..2147483647} {-5..0}");
  // All others saturate: the sum of the minima, which fails in its second step, and that of the maxima; the differences
  // for a lowered maximum of an operand, and those for a narrowed result.
  EXPECT_EQ(
      narrow("-2147483648..0", "-10..10", 1, cs_GE, INT32_MIN + 1), "0 {-2147483648..10} {-2147483647..0} {-10..10}");
  EXPECT_EQ(
      narrow("0..2147483647", "-10..10", 1, cs_LE, INT32_MAX - 1), "1 {-10..2147483647} {0..2147483646} {-10..10}");
  EXPECT_EQ(narrow("0..10", "-2147483648..0", 1, cs_LE, 5), "1 {-2147483648..5} {0..5} {-2147483648..0}");
  EXPECT_EQ(narrow("-2147483648..0", "0..10", 0, cs_GE, INT32_MIN + 3), "1 {-2147483645..10} {-2147483648..0} {0..10}");
  EXPECT_EQ(narrow("0..2147483647", "-5..0", 0, cs_LE, INT32_MAX - 2), "1 {-5..2147483645} {0..2147483647} {-5..0}");
}

TEST_F(Addition, ZeroLessTheSmallestIntegerWrapsInHandlers)
{
  CSint *x = makeVar("-5..5"), *v = makeVar("-5..5"), *y = makeVar("-2147483648"), *z = cs_Sub(x, y), *u = cs_Sub(v, y);
  // As a value to remove: a saturated one would take 2147483647 from z.
  EXPECT_TRUE(cs_NEQ(x, 0));
  EXPECT_EQ(textOf(z), "{2147483643..2147483647}");
  EXPECT_TRUE(cs_NEQ(x, -3));
  EXPECT_EQ(textOf(z), "{2147483643, 2147483644, 2147483646, 2147483647}");
  // As a bound: a saturated one would fix u first.
  EXPECT_FALSE(cs_GE(v, 0));
  EXPECT_EQ(textOf(u), "{2147483643..2147483647}");
}
