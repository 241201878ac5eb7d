/*
 * No-goods as text, and a set held against what its lists must be.
 */
#ifndef TESTS_NOGOODS_H
#define TESTS_NOGOODS_H

#include "solver.h"

#include <set>

namespace kit {

inline constexpr const char* signs[] = {"=", "!", "<=", "<", ">=", ">"}; ///< of the methods

inline std::string textOf(const ValueSelection& s) { return signs[s.method] + std::to_string(s.value); }

/// "[0=1 2>3]": positions, methods and values.
inline std::string textOf(const NoGood* noGood)
{
  std::string text;
  int position = 0;
  ValueSelection s;
  for (int i = 0; cs_getNoGoodElementAt(&position, &s, noGood, i), position >= 0; i++)
    text += (i ? " " : "[") + std::to_string(position) + textOf(s);
  return text + "]";
}

/// What is wrong with the list and the watches of a set; empty when all is well.
inline std::string flawsOf(const NoGoodSet* set)
{
  std::set<const NoGood*> listed;
  const NoGood* before = nullptr;
  for (const NoGood* e = set->_first; e; before = e, e = e->_next) {
    bool placed = e->_p1 < e->_nbElements && e->_p2 < e->_nbElements && (e->_p1 == e->_p2) == (e->_nbElements == 1);
    if (!listed.insert(e).second || e->_prev != before || e->_set != set || !placed)
      return "list at " + textOf(e);
  }
  if (set->_last != before || set->_walking != 0 || set->_nbNoGoods > set->_maxNbNoGoods ||
      listed.size() != size_t(cs_getNbNoGoods(set)))
    return "ends or counters";
  size_t nbWatches = 0;
  for (int i = 0; i < set->_nbVars; i++) {
    const NoGoodWatch* previous = nullptr;
    for (const NoGoodWatch* w = set->_watches[i]; w; previous = w, w = w->_next) {
      if (!listed.count(w->_owner) || w->_prev != previous || ++nbWatches > 2 * listed.size())
        return "watches of " + std::to_string(i);
      int p = w == &w->_owner->_w1 ? w->_owner->_p1 : w == &w->_owner->_w2 ? w->_owner->_p2 : -1;
      if (p < 0 || w->_owner->_elements[p].index != i)
        return "a watch of " + std::to_string(i) + " by " + textOf(w->_owner);
    }
  }
  return nbWatches == 2 * listed.size() ? "" : "lost watches";
}

/// From the front of the list.
inline std::string textOf(const NoGoodSet* set)
{
  EXPECT_EQ(flawsOf(set), "");
  std::string text;
  for (const NoGood* e = set->_first; e; e = e->_next)
    text += textOf(e);
  return text;
}

/// Do all the decisions hold for these values of the set's variables?
inline bool forbids(const NoGood* noGood, const Values& values)
{
  for (int i = 0; i < noGood->_nbElements; i++) {
    const NoGoodElement& e = noGood->_elements[i];
    const int value = values[size_t(e.index)];
    const bool below = e.value > value, equal = e.value == value, above = value > e.value;
    const bool holds[] = {equal, !equal, !above, below, !below, above};
    if (!holds[e.method])
      return false;
  }
  return true;
}

} // namespace kit

#endif
