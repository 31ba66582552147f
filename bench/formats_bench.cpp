// Readers of SGI files beside their peers.
#include <benchmark/benchmark.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}
#include <OpenImageIO/imageio.h>
#include <stb/stb_image.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

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

namespace {

using test::Bytes;

constexpr int kSide = 2048;

// A rendered picture, channel after channel: an object with shading and some grain in front of an even
// background, and the mask of it as the fourth channel.
Bytes MakePicture(unsigned channels) {
  Bytes samples;
  samples.reserve(std::size_t{kSide} * kSide * channels);
  unsigned grain = 1;
  for (unsigned z = 0; z < channels; ++z) {
    for (int y = 0; y < kSide; ++y) {
      for (int x = 0; x < kSide; ++x) {
        grain = grain * 1664525 + 1013904223;
        const int dx = x - kSide / 2;
        const int dy = y - kSide / 2;
        const bool inside = dx * dx + dy * dy < kSide * kSide / 6;
        const unsigned shade = unsigned(x * 3 + y * 2) / 64 + 40 * z + (x % 512 < 128 ? grain >> 29 : 0);
        const unsigned outside = z == 3 ? 0 : 30 + unsigned(y) / 32;
        samples.push_back(static_cast<unsigned char>(!inside ? outside : z == 3 ? 255 : shade));
      }
    }
  }
  return samples;
}

Bytes SgiVerbatim() { return test::SgiBuilder::Verbatim(kSide, kSide, 4, MakePicture(4)).Build(); }

Bytes SgiRle() {
  const Bytes samples = MakePicture(4);
  std::vector<Bytes> rows;
  for (std::size_t i = 0; i < samples.size(); i += kSide) {
    rows.push_back(test::EncodeSgiRow({samples.data() + i, kSide}));
  }
  return test::SgiBuilder::Rle(kSide, kSide, 4, rows).Build();
}

// Scanlines of the picture's colours, then of its mask.
Bytes PicMixed() {
  const Bytes samples = MakePicture(4);
  const std::size_t plane = std::size_t{kSide} * kSide;
  test::ByteWriter body;
  for (std::size_t i = 0; i < plane; i += kSide) {
    Bytes row;
    for (std::size_t x = i; x < i + kSide; ++x)
      row.insert(row.end(), {samples[x], samples[plane + x], samples[2 * plane + x]});
    body.Raw(test::EncodePicMixed(row, 3)).Raw(test::EncodePicMixed({&samples[3 * plane + i], kSide}, 1));
  }
  return test::PicBuilder::Make(kSide, kSide, {{2, 0xE0}, {2, 0x10}}, body.Take()).Build();
}

constexpr unsigned kIlbmSide = 1024;

// A picture of 256 colours: ramps with some grain, whose planes pack as those of a scanned picture do.
Bytes Ilbm() {
  Bytes colours;
  for (unsigned i = 0; i < 768; ++i) colours.push_back(static_cast<unsigned char>(i * 85 / 256));
  constexpr std::size_t kRowBytes = kIlbmSide / 8;
  test::ByteWriter body;
  unsigned grain = 1;
  for (unsigned y = 0; y < kIlbmSide; ++y) {
    Bytes planes(8 * kRowBytes);
    for (unsigned x = 0; x < kIlbmSide; ++x) {
      grain = grain * 1664525 + 1013904223;
      const unsigned number = (x / 6 + y / 9 + (x % 256 < 64 ? grain >> 29 : 0)) & 255;
      for (unsigned p = 0; p < 8; ++p) {
        if (number >> p & 1) planes[p * kRowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
      }
    }
    for (std::size_t p = 0; p < 8; ++p) body.Raw(test::EncodeByteRun1({&planes[p * kRowBytes], kRowBytes}));
  }
  return test::IlbmBuilder::Make({kIlbmSide, kIlbmSide, 8, 0, 1}, colours, body.Take()).Build();
}

template <class Stream>
void Ours(benchmark::State& state, Bytes (*make)(), const char* suffix) {
  const test::MemoryFile file(make(), suffix);
  RDestroyPtr<RImage> image(RImageCreate());
  Stream stream;
  stream.SetFileName(file.Path());
  stream.SetImage(image.get());
  for (auto _ : state) {
    if (!stream.StreamOpen(nullptr)) state.SkipWithError("cannot read");
    benchmark::DoNotOptimize(image->GetImageBits());
  }
  state.SetBytesProcessed(state.iterations() * kSide * kSide * 4);
}

void Libavcodec(benchmark::State& state, Bytes (*make)(), AVCodecID id) {
  Bytes bytes = make();
  AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(id));
  context->thread_count = 1;
  avcodec_open2(context, nullptr, nullptr);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  av_new_packet(packet, int(bytes.size()));
  std::memcpy(packet->data, bytes.data(), bytes.size());
  for (auto _ : state) {
    if (avcodec_send_packet(context, packet) < 0 || avcodec_receive_frame(context, frame) < 0)
      state.SkipWithError("cannot read");
    benchmark::DoNotOptimize(frame->data[0]);
  }
  state.SetBytesProcessed(state.iterations() * kSide * kSide * 4);
  av_frame_free(&frame);
  av_packet_free(&packet);
  avcodec_free_context(&context);
}

void OpenImage(benchmark::State& state, Bytes (*make)(), const char* suffix) {
  const test::MemoryFile file(make(), suffix);
  std::vector<unsigned char> pixels(std::size_t{kSide} * kSide * 4);
  for (auto _ : state) {
    auto input = OIIO::ImageInput::open(file.Path());
    if (!input || !input->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, pixels.data()))
      state.SkipWithError("cannot read");
  }
  state.SetBytesProcessed(state.iterations() * kSide * kSide * 4);
}

