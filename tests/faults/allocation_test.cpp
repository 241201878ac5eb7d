/*
 * Each allocation of each entry point fails once, with a no-memory handler that returns. Saving a context and
 * cs_backtrack need their memory: they stand in no row.
 */
#include "entries.h"
#include "faults.h"
#include "heapWatch.h"
#include "rcsPrivate.h"

#include <cstdlib>
#include <cstring>

using namespace kit;

/// With what `how` says beside the call.
static void expectNoFault(const std::vector<Entry>& calls, FaultRow how = {})
{
  for (const Entry& entry : calls) {
    how.name = entry.call;
    how.domains = entry.domains;
    how.run = [&](Vars& x) { return entry.post(x.data()); };
    EXPECT_EQ(faultOf(how), "");
  }
}

TEST(Faults, OfPostings)
{
  expectNoFault(allEntries());
  expectNoFault({
      ENTRY(cs_ReifLT(x[0], 0), "{1, 3..9}"), // constants
      ENTRY(cs_ReifEQ(x[0], 2), "{1, 3..9}"),
      ENTRY(cs_ScalProd(x, entries::coefficients, -1), "0..9"),
      ENTRY(cs_Min(x, 0)),
      ENTRY(cs_eventAllKnown(x, 1, entries::allKnown, nullptr), "3"),
      // What was attached before the memory ran out listens no more.
      ENTRY(cs_Cumulative(x, x + 1, x + 2, 1, x[3]) & cs_LE(x[0], 8), "0..9", "0..3", "1, 2", "1..3"),
  });
  // The result is the one argument, whatever comes of the info.
  expectNoFault({ENTRY(cs_VMul(1, x[0]), "0..9"), ENTRY(cs_VDiv(0, x[0]), "0..9")}, {.survives = true});
}

static bool createNamed()
{
  CSint* v = cs_createNamedCSint(0, 9, "name");
  return v && cs_getName(v);
}

static bool readDomain(CSint* v)
{
  int* values = cs_getDomain(v);
  bool right = values && values[3] == 5;
  cs_freeDomain(values);
  return right;
}

static bool holePrivateVariable()
{
  CSint v;
  _rcsIntInit(&v, 0, 9);
  int ok = _rcsRemoveValue(&v, 4);
  _rcsIntDestroy(&v);
  return ok;
}

// Leaves the text in the buffer; true when no error was reported meanwhile.
template <typename Write>
static bool writesInto(char* buffer, size_t size, Write write)
{
  FILE* stream = fmemopen(buffer, size, "w");
  cs_initErr();
  write(stream);
  fclose(stream);
  return cs_getErr() == 0;
}

static bool print()
{
  char text[64];
  return writesInto(text, sizeof text, [](FILE* stream) { cs_fprintf(stream, "%d and %d", 1, 2); });
}

TEST(Faults, OfVariables)
{
  static const int values[] = {3, -1, 7};
  expectNoFault({
      ENTRY(CSINT(3)),
      ENTRY(createNamed()),
      ENTRY(cs_createCSintArray(3, 0, 9)),
      ENTRY(cs_createCSintFromDomain(values, 3)),
      ENTRY(cs_setName(x[0], "name"), "1..3"),
      ENTRY(readDomain(x[0]), "{1, 3..5}"),
      ENTRY(holePrivateVariable()),
      ENTRY(print()),
  });
  expectNoFault({ENTRY(cs_setName(x[0], "a longer name"), "1..3")},
      {.prepare = [](Vars& x) { cs_setName(x[0], "x"); }, .undo = false}); // names aren't undone
}

TEST(Faults, OfNarrowing)
{
  static const int values[] = {2, 5, 7};
  expectNoFault({
      ENTRY(cs_GE(x[0], 5), "1..9"),
      ENTRY(cs_LE(x[0], 5), "1..9"),
      ENTRY(cs_EQ(x[0], 5), "1..9"),
      ENTRY(cs_NEQ(x[0], 7), "{1..3, 5..9}"),
      ENTRY(cs_InArray(x[0], values, 3), "{1..3, 5..9}"),
      ENTRY(rcsSaveCSint(x[0], NewMin, 1, 9), "1..9"),
  });
  // The record of the removal is on the trail, but there is no bit-set for a restore to turn the bit on in.
  expectNoFault({ENTRY(cs_NEQ(x[0], 5), "1..9")}, {.undo = false, .everywhere = false});
}

