// The queue of input files named on the command line, read through stdin.
#include "builtins/input_queue.hpp"

#include <sys/stat.h>

#include <cstdio>

#include "runtime/error.hpp"
#include "frontend/names.hpp"
#include "frontend/symbols.hpp"
#include "io/file.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

bool exists(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

MFile *globalFile(const char *name) {
  Symbol *s = findGlobal(intern(name));
  if (!s || !s->value.is(ObjType::File)) return nullptr;
  return static_cast<MFile *>(s->value.object);
}

void setFilename(const std::string &name) {
  Symbol *s = findGlobal(intern("__filename"));
  if (s) s->value = makeString(name);
}

InputQueue *current = nullptr;

}  // namespace

InputQueue::InputQueue() { current = this; }
InputQueue::~InputQueue() { current = nullptr; }
InputQueue &inputQueue() { return *current; }

bool open_next_input() {
  InputQueue &queue = inputQueue();
  if (queue.next >= queue.files.size()) return false;
  const std::string entry = queue.files[queue.next++];
  MFile *in = globalFile("stdin");
  if (!queue.inPlace) {
    if (!in || !in->open(entry, "r")) raise_error(0, "Cannot open input file %s", entry.c_str());
    setFilename(entry);
    return true;
  }
  std::string backup = entry + ".bak";
  if (exists(backup)) {
    for (unsigned counter = 0;; counter++) {
      char suffix[32];
      std::snprintf(suffix, sizeof suffix, ".%u.bak", counter);
      backup = entry + suffix;
      if (!exists(backup)) break;
    }
  }
  // The original stays intact under its backup name until the new file is
  // complete; nothing here ever deletes it.
  if (std::rename(entry.c_str(), backup.c_str()) != 0)
    raise_error(0, "Cannot create backup file for %s", entry.c_str());
  if (!in || !in->open(backup, "r")) raise_error(0, "Cannot open input file %s", backup.c_str());
  MFile *out = globalFile("stdout");
  if (!out || !out->open(entry, "w")) raise_error(0, "Cannot open output file %s", entry.c_str());
  setFilename(entry);
  return true;
}

}  // namespace marl
