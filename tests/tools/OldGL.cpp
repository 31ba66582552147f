// An OpenGL library that compiles no shader, as one whose shading language is too old, or links none where
// OLD_GL is "link": to be preloaded.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

using Address = void (*)();

namespace {

// Takes the place of glCompileShader or glLinkProgram.
void MakeNothing(unsigned /*name*/) {}

const char* NameOfTheMissing() {
  const char* const what = std::getenv("OLD_GL");
  return what && std::strcmp(what, "link") == 0 ? "glLinkProgram" : "glCompileShader";
}

}  // namespace

extern "C" Address glXGetProcAddressARB(const unsigned char* name) {
  if (std::strcmp(reinterpret_cast<const char*>(name), NameOfTheMissing()) == 0)
    return reinterpret_cast<Address>(&MakeNothing);
  using Resolve = Address(const unsigned char*);
  static auto* const next = reinterpret_cast<Resolve*>(dlsym(RTLD_NEXT, "glXGetProcAddressARB"));
  return next ? next(name) : nullptr;
}

extern "C" Address glXGetProcAddress(const unsigned char* name) { return glXGetProcAddressARB(name); }
