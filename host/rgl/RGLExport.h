// The export macro of the OpenGL library.
#pragma once

#if defined(RGL_BUILD)
/// Marks what the library hands out; nothing for those who use it.
#define RGL_API __attribute__((visibility("default")))
#else
#define RGL_API
#endif
