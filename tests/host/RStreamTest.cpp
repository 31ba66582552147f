#include "rbaselib/RStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "rbaselib/RMessageHandler.h"
#include "rbaselib/RObjectRegistry.h"
#include "support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(RStream, StartsWithoutNameAndObject) {
  RStream stream;
  EXPECT_EQ(stream.GetFileName(), nullptr);
  EXPECT_EQ(stream.GetObject(), nullptr);
}

TEST(RStream, CopiesItsFileName) {
  RStream stream;
  char name[] = "a.tif";
  stream.SetFileName(name);
  name[0] = 'b';
  EXPECT_STREQ(stream.GetFileName(), "a.tif");
  stream.SetFileName(stream.GetFileName() + 2);
  EXPECT_STREQ(stream.GetFileName(), "tif");
  stream.SetFileName("");
  EXPECT_STREQ(stream.GetFileName(), "") << "an empty name is a name";
  stream.SetFileName(nullptr);
  EXPECT_EQ(stream.GetFileName(), nullptr);
}

TEST(RStream, BorrowsItsObject) {
  const int before = RObject::ClassInstanceCount;
  RObject object(nullptr, nullptr);
  {
    RStream stream;
    stream.SetObject(&object);
    EXPECT_EQ(stream.GetObject(), &object);
  }
  EXPECT_EQ(RObject::ClassInstanceCount, before + 1);
}

TEST(RStream, DestructLetsGoOfNameAndObject) {
  RStream stream;
  RObject object(nullptr, nullptr);
  stream.SetFileName("a.tif");
  stream.SetObject(&object);
  stream.SetDeletable(false);
  stream.Destroy(0);
  EXPECT_EQ(stream.GetObject(), nullptr);
  EXPECT_EQ(stream.GetFileName(), nullptr);
}

TEST(RStream, TheBaseNeitherReadsNorWrites) {
  RStream stream;
  RStreamOptions options;
  EXPECT_FALSE(stream.StreamOpen(&options));
  EXPECT_FALSE(stream.StreamCreate(nullptr));
}

TEST(RStream, OptionsStartWithTheFormatsChoice) {
  const RStreamOptions options;
  EXPECT_EQ(options.quality, -1);
  EXPECT_EQ(options.compression, 0);
  EXPECT_TRUE(options.text.IsEmpty());
}

TEST(RStream, AnswersItsClassInformation) {
  const int before = RStream::ClassInstanceCount;
  {
    const RStream stream;
    EXPECT_EQ(stream.GetClassId(), RStream::ClassId);
    EXPECT_STREQ(stream.GetClassIdName(), "RStream");
    EXPECT_EQ(stream.GetClassDefinition(), &RStream::ClassDefinition);
    EXPECT_EQ(stream.GetClassGroupId(), 1);
    EXPECT_STREQ(stream.GetClassGroupName(), "Stream");
    EXPECT_EQ(stream.GetClassSize(), static_cast<int>(sizeof(RStream)));
    EXPECT_EQ(stream.GetClassInstanceCount(), before + 1);
    EXPECT_TRUE(stream.Is(RStream::ClassId));
    EXPECT_TRUE(stream.Is(RObject::ClassId));
    EXPECT_FALSE(stream.Is(RStream::ClassId + 1));
    EXPECT_EQ(stream.FastFindPropertyByName("any"), nullptr);
  }
  EXPECT_EQ(RStream::ClassInstanceCount, before);
}

TEST(RStream, SlotsFollowThoseOfTheObject) {
  EXPECT_EQ(test::VirtualSlot(&RStream::StreamOpen), 17);
  EXPECT_EQ(test::VirtualSlot(&RStream::StreamCreate), 18);
}

// --- Reading through the registry.

// What the reader under test does, and what was seen of it.
struct Script {
  bool opens = true;
  bool attaches = true;
  std::string fileName;
  RStreamOptions* options = nullptr;
  int living = 0;
};

class ScriptedReader : public RStream {
 public:
  explicit ScriptedReader(Script& script) : mScript(script) { ++mScript.living; }
  ~ScriptedReader() override {
    RunTeardown();
    --mScript.living;
  }
  bool StreamOpen(RStreamOptions* options) override {
    mScript.fileName = GetFileName() ? GetFileName() : "(none)";
    mScript.options = options;
    if (mScript.attaches) SetObject(new RObject("read", nullptr));
    return mScript.opens;
  }

 private:
  Script& mScript;
};

IObject* CreateReader(IObject*, const char*, void* data) {
  return (new ScriptedReader(*static_cast<Script*>(data)))->IQuery(0, 0);
}

class Warnings : public RMessageHandler {
 public:
  Warnings() : mBefore(SetMainMessageHandler(this)) {}
  ~Warnings() override { SetMainMessageHandler(mBefore); }
  void DisplayWarning(const char* title, const char* text, const char* button) override {
    EXPECT_STREQ(button, "Ok");
    shown.push_back(std::string(title) + ": " + text);
  }
  std::vector<std::string> shown;

 private:
  RMessageHandler* mBefore;
};

