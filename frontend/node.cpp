// Parse-tree nodes, kept in the parse tree's chunks and freed together, and
// the file-name list.
#include "frontend/node.hpp"

#include <cstdio>
#include <cstdlib>
#include <new>

#include "frontend/parse_tree.hpp"
#include "frontend/scanner.hpp"
#include "runtime/regexp.hpp"

namespace marl {

namespace {

constexpr size_t kChunkNodes = 1024;

ParseTree *current = nullptr;

void freePayload(Node &n) {
  switch (n.opcode) {
    case OP_STRING:
      delete n.payload.str;
      break;
    case OP_REGEX:
      if (n.payload.regex && n.payload.regex->compiled) n.payload.regex->compiled->release();
      delete n.payload.regex;
      break;
    case OP_IF:
    case OP_WHILE:
    case OP_DO:
    case OP_FOR:
    case OP_FOREACH:
    case OP_TRY:
    case OP_SWITCH:
    case OP_COND:
      delete n.payload.ctl;
      break;
    case OP_FUNCDEF:
      delete n.payload.func;
      break;
    default:
      break;
  }
}

}  // namespace

ParseTree::ParseTree() {
  if (current) {
    std::fputs("Internal error in ParseTree: a second tree\n", stderr);
    std::abort();
  }
  current = this;
}

ParseTree::~ParseTree() {
  freeAllNodes();
  current = nullptr;
}

ParseTree &parseTree() { return *current; }

Node *newNode(int opcode) {
  ParseTree &a = *current;
  if (a.chunks.empty() || a.used == kChunkNodes) {
    a.chunks.push_back(static_cast<Node *>(::operator new(sizeof(Node) * kChunkNodes)));
    a.used = 0;
  }
  Node *n = new (a.chunks.back() + a.used++) Node;
  n->opcode = opcode;
  n->line = currentLine();
  n->file = currentFileIndex();
  return n;
}

void freeAllNodes() {
  ParseTree &a = *current;
  for (size_t c = 0; c < a.chunks.size(); c++) {
    size_t count = c + 1 == a.chunks.size() ? a.used : kChunkNodes;
    for (size_t i = 0; i < count; i++) freePayload(a.chunks[c][i]);
    ::operator delete(a.chunks[c]);
  }
  a.chunks.clear();
  a.used = 0;
}

int enterFileName(const std::string &name) {
  ParseTree &t = *current;
  auto it = t.fileIndex.find(name);
  if (it != t.fileIndex.end()) return it->second;
  int index = static_cast<int>(t.fileNames.size());
  t.fileIndex.emplace(t.fileNames.emplace_back(name), index);
  return index;
}

const char *fileNameAt(int index) {
  const ParseTree &t = *current;
  if (index < 0 || static_cast<size_t>(index) >= t.fileNames.size()) return nullptr;
  return t.fileNames[index].c_str();
}

}  // namespace marl
