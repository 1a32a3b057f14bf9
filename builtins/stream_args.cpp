// Finding the file a built-in works on.
#include "builtins/stream_args.hpp"

#include "frontend/symbols.hpp"

namespace marl {

namespace {

MFile *fileVariable(Name *name) {
  Symbol *s = lookupVariable(name);
  return s ? asFile(s->value) : nullptr;
}

}  // namespace

MFile *defaultInput() {
  static Name *name = intern("stdin");
  return fileVariable(name);
}

MFile *defaultOutput() {
  static Name *name = intern("stdout");
  return fileVariable(name);
}

}  // namespace marl
