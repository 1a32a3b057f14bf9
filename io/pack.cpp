// Binary type codes, record templates, and packing and unpacking of records.
#include "io/pack.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/memory_limit.hpp"
#include "runtime/mhash.hpp"

namespace marl {

namespace {

struct TypeWord {
  std::string_view word;
  int code;
};

constexpr TypeWord kTypeWords[] = {
    {"char", 1},  {"sbyte", 1},  {"short", 2}, {"int16", 2},  {"long", 3},
    {"int32", 3}, {"uchar", 4},  {"byte", 4},  {"ushort", 5}, {"uint16", 5},
    {"ulong", 6}, {"uint32", 6}, {"float", 7}, {"double", 8},
};

constexpr size_t kSizes[] = {0, 1, 2, 4, 1, 2, 4, 4, 8};

// pack() remembers where it found each name in hashes of up to this many
// entries; larger ones have an index to search.
constexpr size_t kHintedEntries = 8;

// As the x86 truncating conversion does: NaN and numbers beyond 64 bits
// become the "integer indefinite" 0x8000000000000000, whose low bytes are 0.
int64_t truncateToInt64(double v) {
  if (!(v >= -9223372036854775808.0 && v < 9223372036854775808.0)) return INT64_MIN;
  return static_cast<int64_t>(v);
}

// On a little-endian machine the bytes are copied as they are; one copy of
// a known size beats a loop over them.
void storeLittle(uint64_t bits, size_t n, char *p) {
  if constexpr (std::endian::native == std::endian::little) {
    switch (n) {
      case 1:
        *p = static_cast<char>(bits);
        return;
      case 2:
        std::memcpy(p, &bits, 2);
        return;
      case 4:
        std::memcpy(p, &bits, 4);
        return;
      case 8:
        std::memcpy(p, &bits, 8);
        return;
    }
  }
  for (size_t i = 0; i < n; i++) p[i] = static_cast<char>(bits >> (8 * i));
}

uint64_t loadLittle(const char *p, size_t n) {
  if constexpr (std::endian::native == std::endian::little) {
    uint64_t b8 = 0;
    uint32_t b4 = 0;
    uint16_t b2 = 0;
    switch (n) {
      case 1:
        return static_cast<unsigned char>(*p);
      case 2:
        std::memcpy(&b2, p, 2);
        return b2;
      case 4:
        std::memcpy(&b4, p, 4);
        return b4;
      case 8:
        std::memcpy(&b8, p, 8);
        return b8;
    }
  }
  const auto *u = reinterpret_cast<const unsigned char *>(p);
  uint64_t bits = 0;
  for (size_t i = 0; i < n; i++) bits |= static_cast<uint64_t>(u[i]) << (8 * i);
  return bits;
}

// The bytes of one value as a number. Each type has its own case with a
// constant width, so that the loops of unpack() compile to plain loads.
inline double decodeAt(int code, const char *p) {
  switch (code) {
    case 1:
      return static_cast<int8_t>(loadLittle(p, 1));
    case 2:
      return static_cast<int16_t>(loadLittle(p, 2));
    case 3:
      return static_cast<int32_t>(loadLittle(p, 4));
    case 4:
      return static_cast<double>(loadLittle(p, 1));
    case 5:
      return static_cast<double>(loadLittle(p, 2));
    case 6:
      return static_cast<double>(loadLittle(p, 4));
    case 7: {
      uint32_t b32 = static_cast<uint32_t>(loadLittle(p, 4));
      float f;
      std::memcpy(&f, &b32, sizeof f);
      return f;
    }
    case 8: {
      uint64_t bits = loadLittle(p, 8);
      double d;
      std::memcpy(&d, &bits, sizeof d);
      return d;
    }
    default:
      return 0.0;
  }
}

// The bytes of one value, written at p; the same constant widths.
inline void encodeAt(int code, double value, char *p) {
  switch (code) {
    case 1:
    case 4:
      storeLittle(static_cast<uint64_t>(truncateToInt64(value)), 1, p);
      return;
    case 2:
    case 5:
      storeLittle(static_cast<uint64_t>(truncateToInt64(value)), 2, p);
      return;
    case 3:
    case 6:
      storeLittle(static_cast<uint64_t>(truncateToInt64(value)), 4, p);
      return;
    case 7: {
      float f = static_cast<float>(value);
      uint32_t b32;
      std::memcpy(&b32, &f, sizeof b32);
      storeLittle(b32, 4, p);
      return;
    }
    case 8: {
      uint64_t bits;
      std::memcpy(&bits, &value, sizeof bits);
      storeLittle(bits, 8, p);
      return;
    }
  }
}

// Character classes of the template tokenizer, one table lookup per byte.
enum : uint8_t { kSpace = 1, kWord = 2, kDigit = 4, kNumber = 8 };

constexpr std::array<uint8_t, 256> kClass = [] {
  std::array<uint8_t, 256> t{};
  for (int c : {' ', '\t', '\n', '\v', '\f', '\r'}) t[c] = kSpace;
  for (int c = 'a'; c <= 'z'; c++) t[c] |= kWord;
  for (int c = 'A'; c <= 'Z'; c++) t[c] |= kWord;
  t['_'] |= kWord | kNumber;
  t['$'] |= kWord;
  for (int c = '0'; c <= '9'; c++) t[c] |= kDigit | kNumber;
  for (int c : {'a', 'b', 'c', 'd', 'e', 'f', 'A', 'B', 'C', 'D', 'E', 'F', 'x', 'X'})
    t[c] |= kNumber;
  return t;
}();

bool is(char c, uint8_t cls) { return kClass[static_cast<unsigned char>(c)] & cls; }

// Words, numbers and single characters; an empty token at the end.
class TemplateLexer {
 public:
  explicit TemplateLexer(std::string_view text) : s_(text) {}

