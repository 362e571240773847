#include <sstream>

#include "hosts/lumivane/Completions.h"

namespace lumivane {
namespace {

std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') out += '\\';
    out += c;
  }
  return out + "'";
}

constexpr const char* kFunctions = R"(
# Prints the command that is being typed, and the number of arguments it has already.
function __lumivane_command
    set -l command ''
    set -l arguments 0
    set -l skip no
    set -l ended no
    set -l tokens (commandline -opc)
    for token in $tokens[2..-1]
        if test $skip = yes
            set skip no
        else if test "$token" = --
            set ended yes
        else if test $ended = no; and string match -q -- '-?*' "$token"
            contains -- "$command $token" $__lumivane_valued; and set skip yes
        else
            set -l below (string trim -- "$command $token")
            if test $arguments = 0; and contains -- "$below" $__lumivane_commands
                set command $below
            else
                set arguments (math $arguments + 1)
            end
        end
    end
    echo -- $command
    echo $arguments
end

function __lumivane_at # COMMAND
    set -l now (__lumivane_command)
    test "$now[1]" = "$argv[1]"
end

function __lumivane_argument # COMMAND NUMBER
    set -l now (__lumivane_command)
    test "$now[1]" = "$argv[1]"; and test (math $now[2] + 1) = $argv[2]
end

complete -c lumivane -f
)";

/// The switches of `complete` for a value.
std::string Value(const OptionEntry& option, bool isOption) {
  std::string only = isOption ? " -x" : "";
  if (!option.choices.empty()) {
    std::string words;
    for (const std::string& choice : option.choices) words += (words.empty() ? "" : " ") + choice;
    return only + " -a " + Quoted(words);
  }
  switch (option.source) {
    case ValueSource::kFile:
      return isOption ? " -r -F" : " -F";
    case ValueSource::kFolder:
      return only + " -a '(__fish_complete_directories (commandline -ct))'";
    case ValueSource::kCamera:
      return only + " -a '(lumivane camera list --names 2>/dev/null)'";
    case ValueSource::kNone:
      break;
  }
  return only;
}

void WriteTables(const CommandEntry& table, std::ostream& out) {
  out << "set -g __lumivane_commands";
  for (const CommandEntry* const command : AllCommands(table)) {
    if (!command->path.empty()) out << " \\\n    " << Quoted(Joined(command->path));
  }
  out << "\n# Options with a value, after their commands.\nset -g __lumivane_valued";
  for (const CommandEntry* const command : AllCommands(table)) {
    for (const OptionEntry& option : command->options) {
      if (option.value.empty()) continue;
      for (const std::string& name : option.names) {
        out << " \\\n    " << Quoted(Joined(command->path) + " " + name);
      }
    }
  }
  out << "\n";
}

void WriteCommand(const CommandEntry& command, std::ostream& out) {
  const std::string at =
      "complete -c lumivane -n " + Quoted("__lumivane_at " + Quoted(Joined(command.path)));
  for (const CommandEntry& below : command.commands) {
    out << at << " -a " << below.path.back() << " -d " << Quoted(Brief(below.help)) << "\n";
  }
  for (const OptionEntry& option : command.options) {
    out << at;
    for (const std::string& name : option.names) {
      out << (name.size() > 2 ? " -l " + name.substr(2) : " -s " + name.substr(1));
    }
    if (!option.value.empty()) out << Value(option, true);
    out << " -d " << Quoted(Brief(option.help)) << "\n";
  }
  for (std::size_t i = 0; i < command.arguments.size(); ++i) {
    const OptionEntry& argument = command.arguments[i];
    const std::string value = Value(argument, false);
    if (value.empty()) continue;
    if (argument.repeated) {
      out << at;
    } else {
      out << "complete -c lumivane -n "
          << Quoted("__lumivane_argument " + Quoted(Joined(command.path)) + " " +
                    std::to_string(i + 1));
    }
    out << value << "\n";
  }
}

}  // namespace

std::string FishCompletion(const CommandEntry& table) {
  std::ostringstream out;
  out << "# fish completion for lumivane, made by: lumivane completion fish\n\n";
  WriteTables(table, out);
  out << kFunctions;
  for (const CommandEntry* const command : AllCommands(table)) WriteCommand(*command, out);
  return out.str();
}

}  // namespace lumivane
