#include "module/EntryPointrimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "rbaselib/RObject.h"
#include "rbaselib/RObjectRegistry.h"
#include "rbaselib/RStream.h"

namespace {

struct Row {
  std::string group;
  std::string name;
  std::string type;
  std::string className;  // of what the factory makes
};

const char* const kEffects = "ArcStorable/ImageOperator";
const char* const kReaders = "Stream/Reader/Image";
const char* const kWriters = "Stream/Writer/Image";

// Everything that the module registers, in this order.
const std::vector<Row> kRows{
    {kEffects, "RImOpKeyer", "Keyer Effect", "RImOpKeyer"},
    {kEffects, "RImOpCC", "ColorCorrector Effect", "RImOpCC"},
    {kEffects, "RImOpBlend", "Blend Effect", "RImOpBlend"},
    {kReaders, "tif", "Stream", "RImageStreamQT"},
    {kWriters, "tif", "Stream", "RImageStreamQT"},
    {kReaders, "tiff", "Stream", "RImageStreamQT"},
    {kWriters, "tiff", "Stream", "RImageStreamQT"},
    {kReaders, "jpg", "Stream", "RImageStreamQT"},
    {kWriters, "jpg", "Stream", "RImageStreamQT"},
    {kReaders, "jpeg", "Stream", "RImageStreamQT"},
    {kReaders, "tga", "Stream", "RImageStreamQT"},
    {kWriters, "tga", "Stream", "RImageStreamQT"},
    {kReaders, "pic", "Stream", "RImageStreampict"},
    {kReaders, "iff", "Stream", "RImageStreamiff"},
    {kReaders, "bmp", "Stream", "RImageStreamQT"},
    {kReaders, "yuv", "Stream", "RImageStreamyuv"},
    {kWriters, "yuv", "Stream", "RImageStreamyuv"},
    {kReaders, "sgi", "Stream", "RImageStreamsgi"},
    {kReaders, "rgb", "Stream", "RImageStreamsgi"},
    {kReaders, "rgba", "Stream", "RImageStreamsgi"},
    {kReaders, "svg", "Stream", "RImageStreamQT"},
    {kReaders, "dds", "Stream", "RImageStreamDDS"},
    {kReaders, "png", "Stream", "RImageStreamQT"},
};

std::vector<std::string> NamesOf(const char* group) {
  std::vector<std::string> names;
  for (const auto& registration : Object_GetRegistrations(group)) names.push_back(registration.name);
  return names;
}

RObject* Make(const RObjectRegistration& registration) {
  IObject* face = registration.factory(nullptr, nullptr, nullptr);
  return face ? dynamic_cast<RObject*>(face->IQuery(0, 0)) : nullptr;
}

class EntryPointrimageTest : public testing::Test {
 protected:
  // The other operations first, so that what they would register is seen.
  static void SetUpTestSuite() {
    for (const int operation : {1, 2, 3, 4, -1, 1000})
      EntryPointrimage(static_cast<kDllOperation>(operation));
    sAfterOthers = Object_GetRegistrations().size();
    EntryPointrimage(kDllStart);
  }
  static inline std::size_t sAfterOthers = 0;
};

TEST_F(EntryPointrimageTest, OtherOperationsRegisterNothing) {
  EXPECT_EQ(sAfterOthers, 0U);
  const std::size_t before = Object_GetRegistrations().size();
  for (const int operation : {1, 2, 3}) EntryPointrimage(static_cast<kDllOperation>(operation));
  EXPECT_EQ(Object_GetRegistrations().size(), before) << "nor do they take anything away";
}

TEST_F(EntryPointrimageTest, StartIsOperationZero) { EXPECT_EQ(static_cast<int>(kDllStart), 0); }

TEST_F(EntryPointrimageTest, RegistersTheRowsInTheirOrder) {
  const auto registrations = Object_GetRegistrations();
  ASSERT_EQ(registrations.size(), kRows.size());
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    EXPECT_EQ(registrations[i].group, kRows[i].group) << i;
    EXPECT_EQ(registrations[i].name, kRows[i].name) << i;
    EXPECT_EQ(registrations[i].type, kRows[i].type) << i;
    EXPECT_TRUE(registrations[i].enabled) << i;
    EXPECT_EQ(registrations[i].data, nullptr) << i;
    EXPECT_EQ(registrations[i].reserved, nullptr) << i;
  }
}

TEST_F(EntryPointrimageTest, StartingAgainRegistersTheSame) {
  EntryPointrimage(kDllStart);
  EXPECT_EQ(Object_GetRegistrations().size(), kRows.size());
}

TEST_F(EntryPointrimageTest, FactoriesMakeTheirClasses) {
  const auto registrations = Object_GetRegistrations();
  ASSERT_EQ(registrations.size(), kRows.size());
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    RObject* object = Make(registrations[i]);
    ASSERT_NE(object, nullptr) << kRows[i].name;
    EXPECT_EQ(object->GetClassIdName(), kRows[i].className) << kRows[i].name;
    object->Destroy(0);
  }
}

TEST_F(EntryPointrimageTest, FactoriesMakeANewObjectEachTimeAndIgnoreTheirArguments) {
  const auto png = Object_GetRegistrations(kReaders).back();
  RObject* first = Make(png);
  int data = 0;
  IObject* second = png.factory(first, "other", &data);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second, first->IQuery(0, 0));
  static_cast<RObject*>(second)->Destroy(0);
  first->Destroy(0);
}

TEST_F(EntryPointrimageTest, ReaderAndWriterOfAnExtensionShareAFactory) {
  for (const auto& writer : Object_GetRegistrations(kWriters)) {
    const auto readers = Object_GetRegistrations(kReaders);
    const auto reader = std::ranges::find(readers, writer.name, &RObjectRegistration::name);
    ASSERT_NE(reader, readers.end()) << writer.name;
    EXPECT_EQ(reader->factory, writer.factory) << writer.name;
  }
}

TEST_F(EntryPointrimageTest, EachExtensionHasAFactoryOfItsOwn) {
  std::set<RObjectFactory> factories;
  const auto readers = Object_GetRegistrations(kReaders);
  for (const auto& reader : readers) factories.insert(reader.factory);
  EXPECT_EQ(factories.size(), readers.size());
}

TEST_F(EntryPointrimageTest, JpegBmpPngAndSvgHaveNoWriter) {
  const std::vector<std::string> writers = NamesOf(kWriters);
  for (const char* name : {"jpeg", "bmp", "png", "svg"}) {
    EXPECT_EQ(std::ranges::count(writers, name), 0) << name;
    EXPECT_EQ(Object_Create(kWriters, name), nullptr) << name;
    EXPECT_EQ(std::ranges::count(NamesOf(kReaders), name), 1) << name;
  }
}

TEST_F(EntryPointrimageTest, StreamsAreFoundByExtensionInAnyCase) {
  for (const char* name : {"png", "PNG", "Tif"}) {
    IObject* face = Object_Create(kReaders, name);
    ASSERT_NE(face, nullptr) << name;
    auto* stream = dynamic_cast<RStream*>(face->IQuery(0, 0));
    ASSERT_NE(stream, nullptr) << name;
    EXPECT_STREQ(stream->GetClassIdName(), "RImageStreamQT");
    stream->Destroy(0);
  }
}

}  // namespace
