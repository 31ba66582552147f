// Pictures for the tests of the tool, made and read without it.
#pragma once

#include <QImage>
#include <string>
#include <vector>

namespace test {

/// What is in a file before something else is written there.
inline const std::vector<unsigned char> kEarlier = {'e', 'a', 'r', 'l', 'i', 'e', 'r'};

/// Pixels row by row from the top, as straight 0xAARRGGBB.
using Pixels = std::vector<QRgb>;

/// Returns a picture of straight pixels.
QImage MakeImage(int width, const Pixels& pixels);

/// Returns the pixels of a picture, straight.
Pixels PixelsOf(const QImage& image);

/// Returns a picture of every alpha with colours that differ everywhere, also where nothing shows.
QImage MakeTranslucent(int width, int height);

/// Returns an opaque picture of soft colours, which lossy formats keep well.
QImage MakeOpaque(int width, int height);

/// Returns opaque noise, which no format can make smaller.
QImage MakeNoise(int width, int height);

/// Writes a picture with Qt; the extension tells the format.
void Save(const QImage& image, const std::string& path);

/// Reads a picture with Qt, and uncompressed TGA of 24 and 32 bits byte by byte.
QImage Load(const std::string& path);

/// Writes uncompressed TGA of 32 bits, bottom row first and without the footer that Qt's reader asks for.
void SaveTga(const QImage& image, const std::string& path);

/// Returns what is seen of a picture: colours multiplied with alpha.
QImage Seen(const QImage& image);

/// Returns the largest difference of a channel between two pictures as they are seen; 256 for different
/// sizes.
int SeenDifference(const QImage& a, const QImage& b);

/// Returns the largest difference of a colour channel between a picture over black and an opaque one.
int DifferenceOverBlack(const QImage& picture, const QImage& opaque);

/// Returns the names of what is in a folder, hidden files included, in alphabetical order.
std::vector<std::string> ListFolder(const std::string& folder);

}  // namespace test
