// What a device holds, as a file that the module's readers can open.
#pragma once

#include <QtGlobal>
#include <cstdint>
#include <string>

class QIODevice;

/// An open file that the object owns; it goes with the object.
class DeviceFile {
 public:
  DeviceFile() = default;
  ~DeviceFile();
  DeviceFile(const DeviceFile&) = delete;
  DeviceFile& operator=(const DeviceFile&) = delete;

  /// Opens what the device holds from its position on. A file that is read from its first byte is opened
  /// again, without copying; the contents of any other device go to a file in memory, as far as they have
  /// arrived. The position of a device that can seek stays.
  ///
  /// Fails when the system refuses, and for contents to be copied that are above 2 GiB or Qt's allocation
  /// limit.
  [[nodiscard]] bool Open(QIODevice& device);
  /// Opens a new, empty file in memory.
  [[nodiscard]] bool Create();

  /// Returns a path by which the file can be opened as long as the object lives.
  std::string Path() const;
  /// Returns the size in bytes, or -1.
  std::int64_t Size() const;
  /// Writes all of the file to the device. Fails when the device does not take it.
  [[nodiscard]] bool CopyTo(QIODevice& device) const;

 private:
  bool OpenAgain(QIODevice& device);
  bool CopyFrom(QIODevice& device);

  int mDescriptor = -1;
};
