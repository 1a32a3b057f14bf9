// Binary type words and the little-endian encoding of one value, shared by
// pack/unpack, bsplit/bjoin and typed read/write of files; record templates.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/hash_table.hpp"
#include "runtime/value.hpp"

namespace marl {

class MHash;

// "char"/"sbyte" 1, "short"/"int16" 2, "long"/"int32" 3, "uchar"/"byte" 4,
// "ushort"/"uint16" 5, "ulong"/"uint32" 6, "float" 7, "double" 8; 0 otherwise.
int typeCode(std::string_view word);
size_t typeSize(int code);
// Decodes typeSize(code) bytes at p (sign- or zero-extended, floats widened).
double decodeTyped(int code, const char *p);
// Appends the value's bytes: integers truncated and wrapped, floats rounded.
void encodeTyped(int code, double value, std::string &out);
// Writes the same typeSize(code) bytes at p.
void encodeTypedAt(int code, double value, char *p);
// The range check of write() and bjoin(): [-128, 255], [-32768, 65535],
// [-2147483648, 4294967295] for the integer widths; NaN is out of range.
bool typeInRange(int code, double value);

// One field of a record template. The name points into the template text.
struct PackField {
  std::string_view name;  // empty: the bytes are skipped by unpack, zero in pack
  int code;
  uint32_t count;       // 0: a single value; n >= 1: an array of n values (any that fits)
  uint64_t offset = 0;  // of the field's first byte in a record
  // unpack(): the field's entry in the template's record, or kNoEntry when
  // the field stores nothing (no name, or a later field of the same name).
  uint32_t entry = kNoEntry;
  // pack(): where the name was found in the hash packed last, tried first.
  uint32_t hint = 0;

  static constexpr uint32_t kNoEntry = UINT32_MAX;
};

// A parsed template; it refers to the text it was parsed from.
struct PackTemplate {
  std::vector<PackField> fields;
  uint64_t size = 0;      // bytes of one record: what pksize() returns
  size_t named = 0;       // fields with a name: the entries of unpack()'s hash
  uint64_t elements = 0;  // array values of the named fields: what unpack() allocates
  // unpack()'s hash without its values, built by the first unpack and copied
  // by every one: copying the keys costs less than entering them one by one.
  HashTable record;
  bool recordBuilt = false;
};

// Parses `text` into `out` (reusing its storage); false when the template is bad.
bool parseTemplate(std::string_view text, PackTemplate &out);
// unpack(): a hash of the named fields; values cut off by the end of data are null.
// The template's record is filled in on the way.
Value unpackRecord(PackTemplate &t, std::string_view data);
// pack(): the fields' values taken from `values` by name; missing ones are 0.
// The template remembers where the names were found.
std::string packRecord(PackTemplate &t, const MHash &values);
// The same into t.size zero bytes at `out`.
void packRecordInto(PackTemplate &t, const MHash &values, char *out);
// Whether the arrays of unpack(), or the bytes of pack(), could ever be held:
// counts are limited only by memory, checked before anything is allocated.
bool unpackFitsMemory(const PackTemplate &t);
bool packFitsMemory(const PackTemplate &t);

}  // namespace marl
