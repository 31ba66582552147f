// The connectable base of host objects.
#pragma once

#include "rbaselib/IObject.h"

/// Base of everything that can be plugged into the host: an interface face with a virtual destructor.
class RBASELIB_API RPlug : public IObject {
 public:
  virtual ~RPlug();

 protected:
  ///@{
  /// A copy is plugged in nowhere: the base holds nothing.
  RPlug() = default;
  RPlug(const RPlug&) = default;
  RPlug& operator=(const RPlug&) = default;
  ///@}
};
