// Readers of the module's own formats, and the conversion of video frames, beside their peers. Files are made
// by the encoders of the tests and lie in memory.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}
#include <OpenImageIO/imageio.h>
#include <libyuv.h>
#include <stb/stb_image.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "image/RDestroyPtr.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/YuvFormat.h"
#include "support/IlbmBuilder.h"
#include "support/MemoryFile.h"
#include "support/PicBuilder.h"
#include "support/RunLengthEncoders.h"
#include "support/SgiBuilder.h"
#include "support/YuvReference.h"

namespace {

using test::Bytes;

// A file and its RGBA pixels, bottom row first.
struct Example {
  Bytes file;
  Bytes pixels;
  const char* suffix;
};

// --- Pictures

constexpr std::size_t kSide = 2048;
constexpr std::size_t kPlane = kSide * kSide;

class Grain {
 public:
  unsigned Next() { return (mState = mState * 1664525 + 1013904223) >> 29; }

 private:
  unsigned mState = 1;
};

// A rendered picture, channel after channel: an object with shading and some grain in front of an even
// background, and the mask of it as the fourth channel.
const Bytes& Planes() {
  static const Bytes samples = [] {
    Bytes made;
    made.reserve(4 * kPlane);
    Grain grain;
    for (unsigned z = 0; z < 4; ++z) {
      for (int y = 0; y < int(kSide); ++y) {
        for (int x = 0; x < int(kSide); ++x) {
          const unsigned noise = grain.Next();
          const int dx = x - int(kSide) / 2;
          const int dy = y - int(kSide) / 2;
          const bool inside = dx * dx + dy * dy < int(kPlane) / 6;
          const unsigned shade = unsigned(x * 3 + y * 2) / 64 + 40 * z + (x % 512 < 128 ? noise : 0);
          const unsigned outside = z == 3 ? 0 : 30 + unsigned(y) / 32;
          made.push_back(static_cast<unsigned char>(!inside ? outside : z == 3 ? 255 : shade));
        }
      }
    }
    return made;
  }();
  return samples;
}

Bytes PixelsOfPlanes() {
  Bytes pixels(4 * kPlane);
  for (std::size_t z = 0; z < 4; ++z) {
    for (std::size_t i = 0; i < kPlane; ++i) pixels[4 * i + z] = Planes()[z * kPlane + i];
  }
  return pixels;
}

const Example& SgiVerbatim() {
  static const Example example = {test::SgiBuilder::Verbatim(kSide, kSide, 4, Planes()).Build(),
                                  PixelsOfPlanes(), ".sgi"};
  return example;
}

const Example& SgiRle() {
  static const Example example = [] {
    std::vector<Bytes> rows;
    for (std::size_t i = 0; i < 4 * kPlane; i += kSide) {
      rows.push_back(test::EncodeSgiRow({Planes().data() + i, kSide}));
    }
    return Example{test::SgiBuilder::Rle(kSide, kSide, 4, rows).Build(), PixelsOfPlanes(), ".sgi"};
  }();
  return example;
}

// Scanlines of the picture's colours, then of its mask; the first is the top row. Alpha is not read.
const Example& PicMixed() {
  static const Example example = [] {
    test::ByteWriter body;
    Bytes pixels = PixelsOfPlanes();
    for (std::size_t y = kSide; y-- > 0;) {
      Bytes row;
      for (std::size_t i = y * kSide; i < (y + 1) * kSide; ++i) {
        row.insert(row.end(), &pixels[4 * i], &pixels[4 * i + 3]);
        pixels[4 * i + 3] = 255;
      }
      body.Raw(test::EncodePicMixed(row, 3));
      body.Raw(test::EncodePicMixed({&Planes()[3 * kPlane + y * kSide], kSide}, 1));
    }
    return Example{test::PicBuilder::Make(kSide, kSide, {{2, 0xE0}, {2, 0x10}}, body.Take()).Build(), pixels,
                   ".pic"};
  }();
  return example;
}

// A picture of 256 colours: ramps with some grain, whose planes pack as those of a scanned picture do.
const Example& Ilbm() {
  static const Example example = [] {
    constexpr std::size_t kIlbmSide = 1024;
    constexpr std::size_t kRowBytes = kIlbmSide / 8;
    Bytes colours;
    for (unsigned i = 0; i < 768; ++i) colours.push_back(static_cast<unsigned char>(i * 85 / 256));
    test::ByteWriter body;
    Bytes pixels(4 * kIlbmSide * kIlbmSide, 255);
    Grain grain;
    for (std::size_t y = 0; y < kIlbmSide; ++y) {
      Bytes planes(8 * kRowBytes);
      for (std::size_t x = 0; x < kIlbmSide; ++x) {
        const unsigned noise = grain.Next();
        const std::size_t number = (x / 6 + y / 9 + (x % 256 < 64 ? noise : 0)) & 255;
        for (unsigned p = 0; p < 8; ++p) {
          if (number >> p & 1) planes[p * kRowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
        }
        std::copy_n(&colours[3 * number], 3, &pixels[4 * ((kIlbmSide - 1 - y) * kIlbmSide + x)]);
      }
      for (std::size_t p = 0; p < 8; ++p) body.Raw(test::EncodeByteRun1({&planes[p * kRowBytes], kRowBytes}));
    }
    return Example{test::IlbmBuilder::Make({kIlbmSide, kIlbmSide, 8, 0, 1}, colours, body.Take()).Build(),
                   pixels, ".iff"};
  }();
  return example;
}

// --- Readers

using MakeExample = const Example& (*)();

template <class Stream>
bench::Action ReadOurs(const Example& example) {
  const auto file = std::make_shared<test::MemoryFile>(example.file, example.suffix);
  const std::shared_ptr<RImage> image(RImageCreate(), RDestroyDeleter());
  const auto stream = std::make_shared<Stream>();
  stream->SetFileName(file->Path());
  stream->SetImage(image.get());
  if (!stream->StreamOpen(nullptr) ||
      std::memcmp(image->GetImageBits(), example.pixels.data(), example.pixels.size()) != 0) {
    return {};
  }
  return [file, image, stream] { benchmark::DoNotOptimize(stream->StreamOpen(nullptr)); };
}

// The decoder alone, from bytes in memory to its own frames.
bench::Action ReadLibavcodec(const Example& example, AVCodecID id) {
  const std::shared_ptr<AVCodecContext> context(avcodec_alloc_context3(avcodec_find_decoder(id)),
                                                [](AVCodecContext* c) { avcodec_free_context(&c); });
  const std::shared_ptr<AVPacket> packet(av_packet_alloc(), [](AVPacket* p) { av_packet_free(&p); });
  const std::shared_ptr<AVFrame> frame(av_frame_alloc(), [](AVFrame* f) { av_frame_free(&f); });
  context->thread_count = 1;
  avcodec_open2(context.get(), nullptr, nullptr);
  av_new_packet(packet.get(), int(example.file.size()));
  std::memcpy(packet->data, example.file.data(), example.file.size());
  const auto read = [=] {
    return avcodec_send_packet(context.get(), packet.get()) >= 0 &&
           avcodec_receive_frame(context.get(), frame.get()) >= 0;
  };
  if (!read()) return {};
  return [=] { benchmark::DoNotOptimize(read()); };
}

bench::Action ReadOpenImageIO(const Example& example) {
  const auto file = std::make_shared<test::MemoryFile>(example.file, example.suffix);
  const auto pixels = std::make_shared<Bytes>(example.pixels.size());
  const auto read = [=] {
    const auto input = OIIO::ImageInput::open(file->Path());
    return input && input->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, pixels->data());
  };
  if (!read()) return {};
  return [=] { benchmark::DoNotOptimize(read()); };
}

bench::Action ReadStbImage(const Example& example) {
  const auto read = [&example] {
    int width = 0;
    int height = 0;
    int channels = 0;
    unsigned char* pixels =
        stbi_load_from_memory(example.file.data(), int(example.file.size()), &width, &height, &channels, 4);
    stbi_image_free(pixels);
    return pixels != nullptr;
  };
  if (!read()) return {};
  return [=] { benchmark::DoNotOptimize(read()); };
}

// Demuxing, decoding to palette numbers and conversion to RGBA.
class LibavformatReader {
 public:
  explicit LibavformatReader(const Example& example)
      : mFile(example.file, example.suffix), mPixels(example.pixels.size()) {}
  ~LibavformatReader() {
    sws_freeContext(mScaler);
    av_frame_free(&mFrame);
    av_packet_free(&mPacket);
  }
  LibavformatReader(const LibavformatReader&) = delete;
  LibavformatReader& operator=(const LibavformatReader&) = delete;

