// Managed objects as automation objects: properties, methods, indexers and
// enumeration through reflection, and values converted at the boundary.
#ifdef MARL_HAVE_MONO
#include "external/dotnet_object.hpp"
#include "external/mono_api.hpp"

#include <cmath>
#include <cstring>
#include <deque>
#include <strings.h>

#include "runtime/error.hpp"
#include "io/encoding.hpp"
#include "runtime/external_object.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// Access flags of the runtime's metadata tables.
constexpr uint32_t kAccessMask = 0x7, kPublic = 0x6, kStatic = 0x10, kVirtual = 0x40;
// Nested arrays are converted down to this depth; a cyclic script array
// would otherwise never end.
constexpr int kMaxDepth = 64;
// Enumerations longer than this are refused rather than filling memory.
constexpr size_t kMaxElements = size_t(1) << 22;

// Managed objects made during one operation stay pinned until it ends: only
// C++ heap memory refers to them, which the collector neither scans nor updates.
class Pins {
 public:
  Pins() = default;
  Pins(const Pins &) = delete;
  Pins &operator=(const Pins &) = delete;
  ~Pins() {
    for (uint32_t h : handles_) mono_gchandle_free(h);
  }
  MonoObject *add(MonoObject *o) {
    if (o) handles_.push_back(mono_gchandle_new(o, 1));
    return o;
  }

 private:
  std::vector<uint32_t> handles_;
};

// The failure text of an operation: "COM invoke[Append] failed".
[[noreturn]] void fail(int line, const char *what, const std::string &name,
                       const std::string &why) {
  std::string m;
  if (std::strcmp(what, "index") == 0)
    m = "Bad index for COM collection";
  else if (std::strcmp(what, "enum") == 0)
    m = "COM Collection enumeration failed";
  else
    m = std::string("COM ") + what + "[" + name + "] failed";
  if (!why.empty()) m += ": " + why;
  raise_message(line, m);
}

