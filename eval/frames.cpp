// Guards for scopes and calls, and settling a pending jump.
#include "eval/frames.hpp"

#include "eval/evaluator.hpp"
#include "frontend/symbols.hpp"
#include "runtime/error.hpp"

namespace marl {

void settleJump(Context &ctx, Value &result) {
  if (ctx.jump == JUMP_NONE) return;
  if (ctx.jump == JUMP_RETURN) {
    result = std::move(ctx.returned);
    ctx.clearJump();
    return;
  }
  int line = ctx.jumpLine;
  ctx.clearJump();
  raise_error(line, "Bad break or continue");
}

}  // namespace marl
