// Counted script objects, the registry of live objects and the collector.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "runtime/value.hpp"

namespace marl {

class BStream;
class MRef;

// Objects still to be marked; the mark phase walks it instead of recursing,
// so arbitrarily deep nesting cannot overflow the C stack.
using MarkStack = std::vector<MRef *>;

struct RegistryLink {
  RegistryLink *prev = nullptr;
  RegistryLink *next = nullptr;
};

class MRef : public RegistryLink {
 public:
  int32_t refs = 0;
  int32_t locks = 0;
  // Marked in the current collection when equal to registry().markSense.
  bool marked;
  ObjType type;

  explicit MRef(ObjType t = ObjType::Other);
  virtual ~MRef();
  // Scripts create and drop small objects at a high rate: they come from
  // free lists by size (object_pool.cpp) instead of the general allocator.
  static void *operator new(size_t size);
  static void operator delete(void *p, size_t size);
  MRef(const MRef &) = delete;
  MRef &operator=(const MRef &) = delete;

  virtual MRef *clone() const { return nullptr; }
  virtual const char *typeName() const { return "unknown"; }
  virtual bool serialize(BStream &) const { return false; }
  virtual bool deserialize(BStream &) { return false; }
  // Pushes every object this one holds; the collector marks them.
  virtual void pushChildren(MarkStack &) const {}
};

// The registry. Objects sit in intrusive lists, so entering and leaving them
// is O(1); their order (creation order) is not observable by scripts.
// Strings have a list of their own: they hold nothing, so the collector's
// search for locked objects to mark from can pass them by.
// One lives in the interpreter state; while it exists it is the registry every
// object enters, and destroying it is the last release of every object left.
struct MObjMan {
  RegistryLink head;    // sentinel of the circular list of all but strings
  RegistryLink leaves;  // sentinel of the strings' list
  size_t count = 0;
  size_t threshold = 16;
  size_t handles = 0;  // live MHandles: without any, no finalizer can be due
  // The value of MRef::marked that means "marked". Each collection flips it,
  // which unmarks every object at once: no walk clears the marks, and the
  // sweep writes nothing into the survivors.
  bool markSense = false;
  bool collecting = false;
  bool sweeping = false;
  bool draining = false;            // freeing objects whose counters reached 0
  std::vector<MRef *> pendingFree;  // freed iteratively, never recursively
  MObjMan();
  ~MObjMan();
  MObjMan(const MObjMan &) = delete;
  MObjMan &operator=(const MObjMan &) = delete;
};

namespace detail {
extern MObjMan *currentRegistry;
}
// The registry of the interpreter state; one exists while scripts can run.
inline MObjMan &registry() { return *detail::currentRegistry; }

inline bool sweepingNow() { return registry().sweeping; }

// Destroys an object whose counters both reached 0. Nested containers are
// freed from a work list, so a long chain does not recurse.
void destroyObject(MRef *o);
[[noreturn]] void counterUnderflow(const char *which);

inline void lockObject(MRef *o) { ++o->locks; }
inline void holdObject(MRef *o) { ++o->refs; }
inline void rellockObject(MRef *o) {
  if (--o->locks <= 0) {
    if (o->locks < 0) counterUnderflow("Internal error in MRef::rellock()");
    if (o->refs == 0) destroyObject(o);
  }
}
inline void releaseObject(MRef *o) {
  if (--o->refs <= 0) {
    if (o->refs < 0) counterUnderflow("Internal error in MRef::release()");
    if (o->locks == 0) destroyObject(o);
  }
}

inline bool Value::is(ObjType t) const { return object && object->type == t; }
inline bool HeldValue::is(ObjType t) const {
  MRef *o = object();
  return o && o->type == t;
}

// Marks the roots that live outside the registry (scopes, functions' static
// tables). Installed by the evaluator.
using RootMarker = void (*)(MarkStack &);
void setRootMarker(RootMarker m);

// Runs a handle's finalizer function; installed by the evaluator, which is
// what can call script functions.
class MHandle;
using Finalizer = void (*)(MHandle *);
void setFinalizer(Finalizer f);
// Finalizes a handle at most once: sets its flag, then runs the finalizer.
void finalizeHandle(MHandle *h);

void collect(bool runFinalizers);
// An automatic collection, then the next threshold from the live count.
void collectAndAdjust();
inline void maybeCollect() {
  if (registry().count >= registry().threshold && !registry().collecting) collectAndAdjust();
}

// Truth test: NaN, 0, null, "", empty array and empty hash are false.
bool truth(const Value &v);

// An object with a finalizer: no built-in creates one, but the collector and
// the final cleanup honour it (see eval/cleanup.hpp).
class MHandle : public MRef {
 public:
  bool finalized = false;
  // Held like container elements, so a handle in a cycle is still collected.
  HeldValue finalizer;  // an MFuncRef
  HeldValue argument;
  MHandle() : MRef(ObjType::Handle) { registry().handles++; }
  ~MHandle() override { registry().handles--; }
  const char *typeName() const override { return "handle"; }
  void pushChildren(MarkStack &stack) const override {
    if (MRef *o = finalizer.object()) stack.push_back(o);
    if (MRef *o = argument.object()) stack.push_back(o);
  }
};

}  // namespace marl
