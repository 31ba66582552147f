// Tests of the DDS stream: pictures that the graphics driver decodes.
#include "dds/RImageStreamDDS.h"

#include <GL/gl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ostream>
#include <thread>

#include "dds/RImageDDS.h"
#include "dds/blocks/BlockDecoder.h"
#include "image/RDestroyPtr.h"
#include "module/EntryPointrimage.h"
#include "support/CaseName.h"
#include "support/DdsBuilder.h"
#include "support/FileTrouble.h"
#include "support/GLTest.h"
#include "support/ProcessResources.h"
#include "support/SampleManifest.h"
#include "support/TestData.h"

namespace {

using test::DdsBuilder;
using test::GLRecorder;
using test::Noise;

using Bytes = std::vector<unsigned char>;
using ImagePtr = RDestroyPtr<RImageDDS>;
}  // namespace

// Qt's own, which WebEngine uses to bring a context of its own.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext* context);

namespace {

// Puts another context in the place of Qt's global share context.
class GlobalShareContext {
 public:
  explicit GlobalShareContext(QOpenGLContext* context) : mBefore(QOpenGLContext::globalShareContext()) {
    qt_gl_set_global_share_context(context);
  }
  ~GlobalShareContext() { qt_gl_set_global_share_context(mBefore); }
  GlobalShareContext(const GlobalShareContext&) = delete;
  GlobalShareContext& operator=(const GlobalShareContext&) = delete;

