#include "preprocessor/macro_table.hpp"

#include <limits>

#include "preprocessor/pp_error.hpp"

namespace marl::pp {
namespace {

std::string quoted(std::string_view s) { return "\"" + std::string(s) + "\""; }

class DefinitionParser {
 public:
  DefinitionParser(Macro &m) : m_(m) { lex_directive(m.text, toks_); }

  void parse() {
    skip_space();
    if (at_end()) throw PPError{"no macro name given in #define directive"};
    if (toks_[i_].kind != Tok::Ident) throw PPError{"macro names must be identifiers"};
    m_.name = std::string(toks_[i_].text);
    if (m_.name == "defined") throw PPError{"\"defined\" cannot be used as a macro name"};
    ++i_;
    // Only a '(' right after the name makes a function-like macro.
    if (!at_end() && toks_[i_].is('(')) {
      ++i_;
      parse_params();
    }
    parse_body();
  }

 private:
  bool at_end() const { return i_ >= toks_.size(); }
  void skip_space() {
    while (!at_end() && (toks_[i_].kind == Tok::Space || toks_[i_].kind == Tok::Comment ||
                         toks_[i_].kind == Tok::Newline))
      ++i_;
  }

  void parse_params() {
    m_.function_like = true;
    skip_space();
    if (!at_end() && toks_[i_].is(')')) {
      ++i_;
      return;
    }
    for (;;) {
      skip_space();
      if (at_end()) throw PPError{"missing ')' in macro parameter list"};
      const Token &t = toks_[i_];
      if (t.is("...")) {
        m_.params.push_back("__VA_ARGS__");
        m_.variadic = true;
        ++i_;
      } else if (t.kind == Tok::Ident) {
        for (std::string_view p : m_.params)
          if (p == t.text) throw PPError{"duplicate macro parameter " + quoted(t.text)};
        m_.params.push_back(t.text);
        ++i_;
        skip_space();
        if (!at_end() && toks_[i_].is("...")) {  // a named variable argument: args...
          m_.variadic = true;
          ++i_;
        }
      } else {
        throw PPError{"expected parameter name, found " + quoted(t.text)};
      }
      if (m_.params.size() >= std::numeric_limits<std::uint16_t>::max())
        throw PPError{"too many macro parameters"};
      skip_space();
      if (at_end()) throw PPError{"missing ')' in macro parameter list"};
      if (toks_[i_].is(')')) {
        ++i_;
        return;
      }
      if (m_.variadic) throw PPError{"expected ')' after \"...\""};
      if (!toks_[i_].is(',')) throw PPError{"expected ',' or ')', found " + quoted(toks_[i_].text)};
      ++i_;
    }
  }

  int param_index(std::string_view name) const {
    for (size_t k = 0; k < m_.params.size(); ++k)
      if (m_.params[k] == name) return static_cast<int>(k);
    return -1;
  }

  // The body keeps single spaces where the definition had blanks or comments, with none at
  // either end, so two definitions that differ only in spacing expand alike.
  void parse_body() {
    static constexpr std::string_view kSpace = " ";
    std::vector<Token> &body = m_.body;
    for (; !at_end(); ++i_) {
      Token t = toks_[i_];
      if (t.kind == Tok::Space || t.kind == Tok::Comment || t.kind == Tok::Newline) {
        if (!body.empty() && body.back().kind != Tok::Space)
          body.push_back(Token{kSpace, Tok::Space});
        continue;
      }
      if (t.kind == Tok::Ident && m_.function_like) {
        int k = param_index(t.text);
        if (k >= 0) t.param = static_cast<std::uint16_t>(k + 1);
      }
      if (t.is("##")) t.flags |= kPasteOp;
      if (t.is('#') && m_.function_like) t.flags |= kStringify;
      body.push_back(t);
    }
    if (!body.empty() && body.back().kind == Tok::Space) body.pop_back();
    if (!body.empty() && ((body.front().flags & kPasteOp) || (body.back().flags & kPasteOp)))
      throw PPError{"'##' cannot appear at either end of a macro expansion"};
    for (size_t k = 0; k < body.size(); ++k) {
      if (!(body[k].flags & kStringify)) continue;
      size_t j = k + 1;
      if (j < body.size() && body[j].kind == Tok::Space) ++j;
      if (j == body.size() || body[j].param == 0)
        throw PPError{"'#' is not followed by a macro parameter"};
    }
  }

  Macro &m_;
  std::vector<Token> toks_;
  size_t i_ = 0;
};

}  // namespace

void MacroTable::define(std::string_view text) {
  auto m = std::make_unique<Macro>();
  m->text = std::string(text);
  DefinitionParser(*m).parse();
  auto it = map_.find(std::string_view(m->name));
  if (it == map_.end()) {
    std::string key = m->name;
    map_.emplace(std::move(key), std::move(m));
  } else {
    retired_.push_back(std::move(it->second));
    it->second = std::move(m);
  }
}

void MacroTable::undef(std::string_view name) {
  auto it = map_.find(name);
  if (it == map_.end()) return;
  retired_.push_back(std::move(it->second));
  map_.erase(it);
}

std::string_view macro_name(std::string_view text, const char *directive) {
  const char *p = skip_blanks(text.data(), text.data() + text.size());
  const char *end = text.data() + text.size();
  if (p == end) throw PPError{std::string("no macro name given in ") + directive + " directive"};
  Tok kind;
  int lines;
  const char *q = lex_token(p, end, LexMode::Directive, kind, lines);
  if (kind != Tok::Ident) throw PPError{"macro names must be identifiers"};
  return std::string_view(p, static_cast<size_t>(q - p));
}

}  // namespace marl::pp
