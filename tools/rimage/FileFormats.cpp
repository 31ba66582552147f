#include "FileFormats.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QImageReader>
#include <QImageWriter>
#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "Failure.h"
#include "rbaselib/RObjectRegistry.h"
#include "streams/RImageStreamQT.h"

namespace {

struct Target {
  std::string_view extension;
  TargetAlpha alpha;
  EncoderOption option;
  bool throughQt;  // `RImage::WriteToDisk` knows the extension
};

// Qt would take the quality of a PNG file for its compression, the other way round.
constexpr std::array kTargets{
    Target{"bmp", TargetAlpha::kNone, EncoderOption::kNone, true},
    Target{"jpeg", TargetAlpha::kNone, EncoderOption::kQuality, true},
    Target{"jpg", TargetAlpha::kNone, EncoderOption::kQuality, true},
    Target{"png", TargetAlpha::kQt, EncoderOption::kCompression, true},
    Target{"tga", TargetAlpha::kBytes, EncoderOption::kNone, true},
    Target{"tif", TargetAlpha::kQt, EncoderOption::kCompression, true},
    Target{"tiff", TargetAlpha::kQt, EncoderOption::kCompression, true},
    Target{"yuv", TargetAlpha::kNone, EncoderOption::kNone, false},
};

const Target* FindTarget(std::string_view extension) {
  const auto* const row = std::ranges::find(kTargets, extension, &Target::extension);
  return row == kTargets.end() ? nullptr : row;
}

RDestroyPtr<RStream> CreateStreamFor(const char* group, const std::string& extension) {
  IObject* face = Object_Create(group, extension.c_str());
  return RDestroyPtr<RStream>(face ? dynamic_cast<RStream*>(face->IQuery(0, 0)) : nullptr);
}

std::vector<std::string> ToNames(const QList<QByteArray>& formats) {
  std::vector<std::string> names;
  for (const QByteArray& format : formats) names.push_back(format.toStdString());
  return names;
}

bool Lists(const QList<QByteArray>& formats, const std::string& extension) {
  return formats.contains(QByteArray::fromStdString(extension));
}

// The Qt stream needs a plugin of that name, but for TGA, of which the module has an own codec.
bool IsAvailable(const RStream& stream, const std::string& extension, const QList<QByteArray>& qtFormats) {
  return !stream.Is(RImageStreamQT::ClassId) || extension == "tga" || Lists(qtFormats, extension);
}

bool IsRegistered(const char* group, const std::string& extension) {
  return std::ranges::any_of(Object_GetRegistrations(group), [&](const RObjectRegistration& registration) {
    return registration.name == extension;
  });
}

[[noreturn]] void FailUnknown(ExitCode code, const std::string& path, const char* verb,
                              std::vector<std::string> known) {
  std::ranges::sort(known);
  const std::string extension = ExtensionOf(path);
  throw Failure(code, path,
                extension.empty()
                    ? fmt::format("the name has no extension that tells how to {} it", verb)
                    : fmt::format("no way to {} the extension '{}'", verb, Printable(extension)),
                fmt::format("known: {}", fmt::join(known, ", ")));
}

std::vector<std::string> Extensions(const char* group) {
  std::vector<std::string> extensions;
  for (const RObjectRegistration& row : Object_GetRegistrations(group)) extensions.push_back(row.name);
  return extensions;
}

}  // namespace

std::string ExtensionOf(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::size_t dot = name.rfind('.');
  std::string extension = dot == std::string::npos ? "" : name.substr(dot + 1);
  for (char& c : extension) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  return extension;
}

std::string PlainPath(const std::string& path) { return path.starts_with(':') ? "./" + path : path; }

std::vector<StreamEntry> ListStreams(const char* group) {
  const bool reading = std::string_view(group) == kReaderGroup;
  const auto qtFormats =
      reading ? QImageReader::supportedImageFormats() : QImageWriter::supportedImageFormats();
  std::vector<StreamEntry> entries;
  for (const std::string& extension : Extensions(group)) {
    const auto stream = CreateStreamFor(group, extension);
    if (!stream) continue;
    entries.push_back({extension, stream->GetClassIdName(), IsAvailable(*stream, extension, qtFormats)});
  }
  return entries;
}

std::vector<std::string> ListQtWriters() {
  const auto qtFormats = QImageWriter::supportedImageFormats();
  std::vector<std::string> extensions;
  for (const Target& target : kTargets) {
    std::string extension(target.extension);
    if (!target.throughQt || IsRegistered(kWriterGroup, extension) || !Lists(qtFormats, extension)) continue;
    extensions.push_back(std::move(extension));
  }
  return extensions;
}

std::vector<std::string> ListQtReaders() { return ToNames(QImageReader::supportedImageFormats()); }

std::vector<std::string> ListQtEncoders() { return ToNames(QImageWriter::supportedImageFormats()); }

RDestroyPtr<RStream> CreateStream(const char* group, const std::string& path) {
  return CreateStreamFor(group, ExtensionOf(path));
}

std::optional<std::string> StreamClass(const char* group, const std::string& path) {
  const auto stream = CreateStream(group, path);
  if (!stream) return std::nullopt;
  return stream->GetClassIdName();
}

void CheckReader(const std::string& path) {
  if (IsRegistered(kReaderGroup, ExtensionOf(path))) return;
  FailUnknown(ExitCode::kRead, path, "read", Extensions(kReaderGroup));
}

void CheckWriter(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) throw Failure(ExitCode::kWrite, path, "this is a folder");
  const std::string extension = ExtensionOf(path);
  const Target* target = FindTarget(extension);
  if (IsRegistered(kWriterGroup, extension) || (target && target->throughQt)) return;
  auto known = Extensions(kWriterGroup);
  for (std::string& more : ListQtWriters()) known.push_back(std::move(more));
  FailUnknown(ExitCode::kWrite, path, "write", std::move(known));
}

bool TakesOption(const std::string& path, EncoderOption option) {
  const Target* target = FindTarget(ExtensionOf(path));
  return target && target->option == option;
}

void CheckEncoder(const std::string& path, EncoderOption option, const char* name) {
  if (TakesOption(path, option)) return;
  std::vector<std::string_view> takers;
  for (const Target& other : kTargets) {
    if (other.option == option) takers.push_back(other.extension);
  }
  throw Failure(ExitCode::kUsage, name, fmt::format("{} files take none", ExtensionOf(path)),
                fmt::format("it is for {}", fmt::join(takers, ", ")));
}

TargetAlpha AlphaOfTarget(const std::string& path) {
  const Target* target = FindTarget(ExtensionOf(path));
  return target ? target->alpha : TargetAlpha::kBytes;
}
