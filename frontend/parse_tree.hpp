// What the parser has built for the interpreter state: the nodes, the names
// of the files they came from, and how many syntax errors were reported.
#pragma once
#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace marl {

struct token_tag__;
using Node = token_tag__;  // a parse-tree node (frontend/node.hpp)

// Part of the interpreter state; while it exists newNode(), the file-name
// list and report_parse_error() work on it. Destroying it frees every node,
// so it goes after everything that could still run them.
struct ParseTree {
  // Nodes are never freed one by one, so they come from fixed chunks: one
  // allocation per thousand nodes, and pointers stay valid until freeAllNodes.
  std::vector<Node *> chunks;
  size_t used = 0;                    // nodes taken from the last chunk
  std::deque<std::string> fileNames;  // a deque never moves its strings
  std::unordered_map<std::string_view, int> fileIndex;
  int syntaxErrors = 0;
  ParseTree();
  ~ParseTree();
  ParseTree(const ParseTree &) = delete;
  ParseTree &operator=(const ParseTree &) = delete;
};

ParseTree &parseTree();

}  // namespace marl
