// Buffered byte streams on POSIX descriptors, with the original platform's
// text mode emulated: reading turns CR LF into LF, writing LF into CR LF.
#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace marl {

// Writes all n bytes to a descriptor, retrying short and interrupted writes;
// false on an error.
bool writeFully(int fd, const char *p, size_t n);

class Stream {
 public:
  Stream() = default;
  ~Stream();  // closes an owned descriptor, flushes an attached one
  Stream(const Stream &) = delete;
  Stream &operator=(const Stream &) = delete;

  // The streams of descriptors 0, 1 and 2 in the interpreter state
  // (io/standard_streams.hpp): binary mode, never closed. Terminals and
  // standard error are written through at every write call.
  static Stream &standard(int fd);

  // `mode` as for C's fopen: r, w or a, then any of +, b, t (each at most
  // once, b and t not together); it ends at a NUL. Text mode unless b.
  bool open(const std::string &path, std::string_view mode);
  // Uses a descriptor the stream does not own (binary mode).
  void attach(int fd);
  // Flushes, then closes an owned descriptor or lets go of an attached one;
  // 0, or -1 when flushing or closing failed or nothing was open.
  int close();
  bool isOpen() const { return fd_ >= 0; }
  int fd() const { return fd_; }

  bool textMode() const { return text_; }
  void setTextMode(bool text) { text_ = text; }
  void setAutoFlush(bool on) { autoFlush_ = on; }

  // The next byte, or -1 at the end or on an error.
  int getc() {
    if (pos_ < end_ && !(text_ && buf_[pos_] == '\r'))
      return static_cast<unsigned char>(buf_[pos_++]);
    return getcSlow();
  }
  // Appends up to n bytes, reading until n are there or the input ends.
  size_t read(std::string &out, size_t n);
  // Appends one line with its line feed; false when no byte could be read.
  bool readLine(std::string &out);
  // Appends everything up to the end; false on a read error.
  bool readAll(std::string &out);
  // Returns how many of the given bytes were taken (fewer only on an error).
  size_t write(std::string_view bytes);
  bool flush();
  // Seeks to the start (writing what is buffered first) and clears the
  // end-of-file indicator; false when the descriptor cannot seek.
  bool rewind();
  // The byte offset the next write goes to (the end in append mode); -1
  // when the descriptor cannot seek.
  long long tell();

  // Set only when a read ran into the end of the input.
  bool eof() const { return eof_; }
  bool error() const { return error_; }

 private:
  enum class Dir { None, Reading, Writing };

  int getcSlow();
  bool refill(bool lookahead);
  int afterCr();
  void startReading();
  void startWriting();
  bool drain();
  bool putRaw(const char *p, size_t n);
  bool writeOut(const char *p, size_t n);
  void setAccess(int flags);
  void reset();

  std::unique_ptr<char[]> buf_;
  long long off_ = -1;  // the descriptor's offset when known, else -1
  size_t pos_ = 0;      // next byte to read
  size_t end_ = 0;      // end of the read data
  size_t wlen_ = 0;     // bytes waiting to be written
  int fd_ = -1;
  Dir dir_ = Dir::None;
  bool owned_ = false;
  bool text_ = false;
  bool append_ = false;
  bool canRead_ = false;
  bool canWrite_ = false;
  bool autoFlush_ = false;
  bool eof_ = false;
  bool error_ = false;
  bool endSeen_ = false;  // a CR look-ahead met the end; the next fill reports it
};

}  // namespace marl
