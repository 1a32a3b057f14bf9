// A temporary directory for one test, removed with its contents afterwards.
#pragma once
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace marl {

class ScratchDir {
 public:
  ScratchDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "marl-io-XXXXXX").string();
    if (mkdtemp(tmpl.data())) path_ = tmpl;
    EXPECT_FALSE(path_.empty()) << "mkdtemp failed";
  }
  ~ScratchDir() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  std::string file(const char *name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

inline void writeBytes(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace marl
