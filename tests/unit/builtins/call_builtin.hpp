// Calls a built-in group's handler directly, the way the evaluator does.
#pragma once
#include <gtest/gtest.h>

#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "builtins/registry.hpp"
#include "eval/context.hpp"
#include "runtime/error.hpp"
#include "runtime/mstring.hpp"

namespace marl::test {

constexpr int kCallLine = 7;

// The variant of `name` for args.size() arguments (else its variadic one),
// called at line kCallLine.
inline Value callBuiltin(std::span<const BuiltinEntry> group, const char *name,
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
  if (!match) {
    ADD_FAILURE() << name << "/" << args.size() << " is not registered";
    return Value();
  }
  Context ctx;
  Value result;
  match->handler(ctx, kCallLine, Args{args.data(), args.size()}, result);
  return result;
}

// The full message a call raises ("error [7]: ..."), or "" when it raises none.
inline std::string errorOf(std::span<const BuiltinEntry> group, const char *name,
                           const std::vector<Value> &args) {
  try {
    callBuiltin(group, name, args);
  } catch (const ScriptError &e) {
    return e.what();
  }
  return "";
}

inline Value S(std::string_view s) { return makeString(s); }
inline Value N(double d) { return Value::num(d); }

// The registered names with their arities, in registration order: "name/arity ...".
inline std::string surface(std::span<const BuiltinEntry> group) {
  std::string out;
  for (const BuiltinEntry &e : group) {
    if (!out.empty()) out += ' ';
    out += e.name;
    out += '/';
    out += std::to_string(e.arity);
  }
  return out;
}

}  // namespace marl::test
