#include "rbaselib/RClassDefinition.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace {

struct ClassRegistry {
  std::mutex mutex;
  std::vector<const RClassDefinition*> classes;
  std::map<std::string, int, std::less<>> ids;
  int lastId = 0;
};

// Lives until the process ends: modules may be unloaded after this library's own statics are gone.
ClassRegistry& Registry() {
  static ClassRegistry& registry = *new ClassRegistry;
  return registry;
}

}  // namespace

RClassDefinition::RClassDefinition(int& id, const char* name, const RClassDefinition* parent, void* factory)
    : mId(id), mName(name ? name : ""), mParent(parent), mFactory(factory) {
  ClassRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  registry.classes.push_back(this);
}

RClassDefinition::~RClassDefinition() {
  ClassRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  std::erase(registry.classes, this);
}

int RClassDefinition::RegisterClassId() {
  ClassRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  if (std::exchange(mRegistered, true)) return mId;
  if (const auto known = registry.ids.find(std::string_view(mName)); known == registry.ids.end()) {
    mId = registry.ids[mName] = ++registry.lastId;
  } else {
    const bool taken = std::any_of(registry.classes.begin(), registry.classes.end(), [&](const auto* other) {
      return other != this && other->mRegistered && other->mId == known->second;
    });
    mId = taken ? ++registry.lastId : known->second;
  }
  return mId;
}

const RClassDefinition* RClassDefinition::Find(const char* name) {
  if (!name) return nullptr;
  ClassRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  const auto found =
      std::find_if(registry.classes.begin(), registry.classes.end(),
                   [&](const auto* definition) { return !std::strcmp(definition->mName, name); });
  return found == registry.classes.end() ? nullptr : *found;
}

std::vector<const RClassDefinition*> RClassDefinition::GetAll() {
  ClassRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  return registry.classes;
}
