#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QImageReader>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "FileFormats.h"
#include "FrameNumbers.h"
#include "HeldMessages.h"
#include "IsolatedReader.h"
#include "Orientation.h"
#include "PictureFile.h"
#include "PictureHeader.h"
#include "TextureDrawing.h"
#include "rbaselib/RFile.h"
#include "streams/QImageSize.h"
#include "streams/RByteReader.h"
#include "streams/RImageStreamQT.h"

namespace {

// What Qt tells about a file before its pixels are read.
struct QtDescription {
  QByteArray handler;  // empty when Qt does not know the contents
  QImage::Format format = QImage::Format_Invalid;
  QImageIOHandler::Transformations orientation = QImageIOHandler::TransformationNone;
  QSize size;
};

bool IsUtf8(const std::string& text) {
  return QString::fromUtf8(text).toUtf8() ==
         QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size()));
}

void CheckFile(const std::string& path) {
  struct stat status {};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0 || fstat(file, &status) != 0) {
    const bool isPattern = errno == ENOENT && IsFramePattern(path);
    throw Failure(ExitCode::kRead, path, ErrorText(errno),
                  isPattern ? "--frames tells what frames it stands for" : "");
  }
  close(file);
  if (S_ISDIR(status.st_mode)) throw Failure(ExitCode::kRead, path, "this is a folder");
  if (!S_ISREG(status.st_mode)) throw Failure(ExitCode::kRead, path, "this is no regular file");
  if (status.st_size == 0) throw Failure(ExitCode::kRead, path, "the file is empty");
  if (!IsUtf8(path)) throw Failure(ExitCode::kRead, path, "the name is not UTF-8", "rename the file");
}

bool IsReadThroughQt(const std::string& path) {
  return StreamClass(kReaderGroup, path) == RImageStreamQT::ClassName;
}

QtDescription Describe(const std::string& path) {
  // Files of other readers would only make Qt load all its plugins in search of one that knows them.
  if (!IsReadThroughQt(path)) return {};
  const HeldMessages held;
  QImageReader reader(QString::fromStdString(path));
  QtDescription description;
  description.handler = reader.format();
  if (description.handler.isEmpty()) return description;
  description.size = SizeOf(reader);
  description.orientation = reader.transformation();
  // Where the header cannot be read, Qt's JPEG reader hands out a format that it never set.
  const bool broken = reader.supportsOption(QImageIOHandler::Size) && !description.size.isValid();
  if (!broken) description.format = reader.imageFormat();
  return description;
}

bool IsPremultiplied(QImage::Format format) {
  return format != QImage::Format_Invalid &&
         QImage::toPixelFormat(format).premultiplied() == QPixelFormat::Premultiplied;
}

AlphaState StateOf(const QtDescription& qt, kImageFormat format) {
  // The stream hands over premultiplied colours as RGBA only; other layouts with alpha come from the module's
  // codecs.
  if (format != kImageFormatRGBA) return AlphaState::kStraight;
  // Qt's icon reader describes the pixels in the file, but paints them into a premultiplied picture.
  const bool premultiplied = qt.handler == "ico" || IsPremultiplied(qt.format);
  return premultiplied ? AlphaState::kPremultiplied : AlphaState::kStraight;
}

// A bitmap that ends early is filled up by Qt without a word. Compressed ones do not tell their size
// beforehand.
bool IsCutBitmap(const std::string& path) {
  std::array<unsigned char, 34> start{};
  RFile file;
  if (!file.Open(path.c_str(), "rb") || file.Read(start.data(), start.size()) != start.size()) return false;
  RByteReader reader(start);
  std::uint16_t magic = 0;
  std::uint16_t bits = 0;
  std::uint32_t pixels = 0;
  std::uint32_t headerSize = 0;
  std::uint32_t compression = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  const bool read = reader.Little(magic) && reader.Seek(10) && reader.Little(pixels) &&
                    reader.Little(headerSize) && reader.Little(width) && reader.Little(height) &&
                    reader.Skip(2) && reader.Little(bits) && reader.Little(compression);
  constexpr std::uint16_t kMagic = 0x4D42;
  constexpr std::uint32_t kHeaderSize = 40;
  const bool runLengths = compression == 1 || compression == 2;
  if (!read || magic != kMagic || headerSize < kHeaderSize || runLengths || width < 1) return false;
  const std::int64_t rowBytes = (std::int64_t{width} * bits + 31) / 32 * 4;
  return pixels + rowBytes * std::abs(std::int64_t{height}) > file.GetSize();
}

