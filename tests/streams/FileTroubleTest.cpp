// Disks that fail: each system call of every reader and writer, one after the other, fails, transfers a part
// only, or is interrupted.
#include "support/FileTrouble.h"

#include <gtest/gtest.h>

#include <QImageReader>
#include <cerrno>
#include <filesystem>
#include <ostream>

#include "dds/RDDSDecoder.h"
#include "streams/RImageStreamQT.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"
#include "support/CaseName.h"
#include "support/ImageProbe.h"
#include "support/ProcessResources.h"
#include "support/StreamReading.h"
#include "support/TestData.h"

namespace {

using test::Bytes;
using test::FileTrouble;
using test::Trouble;

// A picture as its size and pixels; none for a refusal.
struct Result {
  int width = 0;
  int height = 0;
  Bytes pixels;

  bool IsRefusal() const { return pixels.empty(); }
  bool operator==(const Result&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Result& result) {
  if (result.IsRefusal()) return stream << "a refusal";
  return stream << result.width << " x " << result.height << " pixels";
}

template <class Stream>
Result ReadThrough(const std::string& path) {
  const RDestroyPtr<RImage> image = test::ReadWith<Stream>(path);
  if (!image) return {};
  return {image->GetWidth(), image->GetHeight(), test::PixelsOf(image.get())};
}

Result ReadTexture(const std::string& path) {
  RDDSDecoder decoder;
  if (!decoder.Load(path.c_str()) || decoder.IsPlaceholder()) return {};
  const RDDSInfo& info = decoder.GetInfo();
  const RPixelBuffer pixels = decoder.DecodeBytes(0, 0, 0);
  if (!pixels) return {};
  const auto size = std::size_t{4} * static_cast<unsigned>(info.width) * static_cast<unsigned>(info.height);
  return {info.width, info.height, Bytes(pixels.get(), pixels.get() + size)};
}

struct Reader {
  const char* name;
  const char* file;
  Result (*read)(const std::string& path);
  bool own = false;        // no other library reads
  bool endsEarly = false;  // a file that ends early is read as far as it goes
  bool isStream = false;   // of the C library, which takes an interruption for the end
};
void PrintTo(const Reader& reader, std::ostream* stream) { *stream << reader.name; }

const Reader kReaders[] = {
    {"png", "png/gen_im_rgba8.png", ReadThrough<RImageStreamQT>},
    {"jpeg", "jpeg/sdl_sample.jpg", ReadThrough<RImageStreamQT>},
    {"tiff", "tiff/gen_oiio_rgb16.tif", ReadThrough<RImageStreamQT>},
    {"bmp", "bmp/oiio_g24.bmp", ReadThrough<RImageStreamQT>},
    {"svg", "svg/sdl_svg.svg", ReadThrough<RImageStreamQT>},
    {"tgaOfQt", "tga/gen_oiio_rgba.tga", ReadThrough<RImageStreamQT>},
    {"tga", "tga/gen_pnm_rgb_norle.tga", ReadThrough<RImageStreamQT>, false, false, true},
    {"sgi", "sgi/pillow_hopper.sgi", ReadThrough<RImageStreamsgi>, true, true},
    {"pic", "pic/gen_syn_mixed_longruns.pic", ReadThrough<RImageStreampict>, true, true, true},
    {"iff", "iff/serenity_gradient.iff", ReadThrough<RImageStreamiff>, true},
    {"yuv", "yuv/gen_smpte_720x486.yuv", ReadThrough<RImageStreamyuv>, true, true},
    {"ddsKept", "dds/magnum_dxt3.dds", ReadTexture, true},
    {"ddsStored", "dds/magnum_dxt10-rgba16snorm.dds", ReadTexture, true},
};

class ReadTrouble : public testing::TestWithParam<Reader> {
 protected:
  void SetUp() override {
    // Tables, plugins and caches are made once; they are no leaks.
    mExpected = GetParam().read(mPath);
    ASSERT_FALSE(mExpected.IsRefusal());
    FileTrouble watch(mPath, Trouble::kNone);
    EXPECT_EQ(GetParam().read(mPath), mExpected);
    mNames = watch.Names();
    ASSERT_NE(mNames.find('r'), std::string::npos) << "the reads of this reader are not seen";
  }

