// rimage correct: the colours of a picture corrected.
#include "EffectCommand.h"

Command AddCorrectCommand(CLI::App& app) {
  return AddEffectCommand(
      app,
      {"correct",
       {"IN"},
       "Correct the colours of a picture, as a whole and by shadows, midtones and highlights",
       "The result is opaque unless Transparency is set. Offsets and brightness are shares of alpha, as in "
       "colours\nthat are multiplied with it. rimage properties correct lists the properties; Black and "
       "White count when\nColorPoints is set.",
       1,
       {{"Brighter, with paler shadows",
         "rimage correct hopper.jpg bright.png --set Gamma=1.4 --set ShadowSaturation=0.5"}}});
}
