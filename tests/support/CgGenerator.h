// Random programs in the part of Cg that the host's runtime takes.
#pragma once

#include <string>

#include "support/Random.h"

namespace test {

/// Writes statements of a fragment program with the parameters of `kComposeParameters`. Every one follows the
/// language; equal seeds give equal statements.
class CgGenerator {
 public:
  explicit CgGenerator(unsigned seed) : mRandom(seed) {}

  std::string Statements(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += Statement(3) + "\n";
    return text;
  }

 private:
  std::string Pick(std::initializer_list<const char*> choices) {
    return choices.begin()[mRandom.Below(static_cast<unsigned>(choices.size()))];
  }
  int Below(int limit) { return static_cast<int>(mRandom.Below(static_cast<unsigned>(limit))); }

  static std::string TypeName(int size) { return "float" + std::to_string(size); }

  /// `count` components of a vector of `size`, all different when they are assigned to.
  std::string Components(int count, int size, bool areDifferent) {
    const std::string set = Below(2) ? "xyzw" : "rgba";
    std::string text;
    int first = Below(size - (areDifferent ? count - 1 : 0));
    for (int i = 0; i < count; ++i) {
      const int index = areDifferent ? first + i : Below(size);
      text += set[static_cast<std::size_t>(index)];
    }
    return text;
  }

  std::string Statement(int depth) {
    const int size = 1 + Below(4);
    switch (Below(depth > 0 ? 7 : 4)) {
      case 0:
        return "color = " + Float(4, 3) + ";";
      case 1:
        return "color." + Components(size, 4, true) + " " + Pick({"=", "+=", "-=", "*=", "/="}) + " " +
               Float(size, 3) + ";";
      case 2:
        return "{ " + TypeName(size) + " v = " + (Below(2) ? Float(size, 2) : List(size)) + "; color = v." +
               Components(4, size, false) + "; }";
      case 3:
        return "{ int i = " + Int(2) + "; bool b = " + Bool(2) + "; i %= " + Int(1) +
               "; color.x = i; color.y = b; }";
      case 4:
        return "if (" + Bool(3) + ") " + Statement(depth - 1) + " else " + Statement(depth - 1);
      case 5:
        return "if (" + (Below(2) ? Int(2) : Float(1, 2)) + ") { " + Statement(depth - 1) + " }";
      default:
        return Below(8) ? "{ " + Statement(depth - 1) + " }" : "if (" + Bool(1) + ") return;";
    }
  }

  std::string List(int size) {
    std::string text;
    for (int i = 0; i < size; ++i) text += (i ? ", " : "") + (Below(3) ? Float(1, 1) : Int(1));
    return "{ " + text + " }";
  }

  /// A value of so many floats.
  std::string Float(int size, int depth) {
    switch (Below(depth > 0 ? 10 : 3)) {
      case 0:
        return size == 1 ? Pick({"0.5", "1.", ".25f", "2e-1", "x_base", "y_base.x", "screenWidth"})
                         : TypeName(size) + "(" + Pick({"0.5", "1", "x_base", "true"}) + ")";
      case 1:
        return "texCoord." + Components(size, 2, false);
      case 2:
        return "color." + Components(size, 4, false);
      case 3:
        return "(" + Float(size, depth - 1) + " " + Pick({"+", "-", "*", "/"}) + " " +
               (Below(2)   ? Float(size, depth - 1)
                : Below(2) ? Float(1, depth - 1)
                           : Int(depth - 1)) +
               ")";
      case 4:
        return "saturate(" + Float(size, depth - 1) + ")";
      case 5:
        return "trunc(" + Float(size, depth - 1) + ")";
      case 6:
        return "tex2D(" + Pick({"leftImage", "rightImage"}) + ", " + Float(2, depth - 1) + ")." +
               Components(size, 4, false);
      case 7:
        return "- " + Float(size, depth - 1);
      case 8:
        return size == 1
                   ? "dot(" + Float(3, depth - 1) + ", " + Float(3, depth - 1) + ")"
                   : TypeName(size) + "(" + Float(size - 1, depth - 1) + ", " + Float(1, depth - 1) + ")";
      default:
        return TypeName(size) + "(" + Float(4, depth - 1) + ")";
    }
  }

  std::string Int(int depth) {
    switch (Below(depth > 0 ? 5 : 1)) {
      case 0:
        return std::to_string(1 + Below(9));
      case 1:
        return "int(" + Float(1, depth - 1) + ")";
      case 2:
        return "- " + Int(0);
      default:
        return "(" + Int(depth - 1) + " " + Pick({"+", "-", "*", "/", "%"}) + " " + Int(depth - 1) + ")";
    }
  }

  std::string Bool(int depth) {
    switch (Below(depth > 0 ? 5 : 1)) {
      case 0:
        return Pick({"true", "false"});
      case 1:
        return "(" + Int(depth - 1) + " " + Pick({"==", "!=", "<", ">", "<=", ">="}) + " " +
               Float(1, depth - 1) + ")";
      case 2:
        return "!" + Bool(depth - 1);
      case 3:
        return "(" + Bool(depth - 1) + " " + Pick({"&&", "||", "==", "!="}) + " " + Bool(depth - 1) + ")";
      default:
        return "(" + Float(1, depth - 1) + " && " + Int(depth - 1) + ")";
    }
  }

  Random mRandom;
};

}  // namespace test
