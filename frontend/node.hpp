// Parse-tree nodes and the opcode numbers shared by parser and evaluator.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace marl {

struct Name;
struct FuncInfo;
struct func_data;
struct Symbol;

enum Op : int32_t {
  OP_NULL = 1,
  OP_TRUE = 2,
  OP_FALSE = 3,
  OP_NUMBER = 4,
  OP_NAME = 5,
  OP_STRING = 6,
  OP_ADD = 7,
  OP_SUB = 8,
  OP_MUL = 9,
  OP_DIV = 10,
  OP_MOD = 11,
  OP_IDIV = 12,
  OP_POW = 13,
  OP_MEMBER = 14,
  OP_STRUCT = 15,
  OP_HASH = 16,
  OP_ASSIGN = 17,
  OP_BLOCK = 18,
  OP_VAR = 19,
  OP_EXTERN = 20,
  OP_STATIC = 21,
  OP_CALL = 22,
  OP_INDEX = 23,
  OP_COMMA = 24,
  OP_SWAP = 25,
  OP_LET = 26,
  OP_FUNCREF = 27,
  OP_LIST28 = 28,
  OP_FUNCDEF = 29,
  OP_IF = 30,
  OP_WHILE = 31,
  OP_DO = 32,
  OP_FOR = 33,
  OP_FOREACH = 34,
  OP_TRY = 35,
  OP_SWITCH = 36,
  OP_CASE = 37,
  OP_DEFAULT = 38,
  OP_EQ = 39,
  OP_NE = 40,
  OP_GT = 41,
  OP_GE = 42,
  OP_LT = 43,
  OP_LE = 44,
  OP_CHAIN_EQ = 45,
  OP_CHAIN_NE = 46,
  OP_CHAIN_GT = 47,
  OP_CHAIN_GE = 48,
  OP_CHAIN_LT = 49,
  OP_CHAIN_LE = 50,
  OP_SEQ = 51,
  OP_SNE = 52,
  OP_MATCH = 53,
  OP_NMATCH = 54,
  OP_NEG = 55,
  OP_PREINC = 56,
  OP_POSTINC = 57,
  OP_PREDEC = 58,
  OP_POSTDEC = 59,
  OP_NOT = 60,
  OP_ANDAND = 61,
  OP_OROR = 62,
  OP_COND = 63,
  OP_BREAK = 64,
  OP_CONTINUE = 65,
  OP_RETURN = 66,
  OP_ARRAY = 67,
  OP_REGEX = 68,
  OP_LIST = 69,
  OP_BITNOT = 70,
  OP_BITAND = 71,
  OP_BITOR = 72,
  OP_BITXOR = 73,
  OP_SHR = 74,
  OP_SHL = 75,
  OP_USHR = 76,
  OP_ADD_ASSIGN = 77,
  OP_SUB_ASSIGN = 78,
  OP_MUL_ASSIGN = 79,
  OP_DIV_ASSIGN = 80,
  OP_MOD_ASSIGN = 81,
  OP_IDIV_ASSIGN = 82,
  OP_POW_ASSIGN = 83,
  OP_LIST84 = 84,
  OP_AND_ASSIGN = 85,
  OP_OR_ASSIGN = 86,
  OP_XOR_ASSIGN = 87,
  OP_SHR_ASSIGN = 88,
  OP_SHL_ASSIGN = 89,
  OP_USHR_ASSIGN = 90,
};

class RegExp;
struct token_tag__;
using Node = token_tag__;

// Payload records.
struct StringLit {
  std::string bytes;
};
struct RegexLit {
  std::string pattern;
  int flags = 0;               // 1 ignore case, 2 multi-line
  RegExp *compiled = nullptr;  // one count held by the node, made on first use
};
// Child slots of control nodes:
//   if: a cond, b then, c else      while/do: a cond, b body
//   for: a init, b cond, c step, d body      foreach: a variable, b collection, c body
//   try: a try statement, b catch variable, c catch statement
//   switch: a subject, b body       ?: a cond, b then, c else
struct Control {
  Node *a = nullptr, *b = nullptr, *c = nullptr, *d = nullptr;
};
struct FrameLayout;
struct NumericCode;
struct FunctionDef {
  Name *name = nullptr;
  std::vector<Name *> params;
  Node *body = nullptr;  // a block node
  int line = 0;
  int file = -1;
  FrameLayout *layout = nullptr;  // made by the resolver at the first call
  FunctionDef() = default;
  FunctionDef(const FunctionDef &) = delete;
  FunctionDef &operator=(const FunctionDef &) = delete;
  ~FunctionDef();
};

struct token_tag__ {
  int32_t opcode = 0;
  int32_t line = 0;
  int32_t file = -1;
  double number = 0.0;
  union {
    void *raw;
    Name *name;         // OP_NAME, and symbol leaves elsewhere
    StringLit *str;     // OP_STRING (and hash-literal keys)
    RegexLit *regex;    // OP_REGEX
    Control *ctl;       // control nodes
    FunctionDef *func;  // OP_FUNCDEF
  } payload{nullptr};
  Node *left = nullptr;
  Node *right = nullptr;
  Node *next = nullptr;
  // Call sites cache the chosen variant; valid while `cacheGen` equals the
  // function table's generation.
  func_data *cachedFunc = nullptr;
  uint32_t cacheGen = 0;
  // Set by the resolver (frontend/resolve.hpp) for code that runs in a
  // frame. A name node with `resolved` set may only be held by the first
  // `candidates` slots of `candidate` (innermost block first), else it is a
  // global; where a name node declares (or implicitly declares) a variable,
  // `slot` is its slot, -1 meaning the global scope or a run-time decision.
  // Block and switch nodes: `slot` is the block's index in the layout, -1
  // for code the resolver never saw (text run by eval inside a function),
  // and `resolved` says that the block has slots to release.
  int32_t slot = -1;
  int32_t candidate[3] = {0, 0, 0};
  uint8_t candidates = 0;
  bool resolved = false;
  // Block nodes: the resolver found nothing that would look at the block's
  // scope (no slots, no calls), so running the block opens none.
  bool scopeless = false;
  // Arithmetic nodes: whether the tree under the node has straight-line code
  // (eval/numeric_code.hpp), made the first time the node runs.
  uint8_t numericState = 0;
  // Assignment nodes: whether, as a statement whose value is not read, the
  // node's shape lets it store in place (eval/evaluator.cpp); decided the
  // first time it runs so; given up after `statementMisses` reaches a limit.
  uint8_t statementState = 0;
  uint8_t statementMisses = 0;
  NumericCode *numeric = nullptr;
};

// Shapes the grammar builds where the opcode alone does not say:
//   block: left = statements        var/static: left = declarators, each a name,
//   `name = value` (17) or `name[size]` (23, right null for `name[]`)
//   foreach and catch variables: a name, or a var node (19) holding the name
//   statement slots of control nodes are never null (an empty statement is a
//   null literal); the for parts, the else part and the catch parts may be.
// A function definition's record always hangs on an OP_FUNCDEF node, also when
// the definition went to the function table, so freeAllNodes frees it.

// Creates a node at the scanner's current line and file, in the parse tree
// of the interpreter state (frontend/parse_tree.hpp).
Node *newNode(int opcode);
// Frees every node (and its payload) at once.
void freeAllNodes();

// The file-name list: each source name entered once, referred to by index.
int enterFileName(const std::string &name);
const char *fileNameAt(int index);  // null for -1 or an unknown index

}  // namespace marl
