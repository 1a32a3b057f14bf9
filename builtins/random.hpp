// The MT19937 generator behind srand(), random() and rand().
#pragma once
#include <cstdint>
#include <random>

namespace marl {

// Part of the interpreter state; while it exists it is the generator the
// functions below draw from. Until seeded it starts from 5489, as the
// standard 32-bit Mersenne Twister does.
struct RandomGenerator {
  std::mt19937 engine;
  RandomGenerator();
  ~RandomGenerator();
  RandomGenerator(const RandomGenerator &) = delete;
  RandomGenerator &operator=(const RandomGenerator &) = delete;
};

void seedRandom(uint32_t seed);
uint32_t nextRandom();

}  // namespace marl
