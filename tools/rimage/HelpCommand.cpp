// rimage help: the help of sub-commands, and what is made of it for other readers.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

#include "CommandTable.h"
#include "Completion.h"
#include "HelpPages.h"
#include "Suggestion.h"

namespace {

struct Options {
  std::vector<std::string> words;
  std::string shell;
  bool man = false;
  bool markdown = false;
  bool complete = false;
};

std::string HelpOf(const CommandTable& table, const std::string& name) {
  const auto found = std::ranges::find(table.commands, name, &CommandRow::name);
  if (found != table.commands.end()) return CommandHelp(*found);
  std::vector<std::string> known;
  for (const CommandRow& command : table.commands) known.push_back(command.name);
  throw Failure(ExitCode::kUsage, "help", fmt::format("unknown sub-command '{}'", Printable(name)),
                Suggest(name, known));
}

std::string Text(const CommandTable& table, const Options& options) {
  if (options.complete) return CompletionText(Complete(table, options.words));
  if (options.man) return ManPage(table);
  if (options.markdown) return MarkdownPage(table);
  if (!options.shell.empty()) return CompletionScript(options.shell);
  if (options.words.empty()) return ProgramHelp(table);
  std::string text;
  for (const std::string& name : options.words) text += (text.empty() ? "" : "\n") + HelpOf(table, name);
  return text;
}

}  // namespace

Command AddHelpCommand(CLI::App& app, const std::vector<Command>& commands) {
  CLI::App* command = app.add_subcommand("help", "Show the help of sub-commands");
  const auto options = std::make_shared<Options>();
  command->add_option("[COMMAND]...", options->words, "Sub-command; none: the program")->type_name("");
  command->add_flag("--man", options->man, "Print the manual page, for man -l -");
  command->add_flag("--markdown", options->markdown, "Print the page for the documentation");
  command->add_option("--completion", options->shell, "Print the script that completes words in a shell")
      ->type_name("bash|fish|zsh");
  command->add_flag("--complete", options->complete,
                    "Print what can stand in place of the last of the words, which come behind --");
  return {command,
          [&app, &commands, options](Host&) {
            fmt::print("{}", Text(DescribeAll(app, commands), *options));
            return ExitCode::kOk;
          },
          {{"All options of one sub-command", "rimage help convert"},
           {"Complete words in this shell", "eval \"$(rimage help --completion bash)\""}}};
}
