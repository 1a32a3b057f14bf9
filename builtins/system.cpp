// File-system built-ins, path arithmetic and the table of the system group
// (time, file system, console). Paths are bytes handed to the system as they
// are; a missing or unusable path gives false or null, never an error.
#include "builtins/system.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "builtins/registry.hpp"
#include "builtins/sjis_text.hpp"
#include "io/stream.hpp"
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// The path as a C string, or null when it holds a NUL byte: no system call
// could name that file.
const char *pathArg(int line, const Value &v) {
  std::string_view s = argString(line, v);
  return s.find('\0') == std::string::npos ? asString(v)->text.c_str() : nullptr;
}

bool currentDirectory(std::string &out) {
  std::vector<char> buf(4096);
  for (;;) {
    if (::getcwd(buf.data(), buf.size())) {
      out = buf.data();
      return true;
    }
    // ERANGE only while the buffer is too small; anything else is final
    // (the directory was removed, for instance).
    if (errno != ERANGE || buf.size() >= (1u << 20)) return false;
    buf.resize(buf.size() * 2);
  }
}

// "." and ".." are resolved on the text alone, so the path need not exist;
// ".." above the root stays at the root.
std::string normalisePath(std::string_view absolute) {
  std::vector<std::string_view> parts;
  size_t i = 0;
  while (i < absolute.size()) {
    size_t end = absolute.find('/', i);
    if (end == std::string_view::npos) end = absolute.size();
    std::string_view part = absolute.substr(i, end - i);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    i = end + 1;
  }
  std::string out;
  for (std::string_view part : parts) {
    out += '/';
    out += part;
  }
  return out.empty() ? "/" : out;
}

bool absolutePath(std::string_view path, std::string &out) {
  if (!path.empty() && path[0] == '/') {
    out = normalisePath(path);
    return true;
  }
  std::string cwd;
  if (!currentDirectory(cwd)) return false;
  cwd += '/';
  cwd += path;
  out = normalisePath(cwd);
  return true;
}

// `*` matches any run of characters, `?` one character (a double-byte
// character counts as one). One backtrack point, so a pattern full of stars
// stays linear instead of exponential. Neither byte can be the trail byte of
// a double-byte character, so comparing whole characters is enough.
bool wildMatch(std::string_view pat, std::string_view name) {
  size_t p = 0, n = 0;
  size_t starP = std::string_view::npos, starN = 0;
  while (n < name.size()) {
    if (p < pat.size() && pat[p] == '*') {
      starP = ++p;
      starN = n;
      continue;
    }
    if (p < pat.size()) {
      size_t nl = sjis::charSize(name, n);
      if (pat[p] == '?') {
        p++;
        n += nl;
        continue;
      }
      size_t pl = sjis::charSize(pat, p);
      if (pl == nl && pat.substr(p, pl) == name.substr(n, nl)) {
        p += pl;
        n += nl;
        continue;
      }
    }
    if (starP == std::string_view::npos) return false;
    starN += sjis::charSize(name, starN);
    n = starN;
    p = starP;
  }
  while (p < pat.size() && pat[p] == '*') p++;
  return p == pat.size();
}

struct DirCloser {
  void operator()(DIR *d) const { closedir(d); }
};

class FdCloser {
 public:
  explicit FdCloser(int fd) : fd_(fd) {}
  ~FdCloser() {
    if (fd_ >= 0) ::close(fd_);
  }
  FdCloser(const FdCloser &) = delete;
  FdCloser &operator=(const FdCloser &) = delete;
  // Closing can report a late write error, so the copy checks it.
  bool close() {
    int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0;
  }

 private:
  int fd_;
};

