// Opening the Mono runtime library on first use.
#ifdef MARL_HAVE_MONO
#define MARL_MONO_API_TABLE
#include "external/mono_api.hpp"

#include <dlfcn.h>

#include <cstdlib>

namespace marl {

MonoApi monoApi;

namespace {

struct LoadResult {
  bool ok = false;
  std::string error;
};

LoadResult openRuntime() {
  LoadResult r;
  // MARL_MONO_LIBRARY names another file to open instead; the tests point it
  // at a missing path to check how dotnet() behaves without the runtime.
  const char *path = std::getenv("MARL_MONO_LIBRARY");
  if (!path || !*path) path = "libmonosgen-2.0.so.1";
  // Global, because the runtime's own native helper libraries resolve its
  // symbols when it loads them.
  void *lib = dlopen(path, RTLD_NOW | RTLD_GLOBAL);
  if (!lib) {
    const char *why = dlerror();
    r.error = std::string(why ? why : path) + " (install mono-runtime)";
    return r;
  }
  MonoApi api;
#define MARL_MONO_RESOLVE(name)                                                 \
  api.name = reinterpret_cast<decltype(api.name)>(dlsym(lib, #name));           \
  if (!api.name) {                                                              \
    r.error = std::string(path) + " has no function " #name " (wrong version)"; \
    return r;                                                                   \
  }
  MARL_MONO_FUNCTIONS(MARL_MONO_RESOLVE)
#undef MARL_MONO_RESOLVE
  monoApi = api;
  r.ok = true;
  return r;
}

}  // namespace

bool loadMono(std::string &error) {
  // A function-local static is initialised once even when threads race.
  static const LoadResult result = openRuntime();
  if (!result.ok) error = result.error;
  return result.ok;
}

}  // namespace marl
#endif
