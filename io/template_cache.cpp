// The parsed-template cache: a few slots, the least recently used replaced.
#include "io/template_cache.hpp"

namespace marl {

PackTemplate *TemplateCache::lookup(std::string_view text) {
  ++clock_;
  if (last_ && last_->text == text) {
    last_->lastUse = clock_;
    return &last_->parsed;
  }
  if (!scratch_.text.empty()) scratch_ = Slot();  // don't hold on to a long text
  Slot *victim = &slots_[0];
  for (Slot &s : slots_) {
    if (s.lastUse != 0 && s.text == text) {
      s.lastUse = clock_;
      last_ = &s;
      return &s.parsed;
    }
    if (s.lastUse < victim->lastUse) victim = &s;
  }
  Slot &slot = text.size() <= kMaxText ? *victim : scratch_;
  // Bad templates are not kept: the call fails anyway.
  slot.text.assign(text);
  slot.lastUse = 0;
  last_ = nullptr;
  if (!parseTemplate(slot.text, slot.parsed)) return nullptr;
  if (&slot != &scratch_) {
    slot.lastUse = clock_;
    last_ = &slot;
  }
  return &slot.parsed;
}

}  // namespace marl
