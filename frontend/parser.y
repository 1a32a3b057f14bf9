/* The grammar: LALR(1) over the scanner's tokens, building the parse tree. */
%define api.prefix {marl_yy}
%define api.token.prefix {TK_}
%define parse.error simple
%expect 0

%code requires {
#include "frontend/node.hpp"

namespace marl {
// A list under construction: nodes chained through `next`.
struct NodeList {
  Node *head;
  Node *tail;
};
}  // namespace marl
}

%code provides {
int marl_yylex();
void marl_yyerror(const char *message);
}

%code {
#include <cstring>

#include "frontend/parse_error.hpp"
#include "frontend/functions.hpp"
#include "frontend/names.hpp"
#include "frontend/parse.hpp"

// The state and value stacks hold 500 entries each and never grow.
#define YYINITDEPTH 500
#define YYMAXDEPTH 500

namespace marl {

namespace {

struct ParseState {
  int errors = 0;      // syntax errors reported by this parse
  int braceDepth = 0;  // blocks open at the current point
  Node *program = nullptr;
};

ParseState state;

Node *binary(int opcode, Node *left, Node *right) {
  Node *n = newNode(opcode);
  n->left = left;
  n->right = right;
  return n;
}

Node *unary(int opcode, Node *operand) { return binary(opcode, operand, nullptr); }

Node *control(int opcode, Node *a, Node *b, Node *c = nullptr, Node *d = nullptr) {
  Node *n = newNode(opcode);
  n->payload.ctl = new Control{a, b, c, d};
  return n;
}

// The evaluator runs statement slots unconditionally, so an empty statement
// there becomes a null literal.
Node *slot(Node *statement) { return statement ? statement : newNode(OP_NULL); }

NodeList single(Node *n) { return NodeList{n, n}; }

NodeList append(NodeList list, Node *n) {
  if (!n) return list;
  if (!list.head) return single(n);
  list.tail->next = n;
  list.tail = n;
  return list;
}

Node *joinStrings(Node *first, Node *next) {
  first->payload.str->bytes += next->payload.str->bytes;
  return first;
}

// The word between a foreach variable and its collection is an ordinary name.
void checkInWord(Node *word) {
  if (word->payload.name->text != "in") marl_yyerror("syntax error");
}

// An array literal on the left of "=" is a list of places or null placeholders.
void checkTargets(Node *target) {
  if (target->opcode != OP_ARRAY) return;
  for (Node *e = target->left; e; e = e->next) {
    int op = e->opcode;
    if (op != OP_NAME && op != OP_INDEX && op != OP_MEMBER && op != OP_NULL) {
      marl_yyerror("syntax error");
      return;
    }
  }
}

// Outside all braces a definition goes to the function table and is no
// statement; inside any it is an OP_FUNCDEF statement. The node owns the
// record either way.
Node *functionDefinition(Node *name, Node *params, Node *body) {
  auto *def = new FunctionDef;
  def->name = name->payload.name;
  for (Node *p = params; p; p = p->next) def->params.push_back(p->payload.name);
  def->body = body;
  def->line = name->line;
  def->file = name->file;
  Node *n = newNode(OP_FUNCDEF);
  n->payload.func = def;
  if (state.braceDepth > 0) return n;
  defineFunction(def);
  return nullptr;
}

// If and its elif chain: while the chain grows, slot d of the first node
// points at the last one, so that a long chain is built in linear time.
Node *startIf(Node *cond, Node *then) {
  Node *n = control(OP_IF, cond, slot(then));
  n->payload.ctl->d = n;
  return n;
}

Node *extendIf(Node *head, Node *elif) {
  Control *h = head->payload.ctl;
  elif->payload.ctl->d = nullptr;
  h->d->payload.ctl->c = elif;
  h->d = elif;
  return head;
}

Node *finishIf(Node *head, Node *elseStatement) {
  Control *h = head->payload.ctl;
  if (elseStatement) h->d->payload.ctl->c = elseStatement;
  h->d = nullptr;
  return head;
}

}  // namespace

}  // namespace marl

using namespace marl;
}

%union {
  marl::Node *node;
  marl::NodeList list;
  int code;
}

