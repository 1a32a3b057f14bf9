// The process-wide MT19937 generator behind srand(), random() and rand().
#pragma once
#include <cstdint>

namespace marl {

// The standard 32-bit Mersenne Twister; until seeded it starts from 5489.
void seedRandom(uint32_t seed);
uint32_t nextRandom();

}  // namespace marl