  bool Read() {
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, mFile.Path(), nullptr, nullptr) < 0) return false;
    const AVCodecParameters* parameters = format->streams[0]->codecpar;
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(parameters->codec_id));
    avcodec_parameters_to_context(context, parameters);
    context->thread_count = 1;
    avcodec_open2(context, nullptr, nullptr);
    const bool read = av_read_frame(format, mPacket) >= 0 && avcodec_send_packet(context, mPacket) >= 0 &&
                      avcodec_receive_frame(context, mFrame) >= 0;
    if (read) Convert();
    av_packet_unref(mPacket);
    avcodec_free_context(&context);
    avformat_close_input(&format);
    return read;
  }

 private:
  void Convert() {
    const int width = mFrame->width;
    const int height = mFrame->height;
    mScaler = sws_getCachedContext(mScaler, width, height, AVPixelFormat(mFrame->format), width, height,
                                   AV_PIX_FMT_RGBA, SWS_POINT, nullptr, nullptr, nullptr);
    unsigned char* target[] = {mPixels.data()};
    const int stride[] = {4 * width};
    sws_scale(mScaler, mFrame->data, mFrame->linesize, 0, height, target, stride);
  }

  test::MemoryFile mFile;
  Bytes mPixels;
  AVPacket* mPacket = av_packet_alloc();
  AVFrame* mFrame = av_frame_alloc();
  SwsContext* mScaler = nullptr;
};

