/*
 * Propagation as slow and plain as possible: domains are sets of integers, a rule narrows the sets of one constraint
 * once, and the closure runs all rules until nothing changes. The random call sequences and the brute-force tables
 * compare the solver with it.
 */
#ifndef KIT_NAIVE_H
#define KIT_NAIVE_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace kit {

using Set = std::set<int>;
using Sets = std::vector<Set*>; ///< one for each argument; the same set where a variable is given twice

/// Narrows the sets, none of which is empty, in one pass; false when that leaves one empty or there is no solution.
using Rule = std::function<bool(const Sets& x, const std::vector<int>& p)>;

/// Is the tuple a solution?
using Test = std::function<bool(const std::vector<int>& x, const std::vector<int>& p)>;

/// What the result is for these arguments, if there is a solution with them.
using Value = std::function<std::optional<int64_t>(const std::vector<int>& x, const std::vector<int>& p)>;

namespace naive {

inline int low(const Set* s) { return *s->begin(); }
inline int high(const Set* s) { return *s->rbegin(); }
inline bool fixed(const Set* s) { return s->size() == 1; }

inline bool atLeast(Set* s, int64_t bound)
{
  std::erase_if(*s, [=](int x) { return x < bound; });
  return !s->empty();
}

inline bool atMost(Set* s, int64_t bound)
{
  std::erase_if(*s, [=](int x) { return x > bound; });
  return !s->empty();
}

inline bool remove(Set* s, int value)
{
  s->erase(value);
  return !s->empty();
}

inline bool neq(const Sets& x, const std::vector<int>&)
{
  return x[0] != x[1] && (!fixed(x[0]) || remove(x[1], low(x[0]))) && (!fixed(x[1]) || remove(x[0], low(x[1])));
}

inline bool eq(const Sets& x, const std::vector<int>&)
{
  std::erase_if(*x[0], [&](int value) { return !x[1]->count(value); });
  *x[1] = *x[0];
  return !x[0]->empty();
}

inline bool le(const Sets& x, const std::vector<int>&) { return atLeast(x[1], low(x[0])) && atMost(x[0], high(x[1])); }

inline bool lt(const Sets& x, const std::vector<int>&)
{
  return x[0] != x[1] && atLeast(x[1], int64_t(low(x[0])) + 1) && atMost(x[0], int64_t(high(x[1])) - 1);
}

inline bool forwardDifferent(const Sets& x, const std::vector<int>&)
{
  for (const Set* a : x)
    for (Set* b : x)
      if (a != b && fixed(a) && !remove(b, low(a)))
        return false;
  return true;
}

/// c0 x0 + ... = z, the last variable, by bounds; a coefficient that `c` doesn't have is 1. Each place counts by
/// itself.
inline bool linear(const Sets& x, const std::vector<int>& c)
{
  auto coefficient = [&](size_t i) { return i + 1 == x.size() ? -1 : i < c.size() ? c[i] : 1; };
  for (size_t i = 0; i < x.size(); i++) {
    int64_t lowest = 0, highest = 0;
    for (size_t j = 0; j < x.size(); j++) {
      int64_t a = int64_t(coefficient(j)) * low(x[j]), b = int64_t(coefficient(j)) * high(x[j]);
      lowest += j == i ? 0 : std::min(a, b);
      highest += j == i ? 0 : std::max(a, b);
    }
    std::erase_if(*x[i], [&](int value) {
      int64_t term = int64_t(coefficient(i)) * value;
      return term < -highest || -lowest < term;
    });
    if (x[i]->empty())
      return false;
  }
  return true;
}

/// Calls `visit` for each tuple of the sets; the tuple holds a value for each argument.
inline void eachTuple(const Sets& x, const std::function<void(const std::vector<int>&)>& visit)
{
  std::vector<int> tuple(x.size());
  std::function<void(size_t)> choose = [&](size_t i) {
    if (i == x.size())
      return visit(tuple);
    for (size_t k = 0; k < i; k++)
      if (x[k] == x[i]) {
        tuple[i] = tuple[k];
        return choose(i + 1);
      }
    for (int value : *x[i]) {
      tuple[i] = value;
      choose(i + 1);
    }
  };
  choose(0);
}

/// The strongest rule of a predicate: only what stands in a solution is kept. No sound constraint removes more.
inline Rule strongest(Test holds)
{
  return [holds](const Sets& x, const std::vector<int>& p) {
    std::vector<Set> kept(x.size());
    eachTuple(x, [&](const std::vector<int>& tuple) {
      if (holds(tuple, p))
        for (size_t i = 0; i < x.size(); i++)
          kept[i].insert(tuple[i]);
    });
    for (size_t i = 0; i < x.size(); i++)
      *x[i] = kept[i];
    return !kept.empty() && !kept[0].empty();
  };
}

/// The same for a result that is a function of the arguments and stands behind them.
inline Rule strongest(Value value)
{
  return [value](const Sets& x, const std::vector<int>& p) {
    Sets arguments(x.begin(), x.end() - 1);
    std::vector<Set> kept(x.size());
    eachTuple(arguments, [&](const std::vector<int>& tuple) {
      auto result = value(tuple, p);
      if (!result || *result != int(*result) || !x.back()->count(int(*result)))
        return;
      for (size_t i = 0; i < tuple.size(); i++)
        kept[i].insert(tuple[i]);
      kept.back().insert(int(*result));
    });
    for (size_t i = 0; i < x.size(); i++)
      *x[i] = kept[i];
    return !kept.back().empty();
  };
}

/// The least that may be asked of it: the result is fixed when the arguments are.
inline Rule weakest(Value value)
{
  return [value](const Sets& x, const std::vector<int>& p) {
    std::vector<int> tuple;
    for (size_t i = 0; i + 1 < x.size(); i++) {
      if (!fixed(x[i]))
        return true;
      tuple.push_back(low(x[i]));
    }
    auto result = value(tuple, p);
    std::erase_if(*x.back(), [&](int each) { return !result || each != *result; });
    return !x.back()->empty();
  };
}

/// The weakest rule: looks only when everything is instantiated.
inline Rule weakest(Test holds)
{
  return [holds](const Sets& x, const std::vector<int>& p) {
    std::vector<int> tuple;
    for (const Set* s : x) {
      if (!fixed(s))
        return true;
      tuple.push_back(low(s));
    }
    return holds(tuple, p);
  };
}

/// The rule of a reified constraint, whose boolean stands last. Once that is fixed the rule of its side holds; until
/// then it loses a side whose rule finds no solution.
inline Rule reified(Rule whenTrue, Rule whenFalse)
{
  return [=](const Sets& x, const std::vector<int>& p) {
    Set* b = x.back();
    Sets compared(x.begin(), x.end() - 1);
    if (fixed(b))
      return (low(b) ? whenTrue : whenFalse)(compared, p);
    for (bool side : {false, true}) {
      std::vector<Set> copies;
      for (const Set* s : compared)
        copies.push_back(*s);
      Sets tried;
      for (Set& s : copies)
        tried.push_back(&s);
      if (!(side ? whenTrue : whenFalse)(tried, p))
        b->erase(side);
    }
    return !b->empty();
  };
}

/// x0 = p0 if and only if x1 = p1, as far as instantiation shows it.
inline bool ifEq(const Sets& x, const std::vector<int>& p)
{
  return (*x[0] != Set{p[0]} || (atLeast(x[1], p[1]) && atMost(x[1], p[1]))) &&
         (*x[1] != Set{p[1]} || (atLeast(x[0], p[0]) && atMost(x[0], p[0])));
}

/// Not both x0 = p0 and x1 = p1.
inline bool ifNeq(const Sets& x, const std::vector<int>& p)
{
  return (*x[0] != Set{p[0]} || remove(x[1], p[1])) && (*x[1] != Set{p[1]} || remove(x[0], p[0]));
}

/// The rule with its two arguments exchanged.
inline Rule swapped(Rule rule)
{
  return [=](const Sets& x, const std::vector<int>& p) { return rule({x[1], x[0]}, p); };
}

} // namespace naive

/// A rule with what it is applied to.
struct Posting
{
  const Rule* rule;
  Sets x;
  const std::vector<int>* p;
};

/// Runs the rules until nothing changes; false when one has no solution or a set is empty.
inline bool closure(const std::vector<Posting>& postings)
{
  size_t before = SIZE_MAX;
  for (;;) {
    size_t size = 0;
    for (const Posting& posting : postings)
      for (const Set* s : posting.x) {
        if (s->empty())
          return false;
        size += s->size();
      }
    if (size == before)
      return true;
    before = size;
    for (const Posting& posting : postings)
      if (!(*posting.rule)(posting.x, *posting.p))
        return false;
  }
}

} // namespace kit

#endif
