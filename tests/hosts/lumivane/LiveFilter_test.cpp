// Which frames come from a camera.
#include "hosts/lumivane/LiveFilter.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/CoreImage/CoreImage.h"
#include "platform/Foundation/Foundation.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/TempBundle.h"

namespace {

namespace fs = std::filesystem;
using lumivane::Frame;
using lumivane::LiveFilter;

std::unique_ptr<LiveFilter> OpenFilter() {
  lumivane::PictureSource source;
  source.plugIn = LUMIVANE_APP "/Contents/PlugIns/CILumivaneInput.plugin";
  std::string error;
  std::unique_ptr<LiveFilter> filter = LiveFilter::Open(source, &error);
  EXPECT_NE(filter, nullptr) << error;
  return filter;
}

TEST(LiveFilter, TellsACamerasFramesFromTheNoCameraPictureAtOnce) {
  const fs::path on = test::Home() / "switch";
  fs::remove(on);
  const test::ScopedVariable variable("LUMIVANE_SWITCHED_CAMERA", on.string());
  fs::create_directories(test::UserComponents());
  test::ReplaceFile(SWITCHED_CAMERA, test::UserComponents() / "LumivaneXXX.component");
  const std::unique_ptr<LiveFilter> filter = OpenFilter();
  ASSERT_NE(filter, nullptr);
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 2; ++i) {
      const Frame none = filter->NextFrame();
      ASSERT_NE(none.image, nullptr);
      EXPECT_FALSE(none.live) << "round " << round << ", frame " << i;
    }
    test::WriteFile(on, "");
    for (int i = 0; i < 2; ++i) {
      const Frame live = filter->NextFrame();
      ASSERT_NE(live.image, nullptr);
      EXPECT_TRUE(live.live) << "round " << round << ", frame " << i;
      EXPECT_EQ(filter->Render(live).width, 64);
    }
    fs::remove(on);
  }
  fs::remove_all(test::UserComponents());
}

TEST(LiveFilter, KeepsTheNoCameraPicturesCount) {
  const std::unique_ptr<LiveFilter> filter = OpenFilter();
  ASSERT_NE(filter, nullptr);
  const NSUInteger before = filter->NextFrame().image->retainCount();
  for (int i = 0; i < 5; ++i) filter->NextFrame();
  EXPECT_EQ(filter->NextFrame().image->retainCount(), before);
}

}  // namespace
