// #if and #elif: C integer constant expressions over macro-expanded tokens.
#pragma once

#include "preprocessor/expander.hpp"

namespace marl::pp {

// Evaluates the token list pushed on `ex` (see Expander::push_list) up to its end. `directive`
// ("#if" or "#elif") names the directive in messages. Throws PPError when malformed.
bool eval_if_expression(Expander &ex, const char *directive);

}  // namespace marl::pp
