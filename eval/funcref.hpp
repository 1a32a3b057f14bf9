// Function references: `&name` and functions defined inside braces.
#pragma once
#include "frontend/functions.hpp"
#include "runtime/object.hpp"

namespace marl {

class MFuncRef : public MRef {
 public:
  FuncInfo *info;
  explicit MFuncRef(FuncInfo *f) : MRef(ObjType::FuncRef), info(f) { retainFunc(f); }
  ~MFuncRef() override { releaseFunc(info); }
  MRef *clone() const override { return new MFuncRef(info); }
  const char *typeName() const override { return "funcref"; }
  void pushChildren(MarkStack &stack) const override;
};

inline MFuncRef *asFuncRef(const Value &v) {
  return v.is(ObjType::FuncRef) ? static_cast<MFuncRef *>(v.object) : nullptr;
}

// Pushes the values of a function's static variables (collector roots).
void pushFunctionStatics(const FuncInfo *f, MarkStack &stack);

}  // namespace marl
