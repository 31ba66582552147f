// The sub-commands: one file each.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CommandLineFwd.h"
#include "Failure.h"
#include "Host.h"
#include "PictureFile.h"

/// A line that works in the folder of the samples, in the order of the sub-commands.
struct Example {
  std::string text;  ///< what it does
  std::string line;
};

/// A sub-command: its part of the command line, and what runs when it was chosen.
struct Command {
  CLI::App* app;
  std::function<ExitCode(Host&)> run;
  std::vector<Example> examples = {};
  std::string effect = {};  ///< the class of the effect that --set is about; empty: none
};

/// Adds what every sub-command that reads pictures takes: --no-orient, --max-memory and --isolate.
void AddReadOptions(CLI::App& app, ReadOptions& options);

/// Adds what every sub-command that writes a picture takes: --quality and --compression.
void AddWriteOptions(CLI::App& app, WriteOptions& options);

/// Fails with a usage error unless a required argument is there.
void Require(const CLI::App& app, const char* name, bool given);

Command AddFormatsCommand(CLI::App& app);
Command AddInfoCommand(CLI::App& app);
Command AddConvertCommand(CLI::App& app);
Command AddCompareCommand(CLI::App& app);
Command AddSheetCommand(CLI::App& app);
Command AddStereoCommand(CLI::App& app);
Command AddDoctorCommand(CLI::App& app);
Command AddOperatorsCommand(CLI::App& app);
Command AddPropertiesCommand(CLI::App& app);
Command AddGraphCommand(CLI::App& app);
Command AddBlendCommand(CLI::App& app);
Command AddCorrectCommand(CLI::App& app);
Command AddKeyCommand(CLI::App& app);
/// `commands` are all sub-commands, this one included by the time that it runs.
Command AddHelpCommand(CLI::App& app, const std::vector<Command>& commands);
