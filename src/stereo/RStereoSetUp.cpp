#include "stereo/RStereoSetUp.h"

#include <algorithm>
#include <array>

#include "rbaselib/RMessageHandler.h"
#include "stereo/RStereoSources.h"

namespace {

struct ParameterRow {
  const char* name;
  CGparameter RStereoState::*member;
  const char* title;
};

// In the order in which they are looked up.
constexpr std::array kParameters{
    ParameterRow{"leftImage", &RStereoState::leftImage, "unknown parameter leftImage"},
    ParameterRow{"rightImage", &RStereoState::rightImage, "unknown parameter rightImage"},
    ParameterRow{"screenHeight", &RStereoState::screenHeight, "unknown parameter screenHeight"},
    ParameterRow{"screenWidth", &RStereoState::screenWidth, "unknown parameter screenWidth"},
    ParameterRow{"x_base", &RStereoState::xBase, "unknown parameter x_base"},
    ParameterRow{"y_base", &RStereoState::yBase, "unknown parameter y_base"}};

/// Shows the runtime's error, if there is one, as a warning; true when there is none.
bool Check(const char* title) {
  CGerror error = CG_NO_ERROR;
  const char* const text = cgGetLastErrorString(&error);
  if (error == CG_NO_ERROR) return true;
  GetMainMessageHandler()->DisplayWarning(title, text, "Ok");
  // Some runtimes keep the error until it is asked for by this call.
  (void)cgGetError();
  return false;
}

CGprogram Create(const RStereoState& state, const char* source, CGprofile profile, const char* entry) {
  return cgCreateProgram(state.context, CG_SOURCE, source, profile, entry, nullptr);
}

void DestroyContext(RStereoState& state) {
  if (cgIsContext(state.context)) cgDestroyContext(state.context);
  state.context = nullptr;
}

void DestroyProgram(CGprogram& program) {
  if (cgIsProgram(program)) cgDestroyProgram(program);
  program = nullptr;
}

void MakeReady(RStereoState& state) {
  state.context = cgCreateContext();
  if (!Check("creating context")) {
    DestroyContext(state);
    return;
  }
  if (!cgIsContext(state.context)) return;
  state.vertexProfile = cgGLGetLatestProfile(CG_GL_VERTEX);
  state.fragmentProfile = cgGLGetLatestProfile(CG_GL_FRAGMENT);
  cgGLSetOptimalOptions(state.vertexProfile);
  cgGLSetOptimalOptions(state.fragmentProfile);
  state.isCgReady = true;
}

bool MakeVertexProgram(RStereoState& state) {
  if (state.vertexProgram) return true;
  state.vertexProgram = Create(state, kStereoVertexSource, state.vertexProfile, kStereoVertexEntry);
  // Deliberate: the title is that of a context, as hosts know this message.
  if (!Check("creating context")) return false;
  if (!cgIsProgram(state.vertexProgram)) return true;
  cgGLLoadProgram(state.vertexProgram);
  return Check("loading program");
}

void MakeFragmentProgram(RStereoState& state) {
  // The handles of the old program's parameters are worth nothing without it.
  for (const ParameterRow& row : kParameters) state.*row.member = nullptr;
  DestroyProgram(state.fragmentProgram);
  const std::string source = StereoFragmentSource(state.mode);
  state.fragmentProgram = Create(state, source.c_str(), state.fragmentProfile, kStereoFragmentEntry);
  (void)Check("creating fragment program");
  if (!cgIsProgram(state.fragmentProgram)) return;
  cgGLLoadProgram(state.fragmentProgram);
  (void)Check("loading fragment program");
}

bool FindParameters(RStereoState& state) {
  return std::ranges::all_of(kParameters, [&state](const ParameterRow& row) {
    state.*row.member = cgGetNamedParameter(state.fragmentProgram, row.name);
    return Check(row.title);
  });
}

}  // namespace

bool RStereoSetUp(RStereoState& state, std::uint32_t mode) {
  state.mode = mode;
  if (mode >= kStereoFragmentBodies.size()) return true;
  // An error that the host or drawing left behind is none of the set-up.
  (void)cgGetError();
  if (!state.isCgReady) MakeReady(state);
  if (!state.isCgReady || !MakeVertexProgram(state)) return false;
  MakeFragmentProgram(state);
  return FindParameters(state);
}

void RStereoRelease(RStereoState& state) {
  if (!state.isCgReady) return;
  DestroyProgram(state.vertexProgram);
  DestroyProgram(state.fragmentProgram);
  DestroyContext(state);
}
