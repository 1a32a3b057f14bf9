#include "preprocessor/preprocessor.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "preprocessor/pp_error.hpp"

namespace marl::pp {
namespace {

// Up to this many missing lines are made up with empty lines; a longer gap gets a #line marker.
constexpr long kMaxBlankRun = 8;
// One line of script text may not expand to more than this.
constexpr size_t kMaxUnitOutput = 64u << 20;
// Files that are not regular (pipes, devices) are read up to this size.
constexpr size_t kMaxStreamSize = size_t{1} << 30;

bool read_all(int fd, const struct stat &st, std::string &data, std::string &why) {
  size_t want = S_ISREG(st.st_mode) ? static_cast<size_t>(st.st_size) : 0;
  data.resize(want > 0 ? want : 65536);
  size_t have = 0;
  for (;;) {
    if (have == data.size()) {
      if (data.size() >= kMaxStreamSize) {
        why = "file too large";
        return false;
      }
      data.resize(std::min(data.size() * 2, kMaxStreamSize));
    }
    ssize_t n = ::read(fd, data.data() + have, data.size() - have);
    if (n < 0) {
      if (errno == EINTR) continue;
      why = std::strerror(errno);
      return false;
    }
    if (n == 0) break;
    have += static_cast<size_t>(n);
  }
  data.resize(have);
  return true;
}

bool could_paste(char a, char b) {
  auto word = [](char c) { return is_ident_char(c) || c == '$'; };
  if (a == '$') return true;
  if (word(a) && word(b)) return true;
  if ((word(a) || a == '.') && b == '.') return true;
  if (a == '.' && b >= '0' && b <= '9') return true;
  static constexpr std::string_view kJoining = "+-*/%<>=!&|^.:#\\@~?";
  return kJoining.find(a) != std::string_view::npos && kJoining.find(b) != std::string_view::npos;
}

}  // namespace

Preprocessor::Open Preprocessor::open_file(const std::string &path, File &f, std::string &why) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    int err = errno;
    why = std::strerror(err);
    return err == ENOENT || err == ENOTDIR ? Open::Missing : Open::Failed;
  }
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    why = std::strerror(errno);
    ::close(fd);
    return Open::Failed;
  }
  if (S_ISDIR(st.st_mode)) {  // a directory of that name does not stop the search
    why = std::strerror(EISDIR);
    ::close(fd);
    return Open::Missing;
  }
  f.id = FileId{st.st_dev, st.st_ino};
  if (once_.count(f.id)) {  // #pragma once: found, but nothing to read
    ::close(fd);
    return Open::Ok;
  }
  auto it = loaded_.find(f.id);
  if (it != loaded_.end()) f.data = it->second.lock();
  if (!f.data) {
    auto data = std::make_shared<std::string>();
    bool ok = read_all(fd, st, *data, why);
    if (!ok) {
      ::close(fd);
      return Open::Failed;
    }
    f.data = data;
    loaded_[f.id] = f.data;
  }
  ::close(fd);
  f.pos = f.data->data();
  f.end = f.pos + f.data->size();
  // Editors that save UTF-8 may put a byte-order mark first; it is no part of the script.
  if (f.end - f.pos >= 3 && std::memcmp(f.pos, "\xEF\xBB\xBF", 3) == 0) f.pos += 3;
  return Open::Ok;
}

void Preprocessor::define_option(std::string_view arg) {
  size_t eq = arg.find('=');
  std::string_view head = arg.substr(0, eq);
  std::string_view name = macro_name(head, "#define");
  if (name.size() < head.size() && head[name.size()] != '(')
    throw PPError{"macro names must be identifiers"};
  std::string text(head);
  text += ' ';
  text += eq == std::string_view::npos ? std::string_view("1") : arg.substr(eq + 1);
  macros_.define(text);
  macros_.release_retired();
}

void Preprocessor::undef_option(std::string_view arg) {
  std::string_view name = macro_name(arg, "#undef");
  if (name.size() != arg.size()) throw PPError{"macro names must be identifiers"};
  macros_.undef(name);
  macros_.release_retired();
}

bool Preprocessor::run(const std::string &path, std::string &out) {
  out_ = &out;
  out.clear();
  try {
    File f;
    std::string why;
    if (open_file(path, f, why) != Open::Ok) {
      std::fprintf(stderr, "<command-line>: error: cannot open input file \"%s\": %s\n",
                   path.c_str(), why.c_str());
      return false;
    }
    f.path = path;
    f.name = path;
    out.reserve(f.data->size() + f.data->size() / 8 + 256);  // output is about as long as the input
    files_.push_back(std::move(f));
    write_marker(1, path);
    process();
    return true;
  } catch (const PPError &e) {
    std::string name = files_.empty() ? std::string("<command-line>") : files_.back().name;
    long line = e.line >= 0 ? e.line : err_line_;
    std::fprintf(stderr, "%s:%ld: error: %s\n", name.c_str(), line, e.message.c_str());
    return false;
  }
}

void Preprocessor::process() {
  while (!files_.empty()) {
    File &f = files_.back();
    if (f.pos == f.end) {
      leave_file();
      continue;
    }
    err_line_ = f.presumed();
    const char *p = skip_blanks(f.pos, f.end);
    if (p < f.end && *p == '#')
      hash_line(p, false);
    else if (skipping())
      skip_text_unit();
    else
      text_unit();
  }
}

