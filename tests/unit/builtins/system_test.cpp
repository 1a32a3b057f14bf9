// Time, file-system and console built-ins, run in a scratch directory.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>

#include "builtins/registry.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "tests/unit/builtins/call_builtin.hpp"
#include "tests/unit/io/scratch_dir.hpp"

namespace marl {
namespace {

using test::N;
using test::S;

Value call(const char *name, const std::vector<Value> &args = {}) {
  return test::callBuiltin(systemBuiltins(), name, args);
}
std::string error(const char *name, const std::vector<Value> &args) {
  return test::errorOf(systemBuiltins(), name, args);
}
double field(const Value &h, const char *key) {
  const HeldValue *v = asHash(h) ? asHash(h)->find(key) : nullptr;
  return v ? v->number() : nanValue();
}
// The names of an array of strings, sorted, joined by ",".
std::string sortedNames(const Value &v) {
  std::vector<std::string> names;
  for (const HeldValue &h : asArray(v)->items) names.push_back(toText(h.get()));
  std::sort(names.begin(), names.end());
  std::string out;
  for (const std::string &n : names) out += (out.empty() ? "" : ",") + n;
  return out;
}

// Runs each test inside a fresh scratch directory and returns to where it was.
class SystemFs : public ::testing::Test {
 protected:
  void SetUp() override {
    old_ = std::filesystem::current_path();
    root_ = std::filesystem::canonical(scratch_.file("")).string();
    std::filesystem::current_path(root_);
  }
  void TearDown() override { std::filesystem::current_path(old_); }
  std::string root_;

