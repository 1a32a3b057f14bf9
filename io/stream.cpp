// Buffered byte streams on POSIX descriptors.
#include "io/stream.hpp"

#include "runtime/interrupt.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace marl {

namespace {

// Large enough that a 50 MB file takes few system calls; one read(2) per
// fill, so a terminal or pipe hands over a line as soon as it is there.
constexpr size_t kBufferSize = 64 * 1024;

struct OpenMode {
  int flags = 0;  // O_RDONLY, O_WRONLY or O_RDWR and the creation flags
  bool text = true;
  bool append = false;
};

// The letters the C runtime's fopen accepts; anything else fails the open.
bool parseMode(std::string_view mode, OpenMode &m) {
  mode = mode.substr(0, mode.find('\0'));
  if (mode.empty()) return false;
  bool plus = false, binary = false, text = false;
  for (char c : mode.substr(1)) {
    if (c == '+' && !plus) {
      plus = true;
    } else if ((c == 'b' || c == 't') && !binary && !text) {
      (c == 'b' ? binary : text) = true;
    } else {
      return false;
    }
  }
  switch (mode[0]) {
    case 'r':
      m.flags = plus ? O_RDWR : O_RDONLY;
      break;
    case 'w':
      m.flags = (plus ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
      break;
    case 'a':
      m.flags = (plus ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
      m.append = true;
      break;
    default:
      return false;
  }
  m.text = !binary;
  return true;
}

}  // namespace

bool writeFully(int fd, const char *p, size_t n) {
  while (n > 0) {
    ssize_t k = ::write(fd, p, n);
    if (k < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += k;
    n -= static_cast<size_t>(k);
  }
  return true;
}

Stream::~Stream() {
  if (owned_)
    close();
  else if (fd_ >= 0)
    flush();
}

bool Stream::open(const std::string &path, std::string_view mode) {
  OpenMode m;
  // A name with a NUL in it would silently open a shorter name.
  if (!parseMode(mode, m) || path.find('\0') != std::string::npos) {
    errno = EINVAL;
    return false;
  }
  int fd;
  do fd = ::open(path.c_str(), m.flags | O_CLOEXEC, 0666);
  while (fd < 0 && errno == EINTR);
  if (fd < 0) return false;
  // The C runtime refuses directories; read(2) on one would only fail later.
  struct stat st;
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    ::close(fd);
    errno = EISDIR;
    return false;
  }
  if (isOpen()) close();
  fd_ = fd;
  off_ = m.append ? -1 : 0;  // appends move it to the end, wherever that is
  owned_ = true;
  setAccess(m.flags);
  text_ = m.text;
  append_ = m.append;
  return true;
}

void Stream::attach(int fd) {
  if (isOpen()) close();
  fd_ = fd;
  owned_ = false;
  text_ = false;
  int flags = fcntl(fd, F_GETFL);
  setAccess(flags < 0 ? O_RDWR : flags);
  // Output redirected with >> writes at the end, wherever the offset says.
  append_ = flags >= 0 && (flags & O_APPEND);
  // Terminals see each write at once; stderr is unbuffered as in C.
  autoFlush_ = fd == 2 || isatty(fd) == 1;
}

int Stream::close() {
  if (fd_ < 0) return -1;
  bool ok = dir_ != Dir::Writing || drain();
  // close(2) is not retried: on Linux the descriptor is gone even on EINTR.
  if (owned_ && ::close(fd_) != 0) ok = false;
  reset();
  return ok ? 0 : -1;
}

// As in the C runtime, reading a write-only stream or writing a read-only one
// fails at once and sets the error indicator.
void Stream::setAccess(int flags) {
  int access = flags & O_ACCMODE;
  canRead_ = access != O_WRONLY;
  canWrite_ = access != O_RDONLY;
}

void Stream::reset() {
  pos_ = end_ = wlen_ = 0;
  fd_ = -1;
  off_ = -1;
  dir_ = Dir::None;
  owned_ = text_ = append_ = canRead_ = canWrite_ = autoFlush_ = false;
  eof_ = error_ = endSeen_ = false;
}

void Stream::startReading() {
  if (dir_ == Dir::Writing) drain();
  dir_ = Dir::Reading;
}

void Stream::startWriting() {
  if (!buf_) buf_ = std::make_unique<char[]>(kBufferSize);
  if (dir_ == Dir::Reading) {
    // Read-ahead is given back, so that "r+" writes where the reader stopped.
    if (end_ > pos_) off_ = lseek(fd_, -static_cast<off_t>(end_ - pos_), SEEK_CUR);
    pos_ = end_ = 0;
    endSeen_ = false;
  }
  dir_ = Dir::Writing;
}

bool Stream::refill(bool lookahead) {
  if (fd_ < 0) return false;
  if (!canRead_) {
    error_ = true;
    return false;
  }
  startReading();
  if (!buf_) buf_ = std::make_unique<char[]>(kBufferSize);
  pos_ = end_ = 0;
  if (endSeen_) {
    endSeen_ = false;
    eof_ = true;
    return false;
  }
  ssize_t k;
  // A signal meant to stop the script ends the wait instead of restarting
  // it. The wait is polled in steps, so a signal that comes just before the
  // read is seen as well (files are always ready: no cost there).
  for (;;) {
    k = -1;
    if (interruptPending()) break;
    pollfd p{fd_, POLLIN, 0};
    int ready = ::poll(&p, 1, 200);
    if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
    k = ::read(fd_, buf_.get(), kBufferSize);
    if (k >= 0 || errno != EINTR) break;
  }
  if (k > 0) {
    end_ = static_cast<size_t>(k);
    if (off_ >= 0) off_ += k;
    return true;
  }
  if (k < 0) {
    if (!interruptPending()) error_ = true;  // an interrupted wait can be retried later
  } else if (lookahead)
    endSeen_ = true;  // the CR before it is still to be returned
  else
    eof_ = true;
  return false;
}

// A CR has been taken in text mode: it and a following LF read as one LF.
int Stream::afterCr() {
  if (pos_ >= end_ && !refill(true)) return '\r';
  if (buf_[pos_] != '\n') return '\r';
  pos_++;
  return '\n';
}

int Stream::getcSlow() {
  if (pos_ >= end_ && !refill(false)) return -1;
  int c = static_cast<unsigned char>(buf_[pos_++]);
  return c == '\r' && text_ ? afterCr() : c;
}

size_t Stream::read(std::string &out, size_t n) {
  size_t got = 0;
  while (got < n) {
    if (pos_ >= end_ && !refill(false)) break;
    const char *b = buf_.get() + pos_;
    size_t span = std::min(end_ - pos_, n - got);
    const void *cr = text_ ? std::memchr(b, '\r', span) : nullptr;
    size_t seg = cr ? static_cast<size_t>(static_cast<const char *>(cr) - b) : span;
    out.append(b, seg);
    pos_ += seg;
    got += seg;
    if (cr) {
      pos_++;
      out.push_back(static_cast<char>(afterCr()));
      got++;
    }
  }
  return got;
}

bool Stream::readLine(std::string &out) {
  bool any = false;
  for (;;) {
    if (pos_ >= end_ && !refill(false)) return any;
    any = true;
    const char *b = buf_.get() + pos_;
    size_t avail = end_ - pos_;
    const void *lf = std::memchr(b, '\n', avail);
    size_t span = lf ? static_cast<size_t>(static_cast<const char *>(lf) - b) + 1 : avail;
    if (text_) {
      if (const void *cr = std::memchr(b, '\r', span)) {
        size_t seg = static_cast<size_t>(static_cast<const char *>(cr) - b);
        out.append(b, seg);
        pos_ += seg + 1;
        int c = afterCr();
        out.push_back(static_cast<char>(c));
        if (c == '\n') return true;
        continue;
      }
    }
    out.append(b, span);
    pos_ += span;
    if (lf) return true;
  }
}

bool Stream::readAll(std::string &out) {
  struct stat st;
  if (fd_ >= 0 && fstat(fd_, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0)
    out.reserve(out.size() + static_cast<size_t>(st.st_size));
  read(out, static_cast<size_t>(-1));
  return !error_;
}

bool Stream::writeOut(const char *p, size_t n) {
  if (writeFully(fd_, p, n)) {
    if (off_ >= 0) off_ += static_cast<long long>(n);
    return true;
  }
  error_ = true;
  off_ = -1;
  return false;
}

bool Stream::drain() {
  bool ok = writeOut(buf_.get(), wlen_);
  wlen_ = 0;
  return ok;
}

bool Stream::putRaw(const char *p, size_t n) {
  if (wlen_ + n > kBufferSize) {
    if (!drain()) return false;
    // Large blocks bypass the buffer.
    if (n >= kBufferSize) return writeOut(p, n);
  }
  std::memcpy(buf_.get() + wlen_, p, n);
  wlen_ += n;
  return true;
}

size_t Stream::write(std::string_view bytes) {
  if (fd_ < 0) return 0;
  if (!canWrite_) {
    error_ = true;
    return 0;
  }
  startWriting();
  size_t done = 0;
  if (!text_) {
    if (putRaw(bytes.data(), bytes.size())) done = bytes.size();
  } else {
    while (done < bytes.size()) {
      const char *b = bytes.data() + done;
      size_t rest = bytes.size() - done;
      const void *lf = std::memchr(b, '\n', rest);
      size_t seg = lf ? static_cast<size_t>(static_cast<const char *>(lf) - b) : rest;
      if (!putRaw(b, seg)) break;
      done += seg;
      if (!lf || !putRaw("\r\n", 2)) break;
      done++;
    }
  }
  if (autoFlush_ && !drain()) return 0;
  return done;
}

bool Stream::flush() {
  if (fd_ < 0) return false;
  // Flushing a reader keeps its buffered input, as the original runtime does.
  return dir_ != Dir::Writing || drain();
}

bool Stream::rewind() {
  if (fd_ < 0) return false;
  if (dir_ == Dir::Writing) drain();
  if (lseek(fd_, 0, SEEK_SET) < 0) return false;
  off_ = 0;
  pos_ = end_ = 0;
  dir_ = Dir::None;
  eof_ = endSeen_ = false;
  return true;
}

long long Stream::tell() {
  if (fd_ < 0) return -1;
  struct stat st;
  if (append_ && dir_ != Dir::Reading && fstat(fd_, &st) == 0)
    return static_cast<long long>(st.st_size) + static_cast<long long>(wlen_);
  // Known offsets spare the UTF-16 writer a system call per line.
  long long off = off_ >= 0 ? off_ : lseek(fd_, 0, SEEK_CUR);
  if (off < 0) return -1;
  if (dir_ == Dir::Reading) return off - static_cast<long long>(end_ - pos_);
  return off + static_cast<long long>(wlen_);
}

}  // namespace marl
