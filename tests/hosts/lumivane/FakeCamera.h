// A camera that is plugged in for the life of a test: fake_camera.c says what it can do.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/HermeticHome.h"

class FakeCamera {
 public:
  FakeCamera() { test::WriteFile(device, ""); }
  ~FakeCamera() { Unplug(); }
  FakeCamera(const FakeCamera&) = delete;
  FakeCamera& operator=(const FakeCamera&) = delete;

  void Unplug() const { std::filesystem::remove(device); }

  /// What has happened to it, a line each.
  std::vector<std::string> Log() const {
    std::vector<std::string> lines;
    std::istringstream text(test::ReadFile(folder_ / "log"));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  std::ptrdiff_t Count(const std::string& line) const {
    const std::vector<std::string> lines = Log();
    return std::count(lines.begin(), lines.end(), line);
  }

  const std::string device = "/dev/shm/lumivane-camera-" + std::to_string(getpid());

 private:
  // Behind what helps the thread sanitizer, where that is preloaded.
  static std::string Preloaded() {
    const char* const before = std::getenv("LD_PRELOAD");
    return (before == nullptr || *before == 0 ? std::string() : std::string(before) + ":") +
           LUMIVANE_FAKE_CAMERA;
  }
  // The preloaded library comes before the sanitizer's own.
  static std::string Sanitizer() {
    const char* const before = std::getenv("ASAN_OPTIONS");
    return (before == nullptr ? std::string() : std::string(before) + ":") +
           "verify_asan_link_order=0";
  }

  const test::TempFolder folder_;
  const test::ScopedVariable registry_{"GST_REGISTRY",
                                       LUMIVANE_TEST_GST_REGISTRIES "/gst-registry-of-fakes.bin"};
  const test::ScopedVariable plugIns_{
      "GST_PLUGIN_PATH", std::filesystem::path(LUMIVANE_FAKE_CAMERA).parent_path().string()};
  const test::ScopedVariable preload_{"LD_PRELOAD", Preloaded()};
  const test::ScopedVariable asan_{"ASAN_OPTIONS", Sanitizer()};
  const test::ScopedVariable path_{"LUMIVANE_FAKE_CAMERA", device};
  const test::ScopedVariable log_{"LUMIVANE_FAKE_CAMERA_LOG", (folder_ / "log").string()};
};
