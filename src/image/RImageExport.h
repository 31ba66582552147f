// The export macro of the module.
#pragma once

#if defined(RIMAGE_BUILD)
#define RIMAGE_API __attribute__((visibility("default")))
#else
#define RIMAGE_API
#endif
