// What is told of the camera that is in use, while its folder changes.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/hosts/lumivane/PictureTools.h"
#include "tests/support/RunningProgram.h"

namespace {

namespace fs = std::filesystem;
using namespace picture_tools;

class CameraInUse : public PictureTest {
 protected:
  CameraInUse() {
    fs::create_directories(test::UserComponents());
    fs::create_directory_symlink(LUMIVANE_APP "/Contents/Resources/LumivaneXXX.component", link_);
  }
  ~CameraInUse() override { fs::remove_all(test::UserComponents()); }

  /// The summary of a program that takes pictures while `change` happens.
  nlohmann::json Watch(const std::function<void()>& change) {
    test::RunningProgram run({Program(), "snapshot", "--frames", "40", "--rate", "20", "--warm-up",
                              "0", "--size", "64x48", "--json", "--out", Path("f.png")});
    for (int i = 0; i < 1200 && !fs::exists(Path("f-0001.png")); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    change();
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
    return nlohmann::json::parse(run.ReadBytes(100000));
  }

  const fs::path link_ = test::UserComponents() / "LumivaneXXX.component";
};

TEST_F(CameraInUse, IsToldOfAfterItsRemoval) {
  const nlohmann::json summary = Watch([this] { fs::remove(link_); });
  EXPECT_EQ(summary["live"], 40);
  EXPECT_EQ(summary["camera"], "test pattern");
  EXPECT_TRUE(summary["ageMilliseconds"].is_number());
}

TEST_F(CameraInUse, IsNotTakenForTheOneThatCameInItsPlace) {
  const nlohmann::json summary = Watch([this] {
    fs::remove(link_);
    fs::create_symlink(LUMIVANE_SCRIPTED_CAMERA, link_);
  });
  EXPECT_EQ(summary["live"], 40);
  EXPECT_EQ(summary["camera"], "test pattern");
  EXPECT_TRUE(summary["ageMilliseconds"].is_number());
}

}  // namespace
