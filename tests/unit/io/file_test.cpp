// File objects: results on closed objects, the byte and UTF-16 line readers,
// the encoding classes and the source reader.
#include "io/file.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "io/euc_file.hpp"
#include "tests/unit/io/scratch_dir.hpp"

namespace marl {
namespace {

using namespace std::string_literals;

class FileTest : public ::testing::Test {
 protected:
  // A new object of the encoding's class opened on `path_` holding `bytes`.
  std::unique_ptr<MFile> openWith(const char *encoding, const std::string &bytes,
                                  const char *mode = "r") {
    writeBytes(path_, bytes);
    std::unique_ptr<MFile> f(makeFileObject(encoding));
    EXPECT_TRUE(f && f->open(path_, mode));
    return f;
  }
  ScratchDir dir_;
  std::string path_ = dir_.file("f");
};

TEST_F(FileTest, ClosedObjectResults) {
  std::unique_ptr<MFile> f(makeFileObject("sjis"));
  for (int round = 0; round < 2; round++) {
    EXPECT_EQ(f->getline(), "");
    EXPECT_FALSE(f->puts("x"));
    EXPECT_EQ(f->read(10), "");
    EXPECT_EQ(f->write("x"), 0);
    EXPECT_TRUE(f->eof());
    EXPECT_FALSE(f->rewind());
    EXPECT_FALSE(f->flush());
    EXPECT_FALSE(f->binmode());
    EXPECT_FALSE(f->txtmode());
    EXPECT_EQ(f->close(), -1);
    // A failed open leaves it closed just the same.
    EXPECT_FALSE(f->open(dir_.file("missing"), "r"));
    EXPECT_FALSE(f->isOpen());
  }
  EXPECT_STREQ(f->typeName(), "file");
  EXPECT_EQ(f->type, ObjType::File);
}

TEST_F(FileTest, LinesInTextAndBinaryMode) {
  auto f = openWith("sjis", "abc\r\ndef\r\nlast");
  EXPECT_EQ(f->getline(), "abc\n");
  EXPECT_TRUE(f->binmode());
  EXPECT_TRUE(f->binary);
  EXPECT_EQ(f->getline(), "def\r\n");
  EXPECT_FALSE(f->eof());
  EXPECT_EQ(f->getline(), "last");
  EXPECT_TRUE(f->eof());
  EXPECT_EQ(f->getline(), "");
  EXPECT_EQ(f->close(), 0);
  EXPECT_EQ(f->close(), -1);
}

TEST_F(FileTest, EofAfterALastLineWithLineFeed) {
  auto f = openWith("sjis", "one\ntwo\n");
  EXPECT_EQ(f->getline(), "one\n");
  EXPECT_EQ(f->getline(), "two\n");
  EXPECT_FALSE(f->eof());
  EXPECT_EQ(f->getline(), "");
  EXPECT_TRUE(f->eof());
  // Rewinding (what flush(f) does) reads the first line again.
  EXPECT_TRUE(f->rewind());
  EXPECT_FALSE(f->eof());
  EXPECT_EQ(f->getline(), "one\n");
}

TEST_F(FileTest, LongLinesAndNulBytes) {
  std::string longLine(5000, 'q');
  longLine[511] = '\0';
  longLine[512] = '\r';
  auto f = openWith("sjis", longLine + "\r\n" + "a\0b\n"s + std::string(1500, 'z'));
  EXPECT_EQ(f->getline(), longLine + "\n");
  EXPECT_EQ(f->getline(), "a\0b\n"s);
  EXPECT_EQ(f->getline(), std::string(1500, 'z'));
  EXPECT_TRUE(f->eof());
}

TEST_F(FileTest, RawReadAndWrite) {
  auto f = openWith("utf8", "\xE3\x81\x82\r\nxyz", "r+b");
  // Raw bytes are never converted.
  EXPECT_EQ(f->read(5), "\xE3\x81\x82\r\n");
  EXPECT_EQ(f->read(0), "");
  EXPECT_EQ(f->read(-3), "");
  EXPECT_EQ(f->read(1LL << 50), "xyz");  // no allocation of the count up front
  EXPECT_TRUE(f->eof());
  EXPECT_EQ(f->write("\x82\xA0"), 2);
  f->close();
  EXPECT_EQ(readBytes(path_), "\xE3\x81\x82\r\nxyz\x82\xA0");
}

TEST_F(FileTest, PutsEncodesAndReportsWhetherAnythingWasWritten) {
  std::unique_ptr<MFile> f(makeFileObject("euc"));
  ASSERT_TRUE(f->open(path_, "w"));
  EXPECT_TRUE(f->puts("\x82\xA0\xB1\n"));
  EXPECT_FALSE(f->puts(""));
  EXPECT_TRUE(f->flush());
  EXPECT_EQ(readBytes(path_), "\xA4\xA2\x8E\xB1\r\n");
  ASSERT_TRUE(f->open(path_, "r"));  // closes the writer first
  EXPECT_EQ(f->getline(), "\x82\xA0\xB1\n");

  auto u = openWith("utf8", "\xE3\x81\x82\r\n\xD0\x96xyz\n");
  EXPECT_EQ(u->getline(), "\x82\xA0\n");
  EXPECT_EQ(u->getline(), "z\n");  // 0xD0 swallows three bytes
}

TEST_F(FileTest, BinaryFlagSurvivesReopeningAndComesFromProcessStreams) {
  auto f = openWith("sjis", "a\r\n");
  f->binmode();
  ASSERT_TRUE(f->open(path_, "r"));
  EXPECT_EQ(f->getline(), "a\r\n");
  EXPECT_TRUE(f->txtmode());
  ASSERT_TRUE(f->open(path_, "r"));
  EXPECT_EQ(f->getline(), "a\n");

  // An object attached to a binary stream takes the flag over, so that
  // re-opening stdin on an input file keeps it binary.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  Stream piped;
  piped.attach(fds[0]);
  std::unique_ptr<MFile> in(makeStreamFilter("SJIS"));
  in->attach(piped);
  EXPECT_TRUE(in->binary);
  EXPECT_EQ(in->close(), -1);  // only let go
  EXPECT_TRUE(piped.isOpen());
  ASSERT_TRUE(in->open(path_, "r"));
  EXPECT_EQ(in->getline(), "a\r\n");
  ::close(fds[0]);
  ::close(fds[1]);
}

TEST_F(FileTest, Utf16WriterAddsMarkAndCrUnits) {
  std::unique_ptr<MFile> f(makeFileObject("utf16"));
  ASSERT_TRUE(f->open(path_, "w"));
  EXPECT_TRUE(f->puts("a\nb"));
  f->flush();
  EXPECT_EQ(readBytes(path_),
            "\xFF\xFE"
            "a\0\r\0\n\0b\0"s);
  // Only position 0 gets the mark; rewinding and writing again adds a new one.
  EXPECT_TRUE(f->puts("\x82\xA0"));
  EXPECT_TRUE(f->rewind());
  EXPECT_TRUE(f->puts("c"));
  f->close();
  EXPECT_EQ(readBytes(path_),
            "\xFF\xFE"
            "c\0\r\0\n\0b\0\x42\x30"s);

  ASSERT_TRUE(f->open(path_, "wb"));
  EXPECT_FALSE(f->puts(""));  // nothing given, though the mark is written
  EXPECT_TRUE(f->puts("x\n"));
  f->close();
  EXPECT_EQ(readBytes(path_),
            "\xFF\xFE"
            "x\0\n\0"s);
}

TEST_F(FileTest, Utf16ReaderDropsMarksAndEndsLines) {
  auto f = openWith("utf16",
                    "\xFF\xFE"
                    "a\0\r\0\n\0\xFF\xFE"
                    "b\0\n\0"
                    "c\0\x42\x30"s);
  EXPECT_EQ(f->getline(), "a\n");
  EXPECT_EQ(f->getline(), "b\n");  // a bare LF ends a line in text mode too
  EXPECT_EQ(f->getline(), "c\x82\xA0");
  EXPECT_TRUE(f->eof());
  EXPECT_EQ(f->getline(), "");

  // A lone CR swallows the unit after it; an odd last byte is dropped.
  auto g = openWith("utf16", "a\0\r\0x\0y\0z"s);
  EXPECT_EQ(g->getline(), "a\n");
  EXPECT_EQ(g->getline(), "y");

  // Binary mode: CR is a character, LF ends the line.
  auto h = openWith("utf16", "a\0\r\0\n\0b\0"s, "rb");
  EXPECT_EQ(h->getline(), "a\r\n");
  EXPECT_EQ(h->getline(), "b");
}

TEST_F(FileTest, Utf16BigEndianIsGarbageButNoError) {
  auto f = openWith("utf16", "\xFE\xFF\0a\0\n"s);
  std::string line = f->getline();
  EXPECT_FALSE(line.empty());
  EXPECT_EQ(line.find('a'), std::string::npos);
  EXPECT_EQ(line.find('\n'), std::string::npos);  // 0x0A00 is no line feed
  EXPECT_EQ(f->getline(), "");
  EXPECT_TRUE(f->eof());
}

TEST(FileFactory, EncodingWords) {
  for (const char *word : {"sjis", "euc", "utf8", "utf16"}) {
    std::unique_ptr<MFile> f(makeFileObject(word));
    ASSERT_NE(f, nullptr) << word;
    EXPECT_STREQ(f->typeName(), "file");
  }
  std::unique_ptr<MFile> s(makeFileObject("sjis")), w(makeFileObject("utf16"));
  EXPECT_NE(dynamic_cast<MFileSjis *>(s.get()), nullptr);
  EXPECT_NE(dynamic_cast<MFileUtf16 *>(w.get()), nullptr);
  EXPECT_EQ(makeFileObject("SJIS"), nullptr);
  EXPECT_EQ(makeFileObject("latin1"), nullptr);
  EXPECT_EQ(makeFileObject(""), nullptr);
  std::unique_ptr<MFile> e(makeStreamFilter("EuC"));
  EXPECT_NE(dynamic_cast<MFileEuc *>(e.get()), nullptr);
  std::unique_ptr<MFile> u(makeStreamFilter("UTF8"));
  EXPECT_NE(dynamic_cast<MFileUtf8 *>(u.get()), nullptr);
  EXPECT_EQ(makeStreamFilter("utf-8"), nullptr);
}

TEST_F(FileTest, EucFileReadsTextModeSourceAsEuc) {
  writeBytes(path_, "s = \"\x82\xA0\xB1\";\r\nx\0ignored"s);
  auto src = EucFile::fromPath(path_);
  ASSERT_NE(src, nullptr);
  EXPECT_EQ(src->text(), "s = \"\xA4\xA2\x8E\xB1\";\nx");
  char buf[8];
  EXPECT_EQ(src->read(buf, 0), 0u);
  EXPECT_EQ(src->read(buf, -1), 0u);
  std::string back;
  for (size_t n; (n = src->read(buf, sizeof buf)) > 0;) back.append(buf, n);
  EXPECT_EQ(back, src->text());
  EXPECT_EQ(src->read(buf, sizeof buf), 0u);

  EXPECT_EQ(EucFile::fromPath(dir_.file("missing")), nullptr);
  EXPECT_EQ(EucFile::fromPath(dir_.file("")), nullptr);
  EXPECT_EQ(EucFile::fromText("a\r\n\x82\xA0\0b"s)->text(), "a\r\n\xA4\xA2");
}

}  // namespace
}  // namespace marl