TEST(Faults, OfThousandsOfChangesInTheQueue)
{
  Entry entry = ENTRY(cs_EQ(x[0], 0));
  entry.domains.assign(1100, "0..2000");
  expectNoFault({entry}, {.prepare = [](Vars& x) { cs_AllNeq(x.data(), int(x.size())); }, .everywhere = false});
}

static NoGoodSet* noGoods;

// The data stays with a client that is given no set.
static bool createSet(CSint** x)
{
  noGoods = nullptr;
  noGoods = cs_createNoGoodSet(
      x, 2, nullptr, 0, [](NoGoodSet* set, void*) { EXPECT_EQ(set, noGoods); }, nullptr);
  return noGoods;
}

static bool searchMatrix(CSint** row)
{
  return cs_searchMatrix(
      &row, 1, 1, [](CSint*** m, int, int cols) { return firstFree(m[0], cols); },
      [](int, CSint** vars, int cols) { return firstFree(vars, cols); }, [](int, int, int) { return 0; });
}

static bool createSelector()
{
  ValueSelector* selector = cs_createValueSelector(rcsVSMinToMaxInit, rcsVSMinToMaxNext, nullptr);
  cs_freeValueSelector(selector);
  return selector;
}

static bool createNotify()
{
  SearchNotify* notify = cs_createSearchNotify(nullptr);
  cs_freeSearchNotify(notify);
  return notify;
}

static int valueItself(int, int value) { return value; }

static bool learn()
{
  static const int positions[] = {0, 1};
  static const ValueSelection decisions[] = {{CS_SELECT_EQ, 1}, {CS_SELECT_EQ, 2}};
  cs_addNoGood(noGoods, positions, decisions, 2);
  return cs_getNbNoGoods(noGoods) == 1;
}

// Three variables of two values, all different: no solution, within three starts.
static bool searchWithRestarts(CSint** x)
{
  ValueSelector* selectors[] = {&rcsVSMinToMax, &rcsVSMinToMax, &rcsVSMinToMax};
  int limit = 0;
  auto oneMore = [](void* l) { return ++*static_cast<int*>(l); };
  return !cs_searchValueSelectorRestartNG(x, selectors, 3, firstFree, oneMore, &limit, 0, noGoods, nullptr) &&
         limit == 3 && !rcsTmpOp;
}

TEST(Faults, OfSearches)
{
  expectNoFault({
      ENTRY(createSet(x), "1..3", "1..3"),
      ENTRY(createSelector()),
      ENTRY(createNotify()),
  });
  auto makeSet = [](Vars& x) { noGoods = cs_createNoGoodSet(x.data(), int(x.size()), nullptr, 0, nullptr, nullptr); };
  expectNoFault({ENTRY(learn(), "1..3", "1..3")}, {.prepare = makeSet});
  // Contexts and narrowing need their memory.
  expectNoFault(
      {
          ENTRY(cs_Vsearch(2, x[0], x[1], cs_findFreeVar), "1..3", "1..3"),
          ENTRY(cs_searchCriteria(x, 1, firstFree, valueItself), "1..3"),
          ENTRY(searchMatrix(x), "1..3"),
      },
      {.everywhere = false});
  // What can't be learnt is forgotten; the search goes on.
  auto prepare = [=](Vars& x) {
    makeSet(x);
    cs_Neq(x[0], x[1]), cs_Neq(x[1], x[2]), cs_Neq(x[0], x[2]);
  };
  expectNoFault({ENTRY(searchWithRestarts(x), "{3, 7}", "{3, 7}", "{3, 7}")},
      {.prepare = prepare, .survives = true, .everywhere = false});
}

static bool fillTable()
{
  static char keys[120];
  HashTable* table = rcsCreateHashTable(
      [](const void*) { return 0; }, [](const void* a, const void* b) { return int(a != b); }, sizeof(int));
  if (!table)
    return false;
  uint64_t set = 0;
  for (int i = 0; i < 120; i++) {
    uint64_t before = table->_count;
    rcsHashTableSet(table, keys + i, &i);
    int value = -1;
    int found = rcsHashTableGet(table, keys + i, &value);
    EXPECT_EQ(table->_count, before + uint64_t(found));
    EXPECT_EQ(value, found ? i : -1);
    set += uint64_t(found);
  }
  HashTableIterator* iterator = rcsHashTableGetIterator(table);
  rcsDeleteHashTableIterator(iterator);
  rcsDeleteHashTable(table);
  return set == 120 && iterator;
}

