// The picture library of the PIC reader: plain functions on a C stream, for callers that want scanlines.
//
//     RPrivatePicture* picture = pictureAllocate();
//     channelPacket* packets = nullptr;
//     FILE* file = pictureReadFileHeader("shot", picture, &packets);    // opens shot.pic
//     for (each channel c) picture->buffer[c] = calloc(2, picture->width);
//     for (each scanline, the top one first) {
//       for (each channel c) picture->write[c] = picture->buffer[c];
//       pictureReadScanline(file, picture, packets);                    // fills buffer[c][0 ... width - 1]
//     }
//     fclose(file);
//     channelPacketDispose(&packets);
//     pictureDispose(&picture);
#pragma once

#include <cstdint>
#include <cstdio>

#include "image/RImageExport.h"

extern "C" {

/// Some channels of a picture that are coded together, and the next of them in the file's order.
struct channelPacket {
  std::uint8_t size;  ///< bits a sample; samples are read as bytes whatever it says
  std::uint8_t
      type;  ///< how they are coded, in the low 4 bits: 0 raw, 1 runs, 2 runs and raw, others not known
  std::uint8_t channel;  ///< which channels: red 0x80, green 0x40, blue 0x20, alpha 0x10
  channelPacket* next;   ///< null at the end
};

/// A picture while it is read.
struct RPrivatePicture {
  std::uint16_t width;   ///< pixels a scanline
  std::uint16_t height;  ///< scanlines
  float ratio;           ///< width of a pixel over its height
  std::uint16_t fields;  ///< which fields of a frame the file holds
  unsigned char*
      buffer[4];  ///< rows of red, green, blue, alpha: each null or 2 x width bytes from malloc, owned
  unsigned char* write[4];  ///< where the next samples of each channel go, within its buffer
};

/// Returns a new picture with ratio 1 and everything else zero, which the caller owns and gives back with
/// `pictureDispose`; null when memory runs out.
RIMAGE_API RPrivatePicture* pictureAllocate();
/// Frees a picture and those of its buffers that are set, and sets the pointer to null. A null pointer, or a
/// pointer to null, is fine. Returns true.
RIMAGE_API bool pictureDispose(RPrivatePicture** picture);
/// Frees a list of packets and sets the pointer to null. A null pointer, or a pointer to null, is fine.
RIMAGE_API void channelPacketDispose(channelPacket** packets);

/// Reads the 88 bytes of the header and the 4 bytes of the id behind it. Returns the id, 0x50494354 for a
/// picture, or 0 when the header's magic number is another or the file ends. After the right magic number the
/// file's version goes to `version` and its comment to the 80 bytes at `comment`, padded with zeros and not
/// terminated when it is that long; either may be null. A version above 2.6 makes two lines of warning on
/// standard error.
RIMAGE_API long headerReadBinary(std::FILE* file, float* version, char* comment);

/// Opens a picture and reads everything before the first scanline: the header, the size, ratio and fields
/// into `picture`, and the packets into a new list at `*packets`, which the caller owns, also after a
/// failure.
///
/// A name of more than 4 characters that ends with ".pic", in small letters, is taken as it is; to any other
/// ".pic" is added. Returns the open stream, which the caller closes. Returns null when an argument is null,
/// the file cannot be opened, it is no picture, or memory runs out. A file that ends early is no failure: its
/// list of packets is shorter.
RIMAGE_API std::FILE* pictureReadFileHeader(const char* name, RPrivatePicture* picture,
                                            channelPacket** packets);

/// The same for a stream that is open, from its position on; it stays open, and a late version is no reason
/// for a warning. Returns whether it is a picture.
RIMAGE_API bool pictureReadOpenFileHeader(std::FILE* file, RPrivatePicture* picture, channelPacket** packets);

/// Reads one scanline of every packet to the write pointers, and moves each channel's write pointer on by the
/// width, once for every packet that has the channel. Samples go no further than 2 x width bytes into a
/// buffer: those past its end, and those of a channel without a buffer, are read and dropped. The end of the
/// file ends the scanline; samples that it did not give keep their values. Returns true.
RIMAGE_API bool pictureReadScanline(std::FILE* file, RPrivatePicture* picture, channelPacket* packets);

}  // extern "C"
