// Frames that are written where the host reads them: the memory, its pools, and pipelines that use
// them, do not use them, change them, or go while a frame still shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "components/camera_component.h"
#include "components/gstreamer/frame_memory.h"
#include "components/gstreamer/intake.h"
#include "components/gstreamer/pipeline.h"
#include "tests/components/gstreamer/GStreamerStart.h"

namespace {

using namespace gstcamera;
using ::testing::HasSubstr;

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr std::size_t kBytes = std::size_t{kWidth} * kHeight * 2;

struct SampleUnref {
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
using SampleHeld = std::unique_ptr<GstSample, SampleUnref>;
struct BufferUnref {
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using BufferHeld = std::unique_ptr<GstBuffer, BufferUnref>;

CapsHeld FrameCaps(int width = kWidth, GstVideoFormat format = GST_VIDEO_FORMAT_UYVY) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, format, static_cast<guint>(width), kHeight);
  return CapsHeld(gst_video_info_to_caps(&info));
}

std::uint8_t* PixelsOf(GstBuffer* buffer) {
  GstMapInfo map;
  EXPECT_TRUE(gst_buffer_map(buffer, &map, GST_MAP_READWRITE));
  gst_buffer_unmap(buffer, &map);
  return map.data;
}

BufferHeld FromPool(GstBufferPool* pool) {
  GstBuffer* buffer = nullptr;
  EXPECT_EQ(gst_buffer_pool_acquire_buffer(pool, &buffer, nullptr), GST_FLOW_OK);
  return BufferHeld(buffer);
}

bool IsLow(const std::uint8_t* pixels) {
  return reinterpret_cast<std::uintptr_t>(pixels) + kBytes <= LUMIVANE_CAMERA_ADDRESS_LIMIT;
}

class CameraMemory : public ::testing::Test {
 protected:
  void SetUp() override { StartGStreamer(); }
  std::string error_;
};

TEST_F(CameraMemory, APieceIsInUseUntilItIsLetGoOf) {
  FrameMemory memory;
  FrameHeld first = memory.Take(kBytes, &error_);
  ASSERT_NE(first.pixels, nullptr) << error_;
  const FrameHeld second = memory.Take(kBytes, &error_);
  EXPECT_NE(first.pixels, second.pixels);
  EXPECT_TRUE(IsLow(first.pixels));
  EXPECT_TRUE(IsLow(second.pixels));
  EXPECT_TRUE(memory.Has(first.pixels));
  EXPECT_FALSE(memory.Has(first.pixels + 1)) << "frames begin where pieces begin";
  const std::uint8_t* const before = first.pixels;
  first.hold.reset();
  EXPECT_EQ(memory.Take(kBytes, &error_).pixels, before);
}

TEST_F(CameraMemory, GivesBackPiecesOfAnotherSizeThatNobodyUses) {
  FrameMemory memory;
  const FrameHeld used = memory.Take(kBytes, &error_);
  const std::uint8_t* const free = memory.Take(kBytes, &error_).pixels;
  const FrameHeld other = memory.Take(kBytes * 2, &error_);
  ASSERT_NE(other.pixels, nullptr);
  EXPECT_TRUE(memory.Has(used.pixels));
  EXPECT_TRUE(free == other.pixels || !memory.Has(free));
  used.pixels[kBytes - 1] = 1;
}

TEST_F(CameraMemory, SaysThatThereIsNoRoom) {
  FrameMemory memory;
  EXPECT_EQ(memory.Take(std::size_t{1} << 32, &error_).pixels, nullptr);
  EXPECT_THAT(error_, HasSubstr("4 GiB"));
  EXPECT_EQ(memory.MakePool(FrameCaps().get(), std::size_t{1} << 32), nullptr);
}

TEST_F(CameraMemory, APoolsBuffersComeBackAndOthersHelpOut) {
  FrameMemory memory;
  const CapsHeld caps = FrameCaps();
  const auto pool = memory.MakePool(caps.get(), kBytes);
  ASSERT_NE(pool, nullptr);
  std::set<const std::uint8_t*> low;
  for (int round = 0; round < 4; ++round) {
    const BufferHeld buffers[] = {FromPool(pool.get()), FromPool(pool.get()), FromPool(pool.get())};
    for (const BufferHeld& buffer : buffers) {
      EXPECT_EQ(gst_buffer_get_size(buffer.get()), kBytes);
      EXPECT_TRUE(memory.Has(PixelsOf(buffer.get())));
      EXPECT_TRUE(IsLow(PixelsOf(buffer.get())));
      low.insert(PixelsOf(buffer.get()));
    }
  }
  EXPECT_EQ(low.size(), 3U);
  // A pool that is dry stalls nobody.
  const BufferHeld buffers[] = {FromPool(pool.get()), FromPool(pool.get()), FromPool(pool.get()),
                                FromPool(pool.get())};
  EXPECT_FALSE(memory.Has(PixelsOf(buffers[3].get())));
}

TEST_F(CameraMemory, PiecesOfAPoolThatIsGoneAreFreeExceptThoseInUse) {
  FrameMemory memory;
  const CapsHeld caps = FrameCaps();
  auto pool = memory.MakePool(caps.get(), kBytes);
  const BufferHeld held = FromPool(pool.get());
  std::uint8_t* const pixels = PixelsOf(held.get());
  pixels[0] = 77;
  gst_buffer_pool_set_active(pool.get(), FALSE);
  pool.reset();
  std::vector<FrameHeld> others;
  std::set<const std::uint8_t*> seen;
  for (int i = 0; i < 3; ++i) {
    others.push_back(memory.Take(kBytes, &error_));
    others.back().pixels[0] = 1;
    seen.insert(others.back().pixels);
  }
  EXPECT_EQ(seen.count(pixels), 0U);
  EXPECT_EQ(seen.size(), 3U);
  EXPECT_EQ(pixels[0], 77);
}

TEST_F(CameraMemory, PoolsThatAreNeverGivenBackDoNotGrowWithoutEnd) {
  FrameMemory memory;
  const CapsHeld caps = FrameCaps();
  std::vector<ObjectHeld<GstBufferPool>> pools;
  while (pools.size() < 100) {
    auto pool = memory.MakePool(caps.get(), kBytes);
    if (!pool) break;
    pools.push_back(std::move(pool));
  }
  EXPECT_GE(pools.size(), 2U) << "the next pool is made while the one before is in use";
  EXPECT_LT(pools.size(), 10U);
  EXPECT_NE(memory.Take(kBytes, &error_).pixels, nullptr) << "to copy frames into";
  pools.pop_back();
  EXPECT_NE(memory.MakePool(caps.get(), kBytes), nullptr);
}

TEST_F(CameraMemory, WhatIsStillInUseOutlivesIt) {
  BufferHeld held;
  {
    FrameMemory memory;
    const CapsHeld caps = FrameCaps();
    held = FromPool(memory.MakePool(caps.get(), kBytes).get());
  }
  std::memset(PixelsOf(held.get()), 5, kBytes);
  EXPECT_EQ(PixelsOf(held.get())[kBytes - 1], 5);
}

// ---- The intake

class CameraInPlace : public CameraMemory {
 protected:
  SampleHeld Sample(GstBuffer* buffer) {
    return SampleHeld(gst_sample_new(buffer, caps_.get(), nullptr, nullptr));
  }
  bool Take(GstBuffer* buffer) { return intake_.Take(Sample(buffer).get(), std::nullopt, &error_); }
  std::uint64_t Copied() const { return intake_.CountsAt(Now()).copied; }

