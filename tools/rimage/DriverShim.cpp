#include "DriverShim.h"

#ifdef RIMAGE_GL_SHIM_LIBRARY
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "Choice.h"
#include "CommandTable.h"
#include "Failure.h"

namespace {

constexpr const char* kNameVariable = "RIMAGE_GL_SHIM";
constexpr const char* kPreloadVariable = "LD_PRELOAD";
const std::vector<std::string>& Names() {
  static const std::vector<std::string> kNames = {"nv", "rc", "ati", "sgi", "plain"};
  return kNames;
}

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

void StartWith(const std::string& name, char** arguments) {
  if (Environment(kNameVariable) == name && Environment(kPreloadVariable) == RIMAGE_GL_SHIM_LIBRARY) {
    // Loaded. The programs that the tool starts do without.
    unsetenv(kPreloadVariable);
    return;
  }
  // The loader would go on without it.
  if (access(RIMAGE_GL_SHIM_LIBRARY, R_OK) != 0)
    throw Failure(ExitCode::kNoGpu, RIMAGE_GL_SHIM_LIBRARY, ErrorText(errno), "./dev build makes it");
  setenv(kNameVariable, name.c_str(), 1);
  setenv(kPreloadVariable, RIMAGE_GL_SHIM_LIBRARY, 1);
  execv("/proc/self/exe", arguments);
  throw Failure(ExitCode::kNoGpu, "--gl-shim", ErrorText(errno));
}

}  // namespace

void AddDriverShimOption(CLI::App& app, char** arguments) {
  app.add_option_function<std::string>(
         "--gl-shim", [arguments](const std::string& name) { StartWith(name, arguments); },
         "Play an OpenGL driver with other extensions, for development: nv (fragment programs),\n"
         "rc (register combiners), ati (fragment shaders), sgi (colour matrix) or plain (none)")
      ->check(OneOf(Names()))
      ->type_name("NAME")
      ->group(kDevelopment);
}

#else

void AddDriverShimOption(CLI::App&, char**) {}

#endif
