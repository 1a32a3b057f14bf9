// The registry of live objects, counted destruction and the collector.
#include "runtime/object.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "runtime/error.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace detail {
MObjMan *currentRegistry = nullptr;
}

namespace {

RootMarker rootMarker = nullptr;
Finalizer finalizer = nullptr;

void unlink(MRef *o) {
  o->prev->next = o->next;
  o->next->prev = o->prev;
  o->prev = o->next = nullptr;
}

void markFrom(MarkStack &stack) {
  while (!stack.empty()) {
    MRef *o = stack.back();
    stack.pop_back();
    if (o->marked) continue;
    o->marked = true;
    o->pushChildren(stack);
  }
}

// Between collections every object is unmarked: the sweep unmarks the
// survivors, so a collection walks the registry twice (locked objects, then
// the sweep) instead of three times.
void clearMarks() {
  for (RegistryLink *l = registry().head.next; l != &registry().head; l = l->next)
    static_cast<MRef *>(l)->marked = false;
}

void markPhase() {
  MarkStack stack;
  if (rootMarker) rootMarker(stack);
  markFrom(stack);
  for (RegistryLink *l = registry().head.next; l != &registry().head; l = l->next) {
    MRef *o = static_cast<MRef *>(l);
    if (o->locks != 0 && !o->marked) {
      stack.push_back(o);
      markFrom(stack);
    }
  }
}

}  // namespace

MRef::MRef(ObjType t) : type(t) {
  MObjMan &r = registry();
  RegistryLink *last = r.head.prev;
  prev = last;
  next = &r.head;
  last->next = this;
  r.head.prev = this;
  r.count++;
}

MRef::~MRef() {
  if (!prev) {
    // Destructors run while an exception may be in flight; report, don't throw.
    std::fputs("Internal error in MObjMan::remove()\n", stderr);
    return;
  }
  unlink(this);
  registry().count--;
}

void counterUnderflow(const char *which) { raise_error(0, "%s", which); }

void destroyObject(MRef *o) {
  if (registry().draining) {
    // A string holds nothing, so freeing it at once cannot recurse; a
    // dropped array of a million strings then needs no million-entry list.
    if (o->type == ObjType::String)
      delete o;
    else
      registry().pendingFree.push_back(o);
    return;
  }
  registry().draining = true;
  delete o;
  while (!registry().pendingFree.empty()) {
    MRef *p = registry().pendingFree.back();
    registry().pendingFree.pop_back();
    delete p;
  }
  registry().draining = false;
}

void setRootMarker(RootMarker m) { rootMarker = m; }
void setFinalizer(Finalizer f) { finalizer = f; }

void finalizeHandle(MHandle *h) {
  if (h->finalized) return;
  h->finalized = true;
  if (finalizer) finalizer(h);
}

void collect(bool runFinalizers) {
  if (registry().collecting) return;
  registry().collecting = true;
  try {
    markPhase();
    if (runFinalizers) {
      std::vector<MHandle *> due;
      for (RegistryLink *l = registry().head.next; l != &registry().head; l = l->next) {
        MRef *o = static_cast<MRef *>(l);
        if (o->type == ObjType::Handle && !o->marked && !static_cast<MHandle *>(o)->finalized)
          due.push_back(static_cast<MHandle *>(o));
      }
      for (MHandle *h : due) finalizeHandle(h);
      if (!due.empty()) {
        clearMarks();
        markPhase();
      }
    }
  } catch (...) {
    clearMarks();
    registry().collecting = false;
    throw;
  }
  // While sweeping, holders release nothing: a swept object's references to
  // survivors are simply dropped, so every destruction is independent and
  // the walk can keep its place instead of restarting.
  registry().sweeping = true;
  RegistryLink *l = registry().head.next;
  while (l != &registry().head) {
    RegistryLink *next = l->next;
    MRef *o = static_cast<MRef *>(l);
    if (!o->marked)
      delete o;
    else
      o->marked = false;
    l = next;
  }
  registry().sweeping = false;
  registry().collecting = false;
}

void collectAndAdjust() {
  collect(true);
  size_t c = registry().count;
  if (c < 16)
    registry().threshold = c + 16;
  else if (c < 100000)
    registry().threshold = 2 * c;
  else
    registry().threshold = c + 100000;
}

MObjMan::MObjMan() {
  head.prev = head.next = &head;
  if (detail::currentRegistry) {
    std::fputs("Internal error in MObjMan: a second registry\n", stderr);
    std::abort();
  }
  detail::currentRegistry = this;
}

MObjMan::~MObjMan() {
  // While sweeping, holders release nothing, so every object goes exactly once.
  sweeping = true;
  while (head.next != &head) delete static_cast<MRef *>(head.next);
  detail::currentRegistry = nullptr;
}

bool truth(const Value &v) {
  if (v.kind != Kind::Object) return !std::isnan(v.number) && v.number != 0;
  if (!v.object) return false;
  switch (v.object->type) {
    case ObjType::String:
      return !static_cast<MString *>(v.object)->text.empty();
    case ObjType::Array:
      return static_cast<MArray *>(v.object)->size() != 0;
    case ObjType::Hash:
      return static_cast<MHash *>(v.object)->size() != 0;
    default:
      return true;
  }
}

}  // namespace marl
