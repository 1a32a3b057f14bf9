// The C declarations of dllfunc(): which C type each spelling means, and
// which texts are refused.
#include "external/c_declaration.hpp"

#include <gtest/gtest.h>

namespace marl {
namespace {

CDeclaration parsed(const char *text) {
  CDeclaration d;
  std::string error;
  EXPECT_TRUE(parseCDeclaration(text, d, error)) << text << ": " << error;
  return d;
}

CType resultOf(const std::string &type) { return parsed((type + " f()").c_str()).result; }

std::string refusal(const char *text) {
  CDeclaration d;
  std::string error;
  EXPECT_FALSE(parseCDeclaration(text, d, error)) << text;
  return error;
}

TEST(CDeclaration, SpellingsOfTheSameTypeAgree) {
  const struct {
    const char *spelling;
    CBase base;
  } cases[] = {
      {"char", CBase::Char},
      {"signed char", CBase::Char},
      {"unsigned char", CBase::UChar},
      {"uchar", CBase::UChar},
      {"short", CBase::Short},
      {"short int", CBase::Short},
      {"unsigned short", CBase::UShort},
      {"ushort", CBase::UShort},
      {"int", CBase::Int},
      {"signed", CBase::Int},
      {"unsigned", CBase::UInt},
      {"unsigned int", CBase::UInt},
      {"uint", CBase::UInt},
      {"long", CBase::Long},
      {"long int", CBase::Long},
      {"long long", CBase::Long},
      {"int64", CBase::Long},
      {"ssize_t", CBase::Long},
      {"unsigned long", CBase::ULong},
      {"long unsigned int", CBase::ULong},
      {"ulong", CBase::ULong},
      {"uint64", CBase::ULong},
      {"size_t", CBase::ULong},
      {"float", CBase::Float},
      {"double", CBase::Double},
      {"const double", CBase::Double},
      {"void", CBase::Void},
      {"char*", CBase::Str},
      {"const char *", CBase::Str},
      {"str", CBase::Str},
      {"void*", CBase::Ptr},
      {"ptr", CBase::Ptr},
      {"const void * const", CBase::Ptr},
  };
  for (const auto &c : cases) {
    CType t = resultOf(c.spelling);
    EXPECT_EQ(t.base, c.base) << c.spelling;
    EXPECT_EQ(t.indirect, 0) << c.spelling;
  }
}

TEST(CDeclaration, OneMorePointerLevelIsAnOutParameter) {
  CDeclaration d = parsed("long strtol(const char *s, char **end, int base)");
  EXPECT_EQ(d.name, "strtol");
  ASSERT_EQ(d.params.size(), 3u);
  EXPECT_EQ(d.params[0].base, CBase::Str);
  EXPECT_EQ(d.params[0].indirect, 0);
  EXPECT_EQ(d.params[1].base, CBase::Str);
  EXPECT_EQ(d.params[1].indirect, 1);
  EXPECT_EQ(d.params[2].base, CBase::Int);

  d = parsed("void f(int*, double *x, void **p, ptr*, unsigned long *n)");
  ASSERT_EQ(d.params.size(), 5u);
  EXPECT_EQ(d.params[0].base, CBase::Int);
  EXPECT_EQ(d.params[1].base, CBase::Double);
  EXPECT_EQ(d.params[2].base, CBase::Ptr);
  EXPECT_EQ(d.params[3].base, CBase::Ptr);
  EXPECT_EQ(d.params[4].base, CBase::ULong);
  for (const CType &p : d.params) EXPECT_EQ(p.indirect, 1);
}

TEST(CDeclaration, EmptyAndVoidParameterListsAndLayout) {
  EXPECT_TRUE(parsed("int getpid(void)").params.empty());
  EXPECT_TRUE(parsed("int getpid()").params.empty());
  CDeclaration d = parsed("  double\tpow ( double x ,double y ) ;  ");
  EXPECT_EQ(d.name, "pow");
  EXPECT_EQ(d.params.size(), 2u);
  EXPECT_EQ(parsed("char*strdup(char*)").result.base, CBase::Str);
}

TEST(CDeclaration, RefusedTextsSayWhy) {
  EXPECT_EQ(refusal(""), "type expected");
  EXPECT_EQ(refusal("int"), "function name expected");
  EXPECT_EQ(refusal("foo bar(int)"), "unknown type 'foo'");
  EXPECT_EQ(refusal("int f(int x"), "')' expected");
  EXPECT_EQ(refusal("int f(int) extra"), "unexpected text after ')'");
  EXPECT_EQ(refusal("int printf(const char*, ...)"),
            "functions with variable arguments are not supported");
  EXPECT_EQ(refusal("int f(void, int)"), "a parameter cannot be void");
  EXPECT_EQ(refusal("int f(int, void)"), "a parameter cannot be void");
  EXPECT_EQ(refusal("long double f()"), "bad combination of type words");
  EXPECT_EQ(refusal("unsigned float f()"), "bad combination of type words");
  EXPECT_EQ(refusal("long long long f()"), "bad combination of type words");
  EXPECT_EQ(refusal("uint int f()"), "bad combination of type words");
  EXPECT_EQ(refusal("int **f()"), "pointers to pointers to numbers are not supported");
  EXPECT_EQ(refusal("char ***f()"), "pointers to pointers to numbers are not supported");
  EXPECT_EQ(refusal("int f(int,)"), "type expected");
  EXPECT_EQ(refusal("int f(int @)"), "')' expected");
  EXPECT_EQ(refusal("int f[3]"), "'(' expected");
}

TEST(CDeclaration, ParameterCountIsBounded) {
  std::string many = "int f(";
  for (int i = 0; i < 65; i++) many += i ? ", int" : "int";
  many += ")";
  EXPECT_EQ(refusal(many.c_str()), "too many parameters");
  std::string sixtyFour = "int f(int";
  for (int i = 1; i < 64; i++) sixtyFour += ", int";
  EXPECT_EQ(parsed((sixtyFour + ")").c_str()).params.size(), 64u);
}

}  // namespace
}  // namespace marl
