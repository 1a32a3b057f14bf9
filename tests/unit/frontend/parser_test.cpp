// The grammar: precedence, accepted and rejected forms, errors and tree shapes.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <unistd.h>

#include "frontend/parse_error.hpp"
#include "frontend/dump.hpp"
#include "frontend/functions.hpp"
#include "frontend/names.hpp"
#include "frontend/parse.hpp"
#include "support/fresh_interpreter.hpp"

namespace marl {
namespace {

class ParserTest : public ::testing::Test {
 protected:
  void TearDown() override { test::freshInterpreter(); }

  // The statements' dump, or "ERROR" when the parse failed.
  std::string parse(std::string_view text) {
    testing::internal::CaptureStderr();
    ParseResult r = parseText(text);
    errors_ = testing::internal::GetCapturedStderr();
    return r.ok ? dumpList(r.statements) : "ERROR";
  }

  std::string errors_;
};

TEST_F(ParserTest, PrecedenceLevels) {
  EXPECT_EQ(parse("a == b === c;"), "(=== (== a b) c)");
  EXPECT_EQ(parse("a =~ b == c;"), "(=~ a (== b c))");
  EXPECT_EQ(parse("a & b == c;"), "(& a (== b c))");
  EXPECT_EQ(parse("a ~ b !~ c;"), "(!~ (=~ a b) c)");
  EXPECT_EQ(parse("a || b && c | d ^ e & f;"), "(|| a (&& b (| c (^ d (& e f)))))");
  EXPECT_EQ(parse("a << 1 + 2 * 3 < b;"), "(< (<< a (+ 1 (* 2 3))) b)");
  EXPECT_EQ(parse("a - b - c \\ d % e;"), "(- (- a b) (% (\\ c d) e))");
  EXPECT_EQ(parse("-x**2; 2**3**2; 2 ** -1;"), "(neg (** x 2)); (** 2 (** 3 2)); (** 2 (neg 1))");
  EXPECT_EQ(parse("+x; !a == b; ~-a; ++a++;"), "x; (== (! a) b); (~ (neg a)); (pre++ (post++ a))");
}

TEST_F(ParserTest, AssignmentCommaAndConditional) {
  EXPECT_EQ(parse("x = a, b;"), "(, (= x a) b)");
  EXPECT_EQ(parse("a = b += c;"), "(= a (+= b c))");
  EXPECT_EQ(parse("a \\= 1; a **= 2; a >>>= 3; a <<= 4;"),
            "(\\= a 1); (**= a 2); (>>>= a 3); (<<= a 4)");
  EXPECT_EQ(parse("a ? b : c ? d : e;"), "(? a b (? c d e))");
  // The middle part runs to the colon; "=" binds looser than "?:".
  EXPECT_EQ(parse("a ? b, c : d;"), "(? a (, b c) d)");
  EXPECT_EQ(parse("x = a ? b : c = d;"), "(= x (= (? a b c) d))");
}

TEST_F(ParserTest, ComparisonChains) {
  EXPECT_EQ(parse("a < b <= c;"), "(chain< a (<= b c))");
  EXPECT_EQ(parse("a == b != c > d;"), "(chain== a (chain!= b (> c d)))");
  // The ">=" link is built as ">".
  EXPECT_EQ(parse("a >= b > c;"), "(chain> a (> b c))");
  EXPECT_EQ(parse("a < (b < c);"), "(< a (< b c))");
  EXPECT_EQ(parse("(a < b) < c;"), "(< (< a b) c)");
}

TEST_F(ParserTest, CallsMembersAndIndexes) {
  EXPECT_EQ(parse("f(1, g())[0].x++;"), "(post++ (. ([] (call f 1 (call g)) 0) x))");
  EXPECT_EQ(parse("o.m(1).n();"), "(call (. (call (. o m) 1) n))");
  EXPECT_EQ(parse("a[1, 2]; &f;"), "([] a (, 1 2)); (funcref f)");
  EXPECT_EQ(parse("f(a)(b);"), "ERROR");
  EXPECT_EQ(parse("(f)(1);"), "ERROR");
  EXPECT_EQ(parse("a[0](1);"), "ERROR");
  EXPECT_EQ(parse("&f(1);"), "ERROR");
  EXPECT_EQ(parse("&(f);"), "ERROR");
  EXPECT_EQ(parse("f(1,);"), "ERROR");
}

TEST_F(ParserTest, Literals) {
  EXPECT_EQ(parse("(1, 2, 3); []; [1, [2]];"), "(list 1 2 3); (array); (array 1 (array 2))");
  EXPECT_EQ(parse("[1,];"), "ERROR");
  EXPECT_EQ(parse("hash('a' = 1, 'b'); hash();"), "(hash (= \"a\" 1) \"b\"); (hash)");
  EXPECT_EQ(parse("hash(a = 1);"), "ERROR");
  EXPECT_EQ(parse("struct(a, b = 2);"), "(struct a (= b 2))");
  EXPECT_EQ(parse("swap(a, b[1]); let(x, 2);"), "(swap a ([] b 1)); (let x 2)");
  EXPECT_EQ(parse("x = \"a\" 'b' \"\"\"\nc\n\"\"\" __FILE__;"), "(= x \"abc\\n\")");
  EXPECT_EQ(parse("null; true; false; 1.5;"), "null; true; false; 1.5");
}

TEST_F(ParserTest, RegexLiteralsInOperandPosition) {
  EXPECT_EQ(parse("x = /a b/i; /c/ =~ y;"), "(= x /a b/i); (=~ /c/ y)");
  EXPECT_EQ(parse("a / b / c;"), "(/ (/ a b) c)");
  EXPECT_EQ(parse("a / /b/;"), "(/ a /b/)");
  EXPECT_EQ(parse("f(/x/, 2);"), "(call f /x/ 2)");
  EXPECT_EQ(parse("x = /=/;"), "ERROR");
  EXPECT_EQ(parse("x = /abc"), "ERROR");
}

TEST_F(ParserTest, ConditionalsAndLoops) {
  EXPECT_EQ(parse("if (a) x; elif (b) y; elif (c) z; else w;"), "(if a x (if b y (if c z w)))");
  EXPECT_EQ(parse("if (a) if (b) x; else y;"), "(if a (if b x y) _)");
  EXPECT_EQ(parse("if (a) ; else ;"), "(if a null null)");
  EXPECT_EQ(parse("else x;"), "ERROR");
  EXPECT_EQ(parse("while (i < 3) { i++; }"), "(while (< i 3) (block (post++ i)))");
  EXPECT_EQ(parse("do x++; while (x);"), "(do x (post++ x))");
  EXPECT_EQ(parse("do x++; while (x)"), "ERROR");
  EXPECT_EQ(parse("for (;;) ;"), "(for _ _ _ null)");
  EXPECT_EQ(parse("for (var i = 0, j; i < 3; i++, j--) f();"),
            "(for (var (= i 0) j) (< i 3) (, (post++ i) (post-- j)) (call f))");
  EXPECT_EQ(parse("foreach (x in a) ; foreach (var y in [1]) f(y);"),
            "(foreach x a null); (foreach (var y) (array 1) (call f y))");
  EXPECT_EQ(parse("foreach (x on a) ;"), "ERROR");
  EXPECT_EQ(parse("break; continue 2; return; return a, b;"),
            "(break); (continue 2); (return); (return (, a b))");
}

TEST_F(ParserTest, SwitchAndTry) {
  EXPECT_EQ(parse("switch (x) { case 1: a; default: b; case y ? 2 : 3: c; }"),
            "(switch x (block (case 1) a (default) b (case (? y 2 3)) c))");
  EXPECT_EQ(parse("case 1: default :"), "(case 1); (default)");
  EXPECT_EQ(parse("try x;"), "(try x _ _)");
  EXPECT_EQ(parse("try x; catch (e) y; try ; catch () ; try {} catch (var e) {}"),
            "(try x e y); (try null _ null); (try (block) (var e) (block))");
  EXPECT_EQ(parse("try try a; catch (e) b;"), "(try (try a e b) _ _)");
  EXPECT_EQ(parse("catch (e) x;"), "ERROR");
}

TEST_F(ParserTest, Declarations) {
  EXPECT_EQ(parse("var a, b = 3, c[10], d[];"), "(var a (= b 3) ([] c 10) ([] d _))");
  EXPECT_EQ(parse("static s = 1, t; extern u, v;"), "(static (= s 1) t); (extern u v)");
  EXPECT_EQ(parse("var a[3] = 1;"), "ERROR");
  EXPECT_EQ(parse("var a[2][3];"), "ERROR");
  EXPECT_EQ(parse("var;"), "ERROR");
  EXPECT_EQ(parse("extern a = 1;"), "ERROR");
  EXPECT_EQ(parse("class A {}"), "ERROR");
  EXPECT_EQ(parse("x = new A;"), "ERROR");
}

TEST_F(ParserTest, DestructuringTargets) {
  EXPECT_EQ(parse("[a, null, b.c, d[0]] = f();"), "(= (array a null (. b c) ([] d 0)) (call f))");
  EXPECT_EQ(parse("[a, 1] = f();"), "ERROR");
  EXPECT_EQ(parse("[a, [b]] = f();"), "ERROR");
  // Only "=" destructures; other operators take any target.
  EXPECT_EQ(parse("[a, 1] += f();"), "(+= (array a 1) (call f))");
}

TEST_F(ParserTest, FunctionsAtTopLevelGoToTheTable) {
  EXPECT_EQ(parse("function f(a, b) { return a; } f(1, 2);"), "(call f 1 2)");
  FuncInfo *f = findFunction("f");
  ASSERT_NE(f, nullptr);
  func_data *d = f->find(2);
  ASSERT_NE(d, nullptr);
  ASSERT_NE(d->def, nullptr);
  ASSERT_EQ(d->def->params.size(), 2u);
  EXPECT_EQ(d->def->params[1]->text, "b");
  EXPECT_EQ(dumpTree(d->def->body), "(block (return a))");
  EXPECT_EQ(d->def->line, 1);

  // Inside braces a definition is a statement of its own.
  EXPECT_EQ(parse("{ function g() { function h(x) {} } }"),
            "(block (function g () (block (function h (x) (block)))))");
  EXPECT_EQ(findFunction("g"), nullptr);
  // Outside braces it is registered even as the body of an if.
  EXPECT_EQ(parse("if (x) function k() {}"), "(if x null _)");
  EXPECT_NE(findFunction("k"), nullptr);
  // A definition before a syntax error is already registered.
  EXPECT_EQ(parse("function m() {} x = ;"), "ERROR");
  EXPECT_NE(findFunction("m"), nullptr);
  EXPECT_EQ(parse("function n(a,) {}"), "ERROR");
}

TEST_F(ParserTest, ErrorsNameTheLineAndFile) {
  EXPECT_EQ(parse("x = 1;\ny = ;\n"), "ERROR");
  EXPECT_EQ(errors_, "error [2]: syntax error\n");
  EXPECT_EQ(parse("#line 7 \"x.mr\"\nx = 1;\ny = ;"), "ERROR");
  EXPECT_EQ(errors_, "error [x.mr:8]: syntax error\n");
  EXPECT_EQ(parse("x = \"abc\n;"), "ERROR");
  EXPECT_EQ(errors_, "error [1]: syntax error\n");
  // After recovery at ";" later errors are reported as well.
  EXPECT_EQ(parse("a = ;\nb = 1;\nc = );\n"), "ERROR");
  EXPECT_EQ(errors_, "error [1]: syntax error\nerror [3]: syntax error\n");
  // A wrong foreach word is reported where it stands, and parsing goes on.
  EXPECT_EQ(parse("foreach (x\nof y) ;\nz = ;"), "ERROR");
  EXPECT_EQ(errors_, "error [2]: syntax error\nerror [3]: syntax error\n");
}

TEST_F(ParserTest, FileSourcesCarryTheirName) {
  char path[] = "/tmp/marl-parse-XXXXXX";
  int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  const char text[] = "x = 1;\ny = __FILE__;\n";
  ASSERT_EQ(write(fd, text, sizeof text - 1), static_cast<ssize_t>(sizeof text - 1));
  close(fd);
  bool opened = false;
  ParseResult r = parseFile(path, opened);
  unlink(path);
  ASSERT_TRUE(opened);
  ASSERT_TRUE(r.ok);
  ASSERT_NE(r.statements, nullptr);
  ASSERT_NE(r.statements->next, nullptr);
  Node *second = r.statements->next;
  EXPECT_EQ(dumpTree(second), "(= y \"" + std::string(path) + "\")");
  EXPECT_EQ(second->line, 2);
  EXPECT_STREQ(fileNameAt(second->file), path);

  parseFile("/nonexistent/x.mr", opened);
  EXPECT_FALSE(opened);
}

TEST_F(ParserTest, NodesRecordTheLineWhereTheyAreBuilt) {
  ParseResult r = parseText("x = 1\n;\nf(\n2);\n");
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.statements->line, 2);  // reduced when ";" was the lookahead
  Node *call = r.statements->next;
  EXPECT_EQ(call->opcode, OP_CALL);
  EXPECT_EQ(call->line, 4);  // reduced at its ")", without a lookahead
  EXPECT_EQ(call->right->line, 3);
}

TEST_F(ParserTest, DeepNestingOverflowsTheStackCleanly) {
  std::string deep(100000, '(');
  EXPECT_EQ(parse(deep + "1" + std::string(100000, ')') + ";"), "ERROR");
  EXPECT_EQ(errors_, "error [1]: yacc stack overflow\n");
  std::string minus(100000, '-');
  EXPECT_EQ(parse("x = " + minus + "1;"), "ERROR");
  EXPECT_EQ(errors_, "error [1]: yacc stack overflow\n");
  std::string chain;
  for (int i = 0; i < 1000; i++) chain += "a = ";
  EXPECT_EQ(parse(chain + "1;"), "ERROR");
  EXPECT_EQ(errors_, "error [1]: yacc stack overflow\n");
  std::string blocks = std::string(1000, '{') + std::string(1000, '}');
  EXPECT_EQ(parse(blocks), "ERROR");

  // Ordinary nesting is far from the limit.
  EXPECT_NE(parse(std::string(200, '(') + "1" + std::string(200, ')') + ";"), "ERROR");
}

TEST_F(ParserTest, LongSequencesDoNotGrowTheStack) {
  std::string text = "if (a) x;";
  for (int i = 0; i < 10000; i++) text += " elif (b) y;";
  text += " else z;";
  testing::internal::CaptureStderr();
  ParseResult r = parseText(text);
  testing::internal::GetCapturedStderr();
  ASSERT_TRUE(r.ok);
  int depth = 0;
  const Node *n = r.statements;
  while (n->opcode == OP_IF) {
    depth++;
    n = n->payload.ctl->c;
  }
  EXPECT_EQ(depth, 10001);
  EXPECT_EQ(dumpTree(n), "z");

  std::string sum = "x = 1";
  for (int i = 0; i < 100000; i++) sum += " + 1";
  EXPECT_NE(parse(sum + ";"), "ERROR");
  std::string statements;
  for (int i = 0; i < 100000; i++) statements += "x;";
  EXPECT_NE(parse(statements), "ERROR");
}

TEST_F(ParserTest, GarbageNeverCrashes) {
  // The source is a C string: nothing after a NUL byte is seen.
  EXPECT_EQ(parse(std::string_view("x = 1;\0 y = ;", 13)), "(= x 1)");
  std::mt19937 random(12345);
  const char pieces[] = "(){}[];,.=+-*/%\\!~&|^<>?:\"'#@$_ \n\t0123456789abcxyz\x83\x5C";
  for (int round = 0; round < 300; round++) {
    std::string text;
    int length = random() % 80;
    for (int i = 0; i < length; i++) text += pieces[random() % (sizeof pieces - 1)];
    testing::internal::CaptureStdout();
    parse(text);
    testing::internal::GetCapturedStdout();
  }
  EXPECT_EQ(parse("f(1);"), "(call f 1)");
}

TEST(Names, InternedOncePerTextWithA128BytePrefix) {
  EXPECT_EQ(intern("alpha"), intern(std::string("alp") + "ha"));
  EXPECT_NE(intern("alpha"), intern("alphb"));
  EXPECT_EQ(intern("alpha")->var, intern("alpha"));
  std::string a(200, 'a'), b = std::string(128, 'a') + "b";
  Name *na = intern(a);
  EXPECT_EQ(na->text.size(), 200u);
  EXPECT_EQ(na->var, intern(std::string(128, 'a')));
  EXPECT_EQ(intern(b)->var, na->var);
  EXPECT_EQ(intern(std::string(128, 'c'))->var, intern(std::string(128, 'c')));
}

TEST(FileNames, EnteredOnce) {
  int a = enterFileName("one.mr");
  EXPECT_EQ(enterFileName("two.mr"), a + 1);
  EXPECT_EQ(enterFileName("one.mr"), a);
  EXPECT_STREQ(fileNameAt(a), "one.mr");
  EXPECT_EQ(fileNameAt(-1), nullptr);
  EXPECT_EQ(fileNameAt(1 << 30), nullptr);
}

}  // namespace
}  // namespace marl
