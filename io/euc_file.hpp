// Script source as the scanner reads it: the whole text, converted to EUC-JP
// so that every byte of a double-byte character lies at 0x80 or above.
#pragma once
#include <memory>
#include <string>
#include <string_view>

namespace marl {

class EucFile {
 public:
  // Null when the file cannot be opened or read. Read in text mode (CR LF -> LF).
  static std::unique_ptr<EucFile> fromPath(const std::string &path);
  static std::unique_ptr<EucFile> fromText(std::string_view text);
  virtual ~EucFile() = default;

  // Copies up to n bytes from the read position; 0 when exhausted or n < 1.
  size_t read(char *buffer, long n);
  const std::string &text() const { return text_; }

 private:
  std::string text_;
  size_t pos_ = 0;
};

}  // namespace marl
