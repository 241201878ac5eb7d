/*
 * Each allocation of each entry point fails once, with a no-memory handler that returns.
 */
#include "faults.h"
#include "heapWatch.h"
#include "rcsPrivate.h"

#include <cstdlib>

using namespace kit;

// Saving a context and cs_backtrack need their memory, and so do the search drivers: they stand in no row.

static void nothing(void*, int) {}

// Leaves room for so many records in the last block of the trail, so that the next one takes a new block.
static void fillTrail(int room)
{
  for (int i = 0; i < 1024 - room; i++)
    cs_backtrack(nullptr, 0, nothing);
}

template <int room>
static void withTrail(Vars&)
{
  fillTrail(room);
}

// Leaves no room in the first block of variables.
static void fillVariables(Vars& x)
{
  for (int i = int(x.size()); i < 1024; i++)
    CSINT(i);
}

static const std::vector<FaultRow> variables = {
    {.name = "CSINT", .prepare = fillVariables, .run = [](Vars&) { return CSINT(3); }},
    {.name = "create", .prepare = fillVariables, .run = [](Vars&) { return cs_createCSint(0, 9); }},
    {.name = "createNamed",
        .prepare = fillVariables,
        .run =
            [](Vars&) {
              CSint* v = cs_createNamedCSint(0, 9, "name");
              return v && cs_getName(v);
            }},
    {.name = "createArray", .prepare = fillVariables, .run = [](Vars&) { return cs_createCSintArray(3, 0, 9); }},
    {.name = "createArrayAtTheEndOfTheTrail",
        .prepare = withTrail<0>,
        .run = [](Vars&) { return cs_createCSintArray(3, 0, 9); }},
    {.name = "createFromDomain",
        .prepare = fillVariables,
        .run =
            [](Vars&) {
              static const int values[] = {3, -1, 7};
              return cs_createCSintFromDomain(values, 3);
            }},
    {.name = "setName", .domains = {"1..3"}, .run = [](Vars& x) { return cs_setName(x[0], "name"); }},
    {.name = "setLongerName",
        .domains = {"1..3"},
        .prepare = [](Vars& x) { cs_setName(x[0], "x"); },
        .run = [](Vars& x) { return cs_setName(x[0], "a longer name"); },
        .undo = false}, // names aren't undone
    {.name = "getDomain",
        .domains = {"{1, 3..5}"},
        .run =
            [](Vars& x) {
              int* values = cs_getDomain(x[0]);
              bool right = values && values[3] == 5;
              cs_freeDomain(values);
              return right;
            }},
    {.name = "bitSet",
        .run =
            [](Vars&) {
              Domain* set = rcsCreateDomain(-3, 100);
              if (set)
                rcsDeleteDomain(set);
              return set;
            }},
    {.name = "bitSetOfPrivateVariable",
        .run =
            [](Vars&) {
              CSint v;
              _rcsIntInit(&v, 0, 9);
              int ok = _rcsRemoveValue(&v, 4);
              _rcsIntDestroy(&v);
              return ok;
            }},
    {.name = "print",
        .run =
            [](Vars&) {
              char buffer[64];
              FILE* stream = fmemopen(buffer, sizeof buffer, "w");
              cs_initErr();
              cs_fprintf(stream, "%d and %d", 1, 2);
              fclose(stream);
              return cs_getErr() == 0;
            }},
};

