// The bytes of a script string: any bytes, NUL included. A NUL always follows
// the last byte, for the system calls that take C strings.
// Short texts live inside the block itself, longer ones in a buffer of their
// own, so most strings cost one allocation (their object) instead of two.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace marl {

// The block is byte-aligned so that a string object can place it in the
// spare bytes at the end of its header. Its first byte is the length of an
// inline text (which follows it) or kHeapTag; a heap text is described by
// its address, size and capacity, stored from byte kHeapAt on (8-aligned
// inside a string object; read and written with memcpy, so any placement
// works).
class MText {
 public:
  static constexpr size_t kInline = 28;  // and the terminating NUL

  MText() { raw_[0] = raw_[1] = 0; }
  explicit MText(std::string_view s) {
    raw_[0] = raw_[1] = 0;
    assign(s);
  }
  MText(const MText &o) : MText(o.view()) {}
  MText &operator=(const MText &o) {
    if (this != &o) assign(o.view());
    return *this;
  }
  MText &operator=(std::string_view s) {
    assign(s);
    return *this;
  }
  ~MText() {
    if (onHeap()) release();
  }

  size_t size() const { return onHeap() ? load(kSizeAt) : static_cast<unsigned char>(raw_[0]); }
  size_t length() const { return size(); }
  bool empty() const { return size() == 0; }
  size_t capacity() const { return onHeap() ? load(kCapAt) : kInline; }
  const char *data() const { return onHeap() ? heapData() : raw_ + 1; }
  char *data() { return onHeap() ? heapData() : raw_ + 1; }
  const char *c_str() const { return data(); }
  std::string_view view() const {
    if (onHeap()) return {heapData(), load(kSizeAt)};
    return {raw_ + 1, static_cast<unsigned char>(raw_[0])};
  }
  operator std::string_view() const { return view(); }
  std::string str() const { return std::string(view()); }
  const char *begin() const { return data(); }
  const char *end() const { return data() + size(); }
  char operator[](size_t i) const { return data()[i]; }
  char &operator[](size_t i) { return data()[i]; }

  // The text may lie inside this one's own bytes.
  void assign(std::string_view s) {
    if (s.size() > capacity()) reserve(s.size());
    // An empty view may have no address, which memmove must not be given.
    if (!s.empty()) std::memmove(data(), s.data(), s.size());
    setSize(s.size());
  }
  void assign(const char *p, size_t n) { assign(std::string_view(p, n)); }
  // Appends in place while the capacity lasts; then the capacity at least
  // doubles, so repeated appends take amortized constant time. The text may
  // lie inside this one's own bytes.
  void append(const char *p, size_t n) {
    if (n == 0) return;  // p may be null then
    size_t used = size();
    if (n > capacity() - used) {
      appendGrowing(p, n);
      return;
    }
    std::memmove(data() + used, p, n);
    setSize(used + n);
  }
  void append(std::string_view s) { append(s.data(), s.size()); }
  void append(size_t n, char c);
  void push_back(char c) { append(&c, 1); }
  MText &operator+=(std::string_view s) {
    append(s);
    return *this;
  }
  MText &operator+=(char c) {
    push_back(c);
    return *this;
  }
  // New bytes are zero unless `fill` says otherwise.
  void resize(size_t n, char fill = '\0');
  void reserve(size_t n);
  void clear() { setSize(0); }
  int compare(std::string_view s) const { return view().compare(s); }

  friend bool operator==(const MText &a, std::string_view b) { return a.view() == b; }
  friend bool operator==(const MText &a, const MText &b) { return a.view() == b.view(); }
  friend auto operator<=>(const MText &a, std::string_view b) { return a.view() <=> b; }

 private:
  static constexpr unsigned char kHeapTag = 0xFF;
  static constexpr size_t kHeapAt = 6;
  static constexpr size_t kDataAt = kHeapAt;
  static constexpr size_t kSizeAt = kHeapAt + 8;
  static constexpr size_t kCapAt = kHeapAt + 16;

  bool onHeap() const { return static_cast<unsigned char>(raw_[0]) == kHeapTag; }
  size_t load(size_t at) const {
    size_t v;
    std::memcpy(&v, raw_ + at, sizeof v);
    return v;
  }
  void store(size_t at, size_t v) { std::memcpy(raw_ + at, &v, sizeof v); }
  char *heapData() const {
    char *p;
    std::memcpy(&p, raw_ + kDataAt, sizeof p);
    return p;
  }
  void setSize(size_t n) {
    if (onHeap()) {
      store(kSizeAt, n);
      heapData()[n] = '\0';
    } else {
      raw_[0] = static_cast<char>(n);
      raw_[1 + n] = '\0';
    }
  }
  void appendGrowing(const char *p, size_t n);
  // Moves the text into a heap buffer of `cap` bytes and the NUL.
  void regrow(size_t cap);
  void release();

  char raw_[kHeapAt + 24];
};

static_assert(alignof(MText) == 1 && sizeof(MText) == 30);
static_assert(MText::kInline < 0xFF);

}  // namespace marl
