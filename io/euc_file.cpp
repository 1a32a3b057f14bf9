// Script source as the scanner reads it.
#include "io/euc_file.hpp"

#include <algorithm>
#include <cstring>

#include "io/encoding.hpp"
#include "io/stream.hpp"

namespace marl {

namespace {

// The text is a C string to the scanner: it ends at the first NUL byte.
std::string_view untilNul(std::string_view s) {
  const void *nul = std::memchr(s.data(), 0, s.size());
  return nul ? s.substr(0, static_cast<const char *>(nul) - s.data()) : s;
}

}  // namespace

std::unique_ptr<EucFile> EucFile::fromPath(const std::string &path) {
  Stream in;
  if (!in.open(path, "r")) return nullptr;
  // Reading stops at the first NUL, where the text ends anyway: a device
  // such as /dev/zero is an empty script, not an endless read.
  constexpr size_t kChunk = 1 << 16;
  std::string raw;
  for (;;) {
    size_t before = raw.size();
    size_t n = in.read(raw, kChunk);
    if (std::memchr(raw.data() + before, 0, n) || n < kChunk) break;
  }
  if (in.error()) return nullptr;
  // A UTF-8 byte-order mark that an editor put first is no part of the script.
  std::string_view body(raw);
  if (body.starts_with("\xEF\xBB\xBF")) body.remove_prefix(3);
  return fromText(body);
}

std::unique_ptr<EucFile> EucFile::fromText(std::string_view text) {
  auto f = std::make_unique<EucFile>();
  f->text_ = sjisToEuc(untilNul(text));
  return f;
}

size_t EucFile::read(char *buffer, long n) {
  if (n < 1 || pos_ >= text_.size()) return 0;
  size_t take = std::min(static_cast<size_t>(n), text_.size() - pos_);
  std::memcpy(buffer, text_.data() + pos_, take);
  pos_ += take;
  return take;
}

}  // namespace marl
