// A home of its own for every test program: HOME and the XDG folders lie in a fresh folder that is
// removed when the program ends, so that tests neither see nor touch the user's files and may run
// side by side.
#pragma once

#include <filesystem>
#include <string>

namespace test {

/// The program's own home folder. Exists from before the first test to after the last.
const std::filesystem::path& Home();

/// The user's Logs folder of that home; exists at the start of the program.
std::filesystem::path LogsFolder();

/// Folders the platform maps the components of each domain to; the system's and the local one lie
/// in the hermetic home too. None exists at the start.
std::filesystem::path UserComponents();
std::filesystem::path LocalComponents();
std::filesystem::path SystemComponents();

/// A fresh folder below the home, removed with everything in it when the object dies.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// Sets an environment variable for the life of the object.
class ScopedVariable {
 public:
  ScopedVariable(const std::string& name, const std::string& value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::string old_;
  bool had_;
};

std::string ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, const std::string& bytes);

}  // namespace test
