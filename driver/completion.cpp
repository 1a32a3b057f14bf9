// Names the console offers for TAB completion.
#include "driver/completion.hpp"

#include <algorithm>

#include "frontend/functions.hpp"
#include "frontend/symbols.hpp"

namespace marl {

namespace {

constexpr const char *kKeywords[] = {
    "var",   "static", "extern", "function", "return", "break",   "continue", "if",
    "elif",  "else",   "while",  "do",       "for",    "foreach", "in",       "try",
    "catch", "switch", "case",   "default",  "true",   "false",   "null"};

}  // namespace

std::vector<std::string> completionCandidates(std::string_view prefix) {
  std::vector<std::string> out;
  auto offer = [&](std::string_view name) {
    if (name.starts_with(prefix)) out.emplace_back(name);
  };
  for (const char *k : kKeywords) offer(k);
  for (const auto &entry : functionTable())
    if (!entry.second->variants.empty()) offer(entry.first);
  if (SymMan *globals = globalScope())
    for (const Symbol *s : globals->symbols) offer(s->name->text);
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

}  // namespace marl