// The TGA plugin complains whenever it is asked about a file that it does not know, whatever the file is.
bool IsNoise(const std::string& message) { return message.starts_with("QTga"); }

std::string LastOf(const std::vector<std::string>& messages) {
  const auto last = std::find_if_not(messages.rbegin(), messages.rend(), IsNoise);
  return last == messages.rend() ? "" : Printable(*last);
}

// A decoder that runs out of data in the middle fills up the picture and only says so.
void CheckComplete(const std::string& path, const std::vector<std::string>& messages) {
  for (const std::string& message : messages) {
    if (message.find("remature end") == std::string::npos) continue;
    throw Failure(ExitCode::kRead, path, "the file is cut off", Printable(message));
  }
  if (ExtensionOf(path) == "bmp" && IsCutBitmap(path))
    throw Failure(ExitCode::kRead, path, "the file is cut off");
}

[[noreturn]] void FailDamaged(const std::string& path, const std::vector<std::string>& messages) {
  throw Failure(ExitCode::kRead, path,
                fmt::format("the {} file is damaged or of a kind that is not read", ExtensionOf(path)),
                LastOf(messages));
}

// The module's own readers speak only when a person should know.
void PassOn(const std::string& path, const std::vector<std::string>& messages) {
  if (IsReadThroughQt(path)) return;
  for (const std::string& message : messages) ShowNote(path, Printable(message));
}

// Whether the system has memory for a picture of this size and for what its decoder takes beside.
bool IsThereMemoryFor(const QSize& size) {
  // Of the widest pixels that Qt decodes to, and of the image's own.
  constexpr std::size_t kBytesPerPixel = 16 + 4;
  if (size.isEmpty()) return true;
  const std::size_t bytes =
      static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()) * kBytesPerPixel;
  void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return memory != MAP_FAILED && munmap(memory, bytes) == 0;
}

// Reads a picture of the size that its file tells; an empty one is not known.
RDestroyPtr<RImage> ReadImage(const std::string& path, const QSize& size) {
  HeldMessages held;
  errno = 0;
  RDestroyPtr<RImage> image(RImage::ImageFileRead(path.c_str()));
  const bool mayLackMemory = errno == ENOMEM;
  const auto messages = held.Take();
  // Decoders do not say why they give nothing. An allocation that failed leaves its number, but damaged files
  // ask for what nobody has, and other calls leave numbers too.
  if (!image && mayLackMemory && !IsThereMemoryFor(size)) throw std::bad_alloc();
  if (!image) FailDamaged(path, messages);
  const bool empty = image->GetWidth() < 1 || image->GetHeight() < 1 || image->GetDepth() < 1;
  if (empty || !image->GetImageBits()) throw Failure(ExitCode::kRead, path, "the file holds no pixels");
  CheckComplete(path, messages);
  PassOn(path, messages);
  return image;
}

// Textures are decoded on the processor, which is exact, unless the caller asks for the graphics driver.
bool NeedsOpenGL(const std::string& path, const ReadOptions& options) {
  return IsTexture(path) && options.texture.gpu == GpuMode::kRequire;
}

