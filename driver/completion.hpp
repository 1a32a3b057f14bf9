// Names the console offers for TAB completion.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace marl {

// Keywords, built-in and script functions, and global variables that start
// with `prefix`, sorted and without duplicates.
std::vector<std::string> completionCandidates(std::string_view prefix);

}  // namespace marl
