// The standard streams belong to the interpreter state: a new state attaches
// them afresh, and tearing one down writes out what is still buffered.
#include "io/standard_streams.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "tests/unit/io/scratch_dir.hpp"
#include "tests/unit/support/fresh_interpreter.hpp"

namespace marl {
namespace {

TEST(StandardStreams, TeardownWritesWhatIsStillBuffered) {
  ScratchDir dir;
  const std::string path = dir.file("out.txt");
  int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ASSERT_GE(file, 0);
  test::freshInterpreter();  // what the old state buffered goes where it belongs
  std::fflush(stdout);
  int saved = dup(1);
  ASSERT_GE(saved, 0);
  ASSERT_EQ(dup2(file, 1), 1);
  test::freshInterpreter();  // attached to the file: not a terminal, so buffered
  Stream::standard(1).write("kept until teardown");
  std::string before = readBytes(path);
  test::freshInterpreter();
  std::string after = readBytes(path);
  dup2(saved, 1);
  ::close(saved);
  ::close(file);
  test::freshInterpreter();
  EXPECT_EQ(before, "");
  EXPECT_EQ(after, "kept until teardown");
}

TEST(StandardStreams, ANewStateStartsWithUntouchedStreams) {
  Stream::standard(0).setTextMode(true);
  Stream::standard(1).setTextMode(true);
  test::freshInterpreter();
  EXPECT_FALSE(Stream::standard(0).textMode());
  EXPECT_FALSE(Stream::standard(1).textMode());
  EXPECT_EQ(Stream::standard(2).fd(), 2);
}

}  // namespace
}  // namespace marl
