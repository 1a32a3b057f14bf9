// Values and the counted objects they refer to.
#pragma once
#include <cstdint>
#include <utility>

namespace marl {

class MRef;

enum class Kind : int32_t { Number = 0, Bool = 1, Object = 2 };

// Class tags, so that hot paths test an object's class with one compare
// instead of a dynamic_cast.
enum class ObjType : uint8_t {
  Other,
  String,
  Array,
  Hash,
  FuncRef,
  RegExp,
  File,
  Handle,
  ComObj,
  DllFunc
};

// Counter operations; defined in object.hpp (inline) and object.cpp.
inline void lockObject(MRef *o);
inline void rellockObject(MRef *o);
inline void holdObject(MRef *o);
inline void releaseObject(MRef *o);
bool sweepingNow();

// The locking holder: evaluator temporaries, arguments, results and variables.
// Holding an object raises its `locks` counter.
class Value {
 public:
  MRef *object = nullptr;
  double number = 0.0;
  Kind kind = Kind::Object;

  Value() = default;  // null
  explicit Value(MRef *o) : object(o) {
    if (o) lockObject(o);
  }
  static Value num(double d) {
    Value v;
    v.number = d;
    v.kind = Kind::Number;
    return v;
  }
  static Value boolean(bool b) {
    Value v;
    v.number = b ? 1.0 : 0.0;
    v.kind = Kind::Bool;
    return v;
  }
  Value(const Value &v) : object(v.object), number(v.number), kind(v.kind) {
    if (object) lockObject(object);
  }
  Value(Value &&v) noexcept : object(v.object), number(v.number), kind(v.kind) {
    v.object = nullptr;
    v.kind = Kind::Object;
  }
  Value &operator=(const Value &v) {
    if (this == &v) return *this;
    MRef *old = object;
    if (v.object) lockObject(v.object);
    object = v.object;
    number = v.number;
    kind = v.kind;
    if (old) rellockObject(old);
    return *this;
  }
  Value &operator=(Value &&v) noexcept {
    if (this == &v) return *this;
    MRef *old = object;
    object = v.object;
    number = v.number;
    kind = v.kind;
    v.object = nullptr;
    v.kind = Kind::Object;
    if (old) rellockObject(old);
    return *this;
  }
  ~Value() {
    if (object && !sweepingNow()) rellockObject(object);
  }
  void setNull() {
    MRef *old = object;
    object = nullptr;
    number = 0;
    kind = Kind::Object;
    if (old) rellockObject(old);
  }
  void setNumber(double d) {
    MRef *old = object;
    object = nullptr;
    number = d;
    kind = Kind::Number;
    if (old) rellockObject(old);
  }
  void setBool(bool b) {
    MRef *old = object;
    object = nullptr;
    number = b ? 1.0 : 0.0;
    kind = Kind::Bool;
    if (old) rellockObject(old);
  }
  void setObject(MRef *o) {
    if (o) lockObject(o);
    MRef *old = object;
    object = o;
    number = 0;
    kind = Kind::Object;
    if (old) rellockObject(old);
  }

  bool isNumber() const { return kind == Kind::Number; }
  bool isBool() const { return kind == Kind::Bool; }
  bool isNumeric() const { return kind != Kind::Object; }  // Number or Bool
  bool isNull() const { return kind == Kind::Object && object == nullptr; }
  bool isObject() const { return object != nullptr; }
  inline bool is(ObjType t) const;
};

// The owning holder: elements inside containers, one 64-bit word each, so
// that large arrays and hashes stay small. Holding an object raises `refs`.
//
// A word below kBoolTag is the bit pattern of a double. The negative quiet
// NaNs from there up carry a tag in their top 16 bits and a 48-bit payload
// (x86-64 user addresses fit):
//   0xFFF9  a boolean in the low bit
//   0xFFFA  null (payload 0)
//   0xFFFE  an object
//   0xFFFF  a double whose own bits lie in the tag range, in a box that only
//           this element owns (scripts make such NaNs with unpack and
//           deserial; every read gives the double back bit for bit)
// The two tags that own something come last, so stores and destruction test
// one compare. Adding 1 << 48 wraps the box tag to 0 and puts it below the
// doubles: "is a number" and "is a number or boolean" are one compare too.
class HeldValue {
  static_assert(sizeof(void *) == 8, "objects are held as 48-bit addresses");

 public:
  HeldValue() = default;  // null
  explicit HeldValue(const Value &v) : bits_(encode(v)) {}
  HeldValue(const HeldValue &v) : bits_(copyBits(v.bits_)) {}
  HeldValue(HeldValue &&v) noexcept : bits_(v.bits_) { v.bits_ = kNull; }
  HeldValue &operator=(const HeldValue &v) {
    if (this != &v) replace(copyBits(v.bits_));
    return *this;
  }
  HeldValue &operator=(HeldValue &&v) noexcept {
    if (this != &v) {
      uint64_t b = v.bits_;
      v.bits_ = kNull;
      replace(b);
    }
    return *this;
  }
  HeldValue &operator=(const Value &v) {
    replace(encode(v));
    return *this;
  }
  ~HeldValue() {
    if (bits_ >= kObjectTag) drop(bits_);
  }
  void setNumber(double d) { replace(encodeNumber(d)); }
  void setNull() { replace(kNull); }

