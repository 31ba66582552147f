// The main of tests that need OpenGL: run them through with_display.sh, as ctest does.
#include <gtest/gtest.h>

#include <QGuiApplication>

int main(int argc, char** argv) {
#ifndef RIMAGE_NO_SHARED_CONTEXT
  // Qt makes its global share context only when this is set before the application object.
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
#endif
  const QGuiApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
