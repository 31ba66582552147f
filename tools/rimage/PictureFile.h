// Reading and writing of picture files.
#pragma once

#include <QImageIOHandler>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "Host.h"
#include "Picture.h"
#include "TextureReader.h"

/// How pictures are read.
struct ReadOptions {
  bool orient = true;                                     ///< turn pictures the way their files ask for
  std::uint64_t maxMemory = 1024ULL * 1024ULL * 1024ULL;  ///< bytes of pixels that one picture may take
  TextureOptions texture;
  bool isolate = false;               ///< decode in a process with limits of its own
  int seconds = 30;                   ///< that such a process may take for one picture
  std::set<std::string> blackened{};  ///< files whose pixels count as black: stand-ins for missing ones
};

/// How pictures are written.
struct WriteOptions {
  int quality = -1;      ///< 0 to 100; -1 leaves the choice to the format
  int compression = -1;  ///< Qt's scale for the format; -1 leaves the choice to the format
};

/// A picture and how its file holds it.
struct FilePicture {
  Picture picture;
  QImageIOHandler::Transformations orientation;  ///< what the file asks for, applied or not
  std::optional<RDDSInfo> texture = {};          ///< the whole of a texture file
};

/// Starts what reading the file needs beside the module. To be called for all files of a command before the
/// first is read: the GUI application starts once, with OpenGL or without.
void PrepareToRead(Host& host, const std::string& path, const ReadOptions& options);

/// Reads a file through the reader that is registered for its extension. Failures tell apart a file that is
/// missing, not readable, empty, of an unknown extension, damaged or larger than allowed.
FilePicture ReadPictureFile(Host& host, const std::string& name, const ReadOptions& options);

/// The same, without the file's particulars.
Picture ReadPicture(Host& host, const std::string& path, const ReadOptions& options);

/// Fails unless a file of this name can be written with these options, as far as its extension tells.
void CheckWriting(const std::string& path, const WriteOptions& options);

/// Writes the first layer through the registered writer for the extension, or else through Qt. What is seen
/// is kept: colours are brought to the state that the file's format stores, and formats without alpha get the
/// picture over black. A failure leaves an earlier file of that name as it was.
void WritePicture(Picture picture, const std::string& path, const WriteOptions& options);
