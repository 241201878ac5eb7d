/*
 * cs_Add, cs_Sub and their variadic forms: against brute force, then what that doesn't see.
 */
#include "bruteforce.h"
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
  EXPECT_EQ(post(cs_Sub, "0..1", "{1, 3, 5}"), "{-5..0} 1 111");
  // At the ends of 32 bits. 0 - -2147483648 saturates at posting.
  EXPECT_EQ(post(cs_Add, "2147483646..2147483647", "5"), "2147483647 0 000");
  EXPECT_EQ(post(cs_Sub, "-2147483648..-2147483647", "5"), "-2147483648 1 000");
  EXPECT_EQ(post(cs_Add, "-2147483648..0", "-10..10"), "{-2147483648..10} 1 111");
  EXPECT_EQ(post(cs_Sub, "0", "-2147483648"), "2147483647 1 000");
  // A hole whose image saturates isn't carried over, but one whose image is exactly the last integer is: the bit of the
  // result's bound is off then, and a count that falls to 1 that way posts nothing.
  EXPECT_EQ(post(cs_Add, "{2147483600, 2147483602, 2147483610, 2147483640}", "40"), "{2147483640, 2147483642} 1 111");
  EXPECT_EQ(post(cs_Add, "{2147483600, 2147483602, 2147483607, 2147483640}", "40"),
      "{2147483640, 2147483642, 2147483647} 1 111");
  EXPECT_EQ(post(cs_Sub, "{-2147483640, -2147483610, -2147483600}", "40"), "-2147483640 1 000");
  EXPECT_EQ(post(cs_Add, "{2147483645, 2147483647}", "1"), "2147483646 0 000");
}

TEST_F(Addition, OneConstraintOnThree)
{
  CSint *x = makeVar("0..9"), *y = makeVar("0..9"), *sum = cs_Add(x, y);
  EXPECT_GT(locator.made, sum);
  EXPECT_EQ(postedOn({sum, x, y}), "cs_Add 1: a a a");
  EXPECT_EQ(constraintOf(sum)->_refCount, 3);
  CSint* difference = cs_Sub(x, x);
  EXPECT_LT(locator.made, difference);
  EXPECT_EQ(postedOn({difference, x}), "cs_Sub 1: a a");
  EXPECT_EQ(textsOf({difference, cs_Add(x, x)}), "{-9..9} {0..18}");
  EXPECT_EQ(nbAttached(x), 5);
}

TEST_F(Addition, VariadicFormsArePostedAsSums)
{
  CSint *x = makeVar("0..9"), *y = makeVar("0..9"), *z = makeVar("0..9");
  EXPECT_EQ(cs_VAdd(1, x), x);
  EXPECT_EQ(locator.asked, 1);
  EXPECT_EQ(nbAttached(x), 0);
  EXPECT_EQ(postedOn({cs_VAdd(3, x, y, z), x, y, z}), "cs_Vadd 2: a b[0] b[1] b[2]");
  EXPECT_EQ(locator.asked, 2);
  CSint* three = cs_VSub(3, x, y, z);
  EXPECT_EQ(postedOn({three, x, y, z}), "cs_VSub 3: a a b[0] b[1]");
  CSint* two = cs_VSub(2, x, y);
  EXPECT_EQ(postedOn({two, x, y}), "cs_VSub 1: a a a");
  CSint* one = cs_VSub(1, x);
  EXPECT_EQ(postedOn({one, x}), "cs_VSub 1: a a");
  EXPECT_EQ(constraintOf(one)->_refCount, 3);
  EXPECT_EQ(textsOf({three, two, one}), "{-18..9} {-9..9} {0..9}");
}

TEST_F(Addition, VariadicFormsOutliveAnAcceptedContext)
{
  CSint *x = makeVar("0..9"), *y = makeVar("0..9"), *z = makeVar("0..9");
  cs_saveContext();
  CSint *sum = cs_VAdd(3, x, y, z), *difference = cs_VSub(3, x, y, z);
  cs_acceptContext();
  // The arrays on the trail are gone; their memory goes to these.
  for (int i = 0; i < 10; i++)
    cs_createCSintArray(3, 7, 7);
  EXPECT_TRUE(cs_GE(sum, 20) && cs_GE(difference, -3) && cs_EQ(x, 9));
  EXPECT_EQ(textsOf({sum, difference, y}), "{20..27} {-3..5} {2..9}");
  EXPECT_TRUE(cs_EQ(z, 9));
  EXPECT_EQ(textOf(y), "{2, 3}");
}

