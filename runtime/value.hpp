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

// The owning holder: elements inside containers. Holding raises `refs`.
class HeldValue {
 public:
  MRef *object = nullptr;
  double number = 0.0;
  Kind kind = Kind::Object;

  HeldValue() = default;
  explicit HeldValue(const Value &v) : object(v.object), number(v.number), kind(v.kind) {
    if (object) holdObject(object);
  }
  HeldValue(const HeldValue &v) : object(v.object), number(v.number), kind(v.kind) {
    if (object) holdObject(object);
  }
  HeldValue(HeldValue &&v) noexcept : object(v.object), number(v.number), kind(v.kind) {
    v.object = nullptr;
    v.kind = Kind::Object;
  }
  HeldValue &operator=(const HeldValue &v) {
    if (this == &v) return *this;
    assignFrom(v.object, v.number, v.kind);
    return *this;
  }
  HeldValue &operator=(HeldValue &&v) noexcept {
    if (this == &v) return *this;
    MRef *old = object;
    object = v.object;
    number = v.number;
    kind = v.kind;
    v.object = nullptr;
    v.kind = Kind::Object;
    if (old) releaseObject(old);
    return *this;
  }
  HeldValue &operator=(const Value &v) {
    assignFrom(v.object, v.number, v.kind);
    return *this;
  }
  ~HeldValue() {
    if (object && !sweepingNow()) releaseObject(object);
  }
  Value get() const {
    Value v;
    v.object = object;
    v.number = number;
    v.kind = kind;
    if (object) lockObject(object);
    return v;
  }
  bool isNull() const { return kind == Kind::Object && object == nullptr; }

 private:
  void assignFrom(MRef *o, double n, Kind k) {
    if (o) holdObject(o);
    MRef *old = object;
    object = o;
    number = n;
    kind = k;
    if (old) releaseObject(old);
  }
};

}  // namespace marl

#include "runtime/object.hpp"
