// Runs cpp_main on files written to a private temporary directory.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "preprocessor/cpp_main.hpp"

namespace marl::pp::test {

struct PPResult {
  int status;
  std::string out;  // the output file, with the temporary directory's path removed
  std::string err;  // standard error, likewise
};

class PPTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char *tmp = std::getenv("TMPDIR");
    std::string tmpl = std::string(tmp && *tmp ? tmp : "/tmp") + "/marlpp-XXXXXX";
    ASSERT_NE(mkdtemp(tmpl.data()), nullptr);
    dir_ = tmpl;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::string path(const std::string &rel) const { return dir_ + "/" + rel; }

  void write(const std::string &rel, const std::string &text) const {
    std::filesystem::create_directories(std::filesystem::path(path(rel)).parent_path());
    std::ofstream(path(rel), std::ios::binary) << text;
  }

  // argv: "", options..., -o<dir>/out.i, <dir>/input; paths in the result are shown relative.
  PPResult run_file(const std::string &input, std::vector<std::string> options = {}) const {
    std::vector<std::string> args{""};
    args.insert(args.end(), options.begin(), options.end());
    args.push_back("-o" + path("out.i"));
    args.push_back(path(input));
    std::vector<char *> argv;
    for (std::string &a : args) argv.push_back(a.data());
    std::filesystem::remove(path("out.i"));
    ::testing::internal::CaptureStderr();
    int status = cpp_main(static_cast<int>(argv.size()), argv.data());
    PPResult r{status, "", relative(::testing::internal::GetCapturedStderr())};
    std::ifstream in(path("out.i"), std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    r.out = relative(ss.str());
    return r;
  }

  // Preprocesses `text` as main.mr and returns the output after its first line marker.
  std::string pp(const std::string &text, std::vector<std::string> options = {}) {
    write("main.mr", text);
    PPResult r = run_file("main.mr", options);
    EXPECT_EQ(r.status, 0) << r.err;
    const std::string head = "#line 1 \"main.mr\"\n";
    EXPECT_EQ(r.out.substr(0, head.size()), head);
    return r.out.substr(std::min(head.size(), r.out.size()));
  }

  // Preprocesses `text` as main.mr, expects failure, and returns standard error.
  std::string pp_error(const std::string &text, std::vector<std::string> options = {}) {
    write("main.mr", text);
    PPResult r = run_file("main.mr", options);
    EXPECT_NE(r.status, 0) << r.out;
    return r.err;
  }

  std::string relative(std::string s) const {
    const std::string prefix = dir_ + "/";
    for (size_t at; (at = s.find(prefix)) != std::string::npos;) s.erase(at, prefix.size());
    return s;
  }

  std::string dir_;
};

}  // namespace marl::pp::test
