// Rounding of round() and bround(): to whole numbers and to decimal places.
#pragma once

namespace marl {

enum class Tie { AwayFromZero, ToEven };

// To a whole number, on the exact binary value.
double roundWhole(double x, Tie tie);
// To `digits` decimal places (negative: tens, hundreds, ...), on the shortest
// decimal text that reads back as x, so round(2.675, 2) is 2.68 as written.
double roundDecimal(double x, int digits, Tie tie);

}  // namespace marl
