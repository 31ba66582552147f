// DDS textures: the block decoders, turning blocks upside down, and loading, each beside other libraries.
#include <FreeImage.h>
#include <OpenImageIO/imageio.h>

extern "C" {
#include <libavcodec/avcodec.h>
}
#ifdef RIMAGE_BENCH_OSG
#include <osg/Image>
#include <osgDB/ReadFile>
#endif

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BenchSupport.h"
#include "dds/CDDSImageAccess.h"
#include "dds/blocks/BlockDecoder.h"
#include "dds/blocks/BlockKernels.h"
#include "support/DdsBuilder.h"
#include "support/MemoryFile.h"

namespace {

using Bytes = std::vector<unsigned char>;
using test::DdsBuilder;

// --- Decoding.

constexpr int kSide = 2048;

struct DecodeCase {
  const char* name;
  kBlockFormat format;
  const char (&code)[5];
  std::uint32_t dxgi;  // 0: the code stands alone
  bool inLibavcodec;
  bool inFreeImage;
};

constexpr DecodeCase kDecodeCases[] = {
    {"DecodeBC1", kBlockBC1, "DXT1", 0, true, true},    {"DecodeBC2", kBlockBC2, "DXT3", 0, true, true},
    {"DecodeBC3", kBlockBC3, "DXT5", 0, true, true},    {"DecodeBC4", kBlockBC4, "BC4U", 0, true, false},
    {"DecodeBC5", kBlockBC5, "ATI2", 0, true, false},   {"DecodeBC6H", kBlockBC6H, "DX10", 95, false, false},
    {"DecodeBC7", kBlockBC7, "DX10", 98, false, false},
};

// Every mode equally often, in no order that a processor could foresee. Endpoints and indices are noise.
void SetModes(kBlockFormat format, Bytes& blocks) {
  constexpr std::array<unsigned char, 14> kBc6hModes = {0, 1, 2, 6, 10, 14, 18, 22, 26, 30, 3, 7, 11, 15};
  constexpr unsigned kLowest = 31;
  for (std::size_t i = 0; i < blocks.size(); i += 16) {
    const unsigned pick = blocks[i + 1] * 256U + blocks[i + 2];
    unsigned char& first = blocks[i];
    if (format == kBlockBC7) {
      const unsigned mode = pick % 8;
      first = static_cast<unsigned char>((first | 1U) << mode);
    } else if (format == kBlockBC6H) {
      const unsigned char mode = kBc6hModes[pick % kBc6hModes.size()];
      const unsigned fixed = mode < 2 ? 3 : kLowest;
      first = static_cast<unsigned char>((first & ~fixed) | mode);
    }
  }
}

Bytes MakeBlocks(kBlockFormat format) {
  Bytes blocks = test::RandomBytes(static_cast<std::size_t>(RBlockGridBytes(format, kSide, kSide)), 1);
  SetModes(format, blocks);
  return blocks;
}

Bytes MakeFile(const DecodeCase& what) {
  DdsBuilder file(kSide, kSide);
  const Bytes blocks = MakeBlocks(what.format);
  if (what.dxgi != 0)
    file.Dxgi(what.dxgi);
  else
    file.Code(what.code);
  return file.LinearSize(static_cast<std::uint32_t>(blocks.size())).Data(blocks).File();
}

std::size_t PixelBytes(const DecodeCase& what) {
  return std::size_t{kSide} * kSide * static_cast<std::size_t>(RSizeOf(what.format).pixelBytes);
}

bench::Action DecodeOurs(const DecodeCase& what) {
  const auto blocks = std::make_shared<Bytes>(MakeBlocks(what.format));
  const std::shared_ptr<unsigned char> pixels = bench::MakeBuffer(PixelBytes(what));
  const auto decode = [=] { return RDecodeBlockImage(what.format, *blocks, kSide, kSide, pixels.get()); };
  // The first row of blocks, decoded without newer instructions.
  Bytes expected(PixelBytes(what) / kSide * 4);
  rblocks::kPortable.decode[static_cast<std::size_t>(what.format)](blocks->data(), kSide / 4, expected.data(),
                                                                   expected.size() / 4);
  if (!decode() || std::memcmp(expected.data(), pixels.get(), expected.size()) != 0) return {};
  return [=] { benchmark::DoNotOptimize(decode()); };
}

struct AvDecoder {
  AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_DDS));
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();

  explicit AvDecoder(const Bytes& file) {
    context->thread_count = 1;
    avcodec_open2(context, nullptr, nullptr);
    av_new_packet(packet, static_cast<int>(file.size()));
    std::memcpy(packet->data, file.data(), file.size());
  }
  ~AvDecoder() {
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
  }
  AvDecoder(const AvDecoder&) = delete;
  AvDecoder& operator=(const AvDecoder&) = delete;

  bool Decode() const {
    return avcodec_send_packet(context, packet) >= 0 && avcodec_receive_frame(context, frame) >= 0;
  }
};

