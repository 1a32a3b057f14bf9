// Fuzz target: arbitrary text through the preprocessor. Input: an option
// ("NAME" or "NAME=VALUE", defined before the run), NUL, the file's text.
// The text is written to a private directory, where it may include itself.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

#include "preprocessor/pp_error.hpp"
#include "preprocessor/preprocessor.hpp"

namespace {

std::string scratchDirectory() {
  const char *tmp = getenv("TMPDIR");
  std::string name = std::string(tmp && *tmp ? tmp : "/tmp") + "/marl-ppfuzz-XXXXXX";
  if (!mkdtemp(name.data())) __builtin_trap();
  return name;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const std::string dir = scratchDirectory();
  std::string_view input(reinterpret_cast<const char *>(data), size);
  // Devices and kernel files could be included by name: endless or huge reads
  // that say nothing about the preprocessor.
  for (std::string_view dev : {"/dev", "/proc", "/sys"})
    if (input.find(dev) != std::string_view::npos) return 0;
  size_t nul = input.find('\0');
  std::string_view option =
      nul == std::string_view::npos ? std::string_view() : input.substr(0, nul);
  std::string_view text = nul == std::string_view::npos ? input : input.substr(nul + 1);

  std::string path = dir + "/main.mr";
  std::FILE *f = std::fopen(path.c_str(), "wb");
  if (!f) __builtin_trap();
  std::fwrite(text.data(), 1, text.size(), f);
  std::fclose(f);

  marl::pp::Preprocessor pp;
  pp.add_include_dir(dir);
  std::string out;
  try {
    if (!option.empty()) pp.define_option(option);
    pp.run(path, out);
  } catch (const marl::pp::PPError &) {
  } catch (const std::bad_alloc &) {
  }
  return 0;
}
