// The .NET bridge's entry points: starting and stopping the Mono runtime,
// loading assemblies and creating objects.
#include "external/dotnet_bridge.hpp"

#include "runtime/error.hpp"

#ifdef MARL_HAVE_MONO
#include <mono/jit/jit.h>
#include <mono/metadata/appdomain.h>
#include <mono/metadata/assembly.h>
#include <mono/metadata/class.h>
#include <mono/metadata/mono-config.h>
#include <mono/metadata/reflection.h>
#include <sys/stat.h>

#include <vector>

#include "external/dotnet_object.hpp"
#endif

namespace marl {

#ifndef MARL_HAVE_MONO

bool dotNetAvailable() { return false; }

Value createDotNetObject(int line, const std::string &, const std::string &) {
  raise_error(line, "The .NET runtime is not available in dotnet(): this build has no Mono");
}

void shutdownDotNet() {}

#else

namespace {

enum class RuntimeState { NotStarted, Running, Stopped };
RuntimeState state = RuntimeState::NotStarted;
MonoDomain *domain = nullptr;

bool fileExists(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// The runtime aborts the process when its class library is missing, so its
// presence is checked before starting it.
void startRuntime(int line) {
  if (state == RuntimeState::Running) return;
  if (state == RuntimeState::Stopped)
    raise_error(line, "The .NET runtime cannot be restarted in dotnet()");
  mono_config_parse(nullptr);
  const char *root = mono_assembly_getrootdir();
  std::string corlib = std::string(root ? root : "/usr/lib") + "/mono/4.5/mscorlib.dll";
  if (!fileExists(corlib))
    raise_error(
        line, "The .NET runtime is not available in dotnet(): %s is missing (install mono-runtime)",
        corlib.c_str());
  domain = mono_jit_init_version("marl", "v4.0.30319");
  if (!domain) raise_error(line, "The .NET runtime could not be started in dotnet()");
  state = RuntimeState::Running;
}

bool looksLikePath(const std::string &s) {
  if (s.find('/') != std::string::npos) return true;
  auto endsWith = [&](const char *x) {
    std::string e(x);
    return s.size() >= e.size() && s.compare(s.size() - e.size(), e.size(), e) == 0;
  };
  return endsWith(".dll") || endsWith(".exe");
}

MonoImage *loadAssembly(int line, const std::string &name) {
  if (name == "mscorlib") return mono_get_corlib();
  MonoAssembly *a = nullptr;
  if (looksLikePath(name)) {
    if (fileExists(name)) a = mono_domain_assembly_open(domain, name.c_str());
  } else {
    MonoImageOpenStatus status = MONO_IMAGE_OK;
    a = mono_assembly_load_with_partial_name(name.c_str(), &status);
  }
  if (!a) raise_error(line, "Cannot load assembly %s in dotnet()", name.c_str());
  return mono_assembly_get_image(a);
}

}  // namespace

MonoDomain *dotNetDomain() { return domain; }

bool dotNetAvailable() { return true; }

Value createDotNetObject(int line, const std::string &assembly, const std::string &type) {
  startRuntime(line);
  MonoImage *image = loadAssembly(line, assembly);
  // Reflection syntax, so generic types can be named:
  // "System.Collections.Generic.List`1[System.String]".
  std::vector<char> name(type.begin(), type.end());
  name.push_back('\0');
  MonoType *t = type.empty() ? nullptr : mono_reflection_type_from_name(name.data(), image);
  MonoClass *klass = t ? mono_class_from_mono_type(t) : nullptr;
  if (!klass)
    raise_error(line, "Type %s not found in %s in dotnet()", type.c_str(), assembly.c_str());
  // Abstract classes and interfaces cannot be instantiated.
  if (mono_class_get_flags(klass) & 0x80)
    raise_error(line, "Cannot create an instance of abstract type %s in dotnet()", type.c_str());
  if (type.find('`') != std::string::npos && type.find('[') == std::string::npos)
    raise_error(line, "Type %s needs type arguments in dotnet(), as in %s[System.Object]",
                type.c_str(), type.c_str());
  MonoObject *obj = mono_object_new(domain, klass);
  if (!obj) raise_error(line, "Cannot create %s in dotnet()", type.c_str());
  if (!mono_class_is_valuetype(klass)) {
    MonoMethod *ctor = mono_class_get_method_from_name(klass, ".ctor", 0);
    if (!ctor)
      raise_error(line, "Type %s has no parameterless constructor in dotnet()", type.c_str());
    MonoObject *exc = nullptr;
    mono_runtime_invoke(ctor, obj, nullptr, &exc);
    if (exc)
      raise_message(line, "Cannot create " + type + " in dotnet(): " + exceptionMessage(exc));
  }
  return fromManaged(line, obj, "dotnet", type);
}

void shutdownDotNet() {
  if (state != RuntimeState::Running) return;
  mono_jit_cleanup(domain);
  domain = nullptr;
  state = RuntimeState::Stopped;
}

#endif

}  // namespace marl
