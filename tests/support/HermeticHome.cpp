#include "tests/support/HermeticHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace test {
namespace {

fs::path& HomeVariable() {
  static fs::path home;
  return home;
}

void SetUpHome() {
  std::string pattern = (fs::temp_directory_path() / "lumivane-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary home");
  const fs::path home = fs::canonical(pattern);
  HomeVariable() = home;
  const auto set = [](const char* name, const fs::path& value) {
    setenv(name, value.c_str(), /*overwrite=*/1);
  };
  set("HOME", home);
  set("XDG_DATA_HOME", home / ".local/share");
  set("XDG_STATE_HOME", home / ".local/state");
  set("XDG_CONFIG_HOME", home / ".config");
  set("XDG_CACHE_HOME", home / ".cache");
  set("LUMIVANE_LOCAL_ROOT", home / "local-root");
  set("LUMIVANE_SYSTEM_ROOT", home / "system-root");
  fs::create_directories(LogsFolder());
}

}  // namespace

const fs::path& Home() {
  return HomeVariable();
}
fs::path LogsFolder() {
  return Home() / ".local/state/lumivane/Logs";
}
fs::path UserComponents() {
  return Home() / ".local/share/lumivane/Components";
}
fs::path LocalComponents() {
  return Home() / "local-root/Components";
}
fs::path SystemComponents() {
  return Home() / "system-root/Components";
}

TempFolder::TempFolder() {
  static std::atomic<int> next{0};
  path_ = Home() / ("temp-" + std::to_string(next++));
  fs::create_directories(path_);
}

TempFolder::~TempFolder() {
  std::error_code ignored;  // A test that locked its folder leaves it to the home's own removal.
  fs::remove_all(path_, ignored);
}

ScopedVariable::ScopedVariable(const std::string& name, const std::string& value) : name_(name) {
  const char* old = std::getenv(name.c_str());
  had_ = old != nullptr;
  if (had_) old_ = old;
  setenv(name.c_str(), value.c_str(), 1);
}

ScopedVariable::~ScopedVariable() {
  if (had_) {
    setenv(name_.c_str(), old_.c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

std::string ReadFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void WriteFile(const fs::path& file, const std::string& bytes) {
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << bytes;
  out.flush();
  if (!out) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace test

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  test::SetUpHome();
  const int result = RUN_ALL_TESTS();
  std::error_code ignored;
  fs::remove_all(test::Home(), ignored);
  return result;
}
