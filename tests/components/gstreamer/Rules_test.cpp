// Rules that need no stream: the mailbox, the states, the choice of a format, who is who.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <set>
#include <thread>
#include <utility>

#include "components/camera_component.h"
#include "components/gstreamer/camera_state.h"
#include "components/gstreamer/cameras.h"
#include "components/gstreamer/controls.h"
#include "components/gstreamer/dead_device.h"
#include "components/gstreamer/format_choice.h"
#include "components/gstreamer/frame_memory.h"
#include "components/gstreamer/intake.h"
#include "components/gstreamer/mailbox.h"
#include "tests/components/gstreamer/GStreamerStart.h"
#include "tests/support/HermeticHome.h"

namespace {

namespace fs = std::filesystem;
using namespace gstcamera;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// ---- Mailbox

constexpr FrameShape kShape = {PixelFormat::k2vuy, {64, 32}};

void Fill(FrameMemory& memory, Mailbox& mailbox, std::uint8_t value) {
  std::string error;
  FrameHeld frame = memory.Take(kShape.DataSize(), &error);
  ASSERT_NE(frame.pixels, nullptr) << error;
  std::memset(frame.pixels, value, kShape.DataSize());
  mailbox.Publish(kShape, std::move(frame), {1, 1, true});
}

TEST(CameraMailbox, HandsOutTheNewestAndKeepsItStill) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  FrameMemory memory;
  Mailbox mailbox;
  EXPECT_EQ(mailbox.Newest(), nullptr) << "nothing has been filled";
  Fill(memory, mailbox, 1);
  Fill(memory, mailbox, 2);
  const std::uint8_t* const frame = mailbox.Newest();
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(*frame, 2);
  for (std::uint8_t value = 3; value < 9; ++value) {
    Fill(memory, mailbox, value);
    EXPECT_EQ(*frame, 2) << "handed out, and so at rest";
  }
  const std::uint8_t* const next = mailbox.Newest();
  EXPECT_NE(next, frame);
  EXPECT_EQ(*next, 8);
  EXPECT_EQ(mailbox.Newest(), next) << "the same again while there is no newer one";
  const MailboxCounts counts = mailbox.Counts();
  EXPECT_EQ(counts.received, 8U);
  EXPECT_EQ(counts.handed, 8U);
  EXPECT_EQ(counts.skipped, 6U);
}

TEST(CameraMailbox, KeepsItsShape) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  FrameMemory memory;
  Mailbox mailbox;
  std::string error;
  FrameShape shape;
  EXPECT_FALSE(mailbox.shape(&shape));
  EXPECT_TRUE(mailbox.Accepts({PixelFormat::kArgb, {64, 32}}, &error)) << "nothing is fixed yet";
  Fill(memory, mailbox, 0);
  EXPECT_TRUE(mailbox.shape(&shape));
  EXPECT_EQ(shape, kShape);
  EXPECT_TRUE(mailbox.Accepts(kShape, &error));
  EXPECT_FALSE(mailbox.Accepts({PixelFormat::kArgb, {64, 32}}, &error));
  EXPECT_FALSE(mailbox.Accepts({PixelFormat::k2vuy, {66, 32}}, &error));
  EXPECT_THAT(error, HasSubstr("another size or format"));
}

TEST(CameraMailbox, HoldsNoMoreThanTwoFrames) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  FrameMemory memory;
  Mailbox mailbox;
  std::set<const std::uint8_t*> seen;
  for (int i = 0; i < 50; ++i) {
    ASSERT_NO_FATAL_FAILURE(Fill(memory, mailbox, 0));
    if (i % 3 == 0 || i % 7 == 0) seen.insert(mailbox.Newest());
    if (i % 5 == 0) seen.insert(mailbox.Newest());
  }
  EXPECT_LE(seen.size(), 3U) << "the third is that which is being filled";
}