bench::Action DecodeLibavcodec(const DecodeCase& what) {
  const auto decoder = std::make_shared<AvDecoder>(MakeFile(what));
  if (!decoder->Decode()) return {};
  return [=] { benchmark::DoNotOptimize(decoder->Decode()); };
}

bench::Action DecodeFreeImage(const DecodeCase& what) {
  const auto file = std::make_shared<Bytes>(MakeFile(what));
  const auto decode = [=] {
    FIMEMORY* memory = FreeImage_OpenMemory(file->data(), static_cast<DWORD>(file->size()));
    FIBITMAP* bitmap = FreeImage_LoadFromMemory(FIF_DDS, memory, 0);
    const bool decoded = bitmap != nullptr;
    FreeImage_Unload(bitmap);
    FreeImage_CloseMemory(memory);
    return decoded;
  };
  if (!decode()) return {};
  return [=] { benchmark::DoNotOptimize(decode()); };
}

bench::Action DecodeOpenImageIO(const DecodeCase& what) {
  OIIO::attribute("threads", 1);
  const auto file = std::make_shared<test::MemoryFile>(MakeFile(what), ".dds");
  const std::shared_ptr<unsigned char> pixels = bench::MakeBuffer(PixelBytes(what));
  const auto decode = [=] {
    const auto input = OIIO::ImageInput::open(file->Path());
    return input && input->read_image(0, 0, 0, -1, OIIO::TypeDesc::UNKNOWN, pixels.get());
  };
  if (!decode()) return {};
  return [=] { benchmark::DoNotOptimize(decode()); };
}

void RegisterDecode(const DecodeCase& what) {
  const std::string subject = what.name;
  const std::size_t bytes = PixelBytes(what);
  bench::Register(subject, "ours", bytes, [what] { return DecodeOurs(what); });
  if (what.inLibavcodec)
    bench::Register(subject, "libavcodec", bytes, [what] { return DecodeLibavcodec(what); });
  if (what.inFreeImage)
    bench::Register(subject, "FreeImage", bytes, [what] { return DecodeFreeImage(what); });
  bench::Register(subject, "OpenImageIO", bytes, [what] { return DecodeOpenImageIO(what); });
  bench::RegisterMemcpy(subject, bytes);
}

// --- Turning blocks upside down.

constexpr int kFlipSide = 4096;

// What the layout of a half block says, byte by byte: for one that is turned by hand.
void SwapColourRows(unsigned char* half) {
  std::swap(half[4], half[7]);
  std::swap(half[5], half[6]);
}

void SwapChannelRows(unsigned char* half) {
  unsigned rows[4];
  for (int row = 0; row < 4; ++row) {
    const int bit = 12 * row;
    const unsigned pair = half[2 + bit / 8] | static_cast<unsigned>(half[3 + bit / 8]) << 8;
    rows[row] = pair >> bit % 8 & 0xFFF;
  }
  for (int pair = 0; pair < 2; ++pair) {
    const unsigned bits = rows[3 - 2 * pair] | rows[2 - 2 * pair] << 12;
    for (int i = 0; i < 3; ++i) half[2 + 3 * pair + i] = static_cast<unsigned char>(bits >> (8 * i));
  }
}

using SwapRows = void (*)(unsigned char*);

struct FlipCase {
  const char* name;
  std::uint32_t format;
  std::size_t blockBytes;
  std::array<SwapRows, 2> halves;
  unsigned glFormat;  // for the peer; 0: it has none
};

constexpr FlipCase kFlipCases[] = {
    {"FlipDXT1", nv_dds::kTextureFormatDXT1, 8, {SwapColourRows, nullptr}, 0x83F1},
    {"FlipDXT5", nv_dds::kTextureFormatDXT5, 16, {SwapChannelRows, SwapColourRows}, 0x83F3},
    {"FlipBC5", nv_dds::kTextureFormatBC5, 16, {SwapChannelRows, SwapChannelRows}, 0},
};

std::size_t FlipBytes(const FlipCase& what) {
  return std::size_t{kFlipSide / 4} * (kFlipSide / 4) * what.blockBytes;
}

// Block by block, as the format document reads.
void FlipPlainly(const FlipCase& what, unsigned char* blocks) {
  const std::size_t row = kFlipSide / 4 * what.blockBytes;
  const std::size_t bytes = FlipBytes(what);
  for (std::size_t i = 0; i < bytes; i += what.blockBytes) {
    what.halves[0](blocks + i);
    if (what.halves[1]) what.halves[1](blocks + i + 8);
  }
  for (std::size_t y = 0; y < bytes / 2; y += row)
    std::swap_ranges(blocks + y, blocks + y + row, blocks + bytes - row - y);
}

