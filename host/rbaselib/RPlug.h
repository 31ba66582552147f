// The connectable base of host objects.
#pragma once

#include "rbaselib/IObject.h"

/// Base of everything that can be plugged into the host: an interface face with a virtual destructor.
class RBASELIB_API RPlug : public IObject {
 public:
  virtual ~RPlug();

 protected:
  RPlug() = default;
  RPlug(const RPlug&) = default;
  RPlug& operator=(const RPlug&) = default;
};
