// The frame every runner shares: execute a parsed source in a fresh context.
#include "eval/run.hpp"

#include <cstdio>
#include <memory>
#include <new>
#include <optional>

#include "eval/evaluator.hpp"
#include "eval/frames.hpp"
#include "frontend/scanner.hpp"
#include "frontend/symbols.hpp"
#include "io/process.hpp"
#include "runtime/error.hpp"

namespace marl {

namespace {

void printError(const char *text) {
  flushStandardStreams();
  std::fprintf(stderr, "%s\n", text);
}

}  // namespace

Value runParsed(const ParseResult &parsed) {
  if (!parsed.ok) return Value();
  // Statements that start at the global scope (a script, a console line)
  // run in a frame of their own; text that eval runs deeper is not resolved
  // and finds its names by walking its caller's scopes.
  std::unique_ptr<FrameLayout> layout;
  Frame frame;
  std::optional<FrameGuard> slots;
  if (scopeDepth() == 1) {
    layout.reset(resolveTopLevel(parsed.statements));
    slots.emplace(frame, layout.get(), nullptr);
  }
  Value result;
  ScopeGuard scopes;
  Context ctx;
  try {
    evaluateList(ctx, result, parsed.statements);
    settleJump(ctx, result);
  } catch (const ScriptError &e) {
    printError(e.what());
    result.setNull();
  } catch (const MExit &e) {
    result = e.value;
  } catch (const std::bad_alloc &) {
    printError("error: Out of memory");
    result.setNull();
  }
  return result;
}

ParseResult outOfMemoryWhileParsing() {
  closeSource();
  printError("error: Out of memory");
  return ParseResult{};
}

Value run_script_string(std::string_view text) {
  return runParsed(parseWithin([&] { return parseText(text); }));
}

}  // namespace marl
