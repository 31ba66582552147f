// The export macro of the Cg runtime.
#pragma once

#if defined(CG_BUILD)
/// Marks what the library hands out; nothing for those who use it.
#define CG_API __attribute__((visibility("default")))
#else
#define CG_API
#endif
