// Registration of the module's effects, readers and writers with the host.
#include "module/EntryPointrimage.h"

#include <array>

#include "dds/RImageStreamDDS.h"
#include "operators/RImOpBlend.h"
#include "operators/RImOpCC.h"
#include "operators/RImOpKeyer.h"
#include "rbaselib/RObjectRegistry.h"
#include "streams/RImageStreamQT.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"

namespace {

constexpr const char* kEffects = "ArcStorable/ImageOperator";
constexpr const char* kReaders = "Stream/Reader/Image";
constexpr const char* kWriters = "Stream/Writer/Image";

struct Registration {
  const char* group;
  const char* name;
  const char* type;
  RObjectFactory factory;
};

// Readers and writers of one extension share a factory; the host decides by the operation it calls which one
// it is. Each extension has a factory of its own, which `kExtension` keeps apart.
template <class Stream, int kExtension>
IObject* CreateStream(IObject*, const char*, void*) {
  return (new Stream)->IQuery(0, 0);
}

enum kExtension : int {
  kTif,
  kTiff,
  kJpg,
  kJpeg,
  kTga,
  kPic,
  kIff,
  kBmp,
  kYuv,
  kSgi,
  kRgb,
  kRgba,
  kSvg,
  kDds,
  kPng
};

// Deliberate: jpeg, bmp, svg and png are read but have no writer here; `RImage::WriteToDisk` writes what Qt
// can.
constexpr std::array kRegistrations{
    Registration{kEffects, "RImOpKeyer", "Keyer Effect", RImOpKeyer::Genesis},
    Registration{kEffects, "RImOpCC", "ColorCorrector Effect", RImOpCC::Genesis},
    Registration{kEffects, "RImOpBlend", "Blend Effect", RImOpBlend::Genesis},
    Registration{kReaders, "tif", "Stream", CreateStream<RImageStreamQT, kTif>},
    Registration{kWriters, "tif", "Stream", CreateStream<RImageStreamQT, kTif>},
    Registration{kReaders, "tiff", "Stream", CreateStream<RImageStreamQT, kTiff>},
    Registration{kWriters, "tiff", "Stream", CreateStream<RImageStreamQT, kTiff>},
    Registration{kReaders, "jpg", "Stream", CreateStream<RImageStreamQT, kJpg>},
    Registration{kWriters, "jpg", "Stream", CreateStream<RImageStreamQT, kJpg>},
    Registration{kReaders, "jpeg", "Stream", CreateStream<RImageStreamQT, kJpeg>},
    Registration{kReaders, "tga", "Stream", CreateStream<RImageStreamQT, kTga>},
    Registration{kWriters, "tga", "Stream", CreateStream<RImageStreamQT, kTga>},
    Registration{kReaders, "pic", "Stream", CreateStream<RImageStreampict, kPic>},
    Registration{kReaders, "iff", "Stream", CreateStream<RImageStreamiff, kIff>},
    Registration{kReaders, "bmp", "Stream", CreateStream<RImageStreamQT, kBmp>},
    Registration{kReaders, "yuv", "Stream", CreateStream<RImageStreamyuv, kYuv>},
    Registration{kWriters, "yuv", "Stream", CreateStream<RImageStreamyuv, kYuv>},
    Registration{kReaders, "sgi", "Stream", CreateStream<RImageStreamsgi, kSgi>},
    Registration{kReaders, "rgb", "Stream", CreateStream<RImageStreamsgi, kRgb>},
    Registration{kReaders, "rgba", "Stream", CreateStream<RImageStreamsgi, kRgba>},
    Registration{kReaders, "svg", "Stream", CreateStream<RImageStreamQT, kSvg>},
    Registration{kReaders, "dds", "Stream", CreateStream<RImageStreamDDS, kDds>},
    Registration{kReaders, "png", "Stream", CreateStream<RImageStreamQT, kPng>},
};

}  // namespace

void EntryPointrimage(kDllOperation operation) {
  if (operation != kDllStart) return;
  for (const Registration& row : kRegistrations) {
    (void)Object_Register(row.group, row.name, row.type, row.factory, true, nullptr, nullptr);
  }
}