  std::string_view next() {
    skipSpace();
    size_t start = pos_;
    if (pos_ == s_.size()) return {};
    char c = s_[pos_++];
    if (is(c, kWord)) {
      while (pos_ < s_.size() && is(s_[pos_], kWord | kDigit)) pos_++;
    } else if (is(c, kDigit)) {
      while (pos_ < s_.size() && is(s_[pos_], kNumber)) pos_++;
    }
    return s_.substr(start, pos_ - start);
  }
  // Takes the next token when it is the single character `want`.
  bool accept(char want) {
    skipSpace();
    if (pos_ == s_.size() || s_[pos_] != want) return false;
    pos_++;
    return true;
  }
  bool onlySpaceLeft() {
    skipSpace();
    return pos_ == s_.size();
  }

 private:
  void skipSpace() {
    while (pos_ < s_.size() && is(s_[pos_], kSpace)) pos_++;
  }
  std::string_view s_;
  size_t pos_ = 0;
};

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 99;
}

// The count between brackets: "0x" hexadecimal, "0" + octal digit or "_"
// octal, "0b" binary, else decimal; "_" is allowed in all but decimal. Any
// count that fits in 32 bits is taken; memory is checked only by the
// built-ins that would fill it.
bool parseCount(std::string_view text, uint32_t &out) {
  int base = 10;
  size_t i = 0;
  if (text.starts_with("0x")) {
    base = 16, i = 2;
  } else if (text.size() > 1 && text[0] == '0' &&
             ((text[1] >= '0' && text[1] <= '7') || text[1] == '_')) {
    base = 8, i = 1;
  } else if (text.starts_with("0b")) {
    base = 2, i = 2;
  }
  uint64_t n = 0;
  for (; i < text.size(); i++) {
    if (text[i] == '_' && base != 10) continue;
    int d = digitValue(text[i]);
    if (d >= base) return false;
    n = n * base + d;
    if (n > UINT32_MAX) return false;
  }
  if (n < 1) return false;
  out = static_cast<uint32_t>(n);
  return true;
}

// A value to pack: null (or absent) is 0; anything else goes through the
// usual numeric conversion, so numeric strings count and other objects are NaN.
// Objects are rare in records: their conversion stays out of line.
[[gnu::noinline]] double objectNumber(const HeldValue &h) { return toNumber(h.get()); }

inline double packNumber(const HeldValue &h) {
  double d;
  if (h.numberInto(d)) return d;
  return h.isObject() ? objectNumber(h) : h.number();  // a boolean's 1 or 0, null's 0
}

}  // namespace

