// Telling files apart by their names.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

/// Follows symbolic links, also to a file that is not there yet. Links in a circle are an error.
std::filesystem::path FollowLinks(std::filesystem::path path, std::error_code& error);

/// Gives each file one name, whatever links and folders lead to it, and whether it is there or not. Hard
/// links are files of their own: what writes one of them leaves the others.
class RealNames {
 public:
  std::string Of(const std::string& path);

 private:
  // The last folder, which most names of a sequence share.
  std::filesystem::path mFolder;
  std::filesystem::path mRealFolder;
};

/// Whether two names lead to one file.
bool IsSameFile(const std::string& a, const std::string& b);
