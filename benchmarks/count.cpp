/*
 * ku-count OPERATION TIMES: runs one operation so many times, for counting its instructions under callgrind. Only the
 * function `measured` is to be counted (--toggle-collect=measured), and two runs with different TIMES give the cost of
 * one operation; scripts/instructions.sh does that.
 */
#include "idle.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

/// Runs `step(1)`, `step(2)`, ... The one function that callgrind looks into.
extern "C" [[gnu::noinline]] void measured(void (*step)(int), int times)
{
  for (int i = 1; i <= times; i++)
    step(i);
}

static CSint *x, *y;

static void narrow(int listeners, bool holes, int times, bool interested = true)
{
  x = cs_createCSint(0, 10000000);
  if (holes)
    cs_NEQ(x, 9999999);
  attachIdle(x, listeners, interested);
  measured([](int i) { rcsSetMin(x, i); }, times);
}

static void remove(int times)
{
  x = cs_createCSint(0, 10000000);
  attachIdle(x, 1);
  cs_NEQ(x, 5);
  measured([](int i) { rcsRemoveValue(x, 10 + 2 * i); }, times);
}

static void context(int times)
{
  x = cs_createCSint(0, 9);
  attachIdle(x, 1);
  auto step = [](int) {
    cs_saveContext();
    cs_EQ(x, 4);
    cs_restoreContext();
  };
  measured(step, times);
}

static void post(int times)
{
  cs_setProfilerLocator("", cheapLocator, nullptr);
  x = cs_createCSint(0, 9);
  y = cs_createCSint(0, 9);
  auto step = [](int) {
    cs_saveContext();
    cs_Neq(x, y);
    cs_restoreContext();
  };
  measured(step, times);
}

/// Raises the minimum of one of a thousand operands of a sum, whose result follows them or is bounded above: then the
/// operands are gone over a second time. A handler runs for the operand and one for the result.
static void sum(bool withCoefficients, bool bounded, int times)
{
  constexpr int size = 1000;
  static CSint** operands;
  static int coefficients[size];
  operands = cs_createCSintArray(size, 0, 1000);
  for (int i = 0; i < size; i++)
    coefficients[i] = (i % 2 ? -1 : 1) * (1 + i % 7);
  x = withCoefficients ? cs_ScalProd(operands, coefficients, size) : cs_Sigma(operands, size);
  if (bounded)
    cs_LE(x, cs_getMax(x) / 2);
  auto step = [](int i) {
    cs_saveContext();
    rcsSetMin(operands[2 * i % size], 5);
    cs_restoreContext();
  };
  measured(step, times);
}

/// Raises the minimum of x, with a reified comparison or equality of x and y. A truth of -1 leaves it open.
static void reified(CSint* (*post)(CSint*, CSint*), int truth, int times)
{
  x = cs_createCSint(0, 10000000);
  y = cs_createCSint(0, 20000000);
  CSint* b = post(x, y);
  if (truth >= 0)
    cs_EQ(b, truth);
  measured([](int i) { rcsSetMin(x, i); }, times);
}

/// Removes values from x, of 10^5 less some holes, with its reified equality to y fixed to true.
static void reifiedWithHoles(int times)
{
  x = cs_createCSint(0, 100000);
  y = cs_createCSint(0, 100000);
  for (int value = 7; value < 100000; value += 7)
    cs_NEQ(x, value);
  cs_EQ(cs_ReifEq(x, y), 1);
  measured([](int i) { rcsRemoveValue(x, 7 * i + 1); }, times);
}

struct Operation
{
  const char* name;
  void (*run)(int times);
};

static const Operation operations[] = {
    {"narrow-0", [](int times) { narrow(0, false, times); }},
    {"narrow-1", [](int times) { narrow(1, false, times); }},
    {"narrow-8", [](int times) { narrow(8, false, times); }},
    {"narrow-8-uninterested", [](int times) { narrow(8, false, times, false); }},
    {"narrow-holes-1", [](int times) { narrow(1, true, times); }},
    {"remove-1", remove},
    {"save-fix-restore-1", context},
    {"post-neq", post},
    {"sigma-1000", [](int times) { sum(false, false, times); }},
    {"sigma-1000-bounded", [](int times) { sum(false, true, times); }},
    {"scalprod-1000", [](int times) { sum(true, false, times); }},
    {"scalprod-1000-bounded", [](int times) { sum(true, true, times); }},
    {"reif-lt-open", [](int times) { reified(cs_ReifLt, -1, times); }},
    {"reif-lt-true", [](int times) { reified(cs_ReifLt, 1, times); }},
    {"reif-eq-open", [](int times) { reified(cs_ReifEq, -1, times); }},
    {"reif-eq-true", [](int times) { reified(cs_ReifEq, 1, times); }},
    {"reif-eq-true-holes", reifiedWithHoles},
};

int main(int argc, char** argv)
{
  for (const Operation& operation : operations) {
    if (argc == 3 && strcmp(argv[1], operation.name) == 0) {
      cs_init();
      operation.run(atoi(argv[2]));
      cs_end();
      return 0;
    }
  }
  fputs("Usage: ku-count OPERATION TIMES, with OPERATION one of\n", stderr);
  for (const Operation& operation : operations)
    fprintf(stderr, "  %s\n", operation.name);
  return 2;
}
