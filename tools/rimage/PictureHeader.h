// What the headers of the module's own formats tell before pixels are decoded.
#pragma once

#include <QSize>
#include <string>

/// Returns the size of the picture in a file that the module decodes itself: SGI, PIC, ILBM, TGA and raw
/// video frames. Invalid for other files, and where the header is damaged or cut off, which the reader tells.
QSize SizeInHeader(const std::string& path);
