// The execution context: the pending jump of break, continue and return.
#pragma once
#include "runtime/value.hpp"

namespace marl {

enum JumpKind : int { JUMP_NONE = 0, JUMP_BREAK = 1, JUMP_CONTINUE = 2, JUMP_RETURN = 3 };

class Context {
 public:
  int jump = JUMP_NONE;
  int jumpLine = 0;
  int askedLevel = 0;
  int remaining = 0;
  Value returned;

  void setJump(int kind, int line, int level) {
    jump = kind;
    jumpLine = line;
    askedLevel = remaining = level;
    returned.setNull();
  }
  // A pending return of the value already in `returned`.
  void setReturn(int line) {
    jump = JUMP_RETURN;
    jumpLine = line;
    askedLevel = remaining = 1;
  }
  void clearJump() {
    jump = JUMP_NONE;
    returned.setNull();
  }
};

}  // namespace marl
