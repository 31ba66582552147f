// Benchmarks of the image record: pixel conversion, whole-image operations, fields.
#include <libyuv.h>

#include <QImage>
#include <vector>

#include "BenchSupport.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"

#if defined(RIMAGE_BENCH_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

extern "C" {
#include <libswscale/swscale.h>
}

namespace {

using bench::Buffer;
using bench::PictureSize;
using bench::Register;
using Image = std::shared_ptr<RImage>;

// Opens the protected operation, to time it without the storage of a new image.
struct FieldImage : RImage {
  using RImage::GetImageFields;
};

template <class T = RImage>
std::shared_ptr<T> MakeImage(kImageFormat format, int width, int height) {
  std::shared_ptr<T> image(new T, RDestroyDeleter());
  image->Init(format, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
              RImage::kIncarnationRaw);
  const std::size_t bytes =
      std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const Buffer noise = bench::MakeBuffer(bytes);
  image->SetImageBits(noise.get());
  return image;
}

// --- Conversion between layouts.

struct Layouts {
  const char* name;
  kImageFormat destination;
  int destinationBytes;
  kImageFormat source;
  int sourceBytes;
};

using YuvConvert = int (*)(const std::uint8_t*, int, std::uint8_t*, int, int, int);

struct LayoutCase {
  Layouts layouts;
  YuvConvert yuv;           // moves the same bytes, whatever it calls the channels; null: none
  QImage::Format qtSource;  // Format_Invalid: no such pair
  QImage::Format qtTarget;
  AVPixelFormat scaleSource;  // AV_PIX_FMT_NONE: no such pair
  AVPixelFormat scaleTarget;
  int openCvCode;  // -1: none
};

int ShuffleAlphaFirst(const std::uint8_t* source, int sourceStride, std::uint8_t* target, int targetStride,
                      int width, int height) {
  constexpr std::uint8_t kOrder[16] = {0, 3, 2, 1, 4, 7, 6, 5, 8, 11, 10, 9, 12, 15, 14, 13};
  return libyuv::ARGBShuffle(source, sourceStride, target, targetStride, kOrder, width, height);
}

constexpr int kNoOpenCv = -1;
#if defined(RIMAGE_BENCH_OPENCV)
constexpr int kSwapThree = cv::COLOR_BGR2RGB;
constexpr int kSwapFour = cv::COLOR_RGBA2BGRA;
constexpr int kAdd = cv::COLOR_RGB2RGBA;
constexpr int kDrop = cv::COLOR_RGBA2RGB;
#else
constexpr int kSwapThree = kNoOpenCv, kSwapFour = kNoOpenCv, kAdd = kNoOpenCv, kDrop = kNoOpenCv;
#endif

const LayoutCase kLayoutCases[] = {
    {{"RGBA_to_BGRA", kImageFormatBGRA, 4, kImageFormatRGBA, 4},
     libyuv::ABGRToARGB,
     QImage::Format_RGBA8888,
     QImage::Format_ARGB32,
     AV_PIX_FMT_RGBA,
     AV_PIX_FMT_BGRA,
     kSwapFour},
    {{"RGB_to_RGBA", kImageFormatRGBA, 4, kImageFormatRGB, 3},
     libyuv::RGB24ToARGB,
     QImage::Format_RGB888,
     QImage::Format_RGBA8888,
     AV_PIX_FMT_RGB24,
     AV_PIX_FMT_RGBA,
     kAdd},
    {{"BGR_to_RGBA", kImageFormatRGBA, 4, kImageFormatBGR, 3},
     libyuv::RAWToARGB,
     QImage::Format_BGR888,
     QImage::Format_RGBA8888,
     AV_PIX_FMT_BGR24,
     AV_PIX_FMT_RGBA,
     kNoOpenCv},
    {{"RGBA_to_RGB", kImageFormatRGB, 3, kImageFormatRGBA, 4},
     libyuv::ARGBToRGB24,
     QImage::Format_RGBA8888,
     QImage::Format_RGB888,
     AV_PIX_FMT_RGBA,
     AV_PIX_FMT_RGB24,
     kDrop},
    {{"RGBA_to_BGR", kImageFormatBGR, 3, kImageFormatRGBA, 4},
     libyuv::ARGBToRAW,
     QImage::Format_RGBA8888,
     QImage::Format_BGR888,
     AV_PIX_FMT_RGBA,
     AV_PIX_FMT_BGR24,
     kNoOpenCv},
    {{"BGR_to_RGB", kImageFormatRGB, 3, kImageFormatBGR, 3},
     libyuv::RAWToRGB24,
     QImage::Format_BGR888,
     QImage::Format_RGB888,
     AV_PIX_FMT_BGR24,
     AV_PIX_FMT_RGB24,
     kSwapThree},
    {{"ARGB_to_RGBA", kImageFormatRGBA, 4, kImageFormatARGB, 4},
     libyuv::RGBAToARGB,
     QImage::Format_Invalid,
     QImage::Format_Invalid,
     AV_PIX_FMT_ARGB,
     AV_PIX_FMT_RGBA,
     kNoOpenCv},
    {{"ABGR_to_RGBA", kImageFormatRGBA, 4, kImageFormatABGR, 4},
     libyuv::BGRAToARGB,
     QImage::Format_Invalid,
     QImage::Format_Invalid,
     AV_PIX_FMT_ABGR,
     AV_PIX_FMT_RGBA,
     kNoOpenCv},
    {{"ARGB_to_ABGR", kImageFormatABGR, 4, kImageFormatARGB, 4},
     ShuffleAlphaFirst,
     QImage::Format_Invalid,
     QImage::Format_Invalid,
     AV_PIX_FMT_ARGB,
     AV_PIX_FMT_ABGR,
     kNoOpenCv},
    // The peers keep five bits of red and stretch the channels to the full range.
    {{"RGB555_to_RGBA", kImageFormatRGBA, 4, kImageFormatRGB555, 2},
     libyuv::ARGB1555ToARGB,
     QImage::Format_RGB555,
     QImage::Format_RGBA8888,
     AV_PIX_FMT_RGB555LE,
     AV_PIX_FMT_RGBA,
     kNoOpenCv},
    {{"RGB555_to_RGB", kImageFormatRGB, 3, kImageFormatRGB555, 2},
     nullptr,
     QImage::Format_RGB555,
     QImage::Format_RGB888,
     AV_PIX_FMT_RGB555LE,
     AV_PIX_FMT_RGB24,
     kNoOpenCv},
};

// The buffers of one conversion, shared by an action and whoever checks it.
struct Conversion {
  Conversion(const LayoutCase& layoutCase, const PictureSize& pictureSize)
      : row(layoutCase),
        size(pictureSize),
        source(bench::MakeBuffer(size.Pixels() * static_cast<std::size_t>(row.layouts.sourceBytes))),
        target(bench::MakeBuffer(size.Pixels() * static_cast<std::size_t>(row.layouts.destinationBytes))) {}
  int SourceStride() const { return size.width * row.layouts.sourceBytes; }
  int TargetStride() const { return size.width * row.layouts.destinationBytes; }

