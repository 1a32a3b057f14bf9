// The process-wide MT19937 generator.
#include "builtins/random.hpp"

#include <random>

namespace marl {

namespace {

// std::mt19937 is exactly the standard generator, and its default seed is 5489.
std::mt19937 &generator() {
  static std::mt19937 gen;
  return gen;
}

}  // namespace

void seedRandom(uint32_t seed) { generator().seed(seed); }

uint32_t nextRandom() { return static_cast<uint32_t>(generator()()); }

}  // namespace marl
