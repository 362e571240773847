// The manual, made from the command table.
#pragma once

#include <string>
#include <vector>

#include "hosts/lumivane/CommandTable.h"

namespace lumivane {

struct ManualPage {
  std::string name;  ///< file name: "lumivane-camera.1"
  std::string roff;
};

/// lumivane(1) and a page for each command of the program, with the command's own commands in it.
std::vector<ManualPage> MakeManual(const CommandEntry& table);

}  // namespace lumivane