static const std::vector<FaultRow> narrowing = {
    // The record of the removal is on the trail, but there is no bit-set for a restore to turn the bit on in.
    {.name = "firstInnerHole", .domains = {"1..9"}, .run = [](Vars& x) { return cs_NEQ(x[0], 5); }, .undo = false},
    {.name = "minAtTheEndOfTheTrail",
        .domains = {"1..9"},
        .prepare = withTrail<0>,
        .run = [](Vars& x) { return cs_GE(x[0], 5); }},
    {.name = "maxAtTheEndOfTheTrail",
        .domains = {"1..9"},
        .prepare = withTrail<0>,
        .run = [](Vars& x) { return cs_LE(x[0], 5); }},
    {.name = "valueAtTheEndOfTheTrail",
        .domains = {"1..9"},
        .prepare = withTrail<0>,
        .run = [](Vars& x) { return cs_EQ(x[0], 5); }},
    {.name = "valueWithOneRecordLeft",
        .domains = {"1..9"},
        .prepare = withTrail<1>,
        .run = [](Vars& x) { return cs_EQ(x[0], 5); }},
    {.name = "recordByHandAtTheEndOfTheTrail",
        .domains = {"1..9"},
        .prepare = withTrail<0>,
        .run = [](Vars& x) { return rcsSaveCSint(x[0], NewMin, 1, 9); }},
    {.name = "removalAtTheEndOfTheTrail",
        .domains = {"{1..3, 5..9}"},
        .prepare = withTrail<0>,
        .run = [](Vars& x) { return cs_NEQ(x[0], 7); }},
    {.name = "InArrayAtTheEndOfTheTrail",
        .domains = {"{1..3, 5..9}"},
        .prepare = withTrail<1>,
        .run =
            [](Vars& x) {
              static const int values[] = {2, 5, 7};
              return cs_InArray(x[0], values, 3);
            }},
    {.name = "thousandsOfChangesInTheQueue",
        .domains = std::vector<std::string>(1100, "0..2000"),
        .prepare = [](Vars& x) { cs_AllNeq(x.data(), int(x.size())); },
        .run = [](Vars& x) { return cs_EQ(x[0], 0); }},
};

static FaultRow relation(const char* name, int (*post)(CSint*, CSint*))
{
  return {.name = name, .domains = {"{1, 3..9}", "{1..6, 9}"}, .run = [=](Vars& x) { return post(x[0], x[1]); }};
}

template <int room>
static FaultRow atTheEndOfTheTrail(const char* name, FaultRow row)
{
  row.name = name;
  row.prepare = withTrail<room>;
  return row;
}

static const FaultRow allNeq = {.name = "AllNeq", .domains = {"{1, 3..9}", "{1..6, 9}", "3"}, .run = [](Vars& x) {
                                  return cs_AllNeq(x.data(), 3);
                                }};

static const std::vector<FaultRow> relations = {
    relation("Eq", cs_Eq),
    relation("Neq", cs_Neq),
    relation("Le", cs_Le),
    relation("Ge", cs_Ge),
    relation("Lt", cs_Lt),
    relation("Gt", cs_Gt),
    allNeq,
    atTheEndOfTheTrail<0>("LtFirstAttachment", relation("", cs_Lt)),
    atTheEndOfTheTrail<1>("LtSecondAttachment", relation("", cs_Lt)),
    atTheEndOfTheTrail<2>("AllNeqThirdAttachment", allNeq),
};

// ---------------------------------------------------------------------------------------------------------------------
// Sums and differences
// ---------------------------------------------------------------------------------------------------------------------

static FaultRow addition(const char* name, CSint* (*post)(CSint*, CSint*), const char* x, const char* y)
{
  return {.name = name, .domains = {x, y}, .run = [=](Vars& v) { return post(v[0], v[1]); }};
}

static const std::vector<FaultRow> variadic = {
    {.name = "VAdd", .domains = {"0..9", "{1, 4}", "7"}, .run = [](Vars& x) { return cs_VAdd(3, x[0], x[1], x[2]); }},
    {.name = "VSub",
        .domains = {"0..9", "{1, 4}", "0..7"},
        .run = [](Vars& x) { return cs_VSub(3, x[0], x[1], x[2]); }},
    {.name = "VScalProd",
        .domains = {"0..9", "{1, 4}", "0..7"},
        .run = [](Vars& x) { return cs_VScalProd(3, x[0], x[1], x[2], 1, -2, 0); }},
};

