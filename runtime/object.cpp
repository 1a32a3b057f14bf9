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
  const bool sense = registry().markSense;
  while (!stack.empty()) {
    MRef *o = stack.back();
    stack.pop_back();
    if (o->marked == sense) continue;
    o->marked = sense;
    o->pushChildren(stack);
  }
}

// Gives every object the same mark: `marked` true leaves them all marked
// in the current collection, false all unmarked.
void setAllMarks(bool marked) {
  const bool value = marked == registry().markSense;
  for (RegistryLink *list : {&registry().head, &registry().leaves})
    for (RegistryLink *l = list->next; l != list; l = l->next)
      static_cast<MRef *>(l)->marked = value;
}

void markPhase() {
  MarkStack stack;
  if (rootMarker) rootMarker(stack);
  markFrom(stack);
  // Locked strings are kept by the sweep instead: they have nothing to mark.
  const bool sense = registry().markSense;
  for (RegistryLink *l = registry().head.next; l != &registry().head; l = l->next) {
    MRef *o = static_cast<MRef *>(l);
    if (o->locks != 0 && o->marked != sense) {
      stack.push_back(o);
      markFrom(stack);
    }
  }
}

}  // namespace

// A new object carries the current sense, which the next collection's flip
// turns into "unmarked".
MRef::MRef(ObjType t) : marked(registry().markSense), type(t) {
  MObjMan &r = registry();
  RegistryLink &list = t == ObjType::String ? r.leaves : r.head;
  RegistryLink *last = list.prev;
  prev = last;
  next = &list;
  last->next = this;
  list.prev = this;
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
  registry().markSense = !registry().markSense;  // every object is unmarked now
  try {
    markPhase();
    if (runFinalizers && registry().handles != 0) {
      const bool sense = registry().markSense;
      std::vector<MHandle *> due;
      for (RegistryLink *l = registry().head.next; l != &registry().head; l = l->next) {
        MRef *o = static_cast<MRef *>(l);
        if (o->type == ObjType::Handle && o->marked != sense &&
            !static_cast<MHandle *>(o)->finalized)
          due.push_back(static_cast<MHandle *>(o));
      }
      for (MHandle *h : due) finalizeHandle(h);
      if (!due.empty()) {
        // Objects the finalizers made carry the current sense: unmark all.
        setAllMarks(false);
        markPhase();
      }
    }
  } catch (...) {
    // All marked, so that the next collection's flip unmarks them all.
    setAllMarks(true);
    registry().collecting = false;
    throw;
  }
  // While sweeping, holders release nothing: a swept object's references to
  // survivors are simply dropped, so every destruction is independent and
  // the walk can keep its place instead of restarting.
  registry().sweeping = true;
  const bool sense = registry().markSense;
  RegistryLink *l = registry().head.next;
  while (l != &registry().head) {
    RegistryLink *next = l->next;
    MRef *o = static_cast<MRef *>(l);
    if (o->marked != sense) delete o;
    l = next;
  }
  l = registry().leaves.next;
  while (l != &registry().leaves) {
    RegistryLink *next = l->next;
    MRef *o = static_cast<MRef *>(l);
    if (o->marked != sense && o->locks == 0) delete o;
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
  leaves.prev = leaves.next = &leaves;
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
  while (leaves.next != &leaves) delete static_cast<MRef *>(leaves.next);
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
