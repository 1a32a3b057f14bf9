// The converters between the internal encoding and file encodings, and Base64.
#include <gtest/gtest.h>

#include <string>

#include "io/encoding.hpp"

namespace marl {
namespace {

using namespace std::string_literals;

TEST(Euc, PairRoundTripAndRowArithmetic) {
  EXPECT_EQ(sjisToEuc("\x82\xA0"), "\xA4\xA2");
  EXPECT_EQ(eucToSjis("\xA4\xA2"), "\x82\xA0");
  // All four branches of the row formula: lead <= 0x9F or above, trail on
  // either side of 0x9F (\x88\x9F, \x89\x40, \xE0\x9F, \xE0\x40).
  EXPECT_EQ(sjisToEuc("\x88\x9F\x89\x40\xE0\x9F\xE0\x40"), "\xB0\xA1\xB1\xA1\xE0\xA1\xDF\xA1");
  EXPECT_EQ(eucToSjis("\xB0\xA1\xB1\xA1\xE0\xA1\xDF\xA1"), "\x88\x9F\x89\x40\xE0\x9F\xE0\x40");
  // Trail bytes 0x80-0x9E take the middle cell formula.
  EXPECT_EQ(sjisToEuc("\x82\x80"), "\xA3\xE0");
  EXPECT_EQ(sjisToEuc("a\x82\xA0z"), "a\xA4\xA2z");
}

TEST(Euc, HalfWidthKatakanaAndStrayBytes) {
  EXPECT_EQ(sjisToEuc("\xB1\xDF"), "\x8E\xB1\x8E\xDF");
  EXPECT_EQ(eucToSjis("\x8E\xB1x\x8E\xDF"), "\xB1x\xDF");
  // A lead byte without a trail byte is copied alone.
  EXPECT_EQ(sjisToEuc("\x82 "), "\x82 ");
  EXPECT_EQ(sjisToEuc("\x82"), "\x82");
  // JIS X 0212 (0x8F, three bytes) has no Shift_JIS form.
  EXPECT_EQ(eucToSjis("a\x8F\xB0\xA1"
                      "b"),
            "ab");
}

TEST(Euc, TruncatedInputStopsAtTheEnd) {
  // Each of these ends inside a sequence; the views are cut so that a read
  // past the end would touch the byte after them.
  std::string buf = "\xA4\xA2\xA4\x8E\x8F\xB0";
  EXPECT_EQ(eucToSjis(std::string_view(buf).substr(0, 3)), "\x82\xA0");
  EXPECT_EQ(eucToSjis(std::string_view(buf).substr(3, 1)), "");
  EXPECT_EQ(eucToSjis(std::string_view(buf).substr(4, 2)), "");
  EXPECT_EQ(eucToSjis("\x8F"), "");
  EXPECT_EQ(eucToSjis("\x8E"), "");
  EXPECT_EQ(eucToSjis(""), "");
}

TEST(Utf8, EncoderWritesEachUnitAlone) {
  EXPECT_EQ(sjisToUtf8("abc"), "abc");
  EXPECT_EQ(sjisToUtf8("\x82\xA0"), "\xE3\x81\x82");  // U+3042
  EXPECT_EQ(sjisToUtf8("\xB1"), "\xEF\xBD\xB1");      // half-width katakana U+FF71
  EXPECT_EQ(sjisToUtf8("\x83\xBF"), "\xCE\xB1");      // Greek alpha, two bytes
  EXPECT_EQ(sjisToUtf8("x\0y"s), "x\0y"s);
}

TEST(Utf8, SurrogatePairBecomesTwoThreeByteSequences) {
  std::string units = "\x3D\xD8\x00\xDE"s;  // U+1F600 as D83D DE00
  EXPECT_EQ(utf16ToUtf8(units), "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(utf8ToUtf16("\xED\xA0\xBD\xED\xB8\x80"), units);
  // CP932 lacks the character: the pair becomes one default character.
  EXPECT_EQ(utf8ToSjis("\xED\xA0\xBD\xED\xB8\x80"), "?");
}

TEST(Utf8, DecoderFollowsTheLeadBytePattern) {
  EXPECT_EQ(utf8ToSjis("\xE3\x81\x82"), "\x82\xA0");
  EXPECT_EQ(utf8ToSjis("\xCE\xB1"), "\x83\xBF");
  // 0xD0 counts as a four-byte lead: the Cyrillic letter and the two bytes
  // after it are lost.
  EXPECT_EQ(utf8ToSjis("\xD0\x96"
                       "abcd"),
            "cd");
  // 0x80-0x8F pair with the next byte; 0xDE is dropped alone.
  EXPECT_EQ(utf8ToSjis("\x81\x81Z"), "AZ");
  EXPECT_EQ(utf8ToSjis("\xDEZ"), "Z");
  // A four-byte sequence gives nothing; a cut-off one ends the text.
  EXPECT_EQ(utf8ToSjis("a\xF0\x9F\x98\x80"
                       "b"),
            "ab");
  EXPECT_EQ(utf8ToSjis("ab\xE3\x81"), "ab");
}

TEST(Utf8, SequenceLengthByPattern) {
  EXPECT_EQ(utf8SequenceLength('a'), 1);
  EXPECT_EQ(utf8SequenceLength(0x80), 2);
  EXPECT_EQ(utf8SequenceLength(0xC3), 2);
  EXPECT_EQ(utf8SequenceLength(0xE3), 3);
  EXPECT_EQ(utf8SequenceLength(0xA0), 3);
  EXPECT_EQ(utf8SequenceLength(0xD0), 4);
  EXPECT_EQ(utf8SequenceLength(0xF0), 4);
  EXPECT_EQ(utf8SequenceLength(0xD8), 5);
  EXPECT_EQ(utf8SequenceLength(0xDC), 6);
  EXPECT_EQ(utf8SequenceLength(0xDE), 1);
  EXPECT_EQ(utf8SequenceLength(0xFF), 1);
}

TEST(Utf16, ConversionsBothWays) {
  EXPECT_EQ(sjisToUtf16("ab"), "a\0b\0"s);
  EXPECT_EQ(sjisToUtf16("\x82\xA0"), "\x42\x30"s);
  // A trail byte may be an ASCII letter; it must stay with its lead.
  EXPECT_EQ(sjisToUtf16("\x83\x41"
                        "A"),
            "\xA2\x30"
            "A\0"s);
  EXPECT_EQ(utf16ToSjis("\xA2\x30"
                        "A\0"s),
            "\x83\x41"
            "A");
  EXPECT_EQ(utf16ToSjis("a\0\0\0b\0"s), "a\0b"s);
  // An odd last byte is no unit; a character CP932 lacks becomes '?'.
  EXPECT_EQ(utf16ToSjis("a\0b"s), "a");
  EXPECT_EQ(utf16ToSjis("\xAC\x20"s), "?");  // euro sign
}

TEST(Utf16, CharactersBeyondTheBasicPlane) {
  // A surrogate pair is one character: one '?', with what follows kept.
  EXPECT_EQ(utf16ToSjis("a\0\x3D\xD8\x00\xDE"
                        "b\0"s),
            "a?b");
  EXPECT_EQ(utf16ToSjis("\x3D\xD8\x00\xDE\x42\x30\x69\xD8\xDD\xDC"s), "?\x82\xA0?");
  // Halves that do not pair are one character each.
  EXPECT_EQ(utf16ToSjis("\x3D\xD8"
                        "a\0"s),
            "?a");
  EXPECT_EQ(utf16ToSjis("\x00\xDE\x3D\xD8"s), "??");
  EXPECT_EQ(utf16ToSjis("\x3D\xD8\x3D\xD8\x00\xDE"s), "??");
  EXPECT_EQ(utf16ToSjis("\x3D\xD8\x00"s), "?");  // the odd byte is no unit
}

TEST(Utf16, BytesOutsideTheCodePage) {
  // Single bytes CP932 leaves unassigned survive a round trip.
  std::string stray = "\x80\xA0\xFD\xFE\xFF";
  EXPECT_EQ(utf16ToSjis(sjisToUtf16(stray)), stray);
  // A lead byte with no valid trail, or at the very end, decodes to U+30FB
  // and does not take the next character with it.
  EXPECT_EQ(sjisToUtf16("\x82 "), "\xFB\x30 \0"s);
  EXPECT_EQ(sjisToUtf16("a\x82"), "a\0\xFB\x30"s);
  // An unassigned pair is one character.
  EXPECT_EQ(sjisToUtf16("\x85\x40"
                        "a"),
            "\xFB\x30"
            "a\0"s);
}

TEST(Base64, Encoding) {
  EXPECT_EQ(base64Encode(""), "");
  EXPECT_EQ(base64Encode("M"), "TQ==");
  EXPECT_EQ(base64Encode("Ma"), "TWE=");
  EXPECT_EQ(base64Encode("Man"), "TWFu");
  EXPECT_EQ(base64Encode("\xFF\xFE\x00\x01"s), "//4AAQ==");
}

TEST(Base64, LenientDecoding) {
  EXPECT_EQ(base64Decode("TWFu"), "Man");
  EXPECT_EQ(base64Decode("TW Fu"), "Man");
  EXPECT_EQ(base64Decode("T\r\nW\x82\xA0"
                         "Fu"),
            "Man");
  // An unpadded partial group is dropped.
  EXPECT_EQ(base64Decode("TWFuTQ"), "Man");
  // A padded group ends decoding.
  EXPECT_EQ(base64Decode("TQ==TWFu"), "M");
  EXPECT_EQ(base64Decode("TWE=TWFu"), "Ma");
  EXPECT_EQ(base64Decode("=TWFu"), "");
  // A NUL ends the text, even inside a group.
  EXPECT_EQ(base64Decode("TWFu\0TWFu"s), "Man");
  EXPECT_EQ(base64Decode("TW\0Fu"s), "");
  EXPECT_EQ(base64Decode("//4AAQ=="), "\xFF\xFE\x00\x01"s);
}

}  // namespace
}  // namespace marl
