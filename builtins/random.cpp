// The interpreter's MT19937 generator.
#include "builtins/random.hpp"

#include <cstdio>
#include <cstdlib>

namespace marl {

namespace {

RandomGenerator *current = nullptr;

}  // namespace

// std::mt19937 is exactly the standard generator, and its default seed is 5489.
RandomGenerator::RandomGenerator() {
  if (current) {
    std::fputs("Internal error in RandomGenerator: a second generator\n", stderr);
    std::abort();
  }
  current = this;
}

RandomGenerator::~RandomGenerator() { current = nullptr; }

void seedRandom(uint32_t seed) { current->engine.seed(seed); }

uint32_t nextRandom() { return static_cast<uint32_t>(current->engine()); }

}  // namespace marl