class RStreamReadObjectTest : public testing::Test {
 protected:
  void SetUp() override {
    Object_Register("Test/Reader", "abc", "Stream", CreateReader, true, &mScript, nullptr);
    mObjectsBefore = RObject::ClassInstanceCount;
  }
  // Reads and returns whether an object came back, which is destroyed; nothing may be left over.
  bool Reads(const char* path, const char* group = "Test/Reader", bool showMessages = true) {
    RObject* object = RStreamReadObject(path, &mOptions, group, showMessages);
    if (object) object->Destroy(0);
    EXPECT_EQ(mScript.living, 0);
    EXPECT_EQ(RObject::ClassInstanceCount, mObjectsBefore);
    return object != nullptr;
  }
  Script mScript;
  RStreamOptions mOptions;
  Warnings mWarnings;
  int mObjectsBefore = 0;
};

TEST_F(RStreamReadObjectTest, ReturnsWhatTheReaderAttached) {
  EXPECT_TRUE(Reads("folder/file.abc"));
  EXPECT_EQ(mScript.fileName, "folder/file.abc");
  EXPECT_EQ(mScript.options, &mOptions);
  EXPECT_THAT(mWarnings.shown, IsEmpty());
}

TEST_F(RStreamReadObjectTest, TakesNoOptions) {
  RObject* object = RStreamReadObject("a.abc", nullptr, "Test/Reader", false);
  ASSERT_NE(object, nullptr);
  EXPECT_STREQ(object->GetName(), "read");
  EXPECT_EQ(mScript.options, nullptr);
  object->Destroy(0);
}

TEST_F(RStreamReadObjectTest, TheExtensionIsWhatFollowsTheLastDotInAnyCase) {
  EXPECT_TRUE(Reads("file.tar.ABC"));
  EXPECT_TRUE(Reads("/folder.x/.aBc"));
  EXPECT_FALSE(Reads("file.abc.gz"));
  EXPECT_FALSE(Reads("file.abcd"));
  EXPECT_FALSE(Reads("abc"));
  EXPECT_FALSE(Reads("file."));
  EXPECT_FALSE(Reads("folder.abc/file"));
  EXPECT_FALSE(Reads(""));
}

TEST_F(RStreamReadObjectTest, AFailedReadersObjectIsDestroyed) {
  mScript.opens = false;
  EXPECT_FALSE(Reads("a.abc"));
  ASSERT_EQ(mWarnings.shown.size(), 1U);
  EXPECT_THAT(mWarnings.shown[0], HasSubstr("a.abc: the file could not be read"));
}

TEST_F(RStreamReadObjectTest, AFailedReaderMayHaveAttachedNothing) {
  mScript.opens = mScript.attaches = false;
  EXPECT_FALSE(Reads("a.abc"));
}

TEST_F(RStreamReadObjectTest, AReaderThatLeavesNothingAttachedFails) {
  mScript.attaches = false;
  EXPECT_FALSE(Reads("a.abc"));
  EXPECT_EQ(mWarnings.shown.size(), 1U);
}

TEST_F(RStreamReadObjectTest, ShowsMessagesOnlyWhenAsked) {
  EXPECT_FALSE(Reads("a.unknown", "Test/Reader", true));
  EXPECT_THAT(mWarnings.shown, ElementsAre(HasSubstr("a.unknown: no reader is registered")));
  EXPECT_FALSE(Reads("a.unknown", "Test/Reader", false));
  mScript.opens = false;
  EXPECT_FALSE(Reads("a.abc", "Test/Reader", false));
  EXPECT_EQ(mWarnings.shown.size(), 1U);
}

TEST_F(RStreamReadObjectTest, NullsFail) {
  EXPECT_FALSE(Reads(nullptr));
  EXPECT_THAT(mWarnings.shown, ElementsAre(HasSubstr("no reader is registered")));
  EXPECT_FALSE(Reads("a.abc", nullptr));
}

TEST_F(RStreamReadObjectTest, TheGroupDecides) { EXPECT_FALSE(Reads("a.abc", "Test/Writer")); }

TEST_F(RStreamReadObjectTest, DisabledReadersAreNotChosen) {
  Object_Register("Test/Disabled", "abc", "Stream", CreateReader, false, &mScript, nullptr);
  EXPECT_FALSE(Reads("a.abc", "Test/Disabled"));
}

TEST_F(RStreamReadObjectTest, ObjectsThatAreNoStreamsAreDestroyed) {
  const RObjectFactory factory = [](IObject*, const char*, void*) -> IObject* {
    return new RObject("no stream", nullptr);
  };
  Object_Register("Test/Objects", "abc", "Object", factory, true, nullptr, nullptr);
  EXPECT_FALSE(Reads("a.abc", "Test/Objects"));
}

TEST_F(RStreamReadObjectTest, FactoriesMayFail) {
  const RObjectFactory factory = [](IObject*, const char*, void*) -> IObject* { return nullptr; };
  Object_Register("Test/Nothing", "abc", "Stream", factory, true, nullptr, nullptr);
  EXPECT_FALSE(Reads("a.abc", "Test/Nothing"));
}

}  // namespace
