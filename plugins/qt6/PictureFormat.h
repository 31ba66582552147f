// The picture formats that the plugin adds to Qt.
#pragma once

#include <QByteArray>
#include <optional>

class QIODevice;

enum class PictureFormat { kPic, kSgi, kIff, kDds, kYuv };

/// Returns the format of Qt's name for it, which is an extension in small letters; none for the formats of
/// others.
std::optional<PictureFormat> PictureFormatOf(const QByteArray& name);

/// Returns the chief name of the format.
QByteArray NameOf(PictureFormat format);

/// Whether the contents of the device, from its position on, are those of such a file as far as their start
/// tells. Video frames have no mark: they are told by the number of bytes, and where the device does not know
/// that (it is sequential), any contents may be one. The position stays.
bool MayBe(PictureFormat format, QIODevice& device);

/// Finds the format by the contents alone. Video frames are never found: any file could be one. The position
/// stays.
std::optional<PictureFormat> FindPictureFormat(QIODevice& device);