int typeCode(std::string_view word) {
  // Every template field looks its word up, so reject by size and first
  // letter before comparing bytes.
  for (const TypeWord &t : kTypeWords)
    if (t.word.size() == word.size() && t.word[0] == word[0] && t.word == word) return t.code;
  return 0;
}

size_t typeSize(int code) { return code >= 0 && code <= 8 ? kSizes[code] : 0; }

double decodeTyped(int code, const char *p) { return decodeAt(code, p); }

void encodeTypedAt(int code, double value, char *p) { encodeAt(code, value, p); }

void encodeTyped(int code, double value, std::string &out) {
  size_t at = out.size();
  out.resize(at + typeSize(code));
  encodeTypedAt(code, value, out.data() + at);
}

bool typeInRange(int code, double v) {
  switch (code) {
    case 1:
    case 4:
      return v >= -128.0 && v <= 255.0;
    case 2:
    case 5:
      return v >= -32768.0 && v <= 65535.0;
    case 3:
    case 6:
      return v >= -2147483648.0 && v <= 4294967295.0;
    case 7:
    case 8:
      return true;
    default:
      return false;
  }
}

bool parseTemplate(std::string_view text, PackTemplate &out) {
  out.fields.clear();
  out.size = 0;
  out.named = 0;
  out.elements = 0;
  out.record.clear();
  out.recordBuilt = false;
  TemplateLexer lex(text);
  do {
    std::string_view first = lex.next();
    if (first.empty()) return false;
    PackField f{{}, 0, 0};
    std::string_view type = first;
    if (lex.accept('=')) {
      f.name = first;
      type = lex.next();
      if (type.empty()) return false;
    }
    if (lex.accept('[')) {
      std::string_view count = lex.next();
      if (lex.next() != "]" || !parseCount(count, f.count)) return false;
    }
    f.code = typeCode(type);
    if (f.code == 0) return false;
    f.offset = out.size;
    out.fields.push_back(f);
    if (!f.name.empty()) {
      out.named++;
      out.elements += f.count;
    }
    out.size += typeSize(f.code) * (f.count ? f.count : 1);
  } while (!lex.onlySpaceLeft());
  return true;
}

bool unpackFitsMemory(const PackTemplate &t) {
  return !beyondMemory(t.elements, sizeof(HeldValue));
}

bool packFitsMemory(const PackTemplate &t) { return !beyondMemory(t.size, 1); }

