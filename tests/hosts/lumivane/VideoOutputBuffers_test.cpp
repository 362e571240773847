// Frames into the buffers of a V4L2 output device, against a device made up here.
#include "hosts/lumivane/VideoOutputBuffers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <array>
#include <cerrno>
#include <deque>
#include <vector>

namespace {

using lumivane::VideoDeviceCalls;
using lumivane::VideoOutputBuffers;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::size_t kFrame = 8;

/// A device with buffers; it gives back the oldest one when told to.
class FakeDevice {
 public:
  std::uint32_t buffers = 3;
  std::uint32_t length = 16;
  unsigned long failing = 0;  ///< the request that fails, with EIO
  int mapped = 0;
  bool mapFails = false;
  bool streams = false;
  std::deque<std::uint32_t> queued;
  std::vector<v4l2_buffer> taken;
  std::array<std::array<std::uint8_t, 16>, 8> memory{};

  void Show() { ++shown_; }

  VideoDeviceCalls calls() {
    return {[this](unsigned long request, void* argument) { return Control(request, argument); },
            [this](std::size_t, std::uint32_t offset) -> void* {
              if (mapFails) return nullptr;
              ++mapped;
              return memory[offset / 16].data();
            },
            [this](void*, std::size_t) { --mapped; }};
  }

 private:
  int Fail(int reason) {
    errno = reason;
    return -1;
  }
  int Control(unsigned long request, void* argument) {
    if (request == failing) return Fail(EIO);
    const auto buffer = static_cast<v4l2_buffer*>(argument);
    switch (request) {
      case VIDIOC_REQBUFS:
        static_cast<v4l2_requestbuffers*>(argument)->count = buffers;
        return 0;
      case VIDIOC_QUERYBUF:
        buffer->length = length;
        buffer->m.offset = 16 * buffer->index;
        return 0;
      case VIDIOC_QBUF:
        queued.push_back(buffer->index);
        taken.push_back(*buffer);
        return 0;
      case VIDIOC_DQBUF:
        if (shown_ == 0) return Fail(EAGAIN);
        --shown_;
        buffer->index = queued.front();
        queued.pop_front();
        return 0;
      case VIDIOC_STREAMON:
        streams = true;
        return 0;
      default:
        return Fail(ENOTTY);
    }
  }
  int shown_ = 0;
};

std::vector<std::uint8_t> FrameOf(std::uint8_t value) {
  return std::vector<std::uint8_t>(kFrame, value);
}

std::unique_ptr<VideoOutputBuffers> Make(FakeDevice& device, std::string* error) {
  return VideoOutputBuffers::Make(device.calls(), kFrame, V4L2_FIELD_INTERLACED, error);
}

TEST(VideoOutputBuffers, FillTheFreeOnesAndThenThoseThatComeBack) {
  FakeDevice device;
  std::string error;
  auto buffers = Make(device, &error);
  ASSERT_NE(buffers, nullptr) << error;
  EXPECT_EQ(device.mapped, 3);
  EXPECT_FALSE(device.streams);
  for (const std::uint8_t value : {1, 2, 3}) EXPECT_EQ(buffers->Put(FrameOf(value)), 8);
  EXPECT_TRUE(device.streams);
  EXPECT_THAT(device.queued, ElementsAre(0u, 1u, 2u));

  EXPECT_EQ(buffers->Put(FrameOf(4)), -1);
  EXPECT_EQ(errno, EAGAIN);
  device.Show();
  EXPECT_EQ(buffers->Put(FrameOf(4)), 8);
  EXPECT_THAT(device.queued, ElementsAre(1u, 2u, 0u));
  EXPECT_EQ(device.memory[0][0], 4);
  EXPECT_EQ(device.memory[0][7], 4);
  EXPECT_EQ(device.memory[0][8], 0);
  EXPECT_EQ(device.memory[1][0], 2);
  for (const v4l2_buffer& buffer : device.taken) {
    EXPECT_EQ(buffer.bytesused, 8u);
    EXPECT_EQ(buffer.field, static_cast<__u32>(V4L2_FIELD_INTERLACED));
    EXPECT_EQ(buffer.memory, static_cast<__u32>(V4L2_MEMORY_MMAP));
  }
  buffers.reset();
  EXPECT_EQ(device.mapped, 0);
}

TEST(VideoOutputBuffers, TakeWholeFramesOnly) {
  FakeDevice device;
  std::string error;
  const auto buffers = Make(device, &error);
  ASSERT_NE(buffers, nullptr) << error;
  for (const std::size_t size : {kFrame - 1, kFrame + 1}) {
    EXPECT_EQ(buffers->Put(std::vector<std::uint8_t>(size)), -1);
    EXPECT_EQ(errno, EINVAL);
  }
  EXPECT_TRUE(device.taken.empty());
}

TEST(VideoOutputBuffers, SayWhyThereAreNone) {
  const auto problem = [](const std::function<void(FakeDevice&)>& spoil) {
    FakeDevice device;
    spoil(device);
    std::string error;
    EXPECT_EQ(Make(device, &error), nullptr);
    EXPECT_EQ(device.mapped, 0);
    return error;
  };
  EXPECT_THAT(problem([](FakeDevice& d) { d.buffers = 0; }), HasSubstr("none are left"));
  EXPECT_THAT(problem([](FakeDevice& d) { d.failing = VIDIOC_REQBUFS; }),
              HasSubstr("gives no frame buffers"));
  EXPECT_THAT(problem([](FakeDevice& d) { d.failing = VIDIOC_QUERYBUF; }),
              HasSubstr("does not show"));
  EXPECT_THAT(problem([](FakeDevice& d) { d.length = 7; }),
              HasSubstr("have 7 bytes, a frame has 8"));
  EXPECT_THAT(problem([](FakeDevice& d) { d.mapFails = true; }), HasSubstr("cannot be mapped"));
}

TEST(VideoOutputBuffers, FailAsTheDeviceDoes) {
  for (const unsigned long request : {VIDIOC_QBUF, VIDIOC_STREAMON}) {
    FakeDevice device;
    std::string error;
    const auto buffers = Make(device, &error);
    ASSERT_NE(buffers, nullptr) << error;
    device.failing = request;
    EXPECT_EQ(buffers->Put(FrameOf(1)), -1);
    EXPECT_EQ(errno, EIO);
  }
}

}  // namespace
