// What `convert` can do to a picture between reading and writing it.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "FrameFiles.h"
#include "Host.h"
#include "Picture.h"
#include "PictureFile.h"

/// What operations need beside the picture; outlives the steps.
struct OperationContext {
  Host& host;
  const ReadOptions& readOptions;
  const FrameFiles& files;
};

/// Changes a picture. Fails without having written anything.
using Step = std::function<void(Picture&)>;

/// How an operation takes its value on the command line.
enum class ValueKind {
  kNone,
  kRequired,  ///< --name VALUE
  kOptional,  ///< --name or --name=VALUE
};

/// Makes a step from the value on the command line (empty when there is none); fails with a usage error when
/// the value is wrong.
using StepMaker = Step (*)(const std::string& value, const OperationContext& context);

/// One operation as the command line knows it.
struct Operation {
  const char* name;  ///< such as "--resize"
  ValueKind valueKind;
  const char* valueName;  ///< for the help, such as "WxH"
  const char* help;
  StepMaker make;
};

std::span<const Operation> Operations();

/// Returns the operation's step. After any step but a resize a vector picture counts as pixels: drawing it
/// anew would undo the step.
Step MakeStep(const Operation& operation, const std::string& value, const OperationContext& context);
