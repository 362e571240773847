// The whole command line. It is also the table that the manual and the completions are made from.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>

namespace lumivane {

/// Every command with its options. The command that a parsed line names has run when parse()
/// returns, and its exit code (ExitCodes.h) is in `*result`, which must live as long as the command
/// line.
std::unique_ptr<CLI::App> MakeCommandLine(int* result);

}  // namespace lumivane