  // Calls `check` with what is read while each call in turn is in trouble.
  template <class Check>
  void ForEachCall(Trouble trouble, int error, const Check& check) {
    const std::size_t files = test::OpenFiles();
    for (int call = 0; call < static_cast<int>(mNames.size()); ++call) {
      const char name = mNames[static_cast<std::size_t>(call)];
      SCOPED_TRACE(testing::Message() << "call " << call << " of " << mNames.size());
      Result result;
      {
        const FileTrouble disk(mPath, trouble, call, error);
        result = GetParam().read(mPath);
      }
      check(name, result);
    }
    EXPECT_EQ(test::OpenFiles(), files);
  }

  test::TemporaryFolder mFolder;
  std::string mPath = mFolder.Write(std::filesystem::path(GetParam().file).filename(),
                                    test::ReadFile(test::DataPath(GetParam().file)));
  Result mExpected;
  std::string mNames;
};

TEST_P(ReadTrouble, AFailureIsARefusalOrAPictureOfTheSameSize) {
  for (const Trouble trouble : {Trouble::kFails, Trouble::kFailsFromThenOn}) {
    ForEachCall(trouble, EIO, [&](char name, const Result& result) {
      if (result.IsRefusal()) return;
      EXPECT_EQ(result.width, mExpected.width);
      EXPECT_EQ(result.height, mExpected.height);
      EXPECT_EQ(result.pixels.size(), mExpected.pixels.size());
      // Closing changes nothing of what was read; the others must not give a wrong picture.
      if (GetParam().own && (name != 'r' || !GetParam().endsEarly)) {
        EXPECT_EQ(result, mExpected);
      }
    });
  }
}

TEST_P(ReadTrouble, AFileThatCannotBeOpenedIsRefused) {
  for (const int error : {EIO, EACCES, EMFILE, ENFILE, ENOMEM, ELOOP}) {
    const FileTrouble disk(mPath, Trouble::kFailsFromThenOn, 0, error);
    EXPECT_TRUE(GetParam().read(mPath).IsRefusal()) << error;
  }
}

TEST_P(ReadTrouble, PartsAreAskedForUntilAllIsThere) {
  ForEachCall(Trouble::kShort, 0, [&](char, const Result& result) {
    // Decoders of other libraries may take it for the file's end, as disks give parts only there.
    if (GetParam().own || !result.IsRefusal()) {
      EXPECT_EQ(result.pixels.size(), mExpected.pixels.size());
    }
    if (GetParam().own) {
      EXPECT_EQ(result, mExpected);
    }
  });
}

TEST_P(ReadTrouble, InterruptedCallsAreRepeated) {
  ForEachCall(Trouble::kInterrupted, 0, [&](char, const Result& result) {
    if (GetParam().isStream && (result.IsRefusal() || GetParam().endsEarly)) return;
    EXPECT_EQ(result, mExpected);
  });
}

INSTANTIATE_TEST_SUITE_P(Readers, ReadTrouble, testing::ValuesIn(kReaders), test::CaseName());

// --- Writers

template <class Stream>
bool WriteThrough(RImage& image, const std::string& path) {
  Stream stream;
  stream.SetFileName(path.c_str());
  stream.SetImage(&image);
  return stream.StreamCreate(nullptr);
}

bool WriteByName(RImage& image, const std::string& path) {
  return RImage::WriteToDisk(&image, path.c_str(), "", 90, 0);
}

struct Writer {
  const char* name;
  const char* file;
  bool (*write)(RImage& image, const std::string& path);
  bool own = false;
};
void PrintTo(const Writer& writer, std::ostream* stream) { *stream << writer.name; }

const Writer kWriters[] = {
    {"tif", "out.tif", WriteThrough<RImageStreamQT>},
    {"tiff", "out.tiff", WriteThrough<RImageStreamQT>},
    {"jpg", "out.jpg", WriteThrough<RImageStreamQT>},
    {"tga", "out.tga", WriteThrough<RImageStreamQT>, true},
    {"yuv", "out.yuv", WriteThrough<RImageStreamyuv>, true},
    {"png", "out.png", WriteByName},
    {"bmp", "out.bmp", WriteByName},
    {"jpeg", "out.jpeg", WriteByName},
};

class WriteTrouble : public testing::TestWithParam<Writer> {
 protected:
  void SetUp() override {
    Bytes bytes;
    ASSERT_TRUE(Write(bytes));
    FileTrouble watch(mPath, Trouble::kNone);
    ASSERT_TRUE(Write(mExpected));
    EXPECT_EQ(bytes, mExpected);
    mNames = watch.Names();
    ASSERT_NE(mNames.find('w'), std::string::npos) << "the writes of this writer are not seen";
  }

