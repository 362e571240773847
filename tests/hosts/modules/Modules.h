// A user who has the plug-in and the modules installed, and what the program itself shows for
// comparison.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreGraphics/CoreGraphics.h"
#include "platform/ImageIO/ImageData.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"
#include "tests/support/TempBundle.h"

namespace modules {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

inline const fs::path kModules = LUMIVANE_MODULES;
inline const fs::path kFrei0rModule = kModules / "frei0r-1/lumivane.so";

/// RGBA, top row first.
struct Pixels {
  int width = 0;
  int height = 0;
  Bytes rgba;
};

inline fs::path Component() {
  return test::UserComponents() / "LumivaneXXX.component";
}

/// Puts the component there as an installer does, in one step.
inline void InstallCamera(const fs::path& camera) {
  fs::create_directories(test::UserComponents());
  if (fs::is_directory(camera)) {
    fs::create_directory_symlink(camera, Component());
  } else {
    test::ReplaceFile(camera, Component());
  }
}

inline void RemoveCamera() {
  fs::remove_all(test::UserComponents());
}

inline fs::path PlugInLink() {
  return test::Home() / ".local/share/lumivane/ImageUnits/CILumivaneInput.plugin";
}

inline void InstallPlugIn() {
  fs::create_directories(PlugInLink().parent_path());
  fs::create_directory_symlink(LUMIVANE_PLUGIN, PlugInLink());
}

/// Written whenever the filter is used without a camera.
inline fs::path LogFile() {
  return test::LogsFolder() / "CILumivaneInput.log";
}

inline Pixels DecodePng(const std::string& bytes) {
  Pixels pixels;
  const ImageIODecoded decoded =
      ImageIODecode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  EXPECT_TRUE(decoded.complete) << decoded.error;
  if (decoded.image == nullptr) return pixels;
  pixels.width = static_cast<int>(CGImageGetWidth(decoded.image));
  pixels.height = static_cast<int>(CGImageGetHeight(decoded.image));
  const CFDataRef data = CGDataProviderCopyData(CGImageGetDataProvider(decoded.image));
  const std::size_t rowBytes = CGImageGetBytesPerRow(decoded.image);
  const bool hasAlpha = CGImageGetAlphaInfo(decoded.image) == kCGImageAlphaLast;
  for (int y = 0; y < pixels.height; ++y) {
    const std::uint8_t* const row = CFDataGetBytePtr(data) + static_cast<std::size_t>(y) * rowBytes;
    for (int x = 0; x < pixels.width; ++x) {
      // What is clear is black to modules, whose pictures are opaque.
      const std::uint8_t* const p = row + 4 * x;
      const bool clear = hasAlpha && p[3] == 0;
      for (int i = 0; i < 3; ++i) pixels.rgba.push_back(clear ? 0 : p[i]);
      pixels.rgba.push_back(255);
    }
  }
  CFRelease(data);
  CGImageRelease(decoded.image);
  return pixels;
}

/// What `lumivane snapshot` shows now; at its own size without `size`.
inline Pixels Snapshot(const std::string& size = {}) {
  std::vector<std::string> command = {LUMIVANE_APP "/Contents/Linux/lumivane",
                                      "snapshot",
                                      "--out",
                                      "-",
                                      "--plugin",
                                      LUMIVANE_PLUGIN};
  if (!size.empty()) command.insert(command.end(), {"--size", size});
  const test::ProgramResult run = test::RunProgram(command);
  EXPECT_FALSE(run.out.empty()) << run.err;
  return DecodePng(run.out);
}

inline std::string SizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

/// The first pixel that differs, for people; empty when all are equal.
inline std::string Difference(const Bytes& have, const Bytes& want, int width) {
  if (have.size() != want.size()) {
    return std::to_string(have.size()) + " bytes instead of " + std::to_string(want.size());
  }
  for (std::size_t i = 0; i < have.size(); ++i) {
    if (have[i] == want[i]) continue;
    const std::size_t pixel = i / 4;
    const auto w = static_cast<std::size_t>(width);
    return "at " + std::to_string(pixel % w) + ", " + std::to_string(pixel / w) + " channel " +
           std::to_string(i % 4) + ": " + std::to_string(have[i]) + " instead of " +
           std::to_string(want[i]);
  }
  return {};
}

inline Bytes BytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

/// The plug-in is installed, a camera is not; the hosts look for modules where the build put them
/// and keep their caches in the test's home.
class ModuleTest : public ::testing::Test {
 protected:
  ModuleTest()
      : frei0r_("FREI0R_PATH", (kModules / "frei0r-1").string()),
        melt_("MLT_FREI0R_PLUGIN_PATH", (kModules / "frei0r-1").string()),
        gstreamer_("GST_PLUGIN_PATH", (kModules / "gstreamer-1.0").string()),
        registry_("GST_REGISTRY", (test::Home() / "gst-registry.bin").string()) {
    fs::remove(LogFile());
    InstallPlugIn();
  }
  ~ModuleTest() override {
    RemoveCamera();
    fs::remove_all(PlugInLink().parent_path());
  }

 private:
  test::ScopedVariable frei0r_;
  test::ScopedVariable melt_;
  test::ScopedVariable gstreamer_;
  test::ScopedVariable registry_;
};

/// In a test's SetUp. Real hosts cannot load modules built with a sanitizer: in such builds the
/// module's own tests stand for them.
inline void SkipWhereHostsCannotLoadModules() {
  if (LUMIVANE_SANITIZED) GTEST_SKIP() << "the hosts are built without the sanitizer";
}

/// The installed programs as hosts.
class HostTest : public ModuleTest {
 protected:
  void SetUp() override { SkipWhereHostsCannotLoadModules(); }
};

}  // namespace modules
