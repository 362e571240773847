// Changing the settings file: what is not changed, comments too, stays as it is.
#pragma once

#include <string>
#include <vector>

namespace gstcamera {

struct FileChange {
  std::string group;  ///< "camera", "controls" or "controls CAMERA"
  std::string key;
  std::string value;  ///< empty: taken out
};

/// Makes the changes in the file at `path` (and the file and its folder where there is none), aside
/// and then by rename. False with one sentence in `*error`, and the file as it was, when it cannot
/// be read, is no key file, or cannot be written.
bool ChangeSettingsFile(const std::string& path, const std::vector<FileChange>& changes,
                        std::string* error);

}  // namespace gstcamera
