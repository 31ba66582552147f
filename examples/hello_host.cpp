// A host that loads the module as hosts do, and draws with three of its operators:
//
//     hello_host MODULE PICTURE BACKGROUND RESULT.tif
//
// darkens PICTURE, blends it over BACKGROUND and brightens what comes out. The program links the host's
// libraries alone; what it calls of the module are virtual functions.
#include <dlfcn.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "image/RDestroyPtr.h"
#include "operators/RImageOperator.h"
#include "rbaselib/RClassDefinition.h"
#include "rbaselib/RDllOperation.h"
#include "rbaselib/RObjectRegistry.h"
#include "rbaselib/RStream.h"

namespace {

// The module while it is loaded: everything that it made has to go first.
class Module {
 public:
  explicit Module(const char* path) : mHandle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (!mHandle) throw std::runtime_error(dlerror());
    using EntryPoint = void (*)(kDllOperation);
    mEntry = reinterpret_cast<EntryPoint>(dlsym(mHandle, "EntryPointrimage"));
    if (!mEntry) throw std::runtime_error("the module has no entry point");
    mEntry(kDllStart);  // files its readers, writers and operators in the registry
    mEntry(kDllHostReady);
  }
  ~Module() {
    mEntry(kDllStop);
    dlclose(mHandle);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

 private:
  void* mHandle;
  void (*mEntry)(kDllOperation) = nullptr;
};

// Operators draw in the context that is current.
class Context {
 public:
  Context() {
    const bool isMade = mContext.create();
    // A surface of another format could not be made current.
    mSurface.setFormat(mContext.format());
    mSurface.create();
    if (!isMade || !mContext.makeCurrent(&mSurface)) throw std::runtime_error("there is no OpenGL");
  }
  ~Context() { mContext.doneCurrent(); }

 private:
  QOpenGLContext mContext;
  QOffscreenSurface mSurface;
};

// Returns a new object of the module that is filed under these names.
template <class T>
RDestroyPtr<T> Create(const char* group, const char* name) {
  IObject* face = Object_Create(group, name);
  if (!face) throw std::runtime_error(std::string("the module does not offer ") + name);
  return RDestroyPtr<T>(static_cast<T*>(static_cast<RObject*>(face->IQuery(0, 0))));
}

RDestroyPtr<RImageOperator> CreateOperator(const char* name, const char* property, const char* value) {
  auto made = Create<RImageOperator>("ArcStorable/ImageOperator", name);
  if (!made->FastFindPropertyByName(property)->SetText(value)) throw std::runtime_error(property);
  return made;
}

// Returns a picture as operators want it: in a texture, its colours multiplied with alpha.
RImage* ReadTexture(const char* path) {
  RObject* object = RStreamReadObject(path, nullptr, "Stream/Reader/Image", false);
  if (!object || !object->Is(RClassDefinition::Find("RImage")->GetId())) throw std::runtime_error(path);
  auto* image = static_cast<RImage*>(object);
  if (image->GetFormat() != kImageFormatRGBA && !image->ConvertFormat(kImageFormatRGBA))
    throw std::runtime_error("the layout of the pixels is not for operators");
  image->Premultiply();
  if (!image->RequestGLIncarnation(true)) throw std::runtime_error("the driver takes no such texture");
  return image;
}

// Brings a result to memory. Textures have sides of powers of two, with the picture in the lower left corner.
void Fetch(RImage& image) {
  const int width = image.GetWidth();
  const int height = image.GetHeight();
  if (!image.RequestRawIncarnation(true)) throw std::runtime_error("the result does not come back");
  const auto row = static_cast<std::size_t>(4 * width);
  const auto stride = static_cast<std::size_t>(4 * image.GetWidth());
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y)
    std::memmove(image.GetImageBits() + y * row, image.GetImageBits() + y * stride, row);
  image.SetHeight(height);
  image.SetWidth(width);
}

void Write(RImage& image, const char* path) {
  const auto stream = Create<RStream>("Stream/Writer/Image", "tif");
  stream->SetFileName(path);
  stream->SetObject(&image);
  if (!stream->StreamCreate(nullptr)) throw std::runtime_error(path);
}

void Run(char** argv) {
  const Module module(argv[1]);
  const Context context;
  const auto darker = CreateOperator("RImOpCC", "Gamma", "0.7");
  const auto over = CreateOperator("RImOpBlend", "Preset", "A over B");
  const auto brighter = CreateOperator("RImOpCC", "Gamma", "1.4");
  // A plug takes the image over, and lets go of it with its operator.
  darker->SetPlugImage(0, RImageOperator::kPlugInput, ReadTexture(argv[2]));
  over->SetPlugInputOperator(0, RImageOperator::kPlugInput, darker.get());
  over->SetPlugImage(1, RImageOperator::kPlugInput, ReadTexture(argv[3]));
  brighter->SetPlugInputOperator(0, RImageOperator::kPlugInput, over.get());

  RFpContext lock;
  if (!brighter->ReadLock(&lock, kFormRectangleToBuffer)) throw std::runtime_error("nothing was drawn");
  brighter->ReadUnLock(&lock, kFormRectangleToBuffer);
  RImage& result = *brighter->GetPlugImageProvider(0, RImageOperator::kPlugOutput)->GetImage();
  Fetch(result);
  Write(result, argv[4]);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  // Some of the module's readers share the textures that they make through Qt's global context.
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  const QGuiApplication application(argc, argv);
  try {
    Run(argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "hello_host: %s\n", failure.what());
    return 1;
  }
  return 0;
}
