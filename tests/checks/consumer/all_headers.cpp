// Compiles every installed header of the module, and uses the module and its host together.
#include "installed_headers.h"
#include "rbaselib/RObjectRegistry.h"

int main() {
  EntryPointrimage(kDllStart);
  const auto readers = Object_GetRegistrations("Stream/Reader/Image");
  const bool known = RClassDefinition::Find("RImage") == &RImage::ClassDefinition;
  return known && !readers.empty() && RImage::ClassDefinition.GetParent() == &RObject::ClassDefinition ? 0
                                                                                                       : 1;
}