 private:
  QOpenGLContext* mBefore;
};

struct Result {
  bool opened = false;
  ImagePtr image;
};

Result Open(const std::string& path) {
  RImageStreamDDS stream;
  stream.SetFileName(path.c_str());
  Result result;
  result.opened = stream.StreamOpen(nullptr);
  result.image.reset(static_cast<RImageDDS*>(stream.GetImage(false)));
  return result;
}

Result Open(const DdsBuilder& file) {
  const test::TemporaryFolder folder;
  return Open(folder.Write("file.dds", file.File()));
}

Bytes Layer(RImage& image, unsigned layer) {
  const unsigned char* first = image.GetImageBitsAtDepth(layer);
  return {first, first + static_cast<std::ptrdiff_t>(image.GetWidth()) * image.GetHeight() * 4};
}

// The rows in the opposite order.
Bytes Flipped(const Bytes& pixels, int width) {
  const auto stride = static_cast<std::ptrdiff_t>(width) * 4;
  Bytes flipped;
  for (auto row = pixels.end(); row != pixels.begin(); row -= stride)
    flipped.insert(flipped.end(), row - stride, row);
  return flipped;
}

class RImageStreamDDSTest : public test::GLTest {
 protected:
  // The stream leaves no context current; the test's own objects need theirs.
  void TearDown() override {
    ASSERT_TRUE(Host().MakeCurrent());
    GLTest::TearDown();
  }
};

// --- A disk that fails: each call on the file in turn.

struct TroubleCase {
  const char* name;
  test::Trouble trouble;
};
void PrintTo(const TroubleCase& row, std::ostream* stream) { *stream << row.name; }

class TroubledFile : public RImageStreamDDSTest, public testing::WithParamInterface<TroubleCase> {};

TEST_P(TroubledFile, GivesThePictureOrNone) {
  const test::TemporaryFolder folder;
  const std::string path =
      folder.Write("file.dds", DdsBuilder(256, 256).Code("DXT3").Data(Noise(65536)).File());
  const test::FileTrouble watch(path, test::Trouble::kNone);
  const Result whole = Open(path);
  ASSERT_TRUE(whole.opened);
  const Bytes expected = Layer(*whole.image, 0);
  const std::string calls = watch.Names();
  ASSERT_THAT(calls, testing::ContainsRegex("^or.*r.*c$"));
  // After parts and interruptions the rest is asked for. The first read is the header's.
  const test::Trouble trouble = GetParam().trouble;
  const bool mustFail = trouble == test::Trouble::kFails || trouble == test::Trouble::kFailsFromThenOn;
  const std::size_t files = test::OpenFiles();
  for (std::size_t call = 0; call < calls.size(); ++call) {
    SCOPED_TRACE(testing::Message() << "call " << call << " of " << calls);
    const test::FileTrouble disk(path, trouble, static_cast<int>(call), EIO);
    const Result result = Open(path);
    // A header that cannot be read is read again, by the reader of other layouts, which knows no blocks.
    const bool isReadAgain = call == 1 && trouble == test::Trouble::kFails;
    // Nothing depends on the closing of a file that was read; pixels that it does not give are zero.
    const bool isOpened = !mustFail || call > 1 || isReadAgain;
    EXPECT_EQ(result.opened, isOpened);
    if (!result.opened || isReadAgain) continue;
    const Bytes pixels = Layer(*result.image, 0);
    EXPECT_EQ(pixels.size(), expected.size());
    if (!mustFail || calls[call] != 'r') {
      EXPECT_EQ(pixels, expected);
    }
  }
  EXPECT_LE(test::OpenFiles(), files);
}

INSTANTIATE_TEST_SUITE_P(Calls, TroubledFile,
                         testing::Values(TroubleCase{"Fails", test::Trouble::kFails},
                                         TroubleCase{"FailsFromThenOn", test::Trouble::kFailsFromThenOn},
                                         TroubleCase{"Short", test::Trouble::kShort},
                                         TroubleCase{"Interrupted", test::Trouble::kInterrupted}),
                         test::CaseName());

// --- Drawing.

TEST_F(RImageStreamDDSTest, ReadsPixelsBottomRowFirst) {
  const Bytes pixels = Noise(10 * 6 * 4);
  const Result result = Open(DdsBuilder::Rgba(10, 6).Data(pixels));
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(result.image->GetWidth(), 10);
  EXPECT_EQ(result.image->GetHeight(), 6);
  EXPECT_EQ(result.image->GetDepth(), 1);
  EXPECT_EQ(result.image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(result.image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(result.image->GetPadWidth(), 0);
  EXPECT_EQ(Layer(*result.image, 0), Flipped(pixels, 10));
}

TEST_F(RImageStreamDDSTest, DrawsOneQuadInAPlainState) {
  // The smaller level is not drawn.
  const DdsBuilder file = DdsBuilder(10, 6).Code("DXT1").Mipmaps(2).Data(Noise(3 * 2 * 8 + 2 * 8));
  const GLRecorder recorder;
  const Result result = Open(file);
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(recorder.Text({"glViewport", "glMatrixMode", "glLoadIdentity", "glOrtho", "glTranslatef",
                           "glTexEnvi", "glEnable", "glBlendFunc", "glColor3d", "glBegin", "glTexCoord2f",
                           "glVertex2i", "glEnd", "glDisable", "glCompressedTexImage2D"}),
            "glViewport(0, 0, 64, 64)\n"
            "glMatrixMode(GL_PROJECTION)\nglLoadIdentity()\nglOrtho(-0.5, 63.5, -0.5, 63.5, 0, 1)\n"
            "glMatrixMode(GL_MODELVIEW)\nglLoadIdentity()\nglTranslatef(-0.5, -0.5, 0)\n"
            "glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE)\n"
            "glEnable(GL_TEXTURE_2D)\nglMatrixMode(GL_TEXTURE)\nglLoadIdentity()\n"
            "glEnable(GL_BLEND)\nglBlendFunc(GL_ONE, GL_ZERO)\nglDisable(GL_DEPTH_TEST)\nglColor3d(1, 1, 1)\n"
            "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 10, 6, 0, 48, ptr)\n"
            "glBegin(GL_QUADS)\n"
            "glTexCoord2f(0, 0)\nglVertex2i(0, 0)\nglTexCoord2f(1, 0)\nglVertex2i(10, 0)\n"
            "glTexCoord2f(1, 1)\nglVertex2i(10, 6)\nglTexCoord2f(0, 1)\nglVertex2i(0, 6)\nglEnd()\n"
            "glEnable(GL_DEPTH_TEST)\nglDisable(GL_BLEND)\nglDisable(GL_TEXTURE_2D)\n");
}

// The calls of some functions, one a line, up to the first call of another or after its last one.
std::string Until(const GLRecorder& recorder, std::string_view end,
                  const std::vector<std::string_view>& names) {
  GLRecorder part;
  for (const std::string& call : recorder.Calls()) {
    if (call.starts_with(end)) break;
    part.Add(call);
  }
  return part.Text(names);
}
std::string After(const GLRecorder& recorder, std::string_view start,
                  const std::vector<std::string_view>& names) {
  GLRecorder part;
  for (const std::string& call : recorder.Calls()) call.starts_with(start) ? part.Clear() : part.Add(call);
  return part.Text(names);
}

TEST_F(RImageStreamDDSTest, MakesOneTextureWithoutFiltersAndDeletesIt) {
  const GLRecorder recorder;
  ASSERT_TRUE(Open(DdsBuilder::Rgba(2, 2).Data(Noise(16))).opened);
  const std::string made =
      Until(recorder, "glGenFramebuffers", {"glGenTextures", "glBindTexture", "glTexParameteri"});
  const std::string name = made.substr(made.find('{') + 1, made.find('}') - made.find('{') - 1);
  EXPECT_EQ(made, "glGenTextures(1, {" + name + "})\nglBindTexture(GL_TEXTURE_2D, " + name +
                      ")\nglTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)\n"
                      "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST)\n");
  EXPECT_EQ(After(recorder, "glDisable(GL_TEXTURE_2D", {"glBindTexture", "glDeleteTextures"}),
            "glBindTexture(GL_TEXTURE_2D, 0)\nglDeleteTextures(1, {" + name + "})\n");
}

TEST_F(RImageStreamDDSTest, BindsItsTextureAgainAfterMakingTheFramebuffer) {
  const GLRecorder recorder;
  ASSERT_TRUE(Open(DdsBuilder::Rgba(2, 2).Data(Noise(16))).opened);
  const auto& calls = recorder.Calls();
  const auto at = [&](const std::string& start) {
    return std::find_if(calls.begin(), calls.end(),
                        [&](const std::string& call) { return call.starts_with(start); });
  };
  const auto framebuffer = at("glGenFramebuffers");
  const auto quad = at("glBegin");
  ASSERT_LT(framebuffer, quad);
  const auto isBind = [](const std::string& call) {
    return call.starts_with("glBindTexture(GL_TEXTURE_2D, ");
  };
  const auto last =
      std::find_if(std::make_reverse_iterator(quad), std::make_reverse_iterator(framebuffer), isBind);
  const auto first = std::find_if(calls.begin(), framebuffer, isBind);
  ASSERT_NE(last, std::make_reverse_iterator(framebuffer));
  EXPECT_EQ(*last, *first);
}

TEST_F(RImageStreamDDSTest, ViewportSidesAreEvenAndAtLeast64) {
  struct Case {
    std::uint32_t width;
    std::uint32_t height;
    const char* viewport;
  };
  for (const Case& row :
       {Case{1, 1, "64, 64"}, Case{64, 63, "64, 64"}, Case{65, 66, "66, 66"}, Case{101, 3, "102, 64"}}) {
    const GLRecorder recorder;
    ASSERT_TRUE(Open(DdsBuilder::Rgba(row.width, row.height).Data(Noise(row.width * row.height * 4))).opened);
    const std::string first = recorder.Text({"glViewport"});
    EXPECT_EQ(first.substr(0, first.find('\n')), std::string("glViewport(0, 0, ") + row.viewport + ")");
  }
}

struct SizeCase {
  int width;
  int height;
};

class RImageStreamDDSSizeTest : public RImageStreamDDSTest, public testing::WithParamInterface<SizeCase> {};

TEST_P(RImageStreamDDSSizeTest, PlainPixelsArriveByteForByte) {
  const auto [width, height] = GetParam();
  const Bytes pixels = Noise(static_cast<std::size_t>(width * height) * 4);
  const Result result = Open(
      DdsBuilder::Rgba(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)).Data(pixels));
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(Layer(*result.image, 0), Flipped(pixels, width));
}

INSTANTIATE_TEST_SUITE_P(All, RImageStreamDDSSizeTest,
                         testing::Values(SizeCase{1, 1}, SizeCase{3, 5}, SizeCase{10, 6}, SizeCase{101, 67},
                                         SizeCase{257, 129}, SizeCase{1000, 777}, SizeCase{2047, 1025},
                                         SizeCase{4096, 16}, SizeCase{16, 4096}),
                         [](const auto& row) {
                           return std::to_string(row.param.width) + "x" + std::to_string(row.param.height);
                         });

TEST_F(RImageStreamDDSTest, OddRgbRowsArriveByteForByte) {
  const Bytes pixels = Noise(10 * 7 * 3);
  const Result result = Open(DdsBuilder(10, 7).Masks(0x40, 24, 0xFF0000, 0xFF00, 0xFF, 0).Data(pixels));
  ASSERT_TRUE(result.opened);
  Bytes expected;
  for (std::size_t i = 0; i < pixels.size(); i += 3) {
    expected.insert(expected.end(), {pixels[i + 2], pixels[i + 1], pixels[i], 255});
  }
  EXPECT_EQ(Layer(*result.image, 0), Flipped(expected, 10));
}

TEST_F(RImageStreamDDSTest, KeepsTheFilesTextures) {
  const Result result = Open(DdsBuilder::Rgba(4, 4).Mipmaps(3).Data(Noise(64 + 16 + 4)));
  ASSERT_TRUE(result.opened);
  EXPECT_TRUE(result.image->DDSImage().is_valid());
  EXPECT_EQ(result.image->DDSImage().get_num_mipmaps(), 2);
  ASSERT_TRUE(Host().MakeCurrent());
  unsigned int texture = 0;
  result.image->DrawCurrent(kVideoTexture2D, 32768, texture);
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA).bytes, Layer(*result.image, 0));
  glDeleteTextures(1, &texture);
}

