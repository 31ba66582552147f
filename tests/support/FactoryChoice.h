// Tests of the choice among the variants of a node. The first answer of a driver holds for the whole process,
// so each case is a process of its own.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "support/FakeEntryPoints.h"

namespace test {

using Probes = std::vector<std::string>;

inline Probes operator+(Probes a, const Probes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// Ends the process with success when `create` makes a node of that class twice, the second time without
/// asking for extensions again, and the driver was asked first what `probes` says.
template <class Node, class Base>
[[noreturn]] void ExpectChoice(Base* (*create)(), const FakeEntryPoints& driver, const Probes& probes) {
  const std::unique_ptr<Base> node(create());
  const Probes asked(driver.asked.begin(), driver.asked.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                      probes.size(), driver.asked.size())));
  if (typeid(*node) != typeid(Node)) std::fprintf(stderr, "made %s\n", typeid(*node).name());
  if (asked != probes) std::fprintf(stderr, "asked %s\n", testing::PrintToString(driver.asked).c_str());
  // The answers are kept, whatever the driver has now.
  FakeEntryPoints nothing;
  const std::unique_ptr<Base> second(create());
  bool kept = typeid(*second) == typeid(Node);
  for (const std::string& name : nothing.asked) {
    if (!name.ends_with('?')) continue;
    std::fprintf(stderr, "asked again: %s\n", name.c_str());
    kept = false;
  }
  std::_Exit(typeid(*node) == typeid(Node) && asked == probes && kept ? 0 : 1);
}

}  // namespace test