static std::vector<FaultRow> sums()
{
  static int coefficients[] = {1, -2, 0};
  std::vector<FaultRow> rows = {
      addition("Add", cs_Add, "0..9", "1..3"),
      addition("AddWithHoles", cs_Add, "3", "{1, 4, 5}"),
      addition("SubWithHoles", cs_Sub, "{1, 4, 5}", "3"),
      {.name = "Sigma", .domains = {"0..9", "{1, 4}", "7"}, .run = [](Vars& x) { return cs_Sigma(x.data(), 3); }},
      {.name = "ScalProd",
          .domains = {"0..9", "{1, 4}", "7"},
          .run = [](Vars& x) { return cs_ScalProd(x.data(), coefficients, 3); }},
      {.name = "ScalProdOfNegativeLength",
          .domains = {"0..9"},
          .run = [](Vars& x) { return cs_ScalProd(x.data(), coefficients, -1); }},
  };
  rows.insert(rows.end(), variadic.begin(), variadic.end());
  // The array's own record on the trail, the result's attachment, those of the operands.
  rows.push_back(atTheEndOfTheTrail<0>("VSubFirstRecord", variadic[1]));
  rows.push_back(atTheEndOfTheTrail<1>("VSubSecondRecord", variadic[1]));
  rows.push_back(atTheEndOfTheTrail<4>("VSubFifthRecord", variadic[1]));
  rows.push_back(atTheEndOfTheTrail<1>("VScalProdSecondRecord", variadic[2]));
  rows.push_back(atTheEndOfTheTrail<2>("VScalProdThirdRecord", variadic[2]));
  rows.push_back(atTheEndOfTheTrail<3>("VScalProdFourthRecord", variadic[2]));
  FaultRow noVariable = addition("AddAtTheEndOfTheVariables", cs_Add, "0..9", "1..3");
  noVariable.prepare = fillVariables;
  rows.push_back(noVariable);
  return rows;
}

// ---------------------------------------------------------------------------------------------------------------------
// Products, extremes, absolute values, positions
// ---------------------------------------------------------------------------------------------------------------------

static const int entries[] = {4, 1, 4, 9};

// Some states are out of reach, at the ends and inside.
static int spell(Vars& x)
{
  static const int next[] = {4, 1, 2, 1, 4, 2, 2, 4, -1, 0, 3, 3, 4, 4, 2, 0, 0, 0}, finals[] = {4, 1};
  return cs_Regular(x.data(), int(x.size()), next, 6, 3, 1, finals, 2);
}

static const auto functions = faults("FunctionFaults",
    {
        {.name = "Mul", .domains = {"0..9", "1..3"}, .run = [](Vars& x) { return cs_Mul(x[0], x[1]); }},
        {.name = "Div", .domains = {"0..9", "1..3"}, .run = [](Vars& x) { return cs_Div(x[0], x[1]); }},
        {.name = "VMul",
            .domains = {"0..9", "1..3", "2..4"},
            .run = [](Vars& x) { return cs_VMul(3, x[0], x[1], x[2]); }},
        {.name = "Min", .domains = {"0..9", "1..3"}, .run = [](Vars& x) { return cs_Min(x.data(), 2); }},
        {.name = "Max", .domains = {"0..9", "1..3"}, .run = [](Vars& x) { return cs_Max(x.data(), 2); }},
        {.name = "MinOfNone", .run = [](Vars&) { return cs_Min(nullptr, 0); }},
        {.name = "VMin", .domains = {"0..9", "1..3"}, .run = [](Vars& x) { return cs_VMin(2, x[0], x[1]); }},
        {.name = "VMax", .domains = {"0..9", "1..3"}, .run = [](Vars& x) { return cs_VMax(2, x[0], x[1]); }},
        {.name = "Abs", .domains = {"{-3, 1, 5}"}, .run = [](Vars& x) { return cs_Abs(x[0]); }},
        {.name = "Element", .domains = {"0..9"}, .run = [](Vars& x) { return cs_Element(x[0], entries, 4); }},
        {.name = "Index", .domains = {"0..9", "{1, 4}", "7"}, .run = [](Vars& x) { return cs_Index(x.data(), 3, 4); }},
        {.name = "IndexWithoutRoomForTheResult",
            .domains = {"0..9", "{1, 4}", "7"},
            .prepare = fillVariables,
            .run = [](Vars& x) { return cs_Index(x.data(), 3, 4); }},
        {.name = "VarElementRangeWithoutRoomForTheResult",
            .domains = {"0..1", "0..9", "{1, 4}"},
            .prepare = fillVariables,
            .run = [](Vars& x) { return cs_VarElementRange(x[0], x.data() + 1, 2); }},
        {.name = "OccurConstraints",
            .domains = {"0..9", "0..9", "7", "{1, 4}", "2..5"},
            .run = [](Vars& x) { return cs_OccurConstraints(x[0], 4, &x[1], 4); }},
        {.name = "Occur",
            .domains = {"0..9", "0..9", "7", "{1, 4}", "2..5"},
            .run =
                [](Vars& x) {
                  cs_Occur(x[0], 4, &x[1], 4);
                  return nbAttached(x[4]) > 0;
                }},
        {.name = "OccurDomain",
            .domains = {"0..9", "7", "{1, 4}", "2..5"},
            .prepare = fillVariables,
            .run = [](Vars& x) { return cs_OccurDomain(4, x.data(), 4); }},
        {.name = "OccurAtTheEndOfTheTrail",
            .domains = {"0..4", "0..9", "2..5"},
            .prepare = withTrail<1>,
            .run = [](Vars& x) { return cs_OccurConstraints(x[0], 4, &x[1], 2); }},
        {.name = "Regular", .domains = {"0..2", "0..2", "1..4"}, .run = [](Vars& x) { return spell(x); }},
        {.name = "RegularAtTheEndOfTheTrail",
            .domains = {"0..2", "0..2", "1..2"},
            .prepare = withTrail<1>,
            .run = [](Vars& x) { return spell(x); }},
        {.name = "RegularStatesAtTheEndOfTheTrail",
            .domains = {"0..2", "0..2", "1..2"},
            .prepare = withTrail<4>,
            .run = [](Vars& x) { return spell(x); }},
        {.name = "VarElement",
            .domains = {"1..3", "0..2", "{5, 8}", "7"},
            .prepare = fillVariables,
            .run = [](Vars& x) { return cs_VarElement(x[0], x.data(), 4); }},
        {.name = "VarElementRange",
            .domains = {"1..3", "0..2", "{5, 8}", "7"},
            .run = [](Vars& x) { return cs_VarElementRange(x[0], x.data(), 4); }},
    });