TEST_F(Addition, RemovalsCrossOnlyWhereOneOfTheThreeIsFixed)
{
  // Fixes one of sum, x and y to 9 unless it is -1, and removes a value of another; all three then.
  auto cross = [](int fixed, size_t from, int value) {
    Vars v = {nullptr, makeVar("0..9"), makeVar("0..9")};
    v[0] = cs_Add(v[1], v[2]);
    EXPECT_TRUE(fixed < 0 || cs_EQ(v[size_t(fixed)], 9));
    EXPECT_TRUE(cs_NEQ(v[from], value));
    return textsOf(v);
  };
  EXPECT_EQ(cross(0, 1, 4), "9 {0..3, 5..9} {0..4, 6..9}");
  EXPECT_EQ(cross(0, 2, 2), "9 {0..6, 8, 9} {0, 1, 3..9}");
  EXPECT_EQ(cross(1, 0, 12), "{9..11, 13..18} 9 {0..2, 4..9}");
  EXPECT_EQ(cross(1, 2, 4), "{9..12, 14..18} 9 {0..3, 5..9}");
  EXPECT_EQ(cross(2, 0, 12), "{9..11, 13..18} {0..2, 4..9} 9");
  EXPECT_EQ(cross(2, 1, 4), "{9..12, 14..18} {0..3, 5..9} 9");
  EXPECT_EQ(cross(-1, 0, 12), "{0..11, 13..18} {0..9} {0..9}");
  EXPECT_EQ(cross(-1, 1, 4), "{0..18} {0..3, 5..9} {0..9}");
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
  cs_saveContext();
  EXPECT_EQ(spy.take(cs_LE(z, 9)), "1 z NewMax 18->9");
  EXPECT_EQ(spy.take(cs_GE(x, 3)), "1 x NewMin 0->3, z NewMin 0->3, y NewMax 9->6");
  EXPECT_EQ(spy.take(cs_GE(y, 2)), "1 y NewMin 0->2, z NewMin 3->5, x NewMax 9->7");
  EXPECT_EQ(spy.take(cs_LE(z, 8)), "1 z NewMax 9->8, x NewMax 7->6, y NewMax 6->5");
  EXPECT_EQ(spy.take(cs_GE(z, 7)), "1 z NewMin 5->7");
  EXPECT_EQ(spy.take(cs_LE(x, 4)), "1 x NewMax 6->4, y NewMin 2->3");
  EXPECT_EQ(spy.take(cs_LE(y, 4)), "1 y NewMax 5->4");
  EXPECT_EQ(spy.take(cs_GE(z, 8)), "1 z NewMinEq 7->8, x NewMinEq 3->4, y NewMinEq 3->4");
  cs_restoreContext();
  EXPECT_EQ(spy.take(cs_GE(z, 8)), "1 z NewMin 0->8");
  EXPECT_EQ(spy.take(cs_LE(x, 5)), "1 x NewMax 9->5, z NewMax 18->14, y NewMin 0->3");
  EXPECT_EQ(spy.take(cs_LE(y, 6)), "1 y NewMax 9->6, z NewMax 14->11, x NewMin 0->2");
}

TEST_F(Addition, PropagationAtTheEndsOf32Bits)
{
  // z = x + y, and a request on one of them; the result and the three domains.
  auto narrow = [](const std::string& x, const std::string& y, int which, int (*request)(CSint*, int), int64_t value) {
    CSint *v = makeVar(x), *w = makeVar(y), *z = cs_Add(v, w);
    int ok = request(which == 0 ? z : which == 1 ? v : w, int(value));
    return std::to_string(ok) + " " + textsOf({z, v, w});
  };
  constexpr int64_t most = INT32_MAX, least = INT32_MIN;
  // The difference that wraps: max(z) - min(x) and max(z) - min(y) for a raised minimum.
  EXPECT_EQ(narrow("-10..0", "0..2147483647", 1, cs_GE, -5), "0 {-5..2147483647} {-5..0} {0..2147483647}");
  EXPECT_EQ(narrow("0..2147483647", "-10..0", 2, cs_GE, -5), "0 {-5..2147483647} {0..2147483647} {-5..0}");
  // All others saturate. Sums of minima and of maxima; only the first fails, in its second step.
  EXPECT_EQ(narrow("-2147483648..0", "-10..10", 1, cs_GE, least + 1), "0 {-2147483648..10} {-2147483647..0} {-10..10}");
  EXPECT_EQ(narrow("0..2147483647", "-10..10", 1, cs_LE, most - 1), "1 {-10..2147483647} {0..2147483646} {-10..10}");
  // Differences for a lowered maximum of an operand.
  EXPECT_EQ(narrow("0..10", "-2147483648..0", 1, cs_LE, 5), "1 {-2147483648..5} {0..5} {-2147483648..0}");
  EXPECT_EQ(narrow("-2147483648..0", "0..10", 2, cs_LE, 5), "1 {-2147483648..5} {-2147483648..0} {0..5}");
  // Differences for a narrowed result.
  EXPECT_EQ(narrow("-2147483648..0", "0..10", 0, cs_GE, least + 3), "1 {-2147483645..10} {-2147483648..0} {0..10}");
  EXPECT_EQ(narrow("0..10", "-2147483648..0", 0, cs_GE, least + 3), "1 {-2147483645..10} {0..10} {-2147483648..0}");
  EXPECT_EQ(narrow("0..2147483647", "-5..0", 0, cs_LE, most - 2), "1 {-5..2147483645} {0..2147483647} {-5..0}");
  EXPECT_EQ(narrow("-5..0", "0..2147483647", 0, cs_LE, most - 2), "1 {-5..2147483645} {-5..0} {0..2147483647}");
}

TEST_F(Addition, ZeroLessTheSmallestIntegerWrapsInHandlers)
{
  CSint *x = makeVar("-5..5"), *y = makeVar("-2147483648"), *z = cs_Sub(x, y);
  EXPECT_EQ(textOf(z), "{2147483643..2147483647}");
  // As a value to remove: a saturated one would take 2147483647 from z.
  EXPECT_TRUE(cs_NEQ(x, 0));
  EXPECT_EQ(textOf(z), "{2147483643..2147483647}");
  EXPECT_TRUE(cs_NEQ(x, -3));
  EXPECT_EQ(textOf(z), "{2147483643, 2147483644, 2147483646, 2147483647}");
  // As a bound: a saturated one would fix z first.
  CSint *v = makeVar("-5..5"), *difference = cs_Sub(v, y);
  EXPECT_FALSE(cs_GE(v, 0));
  EXPECT_EQ(textOf(difference), "{2147483643..2147483647}");
}
