// A host that does everything wrong, and is told so: bad_host PICTURE.png TEXTURE.dds
//
// It reads before it has started the module, installs no reading function or one that fails, has no OpenGL
// and no application, and locks, binds and releases in any order. Every call has to fail by its result, and
// what is right in between has to work all the same.
#include <array>
#include <cstdio>
#include <string>

#include "image/RDestroyPtr.h"
#include "module/EntryPointrimage.h"
#include "operators/RImOpBlend.h"
#include "operators/RImOpCC.h"
#include "rbaselib/RObjectRegistry.h"
#include "rbaselib/RStream.h"

namespace {

int gSurprises = 0;

void Expect(const char* what, bool holds) {
  if (holds) return;
  std::fprintf(stderr, "bad_host: not so: %s\n", what);
  ++gSurprises;
}

RDestroyPtr<RImage> Read(const char* path) { return RDestroyPtr<RImage>(RImage::ImageFileRead(path)); }
RImage* ReadNothing(const char*) { return nullptr; }

void UseBeforeStart(const char* picture) {
  Expect("nothing reads before the module has started", !Read(picture));
  Expect("no effect is known", !Object_Create("ArcStorable/ImageOperator", "RImOpBlend"));
  for (const kDllOperation operation : {kDllStop, kDllHostReady, kDllHostClosing})
    EntryPointrimage(operation);
  Expect("only a start registers", Object_GetRegistrations().empty());
}

void StartTwice() {
  EntryPointrimage(kDllStart);
  const std::size_t registered = Object_GetRegistrations().size();
  EntryPointrimage(kDllStart);
  Expect("a second start adds nothing", registered > 0 && Object_GetRegistrations().size() == registered);
}

void ReadWithoutCallback(const char* picture) {
  RImage::SetImageFileReadCallback(nullptr);
  Expect("without a reading function of the host the registry reads", Read(picture) != nullptr);
  RImage::SetImageFileReadCallback(ReadNothing);
  Expect("a reading function that fails is the last word", !Read(picture));
  RImage::SetImageFileReadCallback(nullptr);
  for (const char* path : {"", ".", "/", "/dev/null/a.png", "picture", "picture.unknown"})
    Expect("what is no picture is not read", !Read(path));
  Expect("no path is not read", !Read(nullptr));
}

void WriteWrongly(RImage& image, const char* picture) {
  // A file is no folder.
  const std::string path = std::string(picture) + "/a.png";
  Expect("no image is not written", !RImage::WriteToDisk(nullptr, "/tmp/a.png", nullptr, -1, -1));
  Expect("no folder, no file", !RImage::WriteToDisk(&image, path.c_str(), nullptr, -1, -1));
  Expect("an unknown format is not written", !RImage::WriteToDisk(&image, "/tmp/a.unknown", nullptr, -1, -1));
}

void UseWithoutOpenGL(RImage& image, const char* texture) {
  Expect("textures are read with OpenGL", !Read(texture));
  Expect("there is no texture to move to", !image.RequestGLIncarnation(true));
  Expect("the pixels stay", image.GetIncarnation() == RImage::kIncarnationRaw && image.GetImageBits());
}

// Whatever is asked of an operator that has nothing to give.
void AskInAnyOrder(RImageOperator& made) {
  constexpr std::array kForms = {int{kFormRectangleToBuffer}, int{kFormBufferToRaw}, int{kFormQuadToBuffer},
                                 0, -1};
  RFpContext context;
  for (const int form : kForms) {
    (void)made.ReadBind(&context, form, 0, 1);
    (void)made.ReadUnBind(&context, form, 0, 1);
    (void)made.ReadUnLock(&context, form);
    Expect("nothing can be drawn", !made.ReadLock(&context, form & ~kFormProcessorMask));
    Expect("nothing can be drawn now either", !made.ImageTextureDrawCurrent(form));
  }
  Expect("there is no texture", made.ImageTextureGetObject() == 0);
}

void ConnectWrongly(RImageOperator& made) {
  constexpr auto kInput = RImageOperator::kPlugInput;
  for (const int index : {-1, 99}) {
    Expect("a plug that is not there takes no image", made.SetPlugImage(index, kInput, nullptr) == -1);
    Expect("nor an operator", made.SetPlugInputOperator(index, kInput, &made) == -1);
    Expect("nor gives one", !made.GetPlugInputOperator(index, kInput) && !made.GetPlugImage(index, kInput));
    Expect("nor gives an image away", !made.GrabPlugImage(index, kInput));
  }
  // An operator that reads itself has nothing to read.
  (void)made.SetPlugInputOperator(0, kInput, &made);
  AskInAnyOrder(made);
  (void)made.SetPlugInputOperator(0, kInput, nullptr);
}

void UseOperators(const char* picture) {
  const RDestroyPtr<RImOpBlend> blend(new RImOpBlend("blend"));
  AskInAnyOrder(*blend);
  ConnectWrongly(*blend);
  (void)blend->SetPlugImage(0, RImageOperator::kPlugInput, Read(picture).release());
  AskInAnyOrder(*blend);
  const RDestroyPtr<RImOpCC> correction(new RImOpCC("correction"));
  ConnectWrongly(*correction);
  RImageOperator::UnregisterGLOperator(nullptr);
  RImageOperator::RegisterGLOperator(nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  UseBeforeStart(argv[1]);
  StartTwice();
  ReadWithoutCallback(argv[1]);
  const RDestroyPtr<RImage> image = Read(argv[1]);
  Expect("what is right works", image != nullptr);
  if (!image) return 1;
  WriteWrongly(*image, argv[1]);
  UseWithoutOpenGL(*image, argv[2]);
  UseOperators(argv[1]);
  EntryPointrimage(kDllStop);
  Expect("reading goes on until the module is unloaded", Read(argv[1]) != nullptr);
  return gSurprises == 0 ? 0 : 1;
}
