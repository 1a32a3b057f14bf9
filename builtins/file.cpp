// File built-ins: open, close, gets, puts, eof, rewind, flush, binmode,
// txtmode, read and write.
#include <cmath>

#include "builtins/registry.hpp"
#include "builtins/stream_args.hpp"
#include "builtins/input_queue.hpp"
#include "runtime/error.hpp"
#include "frontend/symbols.hpp"
#include "io/pack.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/memory_limit.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

MFile *fileArg(int line, const Value &v, const char *who) {
  MFile *f = asFile(v);
  if (!f) raise_error(line, "Bad argument type in %s()", who);
  return f;
}

MFile *inputOrFail(int line, const char *who) {
  MFile *f = defaultInput();
  if (!f) raise_error(line, "Cannot retrieve file handle in %s()", who);
  return f;
}

MFile *outputOrFail(int line, const char *who) {
  MFile *f = defaultOutput();
  if (!f) raise_error(line, "Cannot retrieve file handle in %s()", who);
  return f;
}

// A leading file argument, shifting the others by one; null when there is none.
MFile *leadingFile(const Args &a, size_t &first) {
  MFile *f = a.size() ? asFile(a[0]) : nullptr;
  first = f ? 1 : 0;
  return f;
}

void bi_open(Context &, int line, const Args &a, Value &r) {
  const std::string name(argString(line, a[0]));
  std::string_view mode = argString(line, a[1]);
  std::string_view word = a.size() > 2 ? std::string_view(argString(line, a[2])) : "sjis";
  MFile *f = makeFileObject(word);
  if (!f) raise_error(line, "Unknown encoding string in open()");
  Value holder(f);
  if (f->open(name, mode))
    r = std::move(holder);
  else
    r.setNull();
}

void bi_close(Context &, int line, const Args &a, Value &r) {
  r.setNumber(fileArg(line, a[0], "close")->close());
}

// The object the global `stdin` holds: at its end, gets() moves on to the
// next input file named on the command line.
bool isStdinObject(MFile *f) {
  static Name *name = intern("stdin");
  Symbol *s = findGlobal(name);
  return s && s->value.object == f;
}

void bi_gets(Context &, int line, const Args &a, Value &r) {
  MFile *f = a.size() ? fileArg(line, a[0], "gets") : inputOrFail(line, "gets");
  std::string text = f->getline();
  while (text.empty() && isStdinObject(f) && f->eof() && open_next_input()) text = f->getline();
  r = makeString(std::move(text));
}

void bi_puts(Context &, int line, const Args &a, Value &r) {
  MFile *f;
  const Value *text;
  if (a.size() == 2) {
    f = fileArg(line, a[0], "puts");
    text = &a[1];
  } else {
    f = outputOrFail(line, "puts");
    text = &a[0];
  }
  r.setBool(f->puts(argString(line, *text)));
}

void bi_eof(Context &, int line, const Args &a, Value &r) {
  MFile *f = a.size() ? fileArg(line, a[0], "eof") : inputOrFail(line, "eof");
  r.setBool(f->eof());
}

// flush() is bound to this very handler, deliberately: it rewinds.
void bi_rewind(Context &, int line, const Args &a, Value &r) {
  r.setBool(fileArg(line, a[0], "rewind")->rewind());
}

void bi_binmode(Context &, int line, const Args &a, Value &r) {
  r.setBool(fileArg(line, a[0], "binmode")->binmode());
}

void bi_txtmode(Context &, int line, const Args &a, Value &r) {
  r.setBool(fileArg(line, a[0], "txtmode")->txtmode());
}

// One typed value: null when the file ends before all of its bytes.
Value readTyped(MFile *f, int code) {
  size_t size = typeSize(code);
  std::string bytes = f->read(static_cast<long long>(size));
  if (bytes.size() < size) return Value();
  return Value::num(decodeTyped(code, bytes.data()));
}

