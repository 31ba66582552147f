#include "TestPictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "support/TestData.h"

namespace test {

namespace {

unsigned char Low(int value) { return static_cast<unsigned char>(value & 255); }

QImage LoadTga(const std::string& path) {
  const auto bytes = ReadFile(path);
  constexpr std::size_t kHeader = 18;
  if (bytes.size() < kHeader) return {};
  const int width = bytes[12] + 256 * bytes[13];
  const int height = bytes[14] + 256 * bytes[15];
  const std::size_t size = bytes[16] / 8U;
  EXPECT_EQ(bytes[2], 2) << "not uncompressed";
  EXPECT_EQ(bytes[17], size == 4 ? 8 : 0) << "alpha bits or row order";
  EXPECT_EQ(bytes.size(),
            kHeader + size * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  QImage image(width, height, QImage::Format_ARGB32);
  std::size_t at = kHeader;
  for (int y = height - 1; y >= 0; --y) {
    for (int x = 0; x < width; ++x, at += size) {
      const int alpha = size == 4 ? bytes.at(at + 3) : 255;
      image.setPixel(x, y, qRgba(bytes.at(at + 2), bytes.at(at + 1), bytes.at(at), alpha));
    }
  }
  return image;
}

}  // namespace

QImage MakeImage(int width, const Pixels& pixels) {
  const int height = static_cast<int>(pixels.size()) / width;
  QImage image(width, height, QImage::Format_ARGB32);
  for (int i = 0; i < width * height; ++i)
    image.setPixel(i % width, i / width, pixels[static_cast<std::size_t>(i)]);
  return image;
}

Pixels PixelsOf(const QImage& image) {
  const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
  Pixels pixels;
  for (int y = 0; y < straight.height(); ++y) {
    for (int x = 0; x < straight.width(); ++x) pixels.push_back(straight.pixel(x, y));
  }
  return pixels;
}

QImage MakeTranslucent(int width, int height) {
  QImage image(width, height, QImage::Format_ARGB32);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int alpha = 255 * (x + y) / std::max(1, width + height - 2);
      image.setPixel(x, y, qRgba(255 - x * 255 / width, y * 255 / height, 128 + (x - y) % 100, alpha));
    }
  }
  return image;
}

QImage MakeOpaque(int width, int height) {
  QImage image(width, height, QImage::Format_RGB32);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x)
      image.setPixel(x, y, qRgb(60 + x * 120 / width, 90 + y * 90 / height, 140));
  }
  return image;
}

QImage MakeNoise(int width, int height) {
  QImage image(width, height, QImage::Format_RGB32);
  std::minstd_rand random;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) image.setPixel(x, y, 0xFF000000U | static_cast<QRgb>(random()));
  }
  return image;
}

void Save(const QImage& image, const std::string& path) {
  ASSERT_TRUE(image.save(QString::fromStdString(path), nullptr, 100)) << path;
}

QImage Load(const std::string& path) {
  const QImage image = path.ends_with(".tga") ? LoadTga(path) : QImage(QString::fromStdString(path));
  EXPECT_FALSE(image.isNull()) << path;
  return image;
}

void SaveTga(const QImage& image, const std::string& path) {
  std::vector<unsigned char> bytes = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  for (const int number : {image.width(), image.height()}) {
    bytes.push_back(Low(number));
    bytes.push_back(Low(number >> 8));
  }
  bytes.insert(bytes.end(), {32, 8});
  for (int y = image.height() - 1; y >= 0; --y) {
    for (int x = 0; x < image.width(); ++x) {
      const QRgb pixel = image.pixel(x, y);
      bytes.insert(bytes.end(),
                   {Low(qBlue(pixel)), Low(qGreen(pixel)), Low(qRed(pixel)), Low(qAlpha(pixel))});
    }
  }
  WriteFile(path, bytes);
}

QImage Seen(const QImage& image) { return image.convertToFormat(QImage::Format_ARGB32_Premultiplied); }

namespace {

QRgb RawPixel(const QImage& image, int x, int y) {
  return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

int Largest(QRgb a, QRgb b, bool withAlpha) {
  const std::array<int, 4> differences = {std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                          std::abs(qBlue(a) - qBlue(b)),
                                          withAlpha ? std::abs(qAlpha(a) - qAlpha(b)) : 0};
  return *std::ranges::max_element(differences);
}

int LargestDifference(const QImage& a, const QImage& b, bool withAlpha) {
  const QImage seenA = Seen(a);
  const QImage seenB = Seen(b);
  if (seenA.size() != seenB.size()) return 256;
  int largest = 0;
  for (int y = 0; y < seenA.height(); ++y) {
    for (int x = 0; x < seenA.width(); ++x) {
      largest = std::max(largest, Largest(RawPixel(seenA, x, y), RawPixel(seenB, x, y), withAlpha));
    }
  }
  return largest;
}

}  // namespace

int SeenDifference(const QImage& a, const QImage& b) { return LargestDifference(a, b, true); }

int DifferenceOverBlack(const QImage& picture, const QImage& opaque) {
  EXPECT_FALSE(opaque.hasAlphaChannel() &&
               PixelsOf(opaque) != PixelsOf(opaque.convertToFormat(QImage::Format_RGB32)));
  return LargestDifference(picture, opaque, false);
}

std::vector<std::string> ListFolder(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename());
  std::ranges::sort(names);
  return names;
}

}  // namespace test
