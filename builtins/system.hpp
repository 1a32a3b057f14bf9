// Handlers of the system group that live outside system.cpp; the group's one
// table in system.cpp lists them all.
#pragma once
#include "frontend/functions.hpp"

namespace marl {

// time.cpp: calendar time and the monotonic clock.
void bi_time_now(Context &ctx, int line, const Args &args, Value &result);
void bi_time_make(Context &ctx, int line, const Args &args, Value &result);
void bi_localtime(Context &ctx, int line, const Args &args, Value &result);
void bi_tick(Context &ctx, int line, const Args &args, Value &result);
void bi_sleep(Context &ctx, int line, const Args &args, Value &result);

// console_keys.cpp: the bell and single-key input.
void bi_beep(Context &ctx, int line, const Args &args, Value &result);
void bi_kbhit(Context &ctx, int line, const Args &args, Value &result);
void bi_getch(Context &ctx, int line, const Args &args, Value &result);
void bi_getche(Context &ctx, int line, const Args &args, Value &result);

}  // namespace marl