// Demuxing, decoding to palette numbers and conversion to RGBA.
void Libavformat(benchmark::State& state, Bytes (*make)(), const char* suffix) {
  const test::MemoryFile file(make(), suffix);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  std::vector<unsigned char> pixels(std::size_t{4} * kIlbmSide * kIlbmSide);
  SwsContext* scaler = nullptr;
  for (auto _ : state) {
    AVFormatContext* format = nullptr;
    if (avformat_open_input(&format, file.Path(), nullptr, nullptr) < 0)
      return state.SkipWithError("cannot read");
    const AVCodecParameters* parameters = format->streams[0]->codecpar;
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(parameters->codec_id));
    avcodec_parameters_to_context(context, parameters);
    context->thread_count = 1;
    avcodec_open2(context, nullptr, nullptr);
    if (av_read_frame(format, packet) < 0 || avcodec_send_packet(context, packet) < 0 ||
        avcodec_receive_frame(context, frame) < 0) {
      state.SkipWithError("cannot read");
    }
    scaler =
        sws_getCachedContext(scaler, frame->width, frame->height, AVPixelFormat(frame->format), frame->width,
                             frame->height, AV_PIX_FMT_RGBA, SWS_POINT, nullptr, nullptr, nullptr);
    unsigned char* target[] = {pixels.data()};
    const int stride[] = {4 * frame->width};
    sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, target, stride);
    benchmark::DoNotOptimize(pixels.data());
    av_packet_unref(packet);
    avcodec_free_context(&context);
    avformat_close_input(&format);
  }
  state.SetBytesProcessed(state.iterations() * kIlbmSide * kIlbmSide * 4);
  sws_freeContext(scaler);
  av_frame_free(&frame);
  av_packet_free(&packet);
}

void StbImage(benchmark::State& state, Bytes (*make)()) {
  const Bytes bytes = make();
  for (auto _ : state) {
    int width = 0;
    int height = 0;
    int channels = 0;
    unsigned char* pixels =
        stbi_load_from_memory(bytes.data(), int(bytes.size()), &width, &height, &channels, 4);
    if (!pixels) state.SkipWithError("cannot read");
    benchmark::DoNotOptimize(pixels);
    stbi_image_free(pixels);
  }
  state.SetBytesProcessed(state.iterations() * kSide * kSide * 4);
}

// --- Frames of 720 x 576

constexpr int kFrameLines = 576;

// Ramps of luma with some grain, and slow changes of chroma.
Bytes Frame() {
  Bytes frame;
  unsigned grain = 1;
  for (int y = 0; y < kFrameLines; ++y) {
    for (int x = 0; x < kYuvWidth; ++x) {
      grain = grain * 1664525 + 1013904223;
      frame.push_back(static_cast<unsigned char>(x % 2 ? 110 + x / 24 : 140 - y / 20));
      frame.push_back(static_cast<unsigned char>(16 + (x + y) / 8 % 200 + static_cast<int>(grain >> 28)));
    }
  }
  return frame;
}

Bytes FramePixels() {
  const Bytes frame = Frame();
  Bytes pixels(kYuvRowBytes * kFrameLines);
  for (std::size_t y = 0; y < kFrameLines; ++y) {
    RYuvToPixels(std::span<const unsigned char, kYuvLineBytes>(&frame[y * kYuvLineBytes], kYuvLineBytes),
                 std::span<unsigned char, kYuvRowBytes>(&pixels[y * kYuvRowBytes], kYuvRowBytes));
  }
  return pixels;
}

void YuvToRgbOurs(benchmark::State& state) {
  const Bytes frame = Frame();
  Bytes pixels(kYuvRowBytes * kFrameLines);
  for (auto _ : state) {
    for (std::size_t y = 0; y < kFrameLines; ++y) {
      RYuvToPixels(std::span<const unsigned char, kYuvLineBytes>(&frame[y * kYuvLineBytes], kYuvLineBytes),
                   std::span<unsigned char, kYuvRowBytes>(&pixels[y * kYuvRowBytes], kYuvRowBytes));
    }
    benchmark::DoNotOptimize(pixels.data());
  }
  state.SetBytesProcessed(state.iterations() * std::int64_t(pixels.size()));
}

