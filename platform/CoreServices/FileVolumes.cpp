#include "platform/CoreServices/FileVolumes.h"

namespace lumivane::files {

bool PathOnVolume(const std::string&, std::string*) {
  return false;
}

}  // namespace lumivane::files
