// ATI's fragment shaders on a driver that has them, with the limits of their hardware that the driver does
// not have: constants are clamped to 0..1.
#include <algorithm>
#include <array>

#include "support/shim/GLShimDriver.h"

namespace test::shim {

namespace {

void GLAPIENTRY SetConstant(GLuint constant, const GLfloat* value) {
  std::array<GLfloat, 4> clamped{};
  std::transform(value, value + 4, clamped.begin(), [](GLfloat v) { return std::clamp(v, 0.0F, 1.0F); });
  DRIVER(glSetFragmentShaderConstantATI)(constant, clamped.data());
}

class ATIShaderDriver : public ShimDriver {
 public:
  std::span<const char* const> Advertised() const override {
    static constexpr const char* kExtensions[] = {"GL_ATI_fragment_shader"};
    return kExtensions;
  }
  std::span<const ShimFunction> Functions() const override {
    static const ShimFunction kFunctions[] = {Carry("glSetFragmentShaderConstantATI", SetConstant)};
    return kFunctions;
  }
};

}  // namespace

std::unique_ptr<ShimDriver> MakeATIShaderDriver() { return std::make_unique<ATIShaderDriver>(); }

}  // namespace test::shim
