// DirectDraw Surface textures in memory, as OpenGL takes them.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "dds/DxtBlocks.h"
#include "image/RImageExport.h"
#include "image/RPixelMemory.h"

struct DdsDirectFormat;
struct DdsHeader;
class RFile;
enum kBlockFormat : int;

/// The DDS file model: a file is one texture or six cube faces, a texture a chain of surfaces.
namespace nv_dds {

/// The formats of textures, as OpenGL names them.
enum kTextureFormat : std::uint32_t {
  kTextureFormatNone = 0,
  kTextureFormatRGB = 0x1907,
  kTextureFormatRGBA = 0x1908,
  kTextureFormatLuminance = 0x1909,
  kTextureFormatBGR = 0x80E0,   ///< of files only; stored as RGB
  kTextureFormatBGRA = 0x80E1,  ///< of files only; stored as RGBA
  kTextureFormatDXT1 = 0x83F1,
  kTextureFormatDXT3 = 0x83F2,
  kTextureFormatDXT5 = 0x83F3,
  kTextureFormatBC4 = 0x8DBB,
  kTextureFormatBC4Signed = 0x8DBC,
  kTextureFormatBC5 = 0x8DBD,
  kTextureFormatBC5Signed = 0x8DBE,
};

/// One level of a texture: the pixels and their sizes. The slices of a volume follow one another.
class RIMAGE_API CSurface {
 public:
  CSurface() = default;
  /// Like `create`; the surface is empty when memory runs out.
  CSurface(int w, int h, int d, int imgsize, bool isFloat);
  ///@{
  /// A copy has pixels of its own; it is empty when there is no memory for them.
  CSurface(const CSurface& other);
  CSurface(CSurface&& other) noexcept = default;
  CSurface& operator=(const CSurface& other);
  CSurface& operator=(CSurface&& other) noexcept = default;
  ///@}
  virtual ~CSurface() = default;

  ///@{
  /// Returns the pixels, borrowed until the surface changes; null for an empty surface.
  operator char*() { return Bytes(); }              // NOLINT(google-explicit-constructor): host contract
  operator const char*() const { return Bytes(); }  // NOLINT(google-explicit-constructor): host contract
  ///@}

  /// Frees the pixels and makes `imgsize` bytes of zeros. Returns false, leaving an empty surface, when
  /// `imgsize` is negative or memory runs out.
  bool create(int w, int h, int d, int imgsize, bool isFloat);
  /// The same with pixels that the caller owns a share of; they must be at least `imgsize` bytes.
  void adopt(int w, int h, int d, int imgsize, bool isFloat, RPixelBuffer pixels);
  /// Frees the pixels and sets all sizes to 0.
  void clear();

  ///@{
  /// Returns the size in pixels, 0 of an empty surface.
  int get_width() const { return mWidth; }
  int get_height() const { return mHeight; }
  int get_depth() const { return mDepth; }
  ///@}
  /// Returns the bytes of all slices.
  int get_size() const { return mSize; }
  /// Whether a channel is a 32-bit float, not a byte.
  bool get_isFloat() const { return mIsFloat; }
  /// Returns the largest of width, height and depth.
  int get_maxDimension() const;

 private:
  char* Bytes() const { return reinterpret_cast<char*>(mPixels.get()); }

  int mWidth = 0;
  int mHeight = 0;
  int mDepth = 0;
  int mSize = 0;
  bool mIsFloat = false;
  RPixelBuffer mPixels;
};

/// A texture: its top level, and the smaller levels in order.
class RIMAGE_API CTexture : public CSurface {
 public:
  CTexture() = default;
  /// Makes the top level as `CSurface` does.
  CTexture(int w, int h, int d, int imgsize, bool isFloat) : CSurface(w, h, d, imgsize, isFloat) {}

  /// Returns the number of levels below the top one.
  int get_num_mipmaps() const { return static_cast<int>(mMipmaps.size()); }
  ///@{
  /// Returns level `index` + 1; `index` must be below the number of mipmaps.
  CSurface& get_mipmap(int index) { return mMipmaps[static_cast<std::size_t>(index)]; }
  const CSurface& get_mipmap(int index) const { return mMipmaps[static_cast<std::size_t>(index)]; }
  ///@}
  /// Appends the next smaller level and returns it, borrowed until the texture changes.
  CSurface& add_mipmap(CSurface mipmap) { return mMipmaps.emplace_back(std::move(mipmap)); }

 private:
  std::vector<CSurface> mMipmaps;
};

/// A DDS file: one texture, or six faces in the order +X, -X, +Y, -Y, +Z, -Z, and what format they have.
/// Compressed data stay compressed.
class RIMAGE_API CDDSImage {
 public:
  /// Loads the file at `filename` (UTF-8), in place of what was held. Files have their top row first;
  /// `flipImage` brings the bottom row to the front in every level, as OpenGL wants it. Cube faces are not
  /// flipped, but +Y and -Y change places.
  ///
  /// Formats: DXT1, DXT3, DXT5 and BC4, BC5 signed and unsigned, kept compressed; 32 and 24 bits of red,
  /// green and blue in either order, as RGBA or RGB; one byte a pixel, as luminance. All others go through
  /// `TddsReader` and become the top level alone in RGBA of bytes or floats, channels that the file lacks
  /// being 0; what that cannot decode becomes its placeholder.
  ///
  /// Data that the file ends before are zero. Fails, leaving an invalid image, when the file cannot be opened
  /// or has no header, when a dimension is below 1, there are more than 32 levels, a level is above 2 GiB, or
  /// the data would be above 64 MiB and above 4 times the file.
  bool load(const char* filename, bool flipImage);
  /// Drops every texture and sets format, components and flags to 0.
  void clear();

