// The regular-expression built-ins whose bodies live in their own files.
#pragma once
#include "eval/regex_ops.hpp"
#include "frontend/functions.hpp"
#include "runtime/regexp.hpp"

namespace marl {

// Bodies that live in their own files, registered by the group's table.
void bi_sub(Context &ctx, int line, const Args &args, Value &result);
void bi_gsub(Context &ctx, int line, const Args &args, Value &result);
void bi_tr(Context &ctx, int line, const Args &args, Value &result);

}  // namespace marl
