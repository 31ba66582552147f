// Thousands of malformed files through every reader, with a stored verdict on each. Where the module's own
// code decodes, a change of a single pixel shows; where other libraries do, a change of what is refused, and
// of the size of what is read, for how much of a damaged picture they give is their affair.
//
// RIMAGE_WRITE_VERDICTS=1 stores what is read now.
#include <gtest/gtest.h>

#include <QImageReader>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "dds/RDDSDecoder.h"
#include "streams/RImageStreamQT.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"
#include "support/CaseName.h"
#include "support/ChildCost.h"
#include "support/MalformedFiles.h"
#include "support/StreamReading.h"
#include "support/TestData.h"

namespace {

using test::Bytes;
using test::FileParts;

constexpr unsigned kFiles = 300;  // of each format

// What a reader made of a file: "-" for a refusal, else a sum over size, layout and pixels, or of a library's
// picture width, height and bytes of a pixel.
using Verdict = std::string;
const Verdict kRefused = "-";

/// Adds up bytes; order counts.
class Sum {
 public:
  void Add(std::span<const unsigned char> bytes) {
    for (const unsigned char byte : bytes) mSum = (mSum ^ byte) * 0x100000001B3U;
  }
  void Add(int number) {
    for (int i = 0; i < 4; ++i) {
      const auto byte = static_cast<unsigned char>(static_cast<unsigned>(number) >> 8 * i);
      Add(std::span(&byte, 1));
    }
  }
  std::string Text() const {
    std::ostringstream text;
    text << std::hex << std::setfill('0') << std::setw(8) << static_cast<std::uint32_t>(mSum ^ mSum >> 32U);
    return text.str();
  }