static bool setLocator()
{
  cs_initErr();
  cs_setProfilerLocator("another", cheapLocator, nullptr);
  return cs_getErr() == 0;
}

// Runs it as in a client's callback, as far as the attribution is concerned.
template <typename Call>
static bool inCallback(bool withoutInfo, Call call)
{
  ConstraintInfo* info = rcsCreateConstraintInfo("cs_eventNewMin", "here");
  if (!info)
    return withoutInfo && call();
  info->_refCount++;
  CurrentCI = info;
  bool ok = call();
  CurrentCI = nullptr;
  releaseInfo(info);
  return ok;
}

static bool createChild()
{
  return inCallback(false, []() {
    ConstraintInfo* child = getConstraintInfoByEvent("cs_EQ", "here");
    EXPECT_TRUE(!child || getConstraintInfoByEvent("cs_EQ", "here") == child);
    return child != nullptr;
  });
}

static bool report()
{
  Profiler* profiler = cs_createProfiler(CS_PROFILER_CONSTRAINTS);
  char text[300] = "";
  bool ok = profiler && writesInto(text, sizeof text, [=](FILE* stream) { cs_profilerWrite(profiler, stream); });
  EXPECT_EQ(strstr(text, "error\n") != nullptr, profiler && !ok);
  return ok;
}

static void profile(Vars&) { cs_enableProfiler(cs_createProfiler(CS_PROFILER_CONSTRAINTS)); }

TEST(Faults, OfTablesAndProfilers)
{
  expectNoFault({
      ENTRY(fillTable()),
      ENTRY(setLocator()),
      ENTRY(createChild()),
      ENTRY(report()),
  });
  // What isn't counted is no reason to fail.
  expectNoFault({ENTRY(inCallback(true, [x]() { return cs_EQ(x[0], 4) && x[0]->_max == 4; }), "1..9")},
      {.prepare = profile, .survives = true, .everywhere = false});
  auto prepare = [](Vars& x) {
    cs_Lt(x[0], x[1]), cs_Le(x[1], x[2]);
    profile(x);
  };
  expectNoFault(
      {ENTRY(cs_GE(x[0], 4), "1..9", "1..9", "1..9")}, {.prepare = prepare, .survives = true, .everywhere = false});
}

TEST(Faults, OfTheStartLoseTheHeapsMadeBefore)
{
  // Each of the four heaps takes two blocks; a start that fails at one of them loses those of the heaps before it.
  constexpr uint64_t ofHeaps = 8;
  bool done = false;
  for (uint64_t n = 1; !done; n++) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    size_t before = heap::live();
    heap::refuse(n);
    cs_init();
    done = !heap::refused();
    heap::refuse(0);
    EXPECT_EQ(cs_getErr(), done ? 0 : CS_ERR_NO_MEMORY);
    size_t lost = n <= ofHeaps ? (n - 1) / 2 * 2 : 0;
    if (n <= ofHeaps) {
      EXPECT_EQ(heap::live(), before + lost);
    }
    cs_end();
    EXPECT_EQ(heap::live(), before + lost);
    // From the first heap on again.
    cs_init();
    EXPECT_EQ(cs_getErr(), 0);
    EXPECT_NE(cs_createCSint(0, 9), nullptr);
    cs_end();
    EXPECT_EQ(heap::live(), before + lost);
    ASSERT_LT(n, 100u);
  }
  heap::freeLost();
}

TEST(FaultLoop, CatchesWrongOperations)
{
  auto isCaught = [](const char* name, std::function<bool(Vars&)> run, bool survives = false) {
    bool caught =
        !faultOf({.name = name, .domains = {"1..9", "1..9"}, .run = std::move(run), .survives = survives}).empty();
    heap::freeLost();
    return caught;
  };
  auto post = [](Vars& x) { return cs_Lt(x[0], x[1]); };
  EXPECT_FALSE(isCaught("right", post));
  EXPECT_TRUE(isCaught("doesn't survive", post, true));
  EXPECT_TRUE(isCaught("keeps a block", [](Vars&) { return malloc(8) || (rcsHandleNoMemoryError(), false); }));
  EXPECT_TRUE(isCaught("doesn't report", [](Vars&) {
    void* block = malloc(8);
    free(block);
    return block != nullptr;
  }));
  EXPECT_TRUE(isCaught("goes on", [](Vars& x) { return cs_setName(x[0], "x") || true; }));
  EXPECT_TRUE(isCaught("allocates nothing", [](Vars&) { return true; }));
}
