// The scanner: token boundaries, literal values, lines and files.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frontend/dump.hpp"
#include "frontend/names.hpp"
#include "frontend/node.hpp"
#include "frontend/scanner.hpp"
#include "frontend/tokens.hpp"
#include "io/stream.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

// Operator and keyword tokens as their lexeme; value tokens as their leaf.
std::string describe(int token) {
  switch (token) {
    case TK_VAR:
      return "var";
    case TK_IF:
      return "if";
    case TK_CLASS:
      return "class";
    case TK_NEW:
      return "new";
    case TK_DEFAULT:
      return "default:";
    case TK_SWAP:
      return "swap(";
    case TK_LET:
      return "let(";
    case TK_STRUCT:
      return "struct(";
    case TK_HASH:
      return "hash(";
    case TK_EQ:
      return "==";
    case TK_GT:
      return ">";
    case TK_GE:
      return ">=";
    case TK_LT:
      return "<";
    case TK_SEQ:
      return "===";
    case TK_SNE:
      return "!==";
    case TK_MATCH:
      return "=~";
    case TK_NMATCH:
      return "!~";
    case TK_SHR:
      return ">>";
    case TK_USHR:
      return ">>>";
    case TK_USHR_ASSIGN:
      return ">>>=";
    case TK_SHL_ASSIGN:
      return "<<=";
    case TK_POW:
      return "**";
    case TK_POW_ASSIGN:
      return "**=";
    case TK_IDIV_ASSIGN:
      return "\\=";
    case TK_DIV_ASSIGN:
      return "/=";
    case TK_INC:
      return "++";
    case TK_BAD_STRING:
      return "BAD_STRING";
    case TK_BAD_CHAR:
      return "BAD_CHAR";
    default:
      break;
  }
  if (token < 256) return std::string(1, static_cast<char>(token));
  if (marl_yylval.node) return dumpTree(marl_yylval.node);
  return "token" + std::to_string(token);
}

std::vector<std::string> scan(std::string_view text) {
  openSourceText(text);
  std::vector<std::string> out;
  for (int t; (t = marl_yylex()) != 0 && out.size() < 1000;) out.push_back(describe(t));
  return out;
}

using Tokens = std::vector<std::string>;

// The leaf of the only token of `text`.
Node *leaf(std::string_view text) {
  openSourceText(text);
  int t = marl_yylex();
  EXPECT_NE(t, 0);
  Node *n = marl_yylval.node;
  EXPECT_EQ(marl_yylex(), 0) << text;
  return n;
}

class ScannerTest : public ::testing::Test {
 protected:
  void TearDown() override { test::freshInterpreter(); }
};

TEST_F(ScannerTest, RadixLiteralsWrapToSigned32Bits) {
  EXPECT_EQ(scan("0xFF_FF 0b1_0 017 0_7 0_"), (Tokens{"65535", "2", "15", "7", "0"}));
  EXPECT_EQ(scan("0xffffffff 0x80000000 0x100000000"), (Tokens{"-1", "-2147483648", "0"}));
  // A prefix without digits is a zero followed by a name.
  EXPECT_EQ(scan("0x 0b2"), (Tokens{"0", "x", "0", "b2"}));
}

TEST_F(ScannerTest, DecimalLiteralsTakeTheLongestMatch) {
  EXPECT_EQ(scan("08 09"), (Tokens{"0", "8", "0", "9"}));
  EXPECT_EQ(scan("9. .5 1e3 2.5E-1 017.5 08.5"),
            (Tokens{"9", "0.5", "1000", "0.25", "17.5", "8.5"}));
  EXPECT_EQ(scan("1e 1..2"), (Tokens{"1", "e", "1", "0.2"}));
  EXPECT_EQ(scan("x=-1"), (Tokens{"x", "=", "-", "1"}));
  EXPECT_TRUE(std::isinf(leaf("1e400")->number));
}

