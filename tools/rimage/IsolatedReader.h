// Reading of pictures in other processes.
#pragma once

#include <sys/types.h>

#include <string>

#include "PictureFile.h"

/// Reads pictures in processes that are made for one picture each: what a decoder does wrong ends such a
/// process, and takes no more memory and time than it may.
///
/// The processes are copies of one that is made with the object and does nothing else, because a process with
/// threads, as graphics drivers start them, cannot be copied safely.
class IsolatedReader {
 public:
  /// To be made before any thread exists. All pictures are read with these options.
  IsolatedReader(Host& host, ReadOptions options);
  ~IsolatedReader();
  IsolatedReader(const IsolatedReader&) = delete;
  IsolatedReader& operator=(const IsolatedReader&) = delete;

  /// Reads as `ReadPictureFile` does. Fails also when the other process crashes, takes longer than the
  /// options' seconds, or needs more memory than three pictures of the largest size and 256 MiB. A vector
  /// picture comes as pixels that are not drawn anew.
  FilePicture Read(const std::string& path) const;

 private:
  [[noreturn]] void Serve(Host& host, int socket) const;

  ReadOptions mOptions;
  pid_t mServer = -1;
  int mSocket = -1;
};