TEST_F(RImageStreamDDSTest, DeliberateTheSlicesOfAVolumeRepeatTheFirstOne) {
  const Bytes slices = Noise(3 * 4 * 2 * 4);
  const Result result = Open(DdsBuilder::Rgba(4, 2).Volume(3).Data(slices));
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(result.image->GetDepth(), 3);
  const Bytes first = Flipped(Bytes(slices.begin(), slices.begin() + 32), 4);
  for (unsigned slice = 0; slice < 3; ++slice) EXPECT_EQ(Layer(*result.image, slice), first) << slice;
}

TEST_F(RImageStreamDDSTest, ASmallFileOfMillionsOfSlicesIsNoHang) {
  constexpr std::uint32_t kSlices = 4'000'000;
  const Result result = Open(DdsBuilder(1, 1).Masks(0x20000, 8, 0xFF, 0, 0, 0).Volume(kSlices).Data({0x5A}));
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(Layer(*result.image, kSlices - 1), (Bytes{0x5A, 0x5A, 0x5A, 0xFF}));
}

TEST_F(RImageStreamDDSTest, TheFacesOfACubeMapWithADepthAreItsSlices) {
  DdsBuilder file = DdsBuilder::Rgba(4, 4).Cubemap().Set(DdsBuilder::kDepth, 8);
  Bytes first;
  for (std::uint32_t face = 0; face < 6; ++face) {
    const Bytes slices = Noise(8 * 64, face);
    file.Data(slices);
    if (face == 3) first = Bytes(slices.begin(), slices.begin() + 64);
  }
  const Result result = Open(file);
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(result.image->GetDepth(), 8);
  // The faces above and below have changed places.
  EXPECT_EQ(Layer(*result.image, 2), first);
  EXPECT_EQ(Layer(*result.image, 7), Layer(*result.image, 5)) << "the last face is repeated";
  EXPECT_NE(Layer(*result.image, 5), Layer(*result.image, 4));
}

