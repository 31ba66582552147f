// The class definitions of the base library, in tree order: within one file the order of these lines is the
// order of construction, so that the root classes have the first ids, whatever the linker does.
#include "rbaselib/RStream.h"

const char* const RObject::ClassName = "RObject";
int RObject::ClassId = 0;
const int RObject::ClassSize = sizeof(RObject);
int RObject::ClassInstanceCount = 0;
RClassDefinition RObject::ClassDefinition(RObject::ClassId, RObject::ClassName, nullptr);
[[maybe_unused]] static const int kRegisteredRObject = RObject::ClassDefinition.RegisterClassId();
RPropertyHashMap RObject::PropertyHashMap;

const char* const RStream::ClassName = "RStream";
int RStream::ClassId = 0;
const int RStream::ClassSize = sizeof(RStream);
int RStream::ClassInstanceCount = 0;
RClassDefinition RStream::ClassDefinition(RStream::ClassId, RStream::ClassName, &RObject::ClassDefinition);
[[maybe_unused]] static const int kRegisteredRStream = RStream::ClassDefinition.RegisterClassId();
RPropertyHashMap RStream::PropertyHashMap;
