/*
 * The default locator names the caller of the entry point. It captures three stack frames, so this holds only as long
 * as whatever asks it stands in the entry point's own frame, at every level of optimisation.
 */
#include "entries.h"

#include <cstring>

using namespace kit;

#ifndef LOCATOR_SUITE
#define LOCATOR_SUITE Locator
#endif

#ifdef __has_feature
#define HAS_FEATURE(name) __has_feature(name)
#else
#define HAS_FEATURE(name) 0
#endif

using LOCATOR_SUITE = SolverTest;

TEST_F(LOCATOR_SUITE, NamesTheCallerOfEveryEntryPoint)
{
#if defined(__SANITIZE_ADDRESS__) || HAS_FEATURE(address_sanitizer)
  GTEST_SKIP() << "the sanitizer's interceptor of backtrace adds a frame of its own";
#endif
  for (const Entry& entry : allEntries()) {
    Vars x = makeVars(entry.domains);
    ASSERT_TRUE(entry.post(x.data())) << entry.call;
    const Tconstraint* newest = x[x[0]->_constraints ? 0 : 1]->_constraints;
    ASSERT_NE(newest, nullptr) << entry.call;
    // The text ends in "[0x...]", an address inside the caller.
    const char *text = newest->_constraint->_info->_locator, *address = strrchr(text, '[');
    ASSERT_NE(address, nullptr) << entry.call << ": " << text;
    EXPECT_EQ(strtoull(address + 1, nullptr, 16) & ~4095ull, uintptr_t(entry.post)) << entry.call << ": " << text;
  }
}
