// The options of every command that shows pictures of the filter.
#pragma once

#include <CLI/CLI.hpp>

#include "hosts/lumivane/Commands.h"

namespace lumivane {

/// Adds --plugin, --size and --clock. `source` must live as long as `command`: keep the command's
/// options in a std::shared_ptr that its callback holds.
void AddPictureOptions(CLI::App* command, PictureSource& source);

/// Adds --plugin alone.
void AddPlugInOption(CLI::App* command, std::string& path);

}  // namespace lumivane
