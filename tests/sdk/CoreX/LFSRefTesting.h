// What the tests of references share.
#pragma once

#include <string>

#include "sdk/CoreX/LFSRef.h"
#include "tests/sdk/CoreX/FileRefTesting.h"

namespace test {

inline std::string LFSRefLine(const std::string& code, const std::string& function) {
  return CheckLine(code, "LFSRef", function);
}

inline const std::string kNormalizedLine =
    "theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists)";

class LFSRefTest : public FileRefTest {
 protected:
  std::string UnixPath(const LFSRef& ref) const {
    std::string path = "(none)";
    ref.GetUnixPath(path);
    return path;
  }
  std::string Latent(const LFSRef& ref) const {
    std::string latent = "(none)";
    if (ref.HasLatentPath()) ref.GetLatentPath(latent);
    return latent;
  }
};

}  // namespace test