TEST_F(RImageStreamDDSTest, CompressedVolumesShowTheirFirstSlice) {
  const Bytes blocks = Noise(2 * 16);
  const Result result = Open(DdsBuilder(4, 4).Code("DXT5").Volume(2).Data(blocks));
  ASSERT_TRUE(result.opened);
  Bytes expected(64);
  // One row of blocks is not flipped.
  ASSERT_TRUE(RDecodeBlockImage(kBlockBC3, blocks, 4, 4, expected.data()));
  const Bytes actual = Layer(*result.image, 0);
  for (std::size_t i = 0; i < 64; ++i) EXPECT_NEAR(actual[i], expected[i], 2);
}

TEST_F(RImageStreamDDSTest, CubeMapsShowTheirFirstFaceUnflipped) {
  DdsBuilder file = DdsBuilder::Rgba(4, 4).Cubemap();
  for (std::uint32_t face = 0; face < 6; ++face) file.Data(Noise(64, face));
  const Result result = Open(file);
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(Layer(*result.image, 0), Noise(64, 0));
}

// --- The context.

TEST_F(RImageStreamDDSTest, AfterwardsNoContextIsCurrentAndTheCallersStateIsUntouched) {
  glEnable(GL_SCISSOR_TEST);
  glScissor(1, 2, 3, 4);
  glColor4f(0.5F, 0.25F, 0, 1);
  const std::string before = test::GLStateText();
  ASSERT_TRUE(Open(DdsBuilder::Rgba(2, 2).Data(Noise(16))).opened);
  EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_EQ(test::GLStateText(), before);
}

