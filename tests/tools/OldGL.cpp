// An OpenGL library that compiles no shader, as one whose shading language is too old: to be preloaded.
#include <dlfcn.h>

#include <cstring>

using Address = void (*)();

namespace {

void CompileNothing(unsigned /*shader*/) {}

}  // namespace

extern "C" Address glXGetProcAddressARB(const unsigned char* name) {
  if (std::strcmp(reinterpret_cast<const char*>(name), "glCompileShader") == 0)
    return reinterpret_cast<Address>(&CompileNothing);
  using Resolve = Address(const unsigned char*);
  static auto* const next = reinterpret_cast<Resolve*>(dlsym(RTLD_NEXT, "glXGetProcAddressARB"));
  return next ? next(name) : nullptr;
}

extern "C" Address glXGetProcAddress(const unsigned char* name) { return glXGetProcAddressARB(name); }
