// Runners: parse one source and execute it in a fresh context.
#pragma once
#include <string>
#include <string_view>

#include "runtime/value.hpp"

namespace marl {

// `openDir`, when given, is the directory the path is relative to.
Value run_script_file(const std::string &path, const std::string &openDir = "");
Value run_preprocessed_file(const std::string &path, const std::string &openDir = "");
Value run_script_string(std::string_view text);


}  // namespace marl