// Copies the bytes of a regular file; a new target gets the source's
// permission bits (less the umask), an existing one is overwritten in place.
bool copyFile(const char *from, const char *to) {
  int in = ::open(from, O_RDONLY | O_CLOEXEC);
  if (in < 0) return false;
  FdCloser inGuard(in);
  struct stat src;
  if (fstat(in, &src) != 0 || !S_ISREG(src.st_mode)) return false;
  // Opening the source itself as the target would truncate it before reading.
  struct stat dst;
  if (::stat(to, &dst) == 0 && dst.st_dev == src.st_dev && dst.st_ino == src.st_ino) return false;
  int out = ::open(to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, src.st_mode & 0777);
  if (out < 0) return false;
  FdCloser outGuard(out);
  std::unique_ptr<char[]> buf(new char[1 << 16]);
  for (;;) {
    ssize_t n = ::read(in, buf.get(), 1 << 16);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (!writeFully(out, buf.get(), static_cast<size_t>(n))) return false;
  }
  return outGuard.close();
}

void bi_stat(Context &, int line, const Args &a, Value &r) {
  const char *path = pathArg(line, a[0]);
  struct stat st;
  if (!path || ::stat(path, &st) != 0) return;
  MHash *h = new MHash();
  Value holder(h);
  h->set("size", Value::num(static_cast<double>(st.st_size)));
  h->set("atime", Value::num(static_cast<double>(st.st_atime)));
  h->set("mtime", Value::num(static_cast<double>(st.st_mtime)));
  h->set("ctime", Value::num(static_cast<double>(st.st_ctime)));
  h->set("mode", Value::num(static_cast<double>(st.st_mode)));
  h->set("isdir", Value::boolean(S_ISDIR(st.st_mode)));
  r = std::move(holder);
}

void bi_mkdir(Context &, int line, const Args &a, Value &r) {
  const char *path = pathArg(line, a[0]);
  r.setBool(path && ::mkdir(path, 0777) == 0);
}

void bi_rmdir(Context &, int line, const Args &a, Value &r) {
  const char *path = pathArg(line, a[0]);
  r.setBool(path && ::rmdir(path) == 0);
}

void bi_chdir(Context &, int line, const Args &a, Value &r) {
  const char *path = pathArg(line, a[0]);
  r.setBool(path && ::chdir(path) == 0);
}

void bi_getcwd(Context &, int, const Args &, Value &r) {
  std::string cwd;
  if (currentDirectory(cwd)) r = makeString(std::move(cwd));
}

void bi_unlink(Context &, int line, const Args &a, Value &r) {
  const char *path = pathArg(line, a[0]);
  r.setBool(path && ::unlink(path) == 0);
}

void bi_rename(Context &, int line, const Args &a, Value &r) {
  const char *from = pathArg(line, a[0]);
  const char *to = pathArg(line, a[1]);
  r.setBool(from && to && ::rename(from, to) == 0);
}

void bi_fcopy(Context &, int line, const Args &a, Value &r) {
  const char *from = pathArg(line, a[0]);
  const char *to = pathArg(line, a[1]);
  r.setBool(from && to && copyFile(from, to));
}

// rename() cannot cross file systems; then the bytes are copied and the
// source removed.
void bi_fmove(Context &, int line, const Args &a, Value &r) {
  const char *from = pathArg(line, a[0]);
  const char *to = pathArg(line, a[1]);
  bool ok = false;
  if (from && to) {
    ok = ::rename(from, to) == 0;
    if (!ok && errno == EXDEV) ok = copyFile(from, to) && ::unlink(from) == 0;
  }
  r.setBool(ok);
}

void bi_chmod(Context &, int line, const Args &a, Value &r) {
  const char *path = pathArg(line, a[0]);
  double mode = std::trunc(argNumber(line, a[1]));
  r.setBool(path && mode >= 0 && mode <= 07777 && ::chmod(path, static_cast<mode_t>(mode)) == 0);
}

