// What effects draw with.
#pragma once

#include <string>
#include <vector>

#include "operators/RImageOperator.h"

/// Returns the class of the node that does an effect's work, such as "RFpBlend_default".
std::string BackEndName(const RImageOperator& op);

/// Tells, one line each, why the effect draws with this back end: those that it would rather have and what is
/// missing for them, then what it is.
std::vector<std::string> ExplainBackEnd(const RImageOperator& op);

/// Returns what a form of access is, such as "texture to frame buffer, by a rectangle".
std::string FormText(int form);