%token <node> NUMBER 257 SYMBOL 258 STRING 259 NULL 260 BOOLEAN 261
%token VAR 262 EXTERN 263 STATIC 264 FUNCTION 265 RETURN 266 BREAK 267 CONTINUE 268
%token IF 269 ELSE 270 ELIF 271 WHILE 272 FOREACH 273 FOR 274 DO 275 TRY 276 CATCH 277
%token SWITCH 278 CASE 279 DEFAULT 280
%token EQ 281 NE 282 GT 283 GE 284 LT 285 LE 286 SEQ 287 SNE 288 MATCH 289 NMATCH 290
%token ANDAND 291 OROR 292 ADD_ASSIGN 293 MINUS_ASSIGN 294 MUL_ASSIGN 295 DIV_ASSIGN 296
%token MOD_ASSIGN 297 SHL 298 SHR 299 USHR 300 AND_ASSIGN 301 OR_ASSIGN 302 XOR_ASSIGN 303
%token SHL_ASSIGN 304 SHR_ASSIGN 305 USHR_ASSIGN 306 INC 307 DEC 308 POW 309
%token <node> REGEX 311
%token SWAP 312 LET 313 STRUCT 314 HASH 315 CLASS 316 NEW 317 BAD_STRING 318
%token IDIV_ASSIGN 319 POW_ASSIGN 320
/* A NUL byte in the source: no rule accepts it. */
%token BAD_CHAR 321

/* Only the dangling else, elif and catch need precedence: they bind to the
   nearest if or try. */
%token LOWER_THAN_ELSE 310
%precedence LOWER_THAN_ELSE
%precedence ELSE ELIF CATCH

%type <node> stmt block if_head loop_var catch_var for_init opt_expr decl
%type <node> expr asgn cond oror andand bor bxor band match cmp chain shift add mul
%type <node> unary pow postfix primary strings hash_key member
%type <list> stmts decls names params param_list args arg_list hash_keys hash_list
%type <list> members member_list
%type <code> assign_op cmp_op

%%

program
  : stmts                       { state.program = $1.head; }
  ;

stmts
  : %empty                      { $$ = NodeList{nullptr, nullptr}; }
  | stmts stmt                  { $$ = append($1, $2); }
  ;

stmt
  : ';'                         { $$ = nullptr; }
  | expr ';'                    { $$ = $1; }
  | block
  | if_head %prec LOWER_THAN_ELSE    { $$ = finishIf($1, nullptr); }
  | if_head ELSE stmt           { $$ = finishIf($1, slot($3)); }
  | WHILE '(' expr ')' stmt     { $$ = control(OP_WHILE, $3, slot($5)); }
  | DO stmt WHILE '(' expr ')' ';'   { $$ = control(OP_DO, $5, slot($2)); }
  | FOR '(' for_init ';' opt_expr ';' opt_expr ')' stmt
                                { $$ = control(OP_FOR, $3, $5, $7, slot($9)); }
  | FOREACH '(' loop_var SYMBOL { checkInWord($4); } expr ')' stmt
                                { $$ = control(OP_FOREACH, $3, $6, slot($8)); }
  | SWITCH '(' expr ')' stmt    { $$ = control(OP_SWITCH, $3, slot($5)); }
  | CASE expr ':'               { $$ = unary(OP_CASE, $2); }
  | DEFAULT                     { $$ = newNode(OP_DEFAULT); }
  | TRY stmt %prec LOWER_THAN_ELSE   { $$ = control(OP_TRY, slot($2), nullptr, nullptr); }
  | TRY stmt CATCH '(' catch_var ')' stmt
                                { $$ = control(OP_TRY, slot($2), $5, slot($7)); }
  | FUNCTION SYMBOL '(' params ')' block
                                { $$ = functionDefinition($2, $4.head, $6); }
  | VAR decls ';'               { $$ = unary(OP_VAR, $2.head); }
  | STATIC decls ';'            { $$ = unary(OP_STATIC, $2.head); }
  | EXTERN names ';'            { $$ = unary(OP_EXTERN, $2.head); }
  | RETURN opt_expr ';'         { $$ = unary(OP_RETURN, $2); }
  | BREAK opt_expr ';'          { $$ = unary(OP_BREAK, $2); }
  | CONTINUE opt_expr ';'       { $$ = unary(OP_CONTINUE, $2); }
  | error ';'                   { $$ = nullptr; }
  ;

block
  : '{'                         { state.braceDepth++; }
    stmts '}'                   { state.braceDepth--; $$ = unary(OP_BLOCK, $3.head); }
  ;

if_head
  : IF '(' expr ')' stmt        { $$ = startIf($3, $5); }
  | if_head ELIF '(' expr ')' stmt   { $$ = extendIf($1, startIf($4, $6)); }
  ;

loop_var
  : SYMBOL
  | VAR SYMBOL                  { $$ = unary(OP_VAR, $2); }
  ;

catch_var
  : %empty                      { $$ = nullptr; }
  | loop_var
  ;

for_init
  : %empty                      { $$ = nullptr; }
  | expr
  | VAR decls                   { $$ = unary(OP_VAR, $2.head); }
  ;

opt_expr
  : %empty                      { $$ = nullptr; }
  | expr
  ;

