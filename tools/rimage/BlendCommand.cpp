// rimage blend: one picture composed with another.
#include "EffectCommand.h"

Command AddBlendCommand(CLI::App& app) {
  return AddEffectCommand(
      app, {"blend",
            {"A", "B"},
            "Compose two pictures: A over B and many other ways",
            "The result is as large as A; outside its own area B is transparent. Colours are multiplied with "
            "alpha\nbefore they are blended. rimage properties blend lists the properties; a preset sets the "
            "functions and\nfactors, so it comes before those.",
            2,
            {{"A picture over another, and the graph of it for rimage graph",
              "rimage blend waves.png hopper.tga over.png --set Preset=\"A over B\" --save graph.json"}}});
}
