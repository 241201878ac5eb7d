/*
 * Absolute value.
 */
#include "bruteforce.h"
#include "spy.h"

using namespace kit;

static const auto rows = bruteForce("AbsTable", {
                                                    {.name = "Abs",
                                                        .vars = {{.values = {-9, 9}, .size = 12}},
                                                        .post = [](Trial& t) { return cs_Abs(t.x[0]); },
                                                        .value = [](auto& x, auto&) { return std::abs(int64_t(x[0])); },
                                                        .trials = 600},
                                                });

class Abs : public SolverTest
{
protected:
  static std::string image(const std::string& x)
  {
    CSint* z = cs_Abs(makeVar(x));
    return z ? textOf(z) : "null";
  }

  /// x after z = |x| was narrowed.
  static std::string back(const std::string& x, int (*narrow)(CSint*, int), int value)
  {
    CSint *v = makeVar(x), *z = cs_Abs(v);
    int result = narrow(z, value);
    return std::to_string(result) + " " + textOf(v);
  }

  /// z = |x| after x was narrowed.
  static std::string forth(const std::string& x, int (*narrow)(CSint*, int), int value)
  {
    CSint *v = makeVar(x), *z = cs_Abs(v);
    int result = narrow(v, value);
    return std::to_string(result) + " " + textOf(z);
  }
};

TEST_F(Abs, Images)
{
  EXPECT_EQ(image("{3..7}"), "{3..7}");
  EXPECT_EQ(image("{-7..-3}"), "{3..7}");
  EXPECT_EQ(image("{-3..2}"), "{0..3}");
  EXPECT_EQ(image("{-5, 3}"), "{3, 5}");
  EXPECT_EQ(image("{-2, -1, 1, 4}"), "{1, 2, 4}");
  EXPECT_EQ(image("{-4, -1, 1}"), "{1, 4}");
  EXPECT_EQ(image("{-9, -4, 6, 8}"), "{4, 6, 8, 9}");
  EXPECT_EQ(image("{-7, -3..0}"), "{0..3, 7}");
  EXPECT_EQ(image("-4"), "4");
  CSint* z = cs_Abs(makeVar("{-3..2}"));
  EXPECT_EQ(z->_domain, nullptr);
}

TEST_F(Abs, TheSmallestInteger)
{
  CSint *x = cs_createCSint(INT32_MIN, 5), *z = cs_Abs(x);
  EXPECT_EQ(z->_max, INT32_MAX);
  EXPECT_EQ(x->_min, -INT32_MAX);
  EXPECT_EQ(image("-2147483648"), "null");
  // Listed beside others it leaves the saturated bound, whose bit is off.
  int values[] = {INT32_MIN, 2147483640};
  CSint *listed = cs_createCSintFromDomain(values, 2), *w = cs_Abs(listed);
  EXPECT_EQ(textOf(listed), "2147483640");
  EXPECT_EQ(w->_max, INT32_MAX);
  EXPECT_FALSE(cs_isIn(w, INT32_MAX));
  EXPECT_EQ(w->_nbElements, 1);
}

TEST_F(Abs, BackToX)
{
  EXPECT_EQ(back("{-5..5}", cs_GE, 3), "1 {-5..-3, 3..5}");
  EXPECT_EQ(back("{-5..2}", cs_GE, 3), "1 {-5..-3}");
  EXPECT_EQ(back("{-2..5}", cs_GE, 3), "1 {3..5}");
  EXPECT_EQ(back("{-5..-1}", cs_GE, 3), "1 {-5..-3}");
  EXPECT_EQ(back("{1..5}", cs_GE, 3), "1 {3..5}");
  EXPECT_EQ(back("{-5..5}", cs_LE, 3), "1 {-3..3}");
  EXPECT_EQ(back("{-5..-1}", cs_LE, 3), "1 {-3..-1}");
  EXPECT_EQ(back("{1..5}", cs_LE, 3), "1 {1..3}");
  EXPECT_EQ(back("{-5..2}", cs_LE, 3), "1 {-3..2}");
  EXPECT_EQ(back("{-5..5}", cs_EQ, 4), "1 {-4, 4}");
  EXPECT_EQ(back("{-5..3, 5}", cs_EQ, 4), "1 -4");
  EXPECT_EQ(back("{-5, -3..5}", cs_EQ, 4), "1 4");
  EXPECT_EQ(back("{-5..5}", cs_EQ, 0), "1 0");
  EXPECT_EQ(back("{-5..5}", cs_NEQ, 2), "1 {-5..-3, -1..1, 3..5}");
}

TEST_F(Abs, ForthToZ)
{
  EXPECT_EQ(forth("{-5..5}", cs_LE, 3), "1 {0..5}");
  EXPECT_EQ(forth("{-5..5}", cs_GE, -3), "1 {0..5}");
  EXPECT_EQ(forth("{-5..5}", cs_GE, 2), "1 {2..5}");
  EXPECT_EQ(forth("{-5..5}", cs_LE, -2), "1 {2..5}");
  EXPECT_EQ(forth("{-5..3}", cs_GE, -2), "1 {0..3}");
  EXPECT_EQ(forth("{-5..5}", cs_EQ, -4), "1 4");
  EXPECT_EQ(forth("{-5..5}", cs_NEQ, 2), "1 {0..5}");
  EXPECT_EQ(forth("{-5..1, 3..5}", cs_NEQ, -2), "1 {0, 1, 3..5}");
  // Holes around zero that come later don't raise z's minimum.
  EXPECT_EQ(forth("{-5, -4, 0, 3..5}", cs_NEQ, 0), "1 {3..5}");
  CSint *x = makeVar("{-5, -1, 1, 5}"), *z = cs_Abs(x);
  EXPECT_TRUE(cs_LE(z, 4));
  EXPECT_EQ(textOf(x), "{-1, 1}");
}

TEST_F(Abs, ALaterRaiseRemovesOnlyWhatIsNew)
{
  CSint *x = makeVar("{-5..5}"), *z = cs_Abs(x);
  EXPECT_TRUE(cs_GE(z, 3));
  Spy spy;
  spy.watch(x, "x");
  EXPECT_TRUE(cs_GE(z, 4));
  EXPECT_EQ(spy.log(), "x Neq 3, x Neq -3");
}

TEST_F(Abs, AttachmentsAndTheMomentOfTheLocator)
{
  static CSint* seen;
  static int min;
  seen = cs_createCSint(INT32_MIN, 5);
  cs_setProfilerLocator(
      "",
      [](void*) -> const char* {
        min = seen->_min;
        return "here";
      },
      nullptr);
  CSint* z = cs_Abs(seen);
  // x is cut before the info is made.
  EXPECT_EQ(min, -INT32_MAX);
  const Tconstraint *onX = seen->_constraints, *onZ = z->_constraints;
  EXPECT_NE(onX->_constraint, onZ->_constraint);
  EXPECT_EQ(onX->_constraint->_info, onZ->_constraint->_info);
  EXPECT_EQ(onX->_constraint->_info->_refCount, 2u);
  EXPECT_STREQ(onX->_constraint->_info->_function, "cs_Abs");
  EXPECT_EQ(onX->_next, nullptr);
  EXPECT_EQ(nbAttached(cs_Abs(CSINT(-3))), 1);
}