TEST(CameraMailbox, TheThreadThatMakesFramesLetsGoOfThem) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  FrameMemory memory;
  Mailbox mailbox;
  std::string error;
  ASSERT_NO_FATAL_FAILURE(Fill(memory, mailbox, 1));
  const std::uint8_t* const first = mailbox.Newest();
  ASSERT_NO_FATAL_FAILURE(Fill(memory, mailbox, 2));
  EXPECT_NE(mailbox.Newest(), first);
  FrameHeld other = memory.Take(kShape.DataSize(), &error);
  EXPECT_NE(other.pixels, first) << "asking for a frame does not free another";
  mailbox.Publish(kShape, std::move(other), {3, 3, true});
  EXPECT_EQ(memory.Take(kShape.DataSize(), &error).pixels, first);
}

TEST(CameraMailbox, NeitherTearsNorGoesBackBetweenTwoThreads) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  FrameMemory memory;
  Mailbox mailbox;
  constexpr int kFrames = 3000;
  std::thread maker([&] {
    for (int i = 1; i <= kFrames; ++i) {
      std::string error;
      FrameHeld frame = memory.Take(kShape.DataSize(), &error);
      auto* const words = reinterpret_cast<std::uint32_t*>(frame.pixels);
      for (std::size_t at = 0; at < kShape.DataSize() / 4; ++at)
        words[at] = static_cast<std::uint32_t>(i);
      mailbox.Publish(kShape, std::move(frame), {i, i, true});
    }
  });
  std::uint32_t last = 0;
  while (last < kFrames) {
    const std::uint8_t* const frame = mailbox.Newest();
    if (frame == nullptr) continue;
    const auto* const words = reinterpret_cast<const std::uint32_t*>(frame);
    const std::uint32_t first = words[0];
    ASSERT_GE(first, last);
    for (std::size_t at = 0; at < kShape.DataSize() / 4; ++at) ASSERT_EQ(words[at], first);
    last = first;
  }
  maker.join();
  const MailboxCounts counts = mailbox.Counts();
  EXPECT_EQ(counts.received, static_cast<std::uint64_t>(kFrames));
  EXPECT_EQ(counts.handed, counts.received);
}

// ---- States

TEST(CameraState, FollowsFromTheNewestFramesAge) {
  const auto at = [](double seconds, bool running, bool still = false) {
    const Nanoseconds newest = 100 * kSecond;
    return StateAt(newest + static_cast<Nanoseconds>(seconds * kSecond), newest, running, still, 1,
                   5);
  };
  EXPECT_EQ(StateAt(kSecond, 0, true, false, 1, 5), State::kNone);
  EXPECT_EQ(StateAt(kSecond, 0, true, true, 1, 5), State::kNone);
  EXPECT_EQ(at(0, true), State::kLive);
  EXPECT_EQ(at(1, true), State::kLive);
  EXPECT_EQ(at(1.01, true), State::kStale);
  EXPECT_EQ(at(6, true), State::kStale);
  EXPECT_EQ(at(6.01, true), State::kNone);
  EXPECT_EQ(at(0, false), State::kStale) << "a failed source is stale at once";
  EXPECT_EQ(at(6.01, false), State::kNone);
  EXPECT_EQ(at(1000, true, true), State::kLive) << "a still picture stays";
  EXPECT_EQ(at(1000, false, true), State::kNone);
}

TEST(CameraState, RateIsThatOfTheLastSecond) {
  RateMeter meter;
  EXPECT_EQ(meter.At(kSecond), 0);
  Nanoseconds now = 10 * kSecond;
  meter.Count(now);
  EXPECT_EQ(meter.At(now), 0) << "one frame has no rate";
  for (int i = 0; i < 100; ++i) meter.Count(now += kSecond / 25);
  EXPECT_DOUBLE_EQ(meter.At(now), 25);
  for (int i = 0; i < 60; ++i) meter.Count(now += kSecond / 50);
  EXPECT_NEAR(meter.At(now), 50, 1e-6);
  EXPECT_EQ(meter.At(now + 3 * kSecond), 0);
  for (int i = 0; i < 1000; ++i) meter.Count(now += kSecond / 1000);
  EXPECT_NEAR(meter.At(now), 1000, 1);
}

