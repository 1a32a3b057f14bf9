// The editor grammars know every built-in function by name.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "builtins/registry.hpp"

namespace {

std::string slurp(const std::string &path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class BuiltinNames : public ::testing::Test {
 protected:
  // Library names (graphics and the bridges are left out) that `text` does
  // not mention as a whole word.
  static std::string missingFrom(const std::string &text) {
    std::string missing;
    std::set<std::string> names;
    for (auto group : {marl::coreBuiltins(), marl::stringBuiltins(), marl::encodingBuiltins(),
                       marl::arrayBuiltins(), marl::mathBuiltins(), marl::regexpBuiltins(),
                       marl::fileBuiltins(), marl::systemBuiltins(), marl::formatBuiltins(),
                       marl::packBuiltins(), marl::serialBuiltins()})
      for (const marl::BuiltinEntry &e : group) names.insert(e.name);
    for (const std::string &name : names) {
      std::regex word("(^|[^A-Za-z0-9_])" + name + "($|[^A-Za-z0-9_])");
      if (!std::regex_search(text, word)) missing += name + " ";
    }
    return missing;
  }
};

TEST_F(BuiltinNames, VimSyntaxNamesEveryBuiltin) {
  std::string vim = slurp(MARL_SOURCE_DIR "/editors/vim/syntax/marl.vim");
  ASSERT_FALSE(vim.empty());
  EXPECT_EQ(missingFrom(vim), "");
}

TEST_F(BuiltinNames, TextMateGrammarNamesEveryBuiltin) {
  std::string json = slurp(MARL_SOURCE_DIR "/editors/textmate/marl.tmLanguage.json");
  ASSERT_FALSE(json.empty());
  EXPECT_EQ(missingFrom(json), "");
}

}  // namespace
