#include "tests/support/TempBundle.h"

#include <fstream>
#include <stdexcept>

#include "tests/support/HermeticHome.h"

namespace fs = std::filesystem;

namespace test {

namespace {

constexpr char kNoLibrary[] = "This is no library.\n";

fs::path ExecutablePlace(const fs::path& bundle, const std::string& executable) {
  return bundle / "Contents/Linux" / (executable.empty() ? bundle.stem().string() : executable);
}

std::string StringEntry(const std::string& key, const std::string& value) {
  return value.empty() ? "" : "  <key>" + key + "</key>\n  <string>" + value + "</string>\n";
}

/// Into a file of its own, which then takes the name.
void PutFile(const fs::path& place, const std::string& bytes) {
  fs::create_directories(place.parent_path());
  fs::path aside = place;
  aside += ".new";
  WriteFile(aside, bytes);
  fs::rename(aside, place);
}

}  // namespace

std::string InfoPlist(const std::string& executable, const std::string& identifier) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n" +
         StringEntry("CFBundleExecutable", executable) +
         StringEntry("CFBundleIdentifier", identifier) + "</dict>\n</plist>\n";
}

void MakeFolderBundle(const fs::path& bundle, const fs::path& library, const std::string& plist,
                      const std::string& executable) {
  ReplaceFile(library, ExecutablePlace(bundle, executable));
  if (!plist.empty()) PutFile(bundle / "Contents/Info.plist", plist);
}

void MakeLibraryBundle(const fs::path& bundle, const fs::path& library) {
  ReplaceFile(library, bundle);
}

void MakeFramework(const fs::path& framework, const fs::path& library) {
  ReplaceFile(library, framework / framework.stem());
}

void MakeBrokenFolderBundle(const fs::path& bundle) {
  PutFile(ExecutablePlace(bundle, ""), kNoLibrary);
}

void MakeBrokenLibraryBundle(const fs::path& bundle) {
  PutFile(bundle, kNoLibrary);
}

void MakeBundleWithoutExecutable(const fs::path& bundle) {
  PutFile(bundle / "Contents/Info.plist", InfoPlist("", "org.lumivane.test.empty"));
  AddResource(bundle, "text.txt", "text\n");
}

void AddResource(const fs::path& bundle, const std::string& name, const std::string& bytes) {
  PutFile(bundle / "Contents/Resources" / name, bytes);
}

void ReplaceFile(const fs::path& from, const fs::path& to) {
  fs::create_directories(to.parent_path());
  fs::path aside = to;
  aside += ".new";
  fs::copy_file(from, aside, fs::copy_options::overwrite_existing);
  fs::rename(aside, to);
}

namespace {
fs::path SystemFrameworkPlace() {
  return SystemComponents().parent_path() / "Frameworks/System.framework";
}
}  // namespace

void InstallSystemFramework() {
  fs::create_directories(SystemFrameworkPlace().parent_path());
  RemoveSystemFramework();
  fs::create_symlink(LUMIVANE_TEST_SYSTEM_FRAMEWORK, SystemFrameworkPlace());
}

void RemoveSystemFramework() {
  fs::remove(SystemFrameworkPlace());
}

bool IsMapped(const fs::path& path) {
  const std::string name = fs::weakly_canonical(path).string();
  std::ifstream maps("/proc/self/maps");
  if (!maps) throw std::runtime_error("no /proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    const std::size_t slash = line.find('/');
    if (slash == std::string::npos) continue;
    const std::string file = line.substr(slash);
    if (file == name || file == name + " (deleted)") return true;
  }
  return false;
}

}  // namespace test
