// The class information of the module's registered classes.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <ostream>
#include <set>
#include <string>

#include "dds/RImageDDS.h"
#include "dds/RImageStreamDDS.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "operators/RImOpBlend.h"
#include "operators/RImOpCC.h"
#include "operators/RImOpKeyer.h"
#include "operators/RImageOperator.h"
#include "rbaselib/RPropertyTemplate.h"
#include "rbaselib/RStream.h"
#include "streams/RImageStream.h"
#include "streams/RImageStreamQT.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"
#include "support/CaseName.h"

namespace {

// The class tree: every registered class of the module and its parent.
const std::map<std::string, std::string> kTree{
    {"RImage", "RObject"},
    {"RImageDDS", "RImage"},
    {"RImageOperator", "RObject"},
    {"RImOpBlend", "RImageOperator"},
    {"RImOpCC", "RImageOperator"},
    {"RImOpKeyer", "RImageOperator"},
    {"RImageStream", "RStream"},
    {"RImageStreamQT", "RImageStream"},
    {"RImageStreampict", "RImageStream"},
    {"RImageStreamsgi", "RImageStream"},
    {"RImageStreamiff", "RImageStream"},
    {"RImageStreamyuv", "RImageStream"},
    {"RImageStreamDDS", "RImageStream"},
};

struct ClassCase {
  const char* name;
  const RClassDefinition* definition;
  const RClassDefinition* parent;
  const int* id;
  const char* className;
  int size;
  std::size_t objectSize;
  const int* instanceCount;
  RPropertyHashMap* propertyHashMap;
  RObject* (*make)();
};

template <class Class, class Parent>
ClassCase Describe(const char* name, RObject* (*make)()) {
  return {name,
          &Class::ClassDefinition,
          &Parent::ClassDefinition,
          &Class::ClassId,
          Class::ClassName,
          Class::ClassSize,
          sizeof(Class),
          &Class::ClassInstanceCount,
          &Class::PropertyHashMap,
          make};
}

template <class Class>
RObject* Make() {
  return new Class;
}
template <class Operator>
RObject* MakeEffect() {
  return new Operator("Effect");
}
RObject* MakeOperator() { return new RImageOperator("Operator", true); }

const std::vector<ClassCase>& Classes() {
  static const std::vector<ClassCase> classes{
      Describe<RImage, RObject>("RImage", Make<RImage>),
      Describe<RImageDDS, RImage>("RImageDDS", Make<RImageDDS>),
      Describe<RImageOperator, RObject>("RImageOperator", MakeOperator),
      Describe<RImOpBlend, RImageOperator>("RImOpBlend", MakeEffect<RImOpBlend>),
      Describe<RImOpCC, RImageOperator>("RImOpCC", MakeEffect<RImOpCC>),
      Describe<RImOpKeyer, RImageOperator>("RImOpKeyer", MakeEffect<RImOpKeyer>),
      Describe<RImageStream, RStream>("RImageStream", Make<RImageStream>),
      Describe<RImageStreamQT, RImageStream>("RImageStreamQT", Make<RImageStreamQT>),
      Describe<RImageStreampict, RImageStream>("RImageStreampict", Make<RImageStreampict>),
      Describe<RImageStreamsgi, RImageStream>("RImageStreamsgi", Make<RImageStreamsgi>),
      Describe<RImageStreamiff, RImageStream>("RImageStreamiff", Make<RImageStreamiff>),
      Describe<RImageStreamyuv, RImageStream>("RImageStreamyuv", Make<RImageStreamyuv>),
      Describe<RImageStreamDDS, RImageStream>("RImageStreamDDS", Make<RImageStreamDDS>),
  };
  return classes;
}

void PrintTo(const ClassCase& row, std::ostream* out) { *out << row.name; }

// The definition and all above it.
std::set<int> IdsUpwards(const RClassDefinition* definition) {
  std::set<int> ids;
  for (; definition; definition = definition->GetParent()) ids.insert(definition->GetId());
  return ids;
}

TEST(RImageClassesTest, AllClassesAreRegisteredWithTheirParents) {
  for (const auto& [name, parent] : kTree) {
    const RClassDefinition* definition = RClassDefinition::Find(name.c_str());
    ASSERT_NE(definition, nullptr) << name;
    ASSERT_NE(definition->GetParent(), nullptr) << name;
    EXPECT_STREQ(definition->GetParent()->GetName(), parent.c_str()) << name;
  }
}

TEST(RImageClassesTest, NoOtherClassIsRegistered) {
  for (const RClassDefinition* definition : RClassDefinition::GetAll()) {
    const std::string name = definition->GetName();
    EXPECT_TRUE(kTree.contains(name) || name == "RObject" || name == "RStream" || !name.starts_with("RIm"))
        << name;
  }
}

TEST(RImageClassesTest, EveryRegisteredClassHasACase) { EXPECT_EQ(Classes().size(), kTree.size()); }

TEST(RImageClassesTest, IdsAreDistinct) {
  std::set<int> ids;
  for (const RClassDefinition* definition : RClassDefinition::GetAll()) {
    EXPECT_TRUE(ids.insert(definition->GetId()).second) << definition->GetName();
  }
}

class ClassTest : public testing::TestWithParam<ClassCase> {
 protected:
  const ClassCase& Class() const { return GetParam(); }
  RDestroyPtr<RObject> MakeObject() const { return RDestroyPtr<RObject>(GetParam().make()); }
};

TEST_P(ClassTest, DefinitionTellsNameIdAndParent) {
  EXPECT_STREQ(Class().className, Class().name);
  EXPECT_STREQ(Class().definition->GetName(), Class().name);
  EXPECT_EQ(Class().definition->GetParent(), Class().parent);
  EXPECT_EQ(Class().definition->GetFactory(), nullptr);
  EXPECT_GT(*Class().id, 0);
  EXPECT_EQ(Class().definition->GetId(), *Class().id);
  EXPECT_EQ(RClassDefinition::Find(Class().name), Class().definition);
}

TEST_P(ClassTest, ParentIsRegisteredFirst) { EXPECT_LT(Class().parent->GetId(), *Class().id); }

TEST_P(ClassTest, ObjectTellsItsClass) {
  const auto object = MakeObject();
  EXPECT_EQ(object->GetClassId(), *Class().id);
  EXPECT_STREQ(object->GetClassIdName(), Class().name);
  EXPECT_EQ(object->GetClassDefinition(), Class().definition);
  EXPECT_EQ(object->GetClassSize(), Class().size);
  EXPECT_EQ(Class().size, static_cast<int>(Class().objectSize));
}

TEST_P(ClassTest, IsWalksUpTheTree) {
  const auto object = MakeObject();
  const std::set<int> own = IdsUpwards(Class().definition);
  for (const RClassDefinition* definition : RClassDefinition::GetAll()) {
    EXPECT_EQ(object->Is(definition->GetId()), own.contains(definition->GetId())) << definition->GetName();
  }
  EXPECT_FALSE(object->Is(0));
  EXPECT_FALSE(object->Is(-1));
}

TEST_P(ClassTest, GroupIsThatOfTheHostsBaseClass) {
  const auto object = MakeObject();
  const bool isStream = object->Is(RStream::ClassId);
  const RDestroyPtr<RObject> base(isStream ? new RStream : new RObject(nullptr, nullptr));
  EXPECT_EQ(object->GetClassGroupId(), base->GetClassGroupId());
  EXPECT_STREQ(object->GetClassGroupName(), base->GetClassGroupName());
}

TEST_P(ClassTest, InstancesAreCounted) {
  const int before = *Class().instanceCount;
  {
    const auto first = MakeObject();
    const auto second = MakeObject();
    EXPECT_EQ(*Class().instanceCount, before + 2);
    EXPECT_EQ(first->GetClassInstanceCount(), before + 2);
  }
  EXPECT_EQ(*Class().instanceCount, before);
}

TEST_P(ClassTest, ObjectHasNoName) {
  const auto object = MakeObject();
  EXPECT_EQ(object->GetEntity(), nullptr);
}

TEST_P(ClassTest, PropertiesAreFoundThroughTheMapOfTheClass) {
  static const RPropertyInfo kInfo{"Test Property", kPropertyInt, nullptr, nullptr};
  RPropertyTemplate<int> property(7);
  const auto object = MakeObject();
  property.SetPropertyInfo(&kInfo, object.get());
  EXPECT_EQ(object->FastFindPropertyByName("Test Property"), nullptr) << "not in the list";
  object->PropertyAddToList(&property);
  const int before = Class().propertyHashMap->GetCount();
  EXPECT_EQ(object->FastFindPropertyByName("Test Property"), &property);
  EXPECT_EQ(Class().propertyHashMap->GetCount(), before + 1) << "the class's own map, not the parent's";
  EXPECT_NE(Class().propertyHashMap->Find("Test Property"), nullptr);
  EXPECT_EQ(object->FastFindPropertyByName("Test Property"), &property) << "and again, from the map";
  EXPECT_EQ(object->FastFindPropertyByName("Other"), nullptr);
  EXPECT_EQ(object->FastFindPropertyByName(nullptr), nullptr);
  EXPECT_EQ(MakeObject()->FastFindPropertyByName("Test Property"), nullptr)
      << "the map holds no pointer to an object's property";
}

INSTANTIATE_TEST_SUITE_P(Classes, ClassTest, testing::ValuesIn(Classes()), test::CaseName());

}  // namespace
