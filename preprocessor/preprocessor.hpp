// The preprocessor proper: files and the include search, directives and conditionals, and the
// output, which keeps every script line at its own number with #line markers.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "preprocessor/expander.hpp"
#include "preprocessor/macro_table.hpp"

namespace marl::pp {

class Preprocessor final : private TokenSource {
 public:
  Preprocessor() : expander_(macros_, *this) {}

  void add_include_dir(std::string dir) { include_dirs_.push_back(std::move(dir)); }
  // -DNAME, -DNAME=VALUE and -UNAME (without the "-D"/"-U"); throw PPError when malformed.
  void define_option(std::string_view arg);
  void undef_option(std::string_view arg);

  // Preprocesses the file `path` into `out`. On error prints "FILE:LINE: error: MESSAGE" (or
  // a message about the input itself) to standard error and returns false.
  bool run(const std::string &path, std::string &out);

 private:
  using FileId = std::pair<dev_t, ino_t>;

  struct File {
    std::shared_ptr<const std::string> data;
    const char *pos = nullptr;
    const char *end = nullptr;
    std::string path;      // as opened; its directory is searched first for its includes
    std::string name;      // presumed name, as written in line markers and messages
    long line = 1;         // physical line at pos
    long delta = 0;        // presumed line minus physical line (moved by #line)
    size_t cond_base = 0;  // conditional depth when the file was entered
    FileId id{};
    long presumed() const { return line + delta; }
  };

  enum class Directive {
    None,
    Include,
    Define,
    Undef,
    If,
    Ifdef,
    Ifndef,
    Elif,
    Else,
    Endif,
    Error,
    Pragma
  };

  struct Cond {
    Directive kind;
    long line;  // presumed line of the opening directive, for "unterminated #if"
    bool parent_active;
    bool active;  // the current group is kept
    bool taken;   // some group has been kept (or none may be)
    bool seen_else;
  };

  // Source text (preprocessor.cpp).
  enum class Open { Ok, Missing, Failed };
  Open open_file(const std::string &path, File &f, std::string &why);
  void process();
  void leave_file();
  void text_unit();
  void expand_unit(const char *start, const char *at, int lines);
  void skip_text_unit();
  bool skipping() const { return !conds_.empty() && !conds_.back().active; }
  void arg_line_start();
  Token next(bool in_args) override;
  bool take_lparen() override;
  long line() const override { return files_.back().presumed(); }

  // Output.
  void sync(long line);
  void write_marker(long line, const std::string &name);
  void emit(const Token &t);

  // Directives (directives.cpp).
  void hash_line(const char *hash, bool in_args);
  void comment_line(const char *hash, bool in_args);
  void line_marker(bool in_args);
  std::string gather(const char *from, LexMode mode);
  void directive(Directive d, const std::string &text, const char *line_start, long first_line,
                 bool in_args);
  bool evaluate(const std::string &text, const char *name);
  void conditional(Directive d, const std::string &text);
  void include(const std::string &text);
  std::string include_name(const std::string &text);

  MacroTable macros_;
  Expander expander_;
  std::vector<std::string> include_dirs_;
  std::deque<File> files_;  // a deque: references to the includer stay valid on include
  std::vector<Cond> conds_;
  std::set<FileId> once_;
  std::map<FileId, std::weak_ptr<const std::string>> loaded_;  // shared by nested includes
  std::string *out_ = nullptr;
  long out_line_ = 1;  // the line the scanner gives the output line being written
  long err_line_ = 0;  // presumed line of the text being processed
  size_t replaceable_marker_ = std::string::npos;  // output size just after a leave marker
};

}  // namespace marl::pp
