// The image record: the one in-memory image type of the library.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "image/RClass.h"
#include "image/RImageExport.h"
#include "image/RPixelMemory.h"
#include "rbaselib/RString.h"

/// Layout of one pixel in memory. 8-bit channels but for RGB555, whose pixel is one little-endian 16-bit
/// word:
///
///     bit 15 14    10 9      5 4     0
///         -  R R R R R G G G G G B B B B B
enum kImageFormat : int {
  kImageFormatUndefined = 0,  ///< 4 bytes without meaning; the format of a new record
  kImageFormatEmpty = 1,      ///< no pixel storage
  kImageFormatRGBA = 2,
  kImageFormatRGB = 3,
  kImageFormatBGRA = 4,
  kImageFormatBGR = 5,
  kImageFormatRGB555 = 6,
  kImageFormatABGR = 7,
  kImageFormatARGB = 8,
};

/// What the rows of an image are.
enum kImageType : int {
  kImageTypeFrame = 0,  ///< a full progressive frame
  kImageTypeField = 1,  ///< one field of an interlaced frame: half its rows
};

/// Which rows of a frame a field takes.
enum kInterleaveType : int {
  kInterleaveNone = 0,
  kInterleaveFieldOne = 1,  ///< rows 0, 2, 4 ... in memory; of a 576-row frame rows 1, 3, 5 ...
  kInterleaveFieldTwo = 2,  ///< the other field
  kInterleaveAverage = 3,   ///< both fields blended
};

/// How a frame is made of a field.
enum kInterpolationType : int {
  kInterpolationNone = 0,
  kInterpolationDouble = 1,  ///< doubles the rows of a field when a frame is made from it
  kInterpolationOther = 2,   ///< no conversion supports it
};

class RImage;

/// Converts `width` x `height` tightly packed pixels from one layout to another, in memory order, no padding
/// on either side; the buffers must not overlap unless they are the same and the formats are equal in size.
///
/// Equal formats are copied. Returns false, writing nothing, when the pair of formats is not supported or a
/// dimension is negative. Alpha is neither multiplied in nor divided out; new alpha is 255.
RIMAGE_API bool RImageConvertFormat(unsigned char* destination, kImageFormat destinationFormat, int width,
                                    int height, unsigned char* source, kImageFormat sourceFormat);

/// Reverses the byte order of one 16-bit value in place; the address may be unaligned.
RIMAGE_API void Invert2(void* value);
/// Reverses the byte order of one 32-bit value in place; the address may be unaligned.
RIMAGE_API void Invert4(void* value);

///@{
/// The corners of the hue circle in order: red, yellow, green, cyan, blue, magenta, red. The fourth value is
/// 0.
RIMAGE_API extern const float kHueColor[7][4];
RIMAGE_API extern const double kDoubleHueColor[7][4];
///@}

///@{
/// Converts hue, saturation and brightness, each 0 to 1, to three values at `rgb`. A hue outside 0 to 1 is
/// clamped.
RIMAGE_API void GetHSBToRGBColor(float hue, float saturation, float brightness, float* rgb);
RIMAGE_API void GetHSBToRGBColor(double hue, double saturation, double brightness, double* rgb);
///@}
/// Converts three values at `rgb` to hue, saturation and brightness at `hsb`. `rgb` is not changed.
RIMAGE_API void GetRGBToHSBColor(double* rgb, double* hsb);

/// Returns a new empty record, which the caller owns and releases with `Destroy`; null when memory runs out.
RIMAGE_API RImage* RImageCreate();

/// An image: raw pixels in memory or an OpenGL texture, one at a time (its incarnation).
///
/// Pixels are stored row after row without padding, the bottom row of the picture first (OpenGL's order), the
/// layers of a deep image one after the other. Nothing here knows whether colours are multiplied with alpha.
///
/// Failures are reported by the results alone. The record is used on the host's main thread; its OpenGL
/// operations need the host's context to be current there.
class RIMAGE_API RImage : public RObject {
  R_CLASS(RImage, RObject)

  /// Where the pixels are.
  enum kIncarnationType : int {
    kIncarnationRaw = 0,  ///< the pixels are in memory
    kIncarnationGL = 1,   ///< the pixels are in the texture
  };

  /// Makes an empty record: 0 x 0, depth 1, undefined format, no storage.
  RImage();
  ///@{
  /// A copy shares the buffer and the texture of `other`; each is released once, with its last owner. `Clone`
  /// is the deep copy.
  RImage(const RImage& other);
  RImage& operator=(const RImage& other);
  ///@}
  ~RImage() override;

