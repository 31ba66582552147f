// Names of parameterised tests.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace test {

/// For INSTANTIATE_TEST_SUITE_P: the member `name` of the parameter.
struct CaseName {
  template <class Case>
  std::string operator()(const testing::TestParamInfo<Case>& info) const {
    return info.param.name;
  }
};

}  // namespace test