bench::Action ReadLibavformat(const Example& example) {
  const auto reader = std::make_shared<LibavformatReader>(example);
  if (!reader->Read()) return {};
  return [reader] { benchmark::DoNotOptimize(reader->Read()); };
}

// --- Frames of 720 x 576

constexpr std::size_t kFrameLines = 576;
constexpr std::size_t kFrameBytes = kFrameLines * kYuvLineBytes;
constexpr std::size_t kFramePixelBytes = kFrameLines * kYuvRowBytes;

// Ramps of luma with some grain, and slow changes of chroma.
const Bytes& Frame() {
  static const Bytes frame = [] {
    Bytes made;
    Grain grain;
    for (int y = 0; y < int(kFrameLines); ++y) {
      for (int x = 0; x < kYuvWidth; ++x) {
        made.push_back(static_cast<unsigned char>(x % 2 ? 110 + x / 24 : 140 - y / 20));
        made.push_back(static_cast<unsigned char>(16 + (x + y) / 8 % 200 + int(2 * grain.Next())));
      }
    }
    return made;
  }();
  return frame;
}

void FrameToPixels(const Bytes& frame, Bytes& pixels) {
  for (std::size_t y = 0; y < kFrameLines; ++y) {
    RYuvToPixels(std::span<const unsigned char, kYuvLineBytes>(&frame[y * kYuvLineBytes], kYuvLineBytes),
                 std::span<unsigned char, kYuvRowBytes>(&pixels[y * kYuvRowBytes], kYuvRowBytes));
  }
}

void PixelsToFrame(const Bytes& pixels, Bytes& frame) {
  for (std::size_t y = 0; y < kFrameLines; ++y) {
    RPixelsToYuv(std::span<const unsigned char, kYuvRowBytes>(&pixels[y * kYuvRowBytes], kYuvRowBytes),
                 std::span<unsigned char, kYuvLineBytes>(&frame[y * kYuvLineBytes], kYuvLineBytes));
  }
}

// The frame's pixels, bit by bit as they are defined.
const Bytes& FramePixels() {
  static const Bytes pixels = [] {
    Bytes made;
    for (std::size_t line = 0; line < kFrameBytes; line += kYuvLineBytes) {
      for (std::size_t x = 0; x < kYuvWidth; ++x) {
        const unsigned char* own = &Frame()[line + x / 2 * 4];
        const unsigned char* next = x < kYuvWidth - 2 && x % 2 ? own + 4 : own;
        const auto pixel =
            test::ReferencePixel(Frame()[line + 2 * x + 1], (own[0] + next[0]) / 2, (own[2] + next[2]) / 2);
        for (const int byte : pixel) made.push_back(static_cast<unsigned char>(byte));
      }
    }
    return made;
  }();
  return pixels;
}

bool IsFrameOf(const Bytes& frame, const Bytes& pixels) {
  for (std::size_t i = 0; i < frame.size() / 2; ++i) {
    const auto [y, cb, cr] = test::ReferenceComponents(pixels[3 * i], pixels[3 * i + 1], pixels[3 * i + 2]);
    if (frame[2 * i + 1] != y) return false;
    if (i % 2 == 0 && (frame[2 * i] != cb || frame[2 * i + 2] != cr)) return false;
  }
  return true;
}

bench::Action ToPixelsOurs() {
  const auto pixels = std::make_shared<Bytes>(kFramePixelBytes);
  FrameToPixels(Frame(), *pixels);
  if (*pixels != FramePixels()) return {};
  return [pixels] { FrameToPixels(Frame(), *pixels); };
}

bench::Action ToFrameOurs() {
  const auto frame = std::make_shared<Bytes>(kFrameBytes);
  PixelsToFrame(FramePixels(), *frame);
  if (!IsFrameOf(*frame, FramePixels())) return {};
  return [frame] { PixelsToFrame(FramePixels(), *frame); };
}

