// Benchmarks of the colour correction on the processor, beside OpenColorIO's processor.
#include <OpenColorIO/OpenColorIO.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "NodeBench.h"
#include "fp/RFpCC_default.h"

namespace {

namespace ocio = OCIO_NAMESPACE;
using bench::Action;
using bench::PictureSize;
using bench::SharedBuffer;

bench::Make Ours(const PictureSize& size, void (*change)(RFpCC_default& node)) {
  return bench::DrawInMemory<RFpCC_default>(size, 1, change);
}

bench::Make Ocio(const PictureSize& size, ocio::ConstTransformRcPtr (*make)()) {
  return [=]() -> Action {
    const SharedBuffer from = bench::MakeBuffer(4 * size.Pixels());
    const SharedBuffer to = bench::MakeBuffer(4 * size.Pixels());
    const auto processor = ocio::Config::CreateRaw()->getProcessor(make())->getOptimizedCPUProcessor(
        ocio::BIT_DEPTH_UINT8, ocio::BIT_DEPTH_UINT8, ocio::OPTIMIZATION_DEFAULT);
    const auto describe = [&size](const SharedBuffer& buffer) {
      return std::make_shared<ocio::PackedImageDesc>(buffer.get(), size.width, size.height,
                                                     ocio::CHANNEL_ORDERING_RGBA, ocio::BIT_DEPTH_UINT8, 1, 4,
                                                     4 * static_cast<long>(size.width));
    };
    const auto source = describe(from);
    const auto target = describe(to);
    // The description does not own the memory.
    return [=, keep = std::pair(from, to)] { processor->apply(*source, *target); };
  };
}

// A matrix in which every colour depends on every other, and an offset.
void MixColours(RFpCC_default& node) {
  node.SetTransparency(true);
  node.SetZoneHue(0, 30);
  node.SetZoneSaturation(0, 1.2F);
  node.SetZoneOffset(0, 0, 0.02F);
}

ocio::ConstTransformRcPtr OcioMatrix() {
  constexpr double kMatrix[16] = {0.9, 0.2, -0.1, 0, -0.1, 1.0, 0.1, 0, 0.1, -0.2, 1.1, 0, 0, 0, 0, 1};
  constexpr double kOffset[4] = {0.02, 0.02, 0.02, 0};
  const auto transform = ocio::MatrixTransform::Create();
  transform->setMatrix(kMatrix);
  transform->setOffset(kOffset);
  return transform;
}

void GradeZones(RFpCC_default& node) {
  MixColours(node);
  node.SetGamma(1.4F);
  node.SetZoneSaturation(1, 0.5F);
  node.SetZoneGain(2, 1, 1.1F);
  node.SetZoneOffset(3, 0, -0.05F);
}

// Lift, gamma and gain, which stand for shadows, midtones and highlights.
ocio::ConstTransformRcPtr OcioPrimary() {
  const auto transform = ocio::GradingPrimaryTransform::Create(ocio::GRADING_VIDEO);
  ocio::GradingPrimary values(ocio::GRADING_VIDEO);
  values.m_lift = ocio::GradingRGBM(0.02, -0.01, 0.01, 0.01);
  values.m_gamma = ocio::GradingRGBM(1.1, 0.9, 1.0, 1.4);
  values.m_gain = ocio::GradingRGBM(1.1, 1.0, 0.9, 1.05);
  values.m_saturation = 1.2;
  transform->setValue(values);
  return transform;
}

// Shadows, midtones and highlights by curves.
ocio::ConstTransformRcPtr OcioTone() {
  const auto transform = ocio::GradingToneTransform::Create(ocio::GRADING_VIDEO);
  ocio::GradingTone values(ocio::GRADING_VIDEO);
  values.m_shadows = ocio::GradingRGBMSW(1.1, 0.9, 1.0, 1.2, 0.6, 0.0);
  values.m_midtones = ocio::GradingRGBMSW(1.0, 1.1, 0.9, 1.2, 0.4, 0.7);
  values.m_highlights = ocio::GradingRGBMSW(0.9, 1.0, 1.1, 0.9, 0.3, 1.0);
  transform->setValue(values);
  return transform;
}

[[maybe_unused]] const bool kRegistered = [] {
  for (const PictureSize& size : bench::kPictureSizes) {
    const std::size_t bytes = 4 * size.Pixels();
    const std::string matrix = std::string("ColourMatrix_") + size.name;
    bench::Register(matrix, "ours", bytes, Ours(size, MixColours));
    bench::Register(matrix, "OpenColorIO", bytes, Ocio(size, OcioMatrix));
    bench::RegisterMemcpy(matrix, bytes);
    const std::string zones = std::string("ThreeZones_") + size.name;
    bench::Register(zones, "ours", bytes, Ours(size, GradeZones));
    bench::Register(zones, "OpenColorIO", bytes, Ocio(size, OcioPrimary));
    bench::Register(zones, "OpenColorIO_tone", bytes, Ocio(size, OcioTone));
    bench::RegisterMemcpy(zones, bytes);
  }
  return true;
}();

}  // namespace
