#include "rbaselib/RObjectRegistry.h"

#include <strings.h>

#include <algorithm>
#include <mutex>

namespace {

struct FactoryRegistry {
  std::mutex mutex;
  std::vector<RObjectRegistration> registrations;
};

FactoryRegistry& Registry() {
  static FactoryRegistry& registry = *new FactoryRegistry;
  return registry;
}

}  // namespace

bool Object_Register(const char* group, const char* name, const char* type, RObjectFactory factory,
                     bool enabled, void* data, void* reserved) {
  if (!group || !name || !type || !factory) return false;
  RObjectRegistration entry{group, name, type, factory, enabled, data, reserved};
  FactoryRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  const auto same =
      std::find_if(registry.registrations.begin(), registry.registrations.end(),
                   [&](const auto& other) { return other.group == entry.group && other.name == entry.name; });
  if (same == registry.registrations.end())
    registry.registrations.push_back(std::move(entry));
  else
    *same = std::move(entry);
  return true;
}

std::vector<RObjectRegistration> Object_GetRegistrations(const char* group) {
  FactoryRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  std::vector<RObjectRegistration> found;
  for (const auto& entry : registry.registrations) {
    if (!group || entry.group == group) found.push_back(entry);
  }
  return found;
}

IObject* Object_Create(const char* group, const char* name, IObject* parent) {
  if (!group || !name) return nullptr;
  // The factory runs outside the lock: it may register or create in its turn.
  for (const auto& entry : Object_GetRegistrations(group)) {
    if (entry.enabled && !strcasecmp(entry.name.c_str(), name)) {
      return entry.factory(parent, entry.name.c_str(), entry.data);
    }
  }
  return nullptr;
}