TEST(CameraState, PausesGrowToFiveSeconds) {
  RetryPause pause;
  EXPECT_EQ(pause.Next(), 1);
  double last = 1;
  for (int i = 0; i < 10; ++i) {
    const double next = pause.Next();
    EXPECT_GE(next, last);
    EXPECT_LE(next, 5);
    last = next;
  }
  EXPECT_EQ(last, 5);
  pause.Reset();
  EXPECT_EQ(pause.Next(), 1);
}

// ---- Choosing a format

const char* const kWebcam =
    "video/x-raw,format=YUY2,width=640,height=480,framerate={30/1,15/1};"
    "video/x-raw,format=YUY2,width=1280,height=720,framerate=10/1;"
    "video/x-raw,format=YUY2,width=1920,height=1080,framerate=5/1;"
    "image/jpeg,width=640,height=480,framerate={60/1,30/1};"
    "image/jpeg,width=1280,height=720,framerate={60/1,30/1};"
    "image/jpeg,width=1920,height=1080,framerate=30/1";

std::string Choice(const char* caps, std::optional<Size> size, double rate, int rotate = 0) {
  StartGStreamer();
  const CapsHeld offered(gst_caps_from_string(caps));
  Settings settings;
  settings.size = size;
  settings.rate = rate;
  settings.rotate = rotate;
  const ChosenFormat chosen = ChooseFormat(offered.get(), settings);
  if (!chosen.caps) return "any";
  EXPECT_TRUE(gst_caps_is_fixed(chosen.caps.get()));
  char rateText[32];
  std::snprintf(rateText, sizeof(rateText), "%g", chosen.rate);
  return chosen.name + " " + std::to_string(chosen.size.width) + "x" +
         std::to_string(chosen.size.height) + "@" + rateText;
}

TEST(CameraFormat, RawWhereItReachesTheRateCompressedWhereNot) {
  EXPECT_EQ(Choice(kWebcam, Size{640, 480}, 30), "YUY2 640x480@30");
  EXPECT_EQ(Choice(kWebcam, Size{640, 480}, 60), "MJPEG 640x480@60");
  EXPECT_EQ(Choice(kWebcam, Size{1280, 720}, 30), "MJPEG 1280x720@30");
  EXPECT_EQ(Choice(kWebcam, Size{1280, 720}, 10), "YUY2 1280x720@10");
  EXPECT_EQ(Choice(kWebcam, Size{1920, 1080}, 5), "YUY2 1920x1080@5");
  EXPECT_EQ(Choice(kWebcam, Size{1920, 1080}, 60), "MJPEG 1920x1080@30") << "the best there is";
  EXPECT_EQ(Choice(kWebcam, Size{640, 480}, 0), "MJPEG 640x480@60") << "the most there is";
}

TEST(CameraFormat, TheSmallestSizeThatCoversElseTheLargest) {
  EXPECT_EQ(Choice(kWebcam, Size{800, 600}, 10), "YUY2 1280x720@10");
  EXPECT_EQ(Choice(kWebcam, Size{320, 240}, 30), "YUY2 640x480@30");
  EXPECT_EQ(Choice(kWebcam, Size{3840, 2160}, 5), "YUY2 1920x1080@5");
  EXPECT_EQ(Choice(kWebcam, Size{480, 640}, 30, 90), "YUY2 640x480@30") << "turned by a quarter";
  EXPECT_EQ(Choice(kWebcam, std::nullopt, 30), "MJPEG 1920x1080@30");
}