void bi_read(Context &, int line, const Args &a, Value &r) {
  size_t first;
  MFile *f = leadingFile(a, first);
  if (!f) f = inputOrFail(line, "read");
  size_t n = a.size() - first;
  if (n == 1 && a[first].isNumeric()) {
    double count = std::trunc(a[first].number);
    r = makeString(f->read(std::isnan(count) ? 0 : static_cast<long long>(count)));
    return;
  }
  if (n == 1) {
    MString *w = asString(a[first]);
    int code = w ? typeCode(w->text) : 0;
    if (!code) raise_error(line, "Bad argument in read()");
    r = readTyped(f, code);
    return;
  }
  if (n == 2) {
    double count = std::trunc(argNumber(line, a[first]));
    MString *w = asString(a[first + 1]);
    int code = w ? typeCode(w->text) : 0;
    if (!code) raise_error(line, "Bad argument in read()");
    // The array holds `count` values whatever the file has, so a count whose
    // values could never be held is refused before reading.
    if (count > 0 && beyondMemory(count >= 1.8e19 ? UINT64_MAX : static_cast<uint64_t>(count),
                                  sizeof(HeldValue)))
      raise_error(line, "Not enough memory in read()");
    MArray *out = new MArray();
    Value holder(out);
    size_t n = count > 0 ? static_cast<size_t>(count) : 0;
    while (out->size() < n) {
      out->push(readTyped(f, code));
      // Past the end of the file every value is null: fill them at once.
      if (out->items.back().isNull() && f->eof()) out->resize(n);
    }
    r = std::move(holder);
    return;
  }
  raise_error(line, "Bad argument in read()");
}

// Integer types share one range for the signed and unsigned word of a width.
void checkWritable(int line, int code, const Value &v) {
  if (!v.isNumeric()) raise_error(line, "Bad argument type in write()");
  if (!typeInRange(code, v.number)) raise_error(line, "Bad argument range in write()");
}

void bi_write(Context &, int line, const Args &a, Value &r) {
  size_t first;
  MFile *f = leadingFile(a, first);
  if (!f) f = outputOrFail(line, "write");
  size_t n = a.size() - first;
  if (n == 1) {
    MString *s = asString(a[first]);
    if (!s) raise_error(line, "Bad argument in write()");
    r.setNumber(static_cast<double>(f->write(s->text)));
    return;
  }
  if (n != 2) raise_error(line, "Bad argument in write()");
  const Value &v = a[first];
  MString *w = asString(a[first + 1]);
  int code = w ? typeCode(w->text) : 0;
  if (!code) raise_error(line, "Bad argument in write()");
  std::string bytes;
  if (MArray *arr = asArray(v)) {
    long long total = 0;
    for (size_t i = 0; i < arr->size(); i++) {
      Value e = arr->items[i].get();
      checkWritable(line, code, e);
      bytes.clear();
      encodeTyped(code, e.number, bytes);
      long long written = f->write(bytes);
      total += written;
      if (written == 0) break;
    }
    r.setNumber(static_cast<double>(total));
    return;
  }
  if (!v.isNumeric()) raise_error(line, "Bad argument type in write()");
  checkWritable(line, code, v);
  encodeTyped(code, v.number, bytes);
  r.setNumber(static_cast<double>(f->write(bytes)));
}

constexpr BuiltinEntry kFile[] = {
    {"open", 2, bi_open},       {"open", 3, bi_open},    {"close", 1, bi_close},
    {"gets", 0, bi_gets},       {"gets", 1, bi_gets},    {"puts", 1, bi_puts},
    {"puts", 2, bi_puts},       {"eof", 0, bi_eof},      {"eof", 1, bi_eof},
    {"rewind", 1, bi_rewind},   {"flush", 1, bi_rewind}, {"binmode", 1, bi_binmode},
    {"txtmode", 1, bi_txtmode}, {"read", 1, bi_read},    {"read", 2, bi_read},
    {"read", 3, bi_read},       {"write", 1, bi_write},  {"write", 2, bi_write},
    {"write", 3, bi_write},
};

}  // namespace

std::span<const BuiltinEntry> fileBuiltins() { return kFile; }

}  // namespace marl
