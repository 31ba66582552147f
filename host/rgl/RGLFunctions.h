// OpenGL's function tables of the current context.
#pragma once

#include <QOpenGLFunctions_1_5>
#include <QOpenGLFunctions_2_0>
#include <QOpenGLFunctions_3_0>

#include "rgl/RGLExport.h"

/// Returns the functions of OpenGL 1.5 for the context that is current on the calling thread, ready to call;
/// the context owns them. Null when no context is current, or when it does not have them all: a core context
/// has none of the fixed functions and so answers null to every version. The pointer is good while the
/// context lives, its functions while that is current; the module keeps none and asks for each use.
RGL_API QOpenGLFunctions_1_5* opengl15();
/// The same of OpenGL 2.0.
RGL_API QOpenGLFunctions_2_0* opengl20();
/// The same of OpenGL 3.0.
RGL_API QOpenGLFunctions_3_0* opengl30();
