// The command line's classes without the header of its library, which takes longer to compile than most
// files.
#pragma once

namespace CLI {
class App;
class Option;
class ParseError;
}  // namespace CLI
