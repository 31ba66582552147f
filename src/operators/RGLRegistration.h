// The registration of operators that draw with OpenGL, while they are made.
#pragma once

#include "operators/RImageOperator.h"

/// Registers an operator. Where memory lacks before it is whole, its destructor does not run, and this one
/// takes the registration back.
class RGLRegistration {
 public:
  explicit RGLRegistration(RImageOperator* imageOperator) : mOperator(imageOperator) {
    RImageOperator::RegisterGLOperator(imageOperator);
  }
  ~RGLRegistration() {
    if (mOperator) RImageOperator::UnregisterGLOperator(mOperator);
  }
  RGLRegistration(const RGLRegistration&) = delete;
  RGLRegistration& operator=(const RGLRegistration&) = delete;

  /// Leaves it to the operator to take the registration back; true.
  bool Keep() {
    mOperator = nullptr;
    return true;
  }

 private:
  RImageOperator* mOperator;
};