 private:
  std::uint64_t mSum = 0xCBF29CE484222325U;
};

// A picture is whole: as large as it says.
Bytes WholePixelsOf(RImage& image) {
  Bytes pixels = test::PixelsOf(&image);
  EXPECT_EQ(pixels.size(), std::size_t(image.GetWidth()) * std::size_t(image.GetHeight()) *
                               std::size_t(image.GetPixelSize()));
  return pixels;
}

Verdict SumOf(RImage& image) {
  Sum sum;
  for (const int number : {image.GetWidth(), image.GetHeight(), static_cast<int>(image.GetFormat())})
    sum.Add(number);
  sum.Add(WholePixelsOf(image));
  return sum.Text();
}

Verdict SizeOf(RImage& image) {
  (void)WholePixelsOf(image);
  std::ostringstream text;
  text << image.GetWidth() << 'x' << image.GetHeight() << 'x' << image.GetPixelSize();
  return text.str();
}

template <class Stream>
Verdict ReadThrough(const Bytes& bytes, const char* suffix) {
  const RDestroyPtr<RImage> image = test::ReadBytesWith<Stream>(bytes, suffix);
  return image ? SumOf(*image) : kRefused;
}

Verdict ReadThroughLibrary(const Bytes& bytes, const char* suffix) {
  const RDestroyPtr<RImage> image = test::ReadBytesWith<RImageStreamQT>(bytes, suffix);
  return image ? SizeOf(*image) : kRefused;
}

// Qt reads the files with a footer, the module's own codec those without one.
Verdict ReadTga(const Bytes& bytes, const char* suffix) {
  const test::MemoryFile file(bytes, suffix);
  const RDestroyPtr<RImage> image = test::ReadWith<RImageStreamQT>(file.Path());
  if (!image) return kRefused;
  const bool isOfQt = !QImageReader(QString::fromStdString(file.Path())).read().isNull();
  return isOfQt ? SizeOf(*image) : SumOf(*image);
}

Verdict ReadTexture(const Bytes& bytes, const char* suffix) {
  const test::MemoryFile file(bytes, suffix);
  RDDSDecoder decoder;
  if (!decoder.Load(file.Path())) return kRefused;
  if (decoder.IsPlaceholder()) return "placeholder";
  const RDDSInfo& info = decoder.GetInfo();
  Sum sum;
  for (const int number : {info.width, info.height, info.depth, info.levels, info.faces}) sum.Add(number);
  // The first picture, and the last that the headers tell of.
  const int faces[] = {0, info.faces - 1};
  const int levels[] = {0, info.levels - 1};
  for (int i = 0; i < 2; ++i) {
    const int width = RDDSDecoder::LevelSize(info.width, levels[i]);
    const int height = RDDSDecoder::LevelSize(info.height, levels[i]);
    const RPixelBuffer pixels = decoder.DecodeBytes(faces[i], levels[i], 0);
    sum.Add(pixels != nullptr);
    if (pixels)
      sum.Add({pixels.get(), std::size_t{4} * static_cast<unsigned>(width) * static_cast<unsigned>(height)});
  }
  return sum.Text();
}

struct Format {
  const char* name;
  const char* suffix;
  Verdict (*read)(const Bytes& bytes, const char* suffix);
  std::vector<const char*> good;
  FileParts parts = FileParts::kBlocks;
};
void PrintTo(const Format& format, std::ostream* stream) { *stream << format.name; }

const std::vector<Format> kFormats = {
    {"png",
     ".png",
     ReadThroughLibrary,
     {"png/gen_im_grey8.png", "png/gen_im_mono.png", "png/gen_im_pal8.png", "png/gen_im_rgba8.png",
      "png/gen_pil_pal_trns.png", "png/gen_ff_rgb16.png"},
     FileParts::kPngChunks},
    {"jpeg",
     ".jpg",
     ReadThroughLibrary,
     {"jpeg/gen_im_420.jpg", "jpeg/gen_im_444.jpeg", "jpeg/sdl_sample.jpg"}},
    {"tiff",
     ".tif",
     ReadThroughLibrary,
     {"tiff/gen_im_g4.tif", "tiff/gen_im_grey.tiff", "tiff/gen_im_lzw_rgb.tif", "tiff/gen_oiio_rgb16.tif",
      "tiff/oiio_flower-minisblack-16.tif", "tiff/oiio_flower-palette-08.tif"}},
    {"bmp",
     ".bmp",
     ReadThroughLibrary,
     {"bmp/gen_im_pal4.bmp", "bmp/gen_im_rgba32.bmp", "bmp/oiio_g01bw.bmp", "bmp/oiio_g04rle.bmp",
      "bmp/oiio_g16def555.bmp", "bmp/oiio_g24.bmp", "bmp-icon/gen_icon_im32.bmp"}},
    {"tga",
     ".tga",
     ReadTga,
     {"tga/gen_ff_rgb555_raw.tga", "tga/gen_im_rgba_none.tga", "tga/gen_oiio_rgba.tga",
      "tga/gen_pil_rgba.tga", "tga/gen_pnm_rgb_norle.tga", "tga/pillow_200x32_rgba_bl_raw.tga"}},
    {"svg", ".svg", ReadThroughLibrary, {"svg/sdl_svg.svg", "svg/tm_quadrants.svg"}},
    {"sgi",
     ".sgi",
     ReadThrough<RImageStreamsgi>,
     {"sgi/gen_ff_grey16_raw.sgi", "sgi/gen_ff_grey_rle.sgi", "sgi/gen_ff_rgb48_rle.sgi",
      "sgi/gen_im_rgba16_rle.sgi", "sgi/gen_im_rgba_verb.rgba", "sgi/gen_pnm_grey_verb.sgi",
      "sgi/gen_pnm_rgb_rle.sgi", "sgi/imgx_rle-rgba8.rgb"}},
    {"pic",
     ".pic",
     ReadThrough<RImageStreampict>,
     {"pic/gen_qt_odd.pic", "pic/gen_qt_runs.pic", "pic/gen_syn_mixed_longruns.pic",
      "pic/gen_syn_pure_rgb.pic", "pic/gen_syn_split_r_gb.pic"}},
    {"iff",
     ".iff",
     ReadThrough<RImageStreamiff>,
     {"iff/gen_pbm_odd28.iff", "iff/gen_pbm_p1_rle.iff", "iff/gen_pbm_p3_rle.iff", "iff/gen_pbm_p4_raw.iff",
      "iff/gen_pbm_p5_rle.iff", "iff/gen_pbm_p8_rle.iff"},
     FileParts::kIffChunks},
    {"yuv", ".yuv", ReadThrough<RImageStreamyuv>, {"yuv/gen_bars_720x576.yuv", "yuv/gen_smpte_720x486.yuv"}},
    {"dds",
     ".dds",
     ReadTexture,
     {"dds/magnum_dxt1-cube-mips.dds", "dds/magnum_dxt10-bc7-3d.dds", "dds/magnum_dxt3.dds",
      "dds/gen_nv_bc4_odd_mips.dds", "dds/magnum_bc5snorm.dds", "dds/magnum_bgr8unorm-mips.dds",
      "dds/magnum_rgba8unorm-3d.dds", "dds/magnum_dxt10-rgba16snorm.dds", "dds/gen_nv_bc3_odd.dds",
      "dds/magnum_dxt10-rg8unorm.dds"}},
};

bool IsSet(const char* variable) {
  const char* text = std::getenv(variable);
  return text && *text;
}

std::string VerdictPath(const Format& format) {
  return test::DataPath(std::string("malformed/") + format.name + ".verdicts");
}

// The sum over all files, then a verdict for each, ten on a line.
void StoreVerdicts(const Format& format, const std::string& files, const std::vector<Verdict>& verdicts) {
  std::ofstream out(VerdictPath(format));
  out << files;
  for (std::size_t i = 0; i < verdicts.size(); ++i) out << (i % 10 == 0 ? '\n' : ' ') << verdicts[i];
  ASSERT_TRUE(out << '\n') << VerdictPath(format);
}

std::vector<Verdict> LoadVerdicts(const Format& format, std::string& files) {
  std::ifstream in(VerdictPath(format));
  std::vector<Verdict> verdicts;
  in >> files;
  for (Verdict verdict; in >> verdict;) verdicts.push_back(verdict);
  return verdicts;
}

class MalformedFilesTest : public testing::TestWithParam<Format> {
 protected:
  void SetUp() override {
    QImageReader::setAllocationLimit(64);  // MiB
    mSource.parts = GetParam().parts;
    for (const char* path : GetParam().good) mSource.good.push_back(test::ReadFile(test::DataPath(path)));
  }