// The wildcard applies to the last path component; the directory part is
// taken literally. An empty last component ("sub/") lists everything.
void listDirectory(int line, const Args &a, Value &r, bool full) {
  std::string pattern = a.size() ? std::string(argString(line, a[0])) : std::string("*");
  MArray *out = new MArray();
  Value holder(out);
  r = holder;
  if (pattern.find('\0') != std::string::npos) return;
  size_t slash = pattern.rfind('/');
  std::string dirPart = slash == std::string::npos ? "" : pattern.substr(0, slash + 1);
  std::string namePat = slash == std::string::npos ? pattern : pattern.substr(slash + 1);
  if (namePat.empty()) namePat = "*";
  std::string base;
  if (full) {
    if (!absolutePath(dirPart.empty() ? "." : dirPart, base)) return;
    if (base.back() != '/') base += '/';
  }
  std::unique_ptr<DIR, DirCloser> d(opendir(dirPart.empty() ? "." : dirPart.c_str()));
  if (!d) return;
  while (dirent *e = readdir(d.get())) {
    std::string_view name = e->d_name;
    if (name == "." || name == ".." || !wildMatch(namePat, name)) continue;
    out->push(full ? makeString(base + std::string(name)) : makeString(name));
  }
}

void bi_dir(Context &, int line, const Args &a, Value &r) { listDirectory(line, a, r, false); }
void bi_fulldir(Context &, int line, const Args &a, Value &r) { listDirectory(line, a, r, true); }

void bi_fullpath(Context &, int line, const Args &a, Value &r) {
  std::string out;
  if (absolutePath(argString(line, a[0]), out)) r = makeString(std::move(out));
}

// [drive, directory, name, extension]. There are no drives here, so the first
// is always "". The extension starts at the last dot of the last component; a
// name made of a leading dot and no other ("." ".." ".profile") has none.
void bi_splitpath(Context &, int line, const Args &a, Value &r) {
  std::string_view path = argString(line, a[0]);
  size_t slash = path.rfind('/');
  std::string_view dir = slash == std::string_view::npos ? "" : path.substr(0, slash + 1);
  std::string_view file = slash == std::string_view::npos ? path : path.substr(slash + 1);
  size_t dot = file.rfind('.');
  bool hasExt = dot != std::string_view::npos && file.find_first_not_of('.') < dot;
  MArray *out = new MArray();
  Value holder(out);
  out->push(makeString(""));
  out->push(makeString(dir));
  out->push(makeString(hasExt ? file.substr(0, dot) : file));
  out->push(makeString(hasExt ? file.substr(dot) : std::string_view()));
  r = std::move(holder);
}

constexpr BuiltinEntry kSystem[] = {
    {"time", 0, bi_time_now},
    {"time", 3, bi_time_make},
    {"time", 4, bi_time_make},
    {"time", 5, bi_time_make},
    {"time", 6, bi_time_make},
    {"localtime", 0, bi_localtime},
    {"localtime", 1, bi_localtime},
    {"stat", 1, bi_stat},
    {"mkdir", 1, bi_mkdir},
    {"rmdir", 1, bi_rmdir},
    {"chdir", 1, bi_chdir},
    {"getcwd", 0, bi_getcwd},
    {"unlink", 1, bi_unlink},
    {"rename", 2, bi_rename},
    {"fcopy", 2, bi_fcopy},
    {"fmove", 2, bi_fmove},
    {"chmod", 2, bi_chmod},
    {"dir", 1, bi_dir},
    {"dir", 0, bi_dir},
    {"fulldir", 1, bi_fulldir},
    {"fulldir", 0, bi_fulldir},
    {"fullpath", 1, bi_fullpath},
    {"splitpath", 1, bi_splitpath},
    {"tick", 0, bi_tick},
    {"sleep", 1, bi_sleep},
    {"beep", 0, bi_beep},
    {"kbhit", 0, bi_kbhit},
    {"getch", 0, bi_getch},
    {"getche", 0, bi_getche},
};

}  // namespace

std::span<const BuiltinEntry> systemBuiltins() { return kSystem; }

}  // namespace marl
