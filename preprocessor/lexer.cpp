#include "preprocessor/lexer.hpp"

#include <cstring>

namespace marl::pp {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

const char *scan_ident(const char *p, const char *end) {
  while (p < end && is_ident_char(*p)) p += char_length(p, end);
  return p;
}

// A "pp-number": digits, letters, '_' and '.', with a sign allowed after a decimal exponent.
const char *scan_number(const char *p, const char *end) {
  bool hex = end - p > 1 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X');
  while (p < end) {
    char c = *p;
    if ((c == 'e' || c == 'E') && !hex && p + 1 < end && (p[1] == '+' || p[1] == '-')) {
      p += 2;
    } else if (c == '.' || (static_cast<unsigned char>(c) < 0x80 && is_ident_char(c))) {
      ++p;
    } else {
      break;
    }
  }
  return p;
}

// "..." with backslash escapes; an unterminated one stops before the line feed.
const char *scan_dq(const char *p, const char *end) {
  for (++p; p < end;) {
    char c = *p;
    if (c == '"') return p + 1;
    if (c == '\n') return p;
    if (c == '\\' && p + 1 < end && p[1] != '\n') {
      p += 1 + char_length(p + 1, end);
    } else {
      p += char_length(p, end);
    }
  }
  return end;
}

// '...' in script text: raw, only \' is an escape.
const char *scan_raw(const char *p, const char *end) {
  for (++p; p < end;) {
    char c = *p;
    if (c == '\'') return p + 1;
    if (c == '\n') return p;
    if (c == '\\' && p + 1 < end && p[1] == '\'') {
      p += 2;
    } else {
      p += char_length(p, end);
    }
  }
  return end;
}

// '...' in #if text: a C character constant, where a backslash escapes any character.
const char *scan_char_const(const char *p, const char *end) {
  for (++p; p < end;) {
    char c = *p;
    if (c == '\'') return p + 1;
    if (c == '\n') return p;
    p += (c == '\\' && p + 1 < end && p[1] != '\n') ? 2 : char_length(p, end);
  }
  return end;
}

// A block string opens with """, optional blanks and a line feed; it closes with """ at the
// very start of a line. Returns nullptr when p does not open one.
const char *scan_block_string(const char *p, const char *end, int &lines) {
  if (end - p < 3 || p[1] != '"' || p[2] != '"') return nullptr;
  const char *q = p + 3;
  while (q < end && (*q == ' ' || *q == '\t' || *q == '\r')) ++q;
  if (q == end || *q != '\n') return nullptr;
  ++q;
  ++lines;
  while (q < end) {
    if (end - q >= 3 && q[0] == '"' && q[1] == '"' && q[2] == '"') return q + 3;
    const void *nl = std::memchr(q, '\n', static_cast<size_t>(end - q));
    if (!nl) return end;
    q = static_cast<const char *>(nl) + 1;
    ++lines;
  }
  return end;
}

const char *scan_block_comment(const char *p, const char *end, int &lines) {
  for (p += 2; p < end; ++p) {
    if (*p == '*' && p + 1 < end && p[1] == '/') return p + 2;
    if (*p == '\n') ++lines;
  }
  return end;
}

// A '#' comment runs to the end of the line; a backslash just before the line feed (or before
// a CR LF) carries it on to the next line, as the scanner does.
const char *scan_hash_comment(const char *p, const char *end, int &lines) {
  const char *start = p;
  for (;;) {
    const void *found = std::memchr(p, '\n', static_cast<size_t>(end - p));
    if (!found) return end;
    const char *nl = static_cast<const char *>(found);
    const char *before = nl - 1;
    if (before > start && *before == '\r') --before;
    if (before <= start || *before != '\\') return nl;
    p = nl + 1;
    ++lines;
  }
}

// The multi-character operators that matter here: ... and ## in macro definitions, and the
// two-character operators of #if expressions.
const char *scan_punct(const char *p, const char *end) {
  char c = p[0], d = p + 1 < end ? p[1] : '\0';
  switch (c) {
    case '.':
      return d == '.' && p + 2 < end && p[2] == '.' ? p + 3 : p + 1;
    case '#':
    case '&':
    case '|':
      return d == c ? p + 2 : p + 1;
    case '<':
    case '>':
      return d == c || d == '=' ? p + 2 : p + 1;
    case '=':
    case '!':
      return d == '=' ? p + 2 : p + 1;
    default:
      return p + 1;
  }
}

}  // namespace

const char *lex_token(const char *p, const char *end, LexMode mode, Tok &kind, int &lines) {
  lines = 0;
  char c = *p;
  if (c == '\n') {
    kind = Tok::Newline;
    lines = 1;
    return p + 1;
  }
  if (is_blank(c)) {
    kind = Tok::Space;
    return skip_blanks(p, end);
  }
  if (is_digit(c) || (c == '.' && p + 1 < end && is_digit(p[1]))) {
    kind = Tok::Number;
    return scan_number(p, end);
  }
  if (is_ident_char(c)) {
    kind = Tok::Ident;
    return scan_ident(p, end);
  }
  switch (c) {
    case '"':
      kind = Tok::String;
      if (mode == LexMode::Script) {
        if (const char *q = scan_block_string(p, end, lines)) return q;
      }
      return scan_dq(p, end);
    case '\'':
      kind = Tok::String;
      return mode == LexMode::Expression ? scan_char_const(p, end) : scan_raw(p, end);
    case '/':
      if (p + 1 < end && p[1] == '/') {
        kind = Tok::Comment;
        const void *nl = std::memchr(p, '\n', static_cast<size_t>(end - p));
        return nl ? static_cast<const char *>(nl) : end;
      }
      if (p + 1 < end && p[1] == '*') {
        kind = Tok::Comment;
        return scan_block_comment(p, end, lines);
      }
      break;
    case '#':
      if (mode == LexMode::Script) {
        kind = Tok::Comment;
        return scan_hash_comment(p, end, lines);
      }
      break;
    case '$':
      // $name and $1 are single names to the scanner; $' and $` are match variables, so
      // their quote must not open a string.
      kind = Tok::Ident;
      if (p + 1 < end && is_ident_char(p[1])) return scan_ident(p + 1, end);
      kind = Tok::Punct;
      if (p + 1 < end && (p[1] == '\'' || p[1] == '`' || p[1] == '&' || p[1] == '+')) return p + 2;
      return p + 1;
    default:
      break;
  }
  kind = Tok::Punct;
  return scan_punct(p, end);
}

void lex_directive(std::string_view text, std::vector<Token> &out) {
  const char *p = text.data(), *end = p + text.size();
  while (p < end) {
    Tok kind;
    int lines;
    const char *q = lex_token(p, end, LexMode::Directive, kind, lines);
    out.push_back(Token{std::string_view(p, static_cast<size_t>(q - p)), kind});
    p = q;
  }
}

}  // namespace marl::pp
