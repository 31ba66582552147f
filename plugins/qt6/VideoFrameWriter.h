// Writing of video frames.
#pragma once

class QIODevice;
class QImage;

/// Writes the image, over black where it is transparent, as a frame of 720 x 486 pixels to which images of
/// another size are resampled. Fails without pixels, without memory and when the device does not take it.
[[nodiscard]] bool WriteVideoFrame(const QImage& image, QIODevice& device);
