#include "GpuProbe.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <fmt/format.h>
#include <unistd.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

#include "ChildProcess.h"
#include "Descriptor.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr int kProbeMilliseconds = 20'000;

constexpr std::array kExtensions{
    "GL_NV_fragment_program",
    "GL_NV_register_combiners2",
    "GL_ATI_fragment_shader",
    "GL_SGI_color_matrix",
    "GL_ARB_imaging",
    "GL_ARB_framebuffer_object",
    "GL_ARB_texture_float",
    "GL_EXT_texture_compression_s3tc",
    "GL_ARB_texture_compression_rgtc",
    "GL_ARB_texture_compression_bptc",
};

struct Limit {
  const char* name;
  GLenum value;
};

constexpr std::array kLimits{
    Limit{"texture side", GL_MAX_TEXTURE_SIZE},
    Limit{"volume texture side", GL_MAX_3D_TEXTURE_SIZE},
    Limit{"cube map side", GL_MAX_CUBE_MAP_TEXTURE_SIZE},
    Limit{"rectangle texture side", GL_MAX_RECTANGLE_TEXTURE_SIZE},
    Limit{"framebuffer side", GL_MAX_RENDERBUFFER_SIZE},
    Limit{"texture units", GL_MAX_TEXTURE_UNITS},
};

// In the copy of the process: where the answer goes, and what Qt's platform plugin complained of first.
int gAnswer = -1;
std::string gComplaint;

[[noreturn]] void Refuse(const std::string& reason) {
  (void)WriteWhole(gAnswer, reason.data(), reason.size());
  _exit(1);
}

// Qt ends the process with the last of several messages; the first of the platform plugin says what was
// missing.
void OnMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  const std::string line = text.section(u'\n', 0, 0).trimmed().toStdString();
  const bool isOfPlatform = context.category && std::string_view(context.category).starts_with("qt.qpa");
  if (gComplaint.empty() && isOfPlatform) gComplaint = line;
  if (type == QtFatalMsg) Refuse(gComplaint.empty() ? line : gComplaint);
}

std::string Text(GLenum name) {
  const auto* text = reinterpret_cast<const char*>(glGetString(name));
  return text ? text : "";
}

int Integer(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return value;
}

// A core context accepts none of the module's calls and reports nothing.
bool IsCoreContext(const QOpenGLContext& context) {
  const auto version = context.format().version();
  return version >= std::pair(3, 2) &&
         !(Integer(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT);
}

Json Describe(const QOpenGLContext& context) {
  Json extensions = Json::array();
  for (const char* name : kExtensions) extensions.push_back({name, context.hasExtension(name)});
  Json limits = Json::array();
  for (const Limit& limit : kLimits) limits.push_back({limit.name, Integer(limit.value)});
  return {{"platform", QGuiApplication::platformName().toStdString()},
          {"version", Text(GL_VERSION)},
          {"renderer", Text(GL_RENDERER)},
          {"vendor", Text(GL_VENDOR)},
          {"shading_language", Text(GL_SHADING_LANGUAGE_VERSION)},
          {"share_context", QOpenGLContext::globalShareContext() != nullptr},
          {"extensions", extensions},
          {"limits", limits}};
}

void Look(const std::string& platform, const std::string& display) {
  if (!platform.empty()) qputenv("QT_QPA_PLATFORM", platform.c_str());
  if (!display.empty()) qputenv("DISPLAY", display.c_str());
  qInstallMessageHandler(OnMessage);
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  int count = 1;
  std::array name{'r', 'i', 'm', 'a', 'g', 'e', '\0'};
  std::array<char*, 2> arguments{name.data(), nullptr};
  const QGuiApplication application(count, arguments.data());
  QOpenGLContext context;
  if (!context.create()) Refuse("no OpenGL context can be made");
  QOffscreenSurface surface;
  surface.setFormat(context.format());
  surface.create();
  if (!context.makeCurrent(&surface)) Refuse("the OpenGL context cannot be made current");
  if (context.isOpenGLES()) Refuse("OpenGL ES lacks the fixed functions");
  if (IsCoreContext(context)) Refuse("the driver makes only core contexts");
  if (!QOpenGLFramebufferObject(64, 64).isValid()) Refuse("the driver cannot draw to a framebuffer object");
  const std::string text = Describe(context).dump();
  (void)WriteWhole(gAnswer, text.data(), text.size());
  _exit(0);  // without the teardown, which some drivers do not survive
}

}  // namespace

std::optional<GpuDescription> ProbeGpu(const std::string& platform, const std::string& display,
                                       std::string& reason) {
  const auto work = [&](int descriptor) {
    gAnswer = descriptor;
    Look(platform, display);
  };
  const auto answer = RunInChild(work, kProbeMilliseconds, reason);
  if (!answer) return std::nullopt;
  const Json json = Json::parse(*answer, nullptr, false);
  if (json.is_discarded()) {
    reason = "the look at the driver gave no answer";
    return std::nullopt;
  }
  GpuDescription description;
  json.at("platform").get_to(description.platform);
  json.at("version").get_to(description.version);
  json.at("renderer").get_to(description.renderer);
  json.at("vendor").get_to(description.vendor);
  json.at("shading_language").get_to(description.shadingLanguage);
  json.at("share_context").get_to(description.hasShareContext);
  json.at("extensions").get_to(description.extensions);
  json.at("limits").get_to(description.limits);
  return description;
}