namespace {

// Enters the named fields' keys into the template's record, in the order
// they first appear, and gives each key to the last field of that name.
void buildRecord(PackTemplate &t) {
  HashTable &record = t.record;
  record.clear();
  // While it is built, an entry's value holds its position.
  for (PackField &f : t.fields) {
    f.entry = PackField::kNoEntry;
    if (f.name.empty()) continue;
    if (const HeldValue *known = record.find(f.name)) {
      f.entry = static_cast<uint32_t>(known->number());
    } else {
      f.entry = static_cast<uint32_t>(record.size());
      record.set(f.name, Value::num(f.entry));
    }
  }
  std::vector<bool> taken(record.size());
  for (auto f = t.fields.rbegin(); f != t.fields.rend(); ++f) {
    if (f->entry == PackField::kNoEntry) continue;
    if (taken[f->entry]) {
      f->entry = PackField::kNoEntry;
    } else {
      taken[f->entry] = true;
    }
  }
  for (const PackField &f : t.fields)
    if (f.entry != PackField::kNoEntry) *record.find(f.name) = Value();
  t.recordBuilt = true;
}

// How many of a field's values the data holds. Fields follow each other
// without gaps, so once one value is cut off every later field starts past
// the end: each later value is null too, even a smaller one that would fit.
uint64_t valuesInData(const PackField &f, size_t bytes) {
  if (f.offset >= bytes) return 0;
  return std::min<uint64_t>(f.count ? f.count : 1, (bytes - f.offset) / typeSize(f.code));
}

// The value of one entry of the template's record. The template owns the
// table, and a value may change in place as long as the keys stay.
HeldValue &recordValue(PackTemplate &t, uint32_t entry) {
  return const_cast<HeldValue &>(t.record.unordered()[entry].second);
}

// Field names are short: comparing them in place beats calling memcmp.
bool sameName(const std::string &key, std::string_view name) {
  if (key.size() != name.size()) return false;
  for (size_t i = 0; i < name.size(); i++)
    if (key[i] != name[i]) return false;
  return true;
}

// The value of a field's name in `values`. Records are mostly packed from
// hashes of one shape, so the position where the name was found last time
// is tried before the keys are searched.
const HeldValue *fieldValue(const MHash &values, PackField &f) {
  if (f.name.empty()) return nullptr;
  const auto &entries = values.entries.unordered();
  if (f.hint < entries.size() && sameName(entries[f.hint].first, f.name))
    return &entries[f.hint].second;
  // Larger hashes are searched through their index.
  if (entries.size() > kHintedEntries) return values.find(f.name);
  for (size_t i = 0; i < entries.size(); i++) {
    if (sameName(entries[i].first, f.name)) {
      f.hint = static_cast<uint32_t>(i);
      return &entries[i].second;
    }
  }
  return nullptr;
}

}  // namespace

Value unpackRecord(PackTemplate &t, std::string_view data) {
  if (!t.recordBuilt) buildRecord(t);
  // Single values go into the record first; the hash is then a copy of it,
  // and arrays go into the copy.
  bool arrays = false;
  for (const PackField &f : t.fields) {
    if (f.entry == PackField::kNoEntry) continue;
    if (f.count != 0) {
      arrays = true;
      continue;
    }
    HeldValue &v = recordValue(t, f.entry);
    if (valuesInData(f, data.size())) {
      v.setNumber(decodeAt(f.code, data.data() + f.offset));
    } else {
      v.setNull();
    }
  }
  MHash *h = new MHash();
  Value result(h);
  h->entries = t.record;
  if (!arrays) return result;
  for (const PackField &f : t.fields) {
    if (f.entry == PackField::kNoEntry || f.count == 0) continue;
    MArray *arr = new MArray(f.count);
    Value holder(arr);
    size_t fit = valuesInData(f, data.size());
    size_t size = typeSize(f.code);
    const char *p = data.data() + f.offset;
    for (size_t i = 0; i < fit; i++) arr->items[i].setNumber(decodeAt(f.code, p + i * size));
    // The copy keeps the record's entry positions.
    const_cast<HeldValue &>(h->entries.unordered()[f.entry].second) = holder;
  }
  return result;
}

std::string packRecord(PackTemplate &t, const MHash &values) {
  std::string out(t.size, '\0');
  packRecordInto(t, values, out.data());
  return out;
}

void packRecordInto(PackTemplate &t, const MHash &values, char *p) {
  // Zero is encoded as zero bytes in every type, so values that are
  // missing or null need no writing.
  for (PackField &f : t.fields) {
    size_t size = typeSize(f.code);
    const HeldValue *v = fieldValue(values, f);
    if (f.count == 0) {
      if (v) encodeAt(f.code, packNumber(*v), p);
      p += size;
      continue;
    }
    const MArray *arr = v && v->is(ObjType::Array) ? static_cast<MArray *>(v->object()) : nullptr;
    size_t given = arr ? std::min<size_t>(f.count, arr->size()) : 0;
    for (size_t i = 0; i < given; i++) encodeAt(f.code, packNumber(arr->items[i]), p + i * size);
    p += f.count * size;
  }
}

}  // namespace marl
