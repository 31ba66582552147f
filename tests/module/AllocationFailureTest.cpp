// Memory that runs out at every allocation in turn: in every registered reader and writer, in the operations
// of the record and in every registered effect. Each ends in its documented failure, holds on to nothing and
// goes well the next time; that a small object is not to be had may also be told by std::bad_alloc.
#include <gtest/gtest.h>

#include <QFile>
#include <algorithm>
#include <functional>
#include <map>
#include <new>
#include <optional>
#include <ostream>

#include "dds/RDDSDecoder.h"
#include "module/EntryPointrimage.h"
#include "operators/RImageOperator.h"
#include "rbaselib/RArc.h"
#include "rbaselib/RObjectRegistry.h"
#include "rbaselib/RStream.h"
#include "support/AllocationFailureTest.h"
#include "support/CaseName.h"
#include "support/ImageProbe.h"
#include "support/TestData.h"

namespace {

using test::BytesOf;
using test::MakeNoiseOrNull;
using test::Result;
using test::TakeImage;
using test::Work;
using Bytes = std::vector<unsigned char>;

// Without the C++ library's streams, whose buffers would count.
Bytes ReadBack(const std::string& path) {
  QFile file(QString::fromStdString(path));
  EXPECT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray bytes = file.readAll();
  return {bytes.begin(), bytes.end()};
}

// --- Readers and writers, as the host reaches them.

const std::map<std::string, const char*> kSamples = {
    {"tif", "tiff/gen_im_grey.tiff"},     {"tiff", "tiff/gen_oiio_rgb16.tif"},
    {"jpg", "jpeg/gen_im_420.jpg"},       {"jpeg", "jpeg/gen_im_444.jpeg"},
    {"tga", "tga/gen_im_rgba_none.tga"},  {"pic", "pic/gen_syn_mixed_longruns.pic"},
    {"iff", "iff/gen_pbm_p8_rle.iff"},    {"bmp", "bmp/oiio_g24.bmp"},
    {"yuv", "yuv/gen_smpte_720x486.yuv"}, {"sgi", "sgi/gen_ff_rgb48_rle.sgi"},
    {"rgb", "sgi/imgx_rle-rgba8.rgb"},    {"rgba", "sgi/gen_im_rgba_verb.rgba"},
    {"svg", "svg/tm_quadrants.svg"},      {"png", "png/gen_im_rgba8.png"}};

const test::TemporaryFolder& Folder() {
  static const test::TemporaryFolder kFolder;
  return kFolder;
}

Work ReaderOf(const std::string& extension) {
  const std::string path =
      Folder().Write("in." + extension, test::ReadFile(test::DataPath(kSamples.at(extension))));
  return {"Read_" + extension, [path] { return TakeImage(RImage::ImageFileRead(path.c_str())); }};
}

Work WriterOf(const std::string& extension) {
  const std::string path = Folder().Path("out." + extension);
  return {"Write_" + extension, [extension, path]() -> Result {
            const test::ProbePtr image = MakeNoiseOrNull(kImageFormatRGB);
            if (!image) return std::nullopt;
            IObject* const face = Object_Create("Stream/Writer/Image", extension.c_str());
            if (!face) return std::nullopt;
            const RDestroyPtr<RStream> stream(dynamic_cast<RStream*>(face->IQuery(0, 0)));
            stream->SetFileName(path.c_str());
            stream->SetObject(image.get());
            if (!stream->StreamCreate(nullptr)) return std::nullopt;
            return ReadBack(path);
          }};
}

using Decode = RPixelBuffer (RDDSDecoder::*)(int face, int level, int slice) const;

// Decodes the first picture to RGBA with so many bytes of a pixel.
Result DecodeTexture(const char* file, Decode decode, std::size_t bytesPerPixel) {
  RDDSDecoder decoder;
  const std::string path = test::DataPath(std::string("dds/") + file + ".dds");
  if (!decoder.Load(path.c_str()) || decoder.IsPlaceholder()) return std::nullopt;
  const RPixelBuffer pixels = (decoder.*decode)(0, 0, 0);
  if (!pixels) return std::nullopt;
  const RDDSInfo& info = decoder.GetInfo();
  return Bytes(pixels.get(),
               pixels.get() + bytesPerPixel * std::size_t(info.width) * std::size_t(info.height));
}

std::string NameOf(std::string name) {
  std::ranges::replace(name, '-', '_');
  return name;
}

std::vector<Work> ReadersAndWriters() {
  EntryPointrimage(kDllStart);
  std::vector<Work> works;
  for (const auto& row : Object_GetRegistrations("Stream/Reader/Image")) {
    // Drawing textures needs OpenGL; without it their reader gives up before anything is read.
    if (row.name != "dds") works.push_back(ReaderOf(row.name));
  }
  for (const auto& row : Object_GetRegistrations("Stream/Writer/Image")) works.push_back(WriterOf(row.name));
  for (const char* file :
       {"magnum_dxt3", "magnum_dxt1-cube-mips", "magnum_dxt10-rgba16snorm", "gen_bc7_all_modes"}) {
    works.push_back({NameOf(std::string("Decode_") + file),
                     [file] { return DecodeTexture(file, &RDDSDecoder::DecodeBytes, 4); }});
  }
  // The layouts that hold more than bytes: blocks of half floats, half floats, signed numbers.
  for (const char* file :
       {"gen_bc6h_sf16_all_modes", "magnum_dxt10-rg16f-1d", "magnum_dxt10-rgba16snorm", "magnum_bc5snorm"}) {
    works.push_back({NameOf(std::string("DecodeNumbers_") + file),
                     [file] { return DecodeTexture(file, &RDDSDecoder::DecodeFloats, 4 * sizeof(float)); }});
  }
  const std::string path = Folder().Path("disk.png");
  works.push_back({"WriteToDisk", [path]() -> Result {
                     const test::ProbePtr image = MakeNoiseOrNull(kImageFormatBGRA);
                     if (!image || !RImage::WriteToDisk(image.get(), path.c_str(), "text", 50, 50))
                       return std::nullopt;
                     return ReadBack(path);
                   }});
  works.push_back({"ReadFromDisk", []() -> Result {
                     RImage* image = nullptr;
                     const std::string from = test::DataPath("png/gen_im_rgba8.png");
                     if (!RImage::ReadFromDisk(from.c_str(), image, false)) return std::nullopt;
                     return TakeImage(image);
                   }});
  return works;
}

// --- Operations of the record

// Does the operation on an image of noise; what it leaves is the result, and after a failure the image is as
// it was.
Work InPlace(const char* name, bool (*operation)(RImage& image), kImageFormat format = kImageFormatRGBA) {
  return {name, [operation, format]() -> Result {
            const test::ProbePtr image = MakeNoiseOrNull(format);
            if (!image) return std::nullopt;
            const Bytes before = BytesOf(*image);
            if (operation(*image)) return BytesOf(*image);
            EXPECT_EQ(BytesOf(*image), before);
            return std::nullopt;
          }};
}

Work Making(const char* name, RImage* (*operation)(RImage& image)) {
  return {name, [operation]() -> Result {
            const test::ProbePtr image = MakeNoiseOrNull(kImageFormatRGBA);
            if (!image) return std::nullopt;
            return TakeImage(operation(*image));
          }};
}

std::vector<Work> Operations() {
  return {
      InPlace("ConvertFormat", [](RImage& i) { return i.ConvertFormat(kImageFormatRGB); }),
      InPlace(
          "ConvertFormatWider", [](RImage& i) { return i.ConvertFormat(kImageFormatRGBA); }, kImageFormatRGB),
      InPlace("ConvertSizeSmaller", [](RImage& i) { return i.ConvertSize(20, 11); }),
      InPlace("ConvertSizeLarger", [](RImage& i) { return i.ConvertSize(200, 111); }),
      InPlace("ConvertToSquare",
              [](RImage& i) {
                const unsigned char fill[4] = {1, 2, 3, 4};
                return i.ConvertToSquare(fill);
              }),
      InPlace("ImageTranslate", [](RImage& i) { return i.ImageTranslate(&i, 3, 5, true, false); }),
      Making("CreateFromAlphaChannel", [](RImage& i) { return i.CreateFromAlphaChannel(false); }),
      Making("MergeAlphaChannel", [](RImage& i) { return i.MergeAlphaChannel(&i); }),
      Making("CloneFromType",
             [](RImage& i) {
               return i.CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone);
             }),
  };
}

