#include "rgl/RGLFunctions.h"

#include <QOpenGLContext>
#include <QOpenGLVersionFunctionsFactory>

namespace {

template <class Functions>
Functions* FunctionsOfCurrentContext() {
  QOpenGLContext* context = QOpenGLContext::currentContext();
  if (!context) return nullptr;
  auto* functions = QOpenGLVersionFunctionsFactory::get<Functions>(context);
  return functions && functions->initializeOpenGLFunctions() ? functions : nullptr;
}

}  // namespace

QOpenGLFunctions_1_5* opengl15() { return FunctionsOfCurrentContext<QOpenGLFunctions_1_5>(); }
QOpenGLFunctions_2_0* opengl20() { return FunctionsOfCurrentContext<QOpenGLFunctions_2_0>(); }
QOpenGLFunctions_3_0* opengl30() { return FunctionsOfCurrentContext<QOpenGLFunctions_3_0>(); }
