#include "hosts/lumivane/FrameWriter.h"

namespace lumivane {
namespace {

/// Of a longer gap, as of a program that was stopped for an hour, a file is not filled up.
constexpr std::int64_t kLongestGapSeconds = 60;
/// For a reader to take the rest of the frame under way, when the stream ends.
constexpr std::chrono::milliseconds kGrace(1000);

}  // namespace

std::string Y4MHeader(const WriterFormat& format) {
  return "YUV4MPEG2 W" + std::to_string(EvenWidth(format.size.width)) + " H" +
         std::to_string(format.size.height) + " F" + std::to_string(format.rate.number) + ":" +
         std::to_string(format.rate.divisor) + " Ip A1:1 C422 XCOLORRANGE=LIMITED\n";
}

FrameWriter::FrameWriter(std::unique_ptr<ByteOutput> output, const WriterFormat& format,
                         std::uint64_t frameLimit)
    : output_(std::move(output)), format_(format), frameLimit_(frameLimit) {
  thread_ = std::thread([this] { Run(); });
}

FrameWriter::~FrameWriter() {
  if (!thread_.joinable()) return;
  output_->Abandon(std::chrono::milliseconds(0));
  slot_.Close();
  thread_.join();
}

void FrameWriter::Offer(const StreamFrame& frame) {
  slot_.Put(frame);
}

SinkState FrameWriter::state() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return state_;
}

std::string FrameWriter::error() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return error_;
}

SinkCounts FrameWriter::counts() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return counts_;
}

ByteOutput::Result FrameWriter::WriteFrame() {
  static constexpr std::uint8_t kFrame[] = {'F', 'R', 'A', 'M', 'E', '\n'};
  ByteOutput::Result result = ByteOutput::Result::kOk;
  if (format_.y4m) result = output_->Write(kFrame, &writeError_);
  if (result == ByteOutput::Result::kOk) result = output_->Write(bytes_, &writeError_);
  if (result != ByteOutput::Result::kOk) return result;
  const std::lock_guard<std::mutex> hold(lock_);
  ++counts_.written;
  if (counts_.written == frameLimit_) state_ = SinkState::kComplete;
  return result;
}

ByteOutput::Result FrameWriter::CatchUp(std::uint64_t tick) {
  const std::uint64_t missed = tick > nextTick_ ? tick - nextTick_ : 0;
  const std::uint64_t longest =
      static_cast<std::uint64_t>(kLongestGapSeconds * format_.rate.number / format_.rate.divisor);
  if (!output_->keeps() || bytes_.empty() || missed > longest) {
    const std::lock_guard<std::mutex> hold(lock_);
    counts_.dropped += missed;
    return ByteOutput::Result::kOk;
  }
  ByteOutput::Result result = ByteOutput::Result::kOk;
  for (std::uint64_t i = 0; i < missed && result == ByteOutput::Result::kOk; ++i) {
    if (state() != SinkState::kRunning) break;
    result = WriteFrame();
    const std::lock_guard<std::mutex> hold(lock_);
    if (result == ByteOutput::Result::kOk) ++counts_.repeated;
  }
  return result;
}

void FrameWriter::Settle(ByteOutput::Result result, const std::string& error) {
  const std::lock_guard<std::mutex> hold(lock_);
  if (result == ByteOutput::Result::kNobodyReads) state_ = SinkState::kNobodyReads;
  if (result == ByteOutput::Result::kFailed) {
    state_ = SinkState::kFailed;
    error_ = error;
  }
}

void FrameWriter::Run() {
  ByteOutput::Result result = ByteOutput::Result::kOk;
  if (format_.y4m) {
    const std::string header = Y4MHeader(format_);
    result = output_->Write({reinterpret_cast<const std::uint8_t*>(header.data()), header.size()},
                            &writeError_);
  }
  while (result == ByteOutput::Result::kOk && state() == SinkState::kRunning) {
    const std::optional<StreamFrame> frame = slot_.Take();
    if (!frame) break;
    result = CatchUp(frame->tick);
    if (result != ByteOutput::Result::kOk || state() != SinkState::kRunning) break;
    PictureToVideo(*frame->picture, format_.matrix,
                   format_.y4m ? VideoForm::kPlanes : VideoForm::kUYVY, &bytes_, format_.rowBytes);
    nextTick_ = frame->tick + 1;
    result = WriteFrame();
  }
  Settle(result, writeError_);
}

void FrameWriter::Finish(std::uint64_t endTick) {
  output_->Abandon(kGrace);
  slot_.Close();
  thread_.join();
  if (state() == SinkState::kFailed || state() == SinkState::kNobodyReads) return;
  std::string error;
  ByteOutput::Result result = ByteOutput::Result::kOk;
  if (state() == SinkState::kRunning) result = CatchUp(endTick);
  if (result == ByteOutput::Result::kOk) result = output_->Finish(&error);
  Settle(result, error.empty() ? writeError_ : error);
}

}  // namespace lumivane