TEST(CameraFormat, TheRawestOfEqualOnes) {
  EXPECT_EQ(Choice("video/x-raw,format={I420,UYVY,YUY2},width=640,height=480,framerate=30/1",
                   Size{640, 480}, 30)
                .substr(0, 4),
            "I420")
      << "a list within one structure is the camera's own order";
  EXPECT_EQ(Choice("video/x-raw,format=NV12,width=640,height=480,framerate=30/1;"
                   "video/x-raw,format=UYVY,width=640,height=480,framerate=30/1",
                   Size{640, 480}, 30),
            "UYVY 640x480@30");
  EXPECT_EQ(Choice("video/x-raw,format=GRAY8,width=640,height=480,framerate=60/1;"
                   "image/jpeg,width=640,height=480,framerate=15/1",
                   Size{640, 480}, 30),
            "MJPEG 640x480@15")
      << "colour first";
}

TEST(CameraFormat, UnderstandsRangesAndWhatIsNotStated) {
  const char* const range =
      "video/x-raw,format=YUY2,width=[16,1920,2],height=[16,1080],framerate=[1/1,60/1]";
  EXPECT_EQ(Choice(range, Size{640, 480}, 25), "YUY2 640x480@25");
  EXPECT_EQ(Choice(range, Size{641, 480}, 100), "YUY2 642x480@60");
  EXPECT_EQ(Choice("video/x-raw,format=YUY2,width=320,height=240", Size{640, 480}, 30),
            "YUY2 320x240@0");
  EXPECT_EQ(Choice("video/x-raw(memory:DMABuf),format=YUY2,width=320,height=240,framerate=30/1",
                   Size{640, 480}, 30),
            "any");
  EXPECT_EQ(Choice("audio/x-raw", Size{640, 480}, 30), "any");
  EXPECT_EQ(Choice("EMPTY", Size{640, 480}, 30), "any");
}

TEST(CameraFormat, ListsWhatThereIs) {
  StartGStreamer();
  const CapsHeld caps(gst_caps_from_string(kWebcam));
  const std::vector<OfferedFormat> formats = ListFormats(caps.get());
  ASSERT_EQ(formats.size(), 6U);
  EXPECT_EQ(formats[0].name, "YUY2");
  EXPECT_THAT(formats[0].rates, ElementsAre(30, 15));
  EXPECT_EQ(formats[5].name, "MJPEG");
  EXPECT_EQ(formats[5].size, (Size{1920, 1080}));
  EXPECT_THAT(ListFormats(nullptr), IsEmpty());
}

// ---- Who is who

std::vector<Camera> ThreeCameras() {
  std::vector<Camera> cameras(3);
  cameras[0].name = "HD Webcam";
  cameras[0].stableName = "usb-A-index0";
  cameras[0].byId = "/dev/v4l/by-id/usb-A-index0";
  cameras[0].path = "/dev/null";
  cameras[1].name = "HD Webcam";
  cameras[1].stableName = "usb-B-index0";
  cameras[1].path = "/dev/zero";
  cameras[2].name = "Microscope \xC3\x84";
  cameras[2].stableName = "Microscope \xC3\x84";
  return cameras;
}

TEST(Cameras, AreFoundByStableNameThenNameThenPartOfIt) {
  const std::vector<Camera> cameras = ThreeCameras();
  const auto find = [&](Source::Kind kind, const char* text) {
    return FindCameras(cameras, {kind, text});
  };
  EXPECT_THAT(find(Source::kCamera, "usb-B-index0"), ElementsAre(1));
  EXPECT_THAT(find(Source::kCamera, "hd webcam"), ElementsAre(0, 1));
  EXPECT_THAT(find(Source::kCamera, "MICROSCOPE \xC3\xA4"), ElementsAre(2));
  EXPECT_THAT(find(Source::kCamera, "scope"), ElementsAre(2));
  EXPECT_THAT(find(Source::kCamera, "usb-B"), IsEmpty()) << "stable names are whole";
  EXPECT_THAT(find(Source::kCamera, "\xFF"), IsEmpty());
  EXPECT_THAT(find(Source::kDevicePath, "/dev/zero"), ElementsAre(1));
  EXPECT_THAT(find(Source::kDevicePath, "/dev/none"), IsEmpty());
  EXPECT_THAT(find(Source::kAuto, ""), ElementsAre(0, 1, 2));
}