  const LayoutCase& row;
  const PictureSize& size;
  Buffer source;
  Buffer target;
};

bool ConvertOurs(const Conversion& job) {
  return RImageConvertFormat(job.target.get(), job.row.layouts.destination, job.size.width, job.size.height,
                             job.source.get(), job.row.layouts.source);
}

// Compares with the peer's bytes; RGB555 is expanded differently.
bool SameAsYuv(const Conversion& job) {
  if (!job.row.yuv || job.row.layouts.sourceBytes == 2) return true;
  const std::size_t bytes =
      static_cast<std::size_t>(job.TargetStride()) * static_cast<std::size_t>(job.size.height);
  const Buffer expected = bench::MakeBuffer(bytes);
  job.row.yuv(job.source.get(), job.SourceStride(), expected.get(), job.TargetStride(), job.size.width,
              job.size.height);
  return std::memcmp(expected.get(), job.target.get(), bytes) == 0;
}

bench::Action MakeSwscale(std::shared_ptr<Conversion> job) {
  const std::shared_ptr<SwsContext> context(
      sws_getContext(job->size.width, job->size.height, job->row.scaleSource, job->size.width,
                     job->size.height, job->row.scaleTarget, SWS_POINT, nullptr, nullptr, nullptr),
      sws_freeContext);
  return [=] {
    const std::uint8_t* sources[4] = {job->source.get()};
    const int sourceStrides[4] = {job->SourceStride()};
    std::uint8_t* targets[4] = {job->target.get()};
    const int targetStrides[4] = {job->TargetStride()};
    sws_scale(context.get(), sources, sourceStrides, 0, job->size.height, targets, targetStrides);
  };
}

#if defined(RIMAGE_BENCH_OPENCV)
bench::Action MakeOpenCv(std::shared_ptr<Conversion> job) {
  cv::setNumThreads(1);
  return [=] {
    const cv::Mat source(job->size.height, job->size.width, CV_8UC(job->row.layouts.sourceBytes),
                         job->source.get());
    cv::Mat target(job->size.height, job->size.width, CV_8UC(job->row.layouts.destinationBytes),
                   job->target.get());
    cv::cvtColor(source, target, job->row.openCvCode);
  };
}
#endif

void RegisterLayout(const LayoutCase& row, const PictureSize& size) {
  const std::string subject = std::string(row.layouts.name) + "_" + size.name;
  const std::size_t bytes = size.Pixels() * static_cast<std::size_t>(row.layouts.destinationBytes);
  const auto make = [&row, &size] { return std::make_shared<Conversion>(row, size); };
  Register(subject, "ours", bytes, [=] {
    const auto job = make();
    if (!ConvertOurs(*job) || !SameAsYuv(*job)) return bench::Action();
    return bench::Action([job] { ConvertOurs(*job); });
  });
  if (row.yuv) {
    Register(subject, "libyuv", bytes, [=] {
      const auto job = make();
      return [job] {
        job->row.yuv(job->source.get(), job->SourceStride(), job->target.get(), job->TargetStride(),
                     job->size.width, job->size.height);
      };
    });
  }
  if (row.qtSource != QImage::Format_Invalid) {
    Register(subject, "qt", bytes, [=] {
      const auto job = make();
      return [job] {
        const QImage source(job->source.get(), job->size.width, job->size.height, job->SourceStride(),
                            job->row.qtSource);
        benchmark::DoNotOptimize(source.convertToFormat(job->row.qtTarget));
      };
    });
  }
  Register(subject, "swscale", bytes, [=] { return MakeSwscale(make()); });
#if defined(RIMAGE_BENCH_OPENCV)
  if (row.openCvCode != kNoOpenCv) Register(subject, "opencv", bytes, [=] { return MakeOpenCv(make()); });
#endif
  bench::RegisterMemcpy(subject, bytes);
}

// --- Operations in place.

void RegisterQtInPlace(const std::string& subject, const PictureSize& size, QImage::Format from,
                       QImage::Format to) {
  Register(subject, "qt", size.Pixels() * 4, [=, &size] {
    const std::shared_ptr<unsigned char> pixels = bench::MakeBuffer(size.Pixels() * 4);
    return [=, &size] {
      QImage image(pixels.get(), size.width, size.height, size.width * 4, from);
      image.convertTo(to);
    };
  });
}

using YuvInPlace = std::function<void(unsigned char* pixels, int stride, int width, int height)>;

void RegisterYuvInPlace(const std::string& subject, const PictureSize& size, YuvInPlace operation) {
  Register(subject, "libyuv", size.Pixels() * 4, [=, &size] {
    const std::shared_ptr<unsigned char> pixels = bench::MakeBuffer(size.Pixels() * 4);
    return [=, &size] { operation(pixels.get(), size.width * 4, size.width, size.height); };
  });
}

// Registers an operation of the record. `check` compares the bytes of one pixel before and after.
void RegisterInPlace(const std::string& subject, const PictureSize& size,
                     std::function<void(RImage&)> operation,
                     std::function<bool(const unsigned char*, const unsigned char*)> check) {
  Register(subject, "ours", size.Pixels() * 4, [=, &size] {
    const Image image = MakeImage(kImageFormatRGBA, size.width, size.height);
    const std::vector<unsigned char> before(image->GetImageBits(), image->GetImageBits() + size.Pixels() * 4);
    operation(*image);
    for (std::size_t i = 0; i < size.Pixels(); ++i) {
      if (!check(&before[4 * i], image->GetImageBits() + 4 * i)) return bench::Action();
    }
    return bench::Action([=] { operation(*image); });
  });
  bench::RegisterInPlace(subject, size.Pixels() * 4);
  bench::RegisterMemcpy(subject, size.Pixels() * 4);
}

void RegisterAlpha(const PictureSize& size) {
  const std::string premultiply = std::string("Premultiply_") + size.name;
  RegisterInPlace(
      premultiply, size, [](RImage& image) { image.Premultiply(); },
      [](const unsigned char* before, const unsigned char* after) {
        return after[0] == before[0] * before[3] / 255 && after[3] == before[3];
      });
  RegisterYuvInPlace(premultiply, size, [](unsigned char* pixels, int stride, int width, int height) {
    libyuv::ARGBAttenuate(pixels, stride, pixels, stride, width, height);
  });
  RegisterQtInPlace(premultiply, size, QImage::Format_RGBA8888, QImage::Format_RGBA8888_Premultiplied);

  const std::string unpremultiply = std::string("Unpremultiply_") + size.name;
  RegisterInPlace(
      unpremultiply, size, [](RImage& image) { image.RemovePremultiply(); },
      [](const unsigned char* before, const unsigned char* after) {
        return after[0] == (before[3] ? std::min(255, before[0] * 255 / before[3]) : before[0]);
      });
  RegisterYuvInPlace(unpremultiply, size, [](unsigned char* pixels, int stride, int width, int height) {
    libyuv::ARGBUnattenuate(pixels, stride, pixels, stride, width, height);
  });
  RegisterQtInPlace(unpremultiply, size, QImage::Format_RGBA8888_Premultiplied, QImage::Format_RGBA8888);

  const std::string scale = std::string("AlphaScale_") + size.name;
  RegisterInPlace(
      scale, size, [](RImage& image) { image.ApplyAlpha(0.75F); },
      [](const unsigned char* before, const unsigned char* after) {
        return after[2] == before[2] && after[3] == before[3] * 3 / 4;
      });
  RegisterYuvInPlace(scale, size, [](unsigned char* pixels, int stride, int width, int height) {
    libyuv::ARGBShade(pixels, stride, pixels, stride, width, height, 0xC0FFFFFF);
  });
}

void RegisterFlip(const PictureSize& size) {
  const std::string subject = std::string("VerticalFlip_") + size.name;
  RegisterInPlace(
      subject, size, [](RImage& image) { image.ImageVerticalFlip(); },
      // The rows are checked by the tests; here the operation has no pixel-wise meaning.
      [](const unsigned char*, const unsigned char*) { return true; });
  Register(subject, "qt", size.Pixels() * 4, [&size] {
    const auto image = std::make_shared<QImage>(size.width, size.height, QImage::Format_RGBA8888);
    image->fill(Qt::red);
    return [=] { image->mirror(false, true); };
  });
#if defined(RIMAGE_BENCH_OPENCV)
  Register(subject, "opencv", size.Pixels() * 4, [&size] {
    const std::shared_ptr<unsigned char> pixels = bench::MakeBuffer(size.Pixels() * 4);
    return [=, &size] {
      cv::Mat image(size.height, size.width, CV_8UC4, pixels.get());
      cv::flip(image, image, 0);
    };
  });
#endif
}

// --- New sizes.

// The size change makes a new picture, so the peer's target is new memory each time too.
void RegisterNearest(const PictureSize& from, const PictureSize& to) {
  const std::string subject = std::string("Nearest_") + from.name + "_to_" + to.name;
  const std::size_t bytes = to.Pixels() * 4;
  Register(subject, "ours", bytes, [&from, &to] {
    const Image source = MakeImage(kImageFormatRGBA, from.width, from.height);
    return [=, &to] {
      // Copies share the pixels, so this leaves the source as it is.
      RImage image(*source);
      image.ConvertSize(to.width, to.height);
      benchmark::DoNotOptimize(image.GetImageBits());
    };
  });
  Register(subject, "libyuv", bytes, [&from, &to, bytes] {
    const std::shared_ptr<unsigned char> source = bench::MakeBuffer(from.Pixels() * 4);
    return [=, &from, &to] {
      const std::unique_ptr<unsigned char, bench::FreeDeleter> target(
          static_cast<unsigned char*>(std::malloc(bytes)));
      libyuv::ARGBScale(source.get(), from.width * 4, from.width, from.height, target.get(), to.width * 4,
                        to.width, to.height, libyuv::kFilterNone);
      benchmark::DoNotOptimize(target.get());
    };
  });
  Register(subject, "qt", bytes, [&from, &to] {
    const auto source = std::make_shared<QImage>(from.width, from.height, QImage::Format_RGBA8888);
    source->fill(Qt::red);
    return [=, &to] {
      benchmark::DoNotOptimize(
          source->scaled(to.width, to.height, Qt::IgnoreAspectRatio, Qt::FastTransformation));
    };
  });
  bench::RegisterMemcpy(subject, bytes);
}

// --- Translation and fields.

void CopyQuarter(const unsigned char* source, unsigned char* target, int stride, int width, int height) {
  libyuv::ARGBCopy(source, stride, target, stride, width, height);
}

void RegisterTranslate(const PictureSize& size) {
  const std::string subject = std::string("TranslateWrap_") + size.name;
  const std::size_t bytes = size.Pixels() * 4;
  constexpr int kX = 101;
  constexpr int kY = 57;
  Register(subject, "ours", bytes, [&size] {
    const Image source = MakeImage(kImageFormatRGBA, size.width, size.height);
    const Image target = MakeImage(kImageFormatRGBA, size.width, size.height);
    return [=] { source->ImageTranslate(target.get(), kX, kY, true, false); };
  });
  Register(subject, "libyuv", bytes, [&size, bytes] {
    const std::shared_ptr<unsigned char> source = bench::MakeBuffer(bytes);
    const std::shared_ptr<unsigned char> target = bench::MakeBuffer(bytes);
    return [=, &size] {
      const int stride = size.width * 4;
      const int left = size.width - kX;
      const int below = size.height - kY;
      const unsigned char* from = source.get();
      unsigned char* to = target.get();
      CopyQuarter(from + kY * stride, to + kX * 4, stride, left, below);
      CopyQuarter(from + kY * stride + left * 4, to, stride, kX, below);
      CopyQuarter(from, to + below * stride + kX * 4, stride, left, kY);
      CopyQuarter(from + left * 4, to + below * stride, stride, kX, kY);
    };
  });
#if defined(RIMAGE_BENCH_OPENCV)
  Register(subject, "opencv", bytes, [&size] {
    const auto source = std::make_shared<cv::Mat>(size.height, size.width, CV_8UC4, cv::Scalar(1, 2, 3, 4));
    const auto target = std::make_shared<cv::Mat>(size.height, size.width, CV_8UC4);
    return [=] {
      const int left = source->cols - kX;
      const int below = source->rows - kY;
      (*source)(cv::Rect(0, kY, left, below)).copyTo((*target)(cv::Rect(kX, 0, left, below)));
      (*source)(cv::Rect(left, kY, kX, below)).copyTo((*target)(cv::Rect(0, 0, kX, below)));
      (*source)(cv::Rect(0, 0, left, kY)).copyTo((*target)(cv::Rect(kX, below, left, kY)));
      (*source)(cv::Rect(left, 0, kX, kY)).copyTo((*target)(cv::Rect(0, below, kX, kY)));
    };
  });
#endif
  bench::RegisterMemcpy(subject, bytes);
}

void RegisterFields(const PictureSize& size) {
  const int stride = size.width * 4;
  const std::string extract = std::string("FieldExtract_") + size.name;
  Register(extract, "ours", size.Pixels() * 2, [&size] {
    const auto frame = MakeImage<FieldImage>(kImageFormatRGBA, size.width, size.height);
    const Image field = MakeImage(kImageFormatRGBA, size.width, size.height / 2);
    return [=] { frame->GetImageFields(field.get(), kImageTypeField, kInterleaveFieldOne); };
  });
  Register(extract, "libyuv", size.Pixels() * 2, [=, &size] {
    const std::shared_ptr<unsigned char> frame = bench::MakeBuffer(size.Pixels() * 4);
    const std::shared_ptr<unsigned char> field = bench::MakeBuffer(size.Pixels() * 2);
    return [=, &size] {
      libyuv::CopyPlane(frame.get(), stride * 2, field.get(), stride, stride, size.height / 2);
    };
  });
  bench::RegisterMemcpy(extract, size.Pixels() * 2);

  const std::string average = std::string("FieldAverage_") + size.name;
  Register(average, "ours", size.Pixels() * 4, [&size] {
    const auto frame = MakeImage<FieldImage>(kImageFormatRGBA, size.width, size.height);
    const Image target = MakeImage(kImageFormatRGBA, size.width, size.height);
    return [=] { frame->GetImageFields(target.get(), kImageTypeFrame, kInterleaveAverage); };
  });
  // The peer writes one row of each pair; the second is a copy.
  Register(average, "libyuv", size.Pixels() * 4, [=, &size] {
    const std::shared_ptr<unsigned char> frame = bench::MakeBuffer(size.Pixels() * 4);
    const std::shared_ptr<unsigned char> target = bench::MakeBuffer(size.Pixels() * 4);
    return [=, &size] {
      for (int row = 0; row + 1 < size.height; row += 2) {
        const unsigned char* const from = frame.get() + row * stride;
        unsigned char* const to = target.get() + row * stride;
        libyuv::InterpolatePlane(from, stride, from + stride, stride, to, stride, stride, 1, 128);
        std::memcpy(to + stride, to, static_cast<std::size_t>(stride));
      }
    };
  });
  bench::RegisterMemcpy(average, size.Pixels() * 4);
}

[[maybe_unused]] const bool kRegistered = [] {
  for (const PictureSize& size : bench::kPictureSizes) {
    for (const LayoutCase& row : kLayoutCases) RegisterLayout(row, size);
    RegisterAlpha(size);
    RegisterFlip(size);
    RegisterTranslate(size);
    RegisterFields(size);
  }
  RegisterNearest(bench::kPictureSizes[1], bench::kPictureSizes[0]);
  RegisterNearest(bench::kPictureSizes[0], bench::kPictureSizes[1]);
  return true;
}();

}  // namespace
