// Sequences of calls on a graph of operators, within the contract of its plugs.
#pragma once

#include <cstddef>
#include <cstdint>

/// Where the operators of a sequence work.
enum class OperatorPlace {
  kMemory,  ///< sums on the processor; blends are there too, and cannot be evaluated
  kDriver,  ///< blends on the current OpenGL context; sums feed them
};

/// Carries out the calls that `data` names: operators are made, connected in any way, changed, locked and
/// destroyed. Whoever destroys an operator disconnects it first; whoever holds an image holds a reference.
/// Aborts when a result differs from a plain model of the graph, when a lock without a change computes again,
/// when reference counts do not match, or when the driver reports an error.
void RunOperatorSequence(const std::uint8_t* data, std::size_t size, OperatorPlace place);
