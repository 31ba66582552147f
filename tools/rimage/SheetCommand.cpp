// rimage sheet: many pictures on one page.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QThreadPool>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <latch>
#include <memory>
#include <optional>
#include <span>
#include <thread>

#include "Commands.h"
#include "FileFormats.h"
#include "NumberCheck.h"
#include "RealNames.h"

namespace {

struct Options {
  std::vector<std::string> files;  // the last one is the sheet
  int columns = 0;                 // 0: about as many as rows
  int size = 160;
  bool replace = false;
  ReadOptions read;
  WriteOptions write;
};

constexpr int kMargin = 12;
constexpr int kLineHeight = 16;
constexpr int kLabelHeight = 2 * kLineHeight + 4;
constexpr QRgb kBackground = qRgb(43, 43, 46);
constexpr QRgb kNameColour = qRgb(235, 235, 235);
constexpr QRgb kDetailColour = qRgb(160, 160, 165);

// All files but the sheet.
std::span<const std::string> PicturesOf(const Options& options) {
  return std::span(options.files).first(options.files.size() - 1);
}

// A tile of the sheet: the picture at its final size and its two lines of text.
struct Tile {
  QImage picture;
  QString name;
  QString detail;
};

// Whether threads can run, this many at a time.
bool CanStartThreads(int count) {
  std::latch isDone(1);
  std::vector<std::jthread> threads;
  const auto run = [&isDone] {
    // With its first allocation a thread takes the room for all that follow.
    void* const volatile room = std::malloc(1);
    std::free(room);
    isDone.wait();
  };
  bool can = true;
  try {
    for (int i = 0; i < count; ++i) threads.emplace_back(run);
  } catch (const std::exception&) {
    can = false;
  }
  isDone.count_down();
  return can;
}

// Qt divides painting among the threads of its pool, and waits for ever for one that cannot be started. So
// there is one, which starts before pictures take memory, and stays.
void StartPaintingThread(const std::string& out) {
  // A thread of Qt's takes more than a bare one, and those that have ended count for a while.
  if (!CanStartThreads(2))
    throw Failure(ExitCode::kWrite, out, "not enough memory, or too many processes, for a thread");
  QThreadPool& pool = *QThreadPool::globalInstance();
  pool.setMaxThreadCount(1);
  pool.setExpiryTimeout(-1);
  const auto isStarted = std::make_shared<std::latch>(1);
  pool.start([isStarted] { isStarted->count_down(); });
  isStarted->wait();
}

// Shrinks smoothly what is too large and enlarges small pictures by whole numbers, so that their pixels show.
QImage Fit(const QImage& image, int size) {
  const int longest = std::max(image.width(), image.height());
  if (longest > size) return image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  const int factor = size / longest;
  return image.scaled(image.width() * factor, image.height() * factor);
}

Tile MakeTile(Host& host, const std::string& path, const Options& options) {
  Picture picture = ReadPicture(host, path, options.read);
  LimitToAlpha(picture);  // Qt's painter wraps around where a colour and what shows through pass 255
  RImage& image = *picture.image;
  const std::string name = path.substr(path.rfind('/') + 1);
  QImage fitted = Fit(ToQImage(picture), options.size);
  if (fitted.isNull()) throw std::bad_alloc();
  return {std::move(fitted), QString::fromStdString(Printable(name)),
          QString::fromStdString(
              fmt::format("{} x {} {}", image.GetWidth(), image.GetHeight(), FormatName(image.GetFormat())))};
}

// What shows through transparent parts.
QImage MakeCheckerboard() {
  constexpr int kSquare = 8;
  QImage board(2 * kSquare, 2 * kSquare, QImage::Format_RGB32);
  board.fill(qRgb(204, 204, 204));
  QPainter painter(&board);
  const QColor dark(qRgb(153, 153, 153));
  painter.fillRect(0, 0, kSquare, kSquare, dark);
  painter.fillRect(kSquare, kSquare, kSquare, kSquare, dark);
  return board;
}

void DrawLine(QPainter& painter, const QRect& place, QRgb colour, const QString& text) {
  painter.setPen(QColor(colour));
  const QString fitting = painter.fontMetrics().elidedText(text, Qt::ElideMiddle, place.width());
  painter.drawText(place, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine, fitting);
}

void DrawTile(QPainter& painter, const Tile& tile, const QPoint& corner, int size, const QImage& board) {
  QRect place(QPoint(0, 0), tile.picture.size());
  place.moveCenter(QRect(corner, QSize(size, size)).center());
  painter.setBrushOrigin(place.topLeft());
  painter.fillRect(place, QBrush(board));
  painter.drawImage(place.topLeft(), tile.picture);
  const QRect line(corner.x(), corner.y() + size + 4, size, kLineHeight);
  DrawLine(painter, line, kNameColour, tile.name);
  DrawLine(painter, line.translated(0, kLineHeight), kDetailColour, tile.detail);
}

int ColumnsFor(const Options& options, std::size_t count) {
  if (options.columns > 0) return std::min(options.columns, static_cast<int>(count));
  return static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
}

// The tiles, as far as the files can be read; the others are reported.
std::vector<Tile> ReadTiles(Host& host, const Options& options) {
  std::vector<Tile> tiles;
  std::optional<Failure> last;
  for (const std::string& file : PicturesOf(options)) {
    try {
      tiles.push_back(
          NamingMemoryFailure(ExitCode::kRead, file, [&] { return MakeTile(host, file, options); }));
    } catch (const Failure& failure) {
      if (last) Show(*last);
      last = failure;
    }
  }
  if (tiles.empty() && last) throw *last;
  if (last) Show(*last);
  return tiles;
}

QImage Draw(const std::vector<Tile>& tiles, const Options& options) {
  const int columns = ColumnsFor(options, tiles.size());
  const std::int64_t rows = (static_cast<std::int64_t>(tiles.size()) + columns - 1) / columns;
  const std::int64_t width = kMargin + std::int64_t{columns} * (options.size + kMargin);
  const std::int64_t height = kMargin + rows * (options.size + kLabelHeight + kMargin);
  CheckMemory(ExitCode::kUsage, "sheet", width, height, 4, options.read.maxMemory);
  QImage sheet(static_cast<int>(width), static_cast<int>(height), QImage::Format_RGB32);
  if (sheet.isNull()) throw std::bad_alloc();
  sheet.fill(kBackground);
  QPainter painter(&sheet);
  QFont font;
  font.setPixelSize(kLineHeight - 4);
  painter.setFont(font);
  const QImage board = MakeCheckerboard();
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    const auto column = static_cast<int>(i) % columns;
    const auto row = static_cast<int>(i) / columns;
    const QPoint corner(kMargin + column * (options.size + kMargin),
                        kMargin + row * (options.size + kLabelHeight + kMargin));
    DrawTile(painter, tiles[i], corner, options.size, board);
  }
  return sheet;
}

