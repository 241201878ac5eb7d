/*
 * A small generator whose sequence is the same on every platform, so that a seed in a failure message can be run again
 * anywhere.
 */
#ifndef KIT_RANDOM_H
#define KIT_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace kit {

/// splitmix64
class Random
{
public:
  explicit Random(uint64_t seed) : _state(seed) {}

  uint64_t next()
  {
    uint64_t z = (_state += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }

  /// A number of low..high.
  int pick(int low, int high) { return int(low + int64_t(next() % uint64_t(int64_t(high) - low + 1))); }

  bool chance(int percent) { return pick(1, 100) <= percent; }

  template <typename Container>
  auto& oneOf(Container& c)
  {
    return c[size_t(next() % uint64_t(std::size(c)))];
  }

private:
  uint64_t _state;
};

/// A seed of its own for the trial `number` of the test `name`.
inline uint64_t seedOf(const char* name, uint64_t number)
{
  uint64_t seed = Random(number).next();
  for (; *name; name++)
    seed = (seed ^ uint64_t(uint8_t(*name))) * 1099511628211u;
  return Random(seed).next();
}

} // namespace kit

#endif
