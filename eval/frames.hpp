// Guards that undo what entering a block or a call did, on every exit path
// (exceptions included), and the one place a pending jump is settled.
#pragma once
#include <cstddef>

#include "eval/context.hpp"
#include "frontend/functions.hpp"
#include "frontend/symbols.hpp"

namespace marl {

// Pops every scope pushed after its construction.
class ScopeGuard {
 public:
  ScopeGuard() : depth_(scopeDepth()) {}
  // Releasing a scope's values can raise an internal error; let it through.
  ~ScopeGuard() noexcept(false) { popScopesTo(depth_); }
  ScopeGuard(const ScopeGuard &) = delete;
  ScopeGuard &operator=(const ScopeGuard &) = delete;

 private:
  size_t depth_;
};

// Gives a frame its slots and makes it the running frame until destroyed;
// constructed before the ScopeGuard of the frame's scopes, so that the
// scopes release their variables first.
class FrameGuard {
 public:
  FrameGuard(Frame &frame, const FrameLayout *layout, SymMan **statics)
      : mark_(enterFrame(frame, layout, statics)) {}
  ~FrameGuard() { leaveFrame(mark_); }
  FrameGuard(const FrameGuard &) = delete;
  FrameGuard &operator=(const FrameGuard &) = delete;

 private:
  FrameMark mark_;
};

// A running script function: holds its variant, since redefining the
// function in its own body must not free what runs.
class CallFrame {
 public:
  explicit CallFrame(func_data *fd) : fd_(fd) { retainVariant(fd); }
  ~CallFrame() noexcept(false) { releaseVariant(fd_); }
  CallFrame(const CallFrame &) = delete;
  CallFrame &operator=(const CallFrame &) = delete;

 private:
  func_data *fd_;
};

// At a function's or a run's end: a pending return gives its value as the
// result; a break or continue that got this far raises "Bad break or
// continue" at its line; with no jump the result is left as it is.
void settleJump(Context &ctx, Value &result);

}  // namespace marl
