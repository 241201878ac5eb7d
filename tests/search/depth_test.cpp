/*
 * The stack that a search takes.
 */
#include "solver.h"

#include <cstdio>
#include <pthread.h>

using namespace kit;

// Whether frames are as small as in a release; a sanitizer pads every local variable.
#if !defined(__OPTIMIZE__) || defined(__SANITIZE_ADDRESS__)
static constexpr bool lean = false;
#elif defined(__has_feature)
static constexpr bool lean = !__has_feature(address_sanitizer);
#else
static constexpr bool lean = true;
#endif

static const char* frames[3]; // the selector's frame at the second, the third and the last level
static int level;

// Takes the variables in order, without looking at those behind.
[[gnu::always_inline]] static inline int next(int n)
{
  // Not at the first: a compiler may put that into the function that calls the driver.
  if (level > 0)
    frames[level < 3 ? level - 1 : 2] = static_cast<const char*>(__builtin_frame_address(0));
  return level < n ? level++ : -1;
}

static int nextIndex(CSint**, int n) { return next(n); }

static CSint* nextOne(CSint** variables, int n)
{
  int index = next(n);
  return index < 0 ? nullptr : variables[index];
}

struct Driver
{
  const char* name;
  int (*search)(CSint** variables, int n);
  bool undoes = false; // leaves no context
};

static constexpr int depth = 20000;
static constexpr Driver drivers[] = {
    {"cs_search", [](CSint** v, int n) { return cs_search(v, n, nextOne); }},
    {"cs_findAll", [](CSint** v, int n) { return cs_findAll(v, n, nextOne, [](CSint**, int) { cs_cancelSearch(); }); },
        true},
    {"cs_searchCriteria",
        [](CSint** v, int n) { return cs_searchCriteria(v, n, nextIndex, [](int, int) { return 0; }); }},
    {"cs_searchMatrix",
        [](CSint** v, int n) {
          return cs_searchMatrix(
              &v, 1, n, [](CSint***, int, int) { return level < depth ? 0 : nextIndex(nullptr, level); },
              [](int, CSint** row, int cols) { return nextIndex(row, cols); }, [](int, int, int) { return 0; });
        }},
    {"cs_searchValueSelectorFail",
        [](CSint** v, int n) {
          std::vector<ValueSelector*> selectors(size_t(n), cs_getValueSelector(CS_MIN_TO_MAX));
          return cs_searchValueSelectorFail(v, selectors.data(), n, nextIndex, 0, nullptr);
        }},
};

static void* searchDeep(void* argument)
{
  auto* driver = static_cast<const Driver*>(argument);
  Vars x;
  for (int i = 0; i < depth; i++)
    x.push_back(cs_createCSint(0, 1));
  level = 0;
  int label = cs_saveContext();
  EXPECT_TRUE(driver->search(x.data(), depth));
  EXPECT_EQ(level, depth);
  EXPECT_GE(cs_getNbChoicePoints(), depth);
  EXPECT_TRUE(driver->undoes || contextDepth() == label + depth);
  cs_restoreContextUntil(label);
  EXPECT_TRUE(cs_isFree(x[0]) && cs_isFree(x[depth - 1]));
  return nullptr;
}

using DeepSearch = SolverTest;

TEST_F(DeepSearch, TwentyThousandDecisionsFitIntoEightMegabytes)
{
  for (const Driver& driver : drivers) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t(lean ? 8 : 64) << 20);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, searchDeep, const_cast<Driver*>(&driver)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    auto bytes = frames[0] - frames[1];
    RecordProperty(driver.name, int(bytes));
    printf("%s: %d bytes of stack for each level\n", driver.name, int(bytes));
    // Under the address sanitizer a frame may lie elsewhere, and not all do.
    if (lean) {
      EXPECT_NEAR(double(frames[0] - frames[2]) / double(bytes), 19999, 1);
      EXPECT_LT(bytes, 200);
    }
  }
}
