#include "preprocessor/expander.hpp"

#include "preprocessor/pp_error.hpp"

namespace marl::pp {
namespace {

// Limits that turn runaway input into an error instead of exhausting memory or the stack.
// Macro calls nested inside arguments recurse once per level.
constexpr int kMaxArgDepth = 200;
// Tokens produced (and bytes made by # and ##) while one line is expanded.
constexpr size_t kMaxTokens = 2'000'000;
constexpr size_t kMaxArenaBytes = 64u << 20;

constexpr std::string_view kSpace = " ";

void mark_avoid_paste(std::vector<Token> &out, size_t from) {
  for (; from < out.size(); ++from) {
    if (out[from].kind != Tok::Space) {
      out[from].flags |= kAvoidPaste;
      return;
    }
  }
}

void append(std::vector<Token> &out, const std::vector<Token> &more) {
  out.insert(out.end(), more.begin(), more.end());
}

}  // namespace

void Expander::charge(size_t tokens) {
  budget_used_ += tokens;
  if (budget_used_ > kMaxTokens) throw PPError{"macro expansion too large"};
}

std::string_view Expander::keep(std::string text) {
  arena_bytes_ += text.size();
  if (arena_bytes_ > kMaxArenaBytes) throw PPError{"macro expansion too large"};
  return arena_.emplace_back(std::move(text));
}

void Expander::pop() {
  if (stack_.back().macro) stack_.back().macro->disabled = false;
  stack_.pop_back();
  avoid_paste_ = true;
}

void Expander::reset() {
  while (!stack_.empty()) pop();
  arena_.clear();
  arena_bytes_ = 0;
  budget_used_ = 0;
  arg_depth_ = 0;
  expand_ = true;
  avoid_paste_ = false;
}

void Expander::push_list(std::vector<Token> tokens) {
  charge(tokens.size());
  Context c;
  c.tokens = std::move(tokens);
  c.barrier = true;
  stack_.push_back(std::move(c));
}

void Expander::pop_list() {
  while (!stack_.empty()) {
    bool barrier = stack_.back().barrier;
    pop();
    if (barrier) break;
  }
  avoid_paste_ = false;
}

Token Expander::get() {
  for (;;) {
    Token t;
    if (stack_.empty()) {
      t = src_.next(false);
    } else {
      Context &c = stack_.back();
      if (c.pos == c.tokens.size()) {
        if (c.barrier) return Token{{}, Tok::End};
        pop();
        continue;
      }
      t = c.tokens[c.pos++];
    }
    if (avoid_paste_ && t.kind != Tok::Space) {
      t.flags |= kAvoidPaste;
      avoid_paste_ = false;
    }
    if (t.kind != Tok::Ident || (t.flags & kNoExpand) || !expand_) return t;
    Macro *m = macros_.find(t.text);
    if (!m) return t;
    if (m->disabled) {
      t.flags |= kNoExpand;  // "blue paint": stays unexpanded wherever it goes from here
      return t;
    }
    Args args;
    if (m->function_like) {
      long line = src_.line();
      if (!take_lparen()) return t;  // a function-like name without '(' is plain text
      args = collect_args(*m, line);
    }
    push_expansion(*m, args);
  }
}

bool Expander::take_lparen() {
  for (;;) {
    if (stack_.empty()) return src_.take_lparen();
    Context &c = stack_.back();
    size_t i = c.pos;
    while (i < c.tokens.size() && c.tokens[i].kind == Tok::Space) ++i;
    if (i < c.tokens.size()) {
      if (!c.tokens[i].is('(')) return false;
      c.pos = i + 1;
      return true;
    }
    if (c.barrier) return false;
    pop();
  }
}

// Unexpanded tokens for argument collection; contexts used up on the way are left.
Token Expander::raw_next() {
  for (;;) {
    if (stack_.empty()) return src_.next(true);
    Context &c = stack_.back();
    if (c.pos == c.tokens.size()) {
      if (c.barrier) return Token{{}, Tok::End};
      pop();
      continue;
    }
    return c.tokens[c.pos++];
  }
}

Expander::Args Expander::collect_args(const Macro &m, long line) {
  Args args(1);
  const size_t nparams = m.params.size();
  int depth = 0;
  for (;;) {
    Token t = raw_next();
    if (t.kind == Tok::End)
      throw PPError{"unterminated argument list invoking macro \"" + m.name + "\"", line};
    if (t.kind == Tok::Space || t.kind == Tok::Newline || t.kind == Tok::Comment) {
      std::vector<Token> &a = args.back();
      if (!a.empty() && a.back().kind != Tok::Space) a.push_back(Token{kSpace, Tok::Space});
      continue;
    }
    if (t.is('(')) {
      ++depth;
    } else if (t.is(')')) {
      if (depth == 0) break;
      --depth;
    } else if (t.is(',') && depth == 0 && !(m.variadic && args.size() == nparams)) {
      args.emplace_back();
      continue;
    }
    args.back().push_back(t);
    charge(1);
  }
  for (std::vector<Token> &a : args)
    if (!a.empty() && a.back().kind == Tok::Space) a.pop_back();

  if (nparams == 0) {
    if (args.size() == 1 && args[0].empty()) return {};
    throw PPError{"macro \"" + m.name + "\" passed " + std::to_string(args.size()) +
                      " arguments, but takes just 0",
                  line};
  }
  if (args.size() < nparams) {
    if (m.variadic && args.size() == nparams - 1) {
      args.emplace_back();  // the variable arguments may be left out altogether
    } else {
      throw PPError{"macro \"" + m.name + "\" requires " + std::to_string(nparams) +
                        " arguments, but only " + std::to_string(args.size()) + " given",
                    line};
    }
  }
  if (args.size() > nparams)
    throw PPError{"macro \"" + m.name + "\" passed " + std::to_string(args.size()) +
                      " arguments, but takes just " + std::to_string(nparams),
                  line};
  return args;
}

void Expander::push_expansion(Macro &m, const Args &args) {
  Context c;
  c.tokens = substitute(m, args);
  charge(c.tokens.size());
  c.macro = &m;
  m.disabled = true;
  stack_.push_back(std::move(c));
  avoid_paste_ = true;
}

std::vector<Token> Expander::expand_arg(const std::vector<Token> &raw) {
  if (++arg_depth_ > kMaxArgDepth) throw PPError{"macro calls nested too deeply in arguments"};
  push_list(raw);
  std::vector<Token> out;
  for (Token t = get(); t.kind != Tok::End; t = get()) out.push_back(t);
  pop_list();
  --arg_depth_;
  return out;
}

std::vector<Token> Expander::substitute(const Macro &m, const Args &args) {
  const std::vector<Token> &b = m.body;
  std::vector<Token> out;
  out.reserve(b.size());
  std::vector<std::vector<Token>> expanded(args.size());
  std::vector<bool> have(args.size());
  auto next_nonspace = [&](size_t i) {
    for (++i; i < b.size() && b[i].kind == Tok::Space;) ++i;
    return i;
  };
  bool avoid_next = false;  // the token after a substituted argument starts a new run of text
  for (size_t i = 0; i < b.size(); ++i) {
    const Token &t = b[i];
    if (t.flags & kPasteOp) {
      size_t j = next_nonspace(i);
      std::vector<Token> single;
      const std::vector<Token> *rhs = &single;
      bool variadic_rhs = false;
      if (b[j].flags & kStringify) {
        j = next_nonspace(j);
        single.push_back(stringify(args[b[j].param - 1]));
      } else if (b[j].param) {
        rhs = &args[b[j].param - 1];
        variadic_rhs = m.variadic && b[j].param == m.params.size();
      } else {
        single.push_back(b[j]);
      }
      paste(out, *rhs, variadic_rhs);
      i = j;
      continue;
    }
    if (t.flags & kStringify) {
      size_t j = next_nonspace(i);
      out.push_back(stringify(args[b[j].param - 1]));
      i = j;
      continue;
    }
    if (t.param) {
      const std::vector<Token> &raw = args[t.param - 1];
      size_t j = next_nonspace(i);
      if (j < b.size() && (b[j].flags & kPasteOp)) {  // an operand of ## is not expanded
        if (raw.empty())
          out.push_back(Token{{}, Tok::Placemarker});
        else
          append(out, raw);
        continue;
      }
      size_t k = t.param - 1;
      if (!have[k]) {
        expanded[k] = expand_arg(raw);
        have[k] = true;
      }
      size_t from = out.size();
      append(out, expanded[k]);
      mark_avoid_paste(out, from);
      avoid_next = true;
      continue;
    }
    out.push_back(t);
    if (avoid_next && t.kind != Tok::Space) {
      out.back().flags |= kAvoidPaste;
      avoid_next = false;
    }
  }
  std::erase_if(out, [](const Token &t) { return t.kind == Tok::Placemarker; });
  return out;
}

void Expander::paste(std::vector<Token> &out, const std::vector<Token> &rhs, bool variadic_rhs) {
  while (!out.empty() && out.back().kind == Tok::Space) out.pop_back();
  if (variadic_rhs && !out.empty() && out.back().is(',')) {
    // ", ## __VA_ARGS__" drops the comma when there are no variable arguments.
    if (rhs.empty()) out.pop_back();
    append(out, rhs);
    return;
  }
  if (rhs.empty()) return;  // the left operand (or its placemarker) stays
  if (out.empty() || out.back().kind == Tok::Placemarker) {
    if (!out.empty()) out.pop_back();
    append(out, rhs);
    return;
  }
  Token lhs = out.back();
  out.pop_back();
  std::string joined(lhs.text);
  joined += rhs.front().text;
  std::string_view text = keep(std::move(joined));
  // The pasted text is read again as tokens; a new name may be expanded on rescan.
  lex_directive(text, out);
  out.insert(out.end(), rhs.begin() + 1, rhs.end());
}

Token Expander::stringify(const std::vector<Token> &arg) {
  std::string s = "\"";
  for (const Token &t : arg) {
    if (t.kind == Tok::Space) {
      s += ' ';
      continue;
    }
    bool quote = t.kind == Tok::String;
    for (char c : t.text) {
      if (c == '\n') {
        s += "\\n";
        continue;
      }
      if (quote && (c == '"' || c == '\\')) s += '\\';
      s += c;
    }
  }
  s += '"';
  return Token{keep(std::move(s)), Tok::String};
}

}  // namespace marl::pp