  /// Returns the OpenGL format, a `kTextureFormat`.
  std::uint32_t get_format() const { return mFormat; }
  /// Returns the number of channels; DXT1 counts as 3.
  int get_components() const { return mComponents; }
  ///@{
  /// Of the first texture; 0 when there is none.
  int get_width() const { return First().get_width(); }
  int get_height() const { return First().get_height(); }
  int get_depth() const { return First().get_depth(); }
  int get_size() const { return First().get_size(); }
  int get_num_mipmaps() const { return First().get_num_mipmaps(); }
  const CSurface& get_mipmap(int index) const { return First().get_mipmap(index); }
  ///@}

  bool is_compressed() const { return mCompressed; }  ///< whether pixels are kept in blocks
  bool is_cubemap() const { return mCubemap; }        ///< whether there are six faces
  bool is_volume() const { return mVolume; }          ///< whether levels have slices
  /// Whether the last load succeeded.
  bool is_valid() const { return mValid; }
  /// Whether the texture is not the file's picture but the sign that it cannot be decoded.
  bool is_placeholder() const { return mPlaceholder; }

  /// Returns the number of textures: one, six for a cube map, 0 when nothing is loaded.
  int get_num_images() const { return static_cast<int>(mImages.size()); }
  ///@{
  /// Returns a texture, borrowed until the image changes; `index` must be below the number of textures.
  CTexture& get_image(int index) { return mImages[static_cast<std::size_t>(index)]; }
  const CTexture& get_image(int index) const { return mImages[static_cast<std::size_t>(index)]; }
  ///@}

  /// Returns the bytes of one slice of a compressed level in the image's format.
  int size_dxtc(int width, int height) const;
  /// Returns the bytes of one slice of an uncompressed level with tight rows.
  int size_rgb(int width, int height) const;
  /// Returns `size`, at least 1.
  static int clamp_size(int size) { return size > 0 ? size : 1; }
  /// Returns the bytes of a row of `bpp` bits a pixel, padded to a multiple of 4.
  static int get_line_width(int width, int bpp);
  /// Pads the rows of an uncompressed 2D texture's top level to a multiple of 4 bytes.
  void align_memory(CTexture* texture) const;
  /// Collects the levels whose largest dimension is at most |`level`|, largest first; of a `level` below 1
  /// only the first. When none is, the smallest. The surfaces are borrowed.
  static void GetMipMapLevels(std::vector<CSurface*>& out, CTexture& texture, int level);

  // Upload to OpenGL. Each takes the levels that `GetMipMapLevels` collects for `level`, defines them as
  // levels 0 and on of the texture that is bound to the target, and limits the base and the maximum level to
  // them. Filters are the caller's. A current compatibility context is needed; without one, or without a
  // texture of that index, nothing happens. All return true.

  /// The first row of the first texture to GL_TEXTURE_1D.
  bool upload_texture1D(int level);
  /// Texture `imageIndex` to `target`: GL_TEXTURE_2D, a face of a cube map, or a rectangle. The base and the
  /// maximum level are those of GL_TEXTURE_2D whatever the target is. A volume gives its first slice.
  bool upload_texture2D(int imageIndex, unsigned int target, int level);
  /// The first texture to GL_TEXTURE_3D.
  bool upload_texture3D(int level);
  /// The six textures to the faces +X, -X, +Y, -Y, +Z, -Z.
  bool upload_textureCubemap(int level);
  /// The first texture to GL_TEXTURE_RECTANGLE.
  bool upload_textureRectangle(int level);

 private:
  friend struct CDDSImageAccess;  // tests of the private members

  const CTexture& First() const;

  bool LoadTextures(RFile& file, const DdsHeader& header, const DdsDirectFormat& format, bool flipImage);
  /// Brings the channels of a level into the stored order.
  static void Convert(CSurface& surface, const DdsDirectFormat& format);
  void Flip(CSurface& surface);
  bool LoadFallback(const char* path, bool flipImage);

  // Flipping: the rows of pixels in reverse order, in place. Blocks are exchanged whole and their index bits
  // rearranged; what happens inside blocks is there for one row of them, too.
  void flip(char* image, int width, int height, int depth, int size);
  static void FlipBlockRows(char* image, int width, int height, kBlockFormat blocks);
  void FlipRows(char* image, int height, int depth, int size);
  void swap(void* a, void* b, int size);
  static void flip_blocks_dxtc1(DXTColBlock* line, int numBlocks);
  static void flip_blocks_dxtc3(DXTColBlock* line, int numBlocks);
  static void flip_blocks_dxtc5(DXTColBlock* line, int numBlocks);
  static void flip_blocks_bc4(DXTColBlock* line, int numBlocks);
  static void flip_blocks_bc5(DXTColBlock* line, int numBlocks);
  static void flip_dxt5_alpha(DXT5AlphaBlock* block);

  std::uint32_t mFormat = kTextureFormatNone;
  int mComponents = 0;
  bool mCompressed = false;
  bool mCubemap = false;
  bool mVolume = false;
  bool mValid = false;
  bool mPlaceholder = false;
  std::vector<CTexture> mImages;

  /// Holds a row while two are exchanged; it only grows, and copies of the image start without.
  class Scratch {
   public:
    Scratch() = default;
    Scratch(const Scratch& /*other*/) {}
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it takes nothing over
    Scratch& operator=(const Scratch& /*other*/) { return *this; }
    ~Scratch() = default;

    /// Returns at least `size` bytes, or null when memory runs out.
    char* Get(int size);

   private:
    RPixelBuffer mBytes;
    int mCapacity = 0;
  };
  Scratch mScratch;
};

}  // namespace nv_dds
