#include "fp/RFpEntryPoints.h"

#include <QOpenGLContext>
#include <algorithm>
#include <span>

namespace {

constexpr std::array<const char*, 1> kNVFragmentProgramProbes = {"glProgramNamedParameter4fNV"};
constexpr std::array<const char*, 2> kNVRegisterCombinerProbes = {"glGetCombinerStageParameterfvNV",
                                                                  "glCombinerStageParameterfvNV"};

struct Family {
  kFpFamily family;
  const char* extension;
  std::span<const char* const> probes;
};

constexpr std::array<Family, 3> kFamilies = {
    {{kFpFamilyNVFragmentProgram, "GL_NV_fragment_program", kNVFragmentProgramProbes},
     {kFpFamilyNVRegisterCombiners2, "GL_NV_register_combiners2", kNVRegisterCombinerProbes},
     {kFpFamilyATIFragmentShader, "GL_ATI_fragment_shader", kFpATIFragmentShaderNames}}};

consteval bool RowsAreInOrder() {
  for (std::size_t i = 0; i < kFamilies.size(); ++i) {
    if (kFamilies[i].family != static_cast<kFpFamily>(i)) return false;
  }
  return true;
}
static_assert(RowsAreInOrder());

const RFpEntryPoints* sReplacement = nullptr;

}  // namespace

RFpEntryPoints::~RFpEntryPoints() = default;

bool RFpEntryPoints::Advertises(const char* extension) const {
  QOpenGLContext* const context = QOpenGLContext::currentContext();
  return context && context->hasExtension(extension);
}

RFpEntryPoints::Address RFpEntryPoints::Resolve(const char* name) const {
  QOpenGLContext* const context = QOpenGLContext::currentContext();
  return context ? context->getProcAddress(name) : nullptr;
}

const RFpEntryPoints& RFpEntryPoints::Get() {
  static const RFpEntryPoints kDriver;
  return sReplacement ? *sReplacement : kDriver;
}

void RFpEntryPoints::Replace(const RFpEntryPoints* replacement) { sReplacement = replacement; }

bool RFpIsAvailable(kFpFamily family) {
  const Family& row = kFamilies[static_cast<std::size_t>(family)];
  const RFpEntryPoints& entryPoints = RFpEntryPoints::Get();
  if (!entryPoints.Advertises(row.extension)) return false;
  return std::all_of(row.probes.begin(), row.probes.end(),
                     [&](const char* name) { return entryPoints.Resolve(name) != nullptr; });
}

bool RFpHasColorMatrix() {
  const RFpEntryPoints& entryPoints = RFpEntryPoints::Get();
  return entryPoints.Advertises("GL_ARB_imaging") || entryPoints.Advertises("GL_SGI_color_matrix");
}
