// --threads, of the commands that work on whole pictures.
#pragma once

#include <CLI/CLI.hpp>

namespace lumivane {

/// Adds it to `command`, and switches the toolkit's row threads on when one of its verbs is about
/// to run.
void AddThreadsOption(CLI::App* command);

}  // namespace lumivane
