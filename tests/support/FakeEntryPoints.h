// Entry points of a driver made up by a test.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "fp/RFpEntryPoints.h"

namespace test {

/// Takes the driver's place as long as it lives, and logs what is asked, as in "GL_NV_fragment_program?" for
/// an extension and "glBindProgramNV" for a function. Functions resolve to an address that is not for
/// calling.
class FakeEntryPoints : public RFpEntryPoints {
 public:
  explicit FakeEntryPoints(std::set<std::string> advertised = {}) : extensions(std::move(advertised)) {
    Replace(this);
  }
  ~FakeEntryPoints() override { Replace(nullptr); }

  std::set<std::string> extensions;
  std::set<std::string> missing;  ///< functions that do not resolve
  mutable std::vector<std::string> asked;

  bool Advertises(const char* extension) const override {
    asked.push_back(std::string(extension) + '?');
    return extensions.count(extension) != 0;
  }
  Address Resolve(const char* name) const override {
    asked.emplace_back(name);
    return missing.count(name) != 0 ? nullptr : Address([] {});
  }
};

}  // namespace test
