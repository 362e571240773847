// Bundles on disk for tests, from libraries the build made.
#pragma once

#include <filesystem>
#include <string>

namespace test {

/// An Info.plist with the given executable name (empty: no such key) and identifier (likewise).
std::string InfoPlist(const std::string& executable, const std::string& identifier = "");

/// Makes `bundle` ("DIR/NAME.ext") a folder bundle with a copy of `library` as
/// Contents/Linux/`executable` (empty: NAME) and `plist` as Contents/Info.plist (empty: none).
/// Parents are made; parts that exist already are replaced by new files, never written to.
void MakeFolderBundle(const std::filesystem::path& bundle, const std::filesystem::path& library,
                      const std::string& plist = "", const std::string& executable = "");

/// Makes `bundle` a copy of `library` itself: a shared library that bears the bundle's name.
void MakeLibraryBundle(const std::filesystem::path& bundle, const std::filesystem::path& library);

/// Makes NAME.framework with its executable NAME directly in it.
void MakeFramework(const std::filesystem::path& framework, const std::filesystem::path& library);

/// Bundles that can be created but not loaded: the file at the executable's place is no library.
void MakeBrokenFolderBundle(const std::filesystem::path& bundle);
void MakeBrokenLibraryBundle(const std::filesystem::path& bundle);

/// A folder with an Info.plist and resources but nothing that can be an executable: creating it
/// fails.
void MakeBundleWithoutExecutable(const std::filesystem::path& bundle);

/// Adds Contents/Resources/`name` (may hold folders) to a folder bundle.
void AddResource(const std::filesystem::path& bundle, const std::string& name,
                 const std::string& bytes);

/// Puts a copy of `from` at `to` by rename, as an installer does: readers of the old file keep it.
void ReplaceFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// Puts a link to the build's System.framework into the test's system frameworks folder, and takes
/// it away again.
void InstallSystemFramework();
void RemoveSystemFramework();

/// Whether a mapping of this process comes from the file at `path`, which may be deleted since.
bool IsMapped(const std::filesystem::path& path);

}  // namespace test
