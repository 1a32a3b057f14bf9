// Parse trees as S-expressions.
#include "frontend/dump.hpp"

#include <charconv>

#include "frontend/names.hpp"

namespace marl {

namespace {

// Trees can be deeper than this (long left-leaning chains); the dump stops
// descending there rather than exhaust the stack.
constexpr int kMaxDepth = 1000;

const char *opName(int opcode) {
  static const char *const names[] = {
      "?0",      "null",    "true",     "false",   "number", "name",    "string", "+",       "-",
      "*",       "/",       "%",        "\\",      "**",     ".",       "struct", "hash",    "=",
      "block",   "var",     "extern",   "static",  "call",   "[]",      ",",      "swap",    "let",
      "funcref", "list28",  "function", "if",      "while",  "do",      "for",    "foreach", "try",
      "switch",  "case",    "default",  "==",      "!=",     ">",       ">=",     "<",       "<=",
      "chain==", "chain!=", "chain>",   "chain>=", "chain<", "chain<=", "===",    "!==",     "=~",
      "!~",      "neg",     "pre++",    "post++",  "pre--",  "post--",  "!",      "&&",      "||",
      "?",       "break",   "continue", "return",  "array",  "regex",   "list",   "~",       "&",
      "|",       "^",       ">>",       "<<",      ">>>",    "+=",      "-=",     "*=",      "/=",
      "%=",      "\\=",     "**=",      "list84",  "&=",     "|=",      "^=",     ">>=",     "<<=",
      ">>>="};
  if (opcode < 0 || opcode >= static_cast<int>(sizeof names / sizeof names[0])) return nullptr;
  return names[opcode];
}

void quoted(std::string &out, const std::string &bytes) {
  static const char hex[] = "0123456789abcdef";
  out += '"';
  for (unsigned char c : bytes) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (c < 0x20 || c >= 0x7F) {
          out += "\\x";
          out += hex[c >> 4];
          out += hex[c & 15];
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

class Dumper {
 public:
  std::string out;

  void node(const Node *n, int depth) {
    if (!n) {
      out += '_';
      return;
    }
    if (depth > kMaxDepth) {
      out += "...";
      return;
    }
    switch (n->opcode) {
      case OP_NULL:
        out += "null";
        return;
      case OP_TRUE:
        out += "true";
        return;
      case OP_FALSE:
        out += "false";
        return;
      case OP_NUMBER:
        number(n->number);
        return;
      case OP_NAME:
        out += n->payload.name->text;
        return;
      case OP_STRING:
        quoted(out, n->payload.str->bytes);
        return;
      case OP_REGEX:
        out += '/';
        out += n->payload.regex->pattern;
        out += '/';
        if (n->payload.regex->flags & 1) out += 'i';
        if (n->payload.regex->flags & 2) out += 'm';
        return;
      case OP_DEFAULT:
        out += "(default)";
        return;
      default:
        break;
    }
    const char *name = opName(n->opcode);
    out += '(';
    if (name) {
      out += name;
    } else {
      out += "op";
      out += std::to_string(n->opcode);
    }
    switch (n->opcode) {
      case OP_BLOCK:
      case OP_VAR:
      case OP_STATIC:
      case OP_EXTERN:
      case OP_ARRAY:
      case OP_LIST:
      case OP_LIST28:
      case OP_LIST84:
        list(n->left, depth);
        break;
      case OP_HASH:
      case OP_STRUCT:
        initialisedList(n->left, depth);
        break;
      case OP_CALL:
        child(n->right, depth);
        list(n->left, depth);
        break;
      case OP_IF:
      case OP_FOREACH:
      case OP_TRY:
      case OP_COND:
        slots(n, 3, depth);
        break;
      case OP_WHILE:
      case OP_DO:
      case OP_SWITCH:
        slots(n, 2, depth);
        break;
      case OP_FOR:
        slots(n, 4, depth);
        break;
      case OP_FUNCDEF:
        function(n->payload.func, depth);
        break;
      case OP_NEG:
      case OP_NOT:
      case OP_BITNOT:
      case OP_PREINC:
      case OP_POSTINC:
      case OP_PREDEC:
      case OP_POSTDEC:
      case OP_FUNCREF:
      case OP_CASE:
      case OP_BREAK:
      case OP_CONTINUE:
      case OP_RETURN:
        if (n->left) child(n->left, depth);
        break;
      default:
        child(n->left, depth);
        child(n->right, depth);
        break;
    }
    out += ')';
  }

 private:
  void number(double d) {
    char buffer[32];
    auto r = std::to_chars(buffer, buffer + sizeof buffer, d);
    out.append(buffer, r.ptr);
  }

  void child(const Node *n, int depth) {
    out += ' ';
    node(n, depth + 1);
  }

  void list(const Node *first, int depth) {
    for (const Node *e = first; e; e = e->next) child(e, depth);
  }

  // Hash keys and struct members carry their initial value in `left`.
  void initialisedList(const Node *first, int depth) {
    for (const Node *e = first; e; e = e->next) {
      out += ' ';
      if (!e->left) {
        node(e, depth + 1);
        continue;
      }
      out += "(= ";
      if (e->opcode == OP_STRING)
        quoted(out, e->payload.str->bytes);
      else
        out += e->payload.name->text;
      child(e->left, depth + 1);
      out += ')';
    }
  }

  void slots(const Node *n, int count, int depth) {
    const Control *c = n->payload.ctl;
    const Node *s[] = {c->a, c->b, c->c, c->d};
    for (int i = 0; i < count; i++) child(s[i], depth);
  }

  void function(const FunctionDef *f, int depth) {
    out += ' ';
    out += f->name->text;
    out += " (";
    for (size_t i = 0; i < f->params.size(); i++) {
      if (i) out += ' ';
      out += f->params[i]->text;
    }
    out += ')';
    child(f->body, depth);
  }
};

}  // namespace

std::string dumpTree(const Node *node) {
  Dumper d;
  d.node(node, 0);
  return std::move(d.out);
}

std::string dumpList(const Node *first) {
  Dumper d;
  for (const Node *s = first; s; s = s->next) {
    if (s != first) d.out += "; ";
    d.node(s, 0);
  }
  return std::move(d.out);
}

}  // namespace marl
