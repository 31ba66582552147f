// File systems with little room.
#pragma once

#include <string>

namespace test {

/// A file system in memory over an empty folder, as long as the object lives. The calling thread and the
/// processes that it starts from then on see it, for which they leave the mounts of all others.
class SmallFileSystem {
 public:
  /// `options` as for mounting a tmpfs, such as "size=64k,nr_inodes=16".
  SmallFileSystem(std::string folder, const std::string& options);
  ~SmallFileSystem();
  SmallFileSystem(const SmallFileSystem&) = delete;
  SmallFileSystem& operator=(const SmallFileSystem&) = delete;

  /// Why there is none, as where the caller may not mount anything; empty when there is one.
  const std::string& Trouble() const { return mTrouble; }
  /// Fills a new file in it until nothing more fits.
  void Fill(const std::string& name) const;
  /// Makes empty files until there can be no more.
  void TakeAllNames() const;
  /// From now on nothing can be written.
  void Protect() const;

 private:
  std::string mFolder;
  std::string mTrouble;
};

}  // namespace test
