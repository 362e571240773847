// A stream's frames as uncompressed video, on a thread of its own: Y4M or raw, to a file or to
// whoever reads.
#pragma once

#include <thread>

#include "hosts/lumivane/ByteOutput.h"
#include "hosts/lumivane/FrameSink.h"
#include "hosts/lumivane/PictureToVideo.h"
#include "hosts/lumivane/VideoStream.h"

namespace lumivane {

struct WriterFormat {
  bool y4m = true;  ///< else raw UYVY
  PictureSize size;
  Ratio rate;
  VideoMatrix matrix = VideoMatrix::k601;
  std::size_t rowBytes = 0;  ///< of raw UYVY, where rows are padded
};

/// "YUV4MPEG2 W640 H480 F30:1 Ip A1:1 C422 XCOLORRANGE=LIMITED\n". Width as VideoWidth.
std::string Y4MHeader(const WriterFormat& format);

class FrameWriter : public FrameSink {
 public:
  /// Starts writing to `output`, which is open. `frameLimit`: complete after so many frames; 0:
  /// never.
  ///
  /// A file keeps time: a frame that was not made in time, or not written before the next one came,
  /// is there as a repetition of the one before, so that it plays at its rate. To a reader it is
  /// left out, so that what is read is new.
  FrameWriter(std::unique_ptr<ByteOutput> output, const WriterFormat& format,
              std::uint64_t frameLimit);
  ~FrameWriter() override;

  void Offer(const StreamFrame& frame) override;
  SinkState state() const override;
  std::string error() const override;
  SinkCounts counts() const override;
  void Finish(std::uint64_t endTick) override;

 private:
  void Run();
  ByteOutput::Result WriteFrame();
  /// Frame times from the last frame up to `tick`, which gets a frame of its own.
  ByteOutput::Result CatchUp(std::uint64_t tick);
  void Settle(ByteOutput::Result result, const std::string& error);

  const std::unique_ptr<ByteOutput> output_;
  const WriterFormat format_;
  const std::uint64_t frameLimit_;
  NewestSlot<StreamFrame> slot_;
  std::vector<std::uint8_t> bytes_;  ///< the last frame that was written
  std::uint64_t nextTick_ = 0;
  std::string writeError_;

  mutable std::mutex lock_;  // guards what follows
  SinkState state_ = SinkState::kRunning;
  std::string error_;
  SinkCounts counts_;
  std::thread thread_;
};

}  // namespace lumivane