// With the flags for full chroma it interpolates between pairs, as ours does; its default does not.
bench::Action Swscale(bool toPixels, int flags) {
  const AVPixelFormat formats[] = {AV_PIX_FMT_UYVY422, AV_PIX_FMT_RGB24};
  const std::shared_ptr<SwsContext> scaler(
      sws_getContext(kYuvWidth, int(kFrameLines), formats[!toPixels], kYuvWidth, int(kFrameLines),
                     formats[toPixels], flags, nullptr, nullptr, nullptr),
      sws_freeContext);
  if (!scaler) return {};
  const auto target = std::make_shared<Bytes>(toPixels ? kFramePixelBytes : kFrameBytes);
  return [=] {
    const int strides[] = {int(kYuvLineBytes), int(kYuvRowBytes)};
    const unsigned char* from[] = {toPixels ? Frame().data() : FramePixels().data()};
    unsigned char* to[] = {target->data()};
    sws_scale(scaler.get(), from, &strides[!toPixels], 0, int(kFrameLines), to, &strides[toPixels]);
  };
}

// From and to pixels of 4 bytes, which it has vector code for, unlike those of 3.
bench::Action Libyuv(bool toPixels) {
  constexpr int kStride = 4 * kYuvWidth;
  const auto pixels = std::make_shared<Bytes>(kStride * kFrameLines, 100);
  const auto frame = std::make_shared<Bytes>(Frame());
  if (toPixels) {
    return [=] {
      libyuv::UYVYToARGB(frame->data(), int(kYuvLineBytes), pixels->data(), kStride, kYuvWidth, kFrameLines);
    };
  }
  return [=] {
    libyuv::ARGBToUYVY(pixels->data(), kStride, frame->data(), int(kYuvLineBytes), kYuvWidth, kFrameLines);
  };
}

// --- Registration

template <class Stream>
void RegisterReader(const std::string& subject, std::size_t bytes, MakeExample make) {
  bench::Register(subject, "ours", bytes, [make] { return ReadOurs<Stream>(make()); });
}

void RegisterSgi(const std::string& subject, MakeExample make) {
  constexpr std::size_t kBytes = 4 * kPlane;
  RegisterReader<RImageStreamsgi>(subject, kBytes, make);
  bench::Register(subject, "libavcodec", kBytes, [make] { return ReadLibavcodec(make(), AV_CODEC_ID_SGI); });
  bench::Register(subject, "OpenImageIO", kBytes, [make] { return ReadOpenImageIO(make()); });
  bench::RegisterMemcpy(subject, kBytes);
}

void RegisterFrames(const std::string& subject, bool toPixels) {
  constexpr int kFullChroma = SWS_BILINEAR | SWS_FULL_CHR_H_INT | SWS_ACCURATE_RND;
  const std::size_t bytes = toPixels ? kFramePixelBytes : kFrameBytes;
  bench::Register(subject, "ours", bytes, toPixels ? ToPixelsOurs : ToFrameOurs);
  bench::Register(subject, "swscale", bytes, [=] { return Swscale(toPixels, SWS_BILINEAR); });
  if (toPixels) {
    bench::Register(subject, "swscale_full", bytes, [=] { return Swscale(toPixels, kFullChroma); });
  }
  bench::Register(subject, "libyuv_argb", bytes, [=] { return Libyuv(toPixels); });
  bench::RegisterMemcpy(subject, bytes);
}

[[maybe_unused]] const bool kRegistered = [] {
  RegisterSgi("SgiRle", SgiRle);
  RegisterSgi("SgiVerbatim", SgiVerbatim);

  RegisterReader<RImageStreampict>("PicMixed", 4 * kPlane, PicMixed);
  bench::Register("PicMixed", "stb_image", 4 * kPlane, [] { return ReadStbImage(PicMixed()); });
  bench::Register("PicMixed", "OpenImageIO", 4 * kPlane, [] { return ReadOpenImageIO(PicMixed()); });
  bench::RegisterMemcpy("PicMixed", 4 * kPlane);

  constexpr std::size_t kIlbmBytes = std::size_t{4} << 20;
  RegisterReader<RImageStreamiff>("Ilbm", kIlbmBytes, Ilbm);
  bench::Register("Ilbm", "libavformat", kIlbmBytes, [] { return ReadLibavformat(Ilbm()); });
  bench::RegisterMemcpy("Ilbm", kIlbmBytes);

  RegisterFrames("YuvToRgb", true);
  RegisterFrames("RgbToYuv", false);
  return true;
}();

}  // namespace