 private:
  ScratchDir scratch_;
  std::filesystem::path old_;
};

TEST(SystemBuiltins, RegisteredSurface) {
  EXPECT_EQ(test::surface(systemBuiltins()),
            "time/0 time/3 time/4 time/5 time/6 localtime/0 localtime/1 stat/1 mkdir/1 rmdir/1 "
            "chdir/1 getcwd/0 unlink/1 rename/2 fcopy/2 fmove/2 chmod/2 dir/1 dir/0 fulldir/1 "
            "fulldir/0 fullpath/1 splitpath/1 tick/0 sleep/1 beep/0 kbhit/0 getch/0 getche/0");
}

TEST(SystemTime, PartsRoundTripThroughLocaltime) {
  Value t = call("time", {N(2000), N(2), N(29), N(13), N(45), N(30)});
  Value lt = call("localtime", {t});
  EXPECT_EQ(field(lt, "year"), 2000);
  EXPECT_EQ(field(lt, "month"), 2);
  EXPECT_EQ(field(lt, "day"), 29);
  EXPECT_EQ(field(lt, "hour"), 13);
  EXPECT_EQ(field(lt, "min"), 45);
  EXPECT_EQ(field(lt, "sec"), 30);
  EXPECT_EQ(field(lt, "wday"), 2);  // a Tuesday
  EXPECT_EQ(field(lt, "yday"), 59);
  EXPECT_TRUE(asHash(lt)->find("isdst")->kind() == Kind::Bool);
  // Out-of-range parts carry over, as mktime does.
  EXPECT_EQ(call("time", {N(2000), N(13), N(1)}).number,
            call("time", {N(2001), N(1), N(1)}).number);
  EXPECT_EQ(call("time", {N(2000), N(3), N(0)}).number,
            call("time", {N(2000), N(2), N(29)}).number);
  EXPECT_TRUE(call("time", {N(1e12), N(1), N(1)}).isNull());
  EXPECT_TRUE(call("localtime", {N(nanValue())}).isNull());
  EXPECT_EQ(error("time", {S("2000"), N(1), N(1)}), "error [7]: Cannot convert arg to number");
}

TEST(SystemTime, ClocksAndSleep) {
  double now = call("time").number;
  EXPECT_LE(std::fabs(now - static_cast<double>(std::time(nullptr))), 2);
  EXPECT_EQ(now, std::trunc(now));
  Value lt = call("localtime");
  EXPECT_GE(field(lt, "year"), 2024);
  double t0 = call("tick").number;
  call("sleep", {N(30)});
  double t1 = call("tick").number;
  EXPECT_GE(t1 - t0, 29);
  call("sleep", {N(-1e300)});  // returns at once
  call("sleep", {N(nanValue())});
  EXPECT_LT(call("tick").number - t1, 1000);
}

TEST_F(SystemFs, DirectoriesAndStat) {
  EXPECT_TRUE(truth(call("mkdir", {S("d")})));
  EXPECT_FALSE(truth(call("mkdir", {S("d")})));
  Value st = call("stat", {S("d")});
  EXPECT_TRUE(truth(asHash(st)->find("isdir")->get()));
  EXPECT_TRUE(S_ISDIR(static_cast<mode_t>(field(st, "mode"))));
  EXPECT_TRUE(call("stat", {S("missing")}).isNull());
  EXPECT_TRUE(call("stat", {S(std::string("d\0x", 3))}).isNull());
  EXPECT_TRUE(truth(call("chdir", {S("d")})));
  EXPECT_EQ(toText(call("getcwd")), root_ + "/d");
  EXPECT_TRUE(truth(call("chdir", {S("..")})));
  EXPECT_FALSE(truth(call("chdir", {S("nowhere")})));
  EXPECT_TRUE(truth(call("rmdir", {S("d")})));
  EXPECT_FALSE(truth(call("rmdir", {S("d")})));
  EXPECT_EQ(error("mkdir", {N(1)}), "error [7]: Cannot convert arg to string");
}

TEST_F(SystemFs, CopyAndChmod) {
  std::string bytes("a\0b\r\n", 5);
  writeBytes("src", bytes);
  EXPECT_TRUE(truth(call("fcopy", {S("src"), S("copy")})));
  EXPECT_EQ(readBytes("copy"), bytes);
  writeBytes("big", std::string(200000, 'x'));
  EXPECT_TRUE(truth(call("fcopy", {S("big"), S("copy")})));  // overwrites
  EXPECT_EQ(readBytes("copy").size(), 200000u);
  EXPECT_EQ(field(call("stat", {S("copy")}), "size"), 200000);
  // Copying onto itself would truncate it first: refused.
  EXPECT_FALSE(truth(call("fcopy", {S("src"), S("src")})));
  EXPECT_EQ(readBytes("src"), bytes);
  mkdir("dir", 0777);
  EXPECT_FALSE(truth(call("fcopy", {S("dir"), S("x")})));
  EXPECT_FALSE(truth(call("fcopy", {S("missing"), S("x")})));

  EXPECT_TRUE(truth(call("chmod", {S("src"), N(0640)})));
  EXPECT_EQ(static_cast<int>(field(call("stat", {S("src")}), "mode")) & 07777, 0640);
  EXPECT_FALSE(truth(call("chmod", {S("src"), N(-1)})));
  EXPECT_FALSE(truth(call("chmod", {S("src"), N(010000)})));
  EXPECT_FALSE(truth(call("chmod", {S("missing"), N(0600)})));
}

TEST_F(SystemFs, DirectoryListingsWithWildcards) {
  for (const char *name : {"a.txt", "b.txt", "ab.md", ".hidden", "\x82\xa0.txt"})
    writeBytes(name, "");
  mkdir("sub", 0777);
  writeBytes("sub/x.c", "");
  EXPECT_EQ(sortedNames(call("dir")), sortedNames(call("dir", {S("*")})));
  EXPECT_EQ(asArray(call("dir"))->size(), 6u);  // no "." or ".."
  EXPECT_EQ(sortedNames(call("dir", {S("*.txt")})), "a.txt,b.txt,\x82\xa0.txt");
  EXPECT_EQ(sortedNames(call("dir", {S("?.txt")})), "a.txt,b.txt,\x82\xa0.txt");
  EXPECT_EQ(sortedNames(call("dir", {S("a*")})), "a.txt,ab.md");
  EXPECT_EQ(sortedNames(call("dir", {S("*.*.*")})), "");
  EXPECT_EQ(sortedNames(call("dir", {S(".*")})), ".hidden");
  EXPECT_EQ(sortedNames(call("dir", {S("A.TXT")})), "");  // names are case-sensitive
  EXPECT_EQ(sortedNames(call("dir", {S("sub/")})), "x.c");
  EXPECT_EQ(sortedNames(call("fulldir", {S("sub/*.c")})), root_ + "/sub/x.c");
  EXPECT_EQ(sortedNames(call("fulldir", {S("s?b")})), root_ + "/sub");
  EXPECT_EQ(asArray(call("dir", {S("missing/*")}))->size(), 0u);
  // A long run of stars must not take exponential time.
  std::string stars(40, '*');
  writeBytes(std::string(60, 'a').c_str(), "");
  EXPECT_EQ(sortedNames(call("dir", {S(stars + "z")})), "");
}

TEST(SystemConsole, WithoutTerminalNoKeysAreWaiting) {
  if (isatty(0)) GTEST_SKIP() << "standard input is a terminal";
  EXPECT_FALSE(truth(call("kbhit")));
  EXPECT_TRUE(call("beep").isNull());
}

}  // namespace
}  // namespace marl