void Preprocessor::leave_file() {
  File &f = files_.back();
  if (conds_.size() > f.cond_base) {
    const Cond &c = conds_.back();
    const char *name = c.kind == Directive::Ifdef    ? "#ifdef"
                       : c.kind == Directive::Ifndef ? "#ifndef"
                                                     : "#if";
    throw PPError{std::string("unterminated ") + name, c.line};
  }
  if (files_.size() == 1) sync(f.presumed());  // trailing directive lines become empty lines too
  files_.pop_back();
  if (!files_.empty()) {
    write_marker(files_.back().presumed(), files_.back().name);
    replaceable_marker_ = out_->size();
  }
}

// A unit is one line of script text, or several when a comment or block string spans lines.
// Most units hold no macro name and are copied as they are.
void Preprocessor::text_unit() {
  File &f = files_.back();
  const char *start = f.pos, *p = start;
  int lines = 0;
  while (p < f.end) {
    Tok kind;
    int nl;
    const char *q = lex_token(p, f.end, LexMode::Script, kind, nl);
    if (kind == Tok::Ident && macros_.find(std::string_view(p, static_cast<size_t>(q - p)))) {
      expand_unit(start, p, lines);
      return;
    }
    p = q;
    lines += nl;
    if (kind == Tok::Newline) break;
  }
  sync(f.presumed());
  out_->append(start, p);
  f.pos = p;
  f.line += lines;
  out_line_ += lines;
}

void Preprocessor::expand_unit(const char *start, const char *at, int lines) {
  File &f = files_.back();
  sync(f.presumed());
  size_t mark = out_->size();
  out_->append(start, at);
  f.pos = at;
  f.line += lines;
  for (;;) {
    Token t = expander_.get();
    if (t.kind == Tok::End) break;
    emit(t);
    if (t.kind == Tok::Newline) break;
    if (out_->size() - mark > kMaxUnitOutput) throw PPError{"macro expansion too large"};
  }
  out_line_ += std::count(out_->begin() + static_cast<std::ptrdiff_t>(mark), out_->end(), '\n');
  expander_.reset();
  macros_.release_retired();
}

void Preprocessor::skip_text_unit() {
  File &f = files_.back();
  while (f.pos < f.end) {
    Tok kind;
    int nl;
    f.pos = lex_token(f.pos, f.end, LexMode::Script, kind, nl);
    f.line += nl;
    if (kind == Tok::Newline) break;
  }
}

Token Preprocessor::next(bool in_args) {
  static constexpr std::string_view kSpace = " ";
  File &f = files_.back();
  if (f.pos == f.end) return Token{{}, Tok::End};
  Tok kind;
  int nl;
  const char *q = lex_token(f.pos, f.end, LexMode::Script, kind, nl);
  Token t{std::string_view(f.pos, static_cast<size_t>(q - f.pos)), kind};
  f.pos = q;
  f.line += nl;
  if (!in_args) return t;
  if (kind == Tok::Newline) {
    arg_line_start();
    return Token{kSpace, Tok::Space};
  }
  if (kind == Tok::Comment) return Token{kSpace, Tok::Space};
  return t;
}

// Macro arguments may span lines; directive lines between them are carried out (so #ifdef
// works there) and skipped groups are passed over.
void Preprocessor::arg_line_start() {
  for (;;) {
    File &f = files_.back();
    if (f.pos == f.end) return;
    err_line_ = f.presumed();
    const char *p = skip_blanks(f.pos, f.end);
    if (p < f.end && *p == '#') {
      hash_line(p, true);
    } else if (skipping()) {
      skip_text_unit();
    } else {
      return;
    }
  }
}

bool Preprocessor::take_lparen() {
  File &f = files_.back();
  const char *p = f.pos;
  long line = f.line;
  while (p < f.end) {
    Tok kind;
    int nl;
    const char *q = lex_token(p, f.end, LexMode::Script, kind, nl);
    if (kind == Tok::Space || kind == Tok::Comment) {
      p = q;
      line += nl;
    } else if (kind == Tok::Newline) {
      // A '(' on a later line still calls the macro, but not across a '#' line.
      p = q;
      ++line;
      const char *s = skip_blanks(p, f.end);
      if (s < f.end && *s == '#') return false;
    } else {
      if (!(kind == Tok::Punct && *p == '(')) return false;
      f.pos = q;
      f.line = line;
      return true;
    }
  }
  return false;
}

void Preprocessor::sync(long line) {
  if (line == out_line_) return;
  if (line > out_line_ && line - out_line_ <= kMaxBlankRun)
    out_->append(static_cast<size_t>(line - out_line_), '\n');
  else
    write_marker(line, files_.back().name);
  out_line_ = line;
}

void Preprocessor::write_marker(long line, const std::string &name) {
  if (replaceable_marker_ == out_->size()) {  // the marker after an include that nothing followed
    size_t start = out_->rfind('\n', out_->size() - 2);
    out_->resize(start == std::string::npos ? 0 : start + 1);
  }
  replaceable_marker_ = std::string::npos;
  if (!out_->empty() && out_->back() != '\n') out_->push_back('\n');
  *out_ += "#line ";
  *out_ += std::to_string(line);
  *out_ += " \"";
  *out_ += name;
  *out_ += "\"\n";
  out_line_ = line;
}

void Preprocessor::emit(const Token &t) {
  if ((t.flags & kAvoidPaste) && !out_->empty() && !t.text.empty() &&
      could_paste(out_->back(), t.text.front()))
    out_->push_back(' ');
  out_->append(t.text);
}

}  // namespace marl::pp
