#include "Completion.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "EffectOperators.h"
#include "FileFormats.h"
#include "OperatorProperties.h"
#include "Suggestion.h"
#include "TextureReader.h"
#include "rbaselib/RProperty.h"

namespace {

const OptionRow* FindOption(const CommandRow& command, std::string_view name) {
  const auto found = std::ranges::find(command.options, name, &OptionRow::name);
  return found == command.options.end() ? nullptr : &*found;
}

std::vector<std::string> PictureExtensions() {
  std::vector<std::string> extensions = ListQtWriters();
  for (const char* group : {kReaderGroup, kWriterGroup}) {
    for (const StreamEntry& entry : ListStreams(group)) extensions.push_back(entry.extension);
  }
  std::ranges::sort(extensions);
  extensions.erase(std::unique(extensions.begin(), extensions.end()), extensions.end());
  return extensions;
}

// --- Values of options.

// The texts of a property's values, behind its name.
void AddValues(Completion& completion, const RProperty& property) {
  const std::string start = std::string(property.GetName()) + '=';
  std::vector<std::string> texts = EnumerationTexts(property);
  if (property.GetInfo()->type == kPropertyBool) texts = {"true", "false"};
  for (const std::string& text : texts) completion.words.push_back({start + text, ""});
}

Completion CompleteSetting(const std::string& effect, const std::string& word) {
  Completion completion;
  if (effect.empty()) return completion;
  const auto op = CreateOperator(effect);
  const std::string name = word.substr(0, word.find('='));
  const bool hasName = name.size() < word.size();
  for (int i = 0; i < op->GetPropertyCount(); ++i) {
    const RProperty& property = *op->GetProperty(i);
    if (!hasName)
      completion.words.push_back({std::string(property.GetName()) + '=', TypeName(property)});
    else if (name == property.GetName())
      AddValues(completion, property);
  }
  return completion;
}

Completion CompleteValue(const CommandRow& command, const OptionRow& option, const std::string& word) {
  Completion completion;
  for (const std::string& choice : option.Choices()) completion.words.push_back({choice, ""});
  if (option.value == "NAME=VALUE") return CompleteSetting(command.effect, word);
  if (option.value == "FILE" || option.value == "OUT") completion.files = true;
  if (option.value == "GRAPH") completion = {.files = true, .extensions = {"json"}};
  if (option.value == "FACE") {
    for (const std::string& face : FaceNames()) completion.words.push_back({face, ""});
  }
  if (option.value == "LIST") completion.words.push_back({"all", "those that the input finds"});
  return completion;
}

// --- Arguments.

Completion CompleteArgument(const CommandTable& table, const CommandRow& command, std::size_t place) {
  Completion completion;
  if (command.arguments.empty()) return completion;
  const std::string& name = command.arguments[std::min(place, command.arguments.size() - 1)].name;
  if (name == "OPERATOR") {
    for (const OperatorEntry& entry : ListOperators()) completion.words.push_back({entry.name, entry.title});
    for (const CommandRow& other : table.commands) {
      if (!other.effect.empty()) completion.words.push_back({other.name, other.help});
    }
  } else if (name == "[COMMAND]...") {
    for (const CommandRow& other : table.commands) completion.words.push_back({other.name, other.help});
  } else {
    completion.files = true;
    completion.extensions = name == "GRAPH" ? std::vector<std::string>{"json"} : PictureExtensions();
  }
  return completion;
}

Completion CompleteOptions(const CommandRow& command) {
  Completion completion;
  for (const OptionRow& option : command.options) {
    completion.words.push_back({option.name, option.help});
    if (!option.shortName.empty()) completion.words.push_back({option.shortName, option.help});
  }
  return completion;
}

// What the words before the last one come to.
struct Position {
  const CommandRow* command = nullptr;
  const OptionRow* option = nullptr;  // whose value the last word is
  std::size_t arguments = 0;
  bool onlyArguments = false;  // behind --
};

Position Find(const CommandTable& table, std::span<const std::string> words) {
  Position position{&table.program};
  for (const std::string& word : words) {
    if (position.option) {
      position.option = nullptr;
    } else if (!position.onlyArguments && word == "--") {
      position.onlyArguments = true;
    } else if (!position.onlyArguments && word.starts_with('-')) {
      const OptionRow* option = FindOption(*position.command, word);
      if (option && option->TakesWord()) position.option = option;
    } else if (position.command == &table.program) {
      const auto found = std::ranges::find(table.commands, word, &CommandRow::name);
      if (found != table.commands.end()) position.command = &*found;
    } else {
      ++position.arguments;
    }
  }
  return position;
}

Completion CompleteAt(const CommandTable& table, const Position& position, const std::string& word) {
  const CommandRow& command = *position.command;
  if (position.option) return CompleteValue(command, *position.option, word);
  if (!position.onlyArguments && word.starts_with('-')) {
    const std::size_t equals = word.find('=');
    const OptionRow* option =
        equals == std::string::npos ? nullptr : FindOption(command, word.substr(0, equals));
    if (!option) return CompleteOptions(command);
    Completion completion = CompleteValue(command, *option, word.substr(equals + 1));
    for (Candidate& candidate : completion.words) candidate.text.insert(0, word, 0, equals + 1);
    return completion;
  }
  if (&command != &table.program) return CompleteArgument(table, command, position.arguments);
  Completion completion;
  for (const CommandRow& other : table.commands) completion.words.push_back({other.name, other.help});
  return completion;
}

// --- The scripts.

constexpr const char* kBash =
    R"sh(# Completion of rimage for bash: the program itself tells what can stand in a place.
_rimage() {
  local i word words=() head option path kind text extension
  for ((i = 1; i <= COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    # Readline takes an equals sign outside quotes for a word of its own, and replaces what is behind it.
    if ((i > 1)) && [[ $word == = || ${COMP_WORDS[i - 1]} == = ]]; then
      head=${words[-1]}
      [[ $word == = ]] && head+==
      words[-1]+=$word
    else
      head=
      words+=("$word")
    fi
  done
  head=${head//[\"\'\\]/}
  words=("${words[@]//[\"\'\\]/}")
  COMPREPLY=()
  {
    read -r kind
    while IFS=$'\t' read -r text _; do
      text=${text#"$head"}
      [[ $text == *= ]] && compopt -o nospace
      [[ $word == *[\"\']* ]] || printf -v text '%q' "$text"
      COMPREPLY+=("${text//\\=/=}")
    done
  } < <("${COMP_WORDS[0]}" help --complete -- "${words[@]}" 2>/dev/null)
  [[ $kind == files* ]] || return 0
  compopt -o filenames
  path=${words[-1]}
  [[ $path == -*=* ]] && option=${path%%=*}= path=${path#*=}
  while read -r text; do
    extension=${text##*.}
    [[ -d ${text/#\~\//$HOME/} || $kind == files || " ${kind#files} " == *" ${extension,,} "* ]] || continue
    text=$option$text
    COMPREPLY+=("${text#"$head"}")
  done < <(compgen -f -- "$path")
}
complete -F _rimage rimage
)sh";

constexpr const char* kZsh = R"sh(#compdef rimage
# Completion of rimage for zsh: the program itself tells what can stand in a place.
_rimage() {
  local line current
  local -a answer described extensions suffix
  # A quotation mark that is still open is no part of the word.
  current=${${(Q)words[CURRENT]}//[\"\']/}
  answer=("${(@f)$("$words[1]" help --complete -- "${(@Q)words[2,CURRENT-1]}" "$current" 2>/dev/null)}")
  extensions=(${=answer[1]#(files|words)})
  for line in "${(@)answer[2,-1]}"; do
    described+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}")
  done
  [[ $described[1] == *=:* ]] && suffix=(-S '')
  (( $#described )) && _describe 'rimage' described "${suffix[@]}"
  [[ $answer[1] == files* ]] || return 0
  if (( $#extensions )); then
    _files -g "*.(#i)(${(j:|:)extensions})(-.)"
  else
    _files
  fi
}
if [[ $funcstack[1] == _rimage ]]; then _rimage "$@"; else compdef _rimage rimage; fi
)sh";

constexpr const char* kFish =
    R"sh(# Completion of rimage for fish: the program itself tells what can stand in a place.
function __rimage_complete
    set -l words (commandline -opc)
    set -l token (commandline -ct)
    set -l current ''
    # A quotation mark may be still open.
    for quote in '' '"' "'"
        set -l whole (string unescape -- "$token$quote"); and set current $whole; and break
    end
    set -l answer ($words[1] help --complete -- $words[2..-1] $current 2>/dev/null)
    set -q answer[1]; or return
    printf '%s\n' $answer[2..-1]
    string match -q 'files*' -- $answer[1]; or return
    set -l extensions (string split -n ' ' -- (string replace files '' -- $answer[1]))
    for path in (__fish_complete_path (string replace -r '^~/' "$HOME/" -- $current))
        string match -q '~/*' -- $current; and set path (string replace "$HOME/" '~/' -- $path)
        set -l name (string split -f1 \t -- $path)
        if string match -q '*/' -- $name; or not set -q extensions[1]
            echo $path
        else if contains -- (string lower -- (string match -r '[^.]*$' -- $name)) $extensions
            echo $path
        end
    end
end
complete -c rimage -f -a '(__rimage_complete)'
)sh";

struct Script {
  const char* shell;
  const char* text;
};
constexpr std::array kScripts{Script{"bash", kBash}, Script{"fish", kFish}, Script{"zsh", kZsh}};

}  // namespace

Completion Complete(const CommandTable& table, std::span<const std::string> words) {
  const std::string word = words.empty() ? "" : words.back();
  Completion completion =
      CompleteAt(table, Find(table, words.first(words.empty() ? 0 : words.size() - 1)), word);
  std::erase_if(completion.words,
                [&](const Candidate& candidate) { return !candidate.text.starts_with(word); });
  return completion;
}

std::string CompletionText(const Completion& completion) {
  std::string text = completion.files ? "files" : "words";
  for (const std::string& extension : completion.extensions) text += ' ' + extension;
  text += '\n';
  for (const Candidate& candidate : completion.words)
    text += fmt::format("{}\t{}\n", candidate.text, candidate.help);
  return text;
}

std::vector<std::string> CompletionShells() {
  std::vector<std::string> shells;
  shells.reserve(std::size(kScripts));
  for (const Script& script : kScripts) shells.emplace_back(script.shell);
  return shells;
}

std::string CompletionScript(const std::string& shell) {
  const auto* const script =
      std::ranges::find_if(kScripts, [&](const Script& row) { return shell == row.shell; });
  if (script != kScripts.end()) return script->text;
  throw Failure(ExitCode::kUsage, "--completion", fmt::format("unknown shell '{}'", Printable(shell)),
                SuggestOrList(shell, CompletionShells()));
}
