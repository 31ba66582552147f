// The export macro of the base library.
#pragma once

#if defined(RBASELIB_BUILD)
#define RBASELIB_API __attribute__((visibility("default")))
#else
#define RBASELIB_API
#endif
