#include <QImageWriter>

#include "FileFormats.h"
#include "HeldMessages.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "streams/RCheckedFile.h"

namespace {

// Qt divides by alpha for all other formats, which wraps where a colour is above alpha.
bool StoresPremultiplied(const std::string& path) {
  const std::string extension = ExtensionOf(path);
  return extension == "tif" || extension == "tiff";
}

// Brings the colours to what the target's format and writer take them for. Returns whether they are straight
// and go to a writer that wants to be told so.
bool PrepareColours(Picture& picture, const std::string& path) {
  const TargetAlpha target = AlphaOfTarget(path);
  if (IsOpaque(picture)) return false;
  if (target == TargetAlpha::kNone) DropAlpha(picture);
  if (target == TargetAlpha::kBytes) MakeStraight(picture);
  if (target == TargetAlpha::kQt && !StoresPremultiplied(path)) LimitToAlpha(picture);
  return target == TargetAlpha::kQt && picture.alpha == AlphaState::kStraight;
}

bool WriteByModule(RImage& image, const std::string& path, const WriteOptions& options) {
  const auto writer = CreateStream(kWriterGroup, path);
  if (!writer) return RImage::WriteToDisk(&image, path.c_str(), "", options.quality, options.compression);
  RStreamOptions streamOptions;
  streamOptions.quality = options.quality;
  streamOptions.compression = options.compression;
  writer->SetFileName(path.c_str());
  writer->SetObject(&image);
  return writer->StreamCreate(&streamOptions);
}

bool WriteByQt(const Picture& picture, const std::string& path, const WriteOptions& options) {
  RCheckedFile file(QString::fromStdString(path));
  QImageWriter writer(&file, QByteArray());
  writer.setQuality(options.quality);
  writer.setCompression(options.compression);
  return writer.write(ToQImage(picture)) && file.Finish();
}

void Write(Picture& picture, const std::string& path, const WriteOptions& options) {
  // The module's writer takes the colours of RGBA pixels as premultiplied; straight ones are written here.
  const bool straight = PrepareColours(picture, path);
  OutputFile output(path);
  HeldMessages held;
  const bool written = straight ? WriteByQt(picture, output.TemporaryPath(), options)
                                : WriteByModule(*picture.image, output.TemporaryPath(), options);
  if (!written) {
    const auto messages = held.Take();
    const std::string reason = output.FindReason();
    throw Failure(ExitCode::kWrite, path, reason.empty() ? "the picture could not be written" : reason,
                  reason.empty() && !messages.empty() ? Printable(messages.back()) : "");
  }
  output.Commit();
}

}  // namespace

void CheckWriting(const std::string& path, const WriteOptions& options) {
  CheckWriter(path);
  if (options.quality >= 0) CheckEncoder(path, EncoderOption::kQuality, "--quality");
  if (options.compression >= 0) CheckEncoder(path, EncoderOption::kCompression, "--compression");
}

void WritePicture(Picture picture, const std::string& path, const WriteOptions& options) {
  CheckWriter(path);
  NamingMemoryFailure(ExitCode::kWrite, path, [&] { Write(picture, path, options); });
}
