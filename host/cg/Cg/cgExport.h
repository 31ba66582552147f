// The export macro of the Cg runtime.
#pragma once

#if defined(CG_BUILD)
#define CG_API __attribute__((visibility("default")))
#else
#define CG_API
#endif
