// Handles' finalizers and the final cleanup of a run.
#include "eval/cleanup.hpp"

#include <cstdio>
#include <vector>

#include "eval/evaluator.hpp"
#include "eval/funcref.hpp"
#include "runtime/error.hpp"
#include "runtime/object.hpp"

namespace marl {

void runFinalizer(MHandle *h) {
  // The handle may be swept right after; the call keeps what it uses alive.
  Value function = h->finalizer.get();
  MFuncRef *ref = asFuncRef(function);
  if (!ref) return;
  func_data *fd = ref->info->find(1);
  if (!fd) return;
  Value argument = h->argument.get();
  Context ctx;
  Value ignored;
  call_function(ctx, ignored, 0, fd, Args{&argument, 1});
}

void finalCleanup() {
  EvaluatorState &state = evaluatorState();
  if (state.finalCleanupDone) return;
  state.finalCleanupDone = true;
  std::vector<MHandle *> handles;
  for (RegistryLink *l = registry().head.next; l != &registry().head; l = l->next) {
    MRef *o = static_cast<MRef *>(l);
    if (o->type == ObjType::Handle && !static_cast<MHandle *>(o)->finalized)
      handles.push_back(static_cast<MHandle *>(o));
  }
  // A finalizer may free other handles; hold each until its turn.
  std::vector<Value> held(handles.begin(), handles.end());
  for (MHandle *h : handles) {
    try {
      finalizeHandle(h);
    } catch (const ScriptError &e) {
      std::fflush(stdout);
      std::fprintf(stderr, "%s [in final cleanup]\n", e.what());
    } catch (const MExit &e) {
      std::fflush(stdout);
      std::fprintf(stderr, "error [line:%d]: Cannot exit in final cleanup [in final cleanup]\n",
                   e.line);
    }
  }
}

}  // namespace marl