void RgbToYuvOurs(benchmark::State& state) {
  const Bytes pixels = FramePixels();
  Bytes frame(kYuvLineBytes * kFrameLines);
  for (auto _ : state) {
    for (std::size_t y = 0; y < kFrameLines; ++y) {
      RPixelsToYuv(std::span<const unsigned char, kYuvRowBytes>(&pixels[y * kYuvRowBytes], kYuvRowBytes),
                   std::span<unsigned char, kYuvLineBytes>(&frame[y * kYuvLineBytes], kYuvLineBytes));
    }
    benchmark::DoNotOptimize(frame.data());
  }
  state.SetBytesProcessed(state.iterations() * std::int64_t(frame.size()));
}

// With the flags for full chroma it interpolates between pairs, as ours does; its default does not.
void Swscale(benchmark::State& state, bool toPixels, int flags) {
  const AVPixelFormat formats[] = {AV_PIX_FMT_UYVY422, AV_PIX_FMT_RGB24};
  const int strides[] = {int(kYuvLineBytes), int(kYuvRowBytes)};
  const Bytes source = toPixels ? Frame() : FramePixels();
  Bytes target((toPixels ? kYuvRowBytes : kYuvLineBytes) * kFrameLines);
  SwsContext* scaler = sws_getContext(kYuvWidth, kFrameLines, formats[!toPixels], kYuvWidth, kFrameLines,
                                      formats[toPixels], flags, nullptr, nullptr, nullptr);
  const unsigned char* from[] = {source.data()};
  unsigned char* to[] = {target.data()};
  for (auto _ : state) {
    sws_scale(scaler, from, &strides[!toPixels], 0, kFrameLines, to, &strides[toPixels]);
    benchmark::DoNotOptimize(target.data());
  }
  state.SetBytesProcessed(state.iterations() * std::int64_t(target.size()));
  sws_freeContext(scaler);
}

void FrameCopy(benchmark::State& state, std::size_t lineBytes) {
  Bytes from(lineBytes * kFrameLines, 1);
  Bytes to(from.size(), 2);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), to.size());
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(state.iterations() * std::int64_t(to.size()));
}

void Copy(benchmark::State& state) {
  std::vector<unsigned char> from(std::size_t{kSide} * kSide * 4, 1), to(from.size(), 2);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), to.size());
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(state.iterations() * kSide * kSide * 4);
}

const bool kRegistered = [] {
  const auto add = [](const char* name, auto function, auto... arguments) {
    benchmark::RegisterBenchmark(name, function, arguments...)->Unit(benchmark::kMillisecond);
  };
  add("SgiRle/ours", Ours<RImageStreamsgi>, SgiRle, ".sgi");
  add("SgiRle/libavcodec", Libavcodec, SgiRle, AV_CODEC_ID_SGI);
  add("SgiRle/OpenImageIO", OpenImage, SgiRle, ".sgi");
  add("SgiRle/memcpy", Copy);
  add("SgiVerbatim/ours", Ours<RImageStreamsgi>, SgiVerbatim, ".sgi");
  add("SgiVerbatim/libavcodec", Libavcodec, SgiVerbatim, AV_CODEC_ID_SGI);
  add("SgiVerbatim/OpenImageIO", OpenImage, SgiVerbatim, ".sgi");
  add("SgiVerbatim/memcpy", Copy);
  add("PicMixed/ours", Ours<RImageStreampict>, PicMixed, ".pic");
  add("PicMixed/stb_image", StbImage, PicMixed);
  add("PicMixed/OpenImageIO", OpenImage, PicMixed, ".pic");
  add("PicMixed/memcpy", Copy);
  add("Ilbm/ours", Ours<RImageStreamiff>, Ilbm, ".iff");
  add("Ilbm/libavformat", Libavformat, Ilbm, ".iff");
  constexpr int kFullChroma = SWS_BILINEAR | SWS_FULL_CHR_H_INT | SWS_ACCURATE_RND;
  add("YuvToRgb/ours", YuvToRgbOurs);
  add("YuvToRgb/swscale", Swscale, true, SWS_BILINEAR);
  add("YuvToRgb/swscale_full_chroma", Swscale, true, kFullChroma);
  add("YuvToRgb/memcpy", FrameCopy, kYuvRowBytes);
  add("RgbToYuv/ours", RgbToYuvOurs);
  add("RgbToYuv/swscale", Swscale, false, SWS_BILINEAR);
  add("RgbToYuv/memcpy", FrameCopy, kYuvLineBytes);
  return true;
}();

}  // namespace
