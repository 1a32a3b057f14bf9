// Macro expansion as C does it: arguments are expanded before substitution, the result is
// rescanned, and a macro name met inside its own expansion is never expanded again.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "preprocessor/lexer.hpp"
#include "preprocessor/macro_table.hpp"

namespace marl::pp {

// Where the script's tokens come from once the expansion contexts are used up.
class TokenSource {
 public:
  // The next token of the script. Inside macro arguments line ends and comments come back as
  // spaces, and directive lines between the arguments are carried out.
  virtual Token next(bool in_args) = 0;
  // Consumes a '(' that follows after blanks, comments and line ends, if there is one.
  virtual bool take_lparen() = 0;
  // The presumed line at the current position, for messages.
  virtual long line() const = 0;

 protected:
  ~TokenSource() = default;
};

class Expander {
 public:
  Expander(MacroTable &macros, TokenSource &source) : macros_(macros), src_(source) {}

  // The next fully expanded token.
  Token get();

  // Reads `tokens` (directive text) before anything else; get() returns End at their end.
  void push_list(std::vector<Token> tokens);
  void pop_list();

  // Turned off while the operand of "defined" is read.
  void set_expand(bool on) { expand_ = on; }
  MacroTable &macros() { return macros_; }

  // Drops what an expansion left behind (contexts, pasted text, the size budget). Only valid
  // when no expansion is in progress, i.e. between lines and directives.
  void reset();

 private:
  struct Context {
    std::vector<Token> tokens;
    size_t pos = 0;
    Macro *macro = nullptr;  // disabled while the context is on the stack
    bool barrier = false;    // directive text or a macro argument: nothing is read past it
  };
  using Args = std::vector<std::vector<Token>>;

  void pop();
  Token raw_next();
  bool take_lparen();
  Args collect_args(const Macro &m, long line);
  void push_expansion(Macro &m, const Args &args);
  std::vector<Token> substitute(const Macro &m, const Args &args);
  std::vector<Token> expand_arg(const std::vector<Token> &raw);
  void paste(std::vector<Token> &out, const std::vector<Token> &rhs, bool variadic_rhs);
  Token stringify(const std::vector<Token> &arg);
  std::string_view keep(std::string text);
  void charge(size_t tokens);

  MacroTable &macros_;
  TokenSource &src_;
  std::vector<Context> stack_;
  std::deque<std::string> arena_;  // text made by # and ##; stable addresses
  size_t arena_bytes_ = 0;
  size_t budget_used_ = 0;
  int arg_depth_ = 0;
  bool expand_ = true;
  bool avoid_paste_ = false;
};

}  // namespace marl::pp
