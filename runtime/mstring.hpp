// Script strings: any bytes, NUL included.
#pragma once
#include <string>
#include <string_view>

#include "runtime/mtext.hpp"
#include "runtime/value.hpp"

namespace marl {

// The text sits in the spare bytes at the end of the object header, so a
// string of up to MText::kInline bytes is one 64-byte object.
class MString : public MRef {
 public:
  MText text;

  MString() : MRef(ObjType::String) {}
  explicit MString(std::string_view s) : MRef(ObjType::String), text(s) {}
  MString(const char *p, size_t n) : MRef(ObjType::String), text(std::string_view(p, n)) {}
  // `n` zero bytes, to be written in place.
  static MString *zeroed(size_t n) {
    MString *s = new MString();
    s->text.resize(n);
    return s;
  }

  MRef *clone() const override { return new MString(text.view()); }
  const char *typeName() const override { return "string"; }
  bool serialize(BStream &s) const override;
  bool deserialize(BStream &s) override;
};

static_assert(sizeof(MString) == 64, "the text should fill the header's spare bytes");

inline Value makeString(std::string_view s) { return Value(new MString(s)); }
inline Value makeString(const std::string &s) { return Value(new MString(std::string_view(s))); }
inline Value makeString(const char *s) { return Value(new MString(std::string_view(s))); }

inline MString *asString(const Value &v) {
  return v.is(ObjType::String) ? static_cast<MString *>(v.object) : nullptr;
}

}  // namespace marl
