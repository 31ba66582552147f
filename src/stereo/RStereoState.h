// What a stereo compositor keeps between two pictures.
#pragma once

#include "Cg/cgGL.h"

#include <cstdint>
#include <memory>

#include "rgl/RGLFrameBufferObject.h"

/// Stands for no mode at all: the first picture of any mode sets it up.
inline constexpr std::uint32_t kNoStereoMode = 6;

struct RStereoState {
  std::uint8_t isAlive = 1;
  bool isCgReady = false;  ///< the context and the profiles are there
  std::uint32_t mode = kNoStereoMode;
  std::uint32_t policy = 0;
  std::unique_ptr<RGLFrameBufferObject> framebuffer;
  CGcontext context = nullptr;
  CGprofile vertexProfile{};
  CGprofile fragmentProfile{};
  CGprogram vertexProgram = nullptr;
  CGprogram fragmentProgram = nullptr;
  // Parameters of the fragment program, which go with it.
  CGparameter leftImage = nullptr;
  CGparameter rightImage = nullptr;
  CGparameter xBase = nullptr;
  CGparameter yBase = nullptr;
  CGparameter screenWidth = nullptr;
  CGparameter screenHeight = nullptr;
};

/// One picture to compose.
struct RStereoFrame {
  unsigned int leftTexture = 0;
  unsigned int rightTexture = 0;
  unsigned int xBase = 0;
  unsigned int yBase = 0;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};
