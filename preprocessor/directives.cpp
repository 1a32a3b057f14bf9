#include <cstdlib>
#include <limits>

#include "preprocessor/if_expression.hpp"
#include "preprocessor/pp_error.hpp"
#include "preprocessor/preprocessor.hpp"

namespace marl::pp {
namespace {

// Includes may nest this deep; an include cycle ends here with an error.
constexpr size_t kMaxIncludeDepth = 200;

std::string_view trim(std::string_view s) {
  while (!s.empty() && is_blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && is_blank(s.back())) s.remove_suffix(1);
  return s;
}

std::vector<Token> lex_all(std::string_view text, LexMode mode) {
  std::vector<Token> out;
  const char *p = text.data(), *end = p + text.size();
  while (p < end) {
    Tok kind;
    int lines;
    const char *q = lex_token(p, end, mode, kind, lines);
    out.push_back(Token{std::string_view(p, static_cast<size_t>(q - p)), kind});
    p = q;
  }
  return out;
}

// The scanner's own line directive: "#line" in any letter case, blanks, then digits. "# line"
// and "#line x" are comments to the scanner, so they are comments here too.
bool is_line_marker(const char *hash, const char *end) {
  if (end - hash < 6) return false;
  static constexpr char kWord[] = "line";
  for (int i = 0; i < 4; ++i)
    if ((hash[1 + i] | 0x20) != kWord[i]) return false;
  const char *p = hash + 5;
  while (p < end && (*p == ' ' || *p == '\t')) ++p;
  return p < end && *p >= '0' && *p <= '9';
}

}  // namespace

void Preprocessor::hash_line(const char *hash, bool in_args) {
  File &f = files_.back();
  err_line_ = f.presumed();
  if (is_line_marker(hash, f.end)) {
    line_marker(in_args);
    return;
  }
  const char *w = skip_blanks(hash + 1, f.end);
  const char *we = w;
  while (we < f.end && is_ident_char(*we)) ++we;
  std::string_view word(w, static_cast<size_t>(we - w));
  static constexpr std::pair<std::string_view, Directive> kWords[] = {
      {"define", Directive::Define}, {"include", Directive::Include}, {"if", Directive::If},
      {"ifdef", Directive::Ifdef},   {"ifndef", Directive::Ifndef},   {"elif", Directive::Elif},
      {"else", Directive::Else},     {"endif", Directive::Endif},     {"undef", Directive::Undef},
      {"error", Directive::Error},   {"pragma", Directive::Pragma},
  };
  Directive d = Directive::None;
  for (const auto &[spelling, dir] : kWords)
    if (spelling == word) d = dir;
  // Only the words above are directives: "#!", "# 12 apples" and "#comment" are comments
  // to the scanner and are passed on as they are.
  if (d == Directive::None) {
    comment_line(hash, in_args);
    return;
  }
  const char *line_start = f.pos;
  long first_line = f.line;
  std::string text = gather(
      we, d == Directive::If || d == Directive::Elif ? LexMode::Expression : LexMode::Directive);
  bool is_conditional = d == Directive::If || d == Directive::Ifdef || d == Directive::Ifndef ||
                        d == Directive::Elif || d == Directive::Else || d == Directive::Endif;
  if (skipping() && !is_conditional) return;
  directive(d, text, line_start, first_line, in_args);
  if (!in_args) {
    expander_.reset();
    macros_.release_retired();
  }
}

void Preprocessor::comment_line(const char *hash, bool in_args) {
  File &f = files_.back();
  Tok kind;
  int lines;
  const char *q = lex_token(hash, f.end, LexMode::Script, kind, lines);
  if (q < f.end) {  // the line feed
    ++q;
    ++lines;
  }
  if (!in_args && !skipping()) {
    sync(f.presumed());
    out_->append(f.pos, q);
    out_line_ += lines;
  }
  f.pos = q;
  f.line += lines;
}

// "#line N" and "#line N "file"" pass through for the scanner; numbering here follows them.
void Preprocessor::line_marker(bool in_args) {
  File &f = files_.back();
  const char *start = f.pos;
  const char *q = start;
  while (q < f.end && *q != '\n') ++q;
  const char *after = q < f.end ? q + 1 : q;
  if (skipping()) {
    f.pos = after;
    f.line += after > q;
    return;
  }
  if (in_args) throw PPError{"#line inside macro arguments"};
  const char *p = skip_blanks(start, q) + 5;
  while (p < q && (*p == ' ' || *p == '\t')) ++p;
  long n = 0;
  for (; p < q && *p >= '0' && *p <= '9'; ++p)
    n = std::min<long>(n * 10 + (*p - '0'), std::numeric_limits<int>::max());
  while (p < q && (*p == ' ' || *p == '\t')) ++p;
  std::string name = f.name;
  if (p < q && *p == '"') {
    const char *close = p + 1;
    while (close < q && *close != '"') ++close;
    if (close < q) name.assign(p + 1, close);
  }
  sync(f.presumed());
  out_->append(start, after);
  f.pos = after;
  f.line += after > q;
  long next = std::max(n, 1L);  // the scanner clamps a line number below 1
  f.delta = next - f.line;
  f.name = std::move(name);
  out_line_ = next;
}

// The rest of a directive as one line: continuation lines joined, comments replaced by a
// space (a /* */ comment may carry the directive over several lines, as in C).
std::string Preprocessor::gather(const char *p, LexMode mode) {
  File &f = files_.back();
  const char *end = f.end;
  enum class State { Normal, Dq, Sq, Block, Line } st = State::Normal;
  std::string text;
  long lines = 0;
  while (p < end) {
    char c = *p;
    if (c == '\\') {
      const char *q = p + 1;
      if (q < end && *q == '\r') ++q;
      if (q < end && *q == '\n') {
        p = q + 1;
        ++lines;
        continue;
      }
    }
    if (c == '\n') {
      ++lines;
      ++p;
      if (st == State::Block) continue;
      break;
    }
    int len = char_length(p, end);
    switch (st) {
      case State::Normal:
        if (c == '/' && p + 1 < end && (p[1] == '*' || p[1] == '/')) {
          st = p[1] == '*' ? State::Block : State::Line;
          text += ' ';
          p += 2;
          continue;
        }
        if (c == '"') st = State::Dq;
        if (c == '\'') st = State::Sq;
        break;
      case State::Dq:
      case State::Sq: {
        char quote = st == State::Dq ? '"' : '\'';
        if (c == quote) {
          st = State::Normal;
        } else if (c == '\\' && p + 1 < end && p[1] != '\n' &&
                   (st == State::Dq || mode == LexMode::Expression || p[1] == '\'')) {
          len = 2;
        }
        break;
      }
      case State::Block:
        if (c == '*' && p + 1 < end && p[1] == '/') {
          st = State::Normal;
          p += 2;
        } else {
          p += len;
        }
        continue;
      case State::Line:
        p += len;
        continue;
    }
    text.append(p, static_cast<size_t>(len));
    p += len;
  }
  f.pos = p;
  f.line += lines;
  return text;
}

void Preprocessor::directive(Directive d, const std::string &text, const char *line_start,
                             long first_line, bool in_args) {
  File &f = files_.back();
  switch (d) {
    case Directive::If:
    case Directive::Ifdef:
    case Directive::Ifndef:
    case Directive::Elif:
    case Directive::Else:
    case Directive::Endif:
      conditional(d, text);
      return;
    case Directive::Define:
      macros_.define(text);
      return;
    case Directive::Undef:
      macros_.undef(macro_name(text, "#undef"));
      return;
    case Directive::Include:
      if (in_args) throw PPError{"#include inside macro arguments"};
      include(text);
      return;
    case Directive::Error: {
      std::string_view message = trim(text);
      throw PPError{message.empty() ? std::string("#error") : std::string(message)};
    }
    case Directive::Pragma: {
      std::string_view rest = trim(text);
      if (rest.substr(0, 4) == "once" && (rest.size() == 4 || !is_ident_char(rest[4]))) {
        once_.insert(f.id);
      } else if (!in_args) {  // other pragmas are left for the scanner, which skips them
        sync(first_line + f.delta);
        out_->append(line_start, f.pos);
        out_line_ += f.line - first_line;
      }
      return;
    }
    case Directive::None:
      return;
  }
}

bool Preprocessor::evaluate(const std::string &text, const char *name) {
  expander_.push_list(lex_all(text, LexMode::Expression));
  bool value = eval_if_expression(expander_, name);
  expander_.pop_list();
  return value;
}

void Preprocessor::conditional(Directive d, const std::string &text) {
  if (d == Directive::If || d == Directive::Ifdef || d == Directive::Ifndef) {
    Cond c{d, err_line_, !skipping(), false, false, false};
    if (c.parent_active) {
      if (d == Directive::If) {
        c.active = evaluate(text, "#if");
      } else {
        bool def =
            macros_.find(macro_name(text, d == Directive::Ifdef ? "#ifdef" : "#ifndef")) != nullptr;
        c.active = d == Directive::Ifdef ? def : !def;
      }
    }
    c.taken = c.active || !c.parent_active;  // in a skipped group no branch is ever kept
    conds_.push_back(c);
    return;
  }
  const char *name = d == Directive::Elif ? "#elif" : d == Directive::Else ? "#else" : "#endif";
  if (conds_.size() <= files_.back().cond_base) throw PPError{std::string(name) + " without #if"};
  Cond &c = conds_.back();
  if (d == Directive::Endif) {
    conds_.pop_back();
    return;
  }
  if (c.seen_else) throw PPError{std::string(name) + " after #else"};
  if (d == Directive::Else) {
    c.seen_else = true;
    c.active = !c.taken;
    c.taken = true;
    return;
  }
  if (c.taken) {
    c.active = false;
    return;
  }
  c.active = evaluate(text, "#elif");
  c.taken = c.active;
}

std::string Preprocessor::include_name(const std::string &text) {
  auto literal = [&](std::string_view s, std::string &name) {
    s = trim(s);
    if (s.empty() || (s[0] != '"' && s[0] != '<')) return false;
    size_t close = s.find(s[0] == '"' ? '"' : '>', 1);
    if (close == std::string_view::npos) return false;
    name.assign(s.substr(1, close - 1));
    return true;
  };
  std::string name;
  if (!literal(text, name)) {
    // #include MACRO: the expansion must give "file" or <file>.
    expander_.push_list(lex_all(text, LexMode::Directive));
    std::string expanded;
    for (Token t = expander_.get(); t.kind != Tok::End; t = expander_.get())
      expanded += t.kind == Tok::Space ? std::string_view(" ") : t.text;
    expander_.pop_list();
    if (!literal(expanded, name)) throw PPError{"#include expects \"FILENAME\" or <FILENAME>"};
  }
  if (name.empty()) throw PPError{"empty filename in #include"};
  return name;
}

void Preprocessor::include(const std::string &text) {
  std::string name = include_name(text);
  if (files_.size() > kMaxIncludeDepth)
    throw PPError{"#include nested too deeply (more than " + std::to_string(kMaxIncludeDepth) +
                  " levels)"};
  // Both forms search the including file's directory first, then the -I directories in order.
  std::vector<std::string> candidates;
  if (name[0] == '/') {
    candidates.push_back(name);
  } else {
    const std::string &includer = files_.back().path;
    size_t slash = includer.rfind('/');
    candidates.push_back(
        (slash == std::string::npos ? std::string() : includer.substr(0, slash + 1)) + name);
    for (const std::string &dir : include_dirs_) {
      if (dir.empty() || dir.back() == '/')
        candidates.push_back(dir + name);
      else
        candidates.push_back(dir + "/" + name);
    }
  }
  for (const std::string &path : candidates) {
    File nf;
    std::string why;
    Open r = open_file(path, nf, why);
    if (r == Open::Missing) continue;
    if (r == Open::Failed) throw PPError{"cannot open include file \"" + path + "\": " + why};
    if (!nf.data) return;  // already included and marked #pragma once
    nf.path = path;
    nf.name = path;
    nf.cond_base = conds_.size();
    files_.push_back(std::move(nf));
    write_marker(1, path);
    return;
  }
  throw PPError{"include file \"" + name + "\" not found"};
}

}  // namespace marl::pp
