/*
 * Printing: the forms of a domain, the conversions, and what happens to doubled percent signs.
 */
#include "solver.h"

using namespace kit;

using Print = SolverTest;

template <typename... Args>
static std::string printed(const char* format, Args... args)
{
  char* text = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&text, &size);
  cs_fprintf(stream, format, args...);
  fclose(stream);
  std::string result(text, size);
  free(text);
  return result;
}

TEST_F(Print, FormsOfADomain)
{
  for (const char* text : {"-5", "{1, 2}", "{3..9}", "{1, 3}", "{1..3}", "{1, 2, 4..6}", "{1, 2, 4..7, 9}",
           "{-2, 0, 1, 3..5, 8}", "{1..3, 5..7}", "{2147483645..2147483647}"}) {
    CSint* v = makeVar(text);
    // Once as it was made, and once with a bit-set in any case.
    EXPECT_EQ(printed("%D", v), text);
    EXPECT_EQ(printed("%D", makeVar(valuesOf(v), 0)), text);
  }
  // A run that once reached the maximum is cut there.
  CSint* v = makeVar("{0..4, 6..9}");
  cs_LE(v, 4);
  EXPECT_EQ(printed("%D", v), "{0..4}");
  cs_LE(v, 1);
  EXPECT_EQ(printed("%D", v), "{0, 1}");
  // A bound that is off is written all the same.
  CSint* sum = cs_Add(makeVar("{2147483643, 2147483645, 2147483647}"), CSINT(1));
  EXPECT_EQ(printed("%D", sum), "{2147483644, 2147483646, 2147483647}");
}

TEST_F(Print, Conversions)
{
  CSint* x = cs_createNamedCSint(5, 5, "x");
  CSint* array[] = {x, cs_createCSint(0, 2), cs_createNamedCSint(1, 2, "z")};
  EXPECT_EQ(printed("[%A] %d", array, 3, 42), "[x: 5, {0..2}, z: {1, 2}] 42");
  EXPECT_EQ(printed("%A%A", array, 0, array, -1), "");
  EXPECT_EQ(printed("%T %5d|%-3d|%x %s %c", x, 42, 7, 255, "text", '!'), "x: 5    42|7  |ff text !");
  EXPECT_EQ(printed("%lld", 1LL << 40), "1099511627776");
  EXPECT_EQ(printed("no conversions"), "no conversions");
  EXPECT_EQ(printed("%D%D%d%D", x, x, 1, x), "5515");
  // Of two percent signs one is left behind a standard conversion only.
  EXPECT_EQ(printed("100%% %D", x), "100%% 5");
  EXPECT_EQ(printed("%D%% %%", x), "5%% %%");
  EXPECT_EQ(printed("%d%%", 7), "7%");
  EXPECT_EQ(printed("%%%d%% %D %%", 7, x), "%%7% 5 %%");
}

TEST_F(Print, ToTheStandardOutput)
{
  testing::internal::CaptureStdout();
  CSint* v = cs_createCSint(1, 3);
  cs_printf("v in %D, %d values\n", v, cs_getNbElements(v));
  EXPECT_EQ(rcsPrintDomain(v), 6);
  fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "v in {1..3}, 3 values\n{1..3}");
}
