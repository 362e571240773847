// Where programs look for the modules that bring the picture to them.
#pragma once

#include <string>
#include <vector>

namespace lumivane {

/// One kind of host, as the environment of this process would have it search.
struct ModuleSearch {
  std::string host;                  ///< for people
  std::string program;               ///< a command of it, by which it is known to be installed
  std::string name;                  ///< what the picture is called there
  std::string fileName;              ///< of the module
  std::string package;               ///< Debian's, that brings it
  std::vector<std::string> folders;  ///< in the order of the search
  std::string variable;              ///< sets other folders
  bool replaces = false;             ///< ... and then the standard ones are not searched
};

/// FFmpeg, MLT, GStreamer's frei0r bridge and GStreamer's own element.
std::vector<ModuleSearch> ModuleSearches();

/// The first of the search's folders that has the file; empty when none has.
std::string FoundModule(const ModuleSearch& search);

/// Where modules of that name are put by installations, whatever the environment says: those that
/// exist.
std::vector<std::string> InstalledModules(const std::string& fileName);

/// The library a module at `path` would load, looked for as the module does; empty when there is
/// none.
std::string LibraryOfModule(const std::string& path);

/// Path of a command; empty when PATH has none.
std::string CommandPath(const std::string& name);

}  // namespace lumivane
