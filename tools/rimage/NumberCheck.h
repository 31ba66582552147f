// Options whose values are numbers.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <limits>

/// Takes decimal whole numbers from `least` to `most`, both included. The help names none of it; what tells
/// of a missing value does.
CLI::Validator WholeNumber(std::int64_t least, std::int64_t most = std::numeric_limits<int>::max());

/// Takes decimal numbers from `least` to `most`, both included: no infinite ones, and nothing that is no
/// number.
CLI::Validator Number(double least, double most);
