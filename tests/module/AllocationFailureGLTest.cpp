// Memory that runs out at every allocation in turn, where OpenGL draws: in the reader of textures, uploads,
// the effects, and the stereo compositor with its Cg programs. None leaves OpenGL objects behind.
#include <GL/gl.h>

#include <new>
#include <string>
#include <vector>

#include "dds/nv_dds.h"
#include "module/EntryPointrimage.h"
#include "rbaselib/RMessageHandler.h"
#include "stereo/RImageStereoCompostior.h"
#include "support/AllocationFailureTest.h"
#include "support/CaseName.h"
#include "support/GLTest.h"
#include "support/TestData.h"

namespace {

using test::Result;
using test::Work;

// --- Textures

// Textures that go whatever happens.
class Textures {
 public:
  explicit Textures(std::size_t count) : mNames(count) {
    glGenTextures(static_cast<GLsizei>(count), mNames.data());
  }
  ~Textures() { glDeleteTextures(static_cast<GLsizei>(mNames.size()), mNames.data()); }
  Textures(const Textures&) = delete;
  Textures& operator=(const Textures&) = delete;
  GLuint operator[](std::size_t index) const { return mNames[index]; }

 private:
  std::vector<GLuint> mNames;
};

Work ReaderOf(const char* file) {
  const std::string path = test::DataPath(std::string("dds/") + file + ".dds");
  return {std::string("Read_") + file,
          [path] { return test::TakeImage(RImage::ImageFileRead(path.c_str())); }};
}

Work UploadOf(const char* file) {
  const std::string path = test::DataPath(std::string("dds/") + file + ".dds");
  return {std::string("Upload_") + file, [path]() -> Result {
            nv_dds::CDDSImage image;
            if (!image.load(path.c_str(), false)) return std::nullopt;
            const Textures textures(1);
            glBindTexture(GL_TEXTURE_2D, textures[0]);
            if (!image.upload_texture2D(0, GL_TEXTURE_2D, 0)) return std::nullopt;
            return test::ReadTexture(textures[0], GL_RGBA).bytes;
          }};
}

Result PixelsOfTexture(RImage& image) { return test::ReadTexture(image.GetTextureID(), GL_RGBA).bytes; }

// To a texture and back.
Result ChangeIncarnation() {
  const test::ProbePtr image = test::MakeNoiseOrNull(kImageFormatBGRA);
  if (!image || !image->RequestGLIncarnation(true)) return std::nullopt;
  Result result = PixelsOfTexture(*image);
  if (!image->RequestIncarnation(RImage::kIncarnationRaw, true)) return std::nullopt;
  const auto raw = test::BytesOf(*image);
  result->insert(result->end(), raw.begin(), raw.end());
  return result;
}

// --- Effects

Result DrawEffect(const std::string& name) {
  const auto op = test::MakeConnectedEffect(name);
  if (!op) return std::nullopt;
  RFpContext context;
  if (op->ReadLock(&context, kFormTextureMask) == 0) return std::nullopt;
  RImage* const image = op->GetPlugImage(0, RImageOperator::kPlugOutput);
  const Result result = image ? PixelsOfTexture(*image) : std::nullopt;
  (void)op->ReadUnLock(&context, kFormTextureMask);
  return result;
}

// --- Stereo

// Notes that there was a warning, without keeping it, for which memory may lack.
class WarningCounter : public RMessageHandler {
 public:
  WarningCounter() { SetMainMessageHandler(this); }
  ~WarningCounter() override { SetMainMessageHandler(nullptr); }
  WarningCounter(const WarningCounter&) = delete;
  WarningCounter& operator=(const WarningCounter&) = delete;

  void DisplayWarning(const char*, const char*, const char*) override { ++count; }
  int count = 0;
};

// A new compositor draws two eyes into its buffer. What lacks programs is told.
Result Compose(unsigned mode) {
  constexpr int kWidth = 16;
  constexpr int kHeight = 12;
  WarningCounter warnings;
  const Textures eyes(2);
  for (unsigned i = 0; i < 2; ++i) {
    glBindTexture(GL_TEXTURE_2D, eyes[i]);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kWidth, kHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 test::Noise(std::size_t{4} * kWidth * kHeight, i).data());
  }
  RImageStereoCompostior compositor;
  try {
    compositor.Process(static_cast<EStereoDisplayMode>(mode), eOffscreenBuffer, eyes[0], eyes[1], 0, 0, 0, 0,
                       kWidth, kHeight);
  } catch (const std::bad_alloc&) {
    return std::nullopt;  // of the Cg runtime, whatever the size of a program's text
  }
  const GLuint own = compositor.GetCompostionTextureId();
  if (own == 0 || warnings.count > 0) return std::nullopt;
  return test::ReadTexture(own, GL_RGBA).bytes;
}

std::vector<Work> Works() {
  EntryPointrimage(kDllStart);
  std::vector<Work> works = {ReaderOf("magnum_dxt3"),
                             ReaderOf("oiio_dds_rgba8"),
                             UploadOf("magnum_dxt3"),
                             UploadOf("oiio_dds_rgba8"),
                             {"ChangeIncarnation", ChangeIncarnation}};
  for (const auto& row : Object_GetRegistrations("ArcStorable/ImageOperator"))
    works.push_back({"Draw_" + row.name, [name = row.name] { return DrawEffect(name); }});
  constexpr unsigned kModes = 6;
  for (unsigned mode = 0; mode < kModes; ++mode)
    works.push_back({"Compose_" + std::to_string(mode), [mode] { return Compose(mode); }});
  return works;
}

class AllocationFailureGLTest : public test::AllocationFailureTest<test::GLTest> {
 protected:
  // The reader of textures leaves no context current.
  void Prepare() override { ASSERT_TRUE(Host().MakeCurrent()); }
  void TearDown() override {
    Prepare();
    GLTest::TearDown();
  }
};

TEST_P(AllocationFailureGLTest, EachIsAFailureOfTheWhole) { RunWithoutEach(); }

INSTANTIATE_TEST_SUITE_P(OpenGL, AllocationFailureGLTest, testing::ValuesIn(Works()), test::CaseName());

}  // namespace
