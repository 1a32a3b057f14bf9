// Math built-ins: the C library's functions, the inverse hyperbolic formulas,
// rounding, extremes, combinatorics, number theory and random numbers.
#include <cfloat>
#include <cmath>
#include <ctime>
#include <limits>

#include "builtins/random.hpp"
#include "builtins/registry.hpp"
#include "builtins/rounding.hpp"
#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"

namespace marl {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <double (*F)(double)>
void unary(Context &, int line, const Args &a, Value &r) {
  r.setNumber(F(argNumber(line, a[0])));
}

template <double (*F)(double, double)>
void binary(Context &, int line, const Args &a, Value &r) {
  double x = argNumber(line, a[0]);
  r.setNumber(F(x, argNumber(line, a[1])));
}

double mSin(double x) { return std::sin(x); }
double mCos(double x) { return std::cos(x); }
double mTan(double x) { return std::tan(x); }
double mAsin(double x) { return std::asin(x); }
double mAcos(double x) { return std::acos(x); }
double mAtan(double x) { return std::atan(x); }
double mAtan2(double y, double x) { return std::atan2(y, x); }
double mSinh(double x) { return std::sinh(x); }
double mCosh(double x) { return std::cosh(x); }
double mTanh(double x) { return std::tanh(x); }
double mLog(double x) { return std::log(x); }
double mLogBase(double x, double b) { return std::log(x) / std::log(b); }
double mLog10(double x) { return std::log10(x); }
double mPow(double x, double y) { return std::pow(x, y); }
double mExp(double x) { return std::exp(x); }
double mSqrt(double x) { return std::sqrt(x); }
double mAbs(double x) { return std::fabs(x); }
double mFloor(double x) { return std::floor(x); }
double mCeil(double x) { return std::ceil(x); }

// The inverse hyperbolic functions use these formulas rather than the C
// library's, with a short series near 0 where the logarithms lose digits.
double mAsinh(double x) {
  if (x > 0.001) return std::log(x + std::sqrt(x * x + 1));
  if (x < -0.001) return -std::log(std::sqrt(x * x + 1) - x);
  return (1 - x * x / 6) * x;
}

double mAcosh(double x) { return std::log(x + std::sqrt(x * x - 1)); }

double mAtanh(double x) {
  if (std::fabs(x) > 0.001) return std::log((1 + x) / (1 - x)) / 2;
  return (x * x / 3 + 1) * x;
}

// NaN is neither 0 nor positive, so it gives -1.
double mSign(double x) { return x == 0 ? 0 : x > 0 ? 1 : -1; }

// Decimal places: truncated toward zero; NaN means 0. Anything beyond
// ±100000 rounds exactly as the bound does.
int argDigits(int line, const Value &v) {
  double d = std::trunc(argNumber(line, v));
  if (std::isnan(d)) return 0;
  return static_cast<int>(std::fmax(-100000.0, std::fmin(d, 100000.0)));
}

void roundBy(int line, const Args &a, Value &r, Tie tie) {
  double x = argNumber(line, a[0]);
  r.setNumber(a.size() > 1 ? roundDecimal(x, argDigits(line, a[1]), tie) : roundWhole(x, tie));
}

void bi_round(Context &, int line, const Args &a, Value &r) {
  roundBy(line, a, r, Tie::AwayFromZero);
}

void bi_bround(Context &, int line, const Args &a, Value &r) { roundBy(line, a, r, Tie::ToEven); }

void bi_finite(Context &, int line, const Args &a, Value &r) {
  r.setBool(std::isfinite(argNumber(line, a[0])));
}

// max and min: an array argument contributes its elements (one level deep).
// A NaN anywhere makes the result NaN.
void extreme(int line, const Args &a, Value &r, bool wantMax, const char *tooFew) {
  bool any = false;
  double best = 0;
  auto take = [&](bool numeric, double d) {
    if (!numeric) raise_error(line, "%s", "Cannot convert arg to number");
    if (!any || std::isnan(d) || (wantMax ? d > best : d < best)) best = d;
    any = true;
  };
  for (size_t i = 0; i < a.size(); i++) {
    if (const MArray *arr = asArray(a[i])) {
      for (const HeldValue &e : arr->items) take(e.isNumeric(), e.number());
    } else {
      take(a[i].isNumeric(), a[i].number);
    }
  }
  if (!any) raise_error(line, "%s", tooFew);
  r.setNumber(best);
}

void bi_max(Context &, int line, const Args &a, Value &r) {
  extreme(line, a, r, true, "Too few argument in max()");
}

void bi_min(Context &, int line, const Args &a, Value &r) {
  extreme(line, a, r, false, "Too few argument in min()");
}

// n! for n truncated toward zero; NaN for a negative n. 171! already
// overflows a double, so the loop never runs more than 171 times.
void bi_fact(Context &, int line, const Args &a, Value &r) {
  double n = std::trunc(argNumber(line, a[0]));
  if (std::isnan(n) || n < 0) return r.setNumber(kNaN);
  long double p = 1;
  for (double i = 2; i <= n; i++) {
    p *= i;
    if (p > DBL_MAX) return r.setNumber(kInf);
  }
  r.setNumber(static_cast<double>(p));
}

// perm and comb: truncated to 64-bit integers, saturating; NaN counts as 0.
int64_t argInt64(int line, const Value &v) {
  double d = std::trunc(argNumber(line, v));
  if (std::isnan(d)) return 0;
  if (d >= 9223372036854775808.0) return std::numeric_limits<int64_t>::max();
  if (d <= -9223372036854775808.0) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(d);
}

// n (n-1) ... (n-r+1) in extended precision. With r > n one factor is 0, so
// the result is 0 without forming the product. Otherwise every factor but
// the last is at least 2, so the product overflows within about 16400 steps
// whatever r is, and stops there.
long double fallingProduct(int64_t n, int64_t r) {
  if (r > n) return 0;
  long double p = 1;
  for (int64_t i = 0; i < r && !std::isinf(p); i++) p *= static_cast<long double>(n - i);
  return p;
}

long double factorialLong(int64_t r) {
  long double p = 1;
  for (int64_t k = 2; k <= r && !std::isinf(p); k++) p *= static_cast<long double>(k);
  return p;
}

double narrow(long double x) { return x > DBL_MAX ? kInf : static_cast<double>(x); }

void bi_perm(Context &, int line, const Args &a, Value &r) {
  int64_t n = argInt64(line, a[0]);
  int64_t k = argInt64(line, a[1]);
  r.setNumber(n < 0 || k < 0 ? 0.0 : narrow(fallingProduct(n, k)));
}

// The product divided by r!, as written; when both overflow the extended
// range the quotient is NaN.
void bi_comb(Context &, int line, const Args &a, Value &r) {
  int64_t n = argInt64(line, a[0]);
  int64_t k = argInt64(line, a[1]);
  if (n < 0 || k < 0) return r.setNumber(0);
  r.setNumber(narrow(fallingProduct(n, k) / factorialLong(k)));
}

// gcd and lcm work on |trunc(x)| of every argument. Remainders of doubles are
// exact, so Euclid's algorithm is exact for any integral double and ends
// within about 1500 steps. A NaN or infinite argument gives NaN.
double gcd2(double x, double y) {
  while (y != 0) {
    double t = std::fmod(x, y);
    x = y;
    y = t;
  }
  return x;
}

template <bool Lcm>
void gcdLcm(int line, const Args &a, Value &r, const char *tooFew) {
  if (a.size() == 0) raise_error(line, "%s", tooFew);
  double acc = 0;
  bool finite = true;
  for (size_t i = 0; i < a.size(); i++) {
    double x = std::fabs(std::trunc(argNumber(line, a[i])));
    finite = finite && std::isfinite(x);
    if (!finite) continue;
    if (i == 0)
      acc = x;
    else if (!Lcm)
      acc = gcd2(acc, x);
    else if (acc == 0 || x == 0)
      acc = 0;
    else if (acc != kInf)
      acc = acc / gcd2(acc, x) * x;  // may overflow to +Inf
  }
  r.setNumber(finite ? acc : kNaN);
}

void bi_gcd(Context &, int line, const Args &a, Value &r) {
  gcdLcm<false>(line, a, r, "Too few arguments in gcd()");
}

void bi_lcm(Context &, int line, const Args &a, Value &r) {
  gcdLcm<true>(line, a, r, "Too few arguments in lcm()");
}

// Prime factors in ascending order, with repeats; [] below 2. Only integers up
// to 2^53 are exact as doubles, and trial division by 6k±1 up to their square
// root takes at most about 3e7 divisions.
void bi_factor(Context &, int line, const Args &a, Value &r) {
  double d = std::trunc(argNumber(line, a[0]));
  if (std::isnan(d) || d > 9007199254740992.0) raise_error(line, "Bad argument in factor()");
  MArray *out = new MArray();
  r = Value(out);
  if (d < 2) return;
  uint64_t n = static_cast<uint64_t>(d);
  auto divideOut = [&](uint64_t p) {
    while (n % p == 0) {
      out->push(Value::num(static_cast<double>(p)));
      n /= p;
    }
  };
  divideOut(2);
  divideOut(3);
  for (uint64_t p = 5; p * p <= n; p += 6) {
    divideOut(p);
    divideOut(p + 2);
  }
  if (n > 1) out->push(Value::num(static_cast<double>(n)));
}

// x below lo gives lo, else x above hi gives hi; so with lo > hi the result
// is lo or hi, never x. A NaN x stays NaN.
void bi_clamp(Context &, int line, const Args &a, Value &r) {
  double x = argNumber(line, a[0]);
  double lo = argNumber(line, a[1]);
  double hi = argNumber(line, a[2]);
  r.setNumber(x < lo ? lo : x > hi ? hi : x);
}

// The seed is truncated and taken modulo 2^32 (so -1 seeds 4294967295); NaN
// and infinities seed 0. srand() returns the seed it used.
void bi_srand(Context &, int line, const Args &a, Value &r) {
  uint32_t seed;
  if (a.size() > 0) {
    double d = std::trunc(argNumber(line, a[0]));
    d = std::isfinite(d) ? std::fmod(d, 4294967296.0) : 0;
    seed = static_cast<uint32_t>(d < 0 ? d + 4294967296.0 : d);
  } else {
    seed = static_cast<uint32_t>(std::time(nullptr));
  }
  seedRandom(seed);
  r.setNumber(seed);
}

constexpr double kTwoTo32 = 4294967296.0;

void bi_random(Context &, int, const Args &, Value &r) { r.setNumber(nextRandom() / kTwoTo32); }

// The output is below 2^32, so rand() (n = 32767) never reaches 32767.
void bi_rand(Context &, int line, const Args &a, Value &r) {
  double n = a.size() > 0 ? argNumber(line, a[0]) : 32767.0;
  r.setNumber(std::trunc(nextRandom() / kTwoTo32 * n));
}

constexpr BuiltinEntry kMath[] = {
    {"sin", 1, unary<mSin>},     {"cos", 1, unary<mCos>},     {"tan", 1, unary<mTan>},
    {"asin", 1, unary<mAsin>},   {"acos", 1, unary<mAcos>},   {"atan", 1, unary<mAtan>},
    {"atan", 2, binary<mAtan2>}, {"sinh", 1, unary<mSinh>},   {"cosh", 1, unary<mCosh>},
    {"tanh", 1, unary<mTanh>},   {"asinh", 1, unary<mAsinh>}, {"acosh", 1, unary<mAcosh>},
    {"atanh", 1, unary<mAtanh>}, {"log", 1, unary<mLog>},     {"log", 2, binary<mLogBase>},
    {"log10", 1, unary<mLog10>}, {"pow", 2, binary<mPow>},    {"exp", 1, unary<mExp>},
    {"sqrt", 1, unary<mSqrt>},   {"abs", 1, unary<mAbs>},     {"floor", 1, unary<mFloor>},
    {"ceil", 1, unary<mCeil>},   {"round", 1, bi_round},      {"round", 2, bi_round},
    {"bround", 1, bi_bround},    {"bround", 2, bi_bround},    {"sign", 1, unary<mSign>},
    {"finite", 1, bi_finite},    {"max", -1, bi_max},         {"min", -1, bi_min},
    {"fact", 1, bi_fact},        {"perm", 2, bi_perm},        {"comb", 2, bi_comb},
    {"gcd", -1, bi_gcd},         {"lcm", -1, bi_lcm},         {"factor", 1, bi_factor},
    {"clamp", 3, bi_clamp},      {"srand", 0, bi_srand},      {"srand", 1, bi_srand},
    {"random", 0, bi_random},    {"rand", 1, bi_rand},        {"rand", 0, bi_rand},
};

}  // namespace

std::span<const BuiltinEntry> mathBuiltins() { return kMath; }

}  // namespace marl
