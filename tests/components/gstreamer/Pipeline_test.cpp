// One source, opened once, without the camera round it.
#include "components/gstreamer/pipeline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/components/gstreamer/GStreamerStart.h"

namespace {

using namespace gstcamera;

/// Waits until so many frames have come; the time is long because the machine may be busy.
bool Received(const Intake& intake, std::uint64_t frames) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (intake.mailbox().Counts().received < frames) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// The camera's thread takes a changed settings file in while GStreamer's threads make frames.
TEST(CameraPipelineSettings, StayThoseItWasMadeWith) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  Plan plan;
  plan.source = {Source::kTest, "red"};
  Settings settings;
  settings.size = Size{64, 48};
  settings.rate = 100;
  Intake intake;
  Pipeline pipeline(plan, settings, std::nullopt, intake);
  std::string error;
  ASSERT_TRUE(pipeline.Start(&error)) << error;
  ASSERT_TRUE(Received(intake, 1));
  for (int i = 0; i < 50; ++i) {
    settings = Settings();
    settings.rate = 0.01;
    settings.matrix = Matrix::kBt709;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  EXPECT_TRUE(Received(intake, intake.mailbox().Counts().received + 10))
      << "frames come at the rate of before";
}

}  // namespace
