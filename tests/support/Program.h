// Runs a program and collects what it prints.
#pragma once

#include <string>
#include <vector>

namespace test {

struct ProgramResult {
  int exitCode = -1;  ///< 128 + the signal's number when one ended it
  std::string out;
  std::string err;
};

/// Runs `arguments[0]` with the rest as arguments, `input` on its standard input, in this process's
/// environment. Both outputs are pipes, never a terminal.
ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::string& input = {});

}  // namespace test