// --- Effects

// Makes an effect, connects it, sets everything through its record, clones it and asks for its result in
// memory, which not every effect can compute there.
Result UseEffect(const std::string& name) {
  const auto op = test::MakeConnectedEffect(name);
  if (!op) return std::nullopt;
  RArc arc;
  (void)op->ArcStore(&arc, kArcPassFields);
  (void)op->PropertiesStore(&arc);
  const std::string record = arc.GetText();
  Bytes result(record.begin(), record.end());
  const RDestroyPtr<RImageOperator> clone(op->Clone());
  if (!clone) return std::nullopt;
  RArc from;
  if (!from.SetText(record)) return std::nullopt;
  (void)clone->ArcRetrieve(&from, kArcPassFields);
  if (!clone->PropertiesRestore(&from)) return std::nullopt;
  if (!op->GetProcessingNode()) return std::nullopt;
  RFpContext context;
  if (op->ReadLock(&context, kFormRawMask) == 0) {
    if (name != "RImOpBlend") return std::nullopt;
    return result;  // it draws with OpenGL alone
  }
  RImage* const image = op->GetPlugImage(0, RImageOperator::kPlugOutput);
  if (image) {
    const Bytes pixels = BytesOf(*image);
    result.insert(result.end(), pixels.begin(), pixels.end());
  }
  (void)op->ReadUnLock(&context, kFormRawMask);
  return result;
}

std::vector<Work> Effects() {
  EntryPointrimage(kDllStart);
  std::vector<Work> works;
  for (const auto& row : Object_GetRegistrations("ArcStorable/ImageOperator"))
    works.push_back({row.name, [name = row.name] { return UseEffect(name); }});
  return works;
}

// --- The test

using AllocationFailureTest = test::AllocationFailureTest<testing::Test>;

TEST_P(AllocationFailureTest, EachIsAFailureOfTheWhole) { RunWithoutEach(); }

INSTANTIATE_TEST_SUITE_P(Files, AllocationFailureTest, testing::ValuesIn(ReadersAndWriters()),
                         test::CaseName());
INSTANTIATE_TEST_SUITE_P(Record, AllocationFailureTest, testing::ValuesIn(Operations()), test::CaseName());
INSTANTIATE_TEST_SUITE_P(Effects, AllocationFailureTest, testing::ValuesIn(Effects()), test::CaseName());

}  // namespace