MonoString *managedString(const std::string &s) {
  std::string bytes = sjisToUtf16(s);
  std::vector<mono_unichar2> units(bytes.size() / 2);
  for (size_t i = 0; i < units.size(); i++)
    units[i] = static_cast<mono_unichar2>(static_cast<unsigned char>(bytes[2 * i]) |
                                          static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
  return mono_string_new_utf16(dotNetDomain(), units.data(), static_cast<int32_t>(units.size()));
}

std::string unitsToText(const mono_unichar2 *u, size_t n) {
  std::string bytes(n * 2, '\0');
  for (size_t i = 0; i < n; i++) {
    bytes[2 * i] = static_cast<char>(u[i] & 0xFF);
    bytes[2 * i + 1] = static_cast<char>(u[i] >> 8);
  }
  return utf16ToSjis(bytes);
}

std::string textOf(MonoString *s) {
  return unitsToText(mono_string_chars(s), static_cast<size_t>(mono_string_length(s)));
}

bool isValueClass(MonoClass *k) { return mono_class_is_valuetype(k); }

// `this` for a call: value types are passed by the address of their data.
void *thisFor(MonoMethod *m, MonoObject *o) {
  if (!o) return nullptr;
  return isValueClass(mono_method_get_class(m)) ? mono_object_unbox(o) : o;
}

// A number out of a primitive slot of the given type code.
bool primitiveNumber(int code, const void *p, double &out) {
  switch (code) {
    case MONO_TYPE_I1:
      out = *static_cast<const int8_t *>(p);
      return true;
    case MONO_TYPE_U1:
      out = *static_cast<const uint8_t *>(p);
      return true;
    case MONO_TYPE_I2:
      out = *static_cast<const int16_t *>(p);
      return true;
    case MONO_TYPE_U2:
      out = *static_cast<const uint16_t *>(p);
      return true;
    case MONO_TYPE_I4:
      out = *static_cast<const int32_t *>(p);
      return true;
    case MONO_TYPE_U4:
      out = *static_cast<const uint32_t *>(p);
      return true;
    case MONO_TYPE_I8:
    case MONO_TYPE_I:
      out = static_cast<double>(*static_cast<const int64_t *>(p));
      return true;
    case MONO_TYPE_U8:
    case MONO_TYPE_U:
      out = static_cast<double>(*static_cast<const uint64_t *>(p));
      return true;
    case MONO_TYPE_R4:
      out = *static_cast<const float *>(p);
      return true;
    case MONO_TYPE_R8:
      out = *static_cast<const double *>(p);
      return true;
  }
  return false;
}

class DotNetObject;
Value wrap(MonoObject *o);

Value fromManagedAt(int line, MonoObject *o, int depth) {
  if (!o) return Value();
  MonoClass *k = mono_object_get_class(o);
  int code = mono_type_get_type(mono_class_get_type(k));
  double d;
  switch (code) {
    case MONO_TYPE_BOOLEAN:
      return Value::boolean(*static_cast<MonoBoolean *>(mono_object_unbox(o)));
    case MONO_TYPE_CHAR:
      return makeString(unitsToText(static_cast<mono_unichar2 *>(mono_object_unbox(o)), 1));
    case MONO_TYPE_STRING:
      return makeString(textOf(reinterpret_cast<MonoString *>(o)));
    case MONO_TYPE_SZARRAY:
      if (depth < kMaxDepth) {
        MonoArray *arr = reinterpret_cast<MonoArray *>(o);
        MonoClass *ek = mono_class_get_element_class(k);
        int size = mono_array_element_size(k);
        size_t n = mono_array_length(arr);
        MArray *out = new MArray();
        Value holder(out);
        out->items.reserve(n);
        for (size_t i = 0; i < n; i++) {
          void *addr = mono_array_addr_with_size(arr, size, i);
          MonoObject *e = isValueClass(ek) ? mono_value_box(dotNetDomain(), ek, addr)
                                           : *static_cast<MonoObject **>(addr);
          out->push(fromManagedAt(line, e, depth + 1));
        }
        return holder;
      }
      break;
    case MONO_TYPE_VALUETYPE:
      if (mono_class_is_enum(k)) {
        int base = mono_type_get_type(mono_class_enum_basetype(k));
        if (primitiveNumber(base, mono_object_unbox(o), d)) return Value::num(d);
      }
      break;
    default:
      if (isValueClass(k) && primitiveNumber(code, mono_object_unbox(o), d)) return Value::num(d);
  }
  return wrap(o);
}

// One argument converted for a call: where its data is, and room for it.
struct ManagedArg {
  union {
    int64_t i64;
    uint64_t u64;
    void *object;  // a reference passed by reference (ref/out)
    double d;
    float f;
    int32_t i32;
    MonoBoolean b;
    mono_unichar2 c;
  } slot{};
  void *param = nullptr;
};

bool isIntegralCode(int code) {
  return (code >= MONO_TYPE_I1 && code <= MONO_TYPE_U8) || code == MONO_TYPE_I ||
         code == MONO_TYPE_U;
}

MonoObject *managedOf(const Value &v);

// How well a script value fits a parameter type: -1 not at all, higher is better.
int fitness(const Value &v, MonoType *t) {
  int code = mono_type_get_type(t);
  // Open generic parameters (a generic method's T) cannot be called through reflection here.
  if (code == MONO_TYPE_VAR || code == MONO_TYPE_MVAR) return -1;
  // null for an out parameter: the callee's value is not read back anyway.
  if (v.isNull() && mono_type_is_byref(t) && code != MONO_TYPE_VALUETYPE) return 1;
  MonoClass *k = mono_class_from_mono_type(t);
  if (code == MONO_TYPE_VALUETYPE && mono_class_is_enum(k)) return v.isNumeric() ? 2 : -1;
  if (v.isBool()) {
    if (code == MONO_TYPE_BOOLEAN) return 3;
    if (code == MONO_TYPE_OBJECT) return 1;
    return isIntegralCode(code) || code == MONO_TYPE_R4 || code == MONO_TYPE_R8 ? 0 : -1;
  }
  if (v.isNumber()) {
    // A whole number prefers int, any other number double.
    bool whole = v.number == std::trunc(v.number);
    bool int32 = whole && v.number >= -2147483648.0 && v.number <= 2147483647.0;
    if (code == MONO_TYPE_R8) return int32 ? 2 : 3;
    if (code == MONO_TYPE_I4) return int32 ? 3 : 0;
    if (isIntegralCode(code)) return whole ? 2 : 0;
    if (code == MONO_TYPE_R4) return 2;
    if (code == MONO_TYPE_OBJECT) return 1;
    if (code == MONO_TYPE_BOOLEAN || code == MONO_TYPE_CHAR) return 0;
    return -1;
  }
  if (v.isNull()) return mono_type_is_reference(t) ? 1 : -1;
  if (MString *s = asString(v)) {
    if (code == MONO_TYPE_STRING) return 3;
    if (code == MONO_TYPE_CHAR) return sjisToUtf16(s->text).size() == 2 ? 2 : -1;
    return code == MONO_TYPE_OBJECT ? 1 : -1;
  }
  if (asArray(v)) {
    if (code == MONO_TYPE_SZARRAY) return 2;
    return code == MONO_TYPE_OBJECT ? 1 : -1;
  }
  if (MonoObject *o = managedOf(v)) {
    if (mono_object_get_class(o) == k) return 3;
    if (code == MONO_TYPE_OBJECT) return 1;
    return mono_object_isinst(o, k) ? 2 : -1;
  }
  return -1;
}

bool toManaged(const Value &v, MonoType *t, ManagedArg &out, Pins &pins, int depth);

// A script array as a managed array of the element class.
MonoObject *managedArray(MArray *a, MonoClass *ek, Pins &pins, int depth) {
  if (depth >= kMaxDepth) return nullptr;
  MonoArray *arr = mono_array_new(dotNetDomain(), ek, a->size());
  pins.add(reinterpret_cast<MonoObject *>(arr));
  MonoClass *ak = mono_object_get_class(reinterpret_cast<MonoObject *>(arr));
  int size = mono_array_element_size(ak);
  MonoType *et = mono_class_get_type(ek);
  for (size_t i = 0; i < a->size(); i++) {
    ManagedArg e;
    Value item = a->items[i].get();
    if (fitness(item, et) < 0 || !toManaged(item, et, e, pins, depth + 1)) return nullptr;
    if (isValueClass(ek))
      std::memcpy(mono_array_addr_with_size(arr, size, i), e.param, static_cast<size_t>(size));
    else
      mono_array_setref(arr, i, static_cast<MonoObject *>(e.param));
  }
  return reinterpret_cast<MonoObject *>(arr);
}

// A script value boxed for a parameter of type object.
MonoObject *boxed(const Value &v, Pins &pins, int depth) {
  MonoDomain *dom = dotNetDomain();
  if (v.isNull()) return nullptr;
  if (v.isBool()) {
    MonoBoolean b = v.number != 0;
    return pins.add(mono_value_box(dom, mono_get_boolean_class(), &b));
  }
  if (v.isNumber()) {
    double d = v.number;
    if (d == std::trunc(d) && d >= -2147483648.0 && d <= 2147483647.0) {
      int32_t i = static_cast<int32_t>(d);
      return pins.add(mono_value_box(dom, mono_get_int32_class(), &i));
    }
    return pins.add(mono_value_box(dom, mono_get_double_class(), &d));
  }
  if (MString *s = asString(v))
    return pins.add(reinterpret_cast<MonoObject *>(managedString(s->text.str())));
  if (MArray *a = asArray(v)) return managedArray(a, mono_get_object_class(), pins, depth);
  return managedOf(v);
}

// Fills `out` for a parameter of type `t`; `v` has a fitness of 0 or more.
bool toManaged(const Value &v, MonoType *t, ManagedArg &out, Pins &pins, int depth) {
  int code = mono_type_get_type(t);
  MonoClass *k = mono_class_from_mono_type(t);
  if (code == MONO_TYPE_VALUETYPE && mono_class_is_enum(k))
    code = mono_type_get_type(mono_class_enum_basetype(k));
  out.param = &out.slot;
  double d = v.number;
  if (std::isnan(d)) d = 0;
  auto integral = [&]() {
    double t2 = std::trunc(d);
    if (t2 >= 9.2e18) return static_cast<int64_t>(INT64_MAX);
    if (t2 <= -9.2e18) return static_cast<int64_t>(INT64_MIN);
    return static_cast<int64_t>(t2);
  };
  switch (code) {
    case MONO_TYPE_BOOLEAN:
      out.slot.b = d != 0;
      return true;
    case MONO_TYPE_CHAR:
      if (MString *s = asString(v)) {
        std::string u = sjisToUtf16(s->text);
        out.slot.c = static_cast<mono_unichar2>(static_cast<unsigned char>(u[0]) |
                                                static_cast<unsigned char>(u[1]) << 8);
      } else {
        out.slot.c = static_cast<mono_unichar2>(integral());
      }
      return true;
    case MONO_TYPE_I1:
    case MONO_TYPE_U1:
    case MONO_TYPE_I2:
    case MONO_TYPE_U2:
    case MONO_TYPE_I4:
    case MONO_TYPE_U4:
    case MONO_TYPE_I8:
    case MONO_TYPE_U8:
    case MONO_TYPE_I:
    case MONO_TYPE_U: {
      // Little-endian: the low bytes of the 64-bit value are the narrower one.
      out.slot.i64 = integral();
      return true;
    }
    case MONO_TYPE_R4:
      out.slot.f = static_cast<float>(v.number);
      return true;
    case MONO_TYPE_R8:
      out.slot.d = v.number;
      return true;
    case MONO_TYPE_STRING:
      out.param =
          v.isNull()
              ? nullptr
              : pins.add(reinterpret_cast<MonoObject *>(managedString(asString(v)->text.str())));
      return true;
    case MONO_TYPE_SZARRAY:
      if (MArray *a = asArray(v)) {
        out.param = managedArray(a, mono_class_get_element_class(k), pins, depth);
        return out.param != nullptr;
      }
      out.param = managedOf(v);
      return true;
    case MONO_TYPE_OBJECT:
      out.param = boxed(v, pins, depth);
      return out.param != nullptr || v.isNull();
  }
  MonoObject *o = managedOf(v);
  if (!o) {
    out.param = nullptr;
    return mono_type_is_reference(t);
  }
  out.param = isValueClass(k) ? mono_object_unbox(o) : o;
  return true;
}

// An empty name matches any member (indexers of any name).
bool nameMatches(const char *candidate, const std::string &name, bool ignoreCase) {
  if (name.empty()) return true;
  return ignoreCase ? strcasecmp(candidate, name.c_str()) == 0 : name == candidate;
}

uint32_t methodFlags(MonoMethod *m) {
  uint32_t iflags = 0;
  return mono_method_get_flags(m, &iflags);
}

size_t paramCount(MonoMethod *m) {
  return mono_signature_get_param_count(mono_method_signature(m));
}

enum class Kind { Method, Getter, Setter };

// The public methods (or property accessors) called `name` that take `argc`
// arguments, from the object's class up through its bases. Names are
// matched exactly, else without regard to case.
std::vector<MonoMethod *> candidates(MonoClass *klass, const std::string &name, size_t argc,
                                     Kind kind) {
  std::vector<MonoMethod *> found;
  for (int pass = 0; pass < 2 && found.empty(); pass++) {
    bool ignoreCase = pass == 1;
    for (MonoClass *c = klass; c; c = mono_class_get_parent(c)) {
      void *iter = nullptr;
      if (kind == Kind::Method) {
        while (MonoMethod *m = mono_class_get_methods(c, &iter))
          if (nameMatches(mono_method_get_name(m), name, ignoreCase) &&
              (methodFlags(m) & kAccessMask) == kPublic && paramCount(m) == argc)
            found.push_back(m);
      } else {
        while (MonoProperty *p = mono_class_get_properties(c, &iter)) {
          if (!nameMatches(mono_property_get_name(p), name, ignoreCase)) continue;
          MonoMethod *m = kind == Kind::Getter ? mono_property_get_get_method(p)
                                               : mono_property_get_set_method(p);
          if (m && (methodFlags(m) & kAccessMask) == kPublic && paramCount(m) == argc)
            found.push_back(m);
        }
      }
    }
  }
  return found;
}

// The candidate whose parameters fit the arguments best (the first on a tie).
MonoMethod *bestFit(const std::vector<MonoMethod *> &methods, std::span<const Value> args) {
  MonoMethod *best = nullptr;
  int bestScore = -1;
  for (MonoMethod *m : methods) {
    void *iter = nullptr;
    int total = 0;
    size_t i = 0;
    MonoMethodSignature *sig = mono_method_signature(m);
    int ret = mono_type_get_type(mono_signature_get_return_type(sig));
    if (ret == MONO_TYPE_VAR || ret == MONO_TYPE_MVAR) continue;
    while (MonoType *t = mono_signature_get_params(sig, &iter)) {
      int f = fitness(args[i++], t);
      if (f < 0) {
        total = -1;
        break;
      }
      total += f;
    }
    if (total > bestScore) {
      best = m;
      bestScore = total;
    }
  }
  return best;
}

// Calls `m` on `self` with converted arguments; a managed exception raises
// the operation's message with the exception's text.
MonoObject *callManaged(int line, const char *what, const std::string &name, MonoObject *self,
                        MonoMethod *m, std::span<const Value> args, bool *isVoid = nullptr) {
  Pins pins;
  std::deque<ManagedArg> converted;
  std::vector<void *> params;
  void *iter = nullptr;
  size_t i = 0;
  MonoMethodSignature *sig = mono_method_signature(m);
  while (MonoType *t = mono_signature_get_params(sig, &iter)) {
    converted.emplace_back();
    ManagedArg &a = converted.back();
    if (!toManaged(args[i], t, a, pins, 0))
      fail(line, what, name, "argument " + std::to_string(i + 1) + " cannot be converted");
    // ref/out parameters take an address; a reference is passed through a slot.
    if (mono_type_is_byref(t) && a.param != &a.slot) {
      a.slot.object = a.param;
      a.param = &a.slot;
    }
    params.push_back(a.param);
    i++;
  }
  if (isVoid) *isVoid = mono_type_get_type(mono_signature_get_return_type(sig)) == MONO_TYPE_VOID;
  if (methodFlags(m) & kStatic) {
    self = nullptr;
  } else if (methodFlags(m) & kVirtual) {
    m = mono_object_get_virtual_method(self, m);
  }
  MonoObject *exc = nullptr;
  MonoObject *r =
      mono_runtime_invoke(m, thisFor(m, self), params.empty() ? nullptr : params.data(), &exc);
  if (exc) fail(line, what, name, exceptionMessage(exc));
  return r;
}

class DotNetObject : public MComObj {
 public:
  explicit DotNetObject(MonoObject *o) : handle_(mono_gchandle_new(o, 0)) {}
  ~DotNetObject() override {
    if (dotNetDomain()) mono_gchandle_free(handle_);
  }
  MonoObject *target() const { return mono_gchandle_get_target(handle_); }

  void getProperty(int line, const std::string &name, std::span<const Value> args,
                   Value &result) override {
    MonoObject *self = target();
    MonoClass *k = mono_object_get_class(self);
    MonoMethod *m = bestFit(candidates(k, name, args.size(), Kind::Getter), args);
    if (!m && args.empty()) {
      if (MonoClassField *f = publicField(k, name)) {
        MonoObject *v = mono_field_get_value_object(dotNetDomain(), f, self);
        result = fromManagedAt(line, v, 0);
        return;
      }
    }
    // As with automation objects elsewhere, a method may be read like a property.
    if (!m) m = bestFit(candidates(k, name, args.size(), Kind::Method), args);
    if (!m) fail(line, "getprop", name, noMember(k, name, args.size()));
    result = fromManagedAt(line, callManaged(line, "getprop", name, self, m, args), 0);
  }

  void setProperty(int line, const std::string &name, std::span<const Value> args,
                   const Value &value) override {
    MonoObject *self = target();
    MonoClass *k = mono_object_get_class(self);
    std::vector<Value> all(args.begin(), args.end());
    all.push_back(value);
    MonoMethod *m = bestFit(candidates(k, name, all.size(), Kind::Setter), all);
    if (m) {
      callManaged(line, "setprop", name, self, m, all);
      return;
    }
    MonoClassField *f = args.empty() ? publicField(k, name) : nullptr;
    if (!f) fail(line, "setprop", name, noMember(k, name, args.size()));
    MonoType *t = mono_field_get_type(f);
    Pins pins;
    ManagedArg a;
    if (fitness(value, t) < 0 || !toManaged(value, t, a, pins, 0))
      fail(line, "setprop", name, "the value cannot be converted");
    mono_field_set_value(self, f, a.param);
  }

  void invoke(int line, const std::string &name, std::span<const Value> args,
              Value &result) override {
    MonoObject *self = target();
    MonoClass *k = mono_object_get_class(self);
    MonoMethod *m = bestFit(candidates(k, name, args.size(), Kind::Method), args);
    // o.Item(i) reads a parameterised property.
    if (!m) m = bestFit(candidates(k, name, args.size(), Kind::Getter), args);
    if (!m) fail(line, "invoke", name, noMember(k, name, args.size()));
    bool isVoid = false;
    MonoObject *r = callManaged(line, "invoke", name, self, m, args, &isVoid);
    if (isVoid)
      result.setNull();
    else
      result = fromManagedAt(line, r, 0);
  }

  void item(int line, long long index, Value &result) override {
    MonoObject *self = target();
    MonoClass *k = mono_object_get_class(self);
    Value arg = Value::num(static_cast<double>(index));
    std::span<const Value> args(&arg, 1);
    MonoMethod *m = bestFit(candidates(k, "Item", 1, Kind::Getter), args);
    // An indexer may carry another name (StringBuilder's is Chars).
    if (!m) m = bestFit(candidates(k, "", 1, Kind::Getter), args);
    if (!m) fail(line, "index", "Item", "the object has no numeric indexer");
    result = fromManagedAt(line, callManaged(line, "index", "Item", self, m, args), 0);
  }

  void enumerate(int line, std::vector<Value> &out) override {
    MonoObject *self = target();
    MonoImage *corlib = mono_get_corlib();
    MonoClass *enumerable = mono_class_from_name(corlib, "System.Collections", "IEnumerable");
    MonoClass *enumerator = mono_class_from_name(corlib, "System.Collections", "IEnumerator");
    if (!enumerable || !enumerator || !mono_object_isinst(self, enumerable))
      fail(line, "enum", "", "the object is not enumerable");
    Pins pins;
    MonoMethod *get = mono_class_get_method_from_name(enumerable, "GetEnumerator", 0);
    MonoObject *it = pins.add(callManaged(line, "enum", "", self, get, {}));
    if (!it) fail(line, "enum", "", "GetEnumerator returned null");
    MonoMethod *next = mono_object_get_virtual_method(
        it, mono_class_get_method_from_name(enumerator, "MoveNext", 0));
    MonoMethod *current = mono_object_get_virtual_method(
        it, mono_class_get_method_from_name(enumerator, "get_Current", 0));
    for (;;) {
      MonoObject *exc = nullptr;
      MonoObject *more = mono_runtime_invoke(next, thisFor(next, it), nullptr, &exc);
      if (exc) fail(line, "enum", "", exceptionMessage(exc));
      if (!more || !*static_cast<MonoBoolean *>(mono_object_unbox(more))) break;
      if (out.size() >= kMaxElements) fail(line, "enum", "", "too many elements");
      MonoObject *e = mono_runtime_invoke(current, thisFor(current, it), nullptr, &exc);
      if (exc) fail(line, "enum", "", exceptionMessage(exc));
      out.push_back(fromManagedAt(line, e, 0));
    }
  }

 private:
  uint32_t handle_;

  static MonoClassField *publicField(MonoClass *k, const std::string &name) {
    for (MonoClass *c = k; c; c = mono_class_get_parent(c)) {
      void *iter = nullptr;
      while (MonoClassField *f = mono_class_get_fields(c, &iter))
        if (name == mono_field_get_name(f) && (mono_field_get_flags(f) & kAccessMask) == kPublic &&
            !(mono_field_get_flags(f) & kStatic))
          return f;
    }
    return nullptr;
  }

  static std::string noMember(MonoClass *k, const std::string &name, size_t argc) {
    return std::string(mono_class_get_namespace(k)) + "." + mono_class_get_name(k) +
           " has no public member " + name + " taking " + std::to_string(argc) + " argument" +
           (argc == 1 ? "" : "s") + " of these types";
  }
};

Value wrap(MonoObject *o) { return Value(new DotNetObject(o)); }

MonoObject *managedOf(const Value &v) {
  auto *o = dynamic_cast<DotNetObject *>(asComObj(v));
  return o ? o->target() : nullptr;
}

}  // namespace

Value fromManaged(int line, MonoObject *o, const char *, const std::string &) {
  return fromManagedAt(line, o, 0);
}

std::string exceptionMessage(MonoObject *exc) {
  MonoClass *k = mono_object_get_class(exc);
  std::string type = std::string(mono_class_get_namespace(k)) + "." + mono_class_get_name(k);
  for (MonoClass *c = k; c; c = mono_class_get_parent(c)) {
    MonoProperty *p = mono_class_get_property_from_name(c, "Message");
    if (!p) continue;
    MonoObject *inner = nullptr;
    MonoObject *msg = mono_property_get_value(p, exc, nullptr, &inner);
    if (inner || !msg) break;
    // Messages may span lines ("...\nParameter name: index"); an error is one line.
    std::string text = textOf(reinterpret_cast<MonoString *>(msg));
    for (char &c : text)
      if (c == '\n' || c == '\r') c = ' ';
    return type + ": " + text;
  }
  return type;
}

}  // namespace marl
#endif
