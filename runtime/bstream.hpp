// A growable byte buffer with one read/write position, for serialization.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace marl {

class BStream {
 public:
  BStream() { data_.reserve(1024); }
  explicit BStream(std::string_view bytes) : data_(bytes) {}
  virtual ~BStream() = default;

  void writeByte(uint8_t b) { data_.push_back(static_cast<char>(b)); }
  void writeU32(uint32_t v) {
    for (int i = 0; i < 4; i++) writeByte(static_cast<uint8_t>(v >> (8 * i)));
  }
  void writeBytes(const void *p, size_t n) { data_.append(static_cast<const char *>(p), n); }
  void writeString(std::string_view s) {
    writeU32(static_cast<uint32_t>(s.size()));
    writeBytes(s.data(), s.size());
  }

  // Reading past the end yields zero bytes; the position still advances.
  uint8_t readByte() {
    uint8_t b = pos_ < data_.size() ? static_cast<uint8_t>(data_[pos_]) : 0;
    pos_++;
    return b;
  }
  uint32_t readU32() {
    uint32_t v = 0;
    for (int i = 0; i < 4; i++) v |= static_cast<uint32_t>(readByte()) << (8 * i);
    return v;
  }
  // Reads n bytes, or as many as remain (missing bytes read as nothing).
  std::string readBytes(size_t n) {
    size_t avail = pos_ < data_.size() ? data_.size() - pos_ : 0;
    size_t take = n < avail ? n : avail;
    std::string out(take ? data_.data() + pos_ : "", take);
    pos_ += n;
    return out;
  }
  std::string readString() { return readBytes(readU32()); }
  // Bytes left to read; callers check counts against it before allocating.
  size_t remaining() const { return pos_ < data_.size() ? data_.size() - pos_ : 0; }

  const std::string &bytes() const { return data_; }

 private:
  std::string data_;
  size_t pos_ = 0;
};

}  // namespace marl
