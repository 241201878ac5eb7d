/*
 * One posting through each entry point that makes a constraint, for the tests that hold for all of them alike.
 */
#ifndef KIT_ENTRIES_H
#define KIT_ENTRIES_H

#include "solver.h"

namespace kit {

struct Entry
{
  const char* call;
  std::vector<std::string> domains; ///< of the variables x[0], x[1], ..., as text for makeVar
  bool (*post)(CSint** x);          ///< the caller's own frame, on a page of its own: an address in it tells it
};

template <typename Call>
[[gnu::noinline, gnu::aligned(4096)]] bool postingOf(CSint** x)
{
  return Call()(x);
}

template <typename Call>
Entry entryOf(const char* call, std::vector<std::string> domains, Call)
{
  return {call, std::move(domains), postingOf<Call>};
}

// Inlined by force, so that the call stands in postingOf itself, at every level of optimisation.
#define ENTRY(call, ...)                                                                                               \
  kit::entryOf(                                                                                                        \
      #call, {__VA_ARGS__}, [](CSint * *x) __attribute__((always_inline)) {                                            \
        static_cast<void>(x);                                                                                          \
        return bool(call);                                                                                             \
      })

namespace entries {

inline constexpr int coefficients[] = {1, -2, 0};
inline constexpr int values[] = {4, 1, 4, 9};

// Six states and three symbols; some states are out of reach, at the ends and inside.
inline constexpr int next[] = {4, 1, 2, 1, 4, 2, 2, 4, -1, 0, 3, 3, 4, 4, 2, 0, 0, 0}, finals[] = {4, 1};

inline int allKnown(CSint**, int, void*) { return 1; }
inline int known(int, int, CSint**, int, void*) { return 1; }
inline int change(CSint*, int, int, CSint**, int, void*) { return 1; }
inline void conflict(CSint*, int, const ValueSelection*, CSint**, int, void*) {}

} // namespace entries

inline std::vector<Entry> allEntries()
{
  using namespace entries;
  return {
      ENTRY(cs_Eq(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_Neq(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_Le(x[0], x[1]), "{1, 3..9}", "{1..6, 8}"),
      ENTRY(cs_Ge(x[0], x[1]), "{1, 3..9}", "{2..6, 9}"),
      ENTRY(cs_Lt(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_Gt(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_AllNeq(x, 3), "{1, 3..9}", "{1..6, 9}", "3"),
      ENTRY(cs_Add(x[0], x[1]), "0..9", "1..3"),
      ENTRY(cs_Add(x[0], x[1]), "3", "{1, 4, 5}"),
      ENTRY(cs_Sub(x[0], x[1]), "{1, 4, 5}", "3"),
      ENTRY(cs_VAdd(3, x[0], x[1], x[2]), "0..9", "{1, 4}", "7"),
      ENTRY(cs_VSub(3, x[0], x[1], x[2]), "0..9", "{1, 4}", "0..7"),
      ENTRY(cs_Sigma(x, 3), "0..9", "{1, 4}", "7"),
      ENTRY(cs_ScalProd(x, coefficients, 3), "0..9", "{1, 4}", "7"),
      ENTRY(cs_VScalProd(3, x[0], x[1], x[2], 1, -2, 0), "0..9", "{1, 4}", "0..7"),
      ENTRY(cs_Mul(x[0], x[1]), "0..9", "1..3"),
      ENTRY(cs_Div(x[0], x[1]), "0..9", "1..3"),
      ENTRY(cs_VMul(3, x[0], x[1], x[2]), "0..9", "1..3", "2..4"),
      ENTRY(cs_VDiv(3, x[0], x[1], x[2]), "0..9", "1..3", "2"),
      ENTRY(cs_Abs(x[0]), "{-3, 1, 5}"),
      ENTRY(cs_Min(x, 2), "0..9", "1..3"),
      ENTRY(cs_Max(x, 2), "0..9", "1..3"),
      ENTRY(cs_VMin(2, x[0], x[1]), "0..9", "1..3"),
      ENTRY(cs_VMax(2, x[0], x[1]), "0..9", "1..3"),
      ENTRY(cs_Element(x[0], values, 4), "0..9"),
      ENTRY(cs_Index(x, 3, 4), "0..9", "{1, 4}", "7"),
      ENTRY(cs_VarElement(x[0], x, 4), "1..3", "0..2", "{5, 8}", "7"),
      ENTRY(cs_VarElementRange(x[0], x, 4), "1..3", "0..2", "{5, 8}", "7"),
      ENTRY(cs_OccurDomain(4, x, 4), "0..9", "7", "{1, 4}", "2..5"),
      ENTRY(cs_OccurConstraints(x[0], 4, x + 1, 4), "0..9", "0..9", "7", "{1, 4}", "2..5"),
      ENTRY((cs_Occur(x[0], 4, x + 1, 4), nbAttached(x[4]) > 0), "0..3", "0..9", "7", "{1, 4}", "2..5"),
      ENTRY(cs_Regular(x, 3, next, 6, 3, 1, finals, 2), "0..2", "0..2", "1..4"),
      ENTRY(cs_Cumulative(x, x + 2, x + 4, 2, x[6]), "0..9", "2..5", "0..3", "4", "1, 2", "1", "1..3"),
      ENTRY(cs_Disjunctive(x, x + 2, 2), "0..9", "2..5", "0..3", "4"),
      ENTRY(cs_ReifEq(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_ReifNeq(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_ReifLt(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_ReifLe(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_ReifGt(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_ReifGe(x[0], x[1]), "{1, 3..9}", "{1..6, 9}"),
      ENTRY(cs_ReifEQ(x[0], 5), "{1, 3..9}"),
      ENTRY(cs_ReifNEQ(x[0], 5), "{1, 3..9}"),
      ENTRY(cs_ReifLT(x[0], 5), "{1, 3..9}"),
      ENTRY(cs_ReifLE(x[0], 5), "{1, 3..9}"),
      ENTRY(cs_ReifGT(x[0], 5), "{1, 3..9}"),
      ENTRY(cs_ReifGE(x[0], 5), "{1, 3..9}"),
      ENTRY(cs_IfEq(x[0], x[1], 4, 7), "{1, 3..9}", "1..9"),
      ENTRY(cs_IfNeq(x[0], x[1], 4, 7), "{1, 3..9}", "1..9"),
      // Those that return nothing are asked whether they have reached the last variable.
      ENTRY(cs_eventAllKnown(x, 2, allKnown, nullptr), "1..9", "2..4"),
      ENTRY(cs_eventKnown(x, 2, known, nullptr), "1..9", "2..4"),
      ENTRY((cs_eventNewMin(x, 2, change, nullptr), nbAttached(x[1]) == 1), "1..9", "2..4"),
      ENTRY((cs_eventNewMax(x, 2, change, nullptr), nbAttached(x[1]) == 1), "1..9", "2..4"),
      ENTRY((cs_eventNeq(x, 2, change, nullptr), nbAttached(x[1]) == 1), "1..9", "2..4"),
      ENTRY((cs_eventConflict(x, 2, conflict, nullptr), nbAttached(x[1]) == 1), "1..9", "2..4"),
      ENTRY(cs_createNoGoodSet(x, 2, nullptr, 0, nullptr, nullptr), "1..3", "1..3"),
  };
}

} // namespace kit

#endif
