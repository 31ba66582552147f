#include "OutputFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "Descriptor.h"
#include "Failure.h"
#include "FileFormats.h"
#include "RealNames.h"

namespace {

[[noreturn]] void Fail(const std::string& name, const std::string& reason, const std::string& hint = {}) {
  throw Failure(ExitCode::kWrite, name, reason, hint);
}

std::string TargetOf(const std::string& name) {
  std::error_code error;
  std::string target = FollowLinks(name, error).string();
  if (error) Fail(name, ErrorText(error.value()));
  return target;
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

void CheckTarget(const std::string& name, const std::string& target) {
  struct stat status {};
  if (stat(target.c_str(), &status) != 0) return;
  if (S_ISDIR(status.st_mode)) Fail(name, "this is a folder");
  if (!S_ISREG(status.st_mode)) Fail(name, "this is no regular file");
  if (access(target.c_str(), W_OK) != 0) Fail(name, ErrorText(errno));
}

mode_t CreationMask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}

// Gives the new file what the old one had, or what a new file gets.
bool CopyPermissions(int file, const std::string& target) {
  struct stat status {};
  if (stat(target.c_str(), &status) != 0) return fchmod(file, 0666 & ~CreationMask()) == 0;
  // Only a privileged caller may give files away; anyone else becomes the owner.
  (void)!fchown(file, status.st_uid, status.st_gid);
  return fchmod(file, status.st_mode & 07777) == 0;
}

bool Synchronise(int file) {
  // Some file systems have nothing to synchronise and say so.
  return fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;
}

}  // namespace

OutputFile::OutputFile(const std::string& target) : mName(target), mTarget(PlainPath(TargetOf(target))) {
  CheckTarget(mName, mTarget);
  const std::string suffix = '.' + ExtensionOf(mName);
  const std::string folder = FolderOf(mTarget);
  std::string pattern = folder + "/.rimage-XXXXXX" + suffix;
  const InterruptionsHeld held;
  const int file = mkstemps(pattern.data(), static_cast<int>(suffix.size()));
  if (file < 0) {
    const int error = errno;
    if (error != ENOENT) Fail(mName, ErrorText(error));
    const bool exists = access(folder.c_str(), F_OK) == 0;
    Fail(mName,
         fmt::format("the folder '{}' {}", Printable(folder), exists ? "takes no files" : "does not exist"));
  }
  close(file);
  mTemporary = pattern;
  mNote = &NoteTemporaryFile(mTemporary);
}

OutputFile::~OutputFile() {
  if (mTemporary.empty()) return;
  const InterruptionsHeld held;
  unlink(mTemporary.c_str());
  (*mNote)[0] = '\0';
}

void OutputFile::Complete() {
  Descriptor file(open(mTemporary.c_str(), O_WRONLY | O_CLOEXEC));
  if (file.Get() < 0 || !CopyPermissions(file.Get(), mTarget) || !Synchronise(file.Get()) || !file.Close()) {
    Fail(mName, ErrorText(errno));
  }
  mIsComplete = true;
}

void OutputFile::Commit() {
  if (!mIsComplete) Complete();
  const InterruptionsHeld held;
  if (rename(mTemporary.c_str(), mTarget.c_str()) != 0) Fail(mName, ErrorText(errno));
  mTemporary.clear();
  (*mNote)[0] = '\0';
}

std::string OutputFile::FindReason() const {
  // A block as large as the file systems' own needs room of its own.
  static constexpr std::array<char, 1 << 16> kBlock{};
  Descriptor file(open(mTemporary.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  const bool isWritten =
      file.Get() >= 0 && WriteWhole(file.Get(), kBlock.data(), kBlock.size()) && file.Close();
  return isWritten ? "" : ErrorText(errno);
}