TEST_F(ScannerTest, NamedConstantsNeedNoDelimiter) {
  EXPECT_EQ(scan("@pi2 @piano"), (Tokens{"3.141592653589793", "2", "3.141592653589793", "ano"}));
  EXPECT_EQ(scan("@e @eps @ep"),
            (Tokens{"2.718281828459045", "2.220446049250313e-16", "2.718281828459045", "p"}));
  EXPECT_EQ(scan("@max @min @inf"),
            (Tokens{"1.7976931348623157e+308", "2.2250738585072014e-308", "inf"}));
  EXPECT_TRUE(std::isnan(leaf("@nan")->number));
  EXPECT_EQ(scan("@Pi @"), (Tokens{"@", "Pi", "@"}));
}

TEST_F(ScannerTest, KeywordsAndTheirDelimiters) {
  EXPECT_EQ(scan("struct( struct hash  ( hash"), (Tokens{"struct(", "struct", "hash(", "hash"}));
  EXPECT_EQ(scan("default: default\t: default x"),
            (Tokens{"default:", "default:", "default", "x"}));
  EXPECT_EQ(scan("swap (let( iffy if in global"),
            (Tokens{"swap(", "let(", "iffy", "if", "in", "global"}));
  EXPECT_EQ(scan("true1 true null false class new"),
            (Tokens{"true1", "true", "null", "false", "class", "new"}));
  EXPECT_EQ(scan("__LINE__x"), (Tokens{"__LINE__x"}));
}

TEST_F(ScannerTest, OperatorsTakeTheLongestMatch) {
  EXPECT_EQ(scan("!=== a=~b !~ >>>= >>> >> >= > <<= <"),
            (Tokens{"!==", "=", "a", "=~", "b", "!~", ">>>=", ">>>", ">>", ">=", ">", "<<=", "<"}));
  EXPECT_EQ(scan("**= ** \\= \\ /= ++ ~ ` \r"),
            (Tokens{"**=", "**", "\\=", "\\", "/=", "++", "~", "`", "\r"}));
}

TEST_F(ScannerTest, DollarNames) {
  EXPECT_EQ(scan("$0 $12 $& $' $+ $_ $` $abc $_x"),
            (Tokens{"$0", "$12", "$&", "$'", "$+", "$_", "$`", "$abc", "$_x"}));
  EXPECT_EQ(scan("$1a $ x"), (Tokens{"$1", "a", "$", "x"}));
}

TEST_F(ScannerTest, CommentsAndLineCounting) {
  EXPECT_EQ(scan("a#b\nc # 12\nd"), (Tokens{"a", "c", "d"}));
  EXPECT_EQ(scan("/* a \n b */ x // y\nz /* open"), (Tokens{"x", "z"}));

  // A backslash before the line feed continues a "#" comment; both line feeds count.
  openSourceText("# one \\\n two\nx\n/*\n\n*/y");
  ASSERT_NE(marl_yylex(), 0);
  EXPECT_EQ(marl_yylval.node->line, 3);
  ASSERT_NE(marl_yylex(), 0);
  EXPECT_EQ(marl_yylval.node->line, 6);
  EXPECT_EQ(scan("# a \\\\\nhidden\nshown"), (Tokens{"shown"}));
}

TEST_F(ScannerTest, LineDirectivesSetLineAndFile) {
  openSourceText("#LINE 7 \"x.mr\"\nfoo __LINE__ __FILE__");
  ASSERT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 7);
  EXPECT_STREQ(fileNameAt(marl_yylval.node->file), "x.mr");
  ASSERT_EQ(marl_yylex(), TK_NUMBER);
  EXPECT_EQ(marl_yylval.node->number, 7);
  ASSERT_EQ(marl_yylex(), TK_STRING);
  EXPECT_EQ(dumpTree(marl_yylval.node), "\"x.mr\"");

  // Without a file name only the line changes; a zero clamps; the rest of the line is scanned.
  openSourceText("#line 0\nx\n#line 20 rest\ny");
  EXPECT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 1);
  EXPECT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(dumpTree(marl_yylval.node), "rest");
  EXPECT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 20);
  EXPECT_STREQ(fileNameAt(marl_yylval.node->file), "");
  EXPECT_EQ(scan("# 12\nx #line\ny"), (Tokens{"x", "y"}));
  // A huge number saturates instead of overflowing.
  openSourceText("#line 99999999999999999999\n\n\nx");
  EXPECT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 2147483647);
}

