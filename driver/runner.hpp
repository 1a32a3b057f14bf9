// Runners of source files: parse one (preprocessed or not) and execute it.
#pragma once
#include <string>

#include "runtime/value.hpp"

namespace marl {

// `openDir`, when given, is the directory the path is relative to.
Value run_script_file(const std::string &path, const std::string &openDir = "");
Value run_preprocessed_file(const std::string &path, const std::string &openDir = "");

}  // namespace marl