  Intake intake_;
  CapsHeld caps_;

  void SetUp() override {
    CameraMemory::SetUp();
    caps_ = FrameCaps();
  }
};

TEST_F(CameraInPlace, FramesOfItsPoolAreNotCopiedAndRestWhileTheyShow) {
  const auto pool = intake_.OfferPool(caps_.get());
  ASSERT_NE(pool, nullptr);
  for (int i = 1; i <= 20; ++i) {
    const std::uint8_t* const shown = intake_.mailbox().Newest();
    BufferHeld buffer = FromPool(pool.get());
    std::uint8_t* const pixels = PixelsOf(buffer.get());
    EXPECT_NE(pixels, shown) << "handed out, and so at rest";
    std::memset(pixels, i, kBytes);
    ASSERT_TRUE(Take(buffer.get())) << error_;
    buffer.reset();
    if (i > 1) {
      ASSERT_NE(shown, nullptr);
      EXPECT_EQ(shown[kBytes - 1], i - 1);
    }
    // The newest, too, which nobody has asked for yet.
    EXPECT_NE(PixelsOf(FromPool(pool.get()).get()), pixels);
    EXPECT_EQ(intake_.mailbox().Newest(), pixels);
  }
  EXPECT_EQ(Copied(), 0U);
}

TEST_F(CameraInPlace, OtherFramesAreCopiedWithTheirRowsPacked) {
  const BufferHeld tight(gst_buffer_new_allocate(nullptr, kBytes, nullptr));
  gst_buffer_memset(tight.get(), 0, 9, kBytes);
  ASSERT_TRUE(Take(tight.get())) << error_;
  EXPECT_EQ(intake_.mailbox().Newest()[kBytes - 1], 9);
  EXPECT_EQ(Copied(), 1U);

  constexpr int kStride = kWidth * 2 + 32;
  const BufferHeld padded(
      gst_buffer_new_allocate(nullptr, std::size_t{kStride} * kHeight, nullptr));
  for (std::size_t y = 0; y < kHeight; ++y)
    gst_buffer_memset(padded.get(), y * kStride, static_cast<guint8>(y), kStride);
  gsize offsets[4] = {};
  gint strides[4] = {kStride};
  gst_buffer_add_video_meta_full(padded.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_UYVY,
                                 kWidth, kHeight, 1, offsets, strides);
  ASSERT_TRUE(Take(padded.get())) << error_;
  const std::uint8_t* const pixels = intake_.mailbox().Newest();
  EXPECT_TRUE(IsLow(pixels));
  for (std::size_t i = 0; i < kBytes; ++i) ASSERT_EQ(pixels[i], i / (kWidth * 2)) << i;
  EXPECT_EQ(Copied(), 2U);
}

TEST_F(CameraInPlace, TheSameBufferTwiceIsTheNewestTwice) {
  const auto pool = intake_.OfferPool(caps_.get());
  BufferHeld buffer = FromPool(pool.get());
  const std::uint8_t* const pixels = PixelsOf(buffer.get());
  ASSERT_TRUE(Take(buffer.get()));
  EXPECT_EQ(intake_.mailbox().Newest(), pixels);
  ASSERT_TRUE(Take(buffer.get()));
  EXPECT_EQ(intake_.mailbox().Newest(), pixels);
  buffer.reset();
  // Put aside once and still shown: not free.
  const BufferHeld others[] = {FromPool(pool.get()), FromPool(pool.get()), FromPool(pool.get())};
  for (const BufferHeld& other : others) EXPECT_NE(PixelsOf(other.get()), pixels);
}

TEST_F(CameraInPlace, OffersNoPoolForWhatItCannotShow) {
  EXPECT_EQ(intake_.OfferPool(nullptr), nullptr);
  EXPECT_EQ(intake_.OfferPool(FrameCaps(kWidth, GST_VIDEO_FORMAT_YUY2).get()), nullptr);
  EXPECT_EQ(intake_.OfferPool(FrameCaps(kWidth + 1).get()), nullptr)
      << "GStreamer's rows of an odd width are longer";
  EXPECT_NE(intake_.OfferPool(FrameCaps(kWidth * 2).get()), nullptr);
  const BufferHeld frame(gst_buffer_new_allocate(nullptr, kBytes, nullptr));
  ASSERT_TRUE(Take(frame.get())) << error_;
  EXPECT_EQ(intake_.OfferPool(FrameCaps(kWidth * 2).get()), nullptr) << "the size is fixed now";
  EXPECT_NE(intake_.OfferPool(caps_.get()), nullptr);
}

// ---- Pipelines

class CameraPipeline : public CameraInPlace {
 protected:
  void SetUp() override {
    CameraInPlace::SetUp();
    settings_.size = Size{kWidth, kHeight};
    settings_.rate = 60;
  }
  void Open(const std::string& source) {
    std::string wanted;
    ASSERT_TRUE(ParseSource(source, "", plan_.source, &wanted)) << wanted;
    plan_.name = source;
    FrameShape shape;
    const bool known = intake_.mailbox().shape(&shape);
    pipeline_ = std::make_unique<Pipeline>(
        plan_, settings_, known ? std::optional(shape.size) : std::nullopt, intake_);
    ASSERT_TRUE(pipeline_->Start(&error_)) << error_;
  }
  /// Asks for frames, as a host does, until so many more have come.
  void WatchFrames(std::uint64_t frames) {
    const std::uint64_t wanted = Received() + frames;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (Received() < wanted) {
      ASSERT_LT(std::chrono::steady_clock::now(), end);
      const PipelineEvent event = pipeline_->NextEvent();
      ASSERT_NE(event.kind, PipelineEvent::kError) << event.text;
      intake_.mailbox().Newest();
      std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
  }
  std::uint64_t Received() const { return intake_.mailbox().Counts().received; }

  Plan plan_;
  Settings settings_;
  std::unique_ptr<Pipeline> pipeline_;
};

TEST_F(CameraPipeline, EverySortOfSourceWritesItsFramesInPlace) {
  const std::string size = "width=64,height=48,framerate=60/1";
  const std::string uyvy = "video/x-raw,format=UYVY,colorimetry=bt601," + size;
  const std::string sources[] = {
      std::string("test:ball"),
      "pipeline:videotestsrc is-live=true ! " + uyvy,
      "pipeline:videotestsrc ! " + uyvy,
      "pipeline:videotestsrc is-live=true ! video/x-raw,format=I420," + size,
      "pipeline:videotestsrc is-live=true ! video/x-raw,width=32,height=32,framerate=60/1",
      "pipeline:videotestsrc is-live=true ! video/x-raw," + size + " ! jpegenc ! jpegdec",
  };
  for (const std::string& source : sources) {
    SCOPED_TRACE(source);
    ASSERT_NO_FATAL_FAILURE(Open(source));
    ASSERT_NO_FATAL_FAILURE(WatchFrames(12));
    pipeline_.reset();
    EXPECT_EQ(Copied(), 0U);
  }
}

TEST_F(CameraPipeline, ArgbToo) {
  settings_.format = PixelFormat::kArgb;
  for (const char* source :
       {"test:ball",
        "pipeline:videotestsrc is-live=true ! video/x-raw,width=64,height=48,framerate=60/1"}) {
    ASSERT_NO_FATAL_FAILURE(Open(source));
    ASSERT_NO_FATAL_FAILURE(WatchFrames(12));
    pipeline_.reset();
    EXPECT_EQ(Copied(), 0U) << source;
  }
}

TEST_F(CameraPipeline, TheFirstSizeOfASourceIsWrittenInPlaceToo) {
  settings_.size = std::nullopt;
  ASSERT_NO_FATAL_FAILURE(
      Open("pipeline:videotestsrc is-live=true ! video/x-raw,width=96,height=64,framerate=60/1"));
  ASSERT_NO_FATAL_FAILURE(WatchFrames(12));
  EXPECT_EQ(Copied(), 0U);
  FrameShape shape;
  ASSERT_TRUE(intake_.mailbox().shape(&shape));
  EXPECT_EQ(shape.size, (Size{96, 64}));
}

TEST_F(CameraPipeline, AChangeOfSizeInMidStreamKeepsToThePlace) {
  ASSERT_NO_FATAL_FAILURE(
      Open("pipeline:concat name=c videotestsrc num-buffers=8 is-live=true ! "
           "video/x-raw,width=64,height=48,framerate=30/1 ! c. videotestsrc num-buffers=8 "
           "is-live=true ! video/x-raw,width=128,height=96,framerate=30/1 ! c. videotestsrc "
           "is-live=true ! video/x-raw,width=64,height=96,framerate=30/1 ! c. c."));
  ASSERT_NO_FATAL_FAILURE(WatchFrames(24));
  EXPECT_EQ(Copied(), 0U);
}

TEST_F(CameraPipeline, AnElementThatHidesTheOfferCostsACopyOfEachFrame) {
  ASSERT_NO_FATAL_FAILURE(
      Open("pipeline:videotestsrc pattern=white is-live=true ! "
           "video/x-raw,format=UYVY,width=64,height=48,framerate=60/1,colorimetry=bt601 ! "
           "identity drop-allocation=true"));
  ASSERT_NO_FATAL_FAILURE(WatchFrames(10));
  pipeline_.reset();
  EXPECT_EQ(Copied(), Received());
  const std::uint8_t* const pixels = intake_.mailbox().Newest();
  EXPECT_TRUE(IsLow(pixels));
  EXPECT_EQ(pixels[0], 128);
  EXPECT_EQ(pixels[1], 235);
  EXPECT_EQ(pixels[kBytes - 1], 235);
}

TEST_F(CameraPipeline, ASourceThatHoldsManyFramesIsNotStalled) {
  ASSERT_NO_FATAL_FAILURE(
      Open("pipeline:videotestsrc is-live=true ! "
           "video/x-raw,format=UYVY,width=64,height=48,framerate=60/1,colorimetry=bt601 ! "
           "queue min-threshold-buffers=6"));
  ASSERT_NO_FATAL_FAILURE(WatchFrames(30));
  pipeline_.reset();
  EXPECT_GT(Copied(), 0U);
  EXPECT_LT(Copied(), Received());
}

TEST_F(CameraPipeline, ALastFrameStillShowsWhenItsPipelineIsGone) {
  ASSERT_NO_FATAL_FAILURE(Open("test:snow"));
  ASSERT_NO_FATAL_FAILURE(WatchFrames(5));
  for (int round = 0; round < 5; ++round) {
    const std::uint8_t* const shown = intake_.mailbox().Newest();
    pipeline_.reset();
    const std::vector<std::uint8_t> before(shown, shown + kBytes);
    ASSERT_NO_FATAL_FAILURE(Open("test:snow"));
    const std::uint64_t start = Received();
    while (Received() < start + 6) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(std::memcmp(before.data(), shown, kBytes), 0) << "until the host asks again";
    EXPECT_NE(intake_.mailbox().Newest(), shown);
  }
  EXPECT_EQ(Copied(), 0U);
}

}  // namespace