// The first two variables are starts, then come two durations, two requirements and the limit.
static FaultRow cumulative(const char* name)
{
  return {.name = name, .domains = {"0..9", "2..5", "0..3", "4", "1, 2", "1", "1..3"}, .run = [](Vars& x) {
            int ok = cs_Cumulative(&x[0], &x[2], &x[4], 2, x[6]);
            // What was attached before the memory ran out listens no more.
            return cs_LE(x[0], 8) && ok;
          }};
}

static FaultRow disjunctive(const char* name)
{
  return {.name = name, .domains = {"0..9", "2..5", "0..3", "4"}, .run = [](Vars& x) {
            return cs_Disjunctive(&x[0], &x[2], 2);
          }};
}

// At the end of the trail: the first attachments of the start, the duration and the requirement, one of the second
// task, and that of the limit.
static const auto scheduling =
    faults("SchedulingFaults", {cumulative("Cumulative"), atTheEndOfTheTrail<1>("CumulativeFirstStart", cumulative("")),
                                   atTheEndOfTheTrail<2>("CumulativeFirstDuration", cumulative("")),
                                   atTheEndOfTheTrail<3>("CumulativeFirstRequirement", cumulative("")),
                                   atTheEndOfTheTrail<5>("CumulativeSecondDuration", cumulative("")),
                                   atTheEndOfTheTrail<7>("CumulativeLimit", cumulative("")), disjunctive("Disjunctive"),
                                   atTheEndOfTheTrail<0>("DisjunctiveHolder", disjunctive("")),
                                   atTheEndOfTheTrail<7>("DisjunctiveLimit", disjunctive(""))});

// ---------------------------------------------------------------------------------------------------------------------
// Reified constraints and conditionals
// ---------------------------------------------------------------------------------------------------------------------

// With the boolean behind a full block of variables.
static FaultRow reified(const char* name, std::function<CSint*(CSint*, CSint*)> post)
{
  return {.name = name, .domains = {"{1, 3..9}", "{1..6, 9}"}, .prepare = fillVariables, .run = [=](Vars& x) {
            return post(x[0], x[1]);
          }};
}

