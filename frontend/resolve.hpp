// The resolver: before code runs, every name in it is tied to the slots of
// its frame that may hold it, so that a running name costs an array index
// instead of a walk through the scopes.
#pragma once
#include <cstdint>
#include <vector>

#include "frontend/node.hpp"

namespace marl {

struct Name;

// The variables one function (or one top-level run) can declare: a slot per
// name per block, each block's slots side by side. Block 0 of a function is
// its parameter scope and block 1 its body.
struct FrameLayout {
  struct Block {
    uint32_t first = 0;  // index of its first slot
    uint32_t count = 0;
  };
  std::vector<Name *> slotNames;  // variable names (already cut to 128 bytes)
  std::vector<Block> blocks;
  std::vector<int32_t> paramSlots;  // each parameter's slot, in order
  bool distinctParams = true;       // no parameter name repeats
  uint32_t slotCount() const { return static_cast<uint32_t>(slotNames.size()); }
  // The slot `name` has in `block`, or -1.
  int32_t slotIn(uint32_t block, const Name *name) const;
};

// Resolves a script function's body on its first call; the layout lives as
// long as the definition.
const FrameLayout &functionLayout(FunctionDef *def);
// Resolves statements that run with the global scope innermost (a script, a
// console line); the caller owns the layout and runs them in its frame.
FrameLayout *resolveTopLevel(Node *statements);

}  // namespace marl
