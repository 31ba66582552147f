// What can be read and written, by extension.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "rbaselib/RStream.h"

/// The groups of the module's registrations.
inline constexpr const char* kReaderGroup = "Stream/Reader/Image";
inline constexpr const char* kWriterGroup = "Stream/Writer/Image";

/// A registered reader or writer.
struct StreamEntry {
  std::string extension;
  std::string className;
  bool available = false;  ///< false when the Qt plugin that it needs is not installed
};

/// What becomes of alpha in a file of some extension.
enum class TargetAlpha {
  kNone,   ///< the format has no alpha
  kBytes,  ///< the writer stores the bytes as they are, and readers take them as straight
  kQt,     ///< Qt stores alpha and is told whether the colours are premultiplied
};

/// What an encoder can be told beside the pixels.
enum class EncoderOption {
  kNone,
  kQuality,      ///< how much is lost
  kCompression,  ///< how hard to try, or whether; nothing is lost
};

/// Returns the text after the last dot of the file's name in lower case; empty when there is none.
std::string ExtensionOf(const std::string& path);

/// Returns the path in a form that Qt takes as a path: it would look for a name that starts with a colon
/// inside the program.
std::string PlainPath(const std::string& path);

/// Returns the registered readers (or writers) in the order of their registration.
std::vector<StreamEntry> ListStreams(const char* group);
/// Returns the extensions that have no registered writer but that the module writes through Qt.
std::vector<std::string> ListQtWriters();

/// Returns the names under which Qt knows the contents of files that it reads (writes).
std::vector<std::string> ListQtReaders();
std::vector<std::string> ListQtEncoders();

/// Returns a new stream that is registered for the path's extension; null when there is none.
RDestroyPtr<RStream> CreateStream(const char* group, const std::string& path);

/// Returns the class of the registered stream for the path's extension; nothing when there is none.
std::optional<std::string> StreamClass(const char* group, const std::string& path);

/// Fails unless a file of this name can be read (written), as far as its extension tells. A folder cannot be
/// written.
void CheckReader(const std::string& path);
void CheckWriter(const std::string& path);

/// Whether files of this name take the option.
bool TakesOption(const std::string& path, EncoderOption option);

/// Fails, naming the option, unless files of this name take it.
void CheckEncoder(const std::string& path, EncoderOption option, const char* name);

/// Returns what becomes of alpha in a file of this name.
TargetAlpha AlphaOfTarget(const std::string& path);
