// rimage key: a matte pulled from a picture.
#include "EffectCommand.h"

Command AddKeyCommand(CLI::App& app) {
  return AddEffectCommand(
      app, {"key",
            "RImOpKeyer",
            {"IN", "CLEAN"},
            "Key a picture: by the hue of a colour, by luminance, or by a clean background",
            "CLEAN is the background without the subject, which Mode=\"Difference Keying\" reads. The result "
            "is\npremultiplied: what is keyed out is transparent. Numbers but Key are percent. rimage "
            "properties keyer lists\nthe properties.",
            1,
            {{"Green keyed out, with soft edges",
              "rimage key hopper.tga keyed.png --set Mode=\"Chroma Keying\" --set Key=0.1,0.7,0.2 --set "
              "Softness=20"}}});
}
