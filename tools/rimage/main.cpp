// The command line: finds the sub-command, runs it, turns what happens into an exit code.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>
#include <vector>

#include "CommandLineCheck.h"
#include "DriverShim.h"
#include "HelpPages.h"
#include "Interruption.h"

namespace {

// A file that is opened later must not become standard error by chance and get its messages.
void OpenStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // What takes the place of standard output cannot be written either, so that no result is lost unnoticed.
    const int flags = stream == STDOUT_FILENO ? O_RDONLY : O_RDWR;
    if (fcntl(stream, F_GETFD) == -1 && errno == EBADF) (void)open("/dev/null", flags);
  }
}

ExitCode Finish(ExitCode code) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return code;
  throw Failure(ExitCode::kWrite, "standard output", ErrorText(errno));
}

constexpr std::array kCommands{AddFormatsCommand, AddInfoCommand,   AddConvertCommand,   AddCompareCommand,
                               AddSheetCommand,   AddBlendCommand,  AddCorrectCommand,   AddKeyCommand,
                               AddGraphCommand,   AddStereoCommand, AddOperatorsCommand, AddPropertiesCommand,
                               AddDoctorCommand};

ExitCode Run(int argc, char** argv) {
  CLI::App app("Reads, converts, compares and shows picture files.", "rimage");
  app.set_version_flag("--version", "rimage " RIMAGE_VERSION);
  app.allow_extras();
  std::vector<Command> commands;
  // The sub-commands take it over.
  app.formatter_fn([&](const CLI::App* asked, const std::string&, CLI::AppFormatMode) {
    const auto command = std::ranges::find(commands, asked, &Command::app);
    return command == commands.end() ? ProgramHelp(DescribeAll(app, commands))
                                     : CommandHelp(DescribeCommand(*command));
  });
  AddDriverShimOption(app, argv);
  // One sub-command at most: after it, the names of others are file names.
  app.require_subcommand(0, 1);
  for (const auto add : kCommands) commands.push_back(add(app));
  commands.push_back(AddHelpCommand(app, commands));
  // The sub-commands would take it over.
  app.footer(
      "rimage help SUBCOMMAND tells the options of one.\n\n"
      "Exit codes: 0 done, 1 pictures differ or some of several files failed, 2 wrong use, 3 reading "
      "failed,\n"
      "4 writing failed, 5 OpenGL is required and there is none, 130 interrupted.");
  for (const Command& command : commands) command.app->allow_extras();
  CheckEqualsSigns(app, {argv, static_cast<std::size_t>(argc)});
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);
      return Finish(ExitCode::kOk);
    }
    throw InOwnWords(app, error);
  }
  CheckParsed(app);
  const auto chosen =
      std::ranges::find_if(commands, [](const Command& command) { return command.app->parsed(); });
  if (chosen == commands.end()) {
    throw Failure(ExitCode::kUsage, "command line", "a sub-command is missing", "rimage --help lists them");
  }
  Host host(argv[0]);
  return Finish(chosen->run(host));
}

}  // namespace

int main(int argc, char** argv) {
  OpenStandardStreams();
  InstallInterruptHandlers();
  return static_cast<int>(RunCaught([&] { return Run(argc, argv); }));
}
