#include "HelpPages.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <string_view>

namespace {

constexpr std::size_t kColumn = 30;
constexpr std::size_t kWidth = 110;

// Breaks text into lines; all but the first begin with `indent` spaces.
std::string Wrap(const std::string& text, std::size_t column, std::size_t indent) {
  std::string wrapped;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!wrapped.empty() && column + 1 + word.size() > kWidth) {
      wrapped += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (!wrapped.empty()) {
      wrapped += ' ';
      ++column;
    }
    wrapped += word;
    column += word.size();
  }
  return wrapped;
}

bool IsShownAsItStands(const std::string& paragraph) { return paragraph.starts_with(' '); }

std::string NameAndValue(const OptionRow& option) {
  const std::string start = option.shortName.empty() ? "" : option.shortName + ", ";
  return start + (option.value.empty() ? option.name : fmt::format("{} {}", option.name, option.value));
}

// The headings in the order of their first options.
std::vector<std::string> Groups(const CommandRow& command) {
  std::vector<std::string> groups;
  for (const OptionRow& option : command.options) {
    if (std::ranges::find(groups, option.group) == groups.end()) groups.push_back(option.group);
  }
  return groups;
}

std::string HelpRow(const std::string& name, const std::string& help) {
  const std::string start = "  " + name;
  const bool fits = start.size() + 2 <= kColumn;
  return fmt::format("{:<{}}{}\n", fits ? start : start + '\n' + std::string(kColumn, ' '), kColumn,
                     Wrap(help, kColumn, kColumn));
}

std::string HelpOptions(const CommandRow& command) {
  std::string text;
  for (const std::string& group : Groups(command)) {
    text += fmt::format("\n{}:\n", group);
    for (const OptionRow& option : command.options) {
      if (option.group == group) text += HelpRow(NameAndValue(option), option.help);
    }
  }
  return text;
}

std::string HelpNotes(const CommandRow& command) {
  std::string text;
  bool wasShown = false;
  for (const std::string& paragraph : command.notes) {
    const bool isShown = IsShownAsItStands(paragraph);
    if (!isShown || !wasShown) text += '\n';
    text += (isShown ? paragraph : Wrap(paragraph, 0, 0)) + '\n';
    wasShown = isShown;
  }
  return text;
}

// --- The manual page.

// Text for roff: no character of it is an order.
std::string Roff(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\')
      escaped += "\\e";
    else if (c == '-')
      escaped += "\\-";
    else
      escaped += c;
  }
  const bool isOrder = escaped.starts_with('.') || escaped.starts_with('\'');
  return isOrder ? "\\&" + escaped : escaped;
}

std::string ManOptions(const CommandRow& command) {
  std::string text;
  for (const OptionRow& argument : command.arguments)
    text += fmt::format(".TP\n\\fI{}\\fR\n{}\n", Roff(argument.name), Roff(argument.help));
  for (const OptionRow& option : command.options) {
    if (option.group == kDevelopment) continue;
    const std::string start =
        option.shortName.empty() ? "" : fmt::format("\\fB{}\\fR, ", Roff(option.shortName));
    const std::string value = option.value.empty() ? "" : fmt::format(" \\fI{}\\fR", Roff(option.value));
    text += fmt::format(".TP\n{}\\fB{}\\fR{}\n{}\n", start, Roff(option.name), value, Roff(option.help));
  }
  return text;
}

std::string ManNotes(const CommandRow& command) {
  std::string text;
  for (const std::string& paragraph : command.notes) {
    text += IsShownAsItStands(paragraph) ? fmt::format(".nf\n{}\n.fi\n", Roff(paragraph))
                                         : fmt::format(".PP\n{}\n", Roff(paragraph));
  }
  for (const Example& example : command.examples)
    text += fmt::format(".PP\n{}:\n.PP\n.RS\n.nf\n{}\n.fi\n.RE\n", Roff(example.text), Roff(example.line));
  return text;
}

// --- Markdown.

std::string Cell(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (std::string_view("|<*_#").find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string Code(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped += c == '|' ? std::string("\\|") : std::string(1, c);
  return '`' + escaped + '`';
}

std::string MarkdownOptions(const CommandRow& command) {
  std::string text = "\n| | |\n|---|---|\n";
  for (const OptionRow& argument : command.arguments)
    text += fmt::format("| {} | {} |\n", Code(argument.name), Cell(argument.help));
  for (const OptionRow& option : command.options) {
    if (option.group != kDevelopment)
      text += fmt::format("| {} | {} |\n", Code(NameAndValue(option)), Cell(option.help));
  }
  return text;
}

std::string MarkdownNotes(const CommandRow& command) {
  std::string text;
  for (const std::string& paragraph : command.notes)
    text += IsShownAsItStands(paragraph) ? fmt::format("    {}\n", paragraph)
                                         : fmt::format("\n{}\n\n", Wrap(paragraph, 0, 0));
  for (const Example& example : command.examples)
    text += fmt::format("\n{}:\n\n    {}\n", Cell(example.text), example.line);
  return text;
}

}  // namespace

std::string ProgramHelp(const CommandTable& table) {
  std::string text = fmt::format("{}\nUsage: {}\n", table.program.help, table.program.Usage());
  text += HelpOptions(table.program) + "\nSub-commands:\n";
  for (const CommandRow& command : table.commands) text += HelpRow(command.name, command.help);
  return text + HelpNotes(table.program);
}

std::string CommandHelp(const CommandRow& command) {
  std::string text = fmt::format("{}\nUsage: {}\n", command.help, command.Usage());
  if (!command.arguments.empty()) text += "\nArguments:\n";
  for (const OptionRow& argument : command.arguments) text += HelpRow(argument.name, argument.help);
  text += HelpOptions(command) + HelpNotes(command);
  if (!command.examples.empty()) text += "\nExamples, with the pictures in samples/:\n";
  for (const Example& example : command.examples)
    text += fmt::format("  {}:\n    {}\n", example.text, example.line);
  return text;
}

std::string ManPage(const CommandTable& table) {
  std::string text = fmt::format(".TH RIMAGE 1 \"\" \"rimage {}\"\n.SH NAME\nrimage \\- {}\n", RIMAGE_VERSION,
                                 Roff(table.program.help));
  text += ".SH SYNOPSIS\n";
  for (const CommandRow& command : table.commands) text += fmt::format("{}\n.br\n", Roff(command.Usage()));
  text += ".SH OPTIONS\n" + ManOptions(table.program) + ".SH COMMANDS\n";
  for (const CommandRow& command : table.commands) {
    text += fmt::format(".SS {}\n{}.\n", Roff(command.Usage()), Roff(command.help));
    text += ManOptions(command) + ManNotes(command);
  }
  return text + ".SH EXIT STATUS\n" + ManNotes(table.program);
}

std::string MarkdownPage(const CommandTable& table) {
  std::string text = fmt::format("# The command line\n\n{}\n", table.program.help);
  text += "\n<!-- Written by ./dev reference from the tables of the program; changes here are lost. -->\n";
  text += fmt::format("\n    {}\n", table.program.Usage()) + MarkdownOptions(table.program) +
          MarkdownNotes(table.program);
  text += "The examples run in the folder `samples`, in this order.\n";
  for (const CommandRow& command : table.commands) {
    text += fmt::format("\n## {}\n\n{}.\n\n    {}\n", command.name, command.help, command.Usage());
    text += MarkdownOptions(command) + MarkdownNotes(command);
  }
  return text;
}