  static Verdict Read(const Bytes& bytes) { return GetParam().read(bytes, GetParam().suffix); }

  test::MalformedSource mSource;
};

TEST_P(MalformedFilesTest, AreReadAsBefore) {
  const bool store = IsSet("RIMAGE_WRITE_VERDICTS");
  std::string expectedFiles;
  const std::vector<Verdict> expected = LoadVerdicts(GetParam(), expectedFiles);
  if (!store) {
    ASSERT_EQ(expected.size(), kFiles);
  }
  Sum files;
  std::vector<Verdict> verdicts;
  unsigned refused = 0;
  for (unsigned i = 0; i < kFiles; ++i) {
    const Bytes bytes = test::MakeMalformed(mSource, i);
    files.Add(bytes);
    verdicts.push_back(Read(bytes));
    if (verdicts.back() == kRefused) ++refused;
    if (!store) {
      EXPECT_EQ(verdicts.back(), expected[i]) << GetParam().name << " file " << i;
    }
  }
  if (!store) {
    EXPECT_EQ(files.Text(), expectedFiles) << "other files than those judged";
  }
  // Damage neither goes unnoticed nor makes everything unreadable.
  EXPECT_GT(refused, 0U);
  EXPECT_LT(refused, verdicts.size());
  if (store) StoreVerdicts(GetParam(), files.Text(), verdicts);
}

TEST_P(MalformedFilesTest, TakeNoLongerThanGoodOnes) {
  using Clock = std::chrono::steady_clock;
  if (test::IsInstrumented()) return;
  for (unsigned i = 0; i < kFiles; i += 10) {
    const Bytes bytes = test::MakeMalformed(mSource, i);
    const auto start = Clock::now();
    (void)Read(bytes);
    // Far above what a busy machine makes of the milliseconds that the slowest takes.
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10)) << GetParam().name << " file " << i;
  }
}

// The good files themselves are read: their copies are damaged, and not something else.
TEST_P(MalformedFilesTest, ComeFromGoodFiles) {
  for (std::size_t i = 0; i < mSource.good.size(); ++i) {
    const Verdict verdict = Read(mSource.good[i]);
    EXPECT_TRUE(verdict != kRefused && verdict != "placeholder") << GetParam().good[i];
  }
}

TEST_P(MalformedFilesTest, AreTheSameOnEveryRun) {
  for (unsigned i = 0; i < 40; ++i)
    EXPECT_EQ(test::MakeMalformed(mSource, i), test::MakeMalformed(mSource, i));
  unsigned different = 0;
  for (unsigned i = 0; i < 40; ++i) {
    const Bytes bytes = test::MakeMalformed(mSource, i);
    if (std::ranges::find(mSource.good, bytes) == mSource.good.end()) ++different;
  }
  EXPECT_GT(different, 30U);
}

INSTANTIATE_TEST_SUITE_P(Formats, MalformedFilesTest, testing::ValuesIn(kFormats), test::CaseName());

}  // namespace
