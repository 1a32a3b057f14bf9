// dllfunc(): functions of native libraries, found with dlopen/dlsym and
// called through libffi with the platform's C calling convention.
#include "external/native_function.hpp"

#include <dlfcn.h>
#include <ffi.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <memory>

#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "external/c_declaration.hpp"
#include "runtime/conversions.hpp"
#include "runtime/external_object.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

// Libraries stay loaded for the life of the process: a function object may
// outlive the script that made it, and loading one twice must not unload it.
void *openLibrary(const std::string &path, std::string &error) {
  static std::map<std::string, void *> opened;
  auto it = opened.find(path);
  if (it != opened.end()) return it->second;
  void *h = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!h) {
    const char *why = dlerror();
    error = why ? why : "empty library name";
    return nullptr;
  }
  opened.emplace(path, h);
  return h;
}

ffi_type *ffiType(const CType &t) {
  if (t.indirect) return &ffi_type_pointer;
  switch (t.base) {
    case CBase::Void:
      return &ffi_type_void;
    case CBase::Char:
      return &ffi_type_sint8;
    case CBase::UChar:
      return &ffi_type_uint8;
    case CBase::Short:
      return &ffi_type_sint16;
    case CBase::UShort:
      return &ffi_type_uint16;
    case CBase::Int:
      return &ffi_type_sint32;
    case CBase::UInt:
      return &ffi_type_uint32;
    case CBase::Long:
      return &ffi_type_sint64;
    case CBase::ULong:
      return &ffi_type_uint64;
    case CBase::Float:
      return &ffi_type_float;
    case CBase::Double:
      return &ffi_type_double;
    case CBase::Str:
    case CBase::Ptr:
      return &ffi_type_pointer;
  }
  return &ffi_type_void;
}

// One C value of any supported type.
union Slot {
  int8_t i8;
  uint8_t u8;
  int16_t i16;
  uint16_t u16;
  int32_t i32;
  uint32_t u32;
  int64_t i64;
  uint64_t u64;
  float f;
  double d;
  void *p;
  ffi_arg retInt;  // libffi widens small integral results to this
  ffi_sarg retSInt;
};

// A double as a 64-bit pattern: truncated toward zero, saturated at the
// ends, so that any number gives a defined value; narrower types wrap.
uint64_t toBits(double d, bool isUnsigned) {
  if (std::isnan(d)) return 0;
  d = std::trunc(d);
  if (isUnsigned && d >= 9223372036854775808.0) {
    if (d >= 18446744073709551615.0) return UINT64_MAX;
    return static_cast<uint64_t>(d);
  }
  if (d >= 9223372036854775807.0) return static_cast<uint64_t>(INT64_MAX);
  if (d <= -9223372036854775808.0) return static_cast<uint64_t>(INT64_MIN);
  return static_cast<uint64_t>(static_cast<int64_t>(d));
}

void storeNumber(CBase base, double d, Slot &s) {
  switch (base) {
    case CBase::Float:
      s.f = static_cast<float>(d);
      return;
    case CBase::Double:
      s.d = d;
      return;
    default:
      break;
  }
  bool u = base == CBase::UChar || base == CBase::UShort || base == CBase::UInt ||
           base == CBase::ULong || base == CBase::Ptr;
  uint64_t bits = toBits(d, u);
  switch (base) {
    case CBase::Char:
      s.i8 = static_cast<int8_t>(bits);
      return;
    case CBase::UChar:
      s.u8 = static_cast<uint8_t>(bits);
      return;
    case CBase::Short:
      s.i16 = static_cast<int16_t>(bits);
      return;
    case CBase::UShort:
      s.u16 = static_cast<uint16_t>(bits);
      return;
    case CBase::Int:
      s.i32 = static_cast<int32_t>(bits);
      return;
    case CBase::UInt:
      s.u32 = static_cast<uint32_t>(bits);
      return;
    case CBase::Ptr:
      s.p = reinterpret_cast<void *>(static_cast<uintptr_t>(bits));
      return;
    default:
      s.u64 = bits;
      return;
  }
}

Value textAt(const char *p) { return p ? makeString(p) : Value(); }
Value addressValue(const void *p) {
  return p ? Value::num(static_cast<double>(reinterpret_cast<uintptr_t>(p))) : Value();
}

Value loadNumber(CBase base, const Slot &s) {
  switch (base) {
    case CBase::Char:
      return Value::num(s.i8);
    case CBase::UChar:
      return Value::num(s.u8);
    case CBase::Short:
      return Value::num(s.i16);
    case CBase::UShort:
      return Value::num(s.u16);
    case CBase::Int:
      return Value::num(s.i32);
    case CBase::UInt:
      return Value::num(s.u32);
    case CBase::Long:
      return Value::num(static_cast<double>(s.i64));
    case CBase::ULong:
      return Value::num(static_cast<double>(s.u64));
    case CBase::Float:
      return Value::num(s.f);
    case CBase::Double:
      return Value::num(s.d);
    case CBase::Str:
      return textAt(static_cast<const char *>(s.p));
    case CBase::Ptr:
      return addressValue(s.p);
    case CBase::Void:
      break;
  }
  return Value();
}

