// Script strings: any bytes, NUL included.
#pragma once
#include <string>
#include <string_view>

#include "runtime/value.hpp"

namespace marl {

class MString : public MRef {
 public:
  std::string text;

  MString() : MRef(ObjType::String) {}
  explicit MString(std::string s) : MRef(ObjType::String), text(std::move(s)) {}
  explicit MString(std::string_view s) : MRef(ObjType::String), text(s) {}
  MString(const char *p, size_t n) : MRef(ObjType::String), text(p, n) {}

  MRef *clone() const override { return new MString(text); }
  const char *typeName() const override { return "string"; }
  bool serialize(BStream &s) const override;
  bool deserialize(BStream &s) override;
};

inline Value makeString(std::string s) { return Value(new MString(std::move(s))); }
inline Value makeString(std::string_view s) { return Value(new MString(s)); }
inline Value makeString(const char *s) { return Value(new MString(std::string_view(s))); }

inline MString *asString(const Value &v) {
  return v.is(ObjType::String) ? static_cast<MString *>(v.object) : nullptr;
}

}  // namespace marl