bench::Action FlipOurs(const FlipCase& what) {
  const std::size_t bytes = FlipBytes(what);
  const std::shared_ptr<unsigned char> blocks = bench::MakeBuffer(bytes);
  const auto access = std::make_shared<nv_dds::CDDSImageAccess>(what.format);
  const auto flip = [=] { access->Flip(blocks.get(), kFlipSide, kFlipSide, 1, static_cast<int>(bytes)); };
  Bytes expected(blocks.get(), blocks.get() + bytes);
  FlipPlainly(what, expected.data());
  flip();
  if (std::memcmp(expected.data(), blocks.get(), bytes) != 0) return {};
  return flip;
}

bench::Action FlipNaive(const FlipCase& what) {
  const std::shared_ptr<unsigned char> blocks = bench::MakeBuffer(FlipBytes(what));
  return [=] { FlipPlainly(what, blocks.get()); };
}

#ifdef RIMAGE_BENCH_OSG
bench::Action FlipOsg(const FlipCase& what) {
  const osg::ref_ptr<osg::Image> image = new osg::Image;
  image->allocateImage(kFlipSide, kFlipSide, 1, what.glFormat, GL_UNSIGNED_BYTE);
  std::memcpy(image->data(), bench::MakeBuffer(FlipBytes(what)).get(), FlipBytes(what));
  return [=] { image->flipVertical(); };
}
#endif

void RegisterFlip(const FlipCase& what) {
  const std::string subject = what.name;
  const std::size_t bytes = FlipBytes(what);
  bench::Register(subject, "ours", bytes, [what] { return FlipOurs(what); });
  bench::Register(subject, "naive", bytes, [what] { return FlipNaive(what); });
#ifdef RIMAGE_BENCH_OSG
  if (what.glFormat != 0) bench::Register(subject, "OpenSceneGraph", bytes, [what] { return FlipOsg(what); });
#endif
  bench::RegisterInPlace(subject, bytes);
}

// --- Loading.

constexpr std::uint32_t kLoadLevels = 13;

// DXT5 of 4096 x 4096 pixels with all its levels.
std::shared_ptr<test::MemoryFile> MakeTexture(std::size_t& bytes) {
  bytes = 0;
  for (std::uint32_t level = 0; level < kLoadLevels; ++level)
    bytes += static_cast<std::size_t>(RBlockGridBytes(kBlockBC3, kFlipSide >> level, kFlipSide >> level));
  DdsBuilder file(kFlipSide, kFlipSide);
  file.Code("DXT5").Mipmaps(kLoadLevels).Data(test::RandomBytes(bytes, 2));
  return std::make_shared<test::MemoryFile>(file.File(), ".dds");
}

bench::Action LoadOurs() {
  std::size_t bytes = 0;
  const auto file = MakeTexture(bytes);
  const auto load = [=] {
    nv_dds::CDDSImage image;
    return image.load(file->Path(), false) && image.get_num_mipmaps() == kLoadLevels - 1;
  };
  if (!load()) return {};
  return [=] { benchmark::DoNotOptimize(load()); };
}

// The limit: the file's bytes into memory that is there already.
bench::Action LoadFread() {
  std::size_t bytes = 0;
  const auto file = MakeTexture(bytes);
  const std::shared_ptr<unsigned char> buffer = bench::MakeBuffer(bytes);
  return [=] {
    std::FILE* stream = std::fopen(file->Path(), "rb");
    benchmark::DoNotOptimize(std::fread(buffer.get(), 1, bytes, stream));
    std::fclose(stream);
  };
}

#ifdef RIMAGE_BENCH_OSG
bench::Action LoadOsg() {
  std::size_t bytes = 0;
  const auto file = MakeTexture(bytes);
  const auto load = [=] { return osgDB::readRefImageFile(file->Path()).valid(); };
  if (!load()) return {};
  return [=] { benchmark::DoNotOptimize(load()); };
}
#endif

void RegisterLoad() {
  const auto bytes = static_cast<std::size_t>(RBlockGridBytes(kBlockBC3, kFlipSide, kFlipSide)) / 3 * 4;
  bench::Register("LoadDXT5", "ours", bytes, LoadOurs);
#ifdef RIMAGE_BENCH_OSG
  bench::Register("LoadDXT5", "OpenSceneGraph", bytes, LoadOsg);
#endif
  bench::Register("LoadDXT5", "fread", bytes, LoadFread);
}

[[maybe_unused]] const bool kRegistered = [] {
  for (const DecodeCase& what : kDecodeCases) RegisterDecode(what);
  for (const FlipCase& what : kFlipCases) RegisterFlip(what);
  RegisterLoad();
  return true;
}();

}  // namespace
