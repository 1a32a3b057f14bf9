// Macro definitions: parsing the text of #define and looking names up by hash.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "preprocessor/lexer.hpp"

namespace marl::pp {

struct Macro {
  std::string name;
  std::string text;  // owns the spelling every body token points into
  std::vector<Token> body;
  std::vector<std::string_view> params;
  bool function_like = false;
  bool variadic = false;  // the last parameter collects the remaining arguments
  bool disabled = false;  // set while its own expansion is rescanned
};

class MacroTable {
 public:
  Macro *find(std::string_view name) const {
    auto it = map_.find(name);
    return it == map_.end() ? nullptr : it->second.get();
  }

  // Enters the macro that `text` (everything after "#define") describes, replacing any earlier
  // definition. Throws PPError when the definition is malformed.
  void define(std::string_view text);
  void undef(std::string_view name);

  // Definitions replaced or removed while an expansion may still point into them are kept
  // until the caller knows no expansion is in progress.
  void release_retired() { retired_.clear(); }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
  };
  std::unordered_map<std::string, std::unique_ptr<Macro>, Hash, std::equal_to<>> map_;
  std::vector<std::unique_ptr<Macro>> retired_;
};

// Checks that `text` starts with an identifier and returns it; `directive` names the directive
// in the message ("no macro name given in #undef directive").
std::string_view macro_name(std::string_view text, const char *directive);

}  // namespace marl::pp
