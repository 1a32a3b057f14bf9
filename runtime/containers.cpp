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

void MArray::pushChildren(MarkStack &stack) const {
  for (const HeldValue &h : items)
    if (MRef *o = h.object(); o && !o->marked) stack.push_back(o);
}

MRef *MHash::clone() const {
  MHash *h = new MHash();
  h->entries = entries;
  return h;
}

void MHash::pushChildren(MarkStack &stack) const {
  for (const auto &e : entries.unordered())
    if (MRef *o = e.second.object(); o && !o->marked) stack.push_back(o);
}

bool MString::serialize(BStream &s) const {
  s.writeString(text);
  return true;
}

bool MString::deserialize(BStream &s) {
  text = s.readString();
  return true;
}

}  // namespace marl
