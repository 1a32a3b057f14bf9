// Storage rules of strings, arrays and hashes, and their byte format.
#include "runtime/bstream.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

bool MArray::setGrowing(long long index, const Value &v) {
  if (index < 0) return false;
  if (static_cast<size_t>(index) >= items.size()) items.resize(static_cast<size_t>(index) + 1);
  items[static_cast<size_t>(index)] = v;
  return true;
}

MRef *MArray::clone() const {
  MArray *a = new MArray();
  a->items = items;
  return a;
}

// Strings hold nothing, so they are marked here instead of being stacked:
// an array of a million strings needs no million-entry stack.
void MArray::pushChildren(MarkStack &stack) const {
  const bool sense = registry().markSense;
  for (const HeldValue &h : items) {
    MRef *o = h.object();
    if (!o || o->marked == sense) continue;
    if (o->type == ObjType::String)
      o->marked = sense;
    else
      stack.push_back(o);
  }
}

MRef *MHash::clone() const {
  MHash *h = new MHash();
  h->entries = entries;
  return h;
}

void MHash::pushChildren(MarkStack &stack) const {
  const bool sense = registry().markSense;
  for (const auto &e : entries.unordered())
    if (MRef *o = e.second.object(); o && o->marked != sense) {
      if (o->type == ObjType::String)
        o->marked = sense;
      else
        stack.push_back(o);
    }
}

bool MString::serialize(BStream &s) const {
  s.writeString(text);
  return true;
}

bool MString::deserialize(BStream &s) {
  text = std::string_view(s.readString());
  return true;
}

}  // namespace marl
