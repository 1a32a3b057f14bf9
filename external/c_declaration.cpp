// C function declarations as dllfunc() reads them: "double cos(double)".
#include "external/c_declaration.hpp"

#include <cctype>

namespace marl {

namespace {

struct Token {
  enum Kind { Word, Star, Open, Close, Comma, Ellipsis, End, Bad } kind;
  std::string_view text;
};

class Lexer {
 public:
  explicit Lexer(std::string_view s) : s_(s) {}
  Token next() {
    while (i_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[i_]))) i_++;
    if (i_ >= s_.size()) return {Token::End, {}};
    size_t start = i_;
    char c = s_[i_];
    if (std::isalpha(static_cast<unsigned char>(c)) || c == '_') {
      while (i_ < s_.size() && (std::isalnum(static_cast<unsigned char>(s_[i_])) || s_[i_] == '_'))
        i_++;
      return {Token::Word, s_.substr(start, i_ - start)};
    }
    i_++;
    switch (c) {
      case '*':
        return {Token::Star, s_.substr(start, 1)};
      case '(':
        return {Token::Open, s_.substr(start, 1)};
      case ')':
        return {Token::Close, s_.substr(start, 1)};
      case ',':
        return {Token::Comma, s_.substr(start, 1)};
      case '.':
        if (s_.substr(start, 3) == "...") {
          i_ = start + 3;
          return {Token::Ellipsis, s_.substr(start, 3)};
        }
        break;
    }
    return {Token::Bad, s_.substr(start, 1)};
  }

 private:
  std::string_view s_;
  size_t i_ = 0;
};

// The words of a type, counted, so that "unsigned long int" and
// "long unsigned" mean the same.
struct TypeWords {
  int isUnsigned = 0, isSigned = 0, longs = 0, shorts = 0, chars = 0, ints = 0;
  int floats = 0, doubles = 0, voids = 0;
  bool alias = false;  // one of the single-word names below
  CBase aliasBase = CBase::Void;
  int count = 0;
};

bool aliasWord(std::string_view w, CBase &base) {
  static const struct {
    const char *word;
    CBase base;
  } table[] = {
      {"uchar", CBase::UChar},     {"ushort", CBase::UShort},  {"uint", CBase::UInt},
      {"ulong", CBase::ULong},     {"int64", CBase::Long},     {"uint64", CBase::ULong},
      {"int8_t", CBase::Char},     {"uint8_t", CBase::UChar},  {"int16_t", CBase::Short},
      {"uint16_t", CBase::UShort}, {"int32_t", CBase::Int},    {"uint32_t", CBase::UInt},
      {"int64_t", CBase::Long},    {"uint64_t", CBase::ULong}, {"size_t", CBase::ULong},
      {"ssize_t", CBase::Long},    {"intptr_t", CBase::Long},  {"uintptr_t", CBase::ULong},
      {"str", CBase::Str},         {"ptr", CBase::Ptr},
  };
  for (const auto &e : table)
    if (w == e.word) {
      base = e.base;
      return true;
    }
  return false;
}

// Adds a word of a type; false when the word is no type word.
bool addWord(TypeWords &t, std::string_view w) {
  CBase b;
  if (w == "const" || w == "volatile") return true;
  if (w == "unsigned")
    t.isUnsigned++;
  else if (w == "signed")
    t.isSigned++;
  else if (w == "long")
    t.longs++;
  else if (w == "short")
    t.shorts++;
  else if (w == "char")
    t.chars++;
  else if (w == "int")
    t.ints++;
  else if (w == "float")
    t.floats++;
  else if (w == "double")
    t.doubles++;
  else if (w == "void")
    t.voids++;
  else if (aliasWord(w, b)) {
    if (t.alias) return false;
    t.alias = true;
    t.aliasBase = b;
  } else {
    return false;
  }
  t.count++;
  return true;
}