TEST_F(RImageStreamDDSTest, ContextAndSurfaceHaveTheShareContextsFormat) {
  QSurfaceFormat format;
  format.setVersion(3, 0);
  format.setOption(QSurfaceFormat::DeprecatedFunctions);
  format.setOption(QSurfaceFormat::DebugContext);
  format.setSamples(4);
  test::GLContext share(format);
  ASSERT_EQ(share.Context().format().samples(), 4);
  ASSERT_NE(QOpenGLContext::globalShareContext()->format().samples(), 4);
  static QSurfaceFormat ofContext;
  static QSurfaceFormat ofSurface;
  using Viewport = void(GLint, GLint, GLsizei, GLsizei);
  Viewport* const note = [](GLint x, GLint y, GLsizei width, GLsizei height) {
    const QOpenGLContext* context = QOpenGLContext::currentContext();
    ofContext = context->format();
    ofSurface = context->surface()->format();
    test::DriverEntryPoint<Viewport>("glViewport")(x, y, width, height);
  };
  const test::EntryPointReplacement replacement("glViewport", note);
  const GlobalShareContext global(&share.Context());
  const Bytes pixels = Noise(16);
  const Result result = Open(DdsBuilder::Rgba(2, 2).Data(pixels));
  ASSERT_TRUE(result.opened);
  EXPECT_EQ(ofContext.samples(), 4);
  EXPECT_TRUE(ofContext.testOption(QSurfaceFormat::DebugContext));
  EXPECT_EQ(ofSurface.samples(), 4);
  EXPECT_EQ(Layer(*result.image, 0), Flipped(pixels, 2)) << "pixels are drawn to a target of their own";
}

TEST_F(RImageStreamDDSTest, ACoreContextIsRefusedInsteadOfDrawingNothing) {
  QSurfaceFormat format;
  format.setVersion(3, 3);
  format.setProfile(QSurfaceFormat::CoreProfile);
  test::GLContext core(format);
  const GlobalShareContext global(&core.Context());
  const GLRecorder recorder;
  EXPECT_FALSE(Open(DdsBuilder::Rgba(2, 2).Data(Noise(16))).opened);
  EXPECT_EQ(recorder.Count("glBegin"), 0);
  EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
}

TEST_F(RImageStreamDDSTest, ContextsAreMadeOneAtATime) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Write("file.dds", DdsBuilder::Rgba(2, 2).Data(Noise(16)).File());
  const auto read = [&] {
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(Open(path).opened);
  };
  const test::CreationWatch watch;
  std::thread other(read);
  read();
  other.join();
  EXPECT_GE(watch.Count(), 10);
  EXPECT_EQ(watch.MostAtOnce(), 1);
}

