// Rendering of vector (SVG) files.
#pragma once

#include <QImage>

/// Renders the SVG file at `path` (UTF-8) over transparent black, stretched to `width` x `height` pixels, as
/// Format_RGBA8888_Premultiplied with the top row first. A file that is no SVG draws nothing.
///
/// Returns a null image for a size below 1 x 1, when memory runs out, and without a QGuiApplication: text in
/// a drawing needs its fonts and would abort the process.
QImage RRenderVectorSource(const char* path, int width, int height);
