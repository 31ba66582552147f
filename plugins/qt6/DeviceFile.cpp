#include "DeviceFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFileDevice>
#include <QImageReader>
#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "rbaselib/RFile.h"

namespace {

using Block = std::array<char, 65536>;

std::string PathOf(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

bool IsRegular(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// Takes a device that can seek back to where it stood, whatever happens.
class KeepPosition {
 public:
  explicit KeepPosition(QIODevice& device)
      : mDevice(device), mPosition(device.isSequential() ? 0 : device.pos()) {}
  ~KeepPosition() {
    if (!mDevice.isSequential()) mDevice.seek(mPosition);
  }
  KeepPosition(const KeepPosition&) = delete;
  KeepPosition& operator=(const KeepPosition&) = delete;

 private:
  QIODevice& mDevice;
  qint64 mPosition;
};

qint64 LargestCopy() {
  constexpr qint64 kLargest = std::numeric_limits<std::int32_t>::max();
  const qint64 megabytes = QImageReader::allocationLimit();
  return megabytes > 0 ? std::min(megabytes << 20, kLargest) : kLargest;
}

}  // namespace

DeviceFile::~DeviceFile() {
  if (mDescriptor != -1) close(mDescriptor);
}

bool DeviceFile::Open(QIODevice& device) { return OpenAgain(device) || CopyFrom(device); }

bool DeviceFile::Create() {
  const int descriptor = memfd_create("picture", MFD_CLOEXEC);
  if (descriptor == -1) return false;
  const int before = std::exchange(mDescriptor, descriptor);
  if (before != -1) close(before);
  return true;
}

// The path leads to the very file that the device has open, whatever has become of its name since.
bool DeviceFile::OpenAgain(QIODevice& device) {
  const auto* file = qobject_cast<QFileDevice*>(&device);
  const bool isPlain = file && file->handle() != -1 && !file->isSequential() && !file->isWritable() &&
                       !file->isTextModeEnabled() && file->pos() == 0;
  if (!isPlain) return false;
  const int descriptor = open(PathOf(file->handle()).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor == -1) return false;
  if (!IsRegular(descriptor)) {
    close(descriptor);
    return false;
  }
  mDescriptor = descriptor;
  return true;
}

bool DeviceFile::CopyFrom(QIODevice& device) {
  RFile copy;
  if (!Create() || !copy.Open(Path().c_str(), "wb")) return false;
  const KeepPosition keep(device);
  qint64 room = LargestCopy();
  Block block;
  bool copied = device.isSequential() || device.size() - device.pos() <= room;
  while (copied) {
    // A byte more than there is room for tells that the contents are too large.
    const qint64 count = device.read(block.data(), std::min<qint64>(block.size(), room + 1));
    if (count <= 0) break;
    room -= count;
    const auto size = static_cast<std::size_t>(count);
    copied = room >= 0 && copy.Write(block.data(), size) == size;
  }
  return copied && copy.Close();
}

std::string DeviceFile::Path() const { return PathOf(mDescriptor); }

std::int64_t DeviceFile::Size() const {
  struct stat status {};
  return fstat(mDescriptor, &status) == 0 ? status.st_size : -1;
}

bool DeviceFile::CopyTo(QIODevice& device) const {
  RFile file;
  if (!file.Open(Path().c_str(), "rb")) return false;
  Block block;
  std::int64_t left = Size();
  while (left > 0) {
    const auto most = static_cast<std::size_t>(std::min<std::int64_t>(left, block.size()));
    const auto count = static_cast<qint64>(file.Read(block.data(), most));
    if (count == 0 || device.write(block.data(), count) != count) return false;
    left -= count;
  }
  return left == 0;
}
