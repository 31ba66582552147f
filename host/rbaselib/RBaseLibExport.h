// The export macro of the base library.
#pragma once

/// Marks what the library hands out. The visibility is the same for the library and for its users: the type
/// information of classes without a source file is emitted in both and has to stay one.
#define RBASELIB_API __attribute__((visibility("default")))
