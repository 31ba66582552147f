// The properties of host objects: look-up, transfer and persistence.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <utility>

#include "rbaselib/RArc.h"
#include "rbaselib/RObject.h"
#include "rbaselib/RProperty.h"

namespace {

// Guards the caches of all classes: a look-up in one object must not disturb a look-up in another of its
// class.
std::mutex& CacheMutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

// Returns the cached index, or -1.
int FindIndex(const RPropertyHashMap& cache, const char* name) {
  const std::lock_guard lock(CacheMutex());
  const long long* index = cache.Find(name);
  return index && std::in_range<int>(*index) ? static_cast<int>(*index) : -1;
}

void CacheIndex(RPropertyHashMap& cache, const char* staticName, int index) {
  const std::lock_guard lock(CacheMutex());
  cache.Set(staticName, index);
}

bool IsNamed(const RProperty* property, const char* name) { return !std::strcmp(property->GetName(), name); }

}  // namespace

RProperty* RObject::FastFindPropertyByName(const char* name) const {
  return FastFindPropertyByName(name, PropertyHashMap);
}

RProperty* RObject::FastFindPropertyByName(const char* name, RPropertyHashMap& cache) const {
  if (!name) return nullptr;
  // The list can differ between objects of a class while one of them is being built, so the hit is checked.
  RProperty* hit = GetProperty(FindIndex(cache, name));
  if (hit && IsNamed(hit, name)) return hit;
  const auto found = std::find_if(mProperties.begin(), mProperties.end(),
                                  [&](const RProperty* property) { return IsNamed(property, name); });
  if (found == mProperties.end()) return nullptr;
  CacheIndex(cache, (*found)->GetName(), static_cast<int>(found - mProperties.begin()));
  return *found;
}

void RObject::PropertyAddToList(RProperty* property) {
  if (!property || property->mHolder == this) return;
  if (property->mHolder) property->mHolder->PropertyRemoveFromList(property);
  mProperties.push_back(property);
  property->mHolder = this;
}

void RObject::PropertyRemoveFromList(RProperty* property) {
  if (std::erase(mProperties, property) != 0) property->mHolder = nullptr;
}

RProperty* RObject::GetProperty(int index) const {
  return index >= 0 && index < GetPropertyCount() ? mProperties[static_cast<std::size_t>(index)] : nullptr;
}

namespace {

struct Assignment {
  RProperty* property;
  RPropertyValue value;
  // Whether an object of the same class holds this value, which makes it a good one whatever the setter says.
  bool isProven;
};

bool SameNumber(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

bool Same(const RPropertyValue& a, const RPropertyValue& b) {
  if (a.index() != b.index()) return false;
  if (const auto* number = std::get_if<double>(&a)) return SameNumber(*number, std::get<double>(b));
  if (const auto* colour = std::get_if<RgeRGBVector>(&a)) {
    const auto& other = std::get<RgeRGBVector>(b);
    return SameNumber(colour->r, other.r) && SameNumber(colour->g, other.g) && SameNumber(colour->b, other.b);
  }
  return a == b;
}

bool Differs(const Assignment& assignment) {
  return !Same(assignment.property->GetValue(), assignment.value);
}

// Returns whether anything differed.
bool SetWhatDiffers(const std::vector<Assignment>& assignments) {
  bool any = false;
  for (const Assignment& assignment : assignments) {
    if (!Differs(assignment)) continue;
    assignment.property->RunSetter(assignment.value);
    any = true;
  }
  return any;
}

// A setter may change other properties: a preset those that it stands for, and each of those the preset. So
// what a later setter changed is set again. A property that nothing changes any more is right after its round
// and then keeps still, so as many rounds as there are properties settle every state that the setters can
// reach. What differs even then are properties that change each other in a circle; the last of the list are
// right by then, in whatever follows their setters too, and for those before them, which choose the values of
// others and have nothing else that follows them, the value itself is all there is to bring over.
void Assign(const std::vector<Assignment>& assignments) {
  for (const Assignment& assignment : assignments) assignment.property->RunSetter(assignment.value);
  for (std::size_t round = 1; round <= assignments.size(); ++round) {
    if (!SetWhatDiffers(assignments)) return;
  }
  for (const Assignment& assignment : assignments) {
    if (assignment.isProven) (void)assignment.property->StoreValue(assignment.value);
  }
}

}  // namespace

void RObject::TransferStaticPropertiesFrom(const RObject* source) {
  if (!source || source == this) return;
  std::vector<Assignment> assignments;
  for (const RProperty* theirs : source->mProperties) {
    RProperty* ours = theirs->GetInfo() ? FastFindPropertyByName(theirs->GetName()) : nullptr;
    if (!ours) continue;
    Assignment assignment{ours, theirs->GetValue(), ours->GetInfo() == theirs->GetInfo()};
    // A value that a setter stored past the range in an object of the class must get past it here as well.
    if (assignment.isProven || ours->Fit(assignment.value)) assignments.push_back(assignment);
  }
  Assign(assignments);
}

bool RObject::PropertiesStore(RArc* arc) const {
  if (!arc) return false;
  bool allWritten = true;
  for (const RProperty* property : mProperties) {
    if (arc->FieldWriteBegin(property->GetName())) {
      property->WriteValue(*arc);
      arc->FieldWriteEnd();
    } else {
      allWritten = false;
    }
  }
  return allWritten;
}

bool RObject::PropertiesRestore(const RArc* arc) {
  if (!arc) return false;
  bool allRead = true;
  std::vector<Assignment> assignments;
  for (RProperty* property : mProperties) {
    if (!arc->HasField(property->GetName())) continue;
    RPropertyValue value = property->GetValue();
    const bool read = property->ReadValue(*arc, value) && property->Fit(value);
    if (read) assignments.push_back({property, value, false});
    allRead = allRead && read;
  }
  Assign(assignments);
  return allRead;
}
