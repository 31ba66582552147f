#include "SmallFileSystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>
#include <vector>

namespace test {

namespace {

bool WriteText(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text << std::flush;
  return file.good();
}

// Who is not root becomes so among his own processes, which is enough to mount there.
bool BecomeRootOfOwn() {
  const std::string user = std::to_string(getuid());
  const std::string group = std::to_string(getgid());
  return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteText("/proc/self/setgroups", "deny") &&
         WriteText("/proc/self/uid_map", "0 " + user + " 1") &&
         WriteText("/proc/self/gid_map", "0 " + group + " 1");
}

bool LeaveMountsOfOthers() {
  static const bool kHasLeft = (unshare(CLONE_NEWNS) == 0 || BecomeRootOfOwn()) &&
                               mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  return kHasLeft;
}

}  // namespace

SmallFileSystem::SmallFileSystem(std::string folder, const std::string& options)
    : mFolder(std::move(folder)) {
  if (!LeaveMountsOfOthers() || mount("none", mFolder.c_str(), "tmpfs", 0, options.c_str()) != 0)
    mTrouble = std::string("no file system can be mounted: ") + std::strerror(errno);
}

SmallFileSystem::~SmallFileSystem() {
  if (!mTrouble.empty()) return;
  EXPECT_EQ(umount(mFolder.c_str()), 0) << std::strerror(errno);
}

void SmallFileSystem::Fill(const std::string& name) const {
  const int file = open((mFolder + '/' + name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const std::vector<char> block(4096);
  while (write(file, block.data(), block.size()) > 0) {
  }
  EXPECT_EQ(errno, ENOSPC);
  close(file);
}

void SmallFileSystem::TakeAllNames() const {
  int file = 0;
  for (int i = 0; file >= 0; ++i) {
    file = open((mFolder + '/' + std::to_string(i)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (file >= 0) close(file);
  }
  EXPECT_EQ(errno, ENOSPC);
}

void SmallFileSystem::Protect() const {
  EXPECT_EQ(mount("none", mFolder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0)
      << std::strerror(errno);
}

}  // namespace test
