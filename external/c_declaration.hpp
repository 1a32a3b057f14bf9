// C function declarations as dllfunc() reads them: "double cos(double)".
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace marl {

enum class CBase {
  Void,
  Char,
  UChar,
  Short,
  UShort,
  Int,
  UInt,
  Long,
  ULong,
  Float,
  Double,
  Str,
  Ptr
};

struct CType {
  CBase base = CBase::Void;
  // 1 for a pointer to the base type (an out-parameter: char**, int*, void**).
  int indirect = 0;
};

struct CDeclaration {
  CType result;
  std::string name;
  std::vector<CType> params;
};

// Parses `text` into `out`; on failure returns false and a reason in `error`.
bool parseCDeclaration(std::string_view text, CDeclaration &out, std::string &error);

}  // namespace marl
