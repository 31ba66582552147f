#include "streams/PicPicture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "rbaselib/RFile.h"
#include "streams/PicFormat.h"

namespace {

constexpr std::size_t kChannels = kPicChannelMasks.size();

// The scanlines' bytes in a C stream, which is locked once for many reads.
class FileSource {
 public:
  explicit FileSource(std::FILE* file) : mFile(file) { flockfile(mFile); }
  ~FileSource() { funlockfile(mFile); }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  [[nodiscard]] bool Byte(unsigned& value) {
    const int byte = getc_unlocked(mFile);
    if (byte == EOF) return false;
    value = static_cast<unsigned>(byte);
    return true;
  }
  std::span<const unsigned char> Take(std::size_t size) {
    return {mBytes, fread_unlocked(mBytes, 1, std::min(size, sizeof mBytes), mFile)};
  }

 private:
  std::FILE* mFile;
  unsigned char mBytes[kPicMaxTake];
};

void WarnOfVersion(float version) {
  if (!(static_cast<double>(version) > PicHeader::kRelease)) return;
  std::fprintf(stderr, "Warning, file version %g is later than Prox release version %g\n",
               static_cast<double>(version), PicHeader::kRelease);
  std::fprintf(stderr, "Attempt to read: An error may occur...\n");
}

[[nodiscard]] bool ReadHeader(std::FILE* file, PicHeader& header) {
  unsigned char bytes[PicHeader::kSize];
  const std::size_t size = std::fread(bytes, 1, sizeof bytes, file);
  return header.Read(RByteReader({bytes, size})) && header.magic == PicHeader::kMagic;
}

// Returns the id, or 0 when the file ends before it.
long ReadId(std::FILE* file) {
  unsigned char bytes[sizeof kPicId];
  std::uint32_t id = 0;
  RByteReader in({bytes, std::fread(bytes, 1, sizeof bytes, file)});
  return in.Big(id) ? static_cast<long>(id) : 0;
}

std::string PicturePath(std::string_view name) {
  constexpr std::string_view kSuffix = ".pic";
  std::string path(name);
  if (name.size() <= kSuffix.size() || !name.ends_with(kSuffix)) path += kSuffix;
  return path;
}

void ReadDimensions(std::FILE* file, RPrivatePicture& picture) {
  unsigned char bytes[PicDimensions::kSize];
  PicDimensions read = {picture.width, picture.height, picture.ratio, picture.fields};
  read.Read(RByteReader({bytes, std::fread(bytes, 1, sizeof bytes, file)}));
  picture.width = read.width;
  picture.height = read.height;
  picture.ratio = read.ratio;
  picture.fields = read.fields;
}

// Appends packets to the empty list until one is not chained or the file ends. Fails when memory runs out.
[[nodiscard]] bool ReadPackets(std::FILE* file, channelPacket** packets) {
  unsigned char bytes[4];
  do {
    if (std::fread(bytes, 1, sizeof bytes, file) < sizeof bytes) return true;
    auto* packet = static_cast<channelPacket*>(std::malloc(sizeof(channelPacket)));
    if (!packet) return false;
    *packet = {bytes[1], bytes[2], bytes[3], nullptr};
    *packets = packet;
    packets = &packet->next;
  } while (bytes[0] != 0);
  return true;
}

// Reads what stands between the id and the scanlines. Fails when memory runs out.
[[nodiscard]] bool ReadDescription(std::FILE* file, RPrivatePicture& picture, channelPacket** packets) {
  ReadDimensions(file, picture);
  return ReadPackets(file, packets);
}

using Writer = RKeepingRowWriter;

// The part of a channel's buffer from its write pointer on; empty when the pointer does not point into the
// buffer.
std::span<unsigned char> Room(const RPrivatePicture& picture, std::size_t channel) {
  unsigned char* begin = picture.buffer[channel];
  unsigned char* write = picture.write[channel];
  if (!begin || !write) return {};
  unsigned char* end = begin + std::size_t{2} * picture.width;
  const std::less<> before;
  if (before(write, begin) || before(end, write)) return {};
  return {write, end};
}

// Moves a channel's write pointer on by the width, but not out of its buffer.
void Advance(RPrivatePicture& picture, std::size_t channel) {
  const auto room = Room(picture, channel);
  if (room.data()) picture.write[channel] += std::min<std::size_t>(picture.width, room.size());
}

[[nodiscard]] bool ReadPacket(FileSource& source, RPrivatePicture& picture, const channelPacket& packet) {
  Writer writers[kChannels];
  Writer* channels[kChannels];
  std::size_t count = 0;
  for (std::size_t i = 0; i < kChannels; ++i) {
    if (!(packet.channel & kPicChannelMasks[i])) continue;
    writers[i] = Writer(Room(picture, i));
    channels[count++] = &writers[i];
  }
  PicChannelRows<Writer> rows({channels, count});
  const bool more = PicDecoder(source).Decode(packet.type & kPicCodeMask, rows, picture.width);
  for (std::size_t i = 0; i < kChannels; ++i) {
    if (packet.channel & kPicChannelMasks[i]) Advance(picture, i);
  }
  return more;
}

}  // namespace

RPrivatePicture* pictureAllocate() {
  auto* picture = static_cast<RPrivatePicture*>(std::calloc(1, sizeof(RPrivatePicture)));
  if (picture) picture->ratio = 1;
  return picture;
}

bool pictureDispose(RPrivatePicture** picture) {
  if (!picture || !*picture) return true;
  for (unsigned char* buffer : (*picture)->buffer) std::free(buffer);
  std::free(*picture);
  *picture = nullptr;
  return true;
}

void channelPacketDispose(channelPacket** packets) {
  if (!packets) return;
  while (*packets) {
    channelPacket* first = *packets;
    *packets = first->next;
    std::free(first);
  }
}

long headerReadBinary(std::FILE* file, float* version, char* comment) {
  PicHeader header;
  if (!file || !ReadHeader(file, header)) return 0;
  if (version) *version = header.version;
  if (comment) std::strncpy(comment, header.comment.data(), header.comment.size());
  WarnOfVersion(header.version);
  return ReadId(file);
}

std::FILE* pictureReadFileHeader(const char* name, RPrivatePicture* picture, channelPacket** packets) {
  if (!name || !picture || !packets) return nullptr;
  *packets = nullptr;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(WideCharFileOpen(PicturePath(name).c_str(), "rb"),
                                                       std::fclose);
  if (!file || headerReadBinary(file.get(), nullptr, nullptr) != kPicId) return nullptr;
  return ReadDescription(file.get(), *picture, packets) ? file.release() : nullptr;
}

bool pictureReadOpenFileHeader(std::FILE* file, RPrivatePicture* picture, channelPacket** packets) {
  if (!file || !picture || !packets) return false;
  *packets = nullptr;
  PicHeader header;
  return ReadHeader(file, header) && ReadId(file) == kPicId && ReadDescription(file, *picture, packets);
}

bool pictureReadScanline(std::FILE* file, RPrivatePicture* picture, channelPacket* packets) {
  if (!file || !picture) return true;
  FileSource source(file);
  for (; packets; packets = packets->next) {
    if (!ReadPacket(source, *picture, *packets)) break;
  }
  return true;
}
