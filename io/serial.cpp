// Serialization of values: kind byte, then a number, a bool or an object
// record; objects are written once and referred to by number afterwards.
#include "io/serial.hpp"

#include <cstring>

#include "runtime/error.hpp"
#include "runtime/memory_limit.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

enum : uint8_t { kNumber = 0, kBool = 1, kObject = 2 };
enum : uint8_t { kNewObject = 0, kReference = 1 };

template <class T>
MRef *create() {
  return new T();
}

struct Factory {
  std::string_view name;
  MRef *(*create)();
};

// The only classes a serialized stream may create.
constexpr Factory kFactories[] = {
    {"string", create<MString>},
    {"array", create<MArray>},
    {"hash", create<MHash>},
};

MRef *createByName(std::string_view name) {
  for (const Factory &f : kFactories)
    if (f.name == name) return f.create();
  return nullptr;
}

}  // namespace

struct MStream::WriteFrame {
  const MRef *object;  // an MArray or MHash whose body is being written
  size_t next;
  MHash::Map::const_iterator entry;
};

struct MStream::ReadFrame {
  MRef *object;  // an MArray or MHash whose body is being read
  uint32_t next;
  uint32_t count;
};

void MStream::writeOne(MRef *object, double number, Kind kind, std::vector<WriteFrame> &work) {
  if (kind == Kind::Number) {
    writeByte(kNumber);
    uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    for (int i = 0; i < 8; i++) writeByte(static_cast<uint8_t>(bits >> (8 * i)));
    return;
  }
  if (kind == Kind::Bool) {
    writeByte(kBool);
    writeByte(number != 0 ? 1 : 0);
    return;
  }
  writeByte(kObject);
  if (!object) {
    writeByte(kReference);
    writeU32(0);
    return;
  }
  auto [it, fresh] = written_.try_emplace(object, static_cast<uint32_t>(written_.size() + 1));
  if (!fresh) {
    writeByte(kReference);
    writeU32(it->second);
    return;
  }
  writeByte(kNewObject);
  writeString(object->typeName());
  // Containers are written by class, their elements from the work stack, so
  // nesting depth never reaches the C stack.
  if (object->type == ObjType::Array) {
    auto *a = static_cast<const MArray *>(object);
    writeU32(static_cast<uint32_t>(a->size()));
    if (a->size()) work.push_back({object, 0, {}});
  } else if (object->type == ObjType::Hash) {
    auto *h = static_cast<const MHash *>(object);
    writeU32(static_cast<uint32_t>(h->size()));
    if (h->size()) work.push_back({object, 0, h->entries.begin()});
  } else if (!object->serialize(*this)) {
    raise_error(0, "Object not serializable");
  }
}

void MStream::writeValue(const Value &v) {
  std::vector<WriteFrame> work;
  writeOne(v.object, v.number, v.kind, work);
  while (!work.empty()) {
    WriteFrame &f = work.back();
    if (f.object->type == ObjType::Array) {
      auto *a = static_cast<const MArray *>(f.object);
      if (f.next == a->size()) {
        work.pop_back();
        continue;
      }
      const HeldValue &e = a->items[f.next++];
      writeOne(e.object(), e.number(), e.kind(), work);
    } else {
      auto *h = static_cast<const MHash *>(f.object);
      if (f.entry == h->entries.end()) {
        work.pop_back();
        continue;
      }
      const auto &[key, e] = *f.entry++;
      writeString(key);
      writeOne(e.object(), e.number(), e.kind(), work);
    }
  }
}

Value MStream::readOne(std::vector<ReadFrame> &work) {
  uint8_t kind = readByte();
  if (kind == kNumber) {
    uint64_t bits = 0;
    for (int i = 0; i < 8; i++) bits |= static_cast<uint64_t>(readByte()) << (8 * i);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return Value::num(d);
  }
  if (kind == kBool) return Value::boolean(readByte() != 0);
  if (kind != kObject) return Value();
  uint8_t tag = readByte();
  if (tag == kReference) {
    uint32_t n = readU32();
    return n == 0 || n > read_.size() ? Value() : read_[n - 1];
  }
  if (tag != kNewObject) return Value();
  std::string name = readString();
  MRef *object = createByName(name);
  if (!object) raise_error(0, "Factory not found for %s", name.c_str());
  Value v(object);
  read_.push_back(v);
  // Elements are read one at a time and appended, so a count larger than
  // the input allocates nothing up front.
  if (object->type == ObjType::Array || object->type == ObjType::Hash) {
    uint32_t n = readU32();
    if (n) work.push_back({object, 0, n});
  } else if (!object->deserialize(*this)) {
    raise_error(0, "Object deserialize error");
  }
  return v;
}

// Past the end of the input every byte reads as 0, so every value still
// owed is the number 0 (and every hash entry the key "" with 0): the open
// containers are completed at once instead of element by element.
void MStream::completeAtEnd(std::vector<ReadFrame> &work) {
  uint64_t zeros = 0;
  for (const ReadFrame &f : work)
    if (f.object->type == ObjType::Array) zeros += f.count - f.next;
  if (beyondMemory(zeros, sizeof(HeldValue))) raise_error(0, "Not enough memory in deserial()");
  HeldValue zero(Value::num(0));
  for (const ReadFrame &f : work) {
    if (f.object->type == ObjType::Array)
      static_cast<MArray *>(f.object)->items.resize(f.count, zero);
    else if (f.next < f.count)
      static_cast<MHash *>(f.object)->set("", Value::num(0));
  }
  work.clear();
}

Value MStream::readValue() {
  std::vector<ReadFrame> work;
  Value root = readOne(work);
  while (!work.empty()) {
    ReadFrame &f = work.back();
    if (f.next == f.count) {
      work.pop_back();
      continue;
    }
    if (remaining() == 0) {
      completeAtEnd(work);
      break;
    }
    f.next++;
    MRef *object = f.object;
    if (object->type == ObjType::Array) {
      Value e = readOne(work);
      static_cast<MArray *>(object)->push(e);
    } else {
      std::string key = readString();
      Value e = readOne(work);
      static_cast<MHash *>(object)->set(key, e);
    }
  }
  return root;
}

std::string serializeValue(const Value &v) {
  MStream s;
  s.writeValue(v);
  return s.bytes();
}

Value deserializeValue(std::string_view bytes) {
  MStream s(bytes);
  return s.readValue();
}

}  // namespace marl
