/*
 * Random automata for the tests of cs_Regular. One is a list of parameters: number of states, number of symbols,
 * initial state, number of final states; the final states; the transitions. Some transitions and final states lie
 * outside the states.
 */
#ifndef KIT_AUTOMATON_H
#define KIT_AUTOMATON_H

#include "naive.h"
#include "random.h"
#include "solver.h"

namespace kit::automaton {

inline Values draw(Random& random)
{
  // At times the numbers of the states go beyond what a word has bits.
  int count = random.pick(1, 7), stride = random.chance(15) ? 20 : 1, nbStates = count * stride;
  int nbSymbols = random.pick(2, 4), nbFinals = random.pick(1, 4);
  auto state = [&] { return stride * random.pick(0, count - 1); };
  Values p = {nbStates, nbSymbols, state(), nbFinals};
  for (int i = 0; i < nbFinals; i++)
    p.push_back(random.chance(15) ? random.pick(-2, nbStates + 1) : state());
  const int nowhere[] = {-1, nbStates, -7}, none = random.pick(0, 50);
  for (int i = 0; i < nbStates * nbSymbols; i++)
    p.push_back(random.chance(none) ? random.oneOf(nowhere) : state());
  return p;
}

inline int post(Vars& x, const Values& p)
{
  return cs_Regular(x.data(), int(x.size()), p.data() + 4 + p[3], p[0], p[1], p[2], p.data() + 4, p[3]);
}

/// The next state; -1 when there is none.
inline int step(const Values& p, int state, int symbol)
{
  if (symbol < 0 || symbol >= p[1])
    return -1;
  int next = p[size_t(4 + p[3] + state * p[1] + symbol)];
  return next < p[0] ? std::max(next, -1) : -1;
}

inline bool isFinal(const Values& p, int state)
{
  return std::find(p.begin() + 4, p.begin() + 4 + p[3], state) != p.begin() + 4 + p[3];
}

inline bool accepts(const Values& word, const Values& p)
{
  int state = p[2];
  for (int symbol : word)
    if (state >= 0)
      state = step(p, state, symbol);
  return state >= 0 && isFinal(p, state);
}

/// Keeps the symbols that stand in an accepted word, each position by itself.
inline bool rule(const Sets& x, const Values& p)
{
  std::vector<Set> reached(x.size() + 1);
  reached[0] = {p[2]};
  for (size_t k = 0; k < x.size(); k++)
    for (int state : reached[k])
      for (int symbol : *x[k])
        if (int next = step(p, state, symbol); next >= 0)
          reached[k + 1].insert(next);
  std::erase_if(reached.back(), [&](int state) { return !isFinal(p, state); });
  for (size_t k = x.size(); k-- > 0;) {
    Set symbols, sources;
    for (int state : reached[k])
      for (int symbol : *x[k])
        if (reached[k + 1].count(step(p, state, symbol))) {
          symbols.insert(symbol);
          sources.insert(state);
        }
    *x[k] = symbols;
    reached[k] = sources;
    if (symbols.empty())
      return false;
  }
  return true;
}

} // namespace kit::automaton

#endif