TEST_F(RImageStreamDDSTest, NeedsNoContextOfTheCaller) {
  Host().Context().doneCurrent();
  EXPECT_TRUE(Open(DdsBuilder::Rgba(2, 2).Data(Noise(16))).opened);
  EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
}

TEST_F(RImageStreamDDSTest, AContextThatCannotBeMadeCurrentFailsAndLeavesNone) {
  const DdsBuilder file = DdsBuilder::Rgba(2, 2).Data(Noise(16));
  {
    const test::MakeCurrentFailure failure;
    const Result result = Open(file);
    EXPECT_FALSE(result.opened);
    ASSERT_TRUE(result.image);
    EXPECT_TRUE(result.image->DDSImage().is_valid());
    EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
  }
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_TRUE(Open(file).opened) << "the next read works again";
}

TEST_F(RImageStreamDDSTest, TwoThreadsReadAtOnce) {
  const test::TemporaryFolder folder;
  const Bytes first = Noise(101 * 67 * 4, 1);
  const Bytes second = Noise(64 * 64 * 4, 2);
  const std::string paths[] = {folder.Write("a.dds", DdsBuilder::Rgba(101, 67).Data(first).File()),
                               folder.Write("b.dds", DdsBuilder::Rgba(64, 64).Data(second).File())};
  const Bytes expected[] = {Flipped(first, 101), Flipped(second, 64)};
  std::atomic<int> correct = 0;
  const auto read = [&](int which) {
    for (int i = 0; i < 20; ++i) {
      const Result result = Open(paths[which]);
      if (result.opened && Layer(*result.image, 0) == expected[which]) ++correct;
      if (QOpenGLContext::currentContext()) ADD_FAILURE() << "a context is left current";
    }
  };
  std::thread a(read, 0);
  std::thread b(read, 1);
  a.join();
  b.join();
  EXPECT_EQ(correct, 40);
  EXPECT_EQ(QOpenGLContext::currentContext(), &Host().Context()) << "the caller's thread keeps its own";
}

// --- Failures.

TEST_F(RImageStreamDDSTest, AFileThatDoesNotLoadFailsWithAnEmptyImage) {
  const Result result = Open(std::string("/nonexistent/file.dds"));
  EXPECT_FALSE(result.opened);
  ASSERT_TRUE(result.image);
  EXPECT_TRUE(result.image->Is(RImageDDS::ClassId));
  EXPECT_EQ(result.image->GetWidth(), 0);
  EXPECT_FALSE(result.image->DDSImage().is_valid());
  EXPECT_EQ(QOpenGLContext::currentContext(), &Host().Context()) << "no context was made";
}

TEST_F(RImageStreamDDSTest, AStreamWithoutANameFails) {
  RImageStreamDDS stream;
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  const ImagePtr image(static_cast<RImageDDS*>(stream.GetImage(false)));
  EXPECT_TRUE(image);
}

TEST_F(RImageStreamDDSTest, ReplacesTheImageThatWasAttached) {
  const test::TemporaryFolder folder;
  const RDestroyPtr<RImage> before(RImageCreate());
  RImageStreamDDS stream;
  stream.SetImage(before.get());
  stream.SetFileName(folder.Write("file.dds", DdsBuilder::Rgba(2, 2).Data(Noise(16)).File()).c_str());
  ASSERT_TRUE(stream.StreamOpen(nullptr));
  const RDestroyPtr<RImage> image(stream.GetImage(false));
  EXPECT_NE(image.get(), before.get());
  EXPECT_EQ(before->GetWidth(), 0);
}

TEST_F(RImageStreamDDSTest, APictureBeyondTheDriversLimitFails) {
  GLint limit = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
  const test::GLErrorCapture errors;
  const auto width = static_cast<std::uint32_t>(limit) + 1;
  const Result result = Open(DdsBuilder(width, 1).Masks(0x20000, 8, 0xFF, 0, 0, 0).Data(Noise(width)));
  EXPECT_FALSE(result.opened);
  EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
}

TEST_F(RImageStreamDDSTest, ItOnlyReads) {
  RImageStreamDDS stream;
  EXPECT_FALSE(stream.StreamCreate(nullptr));
}

