// Math built-ins: formulas, rounding, extremes, combinatorics, number theory
// and the random generator.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <random>

#include "builtins/rounding.hpp"
#include "runtime/marray.hpp"
#include "tests/unit/builtins/call_builtin.hpp"
#include "tests/unit/support/fresh_interpreter.hpp"

namespace marl {
namespace {

using test::N;
using test::S;

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

Value call(const char *name, const std::vector<Value> &args) {
  return test::callBuiltin(mathBuiltins(), name, args);
}

double num(const char *name, const std::vector<Value> &args) {
  Value v = call(name, args);
  EXPECT_TRUE(v.isNumber()) << name << " did not return a number";
  return v.number;
}

std::string error(const char *name, const std::vector<Value> &args) {
  return test::errorOf(mathBuiltins(), name, args);
}

Value array(std::initializer_list<Value> items) {
  MArray *a = new MArray();
  Value holder(a);
  for (const Value &v : items) a->push(v);
  return holder;
}

std::vector<double> numbers(const Value &v) {
  std::vector<double> out;
  if (MArray *a = asArray(v))
    for (const HeldValue &e : a->items) out.push_back(e.number());
  else
    ADD_FAILURE() << "not an array";
  return out;
}

TEST(MathBuiltins, RegisteredInOrder) {
  EXPECT_EQ(test::surface(mathBuiltins()),
            "sin/1 cos/1 tan/1 asin/1 acos/1 atan/1 atan/2 sinh/1 cosh/1 tanh/1 asinh/1 acosh/1 "
            "atanh/1 log/1 log/2 log10/1 pow/2 exp/1 sqrt/1 abs/1 floor/1 ceil/1 round/1 round/2 "
            "bround/1 bround/2 sign/1 finite/1 max/-1 min/-1 fact/1 perm/2 comb/2 gcd/-1 lcm/-1 "
            "factor/1 clamp/3 srand/0 srand/1 random/0 rand/1 rand/0");
}

TEST(MathBuiltins, LibraryFunctionsAndArguments) {
  EXPECT_DOUBLE_EQ(num("atan", {N(1), N(-1)}), 3 * std::atan(1.0));
  EXPECT_DOUBLE_EQ(num("log", {N(8), N(2)}), 3);
  EXPECT_EQ(num("pow", {N(2), N(10)}), 1024);
  EXPECT_EQ(num("abs", {N(-2.5)}), 2.5);
  // Outside the domain the library's NaN or infinity comes back, no error.
  EXPECT_TRUE(std::isnan(num("sqrt", {N(-1)})));
  EXPECT_EQ(num("log", {N(0)}), -kInf);
  EXPECT_EQ(num("sqrt", {Value::boolean(true)}), 1);
  EXPECT_EQ(error("sin", {S("1")}), "error [7]: Cannot convert arg to number");
  EXPECT_EQ(error("pow", {N(2), Value()}), "error [7]: Cannot convert arg to number");
}

TEST(MathBuiltins, InverseHyperbolicFormulasAndThresholds) {
  double x = 0.001;
  EXPECT_EQ(num("asinh", {N(x)}), (1 - x * x / 6) * x);
  EXPECT_EQ(num("asinh", {N(-x)}), (1 - x * x / 6) * -x);
  x = 0.0011;
  EXPECT_EQ(num("asinh", {N(x)}), std::log(x + std::sqrt(x * x + 1)));
  EXPECT_EQ(num("asinh", {N(-x)}), -std::log(std::sqrt(x * x + 1) + x));
  EXPECT_EQ(num("atanh", {N(0.001)}), (0.001 * 0.001 / 3 + 1) * 0.001);
  EXPECT_EQ(num("atanh", {N(-0.5)}), std::log(0.5 / 1.5) / 2);
  EXPECT_EQ(num("acosh", {N(1)}), 0);
  EXPECT_EQ(num("acosh", {N(2)}), std::log(2 + std::sqrt(3.0)));
  EXPECT_TRUE(std::isnan(num("acosh", {N(0.5)})));
}

TEST(MathBuiltins, SignAndFinite) {
  EXPECT_EQ(num("sign", {N(-0.0)}), 0);
  EXPECT_EQ(num("sign", {N(1e-300)}), 1);
  EXPECT_EQ(num("sign", {N(kNaN)}), -1);
  Value f = call("finite", {N(1e308)});
  EXPECT_TRUE(f.isBool());
  EXPECT_EQ(f.number, 1);
  EXPECT_EQ(call("finite", {N(kInf)}).number, 0);
  EXPECT_EQ(call("finite", {N(kNaN)}).number, 0);
}

TEST(MathBuiltins, RoundHalfAwayFromZero) {
  EXPECT_EQ(num("round", {N(-2.5)}), -3);
  EXPECT_EQ(num("round", {N(2.5)}), 3);
  EXPECT_EQ(num("round", {N(2.4999)}), 2);
  // floor(x + 0.5) would give 1 here.
  EXPECT_EQ(num("round", {N(0.49999999999999994)}), 0);
  EXPECT_EQ(num("round", {N(4503599627370497.0)}), 4503599627370497.0);
  // s * floor(|x|) with s = -1 is -0.
  EXPECT_TRUE(std::signbit(num("round", {N(-0.3)})));
  EXPECT_EQ(num("round", {N(-kInf)}), -kInf);
  EXPECT_TRUE(std::isnan(num("round", {N(kNaN)})));
}

TEST(MathBuiltins, RoundToDecimalPlacesAsWritten) {
  // 2.675 and 1.005 are stored just below the half; they round as written.
  EXPECT_EQ(num("round", {N(2.675), N(2)}), 2.68);
  EXPECT_EQ(num("round", {N(1.005), N(2)}), 1.01);
  EXPECT_EQ(num("round", {N(-1.005), N(2)}), -1.01);
  EXPECT_EQ(num("round", {N(1.0049999), N(2)}), 1);
  EXPECT_EQ(num("round", {N(0.1 + 0.2), N(2)}), 0.3);
  EXPECT_EQ(num("round", {N(9.995), N(2)}), 10);
  EXPECT_EQ(num("round", {N(0.05), N(1)}), 0.1);
  EXPECT_EQ(num("round", {N(0.0004), N(1)}), 0);
  EXPECT_EQ(num("round", {N(1.23456), N(3.9)}), 1.235);
  // Negative places round to tens, hundreds, ...
  EXPECT_EQ(num("round", {N(1234.5678), N(-2)}), 1200);
  EXPECT_EQ(num("round", {N(1250), N(-2)}), 1300);
  EXPECT_EQ(num("round", {N(999.5), N(-3)}), 1000);
  EXPECT_EQ(num("round", {N(499), N(-3)}), 0);
  EXPECT_EQ(num("round", {N(1.7e308), N(-308)}), kInf);
  // Places beyond every digit change nothing; far above every digit give 0.
  EXPECT_EQ(num("round", {N(123.456), N(1000)}), 123.456);
  EXPECT_EQ(num("round", {N(5e-324), N(1e9)}), 5e-324);
  EXPECT_EQ(num("round", {N(123.456), N(-1e9)}), 0);
  EXPECT_EQ(num("round", {N(123.456), N(kNaN)}), 123);
}

TEST(MathBuiltins, BankersRounding) {
  EXPECT_EQ(num("bround", {N(2.5)}), 2);
  EXPECT_EQ(num("bround", {N(3.5)}), 4);
  EXPECT_EQ(num("bround", {N(-2.5)}), -2);
  EXPECT_EQ(num("bround", {N(2.5000000000000004)}), 3);
  EXPECT_EQ(num("bround", {N(0.5)}), 0);
  EXPECT_EQ(num("bround", {N(0.125), N(2)}), 0.12);
  EXPECT_EQ(num("bround", {N(2.675), N(2)}), 2.68);
  EXPECT_EQ(num("bround", {N(2.665), N(2)}), 2.66);
  EXPECT_EQ(num("bround", {N(2.6651), N(2)}), 2.67);
  EXPECT_EQ(num("bround", {N(1250), N(-2)}), 1200);
  EXPECT_EQ(num("bround", {N(0.05), N(1)}), 0);
  EXPECT_EQ(num("bround", {N(0.15), N(1)}), 0.2);
}

// Rounding at the units place by the decimal route agrees with the formula.
TEST(MathBuiltins, RoundDecimalAtZeroPlacesMatchesWholeRounding) {
  for (double x = -20; x <= 20; x += 0.25) {
    EXPECT_EQ(roundDecimal(x * 10, -1, Tie::AwayFromZero), 10 * roundWhole(x, Tie::AwayFromZero))
        << x;
    EXPECT_EQ(roundDecimal(x / 10, 1, Tie::ToEven), roundWhole(x, Tie::ToEven) / 10) << x;
  }
}

TEST(MathBuiltins, MaxAndMin) {
  EXPECT_EQ(num("max", {N(1), N(5), N(3)}), 5);
  EXPECT_EQ(num("min", {N(1), N(-5), N(3)}), -5);
  EXPECT_EQ(num("max", {array({N(1), N(9)}), N(2)}), 9);
  EXPECT_EQ(num("min", {N(4), array({}), array({N(3), Value::boolean(true)})}), 1);
  EXPECT_TRUE(call("max", {Value::boolean(true), N(0)}).isNumber());
  EXPECT_TRUE(std::isnan(num("max", {N(1), N(kNaN), N(2)})));
  EXPECT_EQ(error("max", {}), "error [7]: Too few argument in max()");
  EXPECT_EQ(error("max", {array({})}), "error [7]: Too few argument in max()");
  EXPECT_EQ(error("max", {N(1), S("2")}), "error [7]: Cannot convert arg to number");
  EXPECT_EQ(error("min", {array({N(1), S("x")})}), "error [7]: Cannot convert arg to number");
  EXPECT_EQ(error("min", {array({array({N(1)})})}), "error [7]: Cannot convert arg to number");
}

TEST(MathBuiltins, Factorial) {
  EXPECT_EQ(num("fact", {N(0)}), 1);
  EXPECT_EQ(num("fact", {N(5.9)}), 120);
  EXPECT_EQ(num("fact", {N(20)}), 2432902008176640000.0);
  EXPECT_TRUE(std::isfinite(num("fact", {N(170)})));
  EXPECT_EQ(num("fact", {N(171)}), kInf);
  EXPECT_EQ(num("fact", {N(1e9)}), kInf);
  EXPECT_TRUE(std::isnan(num("fact", {N(-1)})));
  EXPECT_EQ(num("fact", {N(-0.5)}), 1);
}

TEST(MathBuiltins, PermutationsAndCombinations) {
  EXPECT_EQ(num("perm", {N(5), N(2)}), 20);
  EXPECT_EQ(num("comb", {N(5), N(2)}), 10);
  EXPECT_EQ(num("perm", {N(-1), N(2)}), 0);
  EXPECT_EQ(num("comb", {N(5), N(-1)}), 0);
  EXPECT_EQ(num("perm", {N(5), N(0)}), 1);
  EXPECT_EQ(num("perm", {N(5.9), N(2.9)}), 20);
  EXPECT_EQ(num("comb", {N(52), N(5)}), 2598960);
  // With r > n a factor is 0, even when the other factors would overflow.
  EXPECT_EQ(num("perm", {N(10000), N(20000)}), 0);
  EXPECT_EQ(num("comb", {N(10000), N(20000)}), 0);
  EXPECT_EQ(num("perm", {N(4294967296.0), N(2)}), 18446744069414584320.0);
  EXPECT_NEAR(num("comb", {N(1000), N(500)}) / 2.7028824094543655e299, 1, 1e-12);
  EXPECT_EQ(num("perm", {N(1e18), N(1e18)}), kInf);
  // Arguments saturate at the 64-bit range: +Inf acts as 2^63 - 1.
  EXPECT_DOUBLE_EQ(num("perm", {N(kInf), N(3)}), std::ldexp(1.0, 189));
  EXPECT_EQ(num("comb", {N(2000), N(1000)}), kInf);
  // Product and r! both overflow the extended range: inf / inf.
  EXPECT_TRUE(std::isnan(num("comb", {N(1e18), N(1e18)})));
}

TEST(MathBuiltins, GcdAndLcm) {
  EXPECT_EQ(num("gcd", {N(12), N(18)}), 6);
  EXPECT_EQ(num("gcd", {N(-12), N(18.7), N(8)}), 2);
  EXPECT_EQ(num("gcd", {N(0), N(0)}), 0);
  EXPECT_EQ(num("gcd", {N(-7.5)}), 7);
  EXPECT_EQ(num("gcd", {N(std::ldexp(1.0, 60)), N(3 * std::ldexp(1.0, 40))}), std::ldexp(1.0, 40));
  EXPECT_EQ(num("lcm", {N(4), N(6)}), 12);
  EXPECT_EQ(num("lcm", {N(2), N(3), N(-4)}), 12);
  EXPECT_EQ(num("lcm", {N(4), N(0)}), 0);
  EXPECT_EQ(num("lcm", {N(1e308), N(3)}), kInf);
  EXPECT_EQ(num("lcm", {N(1e308), N(3), N(0)}), 0);
  EXPECT_TRUE(std::isnan(num("gcd", {N(kNaN), N(3)})));
  EXPECT_TRUE(std::isnan(num("lcm", {N(3), N(kInf)})));
  EXPECT_EQ(error("gcd", {}), "error [7]: Too few arguments in gcd()");
  EXPECT_EQ(error("lcm", {}), "error [7]: Too few arguments in lcm()");
}

TEST(MathBuiltins, FactorGivesPrimesAscending) {
  using V = std::vector<double>;
  EXPECT_EQ(numbers(call("factor", {N(360)})), (V{2, 2, 2, 3, 3, 5}));
  EXPECT_EQ(numbers(call("factor", {N(97.9)})), (V{97}));
  EXPECT_EQ(numbers(call("factor", {N(600851475143.0)})), (V{71, 839, 1471, 6857}));
  EXPECT_EQ(numbers(call("factor", {N(49 * 11)})), (V{7, 7, 11}));
  EXPECT_EQ(numbers(call("factor", {N(1)})), V{});
  EXPECT_EQ(numbers(call("factor", {N(-12)})), V{});
  EXPECT_EQ(numbers(call("factor", {N(std::ldexp(1.0, 53))})), V(53, 2));
  EXPECT_EQ(error("factor", {N(std::ldexp(1.0, 53) + 2)}), "error [7]: Bad argument in factor()");
  EXPECT_EQ(error("factor", {N(kNaN)}), "error [7]: Bad argument in factor()");
}

// The largest prime below 2^53 is the worst case of trial division.
TEST(MathBuiltins, FactorOfALargePrimeFinishesQuickly) {
  auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(numbers(call("factor", {N(9007199254740881.0)})),
            std::vector<double>{9007199254740881.0});
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  // The square of the largest prime below 2^26.5 runs the divisors to their end.
  EXPECT_EQ(numbers(call("factor", {N(94906249.0 * 94906249.0)})),
            (std::vector<double>{94906249, 94906249}));
}

TEST(MathBuiltins, Clamp) {
  EXPECT_EQ(num("clamp", {N(5), N(0), N(3)}), 3);
  EXPECT_EQ(num("clamp", {N(2.5), N(0), N(3)}), 2.5);
  // lo above hi: lo when x is below lo, else hi.
  EXPECT_EQ(num("clamp", {N(2), N(3), N(0)}), 3);
  EXPECT_EQ(num("clamp", {N(5), N(3), N(0)}), 0);
  EXPECT_TRUE(std::isnan(num("clamp", {N(kNaN), N(0), N(1)})));
}

TEST(MathBuiltins, RandomIsTheStandardMersenneTwister) {
  EXPECT_EQ(num("srand", {N(5489)}), 5489);
  EXPECT_EQ(num("random", {}), 3499211612.0 / 4294967296.0);
  // The 10000th output of the standard generator from its default seed.
  num("srand", {N(5489)});
  for (int i = 0; i < 9999; i++) num("random", {});
  EXPECT_EQ(num("random", {}), 4123659995.0 / 4294967296.0);
}

// The generator belongs to the interpreter state: a new one is unseeded.
TEST(MathBuiltins, EachStateStartsFromTheDefaultSeed) {
  num("srand", {N(7)});
  num("random", {});
  test::freshInterpreter();
  EXPECT_EQ(num("random", {}), 3499211612.0 / 4294967296.0);
  test::freshInterpreter();
}

TEST(MathBuiltins, SeedsRepeatSequences) {
  std::vector<double> first, second;
  num("srand", {N(42.9)});
  for (int i = 0; i < 5; i++) first.push_back(num("random", {}));
  num("srand", {N(42)});
  for (int i = 0; i < 5; i++) second.push_back(num("random", {}));
  EXPECT_EQ(first, second);
  // Seeds are taken modulo 2^32.
  EXPECT_EQ(num("srand", {N(-1)}), 4294967295.0);
  double a = num("random", {});
  num("srand", {N(4294967295.0)});
  EXPECT_EQ(num("random", {}), a);
  EXPECT_EQ(num("srand", {N(4294967296.0 + 7)}), 7);
  double seed = num("srand", {});
  EXPECT_LE(std::fabs(seed - static_cast<double>(static_cast<uint32_t>(std::time(nullptr)))), 2);
}

TEST(MathBuiltins, RandScalesTheNextOutput) {
  std::mt19937 reference(123);
  num("srand", {N(123)});
  EXPECT_EQ(num("rand", {}), std::trunc(reference() / 4294967296.0 * 32767.0));
  EXPECT_EQ(num("rand", {N(-10)}), std::trunc(reference() / 4294967296.0 * -10));
  EXPECT_EQ(num("rand", {N(2.5)}), std::trunc(reference() / 4294967296.0 * 2.5));
  double highest = 0;
  for (int i = 0; i < 200000; i++) {
    double r = num("rand", {});
    ASSERT_TRUE(r >= 0 && r == std::trunc(r));
    highest = std::max(highest, r);
  }
  EXPECT_EQ(highest, 32766);
}

}  // namespace
}  // namespace marl