TEST(Cameras, StableLinksAreFoundByWhereTheyLead) {
  const test::TempFolder folder;
  fs::create_symlink("/dev/null", folder / "b");
  fs::create_symlink("/dev/null", folder / "a");
  fs::create_symlink("/dev/zero", folder / "c");
  EXPECT_EQ(LinkTo(folder.path().string(), "/dev/null"), (folder / "a").string());
  EXPECT_EQ(LinkTo(folder.path().string(), "/dev/full"), "");
  EXPECT_EQ(LinkTo("/no/such/folder", "/dev/null"), "");
}

TEST(Cameras, HoldersAreNamed) {
  const test::TempFolder proc;
  const auto process = [&](const std::string& id, const char* name, const char* device) {
    fs::create_directories(proc / id / "fd");
    fs::create_symlink(device, proc / id / "fd" / "3");
    if (name != nullptr) test::WriteFile(proc / id / "comm", std::string(name) + "\n");
  };
  EXPECT_EQ(HoldersOf("/dev/null", proc.path().string()), "");
  process("17", "obs", "/dev/null");
  process("18", "cat", "/dev/zero");
  process("self", "me", "/dev/null");
  EXPECT_EQ(HoldersOf("/dev/null", proc.path().string()), "obs (process 17)");
  EXPECT_EQ(HoldersOf("/dev/full", proc.path().string()), "");
  EXPECT_EQ(HoldersOf("/dev/null", "/no/such/proc"), "");
}

// ---- Frames that show nothing

struct SampleUnref {
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};

std::unique_ptr<GstSample, SampleUnref> GreyFrame() {
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_UYVY, 16, 16);
  GstCaps* const caps = gst_video_info_to_caps(&info);
  GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, info.size, nullptr);
  gst_buffer_memset(buffer, 0, 128, info.size);
  std::unique_ptr<GstSample, SampleUnref> sample(gst_sample_new(buffer, caps, nullptr, nullptr));
  gst_buffer_unref(buffer);
  gst_caps_unref(caps);
  return sample;
}

TEST(CameraIntake, WithheldFramesAreNotTaken) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  Intake intake;
  std::string error;
  const auto frame = GreyFrame();
  intake.Withhold(true);
  EXPECT_TRUE(intake.IsWithheld());
  EXPECT_TRUE(intake.Take(frame.get(), std::nullopt, &error)) << "the source is in order";
  EXPECT_FALSE(intake.IsRunning());
  EXPECT_EQ(intake.mailbox().Counts().received, 0u);

  intake.Withhold(false);
  EXPECT_FALSE(intake.IsRunning()) << "not before there is a frame";
  EXPECT_TRUE(intake.Take(frame.get(), std::nullopt, &error)) << error;
  EXPECT_TRUE(intake.IsRunning());
  EXPECT_EQ(intake.mailbox().Counts().received, 1u);

  intake.Withhold(true);
  EXPECT_FALSE(intake.IsRunning()) << "what was shown last grows old";
  EXPECT_TRUE(intake.Take(frame.get(), std::nullopt, &error));
  EXPECT_EQ(intake.mailbox().Counts().received, 1u);
}