  /// Gives the storage back.
  void Destruct() override;

  // --- Format and geometry. A setter stores the value, makes the storage fit, counts an update and returns
  // the value; pixels are never converted: after SetFormat the bytes mean something else.

  /// A value that is no format leaves everything as it is and returns the held format.
  virtual kImageFormat SetFormat(kImageFormat format);
  ///@{
  /// Returns what the record holds.
  virtual kImageFormat GetFormat();
  virtual kImageType GetImageType();
  virtual kInterleaveType GetInterleaveType();
  virtual kInterpolationType GetInterpolationType();
  ///@}
  virtual int GetHeight();  ///< rows of one layer
  virtual int GetWidth();   ///< pixels a row
  virtual int GetDepth();   ///< layers
  ///@{
  /// Stores a size in pixels, makes the storage fit, counts an update and returns the size.
  virtual int SetHeight(int height);
  virtual int SetWidth(int width);
  ///@}
  /// Does nothing when the depth is that already.
  virtual int SetDepth(int depth);
  ///@{
  /// The padding value is kept for the host; rows are always tightly packed.
  virtual int SetPadWidth(int padWidth);
  virtual int GetPadWidth();
  ///@}
  virtual int GetPixelSize();  ///< bytes a pixel

  // --- Copies and new images; the caller owns the result.

  /// Returns an independent copy of the first layer: same format, size and incarnation, frame, not
  /// interleaved, depth 1, padding 0. A copy of a texture image has a new texture with undefined contents.
  virtual RImage* Clone();
  /// Returns a copy converted between frame and field; null for a texture, more than one layer, or a
  /// conversion that `mConvertionSupported` does not list.
  virtual RImage* CloneFromType(kImageType type, kInterleaveType interleave,
                                kInterpolationType interpolation);
  /// Returns a copy whose alpha (byte 3) is byte 2 of `alpha`'s pixels in the same order; null for textures,
  /// more than one layer, or an `alpha` that is null or has too few pixels. The operations on alpha are for
  /// RGBA and BGRA.
  virtual RImage* MergeAlphaChannel(RImage* alpha);
  /// Returns an opaque picture of the alpha channel in this image's format, inverted on request (not for ABGR
  /// and ARGB); all zero when pixels have no alpha; null for a texture, more than one layer or no storage.
  virtual RImage* CreateFromAlphaChannel(bool invert);

  /// Fills `mConvertionSupported` the first time it is called.
  virtual void SetCapabilities();

  // --- Operations in place on raw pixels of one layer.

  /// Multiplies bytes 0 to 2 of each 4-byte pixel by byte 3 / 255 in single precision, truncated. No update
  /// is counted.
  virtual void Premultiply();
  /// Divides them again: min(255, byte x 255 / alpha), truncated; pixels with alpha 0 stay. No update is
  /// counted.
  virtual void RemovePremultiply();
  /// Converts the pixels to another layout. False, changing nothing, for a texture, more than one layer, the
  /// format it has, a pair that `RImageConvertFormat` does not support, or when memory runs out.
  virtual bool ConvertFormat(kImageFormat format);
  /// Resamples to `width` x `height` by nearest neighbour, or renders the vector source again at that size,
  /// also when it has that size. An image without pixels grows transparent black. False for a texture, no
  /// storage, the size it has, a negative size, and when memory runs out; for a vector source also for a size
  /// below 1 x 1 and without a QGuiApplication. More than one layer becomes one, even if the resampling then
  /// fails.
  virtual bool ConvertSize(int width, int height);
  /// Pads to a square of the longer side, the picture in the middle, an odd extra row or column of padding at
  /// the end. `fillPixel` points at one pixel of this format. True when square already; false for a texture,
  /// no pixels or a null `fillPixel`.
  virtual bool ConvertToSquare(const unsigned char* fillPixel);
  /// Multiplies every fourth byte by `factor` in single precision, truncated, low 8 bits kept (0 for what is
  /// no 32-bit integer). Returns true. No update is counted.
  virtual bool ApplyAlpha(float factor);

  // --- Storage.

