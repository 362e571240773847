// For tests of `lumivane camera`: the program, its settings file, and what is installed.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/BuiltProgram.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"

namespace test {

/// Whether it comes to that in time. The time is long for machines that are busy.
inline bool Within(const std::function<bool()>& done, double seconds = 60) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < end) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

}  // namespace test

class CameraScene : public ::testing::Test {
 protected:
  CameraScene() {
    std::filesystem::remove_all(File().parent_path());
    // The programs load GStreamer, which keeps some memory for good.
    test::WriteFile(Suppressions(), "leak:libglib-2.0\nleak:libgobject-2.0\nleak:libgst\n");
  }
  ~CameraScene() override { std::filesystem::remove_all(test::UserComponents()); }

  /// To run beside the test.
  static std::vector<std::string> Command(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), built_program::Program());
    return arguments;
  }
  static test::ProgramResult Camera(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "camera");
    return built_program::Lumivane(arguments);
  }
  /// The answer of `lumivane camera ARGUMENTS --json`, whether it went well or not.
  static nlohmann::json Json(std::vector<std::string> arguments) {
    arguments.push_back("--json");
    const test::ProgramResult run = Camera(arguments);
    nlohmann::json answer = nlohmann::json::parse(run.out, nullptr, false);
    EXPECT_TRUE(answer.is_object()) << run.out << run.err;
    return answer;
  }

  static std::filesystem::path File() { return test::Home() / ".config/lumivane/camera.conf"; }
  static std::string Settings() { return test::ReadFile(File()); }

  static std::filesystem::path GStreamerComponent() {
    return LUMIVANE_APP "/Contents/Resources/gstreamer/LumivaneXXX.component";
  }
  /// Makes the component the user's, instead of another, until the test ends.
  static void Install(const std::filesystem::path& component = GStreamerComponent()) {
    std::filesystem::remove_all(test::UserComponents());
    std::filesystem::create_directories(test::UserComponents());
    std::filesystem::create_symlink(component, built_program::UserComponent());
  }

 private:
  static std::filesystem::path Suppressions() { return test::Home() / "leaks-of-others"; }
  const test::ScopedVariable leaks_{"LSAN_OPTIONS",
                                    "print_suppressions=0:suppressions=" + Suppressions().string()};
  // GStreamer's list of its plug-ins takes a second to make; it is written aside and renamed, so
  // tests that run side by side may share it.
  const test::ScopedVariable registry_{
      "GST_REGISTRY", LUMIVANE_TEST_GST_REGISTRIES "/gst-registry-of-programs.bin"};
};
