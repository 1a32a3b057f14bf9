// The buffered stream: text-mode emulation, indicators, modes and positions.
#include "io/stream.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <string>

#include "tests/unit/io/scratch_dir.hpp"

namespace marl {
namespace {

using namespace std::string_literals;

// The stream's buffer size: a CR at this index minus one is its last byte.
constexpr size_t kBuf = 64 * 1024;

std::string readLine(Stream &s) {
  std::string line;
  s.readLine(line);
  return line;
}

class StreamTest : public ::testing::Test {
 protected:
  // Opens a fresh file holding `bytes`.
  Stream &openWith(const std::string &bytes, const char *mode = "r") {
    writeBytes(path_, bytes);
    EXPECT_TRUE(stream_.open(path_, mode));
    return stream_;
  }
  ScratchDir dir_;
  std::string path_ = dir_.file("f");
  Stream stream_;
};

TEST_F(StreamTest, TextModeReadingJoinsCrLfAndKeepsLoneCr) {
  Stream &s = openWith("a\r\nb\rc\r\n\r\nd");
  EXPECT_EQ(readLine(s), "a\n");
  EXPECT_EQ(readLine(s), "b\rc\n");
  EXPECT_EQ(readLine(s), "\n");
  EXPECT_EQ(readLine(s), "d");
  EXPECT_TRUE(s.eof());
  std::string rest;
  EXPECT_FALSE(s.readLine(rest));
  EXPECT_TRUE(rest.empty());
}

TEST_F(StreamTest, CrAtTheEndOfABufferLooksAhead) {
  std::string x(kBuf - 1, 'x');
  // By line, by byte and by block: the CR is the buffer's last byte.
  Stream &s = openWith(x + "\r\ny\rz");
  EXPECT_EQ(readLine(s), x + "\n");
  EXPECT_EQ(readLine(s), "y\rz");

  s.rewind();
  std::string bytes;
  for (int c; (c = s.getc()) >= 0;) bytes.push_back(static_cast<char>(c));
  EXPECT_EQ(bytes, x + "\ny\rz");

  s.rewind();
  bytes.clear();
  EXPECT_EQ(s.read(bytes, kBuf + 10), x.size() + 4);
  EXPECT_EQ(bytes, x + "\ny\rz");

  // A lone CR there stays, and the byte after it is not lost.
  Stream &t = openWith(x + "\rq\n");
  EXPECT_EQ(readLine(t), x + "\rq\n");
}

TEST_F(StreamTest, CrAsTheLastByteOfTheFile) {
  Stream &s = openWith(std::string(kBuf - 1, 'x') + "\r");
  EXPECT_EQ(readLine(s), std::string(kBuf - 1, 'x') + "\r");
  EXPECT_TRUE(s.eof());
  EXPECT_EQ(s.getc(), -1);

  Stream &t = openWith("ab\r");
  EXPECT_EQ(t.getc(), 'a');
  EXPECT_EQ(t.getc(), 'b');
  EXPECT_EQ(t.getc(), '\r');
  EXPECT_FALSE(t.eof());
  EXPECT_EQ(t.getc(), -1);
  EXPECT_TRUE(t.eof());
}

// Lines are covered with the file objects; a block read sets it the same way.
TEST_F(StreamTest, EofOnlyAfterAReadRanIntoTheEnd) {
  Stream &s = openWith("abc");
  std::string bytes;
  EXPECT_EQ(s.read(bytes, 3), 3u);
  EXPECT_FALSE(s.eof());
  EXPECT_EQ(s.read(bytes, 3), 0u);
  EXPECT_TRUE(s.eof());
  EXPECT_TRUE(s.rewind());
  EXPECT_FALSE(s.eof());
}

TEST_F(StreamTest, TextModeWritingAddsCr) {
  ASSERT_TRUE(stream_.open(path_, "w"));
  EXPECT_EQ(stream_.write("a\nb\n\n"), 5u);
  EXPECT_EQ(stream_.write("c"), 1u);
  EXPECT_EQ(stream_.close(), 0);
  EXPECT_EQ(readBytes(path_), "a\r\nb\r\n\r\nc");

  ASSERT_TRUE(stream_.open(path_, "wb"));
  stream_.write("a\nb\r\n");
  stream_.close();
  EXPECT_EQ(readBytes(path_), "a\nb\r\n");
}

TEST_F(StreamTest, LargeWritesCrossTheBuffer) {
  std::string text, expected;
  for (int i = 0; i < 30000; i++) {
    std::string line = "line " + std::to_string(i) + "\n";
    text += line;
    expected += line.substr(0, line.size() - 1) + "\r\n";
  }
  ASSERT_TRUE(stream_.open(path_, "w"));
  EXPECT_EQ(stream_.write(text.substr(0, 1000)), 1000u);
  EXPECT_EQ(stream_.write(text.substr(1000)), text.size() - 1000);
  stream_.close();
  EXPECT_EQ(readBytes(path_), expected);

  // Back through the reader in text mode, line by line.
  ASSERT_TRUE(stream_.open(path_, "r"));
  std::string back, line;
  while (stream_.readLine(line)) back += line, line.clear();
  EXPECT_EQ(back, text);
}

TEST_F(StreamTest, ModeStrings) {
  writeBytes(path_, "");
  for (const char *ok : {"r", "rb", "rt", "r+", "r+b", "rb+", "w", "wb", "w+t", "a", "a+", "ab+"}) {
    Stream s;
    EXPECT_TRUE(s.open(path_, ok)) << ok;
  }
  std::string other = dir_.file("g");
  for (const char *bad : {"", "x", "rw", "rbt", "rr", "r++", "wbb", "w c", "+w", "R", "wx"}) {
    Stream s;
    EXPECT_FALSE(s.open(other, bad)) << bad;
    EXPECT_FALSE(s.isOpen());
  }
  // No file is created by a rejected mode.
  EXPECT_FALSE(std::filesystem::exists(other));
  // The mode is a C string: a NUL ends it.
  Stream s;
  EXPECT_TRUE(s.open(path_, "rb\0x"s));
  EXPECT_FALSE(s.textMode());
}

TEST_F(StreamTest, OpenFailsCleanly) {
  Stream s;
  EXPECT_FALSE(s.open(dir_.file("missing"), "r"));
  EXPECT_FALSE(s.open(dir_.file("no/such/dir"), "w"));
  EXPECT_FALSE(s.open(dir_.file(""), "r"));  // a directory
  EXPECT_FALSE(s.open(path_ + "\0tail"s, "w"));
  EXPECT_FALSE(std::filesystem::exists(path_));
  EXPECT_FALSE(s.isOpen());
  EXPECT_EQ(s.close(), -1);
  EXPECT_EQ(s.write("x"), 0u);
  EXPECT_EQ(s.getc(), -1);
  EXPECT_FALSE(s.rewind());
  EXPECT_FALSE(s.flush());
}

TEST_F(StreamTest, WrongDirectionFailsAtOnce) {
  Stream &s = openWith("abc", "r");
  EXPECT_EQ(s.write("x"), 0u);
  EXPECT_TRUE(s.error());
  EXPECT_EQ(s.getc(), 'a');
  s.close();
  EXPECT_EQ(readBytes(path_), "abc");

  Stream &t = openWith("abc", "a");
  EXPECT_EQ(t.getc(), -1);
  EXPECT_TRUE(t.error());
  EXPECT_FALSE(t.eof());
}

TEST_F(StreamTest, UpdateModeWritesWhereReadingStopped) {
  Stream &s = openWith("abcdef", "r+b");
  EXPECT_EQ(s.getc(), 'a');
  EXPECT_EQ(s.getc(), 'b');
  EXPECT_EQ(s.tell(), 2);
  s.write("XY");
  EXPECT_EQ(s.getc(), 'e');
  s.close();
  EXPECT_EQ(readBytes(path_), "abXYef");
}

TEST_F(StreamTest, PositionsAndAppending) {
  ASSERT_TRUE(stream_.open(path_, "w"));
  EXPECT_EQ(stream_.tell(), 0);
  stream_.write("a\n");
  EXPECT_EQ(stream_.tell(), 3);  // the file gets CR LF
  stream_.close();

  ASSERT_TRUE(stream_.open(path_, "a"));
  EXPECT_EQ(stream_.tell(), 3);  // appends go to the end
  stream_.write("b");
  EXPECT_EQ(stream_.tell(), 4);
  stream_.close();
  EXPECT_EQ(readBytes(path_), "a\r\nb");
}

TEST_F(StreamTest, RewindWritesPendingBytesFirst) {
  ASSERT_TRUE(stream_.open(path_, "w+"));
  stream_.write("one\ntwo\n");
  EXPECT_TRUE(stream_.rewind());
  EXPECT_EQ(readLine(stream_), "one\n");
  EXPECT_TRUE(stream_.rewind());
  EXPECT_EQ(readLine(stream_), "one\n");
}

TEST(StreamPipe, ALineIsReturnedAsSoonAsItArrives) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(::write(fds[1], "hello\n", 6), 6);
  Stream s;
  s.attach(fds[0]);
  EXPECT_FALSE(s.textMode());  // attached streams start binary
  // The writer stays open: a reader that waited for a full buffer would hang.
  auto line = std::async(std::launch::async, [&s] { return readLine(s); });
  bool ready = line.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
  if (!ready) ::close(fds[1]);  // unblocks the reader so the test can end
  EXPECT_TRUE(ready);
  EXPECT_EQ(line.get(), "hello\n");
  EXPECT_FALSE(s.rewind());  // pipes cannot seek
  EXPECT_EQ(s.close(), 0);   // not owned: let go, not closed
  if (ready) ::close(fds[1]);
  ::close(fds[0]);
}

}  // namespace
}  // namespace marl