  /// Describes the image and makes storage for it: at least `minAllocation` bytes of memory for the raw
  /// incarnation, a texture for the other. `clear` zeroes all of the memory. False, with the description
  /// kept, when the storage cannot be had; false, with nothing stored, when `format` is no format. The depth
  /// stays.
  virtual bool Init(kImageFormat format, int width, int height, int padWidth, int minAllocation, bool clear,
                    kImageType imageType, kInterleaveType interleaveType,
                    kInterpolationType interpolationType, kIncarnationType incarnation);
  /// Gives the storage back and keeps the description.
  virtual void Clear();
  /// Zeroes all bytes of the raw storage.
  virtual void Cleanup();
  /// Returns the raw pixels, borrowed until the storage changes, bottom row first; null when there are none.
  virtual unsigned char* GetImageBits();
  /// Converts pixels of another format into the image, `source` holding width x height of them, bottom row
  /// first. False for a texture or a pair that is not supported.
  virtual bool SetImageBits(unsigned char* source, kImageFormat sourceFormat);
  /// Copies pixels of the image's own format into it: all layers of a raw image, layer 0 of a texture. True,
  /// also when there is nothing to copy to.
  virtual bool SetImageBits(unsigned char* source);
  /// Returns the name of the texture, 0 without one.
  virtual unsigned int GetTextureID();
  /// Gives the storage back and takes a texture, deleted with the record when `own` is set; the description
  /// stays.
  virtual void SetTextureID(unsigned int textureId, bool own);
  /// Makes an incarnation current, moving the pixels over when `transfer` is set; false when that fails.
  virtual bool RequestIncarnation(kIncarnationType incarnation, bool transfer);
  /// `RequestIncarnation` of the texture.
  virtual bool RequestGLIncarnation(bool transfer);
  /// A texture that comes back to memory has the texture's size: powers of two.
  virtual bool RequestRawIncarnation(bool transfer);
  /// Returns where the pixels are.
  virtual kIncarnationType GetIncarnation();

  /// Adds one to the advisory count of users and returns the count before. It never frees the record.
  int IncReferenceCount();
  /// Takes one off the count; at zero and below nothing happens.
  void DecReferenceCount();
  int GetReferenceCount() const { return mReferenceCount; }  ///< users, an advisory count

  /// Counts one change of pixels or geometry and notes it for the current incarnation.
  void Update();
  int GetUpdateId() const { return mUpdateId; }  ///< changes so far

  /// Returns the first byte of a layer, borrowed, or null when there is no such layer or no memory.
  unsigned char* GetImageBitsAtDepth(unsigned int layer);
  /// Whether the raw buffer holds `layers` layers of the description.
  bool HoldsPixels(int layers) const;
  /// Swaps rows top to bottom in place, in the first layer. No update is counted.
  void ImageVerticalFlip();
  /// Copies this image into `destination`, moved by `dx` columns to the right and `dy` rows towards row 0.
  /// With `wrap` what leaves one edge comes in at the opposite one; without, uncovered pixels keep their
  /// value. `initDestination` first makes `destination` an all-zero image of this one's description. False
  /// for a null destination or one of another size or pixel size.
  bool ImageTranslate(RImage* destination, int dx, int dy, bool wrap, bool initDestination);

  ///@{
  /// The path of the vector file that the pixels were rendered from; empty for raster images.
  const RString& GetVectorSourcePath() const { return mVectorSourcePath; }
  void SetVectorSourcePath(const char* path) { mVectorSourcePath = path; }
  ///@}

  // --- Files.

  /// A host's reading function: returns a new image, or null. The path is UTF-8.
  using ImageFileReadCallback = RImage* (*)(const char* path);
  /// Reads a file with the host's callback, or with the registered reader for its extension; null when that
  /// fails. The caller owns the result.
  static RImage* ImageFileRead(const char* path);
  /// Installs the host's own reading function; null removes it.
  static void SetImageFileReadCallback(ImageFileReadCallback callback);
  /// Reads a file through Qt (or the module's TGA reader) into a new `image`, which the caller then owns, and
  /// deletes the file afterwards when `removeFile` is set. A failure deletes nothing and leaves `image` as it
  /// was.
  static bool ReadFromDisk(const char* path, RImage*& image, bool removeFile);
  /// Writes `image` through Qt (or the module's TGA writer), the format following the extension. The pixels
  /// of RGBA images are taken as premultiplied. Leaves an RGBA or RGB image flipped top to bottom.
  static bool WriteToDisk(RImage* image, const char* path, const char* text, int quality, int compression);
  /// The callback that is installed, or null.
  static ImageFileReadCallback sImageFileReader;

  /// Returns OpenGL's pixel format for uploads and read-backs, or -1 when there is none.
  static int ImageFormatToGLFormat(kImageFormat format);
  /// Returns the layout of OpenGL's pixel format, or `kImageFormatUndefined` for any other number.
  static kImageFormat GLFormatToImageFormat(int glFormat);

