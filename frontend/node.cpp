// Parse-tree nodes, kept in one arena and freed together, and the file-name list.
#include "frontend/node.hpp"

#include <deque>
#include <new>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "frontend/scanner.hpp"
#include "runtime/regexp.hpp"

namespace marl {

namespace {

// Nodes are never freed one by one, so they come from fixed chunks: one
// allocation per thousand nodes, and pointers stay valid until freeAllNodes.
constexpr size_t kChunkNodes = 1024;

struct NodeArena {
  std::vector<Node *> chunks;
  size_t used = kChunkNodes;  // nodes taken from the last chunk
};

NodeArena &arena() {
  static NodeArena a;
  return a;
}

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

struct FileNames {
  std::deque<std::string> names;  // a deque never moves its strings
  std::unordered_map<std::string_view, int> index;
};

FileNames &fileNames() {
  static FileNames f;
  return f;
}

}  // namespace

Node *newNode(int opcode) {
  NodeArena &a = arena();
  if (a.used == kChunkNodes) {
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
  NodeArena &a = arena();
  for (size_t c = 0; c < a.chunks.size(); c++) {
    size_t count = c + 1 == a.chunks.size() ? a.used : kChunkNodes;
    for (size_t i = 0; i < count; i++) freePayload(a.chunks[c][i]);
    ::operator delete(a.chunks[c]);
  }
  a.chunks.clear();
  a.used = kChunkNodes;
}

int enterFileName(const std::string &name) {
  FileNames &f = fileNames();
  auto it = f.index.find(name);
  if (it != f.index.end()) return it->second;
  int index = static_cast<int>(f.names.size());
  f.index.emplace(f.names.emplace_back(name), index);
  return index;
}

const char *fileNameAt(int index) {
  FileNames &f = fileNames();
  if (index < 0 || static_cast<size_t>(index) >= f.names.size()) return nullptr;
  return f.names[index].c_str();
}

}  // namespace marl
