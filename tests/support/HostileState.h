// OpenGL state that spoils the drawing of whoever does not put it aside.
#pragma once

#include <string>
#include <vector>

namespace test {

/// One kind of state: `set` makes it hostile in the current context.
struct HostileKind {
  const char* name;
  void (*set)();
};

/// Returns all kinds: tests, masks, matrices, texture units, programs, buffers, pixel transfers, blending.
/// Objects that they make live as long as the context, and are not counted.
const std::vector<HostileKind>& HostileKinds();

/// Makes every kind hostile at once.
void SetHostileState();

/// `GLStateText` and what it leaves out: samplers, pipelines, the enables of extensions, clamping, the
/// generation of texture coordinates, the material, the clip space.
std::string FullStateText();

/// Returns the lines in which two such texts differ; empty when they are equal.
std::string StateDifference(const std::string& before, const std::string& after);

}  // namespace test
