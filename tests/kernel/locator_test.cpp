/*
 * The default locator names the caller of the entry point. It captures three stack frames, so this holds only as long
 * as whatever asks it stands in the entry point's own frame, at every level of optimisation.
 */
#include "solver.h"

#include <cstring>

using namespace kit;

#ifndef LOCATOR_SUITE
#define LOCATOR_SUITE Locator
#endif

class LOCATOR_SUITE : public SolverTest
{
protected:
  void SetUp() override
  {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's interceptor of backtrace adds a frame of its own";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    GTEST_SKIP() << "the sanitizer's interceptor of backtrace adds a frame of its own";
#endif
#endif
    SolverTest::SetUp();
    x = cs_createCSint(0, 9);
    y = cs_createCSint(0, 9);
    vars[0] = x;
    vars[1] = y;
  }

  void TearDown() override
  {
    if (!IsSkipped())
      SolverTest::TearDown();
  }

  CSint *x, *y, *vars[2];
};

/// The newest attachment's locator text ends in "[0x...]", an address inside the caller.
static uintptr_t addressIn(const CSint* v)
{
  const char* text = v->_constraints->_constraint->_info->_locator;
  const char* address = strrchr(text, '[');
  return address ? uintptr_t(strtoull(address + 1, nullptr, 16)) : 0;
}

/// A function that starts on a page of its own, so that an address in it is told by its page.
template <typename Call>
[[gnu::noinline, gnu::aligned(4096)]] static uintptr_t caller(const Call& call)
{
  call();
  return uintptr_t(&caller<Call>);
}

// Inlined by force, so that the posting stands in `caller` itself.
#define EXPECT_NAMED(posting)                                                                                          \
  do {                                                                                                                 \
    uintptr_t start = caller([&]() __attribute__((always_inline)) { EXPECT_TRUE(posting); });                          \
    EXPECT_EQ(addressIn(x) & ~uintptr_t(4095), start)                                                                  \
        << #posting << ": " << x->_constraints->_constraint->_info->_locator;                                          \
  } while (false)

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryRelation)
{
  EXPECT_NAMED(cs_Eq(x, y));
  EXPECT_NAMED(cs_Le(x, y));
  EXPECT_NAMED(cs_Ge(x, y));
  CSint* above = cs_createCSint(10, 20);
  EXPECT_NAMED(cs_Neq(x, above));
  EXPECT_NAMED(cs_Lt(x, above));
  EXPECT_NAMED(cs_Gt(x, CSINT(-1)));
  vars[1] = above;
  EXPECT_NAMED(cs_AllNeq(vars, 2));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryFunction)
{
  EXPECT_NAMED(cs_Mul(x, y));
  EXPECT_NAMED(cs_Div(x, y));
  EXPECT_NAMED(cs_VMul(2, x, y));
  EXPECT_NAMED(cs_VDiv(2, x, CSINT(3)));
  EXPECT_NAMED(cs_Abs(x));
  EXPECT_NAMED(cs_Min(vars, 2));
  EXPECT_NAMED(cs_Max(vars, 2));
  EXPECT_NAMED(cs_VMin(2, x, y));
  EXPECT_NAMED(cs_VMax(2, x, y));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEverySum)
{
  static const int coefficients[] = {2, -3};
  EXPECT_NAMED(cs_Add(x, y));
  EXPECT_NAMED(cs_Sub(x, y));
  EXPECT_NAMED(cs_VAdd(2, x, y));
  EXPECT_NAMED(cs_VSub(2, x, y));
  EXPECT_NAMED(cs_Sigma(vars, 2));
  EXPECT_NAMED(cs_ScalProd(vars, coefficients, 2));
  EXPECT_NAMED(cs_VScalProd(2, x, y, 2, -3));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryReifiedConstraint)
{
  EXPECT_NAMED(cs_ReifLt(x, y));
  EXPECT_NAMED(cs_ReifLe(x, y));
  EXPECT_NAMED(cs_ReifGt(x, y));
  EXPECT_NAMED(cs_ReifGe(x, y));
  EXPECT_NAMED(cs_ReifLT(x, 5));
  EXPECT_NAMED(cs_ReifLE(x, 5));
  EXPECT_NAMED(cs_ReifGT(x, 5));
  EXPECT_NAMED(cs_ReifGE(x, 5));
  EXPECT_NAMED(cs_ReifEq(x, y));
  EXPECT_NAMED(cs_ReifNeq(x, y));
  EXPECT_NAMED(cs_ReifEQ(x, 5));
  EXPECT_NAMED(cs_ReifNEQ(x, 5));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryConditional)
{
  EXPECT_NAMED(cs_IfEq(x, y, 1, 2));
  EXPECT_NAMED(cs_IfNeq(x, y, 1, 2));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryScheduling)
{
  CSint *one = CSINT(1), *ones[] = {one, one};
  EXPECT_NAMED(cs_Cumulative(vars, ones, ones, 2, cs_createCSint(1, 2)));
  EXPECT_NAMED(cs_Disjunctive(vars, ones, 2));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryWatcher)
{
  auto known = [](int, int, CSint**, int, void*) { return 1; };
  auto change = [](CSint*, int, int, CSint**, int, void*) { return 1; };
  auto conflict = [](CSint*, int, const ValueSelection*, CSint**, int, void*) {};
  EXPECT_NAMED(cs_eventAllKnown(
      vars, 2, [](CSint**, int, void*) { return 1; }, nullptr));
  EXPECT_NAMED(cs_eventKnown(vars, 2, known, nullptr));
  EXPECT_NAMED((cs_eventNewMin(vars, 2, change, nullptr), true));
  EXPECT_NAMED((cs_eventNewMax(vars, 2, change, nullptr), true));
  EXPECT_NAMED((cs_eventNeq(vars, 2, change, nullptr), true));
  EXPECT_NAMED((cs_eventConflict(vars, 2, conflict, nullptr), true));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryOccurrenceAndWord)
{
  static const int next[] = {0, 0}, finals[] = {0};
  EXPECT_NAMED(cs_OccurDomain(5, vars, 2));
  EXPECT_NAMED(cs_OccurConstraints(x, 4, &vars[1], 1));
  EXPECT_NAMED(!cs_Occur(x, 3, &vars[1], 1));
  EXPECT_NAMED(cs_Regular(vars, 2, next, 1, 2, 0, finals, 1));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfANoGoodSet)
{
  EXPECT_NAMED(cs_createNoGoodSet(vars, 2, nullptr, 0, nullptr, nullptr));
}

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryVariableElement)
{
  EXPECT_NAMED(cs_VarElement(x, vars, 2));
  EXPECT_NAMED(cs_VarElementRange(y, vars, 2));
}
