// Serialized values: the byte format of serial() and deserial().
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "runtime/bstream.hpp"
#include "runtime/value.hpp"

namespace marl {

// One serialization run: a byte stream plus the objects written or read so
// far, numbered from 1 in order, so shared objects and cycles become references.
// Nesting is walked with work stacks, never by recursion.
class MStream : public BStream {
 public:
  MStream() = default;                                          // for writing
  explicit MStream(std::string_view bytes) : BStream(bytes) {}  // reads a copy

  // Appends one value. Raises "Object not serializable" without a position.
  void writeValue(const Value &v);
  // Reads one value. Raises "Factory not found for %s", "Object deserialize
  // error" or "Not enough memory in deserial()" (a count past the end of the
  // input whose zeros could never be held) without a position; missing
  // bytes read as zeros.
  Value readValue();

 private:
  struct WriteFrame;
  struct ReadFrame;
  void writeOne(MRef *object, double number, Kind kind, std::vector<WriteFrame> &work);
  Value readOne(std::vector<ReadFrame> &work);
  void completeAtEnd(std::vector<ReadFrame> &work);

  std::unordered_map<const MRef *, uint32_t> written_;
  // Values, not bare pointers: a repeated hash key can drop an object that a
  // later reference still names.
  std::vector<Value> read_;
};

// serial(): the value's bytes.
std::string serializeValue(const Value &v);
// deserial(): the first value in the bytes; what follows it is ignored.
Value deserializeValue(std::string_view bytes);

}  // namespace marl
