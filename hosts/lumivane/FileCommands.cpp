#include "hosts/lumivane/FileCommands.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace lumivane {

void AddFileCommands(CLI::App& app, int* result) {
  // Verbs run while the line is parsed, when this function is long over.
  const auto shared = std::make_shared<FileOptions>();
  FileOptions& options = *shared;
  const auto add = [&](CLI::App* parent, const char* name, const char* text,
                       int (*run)(const FileOptions&)) {
    CLI::App* command = parent->add_subcommand(name, text);
    command->callback([shared, result, run] { *result = run(*shared); });
    command->add_flag("--json", options.json, "Print the result as JSON");
    return command;
  };
  const auto addPath = [&](CLI::App* command, const char* text) {
    command->add_option("path", options.path, text)->required()->type_name("FILE");
  };
  const auto addFork = [&](CLI::App* command) {
    command->add_option("--fork", options.fork, "Which fork")
        ->check(CLI::IsMember({"data", "resource"}))
        ->capture_default_str();
  };

  CLI::App* file = app.add_subcommand("file", "Files: type, creator, forks, aliases and names");
  file->require_subcommand(1);
  addPath(add(file, "info", "Show what is known about a file or folder", RunFileInfo),
          "The file or folder");

  CLI::App* set = add(file, "set", "Set a file's type and creator", RunFileSet);
  addPath(set, "The file");
  set->add_option("--type", options.type, "Four characters, or 0x and eight digits")
      ->type_name("CODE");
  set->add_option("--creator", options.creator, "The same")->type_name("CODE");

  CLI::App* fork = file->add_subcommand("fork", "List, read or write a file's forks");
  fork->require_subcommand(1);
  addPath(add(fork, "list", "Show both forks and their sizes", RunFileForkList), "The file");
  CLI::App* read = add(fork, "read", "Copy a fork out", RunFileForkRead);
  addPath(read, "The file");
  addFork(read);
  read->add_option("--out,-o", options.stream, "File to write, or - for standard output")
      ->type_name("FILE")
      ->capture_default_str();
  CLI::App* write = add(fork, "write", "Replace a fork's content", RunFileForkWrite);
  addPath(write, "The file");
  addFork(write);
  write->add_option("--in,-i", options.stream, "File to read, or - for standard input")
      ->type_name("FILE")
      ->capture_default_str();

  CLI::App* alias = file->add_subcommand("alias", "Make or resolve alias files");
  alias->require_subcommand(1);
  CLI::App* make = add(alias, "make", "Make an alias file", RunFileAliasMake);
  make->add_option("target", options.target, "What it leads to")->required()->type_name("FILE");
  addPath(make, "The alias file, which does not exist yet");
  CLI::App* resolve = add(alias, "resolve", "Print where an alias file leads", RunFileAliasResolve);
  addPath(resolve, "The alias file");
  resolve->add_flag("--update", options.update,
                    "Keep the record that was brought up to date because its target had moved");

  CLI::App* name = file->add_subcommand("name", "Look at file names");
  name->require_subcommand(1);
  CLI::App* convert = add(name, "convert", "Show a name in every form", RunFileNameConvert);
  convert->add_option("name", options.name, "The name, in UTF-8")->required();
  convert->add_option("--script", options.script, "Script code of the legacy encoding")
      ->check(CLI::Range(0, 126))
      ->capture_default_str();
  convert->add_option("--region", options.region, "Region code of the legacy encoding")
      ->check(CLI::Range(0, 32767))
      ->capture_default_str();
}

}  // namespace lumivane