static FaultRow reifiedValue(const char* name, CSint* (*post)(CSint*, int), int c = 5)
{
  return reified(name, [=](CSint* x, CSint*) { return post(x, c); });
}

static FaultRow tie(const char* name, int (*post)(CSint*, CSint*, int, int))
{
  return {.name = name, .domains = {"{1, 3..9}", "3"}, .run = [=](Vars& x) { return post(x[0], x[1], 4, 7); }};
}

static const std::vector<FaultRow> reifications = {
    reified("Lt", cs_ReifLt),
    reified("Le", cs_ReifLe),
    reified("Gt", cs_ReifGt),
    reified("Ge", cs_ReifGe),
    reified("Eq", cs_ReifEq),
    reified("Neq", cs_ReifNeq),
    reifiedValue("LT", cs_ReifLT),
    reifiedValue("LE", cs_ReifLE),
    reifiedValue("GT", cs_ReifGT),
    reifiedValue("GE", cs_ReifGE),
    reifiedValue("EQ", cs_ReifEQ),
    reifiedValue("NEQ", cs_ReifNEQ),
    reifiedValue("ConstantOfAComparison", cs_ReifLT, 0),
    reifiedValue("ConstantOfAnEquality", cs_ReifEQ, 2),
    atTheEndOfTheTrail<0>("LtAttachmentOfTheBoolean", reified("", cs_ReifLt)),
    atTheEndOfTheTrail<1>("LtFirstVariable", reified("", cs_ReifLt)),
    atTheEndOfTheTrail<2>("LtSecondVariable", reified("", cs_ReifLt)),
    tie("IfEq", cs_IfEq),
    tie("IfNeq", cs_IfNeq),
    atTheEndOfTheTrail<0>("IfEqFirstAttachment", tie("", cs_IfEq)),
    atTheEndOfTheTrail<1>("IfEqSecondAttachment", tie("", cs_IfEq)),
};

// The answer of those that return nothing is whether they reached the last variable.
template <typename Post>
static FaultRow watcher(const char* name, Post post)
{
  return {.name = name, .domains = {"1..9", "2..4"}, .run = [=](Vars& x) {
            post(x.data());
            return nbAttached(x[1]) == 1;
          }};
}

static std::vector<FaultRow> watchers()
{
  auto known = [](CSint** x) {
    cs_eventKnown(
        x, 2, [](int, int, CSint**, int, void*) { return 1; }, nullptr);
  };
  auto newMin = [](CSint** x) {
    cs_eventNewMin(
        x, 2, [](CSint*, int, int, CSint**, int, void*) { return 1; }, nullptr);
  };
  return {
      watcher("AllKnown",
          [](CSint** x) {
            cs_eventAllKnown(
                x, 2, [](CSint**, int, void*) { return 1; }, nullptr);
          }),
      {.name = "AllKnownAlready",
          .domains = {"3"},
          .run =
              [](Vars& x) {
                return cs_eventAllKnown(
                    x.data(), 1, [](CSint**, int, void*) { return 1; }, nullptr);
              }},
      watcher("Known", known),
      watcher("NewMin", newMin),
      watcher("Conflict",
          [](CSint** x) {
            auto ignore = [](CSint*, int, const ValueSelection*, CSint**, int, void*) {};
            cs_eventConflict(x, 2, ignore, nullptr);
          }),
      atTheEndOfTheTrail<0>("KnownFirstAttachment", watcher("", known)),
      atTheEndOfTheTrail<1>("NewMinSecondAttachment", watcher("", newMin)),
  };
}

static NoGoodSet* noGoods;

// The data stays with a client that is given no set.
static bool createSet(Vars& x)
{
  noGoods = nullptr;
  noGoods = cs_createNoGoodSet(
      x.data(), 2, nullptr, 0, [](NoGoodSet* set, void*) { EXPECT_EQ(set, noGoods); }, nullptr);
  return noGoods;
}