bool baseOf(const TypeWords &t, CBase &base) {
  int sign = t.isUnsigned + t.isSigned;
  int kinds = t.chars + t.shorts + (t.longs ? 1 : 0) + t.floats + t.doubles + t.voids;
  if (t.alias) {
    if (t.count != 1) return false;
    base = t.aliasBase;
    return true;
  }
  if (sign > 1 || t.longs > 2 || kinds > 1 || t.ints > 1) return false;
  if (t.floats || t.doubles || t.voids) {
    if (sign || t.ints) return false;
    base = t.floats ? CBase::Float : t.doubles ? CBase::Double : CBase::Void;
    return true;
  }
  bool u = t.isUnsigned != 0;
  if (t.chars) {
    if (t.ints) return false;
    base = u ? CBase::UChar : CBase::Char;
  } else if (t.shorts) {
    base = u ? CBase::UShort : CBase::Short;
  } else if (t.longs) {
    base = u ? CBase::ULong : CBase::Long;
  } else if (t.ints || sign) {
    base = u ? CBase::UInt : CBase::Int;
  } else {
    return false;
  }
  return true;
}

class Parser {
 public:
  Parser(std::string_view text, std::string &error) : lex_(text), error_(error) { advance(); }

  // A type and, when `named`, the identifier after it (optional for parameters).
  bool type(CType &out, std::string *name, bool nameRequired) {
    TypeWords words;
    while (tok_.kind == Token::Word && addWord(words, tok_.text)) advance();
    if (words.count == 0) {
      if (tok_.kind == Token::Word) return fail("unknown type '" + std::string(tok_.text) + "'");
      return fail("type expected");
    }
    CBase base;
    if (!baseOf(words, base)) return fail("bad combination of type words");
    int stars = 0;
    while (tok_.kind == Token::Star) {
      stars++;
      advance();
      while (tok_.kind == Token::Word && (tok_.text == "const" || tok_.text == "volatile"))
        advance();
    }
    // char* is text and void* an address; one more level is an out-parameter.
    if (base == CBase::Char && stars > 0) {
      base = CBase::Str;
      stars--;
    } else if (base == CBase::Void && stars > 0) {
      base = CBase::Ptr;
      stars--;
    }
    if (stars > 1) return fail("pointers to pointers to numbers are not supported");
    out.base = base;
    out.indirect = stars;
    if (tok_.kind == Token::Word) {
      if (name) *name = std::string(tok_.text);
      advance();
    } else if (nameRequired) {
      return fail("function name expected");
    }
    return true;
  }

  bool declaration(CDeclaration &d) {
    if (!type(d.result, &d.name, true)) return false;
    if (d.result.base == CBase::Void && d.result.indirect) return fail("bad result type");
    if (tok_.kind != Token::Open) return fail("'(' expected");
    advance();
    if (tok_.kind == Token::Close) {
      advance();
      return end();
    }
    for (;;) {
      if (tok_.kind == Token::Ellipsis)
        return fail("functions with variable arguments are not supported");
      CType p;
      if (!type(p, nullptr, false)) return false;
      if (p.base == CBase::Void && !p.indirect) {
        // "f(void)" declares no parameters.
        if (!d.params.empty() || tok_.kind != Token::Close)
          return fail("a parameter cannot be void");
        advance();
        return end();
      }
      if (d.params.size() >= kMaxParams) return fail("too many parameters");
      d.params.push_back(p);
      if (tok_.kind == Token::Comma) {
        advance();
        continue;
      }
      if (tok_.kind != Token::Close) return fail("')' expected");
      advance();
      return end();
    }
  }

 private:
  static constexpr size_t kMaxParams = 64;
  Lexer lex_;
  std::string &error_;
  Token tok_{Token::End, {}};

  void advance() { tok_ = lex_.next(); }
  bool end() {
    if (tok_.kind != Token::End) return fail("unexpected text after ')'");
    return true;
  }
  bool fail(std::string why) {
    error_ = std::move(why);
    return false;
  }
};

}  // namespace

bool parseCDeclaration(std::string_view text, CDeclaration &out, std::string &error) {
  out = CDeclaration();
  // A trailing semicolon, as in a header, is accepted.
  size_t last = text.find_last_not_of(" \t\r\n");
  if (last != std::string_view::npos && text[last] == ';') text = text.substr(0, last);
  Parser p(text, error);
  return p.declaration(out);
}

}  // namespace marl
