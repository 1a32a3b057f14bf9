// File objects: a stream and the text encoding of its file.
#pragma once
#include <string>
#include <string_view>

#include "io/stream.hpp"
#include "runtime/object.hpp"

namespace marl {

class MFile : public MRef {
 public:
  // file bytes -> internal encoding, or back; null when bytes pass unchanged
  using Converter = std::string (*)(std::string_view);

  Stream *fp = nullptr;  // the open stream: `own` or an attached one; null when closed
  bool owns = true;      // the object opened the stream and closes it
  bool binary = false;   // set by binmode(); re-applied on open and attach

  MFile() : MFile(nullptr, nullptr) {}
  ~MFile() override;
  const char *typeName() const override { return "file"; }

  // Closes what is open first; `mode` as for C's fopen. A failed open leaves
  // the object closed.
  virtual bool open(const std::string &name, std::string_view mode);
  // 0 when an owned stream closed cleanly; -1 otherwise (an attached
  // stream is only let go).
  virtual int close();
  // Uses a stream the object does not own, such as Stream::standard(1);
  // `binary` is re-applied, or taken over from a binary stream.
  virtual void attach(Stream &stream);
  // One line with its line feed, decoded; "" at the end or when closed.
  virtual std::string getline();
  // Encodes and writes; true when more than zero bytes were written.
  virtual bool puts(std::string_view text);
  // Up to `count` raw bytes.
  virtual std::string read(long long count);
  // Raw bytes; the count written.
  virtual long long write(std::string_view bytes);
  virtual bool eof();
  virtual bool rewind();
  virtual bool flush();
  virtual bool binmode();
  virtual bool txtmode();

  bool isOpen() const { return fp != nullptr; }

 protected:
  MFile(Converter decode, Converter encode)
      : MRef(ObjType::File), decode_(decode), encode_(encode) {}

 private:
  Converter decode_;
  Converter encode_;
  Stream own_;  // the stream of open(); unused while attached
};

class MFileSjis : public MFile {
 public:
  MFileSjis() = default;
};

class MFileEuc : public MFile {
 public:
  MFileEuc();
};

class MFileUtf8 : public MFile {
 public:
  MFileUtf8();
};

// Little-endian UTF-16 lines; a byte-order mark is skipped on reading and
// written at position 0.
class MFileUtf16 : public MFile {
 public:
  MFileUtf16() = default;
  std::string getline() override;
  bool puts(std::string_view text) override;
};

// For open(): "sjis", "euc", "utf8", "utf16", case-sensitive; null otherwise.
MFile *makeFileObject(std::string_view encodingWord);
// For the process streams: the same words in any case; null otherwise.
MFile *makeStreamFilter(std::string_view encodingWord);

}  // namespace marl
