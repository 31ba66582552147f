// Readers of SGI files beside their peers.
#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <unistd.h>

extern "C" {
#include <libavcodec/avcodec.h>
}
#include <OpenImageIO/imageio.h>
#include <stb/stb_image.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "support/PicBuilder.h"
#include "support/RunLengthEncoders.h"
#include "support/SgiBuilder.h"

namespace {

using test::Bytes;

constexpr int kSide = 2048;

// A file in memory, for the readers that want a path.
class MemoryFile {
 public:
  MemoryFile(const char* suffix, const Bytes& bytes)
      : mPath(std::string("/dev/shm/rimage-bench-") + std::to_string(getpid()) + suffix) {
    std::FILE* file = std::fopen(mPath.c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
    std::fclose(file);
  }
  ~MemoryFile() { unlink(mPath.c_str()); }
  const char* Path() const { return mPath.c_str(); }

 private:
  std::string mPath;
};

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

template <class Stream>
void Ours(benchmark::State& state, Bytes (*make)(), const char* suffix) {
  const MemoryFile file(suffix, make());
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
  const MemoryFile file(suffix, make());
  std::vector<unsigned char> pixels(std::size_t{kSide} * kSide * 4);
  for (auto _ : state) {
    auto input = OIIO::ImageInput::open(file.Path());
    if (!input || !input->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, pixels.data()))
      state.SkipWithError("cannot read");
  }
  state.SetBytesProcessed(state.iterations() * kSide * kSide * 4);
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
  return true;
}();

}  // namespace
