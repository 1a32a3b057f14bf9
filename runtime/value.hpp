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
// A word below kBoxTag is the bit pattern of a double. The negative quiet
// NaNs from kBoxTag up carry tags in their top 16 bits and a 48-bit payload
// (x86-64 user addresses fit):
//   0xFFF9  a double whose own bits lie in the tag range, in a box that only
//           this element owns (scripts can make such NaNs with unpack and
//           deserial; every read gives the double back bit for bit)
//   0xFFFA  a boolean in the low bit
//   0xFFFB  an object, or null for a zero payload
// Numbers, numbers-or-booleans and objects are each one unsigned compare.
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
    if (bits_ >= kBoxTag) drop(bits_);
  }

  Kind kind() const {
    return bits_ < kBoolTag ? Kind::Number : bits_ < kObjectTag ? Kind::Bool : Kind::Object;
  }
  bool isNumber() const { return bits_ < kBoolTag; }
  bool isBool() const { return (bits_ & kTagMask) == kBoolTag; }
  bool isNumeric() const { return bits_ < kObjectTag; }  // Number or Bool
  bool isNull() const { return bits_ == kNull; }
  bool isObject() const { return bits_ > kNull; }
  inline bool is(ObjType t) const;
  void setNumber(double d) { replace(encodeNumber(d)); }

  // The number of a Number (1 or 0 for a Bool); 0 for an object or null.
  double number() const {
    if (bits_ < kBoxTag) [[likely]]
      return fromBits(bits_);
    return bits_ < kBoolTag ? *box(bits_) : bits_ < kObjectTag ? double(bits_ & 1) : 0.0;
  }
  // The object held, or nullptr for a number, a boolean or null.
  MRef *object() const { return bits_ > kNull ? pointer(bits_) : nullptr; }
  // A locking copy, for use outside the container.
  Value get() const {
    Value v;
    if (bits_ < kBoxTag) [[likely]] {
      v.number = fromBits(bits_);
      v.kind = Kind::Number;
    } else if (bits_ < kObjectTag) {
      v.number = number();
      v.kind = kind();
    } else if (bits_ != kNull) {
      v.object = pointer(bits_);
      lockObject(v.object);
    }
    return v;
  }

 private:
  static constexpr uint64_t kBoxTag = 0xFFF9ULL << 48;
  static constexpr uint64_t kBoolTag = 0xFFFAULL << 48;
  static constexpr uint64_t kObjectTag = 0xFFFBULL << 48;
  static constexpr uint64_t kTagMask = 0xFFFFULL << 48;
  static constexpr uint64_t kNull = kObjectTag;
  static constexpr uint64_t kPayload = ~kTagMask;

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

  // The word for a value; holds its object or boxes its number.
  static uint64_t encodeNumber(double d) {
    uint64_t b = toBits(d);
    return b < kBoxTag ? b : boxed(d);
  }
  static uint64_t encode(const Value &v) {
    if (v.kind == Kind::Number) return encodeNumber(v.number);
    if (v.kind == Kind::Bool) return kBoolTag | (v.number != 0);
    if (!v.object) return kNull;
    holdObject(v.object);
    return kObjectTag | reinterpret_cast<uintptr_t>(v.object);
  }
  // A second word for the same value: the object held again, a new box.
  static uint64_t copyBits(uint64_t b) {
    if (b >= kBoxTag) [[unlikely]] {
      if (b < kBoolTag) return boxed(*box(b));
      if (b > kNull) holdObject(pointer(b));
    }
    return b;
  }
  // Gives up what a word owns. While the collector sweeps, it frees the
  // objects itself; boxes are never its business.
  static void drop(uint64_t b) {
    if (b > kNull) {
      if (!sweepingNow()) releaseObject(pointer(b));
    } else if (b < kBoolTag) {
      delete box(b);
    }
  }
  // The new word goes in first: releasing the old one may free objects
  // that read this element.
  void replace(uint64_t b) {
    uint64_t old = bits_;
    bits_ = b;
    if (old >= kBoxTag) drop(old);
  }

  uint64_t bits_ = kNull;
};

}  // namespace marl

#include "runtime/object.hpp"