  bool isNumber() const { return rotated() < kRotatedBool; }
  bool isNumeric() const { return rotated() < kRotatedNull; }  // Number or Bool
  bool isBool() const { return (bits_ >> 48) == (kBoolTag >> 48); }
  bool isNull() const { return bits_ == kNull; }
  bool isObject() const { return (bits_ >> 48) == (kObjectTag >> 48); }
  inline bool is(ObjType t) const;
  Kind kind() const {
    return isNumber() ? Kind::Number : bits_ < kNull ? Kind::Bool : Kind::Object;
  }
  // The number of a Number (1 or 0 for a Bool); 0 for an object or null.
  double number() const {
    if (bits_ < kBoolTag) [[likely]]
      return fromBits(bits_);
    if (bits_ >= kBoxTag) return *box(bits_);
    return bits_ < kNull ? double(bits_ & 1) : 0.0;
  }
  // The number of a Number into `out`; false for anything else.
  bool numberInto(double &out) const {
    if (bits_ < kBoolTag) [[likely]] {
      out = fromBits(bits_);
      return true;
    }
    if (bits_ < kBoxTag) return false;
    out = *box(bits_);
    return true;
  }
  // The object held, or nullptr for a number, a boolean or null.
  MRef *object() const { return isObject() ? pointer(bits_) : nullptr; }
  // A locking copy, for use outside the container.
  Value get() const {
    if (bits_ < kBoolTag) [[likely]]
      return Value::num(fromBits(bits_));
    if (isObject()) return Value(pointer(bits_));
    if (bits_ < kNull) return Value::boolean(bits_ & 1);
    return bits_ == kNull ? Value() : Value::num(*box(bits_));
  }
  // Stores a locking copy into `out`, the same as `out = get()` but
  // without a temporary.
  void readInto(Value &out) const {
    MRef *old = out.object;
    MRef *o = nullptr;
    double n = 0;
    Kind k = Kind::Number;
    if (bits_ < kBoolTag) [[likely]] {
      n = fromBits(bits_);
    } else if (isObject()) {
      o = pointer(bits_);
      lockObject(o);
      k = Kind::Object;
    } else if (bits_ < kNull) {
      n = double(bits_ & 1);
      k = Kind::Bool;
    } else if (bits_ == kNull) {
      k = Kind::Object;
    } else {
      n = *box(bits_);
    }
    out.object = o;
    out.number = n;
    out.kind = k;
    if (old) rellockObject(old);
  }

 private:
  static constexpr uint64_t kBoolTag = 0xFFF9ULL << 48;
  static constexpr uint64_t kNull = 0xFFFAULL << 48;
  static constexpr uint64_t kObjectTag = 0xFFFEULL << 48;
  static constexpr uint64_t kBoxTag = 0xFFFFULL << 48;
  static constexpr uint64_t kPayload = (1ULL << 48) - 1;
  // Where booleans and null land after rotated().
  static constexpr uint64_t kRotatedBool = 0xFFFAULL << 48;
  static constexpr uint64_t kRotatedNull = 0xFFFBULL << 48;

  uint64_t rotated() const { return bits_ + (1ULL << 48); }
  static uint64_t toBits(double d) {
    uint64_t b;
    __builtin_memcpy(&b, &d, sizeof b);
    return b;
  }
  static double fromBits(uint64_t b) {
    double d;
    __builtin_memcpy(&d, &b, sizeof d);
    return d;
  }
  static MRef *pointer(uint64_t b) { return reinterpret_cast<MRef *>(b & kPayload); }
  static double *box(uint64_t b) { return reinterpret_cast<double *>(b & kPayload); }
  static uint64_t boxed(double d) { return kBoxTag | reinterpret_cast<uintptr_t>(new double(d)); }

  static uint64_t encodeNumber(double d) {
    uint64_t b = toBits(d);
    return b < kBoolTag ? b : boxed(d);
  }
  // The word for a value; holds its object or boxes its number. A Bool's
  // number is exactly 1.0 or +0.0.
  static uint64_t encode(const Value &v) {
    if (v.kind == Kind::Number) return encodeNumber(v.number);
    if (v.kind == Kind::Bool) return kBoolTag | (toBits(v.number) != 0);
    if (!v.object) return kNull;
    holdObject(v.object);
    return kObjectTag | reinterpret_cast<uintptr_t>(v.object);
  }
  // A second word for the same value: the object held again, a new box.
  static uint64_t copyBits(uint64_t b) {
    if (b >= kObjectTag) [[unlikely]] {
      if (b >= kBoxTag) return boxed(*box(b));
      holdObject(pointer(b));
    }
    return b;
  }
  // Gives up what a word owns. While the collector sweeps, it frees the
  // objects itself; boxes are never its business.
  static void drop(uint64_t b) {
    if (b < kBoxTag) {
      if (!sweepingNow()) releaseObject(pointer(b));
    } else {
      delete box(b);
    }
  }
  // The new word goes in first: releasing the old one may free objects
  // that read this element.
  void replace(uint64_t b) {
    uint64_t old = bits_;
    bits_ = b;
    if (old >= kObjectTag) drop(old);
  }

  uint64_t bits_ = kNull;
};

}  // namespace marl

#include "runtime/object.hpp"
