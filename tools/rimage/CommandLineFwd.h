// The command line's class without the header of its library, which takes longer to compile than most files.
#pragma once

namespace CLI {
class App;
}