TEST_F(ScannerTest, DoubleQuotedEscapes) {
  EXPECT_EQ(dumpTree(leaf("\"a\\x00b\"")), "\"a\\x00b\"");
  EXPECT_EQ(leaf("\"a\\x00b\"")->payload.str->bytes.size(), 3u);
  EXPECT_EQ(scan("\"\\x41\\x4\\o101\\o0\\q\\\\x41\""), (Tokens{"\"A\\x04A\\x00\\\\q\\\\x41\""}));
  // \0 is not an octal prefix; \o gives the low byte of its value.
  EXPECT_EQ(scan("\"\\012\\o777\\o400\\xfF\""), (Tokens{"\"\\x0012\\xff\\x00\\xff\""}));
  EXPECT_EQ(scan("\"\\n\\t\\r\\a\\b\\f\\v\\\"\\'\""),
            (Tokens{"\"\\n\\t\\r\\x07\\x08\\x0c\\x0b\\\"'\""}));
  // Without digits the escape letters stay as written.
  EXPECT_EQ(scan("\"\\xg\\o8\""), (Tokens{"\"\\\\xg\\\\o8\""}));
}

TEST_F(ScannerTest, RawAndBlockStrings) {
  EXPECT_EQ(scan("'a\\nb' 'it\\'s' '\"'"), (Tokens{"\"a\\\\nb\"", "\"it's\"", "\"\\\"\""}));
  // Only quotes at the very start of a line close a block string.
  EXPECT_EQ(scan("\"\"\" \t\nab\n  \"\"\"\n\\n\n\"\"\"x"),
            (Tokens{"\"ab\\n  \\\"\\\"\\\"\\n\\\\n\\n\"", "x"}));
  EXPECT_EQ(scan("\"\"\"\n\"\"\"\"\""), (Tokens{"\"\"", "\"\""}));
  // Three quotes without a line feed are an empty string and a new one.
  EXPECT_EQ(scan("\"\"\"abc\""), (Tokens{"\"\"", "\"abc\""}));
  openSourceText("\"\"\"\n1\n2\n\"\"\" x");
  ASSERT_EQ(marl_yylex(), TK_STRING);
  ASSERT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 4);
}

TEST_F(ScannerTest, BrokenStrings) {
  // The line feed ends the string without being counted.
  openSourceText("\"abc\nx");
  EXPECT_EQ(marl_yylex(), TK_BAD_STRING);
  ASSERT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 1);
  EXPECT_EQ(scan("'abc\\'\nx"), (Tokens{"BAD_STRING", "x"}));
  EXPECT_EQ(scan("\"ab\\"), (Tokens{"BAD_STRING"}));
  EXPECT_EQ(scan("'ab"), (Tokens{"BAD_STRING"}));
  EXPECT_EQ(scan("\"\"\"\nab"), (Tokens{"BAD_STRING"}));
}

TEST_F(ScannerTest, ShiftJisSurvivesTheEucView) {
  // 0x83 0x5C has a backslash as trail byte; it must neither escape nor vanish.
  Node *s = leaf("\"\x83\x5C\\x41\x82\xA0\"");
  EXPECT_EQ(s->payload.str->bytes,
            "\x83\x5C"
            "A\x82\xA0");
  EXPECT_EQ(leaf("'\x83\x5C'")->payload.str->bytes, "\x83\x5C");
  EXPECT_EQ(leaf("\x93\xFA\x96\x7B_x")->payload.name->text, "\x93\xFA\x96\x7B_x");
  EXPECT_EQ(leaf("\"\xB1\xB2\"")->payload.str->bytes, "\xB1\xB2");
}

