#include "RealNames.h"

namespace fs = std::filesystem;

fs::path FollowLinks(fs::path path, std::error_code& error) {
  constexpr int kMostLinks = 40;
  std::error_code notThere;
  for (int links = 0; fs::is_symlink(path, notThere); ++links) {
    if (links == kMostLinks) {
      error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
      return path;
    }
    const fs::path next = fs::read_symlink(path, error);
    if (error) return path;
    path = path.parent_path() / next;
  }
  return path;
}

std::string RealNames::Of(const std::string& path) {
  std::error_code error;
  const fs::path file = FollowLinks(path, error);
  const fs::path folder = file.has_parent_path() ? file.parent_path() : ".";
  if (folder != mFolder) {
    mFolder = folder;
    mRealFolder = fs::weakly_canonical(folder, error);
    if (error) mRealFolder = folder;
  }
  return (mRealFolder / file.filename()).string();
}

bool IsSameFile(const std::string& a, const std::string& b) {
  RealNames names;
  return names.Of(a) == names.Of(b);
}