// Where OUT was forgotten, the last picture stands in its place.
void CheckTarget(const Options& options) {
  const std::string& out = options.files.back();
  const bool isPicture = std::ranges::any_of(PicturesOf(options),
                                             [&](const std::string& file) { return IsSameFile(file, out); });
  if (isPicture) {
    throw Failure(ExitCode::kUsage, out, "this is one of the pictures and would be replaced",
                  "the sheet needs a file of its own");
  }
  std::error_code error;
  const bool isEmpty = std::filesystem::file_size(out, error) == 0;
  // What is no file, or not to be reached, is for the writer to tell.
  if (options.replace || isEmpty || error) return;
  throw Failure(ExitCode::kUsage, out, "there is such a file, which the sheet would replace",
                "OUT comes last; --replace allows it");
}

ExitCode Run(Host& host, const Options& options) {
  const std::string& out = options.files.back();
  CheckWriting(out, options.write);
  CheckTarget(options);
  for (const std::string& file : PicturesOf(options)) PrepareToRead(host, file, options.read);
  host.StartGui();
  NamingMemoryFailure(ExitCode::kWrite, out, [&] { StartPaintingThread(out); });
  const auto tiles = ReadTiles(host, options);
  NamingMemoryFailure(ExitCode::kWrite, out,
                      [&] { WritePicture(FromQImage(Draw(tiles, options)), out, options.write); });
  return tiles.size() + 1 == options.files.size() ? ExitCode::kOk : ExitCode::kDifferent;
}

}  // namespace

Command AddSheetCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("sheet", "Put pictures on one page, with their names");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE... OUT", options->files, "Pictures, and the sheet to write")->type_name("");
  command->add_option("--columns", options->columns, "Pictures side by side")
      ->transform(WholeNumber(1, 1000));
  command->add_option("--size", options->size, "Longest side of a picture on the sheet (160)")
      ->transform(WholeNumber(16, 4096));
  command->add_flag("--replace", options->replace, "Replace OUT when there is such a file");
  AddWriteOptions(*command, options->write);
  AddReadOptions(*command, options->read);
  command->footer(
      "Without --replace no file but an empty one is replaced, so that none is lost where OUT was "
      "forgotten.");
  return {command,
          [command, options](Host& host) {
            Require(*command, "FILE", !options->files.empty());
            Require(*command, "OUT", options->files.size() > 1);
            return Run(host, *options);
          },
          {{"All pictures of a kind on one page", "rimage sheet hopper.* sheet.png --columns 3 --size 200"}}};
}
