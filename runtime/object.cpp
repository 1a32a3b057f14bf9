// The registry of live objects, counted destruction and the collector.
#include "runtime/object.hpp"

#include <cmath>
#include <cstdio>

#include "runtime/error.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"

namespace marl {

MObjMan objman;

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

void markPhase() {
  for (RegistryLink *l = objman.head.next; l != &objman.head; l = l->next)
    static_cast<MRef *>(l)->marked = false;
  MarkStack stack;
  if (rootMarker) rootMarker(stack);
  markFrom(stack);
  for (RegistryLink *l = objman.head.next; l != &objman.head; l = l->next) {
    MRef *o = static_cast<MRef *>(l);
    if (o->locks != 0 && !o->marked) {
      stack.push_back(o);
      markFrom(stack);
    }
  }
}

}  // namespace

MRef::MRef(ObjType t) : type(t) {
  RegistryLink *last = objman.head.prev;
  prev = last;
  next = &objman.head;
  last->next = this;
  objman.head.prev = this;
  objman.count++;
}

MRef::~MRef() {
  if (!prev) {
    // Destructors run while an exception may be in flight; report, don't throw.
    std::fputs("Internal error in MObjMan::remove()\n", stderr);
    return;
  }
  unlink(this);
  objman.count--;
}

void counterUnderflow(const char *which) { raise_error(0, "%s", which); }

void destroyObject(MRef *o) {
  if (objman.draining) {
    objman.pendingFree.push_back(o);
    return;
  }
  objman.draining = true;
  delete o;
  while (!objman.pendingFree.empty()) {
    MRef *p = objman.pendingFree.back();
    objman.pendingFree.pop_back();
    delete p;
  }
  objman.draining = false;
}

void setRootMarker(RootMarker m) { rootMarker = m; }
void setFinalizer(Finalizer f) { finalizer = f; }

void finalizeHandle(MHandle *h) {
  if (h->finalized) return;
  h->finalized = true;
  if (finalizer) finalizer(h);
}

void collect(bool runFinalizers) {
  if (objman.collecting) return;
  objman.collecting = true;
  try {
    markPhase();
    if (runFinalizers) {
      std::vector<MHandle *> due;
      for (RegistryLink *l = objman.head.next; l != &objman.head; l = l->next) {
        MRef *o = static_cast<MRef *>(l);
        if (o->type == ObjType::Handle && !o->marked && !static_cast<MHandle *>(o)->finalized)
          due.push_back(static_cast<MHandle *>(o));
      }
      for (MHandle *h : due) finalizeHandle(h);
      if (!due.empty()) markPhase();
    }
  } catch (...) {
    objman.collecting = false;
    throw;
  }
  // While sweeping, holders release nothing: a swept object's references to
  // survivors are simply dropped, so every destruction is independent and
  // the walk can keep its place instead of restarting.
  objman.sweeping = true;
  RegistryLink *l = objman.head.next;
  while (l != &objman.head) {
    RegistryLink *next = l->next;
    MRef *o = static_cast<MRef *>(l);
    if (!o->marked) delete o;
    l = next;
  }
  objman.sweeping = false;
  objman.collecting = false;
}

void collectAndAdjust() {
  collect(true);
  size_t c = objman.count;
  if (c < 16)
    objman.threshold = c + 16;
  else if (c < 100000)
    objman.threshold = 2 * c;
  else
    objman.threshold = c + 100000;
}

void releaseAllObjects() {
  objman.sweeping = true;
  while (objman.head.next != &objman.head) delete static_cast<MRef *>(objman.head.next);
  objman.sweeping = false;
}

bool truth(const Value &v) {
  if (v.kind != Kind::Object) return !std::isnan(v.number) && v.number != 0;
  if (!v.object) return false;
  switch (v.object->type) {
    case ObjType::String: return !static_cast<MString *>(v.object)->text.empty();
    case ObjType::Array: return static_cast<MArray *>(v.object)->size() != 0;
    case ObjType::Hash: return static_cast<MHash *>(v.object)->size() != 0;
    default: return true;
  }
}

}  // namespace marl
