/*
 * The stack that a search takes.
 */
#include "solver.h"

#include <cstdio>
#include <pthread.h>

using namespace kit;

#if defined(__SANITIZE_ADDRESS__)
[[maybe_unused]] static constexpr bool sanitized = true;
#elif defined(__has_feature)
[[maybe_unused]] static constexpr bool sanitized = __has_feature(address_sanitizer);
#else
[[maybe_unused]] static constexpr bool sanitized = false;
#endif

static const char* frames[3]; // the selector's frame at the first, the second and the last level
static int level;

// Takes the variables in order, without looking at those behind.
static CSint* nextOne(CSint** variables, int n)
{
  frames[level < 2 ? level : 2] = static_cast<const char*>(__builtin_frame_address(0));
  return level < n ? variables[level++] : nullptr;
}

static void cancel(CSint**, int) { cs_cancelSearch(); }

static void* searchDeep(void* all)
{
  constexpr int depth = 20000;
  Vars x;
  for (int i = 0; i < depth; i++)
    x.push_back(cs_createCSint(0, 1));
  level = 0;
  int label = cs_saveContext();
  int found = all ? cs_findAll(x.data(), depth, nextOne, cancel) : cs_search(x.data(), depth, nextOne);
  EXPECT_TRUE(found);
  EXPECT_EQ(level, depth);
  EXPECT_GE(cs_getNbChoicePoints(), depth);
  if (!all) {
    EXPECT_EQ(contextDepth(), label + depth);
  }
  cs_restoreContextUntil(label);
  EXPECT_TRUE(cs_isFree(x[0]) && cs_isFree(x[depth - 1]));
  return nullptr;
}

using DeepSearch = SolverTest;

TEST_F(DeepSearch, TwentyThousandDecisionsFitIntoEightMegabytes)
{
  for (bool all : {false, true}) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t(8) << 20);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, searchDeep, all ? &level : nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    auto bytes = frames[0] - frames[1];
    EXPECT_EQ((frames[0] - frames[2]) / bytes, 20000);
    RecordProperty(all ? "findAllBytesPerLevel" : "searchBytesPerLevel", int(bytes));
    printf("%s: %d bytes of stack for each level\n", all ? "cs_findAll" : "cs_search", int(bytes));
#ifdef __OPTIMIZE__
    if (!sanitized) {
      EXPECT_LT(bytes, 200);
    }
#endif
  }
}
