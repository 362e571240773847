// The command line as a table: what the manual and the completions say is read off the declarations
// that parse it, so that none of them can differ from what the program takes.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "hosts/lumivane/OptionValues.h"

namespace lumivane {

/// An option (it has names) or an argument (it has none).
struct OptionEntry {
  std::vector<std::string> names;  ///< "-o", "--out": short ones first
  std::string value;               ///< what stands for the value; empty: a flag
  std::string help;
  std::vector<std::string> choices;   ///< the values there are; empty: any
  std::string limits;                 ///< "From 0 to 1", "0 or more"; empty: none, or in `help`
  std::string preset;                 ///< value when none is given; empty: none
  std::vector<std::string> needs;     ///< options that must come along
  std::vector<std::string> excludes;  ///< options that must not
  ValueSource source = ValueSource::kNone;
  bool required = false;
  bool repeated = false;  ///< takes any number of values
};

struct CommandEntry {
  std::vector<std::string> path;  ///< without the program: {"file", "fork", "read"}; the root: {}
  std::string help;               ///< one line
  std::string notes;              ///< paragraphs; empty: none
  std::vector<OptionEntry> options;
  std::vector<OptionEntry> arguments;
  std::vector<CommandEntry> commands;
};

/// The table of `app` and of everything below it. Hidden commands and options (of the empty group)
/// are left out, and so is what a command only inherits.
CommandEntry DescribeCommand(CLI::App& app);

/// `table` and every command below it, each before its own subcommands.
std::vector<const CommandEntry*> AllCommands(const CommandEntry& table);

/// "file fork read".
std::string Joined(const std::vector<std::string>& words, const std::string& between = " ");

}  // namespace lumivane