FilePicture ReadTextureFile(const std::string& path, const ReadOptions& options) {
  RDDSDecoder decoder;
  LoadTexture(path, decoder);
  const RDDSInfo info = decoder.GetInfo();
  if (!NeedsOpenGL(path, options))
    return {ReadTexture(path, decoder, options.texture, options.maxMemory), {}, info};
  decoder = {};  // its memory is not needed any more
  return {DrawTexture(path, info, options.maxMemory), {}, info};
}

// Returns the size that the file tells before its pixels are read; empty when it does not.
QSize DeclaredSize(const std::string& path, const QtDescription& qt) {
  // An uncompressed TGA file begins like one of cursors.
  const bool isKnown = !qt.size.isEmpty() && qt.handler != "cur" && qt.handler != "ico";
  return isKnown ? qt.size : SizeInHeader(path);
}

FilePicture Read(Host& host, const std::string& path, const ReadOptions& options) {
  if (IsTexture(path)) return ReadTextureFile(path, options);
  QImageReader::setAllocationLimit(static_cast<int>(options.maxMemory >> 20U));
  const QtDescription qt = Describe(path);
  // What a vector picture is drawn with exists in a GUI application only.
  if (qt.handler.startsWith("svg")) host.StartGui();
  constexpr int kBytesPerPixel = 4;
  const QSize size = DeclaredSize(path, qt);
  CheckMemory(ExitCode::kRead, path, size.width(), size.height(), kBytesPerPixel, options.maxMemory);

  FilePicture file{{ReadImage(path, size)}, qt.orientation};
  RImage& image = *file.picture.image;
  CheckMemory(ExitCode::kRead, path, image.GetWidth(), std::int64_t{image.GetHeight()} * image.GetDepth(),
              image.GetPixelSize(), options.maxMemory);
  file.picture.alpha = StateOf(qt, image.GetFormat());
  if (options.orient) ApplyOrientation(file.picture, qt.orientation);
  return file;
}

// Makes all of it black: transparent, unless the whole picture is opaque.
void Blacken(Picture& picture) {
  if (IsOpaque(picture)) DropAlpha(picture);
  picture.image->Cleanup();
}

void RequireOpenGL(Host& host, const std::string& path, const ReadOptions& readOptions) {
  const TextureOptions& options = readOptions.texture;
  if (readOptions.isolate) {
    throw Failure(ExitCode::kUsage, path, "--isolate decodes on the processor", "leave out --gpu=require");
  }
  if (options.level != 0 || options.face != 0 || options.slice != 0) {
    throw Failure(ExitCode::kUsage, path, "OpenGL reads the first picture of a texture only",
                  "leave out --gpu=require");
  }
  if (options.exposure != 0) {
    throw Failure(ExitCode::kUsage, path, "OpenGL reads the brightness of the file only",
                  "leave out --gpu=require");
  }
  const Gpu& gpu = host.StartGpu(GpuMode::kRequire);
  if (gpu.IsUsable()) return;
  throw Failure(ExitCode::kNoGpu, path, "reading it needs OpenGL: " + gpu.Reason(),
                "rimage doctor tells more");
}

}  // namespace

void PrepareToRead(Host& host, const std::string& path, const ReadOptions& options) {
  if (options.isolate) host.StartIsolation(options);
  if (NeedsOpenGL(path, options)) (void)host.StartGpu(GpuMode::kRequire);
}

FilePicture ReadPictureFile(Host& host, const std::string& name, const ReadOptions& options) {
  CheckFile(name);
  CheckReader(name);
  if (NeedsOpenGL(name, options)) RequireOpenGL(host, name, options);
  const auto read = [&] {
    FilePicture file = options.isolate ? host.Isolation()->Read(name) : Read(host, PlainPath(name), options);
    if (options.blackened.contains(name)) Blacken(file.picture);
    return file;
  };
  return NamingMemoryFailure(ExitCode::kRead, name, read);
}

Picture ReadPicture(Host& host, const std::string& path, const ReadOptions& options) {
  return ReadPictureFile(host, path, options).picture;
}