decls
  : decl                        { $$ = single($1); }
  | decls ',' decl              { $$ = append($1, $3); }
  ;

decl
  : SYMBOL
  | SYMBOL '=' asgn             { $$ = binary(OP_ASSIGN, $1, $3); }
  | SYMBOL '[' expr ']'         { $$ = binary(OP_INDEX, $1, $3); }
  | SYMBOL '[' ']'              { $$ = binary(OP_INDEX, $1, nullptr); }
  ;

names
  : SYMBOL                      { $$ = single($1); }
  | names ',' SYMBOL            { $$ = append($1, $3); }
  ;

params
  : %empty                      { $$ = NodeList{nullptr, nullptr}; }
  | param_list
  ;

param_list
  : SYMBOL                      { $$ = single($1); }
  | param_list ',' SYMBOL       { $$ = append($1, $3); }
  ;

expr
  : asgn
  | expr ',' asgn               { $$ = binary(OP_COMMA, $1, $3); }
  ;

asgn
  : cond
  | cond '=' asgn               { checkTargets($1); $$ = binary(OP_ASSIGN, $1, $3); }
  | cond assign_op asgn         { $$ = binary($2, $1, $3); }
  ;

assign_op
  : ADD_ASSIGN                  { $$ = OP_ADD_ASSIGN; }
  | MINUS_ASSIGN                { $$ = OP_SUB_ASSIGN; }
  | MUL_ASSIGN                  { $$ = OP_MUL_ASSIGN; }
  | DIV_ASSIGN                  { $$ = OP_DIV_ASSIGN; }
  | MOD_ASSIGN                  { $$ = OP_MOD_ASSIGN; }
  | IDIV_ASSIGN                 { $$ = OP_IDIV_ASSIGN; }
  | POW_ASSIGN                  { $$ = OP_POW_ASSIGN; }
  | AND_ASSIGN                  { $$ = OP_AND_ASSIGN; }
  | OR_ASSIGN                   { $$ = OP_OR_ASSIGN; }
  | XOR_ASSIGN                  { $$ = OP_XOR_ASSIGN; }
  | SHR_ASSIGN                  { $$ = OP_SHR_ASSIGN; }
  | SHL_ASSIGN                  { $$ = OP_SHL_ASSIGN; }
  | USHR_ASSIGN                 { $$ = OP_USHR_ASSIGN; }
  ;

cond
  : oror
  | oror '?' expr ':' cond      { $$ = control(OP_COND, $1, $3, $5); }
  ;

oror
  : andand
  | oror OROR andand            { $$ = binary(OP_OROR, $1, $3); }
  ;

andand
  : bor
  | andand ANDAND bor           { $$ = binary(OP_ANDAND, $1, $3); }
  ;

bor
  : bxor
  | bor '|' bxor                { $$ = binary(OP_BITOR, $1, $3); }
  ;

bxor
  : band
  | bxor '^' band               { $$ = binary(OP_BITXOR, $1, $3); }
  ;

band
  : match
  | band '&' match              { $$ = binary(OP_BITAND, $1, $3); }
  ;

match
  : cmp
  | match SEQ cmp               { $$ = binary(OP_SEQ, $1, $3); }
  | match SNE cmp               { $$ = binary(OP_SNE, $1, $3); }
  | match MATCH cmp             { $$ = binary(OP_MATCH, $1, $3); }
  | match '~' cmp               { $$ = binary(OP_MATCH, $1, $3); }
  | match NMATCH cmp            { $$ = binary(OP_NMATCH, $1, $3); }
  ;

/* "a < b <= c" is a link "a <" whose right child is the plain "b <= c". The
   link for ">=" is built as ">" (47), as the evaluator has always read it. */
cmp
  : shift
  | chain
  ;

chain
  : shift cmp_op shift          { $$ = binary($2, $1, $3); }
  | shift cmp_op chain          { $$ = binary($2 == OP_GE ? OP_CHAIN_GT : $2 + 6, $1, $3); }
  ;

cmp_op
  : EQ                          { $$ = OP_EQ; }
  | NE                          { $$ = OP_NE; }
  | GT                          { $$ = OP_GT; }
  | GE                          { $$ = OP_GE; }
  | LT                          { $$ = OP_LT; }
  | LE                          { $$ = OP_LE; }
  ;

shift
  : add
  | shift SHL add               { $$ = binary(OP_SHL, $1, $3); }
  | shift SHR add               { $$ = binary(OP_SHR, $1, $3); }
  | shift USHR add              { $$ = binary(OP_USHR, $1, $3); }
  ;

add
  : mul
  | add '+' mul                 { $$ = binary(OP_ADD, $1, $3); }
  | add '-' mul                 { $$ = binary(OP_SUB, $1, $3); }
  ;

