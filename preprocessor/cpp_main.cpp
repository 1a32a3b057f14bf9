#include "preprocessor/cpp_main.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "preprocessor/pp_error.hpp"
#include "preprocessor/preprocessor.hpp"

namespace {

int fail(const std::string &message) {
  std::fprintf(stderr, "<command-line>: error: %s\n", message.c_str());
  return 1;
}

// The output appears only complete: it is written once, after the whole input was read.
bool write_file(const std::string &path, const std::string &text, std::string &why) {
  std::FILE *fp = std::fopen(path.c_str(), "wb");
  if (!fp) {
    why = std::strerror(errno);
    return false;
  }
  bool ok = std::fwrite(text.data(), 1, text.size(), fp) == text.size();
  if (!ok) why = std::strerror(errno);
  if (std::fclose(fp) != 0 && ok) {
    why = std::strerror(errno);
    ok = false;
  }
  return ok;
}

int run(int argc, char **argv) {
  marl::pp::Preprocessor pp;
  std::string output, input;
  bool have_output = false, have_input = false;
  for (int i = 1; i < argc; ++i) {
    std::string_view arg = argv[i] ? argv[i] : "";
    if (arg.size() >= 2 && arg[0] == '-') {
      std::string_view value = arg.substr(2);
      try {
        switch (arg[1]) {
          case 'D':
            pp.define_option(value);
            continue;
          case 'U':
            pp.undef_option(value);
            continue;
          case 'I':
            pp.add_include_dir(std::string(value));
            continue;
          case 'o':
            output = value;
            have_output = !value.empty();
            continue;
          default:
            return fail("unknown option \"" + std::string(arg) + "\"");
        }
      } catch (const marl::pp::PPError &e) {
        return fail(e.message + " (in \"" + std::string(arg) + "\")");
      }
    }
    if (have_input)
      return fail("more than one input file: \"" + input + "\" and \"" + std::string(arg) + "\"");
    input = arg;
    have_input = true;
  }
  if (!have_output) return fail("no output file given (-o)");
  if (!have_input || input.empty()) return fail("no input file given");
  std::string text;
  if (!pp.run(input, text)) return 1;
  std::string why;
  if (!write_file(output, text, why))
    return fail("cannot write output file \"" + output + "\": " + why);
  return 0;
}

}  // namespace

extern "C" int cpp_main(int argc, char **argv) {
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc &) {
    return fail("out of memory");
  }
}
