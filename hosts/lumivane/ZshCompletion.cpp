#include <sstream>

#include "hosts/lumivane/Completions.h"

namespace lumivane {
namespace {

std::string Escaped(const std::string& text, const char* special) {
  std::string out;
  for (const char c : text) {
    if (std::string(special).find(c) != std::string::npos) out += '\\';
    out += c;
  }
  return out;
}

/// ":message:action" of _arguments.
std::string Action(const OptionEntry& option) {
  std::string action = ":" + Escaped(option.value, ":\\") + ":";
  if (!option.choices.empty()) {
    action += "(";
    for (const std::string& choice : option.choices) {
      if (action.back() != '(') action += " ";
      action += Escaped(choice, " \t\\()[]{}'\"`$&;|<>*?~#:");
    }
    return action + ")";
  }
  switch (option.source) {
    case ValueSource::kFile:
      return action + "_files";
    case ValueSource::kFolder:
      return action + "_files -/";
    case ValueSource::kCamera:
      return action + "_lumivane_cameras";
    case ValueSource::kNone:
      break;
  }
  return action + " ";
}

std::string OptionSpecs(const OptionEntry& option) {
  const bool takesValue = !option.value.empty();
  std::string specs;
  for (const std::string& name : option.names) {
    // An option excludes itself and its other names, unless it can be repeated.
    const std::string others = option.repeated ? "*" : "(" + Joined(option.names) + ")";
    const bool isLong = name.size() > 2;
    const std::string marker = !takesValue ? "" : isLong ? "=" : "+";
    specs += " \\\n        " +
             ShellQuoted(others + name + marker + "[" + Escaped(Brief(option.help), "[]:\\") + "]" +
                         (takesValue ? Action(option) : ""));
  }
  return specs;
}

std::string FunctionName(const CommandEntry& command) {
  return command.path.empty() ? "_lumivane" : "_lumivane_" + Joined(command.path, "_");
}

void WriteDispatch(const CommandEntry& command, std::ostream& out) {
  out << "    case $state in\n    commands)\n        local -a commands=(\n";
  for (const CommandEntry& below : command.commands) {
    out << "            "
        << ShellQuoted(Escaped(below.path.back(), ":\\") + ":" + Escaped(Brief(below.help), "\\"))
        << "\n";
  }
  out << "        )\n        _describe -t commands command commands && ret=0\n        ;;\n"
         "    arguments)\n        curcontext=\"${curcontext%:*:*}:lumivane-$words[1]:\"\n"
         "        case $words[1] in\n";
  for (const CommandEntry& below : command.commands) {
    out << "        " << below.path.back() << ") " << FunctionName(below) << " && ret=0 ;;\n";
  }
  out << "        esac\n        ;;\n    esac\n";
}

void WriteFunction(const CommandEntry& command, std::ostream& out) {
  const bool hasCommands = !command.commands.empty();
  out << FunctionName(command) << "() {\n"
      << "    local curcontext=\"$curcontext\" state state_descr line ret=1\n"
         "    typeset -A opt_args\n    _arguments -s -S "
      << (hasCommands ? "-C" : "") << " :";
  for (const OptionEntry& option : command.options) out << OptionSpecs(option);
  if (hasCommands) {
    out << " \\\n        '1: :->commands' \\\n        '*:: :->arguments'";
  } else {
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
      const OptionEntry& argument = command.arguments[i];
      out << " \\\n        "
          << ShellQuoted((argument.repeated ? "*" : std::to_string(i + 1)) + Action(argument));
    }
  }
  out << " && ret=0\n";
  if (hasCommands) WriteDispatch(command, out);
  out << "    return ret\n}\n\n";
}

constexpr const char* kCameras = R"(_lumivane_cameras() {
    local -a names
    names=("${(@f)$(_call_program cameras lumivane camera list --names 2>/dev/null)}")
    compadd -a names
}

)";

}  // namespace

std::string ZshCompletion(const CommandEntry& table) {
  std::ostringstream out;
  out << "#compdef lumivane\n# zsh completion for lumivane, made by: lumivane completion zsh\n\n"
      << kCameras;
  for (const CommandEntry* const command : AllCommands(table)) WriteFunction(*command, out);
  // Found in fpath, the file is the body of the function; read by a script, it registers it.
  out << "if [[ ${funcstack[1]} == _lumivane ]]; then\n    _lumivane \"$@\"\nelse\n"
         "    compdef _lumivane lumivane\nfi\n";
  return out.str();
}

}  // namespace lumivane
