// The program as the build puts it together, and the camera component that it carries.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"

namespace built_program {

inline const char* Program() {
  return LUMIVANE_APP "/Contents/Linux/lumivane";
}

inline test::ProgramResult Lumivane(std::vector<std::string> arguments,
                                    const std::string& input = {}) {
  arguments.insert(arguments.begin(), Program());
  return test::RunProgram(arguments, input);
}

/// The test pattern.
inline std::filesystem::path Component() {
  return LUMIVANE_APP "/Contents/Resources/LumivaneXXX.component";
}

/// Where a component is looked for first.
inline std::filesystem::path UserComponent() {
  return test::UserComponents() / "LumivaneXXX.component";
}

/// The test pattern is the user's camera for the object's life.
class Installed {
 public:
  Installed() {
    std::filesystem::create_directories(test::UserComponents());
    std::filesystem::create_directory_symlink(Component(), UserComponent());
  }
  ~Installed() { std::filesystem::remove_all(test::UserComponents()); }
  Installed(const Installed&) = delete;
  Installed& operator=(const Installed&) = delete;
};

}  // namespace built_program
