// The effects that the module has registered with the host.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "image/RDestroyPtr.h"
#include "operators/RImageOperator.h"

/// A registered effect.
struct OperatorEntry {
  std::string name;   ///< of its class
  std::string title;  ///< for people
};

/// Returns the effects in the order of their registration.
std::vector<OperatorEntry> ListOperators();

/// Returns the class name of the effect that a sub-command is; empty for other sub-commands.
std::string OperatorOfCommand(std::string_view command);

/// Returns the class name for a name as people write it: in any case, with or without what all of them begin
/// with, or the name of the sub-command. Fails, naming `subject`, when there is no such effect.
std::string FindOperator(const std::string& subject, const std::string& name);

/// Makes an effect of a registered class. What it draws with is chosen from the OpenGL context that is
/// current, the first time for good.
RDestroyPtr<RImageOperator> CreateOperator(const std::string& className);

/// Returns the names of an operator's plugs.
std::vector<std::string> PlugNames(const RImageOperator& op, RImageOperator::RPlugType type);