  // Writes a new picture, for writing may turn it over.
  bool Write(Bytes& bytes) const {
    const test::ProbePtr image = test::MakeNoiseImage(kImageFormatRGB, 150, 90);
    const bool written = GetParam().write(*image, mPath);
    if (written) bytes = test::ReadFile(mPath);
    return written;
  }

  template <class Check>
  void ForEachCall(Trouble trouble, int error, const Check& check) {
    const std::size_t files = test::OpenFiles();
    for (int call = 0; call < static_cast<int>(mNames.size()); ++call) {
      const char name = mNames[static_cast<std::size_t>(call)];
      SCOPED_TRACE(testing::Message() << "call " << call << " of " << mNames.size() << ", error " << error);
      std::filesystem::remove(mPath);
      Bytes bytes;
      bool written = false;
      const test::ProbePtr image = test::MakeNoiseImage(kImageFormatRGB, 150, 90);
      {
        const FileTrouble disk(mPath, trouble, call, error);
        written = GetParam().write(*image, mPath);
      }
      if (written) bytes = test::ReadFile(mPath);
      check(name, written, bytes);
    }
    EXPECT_EQ(test::OpenFiles(), files);
  }

  test::TemporaryFolder mFolder;
  std::string mPath = mFolder.Path(GetParam().file);
  Bytes mExpected;
  std::string mNames;
};

TEST_P(WriteTrouble, AFailedWriteIsToldToTheCaller) {
  for (const int error : {ENOSPC, EIO, EDQUOT, EFBIG}) {
    ForEachCall(Trouble::kFails, error, [&](char name, bool written, const Bytes& bytes) {
      if (name == 'w' || name == 'o') {
        EXPECT_FALSE(written);
      }
      if (written && name != 'c') {
        EXPECT_EQ(bytes, mExpected) << "a failure without consequences";
      }
      if (name == 'c' && GetParam().own) {
        EXPECT_FALSE(written);
      }
    });
  }
}

TEST_P(WriteTrouble, AFullDiskIsToldToTheCaller) {
  ForEachCall(Trouble::kFailsFromThenOn, ENOSPC, [&](char name, bool written, const Bytes& bytes) {
    if (name != 'c') {
      EXPECT_TRUE(!written || bytes == mExpected);
    }
    if (name == 'w' || name == 'o') {
      EXPECT_FALSE(written);
    }
  });
}

TEST_P(WriteTrouble, PartsAreContinued) {
  ForEachCall(Trouble::kShort, 0, [&](char, bool written, const Bytes& bytes) {
    if (GetParam().own) {
      EXPECT_TRUE(written);
    }
    if (written) {
      EXPECT_EQ(bytes, mExpected);
    }
  });
}

TEST_P(WriteTrouble, InterruptedCallsAreRepeated) {
  ForEachCall(Trouble::kInterrupted, 0, [&](char, bool written, const Bytes& bytes) {
    EXPECT_TRUE(written);
    EXPECT_EQ(bytes, mExpected);
  });
}

INSTANTIATE_TEST_SUITE_P(Writers, WriteTrouble, testing::ValuesIn(kWriters), test::CaseName());

}  // namespace
