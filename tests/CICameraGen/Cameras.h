// Putting camera components into the hermetic home's folders, and saying what they hand out.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempBundle.h"

namespace test {

inline const char* const kComponentName = "LumivaneXXX.component";

/// Removes the components folders of every domain.
inline void RemoveComponents() {
  for (const auto& folder : {UserComponents(), SystemComponents(), LocalComponents()}) {
    std::filesystem::remove_all(folder);
  }
}

inline std::filesystem::path InstallCamera(const std::filesystem::path& folder,
                                           const char* library) {
  const std::filesystem::path bundle = folder / kComponentName;
  std::filesystem::remove_all(bundle);
  MakeLibraryBundle(bundle, library);
  return bundle;
}

/// Sets what the scripted camera hands out: "width=0 result=1". Empty: an 8 x 4 ARGB frame.
class Script : public ScopedVariable {
 public:
  explicit Script(const std::string& text) : ScopedVariable("LUMIVANE_SCRIPTED_CAMERA", text) {}
};

// What the log says when loading fails, per folder looked into.

inline std::string FolderMissingLine() {
  return VerifyErrLine(
      -43,
      "FSFindFolder(FindFolderDomain, kFindFolderLocation, kDontCreateFolder, &bundleFolderRef)",
      "sdk/CoreX/CoreBaseDLL", 30, "URLOfNameInFindFolder");
}
inline std::string LoadLocationLine() {
  return VerifyLine("fOk = T_Executable::LoadFromURL(bundleURL)", "sdk/CoreX/CoreBaseDLL", 131,
                    "LoadLocation");
}
inline std::vector<std::string> NothingThereLines(const std::filesystem::path& folder) {
  return {VerifyLine("mDLLHandle = ::CFBundleCreate(kCFAllocatorSystemDefault,bundleURL)",
                     "sdk/CoreX/CoreBundleDLL", 23, "LoadFromURL"),
          "I_CFBundleDLL::LoadFromURL:  " + (folder / kComponentName).string(), LoadLocationLine()};
}
inline std::vector<std::string> DoesNotLoadLines() {
  return {VerifyLine("fOk = ::CFBundleLoadExecutable(mDLLHandle)", "sdk/CoreX/CoreBundleDLL", 24,
                     "LoadFromURL"),
          LoadLocationLine()};
}
inline std::vector<std::string> Joined(const std::vector<std::vector<std::string>>& parts) {
  std::vector<std::string> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace test
