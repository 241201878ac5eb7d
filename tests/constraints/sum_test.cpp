/*
 * cs_Sigma, cs_ScalProd and cs_VScalProd: against brute force and the plain rule for bounds, then what that doesn't
 * see.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

// ---------------------------------------------------------------------------------------------------------------------
// Brute force
// ---------------------------------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------------------------------
// Results and what is attached
// ---------------------------------------------------------------------------------------------------------------------

class Sums : public SolverTest
{
protected:
  static int located;
  static const char* locate(void*)
  {
    located++;
    return "here";
  }

  void SetUp() override
  {
    SolverTest::SetUp();
    cs_setProfilerLocator("", locate, nullptr);
    located = 0;
  }

  static Vars make(const std::vector<std::string>& domains)
  {
    Vars vars;
    for (const std::string& domain : domains)
      vars.push_back(makeVar(domain));
    return vars;
  }

  static std::string texts(const Vars& vars)
  {
    std::string text;
    for (const CSint* v : vars)
      text += (text.empty() ? "" : " ") + textOf(v);
    return text;
  }
};

int Sums::located;

TEST_F(Sums, OfNoneOrOne)
{
  Vars x = make({"0..9"});
  EXPECT_EQ(textOf(cs_Sigma(nullptr, 0)), "0");
  EXPECT_EQ(textOf(cs_Sigma(nullptr, -3)), "0");
  EXPECT_EQ(cs_Sigma(x.data(), 1), x[0]);
  EXPECT_EQ(nbAttached(x[0]), 0);
  EXPECT_EQ(located, 3);

  int three[] = {3};
  EXPECT_EQ(textOf(cs_ScalProd(nullptr, nullptr, 0)), "0");
  EXPECT_EQ(textOf(cs_VScalProd(0, x[0])), "0");
  EXPECT_EQ(located, 3);
  CSint* z = cs_ScalProd(x.data(), three, 1);
  EXPECT_EQ(textOf(z), "{0..27}");
  EXPECT_TRUE(cs_GE(z, 7));
  EXPECT_EQ(textOf(x[0]), "{3..9}");
  EXPECT_EQ(textOf(z), "{9..27}");

  // A negative number of operands makes a constraint on the constant result alone.
  CSint* constant = cs_ScalProd(x.data(), three, -2);
  EXPECT_EQ(textOf(constant), "0");
  ASSERT_EQ(nbAttached(constant), 1);
  EXPECT_EQ(nbAttached(x[0]), 1);
  EXPECT_EQ(constant->_constraints->_constraint->_info->_refCount, 1u);
}

TEST_F(Sums, TwoConstraintsShareAnInfo)
{
  Vars x = make({"0..9", "5", "-3..4"});
  int c[] = {2, 0, -1};
  auto expectTwo = [&](CSint* z, const char* name) {
    Constraint *onResult = z->_constraints->_constraint, *onOperands = x[0]->_constraints->_constraint;
    EXPECT_EQ(onResult->_refCount, 1);
    EXPECT_EQ(z->_constraints->_index, -1);
    EXPECT_EQ(onOperands->_refCount, 3);
    for (int i = 0; i < 3; i++) {
      EXPECT_EQ(x[size_t(i)]->_constraints->_constraint, onOperands);
      EXPECT_EQ(x[size_t(i)]->_constraints->_index, i);
    }
    EXPECT_EQ(onResult->_info, onOperands->_info);
    EXPECT_EQ(onResult->_info->_refCount, 2u);
    EXPECT_STREQ(onResult->_info->_function, name);
    EXPECT_STREQ(onResult->_info->_locator, "here");
  };
  cs_saveContext();
  expectTwo(cs_Sigma(x.data(), 3), "cs_Sigma");
  expectTwo(cs_ScalProd(x.data(), c, 3), "cs_ScalProd");
  expectTwo(cs_VScalProd(3, x[0], x[1], x[2], 2, 0, -1), "cs_VScalProd");
  EXPECT_EQ(nbAttached(x[1]), 3);
  cs_restoreContext();
  EXPECT_EQ(nbAttached(x[1]), 0);
  // Constants are no shortcut.
  Vars fixed = make({"3", "4"});
  CSint* seven = cs_Sigma(fixed.data(), 2);
  EXPECT_EQ(textOf(seven), "7");
  EXPECT_EQ(nbAttached(seven) + nbAttached(fixed[0]), 2);
}

TEST_F(Sums, ArraysOfTheCallerAreReadAsTheyStand)
{
  Vars x = make({"0..9", "0..9"}), y = x;
  int c[] = {1, 1};
  CSint *sum = cs_Sigma(x.data(), 2), *product = cs_ScalProd(y.data(), c, 2);
  CSint* other = makeVar("0..9");
  x[1] = y[1] = other;
  c[0] = 3;
  EXPECT_TRUE(cs_LE(sum, 8));
  EXPECT_EQ(textOf(other), "{0..8}");
  EXPECT_TRUE(cs_LE(product, 6));
  EXPECT_EQ(textOf(other), "{0..6}");
  EXPECT_EQ(textOf(x[0]), "{0..2}");
}

TEST_F(Sums, VariadicFormOutlivesAnAcceptedContext)
{
  Vars x = make({"0..9", "0..9", "0..9"});
  cs_saveContext();
  CSint* z = cs_VScalProd(3, x[0], x[1], x[2], 1, -2, 3);
  cs_acceptContext();
  // The arrays on the trail are gone; their memory goes to these.
  for (int i = 0; i < 10; i++)
    cs_createCSintArray(i % 4, 7, 7);
  EXPECT_TRUE(cs_GE(z, 30));
  EXPECT_EQ(texts(x), "{3..9} {0..3} {7..9}");
  EXPECT_TRUE(cs_EQ(x[2], 8));
  EXPECT_EQ(texts(x), "{6..9} {0, 1} 8");
}

// ---------------------------------------------------------------------------------------------------------------------
// Propagation
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(Sums, ExactRoundingWithSigns)
{
  Vars x = make({"0..10", "0..10"});
  int c[] = {2, -3};
  CSint* z = cs_ScalProd(x.data(), c, 2);
  EXPECT_EQ(textOf(z), "{-30..20}");
  EXPECT_TRUE(cs_GE(z, 19));
  EXPECT_EQ(texts(x), "10 0");
  EXPECT_EQ(textOf(z), "20");
}

TEST_F(Sums, OrderOfTheSteps)
{
  Vars x = make({"0..9", "0..9", "0..9"});
  Spy spy;
  auto watch = [&](CSint* z) { spy.watch(x[0], "x").watch(x[1], "y").watch(x[2], "u").watch(z, "z"); };
  auto log = [&](int ok) {
    std::string text = std::to_string(ok) + " " + spy.log();
    spy.clear();
    return text;
  };
  int label = cs_saveContext();
  CSint* z = cs_Sigma(x.data(), 3);
  EXPECT_TRUE(cs_LE(z, 9));
  watch(z);
  // The result first, then the operands in their order without the one that woke the constraint.
  EXPECT_EQ(log(cs_GE(x[1], 3)), "1 y NewMin 0->3, z NewMin 0->3, x NewMax 9->6, u NewMax 9->6");
  EXPECT_EQ(log(cs_LE(x[0], 2)), "1 x NewMax 6->2");
  EXPECT_EQ(log(cs_GE(z, 8)), "1 z NewMin 3->8");
  EXPECT_EQ(log(cs_LE(x[2], 1)), "1 u NewMax 6->1, y NewMin 3->5");
  EXPECT_EQ(log(cs_LE(z, 8)), "1 z NewMaxEq 9->8, y NewMax 9->8");
  EXPECT_EQ(log(cs_EQ(x[1], 6)), "1 y Eq 5..8->6, x NewMin 0->1");
  cs_restoreContextUntil(label);

  int c[] = {1, -1, 2};
  z = cs_ScalProd(x.data(), c, 3);
  EXPECT_TRUE(cs_LE(z, 9));
  EXPECT_TRUE(cs_GE(z, 0));
  watch(z);
  EXPECT_EQ(log(cs_LE(x[1], 1)), "1 y NewMax 9->1, u NewMax 9->5");
  EXPECT_EQ(log(cs_GE(x[2], 3)), "1 u NewMin 0->3, z NewMin 0->5, x NewMax 9->4");
  EXPECT_EQ(log(cs_GE(z, 9)), "1 z NewMinEq 5->9");
  EXPECT_EQ(log(cs_LE(x[2], 3)), "1 u NewMaxEq 5->3, x NewMin 0->3");
}

TEST_F(Sums, OrderOfTheStepsForValuesBetweenTheBounds)
{
  Vars x = make({"0..9", "0..2"});
  Spy spy;
  auto log = [&](int ok) {
    std::string text = std::to_string(ok) + " " + spy.log();
    spy.clear();
    return text;
  };
  int one[] = {1, 1};
  for (bool product : {false, true}) {
    auto post = [&] { return product ? cs_ScalProd(x.data(), one, 2) : cs_Sigma(x.data(), 2); };
    int label = cs_saveContext();
    CSint* z = post();
    spy.watch(x[0], "x").watch(x[1], "y").watch(z, "z");
    EXPECT_EQ(log(cs_EQ(z, 5)), "1 z Eq 0..11->5, x NewMin 0->3, x NewMax 9->5");
    cs_restoreContextUntil(label);
    label = cs_saveContext();
    z = post();
    spy.watch(x[0], "x").watch(x[1], "y").watch(z, "z");
    EXPECT_EQ(log(cs_EQ(x[0], 4)), "1 x Eq 0..9->4, z NewMin 0->4, z NewMax 11->6");
    cs_restoreContextUntil(label);
  }
}

TEST_F(Sums, TheRoomIsThatFromBeforeTheResultIsNarrowed)
{
  // The result's maximum lands behind a hole, far below the highest sum. That reaches the other operand only with the
  // result's own event, after w; or in the second round that a value between the bounds gets at once.
  Vars x = make({"0..9", "0..2"});
  int one[] = {1, 1};
  CSint *z = cs_ScalProd(x.data(), one, 2), *w = makeVar("0..11");
  EXPECT_TRUE(cs_NotInInterval(z, 4, 10));
  EXPECT_TRUE(cs_Ge(z, w));
  EXPECT_TRUE(cs_GE(z, 1));
  Spy spy;
  spy.watch(x[0], "x").watch(x[1], "y").watch(z, "z").watch(w, "w");
  cs_saveContext();
  EXPECT_TRUE(cs_LE(x[1], 1));
  EXPECT_EQ(spy.log(), "y NewMax 2->1, z NewMax 11->3, w NewMax 11->3, x NewMax 9->3");
  cs_restoreContext();
  spy.clear();
  EXPECT_TRUE(cs_EQ(x[1], 1));
  EXPECT_EQ(spy.log(), "y Eq 0..2->1, z NewMax 11->3, x NewMax 9->2, w NewMax 11->3");
}

// ---------------------------------------------------------------------------------------------------------------------
// The ends of 32 and of 64 bits
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(Sums, BeyondTheEndsOf32Bits)
{
  // The result saturates; the excess is known all the same.
  Vars x = make({"0..2000000000", "0..2000000000"});
  CSint* z = cs_Sigma(x.data(), 2);
  EXPECT_EQ(textOf(z), "{0..2147483647}");
  EXPECT_TRUE(cs_GE(x[0], 1500000000));
  EXPECT_EQ(texts(x), "{1500000000..2000000000} {0..647483647}");
  EXPECT_TRUE(cs_GE(z, 2147483647));
  EXPECT_EQ(texts(x), "{1500000000..2000000000} {147483647..647483647}");
  int c[] = {-3, -3};
  CSint* product = cs_ScalProd(x.data(), c, 2);
  EXPECT_EQ(textOf(product), "{-2147483648..-647483645}"); // the highest sum is cut
}

TEST_F(Sums, NoSumIn32Bits)
{
  // The bound towards the range is cut to its low 32 bits; what has to do with that side fails.
  Vars x = make({"2000000000", "2000000000"}), y = make({"-2000000000", "-2000000000"});
  int one[] = {1, 1};
  for (bool product : {false, true}) {
    auto post = [&](Vars& v) { return product ? cs_ScalProd(v.data(), one, 2) : cs_Sigma(v.data(), 2); };
    CSint *above = post(x), *below = post(y);
    EXPECT_EQ(textOf(above), "{-294967296..2147483647}");
    EXPECT_EQ(textOf(below), "{-2147483648..294967296}");
    EXPECT_TRUE(cs_GE(above, 0));
    EXPECT_FALSE(cs_LE(above, 2147483646));
    EXPECT_TRUE(cs_LE(below, 0));
    EXPECT_FALSE(cs_GE(below, -2147483647));
    Vars v = make({"2000000000..2000000009", "2000000000"}), w = make({"-2000000009..-2000000000", "-2000000000"});
    above = post(v), below = post(w);
    // With coefficients each event of an operand looks at both sides.
    EXPECT_EQ(cs_LE(v[0], 2000000008), !product);
    EXPECT_FALSE(cs_GE(v[0], 2000000001));
    EXPECT_EQ(cs_GE(w[0], -2000000008), !product);
    EXPECT_FALSE(cs_LE(w[0], -2000000001));
  }
}

TEST_F(Sums, AnOperandIsSparedByItsOwnEvent)
{
  // The result saturates, and posting narrows nothing: so x can be told its bound from y only by an event of y.
  int one[] = {1, 1};
  for (bool product : {false, true}) {
    Vars x = make({"0..2147483647", "5..10"});
    CSint* z = product ? cs_ScalProd(x.data(), one, 2) : cs_Sigma(x.data(), 2);
    EXPECT_TRUE(cs_GE(x[0], 1));
    EXPECT_EQ(texts({z, x[0]}), "{6..2147483647} {1..2147483647}");
    EXPECT_TRUE(cs_GE(x[1], 6));
    EXPECT_EQ(texts({z, x[0]}), "{7..2147483647} {1..2147483641}");
  }
}

TEST_F(Sums, BothEndsOfAnOperandAtOnce)
{
  Vars x = make({"-2147483648..10", "-10..-5"});
  int one[] = {1, 1};
  CSint* z = cs_ScalProd(x.data(), one, 2);
  EXPECT_TRUE(cs_LE(z, -8));
  EXPECT_EQ(textOf(x[0]), "{-2147483648..2}");
  // The new maximum is counted from the old minimum.
  EXPECT_TRUE(cs_GE(x[1], -7));
  EXPECT_EQ(textOf(x[0]), "{-2147483643..-1}");
}

TEST_F(Sums, BeyondTheEndsOf64Bits)
{
  static int reported;
  reported = 0;
  cs_setErrHandler(
      CS_ERR_OVERFLOW, [](CSint*, void*) { reported++; }, nullptr);
  const std::string whole = "-2147483648..2147483647";
  Vars x = make({whole, whole, whole});
  auto post = [&](int a, int b, int c) {
    reported = 0;
    cs_initErr();
    int coefficients[] = {a, b, c};
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
  const std::string whole = "-2147483648..2147483647";
  Vars x = make({whole, whole, whole});
  int c[] = {INT_MAX, INT_MAX, 2};
  CSint* z = cs_ScalProd(x.data(), c, 3);
  // From -2^63 up to 5: more than any term spans, and more than 63 bits.
  EXPECT_TRUE(cs_LE(z, 5));
  EXPECT_EQ(texts(x), "{" + whole + "} {" + whole + "} {" + whole + "}");
  EXPECT_TRUE(cs_EQ(x[0], 2147483647));
  EXPECT_TRUE(cs_EQ(x[2], 0));
  EXPECT_EQ(textOf(x[1]), "{-2147483648, -2147483647}");
  EXPECT_EQ(textOf(z), "{-2147483647..0}");
  EXPECT_TRUE(cs_GE(z, -2147483646));
  EXPECT_EQ(textOf(x[1]), "-2147483647");
  EXPECT_EQ(textOf(z), "0");
}

TEST_F(Sums, WidthTimesCoefficientNeeds63Bits)
{
  const std::string whole = "-2147483648..2147483647";
  Vars x = make({whole});
  int c[] = {INT_MIN};
  CSint* z = cs_ScalProd(x.data(), c, 1);
  EXPECT_TRUE(cs_LE(z, 0));
  EXPECT_EQ(textOf(x[0]), "{0..2147483647}");
  EXPECT_TRUE(cs_GE(z, 0));
  EXPECT_EQ(textOf(x[0]), "0");
}

TEST_F(Sums, OperandsMayBecomeWiderThanAtPosting)
{
  const std::string whole = "-2147483648..2147483647";
  Vars x = make({whole, whole, whole});
  int c[] = {INT_MAX, INT_MAX, INT_MAX};
  cs_saveContext();
  for (CSint* v : x)
    EXPECT_TRUE(cs_InInterval(v, 0, 3));
  cs_saveContext();
  CSint* z = cs_ScalProd(x.data(), c, 3);
  cs_acceptContext();
  cs_restoreContext();
  EXPECT_EQ(textOf(x[2]), "{" + whole + "}");
  ASSERT_EQ(nbAttached(x[2]), 1);
  // The sums now wrap; what they leave is of no use, but an event gets through.
  cs_saveContext();
  cs_GE(x[0], -2147483647);
  cs_restoreContext();
  EXPECT_TRUE(cs_EQ(x[1], 0) && cs_EQ(x[2], 0) && cs_EQ(x[0], 1));
  EXPECT_EQ(textOf(z), "2147483647");
}
