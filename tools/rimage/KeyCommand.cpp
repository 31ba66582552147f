// rimage key: a matte pulled from a picture.
#include "EffectCommand.h"

Command AddKeyCommand(CLI::App& app) {
  return AddEffectCommand(
      app,
      {"key",
       {"IN", "CLEAN"},
       "Key a picture: by the hue of a colour, by luminance, or by a clean background",
       "CLEAN is the background without the subject, which Mode=\"Difference Keying\" reads. The result "
       "is\npremultiplied: what is keyed out is transparent. Numbers but Key are percent. By hue, lower "
       "Threshold from\n100 until the screen is gone. rimage properties key lists the properties.",
       1,
       {{"Green keyed out, with soft edges",
         "rimage key green-screen.png keyed.png --set Mode=\"Chroma Keying\" --set Key=0.13,0.61,0.21 --set "
         "Threshold=35 --set Softness=75"}}});
}
