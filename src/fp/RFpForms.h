// Access forms: the ways in which an image can be read and written.
#pragma once

/// One bit for each way of getting from what is read to what is written. "Over" forms read what the target
/// holds as well. A texture is drawn either by a rectangle, whose pixel positions become the texture
/// coordinates, or by a quad that carries coordinates of its own.
enum kForm : int {
  kFormNone = 0,
  kFormNothingToBuffer = 0x1,
  kFormNothingToTexture = 0x2,
  kFormNothingToRaw = 0x4,
  kFormBufferToBuffer = 0x10,
  kFormBufferOverBuffer = 0x20,
  kFormRectangleToBuffer = 0x40,
  kFormRectangleOverBuffer = 0x80,
  kFormQuadToBuffer = 0x100,
  kFormQuadOverBuffer = 0x200,
  kFormBufferToTexture = 0x400,
  kFormRawToBuffer = 0x1000,
  kFormRawOverBuffer = 0x2000,
  kFormRawToTexture = 0x4000,
  kFormBufferToRaw = 0x10000,
  kFormTextureToRaw = 0x20000,
  kFormRawToRaw = 0x40000,
  kFormProcessorRequest = 0x80000,  ///< memory to memory; as a request: without the graphics card
};

/// The image is there, or wanted, as a texture.
inline constexpr int kFormTextureMask = 0x203C0;
/// The image lies, or is wanted, in the current colour buffer.
inline constexpr int kFormFrameBufferMask = 0x10430;
/// The image is there, or wanted, as pixel memory.
inline constexpr int kFormRawMask = 0xC7000;
/// Texture or colour buffer.
inline constexpr int kFormGLMask = kFormTextureMask | kFormFrameBufferMask;
/// A stage with one of these runs without the graphics card.
inline constexpr int kFormProcessorMask = 0xC0000;

/// A stage with one of these reads the output as an extra input.
inline constexpr int kFormFeedbackMask = 0x22A0;
/// The forms that such a stage's other inputs are read in, once its requirement is shifted right by one.
inline constexpr int kFormFeedbackInputMask = 0x1150;

///@{
/// The forms by what they write.
inline constexpr int kFormTextureWriteMask = 0x4402;
inline constexpr int kFormRawWriteMask = 0xF0004;
inline constexpr int kFormFrameBufferWriteMask = 0x33F1;
///@}

/// Texture forms that are drawn by a rectangle in pixel coordinates.
inline constexpr int kFormRectangleMask = kFormRectangleToBuffer | kFormRectangleOverBuffer;
/// Texture forms that are drawn by a quad with texture coordinates.
inline constexpr int kFormQuadMask = kFormQuadToBuffer | kFormQuadOverBuffer;

static_assert((kFormTextureMask | kFormFrameBufferMask) == 0x307F0);
static_assert((kFormRawMask & kFormGLMask) == 0);
