// Calendar time, broken-down local time, the monotonic clock and sleeping.
#include <cerrno>
#include <chrono>
#include <cmath>
#include <ctime>
#include <thread>

#include "builtins/system.hpp"
#include "io/process.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mhash.hpp"

namespace marl {

namespace {

// Parts beyond this cannot mean a calendar date, and keep the int arithmetic
// below (month - 1, year - 1900) free of overflow.
constexpr double kMaxPart = 2e9;
// About 31,700 years: long enough for any wait, and converts to nanoseconds
// without overflow.
constexpr double kMaxSleepMs = 1e15;
// Far beyond any year localtime can express; keeps the time_t conversion defined.
constexpr double kMaxSeconds = 1e17;

}  // namespace

void bi_time_now(Context &, int, const Args &, Value &r) {
  r.setNumber(static_cast<double>(std::time(nullptr)));
}

// time(y, m, d[, h[, mi[, s]]]) in local time. mktime normalises parts out of
// their range (month 13 is January of the next year, day 0 the last day of
// the month before); a time the system cannot represent gives null.
void bi_time_make(Context &, int line, const Args &a, Value &r) {
  int parts[6] = {1970, 1, 1, 0, 0, 0};
  for (size_t i = 0; i < a.size(); i++) {
    double d = std::trunc(argNumber(line, a[i]));
    if (!(std::fabs(d) <= kMaxPart)) return;
    parts[i] = static_cast<int>(d);
  }
  std::tm tm{};
  tm.tm_year = parts[0] - 1900;
  tm.tm_mon = parts[1] - 1;
  tm.tm_mday = parts[2];
  tm.tm_hour = parts[3];
  tm.tm_min = parts[4];
  tm.tm_sec = parts[5];
  tm.tm_isdst = -1;  // let the zone rules decide
  errno = 0;
  std::time_t t = std::mktime(&tm);
  // -1 is also one second before the epoch; only errno tells a failure.
  if (t == static_cast<std::time_t>(-1) && errno != 0) return;
  r.setNumber(static_cast<double>(t));
}

void bi_localtime(Context &, int line, const Args &a, Value &r) {
  std::time_t t;
  if (a.size()) {
    double d = argNumber(line, a[0]);
    if (!(std::fabs(d) <= kMaxSeconds)) return;
    t = static_cast<std::time_t>(std::floor(d));
  } else {
    t = std::time(nullptr);
  }
  std::tm tm;
  if (!localtime_r(&t, &tm)) return;
  MHash *h = new MHash();
  Value holder(h);
  h->set("year", Value::num(tm.tm_year + 1900.0));
  h->set("month", Value::num(tm.tm_mon + 1));
  h->set("day", Value::num(tm.tm_mday));
  h->set("hour", Value::num(tm.tm_hour));
  h->set("min", Value::num(tm.tm_min));
  h->set("sec", Value::num(tm.tm_sec));
  h->set("wday", Value::num(tm.tm_wday));
  h->set("yday", Value::num(tm.tm_yday));
  h->set("isdst", Value::boolean(tm.tm_isdst > 0));
  r = std::move(holder);
}

void bi_tick(Context &, int, const Args &, Value &r) {
  auto since = std::chrono::steady_clock::now().time_since_epoch();
  r.setNumber(
      static_cast<double>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count()));
}

// Output written so far is flushed first, so a progress line shows before the
// pause even when standard output is a pipe.
void bi_sleep(Context &, int line, const Args &a, Value &) {
  double ms = argNumber(line, a[0]);
  flushStandardStreams();
  if (!(ms > 0)) return;
  std::this_thread::sleep_for(
      std::chrono::duration<double, std::milli>(std::fmin(ms, kMaxSleepMs)));
}

}  // namespace marl
