// Storage rules of strings, arrays and hashes, and their byte format.
#include "runtime/bstream.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

bool MArray::set(long long index, const Value &v) {
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
    if (h.object && !h.object->marked) stack.push_back(h.object);
}

void MHash::set(std::string_view key, const Value &v) {
  auto found = index_.find(key);
  if (found != index_.end()) {
    found->second->second = v;
    return;
  }
  auto it = entries.emplace(std::string(key), HeldValue(v)).first;
  index_.emplace(std::string_view(it->first), it);
}

bool MHash::take(std::string_view key, Value &out) {
  auto found = index_.find(key);
  if (found == index_.end()) return false;
  Map::iterator it = found->second;
  out = it->second.get();
  index_.erase(found);
  entries.erase(it);
  return true;
}

bool MHash::erase(std::string_view key) {
  auto found = index_.find(key);
  if (found == index_.end()) return false;
  Map::iterator it = found->second;
  index_.erase(found);
  entries.erase(it);
  return true;
}

void MHash::clear() {
  index_.clear();
  entries.clear();
}

MRef *MHash::clone() const {
  MHash *h = new MHash();
  for (const auto &e : entries) h->set(e.first, e.second.get());
  return h;
}

void MHash::pushChildren(MarkStack &stack) const {
  for (const auto &e : entries)
    if (e.second.object && !e.second.object->marked) stack.push_back(e.second.object);
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
