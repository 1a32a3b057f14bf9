// Interned names: one Name per distinct text, for the whole process.
#include "frontend/names.hpp"

#include <deque>
#include <unordered_map>

namespace marl {

namespace {

// Variables keep this many bytes of a name.
constexpr size_t kVariableNameBytes = 128;

struct NameTable {
  std::deque<Name> names;  // never moves a Name, so the index may point into them
  std::unordered_map<std::string_view, Name *> index;
};

NameTable &table() {
  static NameTable t;
  return t;
}

}  // namespace

Name *intern(std::string_view text) {
  NameTable &t = table();
  auto it = t.index.find(text);
  if (it != t.index.end()) return it->second;
  Name &n = t.names.emplace_back();
  n.text.assign(text);
  t.index.emplace(n.text, &n);
  // The prefix is short enough to be its own variable name: one level deep.
  n.var = text.size() > kVariableNameBytes ? intern(text.substr(0, kVariableNameBytes)) : &n;
  return &n;
}

}  // namespace marl
