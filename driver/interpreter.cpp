// The interpreter state: construction and the teardown it ends with.
#include "driver/interpreter.hpp"

#include "eval/cleanup.hpp"
#include "external/dotnet_bridge.hpp"
#include "graphics/session.hpp"
#include "io/process.hpp"

namespace marl {

namespace {

Interpreter *running = nullptr;

}  // namespace

ExternalRuntimes::~ExternalRuntimes() { shutdownDotNet(); }

Interpreter::Interpreter() {
  running = this;
  pushGlobalScope();
}

Interpreter::~Interpreter() {
  flushStandardStreams();
  // A picture still on the screen stays there until the user closes it.
  gfx::finishGraphics();
  finalCleanup();
  running = nullptr;
}

Interpreter *Interpreter::current() { return running; }

}  // namespace marl