TEST(CameraIntake, AFrameThatIsJustBeingTakenDoesNotUndoWithholding) {
  ASSERT_NO_FATAL_FAILURE(StartGStreamer());
  Intake intake;
  const auto frame = GreyFrame();
  std::atomic<bool> stop{false};
  std::atomic<unsigned> takes{0};
  std::thread taking([&] {
    std::string error;
    while (!stop) {
      intake.Take(frame.get(), std::nullopt, &error);
      ++takes;
    }
  });
  for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i) {
    intake.Withhold(false);
    while (!intake.IsRunning()) std::this_thread::yield();
    intake.Withhold(true);
    // The frame under way at that time is done with the second one after it.
    for (const unsigned now = takes; takes < now + 2;) std::this_thread::yield();
    EXPECT_FALSE(intake.IsRunning()) << "after " << i << " times";
  }
  stop = true;
  taking.join();
}

// ---- Devices that are gone

std::string OpenedAs(int file) {
  return fs::read_symlink("/proc/self/fd/" + std::to_string(file)).string();
}

TEST(DeadDevice, GivesUpItsDeadDescriptorsAndNoOthers) {
  const test::TempFolder folder;
  const std::string gone = (folder / "video0").string();
  const std::string other = (folder / "video1").string();
  test::WriteFile(gone, "");
  test::WriteFile(other, "");
  const int dead = open(gone.c_str(), O_RDWR | O_CLOEXEC);
  const int alive = open(gone.c_str(), O_RDWR | O_CLOEXEC);
  const int elsewhere = open(other.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(std::min({dead, alive, elsewhere}), 0);
  const auto isDead = [&](int file) { return file != alive; };

  EXPECT_EQ(ReleaseDeadDescriptors("/no/such/device", isDead), 0);
  EXPECT_EQ(ReleaseDeadDescriptors(gone, isDead), 1);
  EXPECT_EQ(OpenedAs(dead), "/dev/null");
  EXPECT_NE(fcntl(dead, F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(OpenedAs(alive), gone);
  EXPECT_EQ(OpenedAs(elsewhere), other);

  // The node may have been removed before.
  fs::remove(gone);
  EXPECT_EQ(ReleaseDeadDescriptors(gone, [](int) { return true; }), 1);
  EXPECT_EQ(OpenedAs(alive), "/dev/null");
  EXPECT_EQ(ReleaseDeadDescriptors(gone, [](int) { return true; }), 0);
  for (const int file : {dead, alive, elsewhere}) EXPECT_EQ(close(file), 0);
}

TEST(DeadDevice, WhatIsNoVideoDeviceIsNotDead) {
  const test::TempFolder folder;
  test::WriteFile(folder / "file", "");
  for (const std::string& path : {(folder / "file").string(), std::string("/dev/null")}) {
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(file, 0);
    EXPECT_FALSE(IsDeadVideoDevice(file)) << path;
    close(file);
  }
  EXPECT_FALSE(IsDeadVideoDevice(-1));
}

TEST(Cameras, AFileOfThisProcessIsSeenInTheRealProc) {
  const test::TempFolder folder;
  const std::string path = (folder / "device").string();
  test::WriteFile(path, "x");
  EXPECT_EQ(HoldersOf(path), "");
  FILE* const file = std::fopen(path.c_str(), "r");
  EXPECT_THAT(HoldersOf(path),
              HasSubstr("(process " + std::to_string(getpid()) + "), which is this one"));
  std::fclose(file);
}

// ---- Controls, against a device of our own

class FakeDevice {
 public:
  struct One {
    std::uint32_t id;
    const char* name;
    std::uint32_t type;
    std::int64_t least, most, step, usual, value;
    std::uint32_t flags;
  };
  std::vector<One> controls = {
      {0x980900, "Brightness", V4L2_CTRL_TYPE_INTEGER, -64, 64, 1, 0, 5, 0},
      {0x98090c, "White Balance, Automatic", V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1, 1, 0},
      {0x980999, "Hidden", V4L2_CTRL_TYPE_INTEGER, 0, 1, 1, 0, 0, V4L2_CTRL_FLAG_DISABLED},
      {0x9a0901, "Auto Exposure", V4L2_CTRL_TYPE_MENU, 0, 3, 1, 3, 3, 0},
      {0x9a0902, "Exposure Time, Absolute", V4L2_CTRL_TYPE_INTEGER, 1, 5000, 1, 157, 157,
       V4L2_CTRL_FLAG_INACTIVE},
      {0x9a0903, "Serial", V4L2_CTRL_TYPE_INTEGER, 0, 9, 1, 0, 7, V4L2_CTRL_FLAG_READ_ONLY}};
  std::vector<std::string> log;
  std::uint32_t inputStatus = 0;
  bool endless = false;

  ControlDevice Device() {
    return ControlDevice(
        [this](unsigned long request, void* argument) { return Call(request, argument); });
  }

 private:
  One* Find(std::uint32_t id) {
    for (One& one : controls) {
      if (one.id == id) return &one;
    }
    return nullptr;
  }
  int Call(unsigned long request, void* argument) {
    if (request == VIDIOC_QUERY_EXT_CTRL) {
      auto* const query = static_cast<v4l2_query_ext_ctrl*>(argument);
      const std::uint32_t after = query->id & ~static_cast<std::uint32_t>(V4L2_CTRL_FLAG_NEXT_CTRL);
      for (const One& one : controls) {
        if (one.id <= after && !endless) continue;
        *query = {};
        query->id = one.id;
        query->type = one.type;
        std::snprintf(query->name, sizeof(query->name), "%s", one.name);
        query->minimum = one.least;
        query->maximum = one.most;
        query->step = static_cast<std::uint64_t>(one.step);
        query->default_value = one.usual;
        query->flags = one.flags;
        return 0;
      }
      return EINVAL;
    }
    if (request == VIDIOC_QUERYMENU) {
      auto* const menu = static_cast<v4l2_querymenu*>(argument);
      if (menu->index != 1 && menu->index != 3) return EINVAL;
      std::snprintf(reinterpret_cast<char*>(menu->name), sizeof(menu->name), "%s",
                    menu->index == 1 ? "Manual Mode" : "Aperture Priority Mode");
      return 0;
    }
    if (request == VIDIOC_G_EXT_CTRLS || request == VIDIOC_S_EXT_CTRLS) {
      v4l2_ext_control& control = *static_cast<v4l2_ext_controls*>(argument)->controls;
      One* const one = Find(control.id);
      if (one == nullptr) return EINVAL;
      if (request == VIDIOC_G_EXT_CTRLS) {
        control.value = static_cast<std::int32_t>(one->value);
        return 0;
      }
      if (one->id == 0x9a0902 && Find(0x9a0901)->value != 1) return EBUSY;
      one->value = control.value;
      log.push_back(one->name + std::string("=") + std::to_string(control.value));
      return 0;
    }
    if (request == VIDIOC_G_INPUT) return 0;
    if (request == VIDIOC_ENUMINPUT) {
      static_cast<v4l2_input*>(argument)->status = inputStatus;
      return 0;
    }
    return ENOTTY;
  }
};

TEST(CameraControls, AreListedUnderTheirCustomaryNames) {
  FakeDevice fake;
  const std::vector<Control> controls = fake.Device().List();
  ASSERT_EQ(controls.size(), 5U) << "disabled ones are left out";
  EXPECT_EQ(controls[0].name, "brightness");
  EXPECT_EQ(controls[0].least, -64);
  EXPECT_EQ(controls[0].value, 5);
  EXPECT_EQ(controls[1].name, "white_balance_automatic");
  EXPECT_EQ(controls[1].type, Control::kBoolean);
  EXPECT_EQ(controls[2].name, "auto_exposure");
  ASSERT_EQ(controls[2].menu.size(), 2U) << "menus have holes";
  EXPECT_EQ(controls[2].menu[1].second, "Aperture Priority Mode");
  EXPECT_TRUE(controls[3].inactive);
  EXPECT_TRUE(controls[4].readOnly);
  fake.endless = true;
  EXPECT_LE(fake.Device().List().size(), 1000U) << "a list without end ends";
}

TEST(CameraControls, AreSetByNumberWordAndDefault) {
  FakeDevice fake;
  const ControlDevice device = fake.Device();
  std::string error;
  EXPECT_TRUE(device.Set("brightness", "-3", &error)) << error;
  EXPECT_TRUE(device.Set("Brightness", "default", &error)) << error;
  EXPECT_TRUE(device.Set("white_balance_automatic", "no", &error)) << error;
  EXPECT_TRUE(device.Set("auto_exposure", "Manual Mode", &error)) << error;
  EXPECT_TRUE(device.Set("auto_exposure", "3", &error)) << error;
  EXPECT_THAT(fake.log, ElementsAre("Brightness=-3", "Brightness=0", "White Balance, Automatic=0",
                                    "Auto Exposure=1", "Auto Exposure=3"));
}

TEST(CameraControls, WhatCannotBeSetIsSaid) {
  FakeDevice fake;
  const ControlDevice device = fake.Device();
  const auto failure = [&](const char* name, const char* value) {
    std::string error;
    EXPECT_FALSE(device.Set(name, value, &error)) << name;
    return error;
  };
  EXPECT_EQ(failure("brightness", "65"),
            "the control brightness is \"65\": want -64 to 64, or default");
  EXPECT_THAT(failure("brightness", "much"), HasSubstr("want -64 to 64"));
  EXPECT_THAT(failure("white_balance_automatic", "2"), HasSubstr("want yes or no"));
  EXPECT_THAT(failure("auto_exposure", "2"),
              HasSubstr("1 (Manual Mode), 3 (Aperture Priority Mode)"));
  EXPECT_THAT(failure("auto_exposure", "99999999999999999999"), HasSubstr("want one of"));
  EXPECT_EQ(failure("sharpness", "1"), "the camera has no control \"sharpness\"");
  EXPECT_EQ(failure("serial", "1"), "the control serial can only be read");
  EXPECT_THAT(failure("exposure_time_absolute", "10"),
              HasSubstr("another control keeps it from having an effect"));
  EXPECT_THAT(fake.log, IsEmpty());
}

TEST(CameraControls, ThoseThatOthersDependOnComeFirst) {
  FakeDevice fake;
  const std::vector<ControlSetting> settings = {{"", "exposure_time_absolute", "10"},
                                                {"cam", "auto_exposure", "1"},
                                                {"other", "brightness", "9"},
                                                {"", "sharpness", "3"}};
  EXPECT_THAT(fake.Device().Apply(settings, "cam"),
              ElementsAre("the camera has no control \"sharpness\""));
  EXPECT_THAT(fake.log, ElementsAre("Auto Exposure=1", "Exposure Time, Absolute=10"));
}

TEST(CameraControls, TellThatThereIsNoSignal) {
  FakeDevice fake;
  EXPECT_EQ(fake.Device().InputTrouble(), "");
  fake.inputStatus = V4L2_IN_ST_NO_SIGNAL;
  EXPECT_EQ(fake.Device().InputTrouble(), "there is no signal at its input");
  fake.inputStatus = V4L2_IN_ST_NO_POWER;
  EXPECT_EQ(fake.Device().InputTrouble(), "the camera has no power");
}

TEST(CameraControls, NeedADeviceThatOpens) {
  std::string error;
  EXPECT_FALSE(WithControls(
      "/no/such/device", [](const ControlDevice&) { FAIL(); }, &error));
  EXPECT_THAT(error, HasSubstr("/no/such/device cannot be opened"));
  bool called = false;
  EXPECT_TRUE(WithControls(
      "/dev/null",
      [&](const ControlDevice& device) {
        called = true;
        EXPECT_THAT(device.List(), IsEmpty());
        EXPECT_EQ(device.InputTrouble(), "");
      },
      &error));
  EXPECT_TRUE(called);
}

}  // namespace