  /// 1 for each supported conversion between frames and fields:
  /// [source type][target type][target interleave][target interpolation].
  static int mConvertionSupported[2][2][4][3];

 protected:
  /// Makes the current incarnation's storage fit the description; 0 asks for the capacity there is.
  bool ValidateAllocation(int minAllocation);
  /// Recomputes the sizes; keeps the buffer when it is large enough, else frees it and makes a new one.
  bool ValidateRawAllocation(int minAllocation);
  /// Makes sure of a texture for the image, under a new name stored at `newTexture` when that is not null.
  bool ValidateGLAllocation(unsigned int* newTexture);

  /// Fills `destination`, already of the right size, with the rows that the interleave asks for.
  bool GetImageFields(RImage* destination, kImageType type, kInterleaveType interleave);
  /// Copies every row (of a frame: every other one) from `source` to `end` to `destination`, twice when
  /// `type` is frame. Writes nothing at or past `destinationEnd`.
  void ExtractField(unsigned char* destination, kImageType type, unsigned char* source, unsigned char* end,
                    int rowBytes, unsigned char* destinationEnd);
  /// The same for a `destination` with room for all of these rows.
  void ExtractField(unsigned char* destination, kImageType type, unsigned char* source, unsigned char* end,
                    int rowBytes);
  /// Writes the average of each pair of rows twice; an odd last row averages with itself. Writes nothing at
  /// or past `destinationEnd`.
  void ExtractAverage(unsigned char* destination, unsigned char* source, unsigned char* end, int rowBytes,
                      unsigned char* destinationEnd);
  /// The same for a `destination` with room for an even number of rows not below the source's.
  void ExtractAverage(unsigned char* destination, unsigned char* source, unsigned char* end, int rowBytes);

  /// Frees the storage and takes `buffer`, of `bytes` bytes, as the raw pixels.
  void AdoptPixels(RPixelBuffer buffer, int bytes);

  ///@{
  /// The size in pixels.
  int mWidth = 0;
  int mHeight = 0;
  int mDepth = 1;
  ///@}
  int mPadWidth = 0;        ///< kept for the host; nothing here depends on it
  int mPixelSize = 4;       ///< bytes a pixel
  int mAllocatedSize = 0;   ///< capacity of the raw buffer in bytes
  int mImageSize = 0;       ///< bytes of all layers, as of the last validation
  int mReferenceCount = 0;  ///< users, an advisory count
  /// For each incarnation the value of `mUpdateId` when it was last made current or written.
  std::array<int, 2> mIncarnationUpdateId{};
  unsigned int mTextureId = 0;                      ///< 0 without a texture
  kIncarnationType mIncarnation = kIncarnationRaw;  ///< where the pixels are
  unsigned char* mBits = nullptr;                   ///< raw pixels, or null
  ///@{
  /// What the pixels are.
  kImageFormat mFormat = kImageFormatUndefined;
  kImageType mImageType = kImageTypeFrame;
  kInterleaveType mInterleaveType = kInterleaveNone;
  kInterpolationType mInterpolationType = kInterpolationNone;
  ///@}
  bool mOwnsBits = true;      ///< whether `Clear` gives the raw buffer back
  bool mOwnsTexture = false;  ///< whether `Clear` deletes the texture
  int mUpdateId = 0;          ///< changes so far
  RString mVectorSourcePath;  ///< empty of a raster image
  int mReservedMode = 2;      ///< for the host: copied, never read here

 private:
  /// Replaces the texture's lower left corner by the pixels at `source`, in the image's format and size.
  void UploadPixels(unsigned char* source);
  /// Makes the record the owner of a texture, which is deleted when the last of its `users` goes.
  void TakeTexture(unsigned int name, std::shared_ptr<unsigned int> users);
  /// Reads the texture's level 0 into the raw buffer.
  void DownloadPixels();
  /// Copies what fits of a level's tightly packed pixels, `pixelSize` bytes each, into the raw buffer.
  void CopyLevel(const unsigned char* pixels, int width, int height, int pixelSize);
  /// Renders the vector source again; false, with the image as it was, when that cannot be done.
  bool RenderVectorSource(int width, int height);

  // What the record may release. Copies share both, so that a buffer or texture goes exactly once, with its
  // last owner; memory that came from elsewhere has no entry here and is never freed, whatever the flags say.
  RPixelBuffer mBuffer;
  std::shared_ptr<const unsigned int> mTexture;
};
