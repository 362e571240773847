// What can be typed as an option's value: shown by --help, the manual and the shells' completions.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace lumivane {

/// Where a shell finds the values that it offers.
enum class ValueSource {
  kNone,    ///< nowhere: numbers, sizes, texts
  kFile,    ///< files
  kFolder,  ///< folders; a bundle is one
  kCamera,  ///< the names that `lumivane camera list --names` prints, one a line
};

/// Says that the option's value is found there. Not needed where its type name says so: FILE, IN,
/// OUT, PATH and names with a dot (OUT.png) are files; FOLDER, DIR and BUNDLE folders; CAMERA a
/// camera.
CLI::Option* CompleteFrom(CLI::Option* option, ValueSource source);

/// Names the values of an option whose own check reads them. (A CLI::IsMember names its own.)
CLI::Option* NameChoices(CLI::Option* option, const std::vector<std::string>& choices);

/// Checks that a value is a number from `least` to `most`. "nan" is a number to a CLI::Range, and
/// between all others.
CLI::Validator Between(double least, double most);
CLI::Validator NotNegative();

/// Checks a name that a PNG file is written to: not that of another format, and not that of a
/// folder.
CLI::Validator PngFile();

/// What was said about the option, by either function or by its type name.
ValueSource SourceOf(CLI::Option* option);

}  // namespace lumivane