class NativeFunction : public MDllFunc {
 public:
  NativeFunction(void *fn, CDeclaration decl) : fn_(fn), decl_(std::move(decl)) {
    for (const CType &t : decl_.params) types_.push_back(ffiType(t));
  }
  // False when libffi refuses the signature.
  bool prepare() {
    return ffi_prep_cif(&cif_, FFI_DEFAULT_ABI, static_cast<unsigned>(types_.size()),
                        ffiType(decl_.result), types_.empty() ? nullptr : types_.data()) == FFI_OK;
  }

  size_t arity() const override { return decl_.params.size(); }

  void call(int line, std::span<const Value> args, Value &result) override {
    size_t n = args.size();
    std::vector<Slot> slots(n), targets(n);  // targets: what out-parameters point at
    std::vector<void *> argp(n);
    std::deque<std::string> texts;  // stable addresses for the strings passed
    for (size_t i = 0; i < n; i++) {
      const CType &t = decl_.params[i];
      argp[i] = &slots[i];
      if (t.indirect) {
        MArray *a = asArray(args[i]);
        if (!a) {
          if (!args[i].isNull())
            raise_error(line, "Bad argument type for DLL function (argument %d must be an array)",
                        static_cast<int>(i + 1));
          slots[i].p = nullptr;
          continue;
        }
        // An empty or null element gives a pure out-parameter its zero.
        Value first = a->size() ? a->items[0].get() : Value();
        if (first.isNull() && t.base != CBase::Str && t.base != CBase::Ptr) first = Value::num(0);
        fillSlot(line, t.base, first, targets[i], texts);
        slots[i].p = &targets[i];
      } else {
        fillSlot(line, t.base, args[i], slots[i], texts);
      }
    }
    Slot ret{};
    ret.u64 = 0;
    ffi_call(&cif_, FFI_FN(fn_), &ret, argp.data());
    // Out-parameters: the element is replaced by what the function left there.
    for (size_t i = 0; i < n; i++) {
      const CType &t = decl_.params[i];
      MArray *a = asArray(args[i]);
      if (t.indirect && a) a->set(0, loadNumber(t.base, targets[i]));
    }
    result = loadResult(ret);
  }

 private:
  void *fn_;
  CDeclaration decl_;
  std::vector<ffi_type *> types_;
  ffi_cif cif_{};

  static void fillSlot(int line, CBase base, const Value &v, Slot &s,
                       std::deque<std::string> &texts) {
    if (base == CBase::Str || base == CBase::Ptr) {
      if (v.isNull()) {
        s.p = nullptr;
        return;
      }
      if (MString *str = asString(v)) {
        texts.push_back(str->text.str());
        s.p = texts.back().data();
        return;
      }
      if (base == CBase::Str) raise_error(line, "Cannot convert arg to string");
    }
    storeNumber(base, argNumber(line, v), s);
  }

  Value loadResult(const Slot &ret) const {
    Slot s{};
    switch (decl_.result.base) {
      case CBase::Char:
        s.i8 = static_cast<int8_t>(ret.retSInt);
        break;
      case CBase::UChar:
        s.u8 = static_cast<uint8_t>(ret.retInt);
        break;
      case CBase::Short:
        s.i16 = static_cast<int16_t>(ret.retSInt);
        break;
      case CBase::UShort:
        s.u16 = static_cast<uint16_t>(ret.retInt);
        break;
      case CBase::Int:
        s.i32 = static_cast<int32_t>(ret.retSInt);
        break;
      case CBase::UInt:
        s.u32 = static_cast<uint32_t>(ret.retInt);
        break;
      default:
        s = ret;
        break;
    }
    return loadNumber(decl_.result.base, s);
  }
};

void bi_dllfunc(Context &, int line, const Args &a, Value &r) {
  MString *lib = asString(a[0]);
  MString *text = asString(a[1]);
  if (!lib || !text) raise_error(line, "Bad argument type in dllfunc()");
  CDeclaration decl;
  std::string why;
  const std::string declText = text->text.str(), libName = lib->text.str();
  if (!parseCDeclaration(declText, decl, why))
    raise_message(line, "Bad declaration in dllfunc(): " + why + " in \"" + declText + "\"");
  void *h = openLibrary(libName, why);
  if (!h) raise_message(line, "Cannot load library " + libName + " in dllfunc(): " + why);
  dlerror();
  void *fn = dlsym(h, decl.name.c_str());
  if (!fn)
    raise_message(line, "Function " + decl.name + " not found in " + libName + " in dllfunc()");
  auto f = std::make_unique<NativeFunction>(fn, std::move(decl));
  if (!f->prepare()) raise_error(line, "Bad declaration in dllfunc(): unsupported signature");
  r = Value(f.release());
}

const BuiltinEntry kNative[] = {
    {"dllfunc", 2, bi_dllfunc},
};

}  // namespace

std::span<const BuiltinEntry> nativeBuiltins() { return kNative; }

}  // namespace marl
