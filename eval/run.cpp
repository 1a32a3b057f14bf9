// The frame every runner shares: execute a parsed source in a fresh context.
#include "eval/run.hpp"

#include <cstdio>
#include <new>

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
