/*
 * cs_Sigma, cs_ScalProd and cs_VScalProd: against brute force and the plain rule for bounds, then what that doesn't
 * see.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

static void drawCoefficients(Trial& t) { t.p = t.pick(5, -4, 4); }

static std::optional<int64_t> product(const Values& x, const Values& c)
{
  int64_t sum = 0;
  for (size_t i = 0; i < x.size(); i++)
    sum += int64_t(i < c.size() ? c[i] : 1) * x[i];
  return sum;
}

static Row row(const char* name, Group group, CSint* (*post)(Trial& t), void (*prepare)(Trial&) = nullptr)
{
  return {.name = name, .vars = {group}, .prepare = prepare, .post = post, .value = product, .exact = naive::linear};
}

static const std::vector<Row> table = {
    row("Sigma", {.count = {2, 5}}, [](Trial& t) { return cs_Sigma(t.x.data(), int(t.x.size())); }),
    row(
        "ScalProd", {.count = {1, 5}}, [](Trial& t) { return cs_ScalProd(t.x.data(), t.p.data(), int(t.x.size())); },
        drawCoefficients),
    row(
        "VScalProd", {.count = {2, 2}, .size = 9},
        [](Trial& t) { return cs_VScalProd(2, t.x[0], t.x[1], t.p[0], t.p[1]); }, drawCoefficients),
};
static const int rows = bruteForce("Sum", table);

class Sums : public SolverTest
{
protected:
  /// The product's coefficients are 1; the two entries are written apart.
  static CSint* sumOfTwo(Vars& v, bool asProduct)
  {
    static const int ones[] = {1, 1};
    return asProduct ? cs_ScalProd(v.data(), ones, 2) : cs_Sigma(v.data(), 2);
  }

  static constexpr const char* whole = "-2147483648..2147483647";
};

TEST_F(Sums, ResultsAndWhatIsAttached)
{
  LocatorSpy locator;
  Vars x = makeVars({"0..9", "5", "-3..4"}), constants = makeVars({"3", "4"});
  const int c[] = {2, 0, -1};
  EXPECT_EQ(textsOf({cs_Sigma(nullptr, 0), cs_Sigma(nullptr, -3)}), "0 0");
  EXPECT_EQ(cs_Sigma(x.data(), 1), x[0]);
  EXPECT_EQ(nbAttached(x[0]), 0);
  EXPECT_EQ(locator.asked, 3);
  EXPECT_EQ(textsOf({cs_ScalProd(nullptr, nullptr, 0), cs_VScalProd(0, x[0])}), "0 0");
  EXPECT_EQ(locator.asked, 3);
  auto posted = [&](CSint* z) { return textOf(z) + " " + postedOn({z, x[0], x[1], x[2]}); };
  // A negative number of operands makes a constraint on the constant result alone.
  EXPECT_EQ(posted(cs_ScalProd(x.data(), c, -2)), "0 cs_ScalProd 1: a none none none");
  EXPECT_EQ(posted(cs_Sigma(x.data(), 3)), "{2..18} cs_Sigma 2: a b[0] b[1] b[2]");
  EXPECT_EQ(posted(cs_ScalProd(x.data(), c, 3)), "{-4..21} cs_ScalProd 2: a b[0] b[1] b[2]");
  EXPECT_EQ(posted(cs_VScalProd(3, x[0], x[1], x[2], 2, 0, -1)), "{-4..21} cs_VScalProd 2: a b[0] b[1] b[2]");
  EXPECT_EQ(constraintOf(x[0])->_refCount, 3);
  // Constants are no shortcut.
  CSint* seven = cs_Sigma(constants.data(), 2);
  EXPECT_EQ(textOf(seven) + " " + postedOn({seven, constants[0], constants[1]}), "7 cs_Sigma 2: a b[0] b[1]");
}

TEST_F(Sums, ArraysOfTheCallerAreReadAsTheyStandAndThoseOfTheVariadicFormAreCopies)
{
  Vars x = makeVars({"0..9", "0..9"}), y = x, w = makeVars({"0..9", "0..9", "0..9"});
  int c[] = {1, 1};
  CSint *sum = cs_Sigma(x.data(), 2), *product = cs_ScalProd(y.data(), c, 2);
  x[1] = y[1] = makeVar("0..9");
  c[0] = 3;
  EXPECT_TRUE(cs_LE(sum, 8));
  EXPECT_EQ(textOf(x[1]), "{0..8}");
  EXPECT_TRUE(cs_LE(product, 6));
  EXPECT_EQ(textsOf(x), "{0..2} {0..6}");
  cs_saveContext();
  CSint* z = cs_VScalProd(3, w[0], w[1], w[2], 1, -2, 3);
  cs_acceptContext();
  // The arrays on the trail are gone; their memory goes to these.
  for (int i = 0; i < 10; i++)
    cs_createCSintArray(i % 4, 7, 7);
  EXPECT_TRUE(cs_GE(z, 30));
  EXPECT_EQ(textsOf(w), "{3..9} {0..3} {7..9}");
  EXPECT_TRUE(cs_EQ(w[2], 8));
  EXPECT_EQ(textsOf(w), "{6..9} {0, 1} 8");
}

// ---------------------------------------------------------------------------------------------------------------------
// The order of the steps
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(Sums, TheResultFirstThenTheOperandsWithoutTheOneThatWokeTheConstraint)
{
  Vars x = makeVars({"0..9", "0..9", "0..9"});
  Spy spy;
  auto watch = [&](CSint* z) { spy.watch(x[0], "x").watch(x[1], "y").watch(x[2], "u").watch(z, "z"); };
  int label = cs_saveContext();
  CSint* z = cs_Sigma(x.data(), 3);
  EXPECT_TRUE(cs_LE(z, 9));
  watch(z);
  EXPECT_EQ(spy.take(cs_GE(x[1], 3)), "1 y NewMin 0->3, z NewMin 0->3, x NewMax 9->6, u NewMax 9->6");
  EXPECT_EQ(spy.take(cs_LE(x[0], 2)), "1 x NewMax 6->2");
  EXPECT_EQ(spy.take(cs_GE(z, 8)), "1 z NewMin 3->8");
  EXPECT_EQ(spy.take(cs_LE(x[2], 1)), "1 u NewMax 6->1, y NewMin 3->5");
  EXPECT_EQ(spy.take(cs_LE(z, 8)), "1 z NewMaxEq 9->8, y NewMax 9->8");
  EXPECT_EQ(spy.take(cs_EQ(x[1], 6)), "1 y Eq 5..8->6, x NewMin 0->1");
  cs_restoreContextUntil(label);

  const int c[] = {1, -1, 2};
  z = cs_ScalProd(x.data(), c, 3);
  EXPECT_TRUE(cs_InInterval(z, 0, 9));
  watch(z);
  EXPECT_EQ(spy.take(cs_LE(x[1], 1)), "1 y NewMax 9->1, u NewMax 9->5");
  EXPECT_EQ(spy.take(cs_GE(x[2], 3)), "1 u NewMin 0->3, z NewMin 0->5, x NewMax 9->4");
  EXPECT_EQ(spy.take(cs_GE(z, 9)), "1 z NewMinEq 5->9");
  EXPECT_EQ(spy.take(cs_LE(x[2], 3)), "1 u NewMaxEq 5->3, x NewMin 0->3");
}

TEST_F(Sums, ForValuesBetweenTheBoundsBothSidesInTurn)
{
  for (bool product : {false, true}) {
    Vars x = makeVars({"0..9", "0..2"});
    CSint *z = sumOfTwo(x, product), *w = makeVar("0..11");
    Spy spy;
    spy.watch(x[0], "x").watch(x[1], "y").watch(z, "z").watch(w, "w");
    cs_saveContext();
    EXPECT_EQ(spy.take(cs_EQ(z, 5)), "1 z Eq 0..11->5, x NewMin 0->3, x NewMax 9->5");
    cs_restoreAndSaveContext();
    EXPECT_EQ(spy.take(cs_EQ(x[0], 4)), "1 x Eq 0..9->4, z NewMin 0->4, z NewMax 11->6");
    cs_restoreContext();
    // The room is that from before the result is narrowed: the maximum lands behind a hole, far below the highest sum.
    // That reaches the other operand only with the result's own event, after w; or in the second round that a value
    // between the bounds gets at once, where there are coefficients.
    EXPECT_TRUE(cs_NotInInterval(z, 4, 10) && cs_Ge(z, w) && cs_GE(z, 1));
    spy.clear();
    cs_saveContext();
    EXPECT_EQ(spy.take(cs_LE(x[1], 1)), "1 y NewMax 2->1, z NewMax 11->3, w NewMax 11->3, x NewMax 9->3");
    cs_restoreContext();
    const std::string u = "w NewMax 11->3", v = "x NewMax 9->2";
    EXPECT_EQ(spy.take(cs_EQ(x[1], 1)), "1 y Eq 0..2->1, z NewMax 11->3, " + (product ? v + ", " + u : u + ", " + v));
  }
}

TEST_F(Sums, CrossedBoundsFailWithTheResult)
{
  for (bool product : {false, true}) {
    Vars x = makeVars({"0..9", "0..1"});
    CSint* z = sumOfTwo(x, product);
    x[0]->_min = 6; // as an accepted context may leave them
    x[0]->_max = 2;
    EXPECT_FALSE(cs_GE(x[1], 1));
    EXPECT_EQ(z->_min, 7);
  }
}

TEST_F(Sums, TheResultsBoundIsNotedAsToldInItsTurn)
{
  for (bool product : {false, true}) {
    Vars x = makeVars({"0..9", "0..9"});
    CSint* above = makeVar("0..20");
    ASSERT_TRUE(cs_Lt(x[0], above));
    CSint* z = sumOfTwo(x, product);
    EXPECT_TRUE(cs_GE(x[0], 2));
    EXPECT_EQ(z->_propMin, 2);
    above->_max = 1; // so that the order fails, which is asked after the sum
    EXPECT_FALSE(cs_GE(x[0], 5));
    EXPECT_EQ(z->_min, 5);
    EXPECT_EQ(z->_propMin, 2);
  }
}

// ---------------------------------------------------------------------------------------------------------------------
// The ends of 32 and of 64 bits
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(Sums, TheExcessOfASaturatedResultIsKnown)
{
  Vars x = makeVars({"0..2000000000", "0..2000000000"}), y = makeVars({"-2147483648..10", "-10..-5"});
  CSint* z = cs_Sigma(x.data(), 2);
  EXPECT_TRUE(cs_GE(x[0], 1500000000) && cs_GE(z, 2147483647));
  EXPECT_EQ(textsOf(x), "{1500000000..2000000000} {147483647..647483647}");
  const int c[] = {-3, -3};
  EXPECT_EQ(textOf(cs_ScalProd(x.data(), c, 2)), "{-2147483648..-647483645}"); // the highest sum is cut
  // Both ends of an operand at once: the new maximum is counted from the old minimum.
  EXPECT_TRUE(cs_LE(sumOfTwo(y, true), -8) && cs_GE(y[1], -7));
  EXPECT_EQ(textOf(y[0]), "{-2147483643..-1}");
  // Where posting narrows nothing, an operand is told its bound from another only by an event of that one.
  for (bool product : {false, true}) {
    Vars v = makeVars({"0..2147483647", "5..10"});
    sumOfTwo(v, product);
    EXPECT_TRUE(cs_GE(v[0], 1));
    EXPECT_EQ(textOf(v[0]), "{1..2147483647}");
    EXPECT_TRUE(cs_GE(v[1], 6));
    EXPECT_EQ(textOf(v[0]), "{1..2147483641}");
  }
}

TEST_F(Sums, NoSumIn32Bits)
{
  // The bound towards the range is cut to its low 32 bits; what has to do with that side fails.
  for (bool product : {false, true}) {
    Vars x = makeVars({"2000000000", "2000000000"}), y = makeVars({"-2000000000", "-2000000000"});
    CSint *above = sumOfTwo(x, product), *below = sumOfTwo(y, product);
    EXPECT_EQ(textsOf({above, below}), "{-294967296..2147483647} {-2147483648..294967296}");
    EXPECT_TRUE(cs_GE(above, 0) && cs_LE(below, 0));
    EXPECT_FALSE(cs_LE(above, 2147483646));
    EXPECT_FALSE(cs_GE(below, -2147483647));
    x[0] = makeVar("2000000000..2000000009"), y[0] = makeVar("-2000000009..-2000000000");
    sumOfTwo(x, product), sumOfTwo(y, product);
    // With coefficients each event of an operand looks at both sides.
    EXPECT_EQ(cs_LE(x[0], 2000000008), !product);
    EXPECT_FALSE(cs_GE(x[0], 2000000001));
    EXPECT_EQ(cs_GE(y[0], -2000000008), !product);
    EXPECT_FALSE(cs_LE(y[0], -2000000001));
  }
}

TEST_F(Sums, BeyondTheEndsOf64Bits)
{
  int reported = 0;
  cs_setErrHandler(
      CS_ERR_OVERFLOW, [](CSint*, void* extra) { ++*static_cast<int*>(extra); }, &reported);
  Vars x = makeVars({whole, whole, whole});
  auto post = [&](int a, int b, int c) {
    reported = 0;
    cs_initErr();
    const int coefficients[] = {a, b, c};
    CSint* z = cs_ScalProd(x.data(), coefficients, 3);
    EXPECT_EQ(cs_getErr(), reported ? CS_ERR_OVERFLOW : 0);
    return (z ? textOf(z) : "null") + " " + std::to_string(reported) + " " + std::to_string(nbAttached(x[0]));
  };
  EXPECT_EQ(post(INT_MIN, INT_MIN, 0), "null 1 0"); // 2^63 at the second term
  EXPECT_EQ(post(INT_MIN, 0, INT_MAX), "{-2147483648..2147483647} 0 1");
  // The lowest sum is -2^63, and goes by one more coefficient.
  EXPECT_EQ(post(INT_MAX, INT_MAX, 2), "{-2147483648..2147483647} 0 2");
  EXPECT_EQ(post(INT_MAX, INT_MAX, 3), "null 1 2");
  cs_initErr();
}

TEST_F(Sums, TheLargestRoomIsExact)
{
  Vars x = makeVars({whole, whole, whole, whole});
  const int c[] = {INT_MAX, INT_MAX, 2}, least = INT_MIN;
  CSint *z = cs_ScalProd(x.data(), c, 3), *one = cs_ScalProd(&x[3], &least, 1);
  // From -2^63 up to 5: more than any term spans, and more than 63 bits.
  EXPECT_TRUE(cs_LE(z, 5));
  EXPECT_EQ(textOf(x[0]), "{" + std::string(whole) + "}");
  EXPECT_TRUE(cs_EQ(x[0], 2147483647) && cs_EQ(x[2], 0));
  EXPECT_EQ(textsOf({x[1], z}), "{-2147483648, -2147483647} {-2147483647..0}");
  // A width times a coefficient that needs 63 bits.
  EXPECT_TRUE(cs_LE(one, 0));
  EXPECT_EQ(textOf(x[3]), "{0..2147483647}");
  EXPECT_TRUE(cs_GE(one, 0));
  EXPECT_EQ(textOf(x[3]), "0");
}

TEST_F(Sums, OperandsMayBecomeWiderThanAtPosting)
{
  Vars x = makeVars({whole, whole, whole});
  const int c[] = {INT_MAX, INT_MAX, INT_MAX};
  cs_saveContext();
  for (CSint* v : x)
    EXPECT_TRUE(cs_InInterval(v, 0, 3));
  cs_saveContext();
  CSint* z = cs_ScalProd(x.data(), c, 3);
  cs_acceptContext();
  cs_restoreContext();
  ASSERT_EQ(nbAttached(x[2]), 1);
  // The sums now wrap; what they leave is of no use, but an event gets through.
  cs_saveContext();
  cs_GE(x[0], -2147483647);
  cs_restoreContext();
  EXPECT_TRUE(cs_EQ(x[1], 0) && cs_EQ(x[2], 0) && cs_EQ(x[0], 1));
  EXPECT_EQ(textOf(z), "2147483647");
}