TEST_F(ScannerTest, RegexBodies) {
  openSourceText("a\\/b\\d/mi x");
  enterRegexMode();
  ASSERT_EQ(marl_yylex(), TK_REGEX);
  EXPECT_EQ(marl_yylval.node->payload.regex->pattern, "a/b\\d");
  EXPECT_EQ(marl_yylval.node->payload.regex->flags, 3);
  EXPECT_EQ(marl_yylex(), TK_SYMBOL);

  // A line feed inside a pattern is echoed and dropped, and not counted.
  Stream::standard(1).flush();  // nothing written before belongs to the capture
  testing::internal::CaptureStdout();
  openSourceText("ab\ncd/ x");
  enterRegexMode();
  ASSERT_EQ(marl_yylex(), TK_REGEX);
  Stream::standard(1).flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n");
  EXPECT_EQ(marl_yylval.node->payload.regex->pattern, "abcd");
  EXPECT_EQ(marl_yylval.node->line, 1);

  openSourceText("abc");
  enterRegexMode();
  EXPECT_EQ(marl_yylex(), 0);
}

// Bodies of literals and comments are taken in pieces, and the buffer is
// refilled in the middle of long tokens: values must come out whole, with
// escapes and double-byte characters that straddle any boundary intact.
TEST_F(ScannerTest, LongTokensKeepTheirValue) {
  for (size_t n : {63, 64, 65, 129, 16383, 16385, 100000}) {
    std::string body, escaped, expected;
    for (size_t i = 0; i < n; i++) {
      body += static_cast<char>('a' + i % 26);
      bool tab = i % 61 == 0, kanji = i % 67 == 5;
      escaped += tab ? "\\t" : kanji ? "\x82\xA0" : "b";
      expected += tab ? "\t" : kanji ? "\x82\xA0" : "b";
    }
    EXPECT_EQ(leaf("\"" + escaped + "\"")->payload.str->bytes, expected) << n;
    EXPECT_EQ(leaf("'" + escaped + "'")->payload.str->bytes.size(), escaped.size()) << n;
    EXPECT_EQ(leaf("\"\"\"\n" + body + "\n\"\"\"")->payload.str->bytes, body + "\n") << n;
    EXPECT_EQ(leaf("n" + body)->payload.name->text, "n" + body) << n;
    EXPECT_EQ(leaf("$" + body)->payload.name->text, "$" + body) << n;
    EXPECT_EQ(leaf("0." + std::string(n, '0') + "5e" + std::to_string(n + 1))->number, 5) << n;
    EXPECT_EQ(scan("x//" + body + "\ny/*" + body + "*/z#" + body + "\nw"),
              (Tokens{"x", "y", "z", "w"}))
        << n;
    openSourceText(body + "\\/" + body + "/ x");
    enterRegexMode();
    ASSERT_EQ(marl_yylex(), TK_REGEX);
    EXPECT_EQ(marl_yylval.node->payload.regex->pattern, body + "/" + body) << n;
    EXPECT_EQ(marl_yylex(), TK_SYMBOL);
  }
}

TEST_F(ScannerTest, ReopeningResetsLineFileAndState) {
  openSourceText("\"unterminated");
  openSourceText("\n\nx");
  ASSERT_EQ(marl_yylex(), TK_SYMBOL);
  EXPECT_EQ(marl_yylval.node->line, 3);
  EXPECT_STREQ(fileNameAt(currentFileIndex()), "");
  EXPECT_EQ(enterFileName(""), currentFileIndex());
  EXPECT_FALSE(openSourcePath("/nonexistent/dir/script.mr"));
  EXPECT_EQ(currentLine(), 1);
  EXPECT_STREQ(fileNameAt(currentFileIndex()), "/nonexistent/dir/script.mr");
  EXPECT_EQ(marl_yylex(), 0);
}

}  // namespace
}  // namespace marl
