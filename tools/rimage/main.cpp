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

#include "DriverShim.h"
#include "HelpPages.h"
#include "Interruption.h"
#include "Suggestion.h"

namespace {

// Turns an argument that nothing takes into a failure that names the closest one.
void CheckRemaining(const CLI::App& app) {
  auto remaining = app.remaining();
  // The mark between options and file names is no argument itself.
  std::erase(remaining, "--");
  if (remaining.empty()) return;
  std::vector<std::string> known;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) known.push_back("--" + option->get_single_name());
  }
  for (const CLI::App* command : app.get_subcommands(nullptr)) known.push_back(command->get_name());
  const std::string& word = remaining.front();
  const bool chosen = app.get_parent() != nullptr;
  const char* argument = chosen ? "argument" : "sub-command";
  const std::string name = chosen ? app.get_name() : "command line";
  const bool option = word.starts_with('-');
  throw Failure(ExitCode::kUsage, name,
                fmt::format("unknown {} '{}'", option ? "option" : argument, Printable(word)),
                Suggest(word.substr(0, word.find('=')), known));
}

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
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);
      return Finish(ExitCode::kOk);
    }
    throw Failure(ExitCode::kUsage, "command line", error.what());
  }
  const auto chosen =
      std::ranges::find_if(commands, [](const Command& command) { return command.app->parsed(); });
  if (chosen != commands.end()) CheckRemaining(*chosen->app);
  CheckRemaining(app);
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
