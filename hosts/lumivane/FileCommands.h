// `lumivane file`: its command line and its verbs.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace lumivane {

/// Adds the command to `app`. A verb that runs puts the process's exit code into `*result`, which
/// must live as long as `app` is used.
void AddFileCommands(CLI::App& app, int* result);

/// What the verbs of `lumivane file` take; each reads the fields it has options for.
struct FileOptions {
  std::string path;           ///< the file or folder
  std::string type;           ///< four characters, or 0x and eight digits; empty: as it is
  std::string creator;        ///< the same
  std::string fork = "data";  ///< "data" or "resource"
  std::string stream = "-";   ///< file to copy from or to; "-": standard input or output
  std::string target;         ///< what an alias is to lead to
  bool update = false;        ///< keep an alias record that had to change
  std::string name;           ///< a file name in UTF-8
  int script = 0;             ///< script code of the legacy encoding
  int region = 0;             ///< region code of the legacy encoding
  bool json = false;
};
int RunFileInfo(const FileOptions& options);
int RunFileSet(const FileOptions& options);
int RunFileForkList(const FileOptions& options);
int RunFileForkRead(const FileOptions& options);
int RunFileForkWrite(const FileOptions& options);
int RunFileAliasMake(const FileOptions& options);
int RunFileAliasResolve(const FileOptions& options);
int RunFileNameConvert(const FileOptions& options);

}  // namespace lumivane
