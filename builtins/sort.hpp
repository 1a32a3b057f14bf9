// Sorting arrays: the default order and sorting with a script comparator.
#pragma once
#include "frontend/functions.hpp"
#include "runtime/marray.hpp"

namespace marl {

// Numbers and bools by value (NaN after the other numbers), then strings by
// bytes, then null and other objects; stable. Runs no script code.
void sortDefault(MArray &a);

// sort(a[, cmp]): sorts in place and returns a.
void bi_sort(Context &ctx, int line, const Args &args, Value &result);

}  // namespace marl