static const std::vector<FaultRow> searching = {
    {.name = "Vsearch",
        .domains = {"1..3", "1..3"},
        .run = [](Vars& x) { return cs_Vsearch(2, x[0], x[1], cs_findFreeVar); }},
    {.name = "searchCriteria",
        .domains = {"1..3"},
        .run = [](Vars& x) { return cs_searchCriteria(x.data(), 1, firstFree, [](int, int value) { return value; }); }},
    {.name = "searchMatrix",
        .domains = {"1..3"},
        .run =
            [](Vars& x) {
              CSint** row = x.data();
              return cs_searchMatrix(
                  &row, 1, 1, [](CSint*** m, int, int cols) { return firstFree(m[0], cols); },
                  [](int, CSint** vars, int cols) { return firstFree(vars, cols); }, [](int, int, int) { return 0; });
            }},
    {.name = "createValueSelector",
        .run =
            [](Vars&) {
              ValueSelector* selector = cs_createValueSelector(rcsVSMinToMaxInit, rcsVSMinToMaxNext, nullptr);
              cs_freeValueSelector(selector);
              return selector;
            }},
    {.name = "createSearchNotify",
        .run =
            [](Vars& x) {
              SearchNotify* notify = cs_createSearchNotify(&x);
              cs_freeSearchNotify(notify);
              return notify;
            }},
    {.name = "createNoGoodSet", .domains = {"1..3", "1..3"}, .run = createSet},
    atTheEndOfTheTrail<1>(
        "createNoGoodSetAtTheEndOfTheTrail", {.name = "", .domains = {"1..3", "1..3"}, .run = createSet}),
    {.name = "addNoGood",
        .domains = {"1..3", "1..3"},
        .prepare = [](Vars& x) { noGoods = cs_createNoGoodSet(x.data(), 2, nullptr, 0, nullptr, nullptr); },
        .run =
            [](Vars&) {
              static const int positions[] = {0, 1};
              static const ValueSelection decisions[] = {{CS_SELECT_EQ, 1}, {CS_SELECT_EQ, 2}};
              cs_addNoGood(noGoods, positions, decisions, 2);
              return cs_getNbNoGoods(noGoods) == 1;
            }},
    // What can't be learnt is forgotten; the search goes on.
    {.name = "restarts",
        .domains = {"{3, 7}", "{3, 7}", "{3, 7}"},
        .prepare =
            [](Vars& x) {
              noGoods = cs_createNoGoodSet(x.data(), 3, nullptr, 0, nullptr, nullptr);
              cs_Neq(x[0], x[1]), cs_Neq(x[1], x[2]), cs_Neq(x[0], x[2]);
            },
        .run =
            [](Vars& x) {
              ValueSelector* selectors[] = {&rcsVSMinToMax, &rcsVSMinToMax, &rcsVSMinToMax};
              int limit = 0;
              auto oneMore = [](void* l) { return ++*static_cast<int*>(l); };
              return !cs_searchValueSelectorRestartNG(
                         x.data(), selectors, 3, firstFree, oneMore, &limit, 0, noGoods, nullptr) &&
                     limit == 3 && !rcsTmpOp;
            },
        .survives = true},
};

// ---------------------------------------------------------------------------------------------------------------------
// Hash tables, attribution, profilers
// ---------------------------------------------------------------------------------------------------------------------

static int sameBucket(const void*) { return 0; }
static int compare(const void* a, const void* b) { return a != b; }

