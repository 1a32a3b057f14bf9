// Formatted output: format, print, printf, sprintf.
#include "builtins/registry.hpp"
#include "builtins/stream_args.hpp"
#include "runtime/error.hpp"
#include "runtime/conversions.hpp"
#include "runtime/format.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

void bi_format(Context &, int line, const Args &a, Value &r) {
  r = makeString(setNumberFormat(std::string(argString(line, a[0]))));
}

// A leading file argument is the target; otherwise the variable `stdout`.
MFile *outputTarget(const Args &a, size_t &first, int line, const char *who) {
  first = 0;
  if (a.size() > 0) {
    if (MFile *f = asFile(a[0])) {
      first = 1;
      return f;
    }
  }
  MFile *f = defaultOutput();
  if (!f) raise_error(line, "Cannot retrieve file handle in %s()", who);
  return f;
}

void bi_print(Context &, int line, const Args &a, Value &r) {
  size_t first;
  MFile *f = outputTarget(a, first, line, "print");
  std::string text;
  for (size_t i = first; i < a.size(); i++) appendText(text, a[i]);
  text += '\n';
  r.setBool(f->puts(text));
}

void bi_printf(Context &, int line, const Args &a, Value &r) {
  size_t first;
  MFile *f = outputTarget(a, first, line, "printf");
  if (first >= a.size()) raise_error(line, "Too few arguments in printf()");
  std::string fmt = toText(a[first]);
  r.setBool(f->puts(format_values(fmt, a.v, a.size(), first + 1)));
}

void bi_sprintf(Context &, int line, const Args &a, Value &r) {
  if (a.size() == 0) raise_error(line, "Too few arguments in sprintf()");
  std::string fmt = toText(a[0]);
  r = makeString(format_values(fmt, a.v, a.size(), 1));
}

constexpr BuiltinEntry kFormat[] = {
    {"format", 1, bi_format},
    {"print", -1, bi_print},
    {"printf", -1, bi_printf},
    {"sprintf", -1, bi_sprintf},
};

}  // namespace

std::span<const BuiltinEntry> formatBuiltins() { return kFormat; }

}  // namespace marl
