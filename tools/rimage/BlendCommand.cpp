// rimage blend: one picture composed with another.
#include "EffectCommand.h"

Command AddBlendCommand(CLI::App& app) {
  return AddEffectCommand(
      app, {"blend",
            "RImOpBlend",
            {"A", "B"},
            "Compose two pictures: A over B and many other ways",
            "The result is as large as A; outside its own area B is transparent. Colours are multiplied with "
            "alpha\nbefore they are blended. rimage properties blend lists the properties; a preset sets the "
            "functions and\nfactors, so it comes before those.\n"
            "Example: rimage blend a.png b.png out.png --set Preset=\"A over B\" --set Alpha=50",
            2});
}
