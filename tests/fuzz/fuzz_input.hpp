// Shared by the fuzz targets: splitting one input into parts, and calling a
// built-in the way the evaluator does.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "builtins/registry.hpp"
#include "eval/context.hpp"

namespace marl::fuzz {

// Reads an input front to back: single bytes as choices, and parts that end at
// a NUL byte (or at the end of the input).
class Input {
 public:
  Input(const uint8_t *data, size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}

  uint8_t byte() {
    if (rest_.empty()) return 0;
    uint8_t b = static_cast<uint8_t>(rest_[0]);
    rest_.remove_prefix(1);
    return b;
  }
  std::string_view part() {
    size_t nul = rest_.find('\0');
    std::string_view p = rest_.substr(0, nul);
    rest_.remove_prefix(nul == std::string_view::npos ? rest_.size() : nul + 1);
    return p;
  }
  std::string_view rest() {
    std::string_view r = rest_;
    rest_ = {};
    return r;
  }
  bool empty() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

// The variant of `name` for args.size() arguments, else its variadic one.
inline Value call(std::span<const BuiltinEntry> group, const char *name,
                  const std::vector<Value> &args) {
  const BuiltinEntry *match = nullptr;
  for (const BuiltinEntry &e : group) {
    if (std::strcmp(e.name, name) != 0) continue;
    if (e.arity == static_cast<int32_t>(args.size())) {
      match = &e;
      break;
    }
    if (e.arity == -1) match = &e;
  }
  if (!match) __builtin_trap();  // the target itself is wrong
  Context ctx;
  Value result;
  match->handler(ctx, 1, Args{args.data(), args.size()}, result);
  return result;
}

}  // namespace marl::fuzz
