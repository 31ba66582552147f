#include "rbaselib/RClassDefinition.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

namespace {

struct ClassRegistry {
  std::mutex mutex;
  std::vector<const RClassDefinition*> classes;
  std::map<std::string, int, std::less<>> ids;
};

// Lives until the process ends: modules may be unloaded after this library's own statics are gone.
ClassRegistry& Registry() {
  static ClassRegistry& registry = *new ClassRegistry;
  return registry;
}

}  // namespace

RClassDefinition::RClassDefinition(int& id, const char* name, const RClassDefinition* parent, void* factory)
    : mId(id), mName(name), mParent(parent), mFactory(factory) {
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
  const int next = static_cast<int>(registry.ids.size()) + 1;
  mId = registry.ids.try_emplace(mName, next).first->second;
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
