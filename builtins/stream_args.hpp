// Finding the file a built-in works on: a leading file argument, or the
// script variable `stdin` / `stdout`.
#pragma once
#include "frontend/functions.hpp"
#include "io/file.hpp"

namespace marl {

// The file in the variable `stdin` or `stdout` (visible scopes, then global).
MFile *defaultInput();
MFile *defaultOutput();

inline MFile *asFile(const Value &v) {
  return v.is(ObjType::File) ? static_cast<MFile *>(v.object) : nullptr;
}

}  // namespace marl
