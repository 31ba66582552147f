// A host that loads the module, as hosts do: this program does not link it. The tests build on each other:
// load, start, unload, load again.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "rbaselib/RClassDefinition.h"
#include "rbaselib/RDllOperation.h"
#include "rbaselib/RObjectRegistry.h"
#include "rbaselib/RStream.h"

namespace {

using Ids = std::map<std::string, int>;
using Listing = std::vector<std::tuple<std::string, std::string, std::string>>;

// The module while it is loaded.
class Module {
 public:
  Module() : mHandle(dlopen(RIMAGE_MODULE, RTLD_NOW | RTLD_LOCAL)) {
    if (!mHandle) ADD_FAILURE() << dlerror();
  }
  ~Module() {
    if (mHandle) dlclose(mHandle);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  void Call(kDllOperation operation) const {
    using EntryPoint = void (*)(kDllOperation);
    auto* entry = reinterpret_cast<EntryPoint>(dlsym(mHandle, "EntryPointrimage"));
    ASSERT_NE(entry, nullptr);
    entry(operation);
  }

 private:
  void* mHandle;
};

bool IsLoaded() {
  void* handle = dlopen(RIMAGE_MODULE, RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

Ids ClassIds() {
  Ids ids;
  for (const RClassDefinition* definition : RClassDefinition::GetAll()) {
    EXPECT_FALSE(ids.contains(definition->GetName())) << definition->GetName() << " is listed twice";
    ids[definition->GetName()] = definition->GetId();
  }
  return ids;
}

Listing Registrations() {
  Listing listing;
  for (const auto& row : Object_GetRegistrations()) listing.emplace_back(row.group, row.name, row.type);
  return listing;
}

// The whole road of a host: the registry makes the stream, the stream reads, the host owns the result.
void ReadASample() {
  RObject* object =
      RStreamReadObject(RIMAGE_TEST_DATA "/png/sdl_sample.png", nullptr, "Stream/Reader/Image", false);
  ASSERT_NE(object, nullptr);
  EXPECT_TRUE(object->Is(RClassDefinition::Find("RImage")->GetId()));
  EXPECT_STREQ(object->GetClassIdName(), "RImage");
  object->Destroy(0);
}

TEST(ModuleLoadTest, LoadingDefinesClassesAndStartingRegistersFactories) {
  ASSERT_EQ(RClassDefinition::Find("RImage"), nullptr) << "this program must not link the module";
  const Ids before = ClassIds();
  const Module module;
  const Ids loaded = ClassIds();
  EXPECT_GT(loaded.size(), before.size());
  for (const auto& [name, id] : before) EXPECT_EQ(loaded.at(name), id) << name;
  EXPECT_GT(loaded.at("RImage"), loaded.at("RObject"));
  EXPECT_GT(loaded.at("RImageStreamQT"), loaded.at("RImageStream"));
  EXPECT_TRUE(Registrations().empty()) << "loading alone registers no factory";
  for (const kDllOperation operation : {kDllStop, kDllHostReady, kDllHostClosing}) module.Call(operation);
  EXPECT_TRUE(Registrations().empty());
  module.Call(kDllStart);
  EXPECT_FALSE(Registrations().empty());
  ReadASample();
}

TEST(ModuleLoadTest, UnloadingTakesTheClassesAway) {
  Ids unloaded;
  {
    const Module module;
    ASSERT_NE(RClassDefinition::Find("RImage"), nullptr);
  }
  ASSERT_FALSE(IsLoaded()) << "nothing keeps the module in memory";
  EXPECT_EQ(RClassDefinition::Find("RImage"), nullptr);
  EXPECT_EQ(RClassDefinition::Find("RImageStreamQT"), nullptr);
  EXPECT_NE(RClassDefinition::Find("RObject"), nullptr);
}

TEST(ModuleLoadTest, LoadingAgainKeepsTheIds) {
  Ids first;
  {
    const Module module;
    first = ClassIds();
  }
  const Module module;
  EXPECT_EQ(ClassIds(), first);
}

TEST(ModuleLoadTest, StartingAgainRegistersInPlace) {
  Listing first;
  {
    const Module module;
    module.Call(kDllStart);
    first = Registrations();
    module.Call(kDllStart);
    EXPECT_EQ(Registrations(), first) << "without unloading";
  }
  EXPECT_EQ(Registrations(), first) << "unloading does not unregister";
  const Module module;
  module.Call(kDllStart);
  EXPECT_EQ(Registrations(), first);
  ReadASample();
}

}  // namespace