static bool fillTable(Vars&)
{
  static char keys[120];
  HashTable* table = rcsCreateHashTable(sameBucket, compare, sizeof(int));
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

// A client's callback, as far as the attribution is concerned.
static ConstraintInfo* enterCallback()
{
  ConstraintInfo* info = rcsCreateConstraintInfo("cs_eventNewMin", "here");
  if (info) {
    info->_refCount++;
    CurrentCI = info;
  }
  return info;
}

static void leaveCallback(ConstraintInfo* info)
{
  CurrentCI = nullptr;
  releaseInfo(info);
}

static const std::vector<FaultRow> profiling = {
    {.name = "hashTable", .run = fillTable},
    {.name = "info",
        .run =
            [](Vars&) {
              ConstraintInfo* info = rcsCreateConstraintInfo("cs_Lt", "here");
              if (info)
                info->_refCount++, releaseInfo(info);
              return info;
            }},
    {.name = "setLocator",
        .run =
            [](Vars&) {
              cs_initErr();
              cs_setProfilerLocator("another", cheapLocator, nullptr);
              return cs_getErr() == 0;
            }},
    {.name = "childInfo",
        .run =
            [](Vars&) {
              ConstraintInfo* parent = enterCallback();
              if (!parent)
                return false;
              ConstraintInfo* child = getConstraintInfoByEvent("cs_EQ", "here");
              EXPECT_TRUE(!child || getConstraintInfoByEvent("cs_EQ", "here") == child);
              leaveCallback(parent);
              return child != nullptr;
            }},
    {.name = "attributedCall",
        .domains = {"1..9"},
        .prepare = [](Vars&) { cs_enableProfiler(cs_createProfiler(CS_PROFILER_CONSTRAINTS)); },
        .run =
            [](Vars& x) {
              ConstraintInfo* parent = enterCallback();
              bool ok = cs_EQ(x[0], 4) && cs_isInstantiated(x[0]);
              if (parent)
                leaveCallback(parent);
              return ok;
            },
        .survives = true},
    {.name = "report",
        .run =
            [](Vars&) {
              Profiler* profiler = cs_createProfiler(CS_PROFILER_CONSTRAINTS);
              if (!profiler)
                return false;
              char text[300] = "";
              FILE* stream = fmemopen(text, sizeof text, "w");
              cs_initErr();
              cs_profilerWrite(profiler, stream);
              fclose(stream);
              EXPECT_EQ(strstr(text, "error\n") != nullptr, cs_getErr() != 0);
              return cs_getErr() == 0;
            }},
    {.name = "createProfiler", .run = [](Vars&) { return cs_createProfiler(CS_PROFILER_CONSTRAINTS); }},
    {.name = "countedCalls",
        .domains = {"1..9", "1..9", "1..9"},
        .prepare =
            [](Vars& x) {
              cs_Lt(x[0], x[1]);
              cs_Le(x[1], x[2]);
              cs_enableProfiler(cs_createProfiler(CS_PROFILER_CONSTRAINTS));
            },
        .run = [](Vars& x) { return cs_GE(x[0], 4); },
        .survives = true},
};

static const int rows = faults("VariableFaults", variables) + faults("NarrowingFaults", narrowing) +
                        faults("RelationFaults", relations) + faults("SumFaults", sums()) +
                        faults("ReifiedFaults", reifications) + faults("SearchFaults", searching) +
                        faults("ProfilerFaults", profiling) + faults("WatcherFaults", watchers());

// ---------------------------------------------------------------------------------------------------------------------
// The start
// ---------------------------------------------------------------------------------------------------------------------

TEST(StartFaults, LoseTheHeapsMadeBefore)
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

// ---------------------------------------------------------------------------------------------------------------------
// The loop itself
// ---------------------------------------------------------------------------------------------------------------------

TEST(FaultLoop, CatchesWrongOperations)
{
  auto fault = [](const FaultRow& row) {
    std::string text = faultOf(row, true);
    heap::freeLost();
    return text;
  };
  auto post = [](Vars& x) { return bool(cs_Lt(x[0], x[1])); };
  EXPECT_EQ(fault({.name = "", .domains = {"1..9", "1..9"}, .run = post}), "");
  EXPECT_NE(fault({.name = "", .domains = {"1..9", "1..9"}, .run = post, .survives = true}), "");
  EXPECT_NE(
      fault({.name = "keeps a block", .run = [](Vars&) { return malloc(8) || (rcsHandleNoMemoryError(), false); }}),
      "");
  EXPECT_NE(fault({.name = "doesn't report",
                .run =
                    [](Vars&) {
                      void* block = malloc(8);
                      bool got = block;
                      free(block);
                      return got;
                    }}),
      "");
  EXPECT_NE(
      fault({.name = "goes on", .domains = {"1..9"}, .run = [=](Vars& x) { return cs_setName(x[0], "x") || true; }}),
      "");
  EXPECT_NE(
      fault({.name = "allocates nothing", .domains = {"1..9"}, .run = [](Vars& x) { return cs_GE(x[0], 2); }}), "");
}
