#include <sstream>

#include "hosts/lumivane/Completions.h"

namespace lumivane {
namespace {

// Words are compared one by one, not by compgen -W: that would evaluate them, and a camera's name
// is whatever its maker, or somebody with a USB stick, has put there.
constexpr const char* kRules = R"(
_lumivane_offer() { # WORD...
    local word quoted
    for word; do
        printf -v quoted %q "$word"
        if [[ $word == "$cur"* || $quoted == "$cur"* ]]; then
            COMPREPLY+=("$quoted")
        fi
    done
}

_lumivane_offer_values() {
    local names
    case $kind in
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
    cameras)
        mapfile -t names < <("${COMP_WORDS[0]}" camera list --names 2>/dev/null)
        _lumivane_offer "${names[@]}"
        ;;
    words) _lumivane_offer "${choices[@]}" ;;
    esac
}

_lumivane() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    local command='' option='' kind='' ended='' word i
    local -i arguments=0
    local -a choices=() commands=() options=()
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ -n $option ]]; then
            # In --option=value the sign is a word of its own.
            [[ $word == = ]] || option=''
        elif [[ $word == -- ]]; then
            ended=yes
        elif [[ $word == -?* && -z $ended ]]; then
            _lumivane_value "$command" "$word"
            [[ -z $kind ]] || option=$word
        else
            _lumivane_words "$command"
            if ((arguments == 0)) && [[ " ${commands[*]} " == *" $word "* ]]; then
                command=${command:+$command }$word
            else
                arguments+=1
            fi
        fi
    done
    [[ $cur != = ]] || cur=''
    if [[ -n $option ]]; then
        _lumivane_value "$command" "$option"
        _lumivane_offer_values
        return
    fi
    _lumivane_words "$command"
    if [[ $cur == -* && -z $ended ]]; then
        _lumivane_offer "${options[@]}"
    elif ((${#commands[@]} > 0)); then
        ((arguments > 0)) || _lumivane_offer "${commands[@]}"
    else
        _lumivane_argument "$command" $((arguments + 1))
        _lumivane_offer_values
    fi
}

complete -F _lumivane lumivane
)";

std::string Quoted(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) out += (out.empty() ? "" : " ") + ShellQuoted(word);
  return out;
}

/// The assignments that say what a value can be.
std::string Kind(const OptionEntry& option) {
  if (!option.choices.empty()) return "kind=words choices=(" + Quoted(option.choices) + ")";
  switch (option.source) {
    case ValueSource::kFile:
      return "kind=files";
    case ValueSource::kFolder:
      return "kind=folders";
    case ValueSource::kCamera:
      return "kind=cameras";
    case ValueSource::kNone:
      break;
  }
  return "kind=any";
}

void WriteWords(const CommandEntry& table, std::ostream& out) {
  out << "_lumivane_words() { # COMMAND\n    case $1 in\n";
  for (const CommandEntry* const command : AllCommands(table)) {
    std::vector<std::string> commands;
    std::vector<std::string> options;
    for (const CommandEntry& below : command->commands) commands.push_back(below.path.back());
    for (const OptionEntry& option : command->options) {
      options.insert(options.end(), option.names.begin(), option.names.end());
    }
    out << "    " << ShellQuoted(Joined(command->path)) << ")\n        commands=("
        << Quoted(commands) << ")\n        options=(" << Quoted(options) << ")\n        ;;\n";
  }
  out << "    esac\n}\n\n";
}

void WriteValues(const CommandEntry& table, std::ostream& out) {
  out << "_lumivane_value() { # COMMAND OPTION\n    kind=''\n    case \"$1 $2\" in\n";
  for (const CommandEntry* const command : AllCommands(table)) {
    for (const OptionEntry& option : command->options) {
      if (option.value.empty()) continue;
      out << "    ";
      for (std::size_t i = 0; i < option.names.size(); ++i) {
        out << (i > 0 ? " | " : "") << ShellQuoted(Joined(command->path) + " " + option.names[i]);
      }
      out << ") " << Kind(option) << " ;;\n";
    }
  }
  out << "    esac\n}\n\n";
}

void WriteArguments(const CommandEntry& table, std::ostream& out) {
  out << "_lumivane_argument() { # COMMAND NUMBER\n    kind=''\n    case \"$1 $2\" in\n";
  for (const CommandEntry* const command : AllCommands(table)) {
    for (std::size_t i = 0; i < command->arguments.size(); ++i) {
      const OptionEntry& argument = command->arguments[i];
      const std::string before = Joined(command->path) + " ";
      out << "    "
          << (argument.repeated ? ShellQuoted(before) + "*"
                                : ShellQuoted(before + std::to_string(i + 1)))
          << ") " << Kind(argument) << " ;;\n";
    }
  }
  out << "    esac\n}\n";
}

}  // namespace

std::string BashCompletion(const CommandEntry& table) {
  std::ostringstream out;
  out << "# bash completion for lumivane, made by: lumivane completion bash\n"
         "# shellcheck shell=bash disable=SC2034\n\n";
  WriteWords(table, out);
  WriteValues(table, out);
  WriteArguments(table, out);
  out << kRules;
  return out.str();
}

}  // namespace lumivane
