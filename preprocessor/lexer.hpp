// Tokens of script text as the preprocessor sees them. Strings, block strings and comments are
// single tokens, so nothing inside them is ever taken for a macro name or a directive.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "runtime/sjis.hpp"

namespace marl::pp {

enum class Tok : std::uint8_t {
  Ident,
  Number,
  String,  // "...", '...' or a """ block string (possibly unterminated)
  Punct,
  Space,
  Newline,
  Comment,      // // ..., /* ... */, and in script text # ... to the end of the line
  Placemarker,  // an empty macro argument next to ##; never reaches the output
  End,
};

enum : std::uint8_t {
  kNoExpand = 1,    // a macro name met inside its own expansion: never expanded again
  kAvoidPaste = 2,  // begins or follows an expansion: keep it apart from the text before it
  kStringify = 4,   // in a macro body: this '#' turns the parameter after it into a string
  kPasteOp = 8,     // in a macro body: this '##' pastes its neighbours
};

struct Token {
  std::string_view text;
  Tok kind = Tok::End;
  std::uint8_t flags = 0;
  std::uint16_t param = 0;  // in a macro body: 1 + index of the parameter it names, else 0

  bool is(char c) const { return kind == Tok::Punct && text.size() == 1 && text[0] == c; }
  bool is(std::string_view s) const { return kind == Tok::Punct && text == s; }
};

enum class LexMode : std::uint8_t {
  Script,      // script text: '#' starts a comment, """ opens a block string, '...' is raw
  Directive,   // directive text: '#' and '##' are operators, no block strings
  Expression,  // #if text: as Directive, but '...' is a C character constant
};

// Scans the token that starts at p (p < end) and returns its end. `lines` gets the number of
// line feeds the token spans (1 for a Newline token).
const char *lex_token(const char *p, const char *end, LexMode mode, Tok &kind, int &lines);
// Appends the tokens of a directive's text (a definition, or text made by pasting).
void lex_directive(std::string_view text, std::vector<Token> &out);

// Blanks inside a line: space, tab, CR (of a CR LF line end), form feed, vertical tab.
inline bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

inline const char *skip_blanks(const char *p, const char *end) {
  while (p < end && is_blank(*p)) ++p;
  return p;
}

// Letters, digits, '_' and every byte from 0x80 up (the scanner's identifier bytes).
inline bool is_ident_char(char c) {
  unsigned char u = static_cast<unsigned char>(c);
  return u >= 0x80 || u == '_' || (u >= '0' && u <= '9') ||
         ((u | 0x20) >= 'a' && (u | 0x20) <= 'z');
}

// Length of the character at p: 2 for a Shift_JIS lead byte with its trail byte, else 1. A
// trail byte may be 0x5C, which must not be taken for a backslash.
inline int char_length(const char *p, const char *end) {
  return static_cast<int>(sjisCharLength(std::string_view(p, static_cast<size_t>(end - p)), 0));
}

}  // namespace marl::pp