mul
  : unary
  | mul '*' unary               { $$ = binary(OP_MUL, $1, $3); }
  | mul '/' unary               { $$ = binary(OP_DIV, $1, $3); }
  | mul '%' unary               { $$ = binary(OP_MOD, $1, $3); }
  | mul '\\' unary              { $$ = binary(OP_IDIV, $1, $3); }
  ;

unary
  : pow
  | '-' unary                   { $$ = unary(OP_NEG, $2); }
  | '+' unary                   { $$ = $2; }
  | '!' unary                   { $$ = unary(OP_NOT, $2); }
  | '~' unary                   { $$ = unary(OP_BITNOT, $2); }
  | INC unary                   { $$ = unary(OP_PREINC, $2); }
  | DEC unary                   { $$ = unary(OP_PREDEC, $2); }
  | '&' SYMBOL                  { $$ = unary(OP_FUNCREF, $2); }
  ;

/* Binds tighter than a prefix: -x**2 is -(x**2); 2**3**2 is 2**9. */
pow
  : postfix
  | postfix POW unary           { $$ = binary(OP_POW, $1, $3); }
  ;

/* Only a name or a member access can be called: "f(a)(b)" and "(f)(1)" are
   syntax errors. */
postfix
  : primary
  | SYMBOL '(' args ')'         { $$ = binary(OP_CALL, $3.head, $1); }
  | postfix '.' SYMBOL '(' args ')'
                                { $$ = binary(OP_CALL, $5.head, binary(OP_MEMBER, $1, $3)); }
  | postfix '[' expr ']'        { $$ = binary(OP_INDEX, $1, $3); }
  | postfix '.' SYMBOL          { $$ = binary(OP_MEMBER, $1, $3); }
  | postfix INC                 { $$ = unary(OP_POSTINC, $1); }
  | postfix DEC                 { $$ = unary(OP_POSTDEC, $1); }
  ;

primary
  : NUMBER
  | strings
  | NULL
  | BOOLEAN
  | SYMBOL
  | '/'                         { enterRegexMode(); }
    REGEX                       { $$ = $3; }
  | '(' asgn ')'                { $$ = $2; }
  | '(' asgn ',' arg_list ')'   { $2->next = $4.head; $$ = unary(OP_LIST, $2); }
  | '[' args ']'                { $$ = unary(OP_ARRAY, $2.head); }
  | HASH hash_keys ')'          { $$ = unary(OP_HASH, $2.head); }
  | STRUCT members ')'          { $$ = unary(OP_STRUCT, $2.head); }
  | SWAP asgn ',' asgn ')'      { $$ = binary(OP_SWAP, $2, $4); }
  | LET asgn ',' asgn ')'       { $$ = binary(OP_LET, $2, $4); }
  ;

strings
  : STRING
  | strings STRING              { $$ = joinStrings($1, $2); }
  ;

args
  : %empty                      { $$ = NodeList{nullptr, nullptr}; }
  | arg_list
  ;

arg_list
  : asgn                        { $$ = single($1); }
  | arg_list ',' asgn           { $$ = append($1, $3); }
  ;

hash_keys
  : %empty                      { $$ = NodeList{nullptr, nullptr}; }
  | hash_list
  ;

hash_list
  : hash_key                    { $$ = single($1); }
  | hash_list ',' hash_key      { $$ = append($1, $3); }
  ;

hash_key
  : strings
  | strings '=' asgn            { $1->left = $3; $$ = $1; }
  ;

members
  : %empty                      { $$ = NodeList{nullptr, nullptr}; }
  | member_list
  ;

member_list
  : member                      { $$ = single($1); }
  | member_list ',' member      { $$ = append($1, $3); }
  ;

member
  : SYMBOL
  | SYMBOL '=' asgn             { $1->left = $3; $$ = $1; }
  ;

%%

void marl_yyerror(const char *message) {
  // The stack is full: the classic parser's own words for it.
  if (std::strcmp(message, "memory exhausted") == 0) message = "yacc stack overflow";
  report_parse_error(message);
  marl::state.errors++;
}

namespace marl {

ParseResult parseOpenSource() {
  state = ParseState{};
  int rc = marl_yyparse();
  ParseResult result;
  result.ok = rc == 0 && state.errors == 0;
  result.statements = rc == 0 ? state.program : nullptr;
  return result;
}

ParseResult parseFile(const std::string &path, bool &opened) {
  opened = openSourcePath(path);
  if (!opened) return ParseResult{};
  ParseResult result = parseOpenSource();
  closeSource();
  return result;
}

ParseResult parseText(std::string_view text) {
  openSourceText(text);
  ParseResult result = parseOpenSource();
  closeSource();
  return result;
}

}  // namespace marl
