#include "BackEnds.h"

#include <cxxabi.h>
#include <fmt/format.h>

#include <QOpenGLContext>
#include <array>
#include <cstdlib>
#include <memory>
#include <typeinfo>

#include "fp/RFpEntryPoints.h"

namespace {

struct BackEnd {
  const char* op;
  const char* node;
  const char* extension;  // that it needs; null: nothing
  const char* text;
};

constexpr const char* kNVPrograms = "NVIDIA's fragment programs, the first choice";
constexpr const char* kNVCombiners = "NVIDIA's register combiners, the best that the driver has";
constexpr const char* kATIShaders = "ATI's fragment shaders, the best that the driver has";
constexpr const char* kProcessor = "the processor, which is always there";

// The back ends of each effect, in the order in which it prefers them.
constexpr std::array kBackEnds{
    BackEnd{"RImOpBlend", "RFpBlend_default", nullptr,
            "OpenGL's fixed blending, which every driver has; the effect never looks for extensions"},
    BackEnd{"RImOpCC", "RFpCC_NV_fragment_program", "GL_NV_fragment_program", kNVPrograms},
    BackEnd{"RImOpCC", "RFpCC_NV_register_combiners2", "GL_NV_register_combiners2", kNVCombiners},
    BackEnd{"RImOpCC", "RFpCC_ATI_fragment_shader", "GL_ATI_fragment_shader", kATIShaders},
    BackEnd{"RImOpCC", "RFpCC_SGI_color_matrix", "GL_SGI_color_matrix",
            "the colour matrix of pixel transfers, the best that the driver has; it leaves zones to the "
            "processor"},
    BackEnd{"RImOpCC", "RFpCC_default", nullptr, kProcessor},
    BackEnd{"RImOpKeyer", "RFpKeyer_NV_fragment_program", "GL_NV_fragment_program", kNVPrograms},
    BackEnd{"RImOpKeyer", "RFpKeyer_NV_register_combiners2", "GL_NV_register_combiners2", kNVCombiners},
    BackEnd{"RImOpKeyer", "RFpKeyer_ATI_fragment_shader", "GL_ATI_fragment_shader", kATIShaders},
    BackEnd{"RImOpKeyer", "RFpKeyer_default", nullptr, kProcessor},
};

struct FormName {
  int form;
  const char* text;
};

constexpr std::array kForms{
    FormName{kFormNothingToBuffer, "nothing to frame buffer"},
    FormName{kFormNothingToTexture, "nothing to texture"},
    FormName{kFormNothingToRaw, "nothing to memory"},
    FormName{kFormBufferToBuffer, "frame buffer to frame buffer"},
    FormName{kFormBufferOverBuffer, "frame buffer over frame buffer"},
    FormName{kFormRectangleToBuffer, "texture to frame buffer, by a rectangle"},
    FormName{kFormRectangleOverBuffer, "texture over frame buffer, by a rectangle"},
    FormName{kFormQuadToBuffer, "texture to frame buffer, by texture coordinates"},
    FormName{kFormQuadOverBuffer, "texture over frame buffer, by texture coordinates"},
    FormName{kFormBufferToTexture, "frame buffer to texture"},
    FormName{kFormRawToBuffer, "memory to frame buffer"},
    FormName{kFormRawOverBuffer, "memory over frame buffer"},
    FormName{kFormRawToTexture, "memory to texture"},
    FormName{kFormBufferToRaw, "frame buffer to memory"},
    FormName{kFormTextureToRaw, "texture to memory"},
    FormName{kFormRawToRaw, "memory to memory"},
    FormName{kFormProcessorRequest, "memory to memory"},
};

std::string WhyNot(const BackEnd& backEnd) {
  if (!QOpenGLContext::currentContext()) return "it needs OpenGL";
  const bool offered = RFpEntryPoints::Get().Advertises(backEnd.extension);
  const char* const what = offered ? "the driver lacks functions of" : "the driver does not offer";
  return fmt::format("{} {}", what, backEnd.extension);
}

}  // namespace

std::string BackEndName(const RImageOperator& op) {
  const RFpNode* const node = op.GetProcessingNode();
  if (!node) return "";
  const RFpNode& known = *node;
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(typeid(known).name(), nullptr, nullptr, &status), &std::free);
  return status == 0 ? name.get() : typeid(known).name();
}

std::vector<std::string> ExplainBackEnd(const RImageOperator& op) {
  const std::string chosen = BackEndName(op);
  std::vector<std::string> lines;
  for (const BackEnd& row : kBackEnds) {
    if (row.op != std::string_view(op.GetClassIdName())) continue;
    if (row.node == chosen) {
      lines.push_back(fmt::format("{}: {}", row.node, row.text));
      return lines;
    }
    lines.push_back(fmt::format("not {}: {}", row.node, WhyNot(row)));
  }
  return {chosen};
}

std::string FormText(int form) {
  for (const FormName& row : kForms) {
    if (row.form == form) return row.text;
  }
  return "none";
}
