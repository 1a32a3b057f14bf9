// Automation objects and native functions, as the evaluator sees them.
// The bridges that implement them live in external/.
#pragma once
#include <span>
#include <string>
#include <vector>

#include "runtime/object.hpp"

namespace marl {

// An object of a foreign object system (.NET today, others later), driven by
// name. Every operation raises the script error of its failure, with `line`.
class MComObj : public MRef {
 public:
  MComObj() : MRef(ObjType::ComObj) {}
  const char *typeName() const override { return "comobj"; }

  // `o.name`, or `o.name(args)` read as a parameterised property.
  virtual void getProperty(int line, const std::string &name, std::span<const Value> args,
                           Value &result) = 0;
  // `o.name = v` and `o.name(args) = v`.
  virtual void setProperty(int line, const std::string &name, std::span<const Value> args,
                           const Value &value) = 0;
  // `o.name(args)`.
  virtual void invoke(int line, const std::string &name, std::span<const Value> args,
                      Value &result) = 0;
  // `o[index]`: an element of a collection.
  virtual void item(int line, long long index, Value &result) = 0;
  // Every element of a collection, in its own order (for foreach).
  virtual void enumerate(int line, std::vector<Value> &out) = 0;
};

inline MComObj *asComObj(const Value &v) {
  return v.is(ObjType::ComObj) ? static_cast<MComObj *>(v.object) : nullptr;
}

// A function of a native library, called with script values.
class MDllFunc : public MRef {
 public:
  MDllFunc() : MRef(ObjType::DllFunc) {}
  const char *typeName() const override { return "dllfunc"; }

  virtual size_t arity() const = 0;
  // Called only with exactly arity() arguments.
  virtual void call(int line, std::span<const Value> args, Value &result) = 0;
};

inline MDllFunc *asDllFunc(const Value &v) {
  return v.is(ObjType::DllFunc) ? static_cast<MDllFunc *>(v.object) : nullptr;
}

}  // namespace marl
