// The program's exit codes; docs/lumivane.md lists them for users.
#pragma once

namespace lumivane {

enum ExitCode : int {
  kExitOk = 0,
  kExitFailed = 1,    ///< the command could not do what was asked; `doctor`: something is odd
  kExitBroken = 2,    ///< `doctor`: no live picture can be had
  kExitNoCamera = 3,  ///< pictures were made, but none of them came from a camera
  kExitUsage = 64,    ///< the command line is not valid
};

}  // namespace lumivane
