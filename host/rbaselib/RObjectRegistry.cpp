#include "rbaselib/RObjectRegistry.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "rbaselib/internal/RText.h"

namespace {

struct FactoryRegistry {
  std::mutex mutex;
  std::vector<RObjectRegistration> registrations;
};

// Lives until the process ends: factories may still be asked for while other libraries' statics go.
FactoryRegistry& Registry() {
  static FactoryRegistry& registry = *new FactoryRegistry;
  return registry;
}

bool IsFiledUnder(const RObjectRegistration& entry, std::string_view group, std::string_view name) {
  return entry.group == group && RText::EqualsIgnoringCase(entry.name, name);
}

// Returns a registration without factory when there is none.
RObjectRegistration FindEnabled(std::string_view group, std::string_view name) {
  FactoryRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  const auto& entries = registry.registrations;
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
    return entry.enabled && IsFiledUnder(entry, group, name);
  });
  return found == entries.end() ? RObjectRegistration{} : *found;
}

}  // namespace

bool Object_Register(const char* group, const char* name, const char* type, RObjectFactory factory,
                     bool enabled, void* data, void* reserved) {
  if (!group || !name || !type || !factory) return false;
  RObjectRegistration entry{group, name, type, factory, enabled, data, reserved};
  FactoryRegistry& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  auto& entries = registry.registrations;
  const auto same = std::find_if(entries.begin(), entries.end(),
                                 [&](const auto& other) { return IsFiledUnder(other, group, name); });
  if (same == entries.end())
    entries.push_back(std::move(entry));
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
  const RObjectRegistration entry = FindEnabled(group, name);
  return entry.factory ? entry.factory(parent, entry.name.c_str(), entry.data) : nullptr;
}
