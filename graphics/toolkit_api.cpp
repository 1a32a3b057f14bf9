#include "graphics/toolkit_api.hpp"

#include <dlfcn.h>

#include <cstdlib>
#include <mutex>

namespace marl::gfx {

DrawingApi drawingApi;
WindowApi windowApi;

namespace {

std::mutex errorLock;
std::string lastError;

void noteError(std::string text) {
  std::lock_guard<std::mutex> lock(errorLock);
  lastError = std::move(text);
}

// MARL_GTK_LIBRARY / MARL_PANGOCAIRO_LIBRARY override the library names; the
// tests point them at a missing file to check that the program carries on
// without the toolkit.
const char *libraryName(const char *variable, const char *fallback) {
  const char *name = std::getenv(variable);
  return name && *name ? name : fallback;
}

void *openLibrary(const char *name) {
  // Local binding keeps the toolkit's symbols out of the global namespace.
  void *handle = dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char *why = dlerror();
    noteError(std::string("cannot load ") + name + ": " + (why ? why : "unknown error"));
  }
  return handle;
}

// dlsym on the handle also searches the library's own dependencies, so one
// handle reaches glib, cairo and pango as well.
template <typename T>
bool resolve(void *handle, const char *library, const char *name, T &slot) {
  void *address = dlsym(handle, name);
  if (!address) {
    noteError(std::string(library) + " lacks " + name);
    return false;
  }
  slot = reinterpret_cast<T>(address);
  return true;
}

bool fillDrawing() {
  const char *library = libraryName("MARL_PANGOCAIRO_LIBRARY", "libpangocairo-1.0.so.0");
  void *handle = openLibrary(library);
  if (!handle) return false;
  DrawingApi api;
  bool ok = true;
#define MARL_TOOLKIT_RESOLVE(name) ok = ok && resolve(handle, library, #name, api.name);
  MARL_DRAWING_FUNCTIONS(MARL_TOOLKIT_RESOLVE)
#undef MARL_TOOLKIT_RESOLVE
  if (!ok) {
    dlclose(handle);
    return false;
  }
  drawingApi = api;
  return true;
}

bool fillWindow() {
  if (!loadDrawing()) return false;
  const char *library = libraryName("MARL_GTK_LIBRARY", "libgtk-3.so.0");
  void *handle = openLibrary(library);
  if (!handle) return false;
  WindowApi api;
  bool ok = true;
#define MARL_TOOLKIT_RESOLVE(name) ok = ok && resolve(handle, library, #name, api.name);
  MARL_WINDOW_FUNCTIONS(MARL_TOOLKIT_RESOLVE)
#undef MARL_TOOLKIT_RESOLVE
  if (!ok) {
    dlclose(handle);
    return false;
  }
  windowApi = api;
  return true;
}

}  // namespace

bool loadDrawing() {
  static const bool loaded = fillDrawing();  // thread-safe, runs once
  return loaded;
}

bool loadWindow() {
  static const bool loaded = fillWindow();
  return loaded;
}

std::string toolkitError() {
  std::lock_guard<std::mutex> lock(errorLock);
  return lastError;
}

}  // namespace marl::gfx
