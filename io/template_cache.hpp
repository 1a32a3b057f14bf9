// Parsed record templates kept for reuse: a script that packs or unpacks in
// a loop passes the same template text on every call, and parsing it again
// each time costs more than the packing itself.
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "io/pack.hpp"

namespace marl {

class TemplateCache {
 public:
  TemplateCache() = default;
  TemplateCache(const TemplateCache &) = delete;  // last_ points into slots_
  TemplateCache &operator=(const TemplateCache &) = delete;
  // Longer texts are parsed every time instead of being kept, so the cache
  // never holds more than kSlots * kMaxText bytes of template text.
  static constexpr size_t kSlots = 16;
  static constexpr size_t kMaxText = 4096;

  // The parsed form of `text`, or nullptr when the template is bad. The
  // result stays valid until the next call; pack and unpack keep their
  // per-template state in it.
  PackTemplate *lookup(std::string_view text);

 private:
  struct Slot {
    std::string text;  // the parsed fields' names point into it
    PackTemplate parsed;
    uint64_t lastUse = 0;  // 0: empty
  };
  std::array<Slot, kSlots> slots_;
  Slot scratch_;          // a text too long to keep
  Slot *last_ = nullptr;  // the slot found last: loops ask for one template
  uint64_t clock_ = 0;
};

}  // namespace marl
