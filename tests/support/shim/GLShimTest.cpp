// Tests of what every driver shim does: it shows the extensions of its kind and hides those of the others.
#include "support/shim/GLShim.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "support/GLTest.h"

namespace test::shim {
namespace {

const std::set<std::string> kConcerned = {"GL_NV_vertex_program",     "GL_NV_fragment_program",
                                          "GL_NV_register_combiners", "GL_NV_register_combiners2",
                                          "GL_ATI_fragment_shader",   "GL_SGI_color_matrix"};

const std::map<std::string, std::set<std::string>> kShown = {
    {"", {"GL_ATI_fragment_shader"}},  // what Mesa has
    {"nv", {"GL_NV_vertex_program", "GL_NV_fragment_program"}},
    {"rc", {"GL_NV_register_combiners", "GL_NV_register_combiners2"}},
    {"ati", {"GL_ATI_fragment_shader"}},
    {"sgi", {"GL_SGI_color_matrix"}},
    {"plain", {}}};

using GLShimTest = GLTest;

std::set<std::string> Concerned(const std::set<std::string>& names) {
  std::set<std::string> found;
  for (const std::string& name : names) {
    if (kConcerned.count(name)) found.insert(name);
  }
  return found;
}

TEST_F(GLShimTest, ShowsTheExtensionsOfItsKindInEveryWayOfAsking) {
  const auto& expected = kShown.at(Name());
  for (const std::string& extension : kConcerned)
    EXPECT_EQ(QOpenGLContext::currentContext()->hasExtension(QByteArray::fromStdString(extension)),
              expected.count(extension) != 0)
        << extension;

  GLint count = 0;
  glGetIntegerv(GL_NUM_EXTENSIONS, &count);
  std::set<std::string> indexed;
  for (GLint i = 0; i < count; ++i)
    indexed.insert(reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i))));
  EXPECT_EQ(Concerned(indexed), expected);
  EXPECT_TRUE(indexed.count("GL_ARB_multitexture")) << "the driver's others stay";

  std::istringstream text(reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS)));
  const std::set<std::string> listed{std::istream_iterator<std::string>(text), {}};
  EXPECT_EQ(Concerned(listed), expected);
}

TEST_F(GLShimTest, ErrorsOfTheDriverAreStillItsOwn) {
  const GLErrorCapture errors;
  glEnable(0xFFFFFFFF);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_ENUM});
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

}  // namespace
}  // namespace test::shim