// --- The registry.

TEST_F(RImageStreamDDSTest, TheHostReadsDdsFilesThroughIt) {
  EntryPointrimage(kDllStart);
  const test::TemporaryFolder folder;
  const Bytes pixels = Noise(16);
  const std::string path = folder.Write("file.DDS", DdsBuilder::Rgba(2, 2).Data(pixels).File());
  const RDestroyPtr<RImage> image(RImage::ImageFileRead(path.c_str()));
  ASSERT_TRUE(image);
  EXPECT_TRUE(image->Is(RImageDDS::ClassId));
  EXPECT_EQ(Layer(*image, 0), Flipped(pixels, 2));
  EXPECT_EQ(RImage::ImageFileRead("/nonexistent/file.dds"), nullptr);
}

// --- Files of other programs.

// Whether the loader brings the bottom row to the front exactly: blocks only in pairs of whole rows.
bool FlipsExactly(const nv_dds::CDDSImage& file) {
  return !file.is_compressed() || (file.get_width() % 4 == 0 && file.get_height() % 8 == 0);
}

class RImageStreamDDSSampleTest : public RImageStreamDDSTest,
                                  public testing::WithParamInterface<test::Sample> {};

TEST_P(RImageStreamDDSSampleTest, ReadsTheExpectedPixels) {
  test::Sample sample = GetParam();
  const Result result = Open(sample.path);
  ASSERT_TRUE(result.opened);
  const nv_dds::CDDSImage& file = result.image->DDSImage();
  // The expected picture of signed bytes is clamped, while the general reader maps -1 to 1 to the whole
  // range.
  if (file.is_cubemap() || !FlipsExactly(file) || sample.expect == test::Expect::kSnormPixels) return;
  // What drivers may differ by is less than what other programs do.
  const bool isSigned = sample.name.find("snorm") != std::string::npos;
  sample.tolerance.channel = std::min(sample.tolerance.channel, isSigned ? 5 : 2);
  EXPECT_TRUE(test::Check(sample, result.image.get()));
}

constexpr std::pair<std::uint32_t, kBlockFormat> kBlocks[] = {
    {nv_dds::kTextureFormatDXT1, kBlockBC1},
    {nv_dds::kTextureFormatDXT3, kBlockBC2},
    {nv_dds::kTextureFormatDXT5, kBlockBC3},
    {nv_dds::kTextureFormatBC4, kBlockBC4},
    {nv_dds::kTextureFormatBC4Signed, kBlockBC4Signed},
    {nv_dds::kTextureFormatBC5, kBlockBC5},
    {nv_dds::kTextureFormatBC5Signed, kBlockBC5Signed}};

TEST_P(RImageStreamDDSSampleTest, TheDriverDecodesWhatTheLoaderKept) {
  const Result result = Open(GetParam().path);
  ASSERT_TRUE(result.opened);
  nv_dds::CDDSImage& file = result.image->DDSImage();
  if (!file.is_compressed()) return;
  const auto* row = std::find_if(std::begin(kBlocks), std::end(kBlocks),
                                 [&](const auto& entry) { return entry.first == file.get_format(); });
  ASSERT_NE(row, std::end(kBlocks));
  const auto* blocks = reinterpret_cast<const unsigned char*>(static_cast<char*>(file.get_image(0)));
  Bytes expected(static_cast<std::size_t>(file.get_width() * file.get_height()) * 4);
  ASSERT_TRUE(RDecodeBlockImage(row->second, {blocks, static_cast<std::size_t>(file.get_size())},
                                file.get_width(), file.get_height(), expected.data()));
  const bool isSigned = row->second == kBlockBC4Signed || row->second == kBlockBC5Signed;
  const Bytes actual = Layer(*result.image, 0);
  for (std::size_t i = 0; i < expected.size(); ++i)
    ASSERT_NEAR(actual[i], expected[i], isSigned ? 5 : 2) << i;
}

INSTANTIATE_TEST_SUITE_P(Files, RImageStreamDDSSampleTest, testing::ValuesIn(test::LoadSamples("dds")),
                         test::SampleName);

}  // namespace
